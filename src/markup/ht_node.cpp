#include "norvane/markup/ht_node.h"

#include <memory>
#include <vector>

#include "norvane/foundation/date_mask.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/foundation/hash.h"
#include "norvane/foundation/number_text.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(THtNode, "htmlpars")

namespace {

[[noreturn]] void RaiseChildNotFound() { throw Exception(UnicodeString(u"Child node not found")); }

UnicodeString PointDecimal(UnicodeString s) {
  if (Pos(u',', s.view()) > 0) s = StringReplace(s, u",", u".", ReplaceFlags::ReplaceAll);
  return s;
}

// Pre-order walk over the descendants of `node` with an explicit stack, so
// that depth costs heap, not stack. `visit` returns true to stop.
template <class Visit, class Descend>
THtNode* WalkDescendants(const THtNode* node, Visit visit, Descend descend) {
  struct Frame {
    THtNodeList* List;
    int32_t Index;
  };
  THtNodeList* top = node->ExistingNodes();
  if (!top || top->GetCount() == 0) return nullptr;
  std::vector<Frame> stack;
  stack.push_back({top, 0});
  while (!stack.empty()) {
    Frame& f = stack.back();
    if (f.Index >= f.List->GetCount()) {
      stack.pop_back();
      continue;
    }
    THtNode* c = f.List->GetNode(f.Index++);
    if (!c) continue;
    if (visit(c)) return c;
    if (!descend(c)) continue;
    THtNodeList* sub = c->ExistingNodes();
    if (sub && sub->GetCount() > 0) stack.push_back({sub, 0});
  }
  return nullptr;
}

template <class Visit>
THtNode* WalkDescendants(const THtNode* node, Visit visit) {
  return WalkDescendants(node, visit, [](const THtNode*) { return true; });
}

}  // namespace

THtNode::~THtNode() {
  if (FNodes) {
    // Free the subtree bottom-up without recursion: descend along last
    // children and free leaves from the end of their lists. Every node is
    // freed after its children and before its parent.
    std::vector<THtNode*> path;
    THtNode* n = this;
    for (;;) {
      THtNodeList* l = n->FNodes;
      if (l && l->OwnsObjects && l->GetCount() > 0) {
        THtNode* last = l->LastNode();
        THtNodeList* sub = last ? last->FNodes : nullptr;
        if (sub && sub->OwnsObjects && sub->GetCount() > 0) {
          path.push_back(n);
          n = last;
        } else {
          l->Delete(l->GetCount() - 1);
        }
        continue;
      }
      if (path.empty()) break;
      n = path.back();
      path.pop_back();
    }
    delete FNodes;
  }
  delete FAttributes;
}

THtNode* THtNode::Create(TMetaClass cls) {
  if (!cls) cls = StaticClass();
  if (!cls->InheritsFrom(StaticClass()))
    throw EInvalidCast(u"Invalid class typecast: %s is not %s", {cls->ClassName(), StaticClass()->ClassName()});
  return static_cast<THtNode*>(cls->Create());
}

// --- Virtual operations --------------------------------------------------------

THtNodeList* THtNode::GetNodes() {
  if (!FNodes) FNodes = new THtNodeList(true, false);
  return FNodes;
}

void THtNode::SetParent(const THtNode* parent) { FParent = const_cast<THtNode*>(parent); }

void THtNode::SetContent(const UnicodeString& content) { FContent = content; }

void THtNode::CallScriptFunction(const TObject*) {}

int32_t THtNode::ScriptCompare(const TObject*, const THtNode*) { return 0; }

TMetaClass THtNode::GetElementClass(const UnicodeString& tag, const THtNode* root) {
  if (root) return const_cast<THtNode*>(root)->GetElementClass(tag, nullptr);
  if (FParent) {
    THtNode* r = Root();
    if (r != this) return r->GetElementClass(tag, nullptr);
  }
  return ClassType();
}

THtNode* THtNode::AddCreated(TMetaClass cls, bool throughSetParent) {
  // Without a class the child is made by this node's own factory, whose
  // class the root chose: asking the root again would walk the whole depth
  // for every child.
  if (!cls) cls = ClassType();
  std::unique_ptr<THtNode> child(Create(cls));
  if (throughSetParent)
    child->SetParent(this);
  else
    child->FParent = this;
  GetNodes()->Add(child.get());
  return child.release();
}

THtNode* THtNode::InternalAddChild(TMetaClass cls) { return AddCreated(cls, false); }

void THtNode::CreateAttributes() {
  if (!FAttributes) FAttributes = new THtAttributes();
}

THtNode* THtNode::AddChild(TMetaClass cls) { return AddCreated(cls, true); }

void THtNode::DeleteChild(const THtNode* child) {
  int32_t i = (FNodes && child) ? FNodes->IndexOf(child) : -1;
  if (i < 0) RaiseChildNotFound();
  FNodes->Delete(i);
}

void THtNode::DeleteAllChildren() {
  if (FNodes) FNodes->Clear();
}

THtNodeList* THtNode::GetJQueryList(const UnicodeString&, bool) { return nullptr; }

UnicodeString THtNode::TextContent() {
  TFastString out(1024);
  out.Add(FContent);
  // A child with a tag gives its own text content, one without a tag only
  // its content.
  WalkDescendants(
      this,
      [&](THtNode* c) {
        out.Add(c->FContent);
        return false;
      },
      [](const THtNode* c) { return !c->Tag().IsEmpty(); });
  return out.GetAsString();
}

bool THtNode::SetAttribute(const UnicodeString& name, UnicodeString value) {
  if (!FAttributes) {
    if (value.IsEmpty()) return false;
    CreateAttributes();
    if (!FAttributes) return false;
  }
  return FAttributes->SetAttributeEx(name, value);
}

// --- Tag ----------------------------------------------------------------------------

int32_t THtNode::TagHashOf(const UnicodeString& tag) {
  const char16_t* p = tag.Data();
  int32_t n = tag.Length();
  bool upper = false;
  for (int32_t i = 0; i < n && !upper; ++i) upper = p[i] >= u'A' && p[i] <= u'Z';
  if (!upper) return RSHash(p, n);
  UnicodeString folded = LowerCase(tag);
  return RSHash(folded.Data(), n);
}

void THtNode::SetTag(const UnicodeString& tag) {
  FTag = tag;
  FTagHash = TagHashOf(tag);
}

// --- Attributes ------------------------------------------------------------------

UnicodeString THtNode::GetAttribute(const UnicodeString& name) const {
  return FAttributes ? FAttributes->GetAttribute(name) : UnicodeString();
}

bool THtNode::HasAttribute(const UnicodeString& name) const {
  return FAttributes && FAttributes->Indexof(name) >= 0;
}

bool THtNode::HasAttributeValue(const UnicodeString& name, const UnicodeString& value) const {
  int32_t i;
  return FAttributes && FAttributes->Find(name, i) && FAttributes->List[size_t(i)].Value == value;
}

void THtNode::CopyAttributesFrom(const THtNode* source) {
  if (!source || source == this || !source->FAttributes) return;
  const THtAttributes& a = *source->FAttributes;
  for (int32_t i = 0; i < a.Count; ++i) SetAttribute(a.List[size_t(i)].Name, a.List[size_t(i)].Value);
}

int32_t THtNode::GetAttrI(const UnicodeString& name) const { return StrToInt(GetAttribute(name).view()); }

void THtNode::SetAttrI(const UnicodeString& name, int32_t value) { SetAttribute(name, IntToStr(value)); }

double THtNode::GetAttrF(const UnicodeString& name) const { return iStrtoFloat(GetAttribute(name)); }

void THtNode::SetAttrF(const UnicodeString& name, double value) {
  SetAttribute(name, PointDecimal(FormatFloat(u"0.##", value)));
}

void THtNode::SetFloat(const UnicodeString& name, double value) {
  SetAttribute(name, PointDecimal(FloatToStr(value)));
}

bool THtNode::GetAttrB(const UnicodeString& name) const {
  UnicodeString v = GetAttribute(name);
  return v == u"1" || v == u"true" || v == u"on";
}

void THtNode::SetAttrB(const UnicodeString& name, bool value) {
  SetAttribute(name, UnicodeString(value ? u"1" : u"0"));
}

TDateTime THtNode::GetDate(const UnicodeString& name) const {
  return StrtoDateFmt(GetAttribute(name), UnicodeString(u"yyyy-mm-dd"));
}

void THtNode::SetDate(const UnicodeString& name, TDateTime value) {
  SetAttribute(name, FormatDateTime(u"yyyy-mm-dd", value));
}

TDateTime THtNode::GetDateTime(const UnicodeString& name) const {
  return StrtoDateFmt(GetAttribute(name), UnicodeString(u"yyyy-mm-dd hh:nn:ss"));
}

void THtNode::SetDateTime(const UnicodeString& name, TDateTime value) {
  SetAttribute(name, FormatDateTime(u"yyy-mm-dd\"T\"hh:nn:ss", value));
}

TDateTime THtNode::GetTime(const UnicodeString& name) const {
  return StrtoDateFmt(GetAttribute(name), UnicodeString(u"hh:nn:ss"));
}

void THtNode::SetTime(const UnicodeString& name, TDateTime value) {
  SetAttribute(name, FormatDateTime(u"hh:nn:ss", value));
}

// --- Walks ------------------------------------------------------------------------------

THtNode* THtNode::Root() noexcept {
  THtNode* n = this;
  while (n->FParent) n = n->FParent;
  return n;
}

THtNode* THtNode::PreviousSibling() const noexcept {
  if (!FParent || !FParent->FNodes) return nullptr;
  int32_t i = FParent->FNodes->IndexOf(this);
  return i > 0 ? FParent->FNodes->GetNode(i - 1) : nullptr;
}

THtNode* THtNode::NextNode() noexcept {
  if (FNodes && FNodes->GetCount() > 0) return FNodes->FirstNode();
  for (THtNode* n = this;;) {
    if (n->FNextSibling) return n->FNextSibling;
    THtNode* p = n->FParent;
    if (!p || !p->FNodes) return nullptr;
    n = p;
  }
}

THtNode* THtNode::PreviousNode() noexcept {
  THtNode* prev = PreviousSibling();
  return prev ? prev->Last() : FParent;
}

THtNode* THtNode::Last() noexcept {
  THtNode* n = this;
  while (n->FNodes && n->FNodes->LastNode()) n = n->FNodes->LastNode();
  return n;
}

THtNode* THtNode::LastChild() const noexcept { return FNodes ? FNodes->LastNode() : nullptr; }

THtNode* THtNode::FirstChildTag() const noexcept {
  for (int32_t i = 0, n = GetCount(); i < n; ++i) {
    THtNode* c = FNodes->GetNode(i);
    if (c && !c->FTag.IsEmpty() && c->FTag != u"!") return c;
  }
  return nullptr;
}

THtNode* THtNode::LastChildTag() const noexcept {
  for (int32_t i = GetCount() - 1; i >= 0; --i) {
    THtNode* c = FNodes->GetNode(i);
    if (c && !c->FTag.IsEmpty()) return c;
  }
  return nullptr;
}

THtNode* THtNode::UpTo(const UnicodeString& tag) const noexcept {
  for (THtNode* p = FParent; p; p = p->FParent)
    if (p->FTag == tag) return p;
  return nullptr;
}

THtNode* THtNode::UpTo(const UnicodeString* tags, int32_t high) const noexcept {
  if (!tags) return nullptr;
  for (THtNode* p = FParent; p; p = p->FParent)
    for (int32_t i = 0; i <= high; ++i)
      if (p->FTag == tags[i]) return p;
  return nullptr;
}

bool THtNode::HasAsParent(const THtNode* node) const noexcept {
  if (!node) return false;
  for (THtNode* p = FParent; p; p = p->FParent)
    if (p == node) return true;
  return false;
}

UnicodeString THtNode::Path() const {
  std::vector<const THtNode*> chain;
  for (const THtNode* n = this; n; n = n->FParent) chain.push_back(n);
  TFastString out(256);
  for (size_t i = chain.size(); i-- > 0;) {
    out.Add(chain[i]->FTag);
    if (i > 0) out.AddChar(u'/');
  }
  return out.GetAsString();
}

// --- Positions --------------------------------------------------------------------------

int32_t THtNode::GetCount() const noexcept { return FNodes ? FNodes->GetCount() : 0; }

THtNode* THtNode::GetNode(int32_t index) const {
  if (!FNodes) throw EListError(u"List index out of bounds (%d)", {index});
  return FNodes->GetNode(index);
}

int32_t THtNode::NodeIndex() const noexcept {
  return (FParent && FParent->FNodes) ? FParent->FNodes->IndexOf(this) : -1;
}

int32_t THtNode::ChildIndex() const noexcept {
  if (!FParent) return 0;
  int32_t result = 0;
  for (int32_t i = 0, n = FParent->GetCount(); i < n; ++i) {
    THtNode* c = FParent->FNodes->GetNode(i);
    if (c == this) break;
    if (c && !c->FTag.IsEmpty()) ++result;
  }
  return result;
}

int32_t THtNode::TagIndex() const noexcept {
  if (!FParent) return 0;
  int32_t result = 0;
  for (int32_t i = 0, n = FParent->GetCount(); i < n; ++i) {
    THtNode* c = FParent->FNodes->GetNode(i);
    if (c == this) break;
    if (c && c->FTag == FTag) ++result;
  }
  return result;
}

int32_t THtNode::Countof(const UnicodeString& tag) const noexcept {
  int32_t result = 0;
  for (int32_t i = 0, n = GetCount(); i < n; ++i) {
    THtNode* c = FNodes->GetNode(i);
    if (c && c->FTag == tag) ++result;
  }
  return result;
}

// --- Searches ----------------------------------------------------------------------------

THtNode* THtNode::NodebyName(const UnicodeString& path) const {
  std::u16string_view rest = path.view();
  const THtNode* n = this;
  for (;;) {
    size_t slash = rest.find(u'/');
    std::u16string_view piece = rest.substr(0, slash);
    THtNode* found = nullptr;
    for (int32_t i = 0, cnt = n->GetCount(); i < cnt && !found; ++i) {
      THtNode* c = n->FNodes->GetNode(i);
      if (c && c->FTag.view() == piece) found = c;
    }
    if (!found || slash == std::u16string_view::npos) return found;
    n = found;
    rest = rest.substr(slash + 1);
  }
}

THtNode* THtNode::NodebyNameIndex(const UnicodeString& tag, int32_t index) const noexcept {
  for (int32_t i = 0, n = GetCount(); i < n; ++i) {
    THtNode* c = FNodes->GetNode(i);
    if (c && c->FTag == tag && index-- == 0) return c;
  }
  return nullptr;
}

THtNode* THtNode::NodebyAttr(const UnicodeString& attr, const UnicodeString& value) const {
  for (int32_t i = 0, n = GetCount(); i < n; ++i) {
    THtNode* c = FNodes->GetNode(i);
    if (c && c->GetAttribute(attr) == value) return c;
  }
  return nullptr;
}

THtNode* THtNode::NodebyNameAttr(const UnicodeString& tag, const UnicodeString& attr,
                                 const UnicodeString& value) const {
  for (int32_t i = 0, n = GetCount(); i < n; ++i) {
    THtNode* c = FNodes->GetNode(i);
    if (c && c->FTag == tag && c->GetAttribute(attr) == value) return c;
  }
  return nullptr;
}

THtNode* THtNode::FindNode(const UnicodeString& tag) const {
  return WalkDescendants(this, [&](THtNode* c) { return c->FTag == tag; });
}

THtNode* THtNode::FindNodebyAttr(const UnicodeString& tag, const UnicodeString& attr,
                                 const UnicodeString& value) const {
  return WalkDescendants(this, [&](THtNode* c) {
    return (tag.IsEmpty() || c->FTag == tag) && c->GetAttribute(attr) == value;
  });
}

// --- Structure ----------------------------------------------------------------------------

THtNode* THtNode::AddNode(THtNode* node) {
  if (!node) return nullptr;
  if (node == this || HasAsParent(node))
    throw EInvalidOperation(UnicodeString(u"A node can't be added to itself or to one of its descendants"));
  if (node->FParent && node->FParent->FNodes) node->FParent->FNodes->RemoveItem(node);
  GetNodes()->Add(node);
  node->SetParent(this);
  return node;
}

void THtNode::Exchange(THtNode* a, THtNode* b) {
  int32_t i = FNodes && a ? FNodes->IndexOf(a) : -1;
  int32_t j = FNodes && b ? FNodes->IndexOf(b) : -1;
  if (i < 0 || j < 0) RaiseChildNotFound();
  FNodes->Exchange(i, j);
}

void THtNode::Exchange(int32_t index1, int32_t index2) {
  if (!FNodes) throw EListError(u"List index out of bounds (%d)", {index1});
  FNodes->Exchange(index1, index2);
}

}  // namespace norvane
