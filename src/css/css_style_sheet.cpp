// Style sheets: collecting what the parser yields (rules, media sets,
// imports, key frames, variables) and writing the sheet back.
#include "norvane/css/css_style_sheet.h"

#include <cmath>
#include <string>

#include "css_text_writer.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/foundation/url_utils.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TCSSVariable, "htmlcss")
NV_CLASS_IMPL(TCSSKeyFrameList, "htmlcss")
NV_CLASS_IMPL(TCSSKeyFrameMap, "htmlcss")
NV_CLASS_IMPL(TCSSStyleSheet, "htmlcss")

int32_t TCSSVariable::NameOffset() noexcept { return NV_FIELD_OFFSET(TCSSVariable, Name); }
int32_t TCSSKeyFrameList::NameOffset() noexcept { return NV_FIELD_OFFSET(TCSSKeyFrameList, Name); }

// --- Key frames -------------------------------------------------------------------------

TCSSKeyFrameList::TCSSKeyFrameList(const UnicodeString& name) : Name(name) {}

void TCSSKeyFrameList::AddSection(TCSSSection* section) {
  for (int32_t i = 0; i < section->Selectors->Count(); ++i) {
    const UnicodeString& tag = section->Selectors->GetSelector(i)->Tag;
    double key = -1;
    if (tag == u"from") {
      key = 0;
    } else if (tag == u"to") {
      key = 100;
    } else if (tag.Length() > 1) {
      double v = 0;
      if (TryStrToFloat(tag.view().substr(0, size_t(tag.Length() - 1)), v)) key = v;
    }
    if (!(key >= 0 && key <= 100)) continue;
    AddObject(int32_t(std::lround(key)), section);
  }
}

TCSSSection* TCSSKeyFrameList::FindSection(float percent) const {
  if (Count() == 0) return nullptr;
  if (percent < 0) return GetSection(0);
  for (int32_t i = 1; i < Count(); ++i)
    if (float(Get(i)) >= percent) return GetSection(i);
  return GetSection(Count() - 1);
}

TCSSKeyFrameMap::TCSSKeyFrameMap() : THtObjectDictionary(16, false, TCSSKeyFrameList::NameOffset()) {}

TCSSKeyFrameMap::~TCSSKeyFrameMap() { Clear(); }

void TCSSKeyFrameMap::Clear() {
  THtObjectDictionary::Clear();
  FLists.Clear();
  FSections.Clear();
}

void TCSSKeyFrameMap::AddSection(const UnicodeString& name, TCSSSection* section) {
  FSections.Add(section);
  TCSSKeyFrameList* list = GetKeyFrameList(name);
  if (!list) {
    list = new TCSSKeyFrameList(name);
    FLists.Add(list);
    Add(name, list);
  }
  list->AddSection(section);
}

TCSSKeyFrameList* TCSSKeyFrameMap::GetKeyFrameList(const UnicodeString& name) const {
  TObject* o = nullptr;
  return Find(name, o) ? static_cast<TCSSKeyFrameList*>(o) : nullptr;
}

// --- The sheet --------------------------------------------------------------------------

TCSSStyleSheet::TCSSStyleSheet()
    : KeyFrames(new TCSSKeyFrameMap()), Variables(new THtObjectDictionary(16, true, TCSSVariable::NameOffset())) {}

TCSSStyleSheet::~TCSSStyleSheet() {
  Clear();
  delete KeyFrames;
  delete Variables;
  delete FImports;
}

void TCSSStyleSheet::Clear() {
  fSections.Clear();
  KeyFrames->Clear();
  MediaSets.Clear();
  FOwnMediaSets.Clear();
  Variables->Clear();
  if (FImports) FImports->Clear();
  ImportRules.clear();
  HasMediaQueries = HasMediaSizeQueries = false;
}

TStringList* TCSSStyleSheet::Imports() {
  if (!FImports) FImports = new TStringList();
  return FImports;
}

void TCSSStyleSheet::AddSelector(TCSSSelector* selector) {
  ++SelectorCounter;
  if (selector->Order == 0 || selector->Order >= 10000) selector->Order = SelectorCounter;
}

void TCSSStyleSheet::AddVariable(const UnicodeString& name, const TCSSTokens& tokens) {
  TObject* old = nullptr;
  if (Variables->Find(name, old)) {
    static_cast<TCSSVariable*>(old)->Tokens = tokens;
    return;
  }
  Variables->AddObject(new TCSSVariable(name, tokens));
}

void TCSSStyleSheet::Parse(const UnicodeString& text, int32_t weight, bool custom) {
  if (BlankString(text)) return;
  TCSSParser parser(text);
  while (parser.NextSection()) {
    TCSSSection* s = parser.TakeSection();
    s->URL = URL;
    if (s->Values.empty()) {
      delete s;
      continue;
    }
    if (s->FontFace) {
      fSections.Add(s);
    } else if (parser.InKeyFrames()) {
      KeyFrames->AddSection(parser.KeyFramesName(), s);
    } else {
      s->Custom = custom;
      for (const TCSSValue& v : s->Values)
        if (v.Name.Length() > 2 && v.Name[0] == u'-' && v.Name[1] == u'-')
          AddVariable(UnicodeString(v.Name.view().substr(2)), v.Tokens);
      for (int32_t i = 0; i < s->Selectors->Count(); ++i) {
        TCSSSelector* sel = s->Selectors->GetSelector(i);
        sel->Weight = weight != -1 ? uint32_t(weight) : sel->CalcWeight();
        AddSelector(sel);
      }
      fSections.Add(s);
    }
  }
  for (const TCSSImport& imp : parser.Imports) {
    Imports()->Add(CombineUrl(URL, imp.URL.Name));
    ImportRules.push_back(imp);
  }
  THtObjectList& sets = parser.MediaSets();
  for (int32_t i = sets.Count() - 1; i >= 0; --i) {
    auto* set = static_cast<TCSSMediaSet*>(sets.Extract(sets.Get(i)));
    // A block left open at the end of the text is closed here.
    if (set->Media.Empty()) set->Media.Include(cmAll);
    MediaSets.Add(set);
    FOwnMediaSets.Add(set);
    if (set->SizeQuery || set->Media != TCSSMediaFlags{cmAll}) HasMediaQueries = true;
    if (set->SizeQuery) HasMediaSizeQueries = true;
  }
}

void TCSSStyleSheet::ParseValues(const UnicodeString& text, int32_t weight) {
  if (BlankString(text)) return;
  TCSSParser parser(text);
  TCSSSection* s = parser.ReadValues();
  if (!s || s->Values.empty()) {
    delete s;
    return;
  }
  TCSSToken star;
  star.CType = ctDelimiter;
  star.Name = UnicodeString(u"*");
  TCSSSelector* sel = BuildSelector(&star, 1);
  s->AddSelector(sel);
  s->URL = URL;
  sel->Weight = weight != -1 ? uint32_t(weight) : sel->CalcWeight();
  AddSelector(sel);
  fSections.Add(s);
}

bool TCSSStyleSheet::TestMediaSets(TCSSMedia media, int64_t width, int64_t deviceWidth) {
  bool changed = false;
  for (int32_t i = 0; i < MediaSets.Count(); ++i) {
    auto* set = static_cast<TCSSMediaSet*>(MediaSets.Get(i));
    const bool disabled = !set->CheckMedia(media, width, deviceWidth);
    if (disabled != set->Disabled) changed = true;
    set->Disabled = disabled;
  }
  return changed;
}

TCSSTokens TCSSStyleSheet::ValuebyName(const UnicodeString& name) const {
  return SectionCount() ? GetSection(0)->ValuebyName(name) : TCSSTokens();
}

void TCSSStyleSheet::GetAnimationSteps(const UnicodeString& name, std::vector<int32_t>& steps) const {
  steps.clear();
  if (TCSSKeyFrameList* list = KeyFrames->GetKeyFrameList(name))
    for (int32_t i = 0; i < list->Count(); ++i) steps.push_back(list->Get(i));
}

// --- Writing ----------------------------------------------------------------------------

void TCSSStyleSheet::WriteText(std::u16string& out, bool minify) const {
  using namespace css_text;
  const TTextMode mode = minify ? kMinified : kPretty;
  for (const TCSSImport& imp : ImportRules) {
    out += u"@import ";
    TCSSTokens url;
    url.Add(imp.URL);
    AddTokensText(out, url, mode);
    for (const TCSSToken& m : imp.Media) {
      out += u' ';
      if (m.CType == ctString)
        AddQuoted(out, m.Name.view());
      else
        AddName(out, m.Name.view());
    }
    out += minify ? u";" : u";\n";
  }
  const TCSSMediaSet* open = nullptr;
  for (int32_t i = 0; i < SectionCount(); ++i) {
    const TCSSSection* s = GetSection(i);
    const TCSSMediaSet* set = s->MediaSet == DefaultCSSMediaSet() ? nullptr : s->MediaSet;
    if (set != open) {
      if (open) out += minify ? u"}" : u"}\n";
      if (set) {
        out += set->AsString().view();
        out += minify ? u"{" : u" {\n";
      }
      open = set;
    }
    AddSectionText(out, *s, mode, open && !minify ? u"  " : u"");
  }
  if (open) out += minify ? u"}" : u"}\n";
  const THtObjectList& lists = KeyFrames->Lists();
  for (int32_t i = 0; i < lists.Count(); ++i) {
    auto* list = static_cast<TCSSKeyFrameList*>(lists.Get(i));
    if (list->Count() == 0) continue;  // only frames outside 0 to 100
    out += u"@keyframes ";
    AddName(out, list->Name.view());
    out += minify ? u"{" : u" {\n";
    std::vector<const TCSSSection*> written;
    for (int32_t k = 0; k < list->Count(); ++k) {
      const TCSSSection* s = list->GetSection(k);
      bool seen = false;
      for (const TCSSSection* w : written) seen = seen || w == s;
      if (seen) continue;
      written.push_back(s);
      AddSectionText(out, *s, mode, minify ? u"" : u"  ");
    }
    out += minify ? u"}" : u"}\n";
  }
}

UnicodeString TCSSStyleSheet::AsString() const {
  std::u16string out;
  WriteText(out, false);
  return UnicodeString(out);
}

UnicodeString TCSSStyleSheet::Minify() const {
  std::u16string out;
  WriteText(out, true);
  return UnicodeString(out);
}

UnicodeString TCSSStyleSheet::AsInlineString() const {
  std::u16string out;
  for (int32_t i = 0; i < SectionCount(); ++i) {
    UnicodeString part = GetSection(i)->AsInlineString();
    if (part.IsEmpty()) continue;
    if (!out.empty()) out += u"; ";
    out += part.view();
  }
  return UnicodeString(out);
}

}  // namespace norvane
