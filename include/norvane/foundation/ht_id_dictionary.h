// Integer-keyed members of the hash table family.
//
// The 32-bit id is the hash word itself, so a lookup compares nothing but
// the words it probes. See ht_hash_table.h for the table.
#pragma once

#include <cstdint>

#include "norvane/foundation/ht_hash_table.h"
#include "norvane/runtime/object.h"

namespace norvane {

// Callback of the object tables' Traverse.
using THtObjectTraverseProc = void (*)(void* context, TObject* value);

// Id -> object. With OwnsObjects the values are freed with the table, by
// Clear and Remove, and when Put replaces them.
class THtIdObjectDictionary : public TObject {
  NV_CLASS(THtIdObjectDictionary, TObject)
 public:
  explicit THtIdObjectDictionary(int32_t capacity = 0, bool ownsObjects = false);
  ~THtIdObjectDictionary() override;

  int32_t Count() const noexcept { return FItems.Count(); }
  // Table length (a power of two) and the count that triggers growth.
  int32_t Capacity() const noexcept { return FItems.Slots(); }
  int32_t GrowLimit() const noexcept { return FItems.GrowLimit(); }
  bool OwnsObjects() const noexcept { return FOwnsObjects; }
  void SetOwnsObjects(bool v) noexcept { FOwnsObjects = v; }
  int32_t LastKey() const noexcept { return FLastKey; }

  // Drops every entry (freeing owned values from the top slot down), then
  // sizes the table for `capacity`.
  void Clear(int32_t capacity = 0);
  void SetCapacity(int32_t capacity) { FItems.SetCapacity(capacity); }

  bool ContainsKey(int32_t id) const noexcept { return FItems.FindHash(uint32_t(id)) >= 0; }
  // The slot of `id`, or the complement of its insertion slot; remembers
  // the id in LastKey.
  int32_t InternalFind(int32_t id) noexcept;
  // Inserts and returns the slot; an existing id is left as it is and the
  // result is the complement of its slot (negative).
  int32_t Add(int32_t id, TObject* value);
  // Inserts or replaces; a replaced owned value is freed unless it is the
  // same object.
  void Put(int32_t id, TObject* value);
  TObject* Get(int32_t id) const noexcept;
  bool TryGetValue(int32_t id, TObject*& value) const noexcept;
  // Takes the entry out and returns its value (nullptr if absent).
  TObject* Extract(int32_t id) noexcept;
  // Takes the entry out and frees an owned value; false if absent.
  bool Remove(int32_t id);
  // The value in the first occupied slot from `cursor` up, moving the cursor
  // past it; nullptr at the end. Start with cursor 0.
  TObject* GetNext(int32_t& cursor) const noexcept;
  // Calls `proc` for each value in slot order (not insertion order).
  void Traverse(void* context, THtObjectTraverseProc proc) const;

  // The underlying table (read-only), for inspection and tests.
  const detail::HtHashTable& Table() const noexcept { return FItems; }

 protected:
  void FreeValues() noexcept;

  detail::HtHashTable FItems;
  int32_t FLastKey = 0;
  bool FOwnsObjects = false;
};

// Id -> untyped pointer; owns nothing.
class THtIdPointerDictionary : public TObject {
  NV_CLASS(THtIdPointerDictionary, TObject)
 public:
  explicit THtIdPointerDictionary(int32_t capacity = 0) : FItems(capacity) {}

  int32_t Count() const noexcept { return FItems.Count(); }
  int32_t Capacity() const noexcept { return FItems.Slots(); }
  int32_t GrowLimit() const noexcept { return FItems.GrowLimit(); }

  void Clear(int32_t capacity = 0) { FItems.Reset(capacity); }
  void SetCapacity(int32_t capacity) { FItems.SetCapacity(capacity); }

  bool ContainsKey(int32_t id) const noexcept { return FItems.FindHash(uint32_t(id)) >= 0; }
  int32_t InternalFind(int32_t id) const noexcept { return FItems.FindHash(uint32_t(id)); }
  // Inserts and returns the slot; an existing id gets the new value and the
  // result is the complement of its slot (negative).
  int32_t Add(int32_t id, void* value);
  void Put(int32_t id, void* value);
  void* Get(int32_t id) const noexcept;
  void* Extract(int32_t id) noexcept;
  bool Remove(int32_t id) noexcept;
  void* GetNext(int32_t& cursor) const noexcept;
  void Traverse(void* context, THtTraverseProc proc) const { FItems.Traverse(context, proc); }

  const detail::HtHashTable& Table() const noexcept { return FItems; }

 protected:
  detail::HtHashTable FItems;
};

}  // namespace norvane
