#include "norvane/foundation/string_trie.h"

#include <utility>
#include <vector>

namespace norvane {

NV_CLASS_IMPL(THtStringTrie, "htdictionary")

namespace {

THtStringTrieItem* Child(THtStringTrieItem* item, unsigned index) {
  if (!item->Items) item->Items = new THtStringTrieItem*[256]();
  THtStringTrieItem*& child = item->Items[index];
  if (!child) child = new THtStringTrieItem();
  return child;
}

// Frees the subtree below `root` (not `root` itself) and the owned values,
// without recursion: keys may be long.
void FreeBelow(THtStringTrieItem& root) {
  std::vector<THtStringTrieItem*> pending;
  auto release = [&](THtStringTrieItem* item) {
    if (item->Items) {
      for (int i = 0; i < 256; ++i)
        if (item->Items[i]) pending.push_back(item->Items[i]);
      delete[] item->Items;
      item->Items = nullptr;
    }
  };
  release(&root);
  while (!pending.empty()) {
    THtStringTrieItem* item = pending.back();
    pending.pop_back();
    release(item);
    if (item->Owns) delete item->Value;
    delete item;
  }
}

}  // namespace

THtStringTrie::THtStringTrie(bool ownsObjects) : FOwnsObjects(ownsObjects) {}

THtStringTrie::~THtStringTrie() { Clear(); }

void THtStringTrie::Clear() {
  FreeBelow(FRoot);
  if (FRoot.Owns) delete FRoot.Value;
  FRoot.Value = nullptr;
  FRoot.Owns = false;
}

void THtStringTrie::Add(const UnicodeString& key, TObject* value) { Add(key.Data(), key.Length(), value); }

void THtStringTrie::Add(const char16_t* key, int32_t length, TObject* value) {
  THtStringTrieItem* item = &FRoot;
  if (key)
    for (int32_t i = 0; i < length; ++i) {
      const char16_t c = key[i];
      item = Child(Child(item, unsigned(c) >> 8), unsigned(c) & 0xFF);
    }
  TObject* old = item->Value;
  const bool ownedOld = item->Owns;
  item->Value = value;
  item->Owns = FOwnsObjects;
  if (ownedOld && old != value) delete old;
}

const THtStringTrieItem* THtStringTrie::Walk(const char16_t* key, int32_t length) const noexcept {
  const THtStringTrieItem* item = &FRoot;
  if (key)
    for (int32_t i = 0; i < length; ++i) {
      const char16_t c = key[i];
      if (!item->Items) return nullptr;
      item = item->Items[unsigned(c) >> 8];
      if (!item || !item->Items) return nullptr;
      item = item->Items[unsigned(c) & 0xFF];
      if (!item) return nullptr;
    }
  return item;
}

bool THtStringTrie::FindPChar(const char16_t* key, int32_t length, TObject*& value) const noexcept {
  const THtStringTrieItem* item = Walk(key, length);
  value = item ? item->Value : nullptr;
  return value != nullptr;
}

bool THtStringTrie::Find(const UnicodeString& key, TObject*& value) const noexcept {
  return FindPChar(key.Data(), key.Length(), value);
}

bool THtStringTrie::ContainsKey(const UnicodeString& key) const noexcept {
  TObject* value;
  return FindPChar(key.Data(), key.Length(), value);
}

void THtStringTrie::Assign(const THtStringTrie& source) {
  if (&source == this) return;
  Clear();
  std::vector<std::pair<const THtStringTrieItem*, THtStringTrieItem*>> pending{{&source.FRoot, &FRoot}};
  while (!pending.empty()) {
    auto [from, to] = pending.back();
    pending.pop_back();
    to->Value = from->Value;
    to->Owns = from->Value == nullptr;
    if (!from->Items) continue;
    to->Items = new THtStringTrieItem*[256]();
    for (int i = 0; i < 256; ++i)
      if (from->Items[i]) {
        to->Items[i] = new THtStringTrieItem();
        pending.emplace_back(from->Items[i], to->Items[i]);
      }
  }
}

}  // namespace norvane
