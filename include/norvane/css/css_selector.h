// Selectors as the parser builds them: a chain of compound selectors read
// from right to left, with the parts that the style maps index (tag, id,
// first class, attribute condition, first pseudo class) and the
// specificity of the whole chain.
//
// A chain is built once from the tokens of one selector of a rule and never
// changes afterwards, except for Weight and Order, which the style sheet
// sets.
#pragma once

#include <cstdint>
#include <vector>

#include "norvane/css/css_tokenizer.h"
#include "norvane/foundation/ht_object_list.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TCSSSection;

// How a compound relates to the compound before it in the source.
NV_ENUM(TSelectorPosition, spDescendant, spChild, spSibling, spAllSiblings)

NV_ENUM(TAttrCompare, acMatch, acStarts, acEnds, acContains, acWord, acStarts2, acNotEq)

NV_ENUM(TCSSPseudoClass, pcNone, pcLink, pcHover, pcActive, pcVisited, pcFocus, pcBefore, pcAfter, pcFirstLetter,
        pcFirstChild, pcLastChild, pcOnlyChild, pcNthChild, pcNthOfType, pcFirstOfType, pcLastOfType, pcChecked,
        pcEmpty, pcTarget, pcValid, pcInvalid, pcSelection, pcOnlyOfType, pcMarker, pcFocusWithin, pcUnknown)

using TCSSPseudo = TSet<TCSSPseudoClass, uint32_t>;

// One attribute condition of "[...]": a presence test (acMatch with an empty
// Value) or a comparison.
struct TCSSCondition {
  UnicodeString Name;
  UnicodeString Value;
  TAttrCompare Compare = acMatch;
};

struct TCSSSelectorClass {
  UnicodeString Name;  // trimmed, lower case
  int32_t Hash = 0;    // RSHash of Name
};

// One compound selector; Prev is the compound to its left.
class TCSSSelector : public TObject {
  NV_CLASS(TCSSSelector, TObject)
 public:
  explicit TCSSSelector(TCSSSelector* prev = nullptr) : Prev(prev) {}
  ~TCSSSelector() override;

  // Adds a class name (trimmed, folded to lower case) with its hash.
  void AddClass(const UnicodeString& name);
  // Adds a pseudo class by name ("first-child", "before"); unknown names are
  // pcUnknown. `arg` is the first token of its argument, or null: "odd" and
  // "even" give NthValue -1 and -2, a number its rounded value.
  void AddPseudo(const UnicodeString& name, const TCSSToken* arg);
  // Splits Condition (parts joined by the character 1) into Conditions.
  void ParseCondition();
  // The specificity of the chain: 1 a tag, 16 a class, a pseudo class or a
  // compound's attribute conditions, 256 an id, summed over every compound.
  uint32_t CalcWeight() const noexcept;
  // The chain written back as a selector ("ul > li.a:hover").
  UnicodeString AsString() const;

  TCSSPseudoClass MainPseudo = pcNone;  // the first pseudo class named
  int32_t PseudoCount = 0;
  TSelectorPosition Position = spDescendant;
  UnicodeString Tag;        // lower case; "*" universal; also "from", "50%", "@page"
  UnicodeString ID;
  UnicodeString Condition;  // the text inside "[...]", brackets joined by character 1
  std::vector<TCSSCondition> Conditions;
  bool Universal = false;
  std::vector<TCSSSelectorClass> Classes;
  TCSSPseudo Pseudo;
  int32_t NthValue = 0;  // -1 odd, -2 even, else the number of nth-child(n)
  TCSSSelector* Prev;    // owned
  std::vector<TCSSSelector*> NotList;  // one per :not(...), owned
  TCSSSection* Section = nullptr;
  uint32_t Weight = 0;
  int32_t Order = 0;
  int32_t StartPos = 0;
  int32_t EndPos = 0;
  // The pseudo classes as written, with their argument (":nth-child(2n)",
  // "::before"), so that the selector writes back as it was read.
  std::vector<UnicodeString> PseudoTexts;

 private:
  void WriteCompound(std::u16string& out) const;
};

// The selectors of one rule, owned.
class TCSSSelectors : public THtObjectList {
  NV_CLASS(TCSSSelectors, THtObjectList)
 public:
  explicit TCSSSelectors(bool ownsObjects = true) : THtObjectList(ownsObjects) {}
  TCSSSelector* GetSelector(int32_t index) const { return static_cast<TCSSSelector*>(Get(index)); }
  // Adds the selector unless one with the same text is there already; true
  // when it was added.
  bool DistinctAdd(TCSSSelector* selector);
  int32_t StartPos = 0;
  int32_t EndPos = 0;
};

// Builds the chain of one selector from its tokens (blanks kept, comments
// removed) and returns its rightmost compound, or null when the tokens hold
// no selector. Never raises on any token list.
TCSSSelector* BuildSelector(const TCSSToken* tokens, int32_t count);

}  // namespace norvane
