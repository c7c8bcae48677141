// Calls from scripts into native code: host functions registered with a
// C++ function pointer, and `external` functions of shared libraries.
//
// The common shapes of host functions go through direct thunks; the rest,
// and every external function, through libffi with the platform's C
// calling convention. Shared libraries are opened with dlopen at the first
// call of one of their functions.
#include <dlfcn.h>
#include <ffi.h>

#include <cstring>
#include <memory>
#include <vector>

#include "norvane/runtime/sysutils.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_func.h"
#include "norvane/script/script_parser.h"
#include "norvane/script/script_variable.h"

namespace norvane {

namespace {

// The argument i of a call, read through its get event.
Variant Arg(TExVariable* const* AParams, int32_t StackTop, int32_t AParamCount, int32_t i) {
  Variant v;
  AParams[StackTop - AParamCount + 1 + i]->GetValue(v);
  return v;
}

UnicodeString ArgStr(TExVariable* const* P, int32_t Top, int32_t Count, int32_t i) {
  Variant v = Arg(P, Top, Count, i);
  return v.VarType() == varUString ? v.RawString() : VarToStr(v);
}

long double ArgExt(TExVariable* const* P, int32_t Top, int32_t Count, int32_t i) {
  Variant v = Arg(P, Top, Count, i);
  return v.VarType() == varDouble ? v.RawDouble() : v.AsDouble();
}

void CP_E_E(TScriptFunc* F, TObject*, TExVariable* const* P, int32_t Top, int32_t Count, Variant& Res) {
  Res = double(reinterpret_cast<long double (*)(long double)>(F->FuncPtr)(ArgExt(P, Top, Count, 0)));
}

void CP_I_S(TScriptFunc* F, TObject*, TExVariable* const* P, int32_t Top, int32_t Count, Variant& Res) {
  Variant v = Arg(P, Top, Count, 0);
  int32_t i = v.VarType() == varInteger ? v.RawInteger() : v.AsInteger();
  Res = reinterpret_cast<UnicodeString (*)(int32_t)>(F->FuncPtr)(i);
}

void CP_S_S(TScriptFunc* F, TObject*, TExVariable* const* P, int32_t Top, int32_t Count, Variant& Res) {
  Res = reinterpret_cast<UnicodeString (*)(const UnicodeString&)>(F->FuncPtr)(ArgStr(P, Top, Count, 0));
}

void CP_SS_I(TScriptFunc* F, TObject*, TExVariable* const* P, int32_t Top, int32_t Count, Variant& Res) {
  Res = reinterpret_cast<int32_t (*)(const UnicodeString&, const UnicodeString&)>(F->FuncPtr)(
      ArgStr(P, Top, Count, 0), ArgStr(P, Top, Count, 1));
}

void CP_D_I(TScriptFunc* F, TObject*, TExVariable* const* P, int32_t Top, int32_t Count, Variant& Res) {
  Res = reinterpret_cast<int32_t (*)(double)>(F->FuncPtr)(double(ArgExt(P, Top, Count, 0)));
}

bool IsStr(int32_t t) { return t == varOleStr || t == varString || t == varUString; }

// How a value of a type code crosses into native code.
enum class Slot : uint8_t { None, I8, U8, I16, U16, I32, U32, I64, U64, F32, F64, F80, Str, Var, Obj };

Slot SlotOf(int32_t t) {
  if (t & varArray) return Slot::Var;
  switch (t) {
    case 0:
    case varVariant:
      return Slot::Var;
    case varSmallint:
      return Slot::I16;
    case varInteger:
      return Slot::I32;
    case varSingle:
      return Slot::F32;
    case varDouble:
    case varCurrency:
    case varDate:
      return Slot::F64;
    case 10:  // extended
      return Slot::F80;
    case varBoolean:
      return Slot::U8;
    case varShortInt:
      return Slot::I8;
    case varByte:
      return Slot::U8;
    case varWord:
      return Slot::U16;
    case varLongWord:
      return Slot::U32;
    case varInt64:
      return Slot::I64;
    case varUInt64:
      return Slot::U64;
    case varObject:
      return Slot::Obj;
    case varOleStr:
    case varString:
    case varUString:
      return Slot::Str;
    default:
      return Slot::None;
  }
}

ffi_type* FfiTypeOf(Slot s) {
  switch (s) {
    case Slot::I8: return &ffi_type_sint8;
    case Slot::U8: return &ffi_type_uint8;
    case Slot::I16: return &ffi_type_sint16;
    case Slot::U16: return &ffi_type_uint16;
    case Slot::I32: return &ffi_type_sint32;
    case Slot::U32: return &ffi_type_uint32;
    case Slot::I64: return &ffi_type_sint64;
    case Slot::U64: return &ffi_type_uint64;
    case Slot::F32: return &ffi_type_float;
    case Slot::F64: return &ffi_type_double;
    case Slot::F80: return &ffi_type_longdouble;
    default: return &ffi_type_pointer;
  }
}

// One argument's storage for the call.
struct TArgCell {
  union {
    int64_t i;
    uint64_t u;
    float f;
    double d;
    long double e;
    void* p;
  } raw{};
  UnicodeString s;
  Variant v;
  void* ref = nullptr;  // for a var parameter: the address of the storage
};

void FillCell(TArgCell& c, Slot slot, const Variant& v) {
  switch (slot) {
    case Slot::I8: c.raw.i = int8_t(v.AsInteger()); break;
    case Slot::U8: c.raw.u = v.VarType() == varBoolean ? uint8_t(v.AsBoolean()) : uint8_t(v.AsInteger()); break;
    case Slot::I16: c.raw.i = int16_t(v.AsInteger()); break;
    case Slot::U16:
      c.raw.u = IsStr(v.VarType()) ? (v.AsString().IsEmpty() ? 0 : uint16_t(v.AsString()[0])) : uint16_t(v.AsInteger());
      break;
    case Slot::I32: c.raw.i = v.VarType() == varInteger ? v.RawInteger() : v.AsInteger(); break;
    case Slot::U32: c.raw.u = uint32_t(v.AsInt64()); break;
    case Slot::I64: c.raw.i = v.AsInt64(); break;
    case Slot::U64: c.raw.u = uint64_t(v.AsInt64()); break;
    case Slot::F32: c.raw.f = float(v.AsDouble()); break;
    case Slot::F64: c.raw.d = v.VarType() == varDate ? v.AsDateTime() : v.AsDouble(); break;
    case Slot::F80: c.raw.e = v.AsDouble(); break;
    case Slot::Str: c.s = VarToStr(v); c.raw.p = &c.s; break;
    case Slot::Var: c.v = v; c.raw.p = &c.v; break;
    case Slot::Obj: c.raw.p = Variant2ObjectSafe(v); break;
    case Slot::None: break;
  }
}

Variant CellValue(const TArgCell& c, Slot slot, int32_t type) {
  switch (slot) {
    case Slot::I8: case Slot::I16: case Slot::I32: return int32_t(c.raw.i);
    case Slot::U8: return type == varBoolean ? Variant(c.raw.u != 0) : Variant(int32_t(c.raw.u & 0xFF));
    case Slot::U16: return int32_t(c.raw.u & 0xFFFF);
    case Slot::U32: return int64_t(uint32_t(c.raw.u));
    case Slot::I64: return c.raw.i;
    case Slot::U64: return c.raw.u;
    case Slot::F32: return double(c.raw.f);
    case Slot::F64: return type == varDate ? Variant::FromDate(c.raw.d) : Variant(c.raw.d);
    case Slot::F80: return double(c.raw.e);
    case Slot::Str: return c.s;
    case Slot::Var: return c.v;
    case Slot::Obj: return Variant::FromObject(static_cast<TObject*>(c.raw.p));
    case Slot::None: break;
  }
  return Variant();
}

// Whether a result comes back through a hidden pointer (class types).
bool ResultByPointer(Slot s) { return s == Slot::Str || s == Slot::Var; }

}  // namespace

// The libffi description of a host function, built at its first call.
struct ScriptHostCall {
  ffi_cif cif;
  std::vector<ffi_type*> types;
  std::vector<Slot> slots;  // per script parameter
  Slot result = Slot::None;
  bool withObject = false;
  bool sret = false;

  static void General(TScriptFunc* F, TObject* AObject, TExVariable* const* P, int32_t Top, int32_t Count,
                      Variant& Res);
  static ScriptHostCall* Build(TScriptFunc* F);
};

void ScriptHostCallFree(void* data) noexcept { delete static_cast<ScriptHostCall*>(data); }

ScriptHostCall* ScriptHostCall::Build(TScriptFunc* F) {
  THtScriptParser* p = F->Owner;
  auto call = std::make_unique<ScriptHostCall>();
  call->withObject = F->ObjectPtr || F->IsMethod || F->ClassPtr;
  call->result = F->ResultType ? SlotOf(F->ResultType) : Slot::None;
  if (F->ResultType && call->result == Slot::None) {
    if (p) p->RunError(u"Incorrect function result type");
    throw EHtScriptException(UnicodeString(u"Incorrect function result type"));
  }
  call->sret = ResultByPointer(call->result);
#if !defined(__x86_64__)
  if (call->sret) throw EHtScriptException(UnicodeString(u"Incorrect function result type"));
#endif
  // A class-typed result is returned through a hidden first pointer (the
  // Itanium C++ ABI on x86-64); the callee hands that pointer back.
  if (call->sret) call->types.push_back(&ffi_type_pointer);
  if (call->withObject) call->types.push_back(&ffi_type_pointer);
  for (int32_t i = 0; i < F->ParamCount; ++i) {
    Slot s = SlotOf(F->Params[i].ParamType);
    if (s == Slot::None) {
      UnicodeString msg = Format(u"Incorrect function %s parameter type: %d", {F->OriginalName(), F->Params[i].ParamType});
      if (p) p->RunError(msg);
      throw EHtScriptException(msg);
    }
    call->slots.push_back(s);
    call->types.push_back(F->Params[i].VarFlag ? &ffi_type_pointer : FfiTypeOf(s));
  }
  ffi_type* rtype = call->sret ? &ffi_type_pointer
                    : call->result == Slot::None ? &ffi_type_void
                                                 : FfiTypeOf(call->result);
  if (ffi_prep_cif(&call->cif, FFI_DEFAULT_ABI, unsigned(call->types.size()), rtype, call->types.data()) != FFI_OK)
    throw EHtScriptException(UnicodeString(u"Incorrect function result type"));
  return call.release();
}

void ScriptHostCall::General(TScriptFunc* F, TObject* AObject, TExVariable* const* P, int32_t Top, int32_t Count,
                             Variant& Res) {
  if (!F->FFfi) F->FFfi = Build(F);
  auto* call = static_cast<ScriptHostCall*>(F->FFfi);
  if (Count < F->MinParamCount) {
    UnicodeString msg = Format(u"Not enough parameters in stack when calling function %s", {F->OriginalName()});
    if (F->Owner) F->Owner->RunError(msg);
    throw EHtScriptException(msg);
  }
  const int32_t n = F->ParamCount;
  std::vector<TArgCell> cells(static_cast<size_t>(n));
  std::vector<void*> values;
  values.reserve(call->types.size());
  Variant result;
  UnicodeString resultStr;
  void* resultAddr = nullptr;
  if (call->sret) {
    // Storage for the class-typed result, constructed by the callee.
    resultAddr = call->result == Slot::Str ? static_cast<void*>(&resultStr) : static_cast<void*>(&result);
    values.push_back(&resultAddr);
  }
  TObject* instance = AObject;
  if (call->withObject) values.push_back(&instance);
  for (int32_t i = 0; i < n; ++i) {
    Variant v = i < Count ? Arg(P, Top, Count, i) : F->Params[i].DefaultValue;
    FillCell(cells[size_t(i)], call->slots[size_t(i)], v);
    TArgCell& c = cells[size_t(i)];
    Slot s = call->slots[size_t(i)];
    if (F->Params[i].VarFlag) {
      c.ref = s == Slot::Str ? static_cast<void*>(&c.s) : s == Slot::Var ? static_cast<void*>(&c.v) : &c.raw;
      values.push_back(&c.ref);
    } else {
      values.push_back(&c.raw);
    }
  }
  if (call->sret) {
    // The callee constructs the result in place: give it raw storage.
    alignas(16) unsigned char buffer[sizeof(Variant) > sizeof(UnicodeString) ? sizeof(Variant) : sizeof(UnicodeString)];
    resultAddr = buffer;
    void* ret = nullptr;
    ffi_call(&call->cif, FFI_FN(F->FuncPtr), &ret, values.data());
    if (call->result == Slot::Str) {
      auto* s = reinterpret_cast<UnicodeString*>(buffer);
      Res = *s;
      s->~UnicodeString();
    } else {
      auto* v = reinterpret_cast<Variant*>(buffer);
      Res = std::move(*v);
      v->~Variant();
    }
  } else {
    TArgCell out;
    ffi_arg small = 0;
    void* rvalue = &out.raw;
    bool widen = call->result != Slot::None && call->result != Slot::F32 && call->result != Slot::F64 &&
                 call->result != Slot::F80 && call->result != Slot::I64 && call->result != Slot::U64 &&
                 call->result != Slot::Obj;
    if (widen) rvalue = &small;
    ffi_call(&call->cif, FFI_FN(F->FuncPtr), rvalue, values.data());
    if (widen) {
      switch (call->result) {
        case Slot::I8: out.raw.i = int8_t(small); break;
        case Slot::I16: out.raw.i = int16_t(small); break;
        case Slot::I32: out.raw.i = int32_t(small); break;
        default: out.raw.u = uint64_t(small); break;
      }
    }
    if (call->result != Slot::None) Res = CellValue(out, call->result, F->ResultType);
  }
  // var parameters back into the caller's variables.
  for (int32_t i = 0; i < n && i < Count; ++i)
    if (F->Params[i].VarFlag)
      P[Top - Count + 1 + i]->SetValue(CellValue(cells[size_t(i)], call->slots[size_t(i)], F->Params[i].ParamType));
}

TCallPascalFunc CallPascalFuncRTTI = nullptr;

void TScriptFunc::Prepare() {
  bool hasVar = false, reflected = ResultType == varVariant || (ResultType & varArray) || ResultType == 36;
  for (int32_t i = 0; i < ParamCount; ++i) {
    hasVar |= Params[i].VarFlag;
    reflected |= (Params[i].ParamType & varArray) != 0 || Params[i].ParamType == 36;
  }
  PascalCaller = &ScriptHostCall::General;
  if ((reflected || hasVar) && CallPascalFuncRTTI) {
    PascalCaller = CallPascalFuncRTTI;
    return;
  }
  if (hasVar || ClassPtr || ObjectPtr || IsConstructor || IsDestructor || IsMethod || MinParamCount != ParamCount)
    return;
  auto ext = [](int32_t t) { return t == 10; };
  if (ParamCount == 1 && ext(Params[0].ParamType) && ResultType == 10)
    PascalCaller = &CP_E_E;
  else if (ParamCount == 1 && Params[0].ParamType == varInteger && IsStr(ResultType))
    PascalCaller = &CP_I_S;
  else if (ParamCount == 1 && IsStr(Params[0].ParamType) && IsStr(ResultType))
    PascalCaller = &CP_S_S;
  else if (ParamCount == 2 && IsStr(Params[0].ParamType) && IsStr(Params[1].ParamType) && ResultType == varInteger)
    PascalCaller = &CP_SS_I;
  else if (ParamCount == 1 && Params[0].ParamType == varDouble && ResultType == varInteger)
    PascalCaller = &CP_D_I;
}

void TScriptFunc::CallDllFunc(TExVariable* const* AParams, int32_t StackTop, int32_t AParamCount, Variant& Res) {
  THtScriptParser* p = Owner;
  if (!DllInstance) {
    DllInstance = dlopen(DllName.ToUtf8().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!DllInstance) p->RunErrorFmt(u"Can't load library '%s'", {DllName});
  }
  if (!FuncPtr) {
    FuncPtr = dlsym(DllInstance, FunName.ToUtf8().c_str());
    if (!FuncPtr) p->RunErrorFmt(u"Function '%s' not found in module '%s'", {FunName, DllName});
  }
  if (AParamCount < MinParamCount)
    p->RunErrorFmt(u"Parameter count mismatch for function %s\r\n%s", {FOriginalName, ExpectedForm()});
  std::vector<ffi_type*> types;
  std::vector<int64_t> ints(static_cast<size_t>(ParamCount));
  std::vector<UnicodeString> strings(static_cast<size_t>(ParamCount));
  std::vector<const char16_t*> pointers(static_cast<size_t>(ParamCount));
  std::vector<void*> values;
  for (int32_t i = 0; i < ParamCount; ++i) {
    Variant v = i < AParamCount ? Arg(AParams, StackTop, AParamCount, i) : Params[i].DefaultValue;
    switch (Params[i].ParamType) {
      case varSmallint:
      case varInteger:
      case varBoolean:
      case varByte:
        ints[size_t(i)] = v.VarType() == varBoolean ? int64_t(v.AsBoolean()) : int64_t(v.AsInteger());
        types.push_back(&ffi_type_sint32);
        values.push_back(&ints[size_t(i)]);
        break;
      case varOleStr:
        // The UTF-16 units with their terminating zero, alive for the call.
        strings[size_t(i)] = VarToStr(v);
        pointers[size_t(i)] = strings[size_t(i)].c_str();
        types.push_back(&ffi_type_pointer);
        values.push_back(&pointers[size_t(i)]);
        break;
      default:
        p->RunError(u"Incorrect external function parameter type");
    }
  }
  // ffi reads a 32-bit argument from the low bytes of its cell.
  std::vector<int32_t> narrow(static_cast<size_t>(ParamCount));
  for (int32_t i = 0; i < ParamCount; ++i)
    if (types[size_t(i)] == &ffi_type_sint32) {
      narrow[size_t(i)] = int32_t(ints[size_t(i)]);
      values[size_t(i)] = &narrow[size_t(i)];
    }
  ffi_type* rtype;
  switch (ResultType) {
    case 0: rtype = &ffi_type_void; break;
    case varSmallint:
    case varInteger:
    case varBoolean: rtype = &ffi_type_sint32; break;
    case varObject: rtype = &ffi_type_pointer; break;
    default: p->RunError(u"Incorrect external function result type");
  }
  ffi_cif cif;
  if (ffi_prep_cif(&cif, FFI_DEFAULT_ABI, unsigned(types.size()), rtype, types.data()) != FFI_OK)
    p->RunError(u"Incorrect external function parameter type");
  union {
    ffi_arg i;
    void* ptr;
  } ret{};
  ffi_call(&cif, FFI_FN(FuncPtr), &ret, values.data());
  switch (ResultType) {
    case 0: break;
    case varSmallint: Res = int32_t(int16_t(ret.i)); break;
    case varInteger: Res = int32_t(ret.i); break;
    case varBoolean: Res = int32_t(ret.i) != 0; break;
    case varObject: Res = Variant::FromObject(static_cast<TObject*>(ret.ptr)); break;
  }
}

}  // namespace norvane
