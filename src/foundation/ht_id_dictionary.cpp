#include "norvane/foundation/ht_id_dictionary.h"

namespace norvane {

NV_CLASS_IMPL(THtIdObjectDictionary, "htdictionary")
NV_CLASS_IMPL(THtIdPointerDictionary, "htdictionary")

// --- THtIdObjectDictionary ---------------------------------------------------------

THtIdObjectDictionary::THtIdObjectDictionary(int32_t capacity, bool ownsObjects)
    : FItems(capacity), FOwnsObjects(ownsObjects) {}

THtIdObjectDictionary::~THtIdObjectDictionary() {
  if (FOwnsObjects) FreeValues();
}

void THtIdObjectDictionary::FreeValues() noexcept {
  // Top slot down, each slot emptied before its object dies, so a destructor
  // that looks into the table sees no dangling value.
  for (int32_t i = FItems.Mask(); i >= 0; --i) {
    if (i > FItems.Mask() || FItems.IsEmptySlot(i)) continue;
    auto* obj = static_cast<TObject*>(FItems.ValueAt(i));
    FItems.ClearSlot(i);
    delete obj;
  }
}

void THtIdObjectDictionary::Clear(int32_t capacity) {
  if (FOwnsObjects) FreeValues();
  FItems.Reset(capacity);
}

int32_t THtIdObjectDictionary::InternalFind(int32_t id) noexcept {
  FLastKey = id;
  return FItems.FindHash(uint32_t(id));
}

int32_t THtIdObjectDictionary::Add(int32_t id, TObject* value) {
  FItems.PrepareInsert();
  const int32_t i = InternalFind(id);
  if (i >= 0) return ~i;
  FItems.InsertAt(~i, uint32_t(id), value);
  return ~i;
}

void THtIdObjectDictionary::Put(int32_t id, TObject* value) {
  int32_t i = InternalFind(id);
  if (i >= 0) {
    auto* old = static_cast<TObject*>(FItems.ValueAt(i));
    FItems.SetValueAt(i, value);
    if (FOwnsObjects && old != value) delete old;
    return;
  }
  if (FItems.PrepareInsert()) i = FItems.FindHash(uint32_t(id));
  FItems.InsertAt(~i, uint32_t(id), value);
}

TObject* THtIdObjectDictionary::Get(int32_t id) const noexcept {
  const int32_t i = FItems.FindHash(uint32_t(id));
  return i >= 0 ? static_cast<TObject*>(FItems.ValueAt(i)) : nullptr;
}

bool THtIdObjectDictionary::TryGetValue(int32_t id, TObject*& value) const noexcept {
  const int32_t i = FItems.FindHash(uint32_t(id));
  value = i >= 0 ? static_cast<TObject*>(FItems.ValueAt(i)) : nullptr;
  return i >= 0;
}

TObject* THtIdObjectDictionary::Extract(int32_t id) noexcept {
  const int32_t i = FItems.FindHash(uint32_t(id));
  return i >= 0 ? static_cast<TObject*>(FItems.DeleteAt(i)) : nullptr;
}

bool THtIdObjectDictionary::Remove(int32_t id) {
  const int32_t i = FItems.FindHash(uint32_t(id));
  if (i < 0) return false;
  auto* obj = static_cast<TObject*>(FItems.DeleteAt(i));
  if (FOwnsObjects) delete obj;
  return true;
}

TObject* THtIdObjectDictionary::GetNext(int32_t& cursor) const noexcept {
  const int32_t i = FItems.NextSlot(cursor);
  return i >= 0 ? static_cast<TObject*>(FItems.ValueAt(i)) : nullptr;
}

void THtIdObjectDictionary::Traverse(void* context, THtObjectTraverseProc proc) const {
  for (int32_t i = 0; i <= FItems.Mask(); ++i)
    if (!FItems.IsEmptySlot(i)) proc(context, static_cast<TObject*>(FItems.ValueAt(i)));
}

// --- THtIdPointerDictionary --------------------------------------------------------

int32_t THtIdPointerDictionary::Add(int32_t id, void* value) {
  FItems.PrepareInsert();
  const int32_t i = FItems.FindHash(uint32_t(id));
  if (i >= 0) {
    FItems.SetValueAt(i, value);
    return ~i;
  }
  FItems.InsertAt(~i, uint32_t(id), value);
  return ~i;
}

void THtIdPointerDictionary::Put(int32_t id, void* value) {
  int32_t i = FItems.FindHash(uint32_t(id));
  if (i >= 0) {
    FItems.SetValueAt(i, value);
    return;
  }
  if (FItems.PrepareInsert()) i = FItems.FindHash(uint32_t(id));
  FItems.InsertAt(~i, uint32_t(id), value);
}

void* THtIdPointerDictionary::Get(int32_t id) const noexcept {
  const int32_t i = FItems.FindHash(uint32_t(id));
  return i >= 0 ? FItems.ValueAt(i) : nullptr;
}

void* THtIdPointerDictionary::Extract(int32_t id) noexcept {
  const int32_t i = FItems.FindHash(uint32_t(id));
  return i >= 0 ? FItems.DeleteAt(i) : nullptr;
}

bool THtIdPointerDictionary::Remove(int32_t id) noexcept {
  const int32_t i = FItems.FindHash(uint32_t(id));
  if (i < 0) return false;
  FItems.DeleteAt(i);
  return true;
}

void* THtIdPointerDictionary::GetNext(int32_t& cursor) const noexcept {
  const int32_t i = FItems.NextSlot(cursor);
  return i >= 0 ? FItems.ValueAt(i) : nullptr;
}

}  // namespace norvane
