// The probe loop shared by the dictionaries, instantiated once per key rule.
// Internal to the library's sources.
#pragma once

#include "norvane/foundation/ht_hash_table.h"

namespace norvane::detail {

// The slot of the entry whose hash word equals `hash` and whose value `eq`
// accepts, or the complement of the slot where such an entry would go. The
// table always keeps a free slot, so the loop ends.
template <class Eq>
inline int32_t HtSearch(const HtHashTable& t, uint32_t hash, Eq&& eq) {
  const uint32_t* hashes = t.Hashes();
  void* const* values = t.Values();
  const uint32_t mask = uint32_t(t.Mask());
  uint32_t i = hash, c = 0;
  for (;;) {
    i = (i + 1) & mask;
    ++c;
    const uint32_t h = hashes[i];
    if (((i - h) & mask) < c) return ~int32_t(i);
    if (h == hash && eq(values[i])) return int32_t(i);
  }
}

}  // namespace norvane::detail
