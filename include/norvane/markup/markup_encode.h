// Text encoders for XML and JSON output.
//
// XMLEncode makes text safe inside element content and double-quoted
// attribute values: "&", "<", ">" and the double quote become entity
// references, and control units other than tab, LF and CR become numeric
// references (the tree parser reads them back). Everything else, non-ASCII
// included, stays as it is.
//
// JSONEncode makes text safe between the double quotes of a JSON string:
// the quote and the backslash are escaped, control units become \b, \f, \n,
// \r, \t or \u00XX, and a lone surrogate becomes \uXXXX so that the text
// stays valid when written as UTF-8. No quotes are added: callers (the JSON
// writer, templates in JSON mode) write their own.
//
// Both return the very same string, without allocating, when nothing needs
// encoding. The Fast forms append to a builder.
#pragma once

#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TFastString;

UnicodeString XMLEncode(const UnicodeString& text);
void FastXMLEncode(TFastString* out, const UnicodeString& text);
UnicodeString JSONEncode(const UnicodeString& text);
void FastJSONEncode(TFastString* out, const UnicodeString& text);

}  // namespace norvane
