#include <gtest/gtest.h>

#include "norvane/foundation/number_text.h"
#include "norvane/runtime/exception.h"

using namespace norvane;

TEST(Numbers, LenientFloat) {
  struct Case { const char16_t* s; double v; } cases[] = {
      {u"", 0}, {u"1.5", 1.5}, {u"1,5", 1.5}, {u" 2", 2}, {u"2 ", 0}, {u"-3.25", -3.25},
      {u"+4", 4}, {u".5", 0.5}, {u"1.5e2", 150}, {u"1.5E-2", 0.015},
      {u"1.5e+2", 0},  // "+" after "e" is not accepted
      {u"1e17", 0}, {u"1e-17", 0}, {u"1e16", 1e16}, {u"\t1", 0}, {u"abc", 0}, {u"1.2.3", 0},
      {u"0.123456789", 0.1234567},  // fraction digits past the seventh are skipped
      {u"-", 0}, {u"1e", 1},
  };
  for (auto& c : cases) EXPECT_DOUBLE_EQ(iStrtoFloat(c.s), c.v) << std::string(UnicodeString(c.s).ToUtf8());
}

TEST(Numbers, StrictFloat) {
  struct Case { const char16_t* s; char16_t dec, thou; double v; } good[] = {
      {u"1 234,5", u',', u' ', 1234.5}, {u"1,234.5", u'.', u',', 1234.5}, {u"-.5", u'.', u',', -0.5},
      {u"2e16", u'.', u',', 2e16}, {u"", u'.', u',', 0},
  };
  for (auto& c : good) EXPECT_DOUBLE_EQ(StrtoFloatCheck(c.s, c.dec, c.thou), c.v);
  for (const char16_t* bad : {u"1e17", u"1.5x", u"x", u"1,5 ", u"1e+2"}) {
    try {
      StrtoFloatCheck(bad, u'.', u' ');
      ADD_FAILURE() << UnicodeString(bad).ToUtf8();
    } catch (const EConvertError&) {
      ADD_FAILURE() << "wrong class";
    } catch (const Exception& e) {
      EXPECT_EQ(e.Message(), u"Invalid number " + UnicodeString(bad));
    }
  }
}

TEST(Numbers, IntegersAndHex) {
  EXPECT_EQ(iStrtoInt(u"42"), 42);
  EXPECT_EQ(iStrtoInt(u"4x"), 0);
  struct Case { const char16_t* s; int32_t v; } cases[] = {
      {u"", 0}, {u"ffh", 255}, {u"0xff", 255}, {u"0x", 0}, {u"FF", 255}, {u"0XfF", 8703},  // only a lower-case "0x" is dropped: "X" counts 33
      {u"g", 16},  // letters past "f" keep counting
      {u"1?", 15},  // a unit outside the list counts as -1
      {u"ffffffff", -1}, {u"100000000", 0},
  };
  for (auto& c : cases) EXPECT_EQ(HexToDec(c.s), c.v) << UnicodeString(c.s).ToUtf8();
}

TEST(Numbers, Formatting) {
  struct Case { double v; int32_t dec; const char16_t* text; } cases[] = {
      {0.5, 2, u".5"}, {-0.25, 2, u"-.25"}, {2.0, 2, u"2"}, {1.25, 1, u"1.2"}, {12.3456, 3, u"12.346"},
      {-3, 0, u"-3"}, {0.001, 3, u".001"}, {123456.789, 9, u"123456.789"}, {1e20, 2, u"100000000000000000000"},
  };
  for (auto& c : cases) EXPECT_EQ(HtFormatDecimal(c.v, c.dec), c.text) << c.v;
  EXPECT_THROW(HtFormatDecimal(1.5, 10), EIntOverflow);
  EXPECT_EQ(HtFormatFloat(u"#,##0.00", 1234567.891), u"1 234 567.89");
}
