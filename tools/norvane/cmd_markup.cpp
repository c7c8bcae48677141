// Markup commands: HTML parsed and printed back (or its tokens), colour names.
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "cli_common.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/markup/html_colors.h"
#include "norvane/markup/html_node.h"
#include "norvane/markup/html_parser.h"
#include "norvane/markup/html_tokenizer.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/runtime/sysutils.h"

namespace norvane::cli {
namespace {

int RunHtml(const Args& args);
int RunColor(const Args& args);

constexpr Command kCommands[] = {
    {"html", "[--outer | --inner | --formatted | --text | --raw-text | --tokens] [FILE|-]",
     "parse an HTML text and print it back, or its text or tokens",
     "Reads FILE (\"-\" for standard input) as a host would: a byte-order mark,\n"
     "the shape of UTF-8 or a declared charset decides the encoding, and a meta\n"
     "charset in the document is honoured. The document is parsed with its\n"
     "repairs and printed in UTF-8:\n"
     "  --outer      the HTML of the whole tree (the default)\n"
     "  --inner      the HTML of the root's children\n"
     "  --formatted  the HTML laid out, two blanks a level, CR LF line breaks\n"
     "  --text       the text a reader would see (CR LF between blocks)\n"
     "  --raw-text   the text of all text nodes, nothing added\n"
     "  --tokens     one token a line as TYPE<TAB>NAME, control characters of\n"
     "               NAME written as \\n, \\r, \\t and \\\\; nothing is parsed\n",
     RunHtml, "--outer --inner --formatted --text --raw-text --tokens"},
    {"color", "TEXT", "read a colour name, system colour or hexadecimal colour",
     "Prints the colour TEXT stands for as eight hexadecimal digits (ARGB) and\n"
     "then the colour written back as text. 00000001 means TEXT is no colour,\n"
     "00FFFFFF is \"transparent\" and 1FFFFFFF is \"none\".\n"
     "  norvane color red      -> FFFF0000  #ff0000\n"
     "  norvane color '#0f0'   -> FF00FF00  #00ff00\n",
     RunColor},
};

int PrintTokens(const UnicodeString& text) {
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

// Bytes to text the way a host hands a document to the parser: the
// encoding test of the parser decides; text of no known encoding comes in
// through the system code page, and a meta charset re-decodes it later.
UnicodeString DecodeDocument(const std::string& bytes) {
  uint32_t codepage = 0;
  switch (THtmlParser::GetBufferEncoding(bytes, codepage)) {
    case heUTF8:
      return DecodeText(bytes);
    case heUTF16: {
      if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return DecodeText(bytes);
      const bool bigEndian = !bytes.empty() && bytes[0] == '\0';
      return DecodeCodePage(bytes, bigEndian ? 1201 : 1200);
    }
    default:
      return DecodeCodePage(bytes, SystemCodePage());
  }
}

int RunHtml(const Args& args) {
  const Command& cmd = kCommands[0];
  Args rest = args;
  int mode = 0;
  int chosen = 0;
  static constexpr std::string_view kModes[] = {"--outer", "--inner", "--formatted", "--text", "--raw-text", "--tokens"};
  for (int i = 0; i < int(std::size(kModes)); ++i)
    if (TakeFlag(rest, kModes[i])) {
      mode = i;
      ++chosen;
    }
  if (chosen > 1) UsageError("html: choose one of --outer, --inner, --formatted, --text, --raw-text, --tokens");
  ExpectArgs(cmd, rest, 0, 1);
  const std::string path = rest.empty() ? std::string("-") : rest[0];
  if (mode == 5) return PrintTokens(LoadText(path));

  THtmlNode root;
  root.Parse(DecodeDocument(ReadInputBytes(path)), false);
  UnicodeString result;
  switch (mode) {
    case 1: result = root.GetInnerHTML(); break;
    case 2: {
      TFastString out(65536);
      bool newLine = false;
      root.FastFormattedHTML(&out, 0, 2, newLine);
      result = out.GetAsString();
      break;
    }
    case 3: result = root.GetInnerText(); break;
    case 4: result = root.GetRawInnerText(); break;
    default: result = root.GetOuterHTML(); break;
  }
  WriteOut(result.view());
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
