// Number parsing and formatting independent of the locale.
#pragma once

#include <cstdint>
#include <string_view>

#include "norvane/runtime/unicode_string.h"

namespace norvane {

// Lenient parse: leading spaces, sign, digits, "." or "," as the decimal
// point (7 fraction digits at most), "e"/"E" with an optional "-". Any defect,
// trailing text included, gives 0; it never raises.
double iStrtoFloat(const UnicodeString& s) noexcept;
// Strict parse with the given separators; the thousand separator may appear
// anywhere among the integer digits. Raises Exception "Invalid number %s".
double StrtoFloatCheck(const UnicodeString& s, char16_t decimal = u'.', char16_t thousand = u',');
// The runtime's integer parse; 0 when it fails.
int32_t iStrtoInt(const UnicodeString& s) noexcept;
// Hexadecimal to a 32-bit value; "0x" in front and "h"/"H" behind are ignored.
// Letters past "f" count on (g = 16, ...), other units as -1.
int32_t HexToDec(const UnicodeString& s) noexcept;
// FormatFloat with "." as the decimal and " " as the thousand separator.
UnicodeString HtFormatFloat(std::u16string_view format, double value);
// Shortest fixed-point text with at most `decimals` fraction digits and no
// zero before the point (".5", "-.25"). More than 9 decimals overflow the
// 32-bit scale and raise EIntOverflow.
UnicodeString HtFormatDecimal(double value, int32_t decimals);

}  // namespace norvane
