// HTML output on any input: printing, laid-out printing and the text forms
// must take every tree the repairing parser makes, and print, parse, print
// must agree except for the changes the parser and printer make on purpose
// (tests/markup/html_roundtrip_cases.h names them). Editing through
// SetInnerHTML must keep the tree well linked.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "../tests/markup/html_roundtrip_cases.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/markup/html_node.h"

using namespace norvane;

namespace {

void Check(const UnicodeString& text) {
  std::string named;
  const std::string failure = roundtrip::CheckRoundTrip(text, named);
  if (!failure.empty()) {
    std::fprintf(stderr, "round trip changed the text: %s\n", failure.c_str());
    std::abort();
  }
}

void CheckLinks(THtNode* n) {
  for (THtNode* c = n; c; c = c->NextNode()) {
    for (int32_t i = 0; i < c->GetCount(); ++i) {
      THtNode* k = c->GetNode(i);
      if (k->Parent() != c || k->NextSibling() != (i + 1 < c->GetCount() ? c->GetNode(i + 1) : nullptr)) {
        std::fprintf(stderr, "broken links after SetInnerHTML\n");
        std::abort();
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const UnicodeString latin = UnicodeString::FromLatin1(bytes);
  const UnicodeString utf8 = UnicodeString::FromUtf8(bytes);
  Check(latin);
  Check(utf8);

  THtmlNode root;
  root.Parse(utf8, true);
  TFastString out;
  bool newLine = false;
  root.FastFormattedHTML(&out, 0, 2, newLine);
  root.FastInnerText(&out);
  (void)root.GetInnerText();
  (void)root.GetRawInnerText();
  (void)root.GetInnerHTML();

  // The text again, as the content of an element in the middle of the tree.
  std::vector<THtmlNode*> elements;
  for (THtNode* n = root.NextNode(); n; n = n->NextNode())
    if (n->Is<THtmlNode>() && !n->Tag().IsEmpty() && n->Tag() != u"!" && n->Tag() != u"?")
      elements.push_back(static_cast<THtmlNode*>(n));
  if (!elements.empty()) {
    THtmlNode* target = elements[elements.size() / 2];
    target->SetInnerHTML(latin);
    target->AddHTML(utf8);
    CheckLinks(&root);
    (void)root.GetOuterHTML();
  }
  return 0;
}
