#include "norvane/foundation/hash.h"

namespace norvane {

namespace {
constexpr uint32_t kShaMul = 0x3E0F83E1u;
constexpr uint32_t kShaAdd = 0x59D65D2Fu;
constexpr uint32_t kShaFinal = 0x90C03487u;

template <class Unit>
inline int32_t ShaLoop(const Unit* s, int32_t length) noexcept {
  if (!s || length <= 0) return 0;
  uint32_t h = 0;
  for (int32_t i = 0; i < length; ++i) h = h * kShaMul + uint32_t(s[i]) + kShaAdd;
  return int32_t(h * kShaFinal);
}

template <class Unit>
inline int32_t JenkinsLoop(const Unit* s, int32_t length) noexcept {
  uint32_t h = 0;
  if (s)
    for (int32_t i = 0; i < length; ++i) {
      h += uint32_t(s[i]);
      h *= 1025u;
      h ^= h >> 6;
    }
  h *= 9u;
  h ^= h >> 11;
  h *= 32769u;
  return int32_t(h);
}
}  // namespace

int32_t ShaPerfectHash(const char16_t* s, int32_t length) noexcept { return ShaLoop(s, length); }

int32_t ShaPerfectHashAsm(const char16_t* s, int32_t length) noexcept {
  if (!s || length <= 0) return 0;
  uint32_t h = 0;
  int32_t i = 0;
  // Four steps folded: the multiplier powers are constants, so the chain of
  // dependent multiplications shrinks from four to one per block.
  constexpr uint32_t m2 = kShaMul * kShaMul, m3 = m2 * kShaMul, m4 = m3 * kShaMul;
  constexpr uint32_t add4 = kShaAdd * (m3 + m2 + kShaMul + 1u);
  for (; i + 4 <= length; i += 4)
    h = h * m4 + uint32_t(s[i]) * m3 + uint32_t(s[i + 1]) * m2 + uint32_t(s[i + 2]) * kShaMul +
        uint32_t(s[i + 3]) + add4;
  for (; i < length; ++i) h = h * kShaMul + uint32_t(s[i]) + kShaAdd;
  return int32_t(h * kShaFinal);
}

int32_t ShaPerfectHashANSI(const char* s, int32_t length) noexcept {
  return ShaLoop(reinterpret_cast<const unsigned char*>(s), length);
}

int32_t RSHash(const char16_t* s, int32_t length) noexcept {
  uint32_t h = 0, a = 63689u;
  if (s)
    for (int32_t i = 0; i < length; ++i) {
      h = h * a + uint32_t(s[i]);
      a *= 378551u;
    }
  return int32_t(h);
}

int32_t JenkinsHash(const char16_t* s, int32_t length) noexcept { return JenkinsLoop(s, length); }

int32_t JenkinsHashANSI(const char* s, int32_t length) noexcept {
  return JenkinsLoop(reinterpret_cast<const unsigned char*>(s), length);
}

namespace {
struct Crc32Table {
  uint32_t t[256];
  constexpr Crc32Table() : t() {
    for (uint32_t i = 0; i < 256; ++i) {
      uint32_t c = i;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[i] = c;
    }
  }
};
constexpr Crc32Table kCrc32;
}  // namespace

uint32_t CRC32(const void* data, size_t length, uint32_t crc) noexcept {
  const auto* p = static_cast<const unsigned char*>(data);
  uint32_t c = ~crc;
  for (size_t i = 0; i < length; ++i) c = kCrc32.t[(c ^ p[i]) & 0xFF] ^ (c >> 8);
  return ~c;
}

uint32_t CalcStrCRC32(std::u16string_view s) noexcept {
  uint32_t c = ~0u;
  for (char16_t u : s) {
    c = kCrc32.t[(c ^ uint32_t(u & 0xFF)) & 0xFF] ^ (c >> 8);
    c = kCrc32.t[(c ^ uint32_t(u >> 8)) & 0xFF] ^ (c >> 8);
  }
  return ~c;
}

}  // namespace norvane
