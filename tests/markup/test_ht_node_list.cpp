#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/ht_node.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/runtime/exception.h"

using namespace norvane;

namespace {

int gListsFreed = 0;
int gNodesFreed = 0;

class TCountedList : public THtNodeList {
  NV_CLASS(TCountedList, THtNodeList)
 public:
  using THtNodeList::THtNodeList;
  ~TCountedList() override { ++gListsFreed; }
};
NV_CLASS_IMPL(TCountedList, "test")

// Compares by the numeric "k" attribute, and records script calls.
class TScriptNode : public THtNode {
  NV_CLASS(TScriptNode, THtNode)
 public:
  ~TScriptNode() override { ++gNodesFreed; }
  void CallScriptFunction(const TObject*) override { ++calls; }
  int32_t ScriptCompare(const TObject*, const THtNode* other) override {
    return GetAttrI(u"k") - (other ? other->GetAttrI(u"k") : 0);
  }
  int calls = 0;
};
NV_CLASS_IMPL(TScriptNode, "test")

std::unique_ptr<THtNode> MakeRoot(int children, const char16_t* tag = u"i") {
  std::unique_ptr<THtNode> root(THtNode::Create(TScriptNode::StaticClass()));
  root->SetTag(u"root");
  for (int i = 0; i < children; ++i) {
    THtNode* c = root->AddChild(nullptr);
    c->SetTag(tag);
    c->SetAttrI(u"n", i);
  }
  return root;
}

// The "n" attributes of the items, in order.
std::string Order(const THtNodeList& l) {
  std::string s;
  for (THtNode* n : l) s += n ? n->GetAttribute(u"n").ToUtf8() : "-";
  return s;
}

// Whether every next-sibling link follows the list's order.
bool LinksFollowOrder(const THtNodeList& l) {
  for (int32_t i = 0; i < l.GetCount(); ++i) {
    THtNode* expected = i + 1 < l.GetCount() ? l.GetNode(i + 1) : nullptr;
    if (l.GetNode(i)->NextSibling() != expected) return false;
  }
  return true;
}

}  // namespace

TEST(HtNodeList, ChildListKeepsSiblingLinks) {
  struct Case {
    const char* what;
    void (*op)(THtNodeList& l, THtNode* spare);
    const char* order;
  } cases[] = {
      {"add", [](THtNodeList&, THtNode*) {}, "0123"},
      {"insert first", [](THtNodeList& l, THtNode* s) { l.Insert(0, s); }, "90123"},
      {"insert middle", [](THtNodeList& l, THtNode* s) { l.Insert(2, s); }, "01923"},
      {"insert end", [](THtNodeList& l, THtNode* s) { l.Insert(4, s); }, "01239"},
      {"delete first", [](THtNodeList& l, THtNode*) { l.Delete(0); }, "123"},
      {"delete middle", [](THtNodeList& l, THtNode*) { l.Delete(2); }, "013"},
      {"delete last", [](THtNodeList& l, THtNode*) { l.Delete(3); }, "012"},
      {"exchange ends", [](THtNodeList& l, THtNode*) { l.Exchange(0, 3); }, "3120"},
      {"exchange neighbours", [](THtNodeList& l, THtNode*) { l.Exchange(2, 1); }, "0213"},
      {"remove item", [](THtNodeList& l, THtNode*) { EXPECT_EQ(l.RemoveItem(l.GetNode(1)), 1); }, "023"},
      {"first", [](THtNodeList& l, THtNode*) { l.First(); }, "0"},
      {"last", [](THtNodeList& l, THtNode*) { l.Last(); }, "3"},
  };
  for (const Case& c : cases) {
    gNodesFreed = 0;
    auto root = MakeRoot(4);
    std::unique_ptr<THtNode> spare(new TScriptNode);
    spare->SetAttrI(u"n", 9);
    THtNodeList& l = *root->GetNodes();
    THtNode* removed = c.what == std::string("remove item") ? l.GetNode(1) : nullptr;
    c.op(l, spare.get());
    if (l.IndexOf(spare.get()) >= 0) spare->SetParent(root.get()), spare.release();
    EXPECT_EQ(Order(l), c.order) << c.what;
    EXPECT_TRUE(LinksFollowOrder(l)) << c.what;
    int expectedFreed = 4 - int(std::string(c.order).size()) - (removed ? 1 : 0) + (spare ? 0 : 1);
    EXPECT_EQ(gNodesFreed, expectedFreed) << c.what;
    if (removed) {
      EXPECT_EQ(removed->NextSibling(), nullptr);
      delete removed;  // taken out, not freed: now the caller's
    }
  }
  EXPECT_THROW(MakeRoot(2)->GetNodes()->Delete(2), EListError);
}

TEST(HtNodeList, QueryResultHoldsReferences) {
  gNodesFreed = 0;
  auto root = MakeRoot(3);
  THtNode* a = root->GetNode(0);
  {
    THtNodeList q(false, false);
    q.Add(root->GetNode(2));
    q.Add(a);
    EXPECT_EQ(a->NextSibling(), root->GetNode(1));  // Add leaves links alone
    q.Delete(0);
    q.Exchange(0, 0);
    EXPECT_EQ(root->GetNode(1)->NextSibling(), root->GetNode(2));
    EXPECT_EQ(q.GetCount(), 1);
  }
  EXPECT_EQ(gNodesFreed, 0);
  EXPECT_TRUE(LinksFollowOrder(*root->GetNodes()));
}

TEST(HtNodeList, ReferenceCount) {
  gListsFreed = 0;
  {
    IntfPtr<IHtNodeList> p(new TCountedList(false, true));
    EXPECT_EQ(p->GetList()->RefCount(), 1);
    IntfPtr<IHtNodeList> q = p->AddClass2(u"x");  // empty list: no HTML call
    EXPECT_EQ(p->GetList()->RefCount(), 2);
    try {
      p->GetList()->Free();
      ADD_FAILURE() << "freed while referenced";
    } catch (const EInvalidPointer& e) {
      EXPECT_EQ(e.Message(), u"TCountedList");
    }
  }
  EXPECT_EQ(gListsFreed, 1);

  TCountedList plain(false, false);
  EXPECT_EQ(plain._AddRef(), 0);
  EXPECT_EQ(plain._Release(), 0);
  { IntfPtr<IHtNodeList> p(&plain); }  // not counted: survives
  EXPECT_EQ(gListsFreed, 1);
  auto* fresh = new THtNodeList(false, true);
  EXPECT_EQ(fresh->RefCount(), 0);
  fresh->Free();
}

TEST(HtNodeList, Enumerator) {
  auto root = MakeRoot(3);
  THtNodeListEnumerator e = root->GetNodes()->GetEnumerator();
  std::string seen;
  while (e.MoveNext()) seen += e.GetCurrent()->GetAttribute(u"n").ToUtf8();
  EXPECT_EQ(seen, "012");
  EXPECT_FALSE(e.MoveNext());
  THtNodeList empty;
  THtNodeListEnumerator none = empty.GetEnumerator();
  EXPECT_FALSE(none.MoveNext());
}

TEST(HtNodeList, NarrowingAndBulk) {
  auto root = MakeRoot(3);
  for (int i = 0; i < 3; ++i) root->GetNode(i)->AddChild(nullptr)->SetTag(u"sub");
  THtNodeList q(false, false);
  for (int i = 0; i < 3; ++i) q.Add(root->GetNode(i));
  q.Add(root.get());

  EXPECT_EQ(q.GetAttr(u"n"), u"0,1,2,");
  EXPECT_EQ(q.GetCSS(u"color"), u"");
  q.on(u"click", u"go()")->Attribute(u"data-x", u"1");
  EXPECT_EQ(root->GetNode(1)->GetAttribute(u"onclick"), u"go()");
  EXPECT_EQ(root->GetAttribute(u"data-x"), u"1");
  q.Each(nullptr);
  EXPECT_EQ(static_cast<TScriptNode*>(root.get())->calls, 1);

  q.Parent();  // the root's parent is nil and stays in the list
  EXPECT_EQ(q.GetCount(), 4);
  EXPECT_EQ(q.GetNode(0), root.get());
  EXPECT_EQ(q.GetNode(3), nullptr);
  q.Each(nullptr)->Attribute(u"y", u"2");  // nil items are passed over
  q.Last()->Parent();
  EXPECT_EQ(q.GetCount(), 1);
  EXPECT_EQ(q.GetNode(0), nullptr);

  q.Clear();
  q.Add(root.get());
  q.Children();
  EXPECT_EQ(Order(q), "012");
  q.Children();
  EXPECT_EQ(q.GetCount(), 3);
  EXPECT_EQ(q.GetNode(2)->Tag(), u"sub");

  q.Append(u"p");
  ASSERT_EQ(q.GetCount(), 3);
  EXPECT_EQ(q.GetNode(0)->Path(), u"root/i/sub/p");
  EXPECT_TRUE(q.GetNode(0)->InheritsFrom(TScriptNode::StaticClass()));
  q.SetText(u"hello");
  EXPECT_EQ(q.GetNode(1)->Content(), u"hello");
  EXPECT_EQ(root->TextContent(), u"hellohellohello");
  q.First();
  EXPECT_EQ(q.GetCount(), 1);

  // Replacing the items of a child list would hand its nodes to no one.
  THtNodeList* children = root->GetNodes();
  EXPECT_THROW(children->Parent(), EInvalidOperation);
  EXPECT_THROW(children->Children(), EInvalidOperation);
  EXPECT_THROW(children->Append(u"x"), EInvalidOperation);
  EXPECT_THROW(children->Remove(), EInvalidOperation);
  EXPECT_EQ(root->GetCount(), 3);
}

TEST(HtNodeList, RemoveDeletesFromParentsOnce) {
  gNodesFreed = 0;
  auto root = MakeRoot(4);
  THtNode* a = root->GetNode(0);
  THtNode* deep = a->AddChild(nullptr);
  THtNode* deeper = deep->AddChild(nullptr);
  THtNodeList q(false, false);
  // A descendant listed before its ancestor, a duplicate, a nil item.
  for (THtNode* n : {deeper, root->GetNode(2), a, root->GetNode(2), static_cast<THtNode*>(nullptr)}) q.Add(n);
  q.Remove();
  EXPECT_EQ(q.GetCount(), 0);
  EXPECT_EQ(gNodesFreed, 4);  // a, deep, deeper, the third child
  EXPECT_EQ(Order(*root->GetNodes()), "13");
  EXPECT_TRUE(LinksFollowOrder(*root->GetNodes()));
}

TEST(HtNodeList, Sorting) {
  struct Row {
    const char16_t *a, *b;
  };
  const Row rows[] = {{u"b", u"10"}, {u"B", u"9"}, {u"a", u"2"}, {u"c", u"2"}};
  struct Case {
    const char16_t* names;
    THtSortCompareType type;
    bool ascending;
    const char* order;
  } cases[] = {
      {u"a", scCaseSensitive, true, "1203"},  // "B" < "a" < "b" < "c"
      {u"a,b", scCaseInsensitive, true, "2013"},   // "b" = "B", then "10" < "9" as text
      {u"a,^b", scCaseInsensitive, true, "2103"},  // "^" reverses that key only
      {u"b,a", scFloat, true, "2310"},
      {u"b,a", scCaseSensitive, true, "0231"},  // as text "10" < "2" < "9"
      {u"b,a", scFloat, false, "0132"},
      {u" b , ^a ", scCaseInsensitive, true, "0321"},
      {u"", scFloat, true, "0123"},
  };
  for (const Case& c : cases) {
    auto root = MakeRoot(4);
    THtNodeList q(false, false);
    for (int i = 0; i < 4; ++i) {
      root->GetNode(i)->SetAttr(u"a", rows[i].a);
      root->GetNode(i)->SetAttr(u"b", rows[i].b);
      q.Add(root->GetNode(i));
    }
    q.SortbyAttr(c.names, c.type, c.ascending);
    EXPECT_EQ(Order(q), c.order) << UnicodeString(c.names).ToUtf8();
    // A query result's sort doesn't touch the tree's links.
    EXPECT_TRUE(LinksFollowOrder(*root->GetNodes()));
  }

  // Dates: empty and unreadable values sort as 0.
  auto root = MakeRoot(4);
  const char16_t* dates[] = {u"2024-03-01", u"", u"2023-12-31", u"not a date"};
  for (int i = 0; i < 4; ++i) root->GetNode(i)->SetAttr(u"d", dates[i]);
  THtNodeList* children = root->GetNodes();
  children->SortbyAttr(u"d", scDate, false);
  EXPECT_EQ(Order(*children).substr(0, 2), "02");
  EXPECT_TRUE(children->OwnsObjects);
  EXPECT_TRUE(LinksFollowOrder(*children));  // a child list's sort relinks

  // SortElements asks the first node of each pair through ScriptCompare.
  for (int i = 0; i < 4; ++i) root->GetNode(i)->SetAttrI(u"k", (i * 3) % 4);
  children->SortElements(nullptr, true);
  EXPECT_EQ(children->GetAttr(u"k"), u"0,1,2,3");
  EXPECT_TRUE(LinksFollowOrder(*children));
  children->SortElements(nullptr, false);
  EXPECT_EQ(children->GetAttr(u"k"), u"3,2,1,0");
}

namespace {
class THtmlLike : public THtNode {
  NV_CLASS(THtmlLike, THtNode)
 public:
  UnicodeString classes;
};
NV_CLASS_IMPL(THtmlLike, "test")

const THtHtmlNodeOps kOps = [] {
  THtHtmlNodeOps o;
  o.NodeClass = THtmlLike::StaticClass();
  o.CSS = [](THtNode* n, const UnicodeString& t) { n->SetAttr(u"style", t); };
  o.AddClass = [](THtNode* n, const UnicodeString& c) { static_cast<THtmlLike*>(n)->classes += c; };
  o.RemoveClass = [](THtNode* n, const UnicodeString&) { static_cast<THtmlLike*>(n)->classes = UnicodeString(); };
  o.HasClass = [](THtNode* n, const UnicodeString&) { return !static_cast<THtmlLike*>(n)->classes.IsEmpty(); };
  o.SetInnerHTML = [](THtNode* n, const UnicodeString& h) { n->SetContent(h); };
  o.GetInnerHTML = [](THtNode* n) { return n->Content(); };
  o.GetInnerText = [](THtNode* n) { return n->TextContent(); };
  return o;
}();
}  // namespace

TEST(HtNodeList, HtmlBulkCallsNeedHtmlNodes) {
  THtmlLike a, b;
  THtNodeList q(false, false);
  q.Add(&a);
  q.Add(&b);
  const THtHtmlNodeOps* library = RegisteredHtmlNodeOps();  // put back at the end
  RegisterHtmlNodeOps(nullptr);
  EXPECT_THROW(q.AddClass(u"x"), ENotSupportedException);
  EXPECT_THROW(q.GetHTML(), ENotSupportedException);

  RegisterHtmlNodeOps(&kOps);
  b.classes = u"on";
  q.Style(u"color", u"red")->ToggleClass(u"k")->SetHTML(u"<b>x</b>");
  EXPECT_EQ(a.GetAttribute(u"style"), u"color: red");
  EXPECT_EQ(a.classes, u"k");
  EXPECT_EQ(b.classes, u"");
  EXPECT_EQ(q.GetHTML(), u"<b>x</b>");
  EXPECT_EQ(q.GetText(), u"<b>x</b><b>x</b>");
  EXPECT_EQ(q.RemoveClass2(u"k")->GetCount(), 2);

  THtNode plain;
  q.Add(&plain);
  EXPECT_THROW(q.AddClass(u"x"), EInvalidCast);
  RegisterHtmlNodeOps(library);
}
