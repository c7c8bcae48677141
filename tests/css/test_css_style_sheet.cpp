// Style sheets: what Parse collects, and the sheet written back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "norvane/css/css_style_sheet.h"

using namespace norvane;

TEST(CSSStyleSheet, ParseCollects) {
  TCSSStyleSheet sheet;
  sheet.URL = u"http://h/css/main.css";
  sheet.Parse(
      u"@import url(base.css) screen; @import \"/abs.css\";"
      u"a {} b { --main-color: red } div.x#y:hover { color: red }"
      u"@font-face { font-family: F; src: url(f.woff) }"
      u"@keyframes k { from { top: 0 } 50% { top: 5px } to { top: 10px } 110% { top: 1px } }"
      u"@media print { p { color: black } } @media (max-width: 600px) { q { x: 1 } }",
      -1, true);
  // "a {}" is dropped; the rest stay, the font face among them.
  ASSERT_EQ(sheet.SectionCount(), 5);
  EXPECT_TRUE(sheet.GetSection(2)->FontFace);
  EXPECT_EQ(sheet.GetSection(0)->URL, u"http://h/css/main.css");
  EXPECT_TRUE(sheet.GetSection(0)->Custom);
  // Weights and the order of the sheet.
  TCSSSelector* sel = sheet.GetSection(1)->Selectors->GetSelector(0);
  EXPECT_EQ(sel->Weight, 1u + 16 + 256 + 16);
  EXPECT_EQ(sheet.GetSection(0)->Selectors->GetSelector(0)->Order, 10001);
  EXPECT_EQ(sel->Order, 10002);
  // Variables lose their dashes.
  TObject* var = nullptr;
  ASSERT_TRUE(sheet.Variables->Find(u"main-color", var));
  EXPECT_EQ(static_cast<TCSSVariable*>(var)->Tokens[0].Name, u"red");
  // Imports are combined with the sheet's address.
  ASSERT_EQ(sheet.Imports()->Count(), 2);
  EXPECT_EQ(sheet.Imports()->Strings(0).ToUtf8(), "http://h/css/base.css");
  EXPECT_EQ(sheet.Imports()->Strings(1).ToUtf8(), "http://h/abs.css");
  // Key frames: 110% is ignored.
  std::vector<int32_t> steps;
  sheet.GetAnimationSteps(u"k", steps);
  EXPECT_EQ(steps, (std::vector<int32_t>{0, 50, 100}));
  TCSSKeyFrameList* frames = sheet.KeyFrames->GetKeyFrameList(u"k");
  ASSERT_TRUE(frames);
  EXPECT_EQ(frames->FindSection(-1), frames->GetSection(0));
  EXPECT_EQ(frames->FindSection(30), frames->GetSection(1));
  EXPECT_EQ(frames->FindSection(200), frames->GetSection(2));
  sheet.GetAnimationSteps(u"none", steps);
  EXPECT_TRUE(steps.empty());
  // Media sets, in reverse order of the text.
  ASSERT_EQ(sheet.MediaSets.Count(), 2);
  EXPECT_TRUE(sheet.HasMediaQueries);
  EXPECT_TRUE(sheet.HasMediaSizeQueries);
  auto* widths = static_cast<TCSSMediaSet*>(sheet.MediaSets.Get(0));
  EXPECT_EQ(widths->MaxWidth, 600);
  EXPECT_TRUE(widths->SizeQuery);
  // Testing the sets twice with the same medium changes nothing the second time.
  EXPECT_TRUE(sheet.TestMediaSets(cmPrint, 1000, 0));
  EXPECT_FALSE(sheet.TestMediaSets(cmPrint, 1000, 0));
  EXPECT_TRUE(widths->Disabled);
  EXPECT_FALSE(static_cast<TCSSMediaSet*>(sheet.MediaSets.Get(1))->Disabled);
  EXPECT_TRUE(sheet.TestMediaSets(cmScreen, 500, 0));
  EXPECT_FALSE(widths->Disabled);
  EXPECT_EQ(sheet.ValuebyName(u"--MAIN-COLOR")[0].Name, u"red");

  sheet.Clear();
  EXPECT_EQ(sheet.SectionCount(), 0);
  EXPECT_EQ(sheet.MediaSets.Count(), 0);
  EXPECT_FALSE(sheet.KeyFrames->GetKeyFrameList(u"k"));
}

TEST(CSSStyleSheet, WeightsAndInlineValues) {
  TCSSStyleSheet sheet;
  sheet.Parse(u"a b, * { x: 1 }", 5);
  EXPECT_EQ(sheet.GetSection(0)->Selectors->GetSelector(0)->Weight, 5u);
  sheet.Parse(u"   ");
  EXPECT_EQ(sheet.SectionCount(), 1);

  TCSSStyleSheet inl;
  inl.ParseValues(u"");
  EXPECT_EQ(inl.SectionCount(), 0);
  inl.ParseValues(u"color: red; margin: 0 1px");
  ASSERT_EQ(inl.SectionCount(), 1);
  TCSSSection* s = inl.GetSection(0);
  EXPECT_EQ(s->Selectors->GetSelector(0)->Tag, u"*");
  EXPECT_EQ(s->Selectors->GetSelector(0)->Weight, 0u);
  EXPECT_EQ(s->CompiledValues.size(), 5u);
  EXPECT_EQ(inl.AsInlineString().ToUtf8(), "color: red; margin: 0 1px");
}

TEST(CSSStyleSheet, WritingBack) {
  TCSSStyleSheet sheet;
  sheet.Parse(
      u"@import url(a.css) print;\n"
      u"a{color:red}\n"
      u"@media screen and (max-width: 100px) { b{margin:0 auto} c{x:1} }\n"
      u"d{y:2!important}\n"
      u"@keyframes spin { from, to { top: 0 } 50% { top: 5px } }\n");
  EXPECT_EQ(sheet.AsString().ToUtf8(),
            "@import url('a.css') print;\n"
            "a {\n  color: red;\n}\n"
            "@media screen and (max-width: 100px) {\n"
            "  b {\n    margin: 0 auto;\n  }\n"
            "  c {\n    x: 1;\n  }\n"
            "}\n"
            "d {\n  y: 2 !important;\n}\n"
            "@keyframes spin {\n"
            "  from, to {\n    top: 0;\n  }\n"
            "  50% {\n    top: 5px;\n  }\n"
            "}\n");
  EXPECT_EQ(sheet.Minify().ToUtf8(),
            "@import url('a.css') print;a{color:red}@media screen and (max-width: 100px){b{margin:0 auto}c{x:1}}"
            "d{y:2!important}@keyframes spin{from,to{top:0}50%{top:5px}}");
  // Both read back to the same sheet.
  for (const UnicodeString& text : {sheet.AsString(), sheet.Minify()}) {
    TCSSStyleSheet again;
    again.Parse(text);
    EXPECT_EQ(again.AsString(), sheet.AsString());
  }
}

TEST(CSSStyleSheet, WrittenTextReadsBackTheSame) {
  // Names that would read as something else are escaped: a leading digit,
  // an "@" that would start an at-rule, a quote; arguments cut off by the
  // end of the text are closed.
  const char16_t* texts[] = {
      u"\\31 0 { x: \\31 2 }",
      u"\\@media { x: 1 }",
      u"a @x, b { x: 1 }",
      u"a \"q'\" { x: 1 }",
      u"a:x(b(c { x: 1 }",
      u"@import \\31 x; a { x: '\\'' url(a'b\") }",
      u"#a\\:b.c\\.d { x: a\\ b }",
      u"50%, 1e3 { x: 5 % }",
  };
  for (const char16_t* t : texts) {
    TCSSStyleSheet sheet;
    sheet.Parse(t);
    const UnicodeString written = sheet.AsString();
    EXPECT_FALSE(written.IsEmpty()) << UnicodeString(t).ToUtf8();
    for (const UnicodeString& text : {written, sheet.Minify()}) {
      TCSSStyleSheet again;
      again.Parse(text);
      EXPECT_EQ(again.AsString().ToUtf8(), written.ToUtf8()) << UnicodeString(t).ToUtf8();
    }
  }
}
