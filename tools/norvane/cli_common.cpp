#include "cli_common.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "norvane/foundation/fast_string.h"

namespace norvane::cli {

void UsageError(const std::string& message) { throw CliError(kExitUsage, message); }
void InputError(const std::string& message) { throw CliError(kExitFailure, message); }

void ExpectArgs(const Command& cmd, const Args& args, size_t min, size_t max) {
  if (args.size() < min || args.size() > max) {
    std::string what = args.size() < min ? "missing argument" : "too many arguments";
    UsageError(std::string(cmd.name) + ": " + what + " (usage: norvane " + std::string(cmd.name) + " " +
               std::string(cmd.synopsis) + ")");
  }
}

std::string ReadInputBytes(const std::string& path) {
  const bool isStdin = path == "-";
  FILE* f = isStdin ? stdin : std::fopen(path.c_str(), "rb");
  if (!f) UsageError("cannot read '" + path + "': " + std::strerror(errno));
  std::string bytes;
  char buf[65536];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) bytes.append(buf, n);
  const bool failed = std::ferror(f);
  const int err = errno;
  if (!isStdin) std::fclose(f);
  if (failed) UsageError("cannot read '" + path + "': " + std::strerror(err));
  return bytes;
}

namespace {

UnicodeString DecodeUtf16(std::string_view bytes, bool bigEndian) {
  std::u16string units;
  units.reserve(bytes.size() / 2 + 1);
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    auto b0 = uint8_t(bytes[i]), b1 = uint8_t(bytes[i + 1]);
    units.push_back(char16_t(bigEndian ? (b0 << 8 | b1) : (b1 << 8 | b0)));
  }
  // A dangling odd byte is not dropped silently.
  if (bytes.size() % 2) units.push_back(u'\uFFFD');
  return UnicodeString(units);
}

}  // namespace

UnicodeString DecodeText(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) return UnicodeString::FromUtf8(bytes.substr(3));
  if (bytes.starts_with("\xFF\xFE")) return DecodeUtf16(bytes.substr(2), false);
  if (bytes.starts_with("\xFE\xFF")) return DecodeUtf16(bytes.substr(2), true);
  return UnicodeString::FromUtf8(bytes);
}

UnicodeString LoadText(const std::string& path) {
  if (path.empty()) return DecodeText(BundledExample());
  return DecodeText(ReadInputBytes(path));
}

void WriteOut(std::string_view utf8) { std::fwrite(utf8.data(), 1, utf8.size(), stdout); }

void WriteOut(std::u16string_view text) {
  std::string utf8;
  AppendUtf8(utf8, text);
  WriteOut(std::string_view(utf8));
}

std::string FormatRoundTrip(double v) {
  char buf[400];
  const double a = std::fabs(v);
  const bool plain = a == 0 || (a >= 1e-6 && a < 1e21) || std::isnan(a) || std::isinf(a);
  auto r = plain ? std::to_chars(buf, buf + sizeof buf, v, std::chars_format::fixed)
                 : std::to_chars(buf, buf + sizeof buf, v, std::chars_format::scientific);
  return std::string(buf, r.ptr);
}

bool TakeFlag(Args& args, std::string_view flag) {
  auto it = std::find(args.begin(), args.end(), flag);
  if (it == args.end()) return false;
  args.erase(it);
  return true;
}

void AddEscaped(TFastString& out, const UnicodeString& s) {
  for (char16_t c : s.view()) {
    switch (c) {
      case u'\n': out.Add2Char(u'\\', u'n'); break;
      case u'\r': out.Add2Char(u'\\', u'r'); break;
      case u'\t': out.Add2Char(u'\\', u't'); break;
      case u'\\': out.Add2Char(u'\\', u'\\'); break;
      default: out.AddChar(c);
    }
  }
}

bool Command::TakesOption(std::string_view option) const {
  for (std::string_view rest = options; !rest.empty();) {
    size_t space = rest.find(' ');
    if (rest.substr(0, space) == option) return true;
    if (space == std::string_view::npos) break;
    rest.remove_prefix(space + 1);
  }
  return false;
}

}  // namespace norvane::cli
