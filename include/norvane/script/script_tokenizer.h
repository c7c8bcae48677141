// TScriptTokenizer: cuts the text of one script unit into tokens.
//
// The language is Pascal in its words and blocks, with a few JavaScript
// forms (==, +=, double-quoted strings, $(...)). Besides tokens the
// tokenizer keeps a stack of lexical scopes: it tells a generic's angle
// brackets from comparisons, keeps dotted names after function/uses in one
// token, and lets tools ask where in the code a position lies.
//
// The cursor never moves past the terminating zero of its text; a zero unit
// anywhere ends the text.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "norvane/foundation/string_parser.h"
#include "norvane/runtime/format.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class THtScriptParser;
class THtScriptUnit;
class TScriptTokenizer;

NV_ENUM(TScriptTokenType, ttReserved, ttDelimiter, ttParamdiv, ttAssign, ttOperation, ttRange, ttBool,
        ttBoolOp, ttVar, ttStr, ttNum, ttInt, ttBracket, ttCloseBr, ttSquare, ttCloseSquare, ttFunc, ttRef,
        ttAddress, ttBoolValue, ttVarType, ttTypePref, ttMethod, ttComment, ttSpace, ttGenericLeft,
        ttGenericRight)
using TScriptTokenTypes = TSet<TScriptTokenType>;

// rtBracket and rtGeneric are scope marks, not words. rtArray has no word
// (`array` is a type word) but keeps its place in the order.
NV_ENUM(TReservedType, rtNone, rtAbstract, rtArray, rtClass, rtObject, rtBegin, rtBreak, rtCase, rtConst,
        rtContinue, rtEnd, rtExcept, rtVar, rtExit, rtElse, rtFor, rtFinally, rtFunc, rtIf, rtThen, rtTry,
        rtRaise, rtProc, rtWhile, rtTo, rtDownto, rtDo, rtRepeat, rtUntil, rtOf, rtOn, rtProgram, rtUnit,
        rtUses, rtInterface, rtImplementation, rtInitialization, rtExternal, rtConstructor, rtDestructor,
        rtOverload, rtOverride, rtPrivate, rtProtected, rtPublic, rtPublished, rtVirtual, rtStatic,
        rtRecord, rtType, rtProperty, rtParallel, rtPacked, rtBracket, rtGeneric)

NV_ENUM(THtTokenizerParseBlock, tpbMain, tpbInterface, tpbImplementation, tpbInitialization,
        tpbFinalization)

struct TScriptToken {
  TScriptTokenType TokenType = ttReserved;
  UnicodeString Name;          // words in lower case, strings as their value
  UnicodeString OriginalName;  // as written (a string's value, for strings)
  int32_t StartPos = 0;        // 1-based index of the first unit
  int32_t EndPos = 0;          // 1-based index of the last unit
  int32_t Line = 0;            // line of the first unit, from 0
  TReservedType ReservedType = rtNone;
  long double AsNumber = 0;    // ttNum (and ttInt, as a convenience)
  int64_t AsInt64 = 0;         // ttInt
};

// One row of the reserved-word table.
struct TScriptReservedWord {
  std::u16string_view Word;  // lower case
  TReservedType ReservedType;
  TScriptTokenType TokenType;
};

// The reserved-word table, in its fixed order (85 rows).
const TScriptReservedWord* ScriptReservedWords(int32_t& count) noexcept;
// Exact lookup of a lower-case word; nullptr when it is no reserved word.
const TScriptReservedWord* FindScriptReservedWord(std::u16string_view word) noexcept;

// Answers true to tolerate the error: the tokenizer then goes on from where
// it stands. A plain function with a context pointer fits through a lambda.
using THtScriptErrorEvent = std::function<bool(TScriptTokenizer* Sender, const UnicodeString& AMessage)>;

class TScriptTokenizer : public TObject {
  NV_CLASS(TScriptTokenizer, TObject)
 public:
  // A leading U+FEFF is dropped: positions count from behind it.
  explicit TScriptTokenizer(const UnicodeString& AScript);
  ~TScriptTokenizer() override;
  TScriptTokenizer(const TScriptTokenizer&) = delete;
  TScriptTokenizer& operator=(const TScriptTokenizer&) = delete;

  // Reads one token, comments and spaces included. False at the end of the
  // text: Empty is then set and Token keeps its value.
  bool NextToken();
  // NextToken until a token that is neither comment nor space, or the end.
  bool NextNonSpace();

  // The cursor alone: token, line and scopes are not part of it.
  const char16_t* SavePos() const noexcept { return SP->p; }
  // A position outside the current text is ignored.
  void RestorePos(const char16_t* pos) noexcept;

  // Continues in `AText`; EndInclude returns to the saved cursor.
  void BeginInclude(const UnicodeString& AText);
  void EndInclude();

  // Report an error at the current line; they return only when FOnError
  // tolerated it, and raise EHtScriptException otherwise.
  void Error(const UnicodeString& AMessage);
  void ErrorFmt(std::u16string_view AMessage, FormatArgs Args, int32_t ASourcePos = -1);
  // AMessage with the current token's OriginalName as its %s.
  void ErrorFmt2(std::u16string_view AMessage);

  // The scope `Depth` (0 or negative) below the top; rtUnit beyond the bottom.
  TReservedType GetScope(int32_t Depth) const noexcept;
  void PushScope(TReservedType AType);
  void PopScope() noexcept;

  // Token readers, at the unit that opens them. ReadComment reports "Wrong
  // comment start" when the cursor isn't at "{", "(*" or "//".
  void ReadComment();
  void ReadSpace();

  std::unique_ptr<TStringParser> SP;  // the cursor
  THtScriptParser* FParser = nullptr;  // goes into raised exceptions
  THtScriptErrorEvent FOnError;
  std::vector<std::unique_ptr<TStringParser>> FIncludeStack;

  TScriptToken Token;
  TScriptToken LastToken;  // the token before Token, spaces not counted
  bool Empty = false;      // the end of the text was met
  int32_t Line = 0;
  THtTokenizerParseBlock ParseBlock = tpbMain;
  bool IsTemp = false;  // a tokenizer of a used unit
  // Of the last token that was neither comment nor space.
  TScriptTokenType LastTokenType = ttReserved;
  TReservedType LastReservedType = rtNone;
  THtScriptUnit* ScriptUnit = nullptr;  // not owned
  std::vector<TReservedType> ScopeStack;
  TReservedType Scope = rtUnit;  // top of ScopeStack, rtUnit when empty

 private:
  void ReadIdent();
  void ReadDottedName();
  void ReadString(char16_t quote);
  void ReadNumber();
  void ReadCharCodes();
  void ReadCompare(char16_t c);
  void ApplyReservedScope();
  void ApplyDelimiterScope();
  void ReplacingPush(TReservedType AType);
  void PopToBracket() noexcept;
  void SetSimple(TScriptTokenType type, int32_t units);
  void RaiseError(const UnicodeString& AMessage, int32_t ASourcePos);
  int32_t Index() const noexcept { return int32_t(SP->p - SP->Start()); }
};

}  // namespace norvane
