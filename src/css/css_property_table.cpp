// The rows of the CSS property table and their chains.
//
// Each row: name, identifier, type, what a percentage refers to, inherited,
// default value, whether a change needs a new layout. The chains below the
// rows give the shorthands their longhands and the keyword properties their
// enumerations. The table is data: CSSPropDictionary() builds it once.
#include "css_property_table.h"

#include "norvane/css/css_properties.h"

namespace norvane::detail {

namespace {

constexpr TCSSPropRow kRows[] = {
    // name, id, type, percentage base, inherited, default, layout
    {u"unknown", cspUnknown, cptNumber, cpptWidth, false, 0, false},
    {u"display", cspDisplay, cptEnum, cpptWidth, false, 0, true},
    {u"float", cspFloat, cptEnum, cpptWidth, false, 0, false},
    {u"page", cspPage, cptNumber, cpptWidth, false, 0, false},
    {u"pointer-events", cspPointerEvents, cptEnum, cpptWidth, true, 0, false},
    {u"size", cspSize, cptComplex, cpptWidth, false, 0, false},
    {u"position", cspPosition, cptEnum, cpptWidth, false, 0, true},
    {u"column-rule", cspColumnRule, cptComplex, cpptWidth, false, 0, true},
    {u"column-gap", cspColumnGap, cptLength, cpptWidth, false, 0, true},
    {u"column-width", cspColumnWidth, cptLength, cpptWidth, false, 0, true},
    {u"column-count", cspColumnCount, cptNumber, cpptWidth, false, 0, true},
    {u"transition", cspTransition, cptComplex, cpptWidth, false, 0, false},
    {u"transition-delay", cspTransitionDelay, cptNumber, cpptWidth, false, 0, false},
    {u"contenteditable", cspContentEditable, cptEnum, cpptWidth, true, 0, false},
    {u"appearance", cspAppearance, cptEnum, cpptWidth, false, 0, true},
    {u"min-width", cspMinWidth, cptLength, cpptContainerWidth, false, 0, true},
    {u"max-width", cspMaxWidth, cptLength, cpptContainerWidth, false, 0, true},
    {u"min-height", cspMinHeight, cptLength, cpptContainerHeight, false, 0, true},
    {u"max-height", cspMaxHeight, cptLength, cpptContainerHeight, false, 0, true},
    {u"line-height", cspLineHeight, cptLength, cpptFontSize, true, 0, true},
    {u"font-size", cspFontSize, cptLength, cpptFontSize, true, 0, true},
    {u"font-family", cspFontFamily, cptString, cpptWidth, true, 0, true},
    {u"font-style", cspFontStyle, cptEnum, cpptWidth, true, 0, true},
    {u"font-weight", cspFontWeight, cptEnum, cpptWidth, true, 0, true},
    {u"font", cspFont, cptComplex, cpptFontSize, false, 0, true},
    {u"text-indent", cspTextIndent, cptLength, cpptWidth, true, 0, true},
    {u"letter-spacing", cspLetterSpacing, cptLength, cpptWidth, false, 0, true},
    {u"word-spacing", cspWordSpacing, cptLength, cpptFontSize, false, 0, true},
    {u"border-spacing", cspBorderSpacing, cptLength, cpptWidth, false, 0, true},
    {u"left", cspLeft, cptLength, cpptContainerWidth, false, 0, true},
    {u"top", cspTop, cptLength, cpptContainerHeight, false, 0, true},
    {u"right", cspRight, cptLength, cpptContainerWidth, false, 0, true},
    {u"bottom", cspBottom, cptLength, cpptContainerHeight, false, 0, true},
    {u"margin-left", cspMarginLeft, cptLength, cpptContainerWidth, false, 0, true},
    {u"margin-top", cspMarginTop, cptLength, cpptContainerWidth, false, 0, true},
    {u"margin-right", cspMarginRight, cptLength, cpptContainerWidth, false, 0, true},
    {u"margin-bottom", cspMarginBottom, cptLength, cpptContainerWidth, false, 0, true},
    {u"margin", cspMargin, cptLength, cpptContainerWidth, false, 0, true},
    {u"padding-left", cspPaddingLeft, cptLength, cpptContainerWidth, false, 0, true},
    {u"padding-top", cspPaddingTop, cptLength, cpptContainerWidth, false, 0, true},
    {u"padding-right", cspPaddingRight, cptLength, cpptContainerWidth, false, 0, true},
    {u"padding-bottom", cspPaddingBottom, cptLength, cpptContainerWidth, false, 0, true},
    {u"padding", cspPadding, cptLength, cpptContainerWidth, false, 0, true},
    {u"width", cspWidth, cptLength, cpptContainerWidth, false, 0, true},
    {u"height", cspHeight, cptLength, cpptContainerHeight, false, 0, true},
    {u"table-layout", cspTableLayout, cptEnum, cpptWidth, false, 0, true},
    {u"text-overflow", cspTextOverflow, cptEnum, cpptWidth, false, 0, false},
    {u"draggable", cspDraggable, cptEnum, cpptWidth, false, 0, false},
    {u"resize", cspResize, cptEnum, cpptWidth, false, 0, false},
    {u"color", cspColor, cptColor, cpptWidth, true, 0, false},
    {u"page-break-before", cspPageBreakBefore, cptEnum, cpptWidth, false, 0, false},
    {u"page-break-after", cspPageBreakAfter, cptEnum, cpptWidth, false, 0, false},
    {u"page-break-inside", cspPageBreakInside, cptEnum, cpptWidth, true, 0, false},
    {u"box-reflect", cspBoxReflect, cptComplex, cpptWidth, false, 0, false},
    {u"border-top-left-radius", cspBorderTopLeftradius, cptLength, cpptWidth, false, 0, false},
    {u"border-top-right-radius", cspBorderTopRightRadius, cptLength, cpptWidth, false, 0, false},
    {u"border-bottom-left-radius", cspBorderBottomLeftRadius, cptLength, cpptWidth, false, 0, false},
    {u"border-bottom-right-radius", cspBorderBottomRightRadius, cptLength, cpptWidth, false, 0, false},
    {u"border-radius", cspBorderRadius, cptLength, cpptWidth, false, 0, false},
    {u"border-top-color", cspBorderTopColor, cptColor, cpptWidth, false, 0, false},
    {u"border-right-color", cspBorderRightColor, cptColor, cpptWidth, false, 0, false},
    {u"border-bottom-color", cspBorderBottomColor, cptColor, cpptWidth, false, 0, false},
    {u"border-left-color", cspBorderLeftColor, cptColor, cpptWidth, false, 0, false},
    {u"border-color", cspBorderColor, cptColor, cpptWidth, false, 0, false},
    {u"border-top-width", cspBorderTopWidth, cptLength, cpptWidth, false, 0, true},
    {u"border-right-width", cspBorderRightWidth, cptLength, cpptWidth, false, 0, true},
    {u"border-bottom-width", cspBorderBottomWidth, cptLength, cpptWidth, false, 0, true},
    {u"border-left-width", cspBorderLeftWidth, cptLength, cpptWidth, false, 0, true},
    {u"border-width", cspBorderWidth, cptLength, cpptWidth, false, 0, true},
    {u"border-top-style", cspBorderTopStyle, cptEnum, cpptWidth, false, 0, true},
    {u"border-right-style", cspBorderRightStyle, cptEnum, cpptWidth, false, 0, true},
    {u"border-bottom-style", cspBorderBottomStyle, cptEnum, cpptWidth, false, 0, true},
    {u"border-left-style", cspBorderLeftStyle, cptEnum, cpptWidth, false, 0, true},
    {u"border-style", cspBorderStyle, cptEnum, cpptWidth, false, 0, true},
    {u"border-top", cspBorderTop, cptComplex, cpptWidth, false, 0, false},
    {u"border-right", cspBorderRight, cptComplex, cpptWidth, false, 0, false},
    {u"border-bottom", cspBorderBottom, cptComplex, cpptWidth, false, 0, false},
    {u"border-left", cspBorderLeft, cptComplex, cpptWidth, false, 0, true},
    {u"border", cspBorder, cptComplex, cpptWidth, false, 0, true},
    {u"box-shadow", cspBoxShadow, cptComplex, cpptWidth, false, 0, false},
    {u"text-shadow", cspTextShadow, cptComplex, cpptWidth, true, 0, false},
    {u"flex-direction", cspFlexDirection, cptEnum, cpptWidth, false, 0, true},
    {u"justify-content", cspJustifyContent, cptEnum, cpptWidth, false, 0, true},
    {u"align-items", cspAlignItems, cptEnum, cpptWidth, false, 0, true},
    {u"align-self", cspAlignSelf, cptEnum, cpptWidth, false, 0, true},
    {u"flex-basis", cspFlexBasis, cptLength, cpptWidth, false, 0, true},
    {u"flex-grow", cspFlexGrow, cptNumber, cpptWidth, false, 0, true},
    {u"flex-shrink", cspFlexShrink, cptNumber, cpptWidth, false, 0, true},
    {u"flex-wrap", cspFlexWrap, cptEnum, cpptWidth, false, 0, true},
    {u"flex", cspFlex, cptComplex, cpptWidth, false, 0, true},
    {u"text-transform", cspTextTransform, cptEnum, cpptWidth, true, 0, true},
    {u"cursor", cspCursor, cptEnum, cpptWidth, true, 0, false},
    {u"border-collapse", cspBorderCollapse, cptEnum, cpptWidth, true, 0, false},
    {u"text-align", cspTextAlign, cptEnum, cpptWidth, true, 0, true},
    {u"list-style-type", cspListStyleType, cptEnum, cpptWidth, true, 0, true},
    {u"list-style", cspListStyle, cptComplex, cpptWidth, true, 0, true},
    {u"list-style-position", cspListStylePosition, cptEnum, cpptWidth, true, 0, true},
    {u"box-sizing", cspBoxSizing, cptEnum, cpptWidth, false, 0, false},
    {u"text-decoration-style", cspTextDecorationStyle, cptEnum, cpptWidth, false, 0, false},
    {u"text-decoration-color", cspTextDecorationColor, cptColor, cpptWidth, false, 0, false},
    {u"text-decoration-line", cspTextDecorationLine, cptEnum, cpptWidth, false, 0, false},
    {u"text-decoration", cspTextDecoration, cptComplex, cpptWidth, false, 0, false},
    {u"vertical-align", cspVerticalAlign, cptEnum, cpptWidth, false, 0, true},
    {u"overflow-x", cspOverflowX, cptEnum, cpptWidth, false, 0, true},
    {u"overflow-y", cspOverflowY, cptEnum, cpptWidth, false, 0, true},
    {u"overflow", cspOverflow, cptEnum, cpptWidth, false, 0, true},
    {u"background", cspBackground, cptComplex, cpptWidth, false, 0, false},
    {u"background-color", cspBackgroundColor, cptColor, cpptWidth, false, 0, false},
    {u"background-image", cspBackgroundImage, cptComplex, cpptWidth, false, 0, false},
    {u"background-position-x", cspBackgroundPositionX, cptLength, cpptWidth, false, 0, false},
    {u"background-position-y", cspbackgroundPositionY, cptLength, cpptHeight, false, 0, false},
    {u"background-position", cspBackgroundPosition, cptLength, cpptWidth, false, 0, false},
    {u"background-repeat", cspBackgroundRepeat, cptEnum, cpptWidth, false, 0, false},
    {u"background-attachment", cspBackgroundAttachment, cptEnum, cpptWidth, false, 0, false},
    {u"background-origin", cspBackgroundOrigin, cptEnum, cpptWidth, false, 0, false},
    {u"background-size", cspBackgroundSize, cptComplex, cpptWidth, false, 0, false},
    {u"content", cspContent, cptString, cpptWidth, false, 0, false},
    {u"transform", cspTransform, cptComplex, cpptWidth, false, 0, false},
    {u"transform-origin", cspTransformOrigin, cptLength, cpptWidth, false, 0, false},
    {u"visibility", cspVisibility, cptEnum, cpptWidth, false, 0, false},
    {u"z-index", cspZIndex, cptNumber, cpptWidth, false, 0, false},
    {u"direction", cspDirection, cptEnum, cpptWidth, true, 0, true},
    {u"word-wrap", cspWordWrap, cptEnum, cpptWidth, true, 0, true},
    {u"word-break", cspWordBreak, cptEnum, cpptWidth, true, 0, true},
    {u"white-space", cspWhiteSpace, cptEnum, cpptWidth, true, 0, true},
    {u"filter", cspFilter, cptComplex, cpptWidth, false, 0, false},
    {u"hyphens", cspHyphens, cptEnum, cpptWidth, true, 0, false},
    {u"tab-stops", cspTabStops, cptComplex, cpptWidth, false, 0, false},
    {u"tab-interval", cspTabInterval, cptLength, cpptWidth, false, 0, false},
    {u"break-after", cspBreakAfter, cptEnum, cpptWidth, false, 0, false},
    {u"writing-mode", cspWritingMode, cptEnum, cpptWidth, true, 0, false},
    {u"animation", cspAnimation, cptComplex, cpptWidth, false, 0, false},
    {u"animation-name", cspAnimationName, cptString, cpptWidth, false, 0, false},
    {u"animation-duration", cspAnimationDuration, cptNumber, cpptWidth, false, 0, false},
    {u"animation-timing-function", cspAnimationTimingFunction, cptEnum, cpptWidth, false, 0, false},
    {u"clear", cspClear, cptString, cpptWidth, false, 0, false},
    {u"counter-reset", cspCounterReset, cptComplex, cpptWidth, false, 0, false},
    {u"counter-increment", cspCounterIncrement, cptString, cpptWidth, false, 0, false},
    {u"transition-duration", cspTransitionDuration, cptNumber, cpptWidth, false, 0, false},
    {u"mask-image", cspMaskImage, cptComplex, cpptWidth, false, 0, false},
    {u"outline-color", cspOutlineColor, cptColor, cpptWidth, false, 0, false},
    {u"outline-style", cspOutlineStyle, cptEnum, cpptWidth, false, 0, false},
    {u"outline-width", cspOutlineWidth, cptLength, cpptWidth, false, 0, false},
    {u"outline-offset", cspOutlineOffset, cptLength, cpptWidth, false, 0, false},
    {u"outline", cspOutline, cptComplex, cpptWidth, false, 0, false},
    {u"font-feature-settings", cspFontFeatureSettings, cptComplex, cpptWidth, true, 0, true},
    {u"font-kerning", cspFontKerning, cptEnum, cpptWidth, false, 0, true},
    {u"unicode-bidi", cspUnicodeBidi, cptEnum, cpptWidth, false, 0, false},
    {u"opacity", cspOpacity, cptNumber, cpptWidth, false, 1, false},
    {u"zoom", cspZoom, cptNumber, cpptWidth, false, 1, true},
};

}  // namespace

std::span<const TCSSPropRow> CSSPropRows() noexcept { return kRows; }

void ChainCSSPropRecs(TCSSPropRec* (*rec)(const char16_t* name)) {
  // Shorthands: the longhands in the order values are assigned to them.
  rec(u"font")->Add(u"font-style")->Add(u"font-weight")->Add(u"font-size")->Add(u"font-family");
  rec(u"margin")->Add(u"margin-top")->Add(u"margin-right")->Add(u"margin-bottom")->Add(u"margin-left");
  rec(u"padding")->Add(u"padding-top")->Add(u"padding-right")->Add(u"padding-bottom")->Add(u"padding-left");
  rec(u"border-color")
      ->Add(u"border-top-color")
      ->Add(u"border-right-color")
      ->Add(u"border-bottom-color")
      ->Add(u"border-left-color");
  rec(u"border-width")
      ->Add(u"border-top-width")
      ->Add(u"border-right-width")
      ->Add(u"border-bottom-width")
      ->Add(u"border-left-width");
  rec(u"border-style")
      ->Add(u"border-top-style")
      ->Add(u"border-right-style")
      ->Add(u"border-bottom-style")
      ->Add(u"border-left-style");
  // The corners clockwise from the top left, as the sides go clockwise
  // from the top.
  rec(u"border-radius")
      ->Add(u"border-top-left-radius")
      ->Add(u"border-top-right-radius")
      ->Add(u"border-bottom-right-radius")
      ->Add(u"border-bottom-left-radius");
  rec(u"border")->Add(u"border-color")->Add(u"border-style")->Add(u"border-width");
  rec(u"flex")->Add(u"flex-grow")->Add(u"flex-shrink")->Add(u"flex-basis");
  rec(u"list-style")->Add(u"list-style-type");
  rec(u"text-decoration")
      ->Add(u"text-decoration-line")
      ->Add(u"text-decoration-color")
      ->Add(u"text-decoration-style");
  rec(u"overflow")->Add(u"overflow-x")->Add(u"overflow-y");
  rec(u"background-position")->Add(u"background-position-x")->Add(u"background-position-y");
  rec(u"outline")->Add(u"outline-style")->Add(u"outline-color")->Add(u"outline-width");

  // Keyword properties: prefix and enumeration. contenteditable has none.
  rec(u"display")->EnumInfo(u"ds", EnumInfo(TDisplayStyle{}));
  rec(u"float")->EnumInfo(u"f", EnumInfo(TElementFloat{}));
  rec(u"pointer-events")->EnumInfo(u"pe", EnumInfo(TPointerEvents{}));
  rec(u"position")->EnumInfo(u"ep", EnumInfo(TElementPosition{}));
  rec(u"appearance")->EnumInfo(u"ca", EnumInfo(TCSSAppearance{}));
  rec(u"font-style")->EnumInfo(u"cfs", EnumInfo(TCSSFontStyle{}));
  rec(u"font-weight")->EnumInfo(u"fw", EnumInfo(TCSSFontWeight{}));
  rec(u"table-layout")->EnumInfo(u"tl", EnumInfo(TTableLayout{}));
  rec(u"text-overflow")->EnumInfo(u"to", EnumInfo(TTextOverflow{}));
  rec(u"draggable")->EnumInfo(u"dg", EnumInfo(TCSSDraggable{}));
  rec(u"resize")->EnumInfo(u"er", EnumInfo(TElementResize{}));
  for (const char16_t* n : {u"page-break-before", u"page-break-after", u"page-break-inside"})
    rec(n)->EnumInfo(u"pb", EnumInfo(TPageBreak{}));
  for (const char16_t* n : {u"border-top-style", u"border-right-style", u"border-bottom-style", u"border-left-style",
                            u"border-style", u"outline-style"})
    rec(n)->EnumInfo(u"ls", EnumInfo(TLineStyle{}));
  rec(u"flex-direction")->EnumInfo(u"fd", EnumInfo(TFlexDirection{}));
  rec(u"justify-content")->EnumInfo(u"jc", EnumInfo(TJustifyContent{}));
  rec(u"align-items")->EnumInfo(u"ai", EnumInfo(TAlignItems{}));
  rec(u"align-self")->EnumInfo(u"ai", EnumInfo(TAlignItems{}));
  rec(u"flex-wrap")->EnumInfo(u"fw", EnumInfo(TFlexWrap{}));
  rec(u"text-transform")->EnumInfo(u"ctt", EnumInfo(TCSSTextTransform{}));
  rec(u"cursor")->EnumInfo(u"ec", EnumInfo(TElementCursor{}));
  rec(u"border-collapse")->EnumInfo(u"bc", EnumInfo(TBorderCollapse{}));
  rec(u"text-align")->EnumInfo(u"th", EnumInfo(TCSSTextAlign{}));
  rec(u"list-style-type")->EnumInfo(u"lst", EnumInfo(TListStyleType{}));
  rec(u"list-style-position")->EnumInfo(u"lsp", EnumInfo(TListStylePosition{}));
  rec(u"box-sizing")->EnumInfo(u"bs", EnumInfo(TBoxSizing{}));
  rec(u"text-decoration-style")->EnumInfo(u"ts", EnumInfo(TCSSTextDecorationStyle{}));
  rec(u"text-decoration-line")->EnumInfo(u"tl", EnumInfo(TCSSTextDecorationLine{}));
  rec(u"vertical-align")->EnumInfo(u"va", EnumInfo(TVerticalAlign{}));
  for (const char16_t* n : {u"overflow-x", u"overflow-y", u"overflow"})
    rec(n)->EnumInfo(u"eo", EnumInfo(TElementOverflow{}));
  rec(u"background-repeat")->EnumInfo(u"br", EnumInfo(TBackgroundRepeat{}));
  rec(u"background-attachment")->EnumInfo(u"ba", EnumInfo(TBackgroundAttachment{}));
  rec(u"background-origin")->EnumInfo(u"bo", EnumInfo(TBackgroundOrigin{}));
  rec(u"visibility")->EnumInfo(u"cv", EnumInfo(TCSSVisibility{}));
  rec(u"direction")->EnumInfo(u"cd", EnumInfo(TCSSDirection{}));
  rec(u"word-wrap")->EnumInfo(u"ww", EnumInfo(TCSSWordWrap{}));
  rec(u"word-break")->EnumInfo(u"wb", EnumInfo(TCSSWordBreak{}));
  rec(u"white-space")->EnumInfo(u"ws", EnumInfo(TWhiteSpace{}));
  rec(u"hyphens")->EnumInfo(u"ch", EnumInfo(TCSSHyphens{}));
  rec(u"break-after")->EnumInfo(u"cba", EnumInfo(TCSSBreakAfter{}));
  rec(u"writing-mode")->EnumInfo(u"wm", EnumInfo(TWritingMode{}));
  rec(u"animation-timing-function")->EnumInfo(u"tm", EnumInfo(TCSSTiming{}));
  rec(u"font-kerning")->EnumInfo(u"km", EnumInfo(TFontKerning{}));
  rec(u"unicode-bidi")->EnumInfo(u"ub", EnumInfo(TUnicodeBidi{}));
}

}  // namespace norvane::detail
