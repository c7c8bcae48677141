// THtStringTrie.
#include <gtest/gtest.h>

#include "norvane/foundation/string_trie.h"

using namespace norvane;

namespace {
struct Counted : TObject {
  explicit Counted(int* d) : deaths(d) {}
  ~Counted() override { ++*deaths; }
  int* deaths;
};
}  // namespace

TEST(THtStringTrie, FindsExactKeysOnly) {
  THtStringTrie t(false);
  TObject a, b, c, root;
  const UnicodeString wide(u"\u1234\uFFFF\u0100");
  t.Add(u"abc", &a);
  t.Add(u"abd", &b);
  t.Add(wide, &c);
  t.Add(UnicodeString(), &root);
  struct Case {
    UnicodeString key;
    TObject* expected;
  } cases[] = {
      {u"abc", &a}, {u"abd", &b}, {wide, &c}, {UnicodeString(), &root},
      {u"ab", nullptr},    // a prefix: the item exists but holds nothing
      {u"abcd", nullptr},  // longer than any key
      {u"\u1234\uFFFF", nullptr},
      {u"\u0234", nullptr},  // same low byte, other high byte
  };
  for (const Case& k : cases) {
    TObject* v = &a;
    EXPECT_EQ(t.Find(k.key, v), k.expected != nullptr) << k.key.ToUtf8();
    EXPECT_EQ(v, k.expected);
    EXPECT_EQ(t.ContainsKey(k.key), k.expected != nullptr);
  }
  TObject* v;
  EXPECT_TRUE(t.FindPChar(u"abcdef", 3, v));
  EXPECT_EQ(v, &a);
}

TEST(THtStringTrie, OwnershipReplaceAndAssign) {
  int deaths = 0;
  auto* first = new Counted(&deaths);
  auto* second = new Counted(&deaths);
  {
    THtStringTrie owner(true);
    owner.Add(u"key", first);
    owner.Add(u"key", first);  // same object: kept
    EXPECT_EQ(deaths, 0);
    owner.Add(u"key", second);  // owned old value freed
    EXPECT_EQ(deaths, 1);
    owner.Add(u"other", new Counted(&deaths));
    {
      THtStringTrie copy(true);
      copy.Assign(owner);
      TObject* v;
      EXPECT_TRUE(copy.Find(u"key", v));
      EXPECT_EQ(v, second);  // shared, not cloned
      EXPECT_TRUE(copy.ContainsKey(u"other"));
    }
    EXPECT_EQ(deaths, 1);  // the copy freed none of the shared values
    TObject* v;
    EXPECT_TRUE(owner.Find(u"key", v));
  }
  EXPECT_EQ(deaths, 3);
}

TEST(THtStringTrie, LongKeysAreFreedWithoutRecursion) {
  THtStringTrie t(true);
  int deaths = 0;
  const UnicodeString longKey(200000, u'x');
  t.Add(longKey, new Counted(&deaths));
  TObject* v;
  EXPECT_TRUE(t.Find(longKey, v));
  t.Clear();
  EXPECT_EQ(deaths, 1);
  EXPECT_FALSE(t.Find(longKey, v));
}
