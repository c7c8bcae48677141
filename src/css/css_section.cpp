// Declarations and rules: preparing a value when it is read, the rule's
// operations by name, and writing rules back as text.
#include "norvane/css/css_section.h"

#include <string>

#include "css_text_writer.h"
#include "norvane/foundation/hash.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/foundation/ht_object_list.h"
#include "norvane/markup/html_colors.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TCSSSection, "htmlcss")

// --- Apply operations ---------------------------------------------------------------

namespace {
TCSSValueProc g_applyProcs[akWhiteSpace + 1] = {};
}

void SetCSSApplyProc(TCSSApplyKind kind, TCSSValueProc proc) noexcept {
  if (kind <= akWhiteSpace) g_applyProcs[kind] = proc;
}

TCSSValueProc GetCSSApplyProc(TCSSApplyKind kind) noexcept {
  return kind <= akWhiteSpace ? g_applyProcs[kind] : nullptr;
}

// --- TCSSValue ------------------------------------------------------------------------

uint32_t TCSSValue::Hash() const noexcept {
  uint32_t h = 0;
  for (const TCSSToken& t : Tokens) h ^= CalcStrCRC32(t.Name.view());
  return h;
}

namespace {

// Properties whose style reads them on demand or handles them in the
// general apply operation; every other property needs nothing at apply
// time.
bool NeedsApply(TCSSProperty id) {
  switch (id) {
    case cspPosition: case cspTransition: case cspTextDecorationLine: case cspTextDecoration: case cspFontStyle:
    case cspBackgroundColor: case cspBackgroundImage: case cspBackgroundPositionX: case cspbackgroundPositionY:
    case cspBackgroundPosition: case cspBackgroundAttachment: case cspBackgroundSize: case cspVisibility:
    case cspZIndex: case cspDirection: case cspWordWrap: case cspWordBreak: case cspClipPath:
    case cspDominantBaseline: case cspFill: case cspFillRule: case cspStroke: case cspStrokeWidth:
    case cspStopColor: case cspStopOpacity: case cspStrokeDasharray: case cspStrokeDashoffset:
    case cspStrokeLinejoin: case cspStrokeLinecap: case cspShapeRendering: case cspTextAnchor: case cspZoom:
    case cspHyphens: case cspAnimation: case cspAnimationName: case cspAnimationDuration:
    case cspAnimationTimingFunction: case cspClear: case cspCounterReset: case cspCounterIncrement:
    case cspTransitionDuration:
      return true;
    default:
      return false;
  }
}

void DecodeLength(TCSSValue& v, TCSSSection* section) {
  TCSSToken& first = v.Tokens[0];
  TCSSTokenSequence ts;
  v.Measure.Value1.Init();
  v.Measure.Value2.Init();
  if (first.CType == ctFunction && SameText(first.Name.view(), u"calc")) {
    if (section) {
      ts.Init(section->AddCalcValue(v.Tokens));
      v.Measure.Value1.Decode(ts);
    }
    // Without a rule to hold its tokens a calc() stays auto.
  } else {
    ts.Init(&v.Tokens);
    v.Measure.Value1.Decode(ts);
    v.Measure.Value1.Calc = nullptr;
  }
  int32_t slash = -1;
  for (int32_t i = 0; i < v.Tokens.Length(); ++i)
    if (v.Tokens[i].CType == ctSlash) {
      slash = i;
      break;
    }
  if (slash >= 0 && slash + 1 < v.Tokens.Length()) {
    ts.Init(&v.Tokens);
    ts.Next(slash + 1);
    v.Measure.Value2.Decode(ts);
    // A calc() behind the slash has no place of its own.
    if (v.Measure.Value2.Calc) {
      v.Measure.Value2.Calc = nullptr;
      v.Measure.Value2.Flags.Exclude(mfNotAuto);
    }
  } else {
    v.Measure.Value2.Flags.Include(mfInitial);
  }
  if (v.PropRec->ID == cspLineHeight && first.CType != ctPercentage && first.CType != ctDimension)
    v.Measure.Value1.FMUnit = muNone;  // a multiplier of the font size
  if (v.PropRec->ID == cspFontSize && first.CType == ctIdent && first.Name == u"medium") {
    v.Measure.Value1.SetValue(18.0f);
    v.Measure.Value1.FMUnit = muPX;
  }
}

}  // namespace

bool PrepareValue(TCSSValue& v, TCSSSection* section) {
  v.Section = section;
  v.Name = LowerCase(v.NameToken.Name);
  v.ApplyKind = akNone;
  v.Apply = nullptr;
  if (v.Name.IsEmpty() || v.Tokens.Empty()) {
    v.PropRec = CSSUnknownPropRec();
    return true;
  }
  v.ApplyKind = akValue;
  for (TCSSToken& t : v.Tokens)
    if (t.CType == ctHash && t.Color == 0) {
      uint32_t c = htmlHextoColor(u'#' + t.Name);
      if (c != HtNoColor) t.Color = c;
    }
  TCSSToken& first = v.Tokens[0];
  if (v.Name == u"background") {
    v.ApplyKind = akBackground;
  } else if (v.Name == u"display") {
    v.ApplyKind = akDisplay;
  } else if (v.Name == u"font-weight") {
    v.ApplyKind = akFontWeight;
  } else if (v.Name == u"white-space") {
    v.ApplyKind = akWhiteSpace;
  } else if (v.Name == u"text-decoration" || v.Name == u"text-decoration-line") {
    const UnicodeString& n = first.Name;
    if (n == u"none")
      first.Color = 0;
    else if (n == u"underline")
      first.Color = 4;
    else if (n == u"line-through")
      first.Color = 8;
    else if (n == u"underline line-through" || n == u"line-through underline ")
      first.Color = 12;
  }
  v.VendorPrefixed = v.Name[0] == u'-';
  v.IsInherit = first.Name == u"inherit";
  v.PropRec = CSSPropRecOf(v.Name);
  if (v.ApplyKind == akValue && !NeedsApply(v.PropRec->ID)) v.ApplyKind = akNone;
  v.Apply = GetCSSApplyProc(v.ApplyKind);
  if (v.IsInherit) {
    first.Color = CSSInheritMarker;
    return true;
  }
  switch (v.PropRec->PropType) {
    case cptLength:
      DecodeLength(v, section);
      return true;
    case cptColor: {
      TCSSTokenSequence ts;
      ts.Init(&v.Tokens);
      uint32_t c = first.Color;
      bool ok = ts.ReadColor(c);
      // A word that names no colour is cached as HtNoColor: no colour either.
      if (ok && (c == HtNoColor || (first.CType == ctIdent && first.Color == HtNoColor))) ok = false;
      if (ok) first.Color = c;
      return ok;
    }
    case cptEnum: {
      if (!v.PropRec->EnumType) {
        first.Color = 0;
        return true;
      }
      // A numeric weight keeps its number: Color would overwrite AsFloat.
      if (v.PropRec->ID == cspFontWeight && first.CType == ctNumber) return true;
      int32_t ordinal = 0;
      if (v.PropRec->IsEnumValue(first.Name, ordinal)) {
        first.Color = uint32_t(ordinal);
        return true;
      }
      first.Color = CSSUnknownKeywordMarker;
      // Numeric weights aren't names of the enumeration.
      return v.PropRec->ID == cspFontWeight;
    }
    default:
      return true;
  }
}

UnicodeString CSSValuetoString(const TCSSValue& value) {
  std::u16string out;
  css_text::AddValueText(out, value, css_text::kCompact);
  return UnicodeString(out);
}

UnicodeString CSSTokensToString(const TCSSTokens& tokens) {
  std::u16string out;
  css_text::AddTokensText(out, tokens, css_text::kPretty);
  return UnicodeString(out);
}

// --- TCSSSection ----------------------------------------------------------------------

TCSSSection::TCSSSection(bool ownsSelectors)
    : Selectors(new TCSSSelectors(ownsSelectors)), MediaSet(DefaultCSSMediaSet()) {}

TCSSSection::~TCSSSection() {
  delete Selectors;
  delete FCalcValues;
}

void TCSSSection::AddSelector(TCSSSelector* selector) {
  if (!selector) return;
  for (TCSSSelector* s = selector; s; s = s->Prev) s->Section = this;
  Selectors->Add(selector);
}

TCSSValue* TCSSSection::AddValue(const UnicodeString& name, const TCSSTokens& tokens, bool important) {
  if (name.IsEmpty() || tokens.Empty()) return nullptr;
  TCSSValue v;
  v.NameToken.CType = ctIdent;
  v.NameToken.Name = name;
  v.Tokens = tokens;
  v.Important = important;
  if (!PrepareValue(v, this)) return nullptr;
  Values.push_back(std::move(v));
  return &Values.back();
}

void TCSSSection::DeleteValue(int32_t index) {
  if (index >= 0 && size_t(index) < Values.size()) Values.erase(Values.begin() + index);
}

namespace {
const TCSSValue* FindByName(const TCSSValues& values, const UnicodeString& name) {
  for (const TCSSValue& v : values)
    if (SameText(v.Name.view(), name.view())) return &v;
  return nullptr;
}
}  // namespace

TCSSTokens TCSSSection::ValuebyName(const UnicodeString& name) const {
  const TCSSValue* v = FindByName(Values, name);
  return v ? v->Tokens : TCSSTokens();
}

TCSSTokens TCSSSection::CompiledValuebyName(const UnicodeString& name) const {
  const TCSSValue* v = FindByName(CompiledValues, name);
  return v ? v->Tokens : TCSSTokens();
}

TCSSValue* TCSSSection::ItembyName(const UnicodeString& name) {
  return const_cast<TCSSValue*>(FindByName(Values, name));
}

TCSSTokens* TCSSSection::AddCalcValue(const TCSSTokens& tokens) {
  if (!FCalcValues) FCalcValues = new THtObjectList(true);
  auto* obj = new TCSSCalcValueObject();
  // A private copy: the measure's evaluation must not see later changes.
  for (const TCSSToken& t : tokens) obj->Tokens.Add(t);
  FCalcValues->Add(obj);
  return &obj->Tokens;
}

void TCSSSection::AddAsString(TFastString& out, bool minify, const UnicodeString& indent) const {
  std::u16string text;
  css_text::AddSectionText(text, *this, minify ? css_text::kMinified : css_text::kPretty, indent.view());
  out.Add(UnicodeString(text));
}

UnicodeString TCSSSection::AsString() const {
  std::u16string text;
  css_text::AddSectionText(text, *this, css_text::kPretty, {});
  return UnicodeString(text);
}

UnicodeString TCSSSection::Minify() const {
  std::u16string text;
  css_text::AddSectionText(text, *this, css_text::kMinified, {});
  return UnicodeString(text);
}

UnicodeString TCSSSection::AsInlineString() const {
  std::u16string text;
  for (const TCSSValue& v : Values) {
    if (!text.empty()) text += u' ';
    css_text::AddValueText(text, v, css_text::kPretty);
  }
  // No closing ";" on the last declaration, as a style attribute is written.
  if (!text.empty() && text.back() == u';') text.pop_back();
  return UnicodeString(text);
}

}  // namespace norvane
