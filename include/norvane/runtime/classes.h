// TPersistent, TList and the string lists of the runtime.
//
// TList is an ordered list of untyped pointers with a Notify hook that an
// owning descendant uses to free what leaves the list. TStrings is the
// abstract list of (string, object) pairs with the text forms (Text,
// CommaText, DelimitedText, Names/Values); TStringList stores the pairs in
// one contiguous array that descendants may read directly through GetList().
#pragma once

#include <cstdint>
#include <functional>

#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TStream;

// Event signature shared by the runtime classes (OnChange, OnTerminate ...).
using TNotifyEvent = std::function<void(TObject* sender)>;

// --- TPersistent -----------------------------------------------------------

// An object that can copy another's contents. Assign asks the source to
// AssignTo this object when it does not know the source's class; if neither
// side knows the other it raises EConvertError "Cannot assign a %s to a %s".
class TPersistent : public TObject {
  NV_CLASS(TPersistent, TObject)
 public:
  virtual void Assign(TPersistent* source);

 protected:
  virtual void AssignTo(TPersistent* dest);
};

// --- TList -----------------------------------------------------------------

NV_ENUM(TListNotification, lnAdded, lnExtracted, lnDeleted)

using TListSortCompare = int32_t (*)(void* item1, void* item2);
using TListSortCompareFunc = std::function<int32_t(void* item1, void* item2)>;

// Ordered list of pointers. Notify runs for non-nil items only: lnAdded
// after Add/Insert/Put stores one, lnDeleted after Delete/Remove/Clear/
// SetCount/Put drop one (the item is already out of the list), lnExtracted
// after Extract. Errors are EListError with the index in the message.
//
// A descendant that overrides Notify must call Clear() in its own
// destructor: ~TList clears too, but C++ no longer dispatches to the
// override there.
class TList : public TObject {
  NV_CLASS(TList, TObject)
 public:
  TList() = default;
  ~TList() override;  // Clear

  int32_t Add(void* item);
  void Insert(int32_t index, void* item);
  void Delete(int32_t index);
  // Deletes the first occurrence; returns its former index or -1.
  int32_t Remove(void* item);
  // Takes the first occurrence out without lnDeleted; returns it or nullptr.
  void* Extract(void* item);
  int32_t IndexOf(const void* item) const noexcept;
  void Exchange(int32_t index1, int32_t index2);
  void Move(int32_t curIndex, int32_t newIndex);
  void Clear();
  // Drops the nil items (no notifications: nils are never notified).
  void Pack();
  // The runtime's quicksort; the order of equal items is not kept.
  void Sort(TListSortCompare compare);
  void SortList(const TListSortCompareFunc& compare);
  // Grows the capacity one step when the list is full; returns this.
  TList* Expand();
  // Replaces the contents with those of `source` (lnDeleted, then lnAdded).
  void Assign(const TList* source);

  void* First() const { return Get(0); }
  void* Last() const { return Get(FCount - 1); }
  void* Get(int32_t index) const;
  void* Items(int32_t index) const { return Get(index); }
  void Put(int32_t index, void* item);

  int32_t Count() const noexcept { return FCount; }
  // Growing fills with nil; shrinking deletes from the end (lnDeleted).
  void SetCount(int32_t newCount);
  int32_t Capacity() const noexcept { return FCapacity; }
  void SetCapacity(int32_t newCapacity);
  // The item array itself, valid until the next change of capacity.
  void** List() const noexcept { return FList; }

 protected:
  virtual void Notify(void* ptr, TListNotification action);
  virtual void Grow();
  [[noreturn]] static void Error(const char16_t* msg, int32_t data);

  void** FList = nullptr;
  int32_t FCount = 0;
  int32_t FCapacity = 0;
};

// --- TStrings ----------------------------------------------------------------

NV_ENUM(TDuplicates, dupIgnore, dupAccept, dupError)

class TStrings;
class TStringList;

// The abstract list of strings with objects. Descendants supply storage
// (Get, GetCount, GetObject, Put, PutObject, Insert, Delete, Clear); the
// text forms, searches and streaming are written once here on top of them.
class TStrings : public TPersistent {
  NV_CLASS(TStrings, TPersistent)
 public:
  TStrings() = default;

  virtual int32_t Add(const UnicodeString& s);
  virtual int32_t AddObject(const UnicodeString& s, TObject* obj);
  // Adds "name=value" with the current separator; returns this.
  TStrings* AddPair(const UnicodeString& name, const UnicodeString& value, TObject* obj = nullptr);
  void Append(const UnicodeString& s) { Add(s); }
  virtual void AddStrings(const TStrings* strings);
  virtual void Insert(int32_t index, const UnicodeString& s) = 0;
  virtual void InsertObject(int32_t index, const UnicodeString& s, TObject* obj);
  virtual void Delete(int32_t index) = 0;
  virtual void Clear() = 0;
  virtual void Exchange(int32_t index1, int32_t index2);
  virtual void Move(int32_t curIndex, int32_t newIndex);
  void Assign(TPersistent* source) override;
  // Same strings in the same order (objects are not compared).
  bool Equals(const TStrings* strings) const;

  virtual int32_t IndexOf(const UnicodeString& s) const;
  int32_t IndexOfName(const UnicodeString& name) const;
  int32_t IndexOfObject(const TObject* obj) const;

  int32_t Count() const { return GetCount(); }
  UnicodeString Strings(int32_t index) const { return Get(index); }
  TObject* Objects(int32_t index) const { return GetObject(index); }
  virtual UnicodeString Get(int32_t index) const = 0;
  virtual TObject* GetObject(int32_t index) const;
  virtual void Put(int32_t index, const UnicodeString& s);
  virtual void PutObject(int32_t index, TObject* obj);
  virtual int32_t GetCount() const = 0;

  // "name=value" access. Names(i) is "" when the item has no separator.
  UnicodeString Names(int32_t index) const;
  UnicodeString Values(const UnicodeString& name) const;
  // An empty value deletes the pair; an unknown name appends one.
  void SetValues(const UnicodeString& name, const UnicodeString& value);
  UnicodeString ValueFromIndex(int32_t index) const;
  void SetValueFromIndex(int32_t index, const UnicodeString& value);

  // Each item followed by LineBreak (none after the last when
  // TrailingLineBreak is off). SetText splits on CR, LF and CR LF when
  // LineBreak is CR LF, on LineBreak itself otherwise.
  virtual UnicodeString Text() const;
  virtual void SetText(const UnicodeString& text);
  UnicodeString CommaText() const;
  void SetCommaText(const UnicodeString& text);
  UnicodeString DelimitedText() const;
  void SetDelimitedText(const UnicodeString& text);

  char16_t Delimiter() const noexcept { return FDelimiter; }
  void SetDelimiter(char16_t c) noexcept { FDelimiter = c; }
  char16_t QuoteChar() const noexcept { return FQuoteChar; }
  void SetQuoteChar(char16_t c) noexcept { FQuoteChar = c; }
  char16_t NameValueSeparator() const noexcept { return FNameValueSeparator; }
  void SetNameValueSeparator(char16_t c) noexcept { FNameValueSeparator = c; }
  bool StrictDelimiter() const noexcept { return FStrictDelimiter; }
  void SetStrictDelimiter(bool v) noexcept { FStrictDelimiter = v; }
  const UnicodeString& LineBreak() const noexcept { return FLineBreak; }
  void SetLineBreak(const UnicodeString& s) { FLineBreak = s; }
  bool TrailingLineBreak() const noexcept { return FTrailingLineBreak; }
  void SetTrailingLineBreak(bool v) noexcept { FTrailingLineBreak = v; }

  // Nested; OnChange-style notifications are held back until the last
  // EndUpdate.
  void BeginUpdate();
  void EndUpdate();
  int32_t UpdateCount() const noexcept { return FUpdateCount; }

  // Reading: a UTF-8 or UTF-16 byte-order mark decides; without one the
  // bytes are UTF-8 when they are valid UTF-8, else the system code page.
  // `codePage` other than 0 forces that encoding. Encoding() then tells
  // what was read (65001, 1200, 1201 or the code page used).
  // Writing: UTF-8 without a byte-order mark unless `codePage` says
  // otherwise (1200/1201 write UTF-16 with its mark when WriteBOM is on).
  void LoadFromStream(TStream* stream, uint32_t codePage = 0);
  void SaveToStream(TStream* stream, uint32_t codePage = 0) const;
  void LoadFromFile(const UnicodeString& fileName, uint32_t codePage = 0);
  void SaveToFile(const UnicodeString& fileName, uint32_t codePage = 0) const;
  uint32_t Encoding() const noexcept { return FEncoding; }
  bool WriteBOM() const noexcept { return FWriteBOM; }
  void SetWriteBOM(bool v) noexcept { FWriteBOM = v; }

 protected:
  // Called by BeginUpdate (true) and the last EndUpdate (false).
  virtual void SetUpdateState(bool updating);
  // Comparison used by IndexOf, IndexOfName and Values; TStringList makes it
  // follow CaseSensitive. The base compares with AnsiCompareText.
  virtual int32_t CompareStrings(const UnicodeString& s1, const UnicodeString& s2) const;
  [[noreturn]] static void Error(const char16_t* msg, int32_t data);

 private:
  UnicodeString BuildDelimited(char16_t delim, char16_t quote, bool strict) const;
  void ParseDelimited(const UnicodeString& text, char16_t delim, char16_t quote, bool strict);

  int32_t FUpdateCount = 0;
  char16_t FDelimiter = u',';
  char16_t FQuoteChar = u'"';
  char16_t FNameValueSeparator = u'=';
  bool FStrictDelimiter = false;
  bool FTrailingLineBreak = true;
  bool FWriteBOM = false;
  uint32_t FEncoding = 65001;
  UnicodeString FLineBreak{u"\r\n"};
};

// --- TStringList ---------------------------------------------------------------

// One item of a TStringList: the array is a sequence of these pairs.
struct TStringItem {
  UnicodeString FString;
  TObject* FObject;
};

using TStringListSortCompare = int32_t (*)(TStringList* list, int32_t index1, int32_t index2);
using TStringListSortCompareFunc = std::function<int32_t(TStringList* list, int32_t index1, int32_t index2)>;

// Strings with objects in one array. When Sorted, Add/AddObject insert at the
// place Find gives and Duplicates decides about equal strings; Insert and
// Put raise "Operation not allowed on sorted list". Comparison follows
// CaseSensitive (off: AnsiCompareText; on: ordinal) through the virtual
// CompareStrings, which descendants may replace. With OwnsObjects the list
// frees the objects of deleted items and of itself.
class TStringList : public TStrings {
  NV_CLASS(TStringList, TStrings)
 public:
  TStringList() = default;
  explicit TStringList(bool ownsObjects) : FOwnsObjects(ownsObjects) {}
  TStringList(TDuplicates duplicates, bool sorted, bool caseSensitive)
      : FDuplicates(duplicates), FSorted(sorted), FCaseSensitive(caseSensitive) {}
  ~TStringList() override;

  int32_t Add(const UnicodeString& s) override;
  int32_t AddObject(const UnicodeString& s, TObject* obj) override;
  void Insert(int32_t index, const UnicodeString& s) override;
  void InsertObject(int32_t index, const UnicodeString& s, TObject* obj) override;
  void Delete(int32_t index) override;
  void Clear() override;
  void Exchange(int32_t index1, int32_t index2) override;
  void Move(int32_t curIndex, int32_t newIndex) override;
  void Assign(TPersistent* source) override;

  // Binary search over a sorted list: true when found; `index` is the match
  // (the first of equal strings under dupAccept) or the insertion place.
  virtual bool Find(const UnicodeString& s, int32_t& index) const;
  int32_t IndexOf(const UnicodeString& s) const override;
  virtual void Sort();
  // Sorts with `compare` (a TStringListSortCompare converts). Like Sort, it
  // does nothing on a list that is Sorted already.
  virtual void CustomSort(const TStringListSortCompareFunc& compare);

  UnicodeString Get(int32_t index) const override;
  TObject* GetObject(int32_t index) const override;
  void Put(int32_t index, const UnicodeString& s) override;
  void PutObject(int32_t index, TObject* obj) override;
  int32_t GetCount() const override { return FCount; }

  bool Sorted() const noexcept { return FSorted; }
  void SetSorted(bool value);
  TDuplicates Duplicates() const noexcept { return FDuplicates; }
  void SetDuplicates(TDuplicates value) noexcept { FDuplicates = value; }
  bool CaseSensitive() const noexcept { return FCaseSensitive; }
  void SetCaseSensitive(bool value);
  bool OwnsObjects() const noexcept { return FOwnsObjects; }
  void SetOwnsObjects(bool value) noexcept { FOwnsObjects = value; }
  int32_t Capacity() const noexcept { return FCapacity; }
  void SetCapacity(int32_t newCapacity);

  // The item array: Count() pairs, valid until the next change of capacity.
  TStringItem* GetList() const noexcept { return FList; }

  TNotifyEvent OnChange;
  TNotifyEvent OnChanging;

 protected:
  // Run around every change unless an update is in progress.
  virtual void Changed();
  virtual void Changing();
  void SetUpdateState(bool updating) override;
  int32_t CompareStrings(const UnicodeString& s1, const UnicodeString& s2) const override;
  // Stores the pair at `index` with no sorting or duplicate check.
  virtual void InsertItem(int32_t index, const UnicodeString& s, TObject* obj);
  virtual void ExchangeItems(int32_t index1, int32_t index2);
  virtual void Grow();

  TStringItem* FList = nullptr;
  int32_t FCount = 0;
  int32_t FCapacity = 0;

 private:
  void QuickSort(int32_t l, int32_t r, const TStringListSortCompareFunc& compare);
  void CheckIndex(int32_t index) const;

  TDuplicates FDuplicates = dupIgnore;
  bool FSorted = false;
  bool FCaseSensitive = false;
  bool FOwnsObjects = false;
};

}  // namespace norvane
