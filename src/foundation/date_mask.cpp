#include "norvane/foundation/date_mask.h"

#include <string>
#include <string_view>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

using View = std::u16string_view;

inline bool IsDigit(char16_t c) noexcept { return c >= u'0' && c <= u'9'; }
inline bool IsAsciiLetter(char16_t c) noexcept { return (c | 0x20) >= u'a' && (c | 0x20) <= u'z'; }

[[noreturn]] void Mismatch(const UnicodeString& text, const UnicodeString& mask) {
  throw EConvertError(u"Date/time string '" + text + u"' does not match mask '" + mask + u"'");
}

// Month number from the first letters at the start of `v`, 0 if unknown.
int32_t MonthFromName(View v) noexcept {
  char16_t a[3] = {0, 0, 0};
  for (size_t k = 0; k < 3 && k < v.size(); ++k) a[k] = UnicodeLower(v[k]);
  auto is = [&](View prefix) {
    for (size_t k = 0; k < prefix.size(); ++k)
      if (a[k] != prefix[k]) return false;
    return true;
  };
  if (a[0] < 0x81) {
    static constexpr View kEnglish[] = {u"ja", u"fe", u"mar", u"ap", u"may", u"jun",
                                        u"jul", u"au", u"se",  u"oc", u"no",  u"de"};
    for (int32_t m = 0; m < 12; ++m)
      if (is(kEnglish[m])) return m + 1;
    return 0;
  }
  static constexpr View kRussian[] = {u"я",   u"фе", u"мар", u"ап", u"май", u"июн",
                                      u"июл", u"ав", u"се",  u"ок", u"но",  u"де"};
  for (int32_t m = 0; m < 12; ++m)
    if (is(kRussian[m])) return m + 1;
  if (is(u"мая")) return 5;
  return 0;
}

constexpr int32_t kEnglishNameLen[13] = {0, 7, 8, 5, 5, 3, 4, 4, 6, 9, 7, 8, 8};

// `count` units of text from `p` (fewer at the end) as an integer.
bool ReadInt(View text, size_t p, size_t count, bool trim, int32_t& v) noexcept {
  View part = p < text.size() ? text.substr(p, count) : View();
  if (trim) {
    while (!part.empty() && part.front() <= u' ') part.remove_prefix(1);
    while (!part.empty() && part.back() <= u' ') part.remove_suffix(1);
  }
  return TryStrToInt(part, v);
}

UnicodeString AutoMask(View t) {
  size_t len = t.size();
  char16_t c2 = len >= 2 ? t[1] : 0;
  char16_t c3 = len >= 3 ? t[2] : 0;
  if (len <= 11) {
    if (c3 == u'.') {
      if (len == 10) return u"dd.mm.yyyy";
      if (len == 8) return u"dd.mm.yy";
      return UnicodeString();
    }
    if (len == 10) return c3 == u'/' ? u"mm/dd/yyyy" : u"yyyy-mm-dd";
    if (len == 11) return u"dd-mmm-yyyy";
    if (len == 9 && c2 == u'/') return u"m/dd/yyyy";
    if (len == 9 && c3 == u'/') return u"mm/d/yyyy";
    if (len == 8 && c2 == u'/') return u"m/d/yyyy";
    return u"dd-mmm-yy";
  }
  if (c3 == u'.') {
    switch (len) {
      case 19: return u"dd.mm.yyyy hh:nn:ss";
      case 18: return u"dd.mm.yyyy h:nn:ss";
      case 16: return u"dd.mm.yyyy hh:nn";
      case 15: return u"dd.mm.yyyy h:nn";
      case 14: return u"dd.mm.yy hh:nn";
      case 13: return u"dd.mm.yy h:nn";
      default: return UnicodeString();
    }
  }
  if (c3 == u'-') return len == 19 ? u"dd-mm-yyyy hh:nn:ss" : u"dd-mmm-yyyy hh:nn:ss";
  return u"yyyy-mm-dd hh:nn:ss";
}

}  // namespace

TDateTime StrtoDateFmt(const UnicodeString& text, const UnicodeString& mask) {
  if (text.IsEmpty()) return 0;
  View t = text.view();
  if (mask.IsEmpty()) {
    UnicodeString picked = AutoMask(t);
    return picked.IsEmpty() ? 0 : StrtoDateFmt(text, picked);
  }
  if (mask == u"cisco") {
    // Log times: "*10:22:33.123 UTC Mon Mar 1 2021" (anything through "=" first).
    View v = t;
    size_t eq = v.find(u'=');
    if (eq != View::npos) v.remove_prefix(eq + 1);
    if (!v.empty() && v.front() == u'*') v.remove_prefix(1);
    View time = v.substr(0, 8);
    View tail = v.size() > 11 ? v.substr(v.size() - 11) : v;
    std::u16string s(time);
    s += u' ';
    s += Trim(UnicodeString(tail)).view();
    return StrtoDateFmt(UnicodeString(s), u"hh:nn:ss mmm d yyyy");
  }

  View m = mask.view();
  const size_t tn = t.size(), mn = m.size();
  auto maskAt = [&](size_t k) -> char16_t { return k < mn ? m[k] : char16_t(0); };
  auto textAt = [&](size_t k) -> char16_t { return k < tn ? t[k] : char16_t(0); };

  int32_t day = 0, month = 0, year = 0, hour = 0, minute = 0, second = 0;
  bool dateSeen = false, timeSeen = false, afternoon = false;
  size_t i = 0, p = 0;

  // "d", "h", "m": one digit when the mask unit is single and the text has
  // no second digit, else two units that must read as an integer.
  auto oneOrTwo = [&](char16_t unit, int32_t& out) {
    bool doubled = maskAt(i + 1) == unit;
    if (!doubled && !IsDigit(textAt(p + 1))) {
      if (!IsDigit(t[p])) Mismatch(text, mask);
      out = t[p] - u'0';
      p += 1;
    } else {
      if (!ReadInt(t, p, 2, false, out)) Mismatch(text, mask);
      p += 2;
    }
    i += doubled ? 2 : 1;
  };
  auto readYY = [&]() {
    int32_t y;
    if (!ReadInt(t, p, 2, false, y) || y < 0) Mismatch(text, mask);
    year = y < 60 ? 2000 + y : 1900 + y;
    p += 2;
  };

  while (i < mn && p < tn) {
    char16_t c = m[i];
    switch (c) {
      case u'd':
        dateSeen = true;
        oneOrTwo(u'd', day);
        break;
      case u'h':
        timeSeen = true;
        oneOrTwo(u'h', hour);
        break;
      case u'n':
      case u's': {
        timeSeen = true;
        int32_t v;
        if (!ReadInt(t, p, 2, true, v) || v < 0) Mismatch(text, mask);
        (c == u'n' ? minute : second) = v;
        p += 2;
        i += 2;
        break;
      }
      case u'm':
        dateSeen = true;
        if (m.substr(i, 4) == u"mmmm") {
          month = MonthFromName(t.substr(p));
          while (p < tn && (IsAsciiLetter(t[p]) || t[p] > 0x80)) ++p;
          i += 4;
        } else if (m.substr(i, 3) == u"mmm") {
          month = MonthFromName(t.substr(p, 3));
          p += 3;
          i += 3;
        } else {
          oneOrTwo(u'm', month);
        }
        break;
      case u'M':
        if (m.substr(i, 3) == u"MMM") {
          dateSeen = true;
          month = MonthFromName(t.substr(p));
          p += month ? size_t(kEnglishNameLen[month]) : 3;
          i += 3;
        } else {
          ++i;
          ++p;
        }
        break;
      case u'y':
        if (m.substr(i, 4) == u"yyyy") {
          dateSeen = true;
          size_t left = tn - p;
          if (left < 2) Mismatch(text, mask);
          if (left == 2 || !IsDigit(t[p + 2])) {
            readYY();
          } else {
            int32_t y;
            if (!ReadInt(t, p, 4, true, y) || y < 0) Mismatch(text, mask);
            year = y;
            p += 4;
          }
          i += 4;
        } else if (maskAt(i + 1) == u'y') {
          dateSeen = true;
          readYY();
          i += 2;
        } else {
          ++i;
          ++p;
        }
        break;
      case u'p':
        // The text "a" marks the afternoon: kept as stored data expects it.
        if (t[p] == u'a') afternoon = true;
        i += 2;
        p += 2;
        break;
      default:
        ++i;
        ++p;
        break;
    }
  }

  TDateTime result = 0;
  if (dateSeen) {
    if (month < 1 || month > 12 || day < 1 || day > 31 || year >= 10000) Mismatch(text, mask);
    result = EncodeDate(uint16_t(year), uint16_t(month), uint16_t(day));
  }
  if (timeSeen) {
    if (afternoon && hour < 12) hour += 12;
    if (hour < 0 || hour > 23 || minute > 59 || second > 59) Mismatch(text, mask);
    result += (hour * 3600 + minute * 60 + second) / 86400.0;
  }
  return result;
}

}  // namespace norvane
