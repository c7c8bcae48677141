#include "norvane/script/script_expression.h"

#include <algorithm>
#include <cmath>

#include "norvane/foundation/number_text.h"
#include "norvane/runtime/sysutils.h"
#include "norvane/runtime/variant_ops.h"
#include "norvane/script/script_class.h"
#include "norvane/script/script_errors.h"
#include "norvane/script/script_func.h"
#include "norvane/script/script_parser.h"
#include "norvane/script/script_statements.h"
#include "norvane/script/script_unit.h"

namespace norvane {

NV_CLASS_IMPL(TScriptExpression, "htscriptparse")

int32_t ExOperationPriority(TExOperation Op) noexcept {
  switch (Op) {
    case eoNot:
    case eoAddress:
    case eoUnarMinus:
      return 3;
    case eoMul:
    case eoDiv:
    case eoDivInt:
    case eoMod:
    case eoAnd:
    case eoShl:
    case eoShr:
      return 2;
    case eoPlus:
    case eoMinus:
    case eoOr:
    case eoXor:
      return 1;
    default:
      return 0;
  }
}

UnicodeString VarTypetoString(int32_t AType) {
  static const char16_t* const kNames[] = {
      u"Empty", u"Null",    u"SmallInt", u"Integer", u"Single",  u"Double", u"Currency", u"Date",
      u"OLE String", u"Dispatch", u"Unknown", u"Boolean", u"Variant", u"Unknown", u"Unknown", u"Unknown",
      u"ShotInt", u"Byte",  u"Word",     u"LongWord", u"Int64",  u"UInt64", u"Object",   u"Range"};
  switch (AType) {
    case 10: return UnicodeString(u"Extended");
    case 36: return UnicodeString(u"Record");
    case 72:
    case 74:
    case 256:
    case 258:
      return UnicodeString(u"String");
    case 0x7FFF: return UnicodeString(u"Any");
    default: break;
  }
  if (AType >= 0 && AType < int32_t(std::size(kNames))) return UnicodeString(kNames[AType]);
  return UnicodeString(u"Unknown");
}

namespace {

const char16_t* OperationText(TExOperation op) noexcept {
  static const char16_t* const kText[] = {u"none", u"+",  u"-",   u"*",   u"/",   u"div", u"mod",
                                          u"and",  u"or", u"xor", u"shl", u"shr", u"=",   u"<>",
                                          u">",    u">=", u"<",   u"<=",  u"[]",  u"is",  u"in",
                                          u"not in", u"..", u"not", u"^",  u"@",   u"neg"};
  return kText[op];
}

bool IsStringType(int32_t t) noexcept { return t == 8 || t == 72 || t == 74 || t == 256 || t == 258; }
bool IsNumericType(int32_t t) noexcept { return (t >= 2 && t <= 6) || t == 10 || (t >= 16 && t <= 21); }

TVarOp AssignOp(TExOperation op) noexcept {
  switch (op) {
    case eoMinus: return opSubtract;
    case eoMul: return opMultiply;
    case eoDiv: return opDivide;
    default: return opAdd;
  }
}

// The number a string stands for beside another number in - * /.
Variant StrAsFloat(const Variant& v) {
  if (VarIsStr(v)) return Variant(iStrtoFloat(v.RawString()));
  return v;
}

}  // namespace

// --- Life -------------------------------------------------------------------------

TScriptExpression::TScriptExpression(const UnicodeString& AText) : Text(AText) {}

TScriptExpression::~TScriptExpression() {
  for (TExItem& it : FItems)
    if (it.Statement) delete it.Statement;
  for (TExItem& it : Stack)
    if (it.Statement) delete it.Statement;
  for (TExVariable* t : TempStack) delete t;
  for (TExVariable* t : FConstHolders) delete t;
  delete fInternalParser;
}

TExItem& TScriptExpression::ItemsGrow() {
  if (ItemsCount >= int32_t(FItems.size())) FItems.resize(FItems.size() + size_t(std::max(4, ItemsCount / 2)));
  ItemsLength = int32_t(FItems.size());
  TExItem& it = FItems[size_t(ItemsCount++)];
  it = TExItem();
  return it;
}

TExItem& TScriptExpression::StackGrow() {
  if (StackCount >= int32_t(Stack.size())) Stack.resize(Stack.size() + size_t(std::max(4, StackCount / 2)));
  StackLength = int32_t(Stack.size());
  TExItem& it = Stack[size_t(StackCount++)];
  it = TExItem();
  return it;
}

THtScriptParser* TScriptExpression::GetParser() const {
  if (!fParser) throw EHtScriptException(UnicodeString(u"Parser not created or assigned to expression"));
  return fParser;
}

TExItem& TScriptExpression::GetItem(int32_t I) {
  if (I < 0 || I >= ItemsCount) throw EHtScriptException(UnicodeString(u"Item index out of range"));
  return FItems[size_t(I)];
}

bool TScriptExpression::IsConstant() const noexcept {
  if (ItemsCount != 1) return false;
  switch (FItems[0].ItemType) {
    case xtString:
    case xtInteger:
    case xtInt64:
    case xtFloat:
    case xtBoolean:
      return true;
    default:
      return false;
  }
}

// --- Parse ------------------------------------------------------------------------

void TScriptExpression::PopToOutput() {
  TExItem& src = Stack[size_t(--StackCount)];
  TExItem& dst = ItemsGrow();
  dst = std::move(src);
  src = TExItem();
}

void TScriptExpression::PopWhilePriorityAbove(int32_t APriority) {
  while (StackCount > 0) {
    TExItem& top = Stack[size_t(StackCount - 1)];
    if (top.ItemType == xtFunction || top.ItemType == xtBracket) return;
    if (top.ItemType != xtOperation) {
      Tokenizer->Error(UnicodeString(u"Invalid item in expression stack"));
      return;
    }
    if (ExOperationPriority(top.Operation) < APriority) return;
    PopToOutput();
  }
}

// Pops operators to the nearest bracket, which stays; false when there is none.
bool TScriptExpression::PopToBracket() {
  while (StackCount > 0) {
    TExItem& top = Stack[size_t(StackCount - 1)];
    if (top.ItemType == xtBracket) return true;
    if (top.ItemType == xtFunction) return false;
    PopToOutput();
  }
  return false;
}

bool TScriptExpression::TokentoOperation(const TScriptToken& T, TExItem& Item) {
  Item.ItemType = xtOperation;
  Item.ScriptPos = {T.StartPos, T.EndPos};
  Item.Proc = &TScriptExpression::RunOperation;
  const std::u16string_view n = T.Name.view();
  const char16_t c0 = n.empty() ? 0 : n[0];
  const char16_t c1 = n.size() > 1 ? n[1] : 0;
  switch (T.TokenType) {
    case ttOperation:
      switch (c0) {
        case u'*': Item.Operation = eoMul; Item.Proc = &TScriptExpression::OpMul; break;
        case u'+': Item.Operation = eoPlus; Item.Proc = &TScriptExpression::OpPlus; break;
        case u'-': Item.Operation = eoMinus; Item.Proc = &TScriptExpression::OpMinus; break;
        case u'/': Item.Operation = eoDiv; Item.Proc = &TScriptExpression::OpDiv; break;
        case u'd': Item.Operation = eoDivInt; break;
        case u'm': Item.Operation = eoMod; break;
        case u'x': Item.Operation = eoXor; break;
        case u'i': Item.Operation = c1 == u's' ? eoIs : eoIn; break;
        case u's': Item.Operation = (n.size() > 2 && n[2] == u'l') ? eoShl : eoShr; break;
        default:
          Tokenizer->ErrorFmt(u"Unknown Operation %s", {T.Name});
          return false;
      }
      return true;
    case ttRange: Item.Operation = eoRange; return true;
    case ttBool:
      if (c0 == u'<') Item.Operation = c1 == u'>' ? eoNotEQ : c1 == u'=' ? eoLessEq : eoLess;
      else if (c0 == u'=') Item.Operation = eoEq;
      else Item.Operation = c1 == u'=' ? eoAboveEq : eoAbove;
      return true;
    case ttBoolOp:
      Item.Operation = c0 == u'a' ? eoAnd : c0 == u'o' ? eoOr : eoNot;
      return true;
    default:
      Tokenizer->ErrorFmt(u"Unknown Operation %s", {T.Name});
      return false;
  }
}

void TScriptExpression::PushFunc(bool AIsMethod, const TScriptToken& T) {
  TExItem& it = StackGrow();
  it.ItemType = xtFunction;
  it.ScriptPos = {T.StartPos, T.EndPos};
  it.MethodName = T.OriginalName.IsEmpty() ? T.Name : T.OriginalName;
  it.FuncType = AIsMethod ? ftMethod : ftFunction;
  it.TokenType = T.TokenType;
  if (!AIsMethod) it.SetFunc(fParser->GetFunction(T.Name));
  FuncStack.push_back(StackCount - 1);
  FuncCount = int32_t(FuncStack.size());
}

void TScriptExpression::AddVariant(const Variant& V, const TScriptToken& T) {
  TExItem& it = ItemsGrow();
  it.ScriptPos = {T.StartPos, T.EndPos};
  switch (V.VarType()) {
    case varBoolean: it.ItemType = xtBoolean; it.BoolValue = V.RawBoolean(); break;
    case varSmallint:
    case varInteger:
    case varShortInt:
    case varByte:
    case varWord:
      it.ItemType = xtInteger;
      it.IntValue = V.AsInteger();
      break;
    case varLongWord:
    case varInt64:
      it.ItemType = xtInt64;
      it.Int64Value = V.AsInt64();
      break;
    case varSingle:
    case varDouble:
    case varCurrency:
    case varDate:
      it.ItemType = xtFloat;
      it.FloatValue = V.AsDouble();
      break;
    case varUString: it.ItemType = xtString; it.StringValue = V.RawString(); break;
    default: {
      // Nil, null and the rest travel in a hidden variable of the expression.
      it.ItemType = xtVar;
      auto* holder = new TExVariable(T.Name);
      holder->fIsTemp = true;
      holder->FValue = V;
      FConstHolders.push_back(holder);
      it.Variable = holder;
      break;
    }
  }
}

void TScriptExpression::Parse(const UnicodeString& AText) {
  Text = AText;
  ResetItems();  // the items point into the parser about to go
  delete fInternalParser;
  fInternalParser = nullptr;
  fInternalParser = new THtScriptParser(AText);
  fInternalParser->Tokenizer->NextNonSpace();
  Parse(fInternalParser);
  TScriptTokenizer* tk = fInternalParser->Tokenizer;
  if (!tk->Empty) tk->ErrorFmt2(u"Unexpected token %s");
}

void TScriptExpression::ResetItems() noexcept {
  for (TExItem& it : FItems) {
    delete it.Statement;
    it = TExItem();
  }
  for (TExItem& it : Stack) {
    delete it.Statement;
    it = TExItem();
  }
  for (TExVariable* t : FConstHolders) delete t;
  FConstHolders.clear();
  ItemsCount = 0;
  StackCount = 0;
  FuncStack.clear();
  FuncCount = 0;
  fCompiled = false;
}

namespace {
// Expressions nest through the statements they may hold (`if`, `case`,
// anonymous functions); hostile text must not exhaust the machine stack.
constexpr int32_t kMaxExpressionNesting = 200;
thread_local int32_t tExpressionNesting = 0;

struct NestingGuard {
  NestingGuard() { ++tExpressionNesting; }
  ~NestingGuard() { --tExpressionNesting; }
};
}  // namespace

void TScriptExpression::Parse(THtScriptParser* AParser) {
  ResetItems();
  fParser = AParser;
  Tokenizer = AParser->Tokenizer;
  TScriptTokenizer& tk = *Tokenizer;
  NestingGuard nesting;
  if (tExpressionNesting > kMaxExpressionNesting) {
    throw EHtScriptException(Format(u"Expressions nested too deeply at line %d", {tk.Line + 1}), AParser, -1,
                             tk.Line, UnicodeString(), UnicodeString());
  }
  fCompiled = false;
  if (!tk.Empty && (tk.Token.TokenType == ttComment || tk.Token.TokenType == ttSpace)) tk.NextNonSpace();
  Line = tk.Token.Line;
  ScriptPos = tk.Token.StartPos;
  ScriptEnd = ScriptPos - 1;
  ScriptUnit = AParser->CurrentUnit();
  AParser->SetCodeLine(Line, 1);

  TScriptTokenType Last = ttSpace;
  bool callPushed = false;  // a call opened and its first argument not seen yet
  while (!tk.Empty) {
    const TScriptToken& T = tk.Token;
    const TScriptTokenType tt = T.TokenType;
    if (tt == ttComment || tt == ttSpace || tt == ttGenericLeft || tt == ttGenericRight) {
      if (!tk.NextNonSpace()) break;
      continue;
    }
    // Checks between neighbours.
    if (Last == ttCloseBr) {
      switch (tt) {
        case ttReserved: case ttDelimiter: case ttParamdiv: case ttOperation: case ttBool: case ttBoolOp:
        case ttCloseBr: case ttSquare: case ttCloseSquare: case ttRef: case ttMethod: case ttRange:
        case ttAssign: case ttTypePref:
          break;
        default:
          tk.Error(UnicodeString(u"; expected"));
          goto done;
      }
    }
    {
      const bool lastValue = Last == ttVar || Last == ttStr || Last == ttNum || Last == ttInt || Last == ttBoolValue;
      const bool tokValue = tt == ttVar || tt == ttStr || tt == ttNum || tt == ttInt || tt == ttBoolValue;
      if (lastValue && (tokValue || tt == ttFunc) && !SameText(T.Name, u"index")) {
        tk.ErrorFmt2(u"Operation expected but %s found");
        goto done;
      }
      if (Last == ttBool && tt == ttBool) {
        tk.Error(UnicodeString(u"Expression expected"));
        goto done;
      }
      if ((lastValue || Last == ttVarType || Last == ttTypePref || Last == ttMethod) &&
          (tokValue || tt == ttVarType))
        goto done;
    }
    if (Last == ttMethod && tt != ttBracket && tt != ttSquare && StackCount > 0 &&
        Stack[size_t(StackCount - 1)].ItemType == xtFunction) {
      PopToOutput();
      if (!FuncStack.empty()) FuncStack.pop_back();
    }
    if (callPushed && (Last == ttBracket || Last == ttSquare)) {
      if (tt != ttCloseBr && tt != ttCloseSquare && !FuncStack.empty())
        Stack[size_t(FuncStack.back())].ParamCount = 1;
      callPushed = false;
    }

    switch (tt) {
      case ttReserved:
        switch (T.ReservedType) {
          case rtFunc:
          case rtProc: {
            TExItem& it = ItemsGrow();
            it.ItemType = xtProcRef;
            it.ScriptPos = {T.StartPos, T.EndPos};
            it.IsAnonymous = true;
            it.SF = fParser->ProcessFuncDeclaration(false, true, nullptr);
            Last = ttCloseBr;
            break;
          }
          case rtCase:
          case rtIf: {
            TScriptStatement* st;
            if (T.ReservedType == rtCase) st = new TExCaseStatement(fParser, nullptr);
            else st = new TTernaryStatement(fParser, nullptr);
            TExItem& it = ItemsGrow();
            it.ItemType = xtStatement;
            it.ScriptPos = {T.StartPos, T.EndPos};
            it.Statement = st;
            st->Parse();
            Last = ttCloseBr;
            ScriptEnd = tk.LastToken.EndPos;
            continue;  // the statement left its follower current
          }
          case rtFor:
          case rtTry:
          case rtWhile:
          case rtRepeat:
            tk.Error(UnicodeString(u"; expected"));
            goto done;
          default:
            goto done;
        }
        break;
      case ttDelimiter:
      case ttAssign:
      case ttTypePref:
        goto done;
      case ttParamdiv: {
        if (StackCount == 0) goto done;
        PopToBracket();
        if (FuncStack.empty() || StackCount == 0 || Stack[size_t(StackCount - 1)].ItemType != xtBracket ||
            FuncStack.back() != StackCount - 2)
          goto done;
        TExItem& f = Stack[size_t(FuncStack.back())];
        if (f.FuncType == ftMethod && f.MethodName == u"[") {
          tk.Error(UnicodeString(u"Multidimension arrays are not supported"));
          goto done;
        }
        ++f.ParamCount;
        break;
      }
      case ttOperation:
      case ttRange:
      case ttBool:
      case ttBoolOp: {
        TExItem op;
        if (!TokentoOperation(T, op)) goto done;
        if (op.Operation == eoIn && Last == ttBoolOp && StackCount > 0 &&
            Stack[size_t(StackCount - 1)].ItemType == xtOperation && Stack[size_t(StackCount - 1)].Operation == eoNot) {
          --StackCount;
          op.Operation = eoNotIn;
        }
        // After an operator or an opening, a sign is a prefix: binary forms
        // cannot stand there.
        const bool prefixPlace = Last == ttParamdiv || Last == ttOperation || Last == ttBracket ||
                                 Last == ttSquare || Last == ttSpace || Last == ttBool || Last == ttBoolOp ||
                                 Last == ttRange;
        if (op.Operation == eoMinus && prefixPlace) {
          op.Operation = eoUnarMinus;
          op.Proc = &TScriptExpression::RunOperation;
        } else if (op.Operation == eoPlus && prefixPlace) {
          break;
        }
        PopWhilePriorityAbove(ExOperationPriority(op.Operation));
        op.LeftIndex = ItemsCount - 1;
        StackGrow() = std::move(op);
        break;
      }
      case ttVar: {
        Variant cv;
        if (fParser->GetConst(T.Name, cv)) {
          AddVariant(cv, T);
          break;
        }
        if (TScriptClass* cls = fParser->GetClass(T.Name)) {
          TExItem& it = ItemsGrow();
          it.ItemType = xtClass;
          it.ScriptClass = cls;
          it.ScriptPos = {T.StartPos, T.EndPos};
          break;
        }
        if (StackCount > 0 && Stack[size_t(StackCount - 1)].ItemType == xtOperation &&
            Stack[size_t(StackCount - 1)].Operation == eoAddress) {
          if (TScriptFunc* f = fParser->GetFunction(T.Name)) {
            --StackCount;
            TExItem& it = ItemsGrow();
            it.ItemType = xtProcRef;
            it.SF = f;
            it.ScriptPos = {T.StartPos, T.EndPos};
            break;
          }
        }
        const UnicodeString& vname = T.OriginalName.IsEmpty() ? T.Name : T.OriginalName;
        TExVariable* v = fParser->GetVariable(vname, false, false);
        if (!v) {
          // A function named without brackets is called without arguments
          // (`Writeln;`, `x := ExceptionMessage`), unless a variable has the name.
          if (TScriptFunc* f = fParser->GetFunction(T.Name)) {
            TExItem& it = ItemsGrow();
            it.ItemType = xtFunction;
            it.FuncType = ftFunction;
            it.MethodName = vname;
            it.ScriptPos = {T.StartPos, T.EndPos};
            it.SetFunc(f);
            break;
          }
          v = fParser->GetVariable(vname, true, false);
        }
        if (!v) goto done;
        TExItem& it = ItemsGrow();
        it.ItemType = xtVar;
        it.Variable = v;
        it.ScriptPos = {T.StartPos, T.EndPos};
        break;
      }
      case ttStr: {
        TExItem& it = ItemsGrow();
        it.ItemType = xtString;
        it.StringValue = T.Name;
        it.ScriptPos = {T.StartPos, T.EndPos};
        break;
      }
      case ttNum: {
        TExItem& it = ItemsGrow();
        it.ItemType = xtFloat;
        it.FloatValue = double(T.AsNumber);
        it.ScriptPos = {T.StartPos, T.EndPos};
        break;
      }
      case ttInt: {
        TExItem& it = ItemsGrow();
        if (T.AsInt64 >= INT32_MIN && T.AsInt64 <= INT32_MAX) {
          it.ItemType = xtInteger;
          it.IntValue = int32_t(T.AsInt64);
        } else {
          it.ItemType = xtInt64;
          it.Int64Value = T.AsInt64;
        }
        it.ScriptPos = {T.StartPos, T.EndPos};
        break;
      }
      case ttBoolValue: {
        TExItem& it = ItemsGrow();
        it.ItemType = xtBoolean;
        it.BoolValue = T.Name == u"true";
        it.ScriptPos = {T.StartPos, T.EndPos};
        break;
      }
      case ttBracket:
      case ttSquare: {
        if (tt == ttSquare) {
          if (Last == ttVar || Last == ttCloseBr || Last == ttCloseSquare) {
            TScriptToken idx = T;
            idx.Name = idx.OriginalName = UnicodeString(u"[");
            PushFunc(true, idx);
            callPushed = true;
          } else if (Last != ttMethod) {
            TScriptToken arr = T;
            arr.Name = arr.OriginalName = UnicodeString(u"_createarray");
            PushFunc(false, arr);
            callPushed = true;
          } else {
            callPushed = true;  // the bracket of an indexed member
          }
        }
        TExItem& br = StackGrow();
        br.ItemType = xtBracket;
        br.TokenType = tt;
        br.ScriptPos = {T.StartPos, T.EndPos};
        break;
      }
      case ttCloseBr:
      case ttCloseSquare: {
        if (!PopToBracket()) goto done;  // the bracket belongs to the caller
        TExItem& br = Stack[size_t(StackCount - 1)];
        if (br.TokenType == ttBracket && tt == ttCloseSquare) {
          tk.Error(UnicodeString(u") expected"));
          goto done;
        }
        if (br.TokenType == ttSquare && tt == ttCloseBr) {
          tk.Error(UnicodeString(u"] expected"));
          goto done;
        }
        --StackCount;
        if (StackCount > 0 && Stack[size_t(StackCount - 1)].ItemType == xtFunction &&
            !FuncStack.empty() && FuncStack.back() == StackCount - 1) {
          TExItem& f = Stack[size_t(StackCount - 1)];
          if (f.FuncType == ftFunction && f.FFunc &&
              (f.ParamCount < f.FFunc->MinParamCount || f.ParamCount > f.FFunc->ParamCount)) {
            tk.ErrorFmt(u"Parameter count mismatch for function %s. Expected %d found %d",
                        {f.MethodName, f.ParamCount < f.FFunc->MinParamCount ? f.FFunc->MinParamCount
                                                                           : f.FFunc->ParamCount,
                         f.ParamCount});
          }
          PopToOutput();
          FuncStack.pop_back();
        }
        break;
      }
      case ttFunc:
        PushFunc(false, T);
        callPushed = true;
        break;
      case ttRef: {
        if (ItemsCount == 0 ||
            (FItems[size_t(ItemsCount - 1)].ItemType != xtVar && FItems[size_t(ItemsCount - 1)].ItemType != xtFunction)) {
          tk.Error(UnicodeString(u"Variable expected"));
          goto done;
        }
        TExItem& it = ItemsGrow();
        it.ItemType = xtOperation;
        it.Operation = eoRef;
        it.Proc = &TScriptExpression::RunOperation;
        it.ScriptPos = {T.StartPos, T.EndPos};
        break;
      }
      case ttAddress: {
        TExItem& it = StackGrow();
        it.ItemType = xtOperation;
        it.Operation = eoAddress;
        it.Proc = &TScriptExpression::RunOperation;
        it.ScriptPos = {T.StartPos, T.EndPos};
        it.LeftIndex = ItemsCount - 1;
        break;
      }
      case ttVarType: {
        // `string(x)`: a cast is a call; alone, the word is its type code.
        const char16_t* p = tk.SP->p;
        while (*p == u' ') ++p;
        if (*p == u'(') {
          PushFunc(false, T);
          callPushed = true;
          Last = ttFunc;
          ScriptEnd = T.EndPos;
          if (!tk.NextNonSpace()) goto done;
          continue;
        }
        TExItem& it = ItemsGrow();
        it.ItemType = xtInteger;
        it.IntValue = THtScriptParser::TypeCode(T.Name);
        it.ScriptPos = {T.StartPos, T.EndPos};
        break;
      }
      case ttMethod: {
        if (!fParser->Check(TScriptTokenTypes{ttVar, ttFunc}, u"Method name expected")) goto done;
        const TScriptToken& M = tk.Token;
        if (M.TokenType != ttVar && M.TokenType != ttFunc) goto done;
        TScriptClass* cls = nullptr;
        if (ItemsCount > 0 && FItems[size_t(ItemsCount - 1)].ItemType == xtClass) {
          cls = FItems[size_t(ItemsCount - 1)].ScriptClass;
          FItems[size_t(ItemsCount - 1)].ItemType = xtNone;
        }
        PushFunc(true, M);
        Stack[size_t(StackCount - 1)].ScriptClass = cls;
        if (M.TokenType == ttFunc) {
          callPushed = true;
          Last = ttFunc;
        } else {
          Last = ttMethod;
        }
        ScriptEnd = M.EndPos;
        if (!tk.NextNonSpace()) goto done;
        continue;
      }
      default:
        tk.ErrorFmt2(u"Unexpected token %s");
        goto done;
    }
    Last = tt;
    ScriptEnd = T.EndPos;
    if (!tk.NextNonSpace()) break;
  }
done:
  FinishParse();
}

void TScriptExpression::FinishParse() {
  while (StackCount > 0) {
    TExItem& top = Stack[size_t(StackCount - 1)];
    if (top.ItemType == xtBracket) {
      --StackCount;
      Tokenizer->Error(UnicodeString(u") expected"));
      continue;
    }
    PopToOutput();
  }
  FuncStack.clear();
  FuncCount = 0;
  // Only the rightmost `and` gets the short cut: its right operand is
  // skipped when the left one is false.
  for (int32_t i = ItemsCount - 1; i >= 0; --i) {
    TExItem& it = FItems[size_t(i)];
    if (it.ItemType != xtOperation || it.Operation != eoAnd) continue;
    const int32_t at = it.LeftIndex + 1;  // just behind the left operand
    if (at <= 0 || at > i) break;
    ItemsGrow();
    for (int32_t k = ItemsCount - 1; k > at; --k) FItems[size_t(k)] = std::move(FItems[size_t(k - 1)]);
    TExItem& ib = FItems[size_t(at)];
    ib = TExItem();
    ib.ItemType = xtIncompleteBool;
    ib.LeftIndex = i + 1;
    ib.ScriptPos = FItems[size_t(i + 1)].ScriptPos;
    for (int32_t k = 0; k < ItemsCount; ++k)
      if (k != at && FItems[size_t(k)].ItemType == xtIncompleteBool && FItems[size_t(k)].LeftIndex >= at)
        ++FItems[size_t(k)].LeftIndex;
    break;
  }
}

// --- Compile ------------------------------------------------------------------------

void TScriptExpression::Compile(PHtTypeStackItem AResultType) {
  for (int32_t i = 0; i < ItemsCount; ++i) {
    TExItem& it = FItems[size_t(i)];
    if (it.ItemType == xtFunction && it.FuncType == ftFunction && !it.FFunc && fParser)
      it.SetFunc(fParser->GetFunction(LowerCase(it.MethodName)));
    else if (it.ItemType == xtStatement && it.Statement)
      it.Statement->Compile();
  }
  if (fParser && fParser->TolerantMode) CheckWarnings(AResultType);
  fCompiled = true;
}

void TScriptExpression::CheckWarnings(PHtTypeStackItem AResultType) {
  if (!fParser) return;
  std::vector<THtTypeStackItem> st;
  auto warn = [&](const TExItem& it, const UnicodeString& msg) {
    if (ScriptUnit) ScriptUnit->AddWarning(msg, Line, it.ScriptPos.StartPos, it.ScriptPos.EndPos, swtWarning);
  };
  auto push = [&](int32_t type, TScriptClass* cls = nullptr) {
    if (st.size() >= 64) throw ERangeError(UnicodeString(u"Expression stack overflow"));
    THtTypeStackItem t;
    t.VarType = type;
    t.ClassType = cls;
    st.push_back(std::move(t));
  };
  auto pop = [&]() {
    THtTypeStackItem t;
    if (!st.empty()) {
      t = std::move(st.back());
      st.pop_back();
    } else {
      t.VarType = varVariant;
    }
    return t;
  };
  for (int32_t i = 0; i < ItemsCount; ++i) {
    const TExItem& it = FItems[size_t(i)];
    switch (it.ItemType) {
      case xtString: push(varUString); break;
      case xtInteger: push(varInteger); break;
      case xtInt64: push(varInt64); break;
      case xtFloat: push(varDouble); break;
      case xtBoolean: push(varBoolean); break;
      case xtVar: push(it.Variable && it.Variable->fDataType ? it.Variable->fDataType : varVariant,
                       it.Variable ? it.Variable->fDataClass : nullptr);
        break;
      case xtClass: push(varObject, it.ScriptClass); break;
      case xtProcRef: push(varObject); break;
      case xtStatement: push(varVariant); break;
      case xtFunction: {
        int32_t n = it.ParamCount + (it.FuncType == ftFunction ? 0 : 1);
        for (int32_t k = 0; k < n; ++k) pop();
        if (it.FuncType == ftFunction) {
          if (!it.FFunc) {
            warn(it, Format(u"Function %s not found", {it.MethodName}));
            push(varVariant);
          } else {
            if (it.ParamCount < it.FFunc->MinParamCount || it.ParamCount > it.FFunc->ParamCount)
              warn(it, Format(u"Parameter count mismatch for function %s", {it.MethodName}));
            push(it.FFunc->ResultType ? it.FFunc->ResultType : varVariant, it.FFunc->ResultClass);
          }
        } else {
          push(varVariant);
        }
        break;
      }
      case xtOperation: {
        switch (it.Operation) {
          case eoNot:
          case eoUnarMinus:
          case eoAddress:
          case eoRef: {
            THtTypeStackItem a = pop();
            push(it.Operation == eoNot ? a.VarType : it.Operation == eoUnarMinus ? a.VarType : varVariant);
            break;
          }
          default: {
            THtTypeStackItem b = pop();
            THtTypeStackItem a = pop();
            if (it.Operation == eoPlus) {
              if (a.VarType == varObject || b.VarType == varObject)
                warn(it, UnicodeString(u"Addition is not applicable to objects"));
              else if ((IsStringType(a.VarType) && IsNumericType(b.VarType)) ||
                       (IsNumericType(a.VarType) && IsStringType(b.VarType)))
                warn(it, UnicodeString(u"Addition is not applicable to string and integer"));
            }
            if (it.Operation >= eoEq && it.Operation <= eoNotIn && it.Operation != eoIndex) push(varBoolean);
            else if (it.Operation == eoRange) push(varRange);
            else if (it.Operation == eoDiv) push(varDouble);
            else if (IsStringType(a.VarType) && IsStringType(b.VarType)) push(varUString);
            else push(a.VarType == b.VarType ? a.VarType : varVariant);
            break;
          }
        }
        break;
      }
      default: break;
    }
    if (fParser->FOnExpressionCompile)
      fParser->FOnExpressionCompile(fParser, this, i, st.empty() ? nullptr : &st.back());
  }
  if (AResultType && !st.empty()) *AResultType = st.back();
}

// --- Run ------------------------------------------------------------------------------

void TScriptExpression::RunError(const UnicodeString& AMessage) {
  if (fParser) fParser->RunError(AMessage);
  throw EHtScriptException(AMessage);
}

void TScriptExpression::RunErrorFmt(std::u16string_view AMessage, FormatArgs Args) {
  RunError(Format(AMessage, Args));
}

void TScriptExpression::EnsureStack(int32_t ANeeded) {
  if (int32_t(RunStack.size()) < ANeeded + 64) {
    RunStack.resize(size_t(ANeeded + 64), nullptr);
    TempStack.resize(size_t(ANeeded + 64), nullptr);
  }
}

TExVariable* TScriptExpression::TempAt(int32_t I) {
  if (I + 1 >= int32_t(RunStack.size())) EnsureStack(I + 1);
  TExVariable*& t = TempStack[size_t(I)];
  if (!t) {
    t = new TExVariable();
    t->fIsTemp = true;
  }
  RunStack[size_t(I)] = t;
  return t;
}

TExVariable* TScriptExpression::CheckIsTemp(int32_t I) {
  TExVariable* t = TempAt(I);
  t->Finalize();
  return t;
}

TExVariable* TScriptExpression::PushTemp() { return CheckIsTemp(RunStackCount++); }

void TScriptExpression::SettoTemp(int32_t I) {
  TExVariable* v = RunStack[size_t(I)];
  if (v && v->fIsTemp) return;
  TExVariable* t = TempAt(I);
  if (v) t->FValue = v->FValue;
  else t->Finalize();
}

void TScriptExpression::ClearRunStack(int32_t AEntry) noexcept {
  for (int32_t i = AEntry; i < RunStackCount && i < int32_t(RunStack.size()); ++i) RunStack[size_t(i)] = nullptr;
  RunStackCount = AEntry;
}

void TScriptExpression::Calc(Variant& AResult) {
  if (!fCompiled) Compile(nullptr);
  const int32_t entry = RunStackCount;
  const int32_t outerEntry = FEntry;
  EnsureStack(entry + ItemsCount + 1);
  if (fParser) {
    fParser->CurrentExpression = this;
    fParser->CheckPause();
    if (fParser->FHalt) return;
    fParser->fDebugLastExecutedPos = ScriptPos;
  }
  FEntry = entry;
  try {
    const int32_t last = fIsAssign ? ItemsCount - 2 : ItemsCount - 1;
    RunItems(last);
    if (fIsAssign) {
      if (ItemsCount == 0) RunError(UnicodeString(u"Variable or property expected"));
      DoAssign(FItems[size_t(ItemsCount - 1)]);
      AResult.Clear();
    } else {
      if (RunStackCount - entry != 1) RunError(UnicodeString(u"Error in expression"));
      TExVariable* v = RunStack[size_t(RunStackCount - 1)];
      if (!v->fIsTemp) {
        v->DoGetValue();
        if (v->fDataType == varObject && v->FValue.VarType() == varEmpty)
          RunErrorFmt(u"Variable %s is not initialized", {v->Name});
      }
      AResult = v->FValue;
    }
  } catch (...) {
    ClearRunStack(entry);
    FEntry = outerEntry;
    throw;
  }
  ClearRunStack(entry);
  FEntry = outerEntry;
}

void TScriptExpression::RunItems(int32_t ALast) {
  for (int32_t i = 0; i <= ALast; ++i) {
    TExItem& it = FItems[size_t(i)];
    switch (it.ItemType) {
      case xtNone:
      case xtBracket:
        break;
      case xtOperation: (this->*it.Proc)(it.Operation); break;
      case xtString: {
        TExVariable* t = TempAt(RunStackCount++);
        t->FValue = it.StringValue;
        break;
      }
      case xtInteger: {
        TExVariable* t = TempAt(RunStackCount++);
        if (t->FValue.VarType() == varInteger) t->FValue.SetRawInteger(it.IntValue);
        else t->FValue = Variant(it.IntValue);
        break;
      }
      case xtFloat: {
        TExVariable* t = TempAt(RunStackCount++);
        if (t->FValue.VarType() == varDouble) t->FValue.SetRawDouble(it.FloatValue);
        else t->FValue = Variant(it.FloatValue);
        break;
      }
      case xtBoolean: {
        TExVariable* t = TempAt(RunStackCount++);
        t->FValue = Variant(it.BoolValue);
        break;
      }
      case xtInt64: {
        TExVariable* t = TempAt(RunStackCount++);
        const int64_t v = it.Int64Value;
        if (v >= INT32_MIN && v <= INT32_MAX) t->FValue = Variant(int32_t(v));
        else if (v >= 0 && v <= int64_t(UINT32_MAX)) t->FValue = Variant(uint32_t(v));
        else t->FValue = Variant(static_cast<long long>(v));
        break;
      }
      case xtVar:
        if (RunStackCount + 1 >= int32_t(RunStack.size())) EnsureStack(RunStackCount + 1);
        RunStack[size_t(RunStackCount++)] = it.Variable;
        break;
      case xtClass: PushTemp()->FValue = Object2Variant(it.ScriptClass); break;
      case xtFunction:
        if (it.FuncType == ftFunction) {
          if (!it.FFunc) RunErrorFmt(u"Function %s not found", {it.MethodName});
          CallFunc(it);
        } else {
          CallMethod(it);
        }
        break;
      case xtProcRef: PushTemp()->FValue = Object2Variant(it.SF); break;
      case xtStatement: {
        TExVariable* t = PushTemp();
        it.Statement->Calc(t);
        break;
      }
      case xtIncompleteBool: {
        if (RunStackCount <= FEntry) RunError(UnicodeString(u"Error in expression"));
        TExVariable* top = RunStack[size_t(RunStackCount - 1)];
        top->DoGetValue();
        if (top->FValue.VarType() == varBoolean && !top->FValue.RawBoolean()) {
          PushTemp()->FValue = Variant(false);
          i = it.LeftIndex - 1;  // on to the `and`
        }
        break;
      }
    }
  }
}

namespace {
// Arguments are copied out of the run stack, since a call may run this very
// expression again (recursion) and grow the stack under the caller's feet.
struct ArgCopy {
  TExVariable* args[TScriptFunc::MaxParams + 2];
};
}  // namespace

void TScriptExpression::CallFunc(TExItem& Item) {
  const int32_t n = Item.ParamCount;
  if (n < 0 || n > TScriptFunc::MaxParams + 1 || RunStackCount - FEntry < n)
    RunError(UnicodeString(u"Error in expression"));
  TScriptFunc* f = Item.FFunc;
  // Magic functions index their arguments blindly: hold them to their limits.
  if (f->MagicFunc && (n < f->MinParamCount || n > f->ParamCount))
    RunErrorFmt(u"Parameter count mismatch for function %s. Expected %d found %d",
                {Item.MethodName, n < f->MinParamCount ? f->MinParamCount : f->ParamCount, n});
  ArgCopy a;
  const int32_t base = RunStackCount - n;
  for (int32_t k = 0; k < n; ++k) a.args[k] = RunStack[size_t(base + k)];
  Variant res;
  fParser->CurrentExpression = this;
  Item.FFunc->Run(fParser, nullptr, a.args, n - 1, n, res);
  fParser->CurrentExpression = this;
  ClearRunStack(base);
  TExVariable* t = PushTemp();
  t->FValue = std::move(res);
}

void TScriptExpression::CallMethod(TExItem& Item) {
  const int32_t n = Item.ParamCount;
  const bool isStatic = Item.ScriptClass != nullptr;
  const int32_t need = n + (isStatic ? 0 : 1);
  if (n < 0 || n > TScriptFunc::MaxParams || RunStackCount - FEntry < need)
    RunError(UnicodeString(u"Error in expression"));
  const int32_t base = RunStackCount - need;
  Variant res;
  if (Item.MethodName == u"[") {
    if (n != 1) RunError(UnicodeString(u"Error in expression"));  // `s[]`
    TExVariable* target = RunStack[size_t(base)];
    TExVariable* index = RunStack[size_t(base + 1)];
    target->DoGetValue();
    index->DoGetValue();
    const Variant& tv = target->FValue;
    if (tv.IsArray()) {
      if (!VarIsNumeric(index->FValue)) RunError(UnicodeString(u"Array index expected"));
      const int32_t i = index->FValue.AsInteger();
      if (i < VarArrayLowBound(tv) || i > VarArrayHighBound(tv))
        RunErrorFmt(u"Array index out of bounds: %d", {i});
      res = tv.GetElement(i);
    } else if (VarIsStr(tv)) {
      if (!VarIsNumeric(index->FValue)) RunError(UnicodeString(u"String index expected"));
      const int32_t i = index->FValue.AsInteger();
      const UnicodeString& s = tv.RawString();
      if (i < 1 || i > s.Length()) RunErrorFmt(u"String index out of bounds: %d", {i});
      res = Variant(s[size_t(i - 1)]);
    } else if (tv.VarType() == varObject) {
      TObject* o = tv.AsObject();
      if (!o) RunErrorFmt(u"Object is not created: method %s", {Item.MethodName});
      RunErrorFmt(u"Class %s has no default property", {o->ClassName()});
    } else {
      RunError(UnicodeString(u"Object expected"));
    }
  } else {
    // Registered methods of host classes: the class of the object (or the
    // class named before the dot) and its parents, with an inline cache.
    TObject* obj = nullptr;
    TClass cls = nullptr;
    if (isStatic) {
      cls = Item.ScriptClass->ClassPtr;
    } else {
      TExVariable* target = RunStack[size_t(base)];
      target->DoGetValue();
      const Variant& tv = target->FValue;
      if (tv.VarType() != varObject) {
        if (tv.VarType() == varEmpty && !target->fIsTemp)
          RunErrorFmt(u"Variable %s is not initialized", {target->Name});
        RunError(UnicodeString(u"Object expected"));
      }
      obj = tv.AsObject();
      if (!obj) RunErrorFmt(u"Object is not created: method %s", {Item.MethodName});
      cls = obj->ClassType();
    }
    if (Item.LastClass != cls || !Item.FFunc) {
      Item.LastClass = cls;
      Item.SetFunc(nullptr);
      const UnicodeString lname = LowerCase(Item.MethodName);
      TScriptClass* sc = isStatic ? Item.ScriptClass : nullptr;
      for (TClass c = cls; c && !Item.FFunc; c = c->Parent) {
        if (!isStatic || c != cls) {
          sc = fParser->FClassList.FindByHostClass(c);
          if (!sc && fParser->fScriptGlobal) sc = fParser->fScriptGlobal->FClassList.FindByHostClass(c);
        }
        if (sc && sc->Methods) Item.SetFunc(sc->Methods->FindProc(lname, n, isStatic));
      }
      if (!Item.FFunc) {
        Item.LastClass = nullptr;
        RunErrorFmt(u"Method %s not found in class %s",
                    {Item.MethodName, cls ? cls->ClassName() : UnicodeString(u"nil")});
      }
    }
    ArgCopy a;
    for (int32_t k = 0; k < n; ++k) a.args[k] = RunStack[size_t(base + need - n + k)];
    fParser->CurrentExpression = this;
    Item.FFunc->Run(fParser, obj, a.args, n - 1, n, res);
    fParser->CurrentExpression = this;
  }
  ClearRunStack(base);
  PushTemp()->FValue = std::move(res);
}

void TScriptExpression::DoAssign(TExItem& Item) {
  if (Item.ItemType == xtVar) {
    TExVariable* v = Item.Variable;
    if (fAssignOperation == eoNone) {
      v->SetValue(AssignVar);
    } else {
      v->DoGetValue();
      Variant cur = v->FValue;
      VarOpInPlace(cur, AssignVar, AssignOp(fAssignOperation));
      v->SetValue(cur);
    }
    ClearRunStack(FEntry);
    return;
  }
  if (Item.ItemType == xtFunction && Item.FuncType != ftFunction && Item.MethodName == u"[" &&
      Item.ParamCount == 1 && RunStackCount - FEntry >= 2) {
    TExVariable* target = RunStack[size_t(RunStackCount - 2)];
    TExVariable* index = RunStack[size_t(RunStackCount - 1)];
    target->DoGetValue();
    index->DoGetValue();
    Variant& tv = target->FValue;
    if (target->fIsTemp) RunError(UnicodeString(u"Variable or property expected"));
    if (tv.IsArray()) {
      if (!VarIsNumeric(index->FValue)) RunError(UnicodeString(u"Array index expected"));
      const int32_t i = index->FValue.AsInteger();
      if (i < VarArrayLowBound(tv) || i > VarArrayHighBound(tv))
        RunErrorFmt(u"Array index out of bounds: %d", {i});
      Variant val = AssignVar;
      if (fAssignOperation != eoNone) {
        val = tv.GetElement(i);
        VarOpInPlace(val, AssignVar, AssignOp(fAssignOperation));
      }
      tv.PutElement(i, val);
    } else if (VarIsStr(tv)) {
      if (!VarIsNumeric(index->FValue)) RunError(UnicodeString(u"String index expected"));
      const int32_t i = index->FValue.AsInteger();
      UnicodeString s = tv.RawString();
      if (i < 1 || i > s.Length()) RunErrorFmt(u"String index out of bounds: %d", {i});
      UnicodeString c = VarToStr(AssignVar);
      if (c.Length() != 1) RunError(UnicodeString(u"Character expected"));
      s.MutableData()[i - 1] = c[0];
      tv = Variant(std::move(s));
    } else if (tv.VarType() == varObject && tv.AsObject()) {
      RunErrorFmt(u"Class %s has no default property",
                  {tv.AsObject()->ClassName()});
    } else {
      RunError(UnicodeString(u"Object expected"));
    }
    target->DoSetValue();
    ClearRunStack(FEntry);
    return;
  }
  if (Item.ItemType == xtFunction && Item.FuncType != ftFunction)
    RunErrorFmt(u"Property '%s' not found or is read-only", {Item.MethodName});
  RunError(UnicodeString(u"Variable or property expected"));
}

// Two 32-bit integers, the common case of loops and counters: no variant
// calls. Answers false for what it leaves to the general path.
bool TScriptExpression::IntFastPath(TExOperation Op, int32_t a, int32_t b) {
  int32_t iv;
  bool bv;
  switch (Op) {
    case eoEq: bv = a == b; break;
    case eoNotEQ: bv = a != b; break;
    case eoLess: bv = a < b; break;
    case eoLessEq: bv = a <= b; break;
    case eoAbove: bv = a > b; break;
    case eoAboveEq: bv = a >= b; break;
    case eoAnd: iv = a & b; goto integer;
    case eoOr: iv = a | b; goto integer;
    case eoXor: iv = a ^ b; goto integer;
    case eoDivInt:
      if (b == 0 || (b == -1 && a == INT32_MIN)) return false;
      iv = a / b;
      goto integer;
    case eoMod:
      if (b == 0 || b == -1) return false;
      iv = a % b;
      goto integer;
    default: return false;
  }
  {
    const int32_t n = RunStackCount;
    RunStack[size_t(n - 1)] = nullptr;
    RunStackCount = n - 1;
    TExVariable* t = TempAt(n - 2);
    t->FValue = Variant(bv);
    return true;
  }
integer: {
  const int32_t n = RunStackCount;
  RunStack[size_t(n - 1)] = nullptr;
  RunStackCount = n - 1;
  TExVariable* t = TempAt(n - 2);
  if (t->FValue.VarType() == varInteger) t->FValue.SetRawInteger(iv);
  else t->FValue = Variant(iv);
  return true;
}
}

Variant& TScriptExpression::Operand(int32_t I) {
  TExVariable* v = RunStack[size_t(I)];
  v->DoGetValue();
  return v->FValue;
}

void TScriptExpression::DropTo(int32_t ACount) noexcept { ClearRunStack(ACount); }

void TScriptExpression::RunOperation(TExOperation Op) {
  const int32_t n = RunStackCount;
  if (Op == eoNot || Op == eoUnarMinus || Op == eoAddress || Op == eoRef) {
    if (n - FEntry < 1) RunError(UnicodeString(u"Error in expression"));
    if (Op == eoAddress || Op == eoRef) return;  // values have no address: the value itself
    const Variant& v = Operand(n - 1);
    Variant r = Op == eoNot ? VarNot(v) : VarNeg(VarIsStr(v) ? Variant(iStrtoFloat(v.RawString())) : v);
    CheckIsTemp(n - 1)->FValue = std::move(r);
    return;
  }
  if (n - FEntry < 2) RunError(UnicodeString(u"Error in expression"));
  const Variant& L = Operand(n - 2);
  const Variant& R = Operand(n - 1);
  const TVarType tl = L.VarType(), tr = R.VarType();
  if (tl == varInteger && tr == varInteger && IntFastPath(Op, L.RawInteger(), R.RawInteger())) return;
  Variant r;
  switch (Op) {
    case eoIs: {
      bool res = false;
      if (tl == varObject && L.AsObject() && tr == varObject && R.AsObject()) {
        TObject* right = R.AsObject();
        TClass want = nullptr;
        if (auto* sc = dynamic_cast<TScriptClass*>(right)) want = sc->ClassPtr;
        else want = right->ClassType();
        res = want && L.AsObject()->ClassType()->InheritsFrom(want);
      }
      r = Variant(res);
      break;
    }
    case eoDivInt: r = VarBinaryOp(L, R, opIntDivide); break;
    case eoMod: r = VarBinaryOp(L, R, opModulus); break;
    case eoAnd: r = VarBinaryOp(L, R, opAnd); break;
    case eoXor: r = VarBinaryOp(L, R, opXor); break;
    case eoShl: r = VarBinaryOp(L, R, opShiftLeft); break;
    case eoShr: r = VarBinaryOp(L, R, opShiftRight); break;
    case eoOr:
      if (tl == varBoolean) r = Variant(L.RawBoolean() || R.AsBoolean());
      else r = VarBinaryOp(L, R, opOr);
      break;
    case eoEq:
    case eoNotEQ: {
      bool eq;
      if (tl == varObject && tr == varObject) {
        eq = L.AsObject() == R.AsObject();
      } else if (tl == varObject || tr == varObject) {
        const Variant& o = tl == varObject ? L : R;
        const Variant& x = tl == varObject ? R : L;
        eq = VarIsOrdinal(x) && x.VarType() != varBoolean &&
             x.AsInt64() == int64_t(reinterpret_cast<intptr_t>(o.AsObject()));
      } else if ((tl == varNull) != (tr == varNull)) {
        eq = false;
      } else {
        eq = VarCompareValue(L, R) == vrEqual;
      }
      r = Variant(Op == eoEq ? eq : !eq);
      break;
    }
    case eoAbove: r = Variant(VarGreater(L, R)); break;
    case eoAboveEq: r = Variant(VarGreaterEq(L, R)); break;
    case eoLess: r = Variant(VarLess(L, R)); break;
    case eoLessEq: r = Variant(VarLessEq(L, R)); break;
    case eoIn:
    case eoNotIn: {
      bool found = false;
      const bool oneChar = VarIsStr(L) && L.RawString().Length() == 1;
      auto inRange = [&](const Variant& lo, const Variant& hi) {
        if (oneChar && VarIsNumeric(lo) && VarIsNumeric(hi)) {
          const int64_t c = L.RawString()[0];
          return c >= lo.AsInt64() && c <= hi.AsInt64();
        }
        return VarGreaterEq(L, lo) && VarLessEq(L, hi);
      };
      if (tr == varObject) {
        RunErrorFmt(u"No enumerator found for class %s",
                    {R.AsObject() ? R.AsObject()->ClassName() : UnicodeString(u"nil")});
      } else if (R.IsArray()) {
        const int32_t lo = VarArrayLowBound(R), hi = VarArrayHighBound(R);
        for (int32_t i = lo; i <= hi && !found; ++i) {
          const Variant& e = R.GetElement(i);
          if (e.IsArray() && VarArrayHighBound(e) - VarArrayLowBound(e) == 1)
            found = inRange(e.GetElement(VarArrayLowBound(e)), e.GetElement(VarArrayHighBound(e)));
          else if (e.VarType() == varRange)
            found = inRange(Variant(e.RangeLow()), Variant(e.RangeHigh()));
          else
            found = VarCompareValue(L, e) == vrEqual;
        }
      } else if (tr == varRange) {
        found = inRange(Variant(R.RangeLow()), Variant(R.RangeHigh()));
      } else {
        found = VarCompareValue(L, R) == vrEqual;
      }
      r = Variant(Op == eoIn ? found : !found);
      break;
    }
    case eoRange: {
      if (VarIsStr(L) && VarIsStr(R) && L.RawString().Length() == 1 && R.RawString().Length() == 1)
        r = Variant::Range(L.RawString()[0], R.RawString()[0]);
      else
        r = Variant::Range(L.AsInteger(), R.AsInteger());
      break;
    }
    case eoPlus: r = VarBinaryOp(L, R, opAdd); break;
    case eoMinus: r = VarBinaryOp(L, R, opSubtract); break;
    case eoMul: r = VarBinaryOp(L, R, opMultiply); break;
    case eoDiv: r = VarBinaryOp(L, R, opDivide); break;
    default: RunError(UnicodeString(u"Error in expression"));
  }
  RunStack[size_t(n - 1)] = nullptr;
  RunStackCount = n - 1;
  CheckIsTemp(n - 2)->FValue = std::move(r);
}

// The fast paths: the left operand becomes the result in place.
void TScriptExpression::OpPlus(TExOperation) {
  const int32_t n = RunStackCount;
  if (n - FEntry < 2) RunError(UnicodeString(u"Error in expression"));
  TExVariable* rv = RunStack[size_t(n - 1)];
  rv->DoGetValue();
  RunStack[size_t(n - 2)]->DoGetValue();
  SettoTemp(n - 2);
  Variant& L = RunStack[size_t(n - 2)]->FValue;
  const Variant& R = rv->FValue;
  const TVarType tl = L.VarType(), tr = R.VarType();
  if (tl == varInteger && tr == varInteger) {
    L.SetRawInteger(int32_t(uint32_t(L.RawInteger()) + uint32_t(R.RawInteger())));  // wraps, as documented
  } else if (tl == varDouble && tr == varDouble) {
    L.SetRawDouble(L.RawDouble() + R.RawDouble());
  } else if ((tl == varInt64 && (tr == varInteger || tr == varInt64)) || (tl == varInteger && tr == varInt64)) {
    int64_t s;
    if (__builtin_add_overflow(L.AsInt64(), R.AsInt64(), &s)) {
      L = VarBinaryOp(L, R, opAdd);
    } else if (s >= INT32_MIN && s <= INT32_MAX) {
      L = Variant(int32_t(s));
    } else {
      L = Variant(static_cast<long long>(s));
    }
  } else if (tl == varUString && tr == varUString) {
    VarOpInPlace(L, R, opAdd);
  } else if (tl == varDate || tr == varDate) {
    L = Variant::FromDate(L.AsDouble() + R.AsDouble());
  } else {
    L = VarBinaryOp(L, R, opAdd);
  }
  RunStack[size_t(n - 1)] = nullptr;
  RunStackCount = n - 1;
}

void TScriptExpression::OpMinus(TExOperation) {
  const int32_t n = RunStackCount;
  if (n - FEntry < 2) RunError(UnicodeString(u"Error in expression"));
  TExVariable* rv = RunStack[size_t(n - 1)];
  rv->DoGetValue();
  RunStack[size_t(n - 2)]->DoGetValue();
  SettoTemp(n - 2);
  Variant& L = RunStack[size_t(n - 2)]->FValue;
  const Variant& R = rv->FValue;
  const TVarType tl = L.VarType(), tr = R.VarType();
  if (tl == varInteger && tr == varInteger) {
    L.SetRawInteger(int32_t(uint32_t(L.RawInteger()) - uint32_t(R.RawInteger())));
  } else if (tl == varDouble && tr == varDouble) {
    L.SetRawDouble(L.RawDouble() - R.RawDouble());
  } else if ((tl == varInt64 && (tr == varInteger || tr == varInt64)) || (tl == varInteger && tr == varInt64)) {
    int64_t s;
    if (__builtin_sub_overflow(L.AsInt64(), R.AsInt64(), &s)) L = VarBinaryOp(L, R, opSubtract);
    else if (s >= INT32_MIN && s <= INT32_MAX) L = Variant(int32_t(s));
    else L = Variant(static_cast<long long>(s));
  } else if ((tl == varDate || tr == varDate) && !VarIsStr(L) && !VarIsStr(R)) {
    L = Variant::FromDate(L.AsDouble() - R.AsDouble());
  } else {
    L = VarBinaryOp(StrAsFloat(L), StrAsFloat(R), opSubtract);
  }
  RunStack[size_t(n - 1)] = nullptr;
  RunStackCount = n - 1;
}

// `*` and `/` read strings as numbers, then follow the variant rules.
void TScriptExpression::OpMul(TExOperation Op) {
  const int32_t n = RunStackCount;
  if (n - FEntry < 2) RunError(UnicodeString(u"Error in expression"));
  TExVariable* rv = RunStack[size_t(n - 1)];
  rv->DoGetValue();
  RunStack[size_t(n - 2)]->DoGetValue();
  SettoTemp(n - 2);
  Variant& L = RunStack[size_t(n - 2)]->FValue;
  L = VarBinaryOp(StrAsFloat(L), StrAsFloat(rv->FValue), Op == eoDiv ? opDivide : opMultiply);
  RunStack[size_t(n - 1)] = nullptr;
  RunStackCount = n - 1;
}

void TScriptExpression::OpDiv(TExOperation Op) { OpMul(Op); }

// --- The rest -----------------------------------------------------------------------

Variant TScriptExpression::Evaluate(const UnicodeString& AText) {
  Parse(AText);
  Variant r;
  Calc(r);
  return r;
}

UnicodeString TScriptExpression::AsJScript() {
  throw ENotSupportedException(UnicodeString(u"Translation of expressions to JavaScript is not available yet"));
}

UnicodeString TScriptExpression::AsString() const {
  std::u16string out;
  for (int32_t i = 0; i < ItemsCount; ++i) {
    const TExItem& it = FItems[size_t(i)];
    UnicodeString part;
    switch (it.ItemType) {
      case xtNone: continue;
      case xtOperation: part = UnicodeString(OperationText(it.Operation)); break;
      case xtString: part = u"'" + it.StringValue + u"'"; break;
      case xtInteger: part = IntToStr(it.IntValue); break;
      case xtInt64: part = IntToStr(it.Int64Value); break;
      case xtFloat: part = FloatToStr(it.FloatValue); break;
      case xtBoolean: part = UnicodeString(it.BoolValue ? u"true" : u"false"); break;
      case xtVar: part = it.Variable ? it.Variable->Name : UnicodeString(u"?"); break;
      case xtClass: part = it.ScriptClass ? it.ScriptClass->Name : UnicodeString(u"?"); break;
      case xtFunction:
        part = Format(it.FuncType == ftFunction ? u"%s(%d)" : u".%s(%d)", {it.MethodName, it.ParamCount});
        break;
      case xtBracket: part = UnicodeString(u"("); break;
      case xtProcRef: part = UnicodeString(u"@proc"); break;
      case xtStatement: part = UnicodeString(u"{statement}"); break;
      case xtIncompleteBool: part = Format(u"?->%d", {it.LeftIndex}); break;
    }
    if (!out.empty()) out += u' ';
    out += part.view();
  }
  return UnicodeString(out);
}

UnicodeString TScriptExpression::GetStringAt(int32_t& Pos) {
  UnicodeString src = ScriptUnit ? ScriptUnit->UnitText : Text;
  for (int32_t i = 0; i < ItemsCount; ++i) {
    const TExItem& it = FItems[size_t(i)];
    if (it.ItemType == xtNone || it.ScriptPos.StartPos <= 0) continue;
    if (Pos >= it.ScriptPos.StartPos && Pos <= it.ScriptPos.EndPos) {
      Pos = it.ScriptPos.StartPos;
      return Copy(src, it.ScriptPos.StartPos, it.ScriptPos.EndPos - it.ScriptPos.StartPos + 1);
    }
  }
  return UnicodeString();
}

Variant TScriptExpression::GetVar(const UnicodeString& AName) {
  TExVariable* v = GetParser()->Vars->GetVariable(AName, false);
  if (!v) return Variant();
  Variant r;
  v->GetValue(r);
  return r;
}

void TScriptExpression::SetVar(const UnicodeString& AName, const Variant& AValue) {
  GetParser()->Vars->GetVariable(AName, true)->SetValue(AValue);
}

}  // namespace norvane
