// The operator table of Variant: arithmetic, logic, shifts, negation and
// comparisons with the runtime's coercions.
//
// The rules, in the order they are tried:
// - Null on either side of an arithmetic or logical operator gives Null;
//   comparisons with null are never an error (null equals only null).
// - Empty counts as 0 beside a number and as "" beside a string.
// - `+` of two strings concatenates; a string beside a number is read as a
//   number (an integer if it is one, else a float, else a boolean word) and
//   the operation is numeric; a string that is no number raises
//   EVariantTypeCastError.
// - Integers stay integers while the result fits: 32-bit results widen to
//   Int64, Int64 results that overflow become doubles.
// - A date with a number stays a date for + and - (date - date is a
//   double); `*` and `/` make plain doubles.
// - Booleans are -1/0 in arithmetic; and/or/xor/not of two booleans are
//   logical, of integers bitwise; a boolean beside an integer is bitwise on
//   -1/0.
// - `/` always divides as floats (division by zero gives an infinity or NaN,
//   as the float unit does); `div` and `mod` are on integers and raise
//   EDivByZero "Division by zero" for a zero divisor.
// Objects (22), ranges (23) and arrays raise EVariantInvalidOpError
// "Invalid variant operation" in arithmetic.
#pragma once

#include "norvane/runtime/variant.h"

namespace norvane {

NV_EXCEPTION(EVariantInvalidOpError, EVariantError)

enum TVarOp : uint8_t {
  opAdd,
  opSubtract,
  opMultiply,
  opDivide,     // real division
  opIntDivide,  // div
  opModulus,    // mod
  opShiftLeft,
  opShiftRight,
  opAnd,
  opOr,
  opXor,
};

// Left `op` Right.
Variant VarBinaryOp(const Variant& Left, const Variant& Right, TVarOp Op);
// In place, Left := Left op Right; the fast paths of the script engine.
void VarOpInPlace(Variant& Left, const Variant& Right, TVarOp Op);

Variant VarNeg(const Variant& V);  // arithmetic negation
Variant VarNot(const Variant& V);  // logical on booleans, bitwise on integers

// Comparisons with VarCompareValue; `<` and kin answer false for pairs that
// only tell equal or not (null beside a value, objects, NaN).
bool VarEq(const Variant& A, const Variant& B);
bool VarNotEq(const Variant& A, const Variant& B);
bool VarLess(const Variant& A, const Variant& B);
bool VarLessEq(const Variant& A, const Variant& B);
bool VarGreater(const Variant& A, const Variant& B);
bool VarGreaterEq(const Variant& A, const Variant& B);

inline Variant operator+(const Variant& a, const Variant& b) { return VarBinaryOp(a, b, opAdd); }
inline Variant operator-(const Variant& a, const Variant& b) { return VarBinaryOp(a, b, opSubtract); }
inline Variant operator*(const Variant& a, const Variant& b) { return VarBinaryOp(a, b, opMultiply); }
inline Variant operator/(const Variant& a, const Variant& b) { return VarBinaryOp(a, b, opDivide); }
inline Variant operator-(const Variant& a) { return VarNeg(a); }

}  // namespace norvane
