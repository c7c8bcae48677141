#include <cstdlib>
#include <cstring>

#include "norvane/runtime/classes.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/small_pool.h"

namespace norvane {

NV_CLASS_IMPL(TPersistent, "Classes")
NV_CLASS_IMPL(TList, "Classes")

// --- TPersistent -----------------------------------------------------------

namespace {
[[noreturn]] void AssignError(const TPersistent* source, const TPersistent* dest) {
  UnicodeString srcName = source ? source->ClassName() : UnicodeString(u"nil");
  throw EConvertError(u"Cannot assign a %s to a %s", {srcName, dest->ClassName()});
}
}  // namespace

void TPersistent::Assign(TPersistent* source) {
  if (!source) AssignError(nullptr, this);
  source->AssignTo(this);
}

void TPersistent::AssignTo(TPersistent* dest) {
  if (!dest) throw EConvertError(u"Cannot assign a %s to a %s", {ClassName(), UnicodeString(u"nil")});
  AssignError(this, dest);
}

// --- TList -------------------------------------------------------------------

namespace {
// Keeps byte counts of the item array inside what a size_t and an int32
// index can address.
constexpr int32_t kMaxListSize = INT32_MAX / int32_t(sizeof(void*));
}  // namespace

TList::~TList() {
  Clear();
}

void TList::Error(const char16_t* msg, int32_t data) {
  throw EListError(msg, {data});
}

int32_t TList::Add(void* item) {
  int32_t result = FCount;
  if (result == FCapacity) Grow();
  FList[result] = item;
  ++FCount;
  if (item) Notify(item, lnAdded);
  return result;
}

void TList::Insert(int32_t index, void* item) {
  if (index < 0 || index > FCount) Error(u"List index out of bounds (%d)", index);
  if (FCount == FCapacity) Grow();
  if (index < FCount)
    std::memmove(FList + index + 1, FList + index, size_t(FCount - index) * sizeof(void*));
  FList[index] = item;
  ++FCount;
  if (item) Notify(item, lnAdded);
}

void TList::Delete(int32_t index) {
  if (index < 0 || index >= FCount) Error(u"List index out of bounds (%d)", index);
  void* temp = FList[index];
  --FCount;
  if (index < FCount)
    std::memmove(FList + index, FList + index + 1, size_t(FCount - index) * sizeof(void*));
  if (temp) Notify(temp, lnDeleted);
}

int32_t TList::Remove(void* item) {
  int32_t index = IndexOf(item);
  if (index >= 0) Delete(index);
  return index;
}

void* TList::Extract(void* item) {
  int32_t index = IndexOf(item);
  if (index < 0) return nullptr;
  // Take the slot out first so that Delete notifies nothing.
  FList[index] = nullptr;
  Delete(index);
  Notify(item, lnExtracted);
  return item;
}

int32_t TList::IndexOf(const void* item) const noexcept {
  for (int32_t i = 0; i < FCount; ++i)
    if (FList[i] == item) return i;
  return -1;
}

void TList::Exchange(int32_t index1, int32_t index2) {
  if (index1 < 0 || index1 >= FCount) Error(u"List index out of bounds (%d)", index1);
  if (index2 < 0 || index2 >= FCount) Error(u"List index out of bounds (%d)", index2);
  std::swap(FList[index1], FList[index2]);
}

void TList::Move(int32_t curIndex, int32_t newIndex) {
  if (curIndex == newIndex) return;
  if (curIndex < 0 || curIndex >= FCount) Error(u"List index out of bounds (%d)", curIndex);
  if (newIndex < 0 || newIndex >= FCount) Error(u"List index out of bounds (%d)", newIndex);
  void* item = FList[curIndex];
  if (curIndex < newIndex)
    std::memmove(FList + curIndex, FList + curIndex + 1, size_t(newIndex - curIndex) * sizeof(void*));
  else
    std::memmove(FList + newIndex + 1, FList + newIndex, size_t(curIndex - newIndex) * sizeof(void*));
  FList[newIndex] = item;
}

void TList::Clear() {
  SetCount(0);
  SetCapacity(0);
}

void TList::Pack() {
  int32_t out = 0;
  for (int32_t i = 0; i < FCount; ++i)
    if (FList[i]) FList[out++] = FList[i];
  FCount = out;
}

namespace {
// The runtime's quicksort: middle pivot, Hoare partition. The scans are
// bounded so that an inconsistent comparison cannot walk off the array, and
// the smaller side recurses so that the depth stays logarithmic.
template <class Cmp>
void QuickSortPointers(void** list, int32_t l, int32_t r, const Cmp& compare) {
  while (l < r) {
    int32_t i = l, j = r;
    void* p = list[(l + r) >> 1];
    do {
      while (i < r && compare(list[i], p) < 0) ++i;
      while (j > l && compare(list[j], p) > 0) --j;
      if (i <= j) {
        if (i != j) std::swap(list[i], list[j]);
        ++i;
        --j;
      }
    } while (i <= j);
    if (j - l < r - i) {
      if (l < j) QuickSortPointers(list, l, j, compare);
      l = i;
    } else {
      if (i < r) QuickSortPointers(list, i, r, compare);
      r = j;
    }
  }
}
}  // namespace

void TList::Sort(TListSortCompare compare) {
  if (FCount > 1 && compare) QuickSortPointers(FList, 0, FCount - 1, compare);
}

void TList::SortList(const TListSortCompareFunc& compare) {
  if (FCount > 1 && compare) QuickSortPointers(FList, 0, FCount - 1, compare);
}

TList* TList::Expand() {
  if (FCount == FCapacity) Grow();
  return this;
}

void TList::Assign(const TList* source) {
  Clear();
  if (!source || source == this) return;
  SetCapacity(source->FCount);
  for (int32_t i = 0; i < source->FCount; ++i) Add(source->FList[i]);
}

void* TList::Get(int32_t index) const {
  if (index < 0 || index >= FCount) Error(u"List index out of bounds (%d)", index);
  return FList[index];
}

void TList::Put(int32_t index, void* item) {
  if (index < 0 || index >= FCount) Error(u"List index out of bounds (%d)", index);
  if (item == FList[index]) return;
  void* temp = FList[index];
  FList[index] = item;
  if (temp) Notify(temp, lnDeleted);
  if (item) Notify(item, lnAdded);
}

void TList::SetCount(int32_t newCount) {
  if (newCount < 0 || newCount > kMaxListSize) Error(u"List count out of bounds (%d)", newCount);
  if (newCount > FCapacity) SetCapacity(newCount);
  if (newCount > FCount) {
    std::memset(FList + FCount, 0, size_t(newCount - FCount) * sizeof(void*));
    FCount = newCount;
  } else {
    // One at a time from the end, so that Notify sees a consistent list.
    for (int32_t i = FCount - 1; i >= newCount; --i) Delete(i);
  }
}

void TList::SetCapacity(int32_t newCapacity) {
  if (newCapacity < FCount || newCapacity > kMaxListSize)
    Error(u"List capacity out of bounds (%d)", newCapacity);
  if (newCapacity == FCapacity) return;
  // Small arrays (most child lists) come from the pools.
  if (newCapacity == 0) {
    SmallPoolGive(FList, size_t(FCapacity) * sizeof(void*));
    FList = nullptr;
  } else {
    void* p = SmallPoolResize(FList, size_t(FCapacity) * sizeof(void*), size_t(newCapacity) * sizeof(void*));
    if (!p) throw EOutOfMemory();
    FList = static_cast<void**>(p);
  }
  FCapacity = newCapacity;
}

void TList::Notify(void*, TListNotification) {}

void TList::Grow() {
  int32_t delta = FCapacity > 64 ? FCapacity / 4 : FCapacity > 8 ? 16 : 4;
  int64_t target = int64_t(FCapacity) + delta;
  if (target > kMaxListSize) target = kMaxListSize;
  SetCapacity(int32_t(target));
  // At the ceiling the list cannot take another item.
  if (FCount == FCapacity) Error(u"List capacity out of bounds (%d)", FCapacity + 1);
}

}  // namespace norvane
