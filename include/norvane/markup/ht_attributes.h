// THtAttributes: the attribute table of a node.
//
// Entries are kept sorted by name, so lookups are a binary search and
// serialisation writes attributes in name order, not in document order. An
// HTML table folds names to ASCII lower case; an XML table (CaseSensitive)
// keeps them as given. Interned names compare by pointer in one step.
#pragma once

#include <cstdint>
#include <vector>

#include "norvane/runtime/small_pool.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TFastString;
class TFastRawString;

struct THtAttribute {
  UnicodeString Name;
  UnicodeString Value;
};

class THtAttributes : public TObject {
  NV_CLASS(THtAttributes, TObject)
 public:
  // Every element with attributes has a table: they come from the pools.
  NV_SMALL_POOL_NEW
  THtAttributes() = default;
  explicit THtAttributes(bool caseSensitive) : CaseSensitive(caseSensitive) {}

  // Binary search. True with the entry's index, or false with the place
  // where the name would be inserted. An empty table or name gives false, 0.
  bool Find(const UnicodeString& name, int32_t& index) const noexcept;
  int32_t Indexof(const UnicodeString& name) const noexcept;
  // "" when absent.
  UnicodeString GetAttribute(const UnicodeString& name) const;
  // Inserts at the sorted place without looking for an equal name, so a
  // second entry of a name lands beside the first. An empty name is ignored:
  // it could never be found again. Names are folded unless the table is
  // case sensitive or the name holds "{" (a template placeholder).
  void Add(const UnicodeString& name, const UnicodeString& value);
  // Replaces the value of an existing name or inserts the pair.
  void SetAttribute(const UnicodeString& name, const UnicodeString& value) { SetAttributeEx(name, value); }
  // The same; true when the table changed.
  bool SetAttributeEx(const UnicodeString& name, const UnicodeString& value);
  void ClearAttr(const UnicodeString& name);
  // Count := 0; the array keeps its entries for reuse.
  void Clear() noexcept { Count = 0; }

  // Direct access by index; an index outside 0..Count-1 raises EListError.
  const THtAttribute& GetItem(int32_t index) const;
  const UnicodeString& GetName(int32_t index) const { return GetItem(index).Name; }
  const UnicodeString& GetValue(int32_t index) const { return GetItem(index).Value; }
  void SetValue(int32_t index, const UnicodeString& value);

  // name="value" pairs joined by one space, values HTML-encoded.
  UnicodeString AsString() const;
  // Each attribute with one leading space. An XML table always writes
  // name="value"; an HTML table writes a bare name when name and value are
  // equal (checked="checked" becomes checked).
  void FastAsString(TFastString* out) const;
  void FastAsUTF8String(TFastRawString* out) const;

  bool CaseSensitive = false;
  int32_t Count = 0;
  // Entries 0..Count-1 are in use and sorted; the array may be longer.
  std::vector<THtAttribute, TSmallPoolAllocator<THtAttribute>> List;

 private:
  UnicodeString FoldName(const UnicodeString& name) const;
  void InsertAt(int32_t index, const UnicodeString& name, const UnicodeString& value);
};

}  // namespace norvane
