// Print, parse again, print again: the text must come out the same, for
// real pages and for the malformed documents of the html5lib tree tests.
//
// Some round trips change the text on purpose, by rules of the parser and
// the printer; each such case is named here and recognised on the first
// tree, and then the printing must still settle within a few passes:
// - comments: the tokenizer keeps a comment's opening dashes and the
//   printer writes its own, so each pass adds two ("<!--" + "--text");
//   compared with runs of dashes after "<!--" taken as one;
// - table repairs: an element that a repair left inside a table, a table
//   section or a row gets a close tag in print, and reading that close tag
//   moves the element out of the table;
// - script bodies: a body that began with "<!--" loses that wrapper once
//   more, or ends in blanks that the next read trims; style bodies that
//   still hold "<!--" lose it the same way;
// - CDATA text ending in "]": "]]]>" is no terminator to the tokenizer;
// - blank text at the very start of a document: the parser skips it;
//   compared without it;
// - U+2233, whose first reference name "CounterClockwiseContourIntegral" is
//   longer than the 25 units the tokenizer reads for a reference;
// - nesting at the parser's depth limit: elements closed by force print
//   with close tags, and reading those closes them elsewhere;
// - attribute names that the tokenizer doesn't read back as one name
//   (control units, quotes, "<", ">", "=", a "/" at the end), which the
//   printer writes as they are;
// - text that isn't well-formed UTF-16: a high surrogate is printed with
//   whatever unit follows it.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "html_roundtrip_cases.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/markup/html_node.h"
#include "norvane/markup/html_parser.h"
#include "norvane/runtime/sysutils.h"

using namespace norvane;
using namespace norvane::roundtrip;
namespace fs = std::filesystem;

namespace {

struct TRoundTrip {
  int Stable = 0;
  std::vector<std::string> Named;  // the case for each explained change
  std::vector<std::string> Failures;

  void Check(const std::string& name, const UnicodeString& text) {
    std::string why;
    const std::string failure = CheckRoundTrip(text, why);
    if (!failure.empty())
      Failures.push_back(name + ": " + failure);
    else if (why.empty())
      ++Stable;
    else
      Named.push_back(why);
  }

  void Expect(size_t minimum) const {
    EXPECT_GE(size_t(Stable) + Named.size(), minimum);
    for (size_t i = 0; i < Failures.size() && i < 10; ++i) ADD_FAILURE() << Failures[i];
    EXPECT_TRUE(Failures.empty()) << Failures.size() << " documents change on a round trip";
  }
};

std::string ReadFile(const fs::path& p) {
  std::ifstream f(p, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

// The "#data" sections of the html5lib tree-construction files.
std::vector<std::pair<std::string, std::string>> Html5libDocuments() {
  std::vector<std::pair<std::string, std::string>> docs;
  const fs::path dir = fs::path(NORVANE_SHARED_DATA) / "html/html5lib-tests/tree-construction";
  if (!fs::exists(dir)) return docs;
  std::vector<fs::path> files;
  for (const auto& e : fs::recursive_directory_iterator(dir))
    if (e.path().extension() == ".dat") files.push_back(e.path());
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) {
    std::istringstream in(ReadFile(file));
    std::string line, data;
    bool inData = false;
    int index = 0;
    auto flush = [&] {
      if (!inData) return;
      if (!data.empty()) data.pop_back();  // the line break before the next section
      docs.push_back({file.filename().string() + "#" + std::to_string(index++), data});
      data.clear();
    };
    while (std::getline(in, line)) {
      if (line == "#data" || line == "#errors" || line == "#new-errors" || line == "#document" ||
          line == "#document-fragment" || line == "#script-off" || line == "#script-on") {
        flush();
        inData = line == "#data";
        continue;
      }
      if (inData) data += line + "\n";
    }
    flush();
  }
  return docs;
}

// Bytes of a page decoded as a host would: the parser's encoding test, the
// system code page for text of no known encoding.
UnicodeString DecodePage(const std::string& bytes) {
  uint32_t codepage = 0;
  switch (THtmlParser::GetBufferEncoding(bytes, codepage)) {
    case heUTF8:
      return UnicodeString::FromUtf8(bytes);
    case heUTF16:
      return DecodeCodePage(bytes, bytes.starts_with("\xFE\xFF") ? 1201 : 1200);
    default:
      return DecodeCodePage(bytes, SystemCodePage());
  }
}

std::vector<fs::path> CorpusPages(const fs::path& dir) {
  std::vector<fs::path> pages;
  if (!fs::is_directory(dir)) return pages;
  for (const auto& e : fs::recursive_directory_iterator(dir, fs::directory_options::skip_permission_denied))
    if (e.is_regular_file() && (e.path().extension() == ".html" || e.path().extension() == ".htm"))
      pages.push_back(e.path());
  std::sort(pages.begin(), pages.end());
  return pages;
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

}  // namespace

TEST(HtmlRoundTrip, Html5libMalformedDocumentsSettle) {
  const auto docs = Html5libDocuments();
  if (docs.empty()) GTEST_SKIP() << "html5lib tree-construction data not found under " << NORVANE_SHARED_DATA;
  EXPECT_GE(docs.size(), 1790u);
  TRoundTrip rt;
  for (const auto& [name, data] : docs) rt.Check(name, UnicodeString::FromUtf8(data));
  rt.Expect(docs.size());
  // Most documents print the same on the first round trip.
  EXPECT_GE(rt.Stable, int(docs.size() * 9 / 10));
}

// Real pages: the documentation corpus that scripts/fetch_html_corpus.sh
// unpacks (NORVANE_HTML_CORPUS, or .cache/html-corpus in the source tree),
// else the small sample in tests/data/html. The sanitizer build reads every
// 8th page of a big corpus to keep its run time in bounds.
TEST(HtmlRoundTrip, RealPagesPrintTheSameTwice) {
  fs::path dir;
  if (const char* env = std::getenv("NORVANE_HTML_CORPUS"); env && *env) dir = env;
  if (dir.empty() || !fs::is_directory(dir)) dir = fs::path(NORVANE_SOURCE_DIR) / ".cache/html-corpus";
  std::vector<fs::path> pages = CorpusPages(dir);
  const bool sample = pages.empty();
  if (sample) pages = CorpusPages(fs::path(NORVANE_SOURCE_DIR) / "tests/data/html");
  ASSERT_FALSE(pages.empty());
  const size_t step = !sample && kSanitized && pages.size() > 400 ? 8 : 1;
  TRoundTrip rt;
  size_t checked = 0;
  uintmax_t bytes = 0;
  for (size_t i = 0; i < pages.size(); i += step) {
    const std::string data = ReadFile(pages[i]);
    bytes += data.size();
    rt.Check(pages[i].string(), DecodePage(data));
    ++checked;
  }
  RecordProperty("pages", int(checked));
  RecordProperty("corpus", sample ? "sample" : dir.string());
  std::map<std::string, int> named;
  for (const std::string& why : rt.Named) ++named[why];
  std::string kinds;
  for (const auto& [why, count] : named) kinds += " " + why + ": " + std::to_string(count) + ";";
  std::printf("[ corpus  ] %zu pages, %ju bytes from %s: %d stable;%s\n", checked, bytes,
              sample ? "the committed sample" : dir.string().c_str(), rt.Stable, kinds.c_str());
  rt.Expect(checked);
}
