// Private helpers shared by the runtime's sysutils sources (not installed).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "norvane/runtime/unicode_string.h"

namespace norvane::detail {

// The runtime's FloatToDecimal: the decimal digits of a double.
// value = 0.D1D2...Dn * 10^exponent; digits hold '0'..'9' without trailing
// zeros; an empty digit string means the value rounded to zero.
// Digits are taken from the exact binary value (18 significant digits, as
// the runtime's 80-bit path gives them) and then rounded half away from zero
// at the requested place.
struct FloatDecimal {
  int32_t exponent = 0;
  bool negative = false;
  bool special = false;  // NaN or infinity; then text holds "NAN"/"INF"/"-INF"
  uint8_t count = 0;
  char digits[24] = {};
  const char* text = nullptr;
};

// Rounds to `precision` significant digits (1..18), and also to `decimals`
// digits after the point when decimals < 9999.
FloatDecimal ToDecimal(double v, int32_t precision, int32_t decimals = 9999) noexcept;

// General form of the runtime (ffGeneral): fixed unless the decimal
// exponent is > precision or < -3; expDigits is the minimal exponent width.
void AppendGeneral(std::u16string& out, double v, int32_t precision, int32_t expDigits, char16_t dec);
// ffExponent: "d.ddddE+xxx" with precision significant digits (kept zeros).
void AppendExponent(std::u16string& out, double v, int32_t precision, int32_t expDigits, char16_t dec);
// ffFixed / ffNumber: `decimals` digits after the point; thousand groups when
// thousand != 0. Falls back to general form when the integer part has more
// than 18 digits.
void AppendFixed(std::u16string& out, double v, int32_t decimals, char16_t dec, char16_t thousand);

inline void AppendAscii(std::u16string& out, std::string_view s) { out.append(s.begin(), s.end()); }

}  // namespace norvane::detail
