// TBaseElementStyle: the computed style of one element, in a lazy form.
//
// A style holds no value per property. It holds, for each property that
// some rule set, a pointer to the winning prepared declaration (FProps), a
// bit set of the properties present (PropertySet), and a handful of fields
// computed eagerly while the values are applied. Every property then has a
// getter that looks the value up, resolves "inherit" by climbing to the
// parent's style, and falls back on its default. A rule's values are thus
// shared by all the elements it matches, and computing a style is little
// more than copying pointers.
//
// What a style needs from its element (the parent's style, quirks mode, the
// sizes percentages refer to, counters, default colour and font) and from
// the background, transition and animation records is reached through the
// pure virtual operations grouped under "Element seam" below. The styled
// node implements them through FElement, with GetRootFontSize and
// GetViewport of TMeasureStyle; until a class does, the style is abstract.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "norvane/css/css_enums.h"
#include "norvane/css/css_measure.h"
#include "norvane/css/css_properties.h"
#include "norvane/css/css_selector.h"
#include "norvane/foundation/ht_font_style.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/variant.h"

namespace norvane {

class TStyledHTMLNode;
struct TCSSValue;
struct TCSSTokenSequence;

// A snapshot of one applied property, for change detection. `Word` holds
// by type: a length's raw value (as Number), a number (as Number), a colour
// or enumeration ordinal (the first token's word), or a complex value's
// hash.
struct TCSSLastProp {
  TCSSValue* Value = nullptr;
  const TCSSPropRec* PropRec = nullptr;
  union {
    float Number;
    uint32_t Word = 0;
  };
  float Pixels = 0.0f;  // a length in pixels when it was saved
};

class TBaseElementStyle : public TMeasureStyle {
  NV_CLASS(TBaseElementStyle, TMeasureStyle)
 public:
  TBaseElementStyle();
  ~TBaseElementStyle() override;

  // --- Fields ------------------------------------------------------------------
  TStyledHTMLNode* FElement = nullptr;  // the owner; not owned
  float IntFontSize = 0.0f;             // font size in pixels, set by layout; the base of "em"
  // Winners, highest priority first. Values belong to their rules.
  std::vector<TCSSValue*> FProps;
  std::vector<TCSSLastProp> FLastProps;
  TCSSGeneralProperties GeneralProps, RelativeProps;
  TDisplayStyle FDisplay = dsInline;
  TElementPosition FPosition = epStatic;
  int32_t ZIndex = 0;
  TElementClears Clear;
  THtFontStyles CalculatedTextStyle;
  float Zoom = 1.0f;
  TWhiteSpace WhiteSpace = wsNormal;
  TCSSWordBreak CalculatedWordBreak = wbNormal;
  TCSSDirection CalculatedDirection = cdLTR;
  float CalculatedOpacity = 0.0f;
  TCSSVisibility Visibility = cvVisible;
  TCSSPseudo CurrentPC;  // the dynamic pseudo state (hover, focus, ...)
  TCSSproperties PropertySet;

  // --- Virtual operations ------------------------------------------------------
  // Applies one value: the eager fields, and the element, background and
  // animation work of the properties that need it.
  virtual void DoApplyValue(TCSSValue* value, TCSSTokenSequence& ts);
  // Resolves a var() at the cursor: a derived style that knows the
  // document's sheets points `ts` at the variable's tokens. Nothing here.
  virtual void GetCSSVariable(TCSSTokenSequence& ts);
  // Carries the eager fields over from the parent's style.
  virtual void Inherit(TBaseElementStyle* parent);
  // Back to no values: eager fields zeroed, Zoom 1; with `clearLast` the
  // snapshots go too.
  virtual void Reset(bool clearLast);
  // The first family of font-family (inherited), or the element's default.
  virtual UnicodeString FontFamily();

  // --- Application -------------------------------------------------------------
  // The style pass of one element over the values of the cascade, in
  // ascending order (the order of a weight list, whose last entry for a
  // property wins). With `add` the values are put in front of the present
  // ones and nothing is skipped: a later sheet overlays the style.
  void ApplyValue(std::span<TCSSValue* const> values, bool add);
  // The operations a prepared value points at (TCSSValueProc).
  void ApplyValueCaller(TCSSValue* value, TCSSTokenSequence& ts);
  void DoApplyDisplay(TCSSValue* value, TCSSTokenSequence& ts);
  void DoApplyFontWeight(TCSSValue* value, TCSSTokenSequence& ts);
  void DoApplyWhiteSpace(TCSSValue* value, TCSSTokenSequence& ts);
  // Sums up GeneralProps and RelativeProps from FProps.
  void CalcGeneralProps();
  // Takes properties out of PropertySet and their values out of FProps.
  void DeleteProps(const TCSSproperties& props);

  // --- Lookup --------------------------------------------------------------------
  // The winning value of a property, or null; with `inherited` an absent
  // property is looked for up the ancestors.
  TCSSValue* FindProp(TCSSProperty prop, bool inherited);
  // The same, also telling which style holds the value.
  TCSSValue* FindPropOwner(TCSSProperty prop, bool inherited, TBaseElementStyle*& owner);
  // The value of a present property of this style alone.
  TCSSValue* InternalFindProp(TCSSProperty prop) noexcept;
  // The stored measure of a property, with `parent` as what 100% means; M
  // is auto (and the result false) when the property is absent. "inherit"
  // takes the parent style's measure.
  bool GetMeasureProp(TCSSProperty prop, TMeasure& m, float* parent, bool inherited);
  // The property's measure in unzoomed pixels, 0 when absent.
  float GetMeasurePx(TCSSProperty prop);
  // A colour from the element up; the walk goes on past "inherit" and, with
  // `inherited`, past absent levels. At the root, color falls back on the
  // element's default text colour.
  bool GetColorProp(TCSSProperty prop, uint32_t& color, bool inherited);
  // The same walk for a number (the first token's value).
  bool GetNumberProp(TCSSProperty prop, float& number, bool inherited);

  // --- Change tracking -----------------------------------------------------------
  // Snapshots FProps into FLastProps.
  void SaveLastProps();
  // Whether FProps differs from the snapshots; a change sets needRepaint,
  // and one of a layout property also needLayout, which ends the search.
  bool StyleChanged(bool& needLayout, bool& needRepaint);
  // Overwrites the snapshot of a property (so that a transition starts from
  // a value set by script); adds one for a property in FProps.
  void SetLastPropValue(const UnicodeString& name, const Variant& value);
  bool GetLastColorProp(TCSSProperty prop, uint32_t& color, bool inherited);
  bool GetLastNumberProp(TCSSProperty prop, float& number, bool inherited);

  // --- Getters -----------------------------------------------------------------
  // Lengths: the stored measure (auto when absent).
  TMeasure Left();
  TMeasure Top();
  TMeasure Right();
  TMeasure Bottom();
  TMeasure Width();
  TMeasure Height();
  TMeasure MinWidth();
  TMeasure MaxWidth();
  TMeasure MinHeight();
  TMeasure MaxHeight();
  TMeasure ColumnGap();
  TMeasure ColumnWidth();
  TMeasure TextIndent();
  TMeasure LetterSpacing();
  TMeasure WordSpacing();
  TMeasure FlexBasis();
  TMeasure BackgroundPositionX();
  TMeasure BackgroundPositionY();
  TMeasure TabInterval();
  TMeasure BorderSpacingX();
  TMeasure BorderSpacingY();
  // Box edges: absent is a value of 0 (mfNotAuto, mfInitial), never auto,
  // and no ancestor is asked.
  TMeasure MarginLeft();
  TMeasure MarginTop();
  TMeasure MarginRight();
  TMeasure MarginBottom();
  TMeasure PaddingLeft();
  TMeasure PaddingTop();
  TMeasure PaddingRight();
  TMeasure PaddingBottom();
  int32_t MarginLeftPx();
  int32_t MarginTopPx();
  int32_t MarginRightPx();
  int32_t MarginBottomPx();
  int32_t PaddingLeftPx();
  int32_t PaddingTopPx();
  int32_t PaddingRightPx();
  int32_t PaddingBottomPx();

  // Borders. A side's width, style and colour come from the first of its
  // longhand, its side shorthand (border-top) and the whole-box property
  // (border-width), by priority; from a shorthand the token that fits is
  // taken. No style means no border: lsNone and a width of 0.
  TMeasure BorderSideWidth(TCSSProperty side, TCSSProperty sideShorthand);
  TLineStyle BorderSideStyle(TCSSProperty side, TCSSProperty sideShorthand);
  uint32_t BorderSideColor(TCSSProperty side, TCSSProperty sideShorthand);
  TMeasure BorderTopWidth();
  TMeasure BorderRightWidth();
  TMeasure BorderBottomWidth();
  TMeasure BorderLeftWidth();
  int32_t BorderTopWidthPx();
  int32_t BorderRightWidthPx();
  int32_t BorderBottomWidthPx();
  int32_t BorderLeftWidthPx();
  TLineStyle BorderTopStyle();
  TLineStyle BorderRightStyle();
  TLineStyle BorderBottomStyle();
  TLineStyle BorderLeftStyle();
  uint32_t BorderTopColor();
  uint32_t BorderRightColor();
  uint32_t BorderBottomColor();
  uint32_t BorderLeftColor();
  // Some side has a border style.
  bool BorderPresent();
  // Corner radii (auto, 0 pixels, when absent) and the largest in pixels.
  TMeasure BorderTopLeftRadius();
  TMeasure BorderTopRightRadius();
  TMeasure BorderBottomRightRadius();
  TMeasure BorderBottomLeftRadius();
  int32_t MaxBorderRadius();
  // The outline: its style, and its width in pixels (0 without a style,
  // medium when no width is given).
  TLineStyle OutlineStyle();
  int32_t OutlineWidthPx();

  // Enumerations: the ordinal of the winning keyword, "inherit" asking the
  // parent; absent is ordinal 0, the initial value.
  TElementFloat Float();
  TPointerEvents PointerEvents();
  TJustifyContent JustifyContent();
  TAlignItems AlignItems();
  TAlignItems AlignSelf();
  TFlexDirection FlexDirection();
  TFlexWrap FlexWrap();
  TCSSAppearance Appearance();
  TElementResize Resize();
  TTableLayout TableLayout();
  TCSSTextDecorationStyle TextDecorationStyle();
  TTextOverflow TextOverflow();
  TUnicodeBidi UnicodeBidi();
  TCSSWordBreak WordBreak();
  TCSSWordWrap WordWrap();
  TWritingMode WritingMode();
  TCSSHyphens Hyphens();
  TElementCursor Cursor();
  TBorderCollapse BorderCollapse();
  TCSSDirection Direction();
  TListStyleType ListStyleType();
  TListStylePosition ListStylePosition();
  TBackgroundAttachment BackgroundAttachment();
  TBackgroundOrigin BackgroundOrigin();
  TBackgroundRepeat BackgroundRepeat();
  TBoxSizing BoxSizing();
  TCSSBreakAfter BreakAfter();
  TPageBreak PageBreakAfter();
  TPageBreak PageBreakBefore();
  TPageBreak PageBreakInside();
  TCSSTextTransform TextTransform();
  TVerticalAlign VerticalAlign();
  TCSSDraggable Draggable();
  TElementOverflow OverflowX();
  TElementOverflow OverflowY();
  TCSSTextAlign TextAlign();
  TCSSFontStyle FontStyle();
  TCSSTextDecorationLine TextDecorationLine();
  // contenteditable has no enumeration: true for "true" or an empty value,
  // inherited, false when no ancestor sets it.
  bool ContentEditable();

  // Colours (ARGB).
  uint32_t TextColor();
  uint32_t TextDecorationColor();
  uint32_t BackgroundColor();  // 0 (transparent) when absent
  uint32_t OutlineColor();

  // Numbers.
  float FlexGrow();
  float FlexShrink();
  float ColumnCount();
  float Opacity();  // 1 when absent
  float TransitionDelay();

  // Text.
  THtFontStyles TextStyle() const noexcept { return CalculatedTextStyle; }
  // font-size, or the parent's size; "em" and percentages refer to the
  // parent's font size.
  TMeasure FontSize();
  // line-height: a multiplier (muNone, default 1.2) or a length.
  TMeasure LineHeight();

  // --- Element seam ----------------------------------------------------------------
  // The style of the element's parent node, null at the root.
  virtual TBaseElementStyle* ParentStyle() const noexcept = 0;
  // The document is in quirks mode.
  virtual bool QuirksMode() const noexcept = 0;
  // The element is a table (in quirks mode it inherits no text style).
  virtual bool IsTableElement() const noexcept = 0;
  virtual uint32_t GetDefaultTextColor() const noexcept = 0;
  virtual UnicodeString DefaultFontFamily() const = 0;
  // What 100% of the property refers to: the element's own inner width or
  // height, its font size, or its container's inner width or height (the
  // viewport's for width and height at the root). The pointer is live, so a
  // measure follows later changes of the size.
  virtual float* GetPropParent(const TCSSPropRec* propRec) noexcept = 0;
  // CSS counters of the element.
  virtual void ResetCSSCounter(const UnicodeString& name, int32_t value) = 0;
  virtual void IncrementCSSCounter(const UnicodeString& name) = 0;
  // background and its longhands: the element's background record.
  virtual void DoApplyBackground(TCSSValue* value, TCSSTokenSequence& ts) = 0;
  // transition, animation and their longhands.
  virtual void DoApplyAnimation(TCSSValue* value, TCSSTokenSequence& ts) = 0;

  // TMeasureStyle.
  float GetIntFontSize() const noexcept override { return IntFontSize; }
  float GetZoom() const noexcept override { return Zoom; }

 private:
  int32_t EnumProp(TCSSProperty prop);
  TMeasure MeasureProp(TCSSProperty prop);
  TMeasure EdgeProp(TCSSProperty prop);
  uint32_t ColorOr(TCSSProperty prop, uint32_t fallback);
  float NumberOr(TCSSProperty prop, float fallback);
  // The first value in FProps of one of the three properties, by priority.
  TCSSValue* FirstOf(TCSSProperty a, TCSSProperty b, TCSSProperty c) noexcept;
};

}  // namespace norvane
