// Real style sheets and the public conformance inputs: every one parses, and
// what a sheet writes back reads again to the same rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "norvane/css/css_style_sheet.h"

using namespace norvane;
namespace fs = std::filesystem;

namespace {

std::string ReadBytes(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// The style sheets of the corpus the build scripts fetch, or else the small
// sample kept with the tests.
std::vector<fs::path> CorpusFiles() {
  std::vector<fs::path> files;
  for (const fs::path& dir : {fs::path(NORVANE_SOURCE_DIR) / ".cache/css-corpus", fs::path(NORVANE_SOURCE_DIR) / "tests/data/css"}) {
    std::error_code ec;
    if (!fs::is_directory(dir, ec)) continue;
    for (auto it = fs::recursive_directory_iterator(dir, ec); it != fs::recursive_directory_iterator(); it.increment(ec))
      if (it->is_regular_file() && it->path().extension() == ".css") files.push_back(it->path());
    if (!files.empty()) break;
  }
  std::sort(files.begin(), files.end());
  return files;
}

// Everything the sheet compiled, one line per rule and value: media,
// selectors, then "name=type:text ..." with "!" when important.
std::vector<std::string> Compiled(const TCSSStyleSheet& sheet) {
  std::vector<std::string> out;
  auto addSection = [&](const TCSSSection& s) {
    const TCSSMediaSet* m = s.MediaSet;
    std::string line = m == DefaultCSSMediaSet() ? ""
                                                 : m->AsString().ToUtf8() + " " + std::to_string(m->Media.Bits()) + " " +
                                                       std::to_string(m->MinWidth) + " " + std::to_string(m->MaxWidth) + " ";
    for (int32_t i = 0; i < s.Selectors->Count(); ++i) line += s.Selectors->GetSelector(i)->AsString().ToUtf8() + ",";
    out.push_back(line);
    for (const TCSSValue& v : s.CompiledValues) {
      std::string value = v.Name.ToUtf8() + (v.Important ? "!=" : "=");
      for (const TCSSToken& t : v.Tokens) value += std::to_string(int(t.CType)) + ":" + t.Name.ToUtf8() + " ";
      out.push_back(value);
    }
  };
  for (int32_t i = 0; i < sheet.SectionCount(); ++i) addSection(*sheet.GetSection(i));
  const THtObjectList& lists = sheet.KeyFrames->Lists();
  for (int32_t i = 0; i < lists.Count(); ++i) {
    auto* list = static_cast<TCSSKeyFrameList*>(lists.Get(i));
    out.push_back("@keyframes " + list->Name.ToUtf8());
    for (int32_t k = 0; k < list->Count(); ++k) addSection(*list->GetSection(k));
  }
  return out;
}

// Parses a text, writes it back in both forms and checks that each reads
// back to the same compiled rules. Returns the number of rules.
int32_t CheckRoundTrip(const UnicodeString& text, const std::string& what) {
  TCSSStyleSheet sheet;
  sheet.Parse(text);
  const std::vector<std::string> expected = Compiled(sheet);
  for (const UnicodeString& written : {sheet.AsString(), sheet.Minify()}) {
    TCSSStyleSheet again;
    again.Parse(written);
    std::vector<std::string> got = Compiled(again);
    if (got != expected) {
      size_t i = 0;
      while (i < got.size() && i < expected.size() && got[i] == expected[i]) ++i;
      ADD_FAILURE() << what << ": differs at line " << i << "\n  was:  "
                    << (i < expected.size() ? expected[i] : "(end)") << "\n  now:  " << (i < got.size() ? got[i] : "(end)");
      return sheet.SectionCount();
    }
  }
  return sheet.SectionCount();
}

// The inputs of a conformance file: the strings at the even places of its
// top-level array (the odd places hold the expected results, which follow
// today's syntax rather than ours).
std::vector<UnicodeString> ConformanceInputs(const std::string& json) {
  std::vector<UnicodeString> inputs;
  int depth = 0;
  int item = 0;
  for (size_t i = 0; i < json.size(); ++i) {
    char c = json[i];
    if (c == '[' || c == '{') {
      ++depth;
    } else if (c == ']' || c == '}') {
      --depth;
    } else if (c == ',' && depth == 1) {
      ++item;
    } else if (c == '"') {
      std::u16string s;
      std::string raw;
      for (++i; i < json.size() && json[i] != '"'; ++i) {
        if (json[i] != '\\') {
          raw += json[i];
          continue;
        }
        s += UnicodeString::FromUtf8(raw).view();
        raw.clear();
        char e = json[++i];
        switch (e) {
          case 'n': s += u'\n'; break;
          case 't': s += u'\t'; break;
          case 'r': s += u'\r'; break;
          case 'f': s += u'\f'; break;
          case 'b': s += u'\b'; break;
          case 'u': s += char16_t(std::stoi(json.substr(i + 1, 4), nullptr, 16)); i += 4; break;
          default: s += char16_t(e); break;
        }
      }
      s += UnicodeString::FromUtf8(raw).view();
      if (depth == 1 && item % 2 == 0) inputs.push_back(UnicodeString(s));
    }
  }
  return inputs;
}

}  // namespace

TEST(CSSCorpus, RealSheetsReadBackTheSame) {
  const std::vector<fs::path> files = CorpusFiles();
  ASSERT_FALSE(files.empty()) << "neither the fetched corpus nor tests/data/css";
  int32_t rules = 0;
  for (const fs::path& f : files) {
    const UnicodeString text = UnicodeString::FromUtf8(ReadBytes(f));
    int32_t n = CheckRoundTrip(text, f.string());
    // Every real sheet has rules, and the parser finds them.
    EXPECT_GT(n, 0) << f;
    rules += n;
  }
  RecordProperty("files", int(files.size()));
  RecordProperty("rules", rules);
}

TEST(CSSCorpus, SampleSheetHoldsWhatItShows) {
  TCSSStyleSheet sheet;
  sheet.Parse(UnicodeString::FromUtf8(ReadBytes(fs::path(NORVANE_SOURCE_DIR) / "tests/data/css/sample.css")));
  EXPECT_EQ(sheet.Imports()->Count(), 2);
  EXPECT_NE(sheet.KeyFrames->GetKeyFrameList(u"spin"), nullptr);
  EXPECT_NE(sheet.KeyFrames->GetKeyFrameList(u"progress-bar-stripes"), nullptr);
  TObject* brand = nullptr;
  EXPECT_TRUE(sheet.Variables->Find(u"brand", brand));
  // The rule left open at the end keeps its declaration.
  TCSSSection* last = sheet.GetSection(sheet.SectionCount() - 1);
  EXPECT_EQ(last->Selectors->GetSelector(0)->AsString(), u".unterminated");
  EXPECT_EQ(last->CompiledValues.size(), 1u);
  int fontFaces = 0;
  for (int32_t i = 0; i < sheet.SectionCount(); ++i) fontFaces += sheet.GetSection(i)->FontFace;
  EXPECT_EQ(fontFaces, 1);
}

TEST(CSSCorpus, ConformanceInputsParse) {
  const fs::path dir = fs::path(NORVANE_SHARED_DATA) / "css/css-parsing-tests";
  if (!fs::is_directory(dir)) GTEST_SKIP() << "no " << dir;
  int inputs = 0;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.path().extension() != ".json") continue;
    for (const UnicodeString& text : ConformanceInputs(ReadBytes(entry.path()))) {
      ++inputs;
      const std::string what = entry.path().filename().string() + ": " + text.ToUtf8();
      CheckRoundTrip(text, what);
      TCSSStyleSheet values;
      values.ParseValues(text);
      TCSSParser parser(text);
      int guard = 0;
      while (parser.NextSection() && ++guard < 100000) {
      }
      EXPECT_LT(guard, 100000) << what;
    }
  }
  EXPECT_GT(inputs, 500);
}

TEST(CSSCorpus, TokenizerCasesParse) {
  const fs::path dir = fs::path(NORVANE_SHARED_DATA) / "css/css-tokenizer-tests/tests";
  std::error_code ec;
  if (!fs::is_directory(dir, ec)) GTEST_SKIP() << "no " << dir;
  int cases = 0;
  for (auto it = fs::recursive_directory_iterator(dir, ec); it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (it->path().filename() != "source.css") continue;
    ++cases;
    CheckRoundTrip(UnicodeString::FromUtf8(ReadBytes(it->path())), it->path().string());
  }
  EXPECT_GT(cases, 100);
}
