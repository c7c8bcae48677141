// CSS commands: style sheets (rules written back, compiled longhands,
// minified text, the token stream) and measures.
#include <cstdlib>
#include <string>

#include "cli_common.h"
#include "norvane/css/css_measure.h"
#include "norvane/css/css_style_sheet.h"
#include "norvane/css/css_tokenizer.h"
#include "norvane/foundation/fast_string.h"

namespace norvane::cli {
namespace {

int RunCss(const Args& args);
int RunMeasure(const Args& args);

constexpr Command kCommands[] = {
    {"css", "[--tokens | --compiled | --minify] [FILE|-]", "parse a style sheet and write it back",
     "Without an option, parses the sheet and prints it back rule by rule: imports,\n"
     "rules grouped by their @media, then @keyframes. What the parser dropped\n"
     "(declarations it can't read, rules it skipped) is gone; the text reads back\n"
     "to the same rules.\n"
     "--compiled prints each rule's selectors on a line, then the longhands it\n"
     "compiles to, one a line as '  name: value', with '!important' where set;\n"
     "vendor-prefixed and unknown properties don't compile. Rules of @keyframes\n"
     "follow under '@keyframes NAME'.\n"
     "--minify prints the sheet with no blank that can go.\n"
     "--tokens prints one token a line as TYPE<TAB>TEXT, and for numbers,\n"
     "percentages and dimensions also <TAB>VALUE<TAB>UNIT.\n"
     "  echo 'a{margin:0 auto}' | norvane css --compiled -\n",
     RunCss, "--tokens --compiled --minify"},
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

void AddCompiledSection(TFastString& out, const TCSSSection& s) {
  for (int32_t i = 0; i < s.Selectors->Count(); ++i) {
    if (i) out.Add(UnicodeString(u", "));
    out.Add(s.Selectors->GetSelector(i)->AsString());
  }
  out.AddChar(u'\n');
  for (const TCSSValue& v : s.CompiledValues) {
    out.Add(UnicodeString(u"  "));
    out.Add(v.Name);
    out.Add(UnicodeString(u": "));
    out.Add(CSSTokensToString(v.Tokens));
    if (v.Important) out.Add(UnicodeString(u" !important"));
    out.AddChar(u'\n');
  }
}

int RunSheet(const UnicodeString& text, bool compiled, bool minify) {
  TCSSStyleSheet sheet;
  sheet.Parse(text);
  if (!compiled) {
    UnicodeString result = minify ? sheet.Minify() : sheet.AsString();
    WriteOut(result.view());
    if (minify && !result.IsEmpty()) WriteOut(std::string_view("\n"));
    return kExitOk;
  }
  TFastString out(65536);
  for (int32_t i = 0; i < sheet.SectionCount(); ++i) {
    const TCSSSection* s = sheet.GetSection(i);
    if (s->MediaSet != DefaultCSSMediaSet()) {
      out.Add(s->MediaSet->AsString());
      out.AddChar(u' ');
    }
    AddCompiledSection(out, *s);
  }
  const THtObjectList& lists = sheet.KeyFrames->Lists();
  for (int32_t i = 0; i < lists.Count(); ++i) {
    auto* list = static_cast<TCSSKeyFrameList*>(lists.Get(i));
    out.Add(UnicodeString(u"@keyframes "));
    out.Add(list->Name);
    out.AddChar(u'\n');
    const TCSSSection* last = nullptr;
    for (int32_t k = 0; k < list->Count(); ++k) {
      if (list->GetSection(k) == last) continue;
      last = list->GetSection(k);
      AddCompiledSection(out, *last);
    }
  }
  WriteOut(out.GetAsString().view());
  return kExitOk;
}

int RunCss(const Args& args) {
  Args rest = args;
  const bool tokens = TakeFlag(rest, "--tokens");
  const bool compiled = TakeFlag(rest, "--compiled");
  const bool minify = TakeFlag(rest, "--minify");
  if (int(tokens) + int(compiled) + int(minify) > 1) UsageError("css: --tokens, --compiled and --minify exclude each other");
  ExpectArgs(kCommands[0], rest, 0, 1);
  const UnicodeString text = LoadText(rest.empty() ? std::string("-") : rest[0]);
  if (!tokens) return RunSheet(text, compiled, minify);
  TCSSTokenizer tokenizer(text);
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
