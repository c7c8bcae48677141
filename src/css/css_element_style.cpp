#include "norvane/css/css_element_style.h"

#include <algorithm>
#include <cmath>

#include "norvane/css/css_section.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TBaseElementStyle, "htmlcss")

namespace {

// The weight bits of a font style; a font-weight replaces them all.
constexpr THtFontStyles kWeightBits{hfsBold, hfsLight, hfsUltraLight, hfsBlack, hfsSemibold};

// Equal within the resolution of a 32-bit float (a relative 1e-4, and at
// least 1e-4): what an animation step or a rounding in layout can't tell
// apart is no change.
bool SameValue(float a, float b) noexcept {
  const float eps = std::max(std::min(std::fabs(a), std::fabs(b)) * 1e-4f, 1e-4f);
  return std::fabs(a - b) <= eps;
}

bool IsInheritValue(const TCSSValue* v) noexcept {
  return v->IsInherit || (!v->Tokens.Empty() && v->Tokens[0].Color == CSSInheritMarker);
}

bool StartsWithFunction(const TCSSValue* v) noexcept {
  return !v->Tokens.Empty() && v->Tokens[0].CType == ctFunction;
}

bool StartsWithVar(const TCSSValue* v) noexcept {
  return StartsWithFunction(v) && SameText(v->Tokens[0].Name.view(), u"var");
}

// A length that compares by its tokens: a calc() or another function that
// spans three or more tokens.
bool LengthByTokens(const TCSSValue* v) noexcept {
  return v->Measure.Value1.Calc || (StartsWithFunction(v) && v->Tokens.Length() >= 3);
}

bool IsWidthKeyword(const TCSSToken& t) noexcept {
  return t.CType == ctIdent &&
         (SameText(t.Name.view(), u"thin") || SameText(t.Name.view(), u"medium") || SameText(t.Name.view(), u"thick"));
}

bool IsLineStyleName(const TCSSToken& t, int32_t& ordinal) noexcept {
  return t.CType == ctIdent && IsEnum2(u"ls", t.Name, EnumInfo(TLineStyle{}), ordinal);
}

// A sequence on token `index` of a value.
TCSSTokenSequence CursorAt(TCSSValue* v, int32_t index) {
  TCSSTokenSequence ts;
  ts.Init(&v->Tokens);
  if (index > 0) ts.Next(index);
  return ts;
}

// The operations behind the apply kinds of prepared values. A value
// prepared before any style existed carries only its kind.
TCSSValueProc ProcOf(TCSSApplyKind kind) noexcept {
  switch (kind) {
    case akValue: return &TBaseElementStyle::ApplyValueCaller;
    case akBackground: return &TBaseElementStyle::DoApplyBackground;
    case akDisplay: return &TBaseElementStyle::DoApplyDisplay;
    case akFontWeight: return &TBaseElementStyle::DoApplyFontWeight;
    case akWhiteSpace: return &TBaseElementStyle::DoApplyWhiteSpace;
    default: return nullptr;
  }
}

void RegisterApplyProcs() noexcept {
  for (TCSSApplyKind k : {akValue, akBackground, akDisplay, akFontWeight, akWhiteSpace})
    SetCSSApplyProc(k, ProcOf(k));
}

TMeasure MediumBorder(TBaseElementStyle* style) noexcept {
  TMeasure m;
  m.Init(style);
  m.SetPixels(2);
  return m;
}

}  // namespace

TBaseElementStyle::TBaseElementStyle() {
  static const bool registered = (RegisterApplyProcs(), true);
  (void)registered;
}

TBaseElementStyle::~TBaseElementStyle() = default;

// --- Application -------------------------------------------------------------------

void TBaseElementStyle::ApplyValue(std::span<TCSSValue* const> values, bool add) {
  if (!add) {
    FProps.resize(values.size());
    PropertySet.Clear();
    if (values.empty()) {
      CalcGeneralProps();
      return;
    }
    // The last value of a property wins; earlier ones are losers.
    size_t n = 0;
    for (size_t i = values.size(); i-- > 0;) {
      TCSSValue* v = values[i];
      if (!v || !v->PropRec) continue;  // not prepared: nothing to apply
      const TCSSProperty id = v->PropRec->ID;
      if (PropertySet.Contains(id)) continue;
      FProps[n++] = v;
      PropertySet.Include(id);
    }
    FProps.resize(n);
  } else {
    std::vector<TCSSValue*> merged;
    merged.reserve(values.size() + FProps.size());
    for (size_t i = values.size(); i-- > 0;)
      if (values[i] && values[i]->PropRec) merged.push_back(values[i]);
    merged.insert(merged.end(), FProps.begin(), FProps.end());
    FProps.swap(merged);
  }

  // In ascending order, losers included, so that the winner acts last. An
  // auto length (a margin aside, whose auto means something) makes its
  // property absent: the getters then answer auto with no special case.
  // "inherit" stays present, although its measure isn't decoded, so that
  // the getters can ask the parent.
  for (TCSSValue* v : values) {
    if (!v || !v->PropRec) continue;
    const TCSSPropRec* rec = v->PropRec;
    const TCSSProperty id = rec->ID;
    if (rec->PropType == cptLength && !(id >= cspMarginLeft && id <= cspMargin) &&
        !v->Measure.Value1.Flags.Contains(mfNotAuto) && !StartsWithFunction(v) && !IsInheritValue(v))
      PropertySet.Exclude(id);
    else
      PropertySet.Include(id);
    TCSSValueProc proc = v->Apply ? v->Apply : ProcOf(v->ApplyKind);
    if (proc) {
      TCSSTokenSequence ts;
      ts.Init(&v->Tokens);
      (this->*proc)(v, ts);
    }
  }
  CalcGeneralProps();
}

void TBaseElementStyle::ApplyValueCaller(TCSSValue* value, TCSSTokenSequence& ts) { DoApplyValue(value, ts); }

void TBaseElementStyle::GetCSSVariable(TCSSTokenSequence&) {}

void TBaseElementStyle::DoApplyValue(TCSSValue* value, TCSSTokenSequence& ts) {
  if (value->Name.Length() < 2 || value->Tokens.Empty()) return;
  if (StartsWithVar(value)) GetCSSVariable(ts);
  if (!ts.T) return;
  const TCSSToken& t = *ts.T;
  const bool inherit = IsInheritValue(value);
  TBaseElementStyle* parent = inherit ? ParentStyle() : nullptr;
  switch (value->PropRec->ID) {
    case cspPosition:
      if (inherit)
        FPosition = parent ? parent->FPosition : epStatic;
      else if (t.Color < uint32_t(EnumInfo(TElementPosition{}).Count()))
        FPosition = TElementPosition(t.Color);
      // Sticky positioning isn't supported: it behaves as static.
      if (FPosition == epSticky) FPosition = epStatic;
      break;
    case cspTextDecorationLine:
      // The first token holds an ordinal of the enumeration, or the mask of
      // the two decoration bits as the parser may store it (4 underline, 8
      // line-through).
      if (inherit) {
        CalculatedTextStyle.Exclude(hfsUnderline);
        if (parent && parent->CalculatedTextStyle.Contains(hfsUnderline)) CalculatedTextStyle.Include(hfsUnderline);
      } else if (t.Color == 0 || t.Color == tlNone) {
        CalculatedTextStyle.Exclude(hfsUnderline).Exclude(hfsStrikeOut);
      } else if (t.Color == tlUnderline || t.Color == 4 || t.Color == 12) {
        CalculatedTextStyle.Include(hfsUnderline);
        if (t.Color == 12) CalculatedTextStyle.Include(hfsStrikeOut);
      } else if (t.Color == tlLineThrough || t.Color == 8) {
        CalculatedTextStyle.Include(hfsStrikeOut);
      }
      break;
    case cspTextDecoration:
      if (inherit) {
        if (parent) CalculatedTextStyle = parent->CalculatedTextStyle;
      } else {
        CalculatedTextStyle.Exclude(hfsUnderline).Exclude(hfsStrikeOut);
        CalculatedTextStyle = CalculatedTextStyle +
                              THtFontStyles::FromBits(uint8_t(t.Color & ((1u << hfsUnderline) | (1u << hfsStrikeOut))));
      }
      break;
    case cspFontStyle:
      // Only italic is italic; oblique isn't. "inherit" keeps the parent's.
      if (inherit ? (parent && parent->CalculatedTextStyle.Contains(hfsItalic))
                  : (t.CType == ctIdent && SameText(t.Name.view(), u"italic")))
        CalculatedTextStyle.Include(hfsItalic);
      else
        CalculatedTextStyle.Exclude(hfsItalic);
      break;
    case cspBackgroundColor:
    case cspBackgroundImage:
    case cspBackgroundPositionX:
    case cspbackgroundPositionY:
    case cspBackgroundPosition:
    case cspBackgroundAttachment:
    case cspBackgroundSize:
      DoApplyBackground(value, ts);
      break;
    case cspVisibility:
      if (inherit)
        Visibility = parent ? parent->Visibility : cvVisible;
      else if (t.Color < uint32_t(EnumInfo(TCSSVisibility{}).Count()))
        Visibility = TCSSVisibility(t.Color);
      break;
    case cspZIndex:
      if (t.CType == ctNumber) ZIndex = int32_t(Round(std::min(double(t.AsFloat), 100000000.0)));
      break;
    case cspDirection:
      if (inherit)
        CalculatedDirection = parent ? parent->CalculatedDirection : cdLTR;
      else if (t.Color < uint32_t(EnumInfo(TCSSDirection{}).Count()))
        CalculatedDirection = TCSSDirection(t.Color);
      break;
    case cspWordWrap:
      if (!inherit && t.Color == wwBreakWord) CalculatedWordBreak = wbBreakWord;
      break;
    case cspWordBreak:
      if (inherit)
        CalculatedWordBreak = parent ? parent->CalculatedWordBreak : wbNormal;
      else if (t.Color < uint32_t(EnumInfo(TCSSWordBreak{}).Count()))
        CalculatedWordBreak = TCSSWordBreak(t.Color);
      break;
    case cspHyphens:
      if (!inherit && t.Color == chAuto) CalculatedWordBreak = wbHyphens;
      break;
    case cspZoom: {
      float z = 0;
      if (t.CType == ctNumber) z = t.AsFloat;
      else if (t.CType == ctPercentage) z = t.AsFloat / 100.0f;
      // A zoom of 0 or below would collapse every length; it is ignored.
      if (z > 0) Zoom = z;
      break;
    }
    case cspClear:
      if (t.CType == ctIdent) {
        if (SameText(t.Name.view(), u"left")) Clear = {ecLeft};
        else if (SameText(t.Name.view(), u"right")) Clear = {ecRight};
        else if (SameText(t.Name.view(), u"both")) Clear = {ecLeft, ecRight};
        else if (SameText(t.Name.view(), u"none")) Clear = {};
      }
      break;
    case cspCounterReset:
      // Pairs of a name and an optional value: "a 2 b".
      for (int32_t i = 0; i < value->Tokens.Length(); ++i) {
        const TCSSToken& name = value->Tokens[i];
        if (name.CType != ctIdent || SameText(name.Name.view(), u"none")) continue;
        int32_t n = 0;
        if (i + 1 < value->Tokens.Length() && value->Tokens[i + 1].CType == ctNumber)
          n = int32_t(Round(value->Tokens[++i].AsFloat));
        ResetCSSCounter(name.Name, n);
      }
      break;
    case cspCounterIncrement:
      for (const TCSSToken& name : value->Tokens)
        if (name.CType == ctIdent && !SameText(name.Name.view(), u"none")) IncrementCSSCounter(name.Name);
      break;
    case cspTransition:
    case cspTransitionDuration:
    case cspAnimation:
    case cspAnimationName:
    case cspAnimationDuration:
    case cspAnimationTimingFunction:
      DoApplyAnimation(value, ts);
      break;
    default:
      break;
  }
}

void TBaseElementStyle::DoApplyDisplay(TCSSValue* value, TCSSTokenSequence& ts) {
  if (!ts.T) return;
  if (IsInheritValue(value)) {
    TBaseElementStyle* parent = ParentStyle();
    FDisplay = parent ? parent->FDisplay : dsInline;
  } else if (ts.T->Color < uint32_t(EnumInfo(TDisplayStyle{}).Count())) {
    FDisplay = TDisplayStyle(ts.T->Color);
  }
}

void TBaseElementStyle::DoApplyWhiteSpace(TCSSValue* value, TCSSTokenSequence& ts) {
  if (!ts.T) return;
  if (IsInheritValue(value)) {
    if (TBaseElementStyle* parent = ParentStyle()) WhiteSpace = parent->WhiteSpace;
  } else if (ts.T->Color < uint32_t(EnumInfo(TWhiteSpace{}).Count())) {
    WhiteSpace = TWhiteSpace(ts.T->Color);
  }
}

void TBaseElementStyle::DoApplyFontWeight(TCSSValue* value, TCSSTokenSequence& ts) {
  if (!ts.T) return;
  const TCSSToken& t = *ts.T;
  // "inherit" keeps what Inherit carried over from the parent.
  if (IsInheritValue(value)) return;
  THtFontStyles s = CalculatedTextStyle - kWeightBits;
  if (t.CType == ctIdent) {
    if (t.Color == fwBold || t.Color == fwBolder) s.Include(hfsBold);
    else if (t.Color == fwLighter) s.Include(hfsLight);
  } else if (t.CType == ctNumber) {
    // A weight's value may have been overlaid by a keyword ordinal or the
    // unknown-keyword marker (Color shares AsFloat's bytes); its text is
    // the number then. No real weight has bits below 1000.
    const float w = t.Color < 1000 ? float(StrToFloatDef(t.Name.view(), 400)) : t.AsFloat;
    if (w > 700) s.Include(hfsBlack);
    else if (w > 600) s.Include(hfsBold);
    else if (w > 500) s.Include(hfsSemibold);
    else if (w < 300) s.Include(hfsUltraLight);
    else if (w < 400) s.Include(hfsLight);
  }
  CalculatedTextStyle = s;
}

void TBaseElementStyle::CalcGeneralProps() {
  GeneralProps = {};
  RelativeProps = {};
  bool borderShorthand = false;
  for (TCSSValue* v : FProps) {
    const TCSSProperty id = v->PropRec->ID;
    if (id >= cspBorderTopStyle && id <= cspBorderLeftStyle) {
      if (v->Tokens.Empty() || v->Tokens[0].Color != lsNone) GeneralProps.Include(cgBorder);
    } else if (id == cspBorderRadius) {
      GeneralProps.Include(cgBorder);
    } else if ((id >= cspMarginLeft && id <= cspMarginBottom) || (id >= cspPaddingLeft && id <= cspPaddingBottom)) {
      const bool margin = id <= cspMarginBottom;
      const TMeasure& m = v->Measure.Value1;
      if (m.FValue == 0 && !m.Calc) continue;
      if (!margin && !m.Flags.Contains(mfNotAuto) && !StartsWithFunction(v)) continue;
      const TCSSGeneralProperty g = margin ? cgMargin : cgPadding;
      GeneralProps.Include(g);
      if (m.FMUnit == muPercent || m.FMUnit == muEM) RelativeProps.Include(g);
    } else if (id == cspBackgroundColor) {
      if (!IsInheritValue(v)) {
        GeneralProps.Include(cgBackground);
      } else if (TBaseElementStyle* parent = ParentStyle()) {
        if (parent->GeneralProps.Contains(cgBackground)) GeneralProps.Include(cgBackground);
      }
    } else if (id == cspBackgroundImage) {
      GeneralProps.Include(cgBackground);
    } else if (id == cspBorder || (id >= cspBorderTop && id <= cspBorderLeft)) {
      borderShorthand = true;
    }
  }
  if (borderShorthand && !GeneralProps.Contains(cgBorder) &&
      (BorderTopWidthPx() || BorderRightWidthPx() || BorderBottomWidthPx() || BorderLeftWidthPx()))
    GeneralProps.Include(cgBorder);
}

void TBaseElementStyle::DeleteProps(const TCSSproperties& props) {
  PropertySet = PropertySet - props;
  std::erase_if(FProps, [&](TCSSValue* v) { return props.Contains(v->PropRec->ID); });
}

void TBaseElementStyle::Inherit(TBaseElementStyle* parent) {
  if (!parent) return;
  if (parent->Zoom != 1.0f) Zoom = parent->Zoom;
  CalculatedDirection = parent->CalculatedDirection;
  // A quirks-mode table starts a fresh text style.
  if (QuirksMode() && IsTableElement()) return;
  WhiteSpace = parent->WhiteSpace;
  CalculatedWordBreak = parent->CalculatedWordBreak;
  CalculatedTextStyle = parent->CalculatedTextStyle;
}

void TBaseElementStyle::Reset(bool clearLast) {
  FDisplay = dsInline;
  FPosition = epStatic;
  ZIndex = 0;
  Clear = {};
  CalculatedTextStyle = {};
  WhiteSpace = wsNormal;
  CalculatedWordBreak = wbNormal;
  CalculatedDirection = cdLTR;
  CalculatedOpacity = 0.0f;
  Visibility = cvVisible;
  Zoom = 1.0f;
  PropertySet.Clear();
  FProps.clear();
  if (clearLast) FLastProps.clear();
}

// --- Lookup ------------------------------------------------------------------------

TCSSValue* TBaseElementStyle::InternalFindProp(TCSSProperty prop) noexcept {
  if (!PropertySet.Contains(prop)) return nullptr;
  for (TCSSValue* v : FProps)
    if (v->PropRec->ID == prop) return v;
  return nullptr;
}

TCSSValue* TBaseElementStyle::FindPropOwner(TCSSProperty prop, bool inherited, TBaseElementStyle*& owner) {
  for (TBaseElementStyle* s = this; s; s = inherited ? s->ParentStyle() : nullptr)
    if (s->PropertySet.Contains(prop)) {
      owner = s;
      return s->InternalFindProp(prop);
    }
  owner = nullptr;
  return nullptr;
}

TCSSValue* TBaseElementStyle::FindProp(TCSSProperty prop, bool inherited) {
  TBaseElementStyle* owner;
  return FindPropOwner(prop, inherited, owner);
}

bool TBaseElementStyle::GetMeasureProp(TCSSProperty prop, TMeasure& m, float* parent, bool inherited) {
  m.Init(this);
  m.FMUnit = muPX;
  TBaseElementStyle* s = this;
  TCSSValue* v = nullptr;
  // "inherit" asks the parent's style for its measure.
  for (;;) {
    TBaseElementStyle* owner;
    v = s->FindPropOwner(prop, inherited, owner);
    if (!v) return false;
    if (!IsInheritValue(v) && !v->Measure.Value1.Flags.Contains(mfInherit)) break;
    s = owner->ParentStyle();
    if (!s) return false;
    parent = s->GetPropParent(v->PropRec);
  }
  const TMeasure& src = v->Measure.Value1;
  m.Parent = parent;
  m.FValue = src.FValue;
  m.FMUnit = src.FMUnit;
  m.Flags = src.Flags;
  m.Calc = src.Calc;
  return true;
}

float TBaseElementStyle::GetMeasurePx(TCSSProperty prop) {
  const TCSSPropRec* rec = CSSPropRecById(prop);
  if (!rec) return 0.0f;
  TMeasure m;
  if (!GetMeasureProp(prop, m, GetPropParent(rec), rec->Inherited)) return 0.0f;
  return m.GetFPixels();
}

bool TBaseElementStyle::GetColorProp(TCSSProperty prop, uint32_t& color, bool inherited) {
  for (TBaseElementStyle* s = this; s; s = s->ParentStyle()) {
    if (s->PropertySet.Contains(prop)) {
      TCSSValue* v = s->InternalFindProp(prop);
      if (v && !v->Tokens.Empty() && !IsInheritValue(v)) {
        const TCSSToken& t = v->Tokens[0];
        if (StartsWithVar(v) || t.Flags == 1) {
          // A variable, or a system colour, which is read afresh since the
          // palette can change.
          TCSSTokenSequence ts;
          ts.Init(&v->Tokens);
          if (StartsWithVar(v)) s->GetCSSVariable(ts);
          return ts.ReadColor(color);
        }
        color = t.Color;
        return true;
      }
      // "inherit" goes on to the parent.
    } else if (!inherited) {
      return false;
    }
  }
  if (prop != cspColor) return false;
  color = GetDefaultTextColor();
  return true;
}

bool TBaseElementStyle::GetNumberProp(TCSSProperty prop, float& number, bool inherited) {
  for (TBaseElementStyle* s = this; s; s = s->ParentStyle()) {
    if (s->PropertySet.Contains(prop)) {
      TCSSValue* v = s->InternalFindProp(prop);
      if (v && !v->Tokens.Empty() && !IsInheritValue(v)) {
        number = v->Tokens[0].AsFloat;
        return true;
      }
    } else if (!inherited) {
      return false;
    }
  }
  return false;
}

int32_t TBaseElementStyle::EnumProp(TCSSProperty prop) {
  const TCSSPropRec* rec = CSSPropRecById(prop);
  if (!rec) return 0;
  for (TBaseElementStyle* s = this; s;) {
    TBaseElementStyle* owner;
    TCSSValue* v = s->FindPropOwner(prop, rec->Inherited, owner);
    if (!v || v->Tokens.Empty()) return 0;
    if (!IsInheritValue(v)) {
      const uint32_t c = v->Tokens[0].Color;
      return rec->EnumType && c < uint32_t(rec->EnumType->Count()) ? int32_t(c) : 0;
    }
    s = owner->ParentStyle();
  }
  return 0;
}

TMeasure TBaseElementStyle::MeasureProp(TCSSProperty prop) {
  TMeasure m;
  const TCSSPropRec* rec = CSSPropRecById(prop);
  GetMeasureProp(prop, m, GetPropParent(rec), rec->Inherited);
  return m;
}

TMeasure TBaseElementStyle::EdgeProp(TCSSProperty prop) {
  TMeasure m;
  m.Init(this);
  TCSSValue* v = InternalFindProp(prop);
  if (!v) {
    m.FValue = 0.0f;
    m.FMUnit = muPX;
    m.Flags = {mfNotAuto, mfInitial};
    return m;
  }
  if (IsInheritValue(v) || v->Measure.Value1.Flags.Contains(mfInherit)) {
    if (TBaseElementStyle* parent = ParentStyle()) {
      m.Assign(parent->EdgeProp(prop));
      return m;
    }
  }
  m.Assign(v->Measure.Value1);
  m.Parent = GetPropParent(v->PropRec);
  return m;
}

uint32_t TBaseElementStyle::ColorOr(TCSSProperty prop, uint32_t fallback) {
  uint32_t c = fallback;
  const TCSSPropRec* rec = CSSPropRecById(prop);
  return GetColorProp(prop, c, rec && rec->Inherited) ? c : fallback;
}

float TBaseElementStyle::NumberOr(TCSSProperty prop, float fallback) {
  float n = fallback;
  const TCSSPropRec* rec = CSSPropRecById(prop);
  return GetNumberProp(prop, n, rec && rec->Inherited) ? n : fallback;
}

// --- Change tracking ------------------------------------------------------------------

namespace {

TCSSLastProp* FindSnapshot(std::vector<TCSSLastProp>& last, const TCSSPropRec* rec) noexcept {
  for (TCSSLastProp& p : last)
    if (p.PropRec == rec) return &p;
  return nullptr;
}

}  // namespace

void TBaseElementStyle::SaveLastProps() {
  FLastProps.clear();
  FLastProps.reserve(FProps.size());
  for (TCSSValue* v : FProps) {
    TCSSLastProp p;
    p.Value = v;
    p.PropRec = v->PropRec;
    switch (v->PropRec->PropType) {
      case cptLength:
        if (LengthByTokens(v)) {
          p.Word = v->Hash();
        } else {
          TMeasure m;
          m.Init(this);
          m.Parent = GetPropParent(v->PropRec);
          TCSSTokenSequence ts;
          ts.Init(&v->Tokens);
          m.Decode(ts);
          p.Pixels = m.GetFPixels();
          p.Number = v->Measure.Value1.FValue;
        }
        break;
      case cptNumber:
      case cptColor:
      case cptEnum:
        p.Word = v->Tokens.Empty() ? 0 : v->Tokens[0].Color;
        break;
      default:
        p.Word = v->Hash();
        break;
    }
    FLastProps.push_back(p);
  }
}

bool TBaseElementStyle::StyleChanged(bool& needLayout, bool& needRepaint) {
  bool changed = false;
  // Marks one changed property; true when the search can end.
  auto change = [&](const TCSSPropRec* rec) {
    changed = true;
    needRepaint = true;
    if (!rec->Layout) return false;
    needLayout = true;
    return true;
  };
  TCSSproperties seen;
  for (TCSSValue* v : FProps) {
    const TCSSPropRec* rec = v->PropRec;
    if (seen.Contains(rec->ID)) continue;
    seen.Include(rec->ID);
    const TCSSLastProp* p = FindSnapshot(FLastProps, rec);
    bool differs = !p;
    if (p) {
      switch (rec->PropType) {
        case cptLength:
          if (LengthByTokens(v)) {
            differs = p->Word != v->Hash();
          } else {
            // The raw value, and the pixels, so that a change of unit alone
            // is seen too.
            TMeasure m;
            m.Init(this);
            m.Parent = GetPropParent(rec);
            TCSSTokenSequence ts;
            ts.Init(&v->Tokens);
            m.Decode(ts);
            differs = !SameValue(p->Number, v->Measure.Value1.FValue) || !SameValue(p->Pixels, m.GetFPixels());
          }
          break;
        case cptNumber:
          differs = v->Tokens.Empty() || !SameValue(p->Number, v->Tokens[0].AsFloat);
          break;
        case cptColor:
        case cptEnum:
          differs = v->Tokens.Empty() || p->Word != v->Tokens[0].Color;
          break;
        default:
          differs = p->Value != v || p->Word != v->Hash();
          break;
      }
    }
    if (differs && change(rec)) return true;
  }
  for (const TCSSLastProp& p : FLastProps)
    if (!seen.Contains(p.PropRec->ID)) {
      seen.Include(p.PropRec->ID);
      if (change(p.PropRec)) return true;
    }
  return changed;
}

void TBaseElementStyle::SetLastPropValue(const UnicodeString& name, const Variant& value) {
  const TCSSPropRec* rec = FindCSSPropRec(name);
  if (!rec) return;
  TCSSLastProp* p = FindSnapshot(FLastProps, rec);
  if (!p) {
    TCSSValue* v = nullptr;
    for (TCSSValue* x : FProps)
      if (x->PropRec == rec) {
        v = x;
        break;
      }
    if (!v) return;
    FLastProps.push_back(TCSSLastProp{});
    p = &FLastProps.back();
    p->Value = v;
    p->PropRec = rec;
  }
  switch (rec->PropType) {
    case cptLength:
      p->Number = float(value.AsDouble());
      p->Pixels = p->Number;
      break;
    case cptNumber:
      p->Number = float(value.AsDouble());
      break;
    default:
      p->Word = uint32_t(int64_t(value.AsDouble()));
      break;
  }
}

bool TBaseElementStyle::GetLastColorProp(TCSSProperty prop, uint32_t& color, bool inherited) {
  const TCSSPropRec* rec = CSSPropRecById(prop);
  for (TBaseElementStyle* s = this; s && rec; s = inherited ? s->ParentStyle() : nullptr)
    if (const TCSSLastProp* p = FindSnapshot(s->FLastProps, rec)) {
      color = p->Word;
      return true;
    }
  return false;
}

bool TBaseElementStyle::GetLastNumberProp(TCSSProperty prop, float& number, bool inherited) {
  const TCSSPropRec* rec = CSSPropRecById(prop);
  for (TBaseElementStyle* s = this; s && rec; s = inherited ? s->ParentStyle() : nullptr)
    if (const TCSSLastProp* p = FindSnapshot(s->FLastProps, rec)) {
      number = p->Number;
      return true;
    }
  return false;
}

// --- Getters ------------------------------------------------------------------------

TMeasure TBaseElementStyle::Left() { return MeasureProp(cspLeft); }
TMeasure TBaseElementStyle::Top() { return MeasureProp(cspTop); }
TMeasure TBaseElementStyle::Right() { return MeasureProp(cspRight); }
TMeasure TBaseElementStyle::Bottom() { return MeasureProp(cspBottom); }
TMeasure TBaseElementStyle::Width() { return MeasureProp(cspWidth); }
TMeasure TBaseElementStyle::Height() { return MeasureProp(cspHeight); }
TMeasure TBaseElementStyle::MinWidth() { return MeasureProp(cspMinWidth); }
TMeasure TBaseElementStyle::MaxWidth() { return MeasureProp(cspMaxWidth); }
TMeasure TBaseElementStyle::MinHeight() { return MeasureProp(cspMinHeight); }
TMeasure TBaseElementStyle::MaxHeight() { return MeasureProp(cspMaxHeight); }
TMeasure TBaseElementStyle::ColumnGap() { return MeasureProp(cspColumnGap); }
TMeasure TBaseElementStyle::ColumnWidth() { return MeasureProp(cspColumnWidth); }
TMeasure TBaseElementStyle::TextIndent() { return MeasureProp(cspTextIndent); }
TMeasure TBaseElementStyle::LetterSpacing() { return MeasureProp(cspLetterSpacing); }
TMeasure TBaseElementStyle::WordSpacing() { return MeasureProp(cspWordSpacing); }
TMeasure TBaseElementStyle::FlexBasis() { return MeasureProp(cspFlexBasis); }
TMeasure TBaseElementStyle::BackgroundPositionX() { return MeasureProp(cspBackgroundPositionX); }
TMeasure TBaseElementStyle::BackgroundPositionY() { return MeasureProp(cspbackgroundPositionY); }
TMeasure TBaseElementStyle::TabInterval() { return MeasureProp(cspTabInterval); }

TMeasure TBaseElementStyle::BorderSpacingX() { return MeasureProp(cspBorderSpacing); }

TMeasure TBaseElementStyle::BorderSpacingY() {
  // "2px 4px": the second length is the vertical one; one length serves both.
  TMeasure m = MeasureProp(cspBorderSpacing);
  TCSSValue* v = InternalFindProp(cspBorderSpacing);
  if (v && v->Tokens.Length() >= 2 && !m.Calc) {
    const TCSSToken& t = v->Tokens[1];
    if (t.CType == ctNumber || t.CType == ctDimension || t.CType == ctPercentage) m.Decode(CursorAt(v, 1));
  }
  return m;
}

TMeasure TBaseElementStyle::MarginLeft() { return EdgeProp(cspMarginLeft); }
TMeasure TBaseElementStyle::MarginTop() { return EdgeProp(cspMarginTop); }
TMeasure TBaseElementStyle::MarginRight() { return EdgeProp(cspMarginRight); }
TMeasure TBaseElementStyle::MarginBottom() { return EdgeProp(cspMarginBottom); }
TMeasure TBaseElementStyle::PaddingLeft() { return EdgeProp(cspPaddingLeft); }
TMeasure TBaseElementStyle::PaddingTop() { return EdgeProp(cspPaddingTop); }
TMeasure TBaseElementStyle::PaddingRight() { return EdgeProp(cspPaddingRight); }
TMeasure TBaseElementStyle::PaddingBottom() { return EdgeProp(cspPaddingBottom); }
int32_t TBaseElementStyle::MarginLeftPx() { return EdgeProp(cspMarginLeft).GetPixels(); }
int32_t TBaseElementStyle::MarginTopPx() { return EdgeProp(cspMarginTop).GetPixels(); }
int32_t TBaseElementStyle::MarginRightPx() { return EdgeProp(cspMarginRight).GetPixels(); }
int32_t TBaseElementStyle::MarginBottomPx() { return EdgeProp(cspMarginBottom).GetPixels(); }
int32_t TBaseElementStyle::PaddingLeftPx() { return EdgeProp(cspPaddingLeft).GetPixels(); }
int32_t TBaseElementStyle::PaddingTopPx() { return EdgeProp(cspPaddingTop).GetPixels(); }
int32_t TBaseElementStyle::PaddingRightPx() { return EdgeProp(cspPaddingRight).GetPixels(); }
int32_t TBaseElementStyle::PaddingBottomPx() { return EdgeProp(cspPaddingBottom).GetPixels(); }

// --- Borders ----------------------------------------------------------------------------

TCSSValue* TBaseElementStyle::FirstOf(TCSSProperty a, TCSSProperty b, TCSSProperty c) noexcept {
  for (TCSSValue* v : FProps) {
    const TCSSProperty id = v->PropRec->ID;
    if ((id == a || id == b || id == c) && PropertySet.Contains(id)) return v;
  }
  return nullptr;
}

TMeasure TBaseElementStyle::BorderSideWidth(TCSSProperty side, TCSSProperty sideShorthand) {
  TCSSValue* v = FirstOf(side, sideShorthand, cspBorderWidth);
  if (!v) return MediumBorder(this);
  if (IsInheritValue(v) || (v->PropRec->ID != sideShorthand && v->Measure.Value1.Flags.Contains(mfInherit))) {
    TBaseElementStyle* parent = ParentStyle();
    TMeasure m = parent ? parent->BorderSideWidth(side, sideShorthand) : MediumBorder(this);
    m.Style = this;
    return m;
  }
  TMeasure m;
  m.Init(this);
  m.Parent = GetPropParent(CSSPropRecById(side));
  if (v->PropRec->ID == side) {
    const float* parent = m.Parent;
    m.Assign(v->Measure.Value1);
    m.Parent = const_cast<float*>(parent);
    return m;
  }
  // From a shorthand: the first number, dimension or width keyword; a
  // shorthand without one resets the width to medium.
  for (int32_t i = 0; i < v->Tokens.Length(); ++i) {
    const TCSSToken& t = v->Tokens[i];
    if (t.CType == ctNumber || t.CType == ctDimension || IsWidthKeyword(t)) {
      m.Decode(CursorAt(v, i));
      return m;
    }
  }
  return MediumBorder(this);
}

TLineStyle TBaseElementStyle::BorderSideStyle(TCSSProperty side, TCSSProperty sideShorthand) {
  TCSSValue* v = FirstOf(side, sideShorthand, cspBorderStyle);
  if (!v || v->Tokens.Empty()) return lsNone;
  if (IsInheritValue(v)) {
    TBaseElementStyle* parent = ParentStyle();
    return parent ? parent->BorderSideStyle(side, sideShorthand) : lsNone;
  }
  if (v->PropRec->ID != sideShorthand) {
    const uint32_t c = v->Tokens[0].Color;
    return c < uint32_t(EnumInfo(TLineStyle{}).Count()) ? TLineStyle(c) : lsNone;
  }
  for (const TCSSToken& t : v->Tokens) {
    int32_t ordinal;
    if (IsLineStyleName(t, ordinal)) return TLineStyle(ordinal);
  }
  return lsNone;
}

uint32_t TBaseElementStyle::BorderSideColor(TCSSProperty side, TCSSProperty sideShorthand) {
  TCSSValue* v = FirstOf(side, sideShorthand, cspBorderColor);
  if (v && !v->Tokens.Empty()) {
    if (IsInheritValue(v)) {
      if (TBaseElementStyle* parent = ParentStyle()) return parent->BorderSideColor(side, sideShorthand);
    } else if (v->PropRec->ID != sideShorthand) {
      const TCSSToken& t = v->Tokens[0];
      if (!StartsWithVar(v) && t.Flags != 1) return t.Color;
      TCSSTokenSequence ts;
      ts.Init(&v->Tokens);
      if (StartsWithVar(v)) GetCSSVariable(ts);
      uint32_t c = 1;
      if (ts.ReadColor(c) && c != 1) return c;
    } else {
      // From a shorthand: the token that is a colour, width and style
      // keywords aside.
      for (int32_t i = 0; i < v->Tokens.Length(); ++i) {
        const TCSSToken& t = v->Tokens[i];
        int32_t ordinal;
        if (t.CType == ctIdent && (IsWidthKeyword(t) || IsLineStyleName(t, ordinal))) continue;
        if (t.CType != ctIdent && t.CType != ctHash && t.CType != ctFunction) continue;
        uint32_t c = 1;
        TCSSTokenSequence ts = CursorAt(v, i);
        if (ts.ReadColor(c) && c != 1) return c;
      }
    }
  }
  // No colour given: the text colour (currentColor).
  return TextColor();
}

TMeasure TBaseElementStyle::BorderTopWidth() { return BorderSideWidth(cspBorderTopWidth, cspBorderTop); }
TMeasure TBaseElementStyle::BorderRightWidth() { return BorderSideWidth(cspBorderRightWidth, cspBorderRight); }
TMeasure TBaseElementStyle::BorderBottomWidth() { return BorderSideWidth(cspBorderBottomWidth, cspBorderBottom); }
TMeasure TBaseElementStyle::BorderLeftWidth() { return BorderSideWidth(cspBorderLeftWidth, cspBorderLeft); }

// A side without a border style has no border, whatever width is written.
int32_t TBaseElementStyle::BorderTopWidthPx() {
  return BorderTopStyle() <= lsHidden ? 0 : BorderTopWidth().GetPixels();
}
int32_t TBaseElementStyle::BorderRightWidthPx() {
  return BorderRightStyle() <= lsHidden ? 0 : BorderRightWidth().GetPixels();
}
int32_t TBaseElementStyle::BorderBottomWidthPx() {
  return BorderBottomStyle() <= lsHidden ? 0 : BorderBottomWidth().GetPixels();
}
int32_t TBaseElementStyle::BorderLeftWidthPx() {
  return BorderLeftStyle() <= lsHidden ? 0 : BorderLeftWidth().GetPixels();
}

TLineStyle TBaseElementStyle::BorderTopStyle() { return BorderSideStyle(cspBorderTopStyle, cspBorderTop); }
TLineStyle TBaseElementStyle::BorderRightStyle() { return BorderSideStyle(cspBorderRightStyle, cspBorderRight); }
TLineStyle TBaseElementStyle::BorderBottomStyle() { return BorderSideStyle(cspBorderBottomStyle, cspBorderBottom); }
TLineStyle TBaseElementStyle::BorderLeftStyle() { return BorderSideStyle(cspBorderLeftStyle, cspBorderLeft); }

uint32_t TBaseElementStyle::BorderTopColor() { return BorderSideColor(cspBorderTopColor, cspBorderTop); }
uint32_t TBaseElementStyle::BorderRightColor() { return BorderSideColor(cspBorderRightColor, cspBorderRight); }
uint32_t TBaseElementStyle::BorderBottomColor() { return BorderSideColor(cspBorderBottomColor, cspBorderBottom); }
uint32_t TBaseElementStyle::BorderLeftColor() { return BorderSideColor(cspBorderLeftColor, cspBorderLeft); }

bool TBaseElementStyle::BorderPresent() {
  return BorderTopStyle() > lsHidden || BorderRightStyle() > lsHidden || BorderBottomStyle() > lsHidden ||
         BorderLeftStyle() > lsHidden;
}

TMeasure TBaseElementStyle::BorderTopLeftRadius() { return MeasureProp(cspBorderTopLeftradius); }
TMeasure TBaseElementStyle::BorderTopRightRadius() { return MeasureProp(cspBorderTopRightRadius); }
TMeasure TBaseElementStyle::BorderBottomRightRadius() { return MeasureProp(cspBorderBottomRightRadius); }
TMeasure TBaseElementStyle::BorderBottomLeftRadius() { return MeasureProp(cspBorderBottomLeftRadius); }

int32_t TBaseElementStyle::MaxBorderRadius() {
  return std::max({BorderTopLeftRadius().GetPixels(), BorderTopRightRadius().GetPixels(),
                   BorderBottomRightRadius().GetPixels(), BorderBottomLeftRadius().GetPixels()});
}

TLineStyle TBaseElementStyle::OutlineStyle() { return TLineStyle(EnumProp(cspOutlineStyle)); }

int32_t TBaseElementStyle::OutlineWidthPx() {
  if (OutlineStyle() <= lsHidden) return 0;
  TMeasure m = MeasureProp(cspOutlineWidth);
  return m.GetAuto() ? MediumBorder(this).GetPixels() : m.GetPixels();
}

// --- Enumerations -----------------------------------------------------------------------

TElementFloat TBaseElementStyle::Float() { return TElementFloat(EnumProp(cspFloat)); }
TPointerEvents TBaseElementStyle::PointerEvents() { return TPointerEvents(EnumProp(cspPointerEvents)); }
TJustifyContent TBaseElementStyle::JustifyContent() { return TJustifyContent(EnumProp(cspJustifyContent)); }
TAlignItems TBaseElementStyle::AlignItems() { return TAlignItems(EnumProp(cspAlignItems)); }
TAlignItems TBaseElementStyle::AlignSelf() { return TAlignItems(EnumProp(cspAlignSelf)); }
TFlexDirection TBaseElementStyle::FlexDirection() { return TFlexDirection(EnumProp(cspFlexDirection)); }
TFlexWrap TBaseElementStyle::FlexWrap() { return TFlexWrap(EnumProp(cspFlexWrap)); }
TCSSAppearance TBaseElementStyle::Appearance() { return TCSSAppearance(EnumProp(cspAppearance)); }
TElementResize TBaseElementStyle::Resize() { return TElementResize(EnumProp(cspResize)); }
TTableLayout TBaseElementStyle::TableLayout() { return TTableLayout(EnumProp(cspTableLayout)); }
TCSSTextDecorationStyle TBaseElementStyle::TextDecorationStyle() {
  return TCSSTextDecorationStyle(EnumProp(cspTextDecorationStyle));
}
TTextOverflow TBaseElementStyle::TextOverflow() { return TTextOverflow(EnumProp(cspTextOverflow)); }
TUnicodeBidi TBaseElementStyle::UnicodeBidi() { return TUnicodeBidi(EnumProp(cspUnicodeBidi)); }
TCSSWordBreak TBaseElementStyle::WordBreak() { return TCSSWordBreak(EnumProp(cspWordBreak)); }
TCSSWordWrap TBaseElementStyle::WordWrap() { return TCSSWordWrap(EnumProp(cspWordWrap)); }
TWritingMode TBaseElementStyle::WritingMode() { return TWritingMode(EnumProp(cspWritingMode)); }
TCSSHyphens TBaseElementStyle::Hyphens() { return TCSSHyphens(EnumProp(cspHyphens)); }
TElementCursor TBaseElementStyle::Cursor() { return TElementCursor(EnumProp(cspCursor)); }
TBorderCollapse TBaseElementStyle::BorderCollapse() { return TBorderCollapse(EnumProp(cspBorderCollapse)); }
TCSSDirection TBaseElementStyle::Direction() { return TCSSDirection(EnumProp(cspDirection)); }
TListStyleType TBaseElementStyle::ListStyleType() { return TListStyleType(EnumProp(cspListStyleType)); }
TListStylePosition TBaseElementStyle::ListStylePosition() {
  return TListStylePosition(EnumProp(cspListStylePosition));
}
TBackgroundAttachment TBaseElementStyle::BackgroundAttachment() {
  return TBackgroundAttachment(EnumProp(cspBackgroundAttachment));
}
TBackgroundOrigin TBaseElementStyle::BackgroundOrigin() { return TBackgroundOrigin(EnumProp(cspBackgroundOrigin)); }
TBackgroundRepeat TBaseElementStyle::BackgroundRepeat() { return TBackgroundRepeat(EnumProp(cspBackgroundRepeat)); }
TBoxSizing TBaseElementStyle::BoxSizing() { return TBoxSizing(EnumProp(cspBoxSizing)); }
TCSSBreakAfter TBaseElementStyle::BreakAfter() { return TCSSBreakAfter(EnumProp(cspBreakAfter)); }
TPageBreak TBaseElementStyle::PageBreakAfter() { return TPageBreak(EnumProp(cspPageBreakAfter)); }
TPageBreak TBaseElementStyle::PageBreakBefore() { return TPageBreak(EnumProp(cspPageBreakBefore)); }
TPageBreak TBaseElementStyle::PageBreakInside() { return TPageBreak(EnumProp(cspPageBreakInside)); }
TCSSTextTransform TBaseElementStyle::TextTransform() { return TCSSTextTransform(EnumProp(cspTextTransform)); }
TVerticalAlign TBaseElementStyle::VerticalAlign() { return TVerticalAlign(EnumProp(cspVerticalAlign)); }
TCSSDraggable TBaseElementStyle::Draggable() { return TCSSDraggable(EnumProp(cspDraggable)); }
TElementOverflow TBaseElementStyle::OverflowX() { return TElementOverflow(EnumProp(cspOverflowX)); }
TElementOverflow TBaseElementStyle::OverflowY() { return TElementOverflow(EnumProp(cspOverflowY)); }
TCSSTextAlign TBaseElementStyle::TextAlign() { return TCSSTextAlign(EnumProp(cspTextAlign)); }
TCSSFontStyle TBaseElementStyle::FontStyle() { return TCSSFontStyle(EnumProp(cspFontStyle)); }
TCSSTextDecorationLine TBaseElementStyle::TextDecorationLine() {
  return TCSSTextDecorationLine(EnumProp(cspTextDecorationLine));
}

bool TBaseElementStyle::ContentEditable() {
  for (TBaseElementStyle* s = this; s;) {
    TBaseElementStyle* owner;
    TCSSValue* v = s->FindPropOwner(cspContentEditable, true, owner);
    if (!v) return false;
    if (!IsInheritValue(v)) {
      return v->Tokens.Empty() || (v->Tokens[0].CType == ctIdent && SameText(v->Tokens[0].Name.view(), u"true"));
    }
    s = owner->ParentStyle();
  }
  return false;
}

// --- Colours and numbers ------------------------------------------------------------------

uint32_t TBaseElementStyle::TextColor() {
  uint32_t c = 0;
  return GetColorProp(cspColor, c, true) ? c : GetDefaultTextColor();
}

uint32_t TBaseElementStyle::TextDecorationColor() {
  uint32_t c = 0;
  return GetColorProp(cspTextDecorationColor, c, false) ? c : TextColor();
}

uint32_t TBaseElementStyle::BackgroundColor() { return ColorOr(cspBackgroundColor, 0); }

uint32_t TBaseElementStyle::OutlineColor() {
  uint32_t c = 0;
  return GetColorProp(cspOutlineColor, c, false) ? c : TextColor();
}

float TBaseElementStyle::FlexGrow() { return NumberOr(cspFlexGrow, 0.0f); }
float TBaseElementStyle::FlexShrink() { return NumberOr(cspFlexShrink, 0.0f); }
float TBaseElementStyle::ColumnCount() { return NumberOr(cspColumnCount, 0.0f); }
float TBaseElementStyle::Opacity() { return NumberOr(cspOpacity, 1.0f); }
float TBaseElementStyle::TransitionDelay() { return NumberOr(cspTransitionDelay, 0.0f); }

// --- Text -------------------------------------------------------------------------------------

TMeasure TBaseElementStyle::FontSize() {
  // em and percentages refer to the parent's size; the root to its own.
  TBaseElementStyle* parent = ParentStyle();
  TBaseElementStyle* base = parent ? parent : this;
  TMeasure m;
  m.Init(base);
  m.Parent = &base->IntFontSize;
  if (PropertySet.Contains(cspFontSize) || PropertySet.Contains(cspFont)) {
    for (TCSSValue* v : FProps) {
      const TCSSProperty id = v->PropRec->ID;
      if (id == cspFontSize) {
        if (IsInheritValue(v) || v->Measure.Value1.Flags.Contains(mfInherit)) {
          if (parent) return parent->FontSize();
          break;
        }
        m.Assign(v->Measure.Value1);
        m.Parent = &base->IntFontSize;
        return m;
      }
      if (id == cspFont) {
        // The size is the first number, percentage or dimension before a "/".
        for (int32_t i = 0; i < v->Tokens.Length(); ++i) {
          const TCSSToken& t = v->Tokens[i];
          if (t.CType == ctSlash) break;
          if (t.CType == ctNumber || t.CType == ctPercentage || t.CType == ctDimension) {
            m.Decode(CursorAt(v, i));
            return m;
          }
        }
        break;
      }
    }
  }
  m.FValue = base->IntFontSize;
  m.FMUnit = muPX;
  m.Flags = {mfNotAuto};
  return m;
}

TMeasure TBaseElementStyle::LineHeight() {
  TMeasure m;
  m.Init(this);
  m.Parent = &IntFontSize;
  bool found = false;
  const bool quirks = QuirksMode();
  const bool isInline = FDisplay == dsInline;
  for (TBaseElementStyle* s = this; s && !found; s = s->ParentStyle()) {
    // In quirks mode an inline element takes no line height from a block.
    if (quirks && isInline && s != this && s->FDisplay != dsInline) break;
    if (TCSSValue* v = s->InternalFindProp(cspLineHeight)) {
      if (!IsInheritValue(v) && !v->Measure.Value1.Flags.Contains(mfInherit)) {
        m.Assign(v->Measure.Value1);
        found = true;
      }
    } else if (TCSSValue* f = s->InternalFindProp(cspFont)) {
      for (int32_t i = 0; i + 1 < f->Tokens.Length(); ++i)
        if (f->Tokens[i].CType == ctSlash) {
          m.Decode(CursorAt(f, i + 1));
          found = true;
          break;
        }
    }
  }
  m.Parent = &IntFontSize;
  m.Style = this;
  const bool normal = found && m.FMUnit == muNone && m.Flags.Contains(mfInitial);
  if (!found || normal || m.GetAuto()) {
    m.FValue = 1.2f;
    m.FMUnit = muNone;
    m.Flags = {mfNotAuto};
    m.Calc = nullptr;
  } else if (!quirks && isInline && m.FMUnit == muNone && m.FValue < 1.2f) {
    m.FValue = 1.2f;
  }
  return m;
}

UnicodeString TBaseElementStyle::FontFamily() {
  TCSSValue* v = FindProp(cspFontFamily, true);
  if (!v || IsInheritValue(v)) return DefaultFontFamily();
  UnicodeString name;
  for (const TCSSToken& t : v->Tokens) {
    if (t.CType == ctComma) break;
    if (t.CType == ctIdent || t.CType == ctString) AddStr(name, t.Name, u" ");
  }
  return name.IsEmpty() ? DefaultFontFamily() : name;
}

}  // namespace norvane
