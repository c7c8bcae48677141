#include "norvane/markup/html_entities.h"

#include <cstddef>
#include <iterator>

#include "norvane/foundation/hash.h"

namespace norvane {

NV_CLASS_IMPL(THtEntityDictionary, "htmlpars")
NV_CLASS_IMPL(THtEntityReverseDictionary, "htmlpars")

namespace {

constexpr THtEntity kEntities[] = {
#include "html_entity_table.inc"
};
static_assert(std::size(kEntities) == size_t(HtEntityCount));

constexpr int32_t kKeyOffset = int32_t(offsetof(THtEntity, Key)) + THtVirtualKey::CharsOffset();

}  // namespace

std::span<const THtEntity> HtEntities() noexcept { return kEntities; }

THtEntityDictionary::THtEntityDictionary()
    : THtPointerDictionary(HtEntityCount, kKeyOffset, &RSHash, KeyKind::Chars) {
  for (const THtEntity& e : kEntities) AddPointer(const_cast<THtEntity*>(&e));
}

const THtEntity* THtEntityDictionary::FindEntity(const char16_t* name, int32_t len) const noexcept {
  if (len <= 0 || !name) return nullptr;
  const int32_t i = Search(uint32_t(RSHash(name, len)), name, len);
  return i >= 0 ? static_cast<const THtEntity*>(FItems.ValueAt(i)) : nullptr;
}

bool THtEntityReverseDictionary::Skipped(int32_t code) noexcept {
  return code <= 591 || (code >= 880 && code <= 1279) || (code >= 1328 && code <= 1871) ||
         (code >= 8192 && code <= 8351);
}

THtEntityReverseDictionary::THtEntityReverseDictionary() : THtIdPointerDictionary(HtEntityCount) {
  for (const THtEntity& e : kEntities) {
    const int32_t code = int32_t(e.Code);
    if (Skipped(code) || ContainsKey(code)) continue;  // the first name wins
    Add(code, const_cast<THtEntity*>(&e));
  }
}

const THtEntityDictionary& GlobalEntityDictionary() {
  static const THtEntityDictionary dictionary;
  return dictionary;
}

const THtEntityReverseDictionary& GlobalEntityReverseDictionary() {
  static const THtEntityReverseDictionary dictionary;
  return dictionary;
}

namespace {
// Builds both tables while the library loads, so the first parse pays
// nothing; the function-local statics keep any earlier use safe as well.
[[maybe_unused]] const bool kEntitiesBuilt =
    (GlobalEntityDictionary(), GlobalEntityReverseDictionary(), true);
}  // namespace

}  // namespace norvane
