#include "norvane/css/css_properties.h"

#include <bit>
#include <memory>

#include "css_property_table.h"
#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/runtime/exception.h"

namespace norvane {

int32_t TCSSproperties::Count() const noexcept {
  return std::popcount(FBits[0]) + std::popcount(FBits[1]) + std::popcount(FBits[2]);
}

// --- TCSSPropRec -----------------------------------------------------------------

TClass TCSSPropRec::StaticClass() noexcept {
  static const TClassInfo info{"TCSSPropRec", "css", TObject::StaticClass(), nullptr};
  return &info;
}

TCSSPropRec::TCSSPropRec(const UnicodeString& name, TCSSProperty id, TCSSPropertyType propType,
                         TCSSPropertyParentType parentType, bool inherited, float defaultValue, bool layout)
    : Name(name),
      ID(id),
      PropType(propType),
      ParentType(parentType),
      Inherited(inherited),
      DefaultValue(defaultValue),
      Layout(layout) {}

int32_t TCSSPropRec::NameOffset() noexcept { return NV_FIELD_OFFSET(TCSSPropRec, Name); }

namespace {

// The table while it is being built, so that Add(Name) can find records
// before CSSPropDictionary() has returned. Per thread: only the building
// thread ever sees it set.
thread_local THtObjectDictionary* tBuilding = nullptr;

TCSSPropRec* FindIn(const THtObjectDictionary& dict, std::u16string_view name) noexcept {
  TObject* v = nullptr;
  if (!dict.Find(name.data(), int32_t(name.size()), v)) return nullptr;
  return static_cast<TCSSPropRec*>(v);
}

struct TCSSPropTable {
  std::unique_ptr<THtObjectDictionary> Dict;
  TCSSPropRec* ById[256] = {};
  TCSSPropRec* Unknown = nullptr;
};

TCSSPropRec* ChainRec(const char16_t* name) {
  TCSSPropRec* r = FindIn(*tBuilding, name);
  if (!r) throw EArgumentException(u"Unknown CSS property \"%s\"", {UnicodeString(name)});
  return r;
}

TCSSPropTable* BuildTable() {
  auto t = std::make_unique<TCSSPropTable>();
  t->Dict = std::make_unique<THtObjectDictionary>(511, true, TCSSPropRec::NameOffset());
  for (const detail::TCSSPropRow& row : detail::CSSPropRows()) {
    auto* r = new TCSSPropRec(row.Name, row.ID, row.PropType, row.ParentType, row.Inherited, row.DefaultValue,
                              row.Layout);
    t->Dict->AddObject(r);
    t->ById[row.ID] = r;
  }
  tBuilding = t->Dict.get();
  try {
    detail::ChainCSSPropRecs(&ChainRec);
  } catch (...) {
    tBuilding = nullptr;
    throw;
  }
  tBuilding = nullptr;
  t->Unknown = t->ById[cspUnknown];
  return t.release();
}

const TCSSPropTable& Table() {
  static const std::unique_ptr<TCSSPropTable> table(BuildTable());
  return *table;
}

}  // namespace

TCSSPropRec* TCSSPropRec::Add(const UnicodeString& name) {
  const THtObjectDictionary& dict = tBuilding ? *tBuilding : CSSPropDictionary();
  TCSSPropRec* sub = FindIn(dict, name.view());
  if (!sub) throw EArgumentException(u"Unknown CSS property \"%s\"", {name});
  return Add(sub);
}

TCSSPropRec* TCSSPropRec::Add(TCSSPropRec* sub) {
  SubProps.push_back(sub);
  return this;
}

TCSSPropRec* TCSSPropRec::EnumInfo(const UnicodeString& prefix, const TEnumInfo& type) {
  EnumPrefix = prefix;
  EnumType = &type;
  return this;
}

bool TCSSPropRec::IsEnumValue(const UnicodeString& keyword, int32_t& ordinal) const noexcept {
  return EnumType && IsEnum2(EnumPrefix, keyword, *EnumType, ordinal);
}

UnicodeString TCSSPropRec::EnumKeyword(int32_t ordinal) const {
  if (!EnumType || ordinal < 0 || ordinal >= EnumType->Count()) return UnicodeString();
  return CSSKeywordOfEnumName(EnumType->Name(ordinal).view(), EnumPrefix.view());
}

// --- The table ----------------------------------------------------------------------

const THtObjectDictionary& CSSPropDictionary() { return *Table().Dict; }

TCSSPropRec* FindCSSPropRec(std::u16string_view name) noexcept { return FindIn(*Table().Dict, name); }

TCSSPropRec* CSSUnknownPropRec() noexcept { return Table().Unknown; }

TCSSPropRec* CSSPropRecOf(std::u16string_view name) noexcept {
  const TCSSPropTable& t = Table();
  TCSSPropRec* r = FindIn(*t.Dict, name);
  return r ? r : t.Unknown;
}

TCSSPropRec* CSSPropRecById(TCSSProperty id) noexcept { return Table().ById[id]; }

// --- Names ------------------------------------------------------------------------

namespace {
bool IsUpper(char16_t c) noexcept { return c >= u'A' && c <= u'Z'; }
bool IsLowerOrDigit(char16_t c) noexcept { return (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9'); }
}  // namespace

UnicodeString CSSKeywordOfEnumName(std::u16string_view valueName, std::u16string_view prefix) {
  std::u16string_view s = valueName;
  if (!prefix.empty() && s.size() >= prefix.size()) {
    bool same = true;
    for (size_t i = 0; i < prefix.size() && same; ++i)
      same = (s[i] | 0x20) == (prefix[i] | 0x20);
    if (same) s.remove_prefix(prefix.size());
  }
  std::u16string out;
  out.reserve(s.size() + 4);
  for (size_t i = 0; i < s.size(); ++i) {
    const char16_t c = s[i];
    if (IsUpper(c) && i > 0) {
      // A word starts at a capital after a small letter or digit
      // ("InlineBlock"), and at the last capital of a run that a small
      // letter follows ("NESWResize" is "nesw-resize").
      const bool afterSmall = IsLowerOrDigit(s[i - 1]);
      const bool endsRun = IsUpper(s[i - 1]) && i + 1 < s.size() && IsLowerOrDigit(s[i + 1]);
      if (afterSmall || endsRun) out.push_back(u'-');
    }
    out.push_back(IsUpper(c) ? char16_t(c | 0x20) : c);
  }
  return UnicodeString(out);
}

UnicodeString CSSPropertyTypeName(TCSSPropertyType type) {
  static const char16_t* const kNames[] = {u"length", u"number", u"color", u"string", u"enum", u"complex"};
  return unsigned(type) < std::size(kNames) ? UnicodeString(kNames[type]) : UnicodeString();
}

UnicodeString CSSParentTypeName(TCSSPropertyParentType type) {
  static const char16_t* const kNames[] = {u"width", u"height", u"font-size", u"container-width",
                                           u"container-height"};
  return unsigned(type) < std::size(kNames) ? UnicodeString(kNames[type]) : UnicodeString();
}

}  // namespace norvane
