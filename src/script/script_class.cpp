#include "norvane/script/script_class.h"

#include "norvane/runtime/sysutils.h"
#include "norvane/script/script_parser.h"

namespace norvane {

NV_CLASS_IMPL(TScriptClass, "script")

TScriptClass::~TScriptClass() { delete Methods; }

THtClassList::~THtClassList() {
  for (TScriptClass* cls : FAll) delete cls;
}

TScriptClass* THtClassList::Find(const UnicodeString& AName) const {
  auto it = FByName.find(LowerCase(AName));
  return it == FByName.end() ? nullptr : it->second;
}

TScriptClass* THtClassList::FindByHostClass(TClass AClass) const {
  auto it = FByHost.find(AClass);
  return it == FByHost.end() ? nullptr : it->second;
}

void THtClassList::Add(TScriptClass* AClass) {
  // A later class of the same name takes the name; the older one stays
  // reachable by its host class.
  FAll.push_back(AClass);
  FByName[LowerCase(AClass->Name)] = AClass;
  if (AClass->ClassPtr) FByHost[AClass->ClassPtr] = AClass;
}

bool THtConstList::Find(const UnicodeString& AName, Variant& AValue) const {
  const Variant* v = Get(AName);
  if (!v) return false;
  AValue = *v;
  return true;
}

const Variant* THtConstList::Get(const UnicodeString& AName) const {
  auto it = FItems.find(LowerCase(AName));
  return it == FItems.end() ? nullptr : &it->second;
}

void THtConstList::Put(const UnicodeString& AName, const Variant& AValue) { FItems[LowerCase(AName)] = AValue; }

}  // namespace norvane
