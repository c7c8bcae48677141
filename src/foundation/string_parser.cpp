#include "norvane/foundation/string_parser.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "norvane/runtime/exception.h"

namespace norvane {

NV_CLASS_IMPL(TStringParser, "htmlpars")

namespace {

constexpr bool IsDigit(char16_t c) noexcept { return char16_t(c - u'0') < 10; }

constexpr int HexValue(char16_t c) noexcept {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

constexpr char16_t FoldAscii(char16_t c) noexcept { return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c; }

// Units that must not begin a line: a break before them moves the Chinese
// unit in front of them along.
constexpr std::u16string_view kClosingPunctuation =
    u"!),.:;?]}\uFF0C\u3001\u3002\u2014\u02C7\u0401\u3003\u3005\uFF5E\u2026\u2019\u201D"
    u"\u3015\u3009\u300B\u300D\u300F\u3017\u3011";

bool IsClosingPunctuation(char16_t c) noexcept { return kClosingPunctuation.find(c) != std::u16string_view::npos; }

// m * 10^e in extended precision; dividing for negative exponents keeps
// values like 0.1 correctly rounded.
// Powers of ten up to 10^27 are exact in an 80-bit long double; a table
// spares number-heavy texts a call to powl per value.
constexpr auto kExactPowersOfTen = [] {
  std::array<long double, 28> t{};
  long double v = 1;
  for (auto& x : t) x = v, v *= 10;
  return t;
}();

long double ScaleByPowerOfTen(long double m, int64_t e) noexcept {
  if (m == 0 || e == 0) return m;
  const uint64_t n = e > 0 ? uint64_t(e) : uint64_t(0) - uint64_t(e);
  const long double scale =
      n < kExactPowersOfTen.size() ? kExactPowersOfTen[n] : std::pow(10.0L, static_cast<long double>(n));
  return e > 0 ? m * scale : m / scale;
}

}  // namespace

void TStringParser::Init(const UnicodeString& text) {
  s = text;
  p = Start();
  pend = p + s.Length();
}

void TStringParser::RaiseIncorrectNumber() { throw EConvertError(UnicodeString(u"Incorrect number")); }

int32_t TStringParser::Line() const noexcept { return int32_t(std::count(Start(), p, u'\n')); }

UnicodeString TStringParser::Tail() const { return p < pend ? UnicodeString(p, int32_t(pend - p)) : UnicodeString(); }

int32_t TStringParser::CharPos(char16_t c) const noexcept {
  for (const char16_t* q = p; q < pend; ++q)
    if (*q == c) return int32_t(q - p) + 1;
  return 0;
}

void TStringParser::Skip(int32_t n) noexcept {
  if (s.IsEmpty()) return;
  if (n >= 0)
    p = (n >= pend - p) ? pend : p + n;
  else
    p = (-ptrdiff_t(n) >= p - Start()) ? Start() : p + n;
}

void TStringParser::Skipto(char16_t c) noexcept {
  while (p < pend && *p != c) ++p;
}

void TStringParser::SkipEndBlanks() {
  const char16_t* start = Start();
  int32_t n = int32_t(pend - start);
  const int32_t len = n;
  while (n > 0 && (start[n - 1] == u'\n' || start[n - 1] == u'\r' || start[n - 1] == u' ')) --n;
  if (n == len) return;
  ptrdiff_t offset = std::min<ptrdiff_t>(p - start, n);
  // SetLength copies a shared block and writes the new terminating zero.
  s.SetLength(n);
  p = Start() + offset;
  pend = Start() + n;
}

bool TStringParser::StartsWith(std::u16string_view str) const noexcept {
  if (ptrdiff_t(str.size()) > pend - p) return false;
  for (size_t i = 0; i < str.size(); ++i)
    if (FoldAscii(p[i]) != str[i]) return false;
  return true;
}

bool TStringParser::ReadWord(UnicodeString& out, bool skipBlanks) {
  if (skipBlanks) SkipBlanks();
  if (p >= pend) {
    out.Clear();
    return false;
  }
  const char16_t* start = p++;
  while (p < pend) {
    char16_t c = *p;
    if (c == u' ' || c == u'\r' || c == u'\n' || c == u'\t' || c == u',' || c == u'(' || c == u')') break;
    ++p;
  }
  out = UnicodeString(start, int32_t(p - start));
  return true;
}

bool TStringParser::ReadParam(UnicodeString& out) {
  out.Clear();
  SkipBlanks();
  if (p < pend && (*p == u',' || *p == u'(')) {
    ++p;
    SkipBlanks();
  }
  if (p >= pend) return false;
  if (*p == u')') {
    ++p;
    return false;
  }
  const char16_t* start = p;
  while (p < pend && *p != u',' && *p != u'(' && *p != u')') ++p;
  const char16_t* stop = p;
  while (stop > start && stop[-1] < 0x21) --stop;
  out = UnicodeString(start, int32_t(stop - start));
  return true;
}

bool TStringParser::ReadtoChar(char16_t c, UnicodeString& out, bool trim) {
  if (trim) SkipBlanks();
  while (p < pend && *p == c) ++p;
  const char16_t* start = p;
  while (p < pend && *p != c) ++p;
  const char16_t* stop = p;
  const bool found = p < pend;
  if (trim) {
    while (stop > start && stop[-1] < 0x21) --stop;
    if (found) ++p;
  }
  out = UnicodeString(start, int32_t(stop - start));
  return found;
}

bool TStringParser::ReadtoChars(const TAnsiCharSet& stops, UnicodeString& out) {
  SkipBlanks();
  const char16_t* start = p;
  while (p < pend && !stops.Contains(*p)) ++p;
  out = UnicodeString(start, int32_t(p - start));
  return p < pend;
}

bool TStringParser::ReadLn(UnicodeString& out) {
  if (p >= pend) {
    out.Clear();
    return false;
  }
  const char16_t* start = p;
  while (p < pend && *p != u'\r' && *p != u'\n') ++p;
  out = UnicodeString(start, int32_t(p - start));
  if (p < pend) {
    if (*p++ == u'\r' && p < pend && *p == u'\n') ++p;
  }
  return true;
}

bool TStringParser::ReadtoWordBreak(UnicodeString& out) {
  if (p >= pend) {
    out.Clear();
    return false;
  }
  const char16_t* q = p;
  if (*q == u'-' || *q == u'/' || IsChinese(*q)) ++q;
  while (q < pend && *q == u' ') ++q;
  auto takeWord = [&] {
    while (q < pend && *q != u' ' && *q != u'-' && *q != u'/' && !IsChinese(*q)) ++q;
  };
  takeWord();
  if (q + 1 < pend && IsChinese(*q) && IsClosingPunctuation(q[1])) {
    ++q;
    takeWord();
  }
  out = UnicodeString(p, int32_t(q - p));
  p = q;
  return true;
}

// --- Numbers -------------------------------------------------------------------

void TStringParser::SkipBlanksAndComma() noexcept {
  SkipBlanks();
  if (p < pend && *p == u',') {
    ++p;
    SkipBlanks();
  }
}

bool TStringParser::ReadPlusThenMinus() noexcept {
  if (p < pend && *p == u'+') ++p;
  if (p < pend && *p == u'-') {
    ++p;
    return true;
  }
  return false;
}

int32_t TStringParser::ReadInt() {
  SkipBlanksAndComma();
  if (p >= pend) return 0;
  bool negative = false;
  if (*p == u'-' || *p == u'+') negative = *p++ == u'-';
  if (!AtDigit()) {
    if (RaiseException) RaiseIncorrectNumber();
    return 0;
  }
  // Stopping at 0xCCCCCCC keeps v * 10 + 9 inside int32; the digits after
  // that stay unread.
  int32_t v = 0;
  while (AtDigit() && v < 0xCCCCCCC) v = v * 10 + (*p++ - u'0');
  return negative ? -v : v;
}

int32_t TStringParser::ReadInt1() {
  SkipBlanksAndComma();
  if (p >= pend) return 0;
  bool negative = false;
  if (*p == u'-' || *p == u'+') negative = *p++ == u'-';
  if (p >= pend) return 0;
  // One unit, on purpose unchecked: callers know a digit stands here.
  int32_t v = int32_t(*p++) - u'0';
  return negative ? -v : v;
}

int64_t TStringParser::ReadHex() {
  SkipBlanksAndComma();
  if (p >= pend) return 0;
  const bool negative = ReadPlusThenMinus();
  const char16_t* start = p;
  uint64_t v = 0;
  for (int d; p < pend && (d = HexValue(*p)) >= 0; ++p) v = v * 16 + uint64_t(d);
  if (p == start && RaiseException) RaiseIncorrectNumber();
  return int64_t(negative ? 0 - v : v);
}

int64_t TStringParser::ReadBin() {
  SkipBlanks();
  if (p >= pend) return 0;
  const bool negative = ReadPlusThenMinus();
  const char16_t* start = p;
  uint64_t v = 0;
  for (; p < pend && (*p == u'0' || *p == u'1'); ++p) v = v * 2 + uint64_t(*p - u'0');
  if (p == start && RaiseException) RaiseIncorrectNumber();
  return int64_t(negative ? 0 - v : v);
}

double TStringParser::ReadNum() {
  SkipBlanksAndComma();
  if (p >= pend) return 0;
  const bool negative = ReadPlusThenMinus();
  bool digits = false;
  uint32_t whole = 0;
  while (AtDigit() && whole < 0xCCCCCCD) {
    whole = whole * 10 + uint32_t(*p++ - u'0');
    digits = true;
  }
  long double v = whole;
  if (p < pend && *p == u'.') {
    ++p;
    // Seven fraction digits count; the rest are consumed and dropped.
    uint32_t fraction = 0, divider = 1;
    for (; AtDigit(); ++p) {
      digits = true;
      if (divider < 10000000) {
        fraction = fraction * 10 + uint32_t(*p - u'0');
        divider *= 10;
      }
    }
    v += static_cast<long double>(fraction) / divider;
  }
  if (!digits && RaiseException) RaiseIncorrectNumber();
  return double(negative ? -v : v);
}

double TStringParser::ReadNumEx() {
  SkipBlanksAndComma();
  if (p >= pend) {
    if (RaiseException) RaiseIncorrectNumber();
    return 0;
  }
  const bool negative = ReadPlusThenMinus();
  if (RaiseException) {
    if (!AtDigit()) RaiseIncorrectNumber();
    if (*p == u'0' && p + 1 < pend && IsDigit(p[1])) RaiseIncorrectNumber();
  }
  uint32_t whole = 0;
  while (AtDigit() && whole < 0xCCCCCCC) whole = whole * 10 + uint32_t(*p++ - u'0');
  long double v = whole;
  for (; AtDigit(); ++p) v = v * 10 + (*p - u'0');
  if (p < pend && *p == u'.') {
    ++p;
    if (RaiseException && !AtDigit()) RaiseIncorrectNumber();
    uint32_t fraction = 0, divider = 1;
    for (; AtDigit(); ++p) {
      if (divider < 10000000) {
        fraction = fraction * 10 + uint32_t(*p - u'0');
        divider *= 10;
      }
    }
    v += static_cast<long double>(fraction) / divider;
  }
  if (p + 1 < pend && (*p == u'e' || *p == u'E') && (p[1] == u'+' || p[1] == u'-' || IsDigit(p[1]))) {
    ++p;
    int32_t e = ReadInt();
    // Beyond single range the exponent is dropped in lenient mode.
    if (e >= 38) {
      if (RaiseException) RaiseIncorrectNumber();
    } else {
      v = ScaleByPowerOfTen(v, e);
    }
  }
  return double(negative ? -v : v);
}

bool TStringParser::ReadIntOrFloat(int64_t& i, long double& f) {
  i = 0;
  f = 0;
  SkipBlanks();
  if (p >= pend) {
    if (RaiseException) RaiseIncorrectNumber();
    return true;
  }
  bool negative = false;
  if (*p == u'-' || *p == u'+') negative = *p++ == u'-';
  if (RaiseException) {
    if (!AtDigit()) RaiseIncorrectNumber();
    if (*p == u'0' && p + 1 < pend && IsDigit(p[1])) RaiseIncorrectNumber();
  }
  // The significant digits gather in `mantissa`; digits beyond its 19 or 20
  // places only move the decimal exponent. The value is built once at the
  // end, which keeps it as exact as the extended type allows.
  constexpr uint64_t kMantissaLimit = (std::numeric_limits<uint64_t>::max() - 9) / 10;
  uint64_t mantissa = 0;
  int64_t exponent = 0;
  bool isFloat = false;
  for (; AtDigit(); ++p) {
    if (mantissa <= kMantissaLimit)
      mantissa = mantissa * 10 + uint64_t(*p - u'0');
    else
      ++exponent;
  }
  // "1..5" is a range: the number ends before the first ".".
  if (p < pend && *p == u'.' && !(p + 1 < pend && p[1] == u'.')) {
    ++p;
    if (RaiseException && !AtDigit()) RaiseIncorrectNumber();
    isFloat = true;
    for (; AtDigit(); ++p) {
      if (mantissa <= kMantissaLimit) {
        mantissa = mantissa * 10 + uint64_t(*p - u'0');
        --exponent;
      }
    }
  }
  if (p + 1 < pend && (*p == u'e' || *p == u'E') && (p[1] == u'+' || p[1] == u'-' || IsDigit(p[1]))) {
    ++p;
    isFloat = true;
    bool negativeExp = false;
    if (*p == u'-' || *p == u'+') negativeExp = *p++ == u'-';
    if (RaiseException && !AtDigit()) RaiseIncorrectNumber();
    int32_t e = 0;
    for (; AtDigit(); ++p)
      if (e < 100000) e = e * 10 + (*p - u'0');
    if (negativeExp) e = -e;
    if (e >= 300) {
      if (RaiseException) RaiseIncorrectNumber();
    } else {
      exponent += e;
    }
  }
  if (!isFloat && exponent == 0 && mantissa <= uint64_t(std::numeric_limits<int64_t>::max())) {
    i = negative ? -int64_t(mantissa) : int64_t(mantissa);
    return true;
  }
  long double v = ScaleByPowerOfTen(static_cast<long double>(mantissa), exponent);
  f = negative ? -v : v;
  return false;
}

bool HasChinese(std::u16string_view s) noexcept {
  for (char16_t c : s) {
    unsigned hb = c >> 8;
    if ((hb >= 0x4E && hb <= 0x9F) || hb == 0xF9 || hb == 0xFA) return true;
  }
  return false;
}

}  // namespace norvane
