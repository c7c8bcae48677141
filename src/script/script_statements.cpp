// The statements of the script language: how each parses itself from the
// parser's tokenizer and how it runs.
#include "norvane/script/script_statements.h"

#include <memory>
#include <utility>

#include "norvane/foundation/ht_object_list.h"
#include "norvane/markup/ht_node.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/runtime/classes.h"
#include "norvane/runtime/sysutils.h"
#include "norvane/runtime/variant_ops.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_parser.h"
#include "norvane/script/script_variable.h"

namespace norvane {

NV_CLASS_IMPL(TScriptStatement, "script")
NV_CLASS_IMPL(TScriptStatementSequence, "script")
NV_CLASS_IMPL(TAssignStatement, "script")
NV_CLASS_IMPL(TIfStatement, "script")
NV_CLASS_IMPL(TTernaryStatement, "script")
NV_CLASS_IMPL(TForStatement, "script")
NV_CLASS_IMPL(TWhileStatement, "script")
NV_CLASS_IMPL(TRepeatStatement, "script")
NV_CLASS_IMPL(TCaseStatement, "script")
NV_CLASS_IMPL(TExCaseStatement, "script")
NV_CLASS_IMPL(TFlowControlStatement, "script")
NV_CLASS_IMPL(TRaiseStatement, "script")
NV_CLASS_IMPL(TTryExceptStatement, "script")
NV_CLASS_IMPL(THtScriptEnumerator, "script")
NV_CLASS_IMPL(TStringListEnumerator, "script")
NV_CLASS_IMPL(TListEnumerator, "script")
NV_CLASS_IMPL(TNodesEnumerator, "script")
NV_CLASS_IMPL(TNodeListEnumerator, "script")

namespace {

// The raise of an object value: carries the object (owned) as the
// exception a script `except` binds.
class EHtScriptRaise : public Exception {
  NV_CLASS(EHtScriptRaise, Exception)
 public:
  EHtScriptRaise(const UnicodeString& msg, std::shared_ptr<TObject> obj) : Exception(msg), Object(std::move(obj)) {}
  std::shared_ptr<TObject> Object;
};
NV_CLASS_IMPL(EHtScriptRaise, "script")

// The exception an `except` handles, for ExceptionMessage and `raise E`.
class TRestoreException {
 public:
  TRestoreException(THtScriptParser* p, Exception* e) : p_(p), saved_(p->CurrentException) {
    p->CurrentException = e;
  }
  ~TRestoreException() { p_->CurrentException = saved_; }
  TRestoreException(const TRestoreException&) = delete;
  TRestoreException& operator=(const TRestoreException&) = delete;

 private:
  THtScriptParser* p_;
  Exception* saved_;
};

bool IsReserved(const TScriptToken& t, TReservedType r) { return t.TokenType == ttReserved && t.ReservedType == r; }

// Passes the reserved word `r`, or reports `message` (a tolerant parse goes
// on from there); answers false when the text has ended.
bool SkipReserved(TScriptTokenizer* tk, TReservedType r, const UnicodeString& message) {
  if (tk->Empty || !IsReserved(tk->Token, r)) {
    tk->Error(message);
    return !tk->Empty;
  }
  tk->NextNonSpace();
  return true;
}

bool CalcBool(TScriptExpression* e) {
  Variant v;
  e->Calc(v);
  return v.AsBoolean();
}

void Collect(THtObjectList* list, TObject* item) {
  if (item) list->Add(item);
}

void CollectStatement(THtObjectList* list, TScriptStatement* st, bool recursive) {
  if (!st) return;
  list->Add(st);
  if (recursive) st->GetStatementsAndExpressions(list, true);
}

}  // namespace

// ---------------------------------------------------------------------------

TScriptStatement::TScriptStatement(TScriptStatementType AType, THtScriptParser* AParser, TScriptStatement* AParent)
    : SType(AType), fParser(AParser), fParent(AParent) {
  const TScriptToken& t = AParser->Tokenizer->Token;
  StartPos = t.StartPos;
  Line = t.Line;
  ScriptUnit = AParser->CurrentUnit();
}

bool TScriptStatement::FindExpression(int32_t Pos, TScriptExpression*& AExpression, int32_t& AIndex) {
  THtObjectList list(false);
  GetStatementsAndExpressions(&list, true);
  for (int32_t i = 0; i < list.Count(); ++i) {
    auto* e = dynamic_cast<TScriptExpression*>(list.Get(i));
    if (!e || Pos < e->ScriptPos || Pos > e->ScriptEnd) continue;
    for (int32_t k = 0; k < e->ItemsCount; ++k) {
      const TExItem& item = e->GetItem(k);
      if (Pos >= item.ScriptPos.StartPos && Pos <= item.ScriptPos.EndPos) {
        AExpression = e;
        AIndex = k;
        return true;
      }
    }
    AExpression = e;
    AIndex = -1;
    return true;
  }
  return false;
}

// ---------------------------------------------------------------------------
// Sequence

TScriptStatementSequence::~TScriptStatementSequence() {
  for (TScriptStatement* s : List) delete s;
}

void TScriptStatementSequence::Parse() {
  TScriptTokenizer* tk = fParser->Tokenizer;
  const TScriptToken& t = tk->Token;
  StartPos = t.StartPos;
  Line = t.Line;
  auto isStop = [&] {
    return t.TokenType == ttReserved && (t.ReservedType == rtEnd || t.ReservedType == rtExcept ||
                                         t.ReservedType == rtFinally || t.ReservedType == rtUntil);
  };
  while (!tk->Empty) {
    if (isStop()) break;
    const char16_t* before = tk->SavePos();
    if (TScriptStatement* s = fParser->GetStatement(this)) List.push_back(s);
    if (tk->Empty) break;
    if (t.TokenType == ttDelimiter || t.TokenType == ttComment || t.TokenType == ttSpace)
      tk->NextNonSpace();
    else if (tk->SavePos() == before && !isStop())
      tk->NextNonSpace();  // a tolerated error must not stall the parse
  }
  EndPos = t.StartPos - 1;
}

TScriptExitResult TScriptStatementSequence::Run() {
  for (TScriptStatement* s : List) {
    TScriptExitResult r = s->Run();
    if (r != erNormal || fParser->FHalt) return r;
  }
  return erNormal;
}

void TScriptStatementSequence::Compile() {
  for (TScriptStatement* s : List) s->Compile();
}

void TScriptStatementSequence::GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) {
  for (TScriptStatement* s : List) CollectStatement(AList, s, ARecursive);
}

// ---------------------------------------------------------------------------
// Assignment and call

TAssignStatement::~TAssignStatement() {
  delete Left;
  delete Right;
}

void TAssignStatement::Parse() {
  TScriptTokenizer* tk = fParser->Tokenizer;
  const TScriptToken& t = tk->Token;
  Left = fParser->GetExpression();
  if (!tk->Empty && t.TokenType == ttAssign) {
    if (t.Name == u"+") Operation = eoPlus;
    else if (t.Name == u"-") Operation = eoMinus;
    else if (t.Name == u"*") Operation = eoMul;
    else if (t.Name == u"/") Operation = eoDiv;
    tk->NextNonSpace();
    Right = fParser->GetExpression();
    if (Right->Empty()) tk->Error(u"Expression expected");
  }
  if (!tk->Empty && t.TokenType != ttReserved && t.TokenType != ttDelimiter && t.TokenType != ttComment &&
      t.TokenType != ttSpace)
    tk->ErrorFmt(u"; expected but %s found", {t.OriginalName});
  EndPos = t.StartPos - 1;
}

TScriptExitResult TAssignStatement::Run() {
  if (fParser->FHalt) return erNormal;
  fParser->fDebugLastExecutedPos = StartPos;
  Variant value;
  if (Right) {
    Right->Calc(value);
    if (FTarget) {
      FTarget->SetValue(value);
      return erNormal;
    }
    Left->AssignVar = std::move(value);
    Left->fIsAssign = true;
    Left->fAssignOperation = TExOperation(Operation);
    Variant none;
    Left->Calc(none);
  } else {
    Left->Calc(value);
  }
  return erNormal;
}

void TAssignStatement::Compile() {
  if (Right) {
    Right->Compile(nullptr);
    Left->fIsAssign = true;
    Left->fAssignOperation = TExOperation(Operation);
  }
  Left->Compile(nullptr);
  // `x := value` stores straight into the variable, as the left side's own
  // run would, without running it.
  FTarget = nullptr;
  if (Right && Operation == eoNone && Left->ItemsCount == 1 && Left->GetItem(0).ItemType == xtVar)
    FTarget = Left->GetItem(0).Variable;
}

void TAssignStatement::GetStatementsAndExpressions(THtObjectList* AList, bool) {
  Collect(AList, Left);
  Collect(AList, Right);
}

// ---------------------------------------------------------------------------
// if

TIfStatement::~TIfStatement() {
  delete Condition;
  delete StThen;
  delete StElse;
}

void TIfStatement::Parse() {
  TScriptTokenizer* tk = fParser->Tokenizer;
  const TScriptToken& t = tk->Token;
  tk->NextNonSpace();
  Condition = fParser->GetExpression(rtThen);
  if (!SkipReserved(tk, rtThen, u"then expected")) return;
  StThen = fParser->GetStatement(this);
  if (tk->Empty) return;
  if (t.TokenType == ttDelimiter) {
    tk->NextNonSpace();
    return;
  }
  if (IsReserved(t, rtElse)) {
    tk->NextNonSpace();
    StElse = fParser->GetStatement(this);
    if (!tk->Empty && t.TokenType == ttDelimiter) tk->NextNonSpace();
  }
}

TScriptExitResult TIfStatement::Run() {
  if (fParser->FHalt) return erNormal;
  TScriptStatement* branch = CalcBool(Condition) ? StThen : StElse;
  return branch ? branch->Run() : erNormal;
}

void TIfStatement::Compile() {
  Condition->Compile(nullptr);
  if (StThen) StThen->Compile();
  if (StElse) StElse->Compile();
}

void TIfStatement::GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) {
  Collect(AList, Condition);
  CollectStatement(AList, StThen, ARecursive);
  CollectStatement(AList, StElse, ARecursive);
}

// ---------------------------------------------------------------------------
// if as an expression

TTernaryStatement::~TTernaryStatement() {
  delete Condition;
  delete StThen;
  delete StElse;
}

void TTernaryStatement::Parse() {
  TScriptTokenizer* tk = fParser->Tokenizer;
  tk->NextNonSpace();
  Condition = fParser->GetExpression(rtThen);
  SkipReserved(tk, rtThen, u"then expected");
  StThen = fParser->GetExpression(rtElse);
  SkipReserved(tk, rtElse, u"else expected");
  StElse = fParser->GetExpression();
}

void TTernaryStatement::Calc(TExVariable* V) {
  Variant v;
  (CalcBool(Condition) ? StThen : StElse)->Calc(v);
  V->SetValue(v);
}

void TTernaryStatement::Compile() {
  Condition->Compile(nullptr);
  StThen->Compile(nullptr);
  StElse->Compile(nullptr);
}

void TTernaryStatement::GetStatementsAndExpressions(THtObjectList* AList, bool) {
  Collect(AList, Condition);
  Collect(AList, StThen);
  Collect(AList, StElse);
}

// ---------------------------------------------------------------------------
// for

TForStatement::~TForStatement() {
  delete FromValue;
  delete ToValue;
  delete Loop;
}

void TForStatement::Parse() {
  TScriptTokenizer* tk = fParser->Tokenizer;
  const TScriptToken& t = tk->Token;
  if (IsReserved(t, rtParallel)) {
    IsParallel = true;
    tk->NextNonSpace();
  }
  tk->NextNonSpace();  // `for`
  bool isInline = false;
  if (IsReserved(t, rtVar)) {
    isInline = true;
    tk->NextNonSpace();
  }
  if (tk->Empty || t.TokenType != ttVar) {
    tk->Error(u"Variable expected");
    if (tk->Empty) return;
  }
  const UnicodeString name = t.OriginalName;
  const int32_t namePos = t.StartPos;
  const bool strict = fParser->fOptions.Contains(soRequireVarDeclaration);
  if (TScriptFunc* f = fParser->LocalFunc) {
    LoopVar = f->LocalVars ? f->LocalVars->GetVariable(name, isInline) : nullptr;
    if (!LoopVar) LoopVar = fParser->GetVariable(name, false);
    if (!LoopVar && f->LocalVars && !strict) LoopVar = f->LocalVars->GetVariable(name, true);
  } else {
    LoopVar = fParser->GetVariable(name, isInline || !strict, isInline);
  }
  tk->NextNonSpace();
  const bool nextIsIn = !tk->Empty && t.TokenType == ttOperation && t.Name == u"in";
  if (!LoopVar && nextIsIn) LoopVar = fParser->GetVariable(name, true, true);
  if (!LoopVar) {
    tk->ErrorFmt(u"Variable '%s' not declared", {name}, namePos);
    LoopVar = fParser->GetVariable(name, true, true);
  }
  bool typed = false;
  if (isInline && !tk->Empty && t.TokenType == ttTypePref) {
    tk->NextNonSpace();
    LoopVar->fDataType = THtScriptParser::TypeCode(t.Name);
    typed = true;
    tk->NextNonSpace();
  }
  if (!tk->Empty && t.TokenType == ttOperation && t.Name == u"in") {
    IsIn = true;
    tk->NextNonSpace();
    FromValue = fParser->GetExpression(rtDo);
    if (!tk->Empty && t.TokenType == ttVar && t.Name == u"index") {
      tk->NextNonSpace();
      if (tk->Empty || t.TokenType != ttVar) tk->Error(u"Variable expected");
      if (!tk->Empty) {
        TScriptFunc* f = fParser->LocalFunc;
        IndexVar = f && f->LocalVars ? f->LocalVars->GetVariable(t.OriginalName, true)
                                     : fParser->GetVariable(t.OriginalName, true, true);
        IndexVar->fDataType = varInteger;
        tk->NextNonSpace();
      }
    }
  } else {
    if (isInline && !typed) LoopVar->fDataType = varInteger;
    if (tk->Empty || t.TokenType != ttAssign || !t.Name.IsEmpty()) tk->Error(u":= expected.");
    if (!tk->Empty) tk->NextNonSpace();
    FromValue = fParser->GetExpression(rtTo);
    if (FromValue->IsConstant()) {
      Variant v;
      FromValue->Calc(v);
      ConstFromValue = v.AsInteger();
      delete FromValue;
      FromValue = nullptr;
    }
    if (IsReserved(t, rtDownto)) {
      IsDownto = true;
      tk->NextNonSpace();
    } else if (IsReserved(t, rtTo)) {
      tk->NextNonSpace();
    } else {
      tk->Error(u"to expected");
    }
    ToValue = fParser->GetExpression(rtDo);
  }
  if (!SkipReserved(tk, rtDo, u"do expected")) return;
  Loop = fParser->GetStatement(this);
}

TScriptExitResult TForStatement::Round(bool& stop) {
  TScriptExitResult r = Loop ? Loop->Run() : erNormal;
  stop = (r != erNormal && r != erContinue) || fParser->FHalt;
  if (r == erBreak || r == erContinue) r = erNormal;
  return r;
}

TScriptExitResult TForStatement::Run() {
  if (fParser->FHalt) return erNormal;
  if (IsIn) return RunIn();
  Variant v;
  ToValue->Calc(v);
  const int32_t to = v.AsInteger();
  int32_t from = ConstFromValue;
  if (FromValue) {
    FromValue->Calc(v);
    from = v.AsInteger();
  }
  // A parallel loop only settles its bounds; the body waits for a host that
  // supplies workers.
  if (IsParallel) return erNormal;
  if (IsDownto ? from < to : from > to) return erNormal;
  bool stop = false;
  if (!IsDownto) {
    LoopVar->SetValue(Variant(from));
    for (;;) {
      TScriptExitResult r = Round(stop);
      if (stop) return r;
      Variant& cur = LoopVar->FValue;
      if (cur.VarType() != varInteger) return erNormal;
      const int64_t next = int64_t(cur.RawInteger()) + 1;
      cur.SetRawInteger(int32_t(uint32_t(next)));
      if (next > to) return erNormal;
    }
  }
  for (int64_t c = from; c >= to; --c) {
    Variant& cur = LoopVar->FValue;
    if (c == from)
      LoopVar->SetValue(Variant(int32_t(c)));
    else if (cur.VarType() != varInteger)
      return erNormal;
    else
      cur.SetRawInteger(int32_t(c));
    TScriptExitResult r = Round(stop);
    if (stop) return r;
  }
  return erNormal;
}

TScriptExitResult TForStatement::RunIn() {
  Variant coll;
  FromValue->Calc(coll);
  bool stop = false;
  TScriptExitResult r = erNormal;
  const TVarType tag = coll.VarType();
  if (tag & varArray) {
    const int32_t lo = VarArrayLowBound(coll), hi = VarArrayHighBound(coll);
    for (int32_t i = lo; i <= hi; ++i) {
      LoopVar->SetValue(coll.GetElement(i));
      if (IndexVar) IndexVar->SetValue(Variant(i));
      r = Round(stop);
      if (stop) break;
    }
    return r;
  }
  if (tag == varObject) {
    TObject* obj = coll.AsObject();
    if (!obj) fParser->RunError(u"Object is nul");
    CHtScriptEnumerator make = nullptr;
    THtScriptParser* lists[] = {fParser, fParser->fScriptGlobal};
    for (TClass c = obj->ClassType(); c && c != TObject::StaticClass() && !make; c = c->Parent)
      for (THtScriptParser* p : lists)
        if (p && !make)
          if (TScriptClass* sc = p->FClassList.FindByHostClass(c); sc && sc->EnumeratorClass)
            make = sc->EnumeratorClass;
    if (!make) fParser->RunErrorFmt(u"No enumerator found for class %s", {obj->ClassName()});
    std::unique_ptr<THtScriptEnumerator> en(make(obj));
    int32_t index = 0;
    Variant item;
    while (en->Next()) {
      en->GetCurrent(item);
      LoopVar->SetValue(item);
      if (IndexVar) IndexVar->SetValue(Variant(index));
      ++index;
      r = Round(stop);
      if (stop) break;
    }
    return r;
  }
  if (tag == varString || tag == varUString || tag == varOleStr) {
    const UnicodeString s = coll.AsString();
    for (int32_t i = 0; i < s.Length(); ++i) {
      LoopVar->SetValue(Variant(UnicodeString(s[i])));
      if (IndexVar) IndexVar->SetValue(Variant(i + 1));
      r = Round(stop);
      if (stop) break;
    }
    return r;
  }
  fParser->RunErrorFmt(u"No enumerator found for simple type %s", {IntToStr(tag)});
}

void TForStatement::Compile() {
  if (FromValue) FromValue->Compile(nullptr);
  if (ToValue) ToValue->Compile(nullptr);
  if (Loop) Loop->Compile();
}

void TForStatement::GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) {
  Collect(AList, FromValue);
  Collect(AList, ToValue);
  CollectStatement(AList, Loop, ARecursive);
}

// ---------------------------------------------------------------------------
// while, repeat

TWhileStatement::~TWhileStatement() {
  delete Condition;
  delete Loop;
}

void TWhileStatement::Parse() {
  TScriptTokenizer* tk = fParser->Tokenizer;
  tk->NextNonSpace();
  Condition = fParser->GetExpression(rtDo);
  if (!SkipReserved(tk, rtDo, u"do expected")) return;
  Loop = fParser->GetStatement(this);
}

TScriptExitResult TWhileStatement::Run() {
  while (!fParser->FHalt && CalcBool(Condition)) {
    TScriptExitResult r = Loop ? Loop->Run() : erNormal;
    if (r == erBreak) break;
    if (r != erNormal && r != erContinue) return r;
  }
  return erNormal;
}

void TWhileStatement::Compile() {
  Condition->Compile(nullptr);
  if (Loop) Loop->Compile();
}

void TWhileStatement::GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) {
  Collect(AList, Condition);
  CollectStatement(AList, Loop, ARecursive);
}

TRepeatStatement::~TRepeatStatement() {
  delete Condition;
  delete Loop;
}

void TRepeatStatement::Parse() {
  TScriptTokenizer* tk = fParser->Tokenizer;
  tk->NextNonSpace();
  auto seq = std::make_unique<TScriptStatementSequence>(fParser, this);
  if (!tk->Empty) seq->Parse();
  Loop = seq.release();
  if (!SkipReserved(tk, rtUntil, u"until expected")) return;
  Condition = fParser->GetExpression();
}

TScriptExitResult TRepeatStatement::Run() {
  while (!fParser->FHalt) {
    TScriptExitResult r = Loop->Run();
    if (r == erBreak) break;
    if (r != erNormal && r != erContinue) return r;
    if (fParser->FHalt || CalcBool(Condition)) break;
  }
  return erNormal;
}

void TRepeatStatement::Compile() {
  Loop->Compile();
  if (Condition) Condition->Compile(nullptr);
}

void TRepeatStatement::GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) {
  CollectStatement(AList, Loop, ARecursive);
  Collect(AList, Condition);
}

// ---------------------------------------------------------------------------
// case

namespace {

// One case label list "a, b, c :" ; answers false at the end of the text.
template <class Add>
bool ParseLabels(THtScriptParser* parser, Add add) {
  TScriptTokenizer* tk = parser->Tokenizer;
  const TScriptToken& t = tk->Token;
  for (;;) {
    std::unique_ptr<TScriptExpression> e(parser->GetExpression());
    if (e->Empty())
      tk->Error(u"Expression expected");
    else
      add(e.release());
    if (tk->Empty) return false;
    if (t.TokenType == ttParamdiv) {
      tk->NextNonSpace();
      continue;
    }
    if (t.TokenType != ttTypePref) tk->Error(u": expected");
    tk->NextNonSpace();  // the `:`, or the token reported and skipped
    return !tk->Empty;
  }
}

// Reads "case <selector> of <items> end" for both forms of case: `elseItem`
// reads what follows "else", `item` one label list with what follows it and
// answers false when the list ends the block.
template <class Else, class Item>
void ParseCaseBlock(THtScriptParser* parser, TScriptExpression*& selector, Else elseItem, Item item) {
  TScriptTokenizer* tk = parser->Tokenizer;
  const TScriptToken& t = tk->Token;
  tk->NextNonSpace();
  selector = parser->GetExpression(rtOf);
  if (!SkipReserved(tk, rtOf, u"of expected")) return;
  while (!tk->Empty && !IsReserved(t, rtEnd)) {
    const char16_t* before = tk->SavePos();
    if (IsReserved(t, rtElse)) {
      tk->NextNonSpace();
      elseItem();
    } else if (!item()) {
      break;
    }
    if (!tk->Empty && t.TokenType == ttDelimiter) tk->NextNonSpace();
    if (!tk->Empty && tk->SavePos() == before) tk->NextNonSpace();
  }
  if (tk->Empty)
    tk->ErrorFmt(u"end expected but '%s' found", {UnicodeString()});
  else
    tk->NextNonSpace();
}


bool CaseMatch(const Variant& selector, const Variant& label) {
  if ((selector.VarType() == varNull) != (label.VarType() == varNull)) return false;
  return VarEq(selector, label);
}

}  // namespace

TCaseStatement::~TCaseStatement() {
  delete Selector;
  for (TCaseItem& c : Cases) {
    for (TScriptExpression* e : c.Labels) delete e;
    delete c.Statement;
  }
  delete ElseItem;
}

void TCaseStatement::Parse() {
  ParseCaseBlock(
      fParser, Selector,
      [&] {
        delete std::exchange(ElseItem, nullptr);
        ElseItem = fParser->GetStatement(this);
      },
      [&] {
        Cases.emplace_back();
        bool more = ParseLabels(fParser, [&](TScriptExpression* e) { Cases.back().Labels.push_back(e); });
        if (more) Cases.back().Statement = fParser->GetStatement(this);
        return more;
      });
}

TScriptExitResult TCaseStatement::Run() {
  if (fParser->FHalt) return erNormal;
  Variant selector, label;
  Selector->Calc(selector);
  for (TCaseItem& c : Cases)
    for (TScriptExpression* e : c.Labels) {
      e->Calc(label);
      if (CaseMatch(selector, label)) return c.Statement ? c.Statement->Run() : erNormal;
    }
  return ElseItem ? ElseItem->Run() : erNormal;
}

void TCaseStatement::Compile() {
  Selector->Compile(nullptr);
  for (TCaseItem& c : Cases) {
    for (TScriptExpression* e : c.Labels) e->Compile(nullptr);
    if (c.Statement) c.Statement->Compile();
  }
  if (ElseItem) ElseItem->Compile();
}

void TCaseStatement::GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) {
  Collect(AList, Selector);
  for (TCaseItem& c : Cases) {
    for (TScriptExpression* e : c.Labels) Collect(AList, e);
    CollectStatement(AList, c.Statement, ARecursive);
  }
  CollectStatement(AList, ElseItem, ARecursive);
}

TExCaseStatement::~TExCaseStatement() {
  delete Selector;
  for (TExCaseItem& c : Cases) {
    delete c.Label;
    delete c.Value;
  }
  delete ElseItem;
}

void TExCaseStatement::Parse() {
  ParseCaseBlock(
      fParser, Selector,
      [&] {
        delete std::exchange(ElseItem, nullptr);
        ElseItem = fParser->GetExpression();
      },
      [&] {
        // Labels go straight into Cases, which owns them; the labels of one
        // list share the value, held by the last of them (see Calc).
        const size_t first = Cases.size();
        bool more = ParseLabels(fParser, [&](TScriptExpression* e) { Cases.push_back({e, nullptr}); });
        if (more) {
          std::unique_ptr<TScriptExpression> value(fParser->GetExpression());
          if (Cases.size() > first) Cases.back().Value = value.release();
        }
        return more;
      });
}

void TExCaseStatement::Calc(TExVariable* V) {
  Variant selector, label, value;
  Selector->Calc(selector);
  for (size_t i = 0; i < Cases.size(); ++i) {
    Cases[i].Label->Calc(label);
    if (!CaseMatch(selector, label)) continue;
    // Labels of one list share the value held by the last of them.
    size_t k = i;
    while (k < Cases.size() && !Cases[k].Value) ++k;
    if (k < Cases.size()) {
      Cases[k].Value->Calc(value);
      V->SetValue(value);
    }
    return;
  }
  if (ElseItem) {
    ElseItem->Calc(value);
    V->SetValue(value);
  }
}

void TExCaseStatement::Compile() {
  Selector->Compile(nullptr);
  for (TExCaseItem& c : Cases) {
    c.Label->Compile(nullptr);
    if (c.Value) c.Value->Compile(nullptr);
  }
  if (ElseItem) ElseItem->Compile(nullptr);
}

void TExCaseStatement::GetStatementsAndExpressions(THtObjectList* AList, bool) {
  Collect(AList, Selector);
  for (TExCaseItem& c : Cases) {
    Collect(AList, c.Label);
    Collect(AList, c.Value);
  }
  Collect(AList, ElseItem);
}

// ---------------------------------------------------------------------------
// break, continue, exit

TFlowControlStatement::~TFlowControlStatement() { delete ExitExp; }

void TFlowControlStatement::Parse() {
  TScriptTokenizer* tk = fParser->Tokenizer;
  const TScriptToken& t = tk->Token;
  switch (t.ReservedType) {
    case rtBreak:
      Kind = erBreak;
      break;
    case rtContinue:
      Kind = erContinue;
      break;
    case rtExit:
      Kind = erExit;
      break;
    default:
      tk->Error(u"break/continue/exit expected");
  }
  fParser->SetCodeLine(Line, 4 << Kind);
  tk->NextNonSpace();
  if (Kind == erExit && !tk->Empty && t.TokenType == ttBracket) ExitExp = fParser->GetExpression();
}

TScriptExitResult TFlowControlStatement::Run() {
  if (ExitExp) {
    Variant v;
    ExitExp->Calc(v);
    TExVariable* result = fParser->GetVariable(u"result");
    if (!result) {
      fParser->CurrentExpression = ExitExp;  // the report points at the exit
      fParser->RunError(u"No Result variable found for exit()");
    }
    result->SetValue(v);
  }
  return Kind;
}

void TFlowControlStatement::Compile() {
  if (ExitExp) ExitExp->Compile(nullptr);
  if (Kind != erBreak && Kind != erContinue) return;
  for (TScriptStatement* p = fParent; p; p = p->ParentStatement())
    if (p->Is<TForStatement>() || p->Is<TWhileStatement>() || p->Is<TRepeatStatement>()) return;
  const UnicodeString msg = u"BREAK/CONTINUE should be used inside loop only";
  THtScriptUnit* unit = ScriptUnit ? ScriptUnit : fParser->MainUnit;
  if (fParser->TolerantMode) {
    unit->AddWarning(msg, Line, StartPos, StartPos + (Kind == erBreak ? 4 : 7), swtError);
    return;
  }
  UnicodeString text = msg + Format(u" at line %d", {Line + 1});
  if (unit->UnitName() != u"Program") text += u" unit " + unit->UnitName();
  throw EHtScriptException(text, fParser, StartPos, Line, unit->UnitName(), unit->GetLine(Line));
}

void TFlowControlStatement::GetStatementsAndExpressions(THtObjectList* AList, bool) { Collect(AList, ExitExp); }

// ---------------------------------------------------------------------------
// raise

TRaiseStatement::~TRaiseStatement() { delete Ex; }

void TRaiseStatement::Parse() {
  fParser->Tokenizer->NextNonSpace();
  Ex = fParser->GetExpression();
}

TScriptExitResult TRaiseStatement::Run() {
  if (!Ex || Ex->Empty()) return erRaise;
  Variant v;
  Ex->Calc(v);
  if (v.VarType() != varObject) {
    // A plain value raises an exception with that text.
    if (fParser->ExceptionLine == 0) fParser->SaveExceptionStack();
    throw Exception(VarToStr(v));
  }
  TObject* obj = Variant2ObjectSafe(v);
  if (obj && obj == fParser->CurrentException) throw;  // `raise E` of the exception in hand
  if (fParser->ExceptionLine == 0) fParser->SaveExceptionStack();
  // The object leaves the script's keeping: the exception owns it now.
  int32_t at = fParser->ScriptObjects.IndexOf(obj);
  bool owned = false;
  if (at >= 0) {
    fParser->ScriptObjects.Extract(obj);
    owned = true;
  }
  UnicodeString msg = obj && obj->Is<Exception>() ? static_cast<Exception*>(obj)->Message()
                                                   : (obj ? obj->ClassName() : UnicodeString(u"nil"));
  std::shared_ptr<TObject> keep;
  if (owned)
    keep.reset(obj);
  else
    keep = std::shared_ptr<TObject>(obj, [](TObject*) {});
  throw EHtScriptRaise(msg, std::move(keep));
}

void TRaiseStatement::Compile() {
  if (Ex) Ex->Compile(nullptr);
}

void TRaiseStatement::GetStatementsAndExpressions(THtObjectList* AList, bool) { Collect(AList, Ex); }

// ---------------------------------------------------------------------------
// try

TTryExceptStatement::~TTryExceptStatement() {
  delete StTry;
  delete StExcept;
}

void TTryExceptStatement::Parse() {
  TScriptTokenizer* tk = fParser->Tokenizer;
  const TScriptToken& t = tk->Token;
  tk->NextNonSpace();
  auto body = std::make_unique<TScriptStatementSequence>(fParser, this);
  if (!tk->Empty) body->Parse();
  StTry = body.release();
  if (tk->Empty || !(IsReserved(t, rtExcept) || IsReserved(t, rtFinally))) {
    tk->Error(u"except of finally expected");
    if (tk->Empty) return;
  }
  IsFinally = IsReserved(t, rtFinally);
  tk->NextNonSpace();
  if (!IsFinally && !tk->Empty && IsReserved(t, rtOn)) {
    tk->NextNonSpace();
    if (!tk->Empty) ExceptVar = fParser->GetVariable(t.OriginalName, true, true);
    if (tk->NextNonSpace() && t.TokenType != ttTypePref) tk->Error(u": expected");
    tk->NextNonSpace();
    if (!tk->Empty && ExceptVar) {
      ExceptVar->fDataType = varObject;
      ExceptVar->fDataClass = fParser->GetClass(t.OriginalName);
    }
    if (!tk->NextNonSpace() || !IsReserved(t, rtDo))
      tk->Error(u"do expected");
    else
      tk->NextNonSpace();
  }
  auto handler = std::make_unique<TScriptStatementSequence>(fParser, this);
  if (!tk->Empty) handler->Parse();
  StExcept = handler.release();
  if (tk->Empty || !IsReserved(t, rtEnd))
    tk->ErrorFmt(u"end expected but '%s' found", {tk->Empty ? UnicodeString() : t.OriginalName});
  else
    tk->NextNonSpace();
}

TScriptExitResult TTryExceptStatement::Run() {
  THtScriptParser* p = fParser;
  if (IsFinally) {
    TScriptExitResult r;
    try {
      r = StTry->Run();
    } catch (...) {
      if (p->ExceptionLine == 0) p->ExceptionLine = p->CurrentLine() + 1;
      p->SaveExceptionStack();
      if (StExcept) StExcept->Run();
      throw;
    }
    TScriptExitResult r2 = StExcept ? StExcept->Run() : erNormal;
    if (r == erNormal && (r2 == erExit || r2 == erBreak || r2 == erContinue)) r = r2;
    return r;
  }
  try {
    return StTry->Run();
  } catch (Exception& e) {
    if (!StExcept) return erNormal;
    if (p->ExceptionLine == 0) p->ExceptionLine = p->CurrentLine() + 1;
    p->SaveExceptionStack();
    TObject* bound = &e;
    if (auto* raised = dynamic_cast<EHtScriptRaise*>(&e); raised && raised->Object) bound = raised->Object.get();
    if (ExceptVar) ExceptVar->SetObject(bound);
    p->ExceptionObject = bound;
    TRestoreException keep(p, &e);
    TScriptExitResult r;
    try {
      r = StExcept->Run();
    } catch (...) {
      Unbind(bound);
      throw;
    }
    Unbind(bound);
    if (r == erRaise) throw;
    // The failure is handled: the next one reports afresh.
    p->ExceptionLine = 0;
    p->ExceptionStack.Clear();
    p->ExceptionLineText.Clear();
    return r;
  } catch (std::exception& e) {
    if (!StExcept) return erNormal;
    Exception wrapped(UnicodeString::FromUtf8(e.what()));
    if (ExceptVar) ExceptVar->SetObject(&wrapped);
    p->ExceptionObject = &wrapped;
    TRestoreException keep(p, &wrapped);
    TScriptExitResult r;
    try {
      r = StExcept->Run();
    } catch (...) {
      Unbind(&wrapped);
      throw;
    }
    Unbind(&wrapped);
    if (r == erRaise) throw;
    return r;
  }
}

// The exception object dies with its handler: the variable that named it
// and the parser's note of it are cleared so that nothing points at it.
void TTryExceptStatement::Unbind(TObject* AObject) {
  if (ExceptVar && Variant2ObjectSafe(ExceptVar->FValue) == AObject) ExceptVar->FValue = Variant::FromObject(nullptr);
  if (fParser->ExceptionObject == AObject) fParser->ExceptionObject = nullptr;
}

void TTryExceptStatement::Compile() {
  StTry->Compile();
  if (StExcept) StExcept->Compile();
}

void TTryExceptStatement::GetStatementsAndExpressions(THtObjectList* AList, bool ARecursive) {
  CollectStatement(AList, StTry, ARecursive);
  CollectStatement(AList, StExcept, ARecursive);
}

// ---------------------------------------------------------------------------
// Enumerators

bool TStringListEnumerator::Next() { return ++FIndex < static_cast<TStrings*>(FObject)->Count(); }
void TStringListEnumerator::GetCurrent(Variant& Value) { Value = static_cast<TStrings*>(FObject)->Get(FIndex); }

bool TListEnumerator::Next() { return ++FIndex < static_cast<TList*>(FObject)->Count(); }
void TListEnumerator::GetCurrent(Variant& Value) {
  Value = Variant::FromObject(static_cast<TObject*>(static_cast<TList*>(FObject)->Get(FIndex)));
}

bool TNodesEnumerator::Next() { return ++FIndex < static_cast<THtNode*>(FObject)->GetCount(); }
void TNodesEnumerator::GetCurrent(Variant& Value) {
  Value = Variant::FromObject(static_cast<THtNode*>(FObject)->GetNode(FIndex));
}

bool TNodeListEnumerator::Next() { return ++FIndex < static_cast<THtNodeList*>(FObject)->GetCount(); }
void TNodeListEnumerator::GetCurrent(Variant& Value) {
  Value = Variant::FromObject(static_cast<THtNodeList*>(FObject)->GetNode(FIndex));
}

}  // namespace norvane
