#include "norvane/markup/html_encode.h"

#include <cstring>

#include "norvane/foundation/fast_string.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/markup/html_entities.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

struct TOverheadTables {
  uint8_t Text[256]{};
  uint8_t Attr[256]{};
  constexpr TOverheadTables() {
    for (int i = 0; i < 9; ++i) Text[i] = 3;  // "&#d;"
    for (int i = 0; i < 10; ++i) Attr[i] = 3;
    Text[u'&'] = Attr[u'&'] = 4;  // "&amp;"
    Text[u'<'] = Attr[u'<'] = 3;  // "&lt;"
    Text[u'>'] = Attr[u'>'] = 3;  // "&gt;"
    Text[0xA0] = Attr[0xA0] = 5;  // "&nbsp;"
    Attr[u'"'] = 5;               // "&quot;"
  }
};
constexpr TOverheadTables kTables;

// One bit per BMP unit: set when HtmlEncode must look at it (a unit below
// 256 with a cost, a high surrogate, a code with a named reference), so the
// scan over plain text tests one bit per unit and touches no dictionary.
struct TTextSpecial {
  uint64_t Bits[1024]{};
  TTextSpecial() {
    for (int c = 0; c < 256; ++c)
      if (kTables.Text[c]) Set(c);
    for (int c = 0xD800; c <= 0xDBFF; ++c) Set(c);
    const THtEntityReverseDictionary& rev = GlobalEntityReverseDictionary();
    for (const THtEntity& e : HtEntities())
      if (e.Code >= 256 && e.Code <= 0xFFFF && rev.FindEntity(int32_t(e.Code))) Set(int32_t(e.Code));
  }
  void Set(int c) noexcept { Bits[c >> 6] |= uint64_t(1) << (c & 63); }
  bool Test(char16_t c) const noexcept { return (Bits[c >> 6] >> (c & 63)) & 1; }
};

const TTextSpecial& TextSpecial() {
  static const TTextSpecial table;
  return table;
}
[[maybe_unused]] const bool kSpecialBuilt = (TextSpecial(), true);

// Escape texts, indexed by the unit.
inline std::u16string_view Named(char16_t c) noexcept {
  switch (c) {
    case u'&': return u"&amp;";
    case u'<': return u"&lt;";
    case u'>': return u"&gt;";
    case u'"': return u"&quot;";
    case 0xA0: return u"&nbsp;";
    default: return {};
  }
}

// The code point a high surrogate makes with the unit after it; that unit
// is 0 at the end of the text, as a terminated string would have it.
inline uint32_t PairCode(char16_t hi, char16_t lo) noexcept {
  return uint32_t((int32_t(hi) - 0xD800) * 0x400 + (int32_t(lo) - 0xDC00) + 0x10000);
}

// Output that is either a builder or a preallocated string. The string form
// grows when a caller's overhead was too small.
class TStringSink {
 public:
  explicit TStringSink(int32_t capacity) : FOut(UnicodeString::Alloc(capacity)), FCap(capacity) {
    FData = FOut.MutableData();
  }
  void Add(const char16_t* p, int32_t n) {
    if (n <= 0) return;
    if (FLen + n > FCap) Grow(n);
    std::memcpy(FData + FLen, p, size_t(n) * sizeof(char16_t));
    FLen += n;
  }
  void Add(std::u16string_view s) { Add(s.data(), int32_t(s.size())); }
  UnicodeString Finish() {
    if (FLen != FCap) FOut.SetLength(FLen);
    return std::move(FOut);
  }

 private:
  void Grow(int32_t n) {
    int64_t cap = int64_t(FCap) * 2 + n + 16;
    if (cap > INT32_MAX) cap = INT32_MAX;
    if (FLen + int64_t(n) > cap) throw EOutOfMemory();
    UnicodeString bigger = UnicodeString::Alloc(int32_t(cap));
    char16_t* d = bigger.MutableData();
    if (FLen) std::memcpy(d, FData, size_t(FLen) * sizeof(char16_t));
    FOut = std::move(bigger);
    FData = d;
    FCap = int32_t(cap);
  }
  UnicodeString FOut;
  char16_t* FData;
  int32_t FCap;
  int32_t FLen = 0;
};

class TBuilderSink {
 public:
  explicit TBuilderSink(TFastString* out) : FOut(out) {}
  void Add(const char16_t* p, int32_t n) { FOut->Add(p, n); }
  void Add(std::u16string_view s) { FOut->Add(s.data(), int32_t(s.size())); }

 private:
  TFastString* FOut;
};

template <class Sink>
void AddSmallRef(Sink& out, char16_t c) {
  const char16_t ref[4] = {u'&', u'#', char16_t(u'0' + c), u';'};
  out.Add(ref, 4);
}

template <class Sink>
void EncodeText(Sink& out, const char16_t* p, int32_t n) {
  const TTextSpecial& special = TextSpecial();
  const THtEntityReverseDictionary& rev = GlobalEntityReverseDictionary();
  int32_t i = 0;
  while (i < n) {
    int32_t run = i;
    while (run < n && !special.Test(p[run])) ++run;
    out.Add(p + i, run - i);
    if (run >= n) break;
    i = run;
    const char16_t c = p[i];
    if (c < 256) {
      if (c < 9)
        AddSmallRef(out, c);
      else
        out.Add(Named(c));
      ++i;
    } else if (c >= 0xD800 && c <= 0xDBFF) {
      const char16_t lo = i + 1 < n ? p[i + 1] : 0;
      char16_t ref[10] = {u'&', u'#', u'x'};
      uint32_t code = PairCode(c, lo);
      for (int k = 8; k >= 3; --k, code >>= 4) ref[k] = u"0123456789ABCDEF"[code & 15];
      ref[9] = u';';
      out.Add(ref, 10);
      i += 2;
    } else {
      const THtEntity* e = rev.FindEntity(int32_t(c));
      if (e) {
        const char16_t amp = u'&', semi = u';';
        out.Add(&amp, 1);
        out.Add(e->Name());
        out.Add(&semi, 1);
      } else {
        out.Add(p + i, 1);
      }
      ++i;
    }
  }
}

template <class Sink>
void EncodeAttr(Sink& out, const char16_t* p, int32_t n) {
  int32_t i = 0;
  while (i < n) {
    int32_t run = i;
    while (run < n && (p[run] >= 256 || !kTables.Attr[p[run]])) ++run;
    out.Add(p + i, run - i);
    if (run >= n) break;
    const char16_t c = p[run];
    if (c < 10)
      AddSmallRef(out, c);
    else
      out.Add(Named(c));
    i = run + 1;
  }
}

}  // namespace

const uint8_t (&HtmlEncodeOverhead)[256] = kTables.Text;
const uint8_t (&HtmlEncodeAttrOverhead)[256] = kTables.Attr;

int32_t HtmlEncodeNodeOverhead(std::u16string_view text) noexcept {
  const TTextSpecial& special = TextSpecial();
  const THtEntityReverseDictionary& rev = GlobalEntityReverseDictionary();
  const char16_t* p = text.data();
  const size_t n = text.size();
  int64_t extra = 0;
  for (size_t i = 0; i < n; ++i) {
    const char16_t c = p[i];
    if (!special.Test(c)) continue;
    if (c < 256) {
      extra += kTables.Text[c];
    } else if (c >= 0xD800 && c <= 0xDBFF) {
      // Ten units for the pair; a lone one at the end still writes ten.
      extra += i + 1 < n ? 8 : 9;
      ++i;
    } else if (const THtEntity* e = rev.FindEntity(int32_t(c))) {
      extra += e->Key.Length + 1;
    }
  }
  return extra > INT32_MAX ? INT32_MAX : int32_t(extra);
}

int32_t HtmlEncodeAttrNodeOverhead(std::u16string_view text) noexcept {
  int64_t extra = 0;
  for (char16_t c : text)
    if (c < 256) extra += kTables.Attr[c];
  return extra > INT32_MAX ? INT32_MAX : int32_t(extra);
}

UnicodeString HtmlEncode(const UnicodeString& text, int32_t overhead) {
  if (overhead < 0) {
    overhead = HtmlEncodeNodeOverhead(text.view());
    if (overhead == 0) return text;
  }
  const int64_t size = int64_t(text.Length()) + overhead;
  if (size > INT32_MAX) throw EOutOfMemory();
  TStringSink out{int32_t(size)};
  EncodeText(out, text.Data(), text.Length());
  return out.Finish();
}

UnicodeString HtmlEncodeAttr(const UnicodeString& text, int32_t overhead) {
  if (overhead < 0) {
    overhead = HtmlEncodeAttrNodeOverhead(text.view());
    if (overhead == 0) return text;
  }
  const int64_t size = int64_t(text.Length()) + overhead;
  if (size > INT32_MAX) throw EOutOfMemory();
  TStringSink out{int32_t(size)};
  EncodeAttr(out, text.Data(), text.Length());
  return out.Finish();
}

void FastHtmlEncode(TFastString* out, std::u16string_view text) {
  if (!out || text.empty()) return;
  TBuilderSink sink(out);
  EncodeText(sink, text.data(), int32_t(text.size()));
}

void FastHtmlEncodeAttr(TFastString* out, std::u16string_view text) {
  if (!out || text.empty()) return;
  TBuilderSink sink(out);
  EncodeAttr(sink, text.data(), int32_t(text.size()));
}

// --- URLs in plain text -------------------------------------------------------------

namespace {

inline bool EndsURL(char16_t c) noexcept {
  return c <= 0x20 || c == 0x7F || c == u'<' || c == u'>' || c == u'"' || c == u'\'' || c == u'`';
}

// A word may start a URL after these (or at the start of the text).
inline bool OpensWord(char16_t c) noexcept {
  return EndsURL(c) || c == u'(' || c == u'[' || c == u'{' || c == u',' || c == u';' || c == u'=';
}

bool StartsWithNoCase(const char16_t* p, int32_t n, std::u16string_view lit) noexcept {
  if (n < int32_t(lit.size())) return false;
  for (size_t i = 0; i < lit.size(); ++i)
    if (CharLower(p[i]) != lit[i]) return false;
  return true;
}

bool EndsWithNoCase(const char16_t* p, int32_t n, std::u16string_view lit) noexcept {
  return n >= int32_t(lit.size()) && StartsWithNoCase(p + n - int32_t(lit.size()), int32_t(lit.size()), lit);
}

inline bool HostUnit(char16_t c) noexcept {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'-' ||
         c == u'.';
}

// Length of the URL that starts at p, or 0.
int32_t URLAt(const char16_t* p, int32_t n) noexcept {
  int32_t len = 0;
  while (len < n && !EndsURL(p[len])) ++len;
  // Trailing punctuation belongs to the sentence, and a closing bracket to
  // the text around unless the URL opened it.
  for (;;) {
    if (len == 0) return 0;
    const char16_t c = p[len - 1];
    if (c == u'.' || c == u',' || c == u';' || c == u':' || c == u'!' || c == u'?') {
      --len;
      continue;
    }
    if (c == u')' || c == u']' || c == u'}') {
      const char16_t open = c == u')' ? u'(' : (c == u']' ? u'[' : u'{');
      int32_t depth = 0;
      for (int32_t i = 0; i < len; ++i) depth += p[i] == open ? 1 : (p[i] == c ? -1 : 0);
      if (depth < 0) {
        --len;
        continue;
      }
    }
    break;
  }
  for (std::u16string_view scheme : {u"http://", u"https://", u"ftp://", u"ftps://", u"mailto:"})
    if (StartsWithNoCase(p, len, scheme)) return len > int32_t(scheme.size()) ? len : 0;
  if (StartsWithNoCase(p, len, u"www.")) return len > 4 && HostUnit(p[4]) && p[4] != u'.' ? len : 0;
  // A bare host name with one of the common top-level domains.
  int32_t host = 0;
  while (host < len && HostUnit(p[host])) ++host;
  if (host < len && p[host] != u'/' && p[host] != u'?' && p[host] != u'#' && p[host] != u':') return 0;
  if (host < 5 || !HostUnit(p[0]) || p[0] == u'.' || p[0] == u'-') return 0;
  for (std::u16string_view tld : {u".com", u".net", u".org", u".int", u".edu", u".gov"})
    if (EndsWithNoCase(p, host, tld) && p[host - 5] != u'.') return len;
  return 0;
}

}  // namespace

UnicodeString ReplaceTextURLs(const UnicodeString& text, THtURLCallback callback, void* data) {
  const char16_t* p = text.Data();
  const int32_t n = text.Length();
  if (!callback || n == 0) return text;
  TFastString out(n + 256);
  int32_t copied = 0;
  bool replaced = false;
  for (int32_t i = 0; i < n;) {
    if (i == 0 || OpensWord(p[i - 1])) {
      if (const int32_t len = URLAt(p + i, n - i)) {
        out.Add(p + copied, i - copied);
        out.Add(callback(UnicodeString(p + i, len), data));
        i += len;
        copied = i;
        replaced = true;
        continue;
      }
    }
    ++i;
  }
  if (!replaced) return text;
  out.Add(p + copied, n - copied);
  return out.GetAsString();
}

}  // namespace norvane
