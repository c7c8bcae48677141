#include <gtest/gtest.h>

#include <cmath>

#include "norvane/runtime/variant_ops.h"

using namespace norvane;

namespace {

struct OpCase {
  const char* what;
  Variant left;
  Variant right;
  TVarOp op;
  TVarType type;   // expected tag
  Variant result;  // expected value (compared with VarSameValue)
};

Variant I64(long long v) { return Variant(v); }

}  // namespace

TEST(VariantOps, BinaryTable) {
  const OpCase cases[] = {
      {"int + int stays 32-bit", Variant(2), Variant(3), opAdd, varInteger, Variant(5)},
      {"int + int overflow widens", Variant(INT32_MAX), Variant(1), opAdd, varInt64, I64(2147483648LL)},
      {"int64 overflow becomes double", I64(INT64_MAX), Variant(1), opAdd, varDouble, Variant(9223372036854775808.0)},
      {"int * int", Variant(6), Variant(7), opMultiply, varInteger, Variant(42)},
      {"int / int is real", Variant(7), Variant(2), opDivide, varDouble, Variant(3.5)},
      {"div truncates", Variant(7), Variant(2), opIntDivide, varInteger, Variant(3)},
      {"div of negatives truncates toward zero", Variant(-7), Variant(2), opIntDivide, varInteger, Variant(-3)},
      {"mod keeps the sign of the left", Variant(-7), Variant(3), opModulus, varInteger, Variant(-1)},
      {"double + int", Variant(1.5), Variant(2), opAdd, varDouble, Variant(3.5)},
      {"string + string concatenates", Variant(u"ab"), Variant(u"cd"), opAdd, varUString, Variant(u"abcd")},
      {"string + int reads the number", Variant(u"1"), Variant(2), opAdd, varInteger, Variant(3)},
      {"int + float string", Variant(1), Variant(u"2.5"), opAdd, varDouble, Variant(3.5)},
      {"string * string are numbers", Variant(u"3"), Variant(u"4"), opMultiply, varInteger, Variant(12)},
      {"empty + int", Variant(), Variant(4), opAdd, varInteger, Variant(4)},
      {"empty + string", Variant(), Variant(u"x"), opAdd, varUString, Variant(u"x")},
      {"null propagates", Variant::Null(), Variant(1), opAdd, varNull, Variant::Null()},
      {"null propagates in logic", Variant(true), Variant::Null(), opAnd, varNull, Variant::Null()},
      {"date + int stays a date", Variant::FromDate(45000.0), Variant(1), opAdd, varDate, Variant::FromDate(45001.0)},
      {"int + date is a date", Variant(1), Variant::FromDate(45000.0), opAdd, varDate, Variant::FromDate(45001.0)},
      {"date - date is days", Variant::FromDate(45010.5), Variant::FromDate(45000.0), opSubtract, varDouble,
       Variant(10.5)},
      {"date - int is a date", Variant::FromDate(45010.0), Variant(10), opSubtract, varDate,
       Variant::FromDate(45000.0)},
      {"bool and bool is logical", Variant(true), Variant(false), opAnd, varBoolean, Variant(false)},
      {"bool or bool", Variant(false), Variant(true), opOr, varBoolean, Variant(true)},
      {"bool xor bool", Variant(true), Variant(true), opXor, varBoolean, Variant(false)},
      {"int and int is bitwise", Variant(12), Variant(10), opAnd, varInteger, Variant(8)},
      {"int or int", Variant(12), Variant(3), opOr, varInteger, Variant(15)},
      {"int xor int", Variant(12), Variant(10), opXor, varInteger, Variant(6)},
      {"bool and int is bitwise on -1", Variant(true), Variant(6), opAnd, varInteger, Variant(6)},
      {"'true' and false", Variant(u"true"), Variant(false), opAnd, varBoolean, Variant(false)},
      {"bool + int counts true as -1", Variant(true), Variant(1), opAdd, varInteger, Variant(0)},
      {"shl", Variant(1), Variant(4), opShiftLeft, varInteger, Variant(16)},
      {"shl wraps in 32 bits", Variant(1), Variant(31), opShiftLeft, varInteger, Variant(INT32_MIN)},
      {"shr is logical", Variant(-1), Variant(28), opShiftRight, varInteger, Variant(15)},
      {"int64 shl", I64(1), Variant(40), opShiftLeft, varInt64, I64(1LL << 40)},
      {"single + single stays single", Variant(1.5f), Variant(2.0f), opAdd, varSingle, Variant(3.5f)},
      {"currency + int stays currency", Variant::FromCurrency(1.25), Variant(1), opAdd, varCurrency,
       Variant::FromCurrency(2.25)},
  };
  for (const OpCase& c : cases) {
    SCOPED_TRACE(c.what);
    Variant r = VarBinaryOp(c.left, c.right, c.op);
    EXPECT_EQ(r.VarType(), c.type);
    if (c.type == varNull) continue;
    EXPECT_TRUE(VarSameValue(r, c.result)) << r.AsString().ToUtf8() << " vs " << c.result.AsString().ToUtf8();
  }
}

TEST(VariantOps, Errors) {
  EXPECT_THROW(VarBinaryOp(Variant(1), Variant(0), opIntDivide), EDivByZero);
  EXPECT_THROW(VarBinaryOp(Variant(1), Variant(0), opModulus), EDivByZero);
  EXPECT_THROW(VarBinaryOp(Variant(u"abc"), Variant(1), opAdd), EVariantTypeCastError);
  EXPECT_THROW(VarBinaryOp(Variant(u"abc"), Variant(1), opMultiply), EVariantTypeCastError);
  EXPECT_THROW(VarBinaryOp(Variant::FromObject(nullptr), Variant(1), opAdd), EVariantInvalidOpError);
  EXPECT_THROW(VarBinaryOp(Variant::Range(1, 2), Variant(1), opAdd), EVariantInvalidOpError);
  EXPECT_THROW(VarBinaryOp(VarArrayOf({Variant(1)}), Variant(1), opAdd), EVariantInvalidOpError);
  try {
    VarBinaryOp(Variant::FromObject(nullptr), Variant(1), opSubtract);
    FAIL();
  } catch (const EVariantInvalidOpError& e) {
    EXPECT_EQ(e.Message(), u"Invalid variant operation");
  }
  // Real division by zero is the float unit's answer, not an error.
  EXPECT_TRUE(std::isinf(VarBinaryOp(Variant(1), Variant(0), opDivide).AsDouble()));
  // INT64_MIN div -1 does not trap.
  EXPECT_EQ(VarBinaryOp(I64(INT64_MIN), Variant(-1), opIntDivide).VarType(), varDouble);
  EXPECT_EQ(VarBinaryOp(I64(INT64_MIN), Variant(-1), opModulus).AsInt64(), 0);
}

TEST(VariantOps, UnaryAndInPlace) {
  EXPECT_EQ(VarNeg(Variant(5)).AsInteger(), -5);
  EXPECT_EQ(VarNeg(Variant(INT32_MIN)).VarType(), varInt64);
  EXPECT_EQ(VarNeg(Variant(u"1.5")).AsDouble(), -1.5);
  EXPECT_EQ(VarNeg(Variant::FromDate(2.0)).VarType(), varDate);
  EXPECT_EQ(VarNeg(Variant::Null()).VarType(), varNull);
  EXPECT_EQ(VarNot(Variant(true)).AsBoolean(), false);
  EXPECT_EQ(VarNot(Variant(0)).AsInteger(), -1);
  EXPECT_EQ(VarNot(Variant(5)).AsInteger(), ~5);
  EXPECT_EQ(VarNot(Variant(u"false")).AsBoolean(), true);
  EXPECT_THROW(VarNot(Variant(u"maybe")), EVariantTypeCastError);

  Variant v(1);
  VarOpInPlace(v, Variant(2), opAdd);
  EXPECT_EQ(v.VarType(), varInteger);
  EXPECT_EQ(v.AsInteger(), 3);
  Variant s(u"a");
  VarOpInPlace(s, Variant(u"b"), opAdd);
  EXPECT_EQ(s.AsString(), u"ab");
  Variant big(INT32_MAX);
  VarOpInPlace(big, Variant(1), opAdd);  // the in-place form still widens
  EXPECT_EQ(big.AsInt64(), 2147483648LL);
  Variant d(1.0);
  VarOpInPlace(d, Variant(4.0), opDivide);
  EXPECT_EQ(d.AsDouble(), 0.25);
}

TEST(VariantOps, Comparisons) {
  struct Cmp {
    Variant a, b;
    bool eq, less, greater;
  };
  const Cmp cases[] = {
      {Variant(1), Variant(2), false, true, false},
      {Variant(2), Variant(2.0), true, false, false},
      {Variant(u"10"), Variant(9), false, false, true},  // the string reads as a number
      {Variant(u"abc"), Variant(u"abd"), false, true, false},
      {Variant(u"b"), Variant(u"B"), false, false, true},  // ordinal, case matters
      {Variant::Null(), Variant::Null(), true, false, false},
      {Variant::Null(), Variant(0), false, false, false},  // null is only unequal
      {Variant(), Variant(0), true, false, false},
      {Variant(), Variant(u""), true, false, false},
      {Variant(false), Variant(true), false, true, false},
      {Variant::FromDate(1.0), Variant(2), false, true, false},
      {Variant(std::nan("")), Variant(1.0), false, false, false},
  };
  for (const Cmp& c : cases) {
    SCOPED_TRACE(c.a.VarType());
    EXPECT_EQ(VarEq(c.a, c.b), c.eq);
    EXPECT_EQ(VarNotEq(c.a, c.b), !c.eq);
    EXPECT_EQ(VarLess(c.a, c.b), c.less);
    EXPECT_EQ(VarGreater(c.a, c.b), c.greater);
    EXPECT_EQ(VarLessEq(c.a, c.b), c.less || c.eq);
    EXPECT_EQ(VarGreaterEq(c.a, c.b), c.greater || c.eq);
  }
}
