// THString: byte-array to string conversions that need no code page.
#pragma once

#include <cstdint>

#include "norvane/runtime/types.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class THString {
 public:
  THString() = delete;

  // Widens each byte of bytes[start, start + count) to one unit. A negative
  // count means to the end; the range is clamped to the array.
  static void ANSIBytestoString(const TBytes& bytes, UnicodeString& out, int32_t start = 0,
                                int32_t count = -1);
  // Keeps the low byte of each unit.
  static TBytes StringtoANSIBytes(const UnicodeString& s);
  // Big-endian UTF-16: swaps each byte pair; an odd last byte is ignored.
  static void BEUnicodeBytestoString(const TBytes& bytes, UnicodeString& out);
  // One unit for every byte of the array, of which only the first half is
  // filled from the bytes (little-endian pairs); the rest is zero.
  static void UnicodeBytestoString(const TBytes& bytes, UnicodeString& out);
};

}  // namespace norvane
