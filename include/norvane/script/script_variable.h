// TExVariable: the one container of a script value. Globals, locals,
// parameters and the temporaries of a running expression are all variables.
// TExVariables is an insertion-ordered, owning list of them.
//
// Also here, because every other script header needs them: the run stack
// type, the signature of magic functions, the kinds of a call item, and the
// helpers that put objects into variants (tag 22) and take them out again.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "norvane/foundation/hash.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"
#include "norvane/runtime/variant.h"

namespace norvane {

class THtScriptParser;
class TScriptClass;
class TScriptExpression;
class TExVariable;

// Host hooks on every read or write of a non-temporary global (the same
// aliases as the parser's; repeated here to keep this header light).
using THtGetSetVarEvent = std::function<void(THtScriptParser* Sender, TExVariable* V)>;
// Variables keep pointers to the parser's events, so that assigning an event
// later reaches every variable made before.
using PHtGetSetVarEvent = const THtGetSetVarEvent*;

// The run stack of an expression: places 0..RunStackCount-1 are in use.
using TScriptStack = std::vector<TExVariable*>;

// --- Objects in variants ----------------------------------------------------
// An object reference is tag 22 with the pointer as payload; nil is tag 22
// with a null pointer.
inline Variant Object2Variant(TObject* AObject) noexcept { return Variant::FromObject(AObject); }
// Raises EHtScriptException "Object instance expected" for a value that is
// no object, and "Object is nul" for nil. An integer 0 reads as nil.
TObject* Variant2Object(const Variant& V);
// As Variant2Object, answering nullptr instead of raising.
TObject* Variant2ObjectSafe(const Variant& V) noexcept;
// True for a tag-22 value with a non-null pointer.
bool VariantObjectAssigned(const Variant& V) noexcept;

class TExVariable : public TObject {
  NV_CLASS(TExVariable, TObject)
 public:
  TExVariable() = default;
  explicit TExVariable(const UnicodeString& AName) { SetName(AName); }
  ~TExVariable() override;
  TExVariable(const TExVariable&) = delete;
  TExVariable& operator=(const TExVariable&) = delete;

  // Sets Name and NameHash (CRC-32 of the lower-case name).
  void SetName(const UnicodeString& AName);

  // Runs the get event (unless temporary) and copies the value out.
  void GetValue(Variant& V);
  // Converts V to the declared type (see DataType), stores it, runs the set
  // event.
  void SetValue(const Variant& V);
  // The get event alone, for readers that then use FValue in place.
  void DoGetValue() {
    if (!fIsTemp && fOnGetVar && *fOnGetVar) (*fOnGetVar)(fScript, this);
  }
  void DoSetValue() {
    if (!fIsTemp && fOnSetVar && *fOnSetVar) (*fOnSetVar)(fScript, this);
  }
  void SetNull();
  // Stores an object reference (tag 22).
  void SetObject(TObject* AObject);
  // After the get event. Raises for an empty value ("Variable %s is not
  // initialized") and for a value that is no object ("Variant is not of
  // object type"); an integer 0 reads as nil.
  TObject* GetObject();
  bool IsObject() const noexcept { return FValue.VarType() == varObject; }
  // Clears the value for reuse as a temporary.
  void Finalize() noexcept { FValue.Clear(); }

  int32_t DataType() const noexcept { return fDataType; }
  void SetDataType(int32_t AType) noexcept { fDataType = AType; }
  TScriptClass* DataClass() const noexcept { return fDataClass; }
  void SetDataClass(TScriptClass* AClass) noexcept { fDataClass = AClass; }
  bool IsTemp() const noexcept { return fIsTemp; }

  uint32_t NameHash = 0;
  PHtGetSetVarEvent fOnGetVar = nullptr;
  PHtGetSetVarEvent fOnSetVar = nullptr;
  THtScriptParser* fScript = nullptr;  // the Sender of the events
  bool fIsTemp = false;
  // The value owns a record wrapper (tag 22), freed on reassignment.
  bool IsRecord = false;
  // A type code of the declaration (0: untyped, takes values as they come).
  int32_t fDataType = 0;
  TScriptClass* fDataClass = nullptr;
  // Compile-time helper of the class (completion); not owned here.
  TObject* FMetaObject = nullptr;
  UnicodeString Name;
  Variant FValue;

 private:
  void ReleaseRecord() noexcept;
};

class TExVariables : public TObject {
  NV_CLASS(TExVariables, TObject)
 public:
  explicit TExVariables(THtScriptParser* AScript = nullptr) : fScript(AScript) {}
  ~TExVariables() override;
  TExVariables(const TExVariables&) = delete;
  TExVariables& operator=(const TExVariables&) = delete;

  // The events new variables of GetVariable/AddVariable point to.
  void SetEvents(PHtGetSetVarEvent AOnGet, PHtGetSetVarEvent AOnSet) noexcept {
    FOnGetVar = AOnGet;
    FOnSetVar = AOnSet;
  }

  int32_t Count() const noexcept { return fCount; }
  // "Variable index out of bound" outside 0..Count-1.
  TExVariable* GetVar(int32_t I) const;
  TExVariable* operator[](int32_t I) const { return GetVar(I); }
  // Linear scan, hash first then the text ignoring case. With ACreate a
  // missing name is added (with the event pointers).
  TExVariable* GetVariable(const UnicodeString& AName, bool ACreate = false);
  // Adds without looking (with the event pointers).
  TExVariable* AddVariable(const UnicodeString& AName);
  // Adds without looking and without events; types 256 and 258 start as an
  // empty string.
  TExVariable* AddLocalVariable(const UnicodeString& AName, int32_t AType);
  // Index of the variable, -1 when not in the list.
  int32_t IndexOf(const TExVariable* V) const noexcept;
  void Clear() noexcept;

  THtScriptParser* Script() const noexcept { return fScript; }

 private:
  TExVariable* Append(TExVariable* V);

  std::vector<TExVariable*> FList;  // owned; size is fSize
  int32_t fSize = 0;
  int32_t fCount = 0;
  THtScriptParser* fScript = nullptr;
  PHtGetSetVarEvent FOnGetVar = nullptr;
  PHtGetSetVarEvent FOnSetVar = nullptr;
};

}  // namespace norvane
