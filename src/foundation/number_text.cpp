#include "norvane/foundation/number_text.h"

#include <charconv>
#include <cmath>
#include <string>

#include "norvane/foundation/text_utils.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

constexpr double kPow10[17] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7, 1e8,
                               1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};
// Fraction digits and exponent digits stop counting here.
constexpr int32_t kDigitCap = 10000000;

inline bool IsDigit(char16_t c) noexcept { return c >= u'0' && c <= u'9'; }

[[noreturn]] void InvalidNumber(const UnicodeString& s) {
  throw Exception(u"Invalid number %s", {s});
}

// Both parsers share one scanner. Lenient mode answers 0 where strict mode
// raises; strict mode also skips the thousand separator among the integer
// digits and opens the fraction only at `decimal`.
double ScanNumber(const UnicodeString& text, bool strict, char16_t decimal, char16_t thousand) {
  std::u16string_view s = text.view();
  size_t n = s.size(), i = 0;
  while (i < n && s[i] == u' ') ++i;
  if (i >= n) return 0;
  char16_t c = s[i];
  bool first = c == u'+' || c == u'-' || IsDigit(c) || (strict ? c == decimal : c == u'.' || c == u',');
  if (!first) {
    if (strict) InvalidNumber(text);
    return 0;
  }
  bool neg = c == u'-';
  if (c == u'+' || c == u'-') ++i;
  double v = 0;
  while (i < n && (IsDigit(s[i]) || (strict && s[i] == thousand))) {
    if (IsDigit(s[i])) v = v * 10 + (s[i] - u'0');
    ++i;
  }
  if (i < n && (strict ? s[i] == decimal : s[i] == u'.' || s[i] == u',')) {
    ++i;
    int32_t frac = 0, divider = 1;
    for (; i < n && IsDigit(s[i]); ++i) {
      if (divider < kDigitCap) {
        frac = frac * 10 + (s[i] - u'0');
        divider *= 10;
      }
    }
    v += double(frac) / divider;
  }
  if (i < n && (s[i] == u'e' || s[i] == u'E')) {
    ++i;
    bool eneg = false;
    if (i < n && s[i] == u'-') {
      eneg = true;
      ++i;
    }
    int32_t e = 0;
    for (; i < n && IsDigit(s[i]); ++i)
      if (e < kDigitCap) e = e * 10 + (s[i] - u'0');
    if (e < 17) {
      v = eneg ? v / kPow10[e] : v * kPow10[e];
    } else {
      if (strict) InvalidNumber(text);
      v = 0;
    }
  }
  if (i != n) {
    if (strict) InvalidNumber(text);
    return 0;
  }
  return neg ? -v : v;
}

// Digits of an integral double, sign included.
std::string IntegralText(double t) {
  if (std::fabs(t) < 9223372036854775808.0) return std::to_string(int64_t(t));
  char buf[400];
  auto r = std::to_chars(buf, buf + sizeof buf, t, std::chars_format::fixed, 0);
  return std::string(buf, r.ptr);
}

}  // namespace

double iStrtoFloat(const UnicodeString& s) noexcept {
  return ScanNumber(s, false, u'.', u',');
}

double StrtoFloatCheck(const UnicodeString& s, char16_t decimal, char16_t thousand) {
  return ScanNumber(s, true, decimal, thousand);
}

int32_t iStrtoInt(const UnicodeString& s) noexcept {
  int32_t v;
  return TryStrToInt(s.view(), v) ? v : 0;
}

int32_t HexToDec(const UnicodeString& s) noexcept {
  std::u16string_view v = s.view();
  if (v.starts_with(u"0x")) v.remove_prefix(2);
  if (!v.empty() && (v.back() == u'h' || v.back() == u'H')) v.remove_suffix(1);
  static constexpr std::u16string_view kDigits = u"0123456789abcdefghijklmnopqrstuvwxyz";
  uint32_t result = 0, place = 1;
  for (size_t k = v.size(); k-- > 0;) {
    size_t idx = kDigits.find(CharLower(v[k]));
    uint32_t d = idx == std::u16string_view::npos ? uint32_t(-1) : uint32_t(idx);
    result += d * place;
    place *= 16;
  }
  return int32_t(result);
}

UnicodeString HtFormatFloat(std::u16string_view format, double value) {
  TFormatSettings fs;
  fs.DecimalSeparator = u'.';
  fs.ThousandSeparator = u' ';
  return FormatFloat(format, value, fs);
}

UnicodeString HtFormatDecimal(double value, int32_t decimals) {
  if (std::isnan(value)) throw EMathError(UnicodeString(u"Invalid floating point operation"));
  if (std::isinf(value)) throw EOverflow(UnicodeString(u"Floating point overflow"));
  if (decimals < 0) decimals = 0;
  int32_t scale = 1;
  for (int32_t k = 0; k < decimals; ++k) {
    if (scale > INT32_MAX / 10) throw EIntOverflow(UnicodeString(u"Integer overflow"));
    scale *= 10;
  }
  double t = std::nearbyint(value);
  if (decimals == 0 || std::fabs(value - t) * scale < 0.5) return UnicodeString::FromAscii(IntegralText(t).c_str());
  std::string d = IntegralText(std::nearbyint(double(scale) * value));
  size_t signLen = d[0] == '-' ? 1 : 0;
  if (d.size() - signLen < size_t(decimals)) d.insert(signLen, size_t(decimals) - (d.size() - signLen), '0');
  d.insert(d.size() - size_t(decimals), 1, '.');
  while (d.back() == '0') d.pop_back();
  // A tie such as 0.005 at 2 decimals rounds to no fraction at all.
  if (d.back() == '.') d.pop_back();
  if (d.empty() || d == "-") return UnicodeString(u"0");
  return UnicodeString::FromAscii(d.c_str());
}

}  // namespace norvane
