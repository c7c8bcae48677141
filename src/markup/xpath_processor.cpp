#include "norvane/markup/xpath_processor.h"

#include "norvane/foundation/string_parser.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TXPathProcessor, "htmlpars")

namespace {

inline bool IsQuote(char16_t c) noexcept { return c == u'"' || c == u'\''; }

// Reads one condition operand: up to a blank or a comparison unit that
// stands outside quotes and brackets. Either quote opens and closes.
UnicodeString ReadOperand(TStringParser& sp) {
  const char16_t* start = sp.p;
  bool quoted = false;
  int32_t depth = 0;
  for (; sp.p < sp.pend; ++sp.p) {
    const char16_t c = *sp.p;
    if (IsQuote(c)) {
      quoted = !quoted;
    } else if (quoted) {
      continue;
    } else if (c == u'[') {
      ++depth;
    } else if (c == u']') {
      if (depth > 0) --depth;
    } else if (depth == 0 && (c <= u' ' || c == u'!' || c == u'<' || c == u'=' || c == u'>')) {
      break;
    }
  }
  return Trim(UnicodeString(start, int32_t(sp.p - start)));
}

// A quoted operand loses its first and last unit; "@name" loses the "@".
void ClassifyOperand(UnicodeString& s, bool& str, bool& attr) {
  const int32_t n = s.Length();
  if (n > 0 && IsQuote(s[0])) {
    s = n > 2 ? UnicodeString(s.Data() + 1, n - 2) : UnicodeString();
    str = true;
  } else if (n > 0 && s[0] == u'@') {
    s = UnicodeString(s.Data() + 1, n - 1);
    attr = true;
  }
}

void AddIndex(TXPathNode& step, int32_t index) {
  TXCondition& c = step.Conditions.emplace_back();
  c.ctype = ctIndex;
  c.index = index;
}

}  // namespace

TXPathProcessor::TXPathProcessor(const UnicodeString& path) {
  const std::u16string_view text = path.view();
  size_t pos = 0;
  if (pos < text.size() && text[pos] == u'/') {
    Root = true;
    ++pos;
  }
  if (text.substr(pos, 2) == u"./") pos += 2;
  while (pos < text.size()) ExtractPathPart(text, pos);
  // Linked only now: the array may move while it grows.
  for (size_t i = 0; i < Nodes.size(); ++i) {
    Nodes[i].Processor = this;
    Nodes[i].Next = i + 1 < Nodes.size() ? &Nodes[i + 1] : nullptr;
  }
}

void TXPathProcessor::ExtractPathPart(std::u16string_view text, size_t& pos) {
  TXPathNode& step = Nodes.emplace_back();
  // The first "/" of "//" went with the step before.
  if (text[pos] == u'/') {
    step.All = true;
    ++pos;
  }
  const size_t start = pos;
  size_t bracket = std::u16string_view::npos;
  bool quoted = false;
  int32_t depth = 0;
  for (; pos < text.size(); ++pos) {
    const char16_t c = text[pos];
    if (IsQuote(c)) {
      quoted = !quoted;
    } else if (quoted) {
      continue;
    } else if (c == u'[') {
      if (bracket == std::u16string_view::npos) bracket = pos;
      ++depth;
    } else if (c == u']') {
      if (depth > 0) --depth;
    } else if (c == u'/' && depth == 0) {
      break;
    }
  }
  if (bracket != std::u16string_view::npos) {
    step.Tag = UnicodeString(text.substr(start, bracket - start));
    // Up to one unit before the step's end, which is normally the "]".
    const size_t from = bracket + 1;
    if (pos > from + 1) ParseConditions(step, UnicodeString(text.substr(from, pos - 1 - from)));
  } else {
    step.Tag = UnicodeString(text.substr(start, pos - start));
  }

  const std::u16string_view tag = step.Tag.view();
  if (tag == u"*") {
    step.Kind = xkAsterisk;
  } else if (tag == u"..") {
    step.Kind = xkParent;
  } else if (SameText(tag, u"current")) {
    step.Kind = xkCurrent;
  } else if (tag == u"text()") {
    step.Tag.Clear();
  } else if (!tag.empty() && tag[0] == u'@') {
    step.Kind = xkAttr;
    step.Tag = UnicodeString(tag.substr(1));
  }
  if (pos < text.size() && text[pos] == u'/') ++pos;
}

void TXPathProcessor::ParseConditions(TXPathNode& step, const UnicodeString& text) {
  int32_t index = 0;
  if (text.Length() > 0 && char16_t(text[0] - u'0') < 10 && TryStrToInt(text.view(), index)) {
    AddIndex(step, index);
    return;
  }
  if (SameText(text.view(), u"last()")) {
    AddIndex(step, -1);
    return;
  }
  TStringParser sp(text);
  for (;;) {
    sp.SkipBlanks();
    if (sp.Empty()) break;
    const char16_t* before = sp.p;
    TXCondition& cond = step.Conditions.emplace_back();
    if (sp.StartsWith(u"and ")) {
      sp.Skip(4);
      sp.SkipBlanks();
      if (sp.StartsWith(u"not ")) {
        sp.Skip(4);
        cond.Op = boNot;
      }
    } else if (sp.StartsWith(u"not ")) {
      sp.Skip(4);
      cond.Op = boNot;
    } else if (sp.StartsWith(u"or ")) {
      sp.Skip(3);
      cond.Op = boOr;
    }
    sp.SkipBlanks();
    cond.left = ReadOperand(sp);
    ClassifyOperand(cond.left, cond.leftstr, cond.leftattr);
    sp.SkipBlanks();
    bool hasOperator = true;
    switch (sp.GetCurrent()) {
      case u'!':
        cond.ctype = ctNotEQ;
        sp.Skip(2);  // its "=" goes unread
        break;
      case u'<':
        sp.Skip(1);
        if (sp.GetCurrent() == u'=') {
          cond.ctype = ctLessEQ;
          sp.Skip(1);
        } else {
          cond.ctype = ctLess;
        }
        break;
      case u'=':
        cond.ctype = ctEQ;
        sp.Skip(1);
        break;
      case u'>':
        sp.Skip(1);
        // Without "=" it compares as "<": existing paths depend on it.
        if (sp.GetCurrent() == u'=') {
          cond.ctype = ctAboveEQ;
          sp.Skip(1);
        } else {
          cond.ctype = ctLess;
        }
        break;
      default:
        hasOperator = false;
    }
    if (hasOperator) {
      sp.SkipBlanks();
      cond.right = ReadOperand(sp);
      ClassifyOperand(cond.right, cond.rightstr, cond.rightattr);
    }
    // Every round consumes something, so odd text can't stall the loop.
    if (sp.p == before) sp.Skip(1);
  }
}

}  // namespace norvane
