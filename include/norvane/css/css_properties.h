// The CSS property table: the identifiers of the properties the engine
// knows, and one read-only record per property name, which says how a
// declaration of it is decoded, inherited, defaulted and expanded.
//
// Lookup by name is exact and case-sensitive: the table holds lower-case
// names, and the parser folds a declaration's name before it looks. An
// unknown name has a record too (cspUnknown, named "unknown"), so that a
// declaration always points at one.
//
//   const TCSSPropRec* r = FindCSSPropRec(u"margin");   // nullptr if absent
//   r->PropType == cptLength; r->SubProps.size() == 4;  // top, right, bottom, left
//   CSSPropRecOf(u"no-such") == CSSUnknownPropRec();
//
// The records are built once, on first use, from any thread, and are never
// changed afterwards.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "norvane/css/css_enums.h"
#include "norvane/css/css_measure.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class THtObjectDictionary;
class TBaseElementStyle;
struct TCSSValue;
struct TCSSTokenSequence;

// The properties, one byte. The SVG identifiers (cspClipPath .. cspTextAnchor)
// have no record: for this library their declarations are unknown
// properties, which only the SVG readers above it look up by name.
NV_ENUM_T(TCSSProperty, uint8_t, cspUnknown, cspDisplay, cspFloat, cspPage, cspPointerEvents, cspSize, cspPosition,
          cspColumnRule, cspColumnGap, cspColumnWidth, cspColumnCount, cspTransition, cspTransitionDelay,
          cspContentEditable, cspAppearance, cspMinWidth, cspMaxWidth, cspMinHeight, cspMaxHeight, cspLineHeight,
          cspFont, cspFontFamily, cspTextIndent, cspLetterSpacing, cspBorderSpacing, cspLeft, cspTop, cspRight,
          cspBottom, cspMarginLeft, cspMarginTop, cspMarginRight, cspMarginBottom, cspMargin, cspPaddingLeft,
          cspPaddingTop, cspPaddingRight, cspPaddingBottom, cspPadding, cspWidth, cspHeight, cspTableLayout,
          cspTextOverflow, cspDraggable, cspColor, cspTextDecorationColor, cspTextDecorationStyle,
          cspTextDecorationLine, cspTextDecoration, cspPageBreakBefore, cspPageBreakAfter, cspPageBreakInside,
          cspResize, cspBoxReflect, cspBorder, cspBorderRadius, cspBorderTopLeftradius, cspBorderTopRightRadius,
          cspBorderBottomLeftRadius, cspBorderBottomRightRadius, cspBorderColor, cspBorderTopColor,
          cspBorderRightColor, cspBorderBottomColor, cspBorderLeftColor, cspBorderWidth, cspBorderTopWidth,
          cspBorderRightWidth, cspBorderBottomWidth, cspBorderLeftWidth, cspBorderStyle, cspBorderTopStyle,
          cspBorderRightStyle, cspBorderBottomStyle, cspBorderLeftStyle, cspBorderTop, cspBorderRight,
          cspBorderBottom, cspBorderLeft, cspBoxShadow, cspTextShadow, cspFlexDirection, cspJustifyContent,
          cspAlignItems, cspAlignSelf, cspFlexBasis, cspFlexGrow, cspFlexShrink, cspFlexWrap, cspFlex,
          cspTextTransform, cspCursor, cspBorderCollapse, cspTextAlign, cspFontSize, cspFontStyle, cspFontWeight,
          cspOpacity, cspListStyleType, cspListStyle, cspBoxSizing, cspVerticalAlign, cspOverflowX, cspOverflowY,
          cspOverflow, cspBackground, cspBackgroundColor, cspBackgroundImage, cspBackgroundPositionX,
          cspbackgroundPositionY, cspBackgroundPosition, cspBackgroundRepeat, cspBackgroundAttachment,
          cspBackgroundOrigin, cspBackgroundSize, cspWritingMode, cspContent, cspTransform, cspTransformOrigin,
          cspVisibility, cspZIndex, cspDirection, cspWordWrap, cspWordBreak, cspClipPath, cspDominantBaseline,
          cspFill, cspFillOpacity, cspFillRule, cspStroke, cspStrokeWidth, cspStrokeOpacity, cspStopColor,
          cspBreakAfter, cspStopOpacity, cspStrokeDasharray, cspStrokeDashoffset, cspStrokeLinejoin,
          cspStrokeLinecap, cspShapeRendering, cspTextAnchor, cspWhiteSpace, cspZoom, cspFilter, cspHyphens,
          cspTabStops, cspTabInterval, cspAnimation, cspAnimationName, cspAnimationDuration,
          cspAnimationTimingFunction, cspClear, cspCounterReset, cspCounterIncrement, cspTransitionDuration,
          cspWordSpacing, cspListStylePosition, cspMaskImage, cspOutline, cspOutlineColor, cspOutlineStyle,
          cspOutlineWidth, cspOutlineOffset, cspFontFeatureSettings, cspFontKerning, cspUnicodeBidi)

// How a declaration's value is decoded when it is read: a measure, a plain
// number, a colour, a string kept as tokens, an enumeration ordinal, or a
// compound value that the style takes apart on demand.
NV_ENUM_T(TCSSPropertyType, uint8_t, cptLength, cptNumber, cptColor, cptString, cptEnum, cptComplex)

// A set of properties: one bit per TCSSProperty. A style answers "is this
// property set?" with one bit test before any search.
class TCSSproperties {
 public:
  constexpr TCSSproperties() noexcept = default;
  constexpr TCSSproperties(std::initializer_list<TCSSProperty> items) noexcept {
    for (TCSSProperty p : items) Include(p);
  }
  constexpr bool Contains(TCSSProperty p) const noexcept { return (FBits[p >> 6] >> (p & 63)) & 1u; }
  constexpr TCSSproperties& Include(TCSSProperty p) noexcept {
    FBits[p >> 6] |= uint64_t(1) << (p & 63);
    return *this;
  }
  constexpr TCSSproperties& Exclude(TCSSProperty p) noexcept {
    FBits[p >> 6] &= ~(uint64_t(1) << (p & 63));
    return *this;
  }
  constexpr void Clear() noexcept { FBits[0] = FBits[1] = FBits[2] = 0; }
  constexpr bool Empty() const noexcept { return (FBits[0] | FBits[1] | FBits[2]) == 0; }
  int32_t Count() const noexcept;
  constexpr TCSSproperties operator+(const TCSSproperties& o) const noexcept {
    TCSSproperties r;
    for (int i = 0; i < 3; ++i) r.FBits[i] = FBits[i] | o.FBits[i];
    return r;
  }
  constexpr TCSSproperties operator-(const TCSSproperties& o) const noexcept {
    TCSSproperties r;
    for (int i = 0; i < 3; ++i) r.FBits[i] = FBits[i] & ~o.FBits[i];
    return r;
  }
  constexpr TCSSproperties operator*(const TCSSproperties& o) const noexcept {
    TCSSproperties r;
    for (int i = 0; i < 3; ++i) r.FBits[i] = FBits[i] & o.FBits[i];
    return r;
  }
  constexpr bool operator==(const TCSSproperties&) const noexcept = default;

 private:
  uint64_t FBits[3] = {0, 0, 0};
};

// What a prepared declaration runs when a style applies it: an operation of
// the style with the value and a cursor on its tokens (null when the style
// reads the property on demand and nothing needs to run).
using TCSSValueProc = void (TBaseElementStyle::*)(TCSSValue* value, TCSSTokenSequence& ts);

// One property's record.
// Its class information is written out by hand rather than with NV_CLASS,
// whose `Inherited` alias would clash with the field of that name.
class TCSSPropRec : public TObject {
 public:
  static TClass StaticClass() noexcept;
  TClass ClassType() const noexcept override { return StaticClass(); }
  TCSSPropRec(const UnicodeString& name, TCSSProperty id, TCSSPropertyType propType,
              TCSSPropertyParentType parentType, bool inherited, float defaultValue, bool layout);

  UnicodeString Name;  // the CSS name, lower case; the dictionary key
  TCSSProperty ID = cspUnknown;
  TCSSPropertyType PropType = cptNumber;
  // What a percentage of the property refers to.
  TCSSPropertyParentType ParentType = cpptWidth;
  // The value passes from parent to child when no rule sets it.
  bool Inherited = false;
  float DefaultValue = 0.0f;
  // A change needs a new layout; for the others a repaint does.
  bool Layout = false;
  // The longhands of a shorthand, in the order values are assigned to them.
  // Not owned: every record belongs to the dictionary.
  std::vector<TCSSPropRec*> SubProps;
  // The enumeration of an enum property (nullptr for the others and for
  // contenteditable), and the prefix put in front of a keyword.
  const TEnumInfo* EnumType = nullptr;
  UnicodeString EnumPrefix;

  // Appends the record of `name` (which must be in the table already) to
  // SubProps. Returns this record, so that the table reads as chains.
  TCSSPropRec* Add(const UnicodeString& name);
  TCSSPropRec* Add(TCSSPropRec* sub);
  // Sets EnumPrefix and EnumType; returns this record.
  TCSSPropRec* EnumInfo(const UnicodeString& prefix, const TEnumInfo& type);

  // The ordinal of a keyword of this property's enumeration (hyphens
  // removed, prefix put in front, case ignored). False without an
  // enumeration or for a word that isn't one of its names.
  bool IsEnumValue(const UnicodeString& keyword, int32_t& ordinal) const noexcept;
  // The keyword of an ordinal: its value name less the prefix, with a hyphen
  // before each inner word ("dsInlineBlock" gives "inline-block"). Empty
  // without an enumeration or for an ordinal out of range.
  UnicodeString EnumKeyword(int32_t ordinal) const;

  // Byte offset of Name, the key of the dictionary.
  static int32_t NameOffset() noexcept;
};

// The table, from lower-case name to record; owning, capacity 511. Built on
// first use and read-only afterwards.
const THtObjectDictionary& CSSPropDictionary();

// The record of a name, exactly as written (the table's names are lower
// case); nullptr when the name isn't a property. Takes a UnicodeString, a
// literal or a slice of a larger text alike, and allocates nothing.
TCSSPropRec* FindCSSPropRec(std::u16string_view name) noexcept;
// The record called "unknown" (cspUnknown).
TCSSPropRec* CSSUnknownPropRec() noexcept;
// The record of a name, or the unknown record.
TCSSPropRec* CSSPropRecOf(std::u16string_view name) noexcept;
// The record of an identifier; nullptr for the SVG identifiers, which have
// none.
TCSSPropRec* CSSPropRecById(TCSSProperty id) noexcept;

// The CSS keyword of a value name: the prefix removed, a hyphen before each
// inner word, lower case ("brNoRepeat" with "br" gives "no-repeat"). A name
// that doesn't start with the prefix (ASCII case ignored) is kept whole.
UnicodeString CSSKeywordOfEnumName(std::u16string_view valueName, std::u16string_view prefix);

// Display names of the two small enumerations of the table ("length",
// "container-width", ...), for listings.
UnicodeString CSSPropertyTypeName(TCSSPropertyType type);
UnicodeString CSSParentTypeName(TCSSPropertyParentType type);

}  // namespace norvane
