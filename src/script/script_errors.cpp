#include "norvane/script/script_errors.h"

namespace norvane {

NV_CLASS_IMPL(EHtScriptException, "htscriptparse")

}  // namespace norvane
