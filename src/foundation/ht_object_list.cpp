#include "norvane/foundation/ht_object_list.h"

namespace norvane {

NV_CLASS_IMPL(THtObjectList, "htdictionary")
NV_CLASS_IMPL(THtPointerList, "htdictionary")

THtObjectList::~THtObjectList() {
  // TList's destructor can no longer reach this class's Notify.
  Clear();
}

void THtObjectList::Clear() {
  if (OwnsObjects)
    for (int32_t i = 0; i < FCount; ++i) {
      // Nil the slot first: nil items get no Notify, and a destructor that
      // looks at the list sees no dangling pointer.
      auto* obj = static_cast<TObject*>(FList[i]);
      FList[i] = nullptr;
      delete obj;
    }
  TList::Clear();
}

void THtObjectList::Notify(void* ptr, TListNotification action) {
  if (OwnsObjects && action == lnDeleted) delete static_cast<TObject*>(ptr);
  TList::Notify(ptr, action);
}

}  // namespace norvane
