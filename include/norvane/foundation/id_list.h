// TIDList: a list of 32-bit ids with an object each, sorted from the start.
//
// In a sorted list Add keeps the order (a duplicate goes behind its equals;
// with Duplicates at dupError it raises) and Find is a binary search on
// signed ids; FindCardinal searches with unsigned comparison. Sort is a
// quicksort with unsigned comparison for lists that are not sorted. Errors
// are EStringListError whose message is the runtime's resource key:
// "SDuplicateString", "SSortedListError", "SListIndexError" (and
// "SListCapacityError" for a capacity below the count).
#pragma once

#include <cstdint>

#include "norvane/runtime/classes.h"
#include "norvane/runtime/object.h"

namespace norvane {

// One item. The spare word has no reader in the library; callers may use it.
struct TIDItem {
  int32_t FID;
  int32_t FSpare;
  TObject* FObject;
};
static_assert(sizeof(TIDItem) == 16);

class TIDList : public TObject {
  NV_CLASS(TIDList, TObject)
 public:
  explicit TIDList(int32_t capacity = 0);
  ~TIDList() override;  // releases the memory; the objects are not freed

  int32_t Count() const noexcept { return FCount; }
  int32_t Capacity() const noexcept { return FCapacity; }
  bool Sorted() const noexcept { return FSorted; }
  // Turning sorting on sorts the list first.
  void SetSorted(bool value);
  TDuplicates Duplicates() const noexcept { return FDuplicates; }
  void SetDuplicates(TDuplicates value) noexcept { FDuplicates = value; }
  // The item array, valid until the next change of capacity.
  const TIDItem* List() const noexcept { return FList; }

  int32_t Get(int32_t index) const;
  virtual TObject* GetObject(int32_t index) const;
  // Sets the id at `index`; not allowed in a sorted list.
  virtual void Put(int32_t index, int32_t id);
  virtual void PutObject(int32_t index, TObject* obj);
  virtual void SetCapacity(int32_t capacity);

  virtual int32_t Add(int32_t id);
  int32_t AddObject(int32_t id, TObject* obj);
  // Count 0; the memory stays.
  virtual void Clear();
  virtual void Delete(int32_t index);
  virtual void Exchange(int32_t index1, int32_t index2);
  // Binary search: true with the index of a hit, false with the insertion
  // point. Meaningful on a sorted list.
  virtual bool Find(int32_t id, int32_t& index) const;
  virtual bool FindCardinal(uint32_t id, int32_t& index) const;
  // Index of `id` or -1 (binary search when sorted, else a scan).
  virtual int32_t IndexOf(int32_t id) const;
  int32_t IndexOfObject(const TObject* obj) const noexcept;
  // Not allowed in a sorted list.
  virtual void Insert(int32_t index, int32_t id);
  void InsertObject(int32_t index, int32_t id, TObject* obj);
  virtual void Sort();
  // Frees every object and sets its slot to nil; the ids stay.
  void FreeObjects();

  int32_t Tag = 0;

 protected:
  void Grow();
  void InsertItem(int32_t index, int32_t id, TObject* obj);
  void CheckIndex(int32_t index) const;
  [[noreturn]] static void Error(const char16_t* key);

  TIDItem* FList = nullptr;
  int32_t FCapacity = 0;
  bool FSorted = true;
  TDuplicates FDuplicates = dupIgnore;
  int32_t FCount = 0;
};

}  // namespace norvane
