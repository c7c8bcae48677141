// Reads arbitrary text as XML items twice, through the parser's XML shortcut
// and through its token loop, and requires the same items and the same error.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "../tests/markup/xml_items.h"

using namespace norvane;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const UnicodeString text = UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  if (testcheck::XmlItems(text, true) != testcheck::XmlItems(text, false)) std::abort();
  return 0;
}
