// The computed style: applying the cascade's values, the eager fields, the
// getters with their inheritance and defaults, and change detection.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "norvane/css/css_element_style.h"
#include "norvane/css/css_parser.h"
#include "norvane/css/css_section.h"

using namespace norvane;

namespace {

// A style over a pretend element: a parent pointer, fixed sizes, and logs
// of what reaches the element, background and animation seams.
class TTestStyle : public TBaseElementStyle {
 public:
  explicit TTestStyle(TTestStyle* parent = nullptr) : Parent(parent) { IntFontSize = 16; }

  TTestStyle* Parent;
  bool Quirks = false;
  bool Table = false;
  float InnerWidth = 200, InnerHeight = 100, ContainerWidth = 400, ContainerHeight = 300;
  std::string Log;

  TBaseElementStyle* ParentStyle() const noexcept override { return Parent; }
  bool QuirksMode() const noexcept override { return Quirks; }
  bool IsTableElement() const noexcept override { return Table; }
  uint32_t GetDefaultTextColor() const noexcept override { return 0xFF000001; }
  UnicodeString DefaultFontFamily() const override { return u"Default"; }
  float* GetPropParent(const TCSSPropRec* r) noexcept override {
    switch (r->ParentType) {
      case cpptHeight: return &InnerHeight;
      case cpptFontSize: return &IntFontSize;
      case cpptContainerWidth: return &ContainerWidth;
      case cpptContainerHeight: return &ContainerHeight;
      default: return &InnerWidth;
    }
  }
  void ResetCSSCounter(const UnicodeString& name, int32_t value) override {
    Log += "reset " + name.ToUtf8() + " " + std::to_string(value) + ";";
  }
  void IncrementCSSCounter(const UnicodeString& name) override { Log += "increment " + name.ToUtf8() + ";"; }
  void DoApplyBackground(TCSSValue* v, TCSSTokenSequence&) override { Log += "background " + v->Name.ToUtf8() + ";"; }
  void DoApplyAnimation(TCSSValue* v, TCSSTokenSequence&) override { Log += "animation " + v->Name.ToUtf8() + ";"; }
  const TMeasure* GetRootFontSize() const noexcept override { return nullptr; }
  TMeasureViewport GetViewport() const noexcept override { return {}; }
};

// Rules parsed from declaration lists; they live as long as the fixture.
class ElementStyle : public ::testing::Test {
 protected:
  std::vector<std::unique_ptr<TCSSSection>> rules_;

  // The compiled values of one declaration list, in order.
  std::vector<TCSSValue*> Rule(const char16_t* text) {
    TCSSParser parser(text);
    rules_.emplace_back(parser.ReadValues());
    std::vector<TCSSValue*> out;
    for (TCSSValue& v : rules_.back()->CompiledValues) out.push_back(&v);
    return out;
  }
  // Applies rules as a cascade: later lists outrank earlier ones.
  void Apply(TBaseElementStyle& s, std::initializer_list<const char16_t*> texts, bool add = false) {
    std::vector<TCSSValue*> all;
    for (const char16_t* t : texts) {
      std::vector<TCSSValue*> r = Rule(t);
      all.insert(all.end(), r.begin(), r.end());
    }
    s.ApplyValue(all, add);
  }
};

}  // namespace

TEST_F(ElementStyle, AutoLengthsAreAbsentButAutoMarginsStay) {
  TTestStyle s;
  Apply(s, {u"width: 10px; height: 5px; margin: auto", u"width: auto"});
  // The winning auto makes the property absent, so the getter answers auto.
  EXPECT_FALSE(s.PropertySet.Contains(cspWidth));
  EXPECT_TRUE(s.Width().GetAuto());
  EXPECT_EQ(s.Height().GetPixels(), 5);
  // A margin's auto means something of its own: it stays present.
  EXPECT_TRUE(s.PropertySet.Contains(cspMarginLeft));
  EXPECT_TRUE(s.MarginLeft().GetAuto());
  // Losers stay out of FProps: one value per property.
  int widths = 0;
  for (TCSSValue* v : s.FProps) widths += v->PropRec->ID == cspWidth;
  EXPECT_EQ(widths, 1);
  EXPECT_EQ(s.FindProp(cspWidth, false), nullptr);

  // Percentages refer to the base the property's record names.
  TTestStyle t;
  Apply(t, {u"width: 50%; top: 10%; margin-left: 10%; background-position-y: 50%"});
  EXPECT_EQ(t.Width().GetPixels(), 200);  // of the container's 400
  EXPECT_EQ(t.Top().GetPixels(), 30);     // of the container's 300
  EXPECT_EQ(t.MarginLeftPx(), 40);
  EXPECT_EQ(t.BackgroundPositionY().GetPixels(), 50);  // of the own height 100
  EXPECT_FLOAT_EQ(t.GetMeasurePx(cspWidth), 200.0f);
  t.ContainerWidth = 100;  // the base is live
  EXPECT_EQ(t.Width().GetPixels(), 50);
}

TEST_F(ElementStyle, BoxEdgesDefaultToZeroAndNeverClimb) {
  TTestStyle parent;
  Apply(parent, {u"margin: 7px; padding: 3px"});
  TTestStyle s(&parent);
  Apply(s, {u"margin: 1px 2px 3px"});
  EXPECT_EQ(s.MarginTopPx(), 1);
  EXPECT_EQ(s.MarginRightPx(), 2);
  EXPECT_EQ(s.MarginBottomPx(), 3);
  // Three values set no fourth side; an absent edge is 0, not auto, and
  // isn't taken from the parent.
  TMeasure left = s.MarginLeft();
  EXPECT_FALSE(left.GetAuto());
  EXPECT_TRUE(left.Flags.Contains(mfInitial));
  EXPECT_EQ(s.MarginLeftPx(), 0);
  EXPECT_EQ(s.PaddingTopPx(), 0);
  // "inherit" asks the parent.
  TTestStyle c(&parent);
  Apply(c, {u"padding-left: inherit"});
  EXPECT_EQ(c.PaddingLeftPx(), 3);
}

TEST_F(ElementStyle, EagerFieldsFollowTheirDeclarations) {
  TTestStyle s;
  Apply(s, {u"position: sticky; visibility: hidden; direction: rtl; clear: both; zoom: 150%; z-index: 1e9"});
  EXPECT_EQ(s.FPosition, epStatic);  // sticky isn't supported
  EXPECT_EQ(s.Visibility, cvHidden);
  EXPECT_EQ(s.CalculatedDirection, cdRTL);
  EXPECT_EQ(s.Clear, (TElementClears{ecLeft, ecRight}));
  EXPECT_FLOAT_EQ(s.Zoom, 1.5f);
  EXPECT_EQ(s.ZIndex, 100000000);  // limited

  struct Case {
    const char16_t* css;
    int32_t zindex;
  } zs[] = {{u"z-index: 2.5", 2}, {u"z-index: 3.5", 4}, {u"z-index: -7", -7}, {u"z-index: auto", 0}};
  for (const Case& c : zs) {
    TTestStyle z;
    Apply(z, {c.css});
    EXPECT_EQ(z.ZIndex, c.zindex) << UnicodeString(c.css).ToUtf8();
  }

  TTestStyle root;
  Apply(root, {u"display: inherit; white-space: pre"});
  EXPECT_EQ(root.FDisplay, dsInline);  // inherit at the root
  TTestStyle child(&root);
  child.Inherit(&root);
  EXPECT_EQ(child.WhiteSpace, wsPre);
  Apply(child, {u"display: inline-block", u"display: table-cell"});
  EXPECT_EQ(child.FDisplay, dsTableCell);
  root.FDisplay = dsFlex;
  TTestStyle grand(&root);
  Apply(grand, {u"display: inherit"});
  EXPECT_EQ(grand.FDisplay, dsFlex);

  // word-wrap and hyphens feed the one word-break field.
  struct Break {
    const char16_t* css;
    TCSSWordBreak result;
  } breaks[] = {{u"word-wrap: break-word", wbBreakWord},
                {u"hyphens: auto", wbHyphens},
                {u"word-break: keep-all", wbKeepAll},
                {u"hyphens: none", wbNormal}};
  for (const Break& b : breaks) {
    TTestStyle w;
    Apply(w, {b.css});
    EXPECT_EQ(w.CalculatedWordBreak, b.result) << UnicodeString(b.css).ToUtf8();
  }
}

TEST_F(ElementStyle, FontWeightSetsTheWeightBits) {
  // The parent is black italic; a weight replaces the weight bits only.
  struct Case {
    const char16_t* css;
    THtFontStyles bits;
  } cases[] = {
      {u"font-weight: 800", {hfsBlack, hfsItalic}},      {u"font-weight: 650", {hfsBold, hfsItalic}},
      {u"font-weight: 550", {hfsSemibold, hfsItalic}},   {u"font-weight: 500", {hfsItalic}},
      {u"font-weight: 400", {hfsItalic}},                {u"font-weight: 350", {hfsLight, hfsItalic}},
      {u"font-weight: 200", {hfsUltraLight, hfsItalic}}, {u"font-weight: bold", {hfsBold, hfsItalic}},
      {u"font-weight: bolder", {hfsBold, hfsItalic}},    {u"font-weight: lighter", {hfsLight, hfsItalic}},
      {u"font-weight: normal", {hfsItalic}},             {u"font-weight: inherit", {hfsBlack, hfsItalic}},
      {u"font-style: italic", {hfsBlack, hfsItalic}},
      {u"font-style: oblique", {hfsBlack}},  // oblique isn't italic
      {u"font-style: inherit", {hfsBlack, hfsItalic}},
  };
  TTestStyle parent;
  parent.CalculatedTextStyle = {hfsBlack, hfsItalic};
  for (const Case& c : cases) {
    TTestStyle s(&parent);
    s.Inherit(&parent);
    Apply(s, {c.css});
    EXPECT_EQ(s.CalculatedTextStyle.Bits(), c.bits.Bits()) << UnicodeString(c.css).ToUtf8();
  }
}

TEST_F(ElementStyle, TextDecorationBits) {
  TTestStyle parent;
  Apply(parent, {u"text-decoration: underline"});
  EXPECT_TRUE(parent.CalculatedTextStyle.Contains(hfsUnderline));
  TTestStyle s(&parent);
  s.Inherit(&parent);
  EXPECT_TRUE(s.CalculatedTextStyle.Contains(hfsUnderline));
  Apply(s, {u"text-decoration-line: none"});
  EXPECT_FALSE(s.CalculatedTextStyle.Contains(hfsUnderline));
  TTestStyle t(&parent);
  Apply(t, {u"text-decoration-line: line-through"});
  EXPECT_TRUE(t.CalculatedTextStyle.Contains(hfsStrikeOut));
  TTestStyle u(&parent);
  Apply(u, {u"text-decoration-line: inherit"});
  EXPECT_TRUE(u.CalculatedTextStyle.Contains(hfsUnderline));
}

TEST_F(ElementStyle, QuirksTablesStartAFreshTextStyle) {
  TTestStyle parent;
  parent.CalculatedTextStyle = {hfsBold};
  parent.CalculatedDirection = cdRTL;
  parent.WhiteSpace = wsNowrap;
  parent.Zoom = 2;
  TTestStyle table(&parent);
  table.Quirks = table.Table = true;
  table.Inherit(&parent);
  EXPECT_TRUE(table.CalculatedTextStyle.Empty());
  EXPECT_EQ(table.WhiteSpace, wsNormal);
  EXPECT_EQ(table.CalculatedDirection, cdRTL);  // direction still passes
  EXPECT_FLOAT_EQ(table.Zoom, 2.0f);
  TTestStyle standards(&parent);
  standards.Table = true;  // outside quirks mode a table inherits like anything else
  standards.Inherit(&parent);
  EXPECT_EQ(standards.CalculatedTextStyle, THtFontStyles{hfsBold});
  EXPECT_EQ(standards.WhiteSpace, wsNowrap);
}

TEST_F(ElementStyle, EnumerationGettersClimbOnlyForInheritedProperties) {
  TTestStyle parent;
  Apply(parent, {u"cursor: pointer; float: left; text-align: center; overflow: hidden auto"});
  TTestStyle s(&parent);
  Apply(s, {u"color: red"});
  EXPECT_EQ(s.Cursor(), ecPointer);        // inherited
  EXPECT_EQ(s.TextAlign(), thCenter);      // inherited
  EXPECT_EQ(s.Float(), fNone);             // not inherited: ordinal 0
  EXPECT_EQ(parent.OverflowX(), eoHidden);
  EXPECT_EQ(parent.OverflowY(), eoAuto);
  EXPECT_EQ(s.OverflowX(), eoVisible);
  TTestStyle t(&parent);
  Apply(t, {u"float: inherit; cursor: text"});
  EXPECT_EQ(t.Float(), fLeft);  // inherit climbs
  EXPECT_EQ(t.Cursor(), ecText);
  // Absent everywhere: the initial value.
  TTestStyle lone;
  EXPECT_EQ(lone.ListStyleType(), lstDisc);
  EXPECT_EQ(lone.BoxSizing(), bsContentBox);
  EXPECT_EQ(lone.WritingMode(), wmHorizontalTB);
  // A keyword the enumeration lacks never becomes a value.
  TTestStyle bad;
  Apply(bad, {u"float: right; float: sideways"});
  EXPECT_EQ(bad.Float(), fRight);
  // contenteditable has no enumeration; it reads its word.
  TTestStyle ed;
  Apply(ed, {u"contenteditable: true"});
  TTestStyle edChild(&ed);
  EXPECT_TRUE(edChild.ContentEditable());
  Apply(edChild, {u"contenteditable: false"});
  EXPECT_FALSE(edChild.ContentEditable());
  EXPECT_FALSE(lone.ContentEditable());
}

TEST_F(ElementStyle, ColoursAndNumbers) {
  TTestStyle root;
  Apply(root, {u"color: inherit; background-color: #00ff00"});
  // color: inherit at the root is the element's default text colour.
  EXPECT_EQ(root.TextColor(), 0xFF000001u);
  EXPECT_EQ(root.BackgroundColor(), 0xFF00FF00u);
  TTestStyle s(&root);
  Apply(s, {u"opacity: 0.5"});
  EXPECT_EQ(s.TextColor(), 0xFF000001u);
  EXPECT_EQ(s.BackgroundColor(), 0u);  // not inherited
  EXPECT_FLOAT_EQ(s.Opacity(), 0.5f);
  EXPECT_FLOAT_EQ(root.Opacity(), 1.0f);  // the default
  TTestStyle c(&s);
  Apply(c, {u"color: red; background-color: inherit; opacity: inherit; flex-grow: 2"});
  EXPECT_EQ(c.TextColor(), 0xFFFF0000u);
  EXPECT_EQ(c.TextDecorationColor(), 0xFFFF0000u);  // currentColor
  // inherit asks the parent, which has no background colour.
  uint32_t bg = 7;
  EXPECT_FALSE(c.GetColorProp(cspBackgroundColor, bg, false));
  EXPECT_EQ(c.BackgroundColor(), 0u);
  TTestStyle d(&root);
  Apply(d, {u"background-color: inherit"});
  EXPECT_TRUE(d.GetColorProp(cspBackgroundColor, bg, false));
  EXPECT_EQ(bg, 0xFF00FF00u);
  EXPECT_FLOAT_EQ(c.Opacity(), 0.5f);
  EXPECT_FLOAT_EQ(c.FlexGrow(), 2.0f);
  float n = 9;
  EXPECT_FALSE(c.GetNumberProp(cspFlexShrink, n, false));
  EXPECT_FLOAT_EQ(n, 9.0f);
}

TEST_F(ElementStyle, FontSizeRefersToTheParent) {
  TTestStyle root;
  root.IntFontSize = 20;
  TTestStyle s(&root);
  s.IntFontSize = 99;
  // Absent: the parent's size.
  EXPECT_EQ(s.FontSize().GetPixels(), 20);
  Apply(s, {u"font-size: 2em"});
  EXPECT_EQ(s.FontSize().GetPixels(), 40);
  TTestStyle p(&root);
  Apply(p, {u"font-size: 50%"});
  EXPECT_EQ(p.FontSize().GetPixels(), 10);
  // The root refers to itself.
  TTestStyle lone;
  lone.IntFontSize = 16;
  Apply(lone, {u"font-size: 150%"});
  EXPECT_EQ(lone.FontSize().GetPixels(), 24);
  TTestStyle m(&root);
  Apply(m, {u"font-size: medium"});
  EXPECT_EQ(m.FontSize().GetPixels(), 18);
  TTestStyle i(&s);
  Apply(i, {u"font-size: inherit"});
  EXPECT_EQ(i.FontSize().GetPixels(), 40);
}

TEST_F(ElementStyle, LineHeightDefaultsAndInlineFloor) {
  struct Case {
    const char16_t* css;
    bool isInline;
    bool quirks;
    float value;
    TMeasureUnit unit;
  } cases[] = {
      {u"line-height: 1", true, false, 1.2f, muNone},  // raised on an inline element
      {u"line-height: 1", false, false, 1.0f, muNone},
      {u"line-height: 1", true, true, 1.0f, muNone},  // no floor in quirks mode
      {u"line-height: 2", true, false, 2.0f, muNone},
      {u"line-height: normal", false, false, 1.2f, muNone},
      {u"line-height: 20px", false, false, 20.0f, muPX},
      {u"color: red", false, false, 1.2f, muNone},
  };
  for (const Case& c : cases) {
    TTestStyle s;
    s.Quirks = c.quirks;
    Apply(s, {c.css, c.isInline ? u"display: inline" : u"display: block"});
    TMeasure m = s.LineHeight();
    EXPECT_FLOAT_EQ(m.FValue, c.value) << UnicodeString(c.css).ToUtf8();
    EXPECT_EQ(m.FMUnit, c.unit) << UnicodeString(c.css).ToUtf8();
  }
  // A multiplier counts against the element's own font size.
  TTestStyle block;
  Apply(block, {u"display: block; line-height: 2"});
  TTestStyle span(&block);
  span.IntFontSize = 10;
  EXPECT_EQ(span.LineHeight().GetPixels(), 20);
  // In quirks mode an inline element takes nothing from a block ancestor.
  span.Quirks = true;
  EXPECT_FLOAT_EQ(span.LineHeight().FValue, 1.2f);
}

TEST_F(ElementStyle, FontFamilyIsTheFirstFamily) {
  struct Case {
    const char16_t* css;
    const char* family;
  } cases[] = {
      {u"font-family: Arial Black, sans-serif", "Arial Black"},
      {u"font-family: 'Times New Roman', serif", "Times New Roman"},
      {u"font-family: inherit", "Default"},
      {u"color: red", "Default"},
  };
  for (const Case& c : cases) {
    TTestStyle s;
    Apply(s, {c.css});
    EXPECT_EQ(s.FontFamily().ToUtf8(), c.family) << UnicodeString(c.css).ToUtf8();
  }
  TTestStyle parent;
  Apply(parent, {u"font-family: Verdana"});
  TTestStyle child(&parent);
  EXPECT_EQ(child.FontFamily().ToUtf8(), "Verdana");
}

TEST_F(ElementStyle, BorderSidesReadLonghandsShorthandsAndTheWholeBox) {
  TTestStyle s;
  Apply(s, {u"border: 1px solid red", u"border-top: 3px dashed blue", u"border-left-width: 5px"});
  EXPECT_EQ(s.BorderTopWidthPx(), 3);
  EXPECT_EQ(s.BorderTopStyle(), lsDashed);
  EXPECT_EQ(s.BorderTopColor(), 0xFF0000FFu);
  EXPECT_EQ(s.BorderRightWidthPx(), 1);
  EXPECT_EQ(s.BorderRightStyle(), lsSolid);
  EXPECT_EQ(s.BorderRightColor(), 0xFFFF0000u);
  EXPECT_EQ(s.BorderLeftWidthPx(), 5);
  EXPECT_TRUE(s.BorderPresent());
  EXPECT_TRUE(s.GeneralProps.Contains(cgBorder));

  // A width without a style draws nothing.
  TTestStyle w;
  Apply(w, {u"border-width: 4px"});
  EXPECT_EQ(w.BorderBottomStyle(), lsNone);
  EXPECT_EQ(w.BorderBottomWidthPx(), 0);
  EXPECT_FALSE(w.BorderPresent());
  EXPECT_FALSE(w.GeneralProps.Contains(cgBorder));
  // No border at all.
  TTestStyle none;
  EXPECT_EQ(none.BorderBottomStyle(), lsNone);
  EXPECT_EQ(none.BorderBottomWidthPx(), 0);
  // A side shorthand without a colour takes the text colour, without a
  // width the medium width.
  TTestStyle side;
  Apply(side, {u"color: #010203; border-bottom: double"});
  EXPECT_EQ(side.BorderBottomColor(), 0xFF010203u);
  EXPECT_EQ(side.BorderBottomWidthPx(), 2);
  EXPECT_EQ(side.BorderBottomStyle(), lsDouble);
  EXPECT_TRUE(side.GeneralProps.Contains(cgBorder));

  // Radii expand clockwise from the top left; the outline is its own.
  TTestStyle r;
  Apply(r, {u"border-radius: 1px 2px 3px 4px; outline: dotted red"});
  EXPECT_EQ(r.BorderTopLeftRadius().GetPixels(), 1);
  EXPECT_EQ(r.BorderTopRightRadius().GetPixels(), 2);
  EXPECT_EQ(r.BorderBottomRightRadius().GetPixels(), 3);
  EXPECT_EQ(r.BorderBottomLeftRadius().GetPixels(), 4);
  EXPECT_EQ(r.MaxBorderRadius(), 4);
  EXPECT_EQ(r.OutlineStyle(), lsDotted);
  EXPECT_EQ(r.OutlineColor(), 0xFFFF0000u);
  EXPECT_EQ(r.OutlineWidthPx(), 2);  // medium
  EXPECT_EQ(none.OutlineWidthPx(), 0);
  EXPECT_EQ(none.MaxBorderRadius(), 0);
}

TEST_F(ElementStyle, GeneralPropsSumUpTheBox) {
  struct Case {
    const char16_t* css;
    TCSSGeneralProperties general, relative;
  } cases[] = {
      {u"margin: 0", {}, {}},
      {u"margin-top: 1em", {cgMargin}, {cgMargin}},
      {u"margin-left: 10px", {cgMargin}, {}},
      {u"padding: 5%", {cgPadding}, {cgPadding}},
      {u"background-color: red", {cgBackground}, {}},
      {u"background-color: inherit", {}, {}},  // the parent has none
      {u"border-style: solid", {cgBorder}, {}},
      {u"border-style: none", {}, {}},
  };
  TTestStyle parent;
  for (const Case& c : cases) {
    TTestStyle s(&parent);
    Apply(s, {c.css});
    EXPECT_EQ(s.GeneralProps, c.general) << UnicodeString(c.css).ToUtf8();
    EXPECT_EQ(s.RelativeProps, c.relative) << UnicodeString(c.css).ToUtf8();
  }
  parent.GeneralProps = {cgBackground};
  TTestStyle s(&parent);
  Apply(s, {u"background-color: inherit"});
  EXPECT_TRUE(s.GeneralProps.Contains(cgBackground));
}

TEST_F(ElementStyle, ElementBackgroundAndAnimationWorkGoesThroughTheSeams) {
  TTestStyle s;
  Apply(s, {u"counter-reset: a 2 b; counter-increment: c; background-color: red; transition: width 1s; "
            u"animation-name: spin; color: blue"});
  EXPECT_EQ(s.Log,
            "reset a 2;reset b 0;increment c;background background-color;animation transition;"
            "animation animation-name;");
  // The operations a prepared value runs are known once a style exists.
  std::vector<TCSSValue*> v = Rule(u"z-index: 1; display: block; width: 1px");
  EXPECT_TRUE(v[0]->Apply == TCSSValueProc(&TBaseElementStyle::ApplyValueCaller));
  EXPECT_TRUE(v[1]->Apply == TCSSValueProc(&TBaseElementStyle::DoApplyDisplay));
  EXPECT_TRUE(v[2]->Apply == nullptr);  // read on demand
}

TEST_F(ElementStyle, AddedValuesOverlayAndDeletedOnesGo) {
  TTestStyle s;
  Apply(s, {u"width: 10px; color: red"});
  Apply(s, {u"width: 20px"}, true);
  EXPECT_EQ(s.Width().GetPixels(), 20);
  EXPECT_EQ(s.FProps.size(), 3u);
  EXPECT_EQ(s.TextColor(), 0xFFFF0000u);
  s.DeleteProps({cspWidth});
  EXPECT_TRUE(s.Width().GetAuto());
  EXPECT_EQ(s.FProps.size(), 1u);
  s.Reset(false);
  EXPECT_TRUE(s.FProps.empty());
  EXPECT_TRUE(s.PropertySet.Empty());
  EXPECT_FLOAT_EQ(s.Zoom, 1.0f);
}

TEST_F(ElementStyle, StyleChangedTellsRepaintFromLayout) {
  auto changed = [&](const char16_t* before, const char16_t* after, bool& layout, bool& repaint) {
    TTestStyle s;
    Apply(s, {before});
    s.SaveLastProps();
    s.Reset(false);
    Apply(s, {after});
    layout = repaint = false;
    return s.StyleChanged(layout, repaint);
  };
  struct Case {
    const char16_t* before;
    const char16_t* after;
    bool changed, layout;
  } cases[] = {
      {u"color: red; width: 10px", u"color: red; width: 10px", false, false},
      {u"color: red; width: 10px", u"color: blue; width: 10px", true, false},
      {u"color: red; width: 10px", u"color: red; width: 11px", true, true},
      {u"width: 10px", u"width: 10%", true, true},  // same number, other unit
      {u"width: calc(10px + 1px)", u"width: calc(10px + 1px)", false, false},
      {u"width: calc(10px + 1px)", u"width: calc(10px + 2px)", true, true},
      {u"opacity: 0.5", u"opacity: 0.5", false, false},
      {u"opacity: 0.5", u"opacity: 0.6", true, false},
      {u"display: block", u"display: inline", true, true},
      {u"float: left", u"float: right", true, false},
      {u"color: red", u"color: red; background-color: blue", true, false},  // no snapshot
      {u"color: red; display: block", u"color: red", true, true},          // property gone
      {u"box-shadow: 1px 1px red", u"box-shadow: 1px 1px red", true, false},  // another value
  };
  for (const Case& c : cases) {
    bool layout, repaint;
    SCOPED_TRACE(UnicodeString(c.before).ToUtf8() + " -> " + UnicodeString(c.after).ToUtf8());
    EXPECT_EQ(changed(c.before, c.after, layout, repaint), c.changed);
    EXPECT_EQ(repaint, c.changed);
    EXPECT_EQ(layout, c.layout);
  }
  // The same complex value is no change.
  TTestStyle s;
  Apply(s, {u"box-shadow: 1px 1px red"});
  s.SaveLastProps();
  bool layout = false, repaint = false;
  EXPECT_FALSE(s.StyleChanged(layout, repaint));
  // A style that lost every value has changed.
  s.Reset(false);
  EXPECT_TRUE(s.StyleChanged(layout, repaint));
  s.Reset(true);
  layout = repaint = false;
  EXPECT_FALSE(s.StyleChanged(layout, repaint));
}

TEST_F(ElementStyle, SnapshotsCanBeRewrittenForTransitions) {
  TTestStyle parent;
  Apply(parent, {u"color: red; opacity: 0.25"});
  parent.SaveLastProps();
  uint32_t c = 0;
  EXPECT_TRUE(parent.GetLastColorProp(cspColor, c, false));
  EXPECT_EQ(c, 0xFFFF0000u);
  parent.SetLastPropValue(u"color", Variant(int64_t(0xFF00FF00u)));
  EXPECT_TRUE(parent.GetLastColorProp(cspColor, c, false));
  EXPECT_EQ(c, 0xFF00FF00u);
  TTestStyle child(&parent);
  float n = 0;
  EXPECT_FALSE(child.GetLastNumberProp(cspOpacity, n, false));
  EXPECT_TRUE(child.GetLastNumberProp(cspOpacity, n, true));
  EXPECT_FLOAT_EQ(n, 0.25f);
  // A property the style doesn't have gets no snapshot.
  parent.SetLastPropValue(u"width", Variant(5.0));
  EXPECT_EQ(parent.FLastProps.size(), 2u);
}
