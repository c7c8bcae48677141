// Parse and print of a big real HTML page, against libxml2's HTML parser
// (htmlReadMemory, htmlDocDumpMemory) measured in the same run.
//
// Input: the biggest page of the documentation corpus (argument, or
// NORVANE_HTML_CORPUS, or .cache/html-corpus of the source tree, filled by
// scripts/fetch_html_corpus.sh), else a page made by repeating the sample
// pages of tests/data/html to about 4 MB. Both sides start from the UTF-8
// bytes and print back to UTF-8 bytes: ours decodes, parses (THtmlNode::
// Parse), prints (GetOuterHTML) and encodes; the peer parses to its tree and
// dumps it. Each figure is the best of several runs, in MB of input a second.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "norvane/markup/html_node.h"
#include "norvane/runtime/unicode_string.h"

#ifdef NORVANE_HAVE_LIBXML2
#include <libxml/HTMLparser.h>
#include <libxml/HTMLtree.h>
#include <libxml/parser.h>
#endif

using namespace norvane;
namespace fs = std::filesystem;

namespace {

std::string ReadFile(const fs::path& p) {
  std::ifstream f(p, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

std::pair<std::string, std::string> LoadInput(int argc, char** argv) {
  std::vector<fs::path> dirs;
  if (argc > 1) dirs.emplace_back(argv[1]);
  if (const char* env = std::getenv("NORVANE_HTML_CORPUS"); env && *env) dirs.emplace_back(env);
  dirs.emplace_back(fs::path(NORVANE_SOURCE_DIR) / ".cache/html-corpus");
  for (const fs::path& dir : dirs) {
    if (fs::is_regular_file(dir)) return {ReadFile(dir), dir.string()};
    if (!fs::is_directory(dir)) continue;
    fs::path best;
    uintmax_t bestSize = 0;
    for (const auto& e : fs::recursive_directory_iterator(dir, fs::directory_options::skip_permission_denied))
      if (e.is_regular_file() && e.path().extension() == ".html" && e.file_size() > bestSize) {
        best = e.path();
        bestSize = e.file_size();
      }
    if (!best.empty()) return {ReadFile(best), best.string()};
  }
  // No corpus: the sample pages' bodies repeated inside one document.
  std::string body;
  for (const auto& e : fs::directory_iterator(fs::path(NORVANE_SOURCE_DIR) / "tests/data/html"))
    if (e.path().extension() == ".html") body += ReadFile(e.path());
  std::string page = "<!DOCTYPE html><html><head><meta charset=utf-8><title>bench</title></head><body>";
  while (page.size() < 4 << 20) page += body;
  page += "</body></html>";
  return {page, "a page made of tests/data/html repeated"};
}

double BestSeconds(int runs, const std::function<void()>& fn) {
  double best = 1e30;
  for (int i = 0; i < runs; ++i) {
    const auto t0 = std::chrono::steady_clock::now();
    fn();
    best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
  }
  return best;
}

void Row(const char* what, double mb, double ours, double peer) {
  if (peer > 0)
    std::printf("%-16s ours %8.1f MB/s   libxml2 %8.1f MB/s   ratio %5.2f\n", what, mb / ours, mb / peer, peer / ours);
  else
    std::printf("%-16s ours %8.1f MB/s   (libxml2 not available)\n", what, mb / ours);
}

}  // namespace

int main(int argc, char** argv) {
  const auto [bytes, source] = LoadInput(argc, argv);
  const double mb = double(bytes.size()) / 1e6;
  std::printf("input: %s, %.2f MB\n", source.c_str(), mb);
  const int runs = 7;

  size_t printed = 0;
  const double oursParse = BestSeconds(runs, [&] {
    THtmlNode root;
    root.Parse(UnicodeString::FromUtf8(bytes), true);
  });
  THtmlNode tree;
  tree.Parse(UnicodeString::FromUtf8(bytes), true);
  const double oursPrint = BestSeconds(runs, [&] { printed = tree.GetOuterHTML().ToUtf8().size(); });
  const double oursBoth = BestSeconds(runs, [&] {
    THtmlNode root;
    root.Parse(UnicodeString::FromUtf8(bytes), true);
    printed = root.GetOuterHTML().ToUtf8().size();
  });
  std::printf("ours printed %.2f MB\n", double(printed) / 1e6);

  double peerParse = 0, peerPrint = 0, peerBoth = 0;
#ifdef NORVANE_HAVE_LIBXML2
  const int options = HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;
  int peerPrinted = 0;
  peerParse = BestSeconds(runs, [&] {
    htmlDocPtr doc = htmlReadMemory(bytes.data(), int(bytes.size()), nullptr, "UTF-8", options);
    xmlFreeDoc(doc);
  });
  htmlDocPtr doc = htmlReadMemory(bytes.data(), int(bytes.size()), nullptr, "UTF-8", options);
  peerPrint = BestSeconds(runs, [&] {
    xmlChar* mem = nullptr;
    htmlDocDumpMemory(doc, &mem, &peerPrinted);
    xmlFree(mem);
  });
  xmlFreeDoc(doc);
  peerBoth = BestSeconds(runs, [&] {
    htmlDocPtr d = htmlReadMemory(bytes.data(), int(bytes.size()), nullptr, "UTF-8", options);
    xmlChar* mem = nullptr;
    htmlDocDumpMemory(d, &mem, &peerPrinted);
    xmlFree(mem);
    xmlFreeDoc(d);
  });
  std::printf("libxml2 printed %.2f MB\n", double(peerPrinted) / 1e6);
  xmlCleanupParser();
#endif
  std::printf("(ratio: ours / libxml2 in speed; above 1 is faster)\n");
  Row("parse", mb, oursParse, peerParse);
  Row("print", mb, oursPrint, peerPrint);
  Row("parse + print", mb, oursBoth, peerBoth);
  return 0;
}
