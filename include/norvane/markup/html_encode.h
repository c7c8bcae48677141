// Encoders shared by all HTML and SVG output, and the URL finder for plain
// text.
//
// HtmlEncode writes text for element content: the markup characters, the
// no-break space and units below 9 as references, characters outside BMP as
// hexadecimal references, and characters that have a named reference (other
// than Latin, Greek, Cyrillic, the scripts up to Thaana and general
// punctuation, which print as themselves) by name. HtmlEncodeAttr touches
// only units below 256: attribute text keeps every other character.
//
// Both take a precounted `overhead` (extra units) or -1. With -1 they count
// first and return the very same string when nothing needs encoding; with a
// count they allocate once and write without counting. A wrong count costs a
// reallocation, never memory safety.
#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TFastString;

// Extra units that each unit below 256 costs: element text (units 0-8, "&",
// "<", ">", U+00A0) and attribute values (units 0-9, the double quote, "&",
// "<", ">", U+00A0).
extern const uint8_t (&HtmlEncodeOverhead)[256];
extern const uint8_t (&HtmlEncodeAttrOverhead)[256];

UnicodeString HtmlEncode(const UnicodeString& text, int32_t overhead = -1);
UnicodeString HtmlEncodeAttr(const UnicodeString& text, int32_t overhead = -1);
// The extra length HtmlEncode will need; 0 means the text prints as it is.
int32_t HtmlEncodeNodeOverhead(std::u16string_view text) noexcept;
int32_t HtmlEncodeAttrNodeOverhead(std::u16string_view text) noexcept;

// The same encoders appending straight to a builder, with no string made.
void FastHtmlEncode(TFastString* out, std::u16string_view text);
void FastHtmlEncodeAttr(TFastString* out, std::u16string_view text);

// Finds URLs in plain text and replaces each by what `callback` returns for
// it. A URL starts at a word that begins with "http://", "https://",
// "ftp://", "ftps://", "mailto:" or "www." (any case), or is a host name
// ending in ".com", ".net", ".org", ".int", ".edu" or ".gov" (optionally
// followed by a path), at the start of the text or after a blank, a quote,
// "(", "[", "{", ",", ";" or "=". It ends at a blank, a control unit or one of
// < > " ' `; trailing punctuation (. , ; : ! ? and a ")", "]" or "}" whose
// opening partner isn't inside the URL) stays outside it.
using THtURLCallback = UnicodeString (*)(const UnicodeString& url, void* data);
UnicodeString ReplaceTextURLs(const UnicodeString& text, THtURLCallback callback, void* data);
template <class Fn>
  requires std::is_invocable_r_v<UnicodeString, Fn&, const UnicodeString&>
UnicodeString ReplaceTextURLs(const UnicodeString& text, Fn&& fn) {
  return ReplaceTextURLs(
      text,
      [](const UnicodeString& url, void* data) -> UnicodeString {
        return (*static_cast<std::remove_reference_t<Fn>*>(data))(url);
      },
      const_cast<void*>(static_cast<const void*>(&fn)));
}

}  // namespace norvane
