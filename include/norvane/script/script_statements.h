// The statement tree of a script body.
//
// Each statement parses itself from the parser's tokenizer (starting at its
// first word, leaving the first token it doesn't take as current),
// compiles its expressions, and runs by a virtual call. Non-local control
// flow (break, continue, exit, a bare `raise;`) travels up the tree as the
// value of Run; only `raise` with a value and host errors are C++
// exceptions. Every statement owns its children and its expressions.
#pragma once

#include <cstdint>
#include <vector>

#include "norvane/runtime/object.h"
#include "norvane/runtime/variant.h"

namespace norvane {

class THtScriptParser;
class THtScriptUnit;
class THtObjectList;
class TScriptExpression;
class TExVariable;
class TStrings;
class TList;
class THtNode;
class THtNodeList;

NV_ENUM(TScriptExitResult, erNormal, erExit, erBreak, erContinue, erRaise)

NV_ENUM(TScriptStatementType, stSequence, stAssign, stIf, stFor, stWhile, stRepeat, stCase, stTry, stRaise)

class TScriptStatement : public TObject {
  NV_CLASS(TScriptStatement, TObject)
 public:
  TScriptStatement(TScriptStatementType AType, THtScriptParser* AParser, TScriptStatement* AParent);
  ~TScriptStatement() override = default;

  virtual void Parse() = 0;
  virtual TScriptExitResult Run() { return erNormal; }
  // A statement used as a value (`x := if a then b else c`).
  virtual void Calc(TExVariable* V) { (void)V; }
  virtual void Compile() = 0;
  // Appends child statements and expressions (not owned by the list).
  virtual void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) {
    (void)AList;
    (void)ARecursive;
  }
  // The expression holding source position Pos; AIndex is its item there.
  bool FindExpression(int32_t Pos, TScriptExpression*& AExpression, int32_t& AIndex);

  THtScriptParser* Parser() const noexcept { return fParser; }
  TScriptStatement* ParentStatement() const noexcept { return fParent; }

  TScriptStatementType SType;
  int32_t StartPos = 0;
  int32_t EndPos = 0;
  int32_t Line = 0;
  THtScriptUnit* ScriptUnit = nullptr;  // the unit it was parsed from

 protected:
  THtScriptParser* fParser;
  TScriptStatement* fParent;
};

class TScriptStatementSequence : public TScriptStatement {
  NV_CLASS(TScriptStatementSequence, TScriptStatement)
 public:
  TScriptStatementSequence(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stSequence, AParser, AParent) {}
  ~TScriptStatementSequence() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  std::vector<TScriptStatement*> List;
};

class TAssignStatement : public TScriptStatement {
  NV_CLASS(TAssignStatement, TScriptStatement)
 public:
  TAssignStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stAssign, AParser, AParent) {}
  ~TAssignStatement() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TScriptExpression* Left = nullptr;
  TScriptExpression* Right = nullptr;  // nullptr for a call used as a statement
  int32_t Operation = 0;               // a TExOperation: eoNone, eoPlus, eoMinus, eoMul, eoDiv

 private:
  TExVariable* FTarget = nullptr;  // a plain variable on the left, stored without a second Calc
};

class TIfStatement : public TScriptStatement {
  NV_CLASS(TIfStatement, TScriptStatement)
 public:
  TIfStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stIf, AParser, AParent) {}
  ~TIfStatement() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TScriptExpression* Condition = nullptr;
  TScriptStatement* StThen = nullptr;
  TScriptStatement* StElse = nullptr;
};

// `if C then A else B` as an expression; the else is required.
class TTernaryStatement : public TScriptStatement {
  NV_CLASS(TTernaryStatement, TScriptStatement)
 public:
  TTernaryStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stIf, AParser, AParent) {}
  ~TTernaryStatement() override;
  void Parse() override;
  void Calc(TExVariable* V) override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TScriptExpression* Condition = nullptr;
  TScriptExpression* StThen = nullptr;
  TScriptExpression* StElse = nullptr;
};

class TForStatement : public TScriptStatement {
  NV_CLASS(TForStatement, TScriptStatement)
 public:
  TForStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stFor, AParser, AParent) {}
  ~TForStatement() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TExVariable* LoopVar = nullptr;   // not owned
  TExVariable* IndexVar = nullptr;  // not owned
  int32_t ConstFromValue = 0;
  TScriptExpression* FromValue = nullptr;  // nullptr when the start was a constant
  TScriptExpression* ToValue = nullptr;
  bool IsIn = false;
  TScriptStatement* Loop = nullptr;
  bool IsDownto = false;
  bool IsParallel = false;

 private:
  TScriptExitResult RunIn();
  TScriptExitResult Round(bool& stop);
};

class TWhileStatement : public TScriptStatement {
  NV_CLASS(TWhileStatement, TScriptStatement)
 public:
  TWhileStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stWhile, AParser, AParent) {}
  ~TWhileStatement() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TScriptExpression* Condition = nullptr;
  TScriptStatement* Loop = nullptr;
};

class TRepeatStatement : public TScriptStatement {
  NV_CLASS(TRepeatStatement, TScriptStatement)
 public:
  TRepeatStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stRepeat, AParser, AParent) {}
  ~TRepeatStatement() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TScriptExpression* Condition = nullptr;
  TScriptStatement* Loop = nullptr;
};

class TCaseStatement : public TScriptStatement {
  NV_CLASS(TCaseStatement, TScriptStatement)
 public:
  struct TCaseItem {
    std::vector<TScriptExpression*> Labels;
    TScriptStatement* Statement = nullptr;
  };
  TCaseStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stCase, AParser, AParent) {}
  ~TCaseStatement() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TScriptExpression* Selector = nullptr;
  std::vector<TCaseItem> Cases;
  TScriptStatement* ElseItem = nullptr;
};

// `case S of A: B; ... else C end` as an expression.
class TExCaseStatement : public TScriptStatement {
  NV_CLASS(TExCaseStatement, TScriptStatement)
 public:
  struct TExCaseItem {
    TScriptExpression* Label = nullptr;
    TScriptExpression* Value = nullptr;
  };
  TExCaseStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stCase, AParser, AParent) {}
  ~TExCaseStatement() override;
  void Parse() override;
  void Calc(TExVariable* V) override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TScriptExpression* Selector = nullptr;
  std::vector<TExCaseItem> Cases;
  TScriptExpression* ElseItem = nullptr;
};

// break, continue, exit [(value)].
class TFlowControlStatement : public TScriptStatement {
  NV_CLASS(TFlowControlStatement, TScriptStatement)
 public:
  TFlowControlStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stSequence, AParser, AParent) {}
  ~TFlowControlStatement() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TScriptExitResult Kind = erNormal;
  TScriptExpression* ExitExp = nullptr;
};

class TRaiseStatement : public TScriptStatement {
  NV_CLASS(TRaiseStatement, TScriptStatement)
 public:
  TRaiseStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stRaise, AParser, AParent) {}
  ~TRaiseStatement() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  TScriptExpression* Ex = nullptr;
};

class TTryExceptStatement : public TScriptStatement {
  NV_CLASS(TTryExceptStatement, TScriptStatement)
 public:
  TTryExceptStatement(THtScriptParser* AParser, TScriptStatement* AParent)
      : TScriptStatement(stTry, AParser, AParent) {}
  ~TTryExceptStatement() override;
  void Parse() override;
  TScriptExitResult Run() override;
  void Compile() override;
  void GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) override;
  bool IsFinally = false;
  TScriptStatement* StTry = nullptr;
  TScriptStatement* StExcept = nullptr;
  TExVariable* ExceptVar = nullptr;  // not owned

 private:
  void Unbind(TObject* AObject);
};

// Walks a host object in `for ... in`. Starts before the first item:
// Next moves first, then GetCurrent reads.
class THtScriptEnumerator : public TObject {
  NV_CLASS(THtScriptEnumerator, TObject)
 public:
  explicit THtScriptEnumerator(TObject* AObject) : FObject(AObject) {}
  virtual bool Next() = 0;
  virtual void GetCurrent(Variant& Value) = 0;

 protected:
  TObject* FObject;
  int32_t FIndex = -1;
};

class TStringListEnumerator : public THtScriptEnumerator {
  NV_CLASS(TStringListEnumerator, THtScriptEnumerator)
 public:
  using THtScriptEnumerator::THtScriptEnumerator;
  bool Next() override;
  void GetCurrent(Variant& Value) override;
};

class TListEnumerator : public THtScriptEnumerator {
  NV_CLASS(TListEnumerator, THtScriptEnumerator)
 public:
  using THtScriptEnumerator::THtScriptEnumerator;
  bool Next() override;
  void GetCurrent(Variant& Value) override;
};

class TNodesEnumerator : public THtScriptEnumerator {
  NV_CLASS(TNodesEnumerator, THtScriptEnumerator)
 public:
  using THtScriptEnumerator::THtScriptEnumerator;
  bool Next() override;
  void GetCurrent(Variant& Value) override;
};

class TNodeListEnumerator : public THtScriptEnumerator {
  NV_CLASS(TNodeListEnumerator, THtScriptEnumerator)
 public:
  using THtScriptEnumerator::THtScriptEnumerator;
  bool Next() override;
  void GetCurrent(Variant& Value) override;
};

}  // namespace norvane
