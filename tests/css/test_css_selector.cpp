// Selector chains as the parser builds them: parts, specificity, conditions.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "norvane/css/css_parser.h"

using namespace norvane;

namespace {

// The rule of "<selector> {x:1}", its first selector.
struct Parsed {
  std::unique_ptr<TCSSSection> rule;
  TCSSSelector* sel = nullptr;
};

Parsed Select(const std::u16string& selector) {
  TCSSParser p(UnicodeString(selector + u" {x:1}"));
  Parsed r;
  if (p.NextSection()) r.rule.reset(p.TakeSection());
  if (r.rule && r.rule->Selectors->Count()) r.sel = r.rule->Selectors->GetSelector(0);
  return r;
}

}  // namespace

TEST(CSSSelector, Weights) {
  struct Case {
    const char16_t* selector;
    uint32_t weight;
  } cases[] = {
      {u"div.a#b[x]:hover", 1 + 16 + 256 + 16 + 16},
      {u"*", 0},
      {u"ul li", 2},
      {u"[a][b]", 16},  // one compound's conditions count once
      {u"a:not(.b)", 1},  // :not adds nothing
      {u"#a #b > .c + d ~ e", 256 + 256 + 16 + 1 + 1},
      {u"p::before", 17},
      {u"a.b.c:first-child:hover", 1 + 16 + 16 + 16 + 16},
  };
  for (const Case& c : cases) {
    Parsed p = Select(c.selector);
    ASSERT_TRUE(p.sel) << UnicodeString(c.selector).ToUtf8();
    EXPECT_EQ(p.sel->CalcWeight(), c.weight) << UnicodeString(c.selector).ToUtf8();
  }
}

TEST(CSSSelector, ChainParts) {
  Parsed p = Select(u"UL#Main > li.First.second:hover + P ~ *");
  ASSERT_TRUE(p.sel);
  TCSSSelector* s = p.sel;
  EXPECT_TRUE(s->Universal);
  EXPECT_EQ(s->Position, spAllSiblings);
  s = s->Prev;
  EXPECT_EQ(s->Tag, u"p");
  EXPECT_EQ(s->Position, spSibling);
  s = s->Prev;
  EXPECT_EQ(s->Tag, u"li");
  EXPECT_EQ(s->Position, spChild);
  ASSERT_EQ(s->Classes.size(), 2u);
  EXPECT_EQ(s->Classes[0].Name, u"first");
  EXPECT_EQ(s->MainPseudo, pcHover);
  s = s->Prev;
  EXPECT_EQ(s->Tag, u"ul");
  EXPECT_EQ(s->ID, u"Main");
  EXPECT_EQ(s->Prev, nullptr);
  EXPECT_EQ(p.sel->AsString(), u"ul#Main > li.first.second:hover + p ~ *");
  // Every compound points at the rule.
  EXPECT_EQ(p.sel->Prev->Section, p.rule.get());
}

TEST(CSSSelector, PseudoClasses) {
  // "::before" is ":before"; an unknown name never matches.
  Parsed b = Select(u"a::before");
  EXPECT_TRUE(b.sel->Pseudo.Contains(pcBefore));
  Parsed bogus = Select(u":bogus");
  EXPECT_EQ(bogus.sel->MainPseudo, pcUnknown);
  struct Case {
    const char16_t* selector;
    TCSSPseudoClass pc;
    int32_t nth;
  } cases[] = {
      {u"li:nth-child(odd)", pcNthChild, -1},
      {u"li:nth-child(even)", pcNthChild, -2},
      {u"li:nth-child(2)", pcNthChild, 2},
      // "2n" is a number with an unknown unit: an identifier, value 0.
      {u"li:nth-child(2n)", pcNthChild, 0},
      {u"li:nth-of-type( 3 )", pcNthOfType, 3},
      {u"li:first-child", pcFirstChild, 0},
      {u"a:focus-within", pcFocusWithin, 0},
  };
  for (const Case& c : cases) {
    Parsed p = Select(c.selector);
    ASSERT_TRUE(p.sel);
    EXPECT_TRUE(p.sel->Pseudo.Contains(c.pc)) << UnicodeString(c.selector).ToUtf8();
    EXPECT_EQ(p.sel->NthValue, c.nth) << UnicodeString(c.selector).ToUtf8();
    EXPECT_EQ(p.sel->PseudoCount, 1);
  }
  Parsed n = Select(u"a:not(.b):not([c])");
  ASSERT_EQ(n.sel->NotList.size(), 2u);
  EXPECT_EQ(n.sel->NotList[0]->Classes[0].Name, u"b");
  EXPECT_EQ(n.sel->NotList[1]->Conditions[0].Name, u"c");
  EXPECT_EQ(n.sel->AsString(), u"a:not(.b):not([c])");
}

TEST(CSSSelector, Conditions) {
  struct Case {
    const char16_t* selector;
    const char* name;
    const char* value;
    TAttrCompare compare;
  } cases[] = {
      {u"[a]", "a", "", acMatch},
      {u"[a=b]", "a", "b", acMatch},
      {u"[ a = \"b c\" ]", "a", "b c", acMatch},
      {u"[a^=b]", "a", "b", acStarts},
      {u"[a$=b]", "a", "b", acEnds},
      {u"[a*=b]", "a", "b", acContains},
      {u"[a~=b]", "a", "b", acWord},
      {u"[lang|=en]", "lang", "en", acStarts2},
      {u"[a!=b]", "a", "b", acNotEq},
  };
  for (const Case& c : cases) {
    Parsed p = Select(c.selector);
    ASSERT_TRUE(p.sel) << UnicodeString(c.selector).ToUtf8();
    ASSERT_EQ(p.sel->Conditions.size(), 1u) << UnicodeString(c.selector).ToUtf8();
    EXPECT_EQ(p.sel->Conditions[0].Name.ToUtf8(), c.name);
    EXPECT_EQ(p.sel->Conditions[0].Value.ToUtf8(), c.value);
    EXPECT_EQ(p.sel->Conditions[0].Compare, c.compare) << UnicodeString(c.selector).ToUtf8();
  }
  // Several brackets are joined by character 1 and split again.
  Parsed two = Select(u"input[type=text][disabled]");
  EXPECT_EQ(two.sel->Condition, UnicodeString(u"type=text\x01" u"disabled"));
  ASSERT_EQ(two.sel->Conditions.size(), 2u);
  EXPECT_EQ(two.sel->Conditions[1].Name, u"disabled");
  // Key frame and page selectors keep their text as the tag.
  EXPECT_EQ(Select(u"50%").sel->Tag, u"50%");
  EXPECT_EQ(Select(u"FROM").sel->Tag, u"from");
}
