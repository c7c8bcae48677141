// JSON text to tree on the usual benchmark files: THtXMLNode from the
// file's bytes against RapidJSON's DOM (Document::Parse) and
// nlohmann::json::parse. Each run builds the whole tree and frees it. Our
// second line starts from text already decoded to UTF-16, which is where
// the tree builder itself begins.
//
//   bench_json_tree [FILE...]   (default: twitter, canada, citm_catalog)
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "bench_peers.h"
#include "norvane/markup/xml_node.h"

#if defined(NORVANE_HAVE_RAPIDJSON)
#include <rapidjson/document.h>
#endif
#if defined(NORVANE_HAVE_NLOHMANN_JSON)
#include <nlohmann/json.hpp>
#endif

#ifndef NORVANE_SHARED_DATA
#define NORVANE_SHARED_DATA "/work/shared/data"
#endif

using namespace norvane;

namespace {

volatile int64_t g_sink;

void OursBytes(const std::string& json) {
  bench::TPointerStream stream(json);
  THtXMLNode root(&stream, heUTF8, true);
  g_sink = root.GetCount();
}

void OursText(const UnicodeString& json) {
  THtXMLNode root(json, int32_t(0));
  g_sink = root.GetCount();
}

#if defined(NORVANE_HAVE_RAPIDJSON)
void RapidJson(const std::string& json) {
  rapidjson::Document d;
  d.Parse(json.c_str(), json.size());
  g_sink = d.HasParseError() ? 0 : 1;
}
#endif

#if defined(NORVANE_HAVE_NLOHMANN_JSON)
void Nlohmann(const std::string& json) {
  const nlohmann::json j = nlohmann::json::parse(json);
  g_sink = int64_t(j.size());
}
#endif

}  // namespace

int main(int argc, char** argv) {
  bench::TuneAllocator();
  const std::string dir = std::string(NORVANE_SHARED_DATA) + "/json/bench/";
  const auto files =
      bench::Inputs(argc, argv, {dir + "twitter.json", dir + "canada.json", dir + "citm_catalog.json"});
#if !defined(NORVANE_HAVE_RAPIDJSON) && !defined(NORVANE_HAVE_NLOHMANN_JSON)
  std::printf("(RapidJSON and nlohmann::json were not found at build time: our figures only)\n");
#endif
  bench::ForEachFile(files, [](const std::string& path, const std::string& json) {
    const UnicodeString text = UnicodeString::FromUtf8(json);
    std::vector<bench::Contestant> cs{{"norvane (bytes)", [&] { OursBytes(json); }, true},
                                      {"norvane (UTF-16 text)", [&] { OursText(text); }, true}};
#if defined(NORVANE_HAVE_RAPIDJSON)
    cs.push_back({"RapidJSON DOM", [&] { RapidJson(json); }});
#endif
#if defined(NORVANE_HAVE_NLOHMANN_JSON)
    cs.push_back({"nlohmann::json", [&] { Nlohmann(json); }});
#endif
    bench::RunTable("JSON tree " + bench::BaseName(path), json.size(), cs);
  });
}
