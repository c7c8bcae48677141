// norvane sax: the events of an XML document, read as a stream, so that
// files larger than memory can be listed.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "cli_common.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/sax_xml_parser.h"
#include "norvane/runtime/streams.h"

namespace norvane::cli {
namespace {

int RunSax(const Args& args);

constexpr Command kCommands[] = {
    {"sax", "[FILE|-]", "list the events of an XML document as it streams by",
     "Reads FILE (standard input when it is \"-\" or missing) through the SAX parser,\n"
     "in constant memory, and prints one event a line:\n"
     "  DEPTH start NAME attr=\"value\" ...   (attributes in name order)\n"
     "  DEPTH text TEXT\n"
     "  DEPTH end NAME\n"
     "DEPTH is the nesting depth of the element (for text, of the element that\n"
     "holds it). Control characters are written as \\n, \\r, \\t, and \\\\; a quote\n"
     "in a value as \\\". Processing instructions come as a start and an end of\n"
     "\"?NAME\"; comments and document type declarations are skipped. The encoding\n"
     "comes from a byte-order mark or the XML declaration (UTF-8 by default).\n"
     "Malformed XML prints what was read, then the error, and exits 1.\n",
     RunSax},
};

// An attribute value between quotes: a quote becomes \", the rest as
// AddEscaped writes it.
void AddQuoted(TFastString& out, const UnicodeString& value) {
  out.AddChar(u'"');
  const std::u16string_view v = value.view();
  size_t from = 0;
  for (size_t q; (q = v.find(u'"', from)) != std::u16string_view::npos; from = q + 1) {
    AddEscaped(out, UnicodeString(v.substr(from, q - from)));
    out.Add2Char(u'\\', u'"');
  }
  AddEscaped(out, from == 0 ? value : UnicodeString(v.substr(from)));
  out.AddChar(u'"');
}

int OpenInput(const std::string& path) {
  if (path == "-") return STDIN_FILENO;
  const int fd = ::open(path.c_str(), O_RDONLY);
  struct stat st;
  if (fd < 0 || ::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    const int err = fd < 0 ? errno : EISDIR;
    if (fd >= 0) ::close(fd);
    UsageError("cannot read '" + path + "': " + std::strerror(err));
  }
  return fd;
}

int RunSax(const Args& args) {
  ExpectArgs(kCommands[0], args, 0, 1);
  const std::string path = args.empty() ? std::string("-") : args[0];
  const int fd = OpenInput(path);
  struct Closer {
    int fd;
    ~Closer() {
      if (fd != STDIN_FILENO) ::close(fd);
    }
  } closer{fd};
  THandleStream stream(fd);
  TFastString out(65536);
  // Whatever was read before an error is printed before it.
  auto flush = [&] {
    WriteOut(out.GetAsString().view());
    out.Clear();
  };
  try {
    THtSAXXMLParser sax(&stream);
    while (sax.Next()) {
      const THtSAXEventType event = sax.LastEvent();
      out.Add(int64_t(event == seTagEnd ? sax.Level + 1 : sax.Level));
      switch (event) {
        case seTagStart: {
          out.Add(UnicodeString(u" start "));
          out.Add(sax.Tag());
          const THtAttributes& attrs = *sax.Attributes();
          for (int32_t i = 0; i < attrs.Count; ++i) {
            out.AddChar(u' ');
            out.Add(attrs.GetName(i));
            out.AddChar(u'=');
            AddQuoted(out, attrs.GetValue(i));
          }
          break;
        }
        case seTagEnd:
          out.Add(UnicodeString(u" end "));
          out.Add(sax.Tag());
          break;
        case seText:
          out.Add(UnicodeString(u" text "));
          AddEscaped(out, sax.Text());
          break;
      }
      out.AddChar(u'\n');
      if (out.GetTotalLen() >= 60000) flush();
    }
  } catch (...) {
    flush();
    throw;
  }
  flush();
  return kExitOk;
}

}  // namespace

std::span<const Command> SaxCommands() { return kCommands; }

}  // namespace norvane::cli
