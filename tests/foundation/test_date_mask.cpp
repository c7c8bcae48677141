#include <gtest/gtest.h>

#include "norvane/foundation/date_mask.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

using namespace norvane;

namespace {

TDateTime DT(int y, int m, int d, int h = 0, int n = 0, int s = 0) {
  return EncodeDate(uint16_t(y), uint16_t(m), uint16_t(d)) + (h * 3600 + n * 60 + s) / 86400.0;
}

}  // namespace

TEST(DateMask, ReadsByMask) {
  struct Case { const char16_t* text; const char16_t* mask; TDateTime v; } cases[] = {
      {u"31.12.2020", u"dd.mm.yyyy", DT(2020, 12, 31)},
      {u"1/5/2020", u"d/m/yyyy", DT(2020, 5, 1)},
      {u"15/5/2020", u"d/m/yyyy", DT(2020, 5, 15)},  // a single "d" takes two digits when there are two
      {u"05-Mar-21", u"dd-mmm-yy", DT(2021, 3, 5)},
      {u"05 March 1999!", u"dd mmmm yyyy!", DT(1999, 3, 5)},
      {u"September 3, 2001", u"MMM d, yyyy", DT(2001, 9, 3)},
      {u"7 марта 2015", u"d mmmm yyyy", DT(2015, 3, 7)},
      {u"1 мая 2015", u"d mmmm yyyy", DT(2015, 5, 1)},
      {u"3 янв 2015", u"d mmm yyyy", DT(2015, 1, 3)},
      {u"01.02.15", u"dd.mm.yyyy", DT(2015, 2, 1)},  // two units left: read as "yy"
      {u"12:30:15", u"hh:nn:ss", DT(1899, 12, 30, 12, 30, 15)},
      {u"03:04 am", u"hh:nn pm", DT(1899, 12, 30, 15, 4)},  // "a" is what sets the afternoon
      {u"03:04 pm", u"hh:nn pm", DT(1899, 12, 30, 3, 4)},
      {u"20.01.2021 7:05", u"dd.mm.yyyy h:nn", DT(2021, 1, 20, 7, 5)},
      {u"", u"dd.mm.yyyy", 0},
  };
  for (auto& c : cases) EXPECT_DOUBLE_EQ(StrtoDateFmt(c.text, c.mask), c.v) << UnicodeString(c.text).ToUtf8();
}

TEST(DateMask, PicksAMaskFromTheText) {
  struct Case { const char16_t* text; TDateTime v; } cases[] = {
      {u"31.12.99", DT(1999, 12, 31)}, {u"31.12.59", DT(2059, 12, 31)}, {u"31.12.1999", DT(1999, 12, 31)},
      {u"12/31/1999", DT(1999, 12, 31)}, {u"1999-12-31", DT(1999, 12, 31)}, {u"31-Dec-1999", DT(1999, 12, 31)},
      {u"1/31/1999", DT(1999, 1, 31)}, {u"12/1/1999", DT(1999, 12, 1)}, {u"1/2/1999", DT(1999, 1, 2)},
      {u"31-Dec-99", DT(1999, 12, 31)},
      {u"31.12.1999 23:59:58", DT(1999, 12, 31, 23, 59, 58)}, {u"31.12.1999 3:59:58", DT(1999, 12, 31, 3, 59, 58)},
      {u"31.12.99 3:59", DT(1999, 12, 31, 3, 59)}, {u"31-12-1999 01:02:03", DT(1999, 12, 31, 1, 2, 3)},
      {u"31-Dec-1999 01:02:03", DT(1999, 12, 31, 1, 2, 3)}, {u"1999-12-31 01:02:03", DT(1999, 12, 31, 1, 2, 3)},
      {u"31.12.199", 0}, {u"31.12.1999 1", 0},  // lengths with no mask
  };
  for (auto& c : cases) EXPECT_DOUBLE_EQ(StrtoDateFmt(c.text, u""), c.v) << UnicodeString(c.text).ToUtf8();
  EXPECT_DOUBLE_EQ(StrtoDateFmt(u"Log=*10:22:33.123 UTC Mon Mar 1 2021", u"cisco"), DT(2021, 3, 1, 10, 22, 33));
}

TEST(DateMask, MismatchesRaise) {
  struct Case { const char16_t* text; const char16_t* mask; } cases[] = {
      {u"32.12.2020", u"dd.mm.yyyy"}, {u"31.13.2020", u"dd.mm.yyyy"}, {u"xx.12.2020", u"dd.mm.yyyy"},
      {u"24:00", u"hh:nn"}, {u"23:60", u"hh:nn"}, {u"01.01.2", u"dd.mm.yyyy"}, {u"01-Foo-2020", u"dd-mmm-yyyy"},
      {u"x", u"d"},
  };
  for (auto& c : cases) {
    try {
      StrtoDateFmt(c.text, c.mask);
      ADD_FAILURE() << UnicodeString(c.text).ToUtf8();
    } catch (const EConvertError& e) {
      EXPECT_EQ(e.Message(), u"Date/time string '" + UnicodeString(c.text) + u"' does not match mask '" +
                                 UnicodeString(c.mask) + u"'");
    }
  }
  EXPECT_THROW(StrtoDateFmt(u"30.02.2020", u"dd.mm.yyyy"), EConvertError);  // the date encoder refuses it
}
