// Variant: the dynamic value of scripts and templates.
//
// 16 bytes: a 16-bit type tag and an 8-byte payload (integer, float,
// boolean, object pointer, the block of a UnicodeString, or a shared array).
// Type codes are the runtime's (varEmpty ... varUString, varArray flag) plus
// the script engine's two private tags: varObject (22), an object
// reference, and varRange (23), an Int64 holding (left << 32) | right.
//
// Strings are always varUString. There is no separate byte-string payload:
// varString (256) is never produced; Variant::FromAnsi decodes bytes through
// the system code page into a varUString. varCurrency holds the runtime's
// fixed-point Int64 scaled by 10000.
//
// Arrays (varArray | varVariant) are one-dimensional with a lower bound.
// They have the runtime's value semantics (assignment copies the array);
// the copy is deferred: arrays share their block until one side writes.
//
// Conversion errors raise EVariantTypeCastError "Could not convert variant
// of type (%s) into type (%s)", with names from VarTypeAsText; values out of
// the target's range raise EVariantOverflowError "Overflow while converting
// variant of type (%s) into type (%s)".
//
// Not here: the arithmetic operator table (+ - * / with variant coercions),
// which the script engine supplies on top of these conversions.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <new>
#include <utility>
#include <string_view>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/types.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

using TVarType = uint16_t;

constexpr TVarType varEmpty = 0x0000;
constexpr TVarType varNull = 0x0001;
constexpr TVarType varSmallint = 0x0002;
constexpr TVarType varInteger = 0x0003;
constexpr TVarType varSingle = 0x0004;
constexpr TVarType varDouble = 0x0005;
constexpr TVarType varCurrency = 0x0006;
constexpr TVarType varDate = 0x0007;
constexpr TVarType varOleStr = 0x0008;
constexpr TVarType varDispatch = 0x0009;
constexpr TVarType varError = 0x000A;
constexpr TVarType varBoolean = 0x000B;
constexpr TVarType varVariant = 0x000C;
constexpr TVarType varUnknown = 0x000D;
constexpr TVarType varShortInt = 0x0010;
constexpr TVarType varByte = 0x0011;
constexpr TVarType varWord = 0x0012;
constexpr TVarType varLongWord = 0x0013;
constexpr TVarType varInt64 = 0x0014;
constexpr TVarType varUInt64 = 0x0015;
constexpr TVarType varObject = 0x0016;  // script engine: object reference
constexpr TVarType varRange = 0x0017;   // script engine: (lo << 32) | hi
constexpr TVarType varString = 0x0100;
constexpr TVarType varUString = 0x0102;
constexpr TVarType varTypeMask = 0x0FFF;
constexpr TVarType varArray = 0x2000;

enum TVariantRelationship : uint8_t { vrEqual, vrLessThan, vrGreaterThan, vrNotEqual };

NV_EXCEPTION(EVariantOverflowError, EVariantError)
NV_EXCEPTION(EVariantBadIndexError, EVariantError)
NV_EXCEPTION(EVariantArrayCreateError, EVariantError)

struct VarArrayData;

class Variant {
 public:
  Variant() noexcept : vt_(varEmpty) {}
  Variant(bool v) noexcept : vt_(varBoolean) { u_.i64 = 0; u_.b = v; }  // NOLINT
  Variant(signed char v) noexcept : vt_(varShortInt) { u_.i64 = v; }      // NOLINT
  Variant(unsigned char v) noexcept : vt_(varByte) { u_.i64 = v; }        // NOLINT
  Variant(short v) noexcept : vt_(varSmallint) { u_.i64 = v; }            // NOLINT
  Variant(unsigned short v) noexcept : vt_(varWord) { u_.i64 = v; }       // NOLINT
  Variant(int v) noexcept : vt_(varInteger) { u_.i64 = v; }               // NOLINT
  Variant(unsigned v) noexcept : vt_(varLongWord) { u_.i64 = v; }         // NOLINT
  Variant(long v) noexcept : vt_(varInt64) { u_.i64 = v; }                // NOLINT
  Variant(unsigned long v) noexcept : vt_(varUInt64) { u_.u64 = v; }      // NOLINT
  Variant(long long v) noexcept : vt_(varInt64) { u_.i64 = v; }           // NOLINT
  Variant(unsigned long long v) noexcept : vt_(varUInt64) { u_.u64 = v; } // NOLINT
  Variant(float v) noexcept : vt_(varSingle) { u_.i64 = 0; u_.f = v; }  // NOLINT
  Variant(double v) noexcept : vt_(varDouble) { u_.d = v; }               // NOLINT
  Variant(long double v) noexcept : vt_(varDouble) { u_.d = double(v); }  // NOLINT
  // A character is a one-unit string, as in the runtime.
  Variant(char16_t c);                                                   // NOLINT
  Variant(const UnicodeString& s) noexcept;                              // NOLINT
  Variant(UnicodeString&& s) noexcept;                                   // NOLINT
  Variant(std::u16string_view s);                                        // NOLINT
  Variant(const char16_t* s);                                            // NOLINT
  Variant(char16_t* s) : Variant(static_cast<const char16_t*>(s)) {}     // NOLINT
  // UTF-8 text (C++ literals); a char is a one-character string.
  Variant(const char* utf8);                                             // NOLINT
  Variant(char c);                                                       // NOLINT
  // Other pointers would silently become booleans: use FromObject.
  template <class T>
  Variant(T*) = delete;

  // Copies, moves and clears of plain values (numbers, booleans, dates,
  // objects) are inline: the script engine does them for every operand.
  Variant(const Variant& o) noexcept : vt_(o.vt_) {
    if (Owns(vt_))
      CopyOwned(o);
    else
      u_.i64 = o.u_.i64;
  }
  Variant(Variant&& o) noexcept : vt_(o.vt_) { MoveFrom(o); }
  Variant& operator=(const Variant& o) noexcept {
    if (!Owns(vt_) && !Owns(o.vt_)) {
      vt_ = o.vt_;
      u_.i64 = o.u_.i64;
      return *this;
    }
    return AssignOwned(o);
  }
  Variant& operator=(Variant&& o) noexcept {
    if (this == &o) return *this;
    if (Owns(vt_)) ReleaseOwned();
    vt_ = o.vt_;
    MoveFrom(o);
    return *this;
  }
  ~Variant() {
    if (Owns(vt_)) ReleaseOwned();
  }

  static Variant Null() noexcept {
    Variant v;
    v.vt_ = varNull;
    return v;
  }
  static Variant Empty() noexcept { return Variant(); }
  static Variant FromDate(TDateTime d) noexcept {
    Variant v(d);
    v.vt_ = varDate;
    return v;
  }
  // Currency: the value is rounded to 4 decimals (stored as Int64 * 10000).
  static Variant FromCurrency(double value);
  static Variant FromCurrencyRaw(int64_t scaled) noexcept {
    Variant v(static_cast<long long>(scaled));
    v.vt_ = varCurrency;
    return v;
  }
  // Bytes in the system code page, decoded to a varUString.
  static Variant FromAnsi(std::string_view bytes);
  // Tag 22: an object reference (nullptr allowed).
  static Variant FromObject(TObject* obj) noexcept {
    Variant v;
    v.vt_ = varObject;
    v.u_.obj = obj;
    return v;
  }
  // Tag 23: the range lo..hi.
  static Variant Range(int32_t lo, int32_t hi) noexcept {
    Variant v;
    v.vt_ = varRange;
    v.u_.u64 = (uint64_t(uint32_t(lo)) << 32) | uint32_t(hi);
    return v;
  }

  TVarType VarType() const noexcept { return vt_; }
  void Clear() noexcept {
    if (Owns(vt_)) ReleaseOwned();
    vt_ = varEmpty;
    u_.i64 = 0;
  }

  // --- Typed reads (the runtime's conversion rules) -------------------------
  int32_t AsInteger() const;
  int64_t AsInt64() const;
  double AsDouble() const;
  bool AsBoolean() const;
  UnicodeString AsString() const;
  TDateTime AsDateTime() const;
  // Tag 22 only (EVariantTypeCastError otherwise).
  TObject* AsObject() const;
  // Tag 23 only.
  int32_t RangeLow() const;
  int32_t RangeHigh() const;

  // --- Unchecked payload access for the script engine's fast paths ----------
  // The caller has tested VarType(); these never convert.
  int32_t RawInteger() const noexcept { return int32_t(u_.i64); }
  int64_t RawInt64() const noexcept { return u_.i64; }
  double RawDouble() const noexcept { return u_.d; }
  bool RawBoolean() const noexcept { return u_.b; }
  // Overwrite the payload when the tag already matches (no release needed).
  void SetRawInteger(int32_t v) noexcept { u_.i64 = v; }
  void SetRawInt64(int64_t v) noexcept { u_.i64 = v; }
  void SetRawDouble(double v) noexcept { u_.d = v; }
  // The string of a varUString (empty otherwise), without conversion.
  const UnicodeString& RawString() const noexcept;

  // --- Arrays -----------------------------------------------------------------
  bool IsArray() const noexcept { return (vt_ & varArray) != 0; }
  // Element access; raises EVariantBadIndexError outside the bounds and
  // EVariantError when this is not an array.
  const Variant& GetElement(int32_t index) const;
  void PutElement(int32_t index, const Variant& value);

  friend bool operator==(const Variant& a, const Variant& b);

 private:
  friend struct VarArrayData;
  friend Variant VarArrayCreate(int32_t low, int32_t high, TVarType elemType);
  friend int32_t VarArrayLowBound(const Variant& v, int32_t dim);
  friend int32_t VarArrayHighBound(const Variant& v, int32_t dim);
  friend void VarArrayRedim(Variant& v, int32_t high);
  friend Variant VarArrayOf(const Variant* values, size_t count);

  VarArrayData* ArrayData() const;     // checks the tag
  VarArrayData* UniqueArray();         // copy-on-write

  // Strings and arrays hold a reference; every other payload is plain bits.
  static constexpr bool Owns(TVarType vt) noexcept { return vt == varUString || (vt & varArray) != 0; }
  void CopyOwned(const Variant& o) noexcept;
  Variant& AssignOwned(const Variant& o) noexcept;
  void ReleaseOwned() noexcept;

  TVarType vt_;
  union Payload {
    int64_t i64;
    uint64_t u64;
    double d;
    float f;
    bool b;
    TObject* obj;
    VarArrayData* arr;  // owned reference
    UnicodeString s;    // live when vt_ == varUString
    Payload() noexcept : i64(0) {}
    ~Payload() {}
  } u_;

  void MoveFrom(Variant& o) noexcept {
    if (vt_ == varUString) [[unlikely]] {
      new (&u_.s) UnicodeString(std::move(o.u_.s));
      o.u_.s.~UnicodeString();
    } else {
      u_.i64 = o.u_.i64;
    }
    o.vt_ = varEmpty;
    o.u_.i64 = 0;
  }
};
static_assert(sizeof(Variant) == 16);

// Names for messages: "Empty", "Null", "SmallInt", "Integer", "Single",
// "Double", "Currency", "Date", "OleStr", "Dispatch", "Error", "Boolean",
// "Variant", "Unknown", "ShortInt", "Byte", "Word", "LongWord", "Int64",
// "UInt64", "Object", "Range", "String" (256 and 258), "Array <element>".
UnicodeString VarTypeAsText(TVarType vt);

inline TVarType VarType(const Variant& v) noexcept { return v.VarType(); }
inline bool VarIsNull(const Variant& v) noexcept { return v.VarType() == varNull; }
inline bool VarIsEmpty(const Variant& v) noexcept { return v.VarType() == varEmpty; }
// Empty, or an unassigned object reference/dispatch.
bool VarIsClear(const Variant& v) noexcept;
// Integers, floats, currency (not booleans, not dates).
bool VarIsNumeric(const Variant& v) noexcept;
// Integer types and booleans.
bool VarIsOrdinal(const Variant& v) noexcept;
// Single, double, currency.
bool VarIsFloat(const Variant& v) noexcept;
bool VarIsStr(const Variant& v) noexcept;
inline bool VarIsArray(const Variant& v) noexcept { return v.IsArray(); }
// "" for null and empty, AsString otherwise.
UnicodeString VarToStr(const Variant& v);
// Converts to the given simple type (varInteger, varDouble, varUString, ...).
Variant VarAsType(const Variant& v, TVarType vt);

// The runtime's VarCompareValue: numbers numerically, strings ordinally,
// a string beside a number is read as a number when it is one (else both
// compare as strings), null equals only null, empty counts as 0 or "".
// Booleans compare False < True among themselves and as -1/0 beside
// numbers. Objects and ranges only tell equal or not; NaN is vrNotEqual.
TVariantRelationship VarCompareValue(const Variant& a, const Variant& b);
inline bool VarSameValue(const Variant& a, const Variant& b) { return VarCompareValue(a, b) == vrEqual; }
inline bool operator!=(const Variant& a, const Variant& b) { return !(a == b); }

// One-dimensional arrays of variants.
Variant VarArrayCreate(int32_t low, int32_t high, TVarType elemType = varVariant);
Variant VarArrayOf(std::initializer_list<Variant> values);
Variant VarArrayOf(const Variant* values, size_t count);
int32_t VarArrayDimCount(const Variant& v) noexcept;  // 1 for arrays, 0 otherwise
int32_t VarArrayLowBound(const Variant& v, int32_t dim = 1);
int32_t VarArrayHighBound(const Variant& v, int32_t dim = 1);
// Changes the high bound, keeping the elements that stay.
void VarArrayRedim(Variant& v, int32_t high);
inline Variant VarArrayGet(const Variant& a, int32_t index) { return a.GetElement(index); }
inline void VarArrayPut(Variant& a, const Variant& value, int32_t index) { a.PutElement(index, value); }

}  // namespace norvane
