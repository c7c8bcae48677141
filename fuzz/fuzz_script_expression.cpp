// Parses and compiles arbitrary expression text, and runs what parsed.
// Only the script engine's own errors and the runtime's conversion and
// arithmetic errors may escape; anything else (a crash, a leak, another
// exception) is a finding. Texts that could run long or allocate without
// bound (Eval of an arbitrary script, SetLength, Format widths) are parsed
// and compiled but not run.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "norvane/runtime/sysutils.h"
#include "norvane/runtime/variant.h"
#include "norvane/script/script_errors.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_magic.h"

using namespace norvane;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  static bool quiet = [] {
    SetScriptOutput([](const UnicodeString&) {});
    return true;
  }();
  (void)quiet;
  const UnicodeString text = UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  const UnicodeString lower = LowerCase(text);
  const bool runnable = Pos(u"eval", lower) == 0 && Pos(u"setlength", lower) == 0 && Pos(u"format", lower) == 0 &&
                        Pos(u"function", lower) == 0 && Pos(u"procedure", lower) == 0;
  TScriptExpression e;
  try {
    e.Parse(text);
    e.Compile(nullptr);
    (void)e.AsString();
    if (runnable) {
      Variant r;
      e.Calc(r);
      (void)VarToStr(r.IsArray() ? Variant() : r);
    }
  } catch (const EHtScriptException&) {
  } catch (const EVariantError&) {
  } catch (const EConvertError&) {
  } catch (const EIntError&) {
  } catch (const EMathError&) {
  }
  return 0;
}
