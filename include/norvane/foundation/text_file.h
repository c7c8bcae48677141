// Whole-file reads and writes of text and bytes. Errors of the file stream
// (EFOpenError, EFCreateError, EReadError) pass through.
#pragma once

#include <string_view>

#include "norvane/runtime/unicode_string.h"

namespace norvane {

// Reads a text file: UTF-16 (LE mark, BE-style mark read unswapped, or a
// second byte of 0), UTF-8 with its mark, else the system code page.
UnicodeString FileToStr(const UnicodeString& fileName);
// The raw bytes.
RawByteString FileToStrA(const UnicodeString& fileName);
RawByteString FileToStrR(const UnicodeString& fileName);
// Writes the 16-bit units (no byte-order mark) / the bytes.
void StrtoFile(const UnicodeString& s, const UnicodeString& fileName);
void StrtoFileA(std::string_view s, const UnicodeString& fileName);
void StrtoFileR(std::string_view s, const UnicodeString& fileName);

}  // namespace norvane
