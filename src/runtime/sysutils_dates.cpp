// Dates of the runtime: TDateTime is days since 1899-12-30 plus the time of
// day as a fraction. For negative values the date is the integer part
// (rounded toward zero) and the time is |fraction|, as the runtime's
// DateTimeToTimeStamp reads them: -1.25 is 1899-12-29 06:00.
//
// Invariant settings: date separator "-", time separator ":", ShortDateFormat
// "yyyy-mm-dd", LongDateFormat "dddd, mmmm d, yyyy", ShortTimeFormat "hh:nn",
// LongTimeFormat "hh:nn:ss", AM/PM strings "AM"/"PM", English names.
#include <chrono>
#include <cmath>
#include <ctime>
#include <string>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"
#include "sysutils_internal.h"

namespace norvane {

namespace {

constexpr int64_t kMSecsPerDay = 86400000;
constexpr int32_t kDateDelta = 693594;  // days from 0001-01-01 to 1899-12-30

const char* const kShortMonth[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* const kLongMonth[12] = {"January", "February", "March",     "April",   "May",      "June",
                                    "July",    "August",   "September", "October", "November", "December"};
const char* const kShortDay[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char* const kLongDay[7] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

const uint16_t kMonthDays[2][12] = {{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
                                    {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31}};

struct TimeStamp {
  int32_t date;  // days since 0001-01-01, plus one
  int32_t time;  // milliseconds of the day
};

TimeStamp ToTimeStamp(TDateTime d) noexcept {
  int64_t ms = Round(d * double(kMSecsPerDay));
  TimeStamp ts;
  ts.date = int32_t(kDateDelta + ms / kMSecsPerDay);
  int64_t t = ms < 0 ? -ms : ms;
  ts.time = int32_t(t % kMSecsPerDay);
  return ts;
}

// Date part plus time part, with the runtime's rule for negative dates.
TDateTime Compose(TDateTime date, TDateTime time) noexcept { return date < 0 ? date - time : date + time; }

}  // namespace

bool IsLeapYear(uint16_t year) noexcept { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

bool TryEncodeDate(uint16_t year, uint16_t month, uint16_t day, TDateTime& d) noexcept {
  if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1) return false;
  const uint16_t* days = kMonthDays[IsLeapYear(year)];
  if (day > days[month - 1]) return false;
  int32_t n = day;
  for (int i = 0; i < month - 1; ++i) n += days[i];
  int32_t y = year - 1;
  n += y * 365 + y / 4 - y / 100 + y / 400;
  d = double(n - kDateDelta);
  return true;
}

bool TryEncodeTime(uint16_t hour, uint16_t min, uint16_t sec, uint16_t msec, TDateTime& t) noexcept {
  if (hour >= 24 || min >= 60 || sec >= 60 || msec >= 1000) return false;
  t = double(int64_t(hour) * 3600000 + int64_t(min) * 60000 + int64_t(sec) * 1000 + msec) / double(kMSecsPerDay);
  return true;
}

TDateTime EncodeDate(uint16_t year, uint16_t month, uint16_t day) {
  TDateTime d;
  if (!TryEncodeDate(year, month, day, d)) throw EConvertError(UnicodeString(u"Invalid argument to date encode"));
  return d;
}

TDateTime EncodeTime(uint16_t hour, uint16_t min, uint16_t sec, uint16_t msec) {
  TDateTime t;
  if (!TryEncodeTime(hour, min, sec, msec, t))
    throw EConvertError(UnicodeString(u"Invalid argument to time encode"));
  return t;
}

void DecodeDate(TDateTime d, uint16_t& year, uint16_t& month, uint16_t& day) noexcept {
  int32_t t = ToTimeStamp(d).date;
  if (t <= 0) {  // before 0001-01-01: outside the runtime's range
    year = month = day = 0;
    return;
  }
  --t;
  int32_t y = 1;
  while (t >= 146097) {
    t -= 146097;
    y += 400;
  }
  int32_t i = t / 36524, dd = t % 36524;
  if (i == 4) {
    --i;
    dd += 36524;
  }
  y += i * 100;
  i = dd / 1461;
  dd %= 1461;
  y += i * 4;
  i = dd / 365;
  dd %= 365;
  if (i == 4) {
    --i;
    dd += 365;
  }
  y += i;
  const uint16_t* days = kMonthDays[IsLeapYear(uint16_t(y))];
  int32_t m = 0;
  while (dd >= days[m]) {
    dd -= days[m];
    ++m;
  }
  year = uint16_t(y);
  month = uint16_t(m + 1);
  day = uint16_t(dd + 1);
}

void DecodeTime(TDateTime d, uint16_t& hour, uint16_t& min, uint16_t& sec, uint16_t& msec) noexcept {
  int32_t t = ToTimeStamp(d).time;
  hour = uint16_t(t / 3600000);
  t %= 3600000;
  min = uint16_t(t / 60000);
  t %= 60000;
  sec = uint16_t(t / 1000);
  msec = uint16_t(t % 1000);
}

int32_t DayOfWeek(TDateTime d) noexcept {
  int32_t t = ToTimeStamp(d).date;
  int32_t r = t % 7;
  if (r < 0) r += 7;
  return r + 1;
}

TDateTime Now() {
  using namespace std::chrono;
  auto now = system_clock::now();
  int64_t ms = duration_cast<milliseconds>(now.time_since_epoch()).count();
  std::time_t secs = std::time_t(ms / 1000);
  std::tm tm{};
  localtime_r(&secs, &tm);
  TDateTime date = EncodeDate(uint16_t(tm.tm_year + 1900), uint16_t(tm.tm_mon + 1), uint16_t(tm.tm_mday));
  TDateTime time = EncodeTime(uint16_t(tm.tm_hour), uint16_t(tm.tm_min), uint16_t(tm.tm_sec % 60),
                              uint16_t(((ms % 1000) + 1000) % 1000));
  return Compose(date, time);
}

TDateTime Date() { return std::trunc(Now()); }

// --- FormatDateTime ---------------------------------------------------------------

namespace {

struct DateFormatter {
  std::u16string& out;
  uint16_t y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0, ms = 0;
  int32_t dow = 0;
  bool timeZero = false;
  int depth = 0;

  void Num(int v, int width) {
    char buf[12];
    int n = 0;
    do {
      buf[n++] = char('0' + v % 10);
      v /= 10;
    } while (v);
    for (int k = n; k < width; ++k) out += u'0';
    while (n) out += char16_t(buf[--n]);
  }
  void Ascii(const char* s) { detail::AppendAscii(out, s); }

  static bool StartsWithI(std::u16string_view f, size_t i, std::u16string_view word) {
    if (f.size() - i < word.size()) return false;
    for (size_t k = 0; k < word.size(); ++k) {
      char16_t c = f[i + k];
      if (c >= u'A' && c <= u'Z') c = char16_t(c + 32);
      if (c != word[k]) return false;
    }
    return true;
  }

  // Whether an AM/PM specifier follows (then h is on the 12-hour clock).
  static bool HasAmPm(std::u16string_view f, size_t from) {
    char16_t quote = 0;
    for (size_t i = from; i < f.size(); ++i) {
      char16_t c = f[i];
      if (quote) {
        if (c == quote) quote = 0;
        continue;
      }
      if (c == u'\'' || c == u'"') quote = c;
      else if (StartsWithI(f, i, u"am/pm") || StartsWithI(f, i, u"a/p") || StartsWithI(f, i, u"ampm"))
        return true;
    }
    return false;
  }

  void Run(std::u16string_view f) {
    if (++depth > 2) return;
    if (f.empty()) f = u"c";
    char16_t last = 0;  // last date/time specifier letter, for m after h
    size_t i = 0;
    while (i < f.size()) {
      char16_t c = f[i];
      char16_t lc = (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c;
      size_t run = 1;
      if (lc >= u'a' && lc <= u'z')
        while (i + run < f.size() && char16_t(f[i + run] | 0x20) == lc) ++run;
      switch (lc) {
        case u'\'':
        case u'"': {
          size_t j = i + 1;
          while (j < f.size() && f[j] != c) out += f[j++];
          i = j < f.size() ? j + 1 : j;
          continue;
        }
        case u'/':
          out += u'-';
          i += 1;
          continue;
        case u':':
          out += u':';
          i += 1;
          continue;
        case u'c':
          Run(u"yyyy-mm-dd");
          if (!timeZero) {
            out += u' ';
            Run(u"hh:nn:ss");
          }
          i += 1;
          last = 0;
          continue;
        case u'y':
          if (run <= 2) Num(y % 100, 2);
          else Num(y, 4);
          last = u'y';
          break;
        case u'm':
          if (last == u'h') {
            Num(mi, run >= 2 ? 2 : 1);
            if (run > 2) run = 2;
          } else if (run == 1) {
            Num(mo, 1);
          } else if (run == 2) {
            Num(mo, 2);
          } else if (run == 3) {
            if (mo) Ascii(kShortMonth[mo - 1]);
          } else {
            if (mo) Ascii(kLongMonth[mo - 1]);
            run = 4;
          }
          last = u'm';
          break;
        case u'd':
          if (run == 1) Num(d, 1);
          else if (run == 2) Num(d, 2);
          else if (run == 3) Ascii(kShortDay[dow - 1]);
          else if (run == 4) Ascii(kLongDay[dow - 1]);
          else if (run == 5) Run(u"yyyy-mm-dd");
          else {
            Run(u"dddd, mmmm d, yyyy");
            run = 6;
          }
          last = u'd';
          break;
        case u'h': {
          int hh = h;
          if (HasAmPm(f, i + run)) {
            hh %= 12;
            if (hh == 0) hh = 12;
          }
          Num(hh, run >= 2 ? 2 : 1);
          if (run > 2) run = 2;
          last = u'h';
          break;
        }
        case u'n':
          Num(mi, run >= 2 ? 2 : 1);
          if (run > 2) run = 2;
          last = u'n';
          break;
        case u's':
          Num(s, run >= 2 ? 2 : 1);
          if (run > 2) run = 2;
          last = u's';
          break;
        case u'z':
          Num(ms, run >= 3 ? 3 : 1);
          if (run > 3) run = 3;
          last = u'z';
          break;
        case u't':
          Run(run >= 2 ? u"hh:nn:ss" : u"hh:nn");
          if (run > 2) run = 2;
          last = 0;
          break;
        case u'a':
          if (StartsWithI(f, i, u"am/pm")) {
            bool upper = f[i] == u'A';
            out += h >= 12 ? (upper ? u"PM" : u"pm") : (upper ? u"AM" : u"am");
            i += 5;
            continue;
          }
          if (StartsWithI(f, i, u"a/p")) {
            bool upper = f[i] == u'A';
            out += h >= 12 ? (upper ? u'P' : u'p') : (upper ? u'A' : u'a');
            i += 3;
            continue;
          }
          if (StartsWithI(f, i, u"ampm")) {
            out += h >= 12 ? u"PM" : u"AM";
            i += 4;
            continue;
          }
          out += c;
          i += 1;
          continue;
        default:
          out.append(f.substr(i, run));
          break;
      }
      i += run;
    }
    --depth;
  }
};

}  // namespace

UnicodeString FormatDateTime(std::u16string_view fmt, TDateTime dt) {
  std::u16string out;
  DateFormatter f{out};
  DecodeDate(dt, f.y, f.mo, f.d);
  DecodeTime(dt, f.h, f.mi, f.s, f.ms);
  f.dow = DayOfWeek(dt);
  f.timeZero = ToTimeStamp(dt).time == 0;
  f.Run(fmt);
  return UnicodeString(out);
}

UnicodeString DateTimeToStr(TDateTime d) { return FormatDateTime(u"c", d); }
UnicodeString DateToStr(TDateTime d) { return FormatDateTime(u"yyyy-mm-dd", d); }
UnicodeString TimeToStr(TDateTime d) { return FormatDateTime(u"hh:nn:ss", d); }

// --- StrToDateTime ------------------------------------------------------------------

namespace {

struct Reader {
  std::u16string_view s;
  size_t i = 0;
  bool Blank() {
    while (i < s.size() && s[i] == u' ') ++i;
    return true;
  }
  bool Num(int maxDigits, int& v) {
    size_t b = i;
    v = 0;
    while (i < s.size() && s[i] >= u'0' && s[i] <= u'9' && int(i - b) < maxDigits) v = v * 10 + (s[i++] - u'0');
    return i > b;
  }
  bool Char(char16_t c) {
    if (i < s.size() && s[i] == c) {
      ++i;
      return true;
    }
    return false;
  }
  bool End() const { return i == s.size(); }
};

bool ReadTime(Reader& r, TDateTime& t) {
  int h, m, sec = 0, ms = 0;
  if (!r.Num(2, h) || !r.Char(u':') || !r.Num(2, m)) return false;
  if (r.Char(u':')) {
    if (!r.Num(2, sec)) return false;
    if (r.Char(u'.')) {
      size_t b = r.i;
      if (!r.Num(3, ms)) return false;
      for (size_t k = r.i - b; k < 3; ++k) ms *= 10;
    }
  }
  r.Blank();
  bool am = false, pm = false;
  if (r.s.size() - r.i >= 2) {
    char16_t a = char16_t(r.s[r.i] | 0x20), b = char16_t(r.s[r.i + 1] | 0x20);
    if (b == u'm' && (a == u'a' || a == u'p')) {
      am = a == u'a';
      pm = a == u'p';
      r.i += 2;
    }
  }
  if (am || pm) {
    if (h < 1 || h > 12) return false;
    h = h % 12 + (pm ? 12 : 0);
  }
  return TryEncodeTime(uint16_t(h), uint16_t(m), uint16_t(sec), uint16_t(ms), t);
}

}  // namespace

// Reads "yyyy-mm-dd", "yyyy-mm-dd hh:nn[:ss[.zzz]]" (a "T" may stand for the
// blank) and "hh:nn[:ss[.zzz]]" (time only: date part 0), with blanks around.
bool TryStrToDateTime(std::u16string_view s, TDateTime& d) noexcept {
  Reader r{s};
  r.Blank();
  size_t start = r.i;
  int a;
  if (!r.Num(4, a)) return false;
  if (r.i < s.size() && s[r.i] == u':') {  // time only
    r.i = start;
    TDateTime t;
    if (!ReadTime(r, t)) return false;
    r.Blank();
    if (!r.End()) return false;
    d = t;
    return true;
  }
  int m, day;
  if (!r.Char(u'-') || !r.Num(2, m) || !r.Char(u'-') || !r.Num(2, day)) return false;
  TDateTime date;
  if (!TryEncodeDate(uint16_t(a), uint16_t(m), uint16_t(day), date)) return false;
  size_t afterDate = r.i;
  r.Blank();
  if (r.End()) {
    d = date;
    return true;
  }
  if (r.i == afterDate && !r.Char(u'T')) return false;
  TDateTime t;
  if (!ReadTime(r, t)) return false;
  r.Blank();
  if (!r.End()) return false;
  d = Compose(date, t);
  return true;
}

TDateTime StrToDateTime(std::u16string_view s) {
  TDateTime d;
  if (!TryStrToDateTime(s, d)) throw EConvertError(u"'%s' is not a valid date and time", {s});
  return d;
}

}  // namespace norvane
