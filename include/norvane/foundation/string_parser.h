// TStringParser: the cursor over a UnicodeString on which every tokenizer of
// the library rests (markup, style values, path data, queries).
//
// `p` walks from the first unit to `pend`; the string's terminating zero
// stands at `pend`, so GetCurrent() at the end reads 0. No reader ever moves
// `p` past `pend` or reads beyond it. Number readers are lenient by default
// and raise EConvertError "Incorrect number" only when RaiseException is set.
#pragma once

#include <cstdint>
#include <string_view>

#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

// A set of 8-bit characters (256 bits). Units from 256 up are never members.
class TAnsiCharSet {
 public:
  constexpr TAnsiCharSet() noexcept = default;
  // Every byte of `chars` is a member: TAnsiCharSet(";,)").
  constexpr TAnsiCharSet(std::string_view chars) noexcept {  // NOLINT: literals convert
    for (char c : chars) Include(static_cast<unsigned char>(c));
  }
  constexpr TAnsiCharSet& Include(unsigned c) noexcept {
    if (c < 256) bits_[c >> 6] |= uint64_t(1) << (c & 63);
    return *this;
  }
  constexpr TAnsiCharSet& IncludeRange(unsigned from, unsigned to) noexcept {
    for (unsigned c = from; c <= to && c < 256; ++c) Include(c);
    return *this;
  }
  constexpr bool Contains(char16_t c) const noexcept {
    return c < 256 && (bits_[c >> 6] >> (c & 63)) & 1;
  }

 private:
  uint64_t bits_[4] = {0, 0, 0, 0};
};

class TStringParser : public TInterfacedObject {
  NV_CLASS(TStringParser, TInterfacedObject)

 private:
  UnicodeString s;      // keeps the text alive
  char16_t fNull = 0;   // what p points at when the text is empty

 public:
  const char16_t* p = &fNull;     // cursor
  const char16_t* pend = &fNull;  // one past the last unit; holds a 0
  bool RaiseException = false;    // number readers raise on bad input

  TStringParser() = default;
  explicit TStringParser(const UnicodeString& text) { Init(text); }
  // Takes a new text, cursor at its start.
  void Init(const UnicodeString& text);

  const UnicodeString& Text() const noexcept { return s; }
  const char16_t* Start() const noexcept { return s.IsEmpty() ? &fNull : s.Data(); }

  bool Empty() const noexcept { return p >= pend; }
  bool First() const noexcept { return p == Start(); }
  char16_t GetCurrent() const noexcept { return *p; }
  // Advances unless at the end; returns the unit now under the cursor.
  char16_t Next() noexcept {
    if (p < pend) ++p;
    return *p;
  }

  // 1-based position of the cursor.
  int32_t Pos() const noexcept { return int32_t(p - Start()) + 1; }
  // Line feeds before the cursor: the first line is 0.
  int32_t Line() const noexcept;
  const char16_t* PTail() const noexcept { return p; }
  UnicodeString Tail() const;
  // Distance + 1 from the cursor to the next `c`, 0 if none. `p` stays.
  int32_t CharPos(char16_t c) const noexcept;

  // Moves n units (negative moves back), clamped to the text.
  void Skip(int32_t n) noexcept;
  void Skipto(char16_t c) noexcept;
  // Skips units below U+0021.
  void SkipBlanks() noexcept {
    while (p < pend && *p < 0x21) ++p;
  }
  // Cuts trailing LF, CR and spaces off the text itself; the cursor keeps its
  // position (or lands on the new end).
  void SkipEndBlanks();
  // Compares the text at the cursor, folded to ASCII lower case, with `str`
  // as given: `str` must be lower case.
  bool StartsWith(std::u16string_view str) const noexcept;

  // The first unit is always taken; stops at space, CR, LF, tab, ",", "(",
  // ")". False when nothing was read.
  bool ReadWord(UnicodeString& out, bool skipBlanks = true);
  // One parameter of a list "(a, b)": see the source for the exact steps.
  // False at the end or at ")" (which is consumed).
  bool ReadParam(UnicodeString& out);
  // Reads up to the next `c`. With `trim`: blanks before and after are cut
  // and the stop `c` is consumed. True when a `c` stopped the read.
  bool ReadtoChar(char16_t c, UnicodeString& out, bool trim);
  // Skips blanks, reads up to the first unit in `stops`. True when one was
  // found.
  bool ReadtoChars(const TAnsiCharSet& stops, UnicodeString& out);
  // Reads to CR or LF and consumes the line end (CR LF as one). False when
  // the cursor was already at the end.
  bool ReadLn(UnicodeString& out);
  // One unit of line breaking: a word with the spaces before it, a single
  // Chinese unit, or a "-"/"/" with what follows. False when nothing is left.
  bool ReadtoWordBreak(UnicodeString& out);

  int32_t ReadInt();
  int32_t ReadInt1();
  int64_t ReadHex();
  int64_t ReadBin();
  double ReadNum();
  double ReadNumEx();
  // True with an integer in `i`, or false with a float in `f`.
  bool ReadIntOrFloat(int64_t& i, long double& f);

 private:
  [[noreturn]] static void RaiseIncorrectNumber();
  void SkipBlanksAndComma() noexcept;
  // One "+", then one "-", as the hexadecimal, binary and decimal readers
  // take their sign; true for the minus.
  bool ReadPlusThenMinus() noexcept;
  bool AtDigit() const noexcept { return p < pend && char16_t(*p - u'0') < 10; }
};

// High byte 0x4E..0x9F, 0xF9, 0xFA or 0x30 (CJK punctuation included).
inline bool IsChinese(char16_t c) noexcept {
  unsigned hb = c >> 8;
  return (hb >= 0x4E && hb <= 0x9F) || hb == 0xF9 || hb == 0xFA || hb == 0x30;
}
// Any unit with the IsChinese test, punctuation block 0x30 excluded.
bool HasChinese(std::u16string_view s) noexcept;
inline bool IsCJK(uint16_t c) noexcept {
  return (c >= 0x4E00 && c <= 0x9FFF) || (c >= 0xF900 && c <= 0xFA00) || (c >> 8) == 0x30;
}
inline bool IsHighSurrogate(char16_t c) noexcept {
  unsigned hb = c >> 8;
  return hb >= 0xD8 && hb <= 0xDB;
}

}  // namespace norvane
