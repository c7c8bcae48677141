// Dumps the items a case-sensitive XML-mode parser reads from a text, one
// line each, with the error that ends them, if any. The XML shortcut of the
// parser and its token loop must give the same dump for every input.
#pragma once

#include <string>

#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/html_parser.h"
#include "norvane/runtime/exception.h"

namespace norvane::testcheck {

inline std::string XmlItems(const UnicodeString& text, bool fast) {
  std::string out;
  try {
    THtmlParser parser(text, true);
    parser.SetCaseSensitive(true);
    parser.FastXML = fast;
    while (parser.NextItem()) {
      out += std::to_string(int(parser.TagType)) + " " + std::to_string(parser.StartPos) + " <" +
             parser.Tag.ToUtf8() + "> " + (parser.IsCloseTag ? "close " : "") +
             (parser.TagClosed ? "closed " : "") + "[" + parser.Value.ToUtf8() + "]";
      if (parser.Attributes)
        for (int32_t i = 0; i < parser.Attributes->Count; ++i)
          out += " " + parser.Attributes->GetName(i).ToUtf8() + "=" + parser.Attributes->GetValue(i).ToUtf8();
      out += "\n";
    }
  } catch (const Exception& e) {
    out += "error: " + e.Message().ToUtf8() + "\n";
  }
  return out;
}

}  // namespace norvane::testcheck
