#include "norvane/markup/html_tokenizer.h"

#include <algorithm>
#include <array>
#include <memory>

#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/markup/html_entities.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/runtime/format.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(THtStringRec, "htmlpars")
NV_CLASS_IMPL(THTMLTokenizer, "htmlpars")
NV_CLASS_IMPL(EHtmlParserException, "htmlpars")

int32_t THtStringRec::ValueOffset() noexcept { return NV_FIELD_OFFSET(THtStringRec, Value); }

namespace {

constexpr std::array<std::array<uint8_t, 256>, 2> BuildCharClass() {
  std::array<std::array<uint8_t, 256>, 2> t{};
  t[0][u'<'] = 4;
  auto& in = t[1];
  for (char c : std::string_view("#%-.:@_")) in[uint8_t(c)] = 1;
  for (int c = '0'; c <= '9'; ++c) in[c] = 1;
  for (int c = 'A'; c <= 'Z'; ++c) in[c] = 1;
  for (int c = 'a'; c <= 'z'; ++c) in[c] = 1;
  for (char c : std::string_view("\t\n\r ")) in[uint8_t(c)] = 2;
  in[uint8_t('"')] = 3;
  in[uint8_t('\'')] = 3;
  in[uint8_t('<')] = 4;
  in[uint8_t('>')] = 5;
  in[uint8_t('/')] = 6;
  in[uint8_t('=')] = 7;
  return t;
}


}  // namespace

namespace {

inline uint8_t ClassOf(char16_t c, bool inTag) noexcept { return c < 256 ? HtmlCharClass[inTag][c] : 0; }

// Units after "<" that may open a tag name (ASCII ones; every unit from 128
// up opens one as well).
constexpr bool OpensTag(char16_t c) noexcept {
  return c >= 128 || c == u'-' || c == u'.' || c == u'/' || c == u':' || c == u'_' ||
         (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

// The texts of the one-unit tokens, shared so that they cost no allocation.
const UnicodeString& PunctuationText(char16_t c) {
  static const UnicodeString lt(u"<"), gt(u">"), slash(u"/"), eq(u"=");
  switch (c) {
    case u'<': return lt;
    case u'>': return gt;
    case u'/': return slash;
    default: return eq;
  }
}

bool StartsWithUnits(const char16_t* p, const char16_t* pend, std::u16string_view s) noexcept {
  return pend - p >= ptrdiff_t(s.size()) && std::equal(s.begin(), s.end(), p);
}

const char16_t* FindUnits(const char16_t* from, const char16_t* to, std::u16string_view s) noexcept {
  const char16_t* r = std::search(from, to, s.begin(), s.end());
  return r == to ? nullptr : r;
}

// The code points a reference may yield as text: supplementary ones become
// a surrogate pair, values no character has become two spaces.
void AppendCode(std::u16string& buf, uint32_t code) {
  if (code > 0xFFFF) {
    if (code >= 0x110000) {
      buf.append(u"  ");
    } else {
      code -= 0x10000;
      buf.push_back(char16_t(0xD800 + (code >> 10)));
      buf.push_back(char16_t(0xDC00 + (code & 0x3FF)));
    }
  } else if (code >= 0xD800 && code <= 0xDFFF) {
    buf.append(u"  ");
  } else {
    buf.push_back(char16_t(code));
  }
}

}  // namespace

// Computed at compile time, so it is ready before any start-up code runs.
constinit const std::array<std::array<uint8_t, 256>, 2> HtmlCharClass = BuildCharClass();

// --- THTMLTokenizer --------------------------------------------------------------

THTMLTokenizer::THTMLTokenizer(const UnicodeString& text, bool xml)
    : FParser(new TStringParser(text)), FXMLMode(xml) {
  FParser->SkipBlanks();
  // Entity lookups must not pay for a first-use check inside the scan.
  (void)GlobalEntityDictionary();
}

THTMLTokenizer::~THTMLTokenizer() = default;

int32_t THTMLTokenizer::Offset() const noexcept { return int32_t(FParser->p - FParser->Start()); }

void THTMLTokenizer::Next2(THTMLTokenType type) {
  TStringParser& sp = *FParser;
  Token.CType = type;
  Token.Name = PunctuationText(sp.GetCurrent());
  sp.Next();
}

bool THTMLTokenizer::NextToken(bool allowString) {
  TStringParser& sp = *FParser;
  if (sp.p >= sp.pend) {
    Eof = true;
    return false;
  }
  Token.StartPos = Offset();
  bool result = true;

  if (Token.CType == htTagEnd && *sp.p != u'<') {
    ReadText();
  } else {
    if (!allowString && FInTag) {
      // Stray quotes between attributes vanish; a value is quoted only where
      // the parser asks for one.
      while (sp.p < sp.pend && (*sp.p == u'"' || *sp.p == u'\'')) ++sp.p;
      if (sp.p >= sp.pend) {
        Eof = true;
        Token.EndPos = Offset();
        return false;
      }
    }
    const char16_t c = *sp.p;
    switch (ClassOf(c, FInTag)) {
      case 0:
        if (FInTag)
          ReadIdent();
        else
          ReadText();
        break;
      case 1:
        if (Token.CType == htTagStart)
          ReadTag();
        else
          ReadIdent();
        break;
      case 2: {
        Token.CType = htSpace;
        const char16_t* start = sp.p++;
        sp.SkipBlanks();
        // A single blank keeps the previous text: spaces between attributes
        // are the common case and need no string.
        if (sp.p - start >= 2) Token.Name = UnicodeString(start, int32_t(sp.p - start));
        result = sp.p < sp.pend;
        break;
      }
      case 3:
        ReadString();
        break;
      case 4: {
        const char16_t n = sp.p + 1 < sp.pend ? sp.p[1] : 0;
        if (n == u'!') {
          if (sp.p + 2 < sp.pend && sp.p[2] == u'-')
            ReadComment();
          else if (StartsWithUnits(sp.p + 2, sp.pend, u"[CDA"))
            ReadCData();
          else
            ReadCustom();
        } else if (n == u'?') {
          ReadDirective();
        } else if (!OpensTag(n)) {
          if (FXMLMode) {
            const UnicodeString unit = n ? UnicodeString(n) : UnicodeString();
            throw EHtmlParserException(u"Invalid tag name %s. Line %d position %d",
                                       {unit, sp.Line(), sp.Pos()});
          }
          ++sp.p;
          ReadTextFrom(sp.p - 1);  // the "<" is the first unit of the text
        } else {
          Next2(htTagStart);
          FInTag = true;
        }
        break;
      }
      case 5:
        Next2(htTagEnd);
        FInTag = false;
        if (!FXMLMode && !FTagName.IsEmpty()) {
          if (SameText(FTagName.view(), u"script"))
            ReadScript();
          else if (SameText(FTagName.view(), u"style"))
            ReadStyle();
        }
        break;
      case 6:
        // Clearing the name keeps the ">" of "</script>" or "<script/>" from
        // starting a raw-text read.
        Next2(htTagClose);
        FTagName.Clear();
        break;
      case 7:
        Next2(htEq);
        break;
    }
  }
  Token.EndPos = Offset();
  return result;
}

// --- Text and references ------------------------------------------------------------

UnicodeString THTMLTokenizer::TakeBuffer(const char16_t* from, const char16_t* to) {
  if (!FBufUsed) return to > from ? UnicodeString(from, int32_t(to - from)) : UnicodeString();
  FBuf.append(from, to);
  UnicodeString r(FBuf);
  FBuf.clear();
  FBufUsed = false;
  return r;
}

void THTMLTokenizer::AppendEscape(const char16_t* from, const char16_t* to) {
  if (!FBufUsed) {
    FBuf.clear();
    FBufUsed = true;
  }
  FBuf.append(from, to);
  AppendCode(FBuf, Escape());
}

void THTMLTokenizer::ReadText() { ReadTextFrom(FParser->p); }

void THTMLTokenizer::ReadTextFrom(const char16_t* start) {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  for (;;) {
    // Two units a step: nothing above ">" ends the run or opens a reference.
    const char16_t* q = sp.p;
    for (;;) {
      while (pend - q >= 2 && q[0] > u'>' && q[1] > u'>') q += 2;
      if (q >= pend || *q == u'<' || *q == u'&') break;
      ++q;
    }
    sp.p = q;
    if (q >= pend || *q == u'<') break;
    ++sp.p;  // the "&"
    AppendEscape(start, q);
    start = sp.p;
  }
  Token.Name = TakeBuffer(start, sp.p);
  Token.CType = htString;
}

void THTMLTokenizer::ReadString() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t quote = *sp.p++;
  const char16_t* start = sp.p;
  for (;;) {
    const char16_t* q = sp.p;
    for (;;) {
      // Quotes and "&" lie below ">": the same two-unit step applies.
      while (pend - q >= 2 && q[0] > u'>' && q[1] > u'>') q += 2;
      if (q >= pend || *q == quote || *q == u'&') break;
      ++q;
    }
    sp.p = q;
    if (q >= pend || *q == quote) break;
    ++sp.p;
    AppendEscape(start, q);
    start = sp.p;
  }
  Token.Name = TakeBuffer(start, sp.p);
  if (sp.p < pend) ++sp.p;  // the closing quote
  Token.CType = htString;
}

uint32_t THTMLTokenizer::Escape() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t* p = sp.p;
  auto advance = [&](ptrdiff_t n) { sp.p = std::min(p + n, pend); };

  // The common references, decided on their first three units.
  if (pend - p >= 3) {
    const char16_t a = p[0], b = p[1], c = p[2];
    if (b == u't' && c == u';') {
      if (a == u'l') return advance(3), u'<';
      if (a == u'g') return advance(3), u'>';
    }
    if (a == u'q' && b == u'u' && c == u'o') return advance(5), u'"';
    if (a == u'a' && b == u'm' && c == u'p') return advance(4), u'&';
    if (a == u'n' && b == u'b' && c == u's') {
      advance(pend - p >= 5 && p[4] == u';' ? 5 : 4);
      return 0xA0;
    }
  }

  // The end of the reference: NUL, ";" or space, at most 25 units on.
  const char16_t* q = p;
  const char16_t* const limit = pend - p > 25 ? p + 25 : pend;
  while (q < limit && *q != 0 && *q != u';' && *q != u' ') ++q;
  const bool semicolon = q < pend && *q == u';';

  if (p < pend && *p == u'#') {
    sp.p = p + 1;
    uint32_t code;
    if (sp.p < pend && *sp.p == u'x') {
      ++sp.p;
      const int64_t v = sp.ReadHex();
      // Beyond 32 bits no character is meant; keep it out of range rather
      // than let the low bits pass for one.
      code = (v < 0 || v > 0xFFFFFFFF) ? 0xFFFFFFFFu : uint32_t(v);
    } else {
      // Includes "X": ReadInt stops at it, so "&#X41;" reads as 0.
      code = uint32_t(sp.ReadInt());
    }
    if (semicolon) sp.p = q + 1;
    return code;
  }
  if (!semicolon) return u'&';

  uint32_t code = u'&';
  if (const THtEntity* e = GlobalEntityDictionary().FindEntity(p, int32_t(q - p))) {
    code = e->Code;
    p = q;
  }
  // One more unit goes: the ";" of a known name, or the first letter of an
  // unknown one ("&foo;" reads as "&oo;").
  sp.p = p < pend ? p + 1 : pend;
  return code;
}

// --- Names -------------------------------------------------------------------------

UnicodeString THTMLTokenizer::InternTag(const char16_t* start, int32_t length) {
  bool upper = false;
  if (!FCaseSensitive)
    for (int32_t i = 0; i < length && !upper; ++i) upper = start[i] >= u'A' && start[i] <= u'Z';

  if (upper) {
    UnicodeString name(start, length);
    char16_t* d = name.MutableData();
    for (int32_t i = 0; i < length; ++i)
      if (d[i] >= u'A' && d[i] <= u'Z') d[i] = char16_t(d[i] + 32);
    if (!FTagList) return name;
    const int32_t hash = FTagList->Hash(name);
    const int32_t slot = FTagList->FindHashed(hash, name);
    if (slot >= 0) return static_cast<THtStringRec*>(FTagList->Table().ValueAt(slot))->Value;
    auto rec = std::make_unique<THtStringRec>(name);
    FTagList->AddHashed(hash, name, rec.get());
    rec.release();
    return name;
  }

  if (!FTagList) return UnicodeString(start, length);
  // Known names are found by their units: no string is made for them.
  const int32_t hash = FTagList->HashFunc()(start, length);
  const int32_t slot = FTagList->FindHashed(hash, start, length);
  if (slot >= 0) return static_cast<THtStringRec*>(FTagList->Table().ValueAt(slot))->Value;
  UnicodeString name(start, length);
  auto rec = std::make_unique<THtStringRec>(name);
  FTagList->AddHashed(hash, name, rec.get());
  rec.release();
  return name;
}

void THTMLTokenizer::ReadTag() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t* start = sp.p;
  const char16_t* q = start + 1;
  // Everything from "A" up belongs to the name, so "[", "{" and letters
  // beyond ASCII do too; a "/" only when it doesn't close the tag.
  while (q < pend) {
    const char16_t c = *q;
    if (c >= u'A' || HtmlCharClass[1][c] == 1 || (c == u'/' && (q + 1 >= pend || q[1] != u'>')))
      ++q;
    else
      break;
  }
  sp.p = q;
  FTagName = InternTag(start, int32_t(q - start));
  Token.Name = FTagName;
  Token.CType = htIdent;
}

void THTMLTokenizer::ReadIdent() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t* start = sp.p;
  const char16_t* q = start + 1;
  // Unquoted values like a/b.png?x run on until a blank, quote, "<", ">",
  // "=" or a "/" that closes the tag.
  while (q < pend) {
    const char16_t c = *q;
    if (c == 0) break;
    if (c < 256 && HtmlCharClass[1][c] >= 2 && !(c == u'/' && (q + 1 >= pend || q[1] != u'>'))) break;
    ++q;
  }
  sp.p = q;
  Token.Name = UnicodeString(start, int32_t(q - start));
  Token.CType = htIdent;
}

// --- Markup declarations ----------------------------------------------------------------

void THTMLTokenizer::ReadComment() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t* start = std::min(sp.p + 2, pend);  // at the first "-"
  const char16_t* stop = start;
  for (;;) {
    while (stop < pend && *stop != u'>') ++stop;
    if (stop >= pend || (stop - start >= 2 && stop[-1] == u'-' && stop[-2] == u'-')) break;
    ++stop;
  }
  // The dashes in front stay, the two behind go (or, unterminated, the
  // last two units of the input).
  const ptrdiff_t len = std::max<ptrdiff_t>(stop - start - 2, 0);
  Token.Name = UnicodeString(start, int32_t(len));
  Token.CType = htComment;
  sp.p = stop < pend ? stop + 1 : pend;
}

void THTMLTokenizer::ReadCData() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t* start = pend - sp.p > 9 ? sp.p + 9 : pend;
  const char16_t* q = start;
  const char16_t* stop = pend;
  while (q < pend) {
    if (*q++ != u']') continue;
    if (q < pend && *q == u']') {
      ++q;
      if (q < pend && *q == u'>') {
        stop = q;
        break;
      }
    }
  }
  const ptrdiff_t len = std::max<ptrdiff_t>(stop - start - 2, 0);
  Token.Name = UnicodeString(start, int32_t(len));
  Token.CType = htCData;
  sp.p = stop < pend ? stop + 1 : pend;
}

void THTMLTokenizer::ReadCustom() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t* start = std::min(sp.p + 2, pend);
  const char16_t* q = start;
  bool quoted = false, bracket = false;
  // Brackets hold an internal subset whose ">" don't end the declaration;
  // quotes only keep brackets from counting.
  for (; q < pend; ++q) {
    const char16_t c = *q;
    if (c == u'"')
      quoted = !quoted;
    else if (c == u'[' && !quoted)
      bracket = true;
    else if (c == u']' && !quoted)
      bracket = false;
    else if (c == u'>' && !bracket)
      break;
  }
  Token.Name = UnicodeString(start, int32_t(q - start));
  Token.CType = Token.Name.IsEmpty() ? htUnknown : htCustom;
  sp.p = q < pend ? q + 1 : pend;
}

void THTMLTokenizer::ReadDirective() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t* start = std::min(sp.p + 2, pend);
  const char16_t* q = start;
  ptrdiff_t terminator = 0;
  for (; q < pend; ++q) {
    if (*q == u'>' || *q == 0) {
      terminator = 1;
      break;
    }
    if (*q == u'?' && q + 1 < pend && q[1] == u'>') {
      terminator = 2;
      break;
    }
  }
  Token.Name = UnicodeString(start, int32_t(q - start));
  Token.CType = htDirective;
  sp.p = std::min(q + terminator, pend);
}

// --- Raw text -----------------------------------------------------------------------------

void THTMLTokenizer::ReadScript() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t* start = sp.p;
  while (sp.p < pend) {
    if (*sp.p == u'<' && sp.p + 1 < pend && sp.p[1] == u'/' && sp.StartsWith(u"</script>")) break;
    ++sp.p;
  }
  const char16_t* b = start;
  const char16_t* e = sp.p;
  while (b < e && *b <= u' ') ++b;
  while (e > b && e[-1] <= u' ') --e;
  // An old-style "<!-- ... -->" wrapper goes.
  if (StartsWithUnits(b, e, u"<!--")) {
    b += 4;
    e = e - b >= 3 ? e - 3 : b;
  }
  Token.Name = UnicodeString(b, int32_t(e - b));
  Token.CType = htScript;
}

void THTMLTokenizer::ReadStyle() {
  TStringParser& sp = *FParser;
  const char16_t* const pend = sp.pend;
  const char16_t* start = sp.p;
  while (sp.p < pend) {
    if (*sp.p == u'<' && sp.p + 1 < pend && sp.p[1] == u'/' && sp.StartsWith(u"</style>")) break;
    ++sp.p;
  }
  if (!FindUnits(start, sp.p, u"<!--")) {
    Token.Name = UnicodeString(start, int32_t(sp.p - start));
  } else {
    // Each "<!--" goes, and after it the first "-->" of what is left.
    std::u16string s(start, sp.p);
    for (size_t i; (i = s.find(u"<!--")) != std::u16string::npos;) {
      s.erase(i, 4);
      const size_t j = s.find(u"-->");
      if (j != std::u16string::npos) s.erase(j, 3);
    }
    Token.Name = UnicodeString(std::u16string_view(s));
  }
  Token.CType = htStyle;
}

}  // namespace norvane
