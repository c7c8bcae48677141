#include "norvane/foundation/id_list.h"

#include <cstdlib>
#include <cstring>

#include "norvane/runtime/exception.h"

namespace norvane {

NV_CLASS_IMPL(TIDList, "htdictionary")

TIDList::TIDList(int32_t capacity) {
  if (capacity > 0) SetCapacity(capacity);
}

TIDList::~TIDList() { std::free(FList); }

void TIDList::Error(const char16_t* key) { throw EStringListError(UnicodeString(key)); }

void TIDList::CheckIndex(int32_t index) const {
  if (index < 0 || index >= FCount) Error(u"SListIndexError");
}

void TIDList::SetSorted(bool value) {
  if (value == FSorted) return;
  if (value) Sort();
  FSorted = value;
}

int32_t TIDList::Get(int32_t index) const {
  CheckIndex(index);
  return FList[index].FID;
}

TObject* TIDList::GetObject(int32_t index) const {
  CheckIndex(index);
  return FList[index].FObject;
}

void TIDList::Put(int32_t index, int32_t id) {
  if (FSorted) Error(u"SSortedListError");
  CheckIndex(index);
  FList[index].FID = id;
}

void TIDList::PutObject(int32_t index, TObject* obj) {
  CheckIndex(index);
  FList[index].FObject = obj;
}

void TIDList::SetCapacity(int32_t capacity) {
  if (capacity < FCount) Error(u"SListCapacityError");
  if (capacity == FCapacity) return;
  if (size_t(capacity) > SIZE_MAX / sizeof(TIDItem)) throw EOutOfMemory();
  if (capacity == 0) {
    std::free(FList);
    FList = nullptr;
  } else {
    auto* list = static_cast<TIDItem*>(std::realloc(FList, size_t(capacity) * sizeof(TIDItem)));
    if (!list) throw EOutOfMemory();
    FList = list;
  }
  FCapacity = capacity;
}

void TIDList::Grow() {
  const int32_t delta = FCapacity > 64 ? FCapacity / 4 : FCapacity > 8 ? 16 : 4;
  if (FCapacity > INT32_MAX - delta) throw EOutOfMemory();
  SetCapacity(FCapacity + delta);
}

void TIDList::InsertItem(int32_t index, int32_t id, TObject* obj) {
  if (FCount == FCapacity) Grow();
  if (index < FCount) std::memmove(FList + index + 1, FList + index, size_t(FCount - index) * sizeof(TIDItem));
  FList[index] = TIDItem{id, 0, obj};
  ++FCount;
}

int32_t TIDList::Add(int32_t id) {
  int32_t index;
  if (!FSorted || FCount == 0) {
    index = FCount;
  } else if (id < FList[0].FID) {
    index = 0;
  } else if (id > FList[FCount - 1].FID) {
    index = FCount;
  } else {
    if (Find(id, index)) {
      if (FDuplicates == dupError) Error(u"SDuplicateString");
      // A new duplicate goes behind its equals.
      while (index < FCount && FList[index].FID == id) ++index;
    }
  }
  InsertItem(index, id, nullptr);
  return index;
}

int32_t TIDList::AddObject(int32_t id, TObject* obj) {
  const int32_t index = Add(id);
  FList[index].FObject = obj;
  return index;
}

void TIDList::Clear() { FCount = 0; }

void TIDList::Delete(int32_t index) {
  CheckIndex(index);
  --FCount;
  if (index < FCount) std::memmove(FList + index, FList + index + 1, size_t(FCount - index) * sizeof(TIDItem));
}

void TIDList::Exchange(int32_t index1, int32_t index2) {
  CheckIndex(index1);
  CheckIndex(index2);
  const TIDItem t = FList[index1];
  FList[index1] = FList[index2];
  FList[index2] = t;
}

namespace {
// Lower-bound style binary search; `Less` decides the order.
template <class Key, class Less>
bool BinarySearch(const TIDItem* list, int32_t count, Key id, int32_t& index, Less less) {
  int32_t lo = 0, hi = count - 1;
  bool found = false;
  while (lo <= hi) {
    const int32_t mid = lo + (hi - lo) / 2;
    const Key v = Key(list[mid].FID);
    if (less(v, id)) {
      lo = mid + 1;
    } else {
      hi = mid - 1;
      if (!less(id, v)) found = true;
    }
  }
  index = lo;
  return found;
}
}  // namespace

bool TIDList::Find(int32_t id, int32_t& index) const {
  return BinarySearch(FList, FCount, id, index, [](int32_t a, int32_t b) { return a < b; });
}

bool TIDList::FindCardinal(uint32_t id, int32_t& index) const {
  return BinarySearch(FList, FCount, id, index, [](uint32_t a, uint32_t b) { return a < b; });
}

int32_t TIDList::IndexOf(int32_t id) const {
  if (FSorted) {
    int32_t index;
    return Find(id, index) ? index : -1;
  }
  for (int32_t i = 0; i < FCount; ++i)
    if (FList[i].FID == id) return i;
  return -1;
}

int32_t TIDList::IndexOfObject(const TObject* obj) const noexcept {
  for (int32_t i = 0; i < FCount; ++i)
    if (FList[i].FObject == obj) return i;
  return -1;
}

void TIDList::Insert(int32_t index, int32_t id) { InsertObject(index, id, nullptr); }

void TIDList::InsertObject(int32_t index, int32_t id, TObject* obj) {
  if (FSorted) Error(u"SSortedListError");
  if (index < 0 || index > FCount) Error(u"SListIndexError");
  InsertItem(index, id, obj);
}

void TIDList::Sort() {
  if (FSorted || FCount < 2) return;
  // Quicksort, pivot in the middle, unsigned ids. Recursing into the smaller
  // part and looping on the larger keeps the stack at O(log n).
  struct Range {
    int32_t l, r;
  };
  Range stack[64];
  int32_t top = 0;
  stack[top++] = {0, FCount - 1};
  while (top > 0) {
    auto [l, r] = stack[--top];
    while (l < r) {
      int32_t i = l, j = r;
      const uint32_t pivot = uint32_t(FList[l + (r - l) / 2].FID);
      do {
        while (uint32_t(FList[i].FID) < pivot) ++i;
        while (uint32_t(FList[j].FID) > pivot) --j;
        if (i <= j) {
          if (i != j) {
            const TIDItem t = FList[i];
            FList[i] = FList[j];
            FList[j] = t;
          }
          ++i;
          --j;
        }
      } while (i <= j);
      if (j - l < r - i) {
        if (i < r) stack[top++] = {i, r};
        r = j;
      } else {
        if (l < j) stack[top++] = {l, j};
        l = i;
      }
    }
  }
}

void TIDList::FreeObjects() {
  for (int32_t i = 0; i < FCount; ++i) {
    TObject* obj = FList[i].FObject;
    FList[i].FObject = nullptr;
    delete obj;
  }
}

}  // namespace norvane
