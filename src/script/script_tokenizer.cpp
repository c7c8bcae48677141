#include "norvane/script/script_tokenizer.h"

#include <array>
#include <string>
#include <utility>

#include "norvane/script/script_errors.h"
#include "norvane/script/script_unit.h"

namespace norvane {

NV_CLASS_IMPL(TScriptTokenizer, "htscriptparse")

namespace {

// --- Reserved words -------------------------------------------------------------

constexpr TScriptReservedWord kReservedWords[] = {
    {u"break", rtBreak, ttReserved},
    {u"class", rtClass, ttReserved},
    {u"else", rtElse, ttReserved},
    {u"function", rtFunc, ttReserved},
    {u"object", rtObject, ttReserved},
    {u"if", rtIf, ttReserved},
    {u"then", rtThen, ttReserved},
    {u"do", rtDo, ttReserved},
    {u"for", rtFor, ttReserved},
    {u"to", rtTo, ttReserved},
    {u"downto", rtDownto, ttReserved},
    {u"case", rtCase, ttReserved},
    {u"of", rtOf, ttReserved},
    {u"begin", rtBegin, ttReserved},
    {u"end", rtEnd, ttReserved},
    {u"var", rtVar, ttReserved},
    {u"external", rtExternal, ttReserved},
    {u"procedure", rtProc, ttReserved},
    {u"continue", rtContinue, ttReserved},
    {u"exit", rtExit, ttReserved},
    {u"try", rtTry, ttReserved},
    {u"except", rtExcept, ttReserved},
    {u"on", rtOn, ttReserved},
    {u"constructor", rtConstructor, ttReserved},
    {u"destructor", rtDestructor, ttReserved},
    {u"finally", rtFinally, ttReserved},
    {u"uses", rtUses, ttReserved},
    {u"const", rtConst, ttReserved},
    {u"unit", rtUnit, ttReserved},
    {u"program", rtProgram, ttReserved},
    {u"interface", rtInterface, ttReserved},
    {u"implementation", rtImplementation, ttReserved},
    {u"initialization", rtInitialization, ttReserved},
    {u"raise", rtRaise, ttReserved},
    {u"abstract", rtAbstract, ttReserved},
    {u"overload", rtOverload, ttReserved},
    {u"override", rtOverride, ttReserved},
    {u"private", rtPrivate, ttReserved},
    {u"protected", rtProtected, ttReserved},
    {u"public", rtPublic, ttReserved},
    {u"published", rtPublished, ttReserved},
    {u"packed", rtPacked, ttReserved},
    {u"static", rtStatic, ttReserved},
    {u"record", rtRecord, ttReserved},
    {u"type", rtType, ttReserved},
    {u"property", rtProperty, ttReserved},
    {u"parallel", rtParallel, ttReserved},
    {u"repeat", rtRepeat, ttReserved},
    {u"until", rtUntil, ttReserved},
    {u"virtual", rtVirtual, ttReserved},
    {u"while", rtWhile, ttReserved},
    // An operator declaration parses as a function.
    {u"operator", rtFunc, ttReserved},
    {u"inline", rtNone, ttReserved},
    {u"array", rtNone, ttVarType},
    {u"integer", rtNone, ttVarType},
    {u"int64", rtNone, ttVarType},
    {u"cardinal", rtNone, ttVarType},
    {u"string", rtNone, ttVarType},
    {u"json", rtNone, ttVarType},
    {u"widestring", rtNone, ttVarType},
    {u"ansistring", rtNone, ttVarType},
    {u"rawbytestring", rtNone, ttVarType},
    {u"tbytes", rtNone, ttVarType},
    {u"word", rtNone, ttVarType},
    {u"char", rtNone, ttVarType},
    {u"pchar", rtNone, ttVarType},
    {u"boolean", rtNone, ttVarType},
    {u"byte", rtNone, ttVarType},
    {u"tdatetime", rtNone, ttVarType},
    {u"double", rtNone, ttVarType},
    {u"extended", rtNone, ttVarType},
    {u"set", rtNone, ttVarType},
    {u"longint", rtNone, ttVarType},
    {u"true", rtNone, ttBoolValue},
    {u"false", rtNone, ttBoolValue},
    {u"and", rtNone, ttBoolOp},
    {u"or", rtNone, ttBoolOp},
    {u"not", rtNone, ttBoolOp},
    {u"div", rtNone, ttOperation},
    {u"mod", rtNone, ttOperation},
    {u"shl", rtNone, ttOperation},
    {u"shr", rtNone, ttOperation},
    {u"xor", rtNone, ttOperation},
    {u"is", rtNone, ttOperation},
    {u"in", rtNone, ttOperation},
};
constexpr int32_t kReservedCount = int32_t(std::size(kReservedWords));
static_assert(kReservedCount == 85);

// Words are indexed by their first two units, each within "0".."z".
constexpr char16_t kIndexLow = u'0', kIndexHigh = u'z';
constexpr int32_t kIndexSide = kIndexHigh - kIndexLow + 1;  // 75

// The square index: for each pair of first units the rows of that pair, in
// table order, as a slice of one flat list.
struct TReservedIndex {
  struct Cell {
    uint8_t first = 0, count = 0;
  };
  Cell cells[kIndexSide][kIndexSide];
  uint8_t rows[kReservedCount];

  TReservedIndex() {
    uint8_t counts[kIndexSide][kIndexSide] = {};
    for (const auto& w : kReservedWords) ++counts[w.Word[0] - kIndexLow][w.Word[1] - kIndexLow];
    int32_t next = 0;
    for (int32_t a = 0; a < kIndexSide; ++a)
      for (int32_t b = 0; b < kIndexSide; ++b) {
        cells[a][b].first = uint8_t(next);
        next += counts[a][b];
      }
    for (int32_t r = 0; r < kReservedCount; ++r) {
      Cell& c = cells[kReservedWords[r].Word[0] - kIndexLow][kReservedWords[r].Word[1] - kIndexLow];
      rows[c.first + c.count++] = uint8_t(r);
    }
  }
};

const TReservedIndex& ReservedIndex() {
  static const TReservedIndex index;  // built once; thread-safe first use
  return index;
}

// --- Character classes ----------------------------------------------------------

inline bool IsDigit(char16_t c) noexcept { return char16_t(c - u'0') < 10; }
inline bool IsAsciiLetter(char16_t c) noexcept { return char16_t((c | 0x20) - u'a') < 26; }
// What an identifier is made of after its first unit.
inline bool IsIdentUnit(char16_t c) noexcept {
  return IsDigit(c) || IsAsciiLetter(c) || c == u'_' || c >= 128;
}

// Line ends in [p, e): CR LF, a lone CR and a lone LF count one each.
int32_t CountLines(const char16_t* p, const char16_t* e) noexcept {
  int32_t n = 0;
  for (; p < e; ++p) {
    if (*p == u'\n') {
      ++n;
    } else if (*p == u'\r') {
      ++n;
      if (p + 1 < e && p[1] == u'\n') ++p;
    }
  }
  return n;
}

// Token names of punctuation are shared strings: no allocation per token.
const UnicodeString& UnitString(char16_t c) {
  static const auto table = [] {
    std::array<UnicodeString, 128> t;
    for (int32_t i = 1; i < 128; ++i) t[size_t(i)] = UnicodeString(char16_t(i));
    return t;
  }();
  return table[c & 127];
}

UnicodeString PairString(char16_t a, char16_t b) {
  static const UnicodeString pairs[] = {u"<=", u"<>", u"==", u"=>", u">=", u">>"};
  for (const auto& s : pairs)
    if (s[0] == a && s[1] == b) return s;
  const char16_t units[2] = {a, b};
  return UnicodeString(units, 2);
}

const UnicodeString& JQueryName() {
  static const UnicodeString name(u"jquery");
  return name;
}

// A-Z folded by ASCII rule; the same block when there is nothing to fold.
UnicodeString LowerAscii(const UnicodeString& s) {
  const char16_t* d = s.Data();
  const int32_t n = s.Length();
  int32_t i = 0;
  while (i < n && char16_t(d[i] - u'A') >= 26) ++i;
  if (i == n) return s;
  UnicodeString r = s;
  char16_t* m = r.MutableData();
  for (; i < n; ++i)
    if (char16_t(m[i] - u'A') < 26) m[i] = char16_t(m[i] + 32);
  return r;
}

constexpr TScriptTokenTypes kSignPrefix{ttParamdiv, ttAssign, ttOperation, ttBool, ttBoolOp, ttBracket, ttSquare};
constexpr TSet<TReservedType> kBlockScopes{rtClass,     rtObject,      rtFunc,       rtProc,
                                           rtInterface, rtConstructor, rtDestructor};
constexpr TSet<TReservedType> kRoutineScopes{rtFunc, rtProc, rtConstructor, rtDestructor};
constexpr TSet<TReservedType> kTypeBodyScopes{rtClass, rtObject, rtInterface, rtRecord};
constexpr TSet<TReservedType> kDeclarationScopes{rtConst, rtVar, rtType};

}  // namespace

const TScriptReservedWord* ScriptReservedWords(int32_t& count) noexcept {
  count = kReservedCount;
  return kReservedWords;
}

const TScriptReservedWord* FindScriptReservedWord(std::u16string_view word) noexcept {
  if (word.size() < 2) return nullptr;
  const char16_t a = char16_t(word[0] - kIndexLow), b = char16_t(word[1] - kIndexLow);
  if (a >= kIndexSide || b >= kIndexSide) return nullptr;
  const TReservedIndex& index = ReservedIndex();
  const TReservedIndex::Cell& cell = index.cells[a][b];
  for (int32_t k = 0; k < cell.count; ++k) {
    const TScriptReservedWord& row = kReservedWords[index.rows[cell.first + k]];
    if (row.Word == word) return &row;
  }
  return nullptr;
}

// --- TScriptTokenizer -------------------------------------------------------------

TScriptTokenizer::TScriptTokenizer(const UnicodeString& AScript) {
  if (AScript.Length() > 0 && AScript[0] == 0xFEFF)
    SP = std::make_unique<TStringParser>(UnicodeString(AScript.view().substr(1)));
  else
    SP = std::make_unique<TStringParser>(AScript);
}

TScriptTokenizer::~TScriptTokenizer() = default;

void TScriptTokenizer::RestorePos(const char16_t* pos) noexcept {
  if (pos >= SP->Start() && pos <= SP->pend) {
    SP->p = pos;
    if (*pos != 0) Empty = false;
  }
}

void TScriptTokenizer::BeginInclude(const UnicodeString& AText) {
  auto cursor = std::make_unique<TStringParser>(AText);
  FIncludeStack.push_back(std::move(SP));
  SP = std::move(cursor);
  Empty = false;
}

void TScriptTokenizer::EndInclude() {
  if (FIncludeStack.empty()) throw EHtScriptException(UnicodeString(u"Unbalanced call to EndInclude"));
  SP = std::move(FIncludeStack.back());
  FIncludeStack.pop_back();
  Empty = false;
}

// --- Scopes -------------------------------------------------------------------------

TReservedType TScriptTokenizer::GetScope(int32_t Depth) const noexcept {
  const int64_t i = int64_t(ScopeStack.size()) - 1 + Depth;
  if (Depth > 0 || i < 0) return rtUnit;
  return ScopeStack[size_t(i)];
}

void TScriptTokenizer::PushScope(TReservedType AType) {
  ScopeStack.push_back(AType);
  Scope = AType;
}

void TScriptTokenizer::PopScope() noexcept {
  if (!ScopeStack.empty()) ScopeStack.pop_back();
  Scope = ScopeStack.empty() ? rtUnit : ScopeStack.back();
}

// const, var and type replace each other rather than nest.
void TScriptTokenizer::ReplacingPush(TReservedType AType) {
  if (kDeclarationScopes.Contains(Scope)) PopScope();
  PushScope(AType);
}

void TScriptTokenizer::PopToBracket() noexcept {
  while (!ScopeStack.empty() && Scope != rtBracket) PopScope();
  PopScope();
}

void TScriptTokenizer::ApplyReservedScope() {
  const TReservedType rt = Token.ReservedType;
  switch (rt) {
    case rtClass:
    case rtObject:
    case rtRecord:
      // Only a type definition opens a body: "= class", "packed record".
      if ((LastTokenType == ttBool || LastReservedType == rtPacked) && Scope != rt) PushScope(rt);
      break;
    case rtBegin:
    case rtExcept:
    case rtFinally:
    case rtUses:
      PushScope(rt);
      break;
    case rtCase:
      // A variant part of a record has no end of its own.
      if (Scope != rtRecord) PushScope(rt);
      break;
    case rtConst:
    case rtVar:
      // Inside brackets these are parameter flags.
      if (Scope != rtBracket) ReplacingPush(rt);
      break;
    case rtType:
      ReplacingPush(rt);
      break;
    case rtEnd:
      PopScope();
      break;
    case rtFunc:
    case rtProc:
    case rtConstructor:
    case rtDestructor:
      // "= procedure" and "reference to function" are procedural types inside
      // a type section, which they don't end.
      if (kDeclarationScopes.Contains(Scope) && LastTokenType != ttBool && LastReservedType != rtTo) PopScope();
      PushScope(rtProc);
      break;
    case rtOf:
      if (LastReservedType == rtClass) PopScope();  // "class of" opens nothing
      break;
    case rtInterface:
      if (ScopeStack.empty() && ParseBlock == tpbMain)
        ParseBlock = tpbInterface;
      else if (LastTokenType == ttBool && Scope != rtInterface)
        PushScope(rt);
      break;
    case rtImplementation:
      ParseBlock = tpbImplementation;
      break;
    default:
      break;
  }
}

void TScriptTokenizer::ApplyDelimiterScope() {
  // A header in an interface section has no body.
  if (ParseBlock == tpbInterface && (Scope == rtFunc || Scope == rtProc)) return PopScope();
  if (Scope == rtUses) return PopScope();
  if (!kBlockScopes.Contains(Scope)) return;
  // Ends a forward "TFoo = class;" and a header "function f(x: integer);".
  if (LastTokenType == ttCloseBr || kBlockScopes.Contains(LastReservedType)) return PopScope();
  // A method header in a class body has no body.
  if (kRoutineScopes.Contains(Scope) && kTypeBodyScopes.Contains(GetScope(-1))) PopScope();
}

// --- Errors -------------------------------------------------------------------------

void TScriptTokenizer::Error(const UnicodeString& AMessage) { RaiseError(AMessage, -1); }

void TScriptTokenizer::ErrorFmt(std::u16string_view AMessage, FormatArgs Args, int32_t ASourcePos) {
  RaiseError(Format(AMessage, Args), ASourcePos);
}

void TScriptTokenizer::ErrorFmt2(std::u16string_view AMessage) { ErrorFmt(AMessage, {Token.OriginalName}); }

void TScriptTokenizer::RaiseError(const UnicodeString& AMessage, int32_t ASourcePos) {
  UnicodeString text = AMessage + Format(u" at line %d", {Line + 1});
  UnicodeString unitName;
  if (ScriptUnit) {
    unitName = ScriptUnit->UnitName();
    if (unitName != u"Program") text += u" unit " + unitName;
  }
  if (FOnError && FOnError(this, text)) return;
  // Without a unit the line comes from the text being read.
  UnicodeString lineText = ScriptUnit ? ScriptUnit->GetLine(Line) : ScriptSourceLine(SP->Text().view(), Line);
  throw EHtScriptException(text, FParser, ASourcePos < 0 ? SP->Pos() : ASourcePos, Line, unitName, lineText);
}

// --- Reading --------------------------------------------------------------------------

bool TScriptTokenizer::NextNonSpace() {
  while (NextToken())
    if (Token.TokenType != ttComment && Token.TokenType != ttSpace) return true;
  return false;
}

void TScriptTokenizer::SetSimple(TScriptTokenType type, int32_t units) {
  Token.TokenType = type;
  SP->p += units;
}

bool TScriptTokenizer::NextToken() {
  const char16_t c = *SP->p;
  if (c == 0) {
    Empty = true;
    return false;
  }
  // The names are cleared below anyway, so they move rather than copy.
  if (Token.TokenType != ttSpace) LastToken = std::move(Token);
  Token.StartPos = Index() + 1;
  Token.Line = Line;
  Token.ReservedType = rtNone;
  Token.Name.Clear();
  Token.OriginalName.Clear();

  const char16_t next = SP->p[1];  // the text ends in a zero, and c isn't it
  if (c >= 128) {
    if (c == 0xA0)
      ReadSpace();
    else
      ReadIdent();
  } else {
    switch (c) {
      case u'\t':
      case u'\n':
      case u'\r':
      case u' ':
        ReadSpace();
        break;
      case u'"':
      case u'\'':
        ReadString(c);
        break;
      case u'#':
        ReadCharCodes();
        break;
      case u'$':
        if (next == u'(') {
          SetSimple(ttFunc, 1);  // the "(" stays for the next token
          Token.Name = JQueryName();
        } else {
          const char16_t* start = SP->p++;
          Token.TokenType = ttInt;
          // The number must follow directly: the reader would skip blanks
          // and line ends that the line count has to see.
          Token.AsInt64 = *SP->p > 32 && *SP->p != u',' ? SP->ReadHex() : 0;
          Token.AsNumber = static_cast<long double>(Token.AsInt64);
          Token.Name = UnicodeString(start, int32_t(SP->p - start));
        }
        break;
      case u'%': {
        const char16_t* start = SP->p++;
        Token.TokenType = ttInt;
        Token.AsInt64 = *SP->p > 32 ? SP->ReadBin() : 0;
        Token.AsNumber = static_cast<long double>(Token.AsInt64);
        Token.Name = UnicodeString(start, int32_t(SP->p - start));
        break;
      }
      case u'&':
        if (IsIdentUnit(next)) {
          ReadIdent();  // an escaped identifier: never a reserved word
        } else {
          SetSimple(ttOperation, 1);
          Token.Name = UnitString(c);
        }
        break;
      case u'(':
        if (next == u'*') {
          ReadComment();
        } else {
          SetSimple(ttBracket, 1);
          Token.Name = UnitString(c);
          PushScope(rtBracket);
        }
        break;
      case u')':
        SetSimple(ttCloseBr, 1);
        Token.Name = UnitString(c);
        PopToBracket();
        break;
      case u'[':
        SetSimple(ttSquare, 1);
        Token.Name = UnitString(c);
        PushScope(rtBracket);
        break;
      case u']':
        SetSimple(ttCloseSquare, 1);
        Token.Name = UnitString(c);
        PopToBracket();
        break;
      case u'*':
      case u'+':
      case u'-':
        if (next == u'=') {
          SetSimple(ttAssign, 2);
          Token.Name = UnitString(c);
        } else if (c != u'*' && kSignPrefix.Contains(LastTokenType) && (IsDigit(next) || next == u'.')) {
          ReadNumber();
        } else {
          SetSimple(ttOperation, 1);
          Token.Name = UnitString(c);
        }
        break;
      case u',':
        SetSimple(ttParamdiv, 1);
        break;
      case u'.':
        if (IsDigit(next)) {
          const char16_t* start = SP->p;
          Token.TokenType = ttNum;
          Token.AsNumber = SP->ReadNumEx();
          Token.Name = UnicodeString(start, int32_t(SP->p - start));
        } else if (next == u'.') {
          SetSimple(ttRange, 2);
        } else {
          SetSimple(ttMethod, 1);
        }
        break;
      case u'/':
        if (next == u'/') {
          ReadComment();
        } else {
          SetSimple(ttOperation, 1);
          Token.Name = UnitString(c);
        }
        break;
      case u'0':
      case u'1':
      case u'2':
      case u'3':
      case u'4':
      case u'5':
      case u'6':
      case u'7':
      case u'8':
      case u'9':
        ReadNumber();
        break;
      case u':':
        if (next == u'=')
          SetSimple(ttAssign, 2);
        else
          SetSimple(ttTypePref, 1);
        break;
      case u';':
        SetSimple(ttDelimiter, 1);
        ApplyDelimiterScope();
        break;
      case u'<':
      case u'=':
      case u'>':
        ReadCompare(c);
        break;
      case u'@':
        SetSimple(ttAddress, 1);
        break;
      case u'^':
        SetSimple(ttRef, 1);
        Token.Name = UnitString(c);
        break;
      case u'{':
        ReadComment();
        break;
      default:
        if (IsAsciiLetter(c) || c == u'_') {
          ReadIdent();
          ReadDottedName();
          if (Token.TokenType == ttReserved) ApplyReservedScope();
        } else {
          Token.EndPos = Token.StartPos;
          ErrorFmt(u"Unexpected symbol %s", {c});
          // Tolerated: the symbol is dropped like white space, so that the
          // parser doesn't see a token it would report a second time.
          Token.TokenType = ttSpace;
          ++SP->p;
        }
        break;
    }
  }

  Token.EndPos = Index();
  if (Token.OriginalName.IsEmpty()) Token.OriginalName = Token.Name;
  if (Token.TokenType != ttComment && Token.TokenType != ttSpace) {
    LastTokenType = Token.TokenType;
    LastReservedType = Token.ReservedType;
  }
  return true;
}

void TScriptTokenizer::ReadNumber() {
  const char16_t* start = SP->p;
  int64_t i = 0;
  long double f = 0;
  if (SP->ReadIntOrFloat(i, f)) {
    Token.TokenType = ttInt;
    Token.AsInt64 = i;
    Token.AsNumber = static_cast<long double>(i);
  } else {
    Token.TokenType = ttNum;
    Token.AsNumber = f;
  }
  Token.Name = UnicodeString(start, int32_t(SP->p - start));
}

// #13#10#$41: one string of character codes.
void TScriptTokenizer::ReadCharCodes() {
  std::u16string value;
  while (*SP->p == u'#') {
    ++SP->p;
    int64_t v = 0;
    if (*SP->p == u'$') {
      ++SP->p;
      if (*SP->p > 32 && *SP->p != u',') v = SP->ReadHex();
    } else if (*SP->p > 32 && *SP->p != u',') {
      v = SP->ReadInt();
    }
    value.push_back(char16_t(uint64_t(v) & 0xFFFF));
  }
  Token.TokenType = ttStr;
  Token.Name = UnicodeString(value);
}

void TScriptTokenizer::ReadCompare(char16_t c) {
  // Zero-width markers around a generic's brackets; the bracket itself
  // follows as the next token.
  if (c == u'<' && (Scope == rtType || (Scope == rtBracket && GetScope(-1) == rtClass))) {
    Token.TokenType = ttGenericLeft;
    PushScope(rtGeneric);
    return;
  }
  if (c == u'>' && Scope == rtGeneric) {
    Token.TokenType = ttGenericRight;
    PopScope();
    return;
  }
  Token.TokenType = ttBool;
  const char16_t next = SP->p[1];
  if (next == u'=' || next == u'>') {
    Token.Name = PairString(c, next);
    SP->p += 2;
  } else {
    Token.Name = UnitString(c);
    ++SP->p;
  }
}

void TScriptTokenizer::ReadIdent() {
  const char16_t* start = SP->p;
  if (*start == 0) return;
  const char16_t* q = start + 1;  // the first unit is the caller's choice
  while (IsIdentUnit(*q)) ++q;
  SP->p = q;
  Token.OriginalName = UnicodeString(start, int32_t(q - start));
  Token.Name = LowerAscii(Token.OriginalName);
  Token.TokenType = ttVar;
  Token.ReservedType = rtNone;
  // After a dot every word is a plain name: x.end, x.type.
  if (LastTokenType != ttMethod) {
    if (const TScriptReservedWord* row = FindScriptReservedWord(Token.Name.view())) {
      Token.TokenType = row->TokenType;
      Token.ReservedType = row->ReservedType;
    }
  }
  if (Token.TokenType == ttVar) {
    while (*q == u' ') ++q;
    if (*q == u'(') Token.TokenType = ttFunc;
  }
  if (*start == u'&') {
    Token.OriginalName = UnicodeString(start + 1, int32_t(q - start - 1));
    Token.Name = LowerAscii(Token.OriginalName);
  }
}

// After function/procedure/constructor/destructor and in a uses list,
// "TFoo.Bar" and "System . Classes" are one name.
void TScriptTokenizer::ReadDottedName() {
  if (Scope != rtUses && !kRoutineScopes.Contains(LastReservedType)) return;
  for (;;) {
    const char16_t* q = SP->p;
    while (*q == u' ') ++q;
    if (*q != u'.') return;
    ++q;
    for (;;) {
      while (*q != 0 && *q <= 32) ++q;
      if (*q != u'{') break;
      while (*q != 0 && *q != u'}') ++q;
      if (*q == u'}') ++q;
    }
    // Nothing name-like behind the dot: it stays for the next token.
    if (!IsIdentUnit(*q)) return;
    Line += CountLines(SP->p, q);
    SP->p = q;
    const UnicodeString head = Token.Name, headOriginal = Token.OriginalName;
    ReadIdent();
    Token.Name = head + u'.' + Token.Name;
    Token.OriginalName = headOriginal + u'.' + Token.OriginalName;
  }
}

// Single and double quotes alike: a doubled quote stands for one, line ends
// stay in the value, no backslash escapes.
void TScriptTokenizer::ReadString(char16_t quote) {
  const char16_t* const open = SP->p;
  const char16_t* seg = open + 1;
  const char16_t* q = seg;
  UnicodeString value;
  bool closed = false;
  for (;;) {
    const char16_t ch = *q;
    if (ch == quote) {
      if (q[1] == quote) {
        value += std::u16string_view(seg, size_t(q + 1 - seg));
        q += 2;
        seg = q;
        continue;
      }
      value += std::u16string_view(seg, size_t(q - seg));
      ++q;
      closed = true;
      break;
    }
    if (ch == 0) {
      value += std::u16string_view(seg, size_t(q - seg));
      break;
    }
    ++q;
  }
  SP->p = q;
  Token.TokenType = ttStr;
  Token.Name = value;
  if (closed) {
    Line += CountLines(open, q);
  } else {
    // Reported at the line where the string began.
    Token.EndPos = Index();
    Error(UnicodeString(u"Unterminated string"));
  }
}

void TScriptTokenizer::ReadComment() {
  const char16_t* const start = SP->p;
  const char16_t* q = start;
  switch (*start) {
    case u'{':
      ++q;
      while (*q != 0 && *q != u'}') ++q;
      if (*q != 0) ++q;
      break;
    case u'(':
      // The "*" of the opening counts: "(*)" is a whole comment.
      ++q;
      while (*q != 0 && !(q[0] == u'*' && q[1] == u')')) ++q;
      if (*q != 0) q += 2;
      break;
    case u'/':
      while (*q != 0 && *q != u'\r' && *q != u'\n') ++q;
      break;
    default:
      Token.TokenType = ttComment;
      Token.EndPos = Index();
      Error(UnicodeString(u"Wrong comment start"));
      if (*SP->p != 0) ++SP->p;  // tolerated: the unit is dropped
      return;
  }
  Line += CountLines(start, q);
  SP->p = q;
  Token.TokenType = ttComment;
  Token.Name = UnicodeString(start, int32_t(q - start));
}

void TScriptTokenizer::ReadSpace() {
  const char16_t* const start = SP->p;
  const char16_t* q = start;
  while (*q != 0 && (*q < 33 || *q == 0xA0)) ++q;
  Line += CountLines(start, q);
  SP->p = q;
  Token.TokenType = ttSpace;
  Token.Name = q - start == 1 && *start < 128 ? UnitString(*start) : UnicodeString(start, int32_t(q - start));
}

}  // namespace norvane
