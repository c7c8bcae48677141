// Event readers over real XML files: our SAX parser against libxml2's SAX2
// interface and expat, each counting events and characters, so that every
// contestant decodes what its callbacks are handed and nothing more. Ours
// also decodes text and values to UTF-16 and makes the attribute strings,
// which is what its users get.
//
//   bench_sax [FILE...]   (default: freedesktop.org.xml and iso_639-3.xml)
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "bench_peers.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/sax_xml_parser.h"

#if defined(NORVANE_HAVE_LIBXML2)
#include <libxml/parser.h>
#endif
#if defined(NORVANE_HAVE_EXPAT)
#include <expat.h>
#endif

using namespace norvane;

namespace {

struct Counts {
  int64_t events = 0, chars = 0, attrs = 0;
};

volatile int64_t g_sink;

void Ours(const std::string& xml) {
  bench::TPointerStream stream(xml);
  THtSAXXMLParser sax(&stream);
  Counts c;
  while (sax.Next()) {
    ++c.events;
    if (sax.LastEvent() == seText)
      c.chars += int64_t(sax.TextView().size());
    else if (sax.LastEvent() == seTagStart)
      c.attrs += sax.Attributes()->Count;
  }
  g_sink = c.events + c.chars + c.attrs;
}

#if defined(NORVANE_HAVE_LIBXML2)
void LibxmlStart(void* ctx, const xmlChar*, const xmlChar*, const xmlChar*, int, const xmlChar**, int nattrs, int,
                 const xmlChar**) {
  auto* c = static_cast<Counts*>(ctx);
  ++c->events;
  c->attrs += nattrs;
}
void LibxmlEnd(void* ctx, const xmlChar*, const xmlChar*, const xmlChar*) { ++static_cast<Counts*>(ctx)->events; }
void LibxmlChars(void* ctx, const xmlChar*, int len) { static_cast<Counts*>(ctx)->chars += len; }

void Libxml2(const std::string& xml) {
  // Only our callbacks: the default handler would build a tree.
  xmlSAXHandler h{};
  h.initialized = XML_SAX2_MAGIC;
  h.startElementNs = LibxmlStart;
  h.endElementNs = LibxmlEnd;
  h.characters = LibxmlChars;
  Counts c;
  xmlSAXUserParseMemory(&h, &c, xml.data(), int(xml.size()));
  g_sink = c.events + c.chars + c.attrs;
}
#endif

#if defined(NORVANE_HAVE_EXPAT)
void ExpatStart(void* ctx, const XML_Char*, const XML_Char** atts) {
  auto* c = static_cast<Counts*>(ctx);
  ++c->events;
  while (*atts) atts += 2, ++c->attrs;
}
void ExpatEnd(void* ctx, const XML_Char*) { ++static_cast<Counts*>(ctx)->events; }
void ExpatChars(void* ctx, const XML_Char*, int len) { static_cast<Counts*>(ctx)->chars += len; }

void Expat(const std::string& xml) {
  XML_Parser p = XML_ParserCreate(nullptr);
  Counts c;
  XML_SetUserData(p, &c);
  XML_SetElementHandler(p, ExpatStart, ExpatEnd);
  XML_SetCharacterDataHandler(p, ExpatChars);
  XML_Parse(p, xml.data(), int(xml.size()), 1);
  XML_ParserFree(p);
  g_sink = c.events + c.chars + c.attrs;
}
#endif

}  // namespace

int main(int argc, char** argv) {
  bench::TuneAllocator();
  const auto files = bench::XmlInputs(argc, argv);
#if !defined(NORVANE_HAVE_LIBXML2) && !defined(NORVANE_HAVE_EXPAT)
  std::printf("(libxml2 and expat were not found at build time: our figures only)\n");
#endif
  bench::ForEachFile(files, [](const std::string& path, const std::string& xml) {
    std::vector<bench::Contestant> cs{{"norvane SAX", [&] { Ours(xml); }, true}};
#if defined(NORVANE_HAVE_LIBXML2)
    cs.push_back({"libxml2 SAX2", [&] { Libxml2(xml); }});
#endif
#if defined(NORVANE_HAVE_EXPAT)
    cs.push_back({"expat", [&] { Expat(xml); }});
#endif
    bench::RunTable("SAX " + bench::BaseName(path), xml.size(), cs);
  });
}
