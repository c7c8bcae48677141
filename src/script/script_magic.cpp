#include "norvane/script/script_magic.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "norvane/runtime/format.h"
#include "norvane/runtime/sysutils.h"
#include "norvane/runtime/variant_ops.h"
#include "norvane/script/script_errors.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_parser.h"

namespace norvane {

// --- Output ---------------------------------------------------------------------------

namespace {
THtScriptOutput& OutputHook() {
  static THtScriptOutput hook;
  return hook;
}

void WriteStdout(const UnicodeString& AText) {
  const std::string bytes = AText.ToUtf8();
  std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}
}  // namespace

void SetScriptOutput(THtScriptOutput AOutput) { OutputHook() = std::move(AOutput); }

const THtScriptOutput& ScriptOutput() {
  static const THtScriptOutput kStdout = WriteStdout;
  const THtScriptOutput& hook = OutputHook();
  return hook ? hook : kStdout;
}

// --- Helpers -------------------------------------------------------------------------------

namespace {

// Argument I of the call, after its get event.
TExVariable* Arg(TExVariable* const* Stack, int32_t StackTop, int32_t ParamCount, int32_t I) {
  TExVariable* v = Stack[StackTop - ParamCount + 1 + I];
  v->DoGetValue();
  return v;
}

[[noreturn]] void Fail(TScriptExpression* Ex, const UnicodeString& AMessage) {
  if (Ex) Ex->RunError(AMessage);
  throw EHtScriptException(AMessage);
}

// The argument must be a variable of the script, not a value computed on
// the way (a temporary), since the function writes into it.
TExVariable* VarArg(TScriptExpression* Ex, TExVariable* const* Stack, int32_t StackTop, int32_t ParamCount,
                    int32_t I, const char16_t* AMessage) {
  if (I >= ParamCount) Fail(Ex, UnicodeString(AMessage));
  TExVariable* v = Arg(Stack, StackTop, ParamCount, I);
  if (v->fIsTemp) Fail(Ex, UnicodeString(AMessage));
  return v;
}

int32_t ArrayLength(const Variant& v) { return VarArrayHighBound(v) - VarArrayLowBound(v) + 1; }

// A range argument of an array literal becomes the pair of its bounds, the
// form `in` tests for.
Variant ArrayElement(const Variant& v) {
  if (v.VarType() == varRange) return VarArrayOf({Variant(v.RangeLow()), Variant(v.RangeHigh())});
  return v;
}

#define MAGIC(Name) \
  void Name(TScriptExpression* Ex, TExVariable* const* Stack, int32_t StackTop, int32_t ParamCount, Variant& Res)

MAGIC(MagicMakeArray) {
  (void)Ex;
  Variant a = VarArrayCreate(0, ParamCount - 1);
  for (int32_t i = 0; i < ParamCount; ++i) a.PutElement(i, Arg(Stack, StackTop, ParamCount, i)->FValue);
  Res = std::move(a);
}

void WriteArgs(TExVariable* const* Stack, int32_t StackTop, int32_t ParamCount, bool ALine) {
  UnicodeString text;
  for (int32_t i = 0; i < ParamCount; ++i) text += VarToStr(Arg(Stack, StackTop, ParamCount, i)->FValue);
  if (ALine) text += UnicodeString(u"\n");
  ScriptOutput()(text);
}

MAGIC(MagicWrite) {
  (void)Ex;
  (void)Res;
  WriteArgs(Stack, StackTop, ParamCount, false);
}

MAGIC(MagicWriteln) {
  (void)Ex;
  (void)Res;
  WriteArgs(Stack, StackTop, ParamCount, true);
}

MAGIC(MagicLength) {
  (void)Ex;
  const Variant& v = Arg(Stack, StackTop, ParamCount, 0)->FValue;
  if (v.IsArray()) Res = Variant(ArrayLength(v));
  else if (VarIsStr(v)) Res = Variant(v.RawString().Length());
  else Res = Variant(VarToStr(v).Length());
}

MAGIC(MagicHigh) {
  (void)Ex;
  const Variant& v = Arg(Stack, StackTop, ParamCount, 0)->FValue;
  if (v.IsArray()) Res = Variant(VarArrayHighBound(v));
  else if (VarIsStr(v)) Res = Variant(v.RawString().Length());
  else if (v.VarType() == varEmpty || v.VarType() == varNull) Res = Variant(-1);
  else Res = Variant(VarToStr(v).Length());
}

void Step(TScriptExpression* Ex, TExVariable* const* Stack, int32_t StackTop, int32_t ParamCount, Variant& Res,
          TVarOp AOp, const char16_t* AMessage) {
  TExVariable* v = VarArg(Ex, Stack, StackTop, ParamCount, 0, AMessage);
  Variant by = ParamCount > 1 ? Arg(Stack, StackTop, ParamCount, 1)->FValue : Variant(1);
  Variant cur = v->FValue.VarType() == varEmpty ? Variant(0) : v->FValue;
  VarOpInPlace(cur, by, AOp);
  v->SetValue(cur);
  Res = v->FValue;
}

MAGIC(MagicInc) { Step(Ex, Stack, StackTop, ParamCount, Res, opAdd, u"Variable required for Inc procedure"); }
MAGIC(MagicDec) { Step(Ex, Stack, StackTop, ParamCount, Res, opSubtract, u"Variable required for Dec procedure"); }

MAGIC(MagicDelete) {
  (void)Res;
  TExVariable* v = VarArg(Ex, Stack, StackTop, ParamCount, 0, u"Variable required for Delete procedure");
  const int32_t start = Arg(Stack, StackTop, ParamCount, 1)->FValue.AsInteger();
  const int32_t count = Arg(Stack, StackTop, ParamCount, 2)->FValue.AsInteger();
  UnicodeString s = VarToStr(v->FValue);
  const int32_t len = s.Length();
  // As the runtime's Delete: nothing outside 1..Length, the count clipped.
  if (start >= 1 && start <= len && count > 0) {
    const int32_t n = std::min(count, len - start + 1);
    s = Copy(s, 1, start - 1) + Copy(s, start + n);
  }
  v->SetValue(Variant(s));
}

MAGIC(MagicInsert) {
  (void)Res;
  const UnicodeString source = VarToStr(Arg(Stack, StackTop, ParamCount, 0)->FValue);
  TExVariable* v = VarArg(Ex, Stack, StackTop, ParamCount, 1, u"Variable required for Insert procedure");
  int32_t index = Arg(Stack, StackTop, ParamCount, 2)->FValue.AsInteger();
  UnicodeString s = VarToStr(v->FValue);
  // Before the first unit when below 1, appended when beyond the end.
  index = std::max(1, std::min(index, s.Length() + 1));
  v->SetValue(Variant(Copy(s, 1, index - 1) + source + Copy(s, index)));
}

MAGIC(MagicSetLength) {
  (void)Res;
  TExVariable* v = VarArg(Ex, Stack, StackTop, ParamCount, 0, u"SetLength works for string or array variables only");
  const int32_t n = std::max(0, Arg(Stack, StackTop, ParamCount, 1)->FValue.AsInteger());
  const Variant& cur = v->FValue;
  if (cur.IsArray()) {
    Variant a = cur;
    if (n == 0) a = VarArrayCreate(0, -1);
    else VarArrayRedim(a, VarArrayLowBound(a) + n - 1);
    v->SetValue(a);
  } else if (VarIsStr(cur) || v->fDataType == varUString || v->fDataType == varString ||
             v->fDataType == varOleStr) {
    UnicodeString s = VarToStr(cur);
    if (n <= s.Length()) s = Copy(s, 1, n);
    else s += UnicodeString(std::u16string(size_t(n - s.Length()), u' '));
    v->SetValue(Variant(s));
  } else if (cur.VarType() == varEmpty || cur.VarType() == varNull || (v->fDataType & varArray)) {
    v->SetValue(VarArrayCreate(0, n - 1));
  } else {
    Fail(Ex, UnicodeString(u"SetLength works for string or array variables only"));
  }
}

MAGIC(MagicIif) {
  (void)Ex;
  const bool c = Arg(Stack, StackTop, ParamCount, 0)->FValue.AsBoolean();
  Res = Arg(Stack, StackTop, ParamCount, c ? 1 : 2)->FValue;
}

MAGIC(MagicMin) {
  (void)Ex;
  const Variant& a = Arg(Stack, StackTop, ParamCount, 0)->FValue;
  const Variant& b = Arg(Stack, StackTop, ParamCount, 1)->FValue;
  Res = VarLess(b, a) ? b : a;
}

MAGIC(MagicMax) {
  (void)Ex;
  const Variant& a = Arg(Stack, StackTop, ParamCount, 0)->FValue;
  const Variant& b = Arg(Stack, StackTop, ParamCount, 1)->FValue;
  Res = VarGreater(b, a) ? b : a;
}

MAGIC(MagicAssigned) {
  (void)Ex;
  const Variant& v = Arg(Stack, StackTop, ParamCount, 0)->FValue;
  switch (v.VarType()) {
    case varObject: Res = Variant(v.AsObject() != nullptr); break;
    case varEmpty:
    case varNull: Res = Variant(false); break;
    default:
      if (VarIsOrdinal(v) && v.VarType() != varBoolean) Res = Variant(v.AsInt64() != 0);
      else Res = Variant(true);
  }
}

// Format's arguments: one array of values, or the values themselves.
MAGIC(MagicFormat) {
  const UnicodeString fmt = VarToStr(Arg(Stack, StackTop, ParamCount, 0)->FValue);
  std::vector<Variant> values;
  for (int32_t i = 1; i < ParamCount; ++i) {
    const Variant& v = Arg(Stack, StackTop, ParamCount, i)->FValue;
    if (v.IsArray() && ParamCount == 2) {
      for (int32_t k = VarArrayLowBound(v); k <= VarArrayHighBound(v); ++k) values.push_back(v.GetElement(k));
    } else {
      values.push_back(v);
    }
  }
  std::vector<UnicodeString> strings;  // keeps string arguments alive
  strings.reserve(values.size());
  std::vector<FormatArg> args;
  args.reserve(values.size());
  for (const Variant& v : values) {
    switch (v.VarType()) {
      case varSmallint:
      case varInteger:
      case varShortInt:
      case varByte:
      case varWord:
      case varLongWord:
      case varInt64:
        args.emplace_back(static_cast<long long>(v.AsInt64()));
        break;
      case varUInt64: args.emplace_back(static_cast<unsigned long long>(v.RawInt64())); break;
      case varSingle:
      case varDouble:
      case varCurrency:
      case varDate:
        args.emplace_back(v.AsDouble());
        break;
      case varBoolean: args.emplace_back(v.RawBoolean()); break;
      case varObject: args.emplace_back(static_cast<const void*>(v.AsObject())); break;
      default:
        strings.push_back(v.IsArray() ? UnicodeString() : VarToStr(v));
        args.emplace_back(strings.back());
    }
  }
  try {
    Res = Variant(Format(fmt.view(), args.data(), args.size()));
  } catch (const EConvertError& e) {
    Fail(Ex, e.Message());
  }
}

MAGIC(MagicExceptionMessage) {
  (void)Stack;
  (void)StackTop;
  (void)ParamCount;
  THtScriptParser* p = Ex ? Ex->fParser : nullptr;
  Res = Variant(p && p->CurrentException ? p->CurrentException->Message() : UnicodeString());
}

MAGIC(MagicEval) {
  const UnicodeString text = VarToStr(Arg(Stack, StackTop, ParamCount, 0)->FValue);
  if (!Ex || !Ex->fParser) Fail(Ex, UnicodeString(u"Parser not created or assigned to expression"));
  THtScriptParser* p = Ex->fParser;
  p->Evaluate(text, Res);
  p->CurrentExpression = Ex;
}

#undef MAGIC

const THtMagicFuncInfo kMagic[] = {
    {u"_createarray", u"function _createarray(item1, ..itemN): array", MagicCreateArray, 0, -1, false},
    {u"makearray", u"function MakeArray(item1, ..itemN): array", MagicMakeArray, 0, -1, false},
    {u"high", u"function High(Value): integer", MagicHigh, 1, 1, false},
    {u"length", u"function Length(Variable: array or string): integer", MagicLength, 1, 1, false},
    {u"iif", u"function Iif(Condition: boolean; ValueYes, ValueNo): variant", MagicIif, 3, 3, false},
    {u"ifthen", u"function IfThen(Condition: boolean; ValueYes, ValueNo): variant", MagicIif, 3, 3, false},
    {u"delete", u"procedure Delete(var s: string; Start, Count: integer)", MagicDelete, 3, 3, true},
    {u"insert", u"procedure Insert(Source: string; var Dest: sttring; Index: integer)", MagicInsert, 3, 3, true},
    {u"inc", u"function Inc(var X): integer", MagicInc, 1, 2, false},
    {u"dec", u"function Dec(var X): integer", MagicDec, 1, 2, false},
    {u"assigned", u"function Assigned(X): boolean", MagicAssigned, 1, 1, false},
    {u"max", u"function Max(A, B: variant): variant", MagicMax, 2, 2, false},
    {u"min", u"function Min(A, B: variant): variant", MagicMin, 2, 2, false},
    {u"format", u"function Format(AFormat: string; Values: array of variant]): string", MagicFormat, 1, -1, false},
    {u"exceptionmessage", u"function ExceptionMessage: string", MagicExceptionMessage, 0, 0, false},
    {u"eval", u"function Eval(Expression: string): variant", MagicEval, 1, 1, false},
    {u"setlength", u"procedure SetLength(a: array or string; NewLength: integer)", MagicSetLength, 2, 2, true},
    {u"write", u"procedure Write(Value [,ValueN])", MagicWrite, 0, -1, true},
    {u"writeln", u"procedure Writeln(Value [,ValueN])", MagicWriteln, 0, -1, true},
};

}  // namespace

void MagicCreateArray(TScriptExpression* Ex, TExVariable* const* Stack, int32_t StackTop, int32_t ParamCount,
                      Variant& Res) {
  (void)Ex;
  Variant a = VarArrayCreate(0, ParamCount - 1);
  for (int32_t i = 0; i < ParamCount; ++i)
    a.PutElement(i, ArrayElement(Arg(Stack, StackTop, ParamCount, i)->FValue));
  Res = std::move(a);
}

const THtMagicFuncInfo* ScriptMagicFunctions(int32_t& ACount) noexcept {
  ACount = int32_t(std::size(kMagic));
  return kMagic;
}

const THtMagicFuncInfo* FindScriptMagicFunction(std::u16string_view AName) noexcept {
  for (const THtMagicFuncInfo& m : kMagic)
    if (SameText(m.Name, AName)) return &m;
  return nullptr;
}

void RegisterScriptMagicFunctions(THtScriptParser* AGlobal) {
  for (const THtMagicFuncInfo& m : kMagic) {
    TScriptFunc* f = AGlobal->RegisterMagicFunc(UnicodeString(m.Declaration), m.Func);
    // The declarations are for display: the limits come from the table.
    f->MinParamCount = m.MinParamCount;
    f->ParamCount = m.MaxParamCount < 0 ? TScriptFunc::MaxParams : m.MaxParamCount;
    f->ResultType = m.IsProcedure ? 0 : varVariant;
  }
}

}  // namespace norvane
