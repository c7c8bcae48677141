// Named character references of HTML: one static table of (name, code) rows,
// a name -> row dictionary for the tokenizer and a code -> row dictionary
// for the serialisers.
//
// Names are stored without their ";" and compare case-sensitively ("AMP" and
// "amp" are two rows). A name that stands for two code points keeps the
// first. The table is sorted by name in ordinal order.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "norvane/foundation/ht_string_dictionary.h"

namespace norvane {

// One row. The key record comes first so that the dictionary reads the name
// in place, with no string made for it.
struct THtEntity {
  THtVirtualKey Key;  // Length and Chars of the name
  uint32_t Code;

  std::u16string_view Name() const noexcept { return {Key.Chars, size_t(Key.Length)}; }
};

constexpr int32_t HtEntityCount = 2125;

// All rows, sorted by name.
std::span<const THtEntity> HtEntities() noexcept;

// Name -> row; hash RSHash, sized for the whole table.
class THtEntityDictionary : public THtPointerDictionary {
  NV_CLASS(THtEntityDictionary, THtPointerDictionary)
 public:
  THtEntityDictionary();
  // The row named by `len` units at `name`, or nullptr. Allocates nothing.
  const THtEntity* FindEntity(const char16_t* name, int32_t len) const noexcept;
  const THtEntity* FindEntity(std::u16string_view name) const noexcept {
    return FindEntity(name.data(), int32_t(name.size()));
  }
};

// Code -> row, for writing characters back as references. Codes up to 255
// and the ranges 256-591, 880-1279, 1328-1871 and 8192-8351 have no row, so
// that Latin, Greek, Cyrillic, Armenian to Thaana and general punctuation
// print as themselves; for a code with several names the first in table
// order wins.
class THtEntityReverseDictionary : public THtIdPointerDictionary {
  NV_CLASS(THtEntityReverseDictionary, THtIdPointerDictionary)
 public:
  THtEntityReverseDictionary();
  const THtEntity* FindEntity(int32_t code) const noexcept {
    return static_cast<const THtEntity*>(Get(code));
  }
  // Whether `code` is one of the codes that never get a row.
  static bool Skipped(int32_t code) noexcept;
};

// The process-wide dictionaries, built on first use (thread-safe) and
// read-only afterwards.
const THtEntityDictionary& GlobalEntityDictionary();
const THtEntityReverseDictionary& GlobalEntityReverseDictionary();

}  // namespace norvane
