// Style sheets: the owner of parsed rules, their media sets, key frames,
// imports and variables.
//
//   TCSSStyleSheet sheet;
//   sheet.Parse(u"@import 'x.css' print; a { margin: 0 auto } "
//               u"@keyframes k { from { top: 0 } to { top: 10px } }");
//   sheet.SectionCount();            // 1: the rule of "a"
//   sheet.Imports()->Strings(0);     // "x.css", against URL
//   sheet.KeyFrames->GetKeyFrameList(u"k")->Count();  // 2
//
// Parsing never fails on content: what isn't understood is dropped at the
// smallest unit, a declaration or a rule.
#pragma once

#include <cstdint>
#include <vector>

#include "norvane/css/css_media_set.h"
#include "norvane/css/css_parser.h"
#include "norvane/css/css_section.h"
#include "norvane/foundation/ht_dictionary.h"
#include "norvane/foundation/ht_object_list.h"
#include "norvane/foundation/id_list.h"
#include "norvane/runtime/classes.h"
#include "norvane/runtime/object.h"

namespace norvane {

class TFastString;

// A custom property ("--main: red" gives the variable "main").
class TCSSVariable : public TObject {
  NV_CLASS(TCSSVariable, TObject)
 public:
  TCSSVariable() = default;
  TCSSVariable(const UnicodeString& name, const TCSSTokens& tokens) : Name(name), Tokens(tokens) {}
  UnicodeString Name;
  TCSSTokens Tokens;
  static int32_t NameOffset() noexcept;
};

// The frames of one animation: keys 0 to 100 (the percentage of the frame
// selector, "from" 0, "to" 100), each with its rule. Sorted by key.
class TCSSKeyFrameList : public TIDList {
  NV_CLASS(TCSSKeyFrameList, TIDList)
 public:
  explicit TCSSKeyFrameList(const UnicodeString& name = {});
  // Adds the rule under the key of each of its selectors; keys outside 0 to
  // 100 and selectors that aren't percentages are left out.
  void AddSection(TCSSSection* section);
  // The first frame for a negative percentage; otherwise the first frame
  // from the second on whose key is at least `percent`, or the last.
  TCSSSection* FindSection(float percent) const;
  TCSSSection* GetSection(int32_t index) const { return static_cast<TCSSSection*>(GetObject(index)); }
  UnicodeString Name;
  static int32_t NameOffset() noexcept;
};

// Animation name to its frames. Owns the lists and the rules.
class TCSSKeyFrameMap : public THtObjectDictionary {
  NV_CLASS(TCSSKeyFrameMap, THtObjectDictionary)
 public:
  TCSSKeyFrameMap();
  ~TCSSKeyFrameMap() override;
  // Takes the rule over.
  void AddSection(const UnicodeString& name, TCSSSection* section);
  TCSSKeyFrameList* GetKeyFrameList(const UnicodeString& name) const;
  // Every list, in the order the animations were first seen.
  const THtObjectList& Lists() const noexcept { return FLists; }
  void Clear();

 private:
  THtObjectList FLists{true};
  THtObjectList FSections{true};
};

class TCSSStyleSheet : public TObject {
  NV_CLASS(TCSSStyleSheet, TObject)
 public:
  TCSSStyleSheet();
  ~TCSSStyleSheet() override;

  void Clear();
  // Adds the rules of a text. `weight` other than -1 replaces the
  // specificity of every selector; `custom` marks the rules as coming from
  // a custom sheet.
  void Parse(const UnicodeString& text, int32_t weight = -1, bool custom = false);
  // The declarations of a style attribute, as a rule with the selector "*".
  void ParseValues(const UnicodeString& text, int32_t weight = -1);

  // Numbers the selector in the order of the sheet.
  void AddSelector(TCSSSelector* selector);
  void AddVariable(const UnicodeString& name, const TCSSTokens& tokens);
  // Each set's Disabled becomes whether it doesn't apply to the medium and
  // widths; true when any set changed.
  bool TestMediaSets(TCSSMedia media, int64_t width, int64_t deviceWidth);

  // The tokens of the first declaration of that name in the first rule.
  TCSSTokens ValuebyName(const UnicodeString& name) const;
  // The import addresses, combined with URL; created on first use.
  TStringList* Imports();
  // The keys of an animation's frames, as integers.
  void GetAnimationSteps(const UnicodeString& name, std::vector<int32_t>& steps) const;

  int32_t SectionCount() const noexcept { return fSections.Count(); }
  TCSSSection* GetSection(int32_t index) const { return static_cast<TCSSSection*>(fSections.Get(index)); }

  // The sheet written back: imports, rules grouped by their media, key
  // frames. AsString reads back to the same rules.
  UnicodeString AsString() const;
  // The declarations of every rule, as in a style attribute.
  UnicodeString AsInlineString() const;
  UnicodeString Minify() const;

  THtObjectList fSections{true};      // every rule of the sheet, owned
  THtObjectList FOwnMediaSets{true};  // owned
  UnicodeString Key;
  TCSSKeyFrameMap* KeyFrames;
  TStringList* FImports = nullptr;
  std::vector<TCSSImport> ImportRules;  // the "@import" rules as written
  bool HasMediaQueries = false;      // a set isn't plainly "all"
  bool HasMediaSizeQueries = false;  // a set has a width limit
  int32_t RefCounter = 0;
  int32_t SelectorCounter = 10000;
  UnicodeString URL;
  THtObjectList MediaSets{false};
  THtObjectDictionary* Variables;  // of TCSSVariable, owned

 private:
  void WriteText(std::u16string& out, bool minify) const;
};

}  // namespace norvane
