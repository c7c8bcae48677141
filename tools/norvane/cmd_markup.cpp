// Markup commands: the HTML token stream and colour names.
#include <cstdio>
#include <string>

#include "cli_common.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/markup/html_colors.h"
#include "norvane/markup/html_tokenizer.h"
#include "norvane/markup/markup_errors.h"

namespace norvane::cli {
namespace {

int RunHtml(const Args& args);
int RunColor(const Args& args);

constexpr Command kCommands[] = {
    {"html", "--tokens [FILE|-]", "list the tokens of an HTML text",
     "Reads FILE (\"-\" for standard input) as a host would (UTF-8, or UTF-16\n"
     "with a byte-order mark) and prints one token a line as TYPE<TAB>NAME, with\n"
     "control characters of NAME written as \\n, \\r, \\t and \\\\. Character\n"
     "references are decoded inside text and quoted values; the raw bodies of\n"
     "script and style elements come as one token each.\n",
     RunHtml, "--tokens"},
    {"color", "TEXT", "read a colour name, system colour or hexadecimal colour",
     "Prints the colour TEXT stands for as eight hexadecimal digits (ARGB) and\n"
     "then the colour written back as text. 00000001 means TEXT is no colour,\n"
     "00FFFFFF is \"transparent\" and 1FFFFFFF is \"none\".\n"
     "  norvane color red      -> FFFF0000  #ff0000\n"
     "  norvane color '#0f0'   -> FF00FF00  #00ff00\n",
     RunColor},
};

int RunHtml(const Args& args) {
  const Command& cmd = kCommands[0];
  Args rest = args;
  const bool tokens = TakeFlag(rest, "--tokens");
  if (!tokens) UsageError("html: say what to print: --tokens");
  ExpectArgs(cmd, rest, 0, 1);
  UnicodeString text = LoadText(rest.empty() ? std::string("-") : rest[0]);
  THTMLTokenizer tokenizer(text, false);
  TFastString out(65536);
  THTMLTokenType last = htUnknown;
  for (;;) {
    // A quoted value is read as one token only where one may follow "=".
    bool more = tokenizer.NextToken(last == htEq);
    if (!more && tokenizer.Eof) break;
    const THTMLToken& t = tokenizer.Token;
    out.Add(EnumInfo(t.CType).Name(t.CType));
    out.AddChar(u'\t');
    AddEscaped(out, t.Name);
    out.AddChar(u'\n');
    last = t.CType;
    if (!more) break;
  }
  WriteOut(out.GetAsString().view());
  return kExitOk;
}

std::string Hex8(uint32_t v) {
  char buf[9];
  std::snprintf(buf, sizeof buf, "%08X", v);
  return buf;
}

int RunColor(const Args& args) {
  ExpectArgs(kCommands[1], args, 1, 1);
  uint32_t color = htmlHextoColor(ArgText(args[0]));
  WriteOut(std::string_view(Hex8(color) + "\t" + htmlColortoStr(color).ToUtf8() + "\n"));
  return color == 1 ? kExitFailure : kExitOk;
}

}  // namespace

std::span<const Command> MarkupCommands() { return kCommands; }

}  // namespace norvane::cli
