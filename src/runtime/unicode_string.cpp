#include "norvane/runtime/unicode_string.h"

#include <algorithm>
#include <climits>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <cstdlib>
#include <new>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/small_pool.h"

namespace norvane {

namespace {
// Longest string a block may hold; keeps the byte size well inside int32
// arithmetic of callers that compute sizes in units.
constexpr int32_t kMaxLength = 0x3FFFFFF0;
// Short strings, the most common, come from the pools.
constexpr size_t BlockBytes(int32_t length) noexcept { return 8 + (size_t(length) + 1) * sizeof(char16_t); }
}  // namespace

char16_t* UnicodeString::Allocate(int32_t length) {
  if (length < 0 || length > kMaxLength) throw EOutOfMemory();
  auto* h = static_cast<Header*>(SmallPoolTake(BlockBytes(length)));
  if (!h) throw EOutOfMemory();
  new (&h->refs) std::atomic<int32_t>(1);
  h->length = length;
  auto* d = reinterpret_cast<char16_t*>(h + 1);
  d[length] = 0;
  return d;
}

void UnicodeString::Free(char16_t* d) noexcept {
  Header* h = reinterpret_cast<Header*>(d) - 1;
  SmallPoolGive(h, BlockBytes(h->length));
}

UnicodeString UnicodeString::Immortal(std::u16string_view s) {
  UnicodeString r(s);
  if (r.d_) r.Head()->refs.store(INT32_MIN / 2, std::memory_order_relaxed);
  return r;
}

UnicodeString UnicodeString::Alloc(int32_t length) {
  UnicodeString s;
  if (length != 0) s.d_ = Allocate(length);
  return s;
}

UnicodeString::UnicodeString(const char16_t* s) {
  if (!s) return;
  size_t n = std::char_traits<char16_t>::length(s);
  if (n == 0) return;
  if (n > size_t(kMaxLength)) throw EOutOfMemory();
  d_ = Allocate(int32_t(n));
  std::memcpy(d_, s, n * 2);
}

UnicodeString::UnicodeString(const char16_t* s, int32_t length) {
  if (length <= 0 || !s) return;
  d_ = Allocate(length);
  std::memcpy(d_, s, size_t(length) * 2);
}

UnicodeString::UnicodeString(std::u16string_view s) {
  if (s.empty()) return;
  if (s.size() > size_t(kMaxLength)) throw EOutOfMemory();
  d_ = Allocate(int32_t(s.size()));
  std::memcpy(d_, s.data(), s.size() * 2);
}

UnicodeString::UnicodeString(int32_t count, char16_t ch) {
  if (count <= 0) return;
  d_ = Allocate(count);
  std::char_traits<char16_t>::assign(d_, size_t(count), ch);
}

UnicodeString UnicodeString::FromLatin1(std::string_view bytes) {
  UnicodeString s = Alloc(int32_t(std::min<size_t>(bytes.size(), size_t(kMaxLength) + 1)));
  for (size_t i = 0; i < bytes.size(); ++i) s.d_[i] = char16_t(uint8_t(bytes[i]));
  return s;
}

char16_t* UnicodeString::MutableData() {
  if (!d_) return nullptr;
  if (Head()->refs.load(std::memory_order_acquire) != 1) {
    int32_t n = Head()->length;
    char16_t* copy = Allocate(n);
    std::memcpy(copy, d_, size_t(n) * 2);
    Release();
    d_ = copy;
  }
  return d_;
}

void UnicodeString::SetLength(int32_t n) {
  if (n <= 0) {
    Clear();
    return;
  }
  int32_t old = Length();
  if (n == old) {
    MutableData();
    return;
  }
  if (d_ && Head()->refs.load(std::memory_order_acquire) == 1) {
    // Sole owner: resize the block in place.
    if (n > kMaxLength) throw EOutOfMemory();
    auto* h = static_cast<Header*>(SmallPoolResize(Head(), BlockBytes(old), BlockBytes(n)));
    if (!h) throw EOutOfMemory();
    d_ = reinterpret_cast<char16_t*>(h + 1);
    h->length = n;
  } else {
    char16_t* fresh = Allocate(n);
    std::memcpy(fresh, d_ ? d_ : u"", size_t(std::min(old, n)) * 2);
    Release();
    d_ = fresh;
  }
  if (n > old) std::memset(d_ + old, 0, size_t(n - old) * 2);
  d_[n] = 0;
}

UnicodeString& UnicodeString::operator+=(std::u16string_view s) {
  if (s.empty()) return *this;
  int32_t old = Length();
  if (s.size() > size_t(kMaxLength - old)) throw EOutOfMemory();
  // `s` may point into our own block, which SetLength can move.
  if (d_ && s.data() >= d_ && s.data() <= d_ + old) {
    std::u16string copy(s);
    return *this += std::u16string_view(copy);
  }
  SetLength(old + int32_t(s.size()));
  std::memcpy(d_ + old, s.data(), s.size() * 2);
  return *this;
}

UnicodeString& UnicodeString::operator+=(const UnicodeString& s) {
  if (!d_) return *this = s;
  return *this += s.view();
}

static UnicodeString Concat(std::u16string_view a, std::u16string_view b) {
  if (a.size() + b.size() > size_t(kMaxLength)) throw EOutOfMemory();
  UnicodeString r = UnicodeString::Alloc(int32_t(a.size() + b.size()));
  if (char16_t* d = r.MutableData()) {
    // An empty side may be a null view; memcpy must not see it.
    if (!a.empty()) std::memcpy(d, a.data(), a.size() * 2);
    if (!b.empty()) std::memcpy(d + a.size(), b.data(), b.size() * 2);
  }
  return r;
}

UnicodeString operator+(const UnicodeString& a, const UnicodeString& b) {
  if (b.IsEmpty()) return a;
  if (a.IsEmpty()) return b;
  return Concat(a.view(), b.view());
}
UnicodeString operator+(const UnicodeString& a, const char16_t* b) { return Concat(a.view(), b); }
UnicodeString operator+(const char16_t* a, const UnicodeString& b) { return Concat(a, b.view()); }
UnicodeString operator+(const UnicodeString& a, char16_t b) { return Concat(a.view(), {&b, 1}); }
UnicodeString operator+(char16_t a, const UnicodeString& b) { return Concat({&a, 1}, b.view()); }

void AppendUtf8(std::string& out, std::u16string_view s) {
  out.reserve(out.size() + s.size());
  for (size_t i = 0; i < s.size(); ++i) {
    uint32_t c = s[i];
    if (c < 0x80) {
      out.push_back(char(c));
      continue;
    }
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (s[i + 1] - 0xDC00);
      ++i;
    }
    if (c < 0x800) {
      out.push_back(char(0xC0 | (c >> 6)));
    } else if (c < 0x10000) {
      out.push_back(char(0xE0 | (c >> 12)));
      out.push_back(char(0x80 | ((c >> 6) & 0x3F)));
    } else {
      out.push_back(char(0xF0 | (c >> 18)));
      out.push_back(char(0x80 | ((c >> 12) & 0x3F)));
      out.push_back(char(0x80 | ((c >> 6) & 0x3F)));
    }
    out.push_back(char(0x80 | (c & 0x3F)));
  }
}

char16_t* Utf8ToU16(const uint8_t* p, size_t size, char16_t* out) noexcept {
  const uint8_t* end = p + size;
  while (p < end) {
    // ASCII, the bulk of most texts, goes sixteen bytes at a time (eight
    // where the vector unit is missing).
#if defined(__SSE2__)
    while (end - p >= 16) {
      const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
      if (_mm_movemask_epi8(b) != 0) break;
      const __m128i zero = _mm_setzero_si128();
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(b, zero));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpackhi_epi8(b, zero));
      p += 16;
      out += 16;
    }
    if (p >= end) break;
#endif
    if (end - p >= 8) {
      uint64_t w;
      std::memcpy(&w, p, sizeof w);
      if ((w & 0x8080808080808080ull) == 0) {
        for (int k = 0; k < 8; ++k) out[k] = char16_t(p[k]);
        p += 8;
        out += 8;
        continue;
      }
    }
    uint32_t c = *p;
    if (c < 0x80) {
      *out++ = char16_t(c);
      ++p;
      continue;
    }
    int extra;
    uint32_t min;
    if (c >= 0xC2 && c <= 0xDF) {
      extra = 1, c &= 0x1F, min = 0x80;
    } else if (c >= 0xE0 && c <= 0xEF) {
      extra = 2, c &= 0x0F, min = 0x800;
    } else if (c >= 0xF0 && c <= 0xF4) {
      extra = 3, c &= 0x07, min = 0x10000;
    } else {
      *out++ = u'\uFFFD';
      ++p;
      continue;
    }
    const uint8_t* q = p + 1;
    int k = 0;
    for (; k < extra && q < end && (*q & 0xC0) == 0x80; ++k, ++q) c = (c << 6) | (*q & 0x3F);
    if (k < extra || c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      *out++ = u'\uFFFD';
      p = q > p + 1 ? q : p + 1;
      continue;
    }
    p = q;
    if (c >= 0x10000) {
      c -= 0x10000;
      *out++ = char16_t(0xD800 + (c >> 10));
      *out++ = char16_t(0xDC00 + (c & 0x3FF));
    } else {
      *out++ = char16_t(c);
    }
  }
  return out;
}

std::u16string Utf8ToU16(std::string_view in) {
  // Never more units than bytes: a 4-byte form gives two.
  std::u16string out(in.size(), u'\0');
  char16_t* end = Utf8ToU16(reinterpret_cast<const uint8_t*>(in.data()), in.size(), out.data());
  out.resize(size_t(end - out.data()));
  return out;
}

UnicodeString UnicodeString::FromUtf8(std::string_view utf8) {
  if (utf8.empty()) return UnicodeString();
  if (utf8.size() > size_t(kMaxLength)) throw EOutOfMemory();
  // Never more units than bytes: decode into a block of that size and trim
  // it (in place) to what was written.
  UnicodeString s;
  s.d_ = Allocate(int32_t(utf8.size()));
  const char16_t* end = Utf8ToU16(reinterpret_cast<const uint8_t*>(utf8.data()), utf8.size(), s.d_);
  s.SetLength(int32_t(end - s.d_));
  return s;
}

std::string UnicodeString::ToUtf8() const {
  std::string out;
  AppendUtf8(out, view());
  return out;
}

}  // namespace norvane
