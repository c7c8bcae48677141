// Style sheet text through the parser and the sheet: parse, write back,
// parse again, minify. Beyond the sanitizers, checks that what a sheet
// writes reads back to a sheet that writes the same text, in both forms,
// and that an inline reading of the same text doesn't fail.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "norvane/css/css_style_sheet.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 64 * 1024) return 0;
  const UnicodeString text = UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  TCSSStyleSheet sheet;
  sheet.Parse(text);
  const UnicodeString written = sheet.AsString();
  const UnicodeString minified = sheet.Minify();
  TCSSStyleSheet again;
  again.Parse(written);
  Check(again.AsString() == written);
  TCSSStyleSheet fromMin;
  fromMin.Parse(minified);
  Check(fromMin.AsString() == written);
  Check(fromMin.Minify() == minified);
  sheet.TestMediaSets(cmPrint, 800, 0);
  (void)sheet.AsInlineString();
  TCSSStyleSheet inl;
  inl.ParseValues(text);
  (void)inl.AsInlineString();
  return 0;
}
