#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "norvane/foundation/fast_string.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/streams.h"

using namespace norvane;

namespace {

std::u16string Text(const TFastString& fs) { return fs.GetAsString().ToU16(); }

std::vector<std::u16string> Blocks(const TFastString& fs) {
  std::vector<std::u16string> out;
  for (const TFSNode* n = &fs.First(); n; n = n->Next) out.emplace_back(n->Data ? n->Data : u"", size_t(n->Len));
  return out;
}

}  // namespace

TEST(FastString, GrowsByWholeBlocksAndNeverSplitsAnAppend) {
  TFastString fs(8);
  EXPECT_EQ(fs.First().Data, nullptr);  // nothing allocated before the first append
  fs.Add(u"12345");
  fs.Add(u"6789");                      // 3 units left: a new block, the rest stays unused
  fs.Add(UnicodeString(20, u'x'));      // larger than the block size: a block of exactly 20
  fs.AddChar(u'!');
  fs.Add2Char(u'a', u'b');
  fs.AddSpaces(3);
  fs.Add(UnicodeString());              // no-op
  EXPECT_EQ(Blocks(fs), (std::vector<std::u16string>{u"12345", u"6789", std::u16string(20, u'x'), u"!ab   "}));
  EXPECT_EQ(fs.GetTotalLen(), 35);
  EXPECT_EQ(fs.LastChar(), u' ');
  EXPECT_EQ(Text(fs), u"123456789" + std::u16string(20, u'x') + u"!ab   ");
}

TEST(FastString, AddInteger) {
  struct Case { int64_t v; const char16_t* text; } cases[] = {
      {0, u"0"}, {7, u"7"}, {-7, u"-7"}, {42, u"42"}, {-42, u"-42"}, {100, u"100"},
      {-9876543210, u"-9876543210"}, {INT64_MAX, u"9223372036854775807"},
      // Only the low 32 bits choose the short forms.
      {4294967301, u"5"}, {4294967396, u"4294967396"}, {INT64_MIN, u"-0"},
  };
  for (auto& c : cases) {
    TFastString fs(16);
    fs.Add(c.v);
    EXPECT_EQ(Text(fs), c.text) << c.v;
  }
}

TEST(FastString, AddFixedPoint) {
  struct Case { double v; int32_t dec; bool lead; const char16_t* text; } cases[] = {
      {0.5, 2, true, u"0.5"}, {0.5, 2, false, u".5"}, {2.0, 2, false, u"2"},
      {1.005, 9, false, u"1.005"},  // capped at 8 decimals
      {3.14159, 3, true, u"3.142"}, {-1.25, 1, true, u"-1.2"},  // ties go to even
      {-0.05, 2, false, u"-.05"}, {0.001, 2, true, u"0"}, {123.456, 0, true, u"123"},
      {0.005, 2, true, u"0"}, {1e20, 2, true, u"100000000000000000000"},
  };
  for (auto& c : cases) {
    TFastString fs(4);
    fs.Add(c.v, c.dec, c.lead);
    EXPECT_EQ(Text(fs), c.text) << c.v << " " << c.dec;
  }
}

TEST(FastString, PrependGrabAndDelete) {
  TFastString a(4);
  a.Add(u"cd");
  a.Prepend(u"ab");
  a.Add(u"ef");
  EXPECT_EQ(Text(a), u"abcdef");
  EXPECT_EQ(a.GetTotalLen(), 6);

  TFastString small(100), big(4);
  small.Add(u"xy");             // under half full: copied, left as it was
  a.Grab(&small);
  EXPECT_EQ(Text(small), u"xy");
  big.Add(u"1234");
  big.Add(u"56");
  a.Grab(&big);                 // chain taken over
  EXPECT_EQ(Text(a), u"abcdefxy123456");
  EXPECT_EQ(big.GetTotalLen(), 0);
  big.Add(u"again");            // a grabbed builder stays usable
  EXPECT_EQ(Text(big), u"again");

  a.DeletefromEnd(1);           // within the last block
  EXPECT_EQ(Text(a), u"abcdefxy12345");
  a.DeletefromEnd(4);           // across blocks
  EXPECT_EQ(Text(a), u"abcdefxy1");
  a.DeletefromEnd(100);
  EXPECT_EQ(a.GetTotalLen(), 0);
}

TEST(FastString, TrimsAndTails) {
  TFastString fs(4);
  fs.Add(u"ab \t");
  fs.Add(u"  ");
  fs.TrimTrailingSpaces();      // last block emptied: the whole text is trimmed, tab too
  EXPECT_EQ(Text(fs), u"ab");
  fs.Add(u"c \t");
  fs.TrimTrailingSpaces();
  EXPECT_EQ(Text(fs), u"abc \t");
  fs.TrimTrailingBlanks();
  EXPECT_EQ(Text(fs), u"abc");

  UnicodeString tail;
  fs.ToStringFrom(tail, 2);
  EXPECT_EQ(tail, u"bc");
  fs.ToStringFrom(tail, 4);
  EXPECT_TRUE(tail.IsEmpty());
}

TEST(FastString, SearchesAcrossAtMostOneBoundary) {
  TFastString fs(3);
  for (auto* s : {u"abc", u"def", u"g", u"hij"}) fs.Add(s);
  EXPECT_EQ(fs.PosOf(u"cde"), 3);
  EXPECT_EQ(fs.PosOf(u"hij"), 8);
  EXPECT_EQ(fs.PosOf(u"fgh"), 0);  // spans three blocks
  EXPECT_EQ(fs.PosOf(u"abcdefghijk"), 0);
  EXPECT_TRUE(fs.StartsWith(u"abcd"));
  EXPECT_FALSE(fs.StartsWith(u"abd"));
  EXPECT_TRUE(fs.EndsWith(u"ghij"));
  TFastString empty(8);
  EXPECT_FALSE(empty.StartsWith(u""));
  EXPECT_FALSE(empty.EndsWith(u"a"));
  EXPECT_EQ(empty.LastChar(), 0);

  std::u16string buf(size_t(fs.GetTotalLen()), u'?');
  fs.SavetoBuffer(buf.data());
  EXPECT_EQ(buf, u"abcdefghij");
  TMemoryStream ms;
  fs.SavetoStream(&ms);
  EXPECT_EQ(ms.Size(), 20);
}

TEST(FastString, ClearandLeaveSpaceReusesTheFirstBlock) {
  TFastString fs(16);
  fs.Add(u"0123456789");
  fs.Add(u"0123456789");
  const char16_t* first = fs.First().Data;
  fs.ClearandLeaveSpace();
  fs.Add(u"short");
  EXPECT_EQ(fs.First().Data, first);
  EXPECT_EQ(fs.First().Next, nullptr);
  EXPECT_EQ(Text(fs), u"short");
  fs.Clear();
  EXPECT_EQ(fs.First().Data, nullptr);
}

TEST(FastString, AbsurdSizesRaise) {
  EXPECT_THROW(TFastString(-1), EOutOfMemory);
  TFastString fs(8);
  EXPECT_THROW(fs.AddSpace(-1), EOutOfMemory);
  EXPECT_THROW(fs.AddSpace(INT32_MAX), EOutOfMemory);
  fs.AddSpaces(-3);
  EXPECT_EQ(fs.GetTotalLen(), 0);
}

TEST(FastRawString, Utf8AndIntegers) {
  struct Case { std::u16string in; std::string out; } cases[] = {
      {u"plain ascii", "plain ascii"},
      {u"\u00e9\u20ac", "\xC3\xA9\xE2\x82\xAC"},
      {u"\U0001F600", "\xF0\x9F\x98\x80"},
      {u"a\xDC00\x41", "a\xF4\x9D\xB1\x81"},     // a low surrogate joins whatever follows
      {u"\xDFFF\xFFFF", "\xF8\x88\x91\xBF\xBF"},  // ... up to the 5-byte form
      {u"ab\xD800", "ab"},                        // a lone surrogate at the end writes nothing
  };
  for (auto& c : cases) {
    TFastRawString rs(8);
    rs.AddUTF8(UnicodeString(c.in));
    EXPECT_EQ(rs.GetAsString(), c.out);
  }
  TFastRawString rs(4);
  for (int32_t v : {0, 12, -345, INT32_MAX}) rs.AddInt(v), rs.AddChar(' ');
  rs.AddInt(INT32_MIN);
  EXPECT_EQ(rs.GetAsString(), "0 12 -345 2147483647 -");
  rs.Clear();
  rs.Add("abcd");
  rs.Add("efgh", 4);
  EXPECT_EQ(rs.PosOf("def"), 4);
  EXPECT_TRUE(rs.StartsWith("abcd"));
  EXPECT_EQ(rs.AsBytes().size(), 8u);
}
