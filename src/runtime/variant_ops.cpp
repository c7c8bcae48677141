#include "norvane/runtime/variant_ops.h"

#include <cmath>

#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(EVariantInvalidOpError, "Variants")

namespace {

[[noreturn]] void InvalidOp() { throw EVariantInvalidOpError(UnicodeString(u"Invalid variant operation")); }

[[noreturn]] void CastError(TVarType from, TVarType to) {
  throw EVariantTypeCastError(u"Could not convert variant of type (%s) into type (%s)",
                              {VarTypeAsText(from), VarTypeAsText(to)});
}

// Operand classes, in rising order of generality.
enum Kind : uint8_t { kInt32, kInt64, kCurrency, kDouble, kDate, kString, kBoolean, kNull, kBad };

Kind KindOf(TVarType t) noexcept {
  switch (t) {
    case varEmpty:
    case varSmallint:
    case varInteger:
    case varShortInt:
    case varByte:
    case varWord:
      return kInt32;
    case varLongWord:
    case varInt64:
    case varUInt64:
      return kInt64;
    case varBoolean: return kBoolean;
    case varSingle:
    case varDouble:
      return kDouble;
    case varCurrency: return kCurrency;
    case varDate: return kDate;
    case varOleStr:
    case varString:
    case varUString:
      return kString;
    case varNull: return kNull;
    default: return kBad;
  }
}

// A string beside a number: an integer when it reads as one, else a float,
// else a boolean word; anything else cannot take part in arithmetic.
Variant StrToNumberVariant(const Variant& s) {
  const UnicodeString& text = s.RawString();
  int64_t i;
  if (TryStrToInt64(text, i)) {
    if (i >= INT32_MIN && i <= INT32_MAX) return Variant(int32_t(i));
    return Variant(static_cast<long long>(i));
  }
  double d;
  if (TryStrToFloat(text, d)) return Variant(d);
  bool b;
  if (TryStrToBool(text, b)) return Variant(int32_t(b ? -1 : 0));
  CastError(s.VarType(), varDouble);
}

Variant MakeInt(int64_t v, bool narrow) {
  if (narrow && v >= INT32_MIN && v <= INT32_MAX) return Variant(int32_t(v));
  return Variant(static_cast<long long>(v));
}

Variant IntArith(int64_t a, int64_t b, TVarOp op, bool narrow) {
  int64_t r;
  switch (op) {
    case opAdd:
      if (__builtin_add_overflow(a, b, &r)) return Variant(double(a) + double(b));
      return MakeInt(r, narrow);
    case opSubtract:
      if (__builtin_sub_overflow(a, b, &r)) return Variant(double(a) - double(b));
      return MakeInt(r, narrow);
    case opMultiply:
      if (__builtin_mul_overflow(a, b, &r)) return Variant(double(a) * double(b));
      return MakeInt(r, narrow);
    case opIntDivide:
      if (b == 0) throw EDivByZero(UnicodeString(u"Division by zero"));
      if (a == INT64_MIN && b == -1) return Variant(-double(a));
      return MakeInt(a / b, narrow);
    case opModulus:
      if (b == 0) throw EDivByZero(UnicodeString(u"Division by zero"));
      if (b == -1) return MakeInt(0, narrow);
      return MakeInt(a % b, narrow);
    case opShiftLeft:
      if (narrow) return Variant(int32_t(uint32_t(a) << (b & 31)));
      return Variant(static_cast<long long>(uint64_t(a) << (b & 63)));
    case opShiftRight:
      if (narrow) return Variant(int32_t(uint32_t(a) >> (b & 31)));
      return Variant(static_cast<long long>(uint64_t(a) >> (b & 63)));
    case opAnd: return MakeInt(a & b, narrow);
    case opOr: return MakeInt(a | b, narrow);
    case opXor: return MakeInt(a ^ b, narrow);
    case opDivide: return Variant(double(a) / double(b));
  }
  InvalidOp();
}

Variant FloatArith(double a, double b, TVarOp op) {
  switch (op) {
    case opAdd: return Variant(a + b);
    case opSubtract: return Variant(a - b);
    case opMultiply: return Variant(a * b);
    case opDivide: return Variant(a / b);
    default: InvalidOp();
  }
}

bool IsIntOp(TVarOp op) noexcept { return op >= opIntDivide; }

}  // namespace

Variant VarBinaryOp(const Variant& L, const Variant& R, TVarOp op) {
  TVarType tl = L.VarType(), tr = R.VarType();
  if ((tl | tr) & varArray) InvalidOp();
  Kind kl = KindOf(tl), kr = KindOf(tr);
  if (kl == kBad || kr == kBad) InvalidOp();
  if (kl == kNull || kr == kNull) return Variant::Null();

  // Strings: concatenation, or read as numbers.
  if (kl == kString || kr == kString) {
    if (op == opAdd && (kl == kString || tl == varEmpty) && (kr == kString || tr == varEmpty))
      return Variant(L.AsString() + R.AsString());
    if (kl == kString && kr == kString && (op == opAnd || op == opOr || op == opXor)) {
      bool a, b;
      if (TryStrToBool(L.RawString(), a) && TryStrToBool(R.RawString(), b))
        return VarBinaryOp(Variant(a), Variant(b), op);
    }
    if (kl == kString && kr == kBoolean && (op == opAnd || op == opOr || op == opXor))
      return VarBinaryOp(Variant(L.AsBoolean()), R, op);
    if (kr == kString && kl == kBoolean && (op == opAnd || op == opOr || op == opXor))
      return VarBinaryOp(L, Variant(R.AsBoolean()), op);
    Variant nl = kl == kString ? StrToNumberVariant(L) : L;
    Variant nr = kr == kString ? StrToNumberVariant(R) : R;
    return VarBinaryOp(nl, nr, op);
  }

  // Booleans: logic between two, -1/0 otherwise.
  if (kl == kBoolean && kr == kBoolean) {
    bool a = L.RawBoolean(), b = R.RawBoolean();
    switch (op) {
      case opAnd: return Variant(a && b);
      case opOr: return Variant(a || b);
      case opXor: return Variant(a != b);
      default: break;
    }
  }
  if (kl == kBoolean) kl = kInt32;
  if (kr == kBoolean) kr = kInt32;

  if (IsIntOp(op)) {
    bool narrow = kl == kInt32 && kr == kInt32;
    return IntArith(L.AsInt64(), R.AsInt64(), op, narrow);
  }

  if (kl == kDate || kr == kDate) {
    double a = L.AsDouble(), b = R.AsDouble();
    if (op == opAdd && !(kl == kDate && kr == kDate)) return Variant::FromDate(a + b);
    if (op == opSubtract) {
      if (kl == kDate && kr == kDate) return Variant(a - b);
      return Variant::FromDate(a - b);
    }
    return FloatArith(a, b, op);
  }

  if (op == opDivide) return Variant(L.AsDouble() / R.AsDouble());

  if (kl <= kInt64 && kr <= kInt64) {
    if (tl == varUInt64 || tr == varUInt64) {
      // Beyond Int64: exact while it fits, else floats.
      if ((tl == varUInt64 && L.RawInt64() < 0) || (tr == varUInt64 && R.RawInt64() < 0))
        return FloatArith(L.AsDouble(), R.AsDouble(), op);
    }
    return IntArith(L.AsInt64(), R.AsInt64(), op, kl == kInt32 && kr == kInt32);
  }

  if ((kl == kCurrency || kr == kCurrency) && kl != kDouble && kr != kDouble) {
    Variant r = FloatArith(L.AsDouble(), R.AsDouble(), op);
    return Variant::FromCurrency(r.RawDouble());
  }
  if (tl == varSingle && tr == varSingle) {
    Variant r = FloatArith(L.AsDouble(), R.AsDouble(), op);
    return Variant(float(r.RawDouble()));
  }
  return FloatArith(L.AsDouble(), R.AsDouble(), op);
}

void VarOpInPlace(Variant& Left, const Variant& Right, TVarOp Op) {
  TVarType tl = Left.VarType();
  if (tl == Right.VarType()) {
    if (tl == varInteger && (Op == opAdd || Op == opSubtract)) {
      int64_t r = Op == opAdd ? int64_t(Left.RawInteger()) + Right.RawInteger()
                              : int64_t(Left.RawInteger()) - Right.RawInteger();
      if (r >= INT32_MIN && r <= INT32_MAX) {
        Left.SetRawInteger(int32_t(r));
        return;
      }
    } else if (tl == varDouble && Op <= opDivide) {
      double a = Left.RawDouble(), b = Right.RawDouble();
      Left.SetRawDouble(Op == opAdd ? a + b : Op == opSubtract ? a - b : Op == opMultiply ? a * b : a / b);
      return;
    } else if (tl == varUString && Op == opAdd) {
      Variant r(Left.RawString() + Right.RawString());
      Left = std::move(r);
      return;
    }
  }
  Left = VarBinaryOp(Left, Right, Op);
}

Variant VarNeg(const Variant& V) {
  switch (KindOf(V.VarType())) {
    case kNull: return Variant::Null();
    case kInt32: {
      int64_t i = V.AsInt64();
      return MakeInt(-i, true);
    }
    case kInt64: {
      if (V.VarType() == varUInt64 && V.RawInt64() < 0) return Variant(-V.AsDouble());
      int64_t i = V.AsInt64();
      if (i == INT64_MIN) return Variant(-double(i));
      return Variant(static_cast<long long>(-i));
    }
    case kBoolean: return Variant(int32_t(V.RawBoolean() ? 1 : 0));
    case kDouble:
      if (V.VarType() == varSingle) return Variant(-float(V.AsDouble()));
      return Variant(-V.RawDouble());
    case kCurrency: return Variant::FromCurrencyRaw(-V.RawInt64());
    case kDate: return Variant::FromDate(-V.RawDouble());
    case kString: return VarNeg(StrToNumberVariant(V));
    default: InvalidOp();
  }
}

Variant VarNot(const Variant& V) {
  switch (KindOf(V.VarType())) {
    case kNull: return Variant::Null();
    case kBoolean: return Variant(!V.RawBoolean());
    case kInt32: return Variant(int32_t(~V.AsInt64()));
    case kInt64: return Variant(static_cast<long long>(~V.AsInt64()));
    case kString: {
      bool b;
      int64_t i;
      if (TryStrToInt64(V.RawString(), i)) return MakeInt(~i, true);
      if (TryStrToBool(V.RawString(), b)) return Variant(!b);
      CastError(V.VarType(), varBoolean);
    }
    case kDouble:
    case kCurrency:
    case kDate:
      return MakeInt(~V.AsInt64(), true);
    default: InvalidOp();
  }
}

bool VarEq(const Variant& A, const Variant& B) { return VarCompareValue(A, B) == vrEqual; }
bool VarNotEq(const Variant& A, const Variant& B) { return VarCompareValue(A, B) != vrEqual; }
bool VarLess(const Variant& A, const Variant& B) { return VarCompareValue(A, B) == vrLessThan; }
bool VarLessEq(const Variant& A, const Variant& B) {
  TVariantRelationship r = VarCompareValue(A, B);
  return r == vrLessThan || r == vrEqual;
}
bool VarGreater(const Variant& A, const Variant& B) { return VarCompareValue(A, B) == vrGreaterThan; }
bool VarGreaterEq(const Variant& A, const Variant& B) {
  TVariantRelationship r = VarCompareValue(A, B);
  return r == vrGreaterThan || r == vrEqual;
}

}  // namespace norvane
