#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "norvane/foundation/fast_string_list.h"
#include "norvane/foundation/hstring.h"
#include "norvane/foundation/text_file.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/foundation/url_utils.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/object.h"

using namespace norvane;

namespace {
NV_ENUM(TTestAlign, taLeft, taTextTop, taMiddle)
}

TEST(TextUtils, FindCharAndTokens) {
  UnicodeString s(u"abcabc");
  EXPECT_EQ(FindChar(u'c', s, 1), 3);
  EXPECT_EQ(FindChar(u'c', s, 4), 6);
  EXPECT_EQ(FindChar(u'a', s, 7), 0);  // past the end
  EXPECT_EQ(FindChar(u'z', s, 1), 0);
  EXPECT_EQ(FindChar(u'a', UnicodeString(), 1), 0);
  EXPECT_EQ(FindChar('c', std::string("abcabc"), 4), 6);

  struct Case { const char16_t* s; bool skip; const char16_t* token; const char16_t* left; } cases[] = {
      {u",,a,b", true, u"a", u"b"}, {u",,a,b", false, u",,a", u",b"}, {u",,,", true, u"", u""},
      {u",,,", false, u",,,", u""}, {u"abc", true, u"abc", u""}, {u"a;b", true, u"a", u"b"},
  };
  for (auto& c : cases) {
    UnicodeString rest(c.s);
    EXPECT_EQ(Q_StrTok(rest, u",;", c.skip), c.token) << UnicodeString(c.s).ToUtf8();
    EXPECT_EQ(rest, c.left);
    std::u16string wide(c.s);
    EXPECT_EQ(Q_StrTok(wide, u",;", c.skip), c.token);
    EXPECT_EQ(wide, c.left);
  }
  UnicodeString keep(u"a,b");
  EXPECT_TRUE(Q_StrTok(keep, UnicodeString(), true).IsEmpty());
  EXPECT_EQ(keep, u"a,b");
}

TEST(TextUtils, ReplaceAndPredicates) {
  EXPECT_EQ(ReplaceStr(u"a-b-c", u"-", u"+"), u"a+b+c");
  EXPECT_EQ(ReplaceStr(u"aXbXc", u"X", u"[long]"), u"a[long]b[long]c");
  EXPECT_EQ(ReplaceStr(u"abcabc", u"bc", u""), u"aa");
  EXPECT_EQ(ReplaceStr(u"abc", u"", u"x"), u"abc");
  std::u16string many(200000, u'x');
  EXPECT_EQ(ReplaceStr(UnicodeString(many), u"x", u"yz").Length(), 400000);
  UnicodeString r(u"a.b.c");
  ReplaceChar(r, u'.', u'/');
  EXPECT_EQ(r, u"a/b/c");

  EXPECT_FALSE(AnsiStartsWith(u"abc", UnicodeString()));
  EXPECT_FALSE(AnsiStartsWith(UnicodeString(), UnicodeString()));
  EXPECT_TRUE(AnsiEndsWith(u"abc", UnicodeString()));
  EXPECT_TRUE(AnsiStartsWith(u"abc", u"ab"));
  EXPECT_FALSE(AnsiStartsWith(u"abc", u"AB"));
  EXPECT_TRUE(AnsiEndsWith(u"abc", u"bc"));
  UnicodeString items[] = {u"x", u"y", u"z"};
  EXPECT_TRUE(StrIn(u"y", items, 1));
  EXPECT_FALSE(StrIn(u"z", items, 1));  // `high` is the last index
  EXPECT_TRUE(BlankString(u" \t\r\n"));
  EXPECT_FALSE(BlankString(u" \u00a0"));
  EXPECT_TRUE(BlankOrNBSP(u" \u00a0\t"));
  EXPECT_FALSE(BlankOrNBSP(u"\x01"));
  UnicodeString acc;
  AddStr(acc, u"a", u", ");
  AddStr(acc, u"b", u", ");
  EXPECT_EQ(acc, u"a, b");
  EXPECT_EQ(Coalesce(UnicodeString(), u"b"), u"b");
  EXPECT_EQ(CharLower(u'Q'), u'q');
  EXPECT_EQ(AnsiCharLower(u'\u00C9'), u'\u00C9');

  int32_t v = -1;
  EXPECT_TRUE(IsEnum(u"ta-text-top", EnumInfo(TTestAlign{}), v));
  EXPECT_EQ(v, taTextTop);
  EXPECT_TRUE(IsEnum2(u"ta", u"middle", EnumInfo(TTestAlign{}), v));
  EXPECT_EQ(v, taMiddle);
  EXPECT_FALSE(IsEnum2(u"ta", u"bottom", EnumInfo(TTestAlign{}), v));
}

TEST(TextUtils, SplitEmailAdress) {
  struct Case { const char16_t* text; const char16_t* name; const char16_t* addr; const char16_t* rest; } cases[] = {
      {u"\"John Doe\" <jd@x.org>, next", u"John Doe", u"jd@x.org", u", next"},
      {u"John Doe <jd@x.org>", u"John Doe", u"jd@x.org", u""},
      {u"  jd@x.org, b@y", u"", u"jd@x.org", u" b@y"},
      {u"jd@x.org", u"", u"jd@x.org", u""},
      {u"'Ann' <a@b", u"Ann", u"a@b", u""},
  };
  for (auto& c : cases) {
    UnicodeString name, addr, rest;
    SplitEmailAdress(c.text, name, addr, rest);
    EXPECT_EQ(name, c.name) << UnicodeString(c.text).ToUtf8();
    EXPECT_EQ(addr, c.addr);
    EXPECT_EQ(rest, c.rest);
  }
}

TEST(TextUtils, Urls) {
  struct Case { const char16_t* base; const char16_t* rel; const char16_t* url; } cases[] = {
      {u"http://a/b/c.html", u"d.png", u"http://a/b/d.png"}, {u"http://a/b/c.html", u"/d.png", u"http://a/d.png"},
      {u"http://a/b/c.html", u"//x/y", u"http://x/y"}, {u"https://a", u"/d", u"https://a/d"},
      {u"c.html", u"d.png", u"c.htmld.png"},  // no "/": the base stays whole
      {u"dir/c.html", u"/d.png", u"dir/d.png"},
      {u"x", u"//https://h/p", u"https://h/p"},
  };
  for (auto& c : cases) EXPECT_EQ(CombineUrl(c.base, c.rel), c.url) << UnicodeString(c.rel).ToUtf8();

  struct Dec { const char16_t* in; std::u16string out; } decs[] = {
      {u"a+b%20c", u"a b c"}, {u"100%%", u"100%"}, {u"%C3%a9", u"\u00e9"}, {u"ab%", u"ab"},
      {u"%zz", std::u16string(u"\0z", 2)},  // a malformed escape leaves a 0 behind
      {u"x%4", std::u16string(u"x\0", 2)},
  };
  for (auto& d : decs) EXPECT_EQ(HTTPDecode(d.in).ToU16(), d.out) << UnicodeString(d.in).ToUtf8();

  EXPECT_EQ(HtEncodeUrl(u"a b/c?\u00e9\u20ac!~\\"), u"a+b%2fc%3f%c3%a9%e2%82%ac!~\\");
  EXPECT_EQ(HtEncodeUrl(u"\U0001F600"), u"%ed%a0%bd%ed%b8%80");  // surrogates each on their own
  UnicodeString sample(u"Grüße, 1+1=2 & ‰ ~ok~");
  EXPECT_EQ(HTTPDecode(HtEncodeUrl(sample)), sample);
}

TEST(TextUtils, Utf8ByTable) {
  UnicodeString s(u"a\u00e9\u20ac");
  EXPECT_EQ(HtUTF8Encode(s), "a\xC3\xA9\xE2\x82\xAC");
  EXPECT_EQ(HtUTF8EncodetoBytes(s).size(), 6u);
  char buf[16];
  EXPECT_EQ(HtUTF8EncodePtr(u"\xD83D\xDE00", buf, 2), nullptr);  // caller must fall back
  EXPECT_EQ(HtUTF8Encode(u"\U0001F600"), "\xF0\x9F\x98\x80");
}

TEST(TextUtils, ByteConversions) {
  TBytes b = {0x41, 0x00, 0xE9, 0x20};
  UnicodeString s;
  THString::ANSIBytestoString(b, s, 2, -1);
  EXPECT_EQ(s, u"\u00e9 ");
  THString::ANSIBytestoString(b, s, 1, 2);
  EXPECT_EQ(s.ToU16(), std::u16string(u"\0\u00e9", 2));
  THString::BEUnicodeBytestoString({0x00, 0x41, 0x20, 0xAC, 0x99}, s);
  EXPECT_EQ(s, u"A\u20ac");
  THString::UnicodeBytestoString({0x41, 0x00, 0x42, 0x00}, s);
  EXPECT_EQ(s.ToU16(), std::u16string(u"AB\0\0", 4));  // only the first half is filled
  EXPECT_EQ(THString::StringtoANSIBytes(u"A\u0142"), (TBytes{0x41, 0x42}));
}

TEST(TextUtils, Files) {
  auto dir = std::filesystem::temp_directory_path() / ("nv_textfile_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  auto path = [&](const char* n) { return UnicodeString::FromUtf8((dir / n).string()); };
  struct Case { std::string bytes; std::u16string text; } cases[] = {
      {std::string("\xFF\xFE" "A\0B\0", 6), u"AB"},  // UTF-16 with its mark
      {std::string("A\0B\0", 4), u"AB"},             // second byte 0: UTF-16 from the start
      {std::string("\xFE\xFF\0A", 4), u"\x4100"},    // the other mark: read without swapping
      {"\xEF\xBB\xBF\xC3\xA9", u"\u00e9"},   // UTF-8 with its mark
      {"caf\xE9 \x80", u"caf\u00e9 \u20ac"}, // the system code page (1252)
      {"", u""},
  };
  for (auto& c : cases) {
    StrtoFileA(c.bytes, path("t.txt"));
    EXPECT_EQ(FileToStr(path("t.txt")).ToU16(), c.text);
    EXPECT_EQ(FileToStrR(path("t.txt")), c.bytes);
  }
  StrtoFile(u"\u20acx", path("w.txt"));
  EXPECT_EQ(FileToStrA(path("w.txt")), std::string("\xAC\x20x\0", 4));
  EXPECT_THROW(FileToStr(path("missing.txt")), EFOpenError);
  std::filesystem::remove_all(dir);
}

TEST(FastStringList, OrdinalLookupByPointer) {
  TFastStringList list(true);
  for (const char16_t* s : {u"beta", u"Alpha", u"alpha", u"al", u"b"}) list.AddObject(s, new TObject());
  std::u16string order;
  for (int32_t k = 0; k < list.Count(); ++k) order += list.GetList()[k].FString.ToU16() + u" ";
  EXPECT_EQ(order, u"Alpha al alpha b beta ");
  int32_t index = -1;
  std::u16string_view text = u"xx alpha yy";
  EXPECT_TRUE(list.FindPChar(text.data() + 3, 5, index));
  EXPECT_EQ(index, 2);
  EXPECT_FALSE(list.FindPChar(u"alp", 3, index));
  EXPECT_EQ(index, 2);
  EXPECT_FALSE(list.FindPChar(u"c", 1, index));
  EXPECT_EQ(index, 5);
  list.FreeListObjects();
  EXPECT_EQ(list.Count(), 0);
}
