#include "norvane/markup/json_tokenizer.h"

#include <algorithm>

#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(EHtJSONParserException, "htmlpars")
NV_CLASS_IMPL(THtJSONTokenizer, "htmlpars")
NV_CLASS_IMPL(THtJSONParser, "htmlpars")

namespace {

constexpr std::array<uint8_t, 256> BuildJsonCharClass() {
  std::array<uint8_t, 256> t{};
  for (unsigned c = 'A'; c <= 'Z'; ++c) t[c] = 1;
  for (unsigned c = 'a'; c <= 'z'; ++c) t[c] = 1;
  t['_'] = 1;
  t['"'] = 2;
  t['\''] = 2;
  t['\t'] = 4;
  t['\n'] = 4;
  t['\r'] = 4;
  t[' '] = 4;
  t[','] = 5;
  t['{'] = 6;
  t['}'] = 7;
  t['['] = 8;
  t[']'] = 9;
  t[':'] = 10;
  for (unsigned c = '0'; c <= '9'; ++c) t[c] = 12;
  t['-'] = 12;
  return t;
}

// Units that continue an identifier (below 256; every unit above goes on).
constexpr std::array<bool, 256> BuildIdentUnits() {
  std::array<bool, 256> t{};
  for (unsigned c = 'A'; c <= 'Z'; ++c) t[c] = true;
  for (unsigned c = 'a'; c <= 'z'; ++c) t[c] = true;
  for (unsigned c = '0'; c <= '9'; ++c) t[c] = true;
  t['_'] = true;
  t['-'] = true;
  return t;
}
constexpr std::array<bool, 256> kIdentUnits = BuildIdentUnits();

inline bool IsIdentUnit(char16_t c) noexcept { return c >= 256 || kIdentUnits[c]; }

inline int HexDigit(char16_t c) noexcept {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// The "\x" escape takes its two units without a check; a unit that isn't a
// hex digit gives whatever the arithmetic makes of it, kept to one nibble.
inline unsigned LooseHexDigit(char16_t c) noexcept {
  return (c <= u'9' ? unsigned(c) - u'0' : (unsigned(c) | 0x20u) - u'a' + 10) & 0xF;
}

// The texts of the one-unit tokens and of the three words, shared so that
// they cost no allocation.
const UnicodeString& PunctuationText(char16_t c) {
  static const UnicodeString comma(u","), objStart(u"{"), objEnd(u"}"), arrStart(u"["), arrEnd(u"]"),
      colon(u":"), none;
  switch (c) {
    case u',': return comma;
    case u'{': return objStart;
    case u'}': return objEnd;
    case u'[': return arrStart;
    case u']': return arrEnd;
    case u':': return colon;
    default: return none;
  }
}

const UnicodeString* KeywordText(const char16_t* s, ptrdiff_t n) {
  static const UnicodeString kFalse(u"false"), kNull(u"null"), kTrue(u"true");
  // Two units decide the candidate before the whole word is compared.
  if (n == 4) {
    if (s[0] == u't' && s[1] == u'r') return (s[2] == u'u' && s[3] == u'e') ? &kTrue : nullptr;
    if (s[0] == u'n' && s[1] == u'u') return (s[2] == u'l' && s[3] == u'l') ? &kNull : nullptr;
  } else if (n == 5 && s[0] == u'f' && s[1] == u'a') {
    return (s[2] == u'l' && s[3] == u's' && s[4] == u'e') ? &kFalse : nullptr;
  }
  return nullptr;
}

}  // namespace

constinit const std::array<uint8_t, 256> JsonCharClass = BuildJsonCharClass();

// --- THtJSONTokenizer ---------------------------------------------------------------

THtJSONTokenizer::THtJSONTokenizer(const UnicodeString& text) : FParser(new TStringParser(text)) {
  FParser->RaiseException = true;
  FParser->SkipBlanks();
}

THtJSONTokenizer::~THtJSONTokenizer() = default;

int32_t THtJSONTokenizer::Offset() const noexcept { return int32_t(FParser->p - FParser->Start()); }

bool THtJSONTokenizer::NextToken() {
  TStringParser& sp = *FParser;
  if (sp.p >= sp.pend) {
    Eof = true;
    return false;
  }
  Token.StartPos = Offset();
  const char16_t c = *sp.p;
  bool result = true;
  switch (c < 256 ? JsonCharClass[c] : 0) {
    case 1: ReadIdent(); break;
    case 2: ReadString(); break;
    case 4:
      ReadSpace();
      result = sp.p < sp.pend;
      break;
    case 5: Next2(jtComma); break;
    case 6: Next2(jtObjectStart); break;
    case 7: Next2(jtObjectEnd); break;
    case 8: Next2(jtArrayStart); break;
    case 9: Next2(jtArrayEnd); break;
    case 10: Next2(jtColon); break;
    case 12: ReadNumber(); break;
    default:
      ReadIdent();
      Token.CType = jtUnknown;
      break;
  }
  Token.EndPos = Offset();
  return result;
}

bool THtJSONTokenizer::NextNSToken() {
  while (NextToken())
    if (Token.CType != jtSpace) return true;
  return false;
}

void THtJSONTokenizer::NextRequiredToken() {
  if (!NextNSToken()) throw EHtJSONParserException(UnicodeString(u"Token expected"));
}

void THtJSONTokenizer::Next2(THtJSONTokenType type) {
  TStringParser& sp = *FParser;
  Token.CType = type;
  Token.Name = PunctuationText(sp.GetCurrent());
  sp.Next();
}

void THtJSONTokenizer::ReadSpace() {
  TStringParser& sp = *FParser;
  const char16_t* const start = sp.p;
  const char16_t* q = start + 1;
  while (q < sp.pend && *q < 256 && JsonCharClass[*q] == 4) ++q;
  sp.p = q;
  const std::u16string_view run(start, size_t(q - start));
  if (FLastSpace.view() != run) FLastSpace = UnicodeString(run);
  Token.Name = FLastSpace;
  Token.CType = jtSpace;
}

void THtJSONTokenizer::ReadNumber() {
  TStringParser& sp = *FParser;
  const char16_t* const start = sp.p;
  int64_t i;
  long double f;
  const bool isInt = sp.ReadIntOrFloat(i, f);
  Token.CType = isInt ? jtInt : jtFloat;
  Token.IntValue = i;
  Token.FloatValue = f;
  Token.Name = UnicodeString(start, int32_t(sp.p - start));
}

void THtJSONTokenizer::ReadIdent() {
  TStringParser& sp = *FParser;
  const char16_t* const start = sp.p;
  const char16_t* q = start + 1;  // the first unit is taken as it is
  while (q < sp.pend && IsIdentUnit(*q)) ++q;
  sp.p = q;
  if (const UnicodeString* word = KeywordText(start, q - start)) {
    Token.Name = *word;
    Token.CType = jtValue;
  } else {
    Token.Name = UnicodeString(start, int32_t(q - start));
    Token.CType = jtIdent;
  }
}

void THtJSONTokenizer::ReadString() {
  TStringParser& sp = *FParser;
  const char16_t quote = *sp.p;
  const char16_t* p = sp.p + 1;
  const char16_t* segment = p;
  bool buffered = false;
  for (;;) {
    while (p < sp.pend && *p >= 0x20 && *p != quote && *p != u'\\') ++p;
    if (p >= sp.pend) {
      sp.p = p;
      throw EHtJSONParserException(UnicodeString(u"Unterminated string"));
    }
    const char16_t c = *p;
    if (c == quote) break;
    if (c == u'\\') {
      if (!buffered) FBuf.clear();
      buffered = true;
      FBuf.append(segment, p);
      sp.p = p + 1;
      FBuf.push_back(Escape());
      p = segment = sp.p;
      continue;
    }
    // A control unit.
    sp.p = p;
    UnicodeString message(u"Unescaped control symbol #");
    message += IntToStr(c);
    message += std::u16string_view(u" in ");
    if (buffered) message += std::u16string_view(FBuf);
    message += std::u16string_view(segment, size_t(p - segment));
    throw EHtJSONParserException(message);
  }
  if (buffered) {
    FBuf.append(segment, p);
    Token.Name = UnicodeString(std::u16string_view(FBuf));
  } else {
    Token.Name = UnicodeString(segment, int32_t(p - segment));
  }
  sp.p = p + 1;
  Token.CType = jtString;
}

void THtJSONTokenizer::RaiseEscape() const {
  throw EHtJSONParserException(u"Incorrect unicode escape at line %d", {FParser->Line()});
}

char16_t THtJSONTokenizer::Escape() {
  TStringParser& sp = *FParser;
  const char16_t* const p = sp.p;
  if (p >= sp.pend) RaiseEscape();
  char16_t result;
  switch (*p) {
    case u'"': result = u'"'; break;
    case u'/': result = u'/'; break;
    case u'\\': result = u'\\'; break;
    case u'b': result = 0x08; break;
    case u'f': result = 0x0C; break;
    case u'n': result = 0x0A; break;
    case u'r': result = 0x0D; break;
    case u't': result = 0x09; break;
    case u'u': {
      unsigned v = 0;
      for (int k = 1; k <= 4; ++k) {
        const int d = p + k < sp.pend ? HexDigit(p[k]) : -1;
        if (d < 0) RaiseEscape();
        v = v * 16 + unsigned(d);
      }
      sp.p = p + 5;
      return char16_t(v);
    }
    case u'x': {
      // Units beyond the end count as 0, and the cursor stops at the end,
      // where the string then reports itself unterminated.
      const char16_t hi = p + 1 < sp.pend ? p[1] : u'0';
      const char16_t lo = p + 2 < sp.pend ? p[2] : u'0';
      sp.p = std::min(p + 3, sp.pend);
      return char16_t(LooseHexDigit(hi) * 16 + LooseHexDigit(lo));
    }
    default: RaiseEscape();
  }
  sp.p = p + 1;
  return result;
}

void THtJSONTokenizer::ReadComment() {
  TStringParser& sp = *FParser;
  sp.Next();
  const char16_t* const start = sp.p;
  const char16_t* q = start;
  while (q < sp.pend && *q != u'\r') ++q;
  Token.Name = UnicodeString(start, int32_t(q - start));
  Token.CType = jtComment;
  if (q < sp.pend && *q == u'\r') ++q;
  if (q < sp.pend && *q == u'\n') ++q;
  sp.p = q;
}

// --- THtJSONParser -------------------------------------------------------------------

THtJSONParser::THtJSONParser(const UnicodeString& text) : FNames(std::make_unique<THtStringList>(256)) {
  if (!text.IsEmpty()) Tokenizer = std::make_unique<THtJSONTokenizer>(text);
}

THtJSONParser::~THtJSONParser() = default;

THtJSONTokenType THtJSONParser::NextNameValue() {
  if (!Tokenizer) throw EHtJSONParserException(UnicodeString(u"Name expected"));
  THtJSONTokenizer& t = *Tokenizer;
  if (t.Token.CType != jtIdent && t.Token.CType != jtString)
    throw EHtJSONParserException(UnicodeString(u"Name expected"));

  const UnicodeString& text = t.Token.Name;
  if (text.IsEmpty()) {
    Name.Clear();
  } else {
    const int32_t hash = FNames->Hash(text);
    const int32_t slot = FNames->FindHashed(hash, text);
    if (slot >= 0) {
      Name = static_cast<THtNameObjectPair*>(FNames->Table().ValueAt(slot))->Name;
    } else {
      auto pair = std::make_unique<THtNameObjectPair>(text, nullptr, false);
      FNames->AddHashed(hash, text, pair.get());
      Name = pair.release()->Name;
    }
  }

  if (!t.NextNSToken() || t.Token.CType != jtColon) throw EHtJSONParserException(UnicodeString(u"Name expected"));
  if (!t.NextNSToken()) throw EHtJSONParserException(UnicodeString(u"Value expected"));
  switch (t.Token.CType) {
    case jtIdent:
    case jtString:
    case jtValue: return jtIdent;
    case jtObjectStart:
    case jtArrayStart:
    case jtInt:
    case jtFloat: return t.Token.CType;
    default: throw EHtJSONParserException(UnicodeString(u"Value expected"));
  }
}

}  // namespace norvane
