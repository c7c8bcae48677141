// Code page conversions through glibc iconv, with table fast paths for
// UTF-8 (65001), UTF-16 (1200/1201), Latin-1 (28591), Windows-1252 and
// ASCII (20127), and a small HZ (52936) layer over EUC-CN, which glibc lacks.
//
// Decoding never throws on bad bytes: an invalid or incomplete sequence
// becomes U+FFFD and decoding goes on with the next byte. Encoding writes
// "?" for each character the code page cannot hold (a surrogate pair counts
// as one character). iconv handles are cached per thread and code page, so
// conversions are thread-safe without locks. Windows-1252's five undefined
// bytes (0x81 0x8D 0x8F 0x90 0x9D) map to U+0081... both ways, as Windows
// does.
#include <iconv.h>

#include <atomic>
#include <bit>
#include <cerrno>
#include <string>
#include <unordered_map>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

struct CodePageEntry {
  uint32_t cp;
  const char* name;
};

// Sorted by number.
const CodePageEntry kCodePages[] = {
    {37, "IBM037"},          {437, "CP437"},         {500, "IBM500"},        {708, "ASMO-708"},
    {737, "CP737"},          {775, "CP775"},         {850, "CP850"},         {852, "CP852"},
    {855, "CP855"},          {857, "CP857"},         {858, "CP858"},         {860, "CP860"},
    {861, "CP861"},          {862, "CP862"},         {863, "CP863"},         {864, "CP864"},
    {865, "CP865"},          {866, "CP866"},         {869, "CP869"},         {874, "CP874"},
    {875, "CP875"},          {932, "CP932"},         {936, "CP936"},         {949, "CP949"},
    {950, "CP950"},          {1026, "CP1026"},       {1200, "UTF-16LE"},     {1201, "UTF-16BE"},
    {1250, "CP1250"},        {1251, "CP1251"},       {1252, "CP1252"},       {1253, "CP1253"},
    {1254, "CP1254"},        {1255, "CP1255"},       {1256, "CP1256"},       {1257, "CP1257"},
    {1258, "CP1258"},        {1361, "JOHAB"},        {10000, "MACINTOSH"},   {10007, "MAC-CYRILLIC"},
    {10029, "MAC-CENTRALEUROPE"}, {12000, "UTF-32LE"}, {12001, "UTF-32BE"}, {20127, "ASCII"},
    {20866, "KOI8-R"},       {20932, "EUC-JP"},      {21866, "KOI8-U"},      {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},   {28593, "ISO-8859-3"},  {28594, "ISO-8859-4"},  {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},   {28597, "ISO-8859-7"},  {28598, "ISO-8859-8"},  {28599, "ISO-8859-9"},
    {28600, "ISO-8859-10"},  {28601, "ISO-8859-11"}, {28603, "ISO-8859-13"}, {28604, "ISO-8859-14"},
    {28605, "ISO-8859-15"},  {28606, "ISO-8859-16"}, {38598, "ISO-8859-8"},  {50220, "ISO-2022-JP"},
    {50221, "ISO-2022-JP"},  {50222, "ISO-2022-JP"}, {50225, "ISO-2022-KR"}, {51932, "EUC-JP"},
    {51936, "EUC-CN"},       {51949, "EUC-KR"},      {52936, "HZ-GB-2312"},  {54936, "GB18030"},
    {65000, "UTF-7"},        {65001, "UTF-8"},
};

const char* FindName(uint32_t cp) noexcept {
  size_t lo = 0, hi = sizeof kCodePages / sizeof kCodePages[0];
  while (lo < hi) {
    size_t mid = (lo + hi) / 2;
    if (kCodePages[mid].cp < cp) lo = mid + 1;
    else hi = mid;
  }
  return (lo < sizeof kCodePages / sizeof kCodePages[0] && kCodePages[lo].cp == cp) ? kCodePages[lo].name
                                                                                      : nullptr;
}

constexpr const char* kUtf16Native = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

[[noreturn]] void Unsupported(uint32_t cp) { throw EEncodingError(u"Unsupported code page %d", {cp}); }

// Per-thread iconv handles, closed when the thread ends.
struct IconvCache {
  std::unordered_map<uint32_t, iconv_t> dec, enc;
  ~IconvCache() {
    for (auto& [cp, cd] : dec) iconv_close(cd);
    for (auto& [cp, cd] : enc) iconv_close(cd);
  }
  iconv_t Get(uint32_t cp, bool decode) {
    auto& map = decode ? dec : enc;
    auto it = map.find(cp);
    if (it != map.end()) {
      iconv(it->second, nullptr, nullptr, nullptr, nullptr);  // initial state
      return it->second;
    }
    const char* name = FindName(cp);
    if (!name) Unsupported(cp);
    iconv_t cd = decode ? iconv_open(kUtf16Native, name) : iconv_open(name, kUtf16Native);
    if (cd == iconv_t(-1)) Unsupported(cp);
    map.emplace(cp, cd);
    return cd;
  }
};

IconvCache& Cache() {
  thread_local IconvCache cache;
  return cache;
}

const char16_t kCp1252High[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                  0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                  0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                  0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

inline bool IsHigh(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
inline bool IsLow(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// Units of one character at s[i]: 2 for a valid surrogate pair.
inline size_t CharUnits(std::u16string_view s, size_t i) {
  return (IsHigh(s[i]) && i + 1 < s.size() && IsLow(s[i + 1])) ? 2 : 1;
}

UnicodeString DecodeIconv(std::string_view bytes, uint32_t cp) {
  iconv_t cd = Cache().Get(cp, true);
  std::u16string out(bytes.size() + 8, u'\0');
  char* in = const_cast<char*>(bytes.data());
  size_t inLeft = bytes.size();
  size_t used = 0;  // bytes written into out
  auto outPtr = [&]() { return reinterpret_cast<char*>(out.data()) + used; };
  auto grow = [&]() { out.resize(out.size() * 2 + 8); };
  while (true) {
    char* op = outPtr();
    size_t outLeft = out.size() * 2 - used;
    size_t r = in ? iconv(cd, &in, &inLeft, &op, &outLeft) : iconv(cd, nullptr, nullptr, &op, &outLeft);
    int err = errno;
    used = size_t(op - reinterpret_cast<char*>(out.data()));
    if (r != size_t(-1)) {
      if (!in) break;
      in = nullptr;  // flush
      continue;
    }
    if (err == E2BIG) {
      grow();
      continue;
    }
    if (used + 2 > out.size() * 2) grow();
    out[used / 2] = u'\uFFFD';
    used += 2;
    if (err == EILSEQ && in && inLeft > 0) {
      ++in;
      --inLeft;
      continue;
    }
    break;  // EINVAL: incomplete sequence at the end
  }
  out.resize(used / 2);
  return UnicodeString(out);
}

std::string EncodeIconv(std::u16string_view s, uint32_t cp) {
  iconv_t cd = Cache().Get(cp, false);
  std::string out(s.size() * 2 + 16, '\0');
  size_t used = 0;
  auto run = [&](char** in, size_t* inLeft) -> int {
    while (true) {
      char* op = out.data() + used;
      size_t outLeft = out.size() - used;
      size_t r = iconv(cd, in, inLeft, &op, &outLeft);
      int err = errno;
      used = size_t(op - out.data());
      if (r != size_t(-1)) return 0;
      if (err == E2BIG) {
        out.resize(out.size() * 2 + 16);
        continue;
      }
      return err;
    }
  };
  static const char16_t kQuestion = u'?';
  char* in = reinterpret_cast<char*>(const_cast<char16_t*>(s.data()));
  size_t inLeft = s.size() * 2;
  while (inLeft > 0) {
    int err = run(&in, &inLeft);
    if (!err) break;
    // Unmappable or invalid: one "?" through the converter (keeps the
    // shift state of stateful encodings right), then skip the character.
    size_t pos = s.size() - inLeft / 2;
    size_t units = err == EINVAL ? inLeft / 2 : CharUnits(s, pos);
    if (units == 0) units = 1;
    char* q = reinterpret_cast<char*>(const_cast<char16_t*>(&kQuestion));
    size_t qLeft = 2;
    run(&q, &qLeft);
    in += units * 2;
    inLeft -= units * 2 > inLeft ? inLeft : units * 2;
  }
  run(nullptr, nullptr);  // the final shift sequence
  out.resize(used);
  return out;
}

// --- Fast paths ------------------------------------------------------------------

std::string EncodeUtf8(std::u16string_view s) {
  std::string out;
  out.reserve(s.size() + s.size() / 2);
  for (size_t i = 0; i < s.size(); ++i) {
    uint32_t c = s[i];
    if (c < 0x80) {
      out += char(c);
      continue;
    }
    if (c >= 0xD800 && c <= 0xDFFF) {
      if (IsHigh(char16_t(c)) && i + 1 < s.size() && IsLow(s[i + 1])) {
        c = 0x10000 + ((c - 0xD800) << 10) + (s[++i] - 0xDC00);
      } else {
        out += '?';
        continue;
      }
    }
    if (c < 0x800) {
      out += char(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
      out += char(0xE0 | (c >> 12));
      out += char(0x80 | ((c >> 6) & 0x3F));
    } else {
      out += char(0xF0 | (c >> 18));
      out += char(0x80 | ((c >> 12) & 0x3F));
      out += char(0x80 | ((c >> 6) & 0x3F));
    }
    out += char(0x80 | (c & 0x3F));
  }
  return out;
}

UnicodeString DecodeUtf16(std::string_view b, bool big) {
  size_t n = b.size() / 2;
  bool odd = b.size() % 2 != 0;
  UnicodeString r = UnicodeString::Alloc(int32_t(n + odd));
  char16_t* d = r.MutableData();
  const auto* p = reinterpret_cast<const uint8_t*>(b.data());
  for (size_t i = 0; i < n; ++i)
    d[i] = big ? char16_t(p[2 * i] << 8 | p[2 * i + 1]) : char16_t(p[2 * i + 1] << 8 | p[2 * i]);
  if (odd) d[n] = u'\uFFFD';
  return r;
}

std::string EncodeUtf16(std::u16string_view s, bool big) {
  std::string out(s.size() * 2, '\0');
  for (size_t i = 0; i < s.size(); ++i) {
    char hi = char(s[i] >> 8), lo = char(s[i] & 0xFF);
    out[2 * i] = big ? hi : lo;
    out[2 * i + 1] = big ? lo : hi;
  }
  return out;
}

UnicodeString DecodeSingle(std::string_view b, uint32_t cp) {
  UnicodeString r = UnicodeString::Alloc(int32_t(b.size()));
  char16_t* d = r.MutableData();
  for (size_t i = 0; i < b.size(); ++i) {
    uint8_t c = uint8_t(b[i]);
    if (cp == 20127) d[i] = c < 0x80 ? c : u'\uFFFD';
    else if (cp == 1252 && c >= 0x80 && c < 0xA0) d[i] = kCp1252High[c - 0x80];
    else d[i] = c;
  }
  return r;
}

std::string EncodeSingle(std::u16string_view s, uint32_t cp) {
  std::string out;
  out.reserve(s.size());
  const char16_t limit = cp == 20127 ? 0x80 : 0x100;
  for (size_t i = 0; i < s.size(); i += CharUnits(s, i)) {
    char16_t c = s[i];
    if (c < limit && !(cp == 1252 && c >= 0x80 && c < 0xA0 && kCp1252High[c - 0x80] != c)) {
      out += char(c);
      continue;
    }
    char b = '?';
    if (cp == 1252)
      for (int k = 0; k < 32; ++k)
        if (kCp1252High[k] == c) {
          b = char(0x80 + k);
          break;
        }
    out += b;
  }
  return out;
}

// HZ (RFC 1843): ASCII with "~{" ... "~}" runs of GB2312 in 7 bits.
UnicodeString DecodeHz(std::string_view b) {
  std::u16string out;
  std::string gb;
  bool inGb = false;
  auto flushGb = [&]() {
    if (!gb.empty()) out += DecodeIconv(gb, 51936).view();
    gb.clear();
  };
  for (size_t i = 0; i < b.size(); ++i) {
    char c = b[i];
    if (c == '~' && i + 1 < b.size()) {
      char n = b[i + 1];
      if (!inGb && n == '~') {
        out += u'~';
        ++i;
        continue;
      }
      if (n == '{' || n == '}') {
        flushGb();
        inGb = n == '{';
        ++i;
        continue;
      }
      if (!inGb && n == '\n') {
        ++i;
        continue;
      }
    }
    if (inGb) {
      if (uint8_t(c) >= 0x21 && uint8_t(c) <= 0x7E && i + 1 < b.size()) {
        gb += char(c | 0x80);
        gb += char(b[++i] | 0x80);
      } else {
        flushGb();
        out += (c == '\n' || c == '\r') ? char16_t(c) : u'\uFFFD';
        if (c == '\n') inGb = false;
      }
    } else {
      out += uint8_t(c) < 0x80 ? char16_t(c) : u'\uFFFD';
    }
  }
  flushGb();
  return UnicodeString(out);
}

std::string EncodeHz(std::u16string_view s) {
  std::string out;
  bool inGb = false;
  for (size_t i = 0; i < s.size(); i += CharUnits(s, i)) {
    char16_t c = s[i];
    if (c < 0x80) {
      if (inGb) out += "~}";
      inGb = false;
      if (c == u'~') out += '~';
      out += char(c);
      continue;
    }
    std::string gb = EncodeIconv(s.substr(i, CharUnits(s, i)), 51936);
    if (gb.size() == 2 && uint8_t(gb[0]) >= 0xA1 && uint8_t(gb[1]) >= 0xA1) {
      if (!inGb) out += "~{";
      inGb = true;
      out += char(gb[0] & 0x7F);
      out += char(gb[1] & 0x7F);
    } else {
      if (inGb) out += "~}";
      inGb = false;
      out += '?';
    }
  }
  if (inGb) out += "~}";
  return out;
}

std::atomic<uint32_t> g_systemCodePage{1252};

}  // namespace

std::string CodePageName(uint32_t codePage) {
  const char* n = FindName(codePage);
  return n ? std::string(n) : std::string();
}

UnicodeString DecodeCodePage(std::string_view bytes, uint32_t codePage) {
  switch (codePage) {
    case 65001:
      return UnicodeString::FromUtf8(bytes);
    case 1200:
      return DecodeUtf16(bytes, false);
    case 1201:
      return DecodeUtf16(bytes, true);
    case 28591:
    case 1252:
    case 20127:
      return DecodeSingle(bytes, codePage);
    case 52936:
      return DecodeHz(bytes);
    default:
      if (bytes.empty()) {
        if (!FindName(codePage)) Unsupported(codePage);
        return UnicodeString();
      }
      return DecodeIconv(bytes, codePage);
  }
}

std::string EncodeCodePage(std::u16string_view s, uint32_t codePage) {
  switch (codePage) {
    case 65001:
      return EncodeUtf8(s);
    case 1200:
      return EncodeUtf16(s, false);
    case 1201:
      return EncodeUtf16(s, true);
    case 28591:
    case 1252:
    case 20127:
      return EncodeSingle(s, codePage);
    case 52936:
      return EncodeHz(s);
    default:
      if (s.empty()) {
        if (!FindName(codePage)) Unsupported(codePage);
        return std::string();
      }
      return EncodeIconv(s, codePage);
  }
}

uint32_t SystemCodePage() noexcept { return g_systemCodePage.load(std::memory_order_relaxed); }
void SetSystemCodePage(uint32_t codePage) noexcept { g_systemCodePage.store(codePage, std::memory_order_relaxed); }

UnicodeString AnsiToUnicode(std::string_view bytes) { return DecodeCodePage(bytes, SystemCodePage()); }
std::string UnicodeToAnsi(std::u16string_view s) { return EncodeCodePage(s, SystemCodePage()); }

}  // namespace norvane
