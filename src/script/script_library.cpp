// The host functions of the built-in library that are plain functions of
// the runtime: registered by declaration with a C++ function pointer, so
// they go through the same thunks as any host function.
#include <cmath>

#include "norvane/runtime/sysutils.h"
#include "norvane/script/script_parser.h"

namespace norvane {

namespace {

// System.
UnicodeString SysChr(int32_t code) { return UnicodeString(char16_t(code)); }
int32_t SysOrd(const UnicodeString& s) { return s.IsEmpty() ? 0 : int32_t(s[0]); }
UnicodeString SysCopy(const UnicodeString& s, int32_t index, int32_t count) { return Copy(s, index, count); }
int32_t SysPos(const UnicodeString& sub, const UnicodeString& s) { return Pos(sub, s); }
int32_t SysPosEx(const UnicodeString& sub, const UnicodeString& s, int32_t offset) { return Pos(sub, s, offset); }
bool SysOdd(int32_t v) { return (v & 1) != 0; }
double SysAbs(double v) { return std::fabs(v); }
double SysSqr(double v) { return v * v; }
long double SysSqrt(long double v) { return std::sqrt(v); }
long double SysSin(long double v) { return std::sin(v); }
long double SysCos(long double v) { return std::cos(v); }
long double SysExp(long double v) { return std::exp(v); }
long double SysLn(long double v) { return std::log(v); }
long double SysArcTan(long double v) { return std::atan(v); }
double SysFrac(double v) { return Frac(v); }
double SysPi() { return 3.14159265358979323846; }
int64_t SysRound(double v) { return Round(v); }
int64_t SysTrunc(double v) { return Trunc(v); }

// SysUtils.
UnicodeString SuIntToStr(int64_t v) { return IntToStr(v); }
UnicodeString SuIntToHex(int64_t v, int32_t digits) { return IntToHex(uint64_t(v), digits); }
int32_t SuStrToInt(const UnicodeString& s) { return StrToInt(s); }
int32_t SuStrToIntDef(const UnicodeString& s, int32_t def) { return StrToIntDef(s, def); }
double SuStrToFloat(const UnicodeString& s) { return StrToFloat(s); }
UnicodeString SuFloatToStr(double v) { return FloatToStr(v); }
UnicodeString SuFormatFloat(const UnicodeString& mask, double v) { return FormatFloat(mask, v); }
UnicodeString SuUpperCase(const UnicodeString& s) { return UpperCase(s); }
UnicodeString SuLowerCase(const UnicodeString& s) { return LowerCase(s); }
UnicodeString SuAnsiUpperCase(const UnicodeString& s) { return AnsiUpperCase(s); }
UnicodeString SuAnsiLowerCase(const UnicodeString& s) { return AnsiLowerCase(s); }
UnicodeString SuTrim(const UnicodeString& s) { return Trim(s); }
UnicodeString SuTrimLeft(const UnicodeString& s) { return TrimLeft(s); }
UnicodeString SuTrimRight(const UnicodeString& s) { return TrimRight(s); }
int32_t SuCompareText(const UnicodeString& a, const UnicodeString& b) { return CompareText(a, b); }
int32_t SuCompareStr(const UnicodeString& a, const UnicodeString& b) { return CompareStr(a, b); }
bool SuSameText(const UnicodeString& a, const UnicodeString& b) { return SameText(a, b); }
UnicodeString SuQuotedStr(const UnicodeString& s) {
  return u"'" + StringReplace(s, u"'", u"''", ReplaceFlags::ReplaceAll) + u"'";
}
UnicodeString SuStringReplace(const UnicodeString& s, const UnicodeString& from, const UnicodeString& to) {
  return StringReplace(s, from, to, ReplaceFlags::ReplaceAll);
}
UnicodeString SuStringOfChar(const UnicodeString& c, int32_t count) {
  return c.IsEmpty() ? UnicodeString() : StringOfChar(c[0], count);
}
bool SuStrToBool(const UnicodeString& s) { return StrToBool(s); }
UnicodeString SuBoolToStr(bool b, bool useBoolStrs) { return BoolToStr(b, useBoolStrs); }

// Math.
int32_t MaCeil(double v) { return int32_t(std::ceil(v)); }
int32_t MaFloor(double v) { return int32_t(std::floor(v)); }
long double MaPower(long double base, long double exponent) { return std::pow(base, exponent); }
int32_t MaSign(double v) { return v > 0 ? 1 : v < 0 ? -1 : 0; }

struct Row {
  const char16_t* declaration;
  void* function;
};

template <class F>
void* Ptr(F* f) {
  return reinterpret_cast<void*>(f);
}

void RegisterRows(THtScriptParser* p, const Row* rows, size_t count) {
  for (size_t i = 0; i < count; ++i) p->RegisterFunc(rows[i].declaration, rows[i].function);
}

}  // namespace

void THtScriptGlobal::RegisterSystemFunctions() {
  const Row rows[] = {
      {u"char(Code: integer): string", Ptr(SysChr)},
      {u"Chr(Code: integer): string", Ptr(SysChr)},
      {u"Ord(C: string): integer", Ptr(SysOrd)},
      {u"Copy(s: string; Index: integer; Count: integer = 2147483647): string", Ptr(SysCopy)},
      {u"Pos(SubStr, S: string): integer", Ptr(SysPos)},
      {u"PosEx(SubStr, S: string; Offset: integer = 1): integer", Ptr(SysPosEx)},
      {u"Odd(X: integer): boolean", Ptr(SysOdd)},
      {u"Abs(X: double): double", Ptr(SysAbs)},
      {u"Sqr(X: double): double", Ptr(SysSqr)},
      {u"Sqrt(X: extended): extended", Ptr(SysSqrt)},
      {u"Sin(X: extended): extended", Ptr(SysSin)},
      {u"Cos(X: extended): extended", Ptr(SysCos)},
      {u"Exp(X: extended): extended", Ptr(SysExp)},
      {u"Ln(X: extended): extended", Ptr(SysLn)},
      {u"ArcTan(X: extended): extended", Ptr(SysArcTan)},
      {u"Frac(X: double): double", Ptr(SysFrac)},
      {u"Pi: double", Ptr(SysPi)},
      {u"Round(X: double): int64", Ptr(SysRound)},
      {u"Trunc(X: double): int64", Ptr(SysTrunc)},
  };
  RegisterRows(this, rows, std::size(rows));
}

void THtScriptGlobal::RegisterSysUtilsFunctions() {
  const Row rows[] = {
      {u"IntToStr(n: int64): string", Ptr(SuIntToStr)},
      {u"IntToHex(Value: int64; Digits: integer): string", Ptr(SuIntToHex)},
      {u"StrToInt(s: string): integer", Ptr(SuStrToInt)},
      {u"StrToIntDef(s: string; Default: integer): integer", Ptr(SuStrToIntDef)},
      {u"StrToFloat(s: string): double", Ptr(SuStrToFloat)},
      {u"FloatToStr(Value: double): string", Ptr(SuFloatToStr)},
      {u"FormatFloat(Format: string; Value: double): string", Ptr(SuFormatFloat)},
      {u"UpperCase(s: string): string", Ptr(SuUpperCase)},
      {u"LowerCase(s: string): string", Ptr(SuLowerCase)},
      {u"AnsiUpperCase(s: string): string", Ptr(SuAnsiUpperCase)},
      {u"AnsiLowerCase(s: string): string", Ptr(SuAnsiLowerCase)},
      {u"Trim(s: string): string", Ptr(SuTrim)},
      {u"TrimLeft(s: string): string", Ptr(SuTrimLeft)},
      {u"TrimRight(s: string): string", Ptr(SuTrimRight)},
      {u"CompareText(S1, S2: string): integer", Ptr(SuCompareText)},
      {u"CompareStr(S1, S2: string): integer", Ptr(SuCompareStr)},
      {u"SameText(S1, S2: string): boolean", Ptr(SuSameText)},
      {u"QuotedStr(s: string): string", Ptr(SuQuotedStr)},
      {u"StringReplace(S, OldPattern, NewPattern: string): string", Ptr(SuStringReplace)},
      {u"StringOfChar(C: string; Count: integer): string", Ptr(SuStringOfChar)},
      {u"StrToBool(s: string): boolean", Ptr(SuStrToBool)},
      {u"BoolToStr(B: boolean; UseBoolStrs: boolean = false): string", Ptr(SuBoolToStr)},
  };
  RegisterRows(this, rows, std::size(rows));
}

void THtScriptGlobal::RegisterMathFunctions() {
  const Row rows[] = {
      {u"Ceil(X: double): integer", Ptr(MaCeil)},
      {u"Floor(X: double): integer", Ptr(MaFloor)},
      {u"Power(Base, Exponent: Extended): Extended", Ptr(MaPower)},
      {u"Sign(AValue: double): integer", Ptr(MaSign)},
  };
  RegisterRows(this, rows, std::size(rows));
}

}  // namespace norvane
