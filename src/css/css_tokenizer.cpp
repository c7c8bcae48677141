#include "norvane/css/css_tokenizer.h"

#include <cmath>

#include "norvane/markup/html_colors.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TCSSTokenizer, "htmlcss")

namespace {

constexpr bool IsAsciiDigit(char16_t c) noexcept { return c >= u'0' && c <= u'9'; }
constexpr bool IsAsciiLetter(char16_t c) noexcept { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
constexpr bool IsIdentChar(char16_t c) noexcept {
  return IsAsciiLetter(c) || IsAsciiDigit(c) || c == u'-' || c == u'_' || c >= 256;
}
constexpr int32_t HexValue(char16_t c) noexcept {
  if (IsAsciiDigit(c)) return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// One-character names are shared rather than allocated per token.
const UnicodeString& CharName(char16_t c) {
  static const struct Names {
    UnicodeString s[128];
    Names() {
      for (int i = 0; i < 128; ++i) s[i] = UnicodeString(char16_t(i));
    }
  } names;
  return names.s[c & 127];
}

UnicodeString OneChar(char16_t c) { return c < 128 ? CharName(c) : UnicodeString(c); }

uint32_t AlphaByte(double alpha) noexcept { return uint32_t(Round(alpha * 255)) << 24; }

// The colour of an identifier or hash inside rgb()/rgba(), cached in the
// token as ReadColor caches it; HtNoColor when it is none.
uint32_t TokenColor(TCSSToken& t) {
  if (t.CType == ctIdent) {
    if (t.Color == 0 || t.Flags == 1) {
      int32_t isSystem = 0;
      t.Color = htmlHextoColorSys(t.Name, isSystem);
      t.Flags = isSystem;
    }
    return t.Color;
  }
  if (t.Color == 0) {
    uint32_t c = htmlHextoColor(u'#' + t.Name);
    if (c != HtNoColor) t.Color = c;
    return c;
  }
  return t.Color;
}

}  // namespace

// --- TCSSTokens ----------------------------------------------------------------------

void TCSSTokens::Unshare() {
  if (!d_)
    d_ = std::make_shared<std::vector<TCSSToken>>();
  else if (d_.use_count() > 1)
    d_ = std::make_shared<std::vector<TCSSToken>>(*d_);
}

void TCSSTokens::SetLength(int32_t n) {
  if (n <= 0) {
    d_.reset();
    return;
  }
  Unshare();
  d_->resize(size_t(n));
}

void TCSSTokens::Add(const TCSSToken& token) {
  Unshare();
  d_->push_back(token);
}

// --- TCSSTokenSequence ------------------------------------------------------------------

TCSSTokenSequence& TCSSTokenSequence::operator=(const TCSSTokenSequence& o) {
  if (this == &o) return *this;
  Index = o.Index;
  FOwnTokens = o.FOwnTokens;
  FPTokens = o.FPTokens == &o.FOwnTokens ? &FOwnTokens : o.FPTokens;
  Count = o.Count;
  T = o.T;
  Eof = o.Eof;
  return *this;
}

void TCSSTokenSequence::Init(TCSSTokens* tokens) {
  FPTokens = tokens;
  Index = 0;
  Count = tokens ? tokens->Length() : 0;
  Eof = Count == 0;
  T = Eof ? nullptr : tokens->Data();
}

void TCSSTokenSequence::InitStore(const TCSSTokens& tokens) {
  FOwnTokens = tokens;
  Init(&FOwnTokens);
}

bool TCSSTokenSequence::Next(int32_t step) {
  int64_t i = int64_t(Index) + step;
  Index = int32_t(i < INT32_MIN ? INT32_MIN : i > INT32_MAX ? INT32_MAX : i);
  Eof = Index >= Count;
  // The array may have been shortened since Init: never point past it.
  const bool inside = Index >= 0 && !Eof && FPTokens && Index < FPTokens->Length();
  T = inside ? &(*FPTokens)[Index] : nullptr;
  return T != nullptr;
}

int32_t TCSSTokenSequence::Position() const noexcept { return T ? Index : Count - 1; }

bool TCSSTokenSequence::ReadColor(uint32_t& color) {
  if (!T) return false;
  switch (T->CType) {
    case ctIdent: {
      if (T->Color == 0) {
        if (T->Name == u"inherit") return false;
      } else if (T->Flags != 1) {
        if (T->Color != HtNoColor) color = T->Color;
        return true;
      }
      uint32_t c = TokenColor(*T);
      if (c != HtNoColor) color = c;
      return true;
    }
    case ctHash: {
      // Normally cached when the value was prepared; resolved here otherwise.
      uint32_t c = TokenColor(*T);
      if (c == HtNoColor) return false;
      color = c;
      return true;
    }
    case ctNumber: {
      // "bgcolor=00FF00": the colour is taken, yet it is no colour expression.
      uint32_t c = htmlHextoColor(u'#' + T->Name);
      if (c != HtNoColor) color = c;
      return false;
    }
    case ctFunction:
      break;
    default:
      return false;
  }
  const std::u16string_view name = T->Name.view();
  if (name.starts_with(u"var")) return true;
  if (!name.starts_with(u"rgb")) return false;
  if (Count == 1) {  // folded into this one token when the value was prepared
    color = T->Color;
    return true;
  }
  uint32_t c = 0;
  int32_t count = 0;
  bool hasBase = false;
  const int32_t n = FPTokens ? FPTokens->Length() : 0;
  for (int32_t i = Index + 1; i < n; ++i) {
    TCSSToken& k = (*FPTokens)[i];
    if (k.CType == ctClosePar) break;
    switch (k.CType) {
      case ctIdent:
      case ctHash: {
        // rgba(red, 0.5), rgba(#ff0000, 50%): a colour, then its alpha.
        uint32_t base = TokenColor(k);
        c = base == HtNoColor ? 0 : base;
        hasBase = true;
        break;
      }
      case ctNumber:
      case ctPercentage: {
        const double v = k.CType == ctNumber ? k.AsFloat : k.AsFloat * 255.0 / 100.0;
        if (count != 3 && !hasBase)
          c = (c << 8) + (uint32_t(Round(v)) & 255);
        else  // the alpha replaces whatever the base colour had
          c = (c & 0x00FFFFFF) | (k.CType == ctNumber ? AlphaByte(v) : uint32_t(Round(v)) << 24);
        ++count;
        break;
      }
      default:
        break;
    }
  }
  if (count == 3) c |= 0xFF000000;
  color = c;
  return true;
}

// --- TCSSTokenizer --------------------------------------------------------------------

TCSSTokenizer::TCSSTokenizer(const UnicodeString& text, bool parseNumbers)
    : Parser(text), ParseNumbers(parseNumbers) {
  // Leading blanks go; a NUL among them ends the text like anywhere else.
  while (*Parser.p != 0 && *Parser.p < 33) Parser.p++;
}

void TCSSTokenizer::Flush(const char16_t* from, const char16_t* to) {
  if (!FBuffered) {
    FBuf.clear();
    FBuffered = true;
  }
  FBuf.append(from, size_t(to - from));
}

void TCSSTokenizer::TakeName(const char16_t* from, const char16_t* to) {
  if (!FBuffered) {
    Token.Name = UnicodeString(from, int32_t(to - from));
    return;
  }
  FBuf.append(from, size_t(to - from));
  Token.Name = UnicodeString(std::u16string_view(FBuf));
  FBuffered = false;
}

void TCSSTokenizer::AddCodePoint(int32_t cp) {
  if (!FBuffered) {
    FBuf.clear();
    FBuffered = true;
  }
  // NUL and values beyond Unicode have no place in a name.
  if (cp <= 0 || cp > 0x10FFFF) {
    FBuf += char16_t(0xFFFD);
  } else if (cp > 0xFFFF) {
    cp -= 0x10000;
    FBuf += char16_t(0xD800 + (cp >> 10));
    FBuf += char16_t(0xDC00 + (cp & 0x3FF));
  } else {
    FBuf += char16_t(cp);
  }
}

int32_t TCSSTokenizer::Escape() noexcept {
  const char16_t* p = Parser.p;
  const char16_t* start = p;
  int32_t value = 0;
  for (int32_t d; p - start < 6 && (d = HexValue(*p)) >= 0; ++p) value = value * 16 + d;
  if (p == start) {
    char16_t c = *p;
    if (c != 0) ++p;
    Parser.p = p;
    return c;
  }
  if (*p == u' ') ++p;
  Parser.p = p;
  return value;
}

void TCSSTokenizer::Next(TCSSTokenType type) {
  Token.CType = type;
  Token.Name = OneChar(Parser.GetCurrent());
  Parser.Next();
}

void TCSSTokenizer::ReadIdent(bool functions) {
  Token.AsFloat = 0;
  FBuffered = false;
  const char16_t* p = Parser.p;
  const char16_t* start = p;
  for (;;) {
    char16_t c = *p;
    if (IsIdentChar(c)) {
      ++p;
      continue;
    }
    if (c != u'\\') break;
    Flush(start, p);
    c = *++p;
    if (c == 0) {
      start = p;
      break;
    }
    if (c == u'\r') {  // an escaped line end vanishes
      if (*++p == u'\n') ++p;
    } else if (c == u'"' || c == u'\\' || c == u' ') {
      FBuf += c;
      ++p;
    } else {
      Parser.p = p;
      AddCodePoint(Escape());
      p = Parser.p;
    }
    start = p;
  }
  TakeName(start, p);
  Parser.p = p;
  Token.CType = Token.Name.IsEmpty() ? ctSpace : ctIdent;
  if (!functions || *p != u'(' || Token.CType != ctIdent) return;
  if (!SameText(Token.Name.view(), u"url")) {
    Token.CType = ctFunction;
    Token.Name = LowerCase(Token.Name);
    return;
  }
  ReadUrlArgument();
}

void TCSSTokenizer::ReadUrlArgument() {
  const char16_t* p = Parser.p + 1;  // past "("
  while (*p != 0 && *p < 33) ++p;
  Parser.p = p;
  const char16_t c = *p;
  if (c == u'"' || c == u'\'') {
    ReadURI();
    p = Parser.p;
    while (*p != 0 && *p != u')') ++p;
    if (*p == u')') ++p;
    Parser.p = p;
  } else if (c != u')') {
    // url() with nothing in it keeps its name and leaves the ")" behind.
    const char16_t* start = p;
    while (*p != 0 && *p != u')') ++p;
    const char16_t* stop = p;
    while (stop > start && stop[-1] < 33) --stop;
    Token.Name = UnicodeString(start, int32_t(stop - start));
    if (*p == u')') ++p;
    Parser.p = p;
  }
  Token.CType = ctURI;
}

void TCSSTokenizer::ReadString() {
  const char16_t* p = Parser.p;
  const char16_t quote = *p++;
  Token.CType = ctString;
  FBuffered = false;
  const char16_t* start = p;
  for (;;) {
    char16_t c = *p;
    if (c == 0 || c == u'\r' || c == quote) break;
    if (c != u'\\') {
      ++p;
      continue;
    }
    Flush(start, p);
    c = *++p;
    if (c == 0) {  // a backslash as the last character ends the string
      TakeName(p, p);
      Parser.p = p;
      return;
    }
    if (c == u'\r') {  // line continuation
      if (*++p == u'\n') ++p;
    } else if (c == u'"' || c == u'\\' || c == u' ') {
      FBuf += c;
      ++p;
    } else {
      Parser.p = p;
      AddCodePoint(Escape());
      p = Parser.p;
    }
    start = p;
  }
  TakeName(start, p);
  if (*p != 0) ++p;  // the closing quote, or the CR of an unterminated string
  Parser.p = p;
}

void TCSSTokenizer::ReadURI() {
  const char16_t* p = Parser.p;
  const char16_t quote = *p++;
  const char16_t* start = p;
  while (*p != 0 && *p != quote) ++p;
  Token.Name = UnicodeString(start, int32_t(p - start));
  if (*p == quote) ++p;
  Parser.p = p;
  Token.CType = ctString;
}

void TCSSTokenizer::ReadNumber() {
  const char16_t* start = Parser.p;
  Token.CType = ctNumber;
  if (!ParseNumbers) {
    const char16_t* p = start;
    while (IsAsciiDigit(*p) || *p == u'+' || *p == u'-' || *p == u'.') ++p;
    Parser.p = p;
  } else {
    double v = Parser.ReadNumEx();
    // Everything that goes on must fit a 32-bit float.
    Token.AsFloat = std::fabs(v) < 1e38 ? float(v) : 0.0f;
  }
  const char16_t* p = Parser.p;
  if (p == start) ++p;  // whatever the reader made of it, move on
  if (*p == u'%' || (*p != 0 && p[1] == u'%')) {
    // One stray character before the "%" is tolerated: "5 %" is 5 percent.
    Token.CType = ctPercentage;
    Token.MUnit = muPercent;
    p += *p == u'%' ? 1 : 2;
  } else if (IsAsciiLetter(*p)) {
    Token.CType = ctDimension;
    Token.MUnit = ScanMeasureUnit(p, Parser.pend);
    if (Token.MUnit != muNone) {
      while (IsAsciiLetter(*p)) ++p;
    } else {
      // Not a number after all: a colour without its "#" ("00FF00",
      // "1fffff") stays one identifier.
      Token.AsFloat = 0;
      while (HexValue(*p) >= 0) ++p;
      Token.CType = ctIdent;
    }
  }
  Parser.p = p;
  Token.Name = UnicodeString(start, int32_t(p - start));
}

void TCSSTokenizer::ReadComment() {
  const char16_t* p = Parser.p + 2;  // past "/*"
  const char16_t* start = p;
  while (*p != 0 && !(*p == u'*' && p[1] == u'/')) ++p;
  Token.CType = ctComment;
  Token.Name = UnicodeString(start, int32_t(p - start));
  if (*p != 0) p += 2;  // an unterminated comment runs to the end
  Parser.p = p;
}

void TCSSTokenizer::ReadAt() {
  Parser.Next();  // "@"
  ReadIdent(false);
  Token.CType = ctAtKeyword;
  Token.Name = Token.Name.IsEmpty() ? CharName(u'@') : u'@' + Token.Name;
}

void TCSSTokenizer::ReadHash() {
  Parser.Next();  // "#"
  ReadIdent(false);
  // "#" before a non-identifier character reads as white space.
  if (Token.CType == ctIdent) Token.CType = ctHash;
}

bool TCSSTokenizer::NextToken() {
  const char16_t* p = Parser.p;
  const char16_t c = *p;
  if (c == 0) {
    Eof = true;
    return false;
  }
  Token.StartPos = Parser.Pos();
  Token.Flags = 0;
  Token.Color = 0;
  Token.MUnit = muNone;
  bool result = true;
  switch (c) {
    case u'\t':
    case u'\n':
    case u'\r':
    case u' ': {
      const char16_t* q = p + 1;
      while (*q != 0 && *q < 33) ++q;
      Token.CType = ctSpace;
      Token.Name = q - p == 1 ? CharName(c) : UnicodeString(p, int32_t(q - p));
      Parser.p = q;
      result = *q != 0;
      break;
    }
    case u'"':
    case u'\'':
      ReadString();
      break;
    case u'#':
      ReadHash();
      break;
    case u'(': Next(ctOpenPar); break;
    case u')': Next(ctClosePar); break;
    case u',': Next(ctComma); break;
    case u':': Next(ctColon); break;
    case u';': Next(ctSemicolon); break;
    case u'[': Next(ctOpenBr); break;
    case u']': Next(ctCloseBr); break;
    case u'{': Next(ctBlockStart); break;
    case u'}': Next(ctBlockEnd); break;
    case u'-':
      if (IsAsciiDigit(p[1]) || p[1] == u'.')
        ReadNumber();
      else
        ReadIdent();  // "-name", "--name"
      break;
    case u'.':
      if (IsAsciiDigit(p[1]))
        ReadNumber();
      else
        Next(ctDelimiter);
      break;
    case u'/':
      if (p[1] == u'*')
        ReadComment();
      else
        Next(ctSlash);
      break;
    case u'@':
      ReadAt();
      break;
    default:
      if (IsAsciiDigit(c))
        ReadNumber();
      else if (IsAsciiLetter(c) || c == u'\\' || c == u'_' || c >= 256)
        ReadIdent();
      else  // "+" too: it never starts a number
        Next(ctDelimiter);
      break;
  }
  Token.EndPos = Parser.Pos() - 1;
  return result;
}

}  // namespace norvane
