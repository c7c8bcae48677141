// THtStringTrie: objects keyed by UTF-16 strings in a two-level-per-unit
// trie.
//
// Each code unit descends twice, by its high byte and then its low byte,
// through 256-entry pointer arrays that are allocated, zero-filled, the first
// time a path needs them. Lookups touch one array per byte and compare
// nothing, so they cost the key length whatever the number of keys; the
// price is memory (2 KB per array).
#pragma once

#include <cstdint>

#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

struct THtStringTrieItem {
  bool Owns = false;
  TObject* Value = nullptr;
  // 256 children, nil until the first child is added.
  THtStringTrieItem** Items = nullptr;
};

class THtStringTrie : public TObject {
  NV_CLASS(THtStringTrie, TObject)
 public:
  explicit THtStringTrie(bool ownsObjects = false);
  ~THtStringTrie() override;

  bool OwnsObjects() const noexcept { return FOwnsObjects; }

  // Stores `value` under `key` (the empty key is the root). A value already
  // there is freed when its item owns it, unless it is the same object; the
  // item then owns the new value when the trie owns its objects.
  void Add(const UnicodeString& key, TObject* value);
  void Add(const char16_t* key, int32_t length, TObject* value);
  // True when the key leads to an item with a non-nil value.
  bool Find(const UnicodeString& key, TObject*& value) const noexcept;
  bool FindPChar(const char16_t* key, int32_t length, TObject*& value) const noexcept;
  bool ContainsKey(const UnicodeString& key) const noexcept;
  // Replaces the contents with a copy of `source`'s structure. The values
  // are shared, not copied: a copied item owns its value only when it has
  // none, so the copies never free what the source holds.
  void Assign(const THtStringTrie& source);
  // Frees the owned values and every array.
  void Clear();

  const THtStringTrieItem& Root() const noexcept { return FRoot; }

 private:
  const THtStringTrieItem* Walk(const char16_t* key, int32_t length) const noexcept;

  THtStringTrieItem FRoot;
  bool FOwnsObjects;
};

}  // namespace norvane
