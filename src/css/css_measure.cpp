#include "norvane/css/css_measure.h"

#include <array>
#include <cfloat>
#include <cmath>
#include <string_view>
#include <vector>

#include "norvane/foundation/number_text.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TMeasureStyle, "htmlcss")
NV_CLASS_IMPL(TCSSCalcValueObject, "htmlcss")

namespace {

// A float that a measure can hold: NaN becomes 0 and what overflows a
// 32-bit float saturates, so that no later conversion meets an infinity.
float ToSingle(double v) noexcept {
  if (v != v) return 0.0f;
  if (v > FLT_MAX) return FLT_MAX;
  if (v < -FLT_MAX) return -FLT_MAX;
  return float(v);
}

// Pixel counts saturate at the integer range; NaN gives 0.
int32_t Saturate(double v, int64_t (*round)(double) noexcept) noexcept {
  if (v != v) return 0;
  if (v >= 2147483647.0) return INT32_MAX;
  if (v <= -2147483648.0) return INT32_MIN;
  return int32_t(round(v));
}
int32_t RoundAway(double v) noexcept { return Saturate(v, &MathRound); }
int32_t RoundEven(double v) noexcept { return Saturate(v, &Round); }

// Pixels per unit for the units that are a fixed multiple of a pixel.
double FixedFactor(TMeasureUnit unit) noexcept {
  switch (unit) {
    case muPX: return 1.0;
    case muIN: return CSSPixelsPerInch;
    case muMM: return CSSPixelsPerInch / CSSMillimetresPerInch;
    case muPt: return CSSPixelsPerInch / CSSPointsPerInch;
    case muCM: return CSSPixelsPerInch / CSSCentimetresPerInch;
    case muEX: return CSSExPixels;
    case muPC: return CSSPixelsPerInch / CSSPicasPerInch;
    default: return 0.0;
  }
}

// The root's font size may itself be in "rem" (or a calc() of them), which
// would resolve against itself forever, or fan out in a calc(): inside the
// root's own size a "rem" counts the fallback.
thread_local int gRootDepth = 0;
constexpr int kMaxRootDepth = 1;

struct RootGuard {
  RootGuard() noexcept { ++gRootDepth; }
  ~RootGuard() { --gRootDepth; }
  RootGuard(const RootGuard&) = delete;
  RootGuard& operator=(const RootGuard&) = delete;
};

double FontSizeOf(const TMeasureStyle* style) noexcept {
  return style ? double(style->GetIntFontSize()) : CSSRemFallbackPixels;
}

// Root font size in float pixels, or in integer pixels for GetPixels.
double RootFontSizeOf(const TMeasureStyle* style, bool integer) noexcept {
  const TMeasure* root = style ? style->GetRootFontSize() : nullptr;
  if (!root || gRootDepth >= kMaxRootDepth) return CSSRemFallbackPixels;
  RootGuard guard;
  TMeasure m = *root;  // a calc() writes the measure it evaluates
  return integer ? double(m.GetPixels()) : double(m.GetFPixels());
}

// Width or height in viewport hundredths, divided by the node's scale.
double ViewportOf(const TMeasureStyle* style, bool width) noexcept {
  if (!style) return 0.0;
  const TMeasureViewport vp = style->GetViewport();
  double s = vp.ScaleFactor;
  if (!(s > 0.0) || std::isinf(s)) s = 1.0;  // a degenerate scale must not divide by 0
  return double(width ? vp.Width : vp.Height) / 100.0 / s;
}

constexpr char16_t Fold(char16_t c) noexcept { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; }

bool SameAscii(std::u16string_view a, std::u16string_view lower) noexcept {
  if (a.size() != lower.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (Fold(a[i]) != lower[i]) return false;
  return true;
}

// --- Keywords of Decode ---------------------------------------------------------

enum class KeywordKind : uint8_t { Auto, Inherit, Initial, Normal, None, Position, Length };

struct Keyword {
  std::u16string_view Name;
  KeywordKind Kind;
  TMeasureUnit Unit;
  float Value;
  TMeasureFlag Flag;  // the position flag
};

constexpr Keyword kKeywords[] = {
    {u"auto", KeywordKind::Auto, muNone, 0, mfNotAuto},
    {u"inherit", KeywordKind::Inherit, muNone, 0, mfNotAuto},
    {u"initial", KeywordKind::Initial, muNone, 0, mfNotAuto},
    {u"normal", KeywordKind::Normal, muNone, 0, mfNotAuto},
    {u"none", KeywordKind::None, muNone, 0, mfNotAuto},
    {u"left", KeywordKind::Position, muPercent, 0, mfLeft},
    {u"top", KeywordKind::Position, muPercent, 0, mfTop},
    {u"center", KeywordKind::Position, muPercent, 50, mfCenter},
    {u"right", KeywordKind::Position, muPercent, 100, mfRight},
    {u"bottom", KeywordKind::Position, muPercent, 100, mfBottom},
    // "medium" is the border width; font-size corrects it where it is read.
    {u"thin", KeywordKind::Length, muPX, 1, mfNotAuto},
    {u"medium", KeywordKind::Length, muPX, 2, mfNotAuto},
    {u"thick", KeywordKind::Length, muPX, 3, mfNotAuto},
    {u"xx-small", KeywordKind::Length, muPX, 9, mfNotAuto},
    {u"x-small", KeywordKind::Length, muPX, 10, mfNotAuto},
    {u"small", KeywordKind::Length, muPX, 14, mfNotAuto},
    {u"large", KeywordKind::Length, muPX, 22, mfNotAuto},
    {u"x-large", KeywordKind::Length, muPX, 24, mfNotAuto},
    {u"xx-large", KeywordKind::Length, muPX, 26, mfNotAuto},
    {u"larger", KeywordKind::Length, muPercent, 120, mfNotAuto},
    {u"smaller", KeywordKind::Length, muPercent, 80, mfNotAuto},
};

const Keyword* FindKeyword(std::u16string_view name) noexcept {
  if (name.size() < 3 || name.size() > 8) return nullptr;
  for (const Keyword& k : kKeywords) {
    if (!SameAscii(name, k.Name)) continue;
    // "none" counts only in lower case.
    if (k.Kind == KeywordKind::None && name != k.Name) return nullptr;
    return &k;
  }
  return nullptr;
}

// --- The stacks of calc() --------------------------------------------------------

// A stack that lives on the machine stack for the usual short expression
// and grows on the heap for long ones.
template <class T>
class CalcStack {
 public:
  bool Empty() const noexcept { return size_ == 0; }
  size_t Size() const noexcept { return size_; }
  T& Top() noexcept { return At(size_ - 1); }
  void Push(T v) {
    if (size_ < kInline) {
      inline_[size_] = v;
    } else {
      heap_.push_back(v);
    }
    ++size_;
  }
  T Pop(const char16_t* emptyMessage) {
    if (size_ == 0) throw Exception(UnicodeString(emptyMessage));
    T v = Top();
    --size_;
    if (size_ >= kInline) heap_.pop_back();
    return v;
  }

 private:
  static constexpr size_t kInline = 32;
  T& At(size_t i) noexcept { return i < kInline ? inline_[i] : heap_[i - kInline]; }
  std::array<T, kInline> inline_{};
  std::vector<T> heap_;
  size_t size_ = 0;
};

using ValueStack = CalcStack<float>;
using OperatorStack = CalcStack<char16_t>;

constexpr const char16_t* kEmptyValues = u"Pop from empty val stack";
constexpr const char16_t* kEmptyOperators = u"Pop from empty op stack";

// Lower binds tighter; "m" is the unary minus.
int Priority(char16_t op) noexcept {
  switch (op) {
    case u'm': return 0;
    case u'*':
    case u'/': return 1;
    case u')': return 3;
    case u'(': return -1;
    default: return 2;
  }
}

// The operator a token stands for, or 0 for an operand.
char16_t OperatorOf(const TCSSToken& t) noexcept {
  if (t.Name.Length() != 1) return 0;
  const char16_t c = t.Name[0];
  switch (c) {
    case u'+': case u'-': case u'*': case u'/': case u'(': case u')': return c;
    default: return 0;
  }
}

void Apply(char16_t op, ValueStack& values) {
  switch (op) {
    case u'+':
    case u'-':
    case u'*':
    case u'/': {
      if (values.Size() < 2) return;  // a dangling operator is dropped
      const float b = values.Pop(kEmptyValues);
      if (op == u'/' && b == 0.0f) return;  // dividing by zero leaves the dividend
      float& a = values.Top();
      a = op == u'+' ? a + b : op == u'-' ? a - b : op == u'*' ? a * b : a / b;
      return;
    }
    case u'm':
      if (!values.Empty()) values.Top() = -values.Top();
      return;
    default:
      return;
  }
}

}  // namespace

// --- TMeasure ------------------------------------------------------------------------

void TMeasure::Init(TMeasureStyle* style) noexcept {
  FValue = 0.0f;
  FMUnit = muNone;
  Flags = {};
  Style = style;
  Parent = nullptr;
  Calc = nullptr;
}

void TMeasure::Assign(const TMeasure& source) noexcept {
  FValue = source.FValue;
  FMUnit = source.FMUnit;
  Flags = source.Flags;
  Parent = source.Parent;
  Calc = source.Calc;
}

void TMeasure::SetAuto(bool value) noexcept {
  if (value) {
    Flags.Exclude(mfNotAuto);
    Calc = nullptr;
  } else {
    Flags.Include(mfNotAuto);
  }
}

void TMeasure::SetValue(float newValue) noexcept {
  if (newValue == FValue) return;
  Flags.Include(mfNotAuto);
  StoreValue(newValue);
  Flags.Exclude(mfInitial);
  Calc = nullptr;
}

void TMeasure::SetPixels(int32_t value) noexcept { SetFPixels(float(value)); }

void TMeasure::SetFPixels(float value) noexcept {
  SetValue(value);
  Flags.Include(mfNotAuto);
  StoreValue(value);  // mfZero also when the value didn't change
  FMUnit = muPX;
  Calc = nullptr;  // a forced pixel value is no longer an expression
}

void TMeasure::StoreValue(float v) noexcept {
  FValue = v;
  if (v == 0.0f)
    Flags.Include(mfZero);
  else
    Flags.Exclude(mfZero);
}

// The common start of both conversions: false when the answer is 0. A
// calc() is evaluated afresh each time, since its bases may have changed.
bool TMeasure::BeginPixels() noexcept {
  if (!Flags.Contains(mfNotAuto)) return false;
  if (Calc) {
    DecodeCalc();
    return true;
  }
  return !Flags.Contains(mfZero);
}

float TMeasure::GetFPixels() noexcept {
  if (!BeginPixels()) return 0.0f;
  const double v = FValue;
  switch (FMUnit) {
    case muPX: case muIN: case muMM: case muPt: case muCM: case muEX: case muPC:
      return ToSingle(v * FixedFactor(FMUnit));
    case muPercent:
      return Parent ? ToSingle(double(*Parent) * v / 100.0) : 0.0f;
    case muEM:
      return ToSingle(v * FontSizeOf(Style));
    case muREM:
      return ToSingle(v * RootFontSizeOf(Style, false));
    case muVW:
    case muVH:
      return ToSingle(v * ViewportOf(Style, FMUnit == muVW));
    default:  // times, angles and plain numbers scale by Parent when there is one
      return Parent ? ToSingle(v * double(*Parent)) : ToSingle(v);
  }
}

int32_t TMeasure::GetPixels() noexcept {
  if (!BeginPixels()) return 0;
  const double v = FValue;
  const double z = Style ? double(Style->GetZoom()) : 1.0;
  switch (FMUnit) {
    case muPX: case muIN: case muMM: case muPt: case muCM: case muEX: case muPC:
      return RoundAway(z * v * FixedFactor(FMUnit));
    case muPercent:  // percentages are not zoomed: their base already is
      return Parent ? RoundAway(double(*Parent) * v / 100.0) : 0;
    case muEM:
      // Unzoomed "em" rounds halves to even, unlike every other unit; kept
      // because existing layouts depend on it.
      return z == 1.0 ? RoundEven(v * FontSizeOf(Style)) : RoundAway(z * v * FontSizeOf(Style));
    case muREM:
      return RoundAway(z * v * RootFontSizeOf(Style, true));
    case muVW:
    case muVH:
      return RoundAway(z * v * ViewportOf(Style, FMUnit == muVW));
    default:
      // A unitless line-height multiplies its font size; zoomed, the factor
      // alone is rounded.
      if (z == 1.0 && Parent) return RoundAway(v * double(*Parent));
      return RoundAway(v);
  }
}

void TMeasure::Decode(const TCSSTokenSequence& ts) noexcept {
  if (ts.T) {
    DecodeToken(*ts.T, ts.FPTokens);
  } else {
    Flags = {mfNotAuto};
    Calc = nullptr;
  }
}

void TMeasure::DecodeToken(const TCSSToken& t, TCSSTokens* tokens) noexcept {
  Flags = {mfNotAuto};
  Calc = nullptr;
  switch (t.CType) {
    case ctNumber:  // a bare number is a length in pixels
      StoreValue(t.AsFloat);
      FMUnit = muPX;
      return;
    case ctPercentage:
      StoreValue(t.AsFloat);
      FMUnit = muPercent;
      return;
    case ctDimension:
      StoreValue(t.AsFloat);
      FMUnit = t.MUnit;
      return;
    case ctFunction:
      Flags = {};
      if (SameAscii(t.Name.view(), u"calc")) {
        Calc = tokens;
        Flags.Include(mfNotAuto);
      }
      return;
    case ctIdent:
      break;
    default:
      return;
  }
  const Keyword* k = FindKeyword(t.Name.view());
  if (!k) return;
  switch (k->Kind) {
    case KeywordKind::Auto:
      FValue = 0.0f;
      Flags = {};
      return;
    case KeywordKind::Inherit:
      Flags.Include(mfInherit);
      return;
    case KeywordKind::Initial:
      Flags.Include(mfInitial).Exclude(mfNotAuto);
      return;
    case KeywordKind::Normal:
      FMUnit = muNone;
      FValue = 0.0f;
      Flags = {mfNotAuto, mfInitial};
      return;
    case KeywordKind::None:
      Flags = {};
      return;
    case KeywordKind::Position:
      Flags.Include(k->Flag);
      [[fallthrough]];
    case KeywordKind::Length:
      FMUnit = k->Unit;
      StoreValue(k->Value);
      return;
  }
}

void TMeasure::DecodeCalc() noexcept {
  TCSSTokens* const tokens = Calc;
  if (!tokens) return;
  // Operands are decoded into this very measure: without Calc they can't
  // start another evaluation.
  Calc = nullptr;
  const TMeasureFlags flags = Flags;
  ValueStack values;
  bool afterOperator = true;
  try {
    OperatorStack ops;
    const int32_t count = tokens->Length();
    // Index 0 and 1 are the function and its "(".
    for (int32_t i = 2; i < count; ++i) {
      const TCSSToken& t = (*tokens)[i];
      if (t.CType == ctOpenBr) {
        ops.Push(u'(');
        continue;
      }
      if (const char16_t c = OperatorOf(t)) {
        // A sign where an operand is due is a prefix: it must not apply the
        // pending operator early ("2 * -3"). A plus sign there is a no-op.
        if (afterOperator && (c == u'-' || c == u'+')) {
          if (c == u'-') ops.Push(u'm');
          continue;
        }
        while (!ops.Empty() && Priority(ops.Top()) <= Priority(c)) {
          if (c != u')' && ops.Top() == u'(') break;
          const char16_t op = ops.Pop(kEmptyOperators);
          Apply(op, values);
          if (op == u'(') break;
        }
        if (c == u')') {
          afterOperator = false;
        } else {
          ops.Push(c);
          afterOperator = true;
        }
        continue;
      }
      if (t.CType == ctFunction) {
        // A nested calc() is a parenthesis: its "(" groups what follows.
        // Other functions aren't understood and count 0.
        if (SameAscii(t.Name.view(), u"calc")) continue;
        afterOperator = false;
        values.Push(0.0f);
        continue;
      }
      afterOperator = false;
      // What isn't a length (an unknown word, a string) counts 0 pixels
      // rather than repeating the previous operand.
      FValue = 0.0f;
      FMUnit = muPX;
      DecodeToken(t, tokens);
      Calc = nullptr;
      values.Push(GetFPixels());
    }
  } catch (...) {
    // What has been computed so far stands.
  }
  // A missing ")" leaves operators unapplied: the closing parenthesis of the
  // function is what flushes them.
  FValue = values.Empty() ? 0.0f : ToSingle(values.Top());
  FMUnit = muPX;
  Calc = tokens;
  Flags = flags;
  Flags.Include(mfNotAuto);
  if (FValue == 0.0f)
    Flags.Include(mfZero);
  else
    Flags.Exclude(mfZero);
}

void TMeasure::Parse(const UnicodeString& text) noexcept {
  if (text.IsEmpty()) return;
  const TMeasure saved = *this;
  try {
    const std::u16string_view v = text.view();
    if (v == u"auto") {
      // The value first: changing it would make the measure a value again.
      SetValue(0.0f);
      SetAuto(true);
      return;
    }
    SetAuto(false);
    if (v == u"inherit") {
      Flags.Include(mfInherit);
      return;
    }
    Flags.Exclude(mfInherit);
    size_t n = 0;
    while (n < v.size() && ((v[n] >= u'0' && v[n] <= u'9') || v[n] == u'-' || v[n] == u'.')) ++n;
    if (n == 0) {
      *this = saved;
      return;
    }
    FMUnit = muNone;
    Calc = nullptr;
    SetValue(ToSingle(iStrtoFloat(UnicodeString(v.substr(0, n)))));
    const char16_t c0 = n < v.size() ? Fold(v[n]) : 0;
    const char16_t c1 = n + 1 < v.size() ? Fold(v[n + 1]) : 0;
    switch (c0) {
      case u'%': FMUnit = muPercent; break;
      case u'p': FMUnit = c1 == u'x' ? muPX : c1 == u't' ? muPt : c1 == u'c' ? muPC : muNone; break;
      case u'm': if (c1 == u'm') FMUnit = muMM; break;
      case u'c': if (c1 == u'm') FMUnit = muCM; break;
      case u'i': if (c1 == u'n') FMUnit = muIN; break;
      case u'v': FMUnit = c1 == u'w' ? muVW : c1 == u'h' ? muVH : muNone; break;
      case u'r': FMUnit = muREM; break;
      case u's': FMUnit = muS; break;
      case u'e':
        if (c1 == u'm') {
          FMUnit = muEM;
        } else if (c1 == u'x') {
          FMUnit = muEX;
        } else if (c1 == u'-' || (c1 >= u'0' && c1 <= u'9')) {
          // An exponent; the unit stays muNone, since only the text right
          // behind the number names it.
          size_t e = n + 1;
          while (e < v.size() && (v[e] == u'-' || (v[e] >= u'0' && v[e] <= u'9'))) ++e;
          const int32_t power = StrToIntDef(v.substr(n + 1, e - n - 1), 0);
          SetValue(ToSingle(double(FValue) * std::pow(10.0, double(power))));
        }
        break;
      default:
        break;
    }
  } catch (...) {
    *this = saved;
  }
}

UnicodeString TMeasure::AsString() const {
  if (GetAuto()) return UnicodeString(u"auto");
  if (Flags.Contains(mfZero)) return UnicodeString(u"0");
  std::u16string s(FormatFloat(u"0.###", FValue).view());
  for (char16_t& c : s)
    if (c == u',') c = u'.';
  s += Calc ? std::u16string_view(u"px") : MeasureUnitSuffix(FMUnit);
  return UnicodeString(s);
}

}  // namespace norvane
