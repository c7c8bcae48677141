// Variant: type codes, conversions, comparison, arrays, private tags.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "norvane/runtime/sysutils.h"
#include "norvane/runtime/variant.h"

using namespace norvane;

namespace {
std::string U(const UnicodeString& s) { return s.ToUtf8(); }

template <class F>
std::string ErrorOf(F f) {
  try {
    f();
  } catch (const Exception& e) {
    return e.ClassName().ToUtf8() + ": " + e.Message().ToUtf8();
  }
  return "no error";
}
}  // namespace

TEST(Variant, TypeCodes) {
  EXPECT_EQ(sizeof(Variant), 16u);
  EXPECT_EQ(varEmpty, 0);
  EXPECT_EQ(varNull, 1);
  EXPECT_EQ(varObject, 22);
  EXPECT_EQ(varRange, 23);
  EXPECT_EQ(varString, 256);
  EXPECT_EQ(varUString, 258);
  EXPECT_EQ(varArray, 0x2000);
  EXPECT_EQ(Variant().VarType(), varEmpty);
  EXPECT_EQ(Variant::Null().VarType(), varNull);
  EXPECT_EQ(Variant(true).VarType(), varBoolean);
  EXPECT_EQ(Variant(static_cast<signed char>(1)).VarType(), varShortInt);
  EXPECT_EQ(Variant(static_cast<unsigned char>(1)).VarType(), varByte);
  EXPECT_EQ(Variant(short(1)).VarType(), varSmallint);
  EXPECT_EQ(Variant(static_cast<unsigned short>(1)).VarType(), varWord);
  EXPECT_EQ(Variant(1).VarType(), varInteger);
  EXPECT_EQ(Variant(1u).VarType(), varLongWord);
  EXPECT_EQ(Variant(int64_t(1)).VarType(), varInt64);
  EXPECT_EQ(Variant(1ll).VarType(), varInt64);
  EXPECT_EQ(Variant(uint64_t(1)).VarType(), varUInt64);
  EXPECT_EQ(Variant(1.5f).VarType(), varSingle);
  EXPECT_EQ(Variant(1.5).VarType(), varDouble);
  EXPECT_EQ(Variant::FromDate(1.5).VarType(), varDate);
  EXPECT_EQ(Variant::FromCurrency(1.5).VarType(), varCurrency);
  EXPECT_EQ(Variant(u"s").VarType(), varUString);
  EXPECT_EQ(Variant(UnicodeString(u"s")).VarType(), varUString);
  EXPECT_EQ(Variant("utf8 é").VarType(), varUString);
  EXPECT_EQ(Variant(u'c').VarType(), varUString);
  EXPECT_EQ(Variant::FromAnsi("\x80").AsString().view(), u"\u20AC");
  EXPECT_EQ(U(VarTypeAsText(varArray | varVariant)), "Array Variant");
  EXPECT_EQ(U(VarTypeAsText(varUString)), "String");
}

TEST(Variant, Predicates) {
  EXPECT_TRUE(VarIsNull(Variant::Null()));
  EXPECT_TRUE(VarIsEmpty(Variant()));
  EXPECT_TRUE(VarIsClear(Variant()));
  EXPECT_TRUE(VarIsClear(Variant::FromObject(nullptr)));
  EXPECT_FALSE(VarIsClear(Variant::Null()));
  EXPECT_TRUE(VarIsNumeric(Variant(1)));
  EXPECT_TRUE(VarIsNumeric(Variant(1.5)));
  EXPECT_FALSE(VarIsNumeric(Variant(true)));
  EXPECT_FALSE(VarIsNumeric(Variant(u"1")));
  EXPECT_TRUE(VarIsOrdinal(Variant(true)));
  EXPECT_TRUE(VarIsOrdinal(Variant(int64_t(5))));
  EXPECT_FALSE(VarIsOrdinal(Variant(1.0)));
  EXPECT_TRUE(VarIsFloat(Variant(1.0f)));
  EXPECT_TRUE(VarIsFloat(Variant::FromCurrency(2)));
  EXPECT_FALSE(VarIsFloat(Variant::FromDate(2)));
  EXPECT_TRUE(VarIsStr(Variant(u"")));
  EXPECT_FALSE(VarIsStr(Variant(1)));
  EXPECT_TRUE(VarIsArray(VarArrayOf({1, 2})));
  EXPECT_FALSE(VarIsArray(Variant(1)));
}

TEST(Variant, ToString) {
  EXPECT_EQ(U(VarToStr(Variant())), "");
  EXPECT_EQ(U(VarToStr(Variant::Null())), "");
  EXPECT_EQ(U(Variant().AsString()), "");
  EXPECT_EQ(U(Variant(true).AsString()), "True");
  EXPECT_EQ(U(Variant(false).AsString()), "False");
  EXPECT_EQ(U(Variant(-42).AsString()), "-42");
  EXPECT_EQ(U(Variant(UINT64_MAX).AsString()), "18446744073709551615");
  EXPECT_EQ(U(Variant(0.1).AsString()), "0.1");
  EXPECT_EQ(U(Variant(0.1f).AsString()), "0.1");
  EXPECT_EQ(U(Variant(1e20).AsString()), "1E20");
  EXPECT_EQ(U(Variant::FromCurrency(12.3456).AsString()), "12.3456");
  EXPECT_EQ(U(Variant(u'x').AsString()), "x");
  EXPECT_EQ(U(Variant::FromDate(EncodeDate(2024, 3, 5)).AsString()), "2024-03-05");
  EXPECT_EQ(U(Variant::FromDate(EncodeTime(14, 7, 9, 0)).AsString()), "14:07:09");
  EXPECT_EQ(U(Variant::FromDate(EncodeDate(2024, 3, 5) + EncodeTime(14, 7, 9, 0)).AsString()),
            "2024-03-05 14:07:09");
  EXPECT_EQ(ErrorOf([] { Variant::Null().AsString(); }),
            "EVariantTypeCastError: Could not convert variant of type (Null) into type (String)");
  EXPECT_EQ(ErrorOf([] { VarToStr(VarArrayOf({1})); }),
            "EVariantTypeCastError: Could not convert variant of type (Array Variant) into type (String)");
}

TEST(Variant, ToNumbers) {
  EXPECT_EQ(Variant().AsInteger(), 0);
  EXPECT_EQ(Variant().AsDouble(), 0);
  EXPECT_EQ(Variant(true).AsInteger(), -1);
  EXPECT_EQ(Variant(false).AsInteger(), 0);
  EXPECT_EQ(Variant(true).AsDouble(), -1);
  EXPECT_EQ(Variant(2.5).AsInteger(), 2);  // banker's rounding
  EXPECT_EQ(Variant(3.5).AsInteger(), 4);
  EXPECT_EQ(Variant(u"42").AsInteger(), 42);
  EXPECT_EQ(Variant(u" $1F").AsInteger(), 31);
  EXPECT_EQ(Variant(u"2.5").AsDouble(), 2.5);
  EXPECT_EQ(Variant(u"1e3").AsInteger(), 1000);
  EXPECT_EQ(Variant(u"true").AsInteger(), -1);
  EXPECT_EQ(Variant(u"9999999999").AsInt64(), 9999999999ll);
  EXPECT_EQ(Variant(int64_t(1) << 40).AsDouble(), 1099511627776.0);
  EXPECT_EQ(Variant(1.5f).AsDouble(), 1.5);
  EXPECT_EQ(Variant::FromCurrency(1.23456).AsDouble(), 1.2346);
  EXPECT_EQ(Variant::FromDate(45000.5).AsDouble(), 45000.5);
  EXPECT_EQ(ErrorOf([] { Variant::Null().AsDouble(); }),
            "EVariantTypeCastError: Could not convert variant of type (Null) into type (Double)");
  EXPECT_EQ(ErrorOf([] { Variant::Null().AsInteger(); }),
            "EVariantTypeCastError: Could not convert variant of type (Null) into type (Integer)");
  EXPECT_EQ(ErrorOf([] { Variant(u"abc").AsInteger(); }),
            "EVariantTypeCastError: Could not convert variant of type (String) into type (Integer)");
  EXPECT_EQ(ErrorOf([] { Variant(u"abc").AsDouble(); }),
            "EVariantTypeCastError: Could not convert variant of type (String) into type (Double)");
  EXPECT_EQ(ErrorOf([] { Variant(u"1x").AsInt64(); }),
            "EVariantTypeCastError: Could not convert variant of type (String) into type (Int64)");
  EXPECT_EQ(ErrorOf([] { Variant(int64_t(1) << 40).AsInteger(); }),
            "EVariantOverflowError: Overflow while converting variant of type (Int64) into type (Integer)");
  EXPECT_EQ(ErrorOf([] { Variant(1e300).AsInt64(); }),
            "EVariantOverflowError: Overflow while converting variant of type (Double) into type (Int64)");
  EXPECT_EQ(ErrorOf([] { Variant::FromObject(nullptr).AsInteger(); }),
            "EVariantTypeCastError: Could not convert variant of type (Object) into type (Integer)");
}

TEST(Variant, ToBoolean) {
  EXPECT_FALSE(Variant().AsBoolean());
  EXPECT_TRUE(Variant(5).AsBoolean());
  EXPECT_FALSE(Variant(0).AsBoolean());
  EXPECT_TRUE(Variant(0.1).AsBoolean());
  EXPECT_TRUE(Variant(u"TRUE").AsBoolean());
  EXPECT_FALSE(Variant(u"false").AsBoolean());
  EXPECT_TRUE(Variant(u"-1").AsBoolean());
  EXPECT_FALSE(Variant(u"0").AsBoolean());
  EXPECT_EQ(ErrorOf([] { Variant(u"yes").AsBoolean(); }),
            "EVariantTypeCastError: Could not convert variant of type (String) into type (Boolean)");
  EXPECT_EQ(ErrorOf([] { Variant::Null().AsBoolean(); }),
            "EVariantTypeCastError: Could not convert variant of type (Null) into type (Boolean)");
}

TEST(Variant, ToDate) {
  EXPECT_EQ(Variant(u"2024-03-05").AsDateTime(), EncodeDate(2024, 3, 5));
  EXPECT_EQ(Variant(45000).AsDateTime(), 45000);
  EXPECT_EQ(Variant(u"45000.25").AsDateTime(), 45000.25);
  EXPECT_EQ(ErrorOf([] { Variant(u"soon").AsDateTime(); }),
            "EVariantTypeCastError: Could not convert variant of type (String) into type (Date)");
}

TEST(Variant, ObjectAndRange) {
  TObject obj;
  Variant v = Variant::FromObject(&obj);
  EXPECT_EQ(v.VarType(), 22);
  EXPECT_EQ(v.AsObject(), &obj);
  Variant copy = v;
  EXPECT_EQ(copy.AsObject(), &obj);
  EXPECT_TRUE(copy == v);
  EXPECT_EQ(Variant::FromObject(nullptr).AsObject(), nullptr);
  EXPECT_FALSE(Variant::FromObject(nullptr) == Variant::FromObject(&obj));
  EXPECT_FALSE(Variant::FromObject(nullptr) == Variant());
  EXPECT_EQ(ErrorOf([] { Variant(1).AsObject(); }),
            "EVariantTypeCastError: Could not convert variant of type (Integer) into type (Object)");

  Variant r = Variant::Range(-3, 7);
  EXPECT_EQ(r.VarType(), 23);
  EXPECT_EQ(r.RangeLow(), -3);
  EXPECT_EQ(r.RangeHigh(), 7);
  EXPECT_EQ(r.AsInt64(), int64_t((uint64_t(uint32_t(-3)) << 32) | 7u));
  EXPECT_EQ(Variant::Range(1, 2), Variant::Range(1, 2));
  EXPECT_NE(Variant::Range(1, 2), Variant::Range(1, 3));
  Variant big = Variant::Range(INT32_MIN, INT32_MAX);
  EXPECT_EQ(big.RangeLow(), INT32_MIN);
  EXPECT_EQ(big.RangeHigh(), INT32_MAX);
  EXPECT_THROW(Variant(1).RangeLow(), EVariantTypeCastError);
}

TEST(Variant, Compare) {
  EXPECT_EQ(VarCompareValue(1, 2), vrLessThan);
  EXPECT_EQ(VarCompareValue(2.5, 2), vrGreaterThan);
  EXPECT_EQ(VarCompareValue(2, 2.0), vrEqual);
  EXPECT_EQ(VarCompareValue(int64_t(1) << 40, 1), vrGreaterThan);
  EXPECT_EQ(VarCompareValue(UINT64_MAX, -1), vrGreaterThan);
  EXPECT_EQ(VarCompareValue(-1, UINT64_MAX), vrLessThan);
  EXPECT_EQ(VarCompareValue(u"abc", u"abd"), vrLessThan);
  EXPECT_EQ(VarCompareValue(u"B", u"a"), vrLessThan);  // ordinal, case-sensitive
  EXPECT_EQ(VarCompareValue(u"a", u"a"), vrEqual);
  EXPECT_EQ(VarCompareValue(u"10", 9), vrGreaterThan);   // string read as number
  EXPECT_EQ(VarCompareValue(9, u"10"), vrLessThan);
  EXPECT_EQ(VarCompareValue(u"1.0", 1), vrEqual);
  EXPECT_EQ(VarCompareValue(u"abc", 1), vrGreaterThan);  // not a number: as strings
  EXPECT_EQ(VarCompareValue(1, u"abc"), vrLessThan);
  EXPECT_EQ(VarCompareValue(Variant::Null(), Variant::Null()), vrEqual);
  EXPECT_EQ(VarCompareValue(Variant::Null(), 0), vrNotEqual);
  EXPECT_EQ(VarCompareValue(Variant(), Variant::Null()), vrNotEqual);
  EXPECT_EQ(VarCompareValue(Variant(), 0), vrEqual);
  EXPECT_EQ(VarCompareValue(Variant(), 1), vrLessThan);
  EXPECT_EQ(VarCompareValue(Variant(), u""), vrEqual);
  EXPECT_EQ(VarCompareValue(u"a", Variant()), vrGreaterThan);
  EXPECT_EQ(VarCompareValue(Variant(), Variant()), vrEqual);
  EXPECT_EQ(VarCompareValue(true, false), vrGreaterThan);
  EXPECT_EQ(VarCompareValue(true, -1), vrEqual);
  EXPECT_EQ(VarCompareValue(u"true", true), vrEqual);
  EXPECT_EQ(VarCompareValue(false, u"TRUE"), vrLessThan);
  EXPECT_EQ(VarCompareValue(std::numeric_limits<double>::quiet_NaN(), 1.0), vrNotEqual);
  EXPECT_EQ(VarCompareValue(Variant::FromDate(2), 1), vrGreaterThan);
  EXPECT_EQ(VarCompareValue(Variant::FromDate(EncodeDate(2024, 3, 5)), u"2024-03-05"), vrEqual);
  EXPECT_TRUE(Variant(1) == Variant(1.0));
  EXPECT_TRUE(Variant(u"x") != Variant(u"y"));
  EXPECT_TRUE(VarSameValue(VarArrayOf({1, u"a"}), VarArrayOf({1.0, u"a"})));
  EXPECT_FALSE(VarSameValue(VarArrayOf({1}), VarArrayOf({2})));
}

TEST(Variant, Arrays) {
  Variant a = VarArrayCreate(1, 3);
  EXPECT_EQ(a.VarType(), varArray | varVariant);
  EXPECT_EQ(VarArrayDimCount(a), 1);
  EXPECT_EQ(VarArrayLowBound(a), 1);
  EXPECT_EQ(VarArrayHighBound(a), 3);
  EXPECT_TRUE(VarIsEmpty(a.GetElement(2)));
  a.PutElement(1, u"one");
  VarArrayPut(a, 2, 2);
  EXPECT_EQ(U(VarArrayGet(a, 1).AsString()), "one");
  EXPECT_EQ(a.GetElement(2).AsInteger(), 2);
  // Assignment copies: writes do not show through the other variant.
  Variant b = a;
  b.PutElement(1, u"changed");
  EXPECT_EQ(U(a.GetElement(1).AsString()), "one");
  EXPECT_EQ(U(b.GetElement(1).AsString()), "changed");
  Variant c;
  c = b;
  c.PutElement(3, 3.5);
  EXPECT_TRUE(VarIsEmpty(b.GetElement(3)));
  // An array inside an array.
  a.PutElement(3, b);
  EXPECT_EQ(U(a.GetElement(3).GetElement(1).AsString()), "changed");
  a.PutElement(3, a);  // self-reference by value
  EXPECT_TRUE(VarIsArray(a.GetElement(3)));

  Variant o = VarArrayOf({1, u"two", 3.0, true});
  EXPECT_EQ(VarArrayLowBound(o), 0);
  EXPECT_EQ(VarArrayHighBound(o), 3);
  EXPECT_EQ(U(o.GetElement(1).AsString()), "two");
  Variant empty = VarArrayOf({});
  EXPECT_EQ(VarArrayHighBound(empty), -1);
  VarArrayRedim(o, 5);
  EXPECT_EQ(VarArrayHighBound(o), 5);
  EXPECT_TRUE(VarIsEmpty(o.GetElement(5)));
  VarArrayRedim(o, 0);
  EXPECT_EQ(o.GetElement(0).AsInteger(), 1);

  EXPECT_EQ(ErrorOf([&] { a.GetElement(0); }),
            "EVariantBadIndexError: Variant or safe array index out of bounds");
  EXPECT_EQ(ErrorOf([&] { a.PutElement(4, 1); }),
            "EVariantBadIndexError: Variant or safe array index out of bounds");
  EXPECT_EQ(ErrorOf([] { Variant(1).GetElement(0); }), "EVariantError: Variant is not an array");
  EXPECT_THROW(VarArrayCreate(5, 3), EVariantArrayCreateError);
  EXPECT_THROW(VarArrayCreate(0, 3, varInteger), EVariantArrayCreateError);
}

TEST(Variant, CopyMoveAndAssign) {
  Variant s(u"hello");
  Variant t = s;
  EXPECT_EQ(U(t.AsString()), "hello");
  EXPECT_TRUE(t.RawString().SameBlock(s.RawString()));
  Variant m = std::move(t);
  EXPECT_TRUE(VarIsEmpty(t));  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(U(m.AsString()), "hello");
  m = 5;
  EXPECT_EQ(m.VarType(), varInteger);
  m = s;
  EXPECT_EQ(m.VarType(), varUString);
  m = m;  // NOLINT: self-assignment
  EXPECT_EQ(U(m.AsString()), "hello");
  m = Variant(u"other");
  EXPECT_EQ(U(m.AsString()), "other");
  m.Clear();
  EXPECT_TRUE(VarIsEmpty(m));
  Variant n(42);
  n.SetRawInteger(43);
  EXPECT_EQ(n.RawInteger(), 43);
}

TEST(Variant, AsType) {
  EXPECT_EQ(VarAsType(u"12", varInteger).VarType(), varInteger);
  EXPECT_EQ(VarAsType(u"12", varInteger).AsInteger(), 12);
  EXPECT_EQ(VarAsType(3, varUString).VarType(), varUString);
  EXPECT_EQ(VarAsType(3, varDouble).VarType(), varDouble);
  EXPECT_EQ(VarAsType(u"true", varBoolean).AsBoolean(), true);
  EXPECT_THROW(VarAsType(300, varByte), EVariantOverflowError);
  EXPECT_EQ(VarAsType(200, varByte).VarType(), varByte);
}
