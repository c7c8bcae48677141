// Rules: TCSSValue, one prepared declaration, and TCSSSection, one rule with
// its selectors, its declarations as written and the longhands they compile
// to.
//
// Every declaration is prepared when it is read: its property record is
// looked up, and its colour, keyword ordinal or length is decoded into the
// value, so that applying a style later costs no parsing. Shorthands are
// expanded once per rule by Compile.
#pragma once

#include <cstdint>
#include <vector>

#include "norvane/css/css_measure.h"
#include "norvane/css/css_media_set.h"
#include "norvane/css/css_properties.h"
#include "norvane/css/css_selector.h"
#include "norvane/css/css_tokenizer.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TCSSSection;
class THtObjectList;
class TFastString;

// Which operation of the style a prepared value runs when it is applied:
// none (the style reads the property on demand), the general DoApplyValue,
// or one of the four special ones. The style unit registers the operations
// behind these with SetCSSApplyProc, and each value carries the resolved
// TCSSValueProc in Apply.
NV_ENUM_T(TCSSApplyKind, uint8_t, akNone, akValue, akBackground, akDisplay, akFontWeight, akWhiteSpace)

void SetCSSApplyProc(TCSSApplyKind kind, TCSSValueProc proc) noexcept;
TCSSValueProc GetCSSApplyProc(TCSSApplyKind kind) noexcept;

// Markers in the Color word of a value's first token.
inline constexpr uint32_t CSSInheritMarker = 888;
inline constexpr uint32_t CSSUnknownKeywordMarker = 999;

// One declaration.
struct TCSSValue {
  UnicodeString Name;                    // the property name in lower case
  TCSSPropRec* PropRec = nullptr;        // never null once prepared: unknown names get "unknown"
  TCSSToken NameToken;                   // the name as written
  TCSSTokens Tokens;                     // the value without blanks, comments and "!important"
  bool Important = false;
  bool VendorPrefixed = false;           // the name starts with "-"
  bool IsInherit = false;                // the first token is exactly "inherit"
  TCSSApplyKind ApplyKind = akNone;
  TCSSValueProc Apply = nullptr;
  TMeasure2 Measure;                     // the decoded length of a cptLength property
  TCSSSection* Section = nullptr;

  // XOR of the CRC-32 of every token's name; 0 for an empty value.
  uint32_t Hash() const noexcept;
};
using PCSSValue = TCSSValue*;
using TCSSValues = std::vector<TCSSValue>;

// Prepares a declaration whose NameToken and Tokens are set: name, property
// record, cached colours, keyword ordinals and measures. False when the
// value can't stand (an unreadable colour, an unknown keyword of an
// enumeration), in which case the caller drops it.
bool PrepareValue(TCSSValue& value, TCSSSection* section);

// "name:value;" or "name:value!important;", the way a rule is written back.
UnicodeString CSSValuetoString(const TCSSValue& value);
// The tokens of a value as CSS text ("1px solid #fff", "calc(100% - 2em)"),
// which reads back to the same tokens.
UnicodeString CSSTokensToString(const TCSSTokens& tokens);

class TCSSSection : public TObject {
  NV_CLASS(TCSSSection, TObject)
 public:
  explicit TCSSSection(bool ownsSelectors = true);
  ~TCSSSection() override;

  // Takes the selector over when the section owns its selectors.
  void AddSelector(TCSSSelector* selector);
  // Appends a declaration and prepares it; returns it, or null when it was
  // dropped (no name, no tokens, or a value that can't stand).
  TCSSValue* AddValue(const UnicodeString& name, const TCSSTokens& tokens, bool important = false);
  void DeleteValue(int32_t index);
  // The tokens of the first declaration of that name (case ignored), empty
  // when there is none.
  TCSSTokens ValuebyName(const UnicodeString& name) const;
  TCSSTokens CompiledValuebyName(const UnicodeString& name) const;
  // The first declaration of that name (case ignored), or null.
  TCSSValue* ItembyName(const UnicodeString& name);

  // Rebuilds CompiledValues from Values: vendor-prefixed and unknown
  // properties stay out, shorthands become their longhands.
  void Compile();

  // The rule written back: "sel, sel {", one declaration a line, "}".
  UnicodeString AsString() const;
  // The declarations alone, as in a style attribute: "a: b; c: d".
  UnicodeString AsInlineString() const;
  // The rule with no blank that can go: "sel,sel{a:b;c:d}".
  UnicodeString Minify() const;
  // The same, appended to a builder.
  void AddAsString(TFastString& out, bool minify, const UnicodeString& indent = {}) const;

  // A place that lasts as long as the rule for the tokens of a calc(),
  // which measures point at.
  TCSSTokens* AddCalcValue(const TCSSTokens& tokens);

  THtObjectList* FCalcValues = nullptr;  // owns TCSSCalcValueObject, created on demand
  TCSSSelectors* Selectors;
  TCSSValues Values;          // as written, after replacement of duplicates
  TCSSValues CompiledValues;  // the longhands: what is matched and applied
  int32_t BlockStartPos = 0;
  int32_t BlockEndPos = 0;
  bool Custom = false;    // from a custom style sheet
  bool FontFace = false;  // the rule was "@font-face"
  TCSSMediaSet* MediaSet;  // never null; DefaultCSSMediaSet() outside "@media"
  UnicodeString URL;       // base URL of the sheet

 private:
  void CompileFourSides(const TCSSValue& v);
  void CompileTwo(const TCSSValue& v);
  void CompilePositional(const TCSSValue& v);
  void CompileFont(const TCSSValue& v);
  void CompileBorder(const TCSSValue& v);
  void CompileTextDecoration(const TCSSValue& v);
  void CompileBackground(const TCSSValue& v);
  // Appends a longhand of `shorthand` with the given tokens, prepared; a
  // value that can't stand is removed again. Returns it or null.
  TCSSValue* AddCompiled(const TCSSValue& shorthand, TCSSPropRec* sub, const TCSSTokens& tokens);
  TCSSValue* AddCompiled(const TCSSValue& shorthand, const char16_t* subName, const TCSSTokens& tokens);
};

}  // namespace norvane
