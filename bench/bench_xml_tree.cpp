// XML text to tree on real files: THtXMLNode from the file's bytes against
// pugixml (load_buffer, default options) and libxml2's DOM (xmlReadMemory).
// Each run builds the whole tree from the bytes and frees it.
//
//   bench_xml_tree [FILE...]   (default: freedesktop.org.xml and iso_639-3.xml)
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "bench_peers.h"
#include "norvane/markup/xml_node.h"

#if defined(NORVANE_HAVE_PUGIXML)
#include <pugixml.hpp>
#endif
#if defined(NORVANE_HAVE_LIBXML2)
#include <libxml/parser.h>
#include <libxml/tree.h>
#endif

using namespace norvane;

namespace {

volatile int64_t g_sink;

void Ours(const std::string& xml) {
  bench::TPointerStream stream(xml);
  THtXMLNode root(&stream, heDefault);
  g_sink = root.GetCount();
}

#if defined(NORVANE_HAVE_PUGIXML)
void Pugixml(const std::string& xml) {
  pugi::xml_document doc;
  doc.load_buffer(xml.data(), xml.size());
  g_sink = doc.first_child().empty() ? 0 : 1;
}
#endif

#if defined(NORVANE_HAVE_LIBXML2)
void Libxml2(const std::string& xml) {
  xmlDocPtr doc = xmlReadMemory(xml.data(), int(xml.size()), nullptr, nullptr, 0);
  g_sink = doc ? 1 : 0;
  xmlFreeDoc(doc);
}
#endif

}  // namespace

int main(int argc, char** argv) {
  bench::TuneAllocator();
  const auto files = bench::XmlInputs(argc, argv);
#if !defined(NORVANE_HAVE_PUGIXML) && !defined(NORVANE_HAVE_LIBXML2)
  std::printf("(pugixml and libxml2 were not found at build time: our figures only)\n");
#endif
  bench::ForEachFile(files, [](const std::string& path, const std::string& xml) {
    std::vector<bench::Contestant> cs{{"norvane THtXMLNode", [&] { Ours(xml); }, true}};
#if defined(NORVANE_HAVE_PUGIXML)
    cs.push_back({"pugixml", [&] { Pugixml(xml); }});
#endif
#if defined(NORVANE_HAVE_LIBXML2)
    cs.push_back({"libxml2 DOM", [&] { Libxml2(xml); }});
#endif
    bench::RunTable("XML tree " + bench::BaseName(path), xml.size(), cs);
  });
}
