// Variant: storage, conversions, comparison and one-dimensional arrays.
#include "norvane/runtime/variant.h"

#include <atomic>
#include <cmath>
#include <vector>

#include "norvane/runtime/sysutils.h"
#include "sysutils_internal.h"

namespace norvane {

NV_CLASS_IMPL(EVariantOverflowError, "Variants")
NV_CLASS_IMPL(EVariantBadIndexError, "Variants")
NV_CLASS_IMPL(EVariantArrayCreateError, "Variants")

struct VarArrayData {
  std::atomic<int32_t> refs{1};
  int32_t low = 0;
  std::vector<Variant> items;

  void AddRef() noexcept { refs.fetch_add(1, std::memory_order_relaxed); }
  void Release() noexcept {
    if (refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
};

namespace {

[[noreturn]] void CastError(TVarType from, TVarType to) {
  throw EVariantTypeCastError(u"Could not convert variant of type (%s) into type (%s)",
                              {VarTypeAsText(from), VarTypeAsText(to)});
}

[[noreturn]] void OverflowError(TVarType from, TVarType to) {
  throw EVariantOverflowError(u"Overflow while converting variant of type (%s) into type (%s)",
                              {VarTypeAsText(from), VarTypeAsText(to)});
}

bool IsIntTag(TVarType t) noexcept {
  switch (t) {
    case varSmallint:
    case varInteger:
    case varShortInt:
    case varByte:
    case varWord:
    case varLongWord:
    case varInt64:
    case varUInt64:
      return true;
    default:
      return false;
  }
}

bool IsFloatTag(TVarType t) noexcept { return t == varSingle || t == varDouble || t == varCurrency; }

// Reads a string as a number: an integer, else a float, else a boolean word.
bool StrToNumber(std::u16string_view s, double& d) noexcept {
  int64_t i;
  if (TryStrToInt64(s, i)) {
    d = double(i);
    return true;
  }
  if (TryStrToFloat(s, d)) return true;
  if (SameText(s, u"true")) {
    d = -1;
    return true;
  }
  if (SameText(s, u"false")) {
    d = 0;
    return true;
  }
  return false;
}

}  // namespace

// --- Construction --------------------------------------------------------------

Variant::Variant(char16_t c) : vt_(varUString) { new (&u_.s) UnicodeString(c); }
Variant::Variant(const UnicodeString& s) noexcept : vt_(varUString) { new (&u_.s) UnicodeString(s); }
Variant::Variant(UnicodeString&& s) noexcept : vt_(varUString) { new (&u_.s) UnicodeString(std::move(s)); }
Variant::Variant(std::u16string_view s) : vt_(varUString) { new (&u_.s) UnicodeString(s); }
Variant::Variant(const char16_t* s) : vt_(varUString) { new (&u_.s) UnicodeString(s ? s : u""); }
Variant::Variant(const char* utf8) : vt_(varUString) {
  new (&u_.s) UnicodeString(UnicodeString::FromUtf8(utf8 ? utf8 : ""));
}
Variant::Variant(char c) : vt_(varUString) { new (&u_.s) UnicodeString(char16_t(uint8_t(c))); }

void Variant::CopyOwned(const Variant& o) noexcept {
  if (vt_ == varUString) {
    new (&u_.s) UnicodeString(o.u_.s);
  } else {
    u_.i64 = o.u_.i64;
    u_.arr->AddRef();
  }
}

Variant& Variant::AssignOwned(const Variant& o) noexcept {
  if (this == &o) return *this;
  if (vt_ == varUString && o.vt_ == varUString) {
    u_.s = o.u_.s;
    return *this;
  }
  Variant tmp(o);
  Clear();
  vt_ = tmp.vt_;
  MoveFrom(tmp);
  return *this;
}

void Variant::ReleaseOwned() noexcept {
  if (vt_ == varUString)
    u_.s.~UnicodeString();
  else
    u_.arr->Release();
}

Variant Variant::FromCurrency(double value) {
  double scaled = value * 10000.0;
  if (!(std::fabs(scaled) < 9.2e18)) OverflowError(varDouble, varCurrency);
  return FromCurrencyRaw(MathRound(scaled));
}

Variant Variant::FromAnsi(std::string_view bytes) { return Variant(AnsiToUnicode(bytes)); }

const UnicodeString& Variant::RawString() const noexcept {
  static const UnicodeString empty;
  return vt_ == varUString ? u_.s : empty;
}

// --- Type names and tests ----------------------------------------------------------

UnicodeString VarTypeAsText(TVarType vt) {
  if (vt & varArray) return u"Array " + VarTypeAsText(TVarType(vt & varTypeMask));
  switch (vt) {
    case varEmpty: return u"Empty";
    case varNull: return u"Null";
    case varSmallint: return u"SmallInt";
    case varInteger: return u"Integer";
    case varSingle: return u"Single";
    case varDouble: return u"Double";
    case varCurrency: return u"Currency";
    case varDate: return u"Date";
    case varOleStr: return u"OleStr";
    case varDispatch: return u"Dispatch";
    case varError: return u"Error";
    case varBoolean: return u"Boolean";
    case varVariant: return u"Variant";
    case varUnknown: return u"Unknown";
    case varShortInt: return u"ShortInt";
    case varByte: return u"Byte";
    case varWord: return u"Word";
    case varLongWord: return u"LongWord";
    case varInt64: return u"Int64";
    case varUInt64: return u"UInt64";
    case varObject: return u"Object";
    case varRange: return u"Range";
    case varString:
    case varUString: return u"String";
    default: return u"$" + IntToHex(vt, 4);
  }
}

bool VarIsClear(const Variant& v) noexcept {
  return v.VarType() == varEmpty || (v.VarType() == varObject && v.AsObject() == nullptr);
}
bool VarIsNumeric(const Variant& v) noexcept { return IsIntTag(v.VarType()) || IsFloatTag(v.VarType()); }
bool VarIsOrdinal(const Variant& v) noexcept { return IsIntTag(v.VarType()) || v.VarType() == varBoolean; }
bool VarIsFloat(const Variant& v) noexcept { return IsFloatTag(v.VarType()); }
bool VarIsStr(const Variant& v) noexcept {
  TVarType t = v.VarType();
  return t == varUString || t == varString || t == varOleStr;
}

// --- Conversions ---------------------------------------------------------------------

namespace {
// Rounds halves to even; a value outside Int64 (or NaN) is an overflow.
int64_t RoundToInt64(double d, TVarType from) {
  if (!(d >= -9223372036854775808.0 && d < 9223372036854775808.0)) OverflowError(from, varInt64);
  return Round(d);
}
}  // namespace

int64_t Variant::AsInt64() const {
  switch (vt_) {
    case varEmpty: return 0;
    case varSmallint:
    case varInteger:
    case varShortInt:
    case varByte:
    case varWord:
    case varLongWord:
    case varInt64:
    case varRange:  // the packed (lo << 32) | hi
      return u_.i64;
    case varUInt64:
      if (u_.u64 > uint64_t(INT64_MAX)) OverflowError(vt_, varInt64);
      return u_.i64;
    case varBoolean: return u_.b ? -1 : 0;
    case varCurrency: return Round(double(u_.i64) / 10000.0);
    case varSingle:
    case varDouble:
    case varDate:
      return RoundToInt64(vt_ == varSingle ? double(u_.f) : u_.d, vt_);
    case varUString: {
      int64_t i;
      if (TryStrToInt64(u_.s, i)) return i;
      double d;
      if (!StrToNumber(u_.s, d)) CastError(vt_, varInt64);
      return RoundToInt64(d, vt_);
    }
    default:
      CastError(vt_, varInt64);
  }
}

int32_t Variant::AsInteger() const {
  if (vt_ == varInteger) return int32_t(u_.i64);
  if (vt_ == varRange) CastError(vt_, varInteger);
  int64_t v;
  try {
    v = AsInt64();
  } catch (const EVariantOverflowError&) {
    OverflowError(vt_, varInteger);
  } catch (const EVariantTypeCastError&) {
    CastError(vt_, varInteger);
  }
  if (v < INT32_MIN || v > INT32_MAX) OverflowError(vt_, varInteger);
  return int32_t(v);
}

double Variant::AsDouble() const {
  switch (vt_) {
    case varEmpty: return 0;
    case varSmallint:
    case varInteger:
    case varShortInt:
    case varByte:
    case varWord:
    case varLongWord:
    case varInt64:
      return double(u_.i64);
    case varUInt64: return double(u_.u64);
    case varSingle: return double(u_.f);
    case varDouble:
    case varDate:
      return u_.d;
    case varCurrency: return double(u_.i64) / 10000.0;
    case varBoolean: return u_.b ? -1.0 : 0.0;
    case varUString: {
      double d;
      if (!StrToNumber(u_.s, d)) CastError(vt_, varDouble);
      return d;
    }
    default:
      CastError(vt_, varDouble);
  }
}

bool Variant::AsBoolean() const {
  switch (vt_) {
    case varEmpty: return false;
    case varBoolean: return u_.b;
    case varSingle: return u_.f != 0;
    case varDouble:
    case varDate:
      return u_.d != 0;
    case varUString: {
      bool b;
      if (!TryStrToBool(u_.s, b)) CastError(vt_, varBoolean);
      return b;
    }
    default:
      if (IsIntTag(vt_) || vt_ == varCurrency) return u_.i64 != 0;
      CastError(vt_, varBoolean);
  }
}

UnicodeString Variant::AsString() const {
  switch (vt_) {
    case varEmpty: return UnicodeString();
    case varUString: return u_.s;
    case varBoolean: return BoolToStr(u_.b, true);
    case varUInt64: return UIntToStr(u_.u64);
    case varSingle: {
      // Single precision: 7 significant digits, as the runtime prints it.
      std::u16string out;
      detail::AppendGeneral(out, double(u_.f), 7, 0, u'.');
      return UnicodeString(out);
    }
    case varDouble: return FloatToStr(u_.d);
    case varCurrency: return FloatToStr(double(u_.i64) / 10000.0);
    case varDate: {
      double d = u_.d;
      if (d == std::trunc(d)) return DateToStr(d);
      if (std::trunc(d) == 0) return TimeToStr(d);
      return DateTimeToStr(d);
    }
    default:
      if (IsIntTag(vt_)) return IntToStr(u_.i64);
      CastError(vt_, varUString);
  }
}

TDateTime Variant::AsDateTime() const {
  switch (vt_) {
    case varDate: return u_.d;
    case varUString: {
      TDateTime d;
      if (TryStrToDateTime(u_.s, d)) return d;
      if (TryStrToFloat(u_.s, d)) return d;
      CastError(vt_, varDate);
    }
    case varEmpty:
    case varSingle:
    case varDouble:
    case varCurrency:
    case varBoolean:
      return AsDouble();
    default:
      if (IsIntTag(vt_)) return AsDouble();
      CastError(vt_, varDate);
  }
}

TObject* Variant::AsObject() const {
  if (vt_ != varObject) CastError(vt_, varObject);
  return u_.obj;
}

int32_t Variant::RangeLow() const {
  if (vt_ != varRange) CastError(vt_, varRange);
  return int32_t(uint32_t(u_.u64 >> 32));
}

int32_t Variant::RangeHigh() const {
  if (vt_ != varRange) CastError(vt_, varRange);
  return int32_t(uint32_t(u_.u64));
}

UnicodeString VarToStr(const Variant& v) {
  if (v.VarType() == varNull) return UnicodeString();
  return v.AsString();
}

Variant VarAsType(const Variant& v, TVarType vt) {
  if (v.VarType() == vt) return v;
  switch (vt) {
    case varEmpty: return Variant();
    case varNull: return Variant::Null();
    case varSmallint: {
      int32_t i = v.AsInteger();
      if (i < INT16_MIN || i > INT16_MAX) OverflowError(v.VarType(), vt);
      return Variant(short(i));
    }
    case varShortInt: {
      int32_t i = v.AsInteger();
      if (i < INT8_MIN || i > INT8_MAX) OverflowError(v.VarType(), vt);
      return Variant(static_cast<signed char>(i));
    }
    case varByte: {
      int32_t i = v.AsInteger();
      if (i < 0 || i > 255) OverflowError(v.VarType(), vt);
      return Variant(static_cast<unsigned char>(i));
    }
    case varWord: {
      int32_t i = v.AsInteger();
      if (i < 0 || i > 65535) OverflowError(v.VarType(), vt);
      return Variant(static_cast<unsigned short>(i));
    }
    case varInteger: return Variant(v.AsInteger());
    case varLongWord: {
      int64_t i = v.AsInt64();
      if (i < 0 || i > int64_t(UINT32_MAX)) OverflowError(v.VarType(), vt);
      return Variant(unsigned(i));
    }
    case varInt64: return Variant(static_cast<long long>(v.AsInt64()));
    case varUInt64: {
      if (v.VarType() == varUInt64) return v;
      int64_t i = v.AsInt64();
      if (i < 0) OverflowError(v.VarType(), vt);
      return Variant(static_cast<unsigned long long>(i));
    }
    case varSingle: return Variant(float(v.AsDouble()));
    case varDouble: return Variant(v.AsDouble());
    case varCurrency: return Variant::FromCurrency(v.AsDouble());
    case varDate: return Variant::FromDate(v.AsDateTime());
    case varBoolean: return Variant(v.AsBoolean());
    case varString:
    case varOleStr:
    case varUString: return Variant(v.AsString());
    default: CastError(v.VarType(), vt);
  }
}

// --- Comparison ----------------------------------------------------------------------

namespace {

template <class T>
TVariantRelationship Rel(T a, T b) {
  if (a == b) return vrEqual;
  if (a < b) return vrLessThan;
  if (b < a) return vrGreaterThan;
  return vrNotEqual;  // NaN
}

TVariantRelationship CompareNumbers(const Variant& a, const Variant& b) {
  TVarType ta = a.VarType(), tb = b.VarType();
  bool ia = IsIntTag(ta) || ta == varBoolean || ta == varEmpty;
  bool ib = IsIntTag(tb) || tb == varBoolean || tb == varEmpty;
  if (ia && ib) {
    if (ta == varUInt64 || tb == varUInt64) {
      // Mixed signedness: a negative value is below any UInt64.
      if (ta == varUInt64 && tb == varUInt64) return Rel(a.RawInt64() ^ INT64_MIN, b.RawInt64() ^ INT64_MIN);
      if (ta == varUInt64) {
        int64_t y = b.AsInt64();
        if (y < 0) return vrGreaterThan;
        return Rel(uint64_t(a.RawInt64()), uint64_t(y));
      }
      int64_t x = a.AsInt64();
      if (x < 0) return vrLessThan;
      return Rel(uint64_t(x), uint64_t(b.RawInt64()));
    }
    return Rel(a.AsInt64(), b.AsInt64());
  }
  return Rel(a.AsDouble(), b.AsDouble());
}

bool IsNumberLike(TVarType t) noexcept {
  return IsIntTag(t) || IsFloatTag(t) || t == varDate || t == varBoolean || t == varEmpty;
}

}  // namespace

TVariantRelationship VarCompareValue(const Variant& a, const Variant& b) {
  TVarType ta = a.VarType(), tb = b.VarType();
  if (ta == varNull || tb == varNull) return ta == tb ? vrEqual : vrNotEqual;
  if (ta == varObject || tb == varObject) {
    if (ta != tb) return vrNotEqual;
    return a.AsObject() == b.AsObject() ? vrEqual : vrNotEqual;
  }
  if (ta == varRange || tb == varRange) {
    if (ta != tb) return vrNotEqual;
    return a.RawInt64() == b.RawInt64() ? vrEqual : vrNotEqual;
  }
  if ((ta & varArray) || (tb & varArray)) {
    if (!(ta & varArray) || !(tb & varArray)) return vrNotEqual;
    int32_t lo = VarArrayLowBound(a), hi = VarArrayHighBound(a);
    if (lo != VarArrayLowBound(b) || hi != VarArrayHighBound(b)) return vrNotEqual;
    for (int32_t i = lo; i <= hi; ++i)
      if (VarCompareValue(a.GetElement(i), b.GetElement(i)) != vrEqual) return vrNotEqual;
    return vrEqual;
  }
  const bool sa = VarIsStr(a), sb = VarIsStr(b);
  if (sa && sb) return Rel(CompareStr(a.RawString(), b.RawString()), 0);
  if (ta == varBoolean && tb == varBoolean) return Rel(int(a.RawBoolean()), int(b.RawBoolean()));
  if (ta == varEmpty && tb == varEmpty) return vrEqual;
  if (sa || sb) {
    const Variant& s = sa ? a : b;
    const Variant& o = sa ? b : a;
    const TVarType to = o.VarType();
    double num;
    bool ok = false;
    if (to == varEmpty) {
      // Empty beside a string counts as "".
      return sa ? Rel(CompareStr(s.RawString(), u""), 0) : Rel(CompareStr(u"", s.RawString()), 0);
    }
    if (to == varBoolean) {
      bool bv;
      if (TryStrToBool(s.RawString(), bv)) {
        TVariantRelationship r = Rel(int(bv), int(o.RawBoolean()));
        if (!sa && r != vrEqual && r != vrNotEqual) r = r == vrLessThan ? vrGreaterThan : vrLessThan;
        return r;
      }
    } else if (to == varDate) {
      ok = TryStrToDateTime(s.RawString(), num) || StrToNumber(s.RawString(), num);
    } else {
      ok = StrToNumber(s.RawString(), num);
    }
    if (ok) return sa ? Rel(num, o.AsDouble()) : Rel(o.AsDouble(), num);
    UnicodeString os = o.AsString();
    return sa ? Rel(CompareStr(s.RawString(), os), 0) : Rel(CompareStr(os, s.RawString()), 0);
  }
  if (IsNumberLike(ta) && IsNumberLike(tb)) return CompareNumbers(a, b);
  return vrNotEqual;
}

bool operator==(const Variant& a, const Variant& b) { return VarCompareValue(a, b) == vrEqual; }

// --- Arrays ----------------------------------------------------------------------------

VarArrayData* Variant::ArrayData() const {
  if (!(vt_ & varArray)) throw EVariantError(UnicodeString(u"Variant is not an array"));
  return u_.arr;
}

VarArrayData* Variant::UniqueArray() {
  VarArrayData* d = ArrayData();
  if (d->refs.load(std::memory_order_acquire) == 1) return d;
  auto* copy = new VarArrayData;
  copy->low = d->low;
  copy->items = d->items;
  d->Release();
  u_.arr = copy;
  return copy;
}

const Variant& Variant::GetElement(int32_t index) const {
  VarArrayData* d = ArrayData();
  int64_t k = int64_t(index) - d->low;
  if (k < 0 || k >= int64_t(d->items.size()))
    throw EVariantBadIndexError(UnicodeString(u"Variant or safe array index out of bounds"));
  return d->items[size_t(k)];
}

void Variant::PutElement(int32_t index, const Variant& value) {
  VarArrayData* d = ArrayData();
  int64_t k = int64_t(index) - d->low;
  if (k < 0 || k >= int64_t(d->items.size()))
    throw EVariantBadIndexError(UnicodeString(u"Variant or safe array index out of bounds"));
  Variant keep(value);  // value may live in this array
  d = UniqueArray();
  d->items[size_t(k)] = std::move(keep);
}

Variant VarArrayCreate(int32_t low, int32_t high, TVarType elemType) {
  if (high < low - 1 || (elemType & varTypeMask) != varVariant || int64_t(high) - low + 1 > 0x7FFFFFF)
    throw EVariantArrayCreateError(UnicodeString(u"Error creating variant or safe array"));
  auto* d = new VarArrayData;
  d->low = low;
  d->items.resize(size_t(int64_t(high) - low + 1));
  Variant v;
  v.vt_ = varArray | varVariant;
  v.u_.arr = d;
  return v;
}

Variant VarArrayOf(const Variant* values, size_t count) {
  Variant v = VarArrayCreate(0, int32_t(count) - 1);
  VarArrayData* d = v.UniqueArray();
  for (size_t i = 0; i < count; ++i) d->items[i] = values[i];
  return v;
}

Variant VarArrayOf(std::initializer_list<Variant> values) { return VarArrayOf(values.begin(), values.size()); }

int32_t VarArrayDimCount(const Variant& v) noexcept { return v.IsArray() ? 1 : 0; }

int32_t VarArrayLowBound(const Variant& v, int32_t dim) {
  VarArrayData* d = v.ArrayData();
  if (dim != 1) throw EVariantBadIndexError(UnicodeString(u"Variant or safe array index out of bounds"));
  return d->low;
}

int32_t VarArrayHighBound(const Variant& v, int32_t dim) {
  VarArrayData* d = v.ArrayData();
  if (dim != 1) throw EVariantBadIndexError(UnicodeString(u"Variant or safe array index out of bounds"));
  return int32_t(d->low + int64_t(d->items.size()) - 1);
}

void VarArrayRedim(Variant& v, int32_t high) {
  VarArrayData* d = v.ArrayData();
  if (high < d->low - 1) throw EVariantArrayCreateError(UnicodeString(u"Error creating variant or safe array"));
  d = v.UniqueArray();
  d->items.resize(size_t(int64_t(high) - d->low + 1));
}

}  // namespace norvane
