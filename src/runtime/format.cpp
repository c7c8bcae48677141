// Format: the runtime's format-string formatting, locale-independent.
//
// "%" [index ":"] ["-"] [width] ["." prec] type; index, width and precision
// may be "*" (an integer argument). After an explicit index the following
// directives continue with the next argument.
//
// Integer types take Int/UInt arguments; e f g n m take floats only; s takes
// strings and characters; p takes pointers. As there is no separate 32-bit
// argument kind, %u and %x print a negative Int in 32 bits when it fits in
// 32 bits (Format('%x', [-1]) = "FFFFFFFF") and in 64 bits otherwise.
// Floats: e = ffExponent (precision 15, exponent "E+ddd"), f = ffFixed
// (2 decimals), g = ffGeneral (precision 15, exponent of at least 3 digits,
// sign only when negative: "1E020"), n = f with "," groups, m = n with 2
// decimals and no currency sign. Rounding is half away from zero on the
// exact decimal digits of the double, as the runtime's FloatToDecimal.
#include <charconv>
#include <string>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/format.h"
#include "sysutils_internal.h"

namespace norvane {

namespace {

[[noreturn]] void FormatError(std::u16string_view fmt) {
  std::u16string msg = u"Format '";
  msg.append(fmt);
  msg.append(u"' invalid or incompatible with argument");
  throw EConvertError(UnicodeString(msg));
}

void AppendUnsigned(std::u16string& out, uint64_t v, int base) {
  char buf[24];
  int n = 0;
  do {
    buf[n++] = "0123456789ABCDEF"[v % unsigned(base)];
    v /= unsigned(base);
  } while (v);
  while (n) out += char16_t(buf[--n]);
}

}  // namespace

UnicodeString Format(std::u16string_view fmt, FormatArgs args) {
  return Format(fmt, args.begin(), args.size());
}

UnicodeString Format(std::u16string_view fmt, const FormatArg* args, size_t count) {
  std::u16string out;
  out.reserve(fmt.size() + 16);
  size_t argIndex = 0;
  const size_t n = fmt.size();
  size_t i = 0;

  auto next = [&]() -> const FormatArg& {
    if (argIndex >= count) FormatError(fmt);
    return args[argIndex++];
  };
  auto intArg = [&]() -> int64_t {
    const FormatArg& a = next();
    if (a.kind() != FormatArg::Kind::Int && a.kind() != FormatArg::Kind::UInt) FormatError(fmt);
    return a.AsInt();
  };
  // Reads "*" or digits; -1 when neither is there.
  auto readNumber = [&]() -> int64_t {
    if (i < n && fmt[i] == u'*') {
      ++i;
      return intArg();
    }
    if (i >= n || fmt[i] < u'0' || fmt[i] > u'9') return -1;
    int64_t v = 0;
    while (i < n && fmt[i] >= u'0' && fmt[i] <= u'9') {
      if (v < 100000000) v = v * 10 + (fmt[i] - u'0');
      ++i;
    }
    return v;
  };

  while (i < n) {
    size_t pct = fmt.find(u'%', i);
    if (pct == std::u16string_view::npos) {
      out.append(fmt.substr(i));
      break;
    }
    out.append(fmt.substr(i, pct - i));
    i = pct + 1;
    if (i >= n) FormatError(fmt);
    if (fmt[i] == u'%') {
      out += u'%';
      ++i;
      continue;
    }
    bool left = false;
    int64_t width = -1, prec = -1;
    if (fmt[i] != u'-') {
      int64_t v = readNumber();
      if (i < n && fmt[i] == u':') {
        ++i;
        if (v < 0) FormatError(fmt);
        argIndex = size_t(v);
      } else {
        width = v;
      }
    }
    if (width < 0) {
      if (i < n && fmt[i] == u'-') {
        left = true;
        ++i;
      }
      width = readNumber();
    }
    if (width < 0 && width != -1) {  // negative "*" width: left-justify
      left = true;
      width = -width;
    }
    if (i < n && fmt[i] == u'.') {
      ++i;
      prec = readNumber();
      if (prec < 0) prec = 0;
    }
    if (i >= n) FormatError(fmt);
    char16_t type = fmt[i++];
    if (type >= u'A' && type <= u'Z') type = char16_t(type + 32);

    std::u16string item;
    switch (type) {
      case u'd':
      case u'u':
      case u'x': {
        const FormatArg& a = next();
        if (a.kind() != FormatArg::Kind::Int && a.kind() != FormatArg::Kind::UInt) FormatError(fmt);
        int64_t v = a.AsInt();
        bool neg = false;
        uint64_t mag;
        if (a.kind() == FormatArg::Kind::UInt) {
          mag = uint64_t(v);
        } else if (type == u'd') {
          neg = v < 0;
          mag = neg ? 0 - uint64_t(v) : uint64_t(v);
        } else if (v < 0 && v >= INT32_MIN) {
          mag = uint32_t(int32_t(v));
        } else {
          mag = uint64_t(v);
        }
        std::u16string digits;
        AppendUnsigned(digits, mag, type == u'x' ? 16 : 10);
        if (neg) item += u'-';
        for (int64_t k = int64_t(digits.size()); k < prec; ++k) item += u'0';
        item += digits;
        break;
      }
      case u'e':
      case u'f':
      case u'g':
      case u'n':
      case u'm': {
        const FormatArg& a = next();
        if (a.kind() != FormatArg::Kind::Float) FormatError(fmt);
        double v = a.AsFloat();
        if (type == u'e')
          detail::AppendExponent(item, v, prec < 0 ? 15 : int32_t(prec > 18 ? 18 : prec), 3, u'.');
        else if (type == u'g')
          detail::AppendGeneral(item, v, prec < 0 ? 15 : int32_t(prec > 18 ? 18 : (prec == 0 ? 1 : prec)), 3,
                                u'.');
        else
          detail::AppendFixed(item, v, prec < 0 ? 2 : int32_t(prec > 18 ? 18 : prec), u'.',
                              type == u'f' ? 0 : u',');
        break;
      }
      case u'p': {
        const FormatArg& a = next();
        if (a.kind() != FormatArg::Kind::Pointer) FormatError(fmt);
        uint64_t v = uint64_t(reinterpret_cast<uintptr_t>(a.AsPointer()));
        for (int sh = 60; sh >= 0; sh -= 4) item += char16_t("0123456789ABCDEF"[(v >> sh) & 15]);
        break;
      }
      case u's': {
        const FormatArg& a = next();
        if (a.kind() == FormatArg::Kind::String) {
          std::u16string_view s = a.AsString();
          if (prec >= 0 && size_t(prec) < s.size()) s = s.substr(0, size_t(prec));
          item.assign(s);
        } else if (a.kind() == FormatArg::Kind::Char) {
          if (prec != 0) item += char16_t(a.AsInt());
        } else {
          FormatError(fmt);
        }
        break;
      }
      default:
        FormatError(fmt);
    }
    if (width > int64_t(item.size())) {
      size_t pad = size_t(width) - item.size();
      if (left) {
        out += item;
        out.append(pad, u' ');
      } else {
        out.append(pad, u' ');
        out += item;
      }
    } else {
      out += item;
    }
  }
  return UnicodeString(out);
}

}  // namespace norvane
