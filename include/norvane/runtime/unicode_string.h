// UnicodeString: a shared, reference-counted string of UTF-16 code units.
//
// One heap block holds {refcount, length, units..., 0}. Copies share the
// block; mutation copies it first when shared. The empty string is a null
// pointer, so default construction and clearing never allocate. Equality
// tests the block pointer first, which makes interned names compare in one
// step. Indexing with operator[] is 0-based; the Pascal-style helpers in
// sysutils.h (Pos, Copy, ...) keep 1-based positions.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "norvane/runtime/types.h"

namespace norvane {

class UnicodeString {
 public:
  UnicodeString() noexcept = default;
  UnicodeString(const char16_t* s);                 // NOLINT: literals convert
  UnicodeString(const char16_t* s, int32_t length);
  UnicodeString(std::u16string_view s);             // NOLINT
  UnicodeString(const std::u16string& s) : UnicodeString(std::u16string_view(s)) {}  // NOLINT
  UnicodeString(int32_t count, char16_t ch);
  explicit UnicodeString(char16_t ch) : UnicodeString(&ch, 1) {}

  UnicodeString(const UnicodeString& o) noexcept : d_(o.d_) { AddRef(); }
  UnicodeString(UnicodeString&& o) noexcept : d_(o.d_) { o.d_ = nullptr; }
  UnicodeString& operator=(const UnicodeString& o) noexcept {
    if (d_ != o.d_) {
      o.AddRef();
      Release();
      d_ = o.d_;
    }
    return *this;
  }
  UnicodeString& operator=(UnicodeString&& o) noexcept {
    if (this != &o) {
      Release();
      d_ = o.d_;
      o.d_ = nullptr;
    }
    return *this;
  }
  ~UnicodeString() { Release(); }

  // A string of `length` units whose contents the caller fills through
  // MutableData(). Length 0 gives the empty string. Raises EOutOfMemory on a
  // negative or absurd length.
  static UnicodeString Alloc(int32_t length);
  static UnicodeString FromUtf8(std::string_view utf8);
  // A string that is never freed and whose copies cost no reference count:
  // for the fixed names that millions of nodes share. Each call makes a new
  // block, so call it once per name (a function-local static).
  static UnicodeString Immortal(std::u16string_view s);
  // Widens each byte to one unit (Latin-1).
  static UnicodeString FromLatin1(std::string_view bytes);
  // ASCII-only convenience for literals in C++ code.
  static UnicodeString FromAscii(const char* s) { return FromLatin1(s); }

  std::string ToUtf8() const;
  std::u16string ToU16() const { return std::u16string(view()); }

  int32_t Length() const noexcept { return d_ ? Head()->length : 0; }
  bool IsEmpty() const noexcept { return d_ == nullptr; }
  explicit operator bool() const noexcept { return d_ != nullptr; }

  // Pointer to the units, or nullptr for the empty string.
  const char16_t* Data() const noexcept { return d_; }
  // Always a valid zero-terminated pointer.
  const char16_t* c_str() const noexcept { return d_ ? d_ : u""; }
  std::u16string_view view() const noexcept {
    return d_ ? std::u16string_view(d_, size_t(Head()->length)) : std::u16string_view();
  }
  operator std::u16string_view() const noexcept { return view(); }  // NOLINT

  char16_t operator[](int32_t i) const noexcept { return d_[i]; }
  // Unique, writable units (copies a shared block first); nullptr if empty.
  char16_t* MutableData();
  // Pascal's SetLength: keeps the first min(old, n) units; new units are 0.
  void SetLength(int32_t n);
  void Clear() noexcept {
    Release();
    d_ = nullptr;
  }

  UnicodeString& operator+=(const UnicodeString& s);
  UnicodeString& operator+=(std::u16string_view s);
  UnicodeString& operator+=(char16_t c) { return *this += std::u16string_view(&c, 1); }

  bool SameBlock(const UnicodeString& o) const noexcept { return d_ == o.d_; }
  // The number of owners; negative for an immortal string.
  int32_t RefCount() const noexcept { return d_ ? Head()->refs.load(std::memory_order_relaxed) : 0; }

  friend bool operator==(const UnicodeString& a, const UnicodeString& b) noexcept {
    if (a.d_ == b.d_) return true;
    int32_t n = a.Length();
    return n == b.Length() && std::memcmp(a.d_, b.d_, size_t(n) * 2) == 0;
  }
  friend bool operator==(const UnicodeString& a, std::u16string_view b) noexcept { return a.view() == b; }
  friend bool operator==(const UnicodeString& a, const char16_t* b) noexcept {
    return a.view() == std::u16string_view(b);
  }
  // Ordinal order of code units.
  friend std::strong_ordering operator<=>(const UnicodeString& a, const UnicodeString& b) noexcept {
    return a.view() <=> b.view();
  }

 private:
  struct Header {
    std::atomic<int32_t> refs;
    int32_t length;
  };
  static_assert(sizeof(Header) == 8);

  Header* Head() const noexcept { return reinterpret_cast<Header*>(d_) - 1; }
  // A block with a negative count is immortal: copies of it cost no
  // atomic operation. A block with a count of 1 has one owner, who frees it
  // without one.
  void AddRef() const noexcept {
    if (d_ && Head()->refs.load(std::memory_order_relaxed) >= 0) Head()->refs.fetch_add(1, std::memory_order_relaxed);
  }
  void Release() noexcept {
    if (!d_) return;
    std::atomic<int32_t>& refs = Head()->refs;
    const int32_t n = refs.load(std::memory_order_acquire);
    if (n == 1 || (n > 1 && refs.fetch_sub(1, std::memory_order_acq_rel) == 1)) Free(d_);
  }
  static char16_t* Allocate(int32_t length);
  static void Free(char16_t* d) noexcept;

  char16_t* d_ = nullptr;
};

UnicodeString operator+(const UnicodeString& a, const UnicodeString& b);
UnicodeString operator+(const UnicodeString& a, const char16_t* b);
UnicodeString operator+(const char16_t* a, const UnicodeString& b);
UnicodeString operator+(const UnicodeString& a, char16_t b);
UnicodeString operator+(char16_t a, const UnicodeString& b);

// UTF-8 <-> UTF-16 converters shared by the whole library. Invalid UTF-8
// bytes decode to U+FFFD; lone surrogates encode as their 3-byte form.
void AppendUtf8(std::string& out, std::u16string_view s);
std::u16string Utf8ToU16(std::string_view utf8);
// The same into `out`, which needs room for `size` units (never more are
// written); returns the end of the output. Allocates nothing.
char16_t* Utf8ToU16(const uint8_t* utf8, size_t size, char16_t* out) noexcept;

// Byte strings of the runtime (RawByteString, AnsiString, UTF8String).
using RawByteString = std::string;
using AnsiString = std::string;
using UTF8String = std::string;

struct UnicodeStringHash {
  size_t operator()(const UnicodeString& s) const noexcept {
    return std::hash<std::u16string_view>()(s.view());
  }
};

}  // namespace norvane
