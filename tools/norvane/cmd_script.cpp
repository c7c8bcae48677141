// Script commands: run a script, or only check that it parses and compiles.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "cli_common.h"
#include "norvane/runtime/sysutils.h"
#include "norvane/script/script_magic.h"
#include "norvane/script/script_parser.h"

namespace norvane::cli {
namespace {

int RunScript(const Args& args);

constexpr Command kCommands[] = {
    {"run", "[--tolerant] [--check] [FILE|-]", "parse, compile and run a script",
     "Reads the script from FILE (\"-\" or nothing: standard input), parses and\n"
     "compiles it, and runs it. Write and Writeln print on standard output;\n"
     "warnings go to standard error. A failure prints its message, line and\n"
     "position on standard error and exits 1.\n"
     "A unit named in `uses` is read from NAME.pas beside the script (the\n"
     "current folder for standard input).\n"
     "  --check     only parse and compile, printing warnings\n"
     "  --tolerant  collect parse errors as warnings (as an editor would) and\n"
     "              report them all; the script runs only if there were none\n",
     RunScript, "--tolerant --check"},
};

void Err(const std::string& line) {
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fputc('\n', stderr);
}

// Prints the warnings of every unit; answers the count of errors among them.
int PrintWarnings(const THtScriptParser& parser) {
  int errors = 0;
  static const char* kKinds[] = {"error", "warning", "hint"};
  for (THtScriptWarning* w : parser.AllWarnings()) {
    errors += w->WarningType == swtError;
    Err(std::string(kKinds[w->WarningType]) + ": " + w->Message.ToUtf8() + " (line " +
        std::to_string(w->SourceLine + 1) + ", position " + std::to_string(w->SourcePos) + ")");
  }
  return errors;
}

void PrintFailure(const THtScriptParser& parser, const Exception& e) {
  std::string msg = StringReplace(e.Message(), u"\r\n", u"\n", ReplaceFlags::ReplaceAll).ToUtf8();
  if (const auto* se = dynamic_cast<const EHtScriptException*>(&e)) {
    std::string where = "  line " + std::to_string(se->Line + 1) + ", position " + std::to_string(se->SourcePos);
    if (!se->ScriptUnit.IsEmpty() && se->ScriptUnit != u"Program") where += ", unit " + se->ScriptUnit.ToUtf8();
    Err(msg);
    UnicodeString line = Trim(se->LastLineText);
    if (line.Length() > 200) line = Copy(line, 1, 200) + u"...";
    Err(where + ": " + line.ToUtf8());
    return;
  }
  // A host error: the parser knows where the script stood.
  Err(e.ClassName().ToUtf8() + ": " + msg);
  if (parser.ExceptionLine > 0)
    Err("  line " + std::to_string(parser.ExceptionLine) + ": " + Trim(parser.ExceptionLineText).ToUtf8());
  if (!parser.ExceptionStack.IsEmpty()) Err(StringReplace(parser.ExceptionStack, u"\r\n", u"\n", ReplaceFlags::ReplaceAll).ToUtf8());
}

int RunScript(const Args& args) {
  Args rest = args;
  const bool tolerant = TakeFlag(rest, "--tolerant");
  const bool check = TakeFlag(rest, "--check");
  ExpectArgs(kCommands[0], rest, 0, 1);
  UnicodeString text = LoadText(rest.empty() ? std::string("-") : rest[0]);

  std::string out;
  SetScriptOutput([&out](const UnicodeString& s) {
    AppendUtf8(out, s.view());
    if (out.size() >= 8192) {
      std::fwrite(out.data(), 1, out.size(), stdout);
      out.clear();
    }
  });
  auto flush = [&out] {
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fflush(stdout);
    out.clear();
  };

  THtScriptParser parser(text);
  parser.TolerantMode = tolerant;
  const std::string path = rest.empty() ? std::string("-") : rest[0];
  const size_t slash = path.rfind('/');
  const std::string dir = path == "-" || slash == std::string::npos ? std::string(".") : path.substr(0, slash);
  parser.fOnGetUnit = [dir](THtScriptParser*, const UnicodeString& name, UnicodeString& unitText) {
    std::ifstream in(dir + "/" + name.ToUtf8() + ".pas", std::ios::binary);
    if (!in) return false;
    std::ostringstream bytes;
    bytes << in.rdbuf();
    unitText = DecodeText(bytes.str());
    return true;
  };
  int status = kExitOk;
  try {
    parser.Parse();
    parser.Compile();
    if (PrintWarnings(parser) > 0)
      status = kExitFailure;
    else if (!check)
      parser.Run();
  } catch (const Exception& e) {
    flush();
    PrintFailure(parser, e);
    status = kExitFailure;
  }
  flush();
  SetScriptOutput(nullptr);
  return status;
}

}  // namespace

std::span<const Command> ScriptCommands() { return kCommands; }

}  // namespace norvane::cli
