#include "norvane/foundation/hstring.h"

#include <algorithm>
#include <cstring>

#include "norvane/runtime/exception.h"

namespace norvane {

namespace {

int32_t CheckedCount(size_t n) {
  if (n > size_t(INT32_MAX)) throw EOutOfMemory();
  return int32_t(n);
}

}  // namespace

void THString::ANSIBytestoString(const TBytes& bytes, UnicodeString& out, int32_t start, int32_t count) {
  int64_t size = int64_t(bytes.size());
  int64_t from = std::clamp<int64_t>(start, 0, size);
  int64_t n = count < 0 ? size - from : std::min<int64_t>(count, size - from);
  UnicodeString s = UnicodeString::Alloc(CheckedCount(size_t(n)));
  char16_t* w = s.MutableData();
  for (int64_t k = 0; k < n; ++k) w[k] = bytes[size_t(from + k)];
  out = std::move(s);
}

TBytes THString::StringtoANSIBytes(const UnicodeString& s) {
  TBytes b(size_t(s.Length()));
  for (int32_t k = 0; k < s.Length(); ++k) b[size_t(k)] = uint8_t(s[k]);
  return b;
}

void THString::BEUnicodeBytestoString(const TBytes& bytes, UnicodeString& out) {
  size_t n = bytes.size() / 2;
  UnicodeString s = UnicodeString::Alloc(CheckedCount(n));
  char16_t* w = s.MutableData();
  for (size_t k = 0; k < n; ++k) w[k] = char16_t((bytes[2 * k] << 8) | bytes[2 * k + 1]);
  out = std::move(s);
}

void THString::UnicodeBytestoString(const TBytes& bytes, UnicodeString& out) {
  UnicodeString s = UnicodeString::Alloc(CheckedCount(bytes.size()));
  if (!bytes.empty()) {
    char16_t* w = s.MutableData();
    std::memset(w, 0, bytes.size() * 2);
    std::memcpy(w, bytes.data(), bytes.size());
  }
  out = std::move(s);
}

}  // namespace norvane
