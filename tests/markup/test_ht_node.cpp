#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "norvane/foundation/hash.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/ht_node.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

using namespace norvane;

namespace {

int gDestroyed = 0;

// Counts destructions and records the parents it was given.
class TCountedNode : public THtNode {
  NV_CLASS(TCountedNode, THtNode)
 public:
  ~TCountedNode() override { ++gDestroyed; }
  void SetParent(const THtNode* parent) override {
    ++setParentCalls;
    THtNode::SetParent(parent);
  }
  int setParentCalls = 0;
};
NV_CLASS_IMPL(TCountedNode, "test")

THtNode* Add(THtNode* parent, const char16_t* tag, const char16_t* content = nullptr) {
  THtNode* c = parent->AddChild(nullptr);
  c->SetTag(tag);
  if (content) c->SetContent(content);
  return c;
}

// <root><a><b/>t1<c/></a><!-- -->t2<d><e/></d></root>
struct Tree {
  std::unique_ptr<THtNode> root{THtNode::Create(TCountedNode::StaticClass())};
  THtNode *a, *b, *t1, *c, *comment, *t2, *d, *e;
  Tree() {
    root->SetTag(u"root");
    a = Add(root.get(), u"a");
    b = Add(a, u"b");
    t1 = Add(a, u"", u"T1");
    c = Add(a, u"c", u"C");
    comment = Add(root.get(), u"!", u" note ");
    t2 = Add(root.get(), u"", u"T2");
    d = Add(root.get(), u"d");
    e = Add(d, u"e", u"E");
  }
};

}  // namespace

TEST(HtNode, TagHashIgnoresCase) {
  struct Case {
    const char16_t* tag;
    const char16_t* folded;
  } cases[] = {{u"DIV", u"div"}, {u"div", u"div"}, {u"Div", u"div"}, {u"h1", u"h1"}, {u"\u00c9A", u"\u00c9a"}};
  for (const Case& c : cases) {
    THtNode n;
    n.SetTag(c.tag);
    EXPECT_EQ(n.Tag(), c.tag);  // kept as given
    UnicodeString f(c.folded);
    EXPECT_EQ(n.TagHash(), RSHash(f.Data(), f.Length()));
  }
  THtNode n;
  n.SetTag(u"x");
  n.SetTag(u"");
  EXPECT_EQ(n.TagHash(), 0);
}

TEST(HtNode, LazyChildrenAndAttributes) {
  THtNode n;
  EXPECT_EQ(n.GetCount(), 0);
  EXPECT_EQ(n.ExistingNodes(), nullptr);
  EXPECT_THROW(n.GetNode(0), EListError);
  THtNodeList* l = n.GetNodes();
  ASSERT_NE(l, nullptr);
  EXPECT_EQ(n.GetNodes(), l);
  EXPECT_TRUE(l->OwnsObjects);

  EXPECT_FALSE(n.SetAttribute(u"x", u""));  // an empty value on no table: nothing
  EXPECT_EQ(n.Attributes(), nullptr);
  EXPECT_TRUE(n.SetAttribute(u"HREF", u"x.html"));
  EXPECT_EQ(n.Attributes()->GetName(0), u"href");
  EXPECT_EQ(n.GetAttribute(u"Href"), u"x.html");
  EXPECT_TRUE(n.HasAttribute(u"href"));
  EXPECT_TRUE(n.HasAttributeValue(u"href", u"x.html"));
  EXPECT_FALSE(n.HasAttributeValue(u"href", u"X.html"));
  EXPECT_FALSE(n.SetAttribute(u"href", u"x.html"));
  EXPECT_TRUE(n.SetAttribute(u"y", u""));  // with a table, an empty value is stored

  THtNode copy;
  copy.SetAttr(u"z", u"1");
  copy.CopyAttributesFrom(&n);
  EXPECT_EQ(copy.Attributes()->AsString(), u"href=\"x.html\" y=\"\" z=\"1\"");
}

TEST(HtNode, TypedAttributes) {
  THtNode n;
  struct BoolCase {
    const char16_t* text;
    bool value;
  } bools[] = {{u"1", true}, {u"true", true}, {u"on", true}, {u"TRUE", false}, {u"yes", false}, {u"0", false}, {u"", false}};
  for (const BoolCase& c : bools) {
    n.SetAttr(u"b", c.text);
    EXPECT_EQ(n.GetAttrB(u"b"), c.value) << UnicodeString(c.text).ToUtf8();
  }
  n.SetAttrB(u"b", true);
  EXPECT_EQ(n.GetAttribute(u"b"), u"1");
  n.SetAttrB(u"b", false);
  EXPECT_EQ(n.GetAttribute(u"b"), u"0");

  struct FloatCase {
    double v;
    const char16_t* short_;
  } floats[] = {{1.5, u"1.5"}, {2.0, u"2"}, {1.2345, u"1.23"}, {-0.004, u"0"}, {1234567.891, u"1234567.89"}};
  for (const FloatCase& c : floats) {
    n.SetAttrF(u"f", c.v);
    EXPECT_EQ(n.GetAttribute(u"f"), c.short_);
  }
  n.SetFloat(u"f", 1.2345);
  EXPECT_EQ(n.GetAttribute(u"f"), u"1.2345");
  EXPECT_DOUBLE_EQ(n.GetAttrF(u"f"), 1.2345);
  EXPECT_DOUBLE_EQ(n.GetFloat(u"absent"), 0.0);

  n.SetAttrI(u"i", -42);
  EXPECT_EQ(n.GetAttrI(u"i"), -42);
  n.SetAttr(u"i", u"4x");
  EXPECT_THROW(n.GetAttrI(u"i"), EConvertError);
  EXPECT_THROW(n.GetAttrI(u"absent"), EConvertError);  // absent reads as ""

  EXPECT_EQ(n.GetDate(u"absent"), 0.0);
  TDateTime day = EncodeDate(2024, 2, 29);
  n.SetDate(u"d", day);
  EXPECT_EQ(n.GetAttribute(u"d"), u"2024-02-29");
  EXPECT_EQ(n.GetDate(u"d"), day);
  TDateTime at = day + EncodeTime(13, 5, 9, 0);
  n.SetDateTime(u"dt", at);
  EXPECT_EQ(n.GetAttribute(u"dt"), u"2024-02-29T13:05:09");
  EXPECT_NEAR(n.GetDateTime(u"dt"), at, 1e-9);  // the reader's blank copies the "T"
  n.SetTime(u"t", EncodeTime(7, 8, 9, 0));
  EXPECT_EQ(n.GetAttribute(u"t"), u"07:08:09");
  EXPECT_NEAR(n.GetTime(u"t"), EncodeTime(7, 8, 9, 0), 1e-9);
}

TEST(HtNode, WalksAndPositions) {
  Tree t;
  // Document order, and back.
  std::vector<THtNode*> order{t.root.get(), t.a, t.b, t.t1, t.c, t.comment, t.t2, t.d, t.e};
  THtNode* n = t.root.get();
  for (size_t i = 1; i < order.size(); ++i) {
    n = n->NextNode();
    EXPECT_EQ(n, order[i]) << i;
  }
  EXPECT_EQ(t.e->NextNode(), nullptr);  // last node of the tree
  for (size_t i = order.size() - 1; i > 0; --i) EXPECT_EQ(order[i]->PreviousNode(), order[i - 1]) << i;

  EXPECT_EQ(t.root->Last(), t.e);
  EXPECT_EQ(t.b->Last(), t.b);
  EXPECT_EQ(t.e->Root(), t.root.get());
  EXPECT_EQ(t.a->NextSibling(), t.comment);
  EXPECT_EQ(t.comment->PreviousSibling(), t.a);
  EXPECT_EQ(t.a->PreviousSibling(), nullptr);
  EXPECT_EQ(t.root->LastChild(), t.d);
  EXPECT_EQ(t.root->FirstChildTag(), t.a);
  EXPECT_EQ(t.a->LastChildTag(), t.c);

  // A comment can be the last tagged child, never the first.
  THtNode p;
  Add(&p, u"!");
  Add(&p, u"", u"x");
  THtNode* q = Add(&p, u"q");
  THtNode* last = Add(&p, u"!");
  EXPECT_EQ(p.FirstChildTag(), q);
  EXPECT_EQ(p.LastChildTag(), last);

  EXPECT_EQ(t.e->Path(), u"root/d/e");
  EXPECT_EQ(t.t1->Path(), u"root/a/");
  EXPECT_EQ(t.e->UpTo(u"root"), t.root.get());
  EXPECT_EQ(t.e->UpTo(u"e"), nullptr);  // proper ancestors only
  EXPECT_EQ(t.e->UpTo({u"x", u"d"}), t.d);
  EXPECT_TRUE(t.e->HasParentTag(u"d"));
  EXPECT_FALSE(t.e->HasParentTag(u"D"));  // exact
  EXPECT_TRUE(t.e->HasAsParent(t.root.get()));
  EXPECT_FALSE(t.root->HasAsParent(t.root.get()));

  struct Pos {
    THtNode* node;
    int32_t nodeIndex, childIndex, tagIndex;
  } positions[] = {{t.a, 0, 0, 0}, {t.comment, 1, 1, 0}, {t.t2, 2, 2, 0}, {t.d, 3, 2, 0}, {t.root.get(), -1, 0, 0}};
  for (const Pos& p : positions) {
    EXPECT_EQ(p.node->NodeIndex(), p.nodeIndex) << p.node->Path().ToUtf8();
    EXPECT_EQ(p.node->ChildIndex(), p.childIndex) << p.node->Path().ToUtf8();
    EXPECT_EQ(p.node->TagIndex(), p.tagIndex) << p.node->Path().ToUtf8();
  }
  THtNode* d2 = Add(t.root.get(), u"d");
  EXPECT_EQ(d2->TagIndex(), 1);
  EXPECT_EQ(t.root->Countof(u"d"), 2);

  EXPECT_EQ(t.root->TextContent(), u"T1C note T2E");  // nothing decoded or spaced
}

TEST(HtNode, Searches) {
  Tree t;
  t.c->SetAttr(u"id", u"x");
  t.e->SetAttr(u"id", u"x");
  t.d->SetAttr(u"id", u"y");
  struct Case {
    const char16_t* path;
    THtNode* expected;
  } names[] = {{u"a", t.a}, {u"a/c", t.c}, {u"d/e", t.e}, {u"e", nullptr}, {u"a/x", nullptr}, {u"a/c/", nullptr}};
  for (const Case& c : names) EXPECT_EQ(t.root->NodebyName(c.path), c.expected) << UnicodeString(c.path).ToUtf8();

  EXPECT_EQ(t.root->FindNode(u"e"), t.e);
  EXPECT_EQ(t.root->FindNode(u"root"), nullptr);  // the node itself isn't tested
  EXPECT_EQ(t.root->FindNodebyAttr(u"", u"id", u"x"), t.c);
  EXPECT_EQ(t.root->FindNodebyAttr(u"e", u"id", u"x"), t.e);
  EXPECT_EQ(t.root->NodebyAttr(u"id", u"y"), t.d);
  EXPECT_EQ(t.root->NodebyAttr(u"id", u"x"), nullptr);  // children only
  EXPECT_EQ(t.root->NodebyNameAttr(u"d", u"id", u"y"), t.d);
  THtNode* d2 = Add(t.root.get(), u"d");
  EXPECT_EQ(t.root->NodebyNameIndex(u"d", 1), d2);
  EXPECT_EQ(t.root->NodebyNameIndex(u"d", 2), nullptr);
}

TEST(HtNode, OwnershipAndClasses) {
  gDestroyed = 0;
  {
    Tree t;
    // The root decides the class of everything created in the tree, and
    // AddChild goes through SetParent while InternalAddChild doesn't.
    EXPECT_TRUE(t.e->InheritsFrom(TCountedNode::StaticClass()));
    EXPECT_EQ(static_cast<TCountedNode*>(t.e)->setParentCalls, 1);
    THtNode plain;
    EXPECT_EQ(t.e->GetElementClass(u"x", &plain), THtNode::StaticClass());
    auto* internal = static_cast<TCountedNode*>(t.root->InternalAddChild(nullptr));
    EXPECT_EQ(internal->setParentCalls, 0);
    EXPECT_EQ(internal->Parent(), t.root.get());
    EXPECT_THROW(t.root->AddChild(TObject::StaticClass()), EInvalidCast);

    EXPECT_THROW(t.a->DeleteChild(t.e), Exception);
    try {
      t.a->DeleteChild(t.e);
    } catch (const Exception& ex) {
      EXPECT_EQ(ex.Message(), u"Child node not found");
    }
    EXPECT_THROW(t.a->DeleteChild(nullptr), Exception);
    t.root->DeleteChild(t.d);  // d and e
    EXPECT_EQ(gDestroyed, 2);
    EXPECT_EQ(t.t2->NextSibling(), internal);

    // Moving a node: take it out of one list, add it to another, set parent.
    THtNode* moved = t.a;
    EXPECT_EQ(t.root->GetNodes()->RemoveItem(moved), 0);
    THtNode* other = Add(t.root.get(), u"other");
    other->GetNodes()->Add(moved);
    moved->SetParent(other);
    EXPECT_EQ(moved->Path(), u"root/other/a");
    EXPECT_EQ(gDestroyed, 2);

    // AddNode moves in one step and refuses cycles.
    t.root->AddNode(t.c);
    EXPECT_EQ(t.c->Parent(), t.root.get());
    EXPECT_EQ(t.a->GetCount(), 2);
    EXPECT_EQ(t.root->LastChild(), t.c);
    EXPECT_THROW(t.b->AddNode(t.root.get()), EInvalidOperation);
    EXPECT_THROW(t.a->AddNode(t.a), EInvalidOperation);

    t.a->DeleteAllChildren();
    EXPECT_EQ(gDestroyed, 4);
    EXPECT_EQ(t.a->GetCount(), 0);
  }
  EXPECT_EQ(gDestroyed, 11);  // 9 of the tree, the internal child, "other"
}

TEST(HtNode, DeepChainWithoutRecursion) {
  constexpr int kDepth = 100000;
  gDestroyed = 0;
  {
    std::unique_ptr<THtNode> root(THtNode::Create(TCountedNode::StaticClass()));
    root->SetTag(u"r");
    THtNode* n = root.get();
    // The class is passed: a nil class asks the root, a walk up the chain.
    for (int i = 0; i < kDepth; ++i) {
      n = n->AddChild(TCountedNode::StaticClass());
      n->SetTag(i + 1 == kDepth ? u"leaf" : u"n");
      n->SetContent(u"x");
    }
    EXPECT_EQ(root->FindNode(u"leaf"), n);
    EXPECT_EQ(root->FindNodebyAttr(u"", u"id", u""), root->GetNode(0));  // absent reads as ""
    EXPECT_EQ(root->Last(), n);
    EXPECT_EQ(root->TextContent().Length(), kDepth);
    EXPECT_EQ(n->Path().Length(), 2 * kDepth + 4);  // "r", "/n" each, "/leaf"
    EXPECT_EQ(n->Root(), root.get());
    EXPECT_EQ(n->NextNode(), nullptr);
    EXPECT_EQ(n->UpTo(u"r"), root.get());
    int steps = 0;
    for (THtNode* w = root.get(); w; w = w->NextNode()) ++steps;
    EXPECT_EQ(steps, kDepth + 1);
    // A deep subtree freed from the middle.
    root->GetNode(0)->GetNode(0)->DeleteAllChildren();
    EXPECT_EQ(gDestroyed, kDepth - 2);
  }
  EXPECT_EQ(gDestroyed, kDepth + 1);
}
