// TScriptExpression: one compiled script expression.
//
// A shunting-yard pass turns the token stream into a flat array of postfix
// items; Calc runs that array with a stack of variables. There is no syntax
// tree: warnings and the later translations walk the same array.
//
// Running allocates little: every stack place keeps one temporary variable
// for reuse, integers/doubles/booleans overwrite the payload in place, and a
// variable operand goes on the stack as a pointer, not a copy.
#pragma once

#include <cstdint>
#include <vector>

#include "norvane/runtime/variant.h"
#include "norvane/script/script_func.h"
#include "norvane/script/script_tokenizer.h"
#include "norvane/script/script_variable.h"

namespace norvane {

class THtScriptParser;
class TScriptFunc;
class TScriptStatement;
class TScriptClass;
class TScriptExpression;

NV_ENUM(TExItemType, xtNone, xtOperation, xtString, xtInteger, xtInt64, xtFloat, xtBoolean, xtVar, xtClass,
        xtFunction, xtBracket, xtProcRef, xtStatement, xtIncompleteBool)

NV_ENUM(TExOperation, eoNone, eoPlus, eoMinus, eoMul, eoDiv, eoDivInt, eoMod, eoAnd, eoOr, eoXor, eoShl,
        eoShr, eoEq, eoNotEQ, eoAbove, eoAboveEq, eoLess, eoLessEq, eoIndex, eoIs, eoIn, eoNotIn, eoRange,
        eoNot, eoRef, eoAddress, eoUnarMinus)

// Binding strength, higher binds tighter: 3 unary, 2 multiplicative (and
// `and`), 1 additive (and `or`, `xor`), 0 comparisons and the rest.
int32_t ExOperationPriority(TExOperation Op) noexcept;

// The bound method that runs an operation item.
using TOpProc = void (TScriptExpression::*)(TExOperation Op);

struct TExScriptPos {
  int32_t StartPos = 0;  // 1-based, in the unit's text
  int32_t EndPos = 0;
};

// One postfix item.
struct TExItem {
  TScriptFunc* FFunc = nullptr;  // set through SetFunc
  TExItemType ItemType = xtNone;
  TOpProc Proc = nullptr;
  TExScriptPos ScriptPos;
  TExVariable* Variable = nullptr;  // not owned
  TScriptClass* ScriptClass = nullptr;
  TScriptClass* GenericHandlerClass = nullptr;
  // Inline cache of a member item: the host class met at its last run.
  TClass LastClass = nullptr;
  TScriptFunc* SF = nullptr;  // the function a reference names
  bool IsAnonymous = false;   // SF is owned by the item
  TScriptFunc* Getter = nullptr;
  TScriptFunc* Setter = nullptr;
  TScriptTokenType TokenType = ttSpace;  // of a bracket
  TScriptStatement* Statement = nullptr;  // owned
  bool Nullable = false;
  UnicodeString MethodName;   // a call's name as written
  UnicodeString StringValue;  // a string literal
  TExOperation Operation = eoNone;
  int32_t IntValue = 0;
  int64_t Int64Value = 0;
  double FloatValue = 0;
  bool BoolValue = false;
  TFuncType FuncType = ftFunction;
  int32_t ParamCount = 0;
  int32_t ContextType = 0;
  TScriptClass* ContextClass = nullptr;
  int32_t LeftIndex = -1;  // end of the left operand; jump target of xtIncompleteBool

  // Binds the function and takes its parameter limits.
  void SetFunc(TScriptFunc* AFunc) noexcept { FFunc = AFunc; }
};
using TExItems = std::vector<TExItem>;
using TExFunctions = std::vector<int32_t>;

// A compile-time type, for warnings in tolerant mode.
struct THtTypeStackItem {
  int32_t VarType = 0;
  TScriptClass* ClassType = nullptr;
  Variant ConstValue;
  std::vector<THtTypeStackItem> ArrayTypes;
  TObject* MetaObject = nullptr;  // the class's compile-time helper, not owned
};
using PHtTypeStackItem = THtTypeStackItem*;

// Names of type codes for messages: "Empty", "Null", "SmallInt", ...
UnicodeString VarTypetoString(int32_t AType);

class TScriptExpression : public TObject {
  NV_CLASS(TScriptExpression, TObject)
 public:
  explicit TScriptExpression(const UnicodeString& AText = UnicodeString());
  ~TScriptExpression() override;
  TScriptExpression(const TScriptExpression&) = delete;
  TScriptExpression& operator=(const TScriptExpression&) = delete;

  // Takes tokens from the parser's tokenizer from the current token on, and
  // leaves the first token it doesn't take as current.
  void Parse(THtScriptParser* AParser);
  // Makes an internal parser over AText and parses all of it.
  void Parse(const UnicodeString& AText);
  // Resolves functions named before they were declared; warnings in
  // tolerant mode.
  void Compile(PHtTypeStackItem AResultType = nullptr);
  // Runs; compiles on first use. With fIsAssign set the last item is the
  // target of the assignment and AssignVar its value.
  void Calc(Variant& AResult);
  Variant Calc() {
    Variant r;
    Calc(r);
    return r;
  }
  // Parses AText with an internal parser and runs it.
  Variant Evaluate(const UnicodeString& AText);

  // One literal item.
  bool IsConstant() const noexcept;
  bool Empty() const noexcept { return ItemsCount == 0; }
  // "Item index out of range" outside 0..ItemsCount-1.
  TExItem& GetItem(int32_t I);
  // The postfix form, items separated by blanks (for tests and tools).
  UnicodeString AsString() const;
  // Not yet provided: translation to JavaScript comes with its own issue.
  // Raises ENotSupportedException.
  UnicodeString AsJScript();
  // The source text of the item that covers Pos (1-based), and Pos moved to
  // its start; empty when no item covers it.
  UnicodeString GetStringAt(int32_t& Pos);
  // Maps a position in the expression's text to the unit's position.
  int32_t StringPostoScriptPos(int32_t Pos) const noexcept { return ScriptPos + Pos - 1; }
  // Global variables of the parser.
  Variant GetVar(const UnicodeString& AName);
  void SetVar(const UnicodeString& AName, const Variant& AValue);
  // "Parser not created or assigned to expression" when there is none.
  THtScriptParser* GetParser() const;
  // Tolerant mode: walks the items with a type stack and adds warnings.
  void CheckWarnings(PHtTypeStackItem AResultType);

  // --- Run stack access for functions and methods -------------------------
  // The next place's temporary, cleared; RunStackCount grows by one.
  TExVariable* PushTemp();
  void PushValue(const Variant& V) { PushTemp()->FValue = V; }
  // The temporary of place I, made or cleared (CheckIsTemp of the design).
  TExVariable* CheckIsTemp(int32_t I);
  // Replaces a variable at place I by a temporary copy of its value.
  void SettoTemp(int32_t I);
  // Reports a run-time error through the parser (or raises directly without one).
  [[noreturn]] void RunError(const UnicodeString& AMessage);
  [[noreturn]] void RunErrorFmt(std::u16string_view AMessage, FormatArgs Args);

  // Operations (the Proc of operation items).
  void RunOperation(TExOperation Op);
  void OpPlus(TExOperation Op);
  void OpMinus(TExOperation Op);
  void OpMul(TExOperation Op);
  void OpDiv(TExOperation Op);

  TExItems FItems;
  TExItems Stack;  // operators while parsing
  int32_t StackLength = 0;
  int32_t StackCount = 0;
  int32_t ItemsLength = 0;
  int32_t FuncLength = 0;
  int32_t FuncCount = 0;
  THtScriptParser* fParser = nullptr;
  THtScriptParser* fInternalParser = nullptr;  // owned
  TScriptTokenizer* Tokenizer = nullptr;
  bool fCompiled = false;
  TScriptStack RunStack;
  TScriptStack TempStack;  // owned temporaries, one per place
  int32_t RunStackCount = 0;
  TExFunctions FuncStack;  // indices into Stack of the open calls
  Variant AssignVar;
  bool fIsAssign = false;
  TExOperation fAssignOperation = eoNone;

  int32_t ItemsCount = 0;
  int32_t Line = 0;
  int32_t ScriptPos = 0;
  int32_t ScriptEnd = 0;
  THtScriptUnit* ScriptUnit = nullptr;
  UnicodeString Text;  // the text of a free-standing expression

 private:
  int32_t FEntry = 0;  // stack level where the running Calc began
  std::vector<TExVariable*> FConstHolders;  // constants that are no literal (nil, null)

 private:
  TExVariable* TempAt(int32_t I);  // the temporary of place I, as it is
  TExItem& ItemsGrow();
  void ResetItems() noexcept;
  TExItem& StackGrow();
  void PopToOutput();
  void PopWhilePriorityAbove(int32_t APriority);
  bool PopToBracket();
  bool TokentoOperation(const TScriptToken& T, TExItem& Item);
  void PushFunc(bool AIsMethod, const TScriptToken& T);
  void AddVariant(const Variant& V, const TScriptToken& T);
  void FinishParse();
  void CallFunc(TExItem& Item);
  void CallMethod(TExItem& Item);
  void DoAssign(TExItem& Item);
  void ClearRunStack(int32_t AEntry) noexcept;
  void EnsureStack(int32_t ANeeded);
  void RunItems(int32_t ALast);
  Variant& Operand(int32_t I);
  bool IntFastPath(TExOperation Op, int32_t a, int32_t b);
  void DropTo(int32_t ACount) noexcept;
};

}  // namespace norvane
