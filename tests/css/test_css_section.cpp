// Declarations and their compilation into longhands.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "norvane/css/css_parser.h"
#include "norvane/css/css_section.h"

using namespace norvane;

namespace {

// The rule of a text with one rule; the parser's section is taken over.
std::unique_ptr<TCSSSection> Rule(const char16_t* text) {
  TCSSParser p(text);
  std::unique_ptr<TCSSSection> s;
  while (p.NextSection())
    if (p.Section()->Selectors->Count() || !p.Section()->Values.empty()) s.reset(p.TakeSection());
  return s;
}

std::string Text(const TCSSTokens& t) {
  std::string out;
  for (const TCSSToken& k : t) {
    if (!out.empty()) out += ' ';
    out += (k.CType == ctHash ? "#" : "") + k.Name.ToUtf8();
  }
  return out;
}

// "name=tok tok" for each compiled value, "!" after an important one.
std::vector<std::string> Compiled(const TCSSSection& s) {
  std::vector<std::string> r;
  for (const TCSSValue& v : s.CompiledValues) r.push_back(v.Name.ToUtf8() + "=" + Text(v.Tokens) + (v.Important ? "!" : ""));
  return r;
}

using Lines = std::vector<std::string>;

}  // namespace

TEST(CSSSection, FourSidedShorthands) {
  struct Case {
    const char16_t* css;
    Lines compiled;
  } cases[] = {
      {u"a{margin:1px}", {"margin-top=1px", "margin-right=1px", "margin-bottom=1px", "margin-left=1px"}},
      // Two values: the walk restarts at the first for the second pair.
      {u"a{margin:1px 2px}", {"margin-top=1px", "margin-right=2px", "margin-bottom=1px", "margin-left=2px"}},
      // Three values set nothing for the fourth side.
      {u"a{margin:1px 2px 3px}", {"margin-top=1px", "margin-right=2px", "margin-bottom=3px"}},
      {u"a{padding:1px 2px 3px 4px 5px}",
       {"padding-top=1px", "padding-right=2px", "padding-bottom=3px", "padding-left=4px"}},
      // A function is one value with everything up to its ")".
      {u"a{margin:calc(1px + (2px * 3)) auto}",
       {"margin-top=calc ( 1px + ( 2px * 3 ) )", "margin-right=auto", "margin-bottom=calc ( 1px + ( 2px * 3 ) )",
        "margin-left=auto"}},
      // Three tokens with a delimiter in the middle stay whole.
      {u"a{margin:1px + 2px}", {"margin=1px + 2px"}},
      {u"a{border-color:red #00f}",
       {"border-top-color=red", "border-right-color=#00f", "border-bottom-color=red", "border-left-color=#00f"}},
      // A side that can't stand is dropped alone.
      {u"a{border-style:solid bogus}", {"border-top-style=solid", "border-bottom-style=solid"}},
      // border-radius goes round the corners.
      {u"a{border-radius:1px 2px 3px 4px}",
       {"border-top-left-radius=1px", "border-top-right-radius=2px", "border-bottom-right-radius=3px",
        "border-bottom-left-radius=4px"}},
      {u"a{margin:inherit!important}",
       {"margin-top=inherit!", "margin-right=inherit!", "margin-bottom=inherit!", "margin-left=inherit!"}},
      // Two sub-properties: the second gets the first when alone.
      {u"a{overflow:hidden}", {"overflow-x=hidden", "overflow-y=hidden"}},
      {u"a{overflow:hidden scroll}", {"overflow-x=hidden", "overflow-y=scroll"}},
      {u"a{background-position:10px 20%}", {"background-position-x=10px", "background-position-y=20%"}},
  };
  for (const Case& c : cases) {
    auto s = Rule(c.css);
    ASSERT_TRUE(s) << UnicodeString(c.css).ToUtf8();
    EXPECT_EQ(Compiled(*s), c.compiled) << UnicodeString(c.css).ToUtf8();
  }
}

TEST(CSSSection, FontBorderDecorationShorthands) {
  struct Case {
    const char16_t* css;
    Lines compiled;
  } cases[] = {
      {u"a{font:italic bold 12px/30px Arial}",
       {"font=italic bold 12px / 30px Arial", "font-style=italic", "font-weight=bold", "font-size=12px",
        "line-height=30px", "font-family=Arial"}},
      // Style and weight not written are normal.
      {u"a{font:12px Arial}",
       {"font=12px Arial", "font-size=12px", "font-family=Arial", "font-style=normal", "font-weight=normal"}},
      // A family list stays one value; strings are families too.
      {u"a{font:bold 1em \"Times New Roman\", serif}",
       {"font=bold 1em Times New Roman , serif", "font-weight=bold", "font-size=1em",
        "font-family=Times New Roman , serif", "font-style=normal"}},
      // Only the first style word is a style: "normal" is both.
      {u"a{font:normal normal 10px x}",
       {"font=normal normal 10px x", "font-style=normal", "font-weight=normal", "font-size=10px", "font-family=x"}},
      {u"a{border:1px solid red}",
       {"border=1px solid red", "border-width=1px", "border-top-style=solid", "border-right-style=solid",
        "border-bottom-style=solid", "border-left-style=solid", "border-color=red"}},
      {u"a{border:thick rgb(1,2,3)}",
       {"border=thick rgb ( 1 , 2 , 3 )", "border-width=thick", "border-color=rgb ( 1 , 2 , 3 )"}},
      // A word that is no colour fails as a colour.
      {u"a{border:dashed nocolour}",
       {"border=dashed nocolour", "border-top-style=dashed", "border-right-style=dashed",
        "border-bottom-style=dashed", "border-left-style=dashed"}},
      {u"a{text-decoration:underline dotted #f00}",
       {"text-decoration=underline dotted #f00", "text-decoration-line=underline", "text-decoration-style=dotted",
        "text-decoration-color=#f00"}},
      {u"a{text-decoration:inherit}", {"text-decoration=inherit", "text-decoration-line=inherit"}},
      // Other shorthands with sub-properties take what fits, in order.
      {u"a{flex:1 0 10px}", {"flex=1 0 10px", "flex-grow=1", "flex-shrink=0", "flex-basis=10px"}},
      {u"a{outline:dotted blue 2px}",
       {"outline=dotted blue 2px", "outline-style=dotted", "outline-color=blue", "outline-width=2px"}},
      {u"a{outline:blue}", {"outline=blue", "outline-color=blue"}},
      {u"a{list-style:square inside}", {"list-style=square inside", "list-style-type=square"}},
  };
  for (const Case& c : cases) {
    auto s = Rule(c.css);
    ASSERT_TRUE(s) << UnicodeString(c.css).ToUtf8();
    EXPECT_EQ(Compiled(*s), c.compiled) << UnicodeString(c.css).ToUtf8();
  }
}

TEST(CSSSection, BackgroundShorthand) {
  struct Case {
    const char16_t* css;
    Lines compiled;
  } cases[] = {
      {u"a{background:url(a.png) no-repeat center}",
       {"background=a.png no-repeat center", "background-image=a.png", "background-repeat=no-repeat",
        "background-position-x=center"}},
      // Whatever follows a gradient belongs to it.
      {u"a{background:linear-gradient(red, blue) no-repeat}",
       {"background=linear-gradient ( red , blue ) no-repeat",
        "background-image=linear-gradient ( red , blue ) no-repeat"}},
      {u"a{background:none}", {"background=none", "background-image=none", "background-color=none"}},
      {u"a{background:#fff}", {"background=#fff", "background-color=#fff", "background-image=none"}},
      {u"a{background:red fixed 10px 20px}",
       {"background=red fixed 10px 20px", "background-color=red", "background-attachment=fixed",
        "background-position-x=10px", "background-position-y=20px", "background-image=none"}},
      // "center" is x until x is set, then y.
      {u"a{background:left center}",
       {"background=left center", "background-position-x=left", "background-position-y=center",
        "background-image=none"}},
      {u"a{background:rgba(0,0,0,.5) url(x)}",
       {"background=rgba ( 0 , 0 , 0 , .5 ) x", "background-color=rgba ( 0 , 0 , 0 , .5 ) x",
        "background-image=none"}},
      // Other functions are skipped with all behind them.
      {u"a{background:-webkit-gradient(linear) red}",
       {"background=-webkit-gradient ( linear ) red", "background-image=none"}},
  };
  for (const Case& c : cases) {
    auto s = Rule(c.css);
    ASSERT_TRUE(s) << UnicodeString(c.css).ToUtf8();
    EXPECT_EQ(Compiled(*s), c.compiled) << UnicodeString(c.css).ToUtf8();
  }
}

TEST(CSSSection, PreparedValues) {
  auto s = Rule(
      u"a { color: #ff0000; background-color: rgb(0, 128, 255); display: inline-block; width: 50%;"
      u" line-height: 1.5; font-size: medium; height: calc(100% - 20px); border-radius: 4px / 8px;"
      u" float: inherit; font-weight: 650; z-index: 3; -webkit-foo: 1; foo: 1 }");
  ASSERT_TRUE(s);
  ASSERT_EQ(s->Values.size(), 13u);
  EXPECT_EQ(s->ItembyName(u"color")->Tokens[0].Color, 0xFFFF0000u);
  EXPECT_EQ(s->ItembyName(u"background-color")->Tokens[0].Color, 0xFF0080FFu);
  TCSSValue* display = s->ItembyName(u"DISPLAY");
  EXPECT_EQ(display->Tokens[0].Color, uint32_t(dsInlineBlock));
  EXPECT_EQ(display->ApplyKind, akDisplay);
  EXPECT_EQ(display->PropRec->ID, cspDisplay);
  TMeasure& w = s->ItembyName(u"width")->Measure.Value1;
  EXPECT_EQ(w.FMUnit, muPercent);
  EXPECT_FLOAT_EQ(w.FValue, 50);
  EXPECT_TRUE(s->ItembyName(u"width")->Measure.Value2.Flags.Contains(mfInitial));
  // A unitless line height is a multiplier.
  EXPECT_EQ(s->ItembyName(u"line-height")->Measure.Value1.FMUnit, muNone);
  // "medium" is a border width except for the font size.
  EXPECT_FLOAT_EQ(s->ItembyName(u"font-size")->Measure.Value1.FValue, 18);
  // calc() keeps its tokens in the rule and is evaluated on demand.
  TMeasure h = s->ItembyName(u"height")->Measure.Value1;
  ASSERT_NE(h.Calc, nullptr);
  float parent = 200;
  h.Parent = &parent;
  EXPECT_EQ(h.GetPixels(), 180);
  TCSSValue* radius = s->ItembyName(u"border-radius");
  EXPECT_FLOAT_EQ(radius->Measure.Value1.FValue, 4);
  EXPECT_FLOAT_EQ(radius->Measure.Value2.FValue, 8);
  TCSSValue* fl = s->ItembyName(u"float");
  EXPECT_TRUE(fl->IsInherit);
  EXPECT_EQ(fl->Tokens[0].Color, CSSInheritMarker);
  // Numeric weights aren't keywords and still stand, with their number.
  EXPECT_FLOAT_EQ(s->ItembyName(u"font-weight")->Tokens[0].AsFloat, 650);
  EXPECT_EQ(s->ItembyName(u"font-weight")->ApplyKind, akFontWeight);
  // z-index is applied by the style; width is read on demand.
  EXPECT_EQ(s->ItembyName(u"z-index")->ApplyKind, akValue);
  EXPECT_EQ(s->ItembyName(u"width")->ApplyKind, akNone);
  EXPECT_TRUE(s->ItembyName(u"-webkit-foo")->VendorPrefixed);
  EXPECT_EQ(s->ItembyName(u"foo")->PropRec->ID, cspUnknown);
  // Vendor-prefixed and unknown properties stay out of the compiled values.
  EXPECT_TRUE(s->CompiledValuebyName(u"foo").Empty());
  EXPECT_TRUE(s->CompiledValuebyName(u"-webkit-foo").Empty());
  EXPECT_EQ(Text(s->ValuebyName(u"FOO")), "1");
  // The radius "4px / 8px" is cut into three corner values, the slash one
  // of them.
  EXPECT_EQ(s->CompiledValues.size(), 13u);
}

TEST(CSSSection, TextDecorationMaskAndHash) {
  auto s = Rule(u"a{text-decoration:line-through}");
  ASSERT_TRUE(s);
  EXPECT_EQ(s->Values[0].Tokens[0].Color, 8u);
  auto u = Rule(u"a{text-decoration:underline}");
  EXPECT_EQ(u->Values[0].Tokens[0].Color, 4u);
  auto tok = [](const char16_t* name) {
    TCSSToken t;
    t.Name = UnicodeString(name);
    return t;
  };
  TCSSValue v;
  v.Tokens.Add(tok(u"a"));
  v.Tokens.Add(tok(u"bc"));
  TCSSValue w;
  w.Tokens.Add(tok(u"bc"));
  w.Tokens.Add(tok(u"a"));
  // The hash doesn't depend on the order of the tokens; an empty value is 0.
  EXPECT_EQ(v.Hash(), w.Hash());
  EXPECT_NE(v.Hash(), 0u);
  EXPECT_EQ(TCSSValue().Hash(), 0u);
}

TEST(CSSSection, WritingBack) {
  auto s = Rule(
      u"ul > li.a:hover, #x { color: #FFF; font-family: \"Times New Roman\", serif !important;"
      u" background: url(\"a b.png\") no-repeat; width: calc(100% - 2em); content: 'it''s' }");
  ASSERT_TRUE(s);
  EXPECT_EQ(s->AsString().ToUtf8(),
            "ul > li.a:hover, #x {\n"
            "  color: #FFF;\n"
            "  font-family: 'Times New Roman', serif !important;\n"
            "  background: url('a b.png') no-repeat;\n"
            "  width: calc(100% - 2em);\n"
            "  content: 'it' 's';\n"
            "}\n");
  EXPECT_EQ(s->Minify().ToUtf8(),
            "ul > li.a:hover,#x{color:#FFF;font-family:'Times New Roman',serif!important;"
            "background:url('a b.png')no-repeat;width:calc(100% - 2em);content:'it''s'}");
  EXPECT_EQ(s->AsInlineString().ToUtf8(),
            "color: #FFF; font-family: 'Times New Roman', serif !important; background: url('a b.png') no-repeat;"
            " width: calc(100% - 2em); content: 'it' 's'");
  EXPECT_EQ(CSSValuetoString(s->Values[0]).ToUtf8(), "color: #FFF;");
  EXPECT_EQ(CSSValuetoString(s->Values[1]).ToUtf8(), "font-family:'Times New Roman', serif!important;");
  // Names and strings are escaped so that they read back the same.
  auto e = Rule(u"a{x: a\\ b 'q\\'x' url(\"it's\")}");
  EXPECT_EQ(e->AsInlineString().ToUtf8(), "x: a\\ b 'q\\'x' url(\"it's\")");
}
