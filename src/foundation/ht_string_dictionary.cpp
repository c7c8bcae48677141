#include "norvane/foundation/ht_string_dictionary.h"

#include <cstring>

#include "ht_search.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/threads.h"

namespace norvane {

NV_CLASS_IMPL(THtObjectDictionary, "htdictionary")
NV_CLASS_IMPL(THtThreadObjectDictionary, "htdictionary")
NV_CLASS_IMPL(THtPointerDictionary, "htdictionary")
NV_CLASS_IMPL(THtVirtualStringDictionary, "htdictionary")
NV_CLASS_IMPL(THtVirtualDictionary, "htdictionary")
NV_CLASS_IMPL(THtUTF8Dictionary, "htdictionary")
NV_CLASS_IMPL(THtNameObjectPair, "htdictionary")
NV_CLASS_IMPL(THtStringList, "htdictionary")
NV_CLASS_IMPL(THtSingleRec, "htdictionary")
NV_CLASS_IMPL(THtSingleList, "htdictionary")

using detail::HtHashTable;
using detail::HtSearch;

namespace {

inline const UnicodeString& KeyAt(const void* value, int32_t offset) noexcept {
  return *reinterpret_cast<const UnicodeString*>(static_cast<const char*>(value) + offset);
}

inline bool SameUnits(const char16_t* a, const char16_t* b, int32_t length) noexcept {
  return length <= 0 || std::memcmp(a, b, size_t(length) * sizeof(char16_t)) == 0;
}

// UnicodeString key against the key field: block pointer, length, units.
inline int32_t SearchString(const HtHashTable& t, int32_t offset, uint32_t hash, const UnicodeString& key) noexcept {
  return HtSearch(t, hash, [&](void* v) {
    if (!v) return false;
    const UnicodeString& k = KeyAt(v, offset);
    if (k.SameBlock(key)) return true;
    const int32_t n = key.Length();
    return k.Length() == n && SameUnits(k.Data(), key.Data(), n);
  });
}

// Units and length against the key field; allocates nothing.
inline int32_t SearchUnits(const HtHashTable& t, int32_t offset, uint32_t hash, const char16_t* key,
                           int32_t length) noexcept {
  return HtSearch(t, hash, [&](void* v) {
    if (!v) return false;
    const UnicodeString& k = KeyAt(v, offset);
    if (k.Length() != length) return false;
    return k.Data() == key || SameUnits(k.Data(), key, length);
  });
}

[[noreturn]] void RaiseNoKey() { throw EArgumentException(UnicodeString(u"A nil value carries no key")); }

void CheckOffset(int32_t keyOffset, int32_t minimum) {
  if (keyOffset < minimum) throw EArgumentException(UnicodeString(u"Invalid key offset"));
}

// The object-table steps shared by the plain and the locked dictionary.
struct ObjectSteps {
  HtHashTable& t;
  int32_t offset;
  bool owns;

  int32_t AddHashed(uint32_t hash, const UnicodeString& key, TObject* value) {
    t.PrepareInsert();
    const int32_t i = SearchString(t, offset, hash, key);
    if (i >= 0) {
      auto* old = static_cast<TObject*>(t.ValueAt(i));
      t.SetValueAt(i, value);
      if (owns && old && old != value) delete old;
      return i;
    }
    t.InsertAt(~i, hash, value);
    return ~i;
  }
  void PutHashed(uint32_t hash, const UnicodeString& key, TObject* value) {
    int32_t i = SearchString(t, offset, hash, key);
    if (i >= 0) {
      auto* old = static_cast<TObject*>(t.ValueAt(i));
      t.SetValueAt(i, value);
      if (owns && old != value) delete old;
      return;
    }
    if (t.PrepareInsert()) i = SearchString(t, offset, hash, key);
    t.InsertAt(~i, hash, value);
  }
  TObject* GetHashed(uint32_t hash, const UnicodeString& key) const noexcept {
    const int32_t i = SearchString(t, offset, hash, key);
    return i >= 0 ? static_cast<TObject*>(t.ValueAt(i)) : nullptr;
  }
  TObject* ExtractHashed(uint32_t hash, const UnicodeString& key) noexcept {
    const int32_t i = SearchString(t, offset, hash, key);
    return i >= 0 ? static_cast<TObject*>(t.DeleteAt(i)) : nullptr;
  }
  bool RemoveHashed(uint32_t hash, const UnicodeString& key) {
    const int32_t i = SearchString(t, offset, hash, key);
    if (i < 0) return false;
    auto* obj = static_cast<TObject*>(t.DeleteAt(i));
    if (owns) delete obj;
    return true;
  }
};

class ReadLock {
 public:
  explicit ReadLock(TMultiReadExclusiveWriteSynchronizer* l) : l_(l) { l_->BeginRead(); }
  ~ReadLock() { l_->EndRead(); }

 private:
  TMultiReadExclusiveWriteSynchronizer* l_;
};

class WriteLock {
 public:
  explicit WriteLock(TMultiReadExclusiveWriteSynchronizer* l) : l_(l) { l_->BeginWrite(); }
  ~WriteLock() { l_->EndWrite(); }

 private:
  TMultiReadExclusiveWriteSynchronizer* l_;
};

}  // namespace

// --- THtObjectDictionary -------------------------------------------------------------

THtObjectDictionary::THtObjectDictionary(int32_t capacity, bool ownsObjects, int32_t keyOffset,
                                         THtHashFunc hashFunc)
    : THtIdObjectDictionary(capacity, ownsObjects),
      FHashFunc(hashFunc ? hashFunc : &ShaPerfectHash),
      FKeyOffset(keyOffset) {
  CheckOffset(keyOffset, 0);
}

#define NV_STEPS ObjectSteps{FItems, FKeyOffset, FOwnsObjects}

bool THtObjectDictionary::ContainsKey(const UnicodeString& key) const {
  return SearchString(FItems, FKeyOffset, uint32_t(Hash(key)), key) >= 0;
}
bool THtObjectDictionary::Find(const UnicodeString& key, TObject*& value) const {
  const int32_t i = SearchString(FItems, FKeyOffset, uint32_t(Hash(key)), key);
  value = i >= 0 ? static_cast<TObject*>(FItems.ValueAt(i)) : nullptr;
  return i >= 0;
}
bool THtObjectDictionary::Find(const char16_t* key, int32_t length, TObject*& value) const {
  const int32_t i = SearchUnits(FItems, FKeyOffset, uint32_t(FHashFunc(key, length)), key, length);
  value = i >= 0 ? static_cast<TObject*>(FItems.ValueAt(i)) : nullptr;
  return i >= 0;
}
int32_t THtObjectDictionary::FindHashed(int32_t hash, const UnicodeString& key) const noexcept {
  return SearchString(FItems, FKeyOffset, uint32_t(hash), key);
}
int32_t THtObjectDictionary::FindHashed(int32_t hash, const char16_t* key, int32_t length) const noexcept {
  return SearchUnits(FItems, FKeyOffset, uint32_t(hash), key, length);
}
int32_t THtObjectDictionary::AddHashed(int32_t hash, const UnicodeString& key, TObject* value) {
  return NV_STEPS.AddHashed(uint32_t(hash), key, value);
}
int32_t THtObjectDictionary::Add(const UnicodeString& key, TObject* value) {
  return AddHashed(Hash(key), key, value);
}
int32_t THtObjectDictionary::AddObject(TObject* value) {
  if (!value) RaiseNoKey();
  const UnicodeString& key = KeyAt(value, FKeyOffset);
  return AddHashed(Hash(key), key, value);
}
void THtObjectDictionary::PutHashed(int32_t hash, const UnicodeString& key, TObject* value) {
  NV_STEPS.PutHashed(uint32_t(hash), key, value);
}
void THtObjectDictionary::Put(const UnicodeString& key, TObject* value) { PutHashed(Hash(key), key, value); }
TObject* THtObjectDictionary::GetHashed(int32_t hash, const UnicodeString& key) const noexcept {
  const int32_t i = SearchString(FItems, FKeyOffset, uint32_t(hash), key);
  return i >= 0 ? static_cast<TObject*>(FItems.ValueAt(i)) : nullptr;
}
TObject* THtObjectDictionary::Get(const UnicodeString& key) const { return GetHashed(Hash(key), key); }
TObject* THtObjectDictionary::ExtractHashed(int32_t hash, const UnicodeString& key) noexcept {
  return NV_STEPS.ExtractHashed(uint32_t(hash), key);
}
TObject* THtObjectDictionary::Extract(const UnicodeString& key) { return ExtractHashed(Hash(key), key); }
bool THtObjectDictionary::RemoveHashed(int32_t hash, const UnicodeString& key) {
  return NV_STEPS.RemoveHashed(uint32_t(hash), key);
}
bool THtObjectDictionary::Remove(const UnicodeString& key) { return RemoveHashed(Hash(key), key); }

// --- THtThreadObjectDictionary -------------------------------------------------------

THtThreadObjectDictionary::THtThreadObjectDictionary(int32_t capacity, bool ownsObjects, int32_t keyOffset,
                                                     THtHashFunc hashFunc)
    : THtIdObjectDictionary(capacity, ownsObjects),
      FHashFunc(hashFunc ? hashFunc : &ShaPerfectHashAsm),
      FKeyOffset(keyOffset),
      FLock(nullptr) {
  CheckOffset(keyOffset, 0);
  FLock = new TMultiReadExclusiveWriteSynchronizer();
}

THtThreadObjectDictionary::~THtThreadObjectDictionary() {
  // Values go first: their destructors may still look into the table.
  if (FOwnsObjects) FreeValues();
  delete FLock;
}

bool THtThreadObjectDictionary::ContainsKey(const UnicodeString& key) const {
  const uint32_t hash = uint32_t(FHashFunc(key.Data(), key.Length()));
  ReadLock lock(FLock);
  return SearchString(FItems, FKeyOffset, hash, key) >= 0;
}
bool THtThreadObjectDictionary::Find(const UnicodeString& key, TObject*& value) const {
  const uint32_t hash = uint32_t(FHashFunc(key.Data(), key.Length()));
  ReadLock lock(FLock);
  const int32_t i = SearchString(FItems, FKeyOffset, hash, key);
  value = i >= 0 ? static_cast<TObject*>(FItems.ValueAt(i)) : nullptr;
  return i >= 0;
}
bool THtThreadObjectDictionary::Find(const char16_t* key, int32_t length, TObject*& value) const {
  const uint32_t hash = uint32_t(FHashFunc(key, length));
  ReadLock lock(FLock);
  const int32_t i = SearchUnits(FItems, FKeyOffset, hash, key, length);
  value = i >= 0 ? static_cast<TObject*>(FItems.ValueAt(i)) : nullptr;
  return i >= 0;
}
int32_t THtThreadObjectDictionary::FindHashed(int32_t hash, const UnicodeString& key) const noexcept {
  return SearchString(FItems, FKeyOffset, uint32_t(hash), key);
}
int32_t THtThreadObjectDictionary::FindHashed(int32_t hash, const char16_t* key, int32_t length) const noexcept {
  return SearchUnits(FItems, FKeyOffset, uint32_t(hash), key, length);
}
int32_t THtThreadObjectDictionary::AddHashed(int32_t hash, const UnicodeString& key, TObject* value) {
  return NV_STEPS.AddHashed(uint32_t(hash), key, value);
}
int32_t THtThreadObjectDictionary::Add(const UnicodeString& key, TObject* value) {
  const int32_t hash = FHashFunc(key.Data(), key.Length());
  WriteLock lock(FLock);
  return AddHashed(hash, key, value);
}
int32_t THtThreadObjectDictionary::AddObject(TObject* value) {
  if (!value) RaiseNoKey();
  return Add(KeyAt(value, FKeyOffset), value);
}
void THtThreadObjectDictionary::PutHashed(int32_t hash, const UnicodeString& key, TObject* value) {
  NV_STEPS.PutHashed(uint32_t(hash), key, value);
}
void THtThreadObjectDictionary::Put(const UnicodeString& key, TObject* value) {
  const int32_t hash = FHashFunc(key.Data(), key.Length());
  WriteLock lock(FLock);
  PutHashed(hash, key, value);
}
TObject* THtThreadObjectDictionary::GetHashed(int32_t hash, const UnicodeString& key) const noexcept {
  const int32_t i = SearchString(FItems, FKeyOffset, uint32_t(hash), key);
  return i >= 0 ? static_cast<TObject*>(FItems.ValueAt(i)) : nullptr;
}
TObject* THtThreadObjectDictionary::Get(const UnicodeString& key) const {
  const int32_t hash = FHashFunc(key.Data(), key.Length());
  ReadLock lock(FLock);
  return GetHashed(hash, key);
}
TObject* THtThreadObjectDictionary::ExtractHashed(int32_t hash, const UnicodeString& key) noexcept {
  return NV_STEPS.ExtractHashed(uint32_t(hash), key);
}
TObject* THtThreadObjectDictionary::Extract(const UnicodeString& key) {
  const int32_t hash = FHashFunc(key.Data(), key.Length());
  WriteLock lock(FLock);
  return ExtractHashed(hash, key);
}
bool THtThreadObjectDictionary::RemoveHashed(int32_t hash, const UnicodeString& key) {
  return NV_STEPS.RemoveHashed(uint32_t(hash), key);
}
bool THtThreadObjectDictionary::Remove(const UnicodeString& key) {
  const int32_t hash = FHashFunc(key.Data(), key.Length());
  TObject* obj;
  {
    WriteLock lock(FLock);
    const int32_t i = SearchString(FItems, FKeyOffset, uint32_t(hash), key);
    if (i < 0) return false;
    obj = static_cast<TObject*>(FItems.DeleteAt(i));
  }
  // The destructor runs outside the lock, so it may use the table itself.
  if (FOwnsObjects) delete obj;
  return true;
}
void THtThreadObjectDictionary::Traverse(void* context, THtObjectTraverseProc proc) const {
  ReadLock lock(FLock);
  THtIdObjectDictionary::Traverse(context, proc);
}

#undef NV_STEPS

// --- THtPointerDictionary ------------------------------------------------------------

THtPointerDictionary::THtPointerDictionary(int32_t capacity, int32_t keyOffset, THtHashFunc hashFunc)
    : THtPointerDictionary(capacity, keyOffset, hashFunc, KeyKind::String) {}

THtPointerDictionary::THtPointerDictionary(int32_t capacity, int32_t keyOffset, THtHashFunc hashFunc,
                                           KeyKind kind)
    : THtIdPointerDictionary(capacity),
      FHashFunc(hashFunc ? hashFunc : &ShaPerfectHashAsm),
      FKeyOffset(keyOffset),
      FKeyKind(kind) {
  CheckOffset(keyOffset, kind == KeyKind::Chars ? 4 : 0);
}

std::u16string_view THtPointerDictionary::KeyOf(const void* record) const noexcept {
  if (!record) return {};
  if (FKeyKind == KeyKind::String) return KeyAt(record, FKeyOffset).view();
  const char* field = static_cast<const char*>(record) + FKeyOffset;
  const char16_t* chars;
  int32_t length;
  std::memcpy(&chars, field, sizeof(chars));
  std::memcpy(&length, field - 4, sizeof(length));
  if (!chars || length <= 0) return {};
  return {chars, size_t(length)};
}

int32_t THtPointerDictionary::Search(uint32_t hash, const char16_t* key, int32_t length) const noexcept {
  if (FKeyKind == KeyKind::String) return SearchUnits(FItems, FKeyOffset, hash, key, length);
  // Slices of other text: length, then memory.
  return HtSearch(FItems, hash, [&](void* v) {
    if (!v) return false;
    const std::u16string_view k = KeyOf(v);
    return int32_t(k.size()) == length && SameUnits(k.data(), key, length);
  });
}

bool THtPointerDictionary::ContainsKey(const UnicodeString& key) const {
  return FindHashed(Hash(key), key) >= 0;
}
bool THtPointerDictionary::Find(const UnicodeString& key, void*& value) const {
  const int32_t i = FindHashed(Hash(key), key);
  value = i >= 0 ? FItems.ValueAt(i) : nullptr;
  return i >= 0;
}
bool THtPointerDictionary::Find(const char16_t* key, int32_t length, void*& value) const {
  const int32_t i = Search(uint32_t(FHashFunc(key, length)), key, length);
  value = i >= 0 ? FItems.ValueAt(i) : nullptr;
  return i >= 0;
}
int32_t THtPointerDictionary::FindHashed(int32_t hash, const UnicodeString& key) const noexcept {
  if (FKeyKind == KeyKind::String) return SearchString(FItems, FKeyOffset, uint32_t(hash), key);
  return Search(uint32_t(hash), key.Data(), key.Length());
}
int32_t THtPointerDictionary::FindHashed(int32_t hash, const char16_t* key, int32_t length) const noexcept {
  return Search(uint32_t(hash), key, length);
}
int32_t THtPointerDictionary::AddHashed(int32_t hash, const UnicodeString& key, void* value) {
  FItems.PrepareInsert();
  const int32_t i = FindHashed(hash, key);
  if (i >= 0) {
    FItems.SetValueAt(i, value);
    return ~i;
  }
  FItems.InsertAt(~i, uint32_t(hash), value);
  return ~i;
}
int32_t THtPointerDictionary::Add(const UnicodeString& key, void* value) { return AddHashed(Hash(key), key, value); }
int32_t THtPointerDictionary::AddPointer(void* value) {
  if (!value) RaiseNoKey();
  const std::u16string_view k = KeyOf(value);
  const uint32_t hash = uint32_t(FHashFunc(k.data(), int32_t(k.size())));
  FItems.PrepareInsert();
  const int32_t i = Search(hash, k.data(), int32_t(k.size()));
  if (i >= 0) {
    FItems.SetValueAt(i, value);
    return ~i;
  }
  FItems.InsertAt(~i, hash, value);
  return ~i;
}
void THtPointerDictionary::PutHashed(int32_t hash, const UnicodeString& key, void* value) {
  int32_t i = FindHashed(hash, key);
  if (i >= 0) {
    FItems.SetValueAt(i, value);
    return;
  }
  if (FItems.PrepareInsert()) i = FindHashed(hash, key);
  FItems.InsertAt(~i, uint32_t(hash), value);
}
void THtPointerDictionary::Put(const UnicodeString& key, void* value) { PutHashed(Hash(key), key, value); }
void* THtPointerDictionary::GetHashed(int32_t hash, const UnicodeString& key) const noexcept {
  const int32_t i = FindHashed(hash, key);
  return i >= 0 ? FItems.ValueAt(i) : nullptr;
}
void* THtPointerDictionary::Get(const UnicodeString& key) const { return GetHashed(Hash(key), key); }
void* THtPointerDictionary::ExtractHashed(int32_t hash, const UnicodeString& key) noexcept {
  const int32_t i = FindHashed(hash, key);
  return i >= 0 ? FItems.DeleteAt(i) : nullptr;
}
void* THtPointerDictionary::Extract(const UnicodeString& key) { return ExtractHashed(Hash(key), key); }
bool THtPointerDictionary::RemoveHashed(int32_t hash, const UnicodeString& key) noexcept {
  const int32_t i = FindHashed(hash, key);
  if (i < 0) return false;
  FItems.DeleteAt(i);
  return true;
}
bool THtPointerDictionary::Remove(const UnicodeString& key) { return RemoveHashed(Hash(key), key); }

// --- THtVirtualStringDictionary ------------------------------------------------------

THtVirtualStringDictionary::THtVirtualStringDictionary(int32_t capacity, int32_t keyOffset, THtHashFunc hashFunc)
    : THtPointerDictionary(capacity, keyOffset, hashFunc, KeyKind::Chars) {}

int32_t THtVirtualStringDictionary::FindHashedVirtual(int32_t hash, const char16_t* chars,
                                                      int32_t length) const noexcept {
  return Search(uint32_t(hash), chars, length);
}

int32_t THtVirtualStringDictionary::AddHashedVirtual(int32_t hash, int32_t index, const char16_t* chars,
                                                     int32_t length, void* value) {
  const bool moved = FItems.PrepareInsert();
  const int32_t slot = index >= 0 ? index : ~index;
  if (moved || slot > FItems.Mask()) index = Search(uint32_t(hash), chars, length);
  if (index >= 0) {
    FItems.SetValueAt(index, value);
    return index;
  }
  FItems.InsertAt(~index, uint32_t(hash), value);
  return ~index;
}

// --- THtVirtualDictionary ------------------------------------------------------------

THtVirtualDictionary::THtVirtualDictionary(THtVirtualHashProc hashProc, THtVirtualEqualProc equalProc,
                                           void* context, int32_t capacity)
    : THtIdPointerDictionary(capacity), FHashProc(hashProc), FEqualProc(equalProc), FContext(context) {
  if (!hashProc || !equalProc) throw EArgumentException(UnicodeString(u"Hash and equality callbacks are required"));
}

int32_t THtVirtualDictionary::FindHashed(int32_t hash, const void* probe) const {
  return HtSearch(FItems, uint32_t(hash), [&](void* v) { return v && FEqualProc(FContext, v, probe); });
}

int32_t THtVirtualDictionary::Add(void* value) {
  if (!value) RaiseNoKey();
  const int32_t hash = FHashProc(FContext, value);
  FItems.PrepareInsert();
  const int32_t i = FindHashed(hash, value);
  if (i >= 0) {
    FItems.SetValueAt(i, value);
    return ~i;
  }
  FItems.InsertAt(~i, uint32_t(hash), value);
  return ~i;
}

void* THtVirtualDictionary::Find(const void* probe) const {
  if (!probe) return nullptr;
  const int32_t i = FindHashed(FHashProc(FContext, probe), probe);
  return i >= 0 ? FItems.ValueAt(i) : nullptr;
}

void* THtVirtualDictionary::Extract(const void* probe) {
  if (!probe) return nullptr;
  const int32_t i = FindHashed(FHashProc(FContext, probe), probe);
  return i >= 0 ? FItems.DeleteAt(i) : nullptr;
}

// --- THtUTF8Dictionary ---------------------------------------------------------------

THtUTF8Dictionary::THtUTF8Dictionary(int32_t capacity, int32_t keyOffset)
    : THtIdPointerDictionary(capacity), FKeyOffset(keyOffset) {
  CheckOffset(keyOffset, 1);
}

std::string_view THtUTF8Dictionary::KeyOf(const void* record) const noexcept {
  if (!record) return {};
  const auto* bytes = static_cast<const unsigned char*>(record) + FKeyOffset;
  return {reinterpret_cast<const char*>(bytes), size_t(bytes[-1])};
}

int32_t THtUTF8Dictionary::FindHashed(int32_t hash, std::string_view key) const noexcept {
  return HtSearch(FItems, uint32_t(hash), [&](void* v) {
    if (!v) return false;
    const std::string_view k = KeyOf(v);
    return k.size() == key.size() && (k.empty() || std::memcmp(k.data(), key.data(), k.size()) == 0);
  });
}

bool THtUTF8Dictionary::Find(std::string_view key, void*& value) const noexcept {
  const int32_t i = FindHashed(Hash(key), key);
  value = i >= 0 ? FItems.ValueAt(i) : nullptr;
  return i >= 0;
}

int32_t THtUTF8Dictionary::AddHashed(int32_t hash, void* value) {
  if (!value) RaiseNoKey();
  FItems.PrepareInsert();
  const int32_t i = FindHashed(hash, KeyOf(value));
  if (i >= 0) {
    FItems.SetValueAt(i, value);
    return ~i;
  }
  FItems.InsertAt(~i, uint32_t(hash), value);
  return ~i;
}

int32_t THtUTF8Dictionary::Add(void* value) {
  if (!value) RaiseNoKey();
  return AddHashed(Hash(KeyOf(value)), value);
}

int32_t THtUTF8Dictionary::AddUnique(void* value) {
  if (!value) RaiseNoKey();
  const uint32_t hash = uint32_t(Hash(KeyOf(value)));
  FItems.PrepareInsert();
  const int32_t i = HtSearch(FItems, hash, [](void*) { return false; });
  FItems.InsertAt(~i, hash, value);
  return ~i;
}

int32_t THtUTF8Dictionary::AddWithIndex(int32_t hash, int32_t index, void* value) {
  if (!value) RaiseNoKey();
  const bool moved = FItems.PrepareInsert();
  int32_t slot = index >= 0 ? index : ~index;
  if (moved || slot > FItems.Mask()) {
    const int32_t i = FindHashed(hash, KeyOf(value));
    slot = i >= 0 ? i : ~i;
  }
  FItems.InsertAt(slot, uint32_t(hash), value);
  return slot;
}

void THtUTF8Dictionary::PutHashed(int32_t hash, void* value) {
  if (!value) RaiseNoKey();
  const std::string_view key = KeyOf(value);
  int32_t i = FindHashed(hash, key);
  if (i >= 0) {
    FItems.SetValueAt(i, value);
    return;
  }
  if (FItems.PrepareInsert()) i = FindHashed(hash, key);
  FItems.InsertAt(~i, uint32_t(hash), value);
}

void THtUTF8Dictionary::Put(void* value) {
  if (!value) RaiseNoKey();
  PutHashed(Hash(KeyOf(value)), value);
}

void* THtUTF8Dictionary::GetHashed(int32_t hash, std::string_view key) const noexcept {
  const int32_t i = FindHashed(hash, key);
  return i >= 0 ? FItems.ValueAt(i) : nullptr;
}

void* THtUTF8Dictionary::Get(std::string_view key) const noexcept { return GetHashed(Hash(key), key); }

// --- THtStringList and THtSingleList ---------------------------------------------------

THtNameObjectPair::~THtNameObjectPair() {
  if (Owns) delete Value;
}

int32_t THtNameObjectPair::NameOffset() noexcept { return NV_FIELD_OFFSET(THtNameObjectPair, Name); }

THtStringList::THtStringList(int32_t capacity, bool ownsValues)
    : THtObjectDictionary(capacity, true, THtNameObjectPair::NameOffset()), FOwnsValues(ownsValues) {}

THtNameObjectPair* THtStringList::Add(const UnicodeString& name, TObject* value) {
  const int32_t hash = Hash(name);
  const int32_t i = FindHashed(hash, name);
  if (i >= 0) {
    // Reuse the pair: a new pair would free an object it shares with this one.
    auto* pair = static_cast<THtNameObjectPair*>(FItems.ValueAt(i));
    if (pair->Owns && pair->Value != value) delete pair->Value;
    pair->Value = value;
    pair->Owns = FOwnsValues;
    return pair;
  }
  auto* pair = new THtNameObjectPair(name, value, FOwnsValues);
  try {
    AddHashed(hash, name, pair);
  } catch (...) {
    pair->Owns = false;
    delete pair;
    throw;
  }
  return pair;
}

TObject* THtStringList::GetObject(const UnicodeString& name) const {
  auto* pair = GetPair(name);
  return pair ? pair->Value : nullptr;
}

int32_t THtSingleRec::KeyOffset() noexcept { return NV_FIELD_OFFSET(THtSingleRec, Key); }

THtSingleList::THtSingleList() : THtObjectDictionary(16, true, THtSingleRec::KeyOffset()) {}

void THtSingleList::AddWidth(const UnicodeString& key, float value) {
  const int32_t hash = Hash(key);
  const int32_t i = FindHashed(hash, key);
  if (i >= 0) {
    static_cast<THtSingleRec*>(FItems.ValueAt(i))->Value = value;
    return;
  }
  auto* rec = new THtSingleRec(key, value);
  try {
    AddHashed(hash, key, rec);
  } catch (...) {
    delete rec;
    throw;
  }
}

float THtSingleList::GetWidth(const UnicodeString& key) const {
  auto* rec = static_cast<THtSingleRec*>(Get(key));
  return rec ? rec->Value : -1.0f;
}

}  // namespace norvane
