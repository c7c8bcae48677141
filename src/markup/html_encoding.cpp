// Encoding detection and re-decoding for HTML read as bytes.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "norvane/markup/html_parser.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

constexpr bool IsCont(uint32_t b) noexcept { return b >= 0x80 && b <= 0xBF; }

// The scan behind IsUTF8 and IsUTF8Bytes; `Unit` values from 256 up end it.
template <class Unit>
bool ScanUTF8(const Unit* s, size_t n) noexcept {
  bool seen = false;
  size_t i = 0;
  while (i < n) {
    const uint32_t b = s[i];
    if (b < 0x80) {
      ++i;
      continue;
    }
    if (b > 0xFF) return seen;
    if (b == 0xC0 || b == 0xC1) return false;
    if (i + 1 >= n) return seen;  // cut off by the end of the sample
    const uint32_t b1 = s[i + 1];
    if (b >= 0xC2 && b <= 0xDF) {
      if (!IsCont(b1)) return false;
      seen = true;
      i += 2;
      continue;
    }
    bool second;
    if (b == 0xE0)
      second = b1 >= 0xA0 && b1 <= 0xBF;
    else if (b == 0xED)
      second = b1 >= 0x80 && b1 <= 0x9F;
    else if ((b >= 0xE1 && b <= 0xEC) || b == 0xEE || b == 0xEF)
      second = IsCont(b1);
    else
      return seen;
    if (!second) return seen;
    if (i + 2 >= n) return seen;
    if (!IsCont(s[i + 2])) return seen;
    seen = true;
    i += 3;
  }
  return seen;
}

// Maps units back to the bytes they were read from in a single-byte code
// page: identity below 256, a table for the rest.
class TNarrower {
 public:
  explicit TNarrower(uint32_t codePage) {
    if (codePage == 0) codePage = SystemCodePage();
    if (codePage == 28591) return;
    std::string high(128, '\0');
    for (int i = 0; i < 128; ++i) high[i] = char(0x80 + i);
    UnicodeString decoded;
    try {
      decoded = DecodeCodePage(high, codePage);
    } catch (const Exception&) {
      return;
    }
    if (decoded.Length() != 128) return;  // not a single-byte code page
    for (int i = 0; i < 128; ++i)
      if (decoded[i] > 0xFF && decoded[i] != 0xFFFD) FMap.emplace_back(decoded[i], uint8_t(0x80 + i));
    std::sort(FMap.begin(), FMap.end());
  }
  // The byte for `c`, or -1 when `c` stands for no byte.
  int Byte(char16_t c) const noexcept {
    if (c < 256) return c;
    auto it = std::lower_bound(FMap.begin(), FMap.end(), std::pair<char16_t, uint8_t>(c, 0));
    return it != FMap.end() && it->first == c ? it->second : -1;
  }

 private:
  std::vector<std::pair<char16_t, uint8_t>> FMap;
};

}  // namespace

bool IsUTF8Bytes(const uint8_t* bytes, int32_t length) noexcept {
  return bytes && length > 0 && ScanUTF8(bytes, size_t(length));
}

bool IsUTF8(std::u16string_view text) noexcept { return ScanUTF8(text.data(), text.size()); }

UnicodeString RecodeHtmlText(const UnicodeString& text, THtmlEncoding encoding, uint32_t codepage,
                             uint32_t narrowCodePage) {
  if (encoding != heUTF8 && encoding != heANSI) return text;
  const std::u16string_view v = text.view();
  // ASCII reads the same in every code page these documents declare.
  if (std::all_of(v.begin(), v.end(), [](char16_t c) { return c < 0x80; })) return text;
  const uint32_t target = encoding == heUTF8 ? 65001 : codepage;
  // A code page this system can't decode leaves the text as it was read.
  if (CodePageName(target).empty()) return text;
  const TNarrower narrower(narrowCodePage);
  std::u16string out;
  out.reserve(v.size());
  std::string run;
  auto flush = [&] {
    if (run.empty()) return;
    out.append(DecodeCodePage(run, target).view());
    run.clear();
  };
  for (char16_t c : v) {
    const int b = narrower.Byte(c);
    if (b >= 0) {
      run.push_back(char(b));
    } else {
      // A unit that stands for no byte is already a character: it stays.
      flush();
      out.push_back(c);
    }
  }
  flush();
  return UnicodeString(std::u16string_view(out));
}

uint32_t THtmlParser::CharsettoCodepage(const UnicodeString& name) {
  const std::u16string_view s = name.view();
  auto has = [&](std::u16string_view t) { return s.find(t) != std::u16string_view::npos; };
  if (has(u"iso-8859-1")) return 1252;
  if (has(u"iso-8859-2")) return 28592;
  if (has(u"iso-8859-5")) return 28595;
  if (has(u"iso-8859-6")) return 28596;
  if (has(u"iso-8859-7")) return 28597;
  if (has(u"iso-8859-9")) return 1254;
  if (has(u"iso-8859-8")) return 1255;
  if (has(u"koi8")) return 20866;
  if (const size_t w = s.find(u"windows-"); w != std::u16string_view::npos) {
    const std::u16string_view digits = s.substr(w + 8, 4);
    if (digits.empty()) return 0;
    uint32_t cp = 0;
    for (char16_t c : digits) {
      if (c < u'0' || c > u'9') return 0;
      cp = cp * 10 + (c - u'0');
    }
    return cp;
  }
  if (has(u"gb2312")) return 936;
  if (has(u"utf-8")) return 65001;
  if (has(u"big5")) return 950;
  return 0;
}

THtmlEncoding THtmlParser::GetFileEncoding(const UnicodeString& path, uint32_t& codepage) {
  std::ifstream f(path.ToUtf8(), std::ios::binary);
  std::string buf(4096, '\0');
  if (f) {
    f.read(buf.data(), std::streamsize(buf.size()));
    buf.resize(size_t(f.gcount()));
  } else {
    buf.clear();
  }
  return GetBufferEncoding(buf, codepage);
}

THtmlEncoding THtmlParser::GetBufferEncoding(std::string_view bytes, uint32_t& codepage) {
  std::string buf(bytes.substr(0, 4096));
  if (buf.empty()) return heDefault;
  const auto* b = reinterpret_cast<const uint8_t*>(buf.data());
  if (buf.size() >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) return heUTF8;
  if (buf.size() >= 2 && ((b[0] == 0xFF && b[1] == 0xFE) || (b[0] == 0xFE && b[1] == 0xFF))) return heUTF16;
  if (buf.find(std::string_view("\0<", 2)) != std::string::npos) return heUTF16;
  if (IsUTF8Bytes(b, int32_t(buf.size()))) return heUTF8;
  std::transform(buf.begin(), buf.end(), buf.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
  const size_t cs = buf.find("charset");
  if (cs == std::string::npos) return heDefault;
  size_t i = buf.find('=', cs + 7);
  if (i == std::string::npos) return heDefault;
  ++i;
  while (i < buf.size() && (buf[i] == ' ' || buf[i] == '"')) ++i;
  size_t e = i;
  while (e < buf.size() && buf[e] != '\0' && buf[e] != '"' && buf[e] != '>') ++e;
  codepage = CharsettoCodepage(UnicodeString::FromLatin1(std::string_view(buf).substr(i, e - i)));
  return heDefault;
}

uint32_t GetHTMLEncoding(const void* buffer, int32_t size) {
  if (!buffer || size < 20) return 0;
  const std::string_view s(static_cast<const char*>(buffer), size_t(std::min(size, 1000)));
  size_t from = 0;
  for (;;) {
    const size_t a = s.find("<met", from), A = s.find("<MET", from);
    const size_t m = std::min(a, A);
    if (m == std::string_view::npos) return 0;
    from = m + 4;
    const size_t gt = std::min(s.find('>', from), s.size());
    const std::string_view tag = s.substr(from, gt - from);
    const size_t c = tag.find("char");
    if (c == std::string_view::npos) continue;
    const size_t eq = tag.find('=', c + 4);
    if (eq == std::string_view::npos) continue;
    size_t i = from + eq + 1;
    while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\r' || s[i] == '\n')) ++i;
    if (i < s.size() && (s[i] == '"' || s[i] == '\'')) ++i;
    size_t e = i;
    while (e < s.size() && s[e] != ' ' && s[e] != '"' && s[e] != '\'' && s[e] != '>') ++e;
    std::string name(s.substr(i, e - i));
    for (char& ch : name)
      if (ch >= 'A' && ch <= 'Z') ch = char(ch + 32);
    return THtmlParser::CharsettoCodepage(UnicodeString::FromLatin1(name));
  }
}

}  // namespace norvane
