// The pull parser: rules, recovery from what it doesn't understand, at-rules.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "norvane/css/css_parser.h"

using namespace norvane;

namespace {

// Each rule the parser yields, as "selectors{name:tok tok;...}" over its
// Values, with "!" after an important declaration.
std::vector<std::string> Rules(const char16_t* text) {
  std::vector<std::string> out;
  TCSSParser p(text);
  while (p.NextSection()) {
    const TCSSSection* s = p.Section();
    std::string r;
    for (int32_t i = 0; i < s->Selectors->Count(); ++i) {
      if (i) r += ",";
      r += s->Selectors->GetSelector(i)->AsString().ToUtf8();
    }
    r += "{";
    for (const TCSSValue& v : s->Values) {
      r += v.NameToken.Name.ToUtf8() + ":";
      for (int32_t k = 0; k < v.Tokens.Length(); ++k) r += (k ? " " : "") + v.Tokens[k].Name.ToUtf8();
      r += v.Important ? "!;" : ";";
    }
    r += "}";
    out.push_back(r);
  }
  return out;
}

using Lines = std::vector<std::string>;

}  // namespace

TEST(CSSParser, DeclarationsWinAndDrop) {
  struct Case {
    const char16_t* css;
    Lines rules;
  } cases[] = {
      // The last valid declaration wins; an invalid one leaves the earlier.
      {u"a { color: red; color: nosuchcolor }", {"a{color:red;}"}},
      {u"a { display: inline; display: bogus }", {"a{display:inline;}"}},
      // Whatever the flags say: a plain declaration after an important one wins.
      {u"a { color: red !important; color: blue }", {"a{color:blue;}"}},
      {u"a { color: blue; color: red ! IMPORTANT }", {"a{color:red!;}"}},
      // "!" anywhere marks the value; a "!" before anything else is lost.
      {u"a { width: !important 10px; x: 1 !ie }", {"a{width:10px!;x:1 ie;}"}},
      // Names compare exactly: both stay.
      {u"a { COLOR: red; color: blue }", {"a{COLOR:red;color:blue;}"}},
      // "*zoom" is dropped on purpose; "_zoom" is read as an unknown property.
      {u"a { *zoom: 1; _zoom: 1; color: red }", {"a{_zoom:1;color:red;}"}},
      // No colon, no value, a nested block: dropped with as little as possible.
      {u"a { color red; margin: ; width: 1px }", {"a{width:1px;}"}},
      {u"a { b: c { d: e } f: g } h { i: j }", {"a{}", "h{i:j;}"}},
      // Comments anywhere.
      {u"/*x*/a/*y*/{/*z*/color/*1*/:/*2*/red/*3*/;/*4*/}/*5*/", {"a{color:red;}"}},
  };
  for (const Case& c : cases) EXPECT_EQ(Rules(c.css), c.rules) << UnicodeString(c.css).ToUtf8();
}

TEST(CSSParser, RulesAndJunk) {
  struct Case {
    const char16_t* css;
    Lines rules;
  } cases[] = {
      {u"", {}},
      {u"   \n\t ", {}},
      {u"a, b > c, .d:hover::before {x:1}", {"a,b > c,.d:hover::before{x:1;}"}},
      // Junk between rules is skipped up to the next "}" and one token more.
      {u"a{x:1} ; junk } b{y:2}", {"a{x:1;}", "b{y:2;}"}},
      {u"a{x:1} 'str' b{y:2} c{z:3}", {"a{x:1;}", "c{z:3;}"}},
      // "<!--" is two delimiters and the identifier "--".
      {u"<!-- a{x:1} -->", {"-- a{x:1;}", "--{}"}},
      // A stray "}" ends a block that isn't there.
      {u"} a{x:1}", {"a{x:1;}"}},
      // Blocks left open at the end of the text keep what they read.
      {u"a{x:1; y:2", {"a{x:1;y:2;}"}},
      {u"a{x:1; y:", {"a{x:1;}"}},
      {u"a{x", {"a{}"}},
      {u"a, b", {"a,b{}"}},
      // A rule without selectors still has its declarations.
      {u"{x:1}", {"{x:1;}"}},
      // Attribute and pseudo selectors with their arguments.
      {u"input[type=\"text\" i], li:nth-child(2n+1), a:not(.b) {x:1}",
       {"input[type='text i'],li:nth-child(2n+1),a:not(.b){x:1;}"}},
  };
  for (const Case& c : cases) EXPECT_EQ(Rules(c.css), c.rules) << UnicodeString(c.css).ToUtf8();
}

TEST(CSSParser, AtRules) {
  struct Case {
    const char16_t* css;
    Lines rules;
  } cases[] = {
      {u"@charset \"utf-8\"; a{x:1}", {"a{x:1;}"}},
      {u"@font-face { font-family: F; src: url(f.woff) }", {"@font-face{font-family:F;src:f.woff;}"}},
      {u"@page { margin: 1cm }", {"@page{margin:1cm;}"}},
      // Unknown at-rules skip to their first "}": the second rule survives and
      // the last "}" is taken for the end of a block.
      {u"@supports (x: y) { a { color: red } b { color: blue } }", {"b{color:blue;}"}},
      {u"@namespace svg url(x); a{x:1}", {}},
      {u"@import url(a.css); a{x:1}", {"a{x:1;}"}},
      {u"@media print { a{x:1} } b{y:2}", {"a{x:1;}", "b{y:2;}"}},
      {u"@keyframes k { from { top: 0 } 50% { top: 5px } to { top: 10px } }",
       {"from{top:0;}", "50%{top:5px;}", "to{top:10px;}"}},
  };
  for (const Case& c : cases) EXPECT_EQ(Rules(c.css), c.rules) << UnicodeString(c.css).ToUtf8();
}

TEST(CSSParser, MediaSets) {
  struct Case {
    const char16_t* css;
    TCSSMediaFlags media;
    int64_t minWidth, maxWidth, minDevice, maxDevice;
    const char* text;
  } cases[] = {
      {u"@media print and (min-width: 100px) { a{x:1} }", {cmPrint}, 100, 0, 0, 0, "print"},
      // A feature other than the widths names no medium: the block never applies.
      {u"@media (orientation: landscape) { a{x:1} }", {cmUnknown}, 0, 0, 0, 0, "orientation"},
      // Width limits alone are for every medium.
      {u"@media (min-width: 40em) and (max-width: 1200.6px) { a{x:1} }", {cmAll}, 40, 1201, 0, 0, ""},
      {u"@media not print { a{x:1} }", {cmPrint}, 0, 0, 0, 0, "not print"},
      {u"@media only screen, TV and (max-device-width: 800px) and (min-device-width:3px) { a{x:1} }",
       {cmScreen, cmTV},
       0,
       0,
       3,
       800,
       "screen TV"},
      {u"@media handheld { a{x:1} }", {cmHandheld}, 0, 0, 0, 0, "handheld"},
  };
  for (const Case& c : cases) {
    TCSSParser p(c.css);
    ASSERT_TRUE(p.NextSection()) << UnicodeString(c.css).ToUtf8();
    TCSSMediaSet* set = p.Section()->MediaSet;
    ASSERT_NE(set, DefaultCSSMediaSet());
    EXPECT_EQ(p.MediaTexts()[size_t(p.MediaIndex())].ToUtf8(), c.text);
    while (p.NextSection()) {
    }
    EXPECT_EQ(set->Media.Bits(), c.media.Bits()) << UnicodeString(c.css).ToUtf8();
    EXPECT_EQ(set->MinWidth, c.minWidth);
    EXPECT_EQ(set->MaxWidth, c.maxWidth);
    EXPECT_EQ(set->MinDeviceWidth, c.minDevice);
    EXPECT_EQ(set->MaxDeviceWidth, c.maxDevice);
    EXPECT_EQ(set->SizeQuery, c.minWidth || c.maxWidth || c.minDevice || c.maxDevice);
  }
  TCSSParser p(u"@media screen and (max-width: 600px) { a{x:1} }");
  ASSERT_TRUE(p.NextSection());
  EXPECT_EQ(p.Section()->MediaSet->AsString().ToUtf8(), "@media screen and (max-width: 600px)");
}

TEST(CSSParser, MediaNestingAndCheck) {
  // Nested blocks: the inner set is current until the first "}", after which
  // rules are outside any set.
  TCSSParser p(u"@media screen { @media (min-width: 10px) { a{x:1} } b{y:2} } c{z:3}");
  std::vector<TCSSMediaSet*> sets;
  while (p.NextSection()) sets.push_back(p.Section()->MediaSet);
  ASSERT_EQ(sets.size(), 3u);
  EXPECT_EQ(sets[0]->MinWidth, 10);
  EXPECT_EQ(sets[1], DefaultCSSMediaSet());
  EXPECT_EQ(sets[2], DefaultCSSMediaSet());
  EXPECT_EQ(p.MediaSets().Count(), 2);

  TCSSMediaSet set;
  set.Media.Include(cmPrint);
  EXPECT_TRUE(set.CheckMedia(cmPrint, 0, 0));
  EXPECT_FALSE(set.CheckMedia(cmScreen, 0, 0));
  set.Media = {cmAll};
  set.SizeQuery = true;
  set.MinWidth = 100;
  set.MaxWidth = 200;
  set.MaxDeviceWidth = 150;
  EXPECT_FALSE(set.CheckMedia(cmScreen, 99, 0));
  EXPECT_TRUE(set.CheckMedia(cmScreen, 150, 0));
  // The device width is the width when 0.
  EXPECT_FALSE(set.CheckMedia(cmScreen, 160, 0));
  EXPECT_TRUE(set.CheckMedia(cmScreen, 160, 140));
  EXPECT_FALSE(set.CheckMedia(cmScreen, 201, 140));
}

TEST(CSSParser, ImportsAndKeyFrameNames) {
  TCSSParser p(
      u"@import url(\"a.css\") screen, print; @import 'b.css'; @import ; "
      u"@-webkit-keyframes spin { to { x: 1 } } @keyframes \"q\" { 0% { y: 2 } } z { w: 3 }");
  std::vector<std::string> frames;
  while (p.NextSection()) frames.push_back(p.InKeyFrames() ? p.KeyFramesName().ToUtf8() : "-");
  EXPECT_EQ(frames, (std::vector<std::string>{"spin", "q", "-"}));
  ASSERT_EQ(p.Imports.size(), 2u);
  EXPECT_EQ(p.Imports[0].URL.Name.ToUtf8(), "a.css");
  EXPECT_EQ(p.Imports[0].URL.CType, ctURI);
  ASSERT_EQ(p.Imports[0].Media.Length(), 2);
  EXPECT_EQ(p.Imports[0].Media[1].Name.ToUtf8(), "print");
  EXPECT_EQ(p.Imports[1].URL.Name.ToUtf8(), "b.css");
  EXPECT_EQ(p.Imports[1].Media.Length(), 0);
}

TEST(CSSParser, PositionsAndRawValues) {
  TCSSParser p(u"a { x: 1 }\nb{y:2}");
  ASSERT_TRUE(p.NextSection());
  EXPECT_EQ(p.Section()->BlockStartPos, 1);
  EXPECT_EQ(p.Section()->BlockEndPos, 10);
  EXPECT_EQ(p.Section()->Selectors->GetSelector(0)->StartPos, 1);
  ASSERT_TRUE(p.NextSection());
  // The rule starts with the first token read after the last one: the line end.
  EXPECT_EQ(p.Section()->BlockStartPos, 11);
  TCSSTokens rest;
  TCSSParser q(u"a b /*c*/");
  q.ParseValue(rest);
  EXPECT_EQ(rest.Length(), 5);
}
