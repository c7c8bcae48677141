#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "norvane/runtime/classes.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/streams.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TStrings, "Classes")
NV_CLASS_IMPL(TStringList, "Classes")

namespace {

constexpr const char16_t* kIndexError = u"List index out of bounds (%d)";
constexpr const char16_t* kCapacityError = u"List capacity out of bounds (%d)";
constexpr const char16_t* kSortedError = u"Operation not allowed on sorted list";
constexpr const char16_t* kDuplicateError = u"String list does not allow duplicates";
constexpr int32_t kMaxStringListSize = INT32_MAX / int32_t(sizeof(TStringItem));

// Items are relocated with memmove/realloc: a TStringItem is a string
// handle (one pointer to a shared block) and an object pointer, neither of
// which refers back to its own address.
static_assert(sizeof(UnicodeString) == sizeof(void*));
static_assert(std::is_standard_layout_v<TStringItem>);

// Runs `body` between BeginUpdate and EndUpdate, also when it throws.
template <class F>
void Updating(TStrings& list, F&& body) {
  list.BeginUpdate();
  try {
    body();
  } catch (...) {
    list.EndUpdate();
    throw;
  }
  list.EndUpdate();
}

// Position of the first `sep` in `s`, or -1.
int32_t FindSeparator(std::u16string_view s, char16_t sep) noexcept {
  size_t p = s.find(sep);
  return p == std::u16string_view::npos ? -1 : int32_t(p);
}

void AppendQuoted(std::u16string& out, std::u16string_view s, char16_t quote) {
  out += quote;
  for (char16_t c : s) {
    if (c == quote) out += quote;
    out += c;
  }
  out += quote;
}

bool IsBlank(char16_t c) noexcept { return c >= 1 && c <= u' '; }

}  // namespace

// --- TStrings ---------------------------------------------------------------------

void TStrings::Error(const char16_t* msg, int32_t data) {
  throw EStringListError(msg, {data});
}

int32_t TStrings::Add(const UnicodeString& s) {
  int32_t result = GetCount();
  Insert(result, s);
  return result;
}

int32_t TStrings::AddObject(const UnicodeString& s, TObject* obj) {
  int32_t result = Add(s);
  PutObject(result, obj);
  return result;
}

TStrings* TStrings::AddPair(const UnicodeString& name, const UnicodeString& value, TObject* obj) {
  AddObject(name + FNameValueSeparator + value, obj);
  return this;
}

void TStrings::AddStrings(const TStrings* strings) {
  if (!strings) return;
  // Counted once, so that adding a list to itself doubles it and stops.
  int32_t n = strings->GetCount();
  Updating(*this, [&] {
    for (int32_t i = 0; i < n; ++i) AddObject(strings->Get(i), strings->GetObject(i));
  });
}

void TStrings::InsertObject(int32_t index, const UnicodeString& s, TObject* obj) {
  Insert(index, s);
  PutObject(index, obj);
}

void TStrings::Exchange(int32_t index1, int32_t index2) {
  Updating(*this, [&] {
    UnicodeString s = Get(index1);
    TObject* o = GetObject(index1);
    Put(index1, Get(index2));
    PutObject(index1, GetObject(index2));
    Put(index2, s);
    PutObject(index2, o);
  });
}

void TStrings::Move(int32_t curIndex, int32_t newIndex) {
  if (curIndex == newIndex) return;
  Updating(*this, [&] {
    UnicodeString s = Get(curIndex);
    TObject* o = GetObject(curIndex);
    // Detach the object first so that an owning list does not free it.
    PutObject(curIndex, nullptr);
    Delete(curIndex);
    InsertObject(newIndex, s, o);
  });
}

void TStrings::Assign(TPersistent* source) {
  auto* src = dynamic_cast<TStrings*>(source);
  if (!src) {
    TPersistent::Assign(source);
    return;
  }
  if (src == this) return;
  Updating(*this, [&] {
    Clear();
    FDelimiter = src->FDelimiter;
    FQuoteChar = src->FQuoteChar;
    FNameValueSeparator = src->FNameValueSeparator;
    FStrictDelimiter = src->FStrictDelimiter;
    FTrailingLineBreak = src->FTrailingLineBreak;
    FWriteBOM = src->FWriteBOM;
    FEncoding = src->FEncoding;
    FLineBreak = src->FLineBreak;
    AddStrings(src);
  });
}

bool TStrings::Equals(const TStrings* strings) const {
  if (!strings) return false;
  int32_t n = GetCount();
  if (n != strings->GetCount()) return false;
  for (int32_t i = 0; i < n; ++i)
    if (Get(i) != strings->Get(i)) return false;
  return true;
}

int32_t TStrings::IndexOf(const UnicodeString& s) const {
  int32_t n = GetCount();
  for (int32_t i = 0; i < n; ++i)
    if (CompareStrings(Get(i), s) == 0) return i;
  return -1;
}

int32_t TStrings::IndexOfName(const UnicodeString& name) const {
  int32_t n = GetCount();
  for (int32_t i = 0; i < n; ++i) {
    UnicodeString s = Get(i);
    int32_t p = FindSeparator(s.view(), FNameValueSeparator);
    if (p >= 0 && CompareStrings(UnicodeString(s.view().substr(0, size_t(p))), name) == 0) return i;
  }
  return -1;
}

int32_t TStrings::IndexOfObject(const TObject* obj) const {
  int32_t n = GetCount();
  for (int32_t i = 0; i < n; ++i)
    if (GetObject(i) == obj) return i;
  return -1;
}

TObject* TStrings::GetObject(int32_t) const {
  return nullptr;
}

void TStrings::Put(int32_t index, const UnicodeString& s) {
  TObject* o = GetObject(index);
  Updating(*this, [&] {
    Delete(index);
    InsertObject(index, s, o);
  });
}

void TStrings::PutObject(int32_t, TObject*) {}

UnicodeString TStrings::Names(int32_t index) const {
  UnicodeString s = Get(index);
  int32_t p = FindSeparator(s.view(), FNameValueSeparator);
  return p >= 0 ? UnicodeString(s.view().substr(0, size_t(p))) : UnicodeString();
}

UnicodeString TStrings::Values(const UnicodeString& name) const {
  int32_t i = IndexOfName(name);
  return i >= 0 ? ValueFromIndex(i) : UnicodeString();
}

void TStrings::SetValues(const UnicodeString& name, const UnicodeString& value) {
  int32_t i = IndexOfName(name);
  if (!value.IsEmpty()) {
    if (i < 0) i = Add(UnicodeString());
    Put(i, name + FNameValueSeparator + value);
  } else if (i >= 0) {
    Delete(i);
  }
}

UnicodeString TStrings::ValueFromIndex(int32_t index) const {
  if (index < 0) return {};
  UnicodeString s = Get(index);
  int32_t p = FindSeparator(s.view(), FNameValueSeparator);
  // An item without separator is a name with no value.
  return p >= 0 ? UnicodeString(s.view().substr(size_t(p) + 1)) : UnicodeString();
}

void TStrings::SetValueFromIndex(int32_t index, const UnicodeString& value) {
  if (!value.IsEmpty()) {
    if (index < 0) index = Add(UnicodeString());
    Put(index, Names(index) + FNameValueSeparator + value);
  } else if (index >= 0) {
    Delete(index);
  }
}

UnicodeString TStrings::Text() const {
  int32_t n = GetCount();
  if (n == 0) return {};
  std::vector<UnicodeString> items;
  items.reserve(size_t(n));
  int64_t total = 0;
  for (int32_t i = 0; i < n; ++i) {
    items.push_back(Get(i));
    total += items.back().Length() + FLineBreak.Length();
  }
  if (!FTrailingLineBreak) total -= FLineBreak.Length();
  if (total > INT32_MAX) throw EOutOfMemory();
  UnicodeString result = UnicodeString::Alloc(int32_t(total));
  char16_t* out = result.MutableData();
  for (int32_t i = 0; i < n; ++i) {
    auto v = items[size_t(i)].view();
    if (!v.empty()) std::memcpy(out, v.data(), v.size() * 2), out += v.size();
    if (i + 1 < n || FTrailingLineBreak) {
      auto lb = FLineBreak.view();
      if (!lb.empty()) std::memcpy(out, lb.data(), lb.size() * 2), out += lb.size();
    }
  }
  return result;
}

void TStrings::SetText(const UnicodeString& text) {
  std::u16string_view t = text.view();
  std::u16string_view lb = FLineBreak.view();
  bool anyBreak = lb.empty() || lb == u"\r\n";
  Updating(*this, [&] {
    Clear();
    size_t p = 0, n = t.size();
    while (p < n) {
      size_t start = p;
      if (anyBreak) {
        while (p < n && t[p] != u'\r' && t[p] != u'\n') ++p;
        Add(UnicodeString(t.substr(start, p - start)));
        if (p < n && t[p] == u'\r') ++p;
        if (p < n && t[p] == u'\n') ++p;
      } else {
        size_t e = t.find(lb, p);
        if (e == std::u16string_view::npos) e = n;
        Add(UnicodeString(t.substr(start, e - start)));
        p = e == n ? n : e + lb.size();
      }
    }
  });
}

UnicodeString TStrings::CommaText() const {
  // The comma form always uses ',' and '"' and treats blanks as delimiters.
  return BuildDelimited(u',', u'"', false);
}

void TStrings::SetCommaText(const UnicodeString& text) {
  ParseDelimited(text, u',', u'"', false);
}

UnicodeString TStrings::DelimitedText() const {
  return BuildDelimited(FDelimiter, FQuoteChar, FStrictDelimiter);
}

void TStrings::SetDelimitedText(const UnicodeString& text) {
  ParseDelimited(text, FDelimiter, FQuoteChar, FStrictDelimiter);
}

UnicodeString TStrings::BuildDelimited(char16_t delim, char16_t quote, bool strict) const {
  int32_t n = GetCount();
  if (n == 1 && Get(0).IsEmpty()) return UnicodeString(2, quote);
  std::u16string out;
  for (int32_t i = 0; i < n; ++i) {
    UnicodeString s = Get(i);
    bool quoted = false;
    // A zero quote character means "never quote", as in the runtime.
    for (char16_t c : quote ? s.view() : std::u16string_view()) {
      if (c == quote || c == delim || c == 0 || (!strict && IsBlank(c))) {
        quoted = true;
        break;
      }
    }
    if (quoted)
      AppendQuoted(out, s.view(), quote);
    else
      out += s.view();
    if (i + 1 < n) out += delim;
  }
  return UnicodeString(out);
}

void TStrings::ParseDelimited(const UnicodeString& text, char16_t delim, char16_t quote, bool strict) {
  std::u16string_view t = text.view();
  const size_t n = t.size();
  Updating(*this, [&] {
    Clear();
    size_t p = 0;
    if (!strict)
      while (p < n && IsBlank(t[p])) ++p;
    while (p < n) {
      if (t[p] == quote && quote != 0) {
        // Quoted item: doubled quotes stand for one; an unclosed quote runs
        // to the end of the text.
        std::u16string s;
        ++p;
        while (p < n) {
          if (t[p] == quote) {
            if (p + 1 < n && t[p + 1] == quote) {
              s += quote;
              p += 2;
              continue;
            }
            ++p;
            break;
          }
          s += t[p++];
        }
        Add(UnicodeString(s));
      } else {
        size_t start = p;
        while (p < n && (strict || t[p] > u' ') && t[p] != delim) ++p;
        Add(UnicodeString(t.substr(start, p - start)));
      }
      if (!strict)
        while (p < n && IsBlank(t[p])) ++p;
      if (p < n && t[p] == delim) {
        if (p + 1 == n) Add(UnicodeString());
        do {
          ++p;
        } while (!strict && p < n && IsBlank(t[p]));
      }
    }
  });
}

void TStrings::BeginUpdate() {
  if (FUpdateCount == 0) SetUpdateState(true);
  ++FUpdateCount;
}

void TStrings::EndUpdate() {
  if (FUpdateCount <= 0) return;  // unbalanced: ignore rather than go negative
  if (--FUpdateCount == 0) SetUpdateState(false);
}

void TStrings::SetUpdateState(bool) {}

int32_t TStrings::CompareStrings(const UnicodeString& s1, const UnicodeString& s2) const {
  return AnsiCompareText(s1.view(), s2.view());
}

void TStrings::LoadFromStream(TStream* stream, uint32_t codePage) {
  TBytes bytes = stream->ReadRemaining();
  const uint8_t* d = bytes.data();
  size_t n = bytes.size();
  uint32_t bomPage = 0;
  size_t bomLen = 0;
  if (n >= 3 && d[0] == 0xEF && d[1] == 0xBB && d[2] == 0xBF)
    bomPage = 65001, bomLen = 3;
  else if (n >= 2 && d[0] == 0xFF && d[1] == 0xFE)
    bomPage = 1200, bomLen = 2;
  else if (n >= 2 && d[0] == 0xFE && d[1] == 0xFF)
    bomPage = 1201, bomLen = 2;
  uint32_t cp = codePage;
  if (cp == 0) cp = bomPage ? bomPage : IsValidUtf8(d, n) ? 65001 : SystemCodePage();
  if (bomPage == cp) d += bomLen, n -= bomLen;
  UnicodeString text = DecodeText(d, n, cp);
  FEncoding = cp;
  SetText(text);
}

void TStrings::SaveToStream(TStream* stream, uint32_t codePage) const {
  uint32_t cp = codePage ? codePage : 65001;
  UnicodeString text = Text();
  if (FWriteBOM) {
    static const uint8_t utf8[] = {0xEF, 0xBB, 0xBF}, le[] = {0xFF, 0xFE}, be[] = {0xFE, 0xFF};
    if (cp == 65001) stream->WriteBuffer(utf8, 3);
    if (cp == 1200) stream->WriteBuffer(le, 2);
    if (cp == 1201) stream->WriteBuffer(be, 2);
  }
  TBytes bytes = EncodeText(text.view(), cp);
  stream->WriteBuffer(bytes.data(), int64_t(bytes.size()));
}

void TStrings::LoadFromFile(const UnicodeString& fileName, uint32_t codePage) {
  TFileStream stream(fileName, fmOpenRead | fmShareDenyWrite);
  LoadFromStream(&stream, codePage);
}

void TStrings::SaveToFile(const UnicodeString& fileName, uint32_t codePage) const {
  TFileStream stream(fileName, fmCreate);
  SaveToStream(&stream, codePage);
}

// --- TStringList ------------------------------------------------------------------

TStringList::~TStringList() {
  OnChange = nullptr;
  OnChanging = nullptr;
  for (int32_t i = 0; i < FCount; ++i) {
    if (FOwnsObjects) delete FList[i].FObject;
    FList[i].~TStringItem();
  }
  FCount = 0;
  std::free(FList);
}

void TStringList::CheckIndex(int32_t index) const {
  if (index < 0 || index >= FCount) Error(kIndexError, index);
}

void TStringList::Changed() {
  if (UpdateCount() == 0 && OnChange) OnChange(this);
}

void TStringList::Changing() {
  if (UpdateCount() == 0 && OnChanging) OnChanging(this);
}

void TStringList::SetUpdateState(bool updating) {
  if (updating)
    Changing();
  else
    Changed();
}

int32_t TStringList::CompareStrings(const UnicodeString& s1, const UnicodeString& s2) const {
  if (FCaseSensitive) return CompareStr(s1.view(), s2.view());
  return AnsiCompareText(s1.view(), s2.view());
}

int32_t TStringList::Add(const UnicodeString& s) {
  return AddObject(s, nullptr);
}

int32_t TStringList::AddObject(const UnicodeString& s, TObject* obj) {
  int32_t result;
  if (!FSorted) {
    result = FCount;
  } else if (Find(s, result)) {
    switch (FDuplicates) {
      case dupIgnore:
        return result;
      case dupError:
        throw EStringListError(UnicodeString(kDuplicateError));
      case dupAccept:
        break;
    }
  }
  InsertItem(result, s, obj);
  return result;
}

void TStringList::Insert(int32_t index, const UnicodeString& s) {
  InsertObject(index, s, nullptr);
}

void TStringList::InsertObject(int32_t index, const UnicodeString& s, TObject* obj) {
  if (FSorted) throw EStringListError(UnicodeString(kSortedError));
  if (index < 0 || index > FCount) Error(kIndexError, index);
  InsertItem(index, s, obj);
}

void TStringList::InsertItem(int32_t index, const UnicodeString& s, TObject* obj) {
  Changing();
  if (FCount == FCapacity) Grow();
  if (index < FCount)
    std::memmove(static_cast<void*>(FList + index + 1), static_cast<const void*>(FList + index),
                 size_t(FCount - index) * sizeof(TStringItem));
  new (FList + index) TStringItem{s, obj};
  ++FCount;
  Changed();
}

void TStringList::Delete(int32_t index) {
  CheckIndex(index);
  Changing();
  TObject* obj = FList[index].FObject;
  FList[index].~TStringItem();
  --FCount;
  if (index < FCount)
    std::memmove(static_cast<void*>(FList + index), static_cast<const void*>(FList + index + 1),
                 size_t(FCount - index) * sizeof(TStringItem));
  if (FOwnsObjects) delete obj;
  Changed();
}

void TStringList::Clear() {
  if (FCount == 0) return;
  Changing();
  std::vector<TObject*> owned;
  if (FOwnsObjects) owned.reserve(size_t(FCount));
  for (int32_t i = 0; i < FCount; ++i) {
    if (FOwnsObjects && FList[i].FObject) owned.push_back(FList[i].FObject);
    FList[i].~TStringItem();
  }
  FCount = 0;
  SetCapacity(0);
  // Freed once the list is consistent, so a destructor may look at it.
  for (TObject* o : owned) delete o;
  Changed();
}

void TStringList::ExchangeItems(int32_t index1, int32_t index2) {
  std::swap(FList[index1].FString, FList[index2].FString);
  std::swap(FList[index1].FObject, FList[index2].FObject);
}

void TStringList::Exchange(int32_t index1, int32_t index2) {
  CheckIndex(index1);
  CheckIndex(index2);
  Changing();
  ExchangeItems(index1, index2);
  Changed();
}

void TStringList::Move(int32_t curIndex, int32_t newIndex) {
  if (curIndex == newIndex) return;
  // Checked before anything moves, so that a refused move loses nothing.
  if (FSorted) throw EStringListError(UnicodeString(kSortedError));
  CheckIndex(curIndex);
  CheckIndex(newIndex);
  Changing();
  alignas(TStringItem) unsigned char tmp[sizeof(TStringItem)];
  std::memcpy(tmp, static_cast<const void*>(FList + curIndex), sizeof(TStringItem));
  if (curIndex < newIndex)
    std::memmove(static_cast<void*>(FList + curIndex), static_cast<const void*>(FList + curIndex + 1),
                 size_t(newIndex - curIndex) * sizeof(TStringItem));
  else
    std::memmove(static_cast<void*>(FList + newIndex + 1), static_cast<const void*>(FList + newIndex),
                 size_t(curIndex - newIndex) * sizeof(TStringItem));
  std::memcpy(static_cast<void*>(FList + newIndex), tmp, sizeof(TStringItem));
  Changed();
}

void TStringList::Assign(TPersistent* source) {
  if (auto* src = dynamic_cast<TStringList*>(source); src && src != this) {
    // Taken over before the items arrive, so that nothing is dropped as a
    // duplicate under rules the source did not have.
    Updating(*this, [&] {
      Clear();
      FSorted = false;
      FCaseSensitive = src->FCaseSensitive;
      FDuplicates = src->FDuplicates;
      TStrings::Assign(source);
      if (src->FSorted) SetSorted(true);
    });
    return;
  }
  TStrings::Assign(source);
}

bool TStringList::Find(const UnicodeString& s, int32_t& index) const {
  bool result = false;
  int32_t l = 0, h = FCount - 1;
  while (l <= h) {
    int32_t i = int32_t((uint32_t(l) + uint32_t(h)) >> 1);
    int32_t c = CompareStrings(FList[i].FString, s);
    if (c < 0) {
      l = i + 1;
    } else {
      h = i - 1;
      if (c == 0) {
        result = true;
        if (FDuplicates != dupAccept) l = i;
      }
    }
  }
  index = l;
  return result;
}

int32_t TStringList::IndexOf(const UnicodeString& s) const {
  if (!FSorted) {
    // Straight over the array: no string copies per item.
    for (int32_t i = 0; i < FCount; ++i)
      if (CompareStrings(FList[i].FString, s) == 0) return i;
    return -1;
  }
  int32_t index;
  return Find(s, index) ? index : -1;
}

void TStringList::QuickSort(int32_t l, int32_t r, const TStringListSortCompareFunc& compare) {
  // The runtime's quicksort over indices, with the pivot index following
  // the swaps; scans are bounded and the smaller side recurses.
  while (l < r) {
    int32_t i = l, j = r, p = int32_t((uint32_t(l) + uint32_t(r)) >> 1);
    do {
      while (i < r && compare(this, i, p) < 0) ++i;
      while (j > l && compare(this, j, p) > 0) --j;
      if (i <= j) {
        if (i != j) ExchangeItems(i, j);
        if (p == i)
          p = j;
        else if (p == j)
          p = i;
        ++i;
        --j;
      }
    } while (i <= j);
    if (j - l < r - i) {
      if (l < j) QuickSort(l, j, compare);
      l = i;
    } else {
      if (i < r) QuickSort(i, r, compare);
      r = j;
    }
  }
}

void TStringList::Sort() {
  CustomSort([](TStringList* list, int32_t a, int32_t b) {
    return list->CompareStrings(list->FList[a].FString, list->FList[b].FString);
  });
}

void TStringList::CustomSort(const TStringListSortCompareFunc& compare) {
  if (FSorted || FCount <= 1 || !compare) return;
  Changing();
  QuickSort(0, FCount - 1, compare);
  Changed();
}

UnicodeString TStringList::Get(int32_t index) const {
  CheckIndex(index);
  return FList[index].FString;
}

TObject* TStringList::GetObject(int32_t index) const {
  CheckIndex(index);
  return FList[index].FObject;
}

void TStringList::Put(int32_t index, const UnicodeString& s) {
  if (FSorted) throw EStringListError(UnicodeString(kSortedError));
  CheckIndex(index);
  Changing();
  FList[index].FString = s;
  Changed();
}

void TStringList::PutObject(int32_t index, TObject* obj) {
  CheckIndex(index);
  Changing();
  FList[index].FObject = obj;
  Changed();
}

void TStringList::SetSorted(bool value) {
  if (FSorted == value) return;
  if (value) Sort();
  FSorted = value;
}

void TStringList::SetCaseSensitive(bool value) {
  if (FCaseSensitive == value) return;
  FCaseSensitive = value;
  if (FSorted) {
    FSorted = false;
    SetSorted(true);
  }
}

void TStringList::SetCapacity(int32_t newCapacity) {
  if (newCapacity < FCount || newCapacity > kMaxStringListSize) Error(kCapacityError, newCapacity);
  if (newCapacity == FCapacity) return;
  if (newCapacity == 0) {
    std::free(FList);
    FList = nullptr;
  } else {
    void* p = std::realloc(static_cast<void*>(FList), size_t(newCapacity) * sizeof(TStringItem));
    if (!p) throw EOutOfMemory();
    FList = static_cast<TStringItem*>(p);
  }
  FCapacity = newCapacity;
}

void TStringList::Grow() {
  int32_t delta = FCapacity > 64 ? FCapacity / 4 : FCapacity > 8 ? 16 : 4;
  int64_t target = int64_t(FCapacity) + delta;
  if (target > kMaxStringListSize) target = kMaxStringListSize;
  if (target <= FCapacity) Error(kCapacityError, FCapacity + 1);
  SetCapacity(int32_t(target));
}

}  // namespace norvane
