#include "norvane/css/css_measure.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

using namespace norvane;

namespace {

// The style a measure resolves against, with settable answers.
class TestStyle : public TMeasureStyle {
 public:
  float FontSize = 16.0f;
  float Zoom = 1.0f;
  const TMeasure* Root = nullptr;  // null: the node has no parent
  TMeasureViewport Viewport{800.0f, 600.0f, 1.0f};

  float GetIntFontSize() const noexcept override { return FontSize; }
  float GetZoom() const noexcept override { return Zoom; }
  const TMeasure* GetRootFontSize() const noexcept override { return Root; }
  TMeasureViewport GetViewport() const noexcept override { return Viewport; }
};

// The tokens of a value as a prepared declaration keeps them: no white space
// and no comments.
TCSSTokens ValueTokens(const char16_t* text) {
  TCSSTokenizer t{UnicodeString(text)};
  TCSSTokens out;
  while (true) {
    t.NextToken();
    if (t.Eof) break;
    if (t.Token.CType != ctSpace && t.Token.CType != ctComment) out.Add(t.Token);
  }
  return out;
}

// Decodes the first token of `tokens` (which must outlive the measure).
TMeasure Decoded(TCSSTokens& tokens, TMeasureStyle* style = nullptr, float* parent = nullptr) {
  TMeasure m;
  m.Init(style);
  m.Parent = parent;
  TCSSTokenSequence ts;
  ts.Init(&tokens);
  m.Decode(ts);
  return m;
}

std::string Utf8(const char16_t* s) { return UnicodeString(s).ToUtf8(); }

TEST(Measure, ValueAndAutoRules) {
  TMeasure m;
  m.Init();
  EXPECT_TRUE(m.GetAuto());
  m.SetValue(0);  // unchanged value: stays auto
  EXPECT_TRUE(m.GetAuto());
  m.SetPixels(0);  // forced: a zero-pixel length
  EXPECT_FALSE(m.GetAuto());
  EXPECT_TRUE(m.Flags.Contains(mfZero));
  EXPECT_EQ(m.MUnit(), muPX);
  EXPECT_EQ(m.AsString().ToUtf8(), "0");

  m.Flags.Include(mfInherit).Include(mfInitial);
  m.SetValue(5);  // a new value drops mfInitial and mfZero, keeps mfInherit
  EXPECT_EQ(m.Flags, (TMeasureFlags{mfNotAuto, mfInherit}));
  EXPECT_EQ(m.GetPixels(), 5);

  TCSSTokens calc = ValueTokens(u"calc(1px + 2px)");
  m.Calc = &calc;
  m.SetAuto(true);  // auto forgets the expression
  EXPECT_EQ(m.Calc, nullptr);
  EXPECT_EQ(m.GetPixels(), 0);
  m.SetAuto(false);
  EXPECT_EQ(m.GetPixels(), 5);

  // Assign takes everything but the style.
  TestStyle zoomed;
  zoomed.Zoom = 2;
  TMeasure dst;
  dst.Init(&zoomed);
  dst.Assign(m);
  EXPECT_EQ(dst.Style, &zoomed);
  EXPECT_EQ(dst.GetPixels(), 10);

  EXPECT_LE(sizeof(TMeasure), 32u);  // copied by value in layout loops

  TCSSTokens px = ValueTokens(u"5px"), pc = ValueTokens(u"5%"), au = ValueTokens(u"auto");
  EXPECT_FALSE(Decoded(px).Relative());
  EXPECT_TRUE(Decoded(pc).Relative());
  EXPECT_TRUE(Decoded(au).Relative());
}

TEST(Measure, UnitConversions) {
  struct Case {
    const char16_t* text;
    float fontSize, zoom;
    float parent;  // < 0: no Parent
    int32_t pixels;
    float fpixels;
  };
  const Case cases[] = {
      {u"1.5in", 16, 1, -1, 144, 144}, {u"72pt", 16, 1, -1, 96, 96}, {u"25.4mm", 16, 1, -1, 96, 96},
      {u"2.54cm", 16, 1, -1, 96, 96}, {u"1pc", 16, 1, -1, 16, 16}, {u"12", 16, 1, -1, 12, 12},
      {u"2ex", 40, 1, -1, 22, 22},  // 11 pixels whatever the font
      // Unzoomed em rounds halves to even, every other unit away from zero.
      {u"1.5em", 13, 1, -1, 20, 19.5f}, {u"1.5em", 15, 1, -1, 22, 22.5f}, {u"22.5px", 16, 1, -1, 23, 22.5f},
      {u"2.5em", 1, 1, -1, 2, 2.5f}, {u"2.5em", 1, 2, -1, 5, 2.5f}, {u"-2.5px", 16, 1, -1, -3, -2.5f},
      // Percentages need a base and are not zoomed; zoom is for GetPixels only.
      {u"50%", 16, 1, -1, 0, 0}, {u"100%", 16, 2, 33.3f, 33, 33.3f}, {u"25%", 16, 1, 10, 3, 2.5f},
      {u"10px", 16, 2, -1, 20, 10}, {u"1in", 16, 0.5f, -1, 48, 96},
      // Times and angles scale by Parent, and only unzoomed.
      {u"2s", 16, 1, 3, 6, 6}, {u"2s", 16, 2, 3, 2, 6}, {u"90deg", 16, 1, -1, 90, 90},
  };
  for (const Case& c : cases) {
    TestStyle style;
    style.FontSize = c.fontSize;
    style.Zoom = c.zoom;
    float parent = c.parent;
    TCSSTokens tokens = ValueTokens(c.text);
    TMeasure m = Decoded(tokens, &style, c.parent < 0 ? nullptr : &parent);
    EXPECT_EQ(m.GetPixels(), c.pixels) << Utf8(c.text) << " zoom " << c.zoom;
    EXPECT_NEAR(m.GetFPixels(), c.fpixels, 1e-3) << Utf8(c.text);
  }

  // A unitless factor (line-height) multiplies its Parent unzoomed only.
  TestStyle style;
  float parent = 16;
  TMeasure m;
  m.Init(&style);
  m.Parent = &parent;
  m.Parse(u"1.5");
  EXPECT_EQ(m.MUnit(), muNone);
  EXPECT_EQ(m.GetPixels(), 24);
  style.Zoom = 2;
  EXPECT_EQ(m.GetPixels(), 2);
  // The base is live: a new Parent is picked up without decoding again.
  m.Parse(u"50%");
  parent = 40;
  EXPECT_EQ(m.GetPixels(), 20);
}

TEST(Measure, RootAndViewportUnits) {
  TestStyle root;
  root.FontSize = 20;
  TMeasure rootSize;
  rootSize.Init(&root);
  rootSize.Parse(u"20.4px");

  TestStyle style;
  style.Viewport = {800, 600, 2};
  TCSSTokens rem = ValueTokens(u"2rem");
  TMeasure m = Decoded(rem, &style);
  EXPECT_EQ(m.GetPixels(), 26);  // no parent: 13 pixels a rem
  EXPECT_FLOAT_EQ(m.GetFPixels(), 26);
  style.Root = &rootSize;
  EXPECT_EQ(m.GetPixels(), 40);  // the root's integer pixels, 20
  EXPECT_NEAR(m.GetFPixels(), 40.8f, 1e-4);

  TCSSTokens vw = ValueTokens(u"10vw"), vh = ValueTokens(u"10vh");
  EXPECT_EQ(Decoded(vw, &style).GetPixels(), 40);  // 800 * 10 / 100 / 2
  EXPECT_EQ(Decoded(vh, &style).GetPixels(), 30);
  style.Viewport.ScaleFactor = 0;  // degenerate scale: no division by zero
  EXPECT_EQ(Decoded(vw, &style).GetPixels(), 80);

  // A root font size in rem of itself must not resolve forever.
  TestStyle self;
  TMeasure selfSize;
  selfSize.Init(&self);
  selfSize.Parse(u"2rem");
  self.Root = &selfSize;
  EXPECT_EQ(selfSize.GetPixels(), 2 * 2 * 13);
}

TEST(Measure, DecodeKeywords) {
  struct Case {
    const char16_t* text;
    bool isAuto;
    TMeasureUnit unit;
    float value;
    TMeasureFlags flags;
  };
  // Each starts from 7px; "old" is what Decode leaves alone.
  const Case cases[] = {
      {u"auto", true, muPX, 0, {}}, {u"AUTO", true, muPX, 0, {}},
      {u"inherit", false, muPX, 7, {mfNotAuto, mfInherit}}, {u"initial", true, muPX, 7, {mfInitial}},
      {u"normal", false, muNone, 0, {mfNotAuto, mfInitial}}, {u"none", true, muPX, 7, {}},
      {u"NONE", false, muPX, 7, {mfNotAuto}},  // only lower case is the keyword
      {u"left", false, muPercent, 0, {mfNotAuto, mfLeft, mfZero}},
      {u"Top", false, muPercent, 0, {mfNotAuto, mfTop, mfZero}},
      {u"center", false, muPercent, 50, {mfNotAuto, mfCenter}},
      {u"right", false, muPercent, 100, {mfNotAuto, mfRight}},
      {u"bottom", false, muPercent, 100, {mfNotAuto, mfBottom}},
      {u"thin", false, muPX, 1, {mfNotAuto}}, {u"medium", false, muPX, 2, {mfNotAuto}},
      {u"thick", false, muPX, 3, {mfNotAuto}}, {u"xx-small", false, muPX, 9, {mfNotAuto}},
      {u"x-small", false, muPX, 10, {mfNotAuto}}, {u"small", false, muPX, 14, {mfNotAuto}},
      {u"large", false, muPX, 22, {mfNotAuto}}, {u"x-large", false, muPX, 24, {mfNotAuto}},
      {u"xx-large", false, muPX, 26, {mfNotAuto}}, {u"larger", false, muPercent, 120, {mfNotAuto}},
      {u"smaller", false, muPercent, 80, {mfNotAuto}}, {u"bogus", false, muPX, 7, {mfNotAuto}},
      {u"rgb(1,2,3)", true, muPX, 7, {}},  // functions other than calc() are auto
      {u"\"5px\"", false, muPX, 7, {mfNotAuto}}, {u";", false, muPX, 7, {mfNotAuto}},
      {u"0", false, muPX, 0, {mfNotAuto, mfZero}}, {u"3em", false, muEM, 3, {mfNotAuto}},
      {u"5%", false, muPercent, 5, {mfNotAuto}},
  };
  for (const Case& c : cases) {
    TCSSTokens tokens = ValueTokens(c.text);
    TMeasure m;
    m.Init();
    m.SetPixels(7);
    m.Flags.Include(mfChanged);  // Decode rebuilds the flags
    TCSSTokenSequence ts;
    ts.Init(&tokens);
    m.Decode(ts);
    EXPECT_EQ(m.GetAuto(), c.isAuto) << Utf8(c.text);
    EXPECT_EQ(m.MUnit(), c.unit) << Utf8(c.text);
    EXPECT_EQ(m.Value(), c.value) << Utf8(c.text);
    EXPECT_EQ(m.Flags.Bits(), c.flags.Bits()) << Utf8(c.text);
    EXPECT_EQ(ts.Index, 0);
  }

  // At the end of the sequence: a value, the old one.
  TMeasure m;
  m.Init();
  m.SetPixels(4);
  m.SetAuto(true);
  TCSSTokenSequence end;
  m.Decode(end);
  EXPECT_FALSE(m.GetAuto());
  EXPECT_EQ(m.GetPixels(), 4);
}

TEST(Measure, CalcExpressions) {
  struct Case {
    const char16_t* text;
    float parent;
    float fpixels;
  };
  const Case cases[] = {
      {u"calc(100% - 20px)", 200, 180}, {u"calc(-5px + 10px)", 0, 5}, {u"calc(- 5px + 10px)", 0, 5},
      {u"calc(2 * (3 + 4))", 0, 14}, {u"calc(1 + 2 * 3)", 0, 7}, {u"calc(10 - 2 - 3)", 0, 5},
      {u"calc(24 / 2 / 3)", 0, 4}, {u"calc(2 * -(3 + 1))", 0, -8}, {u"calc(-(2px) * 3)", 0, -6},
      {u"calc(10px * - 2)", 0, -20}, {u"calc(- - 3)", 0, 3}, {u"calc(1 - + 3)", 0, -2},
      {u"calc(10px / 0)", 0, 10},  // dividing by zero yields the dividend
      {u"calc(2px * 3px)", 0, 6},  // units aren't checked
      {u"calc(100% - 2em)", 200, 168}, {u"calc(1in + 1pc)", 0, 112}, {u"calc(center)", 300, 150},
      {u"calc(2 * calc(3 + 4))", 0, 14},  // a nested calc() groups
      {u"CALC(1px+2px)", 0, 3},           // "+2px" is an operator and 2px
      {u"calc(10px + rgb(1))", 0, 1},     // an unknown function counts 0, beside its group
      {u"calc(10px + bogus)", 0, 10},     // an unknown word counts 0
      {u"calc(1px + )", 0, 1}, {u"calc(* 5)", 0, 5},  // dangling operators are dropped
      {u"calc(1 + 2", 0, 2},  // unclosed: the operator stays unapplied
      {u"calc()", 0, 0}, {u"calc(", 0, 0}, {u"calc(1))) + 2)", 0, 3},
      {u"calc([1 + 2] * 3)", 0, 2},  // "[" opens a group, "]" is an operand of 0
  };
  for (const Case& c : cases) {
    TestStyle style;
    float parent = c.parent;
    TCSSTokens tokens = ValueTokens(c.text);
    TMeasure m = Decoded(tokens, &style, &parent);
    ASSERT_EQ(m.Calc, &tokens) << Utf8(c.text);
    EXPECT_TRUE(m.Relative());
    EXPECT_NEAR(m.GetFPixels(), c.fpixels, 1e-4) << Utf8(c.text);
    EXPECT_EQ(m.Calc, &tokens);  // restored after each evaluation
    EXPECT_EQ(m.MUnit(), muPX);
    // Evaluating again gives the same: nothing of the last run leaks in.
    EXPECT_NEAR(m.GetFPixels(), c.fpixels, 1e-4) << Utf8(c.text);
  }

  // Re-evaluated on every read, zoomed like pixels, printed as pixels.
  TestStyle style;
  float parent = 200;
  TCSSTokens tokens = ValueTokens(u"calc(50% + 0.25px)");
  TMeasure m = Decoded(tokens, &style, &parent);
  EXPECT_EQ(m.GetPixels(), 100);
  parent = 300;
  EXPECT_EQ(m.GetPixels(), 150);
  EXPECT_EQ(m.AsString().ToUtf8(), "150.25px");
  style.Zoom = 2;
  EXPECT_EQ(m.GetPixels(), 301);
  m.Flags.Include(mfChanged);
  m.GetFPixels();
  EXPECT_TRUE(m.Flags.Contains(mfChanged));  // holders' flags survive

  // The holder a rule keeps: copies of the measure share its tokens.
  auto holder = std::make_unique<TCSSCalcValueObject>(ValueTokens(u"calc(3px * 4)"));
  TMeasure copy = Decoded(holder->Tokens);
  EXPECT_EQ(copy.GetPixels(), 12);
}

TEST(Measure, CalcStaysBoundedOnHostileInput) {
  std::u16string deep, parens;
  for (int i = 0; i < 100000; ++i) deep += u"calc(";
  for (int i = 0; i < 100000; ++i) parens += u"(1+";
  const auto start = std::chrono::steady_clock::now();
  for (const std::u16string* text : {&deep, &parens}) {
    TCSSTokens tokens = ValueTokens((u"calc(" + *text).c_str());
    TMeasure m = Decoded(tokens);
    m.GetPixels();
    EXPECT_FALSE(m.AsString().IsEmpty());
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));

  // An overflowing product saturates instead of becoming infinite.
  TCSSTokens big = ValueTokens(u"calc(1e30 * 1e30)");
  TMeasure m = Decoded(big);
  EXPECT_EQ(m.GetPixels(), INT32_MAX);
  TCSSTokens nan = ValueTokens(u"calc(1e30 * 1e30 - 1e30 * 1e30)");
  m = Decoded(nan);
  EXPECT_EQ(m.GetPixels(), 0);
}

TEST(Measure, ParseAndPrint) {
  struct Case {
    const char16_t* text;
    bool isAuto;
    TMeasureUnit unit;
    float value;
    const char* printed;
  };
  // Each starts from 7px.
  const Case cases[] = {
      {u"12", false, muNone, 12, "12"}, {u"12px", false, muPX, 12, "12px"}, {u"50%", false, muPercent, 50, "50%"},
      {u"-3.5pt", false, muPt, -3.5f, "-3.5pt"}, {u"2mm", false, muMM, 2, "2mm"}, {u"2cm", false, muCM, 2, "2cm"},
      {u"2em", false, muEM, 2, "2em"}, {u"2ex", false, muEX, 2, "2ex"}, {u"2in", false, muIN, 2, "2in"},
      {u"2pc", false, muPC, 2, "2pc"}, {u"2vw", false, muVW, 2, "2vw"}, {u"2vh", false, muVH, 2, "2vh"},
      {u"2PX", false, muPX, 2, "2px"}, {u"2ms", false, muNone, 2, "2"}, {u"2deg", false, muNone, 2, "2"},
      {u"2rx", false, muREM, 2, "2rem"}, {u"5sec", false, muS, 5, "5s"},  // "r" and "s" alone name the unit
      {u"1e2px", false, muNone, 100, "100"},  // the exponent used up the unit's place
      {u"15e-1", false, muNone, 1.5f, "1.5"}, {u"3e", false, muNone, 3, "3"},
      {u"0.1234px", false, muPX, 0.1234f, "0.123px"}, {u"1.0006em", false, muEM, 1.0006f, "1.001em"},
      {u"0px", false, muPX, 0, "0"}, {u"1e999", false, muNone, 3.40282347e38f, nullptr},  // saturates
      {u"auto", true, muPX, 0, "auto"}, {u"Auto", false, muPX, 7, "7px"},  // exact words only
      {u"abc", false, muPX, 7, "7px"}, {u"", false, muPX, 7, "7px"}, {u"px", false, muPX, 7, "7px"},
  };
  for (const Case& c : cases) {
    TMeasure m;
    m.Init();
    m.SetPixels(7);
    m.Parse(c.text);
    EXPECT_EQ(m.GetAuto(), c.isAuto) << Utf8(c.text);
    EXPECT_EQ(m.MUnit(), c.unit) << Utf8(c.text);
    EXPECT_FLOAT_EQ(m.Value(), c.value) << Utf8(c.text);
    if (c.printed) {
      EXPECT_EQ(m.AsString().ToUtf8(), c.printed) << Utf8(c.text);
    }
  }

  TMeasure m;
  m.Init();
  m.Parse(u"abc");  // an auto measure stays auto
  EXPECT_TRUE(m.GetAuto());
  m.SetPixels(3);
  m.Parse(u"inherit");
  EXPECT_TRUE(m.Flags.Contains(mfInherit));
  EXPECT_EQ(m.AsString().ToUtf8(), "3px");  // inherit isn't printed
  m.Parse(u"4px");
  EXPECT_FALSE(m.Flags.Contains(mfInherit));
  TCSSTokens tokens = ValueTokens(u"300ms");  // units the attribute reader doesn't know still print
  EXPECT_EQ(Decoded(tokens).AsString().ToUtf8(), "300ms");
}

}  // namespace
