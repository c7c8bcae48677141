// Exceptions of the markup readers. HTML parsing repairs rather than
// reports; these come from the strict (XML) mode.
#pragma once

#include "norvane/runtime/exception.h"

namespace norvane {

NV_EXCEPTION(EHtmlParserException, Exception)

}  // namespace norvane
