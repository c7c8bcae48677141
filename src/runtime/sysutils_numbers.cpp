// Integer and float conversions of the runtime: IntToStr, StrToInt,
// FloatToStr, FormatFloat, StrToFloat, rounding, booleans.
//
// All float output goes through detail::ToDecimal, which reads the exact
// decimal expansion of the double with std::to_chars (locale-free) and then
// rounds half away from zero on those decimal digits, as the runtime's
// FloatToDecimal does.
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"
#include "sysutils_internal.h"

namespace norvane {

const TFormatSettings& TFormatSettings::Invariant() {
  static const TFormatSettings fs;
  return fs;
}

namespace detail {

FloatDecimal ToDecimal(double v, int32_t precision, int32_t decimals) noexcept {
  FloatDecimal r;
  if (std::isnan(v)) {
    r.special = true;
    r.text = "NAN";
    return r;
  }
  if (std::isinf(v)) {
    r.special = true;
    r.negative = v < 0;
    r.text = v < 0 ? "-INF" : "INF";
    return r;
  }
  if (v == 0) return r;
  if (precision < 1) precision = 1;
  if (precision > 18) precision = 18;
  char buf[48];
  auto res = std::to_chars(buf, buf + sizeof buf, std::fabs(v), std::chars_format::scientific, 17);
  *res.ptr = 0;
  // buf = "d.ddddddddddddddddde[+-]xx"
  char digits[18];
  digits[0] = buf[0];
  std::memcpy(digits + 1, buf + 2, 17);
  const char* e = std::strchr(buf, 'e');
  int32_t exp10 = 0;
  std::from_chars(e + (e[1] == '+' ? 2 : 1), res.ptr, exp10);
  int32_t exponent = exp10 + 1;
  int32_t keep = precision;
  if (decimals < 9999 && exponent + decimals < keep) keep = exponent + decimals;
  if (keep < 0) return r;  // rounds to zero
  int32_t count = keep;
  if (keep < 18 && digits[keep] >= '5') {
    int32_t i = keep - 1;
    while (i >= 0 && digits[i] == '9') --i;
    if (i < 0) {
      digits[0] = '1';
      count = 1;
      ++exponent;
    } else {
      ++digits[i];
      count = i + 1;
    }
  }
  while (count > 0 && digits[count - 1] == '0') --count;
  if (count == 0) return r;
  r.negative = v < 0;
  r.exponent = exponent;
  r.count = uint8_t(count);
  std::memcpy(r.digits, digits, size_t(count));
  return r;
}

static void AppendExpPart(std::u16string& out, int32_t e, bool forceSign, int32_t minDigits) {
  out += u'E';
  if (e < 0) {
    out += u'-';
    e = -e;
  } else if (forceSign) {
    out += u'+';
  }
  char buf[12];
  auto res = std::to_chars(buf, buf + sizeof buf, e);
  for (int32_t n = int32_t(res.ptr - buf); n < minDigits; ++n) out += u'0';
  AppendAscii(out, std::string_view(buf, size_t(res.ptr - buf)));
}

void AppendGeneral(std::u16string& out, double v, int32_t precision, int32_t expDigits, char16_t dec) {
  if (precision < 1 || precision > 18) precision = 15;
  FloatDecimal d = ToDecimal(v, precision);
  if (d.special) return AppendAscii(out, d.text);
  if (d.count == 0) {
    out += u'0';
    return;
  }
  if (d.negative) out += u'-';
  int32_t E = d.exponent, n = d.count;
  if (E > precision || E < -3) {
    out += char16_t(d.digits[0]);
    if (n > 1) {
      out += dec;
      for (int32_t i = 1; i < n; ++i) out += char16_t(d.digits[i]);
    }
    AppendExpPart(out, E - 1, false, expDigits);
  } else if (E <= 0) {
    out += u'0';
    out += dec;
    for (int32_t i = E; i < 0; ++i) out += u'0';
    for (int32_t i = 0; i < n; ++i) out += char16_t(d.digits[i]);
  } else {
    for (int32_t i = 0; i < E; ++i) out += i < n ? char16_t(d.digits[i]) : u'0';
    if (n > E) {
      out += dec;
      for (int32_t i = E; i < n; ++i) out += char16_t(d.digits[i]);
    }
  }
}

void AppendExponent(std::u16string& out, double v, int32_t precision, int32_t expDigits, char16_t dec) {
  if (precision < 1 || precision > 18) precision = 15;
  FloatDecimal d = ToDecimal(v, precision);
  if (d.special) return AppendAscii(out, d.text);
  if (d.negative) out += u'-';
  out += d.count ? char16_t(d.digits[0]) : u'0';
  if (precision > 1) {
    out += dec;
    for (int32_t i = 1; i < precision; ++i) out += i < d.count ? char16_t(d.digits[i]) : u'0';
  }
  AppendExpPart(out, d.count ? d.exponent - 1 : 0, true, expDigits);
}

void AppendFixed(std::u16string& out, double v, int32_t decimals, char16_t dec, char16_t thousand) {
  if (decimals < 0) decimals = 0;
  if (decimals > 18) decimals = 18;
  FloatDecimal d = ToDecimal(v, 18, decimals);
  if (d.special) return AppendAscii(out, d.text);
  if (d.exponent > 18) return AppendGeneral(out, v, 15, 0, dec);
  if (d.negative) out += u'-';
  int32_t E = d.exponent, n = d.count;
  if (E <= 0) {
    out += u'0';
  } else {
    for (int32_t i = 0; i < E; ++i) {
      if (thousand && i > 0 && (E - i) % 3 == 0) out += thousand;
      out += i < n ? char16_t(d.digits[i]) : u'0';
    }
  }
  if (decimals > 0) {
    out += dec;
    for (int32_t i = 0; i < decimals; ++i) {
      int32_t k = E + i;
      out += (k >= 0 && k < n) ? char16_t(d.digits[k]) : u'0';
    }
  }
}

}  // namespace detail

using detail::AppendAscii;

// --- Integers ------------------------------------------------------------------

UnicodeString IntToStr(int64_t v) {
  char buf[24];
  auto r = std::to_chars(buf, buf + sizeof buf, v);
  return UnicodeString::FromLatin1(std::string_view(buf, size_t(r.ptr - buf)));
}

UnicodeString UIntToStr(uint64_t v) {
  char buf[24];
  auto r = std::to_chars(buf, buf + sizeof buf, v);
  return UnicodeString::FromLatin1(std::string_view(buf, size_t(r.ptr - buf)));
}

UnicodeString IntToHex(uint64_t v, int32_t digits) {
  char buf[24];
  int32_t n = 0;
  do {
    buf[n++] = "0123456789ABCDEF"[v & 15];
    v >>= 4;
  } while (v);
  if (digits > 64) digits = 64;
  int32_t len = n > digits ? n : digits;
  UnicodeString r = UnicodeString::Alloc(len);
  char16_t* p = r.MutableData();
  int32_t i = 0;
  for (; i < len - n; ++i) p[i] = u'0';
  while (n) p[i++] = char16_t(buf[--n]);
  return r;
}

namespace {

// The runtime's Val for integers. Hexadecimal may use the full unsigned
// range of the target (so "$FFFFFFFF" is -1 as a 32-bit value).
bool ParseInt(std::u16string_view s, bool is64, int64_t& out) noexcept {
  size_t i = 0, n = s.size();
  while (i < n && (s[i] == u' ' || s[i] == u'\t')) ++i;
  bool neg = false;
  if (i < n && (s[i] == u'+' || s[i] == u'-')) neg = s[i++] == u'-';
  if (i >= n) return false;
  bool hex = false;
  if (s[i] == u'$' || s[i] == u'x' || s[i] == u'X') {
    hex = true;
    ++i;
  } else if (s[i] == u'0' && i + 1 < n && (s[i + 1] == u'x' || s[i + 1] == u'X')) {
    hex = true;
    i += 2;
  }
  if (i >= n) return false;
  uint64_t acc = 0;
  if (hex) {
    const uint64_t limit = is64 ? UINT64_MAX : 0xFFFFFFFFull;
    for (; i < n; ++i) {
      char16_t c = s[i];
      unsigned dgt;
      if (c >= u'0' && c <= u'9') dgt = c - u'0';
      else if (c >= u'a' && c <= u'f') dgt = c - u'a' + 10;
      else if (c >= u'A' && c <= u'F') dgt = c - u'A' + 10;
      else return false;
      if (acc > (limit >> 4)) return false;
      acc = (acc << 4) | dgt;
    }
    if (!is64) acc = uint64_t(int64_t(int32_t(uint32_t(acc))));
    out = neg ? int64_t(0 - acc) : int64_t(acc);
    if (!is64) out = int32_t(uint32_t(uint64_t(out)));
    return true;
  }
  const uint64_t limit = is64 ? (neg ? uint64_t(1) << 63 : uint64_t(INT64_MAX))
                              : (neg ? uint64_t(1) << 31 : uint64_t(INT32_MAX));
  for (; i < n; ++i) {
    char16_t c = s[i];
    if (c < u'0' || c > u'9') return false;
    unsigned dgt = c - u'0';
    if (acc > (limit - dgt) / 10) return false;
    acc = acc * 10 + dgt;
  }
  out = neg ? int64_t(0 - acc) : int64_t(acc);
  return true;
}

[[noreturn]] void RaiseConvert(const char16_t* fmt, std::u16string_view s) {
  throw EConvertError(fmt, {s});
}

}  // namespace

bool TryStrToInt(std::u16string_view s, int32_t& v) noexcept {
  int64_t r;
  if (!ParseInt(s, false, r)) return false;
  v = int32_t(r);
  return true;
}

bool TryStrToInt64(std::u16string_view s, int64_t& v) noexcept { return ParseInt(s, true, v); }

int32_t StrToInt(std::u16string_view s) {
  int32_t v;
  if (!TryStrToInt(s, v)) RaiseConvert(u"'%s' is not a valid integer value", s);
  return v;
}

int64_t StrToInt64(std::u16string_view s) {
  int64_t v;
  if (!ParseInt(s, true, v)) RaiseConvert(u"'%s' is not a valid integer value", s);
  return v;
}

int32_t StrToIntDef(std::u16string_view s, int32_t def) noexcept {
  int32_t v;
  return TryStrToInt(s, v) ? v : def;
}

// --- Floats --------------------------------------------------------------------

// General format, 15 significant digits; exponential when the decimal
// exponent x of d.ddd*10^x is >= 15 or < -4 (the runtime's "Exponent >
// Precision or Exponent < -3" with its 0.ddd*10^E convention), exponent
// without "+" and without padding: 1E15, 1.5E-5.
UnicodeString FloatToStr(double v, const TFormatSettings& fs) {
  std::u16string out;
  detail::AppendGeneral(out, v, 15, 0, fs.DecimalSeparator);
  return UnicodeString(out);
}

namespace {

// Splits the mask into up to three sections at ';' outside quotes.
int SplitSections(std::u16string_view mask, std::u16string_view sec[3]) {
  int count = 0;
  size_t start = 0;
  char16_t quote = 0;
  for (size_t i = 0; i <= mask.size(); ++i) {
    if (i < mask.size()) {
      char16_t c = mask[i];
      if (quote) {
        if (c == quote) quote = 0;
        continue;
      }
      if (c == u'\'' || c == u'"') {
        quote = c;
        continue;
      }
      if (c != u';') continue;
    }
    if (count < 3) sec[count++] = mask.substr(start, i - start);
    start = i + 1;
    if (count == 3) break;
  }
  return count;
}

struct MaskInfo {
  int32_t intCount = 0;      // placeholders before the point (or the exponent)
  int32_t intMin = 0;        // from the first '0' on
  int32_t fracCount = 0;     // placeholders after the point
  int32_t fracMin = 0;       // up to the last '0'
  bool thousands = false;
  bool scientific = false;
  bool hasPoint = false;
};

MaskInfo Scan(std::u16string_view m) {
  MaskInfo mi;
  char16_t quote = 0;
  int32_t firstZero = -1;
  for (size_t i = 0; i < m.size(); ++i) {
    char16_t c = m[i];
    if (quote) {
      if (c == quote) quote = 0;
      continue;
    }
    switch (c) {
      case u'\'':
      case u'"':
        quote = c;
        break;
      case u'0':
      case u'#':
        if (mi.hasPoint) {
          ++mi.fracCount;
          if (c == u'0') mi.fracMin = mi.fracCount;
        } else {
          if (c == u'0' && firstZero < 0) firstZero = mi.intCount;
          ++mi.intCount;
        }
        break;
      case u'.':
        if (!mi.hasPoint) mi.hasPoint = true;
        break;
      case u',':
        if (!mi.hasPoint) mi.thousands = true;
        break;
      case u'E':
      case u'e':
        if (i + 1 < m.size() && (m[i + 1] == u'+' || m[i + 1] == u'-')) {
          mi.scientific = true;
          i = m.size();  // the rest is the exponent
        }
        break;
      default:
        break;
    }
  }
  mi.intMin = firstZero < 0 ? 0 : mi.intCount - firstZero;
  return mi;
}

// Formats |v| (already chosen section) into out; returns false when the
// value rounds to zero (so that the caller can pick the zero section).
bool FormatSection(std::u16string& out, std::u16string_view m, double v, const TFormatSettings& fs,
                   bool withSign) {
  MaskInfo mi = Scan(m);
  detail::FloatDecimal d;
  std::u16string intDigits, fracDigits;
  int32_t expValue = 0;
  if (mi.scientific) {
    int32_t total = mi.intCount + mi.fracCount;
    d = detail::ToDecimal(v, total < 1 ? 1 : total);
    int32_t intPlaces = mi.intCount;
    if (d.count) expValue = d.exponent - intPlaces;
    for (int32_t i = 0; i < intPlaces; ++i) intDigits += i < d.count ? char16_t(d.digits[i]) : u'0';
    // drop leading zeros beyond the minimum
    size_t lead = 0;
    while (lead + size_t(mi.intMin) < intDigits.size() && intDigits[lead] == u'0') ++lead;
    intDigits.erase(0, lead);
    for (int32_t i = intPlaces; i < d.count; ++i) fracDigits += char16_t(d.digits[i]);
  } else {
    d = detail::ToDecimal(v, 18, mi.fracCount);
    int32_t E = d.exponent;
    if (d.count && E > 18) {  // beyond the digits the runtime keeps: general form
      detail::AppendGeneral(out, v, 15, 0, fs.DecimalSeparator);
      return true;
    }
    for (int32_t i = 0; i < E; ++i) intDigits += i < d.count ? char16_t(d.digits[i]) : u'0';
    for (int32_t i = 0; i < mi.fracCount; ++i) {
      int32_t k = E + i;
      if (k >= d.count) break;
      fracDigits += k >= 0 ? char16_t(d.digits[k]) : u'0';
    }
  }
  if (d.special) {
    AppendAscii(out, d.text);
    return true;
  }
  if (d.count == 0) {
    intDigits.clear();
    fracDigits.clear();
  }
  while (int32_t(intDigits.size()) < mi.intMin) intDigits.insert(intDigits.begin(), u'0');
  while (int32_t(fracDigits.size()) < mi.fracMin) fracDigits += u'0';
  if (withSign && d.negative && d.count) out += u'-';

  const int32_t nInt = int32_t(intDigits.size());
  int32_t intPlaceholder = 0, fracPlaceholder = 0;
  bool afterPoint = false;
  auto emitInt = [&](int32_t j) {
    if (mi.thousands && j > 0 && (nInt - j) % 3 == 0) out += fs.ThousandSeparator;
    out += intDigits[size_t(j)];
  };
  char16_t quote = 0;
  for (size_t i = 0; i < m.size(); ++i) {
    char16_t c = m[i];
    if (quote) {
      if (c == quote) quote = 0;
      else out += c;
      continue;
    }
    switch (c) {
      case u'\'':
      case u'"':
        quote = c;
        break;
      case u'0':
      case u'#':
        if (!afterPoint) {
          int32_t k = intPlaceholder++;
          if (k == 0) {
            for (int32_t j = 0; j <= nInt - mi.intCount; ++j) emitInt(j);
          } else {
            int32_t j = nInt - (mi.intCount - k);
            if (j >= 0) emitInt(j);
          }
        } else {
          int32_t k = fracPlaceholder++;
          if (k < int32_t(fracDigits.size())) out += fracDigits[size_t(k)];
        }
        break;
      case u'.':
        if (!afterPoint) {
          afterPoint = true;
          if (!fracDigits.empty()) out += fs.DecimalSeparator;
        }
        break;
      case u',':
        break;
      case u'E':
      case u'e':
        if (mi.scientific && i + 1 < m.size() && (m[i + 1] == u'+' || m[i + 1] == u'-')) {
          bool force = m[i + 1] == u'+';
          int32_t minDigits = 0;
          size_t j = i + 2;
          while (j < m.size() && m[j] == u'0') {
            ++minDigits;
            ++j;
          }
          if (minDigits > 4) minDigits = 4;
          out += c;
          int32_t e = expValue;
          if (e < 0) out += u'-';
          else if (force) out += u'+';
          char buf[12];
          auto res = std::to_chars(buf, buf + sizeof buf, e < 0 ? -e : e);
          for (int32_t k = int32_t(res.ptr - buf); k < minDigits; ++k) out += u'0';
          AppendAscii(out, std::string_view(buf, size_t(res.ptr - buf)));
          i = j - 1;
          afterPoint = true;  // no more mantissa digits
          fracPlaceholder = mi.fracCount;
        } else {
          out += c;
        }
        break;
      default:
        out += c;
    }
  }
  return d.count != 0;
}

}  // namespace

UnicodeString FormatFloat(std::u16string_view mask, double v, const TFormatSettings& fs) {
  std::u16string out;
  if (mask.empty() || std::isnan(v) || std::isinf(v)) {
    detail::AppendGeneral(out, v, 15, 0, fs.DecimalSeparator);
    return UnicodeString(out);
  }
  std::u16string_view sec[3];
  int n = SplitSections(mask, sec);
  if (v < 0 && n >= 2 && !sec[1].empty()) {
    if (FormatSection(out, sec[1], -v, fs, false)) return UnicodeString(out);
    out.clear();
  } else if (v == 0 && n >= 3 && !sec[2].empty()) {
    FormatSection(out, sec[2], 0.0, fs, false);
    return UnicodeString(out);
  } else {
    if (FormatSection(out, sec[0], v, fs, true)) return UnicodeString(out);
    out.clear();
  }
  // The value rounded to zero: the zero section if there is one, else the
  // positive section without a sign.
  FormatSection(out, n >= 3 && !sec[2].empty() ? sec[2] : sec[0], 0.0, fs, false);
  return UnicodeString(out);
}

bool TryStrToFloat(std::u16string_view s, double& v, const TFormatSettings& fs) noexcept {
  size_t b = 0, e = s.size();
  while (b < e && (s[b] == u' ' || s[b] == u'\t')) ++b;
  while (e > b && (s[e - 1] == u' ' || s[e - 1] == u'\t')) --e;
  if (b == e || e - b > 400) return false;
  char buf[408];
  size_t n = 0;
  size_t i = b;
  bool neg = false;
  if (s[i] == u'+' || s[i] == u'-') neg = s[i++] == u'-';
  // NAN / INF as FloatToStr writes them.
  auto rest = s.substr(i, e - i);
  if (rest.size() == 3) {
    auto up = [&](size_t k) { return char16_t(rest[k] >= u'a' && rest[k] <= u'z' ? rest[k] - 32 : rest[k]); };
    if (up(0) == u'I' && up(1) == u'N' && up(2) == u'F') {
      v = neg ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
      return true;
    }
    if (up(0) == u'N' && up(1) == u'A' && up(2) == u'N') {
      v = std::numeric_limits<double>::quiet_NaN();
      return true;
    }
  }
  int32_t mantDigits = 0;
  for (; i < e && s[i] >= u'0' && s[i] <= u'9'; ++i, ++mantDigits) buf[n++] = char(s[i]);
  if (i < e && s[i] == fs.DecimalSeparator) {
    buf[n++] = '.';
    for (++i; i < e && s[i] >= u'0' && s[i] <= u'9'; ++i, ++mantDigits) buf[n++] = char(s[i]);
  }
  if (mantDigits == 0) return false;
  if (i < e && (s[i] == u'e' || s[i] == u'E')) {
    buf[n++] = 'e';
    ++i;
    if (i < e && (s[i] == u'+' || s[i] == u'-')) buf[n++] = char(s[i++]);
    size_t expStart = i;
    for (; i < e && s[i] >= u'0' && s[i] <= u'9'; ++i) buf[n++] = char(s[i]);
    if (i == expStart) return false;
  }
  if (i != e) return false;
  double r = 0;
  auto res = std::from_chars(buf, buf + n, r, std::chars_format::general);
  if (res.ec == std::errc::result_out_of_range) {
    // Overflow fails; underflow reads as zero.
    if (std::fabs(r) == std::numeric_limits<double>::infinity() || std::fabs(r) > 1) return false;
    bool anyNonZero = false;
    for (size_t k = 0; k < n && buf[k] != 'e'; ++k)
      if (buf[k] >= '1' && buf[k] <= '9') anyNonZero = true;
    // from_chars leaves r unspecified on out-of-range; decide by the exponent sign.
    const char* ep = static_cast<const char*>(std::memchr(buf, 'e', n));
    if (anyNonZero && !(ep && ep[1] == '-')) return false;
    r = 0;
  } else if (res.ec != std::errc() || res.ptr != buf + n) {
    return false;
  }
  v = neg ? -r : r;
  return true;
}

double StrToFloat(std::u16string_view s, const TFormatSettings& fs) {
  double v;
  if (!TryStrToFloat(s, v, fs)) RaiseConvert(u"'%s' is not a valid floating point value", s);
  return v;
}

double StrToFloatDef(std::u16string_view s, double def, const TFormatSettings& fs) noexcept {
  double v;
  return TryStrToFloat(s, v, fs) ? v : def;
}

// --- Rounding --------------------------------------------------------------------

namespace {
// Out-of-range and NaN give INT64_MIN, the processor's "integer indefinite".
inline int64_t ToInt64(double r) noexcept {
  if (!(r >= -9223372036854775808.0 && r < 9223372036854775808.0)) return INT64_MIN;
  return int64_t(r);
}
}  // namespace

int64_t Round(double v) noexcept {
  double f = std::floor(v);
  double d = v - f;
  if (d > 0.5 || (d == 0.5 && std::fmod(f, 2.0) != 0)) f += 1;
  return ToInt64(f);
}

int64_t MathRound(double v) noexcept { return ToInt64(std::round(v)); }
int64_t Trunc(double v) noexcept { return ToInt64(std::trunc(v)); }
double Frac(double v) noexcept { return v - std::trunc(v); }

// --- Booleans ----------------------------------------------------------------------

UnicodeString BoolToStr(bool b, bool useBoolStrs) {
  if (useBoolStrs) return b ? UnicodeString(u"True") : UnicodeString(u"False");
  return b ? UnicodeString(u"-1") : UnicodeString(u"0");
}

bool TryStrToBool(std::u16string_view s, bool& v) noexcept {
  if (SameText(s, u"true")) {
    v = true;
    return true;
  }
  if (SameText(s, u"false")) {
    v = false;
    return true;
  }
  double d;
  if (TryStrToFloat(s, d)) {
    v = d != 0;
    return true;
  }
  return false;
}

bool StrToBool(std::u16string_view s) {
  bool v;
  if (!TryStrToBool(s, v)) RaiseConvert(u"'%s' is not a valid boolean value", s);
  return v;
}

}  // namespace norvane
