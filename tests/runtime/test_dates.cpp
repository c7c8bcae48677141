// TDateTime encoding, decoding, formatting and parsing.
#include <gtest/gtest.h>

#include <cmath>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

using namespace norvane;

namespace {
std::string U(const UnicodeString& s) { return s.ToUtf8(); }

struct YMD {
  uint16_t y, m, d;
};
YMD Dec(TDateTime t) {
  YMD r{};
  DecodeDate(t, r.y, r.m, r.d);
  return r;
}
}  // namespace

TEST(Dates, Encode) {
  EXPECT_EQ(EncodeDate(1899, 12, 30), 0);
  EXPECT_EQ(EncodeDate(1899, 12, 31), 1);
  EXPECT_EQ(EncodeDate(1900, 1, 1), 2);
  EXPECT_EQ(EncodeDate(1899, 12, 29), -1);
  EXPECT_EQ(EncodeDate(2000, 1, 1), 36526);
  EXPECT_EQ(EncodeDate(2024, 2, 29), 45351);
  EXPECT_EQ(EncodeDate(1, 1, 1), -693593);
  EXPECT_EQ(EncodeDate(9999, 12, 31), 2958465);
  TDateTime d;
  EXPECT_FALSE(TryEncodeDate(2023, 2, 29, d));
  EXPECT_TRUE(TryEncodeDate(2000, 2, 29, d));
  EXPECT_FALSE(TryEncodeDate(1900, 2, 29, d));
  EXPECT_FALSE(TryEncodeDate(0, 1, 1, d));
  EXPECT_FALSE(TryEncodeDate(10000, 1, 1, d));
  EXPECT_FALSE(TryEncodeDate(2020, 13, 1, d));
  EXPECT_FALSE(TryEncodeDate(2020, 4, 31, d));
  EXPECT_FALSE(TryEncodeDate(2020, 1, 0, d));
  try {
    EncodeDate(2021, 2, 30);
    ADD_FAILURE();
  } catch (const EConvertError& e) {
    EXPECT_EQ(U(e.Message()), "Invalid argument to date encode");
  }
  EXPECT_DOUBLE_EQ(EncodeTime(12, 0, 0, 0), 0.5);
  EXPECT_DOUBLE_EQ(EncodeTime(6, 0, 0, 0), 0.25);
  EXPECT_DOUBLE_EQ(EncodeTime(0, 0, 0, 0), 0);
  try {
    EncodeTime(24, 0, 0, 0);
    ADD_FAILURE();
  } catch (const EConvertError& e) {
    EXPECT_EQ(U(e.Message()), "Invalid argument to time encode");
  }
  EXPECT_FALSE(TryEncodeTime(1, 60, 0, 0, d));
  EXPECT_FALSE(TryEncodeTime(1, 0, 60, 0, d));
  EXPECT_FALSE(TryEncodeTime(1, 0, 0, 1000, d));
}

TEST(Dates, LeapYears) {
  EXPECT_TRUE(IsLeapYear(2000));
  EXPECT_TRUE(IsLeapYear(2024));
  EXPECT_TRUE(IsLeapYear(1600));
  EXPECT_FALSE(IsLeapYear(1900));
  EXPECT_FALSE(IsLeapYear(2100));
  EXPECT_FALSE(IsLeapYear(2023));
}

TEST(Dates, DecodeRoundTrip) {
  for (int y : {1, 4, 99, 100, 400, 1600, 1899, 1900, 1970, 2000, 2024, 2100, 9999})
    for (int m = 1; m <= 12; ++m)
      for (int d : {1, 15, 28}) {
        YMD r = Dec(EncodeDate(uint16_t(y), uint16_t(m), uint16_t(d)));
        EXPECT_EQ(r.y, y);
        EXPECT_EQ(r.m, m);
        EXPECT_EQ(r.d, d);
      }
  // Every day over several 400-year cycles.
  for (int n = -693593; n <= 2958465; n += 37) {
    YMD r = Dec(n);
    EXPECT_EQ(EncodeDate(r.y, r.m, r.d), n);
  }
  YMD r = Dec(EncodeDate(2024, 12, 31));
  EXPECT_EQ(r.m, 12);
  EXPECT_EQ(r.d, 31);
  r = Dec(EncodeDate(2000, 12, 31));
  EXPECT_EQ(r.d, 31);
}

TEST(Dates, Time) {
  uint16_t h, m, s, ms;
  DecodeTime(EncodeTime(13, 45, 30, 250), h, m, s, ms);
  EXPECT_EQ(h, 13);
  EXPECT_EQ(m, 45);
  EXPECT_EQ(s, 30);
  EXPECT_EQ(ms, 250);
  DecodeTime(EncodeDate(2020, 1, 1) + EncodeTime(23, 59, 59, 999), h, m, s, ms);
  EXPECT_EQ(h, 23);
  EXPECT_EQ(m, 59);
  EXPECT_EQ(s, 59);
  EXPECT_EQ(ms, 999);
}

TEST(Dates, NegativeDates) {
  // The date is the integer part toward zero, the time |fraction|.
  YMD r = Dec(-1.25);
  EXPECT_EQ(r.y, 1899);
  EXPECT_EQ(r.m, 12);
  EXPECT_EQ(r.d, 29);
  uint16_t h, m, s, ms;
  DecodeTime(-1.25, h, m, s, ms);
  EXPECT_EQ(h, 6);
  DecodeTime(-0.75, h, m, s, ms);  // still 1899-12-30
  EXPECT_EQ(h, 18);
  r = Dec(-0.75);
  EXPECT_EQ(r.d, 30);
  EXPECT_EQ(U(DateTimeToStr(-1.25)), "1899-12-29 06:00:00");
  EXPECT_EQ(StrToDateTime(u"1899-12-29 06:00:00"), -1.25);
  EXPECT_EQ(U(DateToStr(EncodeDate(1800, 7, 4))), "1800-07-04");
}

TEST(Dates, DayOfWeek) {
  EXPECT_EQ(DayOfWeek(0), 7);                          // 1899-12-30 was a Saturday
  EXPECT_EQ(DayOfWeek(EncodeDate(2024, 1, 7)), 1);     // Sunday
  EXPECT_EQ(DayOfWeek(EncodeDate(2024, 1, 8)), 2);     // Monday
  EXPECT_EQ(DayOfWeek(EncodeDate(2000, 1, 1) + 0.9), 7);
  EXPECT_EQ(DayOfWeek(EncodeDate(1, 1, 1)), 2);        // proleptic Monday
}

TEST(Dates, FormatDateTime) {
  TDateTime t = EncodeDate(2024, 3, 5) + EncodeTime(14, 7, 9, 45);  // Tuesday
  struct Case {
    const char16_t* fmt;
    const char* s;
  } cases[] = {
      {u"yyyy-mm-dd", "2024-03-05"},
      {u"d/m/yy", "5-3-24"},
      {u"dd/mm/yyyy", "05-03-2024"},
      {u"ddd dddd", "Tue Tuesday"},
      {u"mmm mmmm", "Mar March"},
      {u"h:n:s", "14:7:9"},
      {u"hh:nn:ss", "14:07:09"},
      {u"hh:mm", "14:07"},  // m after h is minutes
      {u"hh:mm:ss.zzz", "14:07:09.045"},
      {u"z", "45"},
      {u"h am/pm", "2 pm"},
      {u"hh AM/PM", "02 PM"},
      {u"h a/p", "2 p"},
      {u"h A/P", "2 P"},
      {u"h ampm", "2 PM"},
      {u"c", "2024-03-05 14:07:09"},
      {u"", "2024-03-05 14:07:09"},
      {u"ddddd", "2024-03-05"},
      {u"dddddd", "Tuesday, March 5, 2024"},
      {u"t", "14:07"},
      {u"tt", "14:07:09"},
      {u"'Day' d \"of\" mmmm", "Day 5 of March"},
      {u"yyyy'-'mm", "2024-03"},
      {u"YYYY-MM-DD HH:NN", "2024-03-05 14:07"},
      {u"[d]", "[5]"},
      {u"yy", "24"},
  };
  for (const auto& c : cases) EXPECT_EQ(U(FormatDateTime(c.fmt, t)), c.s) << U(c.fmt);
  EXPECT_EQ(U(FormatDateTime(u"h:nn am/pm", EncodeTime(0, 5, 0, 0))), "12:05 am");
  EXPECT_EQ(U(FormatDateTime(u"h:nn am/pm", EncodeTime(12, 5, 0, 0))), "12:05 pm");
  EXPECT_EQ(U(FormatDateTime(u"c", EncodeDate(2024, 3, 5))), "2024-03-05");
  EXPECT_EQ(U(FormatDateTime(u"yyyy", 0)), "1899");
}

TEST(Dates, ToStrAndParse) {
  TDateTime t = EncodeDate(2024, 3, 5) + EncodeTime(14, 7, 9, 0);
  EXPECT_EQ(U(DateTimeToStr(t)), "2024-03-05 14:07:09");
  EXPECT_EQ(U(DateToStr(t)), "2024-03-05");
  EXPECT_EQ(U(TimeToStr(t)), "14:07:09");
  EXPECT_EQ(U(DateTimeToStr(EncodeDate(2024, 3, 5))), "2024-03-05");

  EXPECT_EQ(StrToDateTime(u"2024-03-05 14:07:09"), t);
  EXPECT_EQ(StrToDateTime(u"2024-03-05"), EncodeDate(2024, 3, 5));
  EXPECT_EQ(StrToDateTime(u" 2024-03-05T14:07:09 "), t);
  EXPECT_DOUBLE_EQ(StrToDateTime(u"14:07"), EncodeTime(14, 7, 0, 0));
  EXPECT_DOUBLE_EQ(StrToDateTime(u"02:07:09 PM"), EncodeTime(14, 7, 9, 0));
  EXPECT_DOUBLE_EQ(StrToDateTime(u"12:00 am"), 0);
  EXPECT_DOUBLE_EQ(StrToDateTime(u"2024-03-05 14:07:09.5"), EncodeDate(2024, 3, 5) + EncodeTime(14, 7, 9, 500));
  TDateTime d;
  for (const char16_t* bad : {u"", u"2024-02-30", u"2024-13-01", u"24:00", u"2024-03-05 25:00",
                              u"2024-03-05x", u"abc", u"2024/03/05", u"13:00 pm", u"2024-03-05 14:07 junk"})
    EXPECT_FALSE(TryStrToDateTime(bad, d)) << U(bad);
  try {
    StrToDateTime(u"nope");
    ADD_FAILURE();
  } catch (const EConvertError& e) {
    EXPECT_EQ(U(e.Message()), "'nope' is not a valid date and time");
  }
  // Round trip at second resolution.
  for (double v = -693000.3; v < 2900000; v += 12345.678901) {
    TDateTime back = StrToDateTime(DateTimeToStr(v));
    EXPECT_EQ(U(DateTimeToStr(back)), U(DateTimeToStr(v)));
  }
}

TEST(Dates, NowAndDate) {
  TDateTime n = Now();
  EXPECT_GT(n, EncodeDate(2020, 1, 1));
  EXPECT_LT(n, EncodeDate(2200, 1, 1));
  EXPECT_EQ(Date(), std::trunc(Date()));
  EXPECT_LE(Date(), Now());
}
