// The repairing parser in HTML mode must take any input; the strict mode
// may only raise its own parser error.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "norvane/markup/html_node.h"
#include "norvane/markup/html_parser.h"
#include "norvane/markup/markup_errors.h"

using namespace norvane;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Bytes as units, the way hosts hand over text of unknown encoding, so
  // that byte-order marks and meta charsets take effect.
  const UnicodeString text = UnicodeString::FromLatin1(std::string_view(reinterpret_cast<const char*>(data), size));
  {
    THtmlNode root;
    root.Parse(text, false);
  }
  {
    THtmlNode root;
    root.Parse(UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size)), true);
  }
  try {
    THtmlNode root;
    THtmlParser parser(text, true);
    parser.SetCaseSensitive(true);
    root.InternalParse(&parser);
  } catch (const EHtmlParserException&) {
  }
  return 0;
}
