#include "norvane/foundation/fast_string_list.h"

#include <algorithm>
#include <cstring>

namespace norvane {

NV_CLASS_IMPL(TFastStringList, "htutils")

namespace {

// Ordinal order: first unit, then the common length, then the length.
int32_t CompareUnits(const char16_t* a, int32_t la, const char16_t* b, int32_t lb) noexcept {
  if (la && lb && a[0] != b[0]) return a[0] < b[0] ? -1 : 1;
  int32_t common = std::min(la, lb);
  for (int32_t k = 0; k < common; ++k)
    if (a[k] != b[k]) return a[k] < b[k] ? -1 : 1;
  return la < lb ? -1 : la > lb ? 1 : 0;
}

}  // namespace

TFastStringList::TFastStringList(bool ownsObjects) : TStringList(dupIgnore, true, true) {
  SetOwnsObjects(ownsObjects);
}

TFastStringList::~TFastStringList() {
  if (OwnsObjects()) {
    for (int32_t k = 0; k < FCount; ++k) {
      delete FList[k].FObject;
      FList[k].FObject = nullptr;
    }
    SetOwnsObjects(false);
  }
}

bool TFastStringList::FindPChar(const char16_t* p, int32_t len, int32_t& index) const noexcept {
  if (len < 0) len = 0;
  int32_t lo = 0, hi = FCount - 1;
  bool found = false;
  while (lo <= hi) {
    int32_t mid = lo + (hi - lo) / 2;
    const UnicodeString& s = FList[mid].FString;
    int32_t c = CompareUnits(s.Data(), s.Length(), p, len);
    if (c < 0) {
      lo = mid + 1;
    } else {
      hi = mid - 1;
      if (c == 0) found = true;
    }
  }
  index = lo;
  return found;
}

void TFastStringList::FreeListObjects() {
  for (int32_t k = 0; k < FCount; ++k) {
    delete FList[k].FObject;
    FList[k].FObject = nullptr;
  }
  Clear();
}

int32_t TFastStringList::CompareStrings(const UnicodeString& s1, const UnicodeString& s2) const {
  return CompareUnits(s1.Data(), s1.Length(), s2.Data(), s2.Length());
}

}  // namespace norvane
