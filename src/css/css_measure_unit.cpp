#include "norvane/css/css_measure_unit.h"

namespace norvane {

namespace {

constexpr std::u16string_view kSuffixes[] = {u"px", u"%",  u"in", u"mm", u"pt",  u"cm", u"em",  u"ex",
                                             u"pc", u"ms", u"s",  u"rem", u"vw", u"vh", u"deg", u""};
static_assert(std::size(kSuffixes) == muNone + 1);

constexpr char16_t Lower(char16_t c) noexcept { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; }
constexpr bool IsAlnum(char16_t c) noexcept {
  return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

}  // namespace

std::u16string_view MeasureUnitSuffix(TMeasureUnit unit) noexcept {
  return unsigned(unit) <= muNone ? kSuffixes[unit] : std::u16string_view();
}

TMeasureUnit MeasureUnitFromSuffix(std::u16string_view suffix) noexcept {
  if (suffix.empty() || suffix.size() > 3) return muNone;
  for (int32_t u = muPX; u < muNone; ++u) {
    std::u16string_view s = kSuffixes[u];
    if (s.size() != suffix.size()) continue;
    size_t i = 0;
    while (i < s.size() && Lower(suffix[i]) == s[i]) ++i;
    if (i == s.size()) return TMeasureUnit(u);
  }
  return muNone;
}

TMeasureUnit ScanMeasureUnit(const char16_t* p, const char16_t* end) noexcept {
  const ptrdiff_t n = end - p;
  if (n <= 0) return muNone;
  const char16_t c0 = Lower(p[0]);
  const char16_t c1 = n > 1 ? Lower(p[1]) : 0;
  const char16_t c2 = n > 2 ? p[2] : 0;  // case matters for "deg" and "rem"
  switch (c0) {
    case u'c':
      return c1 == u'm' && !IsAlnum(c2) ? muCM : muNone;
    case u'd':
      return c1 == u'e' && c2 == u'g' ? muDeg : muNone;
    case u'e':
      if (c1 == u'm') return IsAlnum(c2) ? muNone : muEM;
      return c1 == u'x' ? muEX : muNone;
    case u'i':
      return c1 == u'n' && !IsAlnum(c2) ? muIN : muNone;
    case u'm':
      return c1 == u'm' ? muMM : c1 == u's' ? muMS : muNone;
    case u'p':
      return c1 == u'c' ? muPC : c1 == u't' ? muPt : c1 == u'x' ? muPX : muNone;
    case u'r':
      return c1 == u'e' && c2 == u'm' ? muREM : muNone;
    case u's':
      return muS;
    case u'v':
      return c1 == u'w' ? muVW : muVH;
    default:
      return muNone;
  }
}

}  // namespace norvane
