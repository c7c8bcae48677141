#include "norvane/markup/html_colors.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "norvane/foundation/ht_string_dictionary.h"

using namespace norvane;

namespace {

std::string Hex(uint32_t c) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%08X", c);
  return buf;
}

struct ColorCase {
  const char16_t* text;
  uint32_t expected;
};

TEST(HtmlColors, TextToColor) {
  const ColorCase cases[] = {
      {u"", 0xFF000000},
      {u"transparent", 0x00FFFFFF},
      {u"none", 0x1FFFFFFF},
      // The two markers are exact: other spellings are names, then digits.
      {u"Transparent", 1},
      {u"NONE", 1},
      {u"#F00", 0xFFFF0000},
      {u"#ff0000", 0xFFFF0000},
      {u"#f00f", 0xFFFF0000},
      {u"#f008", 0x88FF0000},
      {u"#ff000080", 0x80FF0000},
      {u"#ff0000f", 0xFFFF0000},      // the eighth digit is ignored
      {u"#ff000080abc", 0x80FF0000},  // and so is what follows the ninth
      {u"#ff000080abz", 1},           // but every unit must be a digit
      {u"#", 1},
      {u"#1", 1},
      {u"#12", 1},
      {u"#12345", 1},
      {u"#xyz", 1},
      {u"Red", 0xFFFF0000},
      {u"RED", 0xFFFF0000},
      {u"red", 0xFFFF0000},
      {u"ff0000", 0xFFFF0000},  // without its "#"
      {u"0f0", 0xFF00FF00},
      {u"grey", 0xFF808080},
      {u"LightGoldenRodYellow", 0xFFFAFAD2},
      {u"darkgrey", 1},
      {u"slategrey", 1},
      {u"rebeccapurple", 1},
      // These two rows carry a trailing blank: only the blank form is known.
      {u"indigo", 1},
      {u"indianred", 1},
      {u"Indigo ", 0xFF4B0082},
      {u"INDIANRED ", 0xFFCD5C5C},
      {u"rgba(255,0,0,0.5)", 0x80FF0000},  // 127.5 rounds to even: 128
      {u"rgba( 0, 128, 255, .25)", 0x400080FF},
      {u"rgba(red, 0.5)", 0x80FF0000},
      {u"rgba(#00ff00,1)", 0xFF00FF00},
      {u"rgba(300,0,0,1)", 0xFF2C0000},  // not clamped: 300 spills upward
      {u"rgba(nothing, 0.5)", 1},
      {u"rgba(rgba(rgba(rgba(rgba(rgba(red", 1},
      {u"RGBA(1,2,3,1)", 1},  // the functional prefix is case sensitive
      {u"rgb(1,2,3)", 1},     // rgb() is read by the style sheet tokens
      {u"window", 0xFFFFFFFF},
      {u"ButtonText", 0xFF000000},
      {u"activecaption", 0xFF0A246A},
      {u"this is no colour at all, not even close", 1},
  };
  for (const auto& c : cases) {
    const UnicodeString text(c.text);
    EXPECT_EQ(Hex(htmlHextoColor(text)), Hex(c.expected)) << text.ToUtf8();
  }
}

TEST(HtmlColors, SystemFlagAndNoFunctionalForm) {
  struct Case {
    const char16_t* text;
    uint32_t expected;
    int32_t isSystem;
  } cases[] = {
      {u"menu", 0xFFD4D0C8, 1},
      {u"HighlightText", 0xFFFFFFFF, 1},
      {u"red", 0xFFFF0000, 0},
      {u"#fff", 0xFFFFFFFF, 0},
      {u"", 0xFF000000, 0},
      {u"rgba(255,0,0,1)", 1, 0},
      {u"nosuchname", 1, 0},
  };
  for (const auto& c : cases) {
    int32_t isSystem = -1;
    EXPECT_EQ(Hex(htmlHextoColorSys(UnicodeString(c.text), isSystem)), Hex(c.expected))
        << UnicodeString(c.text).ToUtf8();
    EXPECT_EQ(isSystem, c.isSystem) << UnicodeString(c.text).ToUtf8();
  }
}

int32_t gAsked = -1;
uint32_t RecordingTheme(int32_t index) {
  gAsked = index;
  return 0xFF000000u | uint32_t(index);
}
uint32_t BlankTheme(int32_t) { return 0; }

TEST(HtmlColors, ThemeProcedure) {
  SetThemeColorPrc(&RecordingTheme);
  EXPECT_EQ(HtStringtoSysColor(u"activecaption"), 0xFF000002u);
  EXPECT_EQ(htmlHextoColor(u"HIGHLIGHT2"), 0xFF000082u);
  EXPECT_EQ(gAsked, 130);
  EXPECT_EQ(htmlHextoColor(u"C3DHiLight"), 0xFF000014u);
  EXPECT_EQ(HtStringtoSysColor(u"red"), 0u);
  EXPECT_EQ(HtStringtoSysColor(u""), 0u);

  // A theme that knows nothing: "window" and "windowtext" (exactly so)
  // still give white and black; other names fall through to the digits.
  SetThemeColorPrc(&BlankTheme);
  EXPECT_EQ(htmlHextoColor(u"window"), 0xFFFFFFFFu);
  EXPECT_EQ(htmlHextoColor(u"windowtext"), 0xFF000000u);
  EXPECT_EQ(htmlHextoColor(u"WINDOW"), 1u);
  EXPECT_EQ(htmlHextoColor(u"background"), 1u);
  EXPECT_EQ(htmlHextoColor(u"ace"), 0xFFAACCEEu);  // not a name: three digits
  SetThemeColorPrc(nullptr);
  EXPECT_EQ(GetThemeColorPrc(), &HtDefaultThemeColor);
}

TEST(HtmlColors, DefaultSystemPalette) {
  const std::pair<int32_t, uint32_t> cases[] = {
      {0, 0xFFD4D0C8},  {1, 0xFF3A6EA5},  {2, 0xFF0A246A},  {5, 0xFFFFFFFF},  {8, 0xFF000000},
      {13, 0xFF0A246A}, {24, 0xFFFFFFE1}, {26, 0xFF000080}, {27, 0xFFA6CAF0}, {30, 0xFFD4D0C8},
      {31, 0xFF000000}, {130, 0xFF000000}, {-1, 0xFF000000}, {255, 0xFF000000},
  };
  for (auto [index, expected] : cases) EXPECT_EQ(Hex(HtDefaultThemeColor(index)), Hex(expected)) << index;
}

TEST(HtmlColors, Tables) {
  int32_t n = 0;
  const THtColorName* rows = HtColorTable(n);
  ASSERT_EQ(n, 142);
  EXPECT_EQ(GlobalColorDictionary().Count(), 142);
  for (int32_t i = 0; i < n; ++i) {
    const UnicodeString& name = rows[i].Name;
    if (i > 0) {
      EXPECT_LT(rows[i - 1].Name, name) << "alphabetical at " << name.ToUtf8();
    }
    for (char16_t c : name.view()) EXPECT_FALSE(c >= u'A' && c <= u'Z') << name.ToUtf8();
    // Every row reads back from its name (the blank-suffixed ones too) and
    // from its own text form.
    const uint32_t color = 0xFF000000u | rows[i].Color;
    EXPECT_EQ(HtStringtoColor(name), color) << name.ToUtf8();
    EXPECT_EQ(htmlHextoColor(htmlColortoStr(color)), color) << name.ToUtf8();
  }
  const THtSysColorName* sys = HtSysColorTable(n);
  ASSERT_EQ(n, 42);
  for (int32_t i = 1; i < n; ++i) EXPECT_LT(sys[i - 1].Name, sys[i].Name) << sys[i].Name.ToUtf8();
  for (int32_t i = 0; i < n; ++i)
    EXPECT_EQ(HtStringtoSysColor(sys[i].Name), HtDefaultThemeColor(sys[i].Index)) << sys[i].Name.ToUtf8();
}

TEST(HtmlColors, ColorToText) {
  EXPECT_EQ(htmlColortoHex(0x12ABCDEF).ToUtf8(), "abcdef");
  EXPECT_EQ(htmlColortoHex(0).ToUtf8(), "000000");
  EXPECT_EQ(htmlColortoStr(0xFFFF0000).ToUtf8(), "#ff0000");
  EXPECT_EQ(htmlColortoStr(0x80FF0000).ToUtf8(), "#ff000080");
  EXPECT_EQ(htmlColortoStr(0x00000000).ToUtf8(), "#00000000");
  EXPECT_EQ(htmlColortoStr(0x1FFFFFFF).ToUtf8(), "#ffffff1f");
}

}  // namespace
