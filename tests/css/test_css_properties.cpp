// The CSS property table: lookups, the rows' columns, the shorthand chains,
// the keyword enumerations and the dictionary under them.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "norvane/css/css_properties.h"
#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

using namespace norvane;

namespace {

std::string U8(const UnicodeString& s) { return s.ToUtf8(); }

const TCSSPropRec& Rec(const char16_t* name) {
  TCSSPropRec* r = FindCSSPropRec(name);
  EXPECT_NE(r, nullptr) << UnicodeString(name).ToUtf8();
  static TCSSPropRec dummy(u"", cspUnknown, cptNumber, cpptWidth, false, 0, false);
  return r ? *r : dummy;
}

std::string SubNames(const TCSSPropRec& r) {
  std::string s;
  for (const TCSSPropRec* sub : r.SubProps) s += (s.empty() ? "" : " ") + U8(sub->Name);
  return s;
}

// Every record, by walking the dictionary.
std::vector<TCSSPropRec*> AllRecords() {
  std::vector<TCSSPropRec*> all;
  int32_t cursor = 0;
  while (TObject* o = CSSPropDictionary().GetNext(cursor)) all.push_back(static_cast<TCSSPropRec*>(o));
  return all;
}

}  // namespace

TEST(CSSProperties, EveryListedNameHasOneRecordAndSvgIdentifiersNone) {
  const THtObjectDictionary& d = CSSPropDictionary();
  // 150 names are listed, "unknown" among them.
  EXPECT_EQ(d.Count(), 150);
  EXPECT_TRUE(d.OwnsObjects());
  std::vector<TCSSPropRec*> all = AllRecords();
  ASSERT_EQ(all.size(), 150u);
  std::set<int> ids;
  for (TCSSPropRec* r : all) {
    EXPECT_TRUE(ids.insert(r->ID).second) << U8(r->Name) << " shares its identifier";
    EXPECT_EQ(FindCSSPropRec(r->Name), r);
    EXPECT_EQ(CSSPropRecById(r->ID), r);
    EXPECT_EQ(U8(r->Name), U8(LowerCase(r->Name)));
    EXPECT_TRUE(r->InheritsFrom(TCSSPropRec::StaticClass()));
  }
  // The identifiers with no record are exactly the SVG ones.
  const TEnumInfo& info = EnumInfo(TCSSProperty{});
  ASSERT_EQ(info.Count(), 166);
  std::vector<std::string> without;
  for (int i = 0; i < info.Count(); ++i)
    if (!CSSPropRecById(TCSSProperty(i))) without.push_back(U8(info.Name(i)));
  const std::vector<std::string> svg = {
      "cspClipPath",   "cspDominantBaseline", "cspFill",           "cspFillOpacity",     "cspFillRule",
      "cspStroke",     "cspStrokeWidth",      "cspStrokeOpacity",  "cspStopColor",       "cspStopOpacity",
      "cspStrokeDasharray", "cspStrokeDashoffset", "cspStrokeLinejoin", "cspStrokeLinecap", "cspShapeRendering",
      "cspTextAnchor"};
  EXPECT_EQ(without, svg);
  // The odd spellings of two identifiers are names of the vocabulary.
  EXPECT_EQ(Rec(u"border-top-left-radius").ID, cspBorderTopLeftradius);
  EXPECT_EQ(Rec(u"background-position-y").ID, cspbackgroundPositionY);
  EXPECT_EQ(U8(info.Name(cspbackgroundPositionY)), "cspbackgroundPositionY");
  EXPECT_EQ(Rec(u"contenteditable").ID, cspContentEditable);
  EXPECT_EQ(Rec(u"z-index").ID, cspZIndex);
}

TEST(CSSProperties, LookupIsExactOnLowerCaseNames) {
  struct Case {
    const char16_t* name;
    bool found;
  } cases[] = {
      {u"color", true},        {u"Color", false},       {u"COLOR", false},       {u" color", false},
      {u"colo", false},        {u"colorx", false},      {u"", false},            {u"-webkit-color", false},
      {u"unknown", true},      {u"fill", false},        {u"stroke-width", false},  // SVG: no record
      {u"background-position-y", true}, {u"backgroundPositionY", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(UnicodeString(c.name).ToUtf8());
    TCSSPropRec* r = FindCSSPropRec(UnicodeString(c.name));
    EXPECT_EQ(r != nullptr, c.found);
    EXPECT_EQ(FindCSSPropRec(std::u16string_view(c.name)), r);
    // The parser's form never fails: a miss is the unknown record.
    EXPECT_EQ(CSSPropRecOf(UnicodeString(c.name)), c.found ? r : CSSUnknownPropRec());
  }
  const TCSSPropRec* u = CSSUnknownPropRec();
  ASSERT_NE(u, nullptr);
  EXPECT_EQ(U8(u->Name), "unknown");
  EXPECT_EQ(u->ID, cspUnknown);
  EXPECT_EQ(u->PropType, cptNumber);
  EXPECT_TRUE(u->SubProps.empty());
  // A slice of a larger text is found without making a string.
  std::u16string_view text = u"x:margin-top;";
  EXPECT_EQ(FindCSSPropRec(text.substr(2, 10)), FindCSSPropRec(u"margin-top"));
}

TEST(CSSProperties, RowsCarryTheirColumns) {
  struct Row {
    const char16_t* name;
    TCSSPropertyType type;
    TCSSPropertyParentType parent;
    bool inherited;
    float def;
    bool layout;
  } rows[] = {
      {u"unknown", cptNumber, cpptWidth, false, 0, false},
      {u"display", cptEnum, cpptWidth, false, 0, true},
      {u"pointer-events", cptEnum, cpptWidth, true, 0, false},
      {u"contenteditable", cptEnum, cpptWidth, true, 0, false},
      {u"column-rule", cptComplex, cpptWidth, false, 0, true},
      {u"column-count", cptNumber, cpptWidth, false, 0, true},
      {u"min-width", cptLength, cpptContainerWidth, false, 0, true},
      {u"max-height", cptLength, cpptContainerHeight, false, 0, true},
      {u"line-height", cptLength, cpptFontSize, true, 0, true},
      {u"font-size", cptLength, cpptFontSize, true, 0, true},
      {u"font", cptComplex, cpptFontSize, false, 0, true},  // a shorthand isn't inherited
      {u"font-family", cptString, cpptWidth, true, 0, true},
      {u"font-kerning", cptEnum, cpptWidth, false, 0, true},
      {u"font-feature-settings", cptComplex, cpptWidth, true, 0, true},
      {u"word-spacing", cptLength, cpptFontSize, false, 0, true},
      {u"letter-spacing", cptLength, cpptWidth, false, 0, true},
      {u"top", cptLength, cpptContainerHeight, false, 0, true},
      {u"left", cptLength, cpptContainerWidth, false, 0, true},
      // Vertical margins and paddings refer to the container's width too.
      {u"margin-top", cptLength, cpptContainerWidth, false, 0, true},
      {u"padding-bottom", cptLength, cpptContainerWidth, false, 0, true},
      {u"margin", cptLength, cpptContainerWidth, false, 0, true},
      {u"height", cptLength, cpptContainerHeight, false, 0, true},
      {u"color", cptColor, cpptWidth, true, 0, false},
      {u"page-break-before", cptEnum, cpptWidth, false, 0, false},
      {u"page-break-inside", cptEnum, cpptWidth, true, 0, false},
      {u"border-top-left-radius", cptLength, cpptWidth, false, 0, false},
      {u"border-radius", cptLength, cpptWidth, false, 0, false},
      {u"border-left-color", cptColor, cpptWidth, false, 0, false},
      {u"border-width", cptLength, cpptWidth, false, 0, true},
      {u"border-top-style", cptEnum, cpptWidth, false, 0, true},
      // Of the side shorthands only border-left needs a layout.
      {u"border-top", cptComplex, cpptWidth, false, 0, false},
      {u"border-right", cptComplex, cpptWidth, false, 0, false},
      {u"border-bottom", cptComplex, cpptWidth, false, 0, false},
      {u"border-left", cptComplex, cpptWidth, false, 0, true},
      {u"border", cptComplex, cpptWidth, false, 0, true},
      {u"text-shadow", cptComplex, cpptWidth, true, 0, false},
      {u"justify-content", cptEnum, cpptWidth, false, 0, true},
      {u"flex-grow", cptNumber, cpptWidth, false, 0, true},
      {u"flex-basis", cptLength, cpptWidth, false, 0, true},
      {u"cursor", cptEnum, cpptWidth, true, 0, false},
      {u"list-style", cptComplex, cpptWidth, true, 0, true},
      {u"box-sizing", cptEnum, cpptWidth, false, 0, false},
      {u"text-decoration", cptComplex, cpptWidth, false, 0, false},
      {u"overflow-x", cptEnum, cpptWidth, false, 0, true},
      {u"background-position-x", cptLength, cpptWidth, false, 0, false},
      {u"background-position-y", cptLength, cpptHeight, false, 0, false},
      {u"background-image", cptComplex, cpptWidth, false, 0, false},
      {u"content", cptString, cpptWidth, false, 0, false},
      {u"transform-origin", cptLength, cpptWidth, false, 0, false},
      {u"visibility", cptEnum, cpptWidth, false, 0, false},
      {u"z-index", cptNumber, cpptWidth, false, 0, false},
      {u"white-space", cptEnum, cpptWidth, true, 0, true},
      {u"writing-mode", cptEnum, cpptWidth, true, 0, false},
      {u"tab-interval", cptLength, cpptWidth, false, 0, false},
      {u"clear", cptString, cpptWidth, false, 0, false},
      {u"counter-reset", cptComplex, cpptWidth, false, 0, false},
      {u"counter-increment", cptString, cpptWidth, false, 0, false},
      {u"animation-duration", cptNumber, cpptWidth, false, 0, false},
      {u"outline-offset", cptLength, cpptWidth, false, 0, false},
      {u"opacity", cptNumber, cpptWidth, false, 1, false},
      {u"zoom", cptNumber, cpptWidth, false, 1, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(UnicodeString(row.name).ToUtf8());
    const TCSSPropRec& r = Rec(row.name);
    EXPECT_EQ(r.PropType, row.type);
    EXPECT_EQ(r.ParentType, row.parent);
    EXPECT_EQ(r.Inherited, row.inherited);
    EXPECT_EQ(r.DefaultValue, row.def);
    EXPECT_EQ(r.Layout, row.layout);
  }
  // Only opacity and zoom default to anything but 0; 25 rows are inherited.
  int inherited = 0;
  for (TCSSPropRec* r : AllRecords()) {
    inherited += r->Inherited;
    if (r->ID != cspOpacity && r->ID != cspZoom) {
      EXPECT_EQ(r->DefaultValue, 0.0f) << U8(r->Name);
    }
  }
  EXPECT_EQ(inherited, 25);
}

TEST(CSSProperties, ShorthandsChainTheirLonghandsInAssignmentOrder) {
  struct Chain {
    const char16_t* name;
    const char* subs;
  } chains[] = {
      {u"font", "font-style font-weight font-size font-family"},
      {u"margin", "margin-top margin-right margin-bottom margin-left"},
      {u"padding", "padding-top padding-right padding-bottom padding-left"},
      {u"border-color", "border-top-color border-right-color border-bottom-color border-left-color"},
      {u"border-width", "border-top-width border-right-width border-bottom-width border-left-width"},
      {u"border-style", "border-top-style border-right-style border-bottom-style border-left-style"},
      // Corners clockwise: bottom-right comes before bottom-left.
      {u"border-radius",
       "border-top-left-radius border-top-right-radius border-bottom-right-radius border-bottom-left-radius"},
      {u"border", "border-color border-style border-width"},
      {u"flex", "flex-grow flex-shrink flex-basis"},
      {u"list-style", "list-style-type"},
      {u"text-decoration", "text-decoration-line text-decoration-color text-decoration-style"},
      {u"overflow", "overflow-x overflow-y"},
      {u"background-position", "background-position-x background-position-y"},
      {u"outline", "outline-style outline-color outline-width"},
  };
  std::set<std::string> shorthands;
  for (const Chain& c : chains) {
    EXPECT_EQ(SubNames(Rec(c.name)), c.subs) << UnicodeString(c.name).ToUtf8();
    shorthands.insert(UnicodeString(c.name).ToUtf8());
  }
  // Nothing else has sub-properties: background, border-top and the like
  // are expanded by their own rules or kept whole.
  for (TCSSPropRec* r : AllRecords())
    if (!shorthands.count(U8(r->Name))) {
      EXPECT_TRUE(r->SubProps.empty()) << U8(r->Name);
    }
  // border's longhands are shorthands themselves, two levels down.
  const TCSSPropRec& border = Rec(u"border");
  EXPECT_EQ(border.SubProps[0], &Rec(u"border-color"));
  EXPECT_EQ(SubNames(*border.SubProps[0]->SubProps[3]), "");
  EXPECT_EQ(border.SubProps[0]->SubProps[3]->ID, cspBorderLeftColor);

  // Add and EnumInfo return the record, so chains can be written in a row;
  // a name outside the table is refused.
  TCSSPropRec scratch(u"scratch", cspUnknown, cptComplex, cpptWidth, false, 0, false);
  EXPECT_EQ(scratch.Add(u"margin-top")->Add(u"margin-left")->EnumInfo(u"eo", EnumInfo(TElementOverflow{})),
            &scratch);
  EXPECT_EQ(SubNames(scratch), "margin-top margin-left");
  EXPECT_EQ(U8(scratch.EnumPrefix), "eo");
  EXPECT_THROW(scratch.Add(u"no-such-property"), EArgumentException);
  EXPECT_EQ(scratch.SubProps.size(), 2u);
}

TEST(CSSProperties, KeywordPropertiesMapKeywordsThroughTheirPrefix) {
  struct Prefix {
    const char16_t* name;
    const char* prefix;
    const char* type;
  } prefixes[] = {
      {u"display", "ds", "TDisplayStyle"},           {u"float", "f", "TElementFloat"},
      {u"position", "ep", "TElementPosition"},       {u"font-style", "cfs", "TCSSFontStyle"},
      {u"font-weight", "fw", "TCSSFontWeight"},      {u"flex-wrap", "fw", "TFlexWrap"},
      {u"table-layout", "tl", "TTableLayout"},       {u"text-decoration-line", "tl", "TCSSTextDecorationLine"},
      {u"border-left-style", "ls", "TLineStyle"},    {u"outline-style", "ls", "TLineStyle"},
      {u"page-break-after", "pb", "TPageBreak"},     {u"align-self", "ai", "TAlignItems"},
      {u"text-align", "th", "TCSSTextAlign"},        {u"overflow", "eo", "TElementOverflow"},
      {u"break-after", "cba", "TCSSBreakAfter"},     {u"animation-timing-function", "tm", "TCSSTiming"},
      {u"unicode-bidi", "ub", "TUnicodeBidi"},       {u"cursor", "ec", "TElementCursor"},
  };
  for (const Prefix& p : prefixes) {
    SCOPED_TRACE(UnicodeString(p.name).ToUtf8());
    const TCSSPropRec& r = Rec(p.name);
    ASSERT_NE(r.EnumType, nullptr);
    EXPECT_EQ(U8(r.EnumPrefix), p.prefix);
    EXPECT_STREQ(r.EnumType->TypeName(), p.type);
  }
  // Every keyword property has an enumeration except contenteditable, and
  // nothing else has one.
  int enums = 0;
  for (TCSSPropRec* r : AllRecords()) {
    if (r->PropType == cptEnum && r->ID != cspContentEditable) {
      ++enums;
      EXPECT_NE(r->EnumType, nullptr) << U8(r->Name);
      EXPECT_FALSE(r->EnumPrefix.IsEmpty()) << U8(r->Name);
    } else {
      EXPECT_EQ(r->EnumType, nullptr) << U8(r->Name);
    }
  }
  EXPECT_EQ(enums, 52);

  struct Keyword {
    const char16_t* prop;
    const char16_t* word;
    int32_t ordinal;  // -1: not a keyword of the property
  } words[] = {
      {u"display", u"inline-block", dsInlineBlock},
      {u"display", u"INLINE-BLOCK", dsInlineBlock},  // case is ignored
      {u"display", u"inlineblock", dsInlineBlock},   // hyphens are only removed
      {u"display", u"inline--block", dsInlineBlock},
      {u"display", u"table-row-group", dsTableRowGroup},
      {u"display", u"none", dsNone},
      {u"display", u"grid", -1},
      {u"display", u"", -1},
      {u"position", u"sticky", epSticky},
      {u"float", u"left", fLeft},
      {u"font-style", u"oblique", cfsOblique},
      {u"font-weight", u"bolder", fwBolder},
      {u"font-weight", u"800", fw800},  // reachable by name; the parser keeps numbers as numbers
      {u"flex-wrap", u"wrap-reverse", fwWrapReverse},
      {u"flex-wrap", u"bold", -1},  // a shared prefix doesn't share names
      {u"text-decoration-line", u"line-through", tlLineThrough},
      {u"table-layout", u"underline", -1},
      {u"border-top-style", u"double", lsDouble},
      {u"white-space", u"pre-wrap", wsPreWrap},
      {u"word-break", u"break-all", wbBreakAll},
      {u"writing-mode", u"vertical-rl", wmVerticalRL},
      {u"animation-timing-function", u"ease-in-out", tmEaseInOut},
      {u"cursor", u"nesw-resize", ecNESWResize},
      {u"cursor", u"left", -1},  // clear's ecLeft isn't a cursor
      {u"pointer-events", u"visiblePainted", peVisiblePainted},
      {u"background-repeat", u"no-repeat", brNoRepeat},
      {u"direction", u"rtl", cdRTL},
      {u"contenteditable", u"true", -1},  // no enumeration
      {u"color", u"red", -1},
  };
  for (const Keyword& k : words) {
    SCOPED_TRACE(UnicodeString(k.prop).ToUtf8() + ": " + UnicodeString(k.word).ToUtf8());
    int32_t v = -7;
    EXPECT_EQ(Rec(k.prop).IsEnumValue(UnicodeString(k.word), v), k.ordinal >= 0);
    EXPECT_EQ(v, k.ordinal >= 0 ? k.ordinal : -7);  // untouched on a miss
  }
}

TEST(CSSProperties, EnumerationValueNamesRoundTripAsKeywords) {
  std::set<const TEnumInfo*> seen;
  for (TCSSPropRec* r : AllRecords()) {
    if (!r->EnumType) continue;
    seen.insert(r->EnumType);
    // Ordinals share the token's Color word with the markers 888 and 999.
    EXPECT_LT(r->EnumType->Count(), 888);
    for (int32_t i = 0; i < r->EnumType->Count(); ++i) {
      UnicodeString kw = r->EnumKeyword(i);
      SCOPED_TRACE(U8(r->Name) + " " + U8(r->EnumType->Name(i)) + " -> " + U8(kw));
      ASSERT_FALSE(kw.IsEmpty());
      for (char16_t c : kw.view()) EXPECT_TRUE((c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || c == u'-');
      EXPECT_NE(kw[0], u'-');
      EXPECT_NE(kw[kw.Length() - 1], u'-');
      int32_t back = -1;
      EXPECT_TRUE(r->IsEnumValue(kw, back));
      EXPECT_EQ(back, i);
    }
    EXPECT_TRUE(r->EnumKeyword(-1).IsEmpty());
    EXPECT_TRUE(r->EnumKeyword(r->EnumType->Count()).IsEmpty());
  }
  EXPECT_EQ(seen.size(), 42u);  // distinct enumerations behind the 52 properties

  struct Name {
    const char16_t* value;
    const char16_t* prefix;
    const char* keyword;
  } names[] = {
      {u"dsInlineBlock", u"ds", "inline-block"},  {u"dsTableRowGroup", u"ds", "table-row-group"},
      {u"brRepeatX", u"br", "repeat-x"},          {u"ecNESWResize", u"ec", "nesw-resize"},
      {u"ecNResize", u"ec", "n-resize"},          {u"wmHorizontalTB", u"wm", "horizontal-tb"},
      {u"cdLTR", u"cd", "ltr"},                   {u"fw100", u"fw", "100"},
      {u"lstDecimalLeadingZero", u"lst", "decimal-leading-zero"},
      {u"tmEaseInOut", u"TM", "ease-in-out"},     // the prefix is matched without case
      {u"ecAuto", u"ds", "ec-auto"},              // a foreign prefix stays
      {u"", u"ds", ""},
  };
  for (const Name& n : names)
    EXPECT_EQ(U8(CSSKeywordOfEnumName(n.value, n.prefix)), n.keyword) << UnicodeString(n.value).ToUtf8();

  // Ordinal 0 is the initial value: what a style answers when no rule
  // sets the property.
  EXPECT_EQ(U8(Rec(u"display").EnumKeyword(0)), "inline");
  EXPECT_EQ(U8(Rec(u"position").EnumKeyword(0)), "static");
  EXPECT_EQ(U8(Rec(u"border-top-style").EnumKeyword(0)), "none");
  EXPECT_EQ(U8(Rec(u"list-style-type").EnumKeyword(0)), "disc");
  EXPECT_EQ(U8(Rec(u"overflow").EnumKeyword(0)), "visible");
  EXPECT_EQ(U8(Rec(u"background-repeat").EnumKeyword(0)), "repeat");
  EXPECT_EQ(U8(Rec(u"hyphens").EnumKeyword(0)), "manual");
  EXPECT_EQ(U8(Rec(u"writing-mode").EnumKeyword(1)), "vertical-rl");
}

TEST(CSSProperties, DictionaryProbesStopAtTheRightSlot) {
  const THtObjectDictionary& d = CSSPropDictionary();
  const detail::HtHashTable& t = d.Table();
  // Capacity 511 means room for 511 entries at three quarters' load.
  EXPECT_EQ(d.Capacity(), 1024);
  EXPECT_TRUE(t.Validate());
  // Every record sits at or after its home slot, and one probe sequence
  // finds it.
  std::set<int32_t> homes;
  for (TCSSPropRec* r : AllRecords()) {
    const int32_t h = d.Hash(r->Name);
    const int32_t slot = d.FindHashed(h, r->Name);
    ASSERT_GE(slot, 0) << U8(r->Name);
    EXPECT_EQ(t.ValueAt(slot), r);
    homes.insert((h + 1) & t.Mask());
  }
  // Names that land in an occupied home slot but aren't properties miss,
  // and the miss names the slot where they would go.
  int collisions = 0;
  for (int i = 0; i < 100000 && collisions < 20; ++i) {
    UnicodeString probe = UnicodeString(u"x-") + IntToStr(i);
    const int32_t h = d.Hash(probe);
    if (!homes.count((h + 1) & t.Mask())) continue;
    ++collisions;
    EXPECT_EQ(FindCSSPropRec(probe), nullptr) << U8(probe);
    const int32_t slot = d.FindHashed(h, probe);
    EXPECT_LT(slot, 0);
    EXPECT_TRUE(t.IsEmptySlot(~slot) || t.HashAt(~slot) != uint32_t(h));
  }
  EXPECT_EQ(collisions, 20);
}

TEST(CSSProperties, PropertySetsSpanAllIdentifiers) {
  TCSSproperties s;
  EXPECT_TRUE(s.Empty());
  // Bits on both sides of each word boundary, and the last identifier.
  const TCSSProperty edge[] = {cspUnknown, TCSSProperty(63), TCSSProperty(64), TCSSProperty(127), TCSSProperty(128),
                               cspUnicodeBidi};
  for (TCSSProperty p : edge) s.Include(p);
  EXPECT_EQ(s.Count(), 6);
  for (TCSSProperty p : edge) EXPECT_TRUE(s.Contains(p)) << int(p);
  EXPECT_FALSE(s.Contains(TCSSProperty(65)));
  s.Exclude(TCSSProperty(64));
  EXPECT_FALSE(s.Contains(TCSSProperty(64)));
  EXPECT_TRUE(s.Contains(TCSSProperty(63)));
  EXPECT_EQ(s.Count(), 5);

  TCSSproperties a{cspWidth, cspZoom}, b{cspZoom, cspColor};
  EXPECT_EQ(a + b, (TCSSproperties{cspWidth, cspZoom, cspColor}));
  EXPECT_EQ(a - b, TCSSproperties{cspWidth});
  EXPECT_EQ(a * b, TCSSproperties{cspZoom});
  a.Clear();
  EXPECT_TRUE(a.Empty());
  EXPECT_EQ(EnumInfo(TCSSProperty{}).Count(), int(cspUnicodeBidi) + 1);
  EXPECT_EQ(sizeof(TCSSProperty), 1u);
}
