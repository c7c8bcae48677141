// Strings, integers, float parsing, rounding, booleans, Unicode case and
// classes, code pages.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <vector>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

using namespace norvane;

namespace {
std::string U(const UnicodeString& s) { return s.ToUtf8(); }
}  // namespace

TEST(Strings, PosCopyDeleteInsert) {
  EXPECT_EQ(Pos(u"lo", u"hello hello"), 4);
  EXPECT_EQ(Pos(u"lo", u"hello hello", 5), 10);
  EXPECT_EQ(Pos(u"lo", u"hello", 5), 0);
  EXPECT_EQ(Pos(u"", u"abc"), 0);
  EXPECT_EQ(Pos(u"a", u""), 0);
  EXPECT_EQ(Pos(u"a", u"abc", 0), 0);
  EXPECT_EQ(Pos(u"c", u"abc", 99), 0);
  EXPECT_EQ(Pos(u'c', u"abcabc", 4), 6);

  UnicodeString s(u"abcdef");
  EXPECT_EQ(U(Copy(s, 2, 3)), "bcd");
  EXPECT_EQ(U(Copy(s, 0, 2)), "ab");
  EXPECT_EQ(U(Copy(s, -5, 2)), "ab");
  EXPECT_EQ(U(Copy(s, 5, 100)), "ef");
  EXPECT_EQ(U(Copy(s, 7, 1)), "");
  EXPECT_EQ(U(Copy(s, 2, -1)), "");
  EXPECT_EQ(U(Copy(s, 3)), "cdef");
  EXPECT_TRUE(Copy(s, 1).SameBlock(s));

  UnicodeString d(u"abcdef");
  Delete(d, 2, 2);
  EXPECT_EQ(U(d), "adef");
  Delete(d, 3, 100);
  EXPECT_EQ(U(d), "ad");
  Delete(d, 0, 1);
  EXPECT_EQ(U(d), "ad");
  Delete(d, 5, 1);
  EXPECT_EQ(U(d), "ad");

  UnicodeString i(u"ace");
  Insert(u"b", i, 2);
  EXPECT_EQ(U(i), "abce");
  Insert(u"<", i, -3);
  EXPECT_EQ(U(i), "<abce");
  Insert(u">", i, 100);
  EXPECT_EQ(U(i), "<abce>");
  UnicodeString e;
  Insert(u"x", e, 1);
  EXPECT_EQ(U(e), "x");

  EXPECT_EQ(U(StringOfChar(u'-', 3)), "---");
  EXPECT_EQ(U(StringOfChar(u'-', -1)), "");
}

TEST(Strings, Replace) {
  UnicodeString s(u"Hello hello HELLO");
  EXPECT_EQ(U(StringReplace(s, u"hello", u"bye", ReplaceFlags::None)), "Hello bye HELLO");
  EXPECT_EQ(U(StringReplace(s, u"hello", u"bye", ReplaceFlags::ReplaceAll)), "Hello bye HELLO");
  EXPECT_EQ(U(StringReplace(s, u"hello", u"bye", ReplaceFlags::IgnoreCase)), "bye hello HELLO");
  EXPECT_EQ(U(StringReplace(s, u"hello", u"bye", ReplaceFlags::All_IgnoreCase)), "bye bye bye");
  EXPECT_EQ(U(StringReplace(u"aaa", u"a", u"aa", ReplaceFlags::ReplaceAll)), "aaaaaa");
  EXPECT_EQ(U(StringReplace(u"abc", u"", u"x", ReplaceFlags::ReplaceAll)), "abc");
  EXPECT_EQ(U(StringReplace(U8("ÄBC äbc"), U8("äb"), u"-", ReplaceFlags::All_IgnoreCase)), "-C -c");
}

TEST(Strings, CaseAndCompare) {
  EXPECT_EQ(U(UpperCase(U8("abc äöü"))), "ABC äöü");
  EXPECT_EQ(U(LowerCase(U8("ABC ÄÖÜ"))), "abc ÄÖÜ");
  EXPECT_EQ(U(AnsiUpperCase(U8("abc äöü straße"))), "ABC ÄÖÜ STRAßE");  // sharp s unchanged
  EXPECT_EQ(U(AnsiLowerCase(U8("ÄÖÜ ΑΒΓ АБВ"))), "äöü αβγ абв");
  EXPECT_EQ(U(AnsiUpperCase(U8("αβγ ς абв ёж"))), "ΑΒΓ Σ АБВ ЁЖ");
  EXPECT_EQ(UnicodeUpper(u'i'), u'I');
  EXPECT_EQ(UnicodeUpper(u'\u0131'), u'I');      // dotless i
  EXPECT_EQ(UnicodeLower(u'\u0130'), u'i');      // dotted capital I
  EXPECT_EQ(UnicodeLower(u'I'), u'i');
  EXPECT_EQ(UnicodeUpper(u'\u00DF'), u'\u00DF');  // sharp s
  EXPECT_EQ(UnicodeUpper(u'\u00FF'), u'\u0178');
  EXPECT_EQ(UnicodeUpper(u'\u01C5'), u'\u01C4');  // titlecase Dz
  EXPECT_EQ(UnicodeLower(u'\u01C5'), u'\u01C6');
  EXPECT_EQ(UnicodeUpper(u'\u1F80'), u'\u1F88');  // iota subscript: simple mapping
  EXPECT_EQ(UnicodeUpper(u'\uFB00'), u'\uFB00');  // ligature ff has no simple upper
  EXPECT_EQ(UnicodeUpper(u'\uFF41'), u'\uFF21');  // fullwidth a
  EXPECT_EQ(UnicodeUpper(u'5'), u'5');
  EXPECT_EQ(UnicodeLower(u'\u2C00'), u'\u2C30');  // Glagolitic
  UnicodeString same(u"ABC");
  EXPECT_TRUE(AnsiUpperCase(same).SameBlock(same));

  EXPECT_LT(CompareStr(u"A", u"a"), 0);
  EXPECT_EQ(CompareStr(u"abc", u"abc"), 0);
  EXPECT_GT(CompareStr(u"abd", u"abc"), 0);
  EXPECT_LT(CompareStr(u"ab", u"abc"), 0);
  EXPECT_EQ(CompareText(u"HeLLo", u"hello"), 0);
  EXPECT_LT(CompareText(u"a", u"B"), 0);
  EXPECT_NE(CompareText(U8("Ä"), U8("ä")), 0);  // ASCII folding only
  EXPECT_TRUE(SameText(u"ABC", u"abc"));
  EXPECT_FALSE(SameText(u"ABC", u"abcd"));
  EXPECT_TRUE(SameStr(u"x", u"x"));
  EXPECT_FALSE(SameStr(u"x", u"X"));
  EXPECT_EQ(AnsiCompareText(U8("ÄBC"), U8("äbc")), 0);
  EXPECT_TRUE(AnsiSameText(U8("ПРИВЕТ"), U8("привет")));
  EXPECT_FALSE(AnsiSameText(U8("straße"), U8("STRASSE")));
  EXPECT_LT(AnsiCompareText(u"a", u"B"), 0);
}

TEST(Strings, Trim) {
  EXPECT_EQ(U(Trim(u" \t\r\n x y \x01")), "x y");
  EXPECT_EQ(U(TrimLeft(u"  x ")), "x ");
  EXPECT_EQ(U(TrimRight(u"  x ")), "  x");
  EXPECT_EQ(U(Trim(u"   ")), "");
  EXPECT_EQ(U(Trim(u"\u00A0x\u00A0")), "\u00A0x\u00A0");  // only units <= U+0020
  UnicodeString s(u"abc");
  EXPECT_TRUE(Trim(s).SameBlock(s));
}

TEST(Strings, Classes) {
  EXPECT_TRUE(IsLetter(u'a'));
  EXPECT_TRUE(IsLetter(u'\u00E9'));
  EXPECT_TRUE(IsLetter(u'\u4E2D'));  // CJK
  EXPECT_TRUE(IsLetter(u'\u05D0'));  // Hebrew alef
  EXPECT_FALSE(IsLetter(u'1'));
  EXPECT_FALSE(IsLetter(u'_'));
  EXPECT_TRUE(IsNumber(u'7'));
  EXPECT_TRUE(IsNumber(u'\u0663'));  // Arabic-Indic three
  EXPECT_TRUE(IsNumber(u'\u00BD'));  // one half (No)
  EXPECT_TRUE(IsNumber(u'\u2167'));  // Roman numeral (Nl)
  EXPECT_FALSE(IsNumber(u'x'));
  EXPECT_TRUE(IsLetterOrDigit(u'x'));
  EXPECT_TRUE(IsLetterOrDigit(u'9'));
  EXPECT_FALSE(IsLetterOrDigit(u'\u00BD'));
  EXPECT_FALSE(IsLetterOrDigit(u'-'));
  EXPECT_TRUE(IsWhiteSpace(u' '));
  EXPECT_TRUE(IsWhiteSpace(u'\t'));
  EXPECT_TRUE(IsWhiteSpace(u'\n'));
  EXPECT_TRUE(IsWhiteSpace(u'\u00A0'));
  EXPECT_TRUE(IsWhiteSpace(u'\u2028'));
  EXPECT_TRUE(IsWhiteSpace(u'\u3000'));
  EXPECT_TRUE(IsWhiteSpace(u'\u0085'));
  EXPECT_FALSE(IsWhiteSpace(u'x'));
  EXPECT_FALSE(IsWhiteSpace(u'\u200B'));  // zero width space is Cf
}

TEST(Integers, ToStr) {
  EXPECT_EQ(U(IntToStr(0)), "0");
  EXPECT_EQ(U(IntToStr(-123)), "-123");
  EXPECT_EQ(U(IntToStr(INT64_MIN)), "-9223372036854775808");
  EXPECT_EQ(U(UIntToStr(UINT64_MAX)), "18446744073709551615");
  EXPECT_EQ(U(IntToHex(255, 4)), "00FF");
  EXPECT_EQ(U(IntToHex(0xABCDEF, 2)), "ABCDEF");
  EXPECT_EQ(U(IntToHex(0, 0)), "0");
  EXPECT_EQ(U(IntToHex(uint64_t(-1), 0)), "FFFFFFFFFFFFFFFF");
}

TEST(Integers, StrToInt) {
  struct Case {
    const char16_t* s;
    bool ok;
    int32_t v;
  } cases[] = {
      {u"0", true, 0},
      {u"123", true, 123},
      {u"-123", true, -123},
      {u"+7", true, 7},
      {u"  42", true, 42},
      {u"\t42", true, 42},
      {u"42 ", false, 0},
      {u"4 2", false, 0},
      {u"", false, 0},
      {u" ", false, 0},
      {u"+", false, 0},
      {u"-", false, 0},
      {u"$", false, 0},
      {u"0x", false, 0},
      {u"12a", false, 0},
      {u"1.0", false, 0},
      {u"2147483647", true, 2147483647},
      {u"-2147483648", true, INT32_MIN},
      {u"2147483648", false, 0},
      {u"-2147483649", false, 0},
      {u"99999999999999999999", false, 0},
      {u"$FF", true, 255},
      {u"$ff", true, 255},
      {u"0x1F", true, 31},
      {u"0X1f", true, 31},
      {u"x10", true, 16},
      {u"-$10", true, -16},
      {u"$7FFFFFFF", true, INT32_MAX},
      {u"$FFFFFFFF", true, -1},
      {u"$100000000", false, 0},
      {u"$G", false, 0},
      {u"00012", true, 12},
  };
  for (const auto& c : cases) {
    int32_t v = -999;
    EXPECT_EQ(TryStrToInt(c.s, v), c.ok) << U(c.s);
    if (c.ok) {
      EXPECT_EQ(v, c.v) << U(c.s);
    }
  }
  EXPECT_EQ(StrToInt(u"-5"), -5);
  try {
    StrToInt(u"abc");
    ADD_FAILURE();
  } catch (const EConvertError& e) {
    EXPECT_EQ(U(e.Message()), "'abc' is not a valid integer value");
  }
  EXPECT_THROW(StrToInt(u""), EConvertError);
  EXPECT_EQ(StrToIntDef(u"x", 9), 9);

  int64_t w;
  EXPECT_TRUE(TryStrToInt64(u"9223372036854775807", w));
  EXPECT_EQ(w, INT64_MAX);
  EXPECT_TRUE(TryStrToInt64(u"-9223372036854775808", w));
  EXPECT_EQ(w, INT64_MIN);
  EXPECT_FALSE(TryStrToInt64(u"9223372036854775808", w));
  EXPECT_TRUE(TryStrToInt64(u"$FFFFFFFFFFFFFFFF", w));
  EXPECT_EQ(w, -1);
  EXPECT_TRUE(TryStrToInt64(u"$100000000", w));
  EXPECT_EQ(w, 0x100000000ll);
  EXPECT_EQ(StrToInt64(u"  -42"), -42);
  EXPECT_THROW(StrToInt64(u"1e3"), EConvertError);
}

TEST(Floats, StrToFloat) {
  struct Case {
    const char16_t* s;
    bool ok;
    double v;
  } cases[] = {
      {u"0", true, 0},
      {u"1.5", true, 1.5},
      {u"-1.5", true, -1.5},
      {u"+2", true, 2},
      {u"  3.25  ", true, 3.25},
      {u".5", true, 0.5},
      {u"5.", true, 5},
      {u"1e3", true, 1000},
      {u"1E-2", true, 0.01},
      {u"-2.5e+2", true, -250},
      {u"0.1", true, 0.1},
      {u"1e-400", true, 0},
      {u"1e400", false, 0},
      {u"", false, 0},
      {u".", false, 0},
      {u"-", false, 0},
      {u"1e", false, 0},
      {u"1e+", false, 0},
      {u"1,5", false, 0},
      {u"1.2.3", false, 0},
      {u"abc", false, 0},
      {u"1 2", false, 0},
      {u"$10", false, 0},
      {u"INF", true, INFINITY},
      {u"-inf", true, -INFINITY},
  };
  for (const auto& c : cases) {
    double v = -999;
    EXPECT_EQ(TryStrToFloat(c.s, v), c.ok) << U(c.s);
    if (c.ok) {
      EXPECT_EQ(v, c.v) << U(c.s);
    }
  }
  double v;
  EXPECT_TRUE(TryStrToFloat(u"NaN", v));
  EXPECT_TRUE(std::isnan(v));
  try {
    StrToFloat(u"1,5");
    ADD_FAILURE();
  } catch (const EConvertError& e) {
    EXPECT_EQ(U(e.Message()), "'1,5' is not a valid floating point value");
  }
  TFormatSettings fs;
  fs.DecimalSeparator = u',';
  EXPECT_EQ(StrToFloat(u"1,5", fs), 1.5);
  EXPECT_EQ(StrToFloatDef(u"x", 2.5), 2.5);
  // Round trip of FloatToStr for ordinary values.
  for (double d : {0.1, 1.0 / 3, 123456.789, 1e-10, 6.02214076e23, -42.0})
    EXPECT_NEAR(StrToFloat(FloatToStr(d)), d, std::fabs(d) * 1e-14);
}

TEST(Floats, Rounding) {
  EXPECT_EQ(Round(2.5), 2);
  EXPECT_EQ(Round(3.5), 4);
  EXPECT_EQ(Round(-2.5), -2);
  EXPECT_EQ(Round(-3.5), -4);
  EXPECT_EQ(Round(2.4999), 2);
  EXPECT_EQ(Round(-0.6), -1);
  EXPECT_EQ(MathRound(2.5), 3);
  EXPECT_EQ(MathRound(-2.5), -3);
  EXPECT_EQ(MathRound(0.49), 0);
  EXPECT_EQ(Trunc(2.9), 2);
  EXPECT_EQ(Trunc(-2.9), -2);
  EXPECT_EQ(Trunc(NAN), INT64_MIN);
  EXPECT_DOUBLE_EQ(Frac(2.75), 0.75);
  EXPECT_DOUBLE_EQ(Frac(-2.75), -0.75);
}

TEST(Booleans, Conversions) {
  EXPECT_EQ(U(BoolToStr(true)), "-1");
  EXPECT_EQ(U(BoolToStr(false)), "0");
  EXPECT_EQ(U(BoolToStr(true, true)), "True");
  EXPECT_EQ(U(BoolToStr(false, true)), "False");
  EXPECT_EQ(U(BoolToStr(true, false)), "-1");
  EXPECT_EQ(U(BoolToStr(false, false)), "0");
  EXPECT_TRUE(StrToBool(u"TRUE"));
  EXPECT_TRUE(StrToBool(u"true"));
  EXPECT_FALSE(StrToBool(u"False"));
  EXPECT_TRUE(StrToBool(u"-1"));
  EXPECT_TRUE(StrToBool(u"2.5"));
  EXPECT_FALSE(StrToBool(u"0"));
  bool b;
  EXPECT_FALSE(TryStrToBool(u"yes", b));
  try {
    StrToBool(u"maybe");
    ADD_FAILURE();
  } catch (const EConvertError& e) {
    EXPECT_EQ(U(e.Message()), "'maybe' is not a valid boolean value");
  }
}

TEST(CodePages, Names) {
  EXPECT_EQ(CodePageName(1252), "CP1252");
  EXPECT_EQ(CodePageName(65001), "UTF-8");
  EXPECT_EQ(CodePageName(20866), "KOI8-R");
  EXPECT_EQ(CodePageName(28605), "ISO-8859-15");
  EXPECT_EQ(CodePageName(12345), "");
  EXPECT_THROW(DecodeCodePage("x", 12345), EEncodingError);
  try {
    EncodeCodePage(u"x", 4242);
    ADD_FAILURE();
  } catch (const EEncodingError& e) {
    EXPECT_EQ(U(e.Message()), "Unsupported code page 4242");
  }
}

TEST(CodePages, Decode) {
  EXPECT_EQ(DecodeCodePage("\x80", 1252).view(), u"\u20AC");
  EXPECT_EQ(DecodeCodePage("a\xE9\x81", 1252).view(), u"a\u00E9\u0081");
  EXPECT_EQ(DecodeCodePage("\xCF\xF0\xE8", 1251).view(), u"\u041F\u0440\u0438");
  EXPECT_EQ(DecodeCodePage("\xF0\xD2", 20866).view(), u"\u041F\u0440");  // KOI8: capitals high
  EXPECT_EQ(DecodeCodePage("\xA4", 28605).view(), u"\u20AC");
  EXPECT_EQ(DecodeCodePage("\x80\xFF", 28591).view(), u"\u0080\u00FF");
  EXPECT_EQ(DecodeCodePage("A\x80", 20127).view(), u"A\uFFFD");
  EXPECT_EQ(DecodeCodePage("h\xC3\xA9\xF0\x9F\x98\x80", 65001).view(), u"h\u00E9\U0001F600");
  EXPECT_EQ(DecodeCodePage("a\xFF" "b", 65001).view(), u"a\uFFFDb");
  EXPECT_EQ(DecodeCodePage(std::string("a\0b\0", 4), 1200).view(), u"ab");
  EXPECT_EQ(DecodeCodePage(std::string("\0a\0b", 4), 1201).view(), u"ab");
  EXPECT_EQ(DecodeCodePage(std::string("a\0b", 3), 1200).view(), u"a\uFFFD");
  EXPECT_EQ(DecodeCodePage("\x82\xA0", 932).view(), u"\u3042");  // hiragana a
  EXPECT_EQ(DecodeCodePage("\xC4\xE3", 936).view(), u"\u4F60");   // ni
  EXPECT_EQ(DecodeCodePage("\xB0\xA1", 949).view(), u"\uAC00");   // ga
  EXPECT_EQ(DecodeCodePage("\xA4\xA4", 950).view(), u"\u4E2D");   // zhong
  EXPECT_EQ(DecodeCodePage("\xA4\xA2", 51932).view(), u"\u3042");
  EXPECT_EQ(DecodeCodePage("\x1B$B$\"\x1B(B", 50220).view(), u"\u3042");
  EXPECT_EQ(DecodeCodePage("~{<:Ky2;!#~}Bye.", 52936).view(), u"\u5DF1\u6240\u4E0D\u3002Bye.");
  EXPECT_EQ(DecodeCodePage("a~~b", 52936).view(), u"a~b");
  EXPECT_EQ(DecodeCodePage("\x82\xA0\x80", 932).view().substr(0, 1), u"\u3042");
  // Invalid and incomplete sequences in a multi-byte code page.
  EXPECT_EQ(DecodeCodePage("a\x82", 932).view(), u"a\uFFFD");
  EXPECT_EQ(DecodeCodePage("\xFF" "a", 936).view().back(), u'a');
  EXPECT_EQ(DecodeCodePage("", 936).view(), u"");
  EXPECT_EQ(DecodeCodePage(std::string(10000, 'x'), 1251).Length(), 10000);
}

TEST(CodePages, Encode) {
  EXPECT_EQ(EncodeCodePage(u"\u20AC\u00E9\u0081", 1252), "\x80\xE9\x81");
  EXPECT_EQ(EncodeCodePage(u"a\u4E2Db", 1252), "a?b");
  EXPECT_EQ(EncodeCodePage(u"\U0001F600", 1252), "?");
  EXPECT_EQ(EncodeCodePage(u"\u041F\u0440\u0438", 1251), "\xCF\xF0\xE8");
  EXPECT_EQ(EncodeCodePage(u"x\u4E2Dy", 1251), "x?y");
  EXPECT_EQ(EncodeCodePage(u"\U0001F600z", 1251), "?z");
  EXPECT_EQ(EncodeCodePage(u"\u0100", 28591), "?");
  EXPECT_EQ(EncodeCodePage(u"\u00FF", 28591), "\xFF");
  EXPECT_EQ(EncodeCodePage(u"\u00E9", 20127), "?");
  EXPECT_EQ(EncodeCodePage(u"h\u00E9\U0001F600", 65001), "h\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(EncodeCodePage(std::u16string(1, char16_t(0xD800)), 65001), "?");
  EXPECT_EQ(EncodeCodePage(u"ab", 1200), std::string("a\0b\0", 4));
  EXPECT_EQ(EncodeCodePage(u"ab", 1201), std::string("\0a\0b", 4));
  EXPECT_EQ(EncodeCodePage(u"\u3042", 932), "\x82\xA0");
  EXPECT_EQ(EncodeCodePage(u"\u3042\u00E9", 50220), "\x1B$B$\"\x1B(B?");
  EXPECT_EQ(EncodeCodePage(u"\u5DF1\u6240\u4E0D\u3002Bye.", 52936), "~{<:Ky2;!#~}Bye.");
  EXPECT_EQ(EncodeCodePage(u"\u0E01\u4E2D", 936), "?\xD6\xD0");  // Thai ko kai is not in GBK
  EXPECT_EQ(EncodeCodePage(std::u16string(1, char16_t(0xDC00)) + u"a", 1251), "?a");
  // Round trips.
  std::u16string text = u"Gr\u00FC\u00DFe \u20AC \u00E0\u00E9\u00EE\u00F5\u00FC";
  for (uint32_t cp : {1252u, 28605u, 65001u, 1200u, 1201u, 12000u, 54936u, 65000u})
    EXPECT_EQ(DecodeCodePage(EncodeCodePage(text, cp), cp).view(), text) << cp;
}

TEST(CodePages, SystemCodePage) {
  EXPECT_EQ(SystemCodePage(), 1252u);
  EXPECT_EQ(AnsiToUnicode("\x80").view(), u"\u20AC");
  SetSystemCodePage(1251);
  EXPECT_EQ(SystemCodePage(), 1251u);
  EXPECT_EQ(AnsiToUnicode("\xC0").view(), u"\u0410");
  EXPECT_EQ(UnicodeToAnsi(u"\u0410\u20AC"), "\xC0\x88");
  SetSystemCodePage(1252);
  EXPECT_EQ(UnicodeToAnsi(u"\u20AC"), "\x80");
}

TEST(CodePages, Threads) {
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&failures, t] {
      uint32_t cp = (t % 2) ? 1251 : 932;
      std::u16string s = (t % 2) ? u"\u041F\u0440\u0438\u0432\u0435\u0442" : u"\u3042\u3044\u3046";
      for (int i = 0; i < 500; ++i)
        if (DecodeCodePage(EncodeCodePage(s, cp), cp).view() != s) ++failures;
    });
  for (auto& th : threads) th.join();
  EXPECT_EQ(failures.load(), 0);
}
