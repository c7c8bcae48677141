// TScriptClass: a host class as scripts see it, and the lists the parser
// keeps of classes and constants.
//
// Scripts declare no classes: every class comes from the host. This header
// holds what the parser needs to name a class (variables, parameters,
// `on E: Exception do`, `for ... in` over objects); the members found by
// reflection are attached by the bridge to host classes.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"
#include "norvane/runtime/variant.h"

namespace norvane {

class THtScriptParser;
class THtProcList;
class THtScriptEnumerator;

// Makes the enumerator that walks an object in `for ... in`.
using CHtScriptEnumerator = THtScriptEnumerator* (*)(TObject* AObject);

class TScriptClass : public TObject {
  NV_CLASS(TScriptClass, TObject)
 public:
  TScriptClass() = default;
  ~TScriptClass() override;

  TClass ClassPtr = nullptr;  // the host class; nullptr for a helper of a simple type
  THtProcList* Methods = nullptr;  // registered methods, owned
  THtScriptParser* FParser = nullptr;
  UnicodeString Name;         // as written
  UnicodeString Declaration;  // as written
  CHtScriptEnumerator EnumeratorClass = nullptr;
  TScriptClass* Parent = nullptr;
  bool IsOrdinalHelper = false;
};

// Classes by lower-case name, and by host class. Owns its classes.
class THtClassList {
 public:
  THtClassList() = default;
  ~THtClassList();
  THtClassList(const THtClassList&) = delete;
  THtClassList& operator=(const THtClassList&) = delete;

  TScriptClass* Find(const UnicodeString& AName) const;  // any case
  TScriptClass* FindByHostClass(TClass AClass) const;
  // Takes ownership; the name is the class's Name.
  void Add(TScriptClass* AClass);
  int32_t Count() const noexcept { return int32_t(FByName.size()); }

 private:
  std::unordered_map<UnicodeString, TScriptClass*, UnicodeStringHash> FByName;  // lower-case key
  std::unordered_map<TClass, TScriptClass*> FByHost;
  std::vector<TScriptClass*> FAll;  // owned, in registration order
};

// Constants by lower-case name.
class THtConstList {
 public:
  bool Find(const UnicodeString& AName, Variant& AValue) const;  // any case
  const Variant* Get(const UnicodeString& AName) const;          // any case
  void Put(const UnicodeString& AName, const Variant& AValue);

 private:
  std::unordered_map<UnicodeString, Variant, UnicodeStringHash> FItems;
};

}  // namespace norvane
