// TScriptFunc: calls of script functions (locals, recursion frames, var
// parameters), and the dispatch to magic, host and external functions.
#include "norvane/script/script_func.h"

#include <exception>
#include <vector>

#include "norvane/runtime/sysutils.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_parser.h"
#include "norvane/script/script_statements.h"
#include "norvane/script/script_variable.h"

namespace norvane {

NV_CLASS_IMPL(TScriptFunc, "script")

// Defined with the host-call code.
void ScriptHostCallFree(void* data) noexcept;

TScriptFunc::TScriptFunc(bool AOwns) : FOwns(AOwns) {}

TScriptFunc::~TScriptFunc() {
  if (FOwns) {
    delete fBody;
    delete LocalVars;
  }
  ScriptHostCallFree(FFfi);
}

void TScriptFunc::SetName(const UnicodeString& AName) {
  FOriginalName = AName;
  fName = LowerCase(AName);
}

UnicodeString TScriptFunc::ExpectedForm() const {
  UnicodeString s = FOriginalName + u"(";
  for (int32_t i = 0; i < ParamCount; ++i) {
    if (i) s += std::u16string_view(u"; ");
    if (Params[i].VarFlag) s += std::u16string_view(u"var ");
    s += Params[i].Name;
    if (Params[i].ParamType) s += u": " + VarTypetoString(Params[i].ParamType);
  }
  s += std::u16string_view(u")");
  if (ResultType) s += u": " + (DeclaredResultType.IsEmpty() ? VarTypetoString(ResultType) : DeclaredResultType);
  return s;
}

void TScriptFunc::Compile() {
  if (fBody) fBody->Compile();
}

bool TScriptFunc::FindExpression(int32_t Pos, TScriptExpression*& AExpression, int32_t& AIndex) {
  return fBody && fBody->FindExpression(Pos, AExpression, AIndex);
}

namespace {

// Pops the debug stacks on every way out; saves the stack text first when
// an exception passes, while the frames still tell where it came from.
class TDebugFrame {
 public:
  TDebugFrame(THtScriptParser* p, TScriptFunc* f) : p_(p), exceptions_(std::uncaught_exceptions()) {
    p->DebugStack.push_back(f);
    p->DebugLineStack.push_back(p->CurrentLine());
  }
  ~TDebugFrame() {
    if (std::uncaught_exceptions() > exceptions_ && p_->ExceptionStack.IsEmpty()) {
      try {
        p_->SaveExceptionStack();
      } catch (...) {
      }
    }
    p_->DebugStack.pop_back();
    p_->DebugLineStack.pop_back();
  }
  TDebugFrame(const TDebugFrame&) = delete;
  TDebugFrame& operator=(const TDebugFrame&) = delete;

 private:
  THtScriptParser* p_;
  int exceptions_;
};

// The zero of a parameter's type for a missing, empty or null argument.
Variant ParamZero(int32_t type, const Variant& v) {
  switch (type) {
    case varString:
    case varUString:
    case varOleStr:
      return UnicodeString();
    case varDate:
      return Variant::FromDate(0);
    case varSingle:
    case varDouble:
      return 0.0;
    case varInteger:
      return 0;
    default:
      return v;
  }
}

Variant ParamConvert(int32_t type, const Variant& v) {
  if (v.VarType() == type) return v;
  switch (type) {
    case varString:
    case varUString:
    case varOleStr:
      return v.AsString();
    case varDate:
      return Variant::FromDate(v.AsDateTime());
    case varSingle:
    case varDouble:
      return v.AsDouble();
    case varInteger:
      return v.AsInteger();
    default:
      return v;
  }
}

// The zero a local of the declared type starts from.
Variant LocalZero(int32_t type) {
  switch (type) {
    case varSmallint:
    case varInteger:
      return 0;
    case varSingle:
    case varDouble:
    case varDate:
      return 0.0;
    case varCurrency:
      return Variant::FromCurrency(0);
    case varString:
    case varUString:
      return UnicodeString();
    default:
      if (type >= varShortInt && type <= varUInt64) return 0;
      return Variant::Null();
  }
}

}  // namespace

void TScriptFunc::Run(THtScriptParser* AParser, TObject* AObject, TExVariable* const* AParams, int32_t StackTop,
                      int32_t AParamCount, Variant& Res) {
  THtScriptParser* p = AParser ? AParser : Owner;
  TDebugFrame frame(p, this);
  if (MagicFunc) {
    MagicFunc(p->CurrentExpression, AParams, StackTop, AParamCount, Res);
    return;
  }
  if (IsExternal && !DllName.IsEmpty()) {
    CallDllFunc(AParams, StackTop, AParamCount, Res);
    return;
  }
  if (FuncPtr || PascalCaller) {
    if (AParamCount < MinParamCount)
      p->RunErrorFmt(u"Parameter count mismatch for function %s\r\n%s", {FOriginalName, ExpectedForm()});
    if (!PascalCaller) Prepare();
    TObject* instance = AObject ? AObject : ObjectPtr;
    if (IsDestructor && instance) p->ScriptObjects.Extract(instance);  // the host frees it
    PascalCaller(this, instance, AParams, StackTop, AParamCount, Res);
    if ((IsConstructor || AutoFreeResult) && Res.VarType() == varObject)
      if (TObject* made = Res.AsObject(); made && (!ClassPtr || made->InheritsFrom(ClassPtr))) p->CreateObject(made);
    return;
  }
  if (!fBody) p->RunErrorFmt(u"Function %s not found", {FOriginalName});
  THtScriptParser* owner = Owner ? Owner : p;
  TScriptFunc* saved = owner->LocalFunc;
  owner->LocalFunc = this;
  try {
    CallLocalFunc(AParams, StackTop, AParamCount, Res);
  } catch (...) {
    owner->LocalFunc = saved;
    throw;
  }
  owner->LocalFunc = saved;
}

void TScriptFunc::CallLocalFunc(TExVariable* const* AParams, int32_t StackTop, int32_t AParamCount, Variant& Res) {
  THtScriptParser* p = Owner;
  if (p->FCallDepth >= p->MaxCallDepth)
    p->RunErrorFmt(u"Stack overflow: call depth of %d exceeded", {p->MaxCallDepth});
  TExVariables* locals = LocalVars;
  const int32_t n = locals ? locals->Count() : 0;

  // One set of locals per function: a nested call of the same function
  // keeps the caller's values in a frame and puts them back at the end.
  // The frames live in one stack per function, reused from call to call.
  const bool saved = RecursionDepth > 0 && n > 0;
  const size_t base = FFrames.size();
  if (saved)
    for (int32_t i = 0; i < n; ++i) FFrames.push_back(locals->GetVar(i)->FValue);
  ++RecursionDepth;
  ++p->FCallDepth;
  const int32_t depthInside = RecursionDepth;
  auto leave = [&]() noexcept {
    --p->FCallDepth;
    --RecursionDepth;
    if (saved) {
      for (int32_t i = 0; i < n; ++i) locals->GetVar(i)->FValue = std::move(FFrames[base + size_t(i)]);
      FFrames.resize(base);
    }
  };

  try {
    const int32_t first = StackTop - AParamCount + 1;
    for (int32_t i = 0; i < ParamCount && i < n; ++i) {
      Variant v;
      if (i >= AParamCount)
        v = Params[i].DefaultValue;
      else
        AParams[first + i]->GetValue(v);
      const int32_t type = Params[i].ParamType;
      if (v.VarType() == varEmpty || v.VarType() == varNull)
        v = ParamZero(type, v);
      else if (type)
        v = ParamConvert(type, v);
      locals->GetVar(i)->FValue = std::move(v);
    }
    for (int32_t i = ParamCount; i < n; ++i) {
      TExVariable* local = locals->GetVar(i);
      if (size_t(i) < LocalVarsValues.size() && !VarIsEmpty(LocalVarsValues[size_t(i)]))
        local->FValue = LocalVarsValues[size_t(i)];
      else
        local->FValue = LocalZero(local->fDataType);
    }

    if (fSeqOf != fBody) {
      fSeq = dynamic_cast<TScriptStatementSequence*>(fBody);
      fSeqOf = fBody;
    }
    if (TScriptStatementSequence* seq = fSeq) {
      for (TScriptStatement* s : seq->List)
        if (s->Run() != erNormal || p->FHalt) break;
    } else if (fBody) {
      fBody->Run();
    }

    if (ResultType != 0 && ParamCount < n) Res = locals->GetVar(ParamCount)->FValue;
    // var parameters: copy out, after the caller's frame is back, since the
    // caller may have passed its own local (a recursive call's var
    // parameter) which the frame would overwrite again.
    std::vector<std::pair<int32_t, Variant>> outs;
    for (int32_t i = 0; i < ParamCount && i < AParamCount && i < n; ++i)
      if (Params[i].VarFlag) outs.emplace_back(first + i, locals->GetVar(i)->FValue);
    leave();
    for (auto& [at, value] : outs) AParams[at]->SetValue(value);
  } catch (...) {
    if (RecursionDepth == depthInside) leave();
    throw;
  }
}

}  // namespace norvane
