// Small text helpers used on the hot paths of the tokenizers, parsers and
// style code. Positions are 1-based; 0 means "not found".
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "norvane/runtime/types.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TEnumInfo;

// ASCII-only lower case: A-Z + 32, everything else unchanged.
constexpr char16_t CharLower(char16_t c) noexcept { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; }
constexpr char16_t AnsiCharLower(char16_t c) noexcept { return CharLower(c); }

// Position of c at or after `start` (1-based; below 1 counts as 1); 0 when s
// is empty, start is past the end or nothing matches.
int32_t FindChar(char16_t c, const UnicodeString& s, int32_t start = 1) noexcept;
int32_t FindChar(char c, std::string_view s, int32_t start = 1) noexcept;

// Destructive tokenizer. Skips leading delimiters and returns the token; with
// `skip` the token and one delimiter after it leave s, without it the result
// keeps the leading delimiters and s keeps the delimiter that ended it.
UnicodeString Q_StrTok(UnicodeString& s, const UnicodeString& delimiters, bool skip = true);
std::u16string Q_StrTok(std::u16string& s, std::u16string_view delimiters, bool skip = true);

// Case-sensitive replacement of every occurrence.
UnicodeString ReplaceStr(const UnicodeString& s, const UnicodeString& from, const UnicodeString& to);
void ReplaceChar(UnicodeString& s, char16_t from, char16_t to);

// Ordinal prefix/suffix tests. An empty `start` never matches, an empty
// `end` always does.
bool AnsiStartsWith(const UnicodeString& s, const UnicodeString& start) noexcept;
bool AnsiEndsWith(const UnicodeString& s, const UnicodeString& end) noexcept;

// Exact membership in items[0..high]; `high` is the last index, not the count.
bool StrIn(const UnicodeString& s, const UnicodeString* items, int32_t high) noexcept;
bool StrIn(const UnicodeString& s, std::initializer_list<std::u16string_view> items) noexcept;

// True when s is empty or every unit is at most U+0020.
bool BlankString(const UnicodeString& s) noexcept;
// True when s is empty or made only of U+0020, U+00A0, tab, CR and LF.
bool BlankOrNBSP(const UnicodeString& s) noexcept;
// s := add when s is empty, else s + separator + add.
void AddStr(UnicodeString& s, const UnicodeString& add, const UnicodeString& separator);
// a unless it is empty, else b.
inline const UnicodeString& Coalesce(const UnicodeString& a, const UnicodeString& b) noexcept {
  return a.IsEmpty() ? b : a;
}

// Maps a hyphenated keyword to an enumeration value: every "-" of `name` is
// removed, `prefix` put in front, and the result looked up among the names
// of the enumeration (ASCII case-insensitively).
bool IsEnum(const UnicodeString& name, const TEnumInfo& info, int32_t& value) noexcept;
bool IsEnum2(const UnicodeString& prefix, const UnicodeString& name, const TEnumInfo& info,
             int32_t& value) noexcept;

// Splits the first entry of an address list such as
// `"John Doe" <jd@example.com>, next@example.com`: the display name, the
// address and what follows the unit that ended the entry.
void SplitEmailAdress(const UnicodeString& text, UnicodeString& name, UnicodeString& address,
                      UnicodeString& rest);

// Table-driven UTF-8 encoding of BMP text. HtUTF8EncodePtr writes 4 bytes a
// unit and advances by the unit's length, so `dst` needs 3 * count + 1 bytes;
// it returns the end of the output, or nullptr when a surrogate may have been
// seen, in which case the output is unusable and the caller must redo the
// conversion with the general encoder.
char* HtUTF8EncodePtr(const char16_t* src, char* dst, int32_t count) noexcept;
std::string HtUTF8Encode(const UnicodeString& s);
TBytes HtUTF8EncodetoBytes(const UnicodeString& s);

}  // namespace norvane
