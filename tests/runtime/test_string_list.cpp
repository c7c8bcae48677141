#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "norvane/runtime/classes.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/streams.h"

using namespace norvane;

namespace {

using Items = std::vector<std::u16string>;

Items ItemsOf(const TStrings& l) {
  Items out;
  for (int32_t i = 0; i < l.Count(); ++i) out.push_back(l.Strings(i).ToU16());
  return out;
}

void Fill(TStrings& l, const Items& items) {
  l.Clear();
  for (const auto& s : items) l.Add(UnicodeString(s));
}

template <class F>
std::string ErrorOf(F&& f) {
  try {
    f();
  } catch (const EStringListError& e) {
    return e.what();
  }
  return "(no error)";
}

// Counts its destructions, to observe OwnsObjects.
struct TCounted : TObject {
  int* deaths;
  explicit TCounted(int* d) : deaths(d) {}
  ~TCounted() override { ++*deaths; }
};

}  // namespace

TEST(StringList, SortedAddFollowsDuplicates) {
  struct Case {
    TDuplicates dup;
    Items expected;
    std::string error;
  };
  const Case cases[] = {
      {dupIgnore, {u"a", u"b", u"c"}, ""},
      // Find gives the first equal item, so a duplicate goes in before it.
      {dupAccept, {u"a", u"a", u"B", u"b", u"c"}, ""},
      {dupError, {u"a", u"b"}, "String list does not allow duplicates"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(int(c.dup));
    TStringList l;
    l.SetSorted(true);
    l.SetDuplicates(c.dup);
    std::string error;
    try {
      for (const char16_t* s : {u"b", u"a", u"B", u"c", u"a"}) l.Add(s);
    } catch (const EStringListError& e) {
      error = e.what();
    }
    EXPECT_EQ(error, c.error);
    EXPECT_EQ(ItemsOf(l), c.expected);
  }
  TStringList l;
  l.SetSorted(true);
  l.Add(u"x");
  l.Add(u"m");
  EXPECT_EQ(l.Add(u"X"), 1) << "dupIgnore returns the index of the item already there";
}

TEST(StringList, FindAndIndexOf) {
  TStringList l;
  l.SetSorted(true);
  int32_t index = -5;
  EXPECT_FALSE(l.Find(u"a", index));
  EXPECT_EQ(index, 0);

  l.SetDuplicates(dupAccept);
  for (const char16_t* s : {u"d", u"b", u"b", u"b", u"f", u"b"}) l.Add(s);
  struct Case {
    const char16_t* key;
    bool found;
    int32_t index;
  };
  const Case cases[] = {
      {u"b", true, 0}, {u"B", true, 0}, {u"a", false, 0}, {u"c", false, 4},
      {u"d", true, 4}, {u"e", false, 5}, {u"z", false, 6}, {u"", false, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(UnicodeString(c.key).ToUtf8());
    EXPECT_EQ(l.Find(c.key, index), c.found);
    EXPECT_EQ(index, c.index);
    EXPECT_EQ(l.IndexOf(c.key), c.found ? c.index : -1);
  }

  // Case-sensitive: ordinal order, so upper case sorts first.
  TStringList cs(dupIgnore, true, true);
  for (const char16_t* s : {u"b", u"a", u"B", u"A"}) cs.Add(s);
  EXPECT_EQ(ItemsOf(cs), (Items{u"A", u"B", u"a", u"b"}));
  EXPECT_EQ(cs.IndexOf(u"b"), 3);
  cs.SetCaseSensitive(false);  // re-sorts; equal keys may come in any order
  EXPECT_EQ(cs.IndexOf(u"b") / 2, 1);

  TStringList unsorted;
  Fill(unsorted, {u"x", u"Y", u"z"});
  EXPECT_EQ(unsorted.IndexOf(u"y"), 1);
  EXPECT_EQ(unsorted.IndexOf(u"w"), -1);
}

TEST(StringList, RefusedOperationsLoseNothing) {
  TStringList l;
  Fill(l, {u"c", u"a", u"b"});
  l.SetSorted(true);
  EXPECT_EQ(ItemsOf(l), (Items{u"a", u"b", u"c"}));
  struct Case {
    const char* name;
    void (*op)(TStringList&);
    const char* message;
  };
  const Case cases[] = {
      {"Put", [](TStringList& x) { x.Put(0, u"z"); }, "Operation not allowed on sorted list"},
      {"Insert", [](TStringList& x) { x.Insert(0, u"z"); }, "Operation not allowed on sorted list"},
      {"Move", [](TStringList& x) { x.Move(0, 2); }, "Operation not allowed on sorted list"},
      {"Get", [](TStringList& x) { x.Get(3); }, "List index out of bounds (3)"},
      {"Objects", [](TStringList& x) { x.Objects(-1); }, "List index out of bounds (-1)"},
      {"Delete", [](TStringList& x) { x.Delete(7); }, "List index out of bounds (7)"},
      {"Exchange", [](TStringList& x) { x.Exchange(0, 3); }, "List index out of bounds (3)"},
      {"Capacity", [](TStringList& x) { x.SetCapacity(2); }, "List capacity out of bounds (2)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(ErrorOf([&] { c.op(l); }), c.message);
    EXPECT_EQ(ItemsOf(l), (Items{u"a", u"b", u"c"}));
  }
}

TEST(StringList, TextRoundTrips) {
  struct Case {
    std::u16string in;
    Items items;
    std::u16string out;
  };
  const Case cases[] = {
      {u"", {}, u""},
      {u"a", {u"a"}, u"a\r\n"},
      {u"a\r\nb\nc\rd", {u"a", u"b", u"c", u"d"}, u"a\r\nb\r\nc\r\nd\r\n"},
      {u"a\r\n", {u"a"}, u"a\r\n"},
      {u"\r\n", {u""}, u"\r\n"},
      // LF CR is two breaks; CR LF is one.
      {u"\n\r", {u"", u""}, u"\r\n\r\n"},
      {u"a\r\r\nb", {u"a", u"", u"b"}, u"a\r\n\r\nb\r\n"},
      {std::u16string(u"a\0b", 3), {std::u16string(u"a\0b", 3)}, std::u16string(u"a\0b\r\n", 5)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(UnicodeString(c.in).ToUtf8());
    TStringList l;
    l.SetText(UnicodeString(c.in));
    EXPECT_EQ(ItemsOf(l), c.items);
    EXPECT_EQ(l.Text().ToU16(), c.out);
  }

  TStringList l;
  l.SetLineBreak(u"|");
  l.SetText(u"x|y\nz|");
  EXPECT_EQ(ItemsOf(l), (Items{u"x", u"y\nz"}));
  l.SetTrailingLineBreak(false);
  EXPECT_EQ(l.Text(), u"x|y\nz");
}

TEST(StringList, CommaTextQuotesAndSplits) {
  struct Out {
    Items items;
    std::u16string text;
  };
  const Out outs[] = {
      {{}, u""},
      {{u""}, u"\"\""},
      {{u"a", u"b c", u"\"d\"", u"e,f", u""}, u"a,\"b c\",\"\"\"d\"\"\",\"e,f\","},
      {{u"tab\there"}, u"\"tab\there\""},
  };
  for (const auto& c : outs) {
    TStringList l;
    Fill(l, c.items);
    EXPECT_EQ(l.CommaText().ToU16(), c.text);
    TStringList back;
    back.SetCommaText(UnicodeString(c.text));
    EXPECT_EQ(ItemsOf(back), c.items) << UnicodeString(c.text).ToUtf8();
  }

  struct In {
    std::u16string text;
    Items items;
  };
  const In ins[] = {
      {u"a, b ,c", {u"a", u"b", u"c"}},
      {u"a b", {u"a", u"b"}},
      {u"  ", {}},
      {u"a,,b", {u"a", u"", u"b"}},
      {u"a,", {u"a", u""}},
      {u"\"a \"\"q\"\" b\",c", {u"a \"q\" b", u"c"}},
      {u"\"unterminated, text", {u"unterminated, text"}},
      {u"\"a\"b", {u"a", u"b"}},
      {u"\"\"", {u""}},
  };
  for (const auto& c : ins) {
    TStringList l;
    l.SetCommaText(UnicodeString(c.text));
    EXPECT_EQ(ItemsOf(l), c.items) << UnicodeString(c.text).ToUtf8();
  }

  // Strict delimiters keep blanks; CommaText ignores the custom settings.
  TStringList l;
  l.SetDelimiter(u';');
  l.SetStrictDelimiter(true);
  l.SetDelimitedText(u"a b; c;");
  EXPECT_EQ(ItemsOf(l), (Items{u"a b", u" c", u""}));
  EXPECT_EQ(l.DelimitedText(), u"a b; c;");
  EXPECT_EQ(l.CommaText(), u"\"a b\",\" c\",");
  EXPECT_EQ(l.Delimiter(), u';');
}

TEST(StringList, NamesAndValues) {
  TStringList l;
  Fill(l, {u"k=v", u"plain", u"K2=a=b", u"=anon"});
  EXPECT_EQ(l.Values(u"k"), u"v");
  EXPECT_EQ(l.Values(u"K"), u"v") << "names compare without case by default";
  EXPECT_EQ(l.Values(u"k2"), u"a=b");
  EXPECT_EQ(l.Values(u"plain"), u"") << "an item without separator has no name";
  EXPECT_EQ(l.Names(1), u"");
  EXPECT_EQ(l.Names(2), u"K2");
  EXPECT_EQ(l.ValueFromIndex(3), u"anon");
  EXPECT_EQ(l.IndexOfName(u""), 3);

  l.SetValues(u"new", u"1");
  l.SetValues(u"k", u"");
  l.SetValues(u"K2", u"c");
  l.SetValueFromIndex(0, u"P");
  EXPECT_EQ(ItemsOf(l), (Items{u"=P", u"K2=c", u"=anon", u"new=1"}));

  l.SetNameValueSeparator(u':');
  l.AddPair(u"x", u"y");
  EXPECT_EQ(l.Values(u"x"), u"y");
}

TEST(StringList, ChangeEventsAndUpdates) {
  TStringList l;
  std::string log;
  l.OnChanging = [&](TObject* sender) {
    EXPECT_EQ(sender, &l);
    log += '<';
  };
  l.OnChange = [&](TObject*) { log += '>'; };
  l.Add(u"a");
  l.Delete(0);
  l.Clear();  // empty already: nothing to announce
  EXPECT_EQ(log, "<><>");

  log.clear();
  l.BeginUpdate();
  l.BeginUpdate();
  l.SetText(u"x\ny\nz");
  l.Exchange(0, 2);
  l.EndUpdate();
  EXPECT_EQ(log, "<");
  l.EndUpdate();
  l.EndUpdate();  // unbalanced: ignored
  EXPECT_EQ(log, "<>");
  EXPECT_EQ(ItemsOf(l), (Items{u"z", u"y", u"x"}));
}

TEST(StringList, OwnsObjectsFreesWhatLeaves) {
  int deaths = 0;
  {
    TStringList l(true);
    for (const char16_t* s : {u"a", u"b", u"c", u"d"}) l.AddObject(s, new TCounted(&deaths));
    l.Move(0, 3);  // moving must not free
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(ItemsOf(l), (Items{u"b", u"c", u"d", u"a"}));
    l.Delete(0);
    EXPECT_EQ(deaths, 1);
    l.Exchange(0, 1);
    EXPECT_EQ(l.IndexOfObject(l.Objects(2)), 2);
    l.Clear();
    EXPECT_EQ(deaths, 4);
    l.AddObject(u"e", new TCounted(&deaths));
  }
  EXPECT_EQ(deaths, 5);
}

TEST(StringList, SortAssignAndDescendantComparison) {
  TStringList l;
  Fill(l, {u"pear", u"Apple", u"fig", u"apple", u"Banana"});
  l.CustomSort([](TStringList* list, int32_t a, int32_t b) {
    return list->Strings(a).Length() - list->Strings(b).Length();
  });
  EXPECT_EQ(l.Strings(0), u"fig");
  EXPECT_EQ(l.Strings(4), u"Banana");
  l.Sort();
  EXPECT_EQ(l.Strings(0).ToU16().substr(1), u"pple");
  EXPECT_EQ(l.Strings(2), u"Banana");

  TStringList sorted(dupError, true, true);
  for (const char16_t* s : {u"b", u"a", u"B"}) sorted.Add(s);
  TStringList copy;
  copy.Add(u"old");
  copy.Assign(&sorted);
  EXPECT_TRUE(copy.Sorted());
  EXPECT_TRUE(copy.CaseSensitive());
  EXPECT_EQ(copy.Duplicates(), dupError);
  EXPECT_EQ(ItemsOf(copy), (Items{u"B", u"a", u"b"}));
  EXPECT_TRUE(copy.Equals(&sorted));

  // A descendant ordering by length, reaching the pairs through GetList.
  struct TByLength : TStringList {
    TByLength() { SetSorted(true); }
    int32_t CompareStrings(const UnicodeString& a, const UnicodeString& b) const override {
      return a.Length() - b.Length();
    }
  } byLength;
  TObject marker;
  byLength.Add(u"ccc");
  byLength.AddObject(u"a", &marker);
  byLength.Add(u"bb");
  byLength.Add(u"x");  // same length as "a": ignored as a duplicate
  ASSERT_EQ(byLength.Count(), 3);
  const TStringItem* items = byLength.GetList();
  EXPECT_EQ(items[0].FString, u"a");
  EXPECT_EQ(items[0].FObject, &marker);
  EXPECT_EQ(items[2].FString, u"ccc");
  EXPECT_EQ(byLength.IndexOf(u"zz"), 1);

  try {
    copy.Assign(nullptr);
    ADD_FAILURE();
  } catch (const EConvertError& e) {
    EXPECT_STREQ(e.what(), "Cannot assign a nil to a TStringList");
  }
}

TEST(StringList, StreamsDetectEncodings) {
  struct Case {
    const char* name;
    std::string bytes;
    Items items;
    uint32_t encoding;
  };
  const Case cases[] = {
      {"utf-8 without mark", "caf\xC3\xA9\nna\xC3\xAFve", {u"caf\u00E9", u"na\u00EFve"}, 65001},
      {"utf-8 mark", "\xEF\xBB\xBFx\r\ny", {u"x", u"y"}, 65001},
      {"utf-16le mark", std::string("\xFF\xFE" "a\0\r\0\n\0\xAC\x20", 10), {u"a", u"\u20AC"}, 1200},
      {"utf-16be mark", std::string("\xFE\xFF\0b", 4), {u"b"}, 1201},
      {"invalid utf-8: system code page", "caf\xE9", {u"caf\u00E9"}, 1252},
      {"empty", "", {}, 65001},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TBytesStream in(TBytes(c.bytes.begin(), c.bytes.end()));
    TStringList l;
    l.LoadFromStream(&in);
    EXPECT_EQ(ItemsOf(l), c.items);
    EXPECT_EQ(l.Encoding(), c.encoding);
  }

  TStringList l;
  Fill(l, {u"\u00E9t\u00E9", u"x"});
  TMemoryStream out;
  l.SaveToStream(&out);
  EXPECT_EQ(std::string(static_cast<const char*>(out.Memory()), size_t(out.Size())),
            "\xC3\xA9t\xC3\xA9\r\nx\r\n");
  TMemoryStream withMark;
  l.SetWriteBOM(true);
  l.SaveToStream(&withMark, 1200);
  ASSERT_EQ(withMark.Size(), 2 + 2 * 8);
  EXPECT_EQ(static_cast<const uint8_t*>(withMark.Memory())[0], 0xFF);
  withMark.SetPosition(0);
  TStringList back;
  back.LoadFromStream(&withMark);
  EXPECT_TRUE(back.Equals(&l));
}
