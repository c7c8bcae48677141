// Data commands: JSON and XML texts read into the XML tree and written back,
// and path queries over XML, JSON and HTML trees.
#include <memory>
#include <string>

#include "cli_common.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/markup/html_node.h"
#include "norvane/markup/xml_node.h"
#include "norvane/runtime/streams.h"

namespace norvane::cli {
namespace {

int RunJson(const Args& args);
int RunXml(const Args& args);
int RunXPath(const Args& args);

constexpr Command kCommands[] = {
    {"json", "[--xml] [FILE|-]", "read a JSON text into a tree and write it back",
     "Reads FILE (\"-\" for standard input; UTF-8 unless a byte-order mark says\n"
     "otherwise) into the XML tree and prints its JSON: scalars of an object come\n"
     "first, as strings, then its objects and arrays; array items are separated\n"
     "by \",\" and a line break. With --xml prints the tree as XML instead.\n"
     "Single quotes and bare names are accepted. A malformed text prints the\n"
     "error and exits 1.\n"
     "  echo '{\"a\":[1,{\"b\":true}]}' | norvane json -   -> {\"a\":[\"1\",{\"b\":\"true\"}]}\n",
     RunJson, "--xml"},
    {"xml", "[--json | --formatted] [FILE|-]", "read an XML text into a tree and write it back",
     "Reads FILE (\"-\" for standard input; the encoding comes from a byte-order\n"
     "mark or the declaration, else UTF-8) strictly into the XML tree and prints\n"
     "it as XML, attributes in name order. --formatted indents one element a\n"
     "line (CR LF line ends); --json prints the tree as JSON. A malformed text\n"
     "prints the error and exits 1.\n",
     RunXml, "--json --formatted"},
    {"xpath", "[--value] [--html | --xml | --json] PATH [FILE|-]", "run a path query over a document",
     "Reads FILE (\"-\" or none: standard input) as XML (the default), JSON or\n"
     "HTML and prints the outer text of each node PATH matches, one a line; with\n"
     "--value prints the text of the first match instead. The path language:\n"
     "a/b, //b, a//b, @attr, .., *, text(), a[2], a[last()], a[@x='1' and b].\n"
     "  norvane xpath 'item[@id=\"2\"]/name' --value data.xml\n",
     RunXPath, "--value --html --xml --json"},
};

// The tree of FILE's bytes: encodings are settled by the reader.
std::unique_ptr<THtXMLNode> ReadTree(const std::string& path, bool json) {
  const std::string bytes = ReadInputBytes(path);
  if (bytes.empty()) return std::make_unique<THtXMLNode>();
  TBytesStream stream(TBytes(bytes.begin(), bytes.end()));
  return std::make_unique<THtXMLNode>(&stream, heDefault, json);
}

void PrintLine(const UnicodeString& text) {
  TFastString out(text.Length() + 2);
  out.Add(text);
  out.AddChar(u'\n');
  WriteOut(out.GetAsString().view());
}

int RunJson(const Args& args) {
  Args rest = args;
  const bool xml = TakeFlag(rest, "--xml");
  ExpectArgs(kCommands[0], rest, 0, 1);
  const std::string path = rest.empty() ? std::string("-") : rest[0];
  const std::string bytes = ReadInputBytes(path);
  TBytesStream stream(TBytes(bytes.begin(), bytes.end()));
  // An empty input is reported as the reader reports an empty text.
  std::unique_ptr<THtXMLNode> doc = bytes.empty() ? std::make_unique<THtXMLNode>(UnicodeString(), 0)
                                                  : std::make_unique<THtXMLNode>(&stream, heDefault, true);
  PrintLine(xml ? doc->Code() : doc->JSON());
  return kExitOk;
}

int RunXml(const Args& args) {
  Args rest = args;
  const bool json = TakeFlag(rest, "--json");
  const bool formatted = TakeFlag(rest, "--formatted");
  if (json && formatted) UsageError("xml: --json and --formatted exclude each other");
  ExpectArgs(kCommands[1], rest, 0, 1);
  std::unique_ptr<THtXMLNode> doc = ReadTree(rest.empty() ? std::string("-") : rest[0], false);
  PrintLine(json ? doc->JSON() : formatted ? doc->FormattedCode() : doc->Code());
  return kExitOk;
}

int RunXPath(const Args& args) {
  Args rest = args;
  const bool value = TakeFlag(rest, "--value");
  const bool html = TakeFlag(rest, "--html");
  const bool xml = TakeFlag(rest, "--xml");
  const bool json = TakeFlag(rest, "--json");
  if (int(html) + int(xml) + int(json) > 1) UsageError("xpath: choose one of --html, --xml and --json");
  ExpectArgs(kCommands[2], rest, 1, 2);
  const UnicodeString path = ArgText(rest[0]);
  const std::string file = rest.size() > 1 ? rest[1] : std::string("-");

  std::unique_ptr<THtNode> root;
  if (html) {
    auto doc = std::make_unique<THtmlNode>();
    doc->Parse(LoadText(file), false);
    root = std::move(doc);
  } else {
    root = ReadTree(file, json);
  }
  if (value) {
    PrintLine(root->XPathValue(path));
    return kExitOk;
  }
  IntfPtr<IHtNodeList> matches = root->XPath(path);
  TFastString out(65536);
  for (int32_t i = 0; i < matches->GetCount(); ++i) {
    THtNode* n = matches->GetNode(i);
    if (!n) continue;
    if (n->Is<THtmlNode>())
      out.Add(static_cast<THtmlNode*>(n)->GetOuterHTML());
    else if (n->Is<THtXMLNode>())
      static_cast<THtXMLNode*>(n)->FastCode(&out);
    out.AddChar(u'\n');
  }
  WriteOut(out.GetAsString().view());
  return kExitOk;
}

}  // namespace

std::span<const Command> DataCommands() { return kCommands; }

}  // namespace norvane::cli
