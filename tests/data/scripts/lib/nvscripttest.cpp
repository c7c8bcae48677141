// A small library that script tests call as `external` functions: plain C
// entry points with the integer and UTF-16 string parameters scripts pass.
#include <cstdint>

extern "C" {

int32_t nv_add3(int32_t a, int32_t b, int32_t c) { return a + b + c; }

// Units of a zero-terminated UTF-16 string.
int32_t nv_utf16_len(const char16_t* s) {
  int32_t n = 0;
  while (s && s[n]) ++n;
  return n;
}

// Count of one code unit in a UTF-16 string.
int32_t nv_count_unit(const char16_t* s, int32_t unit) {
  int32_t n = 0;
  for (; s && *s; ++s) n += *s == char16_t(unit);
  return n;
}

int32_t nv_is_even(int32_t v) { return v % 2 == 0; }

int16_t nv_negate16(int16_t v) { return int16_t(-v); }

static int32_t counter = 0;
void nv_bump(void) { ++counter; }
int32_t nv_counter(void) { return counter; }

}  // extern "C"
