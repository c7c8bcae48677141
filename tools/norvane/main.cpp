// norvane: the library's command line. With no arguments it prints the
// report on the bundled example; otherwise the first argument names a
// command from the tables below.
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "cli_common.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/runtime/exception.h"

namespace norvane::cli {
namespace {

constexpr std::string_view kVersion = "0.1.0";

int RunReport(const Args& args);
int RunHelp(const Args& args);

constexpr Command kCoreCommands[] = {
    {"report", "[FILE|-]", "print the report on a text (default: the bundled example)",
     "Reads FILE (\"-\" for standard input; the bundled example when none is given),\n"
     "decodes it (UTF-8, or UTF-16 with a byte-order mark) and prints one section\n"
     "per capability of the library. Running `norvane` alone does the same on the\n"
     "bundled example.\n",
     RunReport},
    {"help", "[COMMAND]", "list the commands, or show one command's help",
     "Without COMMAND lists every command; with one, prints its help.\n", RunHelp},
};

// Every table of commands, in the order `norvane --help` lists them.
std::vector<std::span<const Command>> CommandTables() {
  return {std::span<const Command>(kCoreCommands), FoundationCommands(), MarkupCommands(), CssCommands(),
          CssPropCommands(), ScriptCommands(), ExpressionCommands(), SaxCommands(), DataCommands()};
}

// Every report section, in print order.
std::vector<std::span<const ReportSection>> SectionTables() { return {FoundationSections()}; }

void PrintUsage() {
  std::string out;
  out += "usage: norvane [COMMAND [ARGS...]]\n\n";
  out += "With no command, prints the report on the bundled example.\n\ncommands:\n";
  for (auto table : CommandTables())
    for (const Command& c : table) {
      std::string head = "  " + std::string(c.name) + " " + std::string(c.synopsis);
      if (head.size() < 26) head.resize(26, ' ');
      else head += "  ";
      out += head + std::string(c.summary) + "\n";
    }
  out += "\nRun 'norvane COMMAND --help' for a command's details.\n";
  WriteOut(std::string_view(out));
}

void PrintHelp(const Command& c) {
  std::string out = "usage: norvane " + std::string(c.name) + " " + std::string(c.synopsis) + "\n" +
                    std::string(c.summary) + "\n\n" + std::string(c.help);
  WriteOut(std::string_view(out));
}

int RunHelp(const Args& args) {
  ExpectArgs(kCoreCommands[1], args, 0, 1);
  if (args.empty())
    PrintUsage();
  else
    PrintHelp(FindCommand(args[0]));
  return kExitOk;
}

int RunReport(const Args& args) {
  ExpectArgs(kCoreCommands[0], args, 0, 1);
  const std::string source = args.empty() ? std::string() : args[0];
  UnicodeString text = LoadText(source);
  TFastString out(4096);
  out.Add(UnicodeString::FromUtf8("norvane " + std::string(kVersion) + ": report on " +
                                  (source.empty()   ? std::string("the bundled example")
                                   : source == "-" ? std::string("standard input")
                                                    : "'" + source + "'") +
                                  "\n"));
  for (auto table : SectionTables())
    for (const ReportSection& section : table) {
      out.AddChar(u'\n');
      out.Add(UnicodeString::FromUtf8(section.title));
      out.AddChar(u'\n');
      section.run(text, out);
    }
  WriteOut(out.GetAsString().view());
  return kExitOk;
}

bool IsHelpFlag(const std::string& a) { return a == "--help" || a == "-h"; }

int Main(const Args& all) {
  if (all.empty()) return RunReport({});
  const std::string& name = all[0];
  if (IsHelpFlag(name)) return RunHelp({});
  if (name == "--version") {
    WriteOut("norvane " + std::string(kVersion) + "\n");
    return kExitOk;
  }
  const Command& cmd = FindCommand(name);
  // Options are few: --help anywhere, "--" ends them. Single-dash words
  // stay arguments so that "-" (stdin) and "-1.5" pass through.
  Args rest;
  bool options = true;
  for (size_t i = 1; i < all.size(); ++i) {
    const std::string& a = all[i];
    if (options && IsHelpFlag(a)) {
      PrintHelp(cmd);
      return kExitOk;
    }
    if (options && a == "--") {
      options = false;
      continue;
    }
    if (options && a.size() > 2 && a.starts_with("--") && !cmd.TakesOption(a))
      UsageError(std::string(cmd.name) + ": unknown option '" + a + "'");
    rest.push_back(a);
  }
  return cmd.run(rest);
}

}  // namespace

const Command& FindCommand(std::string_view name) {
  for (auto table : CommandTables())
    for (const Command& c : table)
      if (c.name == name) return c;
  UsageError("unknown command '" + std::string(name) + "' (run 'norvane --help' for the list)");
}

}  // namespace norvane::cli

int main(int argc, char** argv) {
  using namespace norvane::cli;
  int status;
  try {
    status = Main(Args(argv + 1, argv + argc));
  } catch (const CliError& e) {
    std::fflush(stdout);  // what was printed comes before the error
    std::fprintf(stderr, "norvane: %s\n", e.what());
    status = e.Status();
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "norvane: out of memory\n");
    status = kExitFailure;
  } catch (const std::exception& e) {
    std::fflush(stdout);
    // Library errors (EConvertError and kin) are failures of the input.
    std::fprintf(stderr, "norvane: %s\n", e.what());
    status = kExitFailure;
  }
  if (std::fflush(stdout) != 0 && status == kExitOk) status = kExitFailure;
  return status;
}
