// Parses and compiles arbitrary text as a script, once strictly and once in
// tolerant mode. Only EHtScriptException and the runtime's Exception family
// may escape a strict parse; a tolerant parse reports through warnings and
// may raise only for what tolerance doesn't cover. Scripts are not run:
// an arbitrary text could loop for ever.
#include <cstdint>
#include <string_view>

#include "norvane/script/script_parser.h"

using namespace norvane;

namespace {

void Parse(const UnicodeString& text, bool tolerant) {
  THtScriptParser parser(text);
  parser.TolerantMode = tolerant;
  try {
    parser.Parse();
    parser.Compile();
    (void)parser.AllWarnings();
  } catch (const Exception&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 1 << 16) return 0;
  UnicodeString text = UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  Parse(text, false);
  Parse(text, true);
  return 0;
}
