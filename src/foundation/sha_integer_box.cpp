#include "norvane/foundation/sha_integer_box.h"

namespace norvane {

TShaIntegerBox::TShaIntegerBox(int32_t capacity, bool scramble) : FItems(capacity), FScramble(scramble) {}

void TShaIntegerBox::Create(int32_t capacity, bool scramble) {
  FItems.Reset(capacity);
  FScramble = scramble;
  FLastHash = 0;
}

uint32_t TShaIntegerBox::ScrambleKey(int32_t key) noexcept {
  uint32_t a = uint32_t(key) * 0x560CED27u;
  a ^= a >> 16;
  a ^= a >> 8;
  return a * 0x90C03487u;
}

int32_t TShaIntegerBox::UnscrambleKey(uint32_t stored) noexcept {
  // The multipliers are the inverses modulo 2^32 of the two above, and one
  // xor-shift by 8 undoes both shifts of the mix.
  uint32_t a = stored * 0xB4BA5137u;
  a ^= a >> 8;
  return int32_t(a * 0x258DB297u);
}

int32_t TShaIntegerBox::InternalFind(int32_t key) noexcept {
  FLastHash = StoredKey(key);
  return FItems.FindHash(FLastHash);
}

bool TShaIntegerBox::Find(int32_t key, intptr_t& value) const noexcept {
  const int32_t i = FItems.FindHash(StoredKey(key));
  value = i >= 0 ? reinterpret_cast<intptr_t>(FItems.ValueAt(i)) : 0;
  return i >= 0;
}

int32_t TShaIntegerBox::Add(int32_t key, intptr_t value) {
  FItems.PrepareInsert();
  const int32_t i = InternalFind(key);
  if (i >= 0) {
    FItems.SetValueAt(i, reinterpret_cast<void*>(value));
    return ~i;
  }
  FItems.InsertAt(~i, FLastHash, reinterpret_cast<void*>(value));
  return ~i;
}

bool TShaIntegerBox::Remove(int32_t key) noexcept {
  const int32_t i = InternalFind(key);
  if (i < 0) return false;
  FItems.DeleteAt(i);
  return true;
}

bool TShaIntegerBox::GetNext(int32_t& cursor, int32_t& key) const noexcept {
  intptr_t value;
  return GetNext(cursor, key, value);
}

bool TShaIntegerBox::GetNext(int32_t& cursor, int32_t& key, intptr_t& value) const noexcept {
  const int32_t i = FItems.NextSlot(cursor);
  if (i < 0) return false;
  const uint32_t stored = FItems.HashAt(i);
  key = FScramble ? UnscrambleKey(stored) : int32_t(stored);
  value = reinterpret_cast<intptr_t>(FItems.ValueAt(i));
  return true;
}

}  // namespace norvane
