#include "norvane/markup/ht_attributes.h"

#include "norvane/foundation/fast_string.h"
#include "norvane/markup/html_encode.h"
#include "norvane/markup/markup_encode.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(THtAttributes, "htmlpars")

namespace {

inline char16_t FoldAscii(char16_t c) noexcept { return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c; }

// One pass over the overhead table tells whether a value needs encoding at
// all; most don't and are appended as they are.
void AppendValue(TFastString& out, const UnicodeString& value, bool xml) {
  if (xml) {
    FastXMLEncode(&out, value);
    return;
  }
  if (HtmlEncodeAttrNodeOverhead(value.view()) == 0)
    out.Add(value);
  else
    FastHtmlEncodeAttr(&out, value.view());
}

}  // namespace

UnicodeString THtAttributes::FoldName(const UnicodeString& name) const {
  // A name with "{" is a template placeholder, whose case the template
  // engine reads: the parser keeps it as written, and so does the table.
  if (CaseSensitive || name.view().find(u'{') != std::u16string_view::npos) return name;
  // Copy only when something folds, so interned lower-case names stay shared.
  for (char16_t c : name.view())
    if (c >= u'A' && c <= u'Z') return LowerCase(name);
  return name;
}

bool THtAttributes::Find(const UnicodeString& name, int32_t& index) const noexcept {
  index = 0;
  if (Count <= 0 || name.IsEmpty()) return false;
  const THtAttribute* items = List.data();
  int32_t lo = 0, hi = Count - 1;
  if (!CaseSensitive) {
    char16_t first = FoldAscii(name[0]);
    while (lo <= hi) {
      int32_t mid = (lo + hi) >> 1;
      const UnicodeString& key = items[mid].Name;
      int32_t c = int32_t(FoldAscii(key.c_str()[0])) - int32_t(first);
      if (c == 0 && !key.SameBlock(name)) c = CompareText(key.view(), name.view());
      if (c == 0) {
        index = mid;
        return true;
      }
      if (c < 0)
        lo = mid + 1;
      else
        hi = mid - 1;
    }
  } else {
    char16_t first = name[0];
    while (lo <= hi) {
      int32_t mid = (lo + hi) >> 1;
      const UnicodeString& key = items[mid].Name;
      int32_t c = int32_t(key.c_str()[0]) - int32_t(first);
      if (c == 0 && !key.SameBlock(name)) c = CompareStr(key.view(), name.view());
      if (c == 0) {
        index = mid;
        return true;
      }
      if (c < 0)
        lo = mid + 1;
      else
        hi = mid - 1;
    }
  }
  index = lo;
  return false;
}

int32_t THtAttributes::Indexof(const UnicodeString& name) const noexcept {
  int32_t i;
  return Find(name, i) ? i : -1;
}

UnicodeString THtAttributes::GetAttribute(const UnicodeString& name) const {
  int32_t i;
  return Find(name, i) ? List[size_t(i)].Value : UnicodeString();
}

void THtAttributes::InsertAt(int32_t index, const UnicodeString& name, const UnicodeString& value) {
  if (size_t(Count) == List.size()) List.emplace_back();
  // Rotate the spare entry at Count into place: the tail shifts by one.
  for (int32_t i = Count; i > index; --i) std::swap(List[size_t(i)], List[size_t(i - 1)]);
  List[size_t(index)].Name = FoldName(name);
  List[size_t(index)].Value = value;
  ++Count;
}

void THtAttributes::Add(const UnicodeString& name, const UnicodeString& value) {
  if (name.IsEmpty()) return;
  int32_t i;
  Find(name, i);
  InsertAt(i, name, value);
}

bool THtAttributes::SetAttributeEx(const UnicodeString& name, const UnicodeString& value) {
  if (name.IsEmpty()) return false;
  int32_t i;
  if (Find(name, i)) {
    UnicodeString& v = List[size_t(i)].Value;
    if (v == value) return false;
    v = value;
    return true;
  }
  InsertAt(i, name, value);
  return true;
}

void THtAttributes::ClearAttr(const UnicodeString& name) {
  int32_t i;
  if (!Find(name, i)) return;
  for (int32_t j = i; j + 1 < Count; ++j) std::swap(List[size_t(j)], List[size_t(j + 1)]);
  --Count;
  // Release the strings of the entry now beyond Count.
  List[size_t(Count)] = THtAttribute{};
}

const THtAttribute& THtAttributes::GetItem(int32_t index) const {
  if (index < 0 || index >= Count) throw EListError(u"List index out of bounds (%d)", {index});
  return List[size_t(index)];
}

void THtAttributes::SetValue(int32_t index, const UnicodeString& value) {
  GetItem(index);
  List[size_t(index)].Value = value;
}

UnicodeString THtAttributes::AsString() const {
  TFastString out(256);
  for (int32_t i = 0; i < Count; ++i) {
    if (i > 0) out.AddChar(u' ');
    out.Add(List[size_t(i)].Name);
    out.Add2Char(u'=', u'"');
    out.Add(HtmlEncodeAttr(List[size_t(i)].Value, -1));
    out.AddChar(u'"');
  }
  return out.GetAsString();
}

void THtAttributes::FastAsString(TFastString* out) const {
  if (!out) return;
  for (int32_t i = 0; i < Count; ++i) {
    const THtAttribute& a = List[size_t(i)];
    out->AddChar(u' ');
    out->Add(a.Name);
    if (!CaseSensitive && a.Name == a.Value) continue;
    out->Add2Char(u'=', u'"');
    AppendValue(*out, a.Value, CaseSensitive);
    out->AddChar(u'"');
  }
}

void THtAttributes::FastAsUTF8String(TFastRawString* out) const {
  if (!out) return;
  TFastString wide(256);
  FastAsString(&wide);
  out->AddUTF8(wide.GetAsString());
}

}  // namespace norvane
