#include "norvane/markup/json_tokenizer.h"

#include <algorithm>
#include <cstring>
#include <utility>

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

inline bool IsBlank(char16_t c) noexcept { return c == u' ' || c == u'\n' || c == u'\r' || c == u'\t'; }

[[noreturn]] void RaiseIncorrectNumber() { throw EConvertError(UnicodeString(u"Incorrect number")); }

constexpr int kNameCacheBits = 9;
constexpr size_t kNameCacheSize = size_t(1) << kNameCacheBits;

// Scans look at four units at once, as the lanes of a 64-bit word.
constexpr uint64_t kLaneOnes = 0x0001000100010001ull;
constexpr uint64_t kLaneHighs = 0x8000800080008000ull;
constexpr uint64_t kFourBlanks = 0x0020002000200020ull;

inline uint64_t LoadFour(const char16_t* p) noexcept {
  uint64_t w;
  std::memcpy(&w, p, sizeof w);
  return w;
}

// True when some lane is below n (n at most 0x8000); exact as a whole.
inline bool AnyLaneBelow(uint64_t w, uint64_t n) noexcept { return ((w - kLaneOnes * n) & ~w & kLaneHighs) != 0; }
inline bool AnyLaneZero(uint64_t w) noexcept { return AnyLaneBelow(w, 1); }

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
  if (FTextOnly) return NextTextToken();
  // Blanks between tokens are passed without a token of their own; blanks
  // that run to the end still make the trailing jtSpace that NextToken gives.
  TStringParser& sp = *FParser;
  const char16_t* p = sp.p;
  while (p < sp.pend && IsBlank(*p)) ++p;
  if (p < sp.pend) sp.p = p;
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
  if (!FTextOnly) Token.Name = PunctuationText(sp.GetCurrent());
  sp.Next();
}

void THtJSONTokenizer::SetTextOnly(bool on) noexcept {
  if (FTextOnly == on) return;
  FTextOnly = on;
  // Back to full tokens: the builder leaves off at a closing bracket, which
  // gets its text and place as NextToken would have given them.
  if (!on && Token.CType >= jtComma && Token.CType <= jtColon && FParser->p > FParser->Start()) {
    Token.Name = PunctuationText(FParser->p[-1]);
    Token.EndPos = Offset();
    Token.StartPos = Token.EndPos - 1;
  }
}

bool THtJSONTokenizer::NextTextToken() {
  TStringParser& sp = *FParser;
  const char16_t* const blanks = sp.p;
  const char16_t* p = blanks;
  // Indentation: a line end, then a long run of spaces.
  for (;;) {
    while (sp.pend - p >= 4 && LoadFour(p) == kFourBlanks) p += 4;
    if (p >= sp.pend || !IsBlank(*p)) break;
    ++p;
  }
  sp.p = p;
  if (p >= sp.pend) {
    // As NextNSToken: blanks that end the input are the last token.
    if (p != blanks)
      Token.CType = jtSpace;
    else
      Eof = true;
    return false;
  }
  const char16_t c = *p;
  switch (c < 256 ? JsonCharClass[c] : 0) {
    case 1: ReadIdent(); break;
    case 2: ReadString(); break;
    case 5: Token.CType = jtComma, sp.p = p + 1; break;
    case 6: Token.CType = jtObjectStart, sp.p = p + 1; break;
    case 7: Token.CType = jtObjectEnd, sp.p = p + 1; break;
    case 8: Token.CType = jtArrayStart, sp.p = p + 1; break;
    case 9: Token.CType = jtArrayEnd, sp.p = p + 1; break;
    case 10: Token.CType = jtColon, sp.p = p + 1; break;
    case 12: ScanNumber(); break;
    default:
      ReadIdent();
      Token.CType = jtUnknown;
      break;
  }
  return true;
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
  FText = std::u16string_view(start, size_t(sp.p - start));
  FWord = nullptr;
  Token.Name = UnicodeString(FText);
}

// The number syntax of the strict cursor (TStringParser::ReadIntOrFloat),
// checked without building the value: the same texts pass, the same raise,
// and the cursor stops where that reader stops. An integer too large for
// 64 bits stays jtInt here, which the tree, keeping only text, can't tell.
void THtJSONTokenizer::ScanNumber() {
  TStringParser& sp = *FParser;
  const char16_t* const end = sp.pend;
  const char16_t* p = sp.p;
  const auto digit = [end](const char16_t* q) { return q < end && char16_t(*q - u'0') < 10; };
  const auto fail = [&sp](const char16_t* q) {
    sp.p = q;
    RaiseIncorrectNumber();
  };
  const char16_t* const start = p;
  if (*p == u'-') ++p;
  if (!digit(p) || (*p == u'0' && digit(p + 1))) fail(p);
  while (digit(p)) ++p;
  bool isFloat = false;
  // "1..5" is a range: the number ends before the first ".".
  if (p < end && *p == u'.' && !(p + 1 < end && p[1] == u'.')) {
    ++p;
    if (!digit(p)) fail(p);
    isFloat = true;
    while (digit(p)) ++p;
  }
  if (p + 1 < end && (*p == u'e' || *p == u'E') && (p[1] == u'+' || p[1] == u'-' || char16_t(p[1] - u'0') < 10)) {
    ++p;
    isFloat = true;
    bool negativeExp = false;
    if (*p == u'-' || *p == u'+') negativeExp = *p++ == u'-';
    if (!digit(p)) fail(p);
    int32_t e = 0;
    for (; digit(p); ++p)
      if (e < 100000) e = e * 10 + (*p - u'0');
    if (!negativeExp && e >= 300) fail(p);
  }
  sp.p = p;
  Token.CType = isFloat ? jtFloat : jtInt;
  FText = std::u16string_view(start, size_t(p - start));
  FWord = nullptr;
}

void THtJSONTokenizer::ReadIdent() {
  TStringParser& sp = *FParser;
  const char16_t* const start = sp.p;
  const char16_t* q = start + 1;  // the first unit is taken as it is
  while (q < sp.pend && IsIdentUnit(*q)) ++q;
  sp.p = q;
  FText = std::u16string_view(start, size_t(q - start));
  FWord = KeywordText(start, q - start);
  Token.CType = FWord ? jtValue : jtIdent;
  if (!FTextOnly) Token.Name = TakeText();
}

void THtJSONTokenizer::ReadString() {
  TStringParser& sp = *FParser;
  const char16_t quote = *sp.p;
  const char16_t* p = sp.p + 1;
  const char16_t* segment = p;
  bool buffered = false;
  const uint64_t quotes = kLaneOnes * quote, backslashes = kLaneOnes * u'\\';
  for (;;) {
    while (sp.pend - p >= 4) {
      const uint64_t w = LoadFour(p);
      if (AnyLaneBelow(w, 0x20) || AnyLaneZero(w ^ quotes) || AnyLaneZero(w ^ backslashes)) break;
      p += 4;
    }
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
    FText = FBuf;
  } else {
    FText = std::u16string_view(segment, size_t(p - segment));
  }
  FWord = nullptr;
  sp.p = p + 1;
  Token.CType = jtString;
  if (!FTextOnly) Token.Name = UnicodeString(FText);
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

THtJSONParser::THtJSONParser(const UnicodeString& text)
    : FNames(std::make_unique<THtStringList>(256)), FNameCache(new UnicodeString[kNameCacheSize]) {
  if (!text.IsEmpty()) Tokenizer = std::make_unique<THtJSONTokenizer>(text);
}

void THtJSONParser::InternName(std::u16string_view text) {
  const size_t n = text.size();
  if (n == 0) {
    Name.Clear();
    return;
  }
  // Documents repeat a handful of names: most lookups end here, in one of
  // two slots chosen by the length and a few units, the last used first.
  const uint32_t key = (uint32_t(n) << 16) ^ (text[0] * 0x9E37u) ^ (text[n > 1] * 0x27D5u) ^ (text[n / 2] * 0xC2B3u) ^
                       (text[n - 1] * 0x85EBu);
  UnicodeString* const pair = &FNameCache[((key * 0x9E3779B1u) >> (32 - kNameCacheBits)) & ~1u];
  if (pair[0].view() == text) {
    Name = pair[0];
    return;
  }
  if (pair[1].view() == text) {
    std::swap(pair[0], pair[1]);
    Name = pair[0];
    return;
  }
  const int32_t length = int32_t(n);
  const int32_t hash = FNames->HashFunc()(text.data(), length);
  const int32_t found = FNames->FindHashed(hash, text.data(), length);
  if (found >= 0) {
    Name = static_cast<THtNameObjectPair*>(FNames->Table().ValueAt(found))->Name;
  } else {
    auto entry = std::make_unique<THtNameObjectPair>(UnicodeString(text), nullptr, false);
    FNames->AddHashed(hash, entry->Name, entry.get());
    Name = entry.release()->Name;
  }
  pair[1] = std::move(pair[0]);
  pair[0] = Name;
}

THtJSONParser::~THtJSONParser() = default;

THtJSONTokenType THtJSONParser::NextNameValue() {
  if (!Tokenizer) throw EHtJSONParserException(UnicodeString(u"Name expected"));
  THtJSONTokenizer& t = *Tokenizer;
  if (t.Token.CType != jtIdent && t.Token.CType != jtString)
    throw EHtJSONParserException(UnicodeString(u"Name expected"));

  InternName(t.FTextOnly ? t.FText : t.Token.Name.view());

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
