#include "norvane/foundation/string_parser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>

#include "norvane/runtime/exception.h"

using namespace norvane;

namespace {

UnicodeString U(const char16_t* s) { return UnicodeString(s); }
std::string Utf8(const UnicodeString& s) { return s.ToUtf8(); }

TEST(StringParser, CursorBasics) {
  TStringParser sp(U(u"ab\ncd\n e"));
  EXPECT_TRUE(sp.First());
  EXPECT_EQ(sp.GetCurrent(), u'a');
  EXPECT_EQ(sp.Next(), u'b');
  EXPECT_FALSE(sp.First());
  EXPECT_EQ(sp.Pos(), 2);
  EXPECT_EQ(sp.Line(), 0);
  sp.Skip(2);  // behind the first line feed
  EXPECT_EQ(sp.Line(), 1);
  EXPECT_EQ(sp.CharPos(u'e'), 5);
  EXPECT_EQ(sp.CharPos(u'z'), 0);
  sp.Skipto(u'\n');
  EXPECT_EQ(Utf8(sp.Tail()), "\n e");
  sp.Skip(100);  // clamped
  EXPECT_TRUE(sp.Empty());
  EXPECT_EQ(sp.Line(), 2);
  EXPECT_EQ(sp.GetCurrent(), 0);  // the terminating zero at pend
  EXPECT_EQ(sp.Next(), 0);        // and Next stays there
  EXPECT_EQ(sp.p, sp.pend);
  sp.Skip(-100);
  EXPECT_TRUE(sp.First());
}

TEST(StringParser, EmptyTextEveryReader) {
  for (bool raise : {false, true}) {
    TStringParser sp{UnicodeString()};
    sp.RaiseException = raise;
    UnicodeString out = U(u"x");
    EXPECT_TRUE(sp.Empty());
    EXPECT_TRUE(sp.First());
    EXPECT_EQ(sp.GetCurrent(), 0);
    EXPECT_EQ(sp.Next(), 0);
    EXPECT_EQ(sp.Pos(), 1);
    EXPECT_EQ(sp.Line(), 0);
    EXPECT_TRUE(sp.Tail().IsEmpty());
    sp.Skip(3);
    sp.Skipto(u'a');
    sp.SkipBlanks();
    sp.SkipEndBlanks();
    EXPECT_TRUE(sp.StartsWith(u""));
    EXPECT_FALSE(sp.StartsWith(u"a"));
    EXPECT_FALSE(sp.ReadWord(out));
    EXPECT_FALSE(sp.ReadParam(out));
    EXPECT_FALSE(sp.ReadtoChar(u';', out, true));
    EXPECT_FALSE(sp.ReadtoChars(TAnsiCharSet(";"), out));
    EXPECT_FALSE(sp.ReadLn(out));
    EXPECT_FALSE(sp.ReadtoWordBreak(out));
    EXPECT_TRUE(out.IsEmpty());
    EXPECT_EQ(sp.ReadInt(), 0);
    EXPECT_EQ(sp.ReadInt1(), 0);
    EXPECT_EQ(sp.ReadHex(), 0);
    EXPECT_EQ(sp.ReadBin(), 0);
    EXPECT_EQ(sp.ReadNum(), 0);
    // Only these two raise at the end of the text.
    int64_t i = 5;
    long double f = 5;
    if (raise) {
      EXPECT_THROW(sp.ReadNumEx(), EConvertError);
      EXPECT_THROW(sp.ReadIntOrFloat(i, f), EConvertError);
    } else {
      EXPECT_EQ(sp.ReadNumEx(), 0);
      EXPECT_TRUE(sp.ReadIntOrFloat(i, f));
      EXPECT_EQ(i, 0);
    }
    EXPECT_EQ(sp.p, sp.pend);
  }
}

TEST(StringParser, SkipEndBlanksCutsTheText) {
  UnicodeString text = U(u"ab \r\n ");
  TStringParser sp(text);
  sp.Skip(5);
  sp.SkipEndBlanks();
  EXPECT_EQ(sp.pend - sp.Start(), 2);
  EXPECT_TRUE(sp.Empty());  // the cursor was beyond the new end
  EXPECT_EQ(sp.GetCurrent(), 0);
  EXPECT_EQ(Utf8(text), "ab \r\n ");  // the caller's string is untouched
  TStringParser sp2(U(u"x\t\n"));     // a tab is no end blank
  sp2.SkipEndBlanks();
  EXPECT_EQ(Utf8(sp2.Tail()), "x\t");
}

TEST(StringParser, StartsWithFoldsTheTextOnly) {
  TStringParser sp(U(u"</SCRIPT>x"));
  EXPECT_TRUE(sp.StartsWith(u"</script>"));
  EXPECT_FALSE(sp.StartsWith(u"</SCRIPT>"));  // the argument is not folded
  EXPECT_FALSE(sp.StartsWith(u"</script>xy"));  // longer than what is left
}

TEST(StringParser, WordsLinesAndParams) {
  struct Case {
    const char16_t* text;
    std::function<bool(TStringParser&, UnicodeString&)> read;
    bool result;
    const char* out;
    const char16_t* rest;
  };
  const Case cases[] = {
      {u"  abc,def", [](auto& sp, auto& s) { return sp.ReadWord(s); }, true, "abc", u",def"},
      {u",abc", [](auto& sp, auto& s) { return sp.ReadWord(s); }, true, ",abc", u""},  // first unit always taken
      {u" x", [](auto& sp, auto& s) { return sp.ReadWord(s, false); }, true, " x", u""},
      {u"a(b)", [](auto& sp, auto& s) { return sp.ReadWord(s); }, true, "a", u"(b)"},
      {u"( a b , c)", [](auto& sp, auto& s) { return sp.ReadParam(s); }, true, "a b", u", c)"},
      {u" )x", [](auto& sp, auto& s) { return sp.ReadParam(s); }, false, "", u"x"},
      {u", ", [](auto& sp, auto& s) { return sp.ReadParam(s); }, false, "", u""},
      {u";;a b ;c", [](auto& sp, auto& s) { return sp.ReadtoChar(u';', s, false); }, true, "a b ", u";c"},
      {u" ;;a b ;c", [](auto& sp, auto& s) { return sp.ReadtoChar(u';', s, true); }, true, "a b", u"c"},
      {u"abc", [](auto& sp, auto& s) { return sp.ReadtoChar(u';', s, true); }, false, "abc", u""},
      {u"  key=v", [](auto& sp, auto& s) { return sp.ReadtoChars(TAnsiCharSet("=:"), s); }, true, "key", u"=v"},
      {u"\u0100=", [](auto& sp, auto& s) { return sp.ReadtoChars(TAnsiCharSet(std::string_view("\0", 1)), s); }, false,
       "\u0100=", u""},  // units from 256 are never in the set
      {u"one\r\ntwo", [](auto& sp, auto& s) { return sp.ReadLn(s); }, true, "one", u"two"},
      {u"one\n\rtwo", [](auto& sp, auto& s) { return sp.ReadLn(s); }, true, "one", u"\rtwo"},
      {u"\r", [](auto& sp, auto& s) { return sp.ReadLn(s); }, true, "", u""},
      {u"last", [](auto& sp, auto& s) { return sp.ReadLn(s); }, true, "last", u""},
  };
  for (const Case& c : cases) {
    TStringParser sp{U(c.text)};
    UnicodeString out;
    EXPECT_EQ(c.read(sp, out), c.result) << Utf8(U(c.text));
    EXPECT_EQ(Utf8(out), c.out) << Utf8(U(c.text));
    EXPECT_EQ(sp.Tail().view(), std::u16string_view(c.rest)) << Utf8(U(c.text));
  }
}

TEST(StringParser, ReadtoWordBreak) {
  struct Case {
    const char16_t* text;
    std::vector<std::u16string> pieces;
  };
  const Case cases[] = {
      {u"Hello big world", {u"Hello", u" big", u" world"}},
      {u"well-known a/b", {u"well", u"-known", u" a", u"/b"}},
      {u"  lead", {u"  lead"}},
      // Each Chinese unit stands alone ...
      {u"中文abc", {u"中", u"文abc"}},
      // ... except that closing punctuation after it pulls the word along.
      {u"中文，好", {u"中文，", u"好"}},
      {u"说“好”的", {u"说“好”", u"的"}},
      {u"好!x y", {u"好!x", u" y"}},
      // U+3002 is itself in the Chinese range: the repeat stops before it.
      {u"中文。", {u"中文", u"。"}},
      {u"-", {u"-"}},
  };
  for (const Case& c : cases) {
    TStringParser sp{U(c.text)};
    UnicodeString piece;
    std::vector<std::u16string> got;
    while (sp.ReadtoWordBreak(piece)) got.push_back(piece.ToU16());
    EXPECT_EQ(got, c.pieces) << Utf8(U(c.text));
  }
}

TEST(StringParser, CharClassHelpers) {
  struct Case {
    char16_t c;
    bool chinese, cjk, high;
  };
  const Case cases[] = {
      {u'a', false, false, false},   {0x4E00, true, true, false}, {0x9FFF, true, true, false},
      {0x3002, true, true, false},   {0xF9FF, true, true, false}, {0xFA01, true, false, false},
      {0xFAFF, true, false, false},  {0xD800, false, false, true}, {0xDBFF, false, false, true},
      {0xDC00, false, false, false}, {0xFF0C, false, false, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(IsChinese(c.c), c.chinese) << int(c.c);
    EXPECT_EQ(IsCJK(c.c), c.cjk) << int(c.c);
    EXPECT_EQ(IsHighSurrogate(c.c), c.high) << int(c.c);
  }
  EXPECT_TRUE(HasChinese(u"ab中"));
  EXPECT_FALSE(HasChinese(u"ab。"));  // punctuation alone is not Chinese text
  EXPECT_FALSE(HasChinese(u""));
}

// Runs `read` on `text` and returns the value, or NAN when it raised.
template <class F>
double Read(const char16_t* text, bool raise, F read, std::u16string* rest = nullptr) {
  TStringParser sp{UnicodeString(text)};
  sp.RaiseException = raise;
  double v;
  try {
    v = double(read(sp));
  } catch (const EConvertError& e) {
    EXPECT_STREQ(e.what(), "Incorrect number");
    v = NAN;
  }
  if (rest) *rest = sp.Tail().ToU16();
  return v;
}

struct NumCase {
  const char16_t* text;
  bool raise;
  double value;  // NAN: raises
  const char16_t* rest;
};

template <class F>
void CheckNumbers(const char* reader, std::initializer_list<NumCase> cases, F read) {
  for (const NumCase& c : cases) {
    std::u16string rest;
    double v = Read(c.text, c.raise, read, &rest);
    std::string where = std::string(reader) + "(" + Utf8(U(c.text)) + (c.raise ? ", raise)" : ")");
    if (std::isnan(c.value)) {
      EXPECT_TRUE(std::isnan(v)) << where << " gave " << v;
    } else {
      EXPECT_DOUBLE_EQ(v, c.value) << where;
      EXPECT_EQ(rest, std::u16string(c.rest)) << where;
    }
  }
}

TEST(StringParser, ReadInt) {
  CheckNumbers("ReadInt",
               {
                   {u" 42x", false, 42, u"x"},
                   {u"-7", false, -7, u""},
                   {u"+7", false, 7, u""},
                   {u" , 5", false, 5, u""},   // one comma is skipped
                   {u",,5", false, 0, u",5"},  // but only one
                   {u"x", false, 0, u"x"},
                   {u"x", true, NAN, u""},
                   {u"--1", true, NAN, u""},
                   {u"   ", true, 0, u""},  // the end of the text is no error here
                   // Reading stops once the value reaches 0xCCCCCCC.
                   {u"2147483647", false, 214748364, u"7"},
                   {u"99999999999", false, 999999999, u"99"},
               },
               [](TStringParser& sp) { return sp.ReadInt(); });
  TStringParser sp(U(u"1, 2,3 ,4"));
  std::vector<int> got;
  while (!sp.Empty()) got.push_back(sp.ReadInt());
  EXPECT_EQ(got, (std::vector<int>{1, 2, 3, 4}));
}

TEST(StringParser, ReadInt1HexBin) {
  CheckNumbers("ReadInt1",
               {
                   {u"123", false, 1, u"23"},
                   {u"-9", false, -9, u""},
                   {u",x", true, 'x' - '0', u""},  // unchecked on purpose
                   {u"-", false, 0, u""},
               },
               [](TStringParser& sp) { return sp.ReadInt1(); });
  CheckNumbers("ReadHex",
               {
                   {u"ff", false, 255, u""},
                   {u"+-A0g", false, -160, u"g"},
                   {u"-+1", false, 0, u"+1"},
                   {u", 1F", false, 31, u""},
                   {u"g", false, 0, u"g"},
                   {u"g", true, NAN, u""},
                   {u"7fffffffffffffff", false, double(INT64_MAX), u""},
               },
               [](TStringParser& sp) { return sp.ReadHex(); });
  CheckNumbers("ReadBin",
               {
                   {u" 1012", false, 5, u"2"},
                   {u"+-11", false, -3, u""},
                   {u",1", false, 0, u",1"},  // no comma skip here
                   {u"2", true, NAN, u""},
               },
               [](TStringParser& sp) { return sp.ReadBin(); });
}

TEST(StringParser, ReadNum) {
  CheckNumbers("ReadNum",
               {
                   {u"1.5", false, 1.5, u""},
                   {u" +-2.25,", false, -2.25, u","},
                   {u".5", false, 0.5, u""},
                   {u"1e5", false, 1, u"e5"},  // no exponent
                   // Seven fraction digits count; the rest are consumed.
                   {u"0.123456789x", false, 0.1234567, u"x"},
                   {u"3000000000", false, 300000000, u"0"},
                   {u"x", false, 0, u"x"},
                   {u"x", true, NAN, u""},
               },
               [](TStringParser& sp) { return sp.ReadNum(); });
}

TEST(StringParser, ReadNumEx) {
  CheckNumbers("ReadNumEx",
               {
                   {u"1e5", false, 100000, u""},
                   {u"1e400", false, 1, u""},  // out-of-range exponent dropped
                   {u"1e400", true, NAN, u""},
                   {u"1e38", false, 1, u""},
                   {u"2.5E-3", false, 0.0025, u""},
                   {u"1e+2x", false, 100, u"x"},
                   {u"1ex", false, 1, u"ex"},  // "e" without digits is not an exponent
                   {u"12345678901234", false, 12345678901234.0, u""},
                   {u"-0.5", false, -0.5, u""},
                   {u".5", false, 0.5, u""},
                   {u".5", true, NAN, u""},
                   {u"05", false, 5, u""},
                   {u"05", true, NAN, u""},
                   {u"0.5", true, 0.5, u""},
                   {u"1.", false, 1, u""},
                   {u"1.", true, NAN, u""},
                   {u"1e", true, 1, u"e"},
                   {u", 7", true, 7, u""},
               },
               [](TStringParser& sp) { return sp.ReadNumEx(); });
}

TEST(StringParser, ReadIntOrFloat) {
  struct Case {
    const char16_t* text;
    bool raise;
    bool isInt;
    int64_t i;
    long double f;
    const char16_t* rest;  // nullptr: raises
  };
  const Case cases[] = {
      {u"42", false, true, 42, 0, u""},
      {u" -42;", false, true, -42, 0, u";"},
      {u"1..5", false, true, 1, 0, u"..5"},  // a range stays an integer
      {u"1.5", false, false, 0, 1.5L, u""},
      {u"1.0", false, false, 0, 1.0L, u""},
      {u"2e3", false, false, 0, 2000.0L, u""},
      {u"2E-2", false, false, 0, 0.02L, u""},
      {u"9223372036854775807", false, true, INT64_MAX, 0, u""},
      // One more and int64 overflows: the value goes on as a float.
      {u"9223372036854775808", false, false, 0, 9223372036854775808.0L, u""},
      {u"123456789012345678901234", false, false, 0, 123456789012345678901234.0L, u""},
      {u"0.1", false, false, 0, 0.1L, u""},
      {u"3.14159265358979", false, false, 0, 3.14159265358979L, u""},
      {u"1e300", false, false, 0, 1.0L, u""},  // exponent dropped
      {u"1e300", true, false, 0, 0, nullptr},
      {u"1e299", false, false, 0, 1e299L, u""},
      {u",1", false, true, 0, 0, u",1"},  // no comma skip
      {u"x", true, true, 0, 0, nullptr},
      {u"01", true, true, 0, 0, nullptr},
      {u"1.x", true, true, 0, 0, nullptr},
      {u"1e+", true, true, 0, 0, nullptr},
      {u"1..5", true, true, 1, 0, u"..5"},
  };
  for (const Case& c : cases) {
    TStringParser sp{U(c.text)};
    sp.RaiseException = c.raise;
    int64_t i = -1;
    long double f = -1;
    std::string where = Utf8(U(c.text)) + (c.raise ? " (raise)" : "");
    if (!c.rest) {
      EXPECT_THROW(sp.ReadIntOrFloat(i, f), EConvertError) << where;
      continue;
    }
    EXPECT_EQ(sp.ReadIntOrFloat(i, f), c.isInt) << where;
    if (c.isInt) {
      EXPECT_EQ(i, c.i) << where;
    } else {
      EXPECT_NEAR(double(f / c.f), 1.0, 1e-15) << where;
    }
    EXPECT_EQ(sp.Tail().ToU16(), std::u16string(c.rest)) << where;
  }
}

}  // namespace
