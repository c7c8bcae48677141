// Runs arbitrary path text against a fixed small tree, as a list query, a
// first-only query, a value query and a callback walk, from several start
// nodes. Nothing may raise, and every match must be a node of the tree.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_set>

#include "norvane/markup/ht_node.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/markup/xpath_processor.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

struct Tree {
  std::unique_ptr<THtNode> root{new THtNode()};
  std::unordered_set<const THtNode*> nodes;
  THtNode* starts[3];

  THtNode* Add(THtNode* parent, const char16_t* tag, const char16_t* text = nullptr) {
    THtNode* n = parent->AddChild(nullptr);
    n->SetTag(tag);
    nodes.insert(n);
    if (text) {
      THtNode* t = n->AddChild(nullptr);
      t->SetContent(text);
      nodes.insert(t);
    }
    return n;
  }

  Tree() {
    root->SetTag(u"doc");
    nodes.insert(root.get());
    THtNode* body = Add(Add(root.get(), u"html"), u"body");
    THtNode* d1 = Add(body, u"div");
    d1->SetAttr(u"id", u"d1");
    THtNode* a = Add(d1, u"a", u"A1");
    a->SetAttr(u"x", u"1");
    a->SetAttr(u"href", u"p/q");
    Add(d1, u"b", u"B1");
    Add(d1, u"a", u"A2")->SetAttr(u"x", u"2");
    Add(body, u"!", nullptr)->SetContent(u"c");
    THtNode* d2 = Add(body, u"div");
    Add(Add(d2, u"a", u"A3"), u"b", u"B2");
    Add(d2, u"n", u"3");
    Add(d2, u"n", u"5");
    THtNode* deep = Add(body, u"x");
    for (int i = 0; i < 6; ++i) deep = Add(deep, u"x");
    Add(deep, u"leaf", u"end");
    starts[0] = root.get();
    starts[1] = body;
    starts[2] = a;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Tree* tree = [] {
    // Keeps one input well under a second even when a path asks for work
    // that grows as a power of the tree size.
    TXPathProcessor::MaxVisits = 200000;
    return new Tree();
  }();
  if (size > 4096) return 0;
  const UnicodeString path = UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  {
    TXPathProcessor compiled(path);
    for (const TXPathNode& step : compiled.Nodes) Check(step.Processor == &compiled);
  }
  for (THtNode* start : tree->starts) {
    IntfPtr<IHtNodeList> all = start->XPath(path, false, tree->starts[2]);
    for (int32_t i = 0; i < all->GetCount(); ++i) Check(tree->nodes.count(all->GetNode(i)) == 1);
    IntfPtr<IHtNodeList> first = start->XPath(path, true);
    for (int32_t i = 0; i < first->GetCount(); ++i) Check(tree->nodes.count(first->GetNode(i)) == 1);
    int32_t called = 0;
    start->XPath(path, [&](THtNode* n) {
      Check(tree->nodes.count(n) == 1);
      ++called;
    });
    const UnicodeString value = start->XPathValue(path);
    Check(value.Length() < 1000);
  }
  return 0;
}
