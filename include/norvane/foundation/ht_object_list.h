// Thin TList variants: an object list that may own its items, and a plain
// pointer list.
#pragma once

#include "norvane/runtime/classes.h"

namespace norvane {

// With OwnsObjects, objects leaving the list through Delete, Remove, Clear,
// SetCount or Put are freed, and so are the remaining ones on destruction;
// Extract hands an object back without freeing it.
class THtObjectList : public TList {
  NV_CLASS(THtObjectList, TList)
 public:
  explicit THtObjectList(bool ownsObjects = false) : OwnsObjects(ownsObjects) {}
  ~THtObjectList() override;

  TObject* Get(int32_t index) const { return static_cast<TObject*>(TList::Get(index)); }
  int32_t Add(TObject* obj) { return TList::Add(obj); }
  // Frees every object when owning, then empties the list.
  void Clear();

  bool OwnsObjects;

 protected:
  void Notify(void* ptr, TListNotification action) override;
};

class THtPointerList : public TList {
  NV_CLASS(THtPointerList, TList)
};

}  // namespace norvane
