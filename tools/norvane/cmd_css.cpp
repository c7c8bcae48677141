// CSS commands: the token stream of a style sheet and measures.
#include <cstdlib>
#include <string>

#include "cli_common.h"
#include "norvane/css/css_measure.h"
#include "norvane/css/css_tokenizer.h"
#include "norvane/foundation/fast_string.h"

namespace norvane::cli {
namespace {

int RunCss(const Args& args);
int RunMeasure(const Args& args);

constexpr Command kCommands[] = {
    {"css", "--tokens [FILE|-]", "list the tokens of a style sheet",
     "Prints one token a line as TYPE<TAB>TEXT, and for numbers, percentages and\n"
     "dimensions also <TAB>VALUE<TAB>UNIT. Comments, escapes, url() and the units\n"
     "of numbers are settled by the tokenizer.\n",
     RunCss, "--tokens"},
    {"measure", "TEXT [--font-size N] [--parent N] [--zoom Z]", "turn a CSS length into pixels",
     "Reads TEXT as a CSS value through the tokenizer (so calc() works) and prints\n"
     "GetPixels (zoomed, rounded), GetFPixels (unzoomed) and AsString, one a line.\n"
     "--font-size is the element's font size in pixels (default 16), --parent what\n"
     "100% stands for (default 0), --zoom the style's zoom (default 1).\n"
     "  norvane measure 2em                -> 32, 32, 2em\n"
     "  norvane measure 'calc(50% + 10px)' --parent 200\n",
     RunMeasure, "--font-size --parent --zoom"},
};

void AddUtf8(TFastString& out, std::string_view s) { out.Add(UnicodeString::FromUtf8(s)); }

int RunCss(const Args& args) {
  Args rest = args;
  const bool tokens = TakeFlag(rest, "--tokens");
  if (!tokens) UsageError("css: say what to print: --tokens");
  ExpectArgs(kCommands[0], rest, 0, 1);
  TCSSTokenizer tokenizer(LoadText(rest.empty() ? std::string("-") : rest[0]));
  TFastString out(65536);
  for (;;) {
    bool more = tokenizer.NextToken();
    if (!more && tokenizer.Eof) break;
    const TCSSToken& t = tokenizer.Token;
    out.Add(EnumInfo(t.CType).Name(t.CType));
    out.AddChar(u'\t');
    AddEscaped(out, t.Name);
    if (t.CType == ctNumber || t.CType == ctPercentage || t.CType == ctDimension) {
      out.AddChar(u'\t');
      AddUtf8(out, FormatRoundTrip(t.AsFloat));
      out.AddChar(u'\t');
      out.Add(EnumInfo(t.MUnit).Name(t.MUnit));
    }
    out.AddChar(u'\n');
  }
  WriteOut(out.GetAsString().view());
  return kExitOk;
}

// A style with just what a measure asks of it.
class CliStyle : public TMeasureStyle {
 public:
  float fontSize = 16, zoom = 1;
  float GetIntFontSize() const noexcept override { return fontSize; }
  float GetZoom() const noexcept override { return zoom; }
  const TMeasure* GetRootFontSize() const noexcept override { return nullptr; }
  TMeasureViewport GetViewport() const noexcept override { return {}; }
};

float NumberOption(const std::string& name, const std::string& value) {
  char* end = nullptr;
  float v = std::strtof(value.c_str(), &end);
  if (value.empty() || *end) UsageError("measure: " + name + " wants a number, not '" + value + "'");
  return v;
}

int RunMeasure(const Args& args) {
  CliStyle style;
  float parent = 0;
  Args rest;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--font-size" || a == "--parent" || a == "--zoom") {
      if (i + 1 >= args.size()) UsageError("measure: " + a + " wants a value");
      float v = NumberOption(a, args[++i]);
      (a == "--font-size" ? style.fontSize : a == "--parent" ? parent : style.zoom) = v;
    } else if (a.size() > 1 && a[0] == '-' && !(a[1] >= '0' && a[1] <= '9') && a[1] != '.') {
      UsageError("measure: unknown option '" + a + "'");
    } else {
      rest.push_back(a);
    }
  }
  ExpectArgs(kCommands[1], rest, 1, 1);
  TCSSTokenizer tokenizer(ArgText(rest[0]));
  TCSSTokens tokens;
  for (;;) {
    bool more = tokenizer.NextToken();
    if (!more && tokenizer.Eof) break;
    if (tokenizer.Token.CType != ctSpace && tokenizer.Token.CType != ctComment) tokens.Add(tokenizer.Token);
  }
  if (tokens.Empty()) InputError("measure: no value in '" + rest[0] + "'");
  TCSSTokenSequence seq;
  seq.Init(&tokens);
  TMeasure m;
  m.Init(&style);
  m.Parent = &parent;
  m.Decode(seq);
  // In this order: evaluating a calc() leaves its result for AsString.
  std::string text = std::to_string(m.GetPixels()) + "\n";
  text += FormatRoundTrip(m.GetFPixels()) + "\n";
  text += m.AsString().ToUtf8() + "\n";
  WriteOut(std::string_view(text));
  return kExitOk;
}

}  // namespace

std::span<const Command> CssCommands() { return kCommands; }

}  // namespace norvane::cli
