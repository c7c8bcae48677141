// String helpers of the runtime: Pos, Copy, Delete, Insert, StringReplace,
// ASCII case, comparisons, trimming. Positions are 1-based.
#include <algorithm>
#include <cstring>
#include <string>

#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {
inline char16_t AsciiUpper(char16_t c) noexcept { return (c >= u'a' && c <= u'z') ? char16_t(c - 32) : c; }
inline char16_t AsciiLower(char16_t c) noexcept { return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c; }

template <char16_t (*F)(char16_t)>
UnicodeString MapAscii(const UnicodeString& s) {
  int32_t n = s.Length();
  const char16_t* p = s.Data();
  int32_t i = 0;
  while (i < n && F(p[i]) == p[i]) ++i;
  if (i == n) return s;
  UnicodeString r = UnicodeString::Alloc(n);
  char16_t* d = r.MutableData();
  std::memcpy(d, p, size_t(i) * 2);
  for (; i < n; ++i) d[i] = F(p[i]);
  return r;
}

inline int32_t Sign(int v) noexcept { return v < 0 ? -1 : (v > 0 ? 1 : 0); }
}  // namespace

int32_t Pos(std::u16string_view sub, std::u16string_view s, int32_t offset) {
  if (sub.empty() || offset < 1 || size_t(offset) > s.size()) return 0;
  size_t r = s.find(sub, size_t(offset - 1));
  return r == std::u16string_view::npos ? 0 : int32_t(r + 1);
}

int32_t Pos(char16_t c, std::u16string_view s, int32_t offset) {
  if (offset < 1 || size_t(offset) > s.size()) return 0;
  size_t r = s.find(c, size_t(offset - 1));
  return r == std::u16string_view::npos ? 0 : int32_t(r + 1);
}

UnicodeString Copy(const UnicodeString& s, int32_t index, int32_t count) {
  int32_t n = s.Length();
  if (index < 1) index = 1;
  if (count <= 0 || index > n) return UnicodeString();
  if (count > n - index + 1) count = n - index + 1;
  if (index == 1 && count == n) return s;
  return UnicodeString(s.Data() + index - 1, count);
}

void Delete(UnicodeString& s, int32_t index, int32_t count) {
  int32_t n = s.Length();
  if (index < 1 || index > n || count <= 0) return;
  if (count > n - index + 1) count = n - index + 1;
  std::u16string_view v = s.view();
  std::u16string r;
  r.reserve(size_t(n - count));
  r.append(v.substr(0, size_t(index - 1)));
  r.append(v.substr(size_t(index - 1 + count)));
  s = UnicodeString(r);
}

void Insert(std::u16string_view sub, UnicodeString& s, int32_t index) {
  if (sub.empty()) return;
  int32_t n = s.Length();
  if (index < 1) index = 1;
  if (index > n + 1) index = n + 1;
  std::u16string_view v = s.view();
  std::u16string r;
  r.reserve(v.size() + sub.size());
  r.append(v.substr(0, size_t(index - 1)));
  r.append(sub);
  r.append(v.substr(size_t(index - 1)));
  s = UnicodeString(r);
}

UnicodeString StringOfChar(char16_t c, int32_t count) {
  if (count <= 0) return UnicodeString();
  return UnicodeString(count, c);
}

UnicodeString StringReplace(const UnicodeString& s, std::u16string_view from, std::u16string_view to,
                            ReplaceFlags flags) {
  if (from.empty() || s.IsEmpty()) return s;
  const bool all = (uint8_t(flags) & uint8_t(ReplaceFlags::ReplaceAll)) != 0;
  const bool icase = (uint8_t(flags) & uint8_t(ReplaceFlags::IgnoreCase)) != 0;
  std::u16string_view src = s.view();
  // Simple case mapping keeps the length, so positions in the folded text
  // are positions in the original.
  std::u16string foldS, foldFrom;
  std::u16string_view hay = src, needle = from;
  if (icase) {
    foldS.resize(src.size());
    for (size_t i = 0; i < src.size(); ++i) foldS[i] = UnicodeUpper(src[i]);
    foldFrom.resize(from.size());
    for (size_t i = 0; i < from.size(); ++i) foldFrom[i] = UnicodeUpper(from[i]);
    hay = foldS;
    needle = foldFrom;
  }
  size_t p = hay.find(needle);
  if (p == std::u16string_view::npos) return s;
  std::u16string out;
  out.reserve(src.size());
  size_t last = 0;
  while (p != std::u16string_view::npos) {
    out.append(src.substr(last, p - last));
    out.append(to);
    last = p + needle.size();
    if (!all) break;
    p = hay.find(needle, last);
  }
  out.append(src.substr(last));
  return UnicodeString(out);
}

UnicodeString UpperCase(const UnicodeString& s) { return MapAscii<AsciiUpper>(s); }
UnicodeString LowerCase(const UnicodeString& s) { return MapAscii<AsciiLower>(s); }

int32_t CompareStr(std::u16string_view a, std::u16string_view b) noexcept { return Sign(a.compare(b)); }

int32_t CompareText(std::u16string_view a, std::u16string_view b) noexcept {
  size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    char16_t x = a[i], y = b[i];
    if (x == y) continue;
    x = AsciiUpper(x);
    y = AsciiUpper(y);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool SameText(std::u16string_view a, std::u16string_view b) noexcept {
  return a.size() == b.size() && CompareText(a, b) == 0;
}

bool SameStr(std::u16string_view a, std::u16string_view b) noexcept { return a == b; }

UnicodeString Trim(const UnicodeString& s) {
  int32_t n = s.Length(), b = 0, e = n;
  const char16_t* p = s.Data();
  while (b < e && p[b] <= u' ') ++b;
  while (e > b && p[e - 1] <= u' ') --e;
  if (b == 0 && e == n) return s;
  return UnicodeString(p + b, e - b);
}

UnicodeString TrimLeft(const UnicodeString& s) {
  int32_t n = s.Length(), b = 0;
  const char16_t* p = s.Data();
  while (b < n && p[b] <= u' ') ++b;
  if (b == 0) return s;
  return UnicodeString(p + b, n - b);
}

UnicodeString TrimRight(const UnicodeString& s) {
  int32_t n = s.Length(), e = n;
  const char16_t* p = s.Data();
  while (e > 0 && p[e - 1] <= u' ') --e;
  if (e == n) return s;
  return UnicodeString(p, e);
}

}  // namespace norvane
