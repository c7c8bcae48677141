// Exceptions of the markup readers. HTML parsing repairs rather than
// reports; these come from the strict (XML) mode.
#pragma once

#include "norvane/runtime/exception.h"

namespace norvane {

NV_EXCEPTION(EHtmlParserException, Exception)
// Errors of the XML readers: the XML tree and the SAX parser (class record
// in sax_xml_parser.cpp).
NV_EXCEPTION(EHtXML, Exception)

}  // namespace norvane
