// Shared pieces of the norvane command line: the command and report-section
// tables, input decoding, output and error reporting.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "norvane/runtime/unicode_string.h"

namespace norvane {
class TFastString;
}

namespace norvane::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;  // the input itself was rejected
inline constexpr int kExitUsage = 2;    // bad arguments, unknown command, unreadable file

// Reported by main as one line "norvane: <message>" on stderr.
class CliError : public std::runtime_error {
 public:
  CliError(int status, const std::string& message) : std::runtime_error(message), status_(status) {}
  int Status() const noexcept { return status_; }

 private:
  int status_;
};

[[noreturn]] void UsageError(const std::string& message);
[[noreturn]] void InputError(const std::string& message);

using Args = std::vector<std::string>;

struct Command {
  std::string_view name;
  std::string_view synopsis;  // arguments after the name, e.g. "TEXT [MASK]"
  std::string_view summary;   // one line for the command list
  std::string_view help;      // the rest of `norvane NAME --help`
  int (*run)(const Args& args);
  // Long options the command takes ("--tokens --zoom"); main rejects others.
  std::string_view options = {};
  bool TakesOption(std::string_view option) const;
};

// One section of the report that `norvane` prints on its bundled example
// (or on a given file). Each capability of the library adds its own.
struct ReportSection {
  std::string_view title;
  void (*run)(const UnicodeString& text, TFastString& out);
};

// Tables of each command family; main.cpp joins them.
std::span<const Command> FoundationCommands();
std::span<const Command> MarkupCommands();
std::span<const Command> CssCommands();
std::span<const Command> ScriptCommands();
std::span<const Command> ExpressionCommands();
std::span<const Command> CssPropCommands();
std::span<const Command> SaxCommands();
std::span<const Command> DataCommands();
std::span<const ReportSection> FoundationSections();

// The text compiled into the binary, used when no FILE is given.
std::string_view BundledExample();

// Checks the number of positional arguments; raises a usage error naming
// the command's synopsis otherwise.
void ExpectArgs(const Command& cmd, const Args& args, size_t min, size_t max);
const Command& FindCommand(std::string_view name);  // raises on unknown names

// Whole input as bytes: a path, or "-" for standard input. An unreadable
// file is a usage error.
std::string ReadInputBytes(const std::string& path);
// Bytes to text: a UTF-8 or UTF-16 (LE/BE) byte-order mark decides; without
// one the bytes are UTF-8. Invalid sequences become U+FFFD.
UnicodeString DecodeText(std::string_view bytes);
// The text of FILE, "-" or, when `path` is empty, the bundled example.
UnicodeString LoadText(const std::string& path);

// Removes `flag` from `args`; true when it was there. Main has already
// refused long options a command doesn't declare.
bool TakeFlag(Args& args, std::string_view flag);
// Appends `s` on one line: LF, CR, tab and backslash written as \n, \r, \t, \\.
void AddEscaped(TFastString& out, const UnicodeString& s);

// A command-line argument (UTF-8) as text.
inline UnicodeString ArgText(const std::string& arg) { return UnicodeString::FromUtf8(arg); }

// Output in UTF-8 on stdout.
void WriteOut(std::u16string_view text);
void WriteOut(std::string_view utf8);

// The shortest text that reads back as the same double: plain digits for
// ordinary magnitudes, an exponent for the very large or small.
std::string FormatRoundTrip(double v);

}  // namespace norvane::cli
