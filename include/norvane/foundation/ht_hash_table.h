// The one open-addressing table under every dictionary of the family.
//
// A table of 2^k slots, each a (hash, value) pair, probed linearly and kept in
// Robin Hood order. There is no empty marker and no tombstone: slot i is empty
// when its hash word equals i. An entry's home slot is (hash + 1) & mask and
// its distance at slot i is (i - hash) & mask, so an entry at home has
// distance 1 and an empty slot distance 0. A search stops at the first slot
// whose distance is below the probe count, and a miss returns the bitwise
// complement of the slot where the key would be inserted, so one call serves
// both as search and as insertion-point finder.
//
// Layout: structure of arrays in one heap block, the hash words first (4 bytes
// a slot) and the value pointers after them (8 bytes a slot): 12 bytes a slot
// against 16 for an array of padded {hash, value} records, and a probe walks
// only the dense hash words; the value is read once, on a hash match.
//
// Sizing: a table of s slots holds s - s/4 entries (s - s/8 above 100000
// entries) before it doubles. It never shrinks while it holds entries.
// Requests above 0x40000000 slots raise EOutOfMemory.
#pragma once

#include <cstddef>
#include <cstdint>

namespace norvane {

// Identity on a byte offset: the dictionaries take the offset of the key
// field inside their value objects through it.
constexpr int32_t HtClassFieldOffset(int32_t offset) noexcept { return offset; }

// Byte offset of a data member, for the key offset of a dictionary. offsetof
// on a class with virtual functions is conditionally supported; GCC and Clang
// compute it for single, non-virtual inheritance, which is all the tables
// need, so the warning is silenced for this one expression.
#define NV_FIELD_OFFSET(Cls, Member)                                     \
  ::norvane::HtClassFieldOffset([]() noexcept -> int32_t {               \
    _Pragma("GCC diagnostic push")                                       \
    _Pragma("GCC diagnostic ignored \"-Winvalid-offsetof\"")             \
    return static_cast<int32_t>(offsetof(Cls, Member));                  \
    _Pragma("GCC diagnostic pop")                                        \
  }())

// Callback of Traverse: called once per entry in slot order.
using THtTraverseProc = void (*)(void* context, void* value);

namespace detail {

class HtHashTable {
 public:
  static constexpr int32_t kMaxSlots = 0x40000000;

  explicit HtHashTable(int32_t capacity = 0);
  HtHashTable(const HtHashTable& other);  // copies the slots; values are shared
  HtHashTable& operator=(const HtHashTable& other);
  ~HtHashTable();

  int32_t Count() const noexcept { return FCount; }
  int32_t GrowLimit() const noexcept { return FGrowLimit; }
  int32_t Mask() const noexcept { return FMask; }
  int32_t Slots() const noexcept { return FMask + 1; }
  // Bytes of the slot block.
  size_t TableBytes() const noexcept { return size_t(FMask + 1) * (sizeof(uint32_t) + sizeof(void*)); }

  bool IsEmptySlot(int32_t i) const noexcept { return FHashes[i] == uint32_t(i); }
  uint32_t HashAt(int32_t i) const noexcept { return FHashes[i]; }
  void* ValueAt(int32_t i) const noexcept { return FValues[i]; }
  void SetValueAt(int32_t i, void* v) noexcept { FValues[i] = v; }
  const uint32_t* Hashes() const noexcept { return FHashes; }
  void* const* Values() const noexcept { return FValues; }

  // Resizes for `capacity` entries (at least Count). A smaller size than the
  // present one is ignored while the table holds entries.
  void SetCapacity(int32_t capacity);
  // Makes room for one more entry: grows when Count has reached the grow
  // limit. Returns true when the slots moved (earlier search results are then
  // stale).
  bool PrepareInsert();

  // Search on the hash word alone (the id-keyed tables): the slot, or the
  // complement of the insertion slot.
  int32_t FindHash(uint32_t hash) const noexcept;
  // Inserts at `slot` (a complemented search result undone by the caller),
  // shifting the run from there up to the next empty slot by one.
  void InsertAt(int32_t slot, uint32_t hash, void* value) noexcept;
  // Removes the entry at `slot` by backward shift; returns its value.
  void* DeleteAt(int32_t slot) noexcept;
  // Next occupied slot from `cursor` upward, or -1; the cursor moves past it.
  int32_t NextSlot(int32_t& cursor) const noexcept;
  // Empties every slot (values untouched), then resizes for `capacity`.
  void Reset(int32_t capacity);
  // Empties slot i (for teardown from the top slot down).
  void ClearSlot(int32_t i) noexcept {
    FHashes[i] = uint32_t(i);
    FValues[i] = nullptr;
    --FCount;
  }
  void Traverse(void* context, THtTraverseProc proc) const;

  // Checks the slot invariants (Robin Hood order, count); for tests.
  bool Validate() const noexcept;

 private:
  static int32_t SlotsFor(int32_t capacity, int32_t count, int32_t& growLimit);
  void Allocate(int32_t slots);

  uint32_t* FHashes = nullptr;  // start of the block
  void** FValues = nullptr;     // inside the same block
  int32_t FCount = 0;
  int32_t FGrowLimit = 0;
  int32_t FMask = 0;
};

}  // namespace detail
}  // namespace norvane
