// Colour names and colour texts shared by HTML attributes, CSS values and
// the SVG canvas: text to a 32-bit ARGB colour and back.
//
// A colour is alpha in bits 24-31, red 16-23, green 8-15, blue 0-7. Three
// results of htmlHextoColor are markers, not colours, and callers test for
// them: HtNoColor (1, "this text is no colour", the only failure report),
// HtTransparentColor (0x00FFFFFF, "transparent") and HtNoneColor
// (0x1FFFFFFF, "none").
#pragma once

#include <cstdint>

#include "norvane/runtime/unicode_string.h"

namespace norvane {

class THtPointerDictionary;

constexpr uint32_t HtNoColor = 1;
constexpr uint32_t HtTransparentColor = 0x00FFFFFF;
constexpr uint32_t HtNoneColor = 0x1FFFFFFF;

// A row of the named-colour table: the lower-case name and its RGB value
// (no alpha). Two rows keep a trailing blank in their name ("indianred ",
// "indigo "), so "indianred" and "indigo" are not found: existing documents
// depend on them failing over to the hexadecimal reading.
struct THtColorName {
  UnicodeString Name;
  uint32_t Color;
};

// A row of the system-colour table: lower-case name and system colour index.
struct THtSysColorName {
  UnicodeString Name;
  int32_t Index;
};

// The 142 named colours, alphabetical; the 42 system colour names, sorted
// for bisection. Built once, on first use, then only read.
const THtColorName* HtColorTable(int32_t& count) noexcept;
const THtSysColorName* HtSysColorTable(int32_t& count) noexcept;
// The named colours keyed by name (RSHash); the values are THtColorName rows.
const THtPointerDictionary& GlobalColorDictionary();

// The theme procedure: gives the ARGB value of a system colour index
// (0..255). Process-wide; replace it to follow a desktop theme. Passing
// nullptr restores the default.
using THtThemeColorProc = uint32_t (*)(int32_t index);
void SetThemeColorPrc(THtThemeColorProc proc) noexcept;
THtThemeColorProc GetThemeColorPrc() noexcept;

// The default theme procedure: the classic desktop palette, opaque.
//   0 scrollbar          D4D0C8   16 button shadow         808080
//   1 desktop            3A6EA5   17 grey text             808080
//   2 active caption     0A246A   18 button text           000000
//   3 inactive caption   808080   19 inactive caption text D4D0C8
//   4 menu               D4D0C8   20 button highlight      FFFFFF
//   5 window             FFFFFF   21 3D dark shadow        404040
//   6 window frame       000000   22 3D light              D4D0C8
//   7 menu text          000000   23 info text             000000
//   8 window text        000000   24 info background       FFFFE1
//   9 caption text       FFFFFF   25 alternate button face B5B5B5
//  10 active border      D4D0C8   26 hot-tracked item      000080
//  11 inactive border    D4D0C8   27 active caption end    A6CAF0
//  12 application space  808080   28 inactive caption end  C0C0C0
//  13 highlight          0A246A   29 menu highlight        0A246A
//  14 highlight text     FFFFFF   30 menu bar              D4D0C8
//  15 button face        D4D0C8
// Any other index is black (0xFF000000), as the system answers for an index
// it doesn't know.
uint32_t HtDefaultThemeColor(int32_t index) noexcept;

// Folds A-Z and looks the name up among the named colours: the colour with
// alpha 255, or 0 when unknown.
uint32_t HtStringtoColor(const UnicodeString& name) noexcept;
// Folds A-Z and bisects the system colour names: the theme procedure's
// value for the row's index, or 0 when unknown.
uint32_t HtStringtoSysColor(const UnicodeString& name) noexcept;

// "" is opaque black; "transparent", "none" (exact) are their markers;
// "rgba(r, g, b, a)" and "rgba(colour, a)" are read here; otherwise a
// named or system colour; otherwise hexadecimal with or without "#":
// #rgb, #rgba, #rrggbb, #rrggbbaa (alpha last). HtNoColor when none fits.
uint32_t htmlHextoColor(const UnicodeString& text);
// The same without the "rgba(" form; isSystem is 1 when the value came from
// a system colour name (the palette may change: look it up again), else 0.
uint32_t htmlHextoColorSys(const UnicodeString& text, int32_t& isSystem);

// Six lower-case hexadecimal digits of the low 24 bits, no "#".
UnicodeString htmlColortoHex(uint32_t color);
// "#rrggbb" when opaque, else "#rrggbbaa" with the alpha last.
UnicodeString htmlColortoStr(uint32_t color);

}  // namespace norvane
