// The enumerations behind CSS keywords.
//
// A keyword maps to a value by name: its hyphens are removed, the property's
// prefix is put in front, and the result is looked up among the value names
// of the enumeration without regard to case (IsEnum2). "inline-block" with
// the prefix "ds" is dsInlineBlock. The spelling of these names is therefore
// part of the CSS vocabulary of the library: renaming a value changes which
// keyword it answers to.
//
// Ordinal 0 of every enumeration is the keyword's initial value, because a
// style getter answers 0 for a property that no rule sets.
//
// The ordinals are stored in a token's 32-bit Color word next to the two
// markers 888 (inherit) and 999 (unknown keyword), so no enumeration may
// reach 888 values.
#pragma once

#include <cstdint>

#include "norvane/runtime/object.h"

namespace norvane {

// display, prefix "ds". Absent: inline. No grid: "display: grid" is dropped
// as unknown, so a grid container falls back on the display its element had.
NV_ENUM_T(TDisplayStyle, uint8_t, dsInline, dsBlock, dsInlineBlock, dsListItem, dsRunIn, dsTable, dsInlineTable,
          dsTableRowGroup, dsTableHeaderGroup, dsTableFooterGroup, dsTableRow, dsTableColumnGroup, dsTableColumn,
          dsTableCell, dsTableCaption, dsNone, dsFlex, dsInlineFlex)

// float, prefix "f".
NV_ENUM_T(TElementFloat, uint8_t, fNone, fLeft, fRight)

// pointer-events, prefix "pe"; the SVG keywords are accepted as written
// ("visiblePainted") or hyphenated.
NV_ENUM_T(TPointerEvents, uint8_t, peAuto, peNone, peVisiblePainted, peVisibleFill, peVisibleStroke, peVisible,
          pePainted, peFill, peStroke, peAll)

// position, prefix "ep". epSticky is read and then applied as epStatic.
NV_ENUM_T(TElementPosition, uint8_t, epStatic, epRelative, epAbsolute, epFixed, epSticky)

// appearance, prefix "ca". Absent: the element's own look (auto).
NV_ENUM_T(TCSSAppearance, uint8_t, caAuto, caNone, caButton, caCheckbox, caRadio, caTextfield, caTextarea,
          caSearchfield, caListbox, caMenulist, caMenulistButton, caPushButton, caSquareButton)

// font-style, prefix "cfs". Only cfsItalic makes a face italic.
NV_ENUM_T(TCSSFontStyle, uint8_t, cfsNormal, cfsItalic, cfsOblique)

// font-weight, prefix "fw". fw100..fw900 name the numeric weights, which a
// declaration reaches through its number, not through these names.
NV_ENUM_T(TCSSFontWeight, uint8_t, fwNormal, fwBold, fwBolder, fwLighter, fw100, fw200, fw300, fw400, fw500, fw600,
          fw700, fw800, fw900)

// table-layout, prefix "tl".
NV_ENUM_T(TTableLayout, uint8_t, tlAuto, tlFixed)

// text-overflow, prefix "to".
NV_ENUM_T(TTextOverflow, uint8_t, toClip, toEllipsis)

// draggable, prefix "dg".
NV_ENUM_T(TCSSDraggable, uint8_t, dgAuto, dgTrue, dgFalse)

// resize, prefix "er".
NV_ENUM_T(TElementResize, uint8_t, erNone, erBoth, erHorizontal, erVertical, erBlock, erInline)

// page-break-before, -after, -inside, prefix "pb".
NV_ENUM_T(TPageBreak, uint8_t, pbAuto, pbAlways, pbAvoid, pbLeft, pbRight)

// border-*-style and outline-style, prefix "ls".
NV_ENUM_T(TLineStyle, uint8_t, lsNone, lsHidden, lsDotted, lsDashed, lsSolid, lsDouble, lsGroove, lsRidge, lsInset,
          lsOutset)

// flex-direction, prefix "fd".
NV_ENUM_T(TFlexDirection, uint8_t, fdRow, fdRowReverse, fdColumn, fdColumnReverse)

// justify-content, prefix "jc".
NV_ENUM_T(TJustifyContent, uint8_t, jcNormal, jcFlexStart, jcFlexEnd, jcCenter, jcSpaceBetween, jcSpaceAround,
          jcSpaceEvenly, jcStart, jcEnd, jcLeft, jcRight, jcStretch)

// align-items and align-self, prefix "ai". Absent is aiAuto: for align-self
// the container's align-items decides, for align-items it reads as normal.
NV_ENUM_T(TAlignItems, uint8_t, aiAuto, aiNormal, aiStretch, aiFlexStart, aiFlexEnd, aiCenter, aiBaseline, aiStart,
          aiEnd, aiSelfStart, aiSelfEnd)

// flex-wrap, prefix "fw" (shared with font-weight; the names don't meet).
NV_ENUM_T(TFlexWrap, uint8_t, fwNowrap, fwWrap, fwWrapReverse)

// text-transform, prefix "ctt".
NV_ENUM_T(TCSSTextTransform, uint8_t, cttNone, cttCapitalize, cttUppercase, cttLowercase, cttFullWidth)

// cursor, prefix "ec". ecHand is the old spelling of pointer.
NV_ENUM_T(TElementCursor, uint8_t, ecAuto, ecDefault, ecNone, ecContextMenu, ecHelp, ecPointer, ecProgress, ecWait,
          ecCell, ecCrosshair, ecText, ecVerticalText, ecAlias, ecCopy, ecMove, ecNoDrop, ecNotAllowed, ecGrab,
          ecGrabbing, ecAllScroll, ecColResize, ecRowResize, ecNResize, ecEResize, ecSResize, ecWResize, ecNEResize,
          ecNWResize, ecSEResize, ecSWResize, ecEWResize, ecNSResize, ecNESWResize, ecNWSEResize, ecZoomIn, ecZoomOut,
          ecHand)

// border-collapse, prefix "bc".
NV_ENUM_T(TBorderCollapse, uint8_t, bcSeparate, bcCollapse)

// text-align, prefix "th". Absent is thStart: left or right by direction.
NV_ENUM_T(TCSSTextAlign, uint8_t, thStart, thLeft, thRight, thCenter, thJustify, thEnd)

// list-style-type, prefix "lst". lower-latin and upper-latin count like
// lower-alpha and upper-alpha.
NV_ENUM_T(TListStyleType, uint8_t, lstDisc, lstCircle, lstSquare, lstDecimal, lstDecimalLeadingZero, lstLowerRoman,
          lstUpperRoman, lstLowerAlpha, lstUpperAlpha, lstLowerLatin, lstUpperLatin, lstLowerGreek, lstNone)

// list-style-position, prefix "lsp".
NV_ENUM_T(TListStylePosition, uint8_t, lspOutside, lspInside)

// box-sizing, prefix "bs".
NV_ENUM_T(TBoxSizing, uint8_t, bsContentBox, bsBorderBox)

// text-decoration-style, prefix "ts".
NV_ENUM_T(TCSSTextDecorationStyle, uint8_t, tsSolid, tsDouble, tsDotted, tsDashed, tsWavy)

// text-decoration-line, prefix "tl".
NV_ENUM_T(TCSSTextDecorationLine, uint8_t, tlNone, tlUnderline, tlOverline, tlLineThrough)

// vertical-align, prefix "va".
NV_ENUM_T(TVerticalAlign, uint8_t, vaBaseline, vaSub, vaSuper, vaTextTop, vaTextBottom, vaMiddle, vaTop, vaBottom)

// overflow, overflow-x, overflow-y, prefix "eo".
NV_ENUM_T(TElementOverflow, uint8_t, eoVisible, eoHidden, eoScroll, eoAuto, eoClip)

// background-repeat, prefix "br".
NV_ENUM_T(TBackgroundRepeat, uint8_t, brRepeat, brRepeatX, brRepeatY, brNoRepeat, brSpace, brRound)

// background-attachment, prefix "ba".
NV_ENUM_T(TBackgroundAttachment, uint8_t, baScroll, baFixed, baLocal)

// background-origin, prefix "bo".
NV_ENUM_T(TBackgroundOrigin, uint8_t, boPaddingBox, boBorderBox, boContentBox)

// visibility, prefix "cv".
NV_ENUM_T(TCSSVisibility, uint8_t, cvVisible, cvHidden, cvCollapse)

// direction, prefix "cd".
NV_ENUM_T(TCSSDirection, uint8_t, cdLTR, cdRTL)

// word-wrap, prefix "ww".
NV_ENUM_T(TCSSWordWrap, uint8_t, wwNormal, wwBreakWord, wwAnywhere)

// word-break, prefix "wb". wbHyphens is no keyword of word-break: the style
// sets it when hyphens is auto, so that one field says how words break.
NV_ENUM_T(TCSSWordBreak, uint8_t, wbNormal, wbBreakAll, wbKeepAll, wbBreakWord, wbHyphens)

// white-space, prefix "ws".
NV_ENUM_T(TWhiteSpace, uint8_t, wsNormal, wsNowrap, wsPre, wsPreWrap, wsPreLine, wsBreakSpaces)

// hyphens, prefix "ch".
NV_ENUM_T(TCSSHyphens, uint8_t, chManual, chNone, chAuto)

// break-after, prefix "cba".
NV_ENUM_T(TCSSBreakAfter, uint8_t, cbaAuto, cbaAvoid, cbaAlways, cbaAll, cbaAvoidPage, cbaPage, cbaLeft, cbaRight,
          cbaRecto, cbaVerso, cbaAvoidColumn, cbaColumn)

// writing-mode, prefix "wm"; ordinals 1 to 4 are the vertical and sideways
// modes.
NV_ENUM_T(TWritingMode, uint8_t, wmHorizontalTB, wmVerticalRL, wmVerticalLR, wmSidewaysRL, wmSidewaysLR)

// animation-timing-function and the timing of transitions, prefix "tm".
NV_ENUM_T(TCSSTiming, uint8_t, tmEase, tmEaseIn, tmEaseOut, tmEaseInOut, tmLinear)

// font-kerning, prefix "km".
NV_ENUM_T(TFontKerning, uint8_t, kmAuto, kmNormal, kmNone)

// unicode-bidi, prefix "ub".
NV_ENUM_T(TUnicodeBidi, uint8_t, ubNormal, ubEmbed, ubIsolate, ubBidiOverride, ubIsolateOverride, ubPlaintext)

// clear: a set, since "both" is left and right.
NV_ENUM_T(TElementClear, uint8_t, ecLeft, ecRight)
using TElementClears = TSet<TElementClear, uint8_t>;

// Box parts that some rule gives the element, summed up by the style after
// each pass so that layout can skip what is absent.
NV_ENUM_T(TCSSGeneralProperty, uint8_t, cgBorder, cgMargin, cgPadding, cgBackground)
using TCSSGeneralProperties = TSet<TCSSGeneralProperty, uint8_t>;

}  // namespace norvane
