// Dates and times read by mask.
#pragma once

#include "norvane/runtime/types.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

// Reads `text` by `mask`: d/dd day, m/mm month, mmm/mmmm month name (English
// or Russian), MMM full English month name, yy/yyyy year, h/hh hour, n minute,
// s second, "p" two units of which an "a" sets the afternoon flag; anything
// else is copied over. An empty mask picks one from the text's length and
// third unit; "cisco" reads log times such as "*10:22:33.123 UTC Mon Mar 1 2021".
// Empty text gives 0. A mismatch raises EConvertError
// "Date/time string '<text>' does not match mask '<mask>'".
TDateTime StrtoDateFmt(const UnicodeString& text, const UnicodeString& mask);

}  // namespace norvane
