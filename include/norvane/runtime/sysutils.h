// The runtime's string, number and date functions, locale-independent.
//
// Positions are 1-based and 0 means "not found" wherever the runtime defines
// them that way (Pos, Copy, Delete, Insert, PosEx).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "norvane/runtime/types.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

// --- Searching and slicing ---------------------------------------------------
int32_t Pos(std::u16string_view sub, std::u16string_view s, int32_t offset = 1);
int32_t Pos(char16_t c, std::u16string_view s, int32_t offset = 1);
// Copy(s, index, count): index below 1 counts as 1; clamped to the string.
UnicodeString Copy(const UnicodeString& s, int32_t index, int32_t count = INT32_MAX);
void Delete(UnicodeString& s, int32_t index, int32_t count);
void Insert(std::u16string_view sub, UnicodeString& s, int32_t index);
UnicodeString StringOfChar(char16_t c, int32_t count);

enum class ReplaceFlags : uint8_t { None = 0, ReplaceAll = 1, IgnoreCase = 2, All_IgnoreCase = 3 };
// The runtime's StringReplace (IgnoreCase folds with the Unicode case rules).
UnicodeString StringReplace(const UnicodeString& s, std::u16string_view from, std::u16string_view to,
                            ReplaceFlags flags);

// --- Case, comparison, trimming -----------------------------------------------
// ASCII-only folding (UpperCase/LowerCase of the runtime).
UnicodeString UpperCase(const UnicodeString& s);
UnicodeString LowerCase(const UnicodeString& s);
// Unicode simple case mapping (AnsiUpperCase/AnsiLowerCase), whole BMP.
UnicodeString AnsiUpperCase(const UnicodeString& s);
UnicodeString AnsiLowerCase(const UnicodeString& s);
char16_t UnicodeUpper(char16_t c) noexcept;
char16_t UnicodeLower(char16_t c) noexcept;
// Ordinal comparison of code units: <0, 0, >0.
int32_t CompareStr(std::u16string_view a, std::u16string_view b) noexcept;
// ASCII case-insensitive comparison.
int32_t CompareText(std::u16string_view a, std::u16string_view b) noexcept;
bool SameText(std::u16string_view a, std::u16string_view b) noexcept;
bool SameStr(std::u16string_view a, std::u16string_view b) noexcept;
// Unicode case-insensitive comparison (AnsiCompareText).
int32_t AnsiCompareText(std::u16string_view a, std::u16string_view b) noexcept;
bool AnsiSameText(std::u16string_view a, std::u16string_view b) noexcept;
// Trim removes units up to U+0020 at both ends; TrimLeft/TrimRight one end.
UnicodeString Trim(const UnicodeString& s);
UnicodeString TrimLeft(const UnicodeString& s);
UnicodeString TrimRight(const UnicodeString& s);
// Unicode letter/digit classification of the runtime.
bool IsLetter(char16_t c) noexcept;
bool IsNumber(char16_t c) noexcept;
bool IsLetterOrDigit(char16_t c) noexcept;
bool IsWhiteSpace(char16_t c) noexcept;

// --- Integers ------------------------------------------------------------------
UnicodeString IntToStr(int64_t v);
UnicodeString UIntToStr(uint64_t v);
// Upper-case hexadecimal, padded with zeros to `digits`.
UnicodeString IntToHex(uint64_t v, int32_t digits);
// The runtime's Val rules: optional blanks, sign, decimal digits or "$"/"0x"
// hexadecimal; no trailing text. Raises EConvertError
// "'%s' is not a valid integer value".
int32_t StrToInt(std::u16string_view s);
int64_t StrToInt64(std::u16string_view s);
bool TryStrToInt(std::u16string_view s, int32_t& v) noexcept;
bool TryStrToInt64(std::u16string_view s, int64_t& v) noexcept;
int32_t StrToIntDef(std::u16string_view s, int32_t def) noexcept;

// --- Floats --------------------------------------------------------------------
// Decimal separator "." and no thousand separator unless given.
struct TFormatSettings {
  char16_t DecimalSeparator = u'.';
  char16_t ThousandSeparator = u',';
  static const TFormatSettings& Invariant();
};

// FloatToStr: 15 significant digits, general format: fixed notation unless
// the decimal exponent x (v = d.ddd * 10^x) is >= 15 or < -4, then "1E15",
// "1.5E-5" (no "+", no padding). NaN/Inf print "NAN", "INF", "-INF".
// All float output rounds half away from zero on the exact decimal digits.
UnicodeString FloatToStr(double v, const TFormatSettings& fs = TFormatSettings::Invariant());
// FormatFloat with the runtime's masks: "0", "#", ".", ",", "E+", "E-",
// quoted literals and ";" sections. "0.##" gives "1.5" for 1.5 and "2" for 2.
// A value that rounds to zero prints without sign (and uses the third
// section when there is one). An empty mask prints like FloatToStr.
UnicodeString FormatFloat(std::u16string_view mask, double v,
                          const TFormatSettings& fs = TFormatSettings::Invariant());
// Raises EConvertError "'%s' is not a valid floating point value".
double StrToFloat(std::u16string_view s, const TFormatSettings& fs = TFormatSettings::Invariant());
bool TryStrToFloat(std::u16string_view s, double& v,
                   const TFormatSettings& fs = TFormatSettings::Invariant()) noexcept;
double StrToFloatDef(std::u16string_view s, double def,
                     const TFormatSettings& fs = TFormatSettings::Invariant()) noexcept;

// Round halves to even (the processor's mode); MathRound halves away from 0.
int64_t Round(double v) noexcept;
int64_t MathRound(double v) noexcept;
int64_t Trunc(double v) noexcept;
double Frac(double v) noexcept;

// --- Booleans ---------------------------------------------------------------------
// "-1"/"0" as the runtime does by default; "True"/"False" with useBoolStrs.
UnicodeString BoolToStr(bool b, bool useBoolStrs = false);
// Accepts "true"/"false" in any case and numbers (0 is false).
// Raises EConvertError "'%s' is not a valid boolean value".
bool StrToBool(std::u16string_view s);
bool TryStrToBool(std::u16string_view s, bool& v) noexcept;

// --- Dates -----------------------------------------------------------------------
// TDateTime counts days from 1899-12-30; the fraction is the time of day.
// Raises EConvertError "Invalid argument to date encode" /
// "Invalid argument to time encode".
TDateTime EncodeDate(uint16_t year, uint16_t month, uint16_t day);
TDateTime EncodeTime(uint16_t hour, uint16_t min, uint16_t sec, uint16_t msec);
bool TryEncodeDate(uint16_t year, uint16_t month, uint16_t day, TDateTime& d) noexcept;
bool TryEncodeTime(uint16_t hour, uint16_t min, uint16_t sec, uint16_t msec, TDateTime& t) noexcept;
void DecodeDate(TDateTime d, uint16_t& year, uint16_t& month, uint16_t& day) noexcept;
void DecodeTime(TDateTime d, uint16_t& hour, uint16_t& min, uint16_t& sec, uint16_t& msec) noexcept;
int32_t DayOfWeek(TDateTime d) noexcept;  // 1 = Sunday
bool IsLeapYear(uint16_t year) noexcept;
TDateTime Now();
TDateTime Date();
// Specifiers (any case): d dd ddd dddd ddddd dddddd m mm mmm mmmm (m right
// after h/hh is minutes) yy yyyy h hh n nn s ss z zzz t tt am/pm a/p ampm,
// "/" (date separator "-"), ":" and quoted literals. "c" (and an empty
// format) is the short date "yyyy-mm-dd", then " hh:nn:ss" unless the time is
// midnight. Negative values: the date is the integer part toward zero and
// the time is |fraction| (-1.25 is 1899-12-29 06:00).
UnicodeString FormatDateTime(std::u16string_view fmt, TDateTime d);
UnicodeString DateTimeToStr(TDateTime d);
UnicodeString DateToStr(TDateTime d);
UnicodeString TimeToStr(TDateTime d);
// Reads the forms DateTimeToStr writes; raises EConvertError
// "'%s' is not a valid date and time".
TDateTime StrToDateTime(std::u16string_view s);
bool TryStrToDateTime(std::u16string_view s, TDateTime& d) noexcept;

// --- Code pages ----------------------------------------------------------------
// Code page numbers as the runtime names them: 1252, 65001 (UTF-8), 1200
// (UTF-16LE), 1201 (UTF-16BE), 28591 (Latin-1), 1251, 20866 (KOI8-R), 932,
// 936, 949, 950 ... The conversion goes through glibc iconv (table fast
// paths for 65001, 1200, 1201, 28591, 1252, 20127). Decoding never raises on
// bad input: invalid or incomplete sequences become U+FFFD. Encoding writes
// "?" for each character the code page cannot hold. Unknown code page
// numbers raise EEncodingError "Unsupported code page %d". Thread-safe.
UnicodeString DecodeCodePage(std::string_view bytes, uint32_t codePage);
std::string EncodeCodePage(std::u16string_view s, uint32_t codePage);
// The iconv name of a code page ("CP1252", "UTF-8", ...), or "" if unknown.
std::string CodePageName(uint32_t codePage);
// The system code page used for AnsiString conversions; 1252 unless set.
uint32_t SystemCodePage() noexcept;
void SetSystemCodePage(uint32_t codePage) noexcept;
// Conversions through the system code page.
UnicodeString AnsiToUnicode(std::string_view bytes);
std::string UnicodeToAnsi(std::u16string_view s);

// --- Convenience ---------------------------------------------------------------
// u"..." literals are UnicodeString already; this builds one from UTF-8 text.
inline UnicodeString U8(std::string_view utf8) { return UnicodeString::FromUtf8(utf8); }

}  // namespace norvane
