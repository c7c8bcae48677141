// The units of CSS lengths, times and angles, and how their names read.
#pragma once

#include <cstdint>
#include <string_view>

#include "norvane/runtime/object.h"

namespace norvane {

// muNone: a plain number (a unitless line-height, a factor). One byte, so
// that a measure and a token stay small.
NV_ENUM_T(TMeasureUnit, uint8_t, muPX, muPercent, muIN, muMM, muPt, muCM, muEM, muEX, muPC, muMS, muS, muREM, muVW, muVH,
        muDeg, muNone)

// The suffix a value of the unit is written with ("px", "%", ..., "deg");
// empty for muNone.
std::u16string_view MeasureUnitSuffix(TMeasureUnit unit) noexcept;

// The unit whose suffix is exactly `suffix`, ASCII case-insensitively;
// muNone when there is none.
TMeasureUnit MeasureUnitFromSuffix(std::u16string_view suffix) noexcept;

// The unit that the letters at `p` start, the way numbers in style sheets
// are read: the first two letters in any case, except that the third
// letters of "deg" and "rem" must be lower case; "cm", "em" and "in" must
// not be followed by a letter or digit; "s" takes any second letter
// ("5sec"), "v" is "vh" unless "w" follows. muNone when no unit starts
// there. Reads at most three units and none at or beyond `end`.
TMeasureUnit ScanMeasureUnit(const char16_t* p, const char16_t* end) noexcept;

}  // namespace norvane
