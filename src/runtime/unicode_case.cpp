// Unicode simple case mapping and character classes over the BMP, from the
// generated tables in unicode_tables.inc (no locale involved).
#include <cstdint>

#include "norvane/runtime/sysutils.h"

namespace norvane {
namespace {
#include "unicode_tables.inc"

inline uint8_t Category(char16_t c) noexcept { return uc_cat_blocks[uc_cat_index[c >> 8]][c & 0xFF]; }

inline char16_t FoldUpper(char16_t c) noexcept {
  if (c < 0x80) return (c >= u'a' && c <= u'z') ? char16_t(c - 32) : c;
  return char16_t(c + uc_upper_blocks[uc_upper_index[c >> 8]][c & 0xFF]);
}
inline char16_t FoldLower(char16_t c) noexcept {
  if (c < 0x80) return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c;
  return char16_t(c + uc_lower_blocks[uc_lower_index[c >> 8]][c & 0xFF]);
}

template <char16_t (*F)(char16_t)>
UnicodeString MapString(const UnicodeString& s) {
  int32_t n = s.Length();
  const char16_t* p = s.Data();
  int32_t i = 0;
  while (i < n && F(p[i]) == p[i]) ++i;
  if (i == n) return s;  // unchanged: share the block
  UnicodeString r = UnicodeString::Alloc(n);
  char16_t* d = r.MutableData();
  for (int32_t k = 0; k < i; ++k) d[k] = p[k];
  for (; i < n; ++i) d[i] = F(p[i]);
  return r;
}
}  // namespace

char16_t UnicodeUpper(char16_t c) noexcept { return FoldUpper(c); }
char16_t UnicodeLower(char16_t c) noexcept { return FoldLower(c); }

UnicodeString AnsiUpperCase(const UnicodeString& s) { return MapString<FoldUpper>(s); }
UnicodeString AnsiLowerCase(const UnicodeString& s) { return MapString<FoldLower>(s); }

// Compares after simple upper-casing each unit (the runtime's
// CompareString with NORM_IGNORECASE, without the locale's collation).
int32_t AnsiCompareText(std::u16string_view a, std::u16string_view b) noexcept {
  size_t n = a.size() < b.size() ? a.size() : b.size();
  for (size_t i = 0; i < n; ++i) {
    char16_t x = a[i], y = b[i];
    if (x == y) continue;
    x = FoldUpper(x);
    y = FoldUpper(y);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool AnsiSameText(std::u16string_view a, std::u16string_view b) noexcept {
  return a.size() == b.size() && AnsiCompareText(a, b) == 0;
}

bool IsLetter(char16_t c) noexcept {
  uint8_t k = Category(c);
  return k >= ucLu && k <= ucLo;
}
bool IsNumber(char16_t c) noexcept {
  uint8_t k = Category(c);
  return k >= ucNd && k <= ucNo;
}
bool IsLetterOrDigit(char16_t c) noexcept {
  uint8_t k = Category(c);
  return (k >= ucLu && k <= ucLo) || k == ucNd;
}
// Space, line and paragraph separators plus U+0009..U+000D and U+0085.
bool IsWhiteSpace(char16_t c) noexcept {
  if (c <= 0x20) return c == 0x20 || (c >= 0x09 && c <= 0x0D);
  if (c == 0x85) return true;
  uint8_t k = Category(c);
  return k >= ucZs && k <= ucZp;
}

}  // namespace norvane
