// Walks a JSON document through the public tokenizer and name/value step
// the way the tree builder reads it, without building a tree, and reports
// how a read ends. The tree must end the same way for every input.
#pragma once

#include <string>
#include <vector>

#include "norvane/markup/json_tokenizer.h"
#include "norvane/markup/xml_node.h"
#include "norvane/runtime/exception.h"

namespace norvane::testcheck {

// Walks a document the way the tree builder reads it, without a tree: every
// pair and item down every level, with an explicit stack. Raises what the
// builder would; otherwise returns normally.
inline const char16_t* const kTokenExpected = u"Incorrect JSON, token expected.";
inline const char16_t* const kAfterComma = u"Name/Value expected after comma";

[[noreturn]] inline void Fail(const char16_t* message) { throw EHtJSONParserException(UnicodeString(message)); }

// From the current token to the end of the value it starts.
inline void WalkValue(THtJSONParser& parser) {
  THtJSONTokenizer& t = *parser.Tokenizer;
  THtJSONTokenType v = t.Token.CType;
  if (v == jtString || v == jtValue || v == jtInt || v == jtFloat) return;
  if (v != jtObjectStart && v != jtArrayStart) Fail(kTokenExpected);
  std::vector<bool> stack;  // true: an array
  const auto end = [&] { return stack.back() ? jtArrayEnd : jtObjectEnd; };
  // One item at the current token; true when it opens a level.
  const auto item = [&] {
    const THtJSONTokenType ct = t.Token.CType;
    if (stack.back()) {
      if (ct != jtString && ct != jtValue && ct != jtInt && ct != jtFloat && ct != jtObjectStart &&
          ct != jtArrayStart)
        Fail(kTokenExpected);
      v = ct;
    } else {
      if (ct != jtIdent && ct != jtString) Fail(kTokenExpected);
      v = parser.NextNameValue();
      if (parser.Name.IsEmpty()) Fail(kTokenExpected);  // the builder has no tag for it
    }
    return v == jtObjectStart || v == jtArrayStart;
  };
  // True when the last level closed.
  const auto close = [&] {
    stack.pop_back();
    --parser.Level;
    return stack.empty();
  };
  for (bool open = true;;) {
    if (open) {  // at "{" or "["
      if (!t.NextNSToken()) Fail(kTokenExpected);
      ++parser.Level;
      stack.push_back(v == jtArrayStart);
      if (t.Token.CType == end()) {
        if (close()) return;
        open = false;
      } else {
        open = item();
      }
      if (open) continue;
    }
    // Behind an item or a closed level: the end of this level, or a comma
    // and another item.
    if (!t.NextNSToken()) Fail(kTokenExpected);
    if (t.Token.CType == end()) {
      if (close()) return;
      continue;
    }
    if (t.Token.CType != jtComma) Fail(kTokenExpected);
    if (!t.NextNSToken() || t.Token.CType == end()) Fail(stack.back() ? kTokenExpected : kAfterComma);
    open = item();
  }
}

inline void Walk(const UnicodeString& text) {
  THtJSONParser parser(text);
  if (!parser.Tokenizer || !parser.Tokenizer->NextNSToken()) Fail(u"JSON is empty");
  THtJSONTokenizer& t = *parser.Tokenizer;
  WalkValue(parser);
  // Behind the document: nothing, or more objects after commas.
  while (t.NextNSToken()) {
    if (t.Token.CType != jtComma || !t.NextNSToken() || t.Token.CType != jtObjectStart)
      Fail(u"JSON is not terminated properly");
    WalkValue(parser);
  }
}

// "" when the read succeeds, else the class and message of its error.
template <class Read>
std::string Outcome(Read read) {
  try {
    read();
  } catch (const Exception& e) {
    return std::string(e.ClassName().ToUtf8()) + ": " + e.what();
  }
  return "";
}

inline const std::string kTooDeep = "EHtJSONParserException: JSON contains too many nested nodes";

inline std::string WalkOutcome(const UnicodeString& text) {
  return Outcome([&] { Walk(text); });
}

inline std::string TreeOutcome(const UnicodeString& text) {
  return Outcome([&] { THtXMLNode doc(text, 0); });
}

}  // namespace norvane::testcheck
