#include <gtest/gtest.h>

#include <vector>

#include "norvane/foundation/fast_string.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/runtime/exception.h"

using namespace norvane;

namespace {

std::vector<std::string> Names(const THtAttributes& a) {
  std::vector<std::string> out;
  for (int32_t i = 0; i < a.Count; ++i) out.push_back(a.GetName(i).ToUtf8());
  return out;
}

UnicodeString Fast(const THtAttributes& a) {
  TFastString s;
  a.FastAsString(&s);
  return s.GetAsString();
}

}  // namespace

TEST(HtAttributes, SortedAndFoldedUnlessCaseSensitive) {
  struct Case {
    bool caseSensitive;
    std::vector<const char16_t*> set;
    std::vector<std::string> expected;
  };
  const Case cases[] = {
      // HTML: names fold to lower case; "HREF" and "href" are one entry.
      {false, {u"title", u"HREF", u"Alt", u"href", u"_x", u"b"}, {"_x", "alt", "b", "href", "title"}},
      // XML: names kept as given and ordered by code unit ("B" before "a").
      {true, {u"b", u"a", u"B", u"A", u"a"}, {"A", "B", "a", "b"}},
  };
  for (const Case& c : cases) {
    THtAttributes a(c.caseSensitive);
    for (const char16_t* n : c.set) a.SetAttribute(n, u"v");
    EXPECT_EQ(Names(a), c.expected) << c.caseSensitive;
  }

  THtAttributes html;
  html.SetAttribute(u"HREF", u"x.html");
  EXPECT_EQ(html.GetAttribute(u"Href"), u"x.html");
  EXPECT_EQ(html.Indexof(u"hReF"), 0);
  THtAttributes xml(true);
  xml.SetAttribute(u"Href", u"x");
  EXPECT_EQ(xml.Indexof(u"href"), -1);
  EXPECT_EQ(xml.GetAttribute(u"href"), u"");
}

TEST(HtAttributes, FindGivesHitOrInsertionPoint) {
  THtAttributes a;
  int32_t i = 7;
  EXPECT_FALSE(a.Find(u"x", i));  // empty table
  EXPECT_EQ(i, 0);
  for (const char16_t* n : {u"b", u"d", u"f"}) a.Add(n, u"");
  struct Case {
    const char16_t* name;
    bool found;
    int32_t index;
  } cases[] = {{u"a", false, 0}, {u"b", true, 0}, {u"c", false, 1}, {u"D", true, 1}, {u"g", false, 3}, {u"", false, 0}};
  for (const Case& c : cases) {
    EXPECT_EQ(a.Find(c.name, i), c.found) << UnicodeString(c.name).ToUtf8();
    EXPECT_EQ(i, c.index) << UnicodeString(c.name).ToUtf8();
  }
}

TEST(HtAttributes, AddKeepsDuplicatesSetReplaces) {
  THtAttributes a;
  a.Add(u"x", u"1");
  a.Add(u"X", u"2");  // no check for an existing name
  EXPECT_EQ(a.Count, 2);
  EXPECT_EQ(Names(a), (std::vector<std::string>{"x", "x"}));

  THtAttributes b;
  EXPECT_TRUE(b.SetAttributeEx(u"x", u"1"));
  EXPECT_FALSE(b.SetAttributeEx(u"X", u"1"));  // same value: unchanged
  EXPECT_TRUE(b.SetAttributeEx(u"x", u"2"));
  EXPECT_FALSE(b.SetAttributeEx(u"", u"2"));  // an empty name could never be found
  EXPECT_EQ(b.Count, 1);
  EXPECT_EQ(b.GetValue(0), u"2");

  b.SetAttribute(u"a", u"A");
  b.ClearAttr(u"x");
  b.ClearAttr(u"nothing");
  EXPECT_EQ(Names(b), (std::vector<std::string>{"a"}));
  b.Clear();
  EXPECT_EQ(b.Count, 0);
  EXPECT_GE(b.List.size(), 1u);  // the array stays for reuse
  EXPECT_EQ(b.GetAttribute(u"a"), u"");
  EXPECT_THROW(b.GetItem(0), EListError);
  EXPECT_THROW(b.SetValue(-1, u"v"), EListError);
}

TEST(HtAttributes, Serialisation) {
  struct Case {
    bool caseSensitive;
    const char16_t* name;
    const char16_t* value;
    const char16_t* fast;
  };
  const Case cases[] = {
      {false, u"checked", u"checked", u" checked"},  // equal name and value: bare name
      {true, u"checked", u"checked", u" checked=\"checked\""},
      {false, u"title", u"a\"b&c<d>e", u" title=\"a&quot;b&amp;c&lt;d&gt;e\""},
      {false, u"t", u"\u00a0\u00e9\u4e2d\x01", u" t=\"&nbsp;\u00e9\u4e2d&#1;\""},
      {true, u"t", u"\u00a0\x1f\t<", u" t=\"\u00a0&#31;\t&lt;\""},
      {false, u"e", u"", u" e=\"\""},
  };
  for (const Case& c : cases) {
    THtAttributes a(c.caseSensitive);
    a.Add(c.name, c.value);
    EXPECT_EQ(Fast(a), c.fast) << UnicodeString(c.fast).ToUtf8();
    TFastRawString raw;
    a.FastAsUTF8String(&raw);
    EXPECT_EQ(raw.GetAsString(), UnicodeString(c.fast).ToUtf8());
  }

  THtAttributes a;
  a.Add(u"b", u"2\"");
  a.Add(u"a", u"a");
  EXPECT_EQ(a.AsString(), u"a=\"a\" b=\"2&quot;\"");  // no bare form here
}
