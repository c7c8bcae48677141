// Format, FloatToStr and FormatFloat.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/format.h"
#include "norvane/runtime/sysutils.h"

using namespace norvane;

namespace {
std::string U(const UnicodeString& s) { return s.ToUtf8(); }
std::string F(std::u16string_view fmt, FormatArgs args) { return Format(fmt, args).ToUtf8(); }

void ExpectFormatError(std::u16string_view fmt, FormatArgs args) {
  try {
    Format(fmt, args);
    ADD_FAILURE() << "no error for " << UnicodeString(fmt).ToUtf8();
  } catch (const EConvertError& e) {
    EXPECT_EQ(U(e.Message()), "Format '" + UnicodeString(fmt).ToUtf8() + "' invalid or incompatible with argument");
  }
}
}  // namespace

TEST(Format, Integers) {
  EXPECT_EQ(F(u"%d", {42}), "42");
  EXPECT_EQ(F(u"%d", {-42}), "-42");
  EXPECT_EQ(F(u"%5d|", {42}), "   42|");
  EXPECT_EQ(F(u"%-5d|", {42}), "42   |");
  EXPECT_EQ(F(u"%.5d", {-12}), "-00012");
  EXPECT_EQ(F(u"%8.5d", {12}), "   00012");
  EXPECT_EQ(F(u"%d", {INT64_MIN}), "-9223372036854775808");
  EXPECT_EQ(F(u"%d", {18446744073709551615ull}), "18446744073709551615");
  EXPECT_EQ(F(u"%u", {7u}), "7");
  EXPECT_EQ(F(u"%u", {-1}), "4294967295");
  EXPECT_EQ(F(u"%x", {255}), "FF");
  EXPECT_EQ(F(u"%.4x", {255}), "00FF");
  EXPECT_EQ(F(u"%x", {-1}), "FFFFFFFF");
  EXPECT_EQ(F(u"%x", {-4294967297ll}), "FFFFFFFEFFFFFFFF");
  EXPECT_EQ(F(u"%D", {3}), "3");
}

TEST(Format, Strings) {
  EXPECT_EQ(F(u"a%sb", {u"XY"}), "aXYb");
  EXPECT_EQ(F(u"%.2s", {u"abcdef"}), "ab");
  EXPECT_EQ(F(u"[%6s]", {u"ab"}), "[    ab]");
  EXPECT_EQ(F(u"[%-6s]", {u"ab"}), "[ab    ]");
  EXPECT_EQ(F(u"%s", {char16_t(u'Z')}), "Z");
  UnicodeString s(u"uni");
  EXPECT_EQ(F(u"%s!", {s}), "uni!");
  EXPECT_EQ(F(u"100%%", {}), "100%");
  EXPECT_EQ(F(u"", {}), "");
  EXPECT_EQ(F(u"plain", {1}), "plain");
}

TEST(Format, Floats) {
  EXPECT_EQ(F(u"%f", {3.14159}), "3.14");
  EXPECT_EQ(F(u"%.3f", {2.0}), "2.000");
  EXPECT_EQ(F(u"%.0f", {2.5}), "3");  // half away from zero
  EXPECT_EQ(F(u"%.2f", {0.125}), "0.13");
  EXPECT_EQ(F(u"%.2f", {1.005}), "1.00");  // binary 1.00499...
  EXPECT_EQ(F(u"%.2f", {-0.001}), "0.00");
  EXPECT_EQ(F(u"%f", {-1.5}), "-1.50");
  EXPECT_EQ(F(u"%8.2f|", {3.14159}), "    3.14|");
  EXPECT_EQ(F(u"%e", {12345.6789}), "1.23456789000000E+004");
  EXPECT_EQ(F(u"%e", {12345.67890123456}), "1.23456789012346E+004");
  EXPECT_EQ(F(u"%.3e", {-0.000123456}), "-1.23E-004");
  EXPECT_EQ(F(u"%e", {0.0}), "0.00000000000000E+000");
  EXPECT_EQ(F(u"%g", {0.5}), "0.5");
  EXPECT_EQ(F(u"%g", {1234567.0}), "1234567");
  EXPECT_EQ(F(u"%g", {1e20}), "1E020");
  EXPECT_EQ(F(u"%g", {1.5e-7}), "1.5E-007");
  EXPECT_EQ(F(u"%.3g", {3.14159}), "3.14");
  EXPECT_EQ(F(u"%n", {1234567.891}), "1,234,567.89");
  EXPECT_EQ(F(u"%.0n", {-1234.5}), "-1,235");
  EXPECT_EQ(F(u"%n", {999.999}), "1,000.00");
  EXPECT_EQ(F(u"%m", {1234.5}), "1,234.50");
  EXPECT_EQ(F(u"%f", {std::numeric_limits<double>::quiet_NaN()}), "NAN");
  EXPECT_EQ(F(u"%f", {-std::numeric_limits<double>::infinity()}), "-INF");
}

TEST(Format, Pointer) {
  EXPECT_EQ(F(u"%p", {static_cast<const void*>(nullptr)}), "0000000000000000");
  EXPECT_EQ(F(u"%p", {reinterpret_cast<const void*>(uintptr_t(0xABCDEF))}), "0000000000ABCDEF");
}

TEST(Format, IndexAndStar) {
  EXPECT_EQ(F(u"%1:s %0:s", {u"a", u"b"}), "b a");
  EXPECT_EQ(F(u"%0:s %s %s", {u"a", u"b", u"c"}), "a b c");
  EXPECT_EQ(F(u"%1:s %s", {u"a", u"b", u"c"}), "b c");
  EXPECT_EQ(F(u"[%*d]", {5, 42}), "[   42]");
  EXPECT_EQ(F(u"[%-*d]", {4, 7}), "[7   ]");
  EXPECT_EQ(F(u"%.*f", {3, 1.0}), "1.000");
  EXPECT_EQ(F(u"%*.*f", {7, 1, 2.25}), "    2.3");
  EXPECT_EQ(F(u"%0:d-%0:x", {255}), "255-FF");
}

TEST(Format, Errors) {
  ExpectFormatError(u"%d", {1.5});
  ExpectFormatError(u"%f", {1});
  ExpectFormatError(u"%s", {1});
  ExpectFormatError(u"%d", {u"x"});
  ExpectFormatError(u"%d %d", {1});
  ExpectFormatError(u"%d", {});
  ExpectFormatError(u"%", {1});
  ExpectFormatError(u"%q", {1});
  ExpectFormatError(u"%p", {1});
  ExpectFormatError(u"%*d", {u"x", 1});
  ExpectFormatError(u"%3:d", {1});
  ExpectFormatError(u"%d", {true});
}

TEST(Format, ArrayOverload) {
  FormatArg args[] = {FormatArg(1), FormatArg(u"two")};
  EXPECT_EQ(U(Format(u"%d-%s", args, 2)), "1-two");
}

TEST(FloatToStr, Table) {
  struct Case {
    double v;
    const char* s;
  } cases[] = {
      {0, "0"},
      {1, "1"},
      {-1, "-1"},
      {0.1, "0.1"},
      {0.5, "0.5"},
      {1.5, "1.5"},
      {-2.25, "-2.25"},
      {100, "100"},
      {1.0 / 3, "0.333333333333333"},
      {2.0 / 3, "0.666666666666667"},
      {1e14, "100000000000000"},
      {123456789012345.0, "123456789012345"},
      {1e15, "1E15"},
      {1.5e-5, "1.5E-5"},
      {0.0001, "0.0001"},
      {0.00012, "0.00012"},
      {1e-5, "1E-5"},
      {123456789012345678.0, "1.23456789012346E17"},
      {1e100, "1E100"},
      {-1.25e-10, "-1.25E-10"},
      {3.14159265358979, "3.14159265358979"},
      {0.1 + 0.2, "0.3"},
      {999999999999999.9, "1E15"},
      {5e-324, "4.94065645841247E-324"},
      {1.7976931348623157e308, "1.79769313486232E308"},
  };
  for (const auto& c : cases) EXPECT_EQ(U(FloatToStr(c.v)), c.s) << c.v;
  EXPECT_EQ(U(FloatToStr(std::numeric_limits<double>::quiet_NaN())), "NAN");
  EXPECT_EQ(U(FloatToStr(std::numeric_limits<double>::infinity())), "INF");
  EXPECT_EQ(U(FloatToStr(-std::numeric_limits<double>::infinity())), "-INF");
  EXPECT_EQ(U(FloatToStr(-0.0)), "0");
  TFormatSettings fs;
  fs.DecimalSeparator = u',';
  EXPECT_EQ(U(FloatToStr(1.5, fs)), "1,5");
}

TEST(FormatFloat, Masks) {
  struct Case {
    const char16_t* mask;
    double v;
    const char* s;
  } cases[] = {
      {u"0.##", 1.5, "1.5"},
      {u"0.##", 2, "2"},
      {u"0.##", 1.005, "1"},
      {u"0.##", 2.5, "2.5"},
      {u"0.##", 0.125, "0.13"},
      {u"0.##", -0.001, "0"},
      {u"0.##", -1.256, "-1.26"},
      {u"0.##", 0, "0"},
      {u"0.###", 3.14159, "3.142"},
      {u"0.###", 0.0005, "0.001"},
      {u"0.######", 1.0 / 3, "0.333333"},
      {u"0.######", 1e-7, "0"},
      {u"0.########", 0.1, "0.1"},
      {u"0.########", 123.456789012, "123.45678901"},
      {u"0.0", 2, "2.0"},
      {u"0.0", 0.05, "0.1"},
      {u"0.0", -0.04, "0.0"},
      {u"#0.00", 3.14159, "3.14"},
      {u"#0.00", 0.5, "0.50"},
      {u"#0.00", -12.345, "-12.35"},
      {u"0", 2.5, "3"},
      {u"0", -2.5, "-3"},
      {u"0", 0.4, "0"},
      {u"0", 1234567, "1234567"},
      {u"#,##0.00", 1234567.891, "1,234,567.89"},
      {u"#,##0.00", 0, "0.00"},
      {u"#,##0.00", -1234.5, "-1,234.50"},
      {u"#,##0.00", 999.995, "1,000.00"},
      {u"#,##0", 100, "100"},
      {u"#,##0", 1000, "1,000"},
      {u"#", 0, ""},
      {u"#.#", 0.5, ".5"},
      {u"000", 7, "007"},
      {u"00.00", 1.5, "01.50"},
      {u"0.0#", 1.5, "1.5"},
      {u"0.0#", 1.25, "1.25"},
      {u"0.0#", 1, "1.0"},
      {u"0.00E+00", 12345, "1.23E+04"},
      {u"0.00E+00", 0.000123, "1.23E-04"},
      {u"0.00E-00", 12345, "1.23E04"},
      {u"0.###E+0", 1500, "1.5E+3"},
      {u"0.00e+000", -0.5, "-5.00e-001"},
      {u"'$'#,##0.00", 1234.5, "$1,234.50"},
      {u"\"Total: \"0", 42, "Total: 42"},
      {u"0 'kg'", 3, "3 kg"},
      {u"0.00;(0.00)", -1.5, "(1.50)"},
      {u"0.00;(0.00)", 1.5, "1.50"},
      {u"0.00;(0.00);'zero'", 0, "zero"},
      {u"0.00;(0.00);'zero'", -0.001, "zero"},
      {u"0.00;;'zero'", -2, "-2.00"},
      {u"0%", 50, "50%"},
      {u"0", 1e20, "1E20"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(U(FormatFloat(c.mask, c.v)), c.s) << UnicodeString(c.mask).ToUtf8() << " " << c.v;
  EXPECT_EQ(U(FormatFloat(u"", 1.5)), "1.5");
  EXPECT_EQ(U(FormatFloat(u"0.00", std::numeric_limits<double>::quiet_NaN())), "NAN");
}
