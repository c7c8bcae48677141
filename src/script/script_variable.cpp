#include "norvane/script/script_variable.h"

#include <algorithm>

#include "norvane/runtime/sysutils.h"
#include "norvane/script/script_errors.h"

namespace norvane {

NV_CLASS_IMPL(TExVariable, "htscriptparse")
NV_CLASS_IMPL(TExVariables, "htscriptparse")

// --- Objects in variants --------------------------------------------------------

TObject* Variant2Object(const Variant& V) {
  switch (V.VarType()) {
    case varObject: {
      TObject* o = V.AsObject();
      if (!o) throw EHtScriptException(UnicodeString(u"Object is nul"));
      return o;
    }
    case varInteger:
    case varInt64:
      // Only nil travels as a number: any other integer is no object we know.
      if (V.RawInt64() == 0) throw EHtScriptException(UnicodeString(u"Object is nul"));
      [[fallthrough]];
    default:
      throw EHtScriptException(UnicodeString(u"Object instance expected"));
  }
}

TObject* Variant2ObjectSafe(const Variant& V) noexcept {
  return V.VarType() == varObject ? V.AsObject() : nullptr;
}

bool VariantObjectAssigned(const Variant& V) noexcept {
  return V.VarType() == varObject && V.AsObject() != nullptr;
}

// --- TExVariable ------------------------------------------------------------------

TExVariable::~TExVariable() { ReleaseRecord(); }

void TExVariable::SetName(const UnicodeString& AName) {
  Name = AName;
  NameHash = CalcStrCRC32(LowerCase(AName).view());
}

void TExVariable::ReleaseRecord() noexcept {
  if (IsRecord && FValue.VarType() == varObject) delete FValue.AsObject();
  IsRecord = false;
}

void TExVariable::GetValue(Variant& V) {
  DoGetValue();
  V = FValue;
}

namespace {
// Null and empty become "" in a string variable, so a declared string is
// never unassigned.
Variant ToStringValue(const Variant& V) {
  if (V.VarType() == varEmpty || V.VarType() == varNull) return Variant(UnicodeString());
  return Variant(V.AsString());
}
}  // namespace

void TExVariable::SetValue(const Variant& V) {
  FMetaObject = nullptr;
  if (IsRecord) {
    // The record wrapper dies with the value it was.
    if (&V != &FValue) ReleaseRecord();
    else IsRecord = false;
  }
  const TVarType vt = V.VarType();
  // Objects and arrays go in as they are: no declared simple type takes them.
  if (fDataType == 0 || vt == varObject || (vt & varArray)) {
    FValue = V;
  } else {
    switch (fDataType) {
      case varSmallint: FValue = Variant(short(int16_t(uint16_t(uint32_t(V.AsInteger()))))); break;
      case varInteger:
        if (vt != varInteger) FValue = Variant(V.AsInteger());
        else FValue = V;
        break;
      case varSingle:
      case varDouble:
        if (vt != varDouble) FValue = Variant(V.AsDouble());
        else FValue = V;
        break;
      case varCurrency: FValue = VarAsType(V, varCurrency); break;
      case varDate: FValue = Variant::FromDate(V.AsDateTime()); break;
      case varOleStr:
      case varString:
      case varUString:
        if (vt != varUString) FValue = ToStringValue(V);
        else FValue = V;
        break;
      case varBoolean: FValue = Variant(V.AsBoolean()); break;
      case varUInt64: FValue = VarAsType(V, varUInt64); break;
      default: FValue = V; break;
    }
  }
  DoSetValue();
}

void TExVariable::SetNull() {
  ReleaseRecord();
  FValue = Variant::Null();
  DoSetValue();
}

void TExVariable::SetObject(TObject* AObject) {
  ReleaseRecord();
  FMetaObject = nullptr;
  FValue = Variant::FromObject(AObject);
  DoSetValue();
}

TObject* TExVariable::GetObject() {
  DoGetValue();
  switch (FValue.VarType()) {
    case varObject: return FValue.AsObject();
    case varEmpty:
      throw EHtScriptException(u"Variable %s is not initialized", {Name});
    case varInteger:
    case varInt64:
      if (FValue.RawInt64() == 0) return nullptr;
      [[fallthrough]];
    default:
      throw EHtScriptException(UnicodeString(u"Variant is not of object type"));
  }
}

// --- TExVariables -----------------------------------------------------------------

TExVariables::~TExVariables() { Clear(); }

void TExVariables::Clear() noexcept {
  for (int32_t i = 0; i < fCount; ++i) delete FList[size_t(i)];
  FList.clear();
  fCount = 0;
  fSize = 0;
}

TExVariable* TExVariables::GetVar(int32_t I) const {
  if (I < 0 || I >= fCount) throw EHtScriptException(UnicodeString(u"Variable index out of bound"));
  return FList[size_t(I)];
}

TExVariable* TExVariables::Append(TExVariable* V) {
  if (fCount == fSize) {
    fSize += std::max(4, fSize / 2);
    FList.reserve(size_t(fSize));
  }
  FList.push_back(V);
  ++fCount;
  return V;
}

TExVariable* TExVariables::GetVariable(const UnicodeString& AName, bool ACreate) {
  const uint32_t hash = CalcStrCRC32(LowerCase(AName).view());
  for (int32_t i = 0; i < fCount; ++i) {
    TExVariable* v = FList[size_t(i)];
    if (v->NameHash == hash && SameText(v->Name, AName)) return v;
  }
  return ACreate ? AddVariable(AName) : nullptr;
}

TExVariable* TExVariables::AddVariable(const UnicodeString& AName) {
  auto* v = new TExVariable(AName);
  v->fOnGetVar = FOnGetVar;
  v->fOnSetVar = FOnSetVar;
  v->fScript = fScript;
  return Append(v);
}

TExVariable* TExVariables::AddLocalVariable(const UnicodeString& AName, int32_t AType) {
  auto* v = new TExVariable(AName);
  v->fDataType = AType;
  v->fScript = fScript;
  if (AType == varString || AType == varUString) v->FValue = Variant(UnicodeString());
  return Append(v);
}

int32_t TExVariables::IndexOf(const TExVariable* V) const noexcept {
  for (int32_t i = 0; i < fCount; ++i)
    if (FList[size_t(i)] == V) return i;
  return -1;
}

}  // namespace norvane
