// TShaIntegerBox: a value record holding integer keys with an integer (or
// pointer-sized) value each, on the table of the dictionary family.
//
// With Scramble on, keys are stored through a bijective mix so that runs of
// consecutive keys spread over the table; GetNext undoes the mix. Copying a
// box copies its table.
#pragma once

#include <cstdint>

#include "norvane/foundation/ht_hash_table.h"

namespace norvane {

struct TShaIntegerBox {
  explicit TShaIntegerBox(int32_t capacity = 0, bool scramble = false);

  // Starts over: empty, sized for `capacity`, with the given key mode.
  void Create(int32_t capacity, bool scramble);
  void SetCapacity(int32_t capacity) { FItems.SetCapacity(capacity); }
  void Clear(int32_t capacity = 0) { FItems.Reset(capacity); }

  int32_t Count() const noexcept { return FItems.Count(); }
  int32_t Capacity() const noexcept { return FItems.Slots(); }
  bool Scrambled() const noexcept { return FScramble; }
  // The stored form of the key of the latest InternalFind.
  uint32_t LastHash() const noexcept { return FLastHash; }

  // The slot of `key`, or the complement of its insertion slot.
  int32_t InternalFind(int32_t key) noexcept;
  bool Find(int32_t key, intptr_t& value) const noexcept;
  bool ContainsKey(int32_t key) const noexcept { return FItems.FindHash(StoredKey(key)) >= 0; }
  // Inserts and returns the slot; an existing key gets the new value and the
  // result is the complement of its slot (negative).
  int32_t Add(int32_t key, intptr_t value = 0);
  bool Remove(int32_t key) noexcept;
  // The entry in the first occupied slot from `cursor` up; false at the end.
  bool GetNext(int32_t& cursor, int32_t& key) const noexcept;
  bool GetNext(int32_t& cursor, int32_t& key, intptr_t& value) const noexcept;

  static uint32_t ScrambleKey(int32_t key) noexcept;
  static int32_t UnscrambleKey(uint32_t stored) noexcept;

  const detail::HtHashTable& Table() const noexcept { return FItems; }

 private:
  uint32_t StoredKey(int32_t key) const noexcept { return FScramble ? ScrambleKey(key) : uint32_t(key); }

  detail::HtHashTable FItems;
  uint32_t FLastHash = 0;
  bool FScramble = false;
};

}  // namespace norvane
