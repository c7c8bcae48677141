// The round trip of HTML output (print, parse, print) and the changes the
// parser and printer make to it on purpose. Shared by the round-trip test
// and the output fuzz target.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "norvane/foundation/text_utils.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/html_node.h"
#include "norvane/runtime/sysutils.h"

namespace norvane::roundtrip {

inline bool In(const UnicodeString& s, std::initializer_list<std::u16string_view> names) {
  for (std::u16string_view n : names)
    if (s.view() == n) return true;
  return false;
}

// Comments grow by two dashes a pass: "<!--" and any dashes behind it count
// as one. Blanks at the start of a document are skipped on reading.
inline std::u16string WithoutCommentGrowth(const UnicodeString& html) {
  std::u16string out;
  std::u16string_view s = html.view();
  while (!s.empty() && s[0] <= u' ') s.remove_prefix(1);
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    if (s.substr(i, 4) == u"<!--") {
      out += u"<!--";
      i += 4;
      while (i < s.size() && s[i] == u'-') ++i;
      continue;
    }
    out += s[i++];
  }
  return out;
}

// Text that isn't well-formed UTF-16: the printer takes a high surrogate
// with whatever unit follows it.
inline bool HasUnpairedSurrogate(std::u16string_view s) {
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] >= 0xD800 && s[i] <= 0xDBFF) {
      if (i + 1 >= s.size() || s[i + 1] < 0xDC00 || s[i + 1] > 0xDFFF) return true;
      ++i;
    } else if (s[i] >= 0xDC00 && s[i] <= 0xDFFF) {
      return true;
    }
  }
  return false;
}

// Whether the tokenizer reads `name`, printed bare, back as one attribute
// name: names are printed as they are, and control units, quotes, "<", ">"
// and "=" end them, as does a "/" before the ">" of the tag.
inline bool NameReadsBack(std::u16string_view name) {
  for (char16_t c : name)
    if (c < 0x21 || c == u'"' || c == u'\'' || c == u'<' || c == u'>' || c == u'=') return false;
  return name.empty() || name.back() != u'/';
}

// Which of the named cases the tree holds, or "" for none.
inline std::string NamedCase(THtNode* root) {
  for (THtNode* n = root; n; n = n->NextNode()) {
    const UnicodeString& tag = n->Tag();
    if (!n->ExistingNodes() || n->GetCount() == 0) {
      int32_t depth = 0;
      for (const THtNode* p = n; p; p = p->Parent()) ++depth;
      if (depth >= THtmlNode::MaxParseDepth - 2) return "depth limit";
    }
    const THtNode* parent = n->Parent();
    const bool element = !tag.IsEmpty() && tag != u"!" && tag != u"?";
    if (element && parent) {
      if (In(parent->Tag(), {u"table", u"tbody", u"thead", u"tfoot"}) &&
          !In(tag, {u"tbody", u"thead", u"tfoot", u"tr", u"td", u"th", u"colgroup", u"col", u"caption"}))
        return "table repair";
      if (parent->Tag() == u"tr" && !In(tag, {u"td", u"th"})) return "table repair";
    }
    if (tag == u"script" && (Trim(n->Content()) != n->Content() || AnsiStartsWith(n->Content(), u"<!--")))
      return "script body";
    if (tag == u"style" && Pos(u"<!--", n->Content().view()) > 0) return "style body";
    if (n->TagType == htCData && AnsiEndsWith(n->Content(), u"]")) return "CDATA bracket";
    if (Pos(char16_t(0x2233), n->Content().view()) > 0) return "long reference";
    if (HasUnpairedSurrogate(n->Content().view())) return "unpaired surrogate";
    if (const THtAttributes* a = n->Attributes())
      for (int32_t i = 0; i < a->Count; ++i)
        if (!NameReadsBack(a->GetName(i).view())) return "attribute name";
  }
  return "";
}

inline UnicodeString PrintParsed(const UnicodeString& text) {
  THtmlNode root;
  root.Parse(text, false);
  return root.GetOuterHTML();
}

// Prints `text` parsed, parses and prints that again. Returns "" when both
// prints agree (`named` empty) or when they differ by a named case that
// settles within a few more passes (`named` says which); otherwise a
// description of the change.
inline std::string CheckRoundTrip(const UnicodeString& text, std::string& named) {
  named.clear();
  THtmlNode first;
  first.Parse(text, false);
  const UnicodeString p1 = first.GetOuterHTML();
  const UnicodeString p2 = PrintParsed(p1);
  if (WithoutCommentGrowth(p1) == WithoutCommentGrowth(p2)) return "";
  const std::string why = NamedCase(&first);
  if (why.empty()) return "first:  " + p1.ToUtf8().substr(0, 2000) + "\n  second: " + p2.ToUtf8().substr(0, 2000);
  UnicodeString prev = p2;
  for (int pass = 0; pass < 6; ++pass) {
    UnicodeString next = PrintParsed(prev);
    if (WithoutCommentGrowth(next) == WithoutCommentGrowth(prev)) {
      named = why;
      return "";
    }
    prev = next;
  }
  return "(" + why + ") never settles: " + prev.ToUtf8().substr(0, 2000);
}

}  // namespace norvane::roundtrip
