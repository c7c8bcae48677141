#include "norvane/foundation/ht_hash_table.h"

#include <cstdlib>
#include <cstring>

#include "ht_search.h"
#include "norvane/runtime/exception.h"

namespace norvane::detail {

HtHashTable::HtHashTable(int32_t capacity) { SetCapacity(capacity); }

HtHashTable::HtHashTable(const HtHashTable& other) { *this = other; }

HtHashTable& HtHashTable::operator=(const HtHashTable& other) {
  if (this == &other) return *this;
  const int32_t slots = other.Slots();
  if (slots != Slots() || !FHashes) Allocate(slots);
  std::memcpy(FHashes, other.FHashes, other.TableBytes());
  FCount = other.FCount;
  FGrowLimit = other.FGrowLimit;
  return *this;
}

HtHashTable::~HtHashTable() { std::free(FHashes); }

int32_t HtHashTable::SlotsFor(int32_t capacity, int32_t count, int32_t& growLimit) {
  if (capacity > kMaxSlots) throw EOutOfMemory();
  const int64_t r = capacity > count ? capacity : count;
  // 3/4 load up to 100000 entries; above that 7/8, to spare memory.
  const int shift = count <= 100000 ? 2 : 3;
  int64_t s = 4;
  while (r >= s - (s >> shift) && s < kMaxSlots) s *= 2;
  growLimit = int32_t(s == kMaxSlots ? s - 1 : s - (s >> shift));
  return int32_t(s);
}

void HtHashTable::Allocate(int32_t slots) {
  const size_t bytes = size_t(slots) * (sizeof(uint32_t) + sizeof(void*));
  auto* block = static_cast<uint32_t*>(std::malloc(bytes));
  if (!block) throw EOutOfMemory();
  std::free(FHashes);
  FHashes = block;
  FValues = reinterpret_cast<void**>(block + slots);  // slots >= 4: 8-byte aligned
  FMask = slots - 1;
}

void HtHashTable::SetCapacity(int32_t capacity) {
  int32_t growLimit;
  const int32_t s = SlotsFor(capacity, FCount, growLimit);
  if (FHashes) {
    if (s == Slots()) {
      // Same size, but the load limit may have moved past 100000 entries.
      FGrowLimit = growLimit;
      return;
    }
    if (s < Slots() && FCount > 0) return;
  }
  const size_t bytes = size_t(s) * (sizeof(uint32_t) + sizeof(void*));
  auto* block = static_cast<uint32_t*>(std::malloc(bytes));
  if (!block) throw EOutOfMemory();
  uint32_t* hashes = block;
  void** values = reinterpret_cast<void**>(block + s);
  for (int32_t i = 0; i < s; ++i) hashes[i] = uint32_t(i);
  std::memset(values, 0, size_t(s) * sizeof(void*));
  const uint32_t newMask = uint32_t(s - 1);

  if (FHashes && FCount > 0) {
    // Start at the highest empty slot and go once round in cyclic order, so
    // that a cluster that wrapped past the end comes out whole and in order;
    // every entry then lands at or after the previous one's slot, which keeps
    // the new table in Robin Hood order without any shifting.
    const uint32_t oldMask = uint32_t(FMask);
    uint32_t start = oldMask;
    while (start > 0 && FHashes[start] != start) --start;
    for (uint32_t k = 0; k <= oldMask; ++k) {
      const uint32_t j = (start + k) & oldMask;
      const uint32_t h = FHashes[j];
      if (h == j) continue;
      uint32_t i = h;
      do i = (i + 1) & newMask;
      while (hashes[i] != i);
      hashes[i] = h;
      values[i] = FValues[j];
    }
  }
  std::free(FHashes);
  FHashes = hashes;
  FValues = values;
  FMask = int32_t(newMask);
  FGrowLimit = growLimit;
}

bool HtHashTable::PrepareInsert() {
  if (FCount < FGrowLimit) return false;
  const int32_t before = Slots();
  SetCapacity(0);
  // At the largest size the last free slot is what ends every search.
  if (FCount >= FMask) throw EOutOfMemory();
  return Slots() != before;
}

int32_t HtHashTable::FindHash(uint32_t hash) const noexcept {
  return HtSearch(*this, hash, [](void*) { return true; });
}

void HtHashTable::InsertAt(int32_t slot, uint32_t hash, void* value) noexcept {
  const uint32_t mask = uint32_t(FMask);
  const uint32_t at = uint32_t(slot) & mask;
  if (FHashes[at] != at) {
    uint32_t j = (at + 1) & mask;
    while (FHashes[j] != j) j = (j + 1) & mask;
    // Move the run [at, j) up by one slot, wrapping from the top to slot 0.
    while (j != at) {
      const uint32_t p = (j - 1) & mask;
      FHashes[j] = FHashes[p];
      FValues[j] = FValues[p];
      j = p;
    }
  }
  FHashes[at] = hash;
  FValues[at] = value;
  ++FCount;
}

void* HtHashTable::DeleteAt(int32_t slot) noexcept {
  const uint32_t mask = uint32_t(FMask);
  uint32_t i = uint32_t(slot) & mask;
  void* value = FValues[i];
  for (;;) {
    const uint32_t n = (i + 1) & mask;
    // An empty slot (distance 0) or an entry at home (distance 1) ends the run.
    if (((n - FHashes[n]) & mask) < 2) break;
    FHashes[i] = FHashes[n];
    FValues[i] = FValues[n];
    i = n;
  }
  FHashes[i] = i;
  FValues[i] = nullptr;
  --FCount;
  return value;
}

int32_t HtHashTable::NextSlot(int32_t& cursor) const noexcept {
  int32_t i = cursor < 0 ? 0 : cursor;
  for (; i <= FMask; ++i)
    if (FHashes[i] != uint32_t(i)) {
      cursor = i + 1;
      return i;
    }
  cursor = FMask + 1;
  return -1;
}

void HtHashTable::Reset(int32_t capacity) {
  for (int32_t i = 0; i <= FMask; ++i) {
    FHashes[i] = uint32_t(i);
    FValues[i] = nullptr;
  }
  FCount = 0;
  SetCapacity(capacity);
}

void HtHashTable::Traverse(void* context, THtTraverseProc proc) const {
  // Members are re-read on each step, so a callback that changes the table
  // can't make the walk read freed memory.
  for (int32_t i = 0; i <= FMask; ++i)
    if (FHashes[i] != uint32_t(i)) proc(context, FValues[i]);
}

bool HtHashTable::Validate() const noexcept {
  const uint32_t mask = uint32_t(FMask);
  int32_t used = 0;
  bool sawEmpty = false;
  for (uint32_t i = 0; i <= mask; ++i) {
    const uint32_t d = (i - FHashes[i]) & mask;
    if (d == 0) {
      sawEmpty = true;
      continue;
    }
    ++used;
    const uint32_t p = (i - 1) & mask;
    const uint32_t dp = (p - FHashes[p]) & mask;
    // Along a run each entry is at most one step further from home than its
    // predecessor; after an empty slot it must be at home.
    if (d > dp + 1) return false;
  }
  return sawEmpty && used == FCount;
}

}  // namespace norvane::detail
