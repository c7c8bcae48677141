// Foundation commands (date, number, tokens) and the foundation section of
// the report: dates, numbers and words of a "field: value" text.
#include <cstdio>
#include <string>

#include "cli_common.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/foundation/string_parser.h"
#include "norvane/foundation/date_mask.h"
#include "norvane/foundation/number_text.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane::cli {
namespace {

constexpr std::u16string_view kDateTimeFormat = u"yyyy-mm-dd hh:nn:ss";

int RunDate(const Args& args);
int RunNumber(const Args& args);
int RunTokens(const Args& args);

constexpr Command kCommands[] = {
    {"date", "TEXT [MASK]", "read a date with a mask, or with the mask its form implies",
     "Prints the date and time read from TEXT as yyyy-mm-dd hh:nn:ss.\n"
     "MASK uses d, dd, m, mm, mmm (month name), mmmm, yy, yyyy, h, hh, n, s and p;\n"
     "any other mask unit must match the text as it stands. Without MASK the form\n"
     "follows from the text: 31.12.99, 31.12.2024, 2024-12-31, 12/31/2024,\n"
     "31-Dec-2024, 31.12.2024 23:59:30 and more. A two-digit year below 60 is 20yy.\n"
     "\n"
     "Exit status 1 and the reason on stderr when TEXT does not match.\n"
     "  norvane date 31.12.99                  -> 1999-12-31 00:00:00\n"
     "  norvane date '7 Mar 2024' 'd mmm yyyy' -> 2024-03-07 00:00:00\n",
     RunDate},
    {"number", "TEXT", "read a number leniently and strictly",
     "Prints TEXT read two ways, one line each:\n"
     "  iStrtoFloat:     lenient; \".\" and \",\" are both decimal points, 0 for\n"
     "                   anything it cannot read;\n"
     "  StrtoFloatCheck: strict, decimal point \".\", thousands separated by \" \".\n"
     "Exit status 1 with the strict reader's message on stderr when it rejects TEXT.\n"
     "  norvane number '1 250.5'  -> iStrtoFloat: 0, StrtoFloatCheck: 1250.5\n",
     RunNumber},
    {"tokens", "[FILE|-]", "list the words and numbers a text cursor reads",
     "Walks FILE (\"-\" for standard input; the bundled example when none is given)\n"
     "with the library's text cursor and prints one token a line:\n"
     "  LINE:COLUMN  word|int|float  TEXT  [VALUE]\n"
     "Numbers read with their sign, fraction and exponent; \"1..5\" reads as 1 and\n"
     "then the word \"..5\". Columns count UTF-16 units from 1.\n",
     RunTokens},
};

void AddUtf8(TFastString& out, std::string_view s) { out.Add(UnicodeString::FromUtf8(s)); }

// Appends `s` and spaces up to `width` units.
void AddPadded(TFastString& out, const UnicodeString& s, int32_t width) {
  out.Add(s);
  if (s.Length() < width) out.AddSpaces(width - s.Length());
}

int RunDate(const Args& args) {
  ExpectArgs(kCommands[0], args, 1, 2);
  UnicodeString mask = args.size() > 1 ? ArgText(args[1]) : UnicodeString();
  TDateTime d = StrtoDateFmt(ArgText(args[0]), mask);
  WriteOut((FormatDateTime(kDateTimeFormat, d) + u"\n").view());
  return kExitOk;
}

int RunNumber(const Args& args) {
  ExpectArgs(kCommands[1], args, 1, 1);
  UnicodeString text = ArgText(args[0]);
  WriteOut("iStrtoFloat: " + FormatRoundTrip(iStrtoFloat(text)) + "\n");
  double strict;
  try {
    strict = StrtoFloatCheck(text, u'.', u' ');
  } catch (const Exception& e) {
    InputError(std::string("StrtoFloatCheck: ") + e.what());
  }
  WriteOut("StrtoFloatCheck: " + FormatRoundTrip(strict) + "\n");
  return kExitOk;
}

bool IsAsciiDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

int RunTokens(const Args& args) {
  ExpectArgs(kCommands[2], args, 0, 1);
  TStringParser parser(LoadText(args.empty() ? std::string() : args[0]));
  TFastString out(16000);
  // Line and column advance with the cursor, so long texts stay linear.
  int32_t line = 1;
  const char16_t* lineStart = parser.p;
  const char16_t* counted = parser.p;
  UnicodeString word;
  for (;;) {
    parser.SkipBlanks();
    if (parser.Empty()) break;
    for (; counted < parser.p; ++counted)
      if (*counted == u'\n') {
        ++line;
        lineStart = counted + 1;
      }
    const char16_t* start = parser.p;
    out.Add(int64_t(line));
    out.AddChar(u':');
    out.Add(int64_t(start - lineStart + 1));
    out.AddChar(u'\t');
    const char16_t c = *start;
    const bool number = IsAsciiDigit(c) || ((c == u'-' || c == u'+' || c == u'.') && start + 1 < parser.pend &&
                                            IsAsciiDigit(start[1]));
    if (number) {
      int64_t i;
      long double f;
      const bool isInt = parser.ReadIntOrFloat(i, f);
      out.Add(UnicodeString(isInt ? u"int\t" : u"float\t"));
      out.Add(start, int32_t(parser.p - start));
      out.AddChar(u'\t');
      if (isInt)
        out.Add(i);
      else
        AddUtf8(out, FormatRoundTrip(double(f)));
    } else {
      parser.ReadWord(word, false);
      out.Add(UnicodeString(u"word\t"));
      out.Add(word);
    }
    out.AddChar(u'\n');
  }
  WriteOut(out.GetAsString().view());
  return kExitOk;
}

// --- Report section ------------------------------------------------------------

enum class FieldKind { Date, Number, Text };

struct ReportTotals {
  int32_t lines = 0, comments = 0, freeLines = 0, words = 0, cjk = 0;
  int32_t dates = 0, numbers = 0, texts = 0;
  double sum = 0;
  TDateTime first = 0, last = 0;
};

// "1 comment", "2 comments".
void AddCount(TFastString& out, int32_t n, std::u16string_view singular, std::u16string_view plural) {
  out.Add(int64_t(n));
  out.AddChar(u' ');
  out.Add(UnicodeString(n == 1 ? singular : plural));
}

bool IsZeroLiteral(const UnicodeString& s) {
  bool zero = false;
  for (char16_t c : s.view()) {
    if (c == u'0') zero = true;
    else if (c != u'+' && c != u'-' && c != u'.' && c != u',') return false;
  }
  return zero;
}

bool TryDate(const UnicodeString& s, TDateTime& d) {
  if (s.IsEmpty() || !IsAsciiDigit(s[0])) return false;
  try {
    d = StrtoDateFmt(s, UnicodeString());
    return d != 0;
  } catch (const Exception&) {
    return false;
  }
}

// Words as the line breaker sees them, and the CJK units among them.
void CountWords(const UnicodeString& text, ReportTotals& t, int32_t& words, int32_t& cjk) {
  TStringParser wp(text);
  UnicodeString piece;
  words = cjk = 0;
  while (wp.ReadtoWordBreak(piece)) {
    bool counted = false;
    for (char16_t c : piece.view()) {
      if (IsCJK(c)) ++cjk;
      if (!counted && c > u' ' && !IsCJK(c)) counted = true;
    }
    // A run of CJK units breaks after each unit; count them as words too.
    if (counted || HasChinese(piece)) ++words;
  }
  t.words += words;
  t.cjk += cjk;
}

bool IsFieldKey(const UnicodeString& key) {
  if (key.IsEmpty()) return false;
  for (char16_t c : key.view())
    if (!IsLetterOrDigit(c) && c != u'-' && c != u'_') return false;
  return true;
}

void ReportFoundation(const UnicodeString& text, TFastString& out) {
  ReportTotals t;
  TStringParser lines(text);
  UnicodeString line, key;
  while (lines.ReadLn(line)) {
    ++t.lines;
    line = Trim(line);
    if (line.IsEmpty()) continue;
    if (line[0] == u'#') {
      ++t.comments;
      continue;
    }
    TStringParser lp(line);
    if (!lp.ReadtoChar(u':', key, true) || !IsFieldKey(key)) {
      ++t.freeLines;
      int32_t w, c;
      CountWords(line, t, w, c);
      continue;
    }
    UnicodeString value = Trim(lp.Tail());
    out.AddSpaces(2);
    AddPadded(out, key, 10);
    double number = iStrtoFloat(value);
    TDateTime date = 0;
    if (number != 0 || IsZeroLiteral(value)) {
      ++t.numbers;
      t.sum += number;
      out.Add(UnicodeString(u"number  "));
      AddPadded(out, value, 18);
      out.Add(UnicodeString(u"-> "));
      out.Add(number, 7, true);
    } else if (TryDate(value, date)) {
      if (t.dates == 0 || date < t.first) t.first = date;
      if (t.dates == 0 || date > t.last) t.last = date;
      ++t.dates;
      out.Add(UnicodeString(u"date    "));
      AddPadded(out, value, 18);
      out.Add(UnicodeString(u"-> "));
      out.Add(FormatDateTime(kDateTimeFormat, date));
    } else {
      ++t.texts;
      int32_t w, c;
      CountWords(value, t, w, c);
      out.Add(UnicodeString(u"text    "));
      AddCount(out, w, u"word", u"words");
      if (c) {
        out.Add(UnicodeString(u", "));
        out.Add(int64_t(c));
        out.Add(UnicodeString(u" CJK"));
      }
    }
    out.AddChar(u'\n');
  }
  out.Add(UnicodeString(u"  --\n  "));
  AddCount(out, t.lines, u"line: ", u"lines: ");
  AddCount(out, t.dates + t.numbers + t.texts, u"field, ", u"fields, ");
  AddCount(out, t.freeLines, u"line of free text, ", u"lines of free text, ");
  AddCount(out, t.comments, u"comment; ", u"comments; ");
  AddCount(out, t.words, u"word, ", u"words, ");
  out.Add(int64_t(t.cjk));
  out.Add(UnicodeString(u" of them CJK\n"));
  if (t.numbers) {
    out.Add(UnicodeString(u"  numbers: "));
    out.Add(int64_t(t.numbers));
    out.Add(UnicodeString(u", sum "));
    out.Add(t.sum, 7, true);
    out.AddChar(u'\n');
  }
  if (t.dates) {
    out.Add(UnicodeString(u"  dates: "));
    out.Add(int64_t(t.dates));
    out.Add(UnicodeString(u", from "));
    out.Add(FormatDateTime(u"yyyy-mm-dd", t.first));
    out.Add(UnicodeString(u" to "));
    out.Add(FormatDateTime(u"yyyy-mm-dd", t.last));
    out.AddChar(u'\n');
  }
}

constexpr ReportSection kSections[] = {
    {"Fields, dates and numbers", ReportFoundation},
};

}  // namespace

std::span<const Command> FoundationCommands() { return kCommands; }
std::span<const ReportSection> FoundationSections() { return kSections; }

}  // namespace norvane::cli
