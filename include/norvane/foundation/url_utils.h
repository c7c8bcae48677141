// URL joining and form encoding.
#pragma once

#include "norvane/runtime/unicode_string.h"

namespace norvane {

// Joins a relative reference to a base: a plain name replaces the last path
// segment, "//host/..." gets "http:" in front, "/path" keeps the base's
// scheme and host.
UnicodeString CombineUrl(const UnicodeString& base, const UnicodeString& relative);
// Form decoding: "+" is a space, "%xx" a byte; the bytes are read as UTF-8.
UnicodeString HTTPDecode(const UnicodeString& s);
// Form encoding: letters, digits and !()*-.\_~ stay, space becomes "+",
// everything else "%xx" of its UTF-8 bytes in lower-case hexadecimal.
UnicodeString HtEncodeUrl(const UnicodeString& s);

}  // namespace norvane
