// Font style bits shared by the style engine and the canvases.
#pragma once

#include <cstdint>

#include "norvane/runtime/object.h"

namespace norvane {

// The weight bits (hfsLight, hfsUltraLight, hfsBlack, hfsSemibold, hfsBold)
// refine the weight of a font face; hfsUnderline and hfsStrikeOut are
// decorations drawn over the text and never select another face.
NV_ENUM_T(THtFontStyle, uint8_t, hfsBold, hfsItalic, hfsUnderline, hfsStrikeOut, hfsLight, hfsUltraLight,
          hfsBlack, hfsSemibold)

using THtFontStyles = TSet<THtFontStyle, uint8_t>;

}  // namespace norvane
