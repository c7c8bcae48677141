// Format: the runtime's format-string formatting, locale-independent.
//
// Directives: "%" ["-"] [width] ["." precision] type, with index "n:" and
// "*" width/precision taken from the arguments; types d u x e f g n m p s
// and "%%". A mismatch between a directive and its argument, or too few
// arguments, raises EConvertError with "Format '%s' invalid or incompatible
// with argument".
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "norvane/runtime/unicode_string.h"

namespace norvane {

// One argument of Format, in the manner of an array-of-const element.
class FormatArg {
 public:
  enum class Kind : uint8_t { Int, UInt, Float, String, Char, Pointer, Bool };
  FormatArg(int v) noexcept : kind_(Kind::Int), i_(v) {}                      // NOLINT
  FormatArg(long v) noexcept : kind_(Kind::Int), i_(v) {}                     // NOLINT
  FormatArg(long long v) noexcept : kind_(Kind::Int), i_(v) {}                // NOLINT
  FormatArg(unsigned v) noexcept : kind_(Kind::UInt), i_(int64_t(v)) {}       // NOLINT
  FormatArg(unsigned long v) noexcept : kind_(Kind::UInt), i_(int64_t(v)) {}  // NOLINT
  FormatArg(unsigned long long v) noexcept : kind_(Kind::UInt), i_(int64_t(v)) {}  // NOLINT
  FormatArg(double v) noexcept : kind_(Kind::Float), f_(v) {}                 // NOLINT
  FormatArg(long double v) noexcept : kind_(Kind::Float), f_(double(v)) {}    // NOLINT
  FormatArg(bool v) noexcept : kind_(Kind::Bool), i_(v) {}                    // NOLINT
  FormatArg(char16_t v) noexcept : kind_(Kind::Char), i_(v) {}                // NOLINT
  FormatArg(const UnicodeString& v) noexcept : kind_(Kind::String), s_(v.view()) {}  // NOLINT
  FormatArg(std::u16string_view v) noexcept : kind_(Kind::String), s_(v) {}   // NOLINT
  FormatArg(const char16_t* v) noexcept : kind_(Kind::String), s_(v ? v : u"") {}  // NOLINT
  FormatArg(const void* v) noexcept : kind_(Kind::Pointer), p_(v) {}          // NOLINT

  Kind kind() const noexcept { return kind_; }
  int64_t AsInt() const noexcept { return i_; }
  double AsFloat() const noexcept { return f_; }
  std::u16string_view AsString() const noexcept { return s_; }
  const void* AsPointer() const noexcept { return p_; }

 private:
  Kind kind_;
  union {
    int64_t i_;
    double f_;
    const void* p_;
  };
  std::u16string_view s_;
};

using FormatArgs = std::initializer_list<FormatArg>;

UnicodeString Format(std::u16string_view fmt, FormatArgs args);
// Same, over an argument array (for callers that build the list at run time).
UnicodeString Format(std::u16string_view fmt, const FormatArg* args, size_t count);

}  // namespace norvane
