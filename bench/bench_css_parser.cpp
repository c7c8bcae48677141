// Style sheet parsing: the biggest real sheet of the corpus (or the sheets
// given as arguments) read into a TCSSStyleSheet, against libsass from
// Debian (libsass-dev) when it is installed.
//
// Ours: TCSSStyleSheet::Parse of the decoded text, which tokenizes, builds
// selector chains, prepares every declaration (colours, keyword ordinals,
// lengths) and compiles the shorthands; the UTF-8 decoding is timed apart.
// Then Parse and AsString, the same work as the peer's.
// Peer: libsass compiling the sheet (plain CSS is valid input) to expanded
// CSS text: a parse into its tree and the text written back. Figures are
// MB/s of the file's bytes, the best of several rounds of wall time.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "norvane/css/css_style_sheet.h"

#ifdef NORVANE_HAVE_CSS_PARSER_PEER
#include <sass.h>

#include <cstdlib>
#include <cstring>
#endif

using namespace norvane;
namespace fs = std::filesystem;

namespace {

std::string ReadBytes(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

fs::path BiggestSheet() {
  fs::path best;
  uintmax_t bestSize = 0;
  for (const char* dir : {NORVANE_SOURCE_DIR "/.cache/css-corpus", NORVANE_SOURCE_DIR "/tests/data/css"}) {
    std::error_code ec;
    if (!fs::is_directory(dir, ec)) continue;
    for (auto it = fs::recursive_directory_iterator(dir, ec); it != fs::recursive_directory_iterator(); it.increment(ec))
      if (it->is_regular_file() && it->path().extension() == ".css" && it->file_size() > bestSize) {
        bestSize = it->file_size();
        best = it->path();
      }
    if (!best.empty()) break;
  }
  return best;
}

// Best MB/s of `rounds` rounds, each repeating `fn` for about 0.2 s.
template <class Fn>
double Rate(size_t bytes, Fn fn, int rounds = 5) {
  using clock = std::chrono::steady_clock;
  double best = 0;
  for (int r = 0; r < rounds; ++r) {
    int reps = 0;
    auto start = clock::now();
    double seconds = 0;
    do {
      fn();
      ++reps;
      seconds = std::chrono::duration<double>(clock::now() - start).count();
    } while (seconds < 0.2);
    best = std::max(best, double(bytes) * reps / seconds / 1e6);
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) files.emplace_back(argv[i]);
  if (files.empty()) {
    fs::path p = BiggestSheet();
    if (p.empty()) {
      std::printf("no style sheet found: run scripts/fetch_css_corpus.sh or pass files\n");
      return 1;
    }
    files.push_back(p);
  }
  for (const fs::path& f : files) {
    const std::string bytes = ReadBytes(f);
    const UnicodeString text = UnicodeString::FromUtf8(bytes);
    TCSSStyleSheet probe;
    probe.Parse(text);
    std::printf("%s: %zu bytes, %d rules\n", f.string().c_str(), bytes.size(), probe.SectionCount());
    const double decode = Rate(bytes.size(), [&] { (void)UnicodeString::FromUtf8(bytes); });
    const double ours = Rate(bytes.size(), [&] {
      TCSSStyleSheet sheet;
      sheet.Parse(text);
    });
    std::printf("  ours   TCSSStyleSheet::Parse   %8.1f MB/s   (UTF-8 decoding apart: %.0f MB/s)\n", ours, decode);
#ifdef NORVANE_HAVE_CSS_PARSER_PEER
    // Returns the length of the output, 0 when libsass refused the text.
    auto peerCompile = [&]() -> size_t {
      char* source = static_cast<char*>(std::malloc(bytes.size() + 1));
      std::memcpy(source, bytes.data(), bytes.size() + 1);
      Sass_Data_Context* data = sass_make_data_context(source);  // takes `source`
      Sass_Context* ctx = sass_data_context_get_context(data);
      Sass_Options* options = sass_context_get_options(ctx);
      sass_option_set_output_style(options, SASS_STYLE_EXPANDED);
      size_t out = 0;
      if (sass_compile_data_context(data) == 0) out = std::strlen(sass_context_get_output_string(ctx));
      sass_delete_data_context(data);
      return out;
    };
    const size_t peerOut = peerCompile();
    const double both = Rate(bytes.size(), [&] {
      TCSSStyleSheet sheet;
      sheet.Parse(text);
      (void)sheet.AsString();
    });
    std::printf("  ours   Parse + AsString        %8.1f MB/s\n", both);
    if (peerOut == 0) {
      std::printf("  peer   libsass refused the sheet: no peer figure\n");
      continue;
    }
    const double peer = Rate(bytes.size(), [&] { (void)peerCompile(); });
    std::printf("  peer   libsass %s compile   %8.1f MB/s   (%zu bytes out)\n", libsass_version(), peer, peerOut);
    std::printf("  ratio  ours (Parse + AsString) / peer  %.2f\n", both / peer);
#else
    std::printf("  peer   (libsass-dev not installed: no peer figure)\n");
#endif
  }
  return 0;
}
