// Lengths of the style engine: TMeasure, the one representation of a CSS
// length, which resolves lazily to pixels at 96 dots per inch; the pair
// TMeasure2 ("a / b"); the calc() expression holder; and the unit constants.
//
// A measure is a small plain value copied freely in layout loops. It owns
// nothing: the style it resolves against, the float a percentage refers to
// and the tokens of a calc() are all borrowed pointers.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "norvane/css/css_measure_unit.h"
#include "norvane/css/css_tokenizer.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

// --- Unit constants -----------------------------------------------------------
// The engine has no device resolution: one inch is always 96 pixels, and
// printing or high-density output scale through a style's zoom instead.
inline constexpr double CSSPixelsPerInch = 96.0;
inline constexpr double CSSMillimetresPerInch = 25.4;
inline constexpr double CSSCentimetresPerInch = 2.54;
inline constexpr double CSSPointsPerInch = 72.0;
inline constexpr double CSSPicasPerInch = 6.0;
// "ex" is a fixed 11 pixels whatever the font.
inline constexpr double CSSExPixels = 11.0;
// "rem" on a node without a parent (and "em"/"rem" without a style).
inline constexpr double CSSRemFallbackPixels = 13.0;

// --- Flags --------------------------------------------------------------------
// mfNotAuto: the measure has a value; without it the measure is auto.
// mfInherit: "inherit" was written. mfInitial: "initial" or "normal".
// mfLeft..mfBottom: a position keyword (the value holds its percentage).
// mfChanged: for holders of the measure; the measure never reads it.
// mfZero: the value is exactly 0, a short cut for the pixel conversion.
NV_ENUM_T(TMeasureFlag, uint8_t, mfNotAuto, mfInherit, mfInitial, mfLeft, mfRight, mfCenter, mfTop, mfBottom,
          mfChanged, mfZero)

// Sixteen bits keep every measure small.
using TMeasureFlags = TSet<TMeasureFlag, uint16_t>;

// What 100% of a property stands for; the style turns it into the measure's
// Parent pointer (own inner width or height, own font size, or the inner
// width or height of the container).
NV_ENUM_T(TCSSPropertyParentType, uint8_t, cpptWidth, cpptHeight, cpptFontSize, cpptContainerWidth,
          cpptContainerHeight)

// --- The style a measure resolves against ----------------------------------------
struct TMeasure;
class TBaseElementStyle;  // the computed style; it derives from TMeasureStyle

// Width and height of the node's draw rectangle and the node's scale factor,
// the base of "vw" and "vh".
struct TMeasureViewport {
  float Width = 0.0f;
  float Height = 0.0f;
  float ScaleFactor = 1.0f;
};

// The few things a measure asks of the style that owns it. The computed
// style implements these from its fields and its node; none may raise.
class TMeasureStyle : public TObject {
  NV_CLASS(TMeasureStyle, TObject)
 public:
  // The element's font size in pixels, the base of "em".
  virtual float GetIntFontSize() const noexcept = 0;
  // The style's zoom; 1 is unzoomed.
  virtual float GetZoom() const noexcept = 0;
  // The FontSize measure of the root element's style, the base of "rem";
  // null when the node has no parent (then "rem" counts 13 pixels).
  virtual const TMeasure* GetRootFontSize() const noexcept = 0;
  // The base of "vw" and "vh".
  virtual TMeasureViewport GetViewport() const noexcept = 0;
};

// --- TMeasure ---------------------------------------------------------------------
struct TMeasure {
  float FValue = 0.0f;
  TMeasureUnit FMUnit = muNone;
  TMeasureFlags Flags;              // empty: auto
  TMeasureStyle* Style = nullptr;   // not owned; may be null
  float* Parent = nullptr;          // what 100% stands for; not owned, live
  TCSSTokens* Calc = nullptr;       // the tokens of a calc(); not owned

  // Value 0, unit muNone, auto, the given style, no Parent, no Calc.
  void Init(TMeasureStyle* style = nullptr) noexcept;
  // Copies all but Style: the target keeps resolving against its own style.
  void Assign(const TMeasure& source) noexcept;

  bool GetAuto() const noexcept { return !Flags.Contains(mfNotAuto); }
  // true clears mfNotAuto and Calc; false sets mfNotAuto.
  void SetAuto(bool value) noexcept;
  // Nothing happens when the value is unchanged (an auto measure stays
  // auto). Otherwise: a value, mfZero as it is 0, no mfInitial, no Calc.
  void SetValue(float newValue) noexcept;
  // SetValue, then a value in pixels even if the measure was auto.
  void SetPixels(int32_t value) noexcept;
  void SetFPixels(float value) noexcept;

  float Value() const noexcept { return FValue; }
  TMeasureUnit MUnit() const noexcept { return FMUnit; }
  void SetMUnit(TMeasureUnit unit) noexcept { FMUnit = unit; }

  // Whether the pixels depend on something else (a percentage, auto, a
  // calc()), so that a layout must not cache them.
  bool Relative() const noexcept { return FMUnit == muPercent || GetAuto() || Calc; }

  // Pixels, rounded and zoomed by the style's Zoom.
  int32_t GetPixels() noexcept;
  // Pixels as a float, unzoomed.
  float GetFPixels() noexcept;

  // Reads the value at the cursor (a number, percentage, dimension,
  // keyword or calc()); the cursor doesn't move. For a calc() the measure
  // keeps a pointer to the sequence's array, which must outlive it.
  void Decode(const TCSSTokenSequence& ts) noexcept;
  // Evaluates Calc into a value in pixels; a malformed expression gives
  // what it had computed, or 0.
  void DecodeCalc() noexcept;
  // Reads a plain length of an attribute text ("12", "50%", "2.5em").
  // Text without a leading number leaves the measure as it was.
  void Parse(const UnicodeString& text) noexcept;

  // "auto", "0", or the value with up to three decimals and its unit's
  // suffix; a calc() gives its last evaluated value in pixels.
  UnicodeString AsString() const;

 private:
  void DecodeToken(const TCSSToken& t, TCSSTokens* tokens) noexcept;
  void StoreValue(float v) noexcept;
  bool BeginPixels() noexcept;
};

// The two halves of a value written "a / b".
struct TMeasure2 {
  TMeasure Value1;
  TMeasure Value2;
};

// Gives the tokens of a calc() a fixed place in memory: measures point at
// Tokens, and the rule that owns this object keeps it alive.
class TCSSCalcValueObject : public TObject {
  NV_CLASS(TCSSCalcValueObject, TObject)
 public:
  TCSSCalcValueObject() = default;
  explicit TCSSCalcValueObject(const TCSSTokens& tokens) : Tokens(tokens) {}
  TCSSTokens Tokens;
};

}  // namespace norvane
