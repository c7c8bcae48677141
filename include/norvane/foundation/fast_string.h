// Chunked string builders: TFastString (UTF-16 code units) and
// TFastRawString (bytes).
//
// A builder keeps a singly linked chain of fixed blocks. Appending copies into
// the last block while it has room and otherwise hangs a fresh block of at
// least the block size after it: nothing is ever moved or doubled, and one
// append never splits over two blocks. The text is copied once, when the
// final value is asked for. The first link lives inside the object, so an
// empty builder costs no allocation at all.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "norvane/runtime/object.h"
#include "norvane/runtime/types.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TStream;

// One link of the chain. Data is null while no block is attached.
template <class Unit>
struct TFSNodeOf {
  Unit* Data;
  int32_t Size;  // capacity in units
  int32_t Len;   // units in use
  TFSNodeOf* Next;
};

using TFSNode = TFSNodeOf<char16_t>;
using TFSRawNode = TFSNodeOf<char>;

namespace detail {

// The chain shared by both builders. The hot appends are inline; everything
// that allocates lives out of line.
template <class Unit>
class TFastChain : public TObject {
 public:
  using Node = TFSNodeOf<Unit>;

  explicit TFastChain(int32_t blockSize);
  ~TFastChain() override { Clear(); }

  // Frees every block and link; back to the state after construction.
  void Clear() noexcept;
  // Keeps the first block and its capacity, frees the rest, empties the text.
  void ClearandLeaveSpace() noexcept;

  int32_t GetTotalLen() const noexcept { return FDoneLen + FLast->Len; }

  // Reserves a fresh block of at least n units and returns its start. The
  // caller writes there and then raises FLast->Len. Raises EOutOfMemory for a
  // negative or absurd n.
  Unit* AddSpace(int32_t n);

  void AddChar(Unit c) {
    Node* l = FLast;
    if (l->Len >= l->Size) [[unlikely]]
      l = Grow(1);
    l->Data[l->Len++] = c;
  }
  void Add2Char(Unit a, Unit b) {
    Node* l = FLast;
    if (l->Len + 2 > l->Size) [[unlikely]]
      l = Grow(2);
    Unit* d = l->Data + l->Len;
    d[0] = a;
    d[1] = b;
    l->Len += 2;
  }
  void AddSpaces(int32_t n);

  // Blocks in order, for callers that stream the text out without a copy.
  const Node& First() const noexcept { return FFirst; }
  const Node& Last() const noexcept { return *FLast; }
  int32_t BlockSize() const noexcept { return FBlockSize; }

 protected:
  // Room for n more units in FLast: in place when it fits, else a new block.
  Unit* Reserve(int32_t n) {
    Node* l = FLast;
    if (l->Len + n > l->Size) [[unlikely]]
      l = Grow(n);
    return l->Data + l->Len;
  }
  void AppendUnits(const Unit* p, int32_t n) {
    Node* l = FLast;
    if (l->Len + n > l->Size) [[unlikely]]
      l = Grow(n);
    CopyUnits(l->Data + l->Len, p, size_t(n) * sizeof(Unit));
    l->Len += n;
  }
  // Short strings dominate serialisers: up to 32 bytes move as two
  // overlapping words, no call and no loop. (GCC warns about the branches
  // that a constant length rules out; they never run.)
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
#pragma GCC diagnostic ignored "-Wstringop-overread"
#endif
  static void CopyUnits(Unit* dst, const Unit* src, size_t bytes) noexcept {
    auto* d = reinterpret_cast<char*>(dst);
    auto* p = reinterpret_cast<const char*>(src);
    if (bytes >= 16) {
      if (bytes > 32) [[unlikely]]
        return CopyLong(d, p, bytes);
      Move<16>(d, p);
      Move<16>(d + bytes - 16, p + bytes - 16);
    } else if (bytes >= 8) {
      Move<8>(d, p);
      Move<8>(d + bytes - 8, p + bytes - 8);
    } else if (bytes >= 4) {
      Move<4>(d, p);
      Move<4>(d + bytes - 4, p + bytes - 4);
    } else if (bytes >= 2) {
      Move<2>(d, p);
      Move<1>(d + bytes - 1, p + bytes - 1);
    } else if (bytes) {
      *d = *p;
    }
  }
  template <size_t N>
  static void Move(char* d, const char* p) noexcept {
    char tmp[N];
    std::memcpy(tmp, p, N);
    std::memcpy(d, tmp, N);
  }
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
  static void CopyLong(char* d, const char* p, size_t bytes) noexcept;
  // AddSpace and return the new last link (n already validated as >= 0).
  Node* Grow(int32_t n) {
    AddSpace(n);
    return FLast;
  }
  // Copies the whole text into `out`, which has room for GetTotalLen units.
  void CopyTo(Unit* out) const noexcept;
  // Text of the whole chain as a contiguous string (for the slow paths).
  std::basic_string<Unit> Whole() const;
  void SetWhole(std::basic_string_view<Unit> s);
  // Last unit of the text, or 0.
  Unit LastUnit() const noexcept;
  bool StartsWithUnits(std::basic_string_view<Unit> s) const;
  bool EndsWithUnits(std::basic_string_view<Unit> s) const;
  int32_t PosOfUnits(std::basic_string_view<Unit> s) const;
  void DeleteUnitsFromEnd(int32_t n);
  void GrabChain(TFastChain& other);
  void PrependUnits(const Unit* p, int32_t n);
  // Decimal digits of v into exactly the room they need ("-" included).
  void AddDecimal(int64_t v);

  Node FFirst{};
  Node* FLast;
  int32_t FDoneLen = 0;
  int32_t FBlockSize;
};

extern template class TFastChain<char16_t>;
extern template class TFastChain<char>;

}  // namespace detail

class TFastString : public detail::TFastChain<char16_t> {
  NV_CLASS(TFastString, TObject)
 public:
  // The block size is the minimum size of each new block, in units.
  explicit TFastString(int32_t blockSize = 4096) : TFastChain(blockSize) {}

  void Add(const UnicodeString& s) {
    if (int32_t n = s.Length()) AppendUnits(s.Data(), n);
  }
  void Add(const char16_t* p, int32_t n) {
    if (n > 0) AppendUnits(p, n);
  }
  // Decimal text. The magnitude dispatch reads the low 32 bits only, so a
  // value such as 4294967301 prints just "5": callers pass 32-bit values on
  // the hot paths and the short forms must stay branch-cheap.
  void Add(int64_t v);
  void Add(int32_t v) { Add(int64_t(v)); }
  void Add(uint32_t v) { Add(int64_t(v)); }
  // Fixed-point text with up to `decimals` (capped at 8) fraction digits,
  // trailing zeros stripped; a value integral at that precision has no point.
  void Add(double value, int32_t decimals, bool leadingZero);
  // A single unit or a bare double would silently pick an integer overload.
  void Add(char16_t) = delete;
  void Add(char) = delete;
  void Add(double) = delete;

  // New first block holding s, in front of everything appended so far.
  void Prepend(const UnicodeString& s) {
    if (int32_t n = s.Length()) PrependUnits(s.Data(), n);
  }
  // Takes over the other builder's chain; the other is left empty.
  void Grab(TFastString* other) {
    if (other) GrabChain(*other);
  }
  void DeletefromEnd(int32_t n) { DeleteUnitsFromEnd(n); }
  // Drop trailing units below U+0021 / trailing U+0020.
  void TrimTrailingBlanks();
  void TrimTrailingSpaces();

  char16_t LastChar() const noexcept { return LastUnit(); }
  void ToString(UnicodeString& out) const;
  UnicodeString GetAsString() const {
    UnicodeString s;
    ToString(s);
    return s;
  }
  // Tail from the 1-based position; empty when past the end.
  void ToStringFrom(UnicodeString& out, int32_t pos) const;
  // Every block in order, two bytes a unit, no terminator or byte-order mark.
  void SavetoBuffer(void* buffer) const noexcept { CopyTo(static_cast<char16_t*>(buffer)); }
  void SavetoStream(TStream* stream) const;

  bool StartsWith(const UnicodeString& s) const { return StartsWithUnits(s.view()); }
  bool EndsWith(const UnicodeString& s) const { return EndsWithUnits(s.view()); }
  // 1-based position or 0; a match may span one block boundary, not two.
  int32_t PosOf(const UnicodeString& s) const { return PosOfUnits(s.view()); }

  UnicodeString Charset;
};

class TFastRawString : public detail::TFastChain<char> {
  NV_CLASS(TFastRawString, TObject)
 public:
  explicit TFastRawString(int32_t blockSize = 4096) : TFastChain(blockSize) {}

  void Add(std::string_view s) {
    if (!s.empty()) AppendUnits(s.data(), CheckedLen(s.size()));
  }
  void Add(const void* p, int32_t n) {
    if (n > 0) AppendUnits(static_cast<const char*>(p), n);
  }
  // UTF-8 of s. Reserves 3 bytes a unit up front; surrogates join the unit
  // after them without checking their order.
  void AddUTF8(const UnicodeString& s);
  // 32-bit decimal; the lowest int32 stays negative when negated and prints
  // just "-".
  void AddInt(int32_t v);

  RawByteString GetAsString() const;
  void ToString(RawByteString& out) const { out = GetAsString(); }
  UTF8String ToUTF8String() const { return GetAsString(); }
  TBytes AsBytes() const;

  bool StartsWith(std::string_view s) const { return StartsWithUnits(s); }
  int32_t PosOf(std::string_view s) const { return PosOfUnits(s); }

 private:
  static int32_t CheckedLen(size_t n);
};

}  // namespace norvane
