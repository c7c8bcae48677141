// String-keyed members of the hash table family.
//
// These tables store no key: the key is read from the value itself, at a
// byte offset fixed at creation (take it with NV_FIELD_OFFSET), so a slot
// stays a hash word and a value pointer and a lookup compares against the
// object's own string. A value's key field must not change while the value
// is in a table. A nil value has no key and is never matched by a lookup.
//
// Key comparison of the UnicodeString tables: block pointer first (interned
// names match in one step), then length, then the units. The forms that take
// a pointer and a length allocate nothing. The ...Hashed forms take a hash
// the caller already has, so one hash serves a search and a following insert.
#pragma once

#include <cstdint>
#include <string_view>

#include "norvane/foundation/hash.h"
#include "norvane/foundation/ht_id_dictionary.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TMultiReadExclusiveWriteSynchronizer;

// --- Objects keyed by a UnicodeString field ----------------------------------

class THtObjectDictionary : public THtIdObjectDictionary {
  NV_CLASS(THtObjectDictionary, THtIdObjectDictionary)
 public:
  // `keyOffset`: byte offset of the UnicodeString key inside each value.
  // A nil `hashFunc` means ShaPerfectHash.
  THtObjectDictionary(int32_t capacity, bool ownsObjects, int32_t keyOffset, THtHashFunc hashFunc = nullptr);

  THtHashFunc HashFunc() const noexcept { return FHashFunc; }
  int32_t KeyOffset() const noexcept { return FKeyOffset; }
  int32_t Hash(const UnicodeString& key) const { return FHashFunc(key.Data(), key.Length()); }

  bool ContainsKey(const UnicodeString& key) const;
  bool Find(const UnicodeString& key, TObject*& value) const;
  bool Find(const char16_t* key, int32_t length, TObject*& value) const;
  // The slot of the key, or the complement of its insertion slot.
  int32_t FindHashed(int32_t hash, const UnicodeString& key) const noexcept;
  int32_t FindHashed(int32_t hash, const char16_t* key, int32_t length) const noexcept;
  // Inserts, or replaces the value of an existing key (freeing the old one
  // when owned, non-nil and different); always returns the slot (>= 0).
  int32_t AddHashed(int32_t hash, const UnicodeString& key, TObject* value);
  int32_t Add(const UnicodeString& key, TObject* value);
  // Adds a value under the key it carries.
  int32_t AddObject(TObject* value);
  // Inserts or replaces; a replaced owned value is freed unless it is the
  // same object.
  void PutHashed(int32_t hash, const UnicodeString& key, TObject* value);
  void Put(const UnicodeString& key, TObject* value);
  TObject* GetHashed(int32_t hash, const UnicodeString& key) const noexcept;
  TObject* Get(const UnicodeString& key) const;
  // Takes the entry out and returns its value, nullptr when absent.
  TObject* ExtractHashed(int32_t hash, const UnicodeString& key) noexcept;
  TObject* Extract(const UnicodeString& key);
  // Takes the entry out and frees an owned value; false when absent.
  bool RemoveHashed(int32_t hash, const UnicodeString& key);
  bool Remove(const UnicodeString& key);

 protected:
  THtHashFunc FHashFunc;
  int32_t FKeyOffset;
};

// The same table for several threads. The unhashed operations lock: reads
// (ContainsKey, Find, Get, Traverse) share a read lock, changes (Add,
// AddObject, Put, Extract, Remove) take the write lock. The ...Hashed forms
// are the inner steps and take no lock; a caller using them holds none.
class THtThreadObjectDictionary : public THtIdObjectDictionary {
  NV_CLASS(THtThreadObjectDictionary, THtIdObjectDictionary)
 public:
  // A nil `hashFunc` means ShaPerfectHashAsm.
  THtThreadObjectDictionary(int32_t capacity, bool ownsObjects, int32_t keyOffset,
                            THtHashFunc hashFunc = nullptr);
  ~THtThreadObjectDictionary() override;

  THtHashFunc HashFunc() const noexcept { return FHashFunc; }
  int32_t KeyOffset() const noexcept { return FKeyOffset; }
  TMultiReadExclusiveWriteSynchronizer* Lock() const noexcept { return FLock; }

  bool ContainsKey(const UnicodeString& key) const;
  bool Find(const UnicodeString& key, TObject*& value) const;
  bool Find(const char16_t* key, int32_t length, TObject*& value) const;
  int32_t FindHashed(int32_t hash, const UnicodeString& key) const noexcept;
  int32_t FindHashed(int32_t hash, const char16_t* key, int32_t length) const noexcept;
  int32_t AddHashed(int32_t hash, const UnicodeString& key, TObject* value);
  int32_t Add(const UnicodeString& key, TObject* value);
  int32_t AddObject(TObject* value);
  void PutHashed(int32_t hash, const UnicodeString& key, TObject* value);
  void Put(const UnicodeString& key, TObject* value);
  TObject* GetHashed(int32_t hash, const UnicodeString& key) const noexcept;
  TObject* Get(const UnicodeString& key) const;
  TObject* ExtractHashed(int32_t hash, const UnicodeString& key) noexcept;
  TObject* Extract(const UnicodeString& key);
  bool RemoveHashed(int32_t hash, const UnicodeString& key);
  bool Remove(const UnicodeString& key);
  void Traverse(void* context, THtObjectTraverseProc proc) const;

 protected:
  THtHashFunc FHashFunc;
  int32_t FKeyOffset;
  TMultiReadExclusiveWriteSynchronizer* FLock;
};

// --- Records keyed by a UnicodeString field ----------------------------------

// Untyped pointers to records that hold their key. Owns nothing.
class THtPointerDictionary : public THtIdPointerDictionary {
  NV_CLASS(THtPointerDictionary, THtIdPointerDictionary)
 public:
  // A nil `hashFunc` means ShaPerfectHashAsm.
  THtPointerDictionary(int32_t capacity, int32_t keyOffset, THtHashFunc hashFunc = nullptr);

  THtHashFunc HashFunc() const noexcept { return FHashFunc; }
  int32_t KeyOffset() const noexcept { return FKeyOffset; }
  int32_t Hash(const UnicodeString& key) const { return FHashFunc(key.Data(), key.Length()); }

  bool ContainsKey(const UnicodeString& key) const;
  bool Find(const UnicodeString& key, void*& value) const;
  bool Find(const char16_t* key, int32_t length, void*& value) const;
  int32_t FindHashed(int32_t hash, const UnicodeString& key) const noexcept;
  int32_t FindHashed(int32_t hash, const char16_t* key, int32_t length) const noexcept;
  // Inserts and returns the slot; an existing key gets the new value and the
  // result is the complement of its slot (negative).
  int32_t AddHashed(int32_t hash, const UnicodeString& key, void* value);
  int32_t Add(const UnicodeString& key, void* value);
  // Adds a record under the key it carries.
  int32_t AddPointer(void* value);
  void PutHashed(int32_t hash, const UnicodeString& key, void* value);
  void Put(const UnicodeString& key, void* value);
  void* GetHashed(int32_t hash, const UnicodeString& key) const noexcept;
  void* Get(const UnicodeString& key) const;
  void* ExtractHashed(int32_t hash, const UnicodeString& key) noexcept;
  void* Extract(const UnicodeString& key);
  bool RemoveHashed(int32_t hash, const UnicodeString& key) noexcept;
  bool Remove(const UnicodeString& key);

 protected:
  // Where the key lives in a record.
  enum class KeyKind : uint8_t { String, Chars };
  THtPointerDictionary(int32_t capacity, int32_t keyOffset, THtHashFunc hashFunc, KeyKind kind);
  // The key of a stored record as units and length.
  std::u16string_view KeyOf(const void* record) const noexcept;
  int32_t Search(uint32_t hash, const char16_t* key, int32_t length) const noexcept;

  THtHashFunc FHashFunc;
  int32_t FKeyOffset;
  KeyKind FKeyKind = KeyKind::String;
};

// The key field of a THtVirtualStringDictionary record: a character pointer
// with its int32 length in the 4 bytes just before it. On a 64-bit build the
// pointer is 8-byte aligned, so the length sits in the upper half of the
// preceding 8-byte word; embed this record (key offset: KeyOffset() plus its
// own offset) or lay the fields out the same way by hand.
struct THtVirtualKey {
  int32_t Reserved = 0;
  int32_t Length = 0;
  const char16_t* Chars = nullptr;
  static constexpr int32_t CharsOffset() noexcept { return 8; }
};
static_assert(sizeof(THtVirtualKey) == 16);

// Records whose key is a (pointer, length) pair into text that lives
// elsewhere, for keys that are slices of a larger buffer. Comparison is
// length, then memory. All the lookups of THtPointerDictionary work on it.
class THtVirtualStringDictionary : public THtPointerDictionary {
  NV_CLASS(THtVirtualStringDictionary, THtPointerDictionary)
 public:
  // `keyOffset`: offset of the character pointer; the int32 length is at
  // keyOffset - 4. A nil `hashFunc` means ShaPerfectHashAsm.
  THtVirtualStringDictionary(int32_t capacity, int32_t keyOffset, THtHashFunc hashFunc = nullptr);

  int32_t FindHashedVirtual(int32_t hash, const char16_t* chars, int32_t length) const noexcept;
  // Inserts at the slot an earlier FindHashedVirtual gave (`index`, its
  // complement when the key was absent), searching again only when the table
  // had to grow or the index lies outside the table. An `index` of an
  // existing entry replaces its value. Returns the slot.
  int32_t AddHashedVirtual(int32_t hash, int32_t index, const char16_t* chars, int32_t length, void* value);
};

// --- Values with a caller-defined key -----------------------------------------

using THtVirtualHashProc = int32_t (*)(void* context, const void* item);
// `stored` is a value of the table, `probe` the item looked for.
using THtVirtualEqualProc = bool (*)(void* context, const void* stored, const void* probe);

// Keys are whatever the two callbacks make of the values.
class THtVirtualDictionary : public THtIdPointerDictionary {
  NV_CLASS(THtVirtualDictionary, THtIdPointerDictionary)
 public:
  THtVirtualDictionary(THtVirtualHashProc hashProc, THtVirtualEqualProc equalProc, void* context = nullptr,
                       int32_t capacity = 0);

  // Inserts and returns the slot; when an equal value is present it is
  // replaced and the result is the complement of its slot (negative).
  int32_t Add(void* value);
  // The stored value equal to `probe`, or nullptr.
  void* Find(const void* probe) const;
  int32_t FindHashed(int32_t hash, const void* probe) const;
  // Takes the value equal to `probe` out and returns it (nullptr if absent).
  void* Extract(const void* probe);
  bool Remove(const void* probe) { return Extract(probe) != nullptr; }

 protected:
  THtVirtualHashProc FHashProc;
  THtVirtualEqualProc FEqualProc;
  void* FContext;
};

// --- Records keyed by a counted byte string --------------------------------------

// The key of a record is a byte string of up to 255 bytes at FKeyOffset with
// its count in the byte before it. Hash: ShaPerfectHashANSI. Comparison:
// length, then memory.
class THtUTF8Dictionary : public THtIdPointerDictionary {
  NV_CLASS(THtUTF8Dictionary, THtIdPointerDictionary)
 public:
  THtUTF8Dictionary(int32_t capacity, int32_t keyOffset);

  int32_t KeyOffset() const noexcept { return FKeyOffset; }
  static int32_t Hash(std::string_view key) noexcept {
    return ShaPerfectHashANSI(key.data(), int32_t(key.size()));
  }
  // The key a record carries.
  std::string_view KeyOf(const void* record) const noexcept;

  bool Find(std::string_view key, void*& value) const noexcept;
  int32_t FindHashed(int32_t hash, std::string_view key) const noexcept;
  // Inserts and returns the slot; an existing key gets the new value and the
  // result is the complement of its slot (negative).
  int32_t Add(void* value);
  int32_t AddHashed(int32_t hash, void* value);
  // Inserts without looking for an equal key, at the first slot the
  // distance rule allows.
  int32_t AddUnique(void* value);
  // Inserts at the slot an earlier FindHashed gave, searching again only
  // when the table had to grow; always inserts.
  int32_t AddWithIndex(int32_t hash, int32_t index, void* value);
  void Put(void* value);
  void PutHashed(int32_t hash, void* value);
  void* Get(std::string_view key) const noexcept;
  void* GetHashed(int32_t hash, std::string_view key) const noexcept;

 protected:
  int32_t FKeyOffset;
};

// --- Ready-made string lists ------------------------------------------------------

// A name with an object; frees the object when Owns.
class THtNameObjectPair : public TObject {
  NV_CLASS(THtNameObjectPair, TObject)
 public:
  THtNameObjectPair() = default;
  THtNameObjectPair(const UnicodeString& name, TObject* value, bool owns)
      : Owns(owns), Name(name), Value(value) {}
  ~THtNameObjectPair() override;
  static int32_t NameOffset() noexcept;

  bool Owns = false;
  UnicodeString Name;
  TObject* Value = nullptr;
};

// Name -> object, through owned THtNameObjectPair records.
class THtStringList : public THtObjectDictionary {
  NV_CLASS(THtStringList, THtObjectDictionary)
 public:
  // `ownsValues`: the pairs free their objects.
  explicit THtStringList(int32_t capacity = 0, bool ownsValues = false);

  bool OwnsValues() const noexcept { return FOwnsValues; }
  // Adds a pair; an existing name's pair is replaced (and freed). Returns
  // the new pair.
  THtNameObjectPair* Add(const UnicodeString& name, TObject* value);
  THtNameObjectPair* AddKey(const UnicodeString& name) { return Add(name, nullptr); }
  // The object under `name`, nullptr when absent.
  TObject* GetObject(const UnicodeString& name) const;
  bool HasKey(const UnicodeString& name) const { return ContainsKey(name); }
  THtNameObjectPair* GetPair(const UnicodeString& name) const {
    return static_cast<THtNameObjectPair*>(Get(name));
  }

 protected:
  bool FOwnsValues;
};

// A key with a single-precision value.
class THtSingleRec : public TObject {
  NV_CLASS(THtSingleRec, TObject)
 public:
  THtSingleRec() = default;
  THtSingleRec(const UnicodeString& key, float value) : Key(key), Value(value) {}
  static int32_t KeyOffset() noexcept;

  UnicodeString Key;
  float Value = 0.0f;
};

// Key -> float (text widths and the like); owns its records.
class THtSingleList : public THtObjectDictionary {
  NV_CLASS(THtSingleList, THtObjectDictionary)
 public:
  THtSingleList();

  // Sets the value of `key`, adding it when new.
  void AddWidth(const UnicodeString& key, float value);
  // The value of `key`, or -1.0 when absent.
  float GetWidth(const UnicodeString& key) const;
};

}  // namespace norvane
