// TFastStringList: a sorted string list in ordinal code-unit order whose
// items can be looked up by pointer and length, without making a string.
#pragma once

#include <cstdint>

#include "norvane/runtime/classes.h"

namespace norvane {

class TFastStringList : public TStringList {
  NV_CLASS(TFastStringList, TStringList)
 public:
  // Sorted, case-sensitive, duplicates ignored. With `ownsObjects` the list
  // frees its items' objects when it is destroyed (see OwnsObjects()).
  explicit TFastStringList(bool ownsObjects = false);
  ~TFastStringList() override;

  // Binary search by ordinal code units. True when found; `index` is the
  // first match or the insertion place. Never allocates.
  bool FindPChar(const char16_t* p, int32_t len, int32_t& index) const noexcept;
  // Frees every item's object, then clears the list.
  void FreeListObjects();

 protected:
  int32_t CompareStrings(const UnicodeString& s1, const UnicodeString& s2) const override;
};

}  // namespace norvane
