// Writing parsed style sheet pieces back as CSS text, shared by the rule,
// the media set and the style sheet. Every form reads back to the same
// tokens: names that hold characters the tokenizer would split on are
// escaped, strings are quoted.
#pragma once

#include <string>
#include <string_view>

#include "norvane/css/css_section.h"

namespace norvane::css_text {

enum TTextMode {
  kCompact,   // "name:value;" as CSSValuetoString writes it
  kPretty,    // "name: value;" with blanks between the tokens
  kMinified,  // blanks only where two tokens would otherwise run together
};

// An identifier, escaped where needed.
void AddName(std::u16string& out, std::u16string_view name);
// A string in single quotes.
void AddQuoted(std::u16string& out, std::u16string_view text);
// The tokens of a value.
void AddTokensText(std::u16string& out, const TCSSTokens& tokens, TTextMode mode);
// One declaration with its ";".
void AddValueText(std::u16string& out, const TCSSValue& value, TTextMode mode);
// A rule: selectors, "{", its declarations, "}". `indent` goes before each
// line of a pretty rule.
void AddSectionText(std::u16string& out, const TCSSSection& section, TTextMode mode, std::u16string_view indent);

}  // namespace norvane::css_text
