#include "norvane/markup/markup_encode.h"

#include <array>

#include "norvane/foundation/fast_string.h"

namespace norvane {

namespace {

// Units below 128 that XML output must replace.
constexpr std::array<bool, 128> BuildXmlSpecial() {
  std::array<bool, 128> t{};
  for (int i = 0; i < 32; ++i) t[i] = true;
  t['\t'] = t['\n'] = t['\r'] = false;
  t['&'] = t['<'] = t['>'] = t['"'] = true;
  return t;
}
constexpr std::array<bool, 128> kXmlSpecial = BuildXmlSpecial();

// Units below 128 that JSON output must escape (surrogates are tested apart).
constexpr std::array<bool, 128> BuildJsonSpecial() {
  std::array<bool, 128> t{};
  for (int i = 0; i < 32; ++i) t[i] = true;
  t['"'] = t['\\'] = true;
  return t;
}
constexpr std::array<bool, 128> kJsonSpecial = BuildJsonSpecial();

inline bool IsSurrogate(char16_t c) noexcept { return c >= 0xD800 && c <= 0xDFFF; }

// Index of the first unit that needs XML encoding, or n.
int32_t FirstXmlSpecial(const char16_t* p, int32_t n) noexcept {
  for (int32_t i = 0; i < n; ++i)
    if (p[i] < 128 && kXmlSpecial[p[i]]) return i;
  return n;
}

// True when the unit at i is a surrogate without its partner.
inline bool LoneSurrogate(const char16_t* p, int32_t n, int32_t i) noexcept {
  const char16_t c = p[i];
  if (c <= 0xDBFF) return !(i + 1 < n && p[i + 1] >= 0xDC00 && p[i + 1] <= 0xDFFF);
  return !(i > 0 && p[i - 1] >= 0xD800 && p[i - 1] <= 0xDBFF);
}

int32_t FirstJsonSpecial(const char16_t* p, int32_t n) noexcept {
  for (int32_t i = 0; i < n; ++i) {
    const char16_t c = p[i];
    if (c < 128) {
      if (kJsonSpecial[c]) return i;
    } else if (IsSurrogate(c) && LoneSurrogate(p, n, i)) {
      return i;
    }
  }
  return n;
}

void AddHex4(TFastString* out, unsigned v) {
  static constexpr char16_t kHex[] = u"0123456789ABCDEF";
  char16_t buf[6] = {u'\\', u'u', kHex[(v >> 12) & 15], kHex[(v >> 8) & 15], kHex[(v >> 4) & 15], kHex[v & 15]};
  out->Add(buf, 6);
}

void EncodeXmlFrom(TFastString* out, const char16_t* p, int32_t n, int32_t from) {
  out->Add(p, from);
  int32_t run = from;
  for (int32_t i = from; i < n; ++i) {
    const char16_t c = p[i];
    if (c >= 128 || !kXmlSpecial[c]) continue;
    out->Add(p + run, i - run);
    run = i + 1;
    switch (c) {
      case u'&': out->Add(u"&amp;", 5); break;
      case u'<': out->Add(u"&lt;", 4); break;
      case u'>': out->Add(u"&gt;", 4); break;
      case u'"': out->Add(u"&quot;", 6); break;
      default:
        out->Add2Char(u'&', u'#');
        out->Add(int32_t(c));
        out->AddChar(u';');
        break;
    }
  }
  out->Add(p + run, n - run);
}

void EncodeJsonFrom(TFastString* out, const char16_t* p, int32_t n, int32_t from) {
  out->Add(p, from);
  int32_t run = from;
  for (int32_t i = from; i < n; ++i) {
    const char16_t c = p[i];
    if (c < 128) {
      if (!kJsonSpecial[c]) continue;
    } else if (!IsSurrogate(c) || !LoneSurrogate(p, n, i)) {
      continue;
    }
    out->Add(p + run, i - run);
    run = i + 1;
    switch (c) {
      case u'"': out->Add2Char(u'\\', u'"'); break;
      case u'\\': out->Add2Char(u'\\', u'\\'); break;
      case u'\b': out->Add2Char(u'\\', u'b'); break;
      case u'\f': out->Add2Char(u'\\', u'f'); break;
      case u'\n': out->Add2Char(u'\\', u'n'); break;
      case u'\r': out->Add2Char(u'\\', u'r'); break;
      case u'\t': out->Add2Char(u'\\', u't'); break;
      default: AddHex4(out, c); break;
    }
  }
  out->Add(p + run, n - run);
}

}  // namespace

UnicodeString XMLEncode(const UnicodeString& text) {
  const int32_t n = text.Length();
  const int32_t first = FirstXmlSpecial(text.Data(), n);
  if (first == n) return text;
  TFastString out(n + 64);
  EncodeXmlFrom(&out, text.Data(), n, first);
  return out.GetAsString();
}

void FastXMLEncode(TFastString* out, const UnicodeString& text) {
  const int32_t n = text.Length();
  if (!out || n == 0) return;
  EncodeXmlFrom(out, text.Data(), n, FirstXmlSpecial(text.Data(), n));
}

UnicodeString JSONEncode(const UnicodeString& text) {
  const int32_t n = text.Length();
  const int32_t first = FirstJsonSpecial(text.Data(), n);
  if (first == n) return text;
  TFastString out(n + 64);
  EncodeJsonFrom(&out, text.Data(), n, first);
  return out.GetAsString();
}

void FastJSONEncode(TFastString* out, const UnicodeString& text) {
  const int32_t n = text.Length();
  if (!out || n == 0) return;
  EncodeJsonFrom(out, text.Data(), n, FirstJsonSpecial(text.Data(), n));
}

}  // namespace norvane
