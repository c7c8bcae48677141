// String hash functions of the dictionaries.
//
// All work modulo 2^32 over 16-bit code units (or bytes for the ANSI forms)
// and return the 32-bit result as a signed integer. A null pointer or a
// length of 0 or less hashes like the empty string.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace norvane {

// The hash function a string-keyed dictionary calls.
using THtHashFunc = int32_t (*)(const char16_t* s, int32_t length);

// h := h * 0x3E0F83E1 + c + 0x59D65D2F per unit, then h * 0x90C03487; the
// empty key gives 0. The default hash of every string table.
int32_t ShaPerfectHash(const char16_t* s, int32_t length) noexcept;
// Same values as ShaPerfectHash, with the loop unrolled by four.
int32_t ShaPerfectHashAsm(const char16_t* s, int32_t length) noexcept;
// ShaPerfectHash over bytes (each byte taken as an unsigned unit).
int32_t ShaPerfectHashANSI(const char* s, int32_t length) noexcept;

// h := h * a + c; a := a * 378551, starting from h = 0, a = 63689. Tags,
// entities, colour names and the CSS tables hash with it.
int32_t RSHash(const char16_t* s, int32_t length) noexcept;

// One-at-a-time style: per unit h += c; h *= 1025; h ^= h >> 6; finally
// h *= 9; h ^= h >> 11; h *= 32769.
int32_t JenkinsHash(const char16_t* s, int32_t length) noexcept;
int32_t JenkinsHashANSI(const char* s, int32_t length) noexcept;

// CRC-32 (IEEE 802.3, reflected, as zip and PNG use it) of `length` bytes,
// continuing from `crc` (0 to start).
uint32_t CRC32(const void* data, size_t length, uint32_t crc = 0) noexcept;
// CRC-32 of a string's UTF-16 units, each as two bytes, low byte first.
uint32_t CalcStrCRC32(std::u16string_view s) noexcept;

}  // namespace norvane
