#include "norvane/markup/ht_node_list.h"

#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "norvane/foundation/date_mask.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/foundation/number_text.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(THtNodeList, "htmlpars")

namespace {

std::atomic<const THtHtmlNodeOps*> gHtmlOps{nullptr};

// The HTML operations for `node`, or an error when they aren't registered
// or `node` isn't an HTML node.
const THtHtmlNodeOps& HtmlOps(THtNode* node, bool available) {
  const THtHtmlNodeOps* ops = gHtmlOps.load(std::memory_order_acquire);
  if (!ops || !available)
    throw ENotSupportedException(UnicodeString(u"HTML node operations are not available"));
  if (ops->NodeClass && !node->InheritsFrom(ops->NodeClass)) RaiseInvalidCast(node, ops->NodeClass);
  return *ops;
}

const THtHtmlNodeOps* Ops() noexcept { return gHtmlOps.load(std::memory_order_acquire); }

}  // namespace

void RegisterHtmlNodeOps(const THtHtmlNodeOps* ops) noexcept { gHtmlOps.store(ops, std::memory_order_release); }

const THtHtmlNodeOps* RegisteredHtmlNodeOps() noexcept { return gHtmlOps.load(std::memory_order_acquire); }

THtNodeList::~THtNodeList() = default;

// --- Reference count ------------------------------------------------------------------

int32_t THtNodeList::_AddRef() noexcept {
  if (!FRefCounted) return 0;
  return FRefCount.fetch_add(1, std::memory_order_relaxed) + 1;
}

int32_t THtNodeList::_Release() noexcept {
  if (!FRefCounted) return 0;
  int32_t n = FRefCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (n == 0) delete this;
  return n;
}

void THtNodeList::BeforeDestruction() const {
  if (FRefCount.load(std::memory_order_acquire) != 0) throw EInvalidPointer(ClassName());
}

void THtNodeList::Free() {
  BeforeDestruction();
  delete this;
}

// --- List -------------------------------------------------------------------------------

void THtNodeList::Link(int32_t index) noexcept {
  if (index <= 0 || index > FCount) return;
  auto* prev = static_cast<THtNode*>(FList[index - 1]);
  if (prev) prev->FNextSibling = index < FCount ? static_cast<THtNode*>(FList[index]) : nullptr;
}

int32_t THtNodeList::Add(THtNode* node) {
  int32_t i = TList::Add(node);
  if (OwnsObjects) {
    if (node) node->FNextSibling = nullptr;
    Link(i);
  }
  return i;
}

void THtNodeList::Delete(int32_t index) {
  TList::Delete(index);
  if (OwnsObjects) Link(index);
}

void THtNodeList::Insert(int32_t index, THtNode* node) {
  TList::Insert(index, node);
  if (OwnsObjects) {
    Link(index);
    Link(index + 1);
  }
}

void THtNodeList::Exchange(int32_t index1, int32_t index2) {
  TList::Exchange(index1, index2);
  if (OwnsObjects) {
    Link(index1);
    Link(index1 + 1);
    Link(index2);
    Link(index2 + 1);
  }
}

int32_t THtNodeList::RemoveItem(THtNode* node) {
  int32_t i = IndexOf(node);
  if (i < 0) return -1;
  TList::Extract(node);
  if (OwnsObjects) {
    Link(i);
    if (node) node->FNextSibling = nullptr;
  }
  return i;
}

void THtNodeList::SetSiblings() noexcept {
  for (int32_t i = 1; i <= FCount; ++i) Link(i);
}

// --- Narrowing --------------------------------------------------------------------------

void THtNodeList::CheckNotOwning() const {
  if (OwnsObjects)
    throw EInvalidOperation(UnicodeString(u"Operation not allowed on a list that owns its nodes"));
}

void THtNodeList::ReplaceItems(const std::vector<THtNode*>& nodes) {
  TList::Clear();
  if (nodes.size() > size_t(INT32_MAX)) throw EOutOfMemory();
  SetCapacity(int32_t(nodes.size()));
  for (THtNode* n : nodes) TList::Add(n);
}

THtNodeList* THtNodeList::First() {
  while (FCount > 1) Delete(FCount - 1);
  return this;
}

THtNodeList* THtNodeList::Last() {
  if (FCount > 1) {
    TList::Exchange(0, FCount - 1);
    while (FCount > 1) Delete(FCount - 1);
  }
  return this;
}

THtNodeList* THtNodeList::Parent() {
  CheckNotOwning();
  for (int32_t i = 0; i < FCount; ++i) {
    auto* n = static_cast<THtNode*>(FList[i]);
    FList[i] = n ? n->FParent : nullptr;
  }
  return this;
}

THtNodeList* THtNodeList::Children() {
  CheckNotOwning();
  std::vector<THtNode*> all;
  for (int32_t i = 0; i < FCount; ++i) {
    auto* n = static_cast<THtNode*>(FList[i]);
    for (int32_t j = 0, c = n ? n->GetCount() : 0; j < c; ++j) all.push_back(n->GetNode(j));
  }
  ReplaceItems(all);
  return this;
}

// --- Bulk ----------------------------------------------------------------------------------

THtNodeList* THtNodeList::Each(TObject* func) {
  for (int32_t i = 0; i < FCount; ++i)
    if (auto* n = static_cast<THtNode*>(FList[i])) n->CallScriptFunction(func);
  return this;
}

THtNodeList* THtNodeList::on(const UnicodeString& event, const UnicodeString& handler) {
  return Attribute(u"on" + event, handler);
}

THtNodeList* THtNodeList::Attribute(const UnicodeString& name, const UnicodeString& value) {
  for (int32_t i = 0; i < FCount; ++i)
    if (auto* n = static_cast<THtNode*>(FList[i])) n->SetAttribute(name, value);
  return this;
}

THtNodeList* THtNodeList::Style(const UnicodeString& name, const UnicodeString& value) {
  UnicodeString text = name + u": " + value;
  for (int32_t i = 0; i < FCount; ++i)
    if (auto* n = static_cast<THtNode*>(FList[i])) HtmlOps(n, Ops() && Ops()->CSS).CSS(n, text);
  return this;
}

THtNodeList* THtNodeList::AddClass(const UnicodeString& name) {
  for (int32_t i = 0; i < FCount; ++i)
    if (auto* n = static_cast<THtNode*>(FList[i])) HtmlOps(n, Ops() && Ops()->AddClass).AddClass(n, name);
  return this;
}

THtNodeList* THtNodeList::RemoveClass(const UnicodeString& name) {
  for (int32_t i = 0; i < FCount; ++i)
    if (auto* n = static_cast<THtNode*>(FList[i])) HtmlOps(n, Ops() && Ops()->RemoveClass).RemoveClass(n, name);
  return this;
}

THtNodeList* THtNodeList::ToggleClass(const UnicodeString& name) {
  for (int32_t i = 0; i < FCount; ++i) {
    auto* n = static_cast<THtNode*>(FList[i]);
    if (!n) continue;
    const THtHtmlNodeOps* o = Ops();
    const THtHtmlNodeOps& ops = HtmlOps(n, o && o->HasClass && o->AddClass && o->RemoveClass);
    if (ops.HasClass(n, name))
      ops.RemoveClass(n, name);
    else
      ops.AddClass(n, name);
  }
  return this;
}

THtNodeList* THtNodeList::Append(const UnicodeString& tag) {
  AddChildToEach(tag, UnicodeString());
  return this;
}

THtNodeList* THtNodeList::SetText(const UnicodeString& text) {
  AddChildToEach(UnicodeString(), text);
  return this;
}

// Gives each item a new last child (an element for a tag, a text node for
// content) and makes the new children the list's items.
void THtNodeList::AddChildToEach(const UnicodeString& tag, const UnicodeString& content) {
  CheckNotOwning();
  std::vector<THtNode*> created;
  created.reserve(size_t(FCount));
  for (int32_t i = 0; i < FCount; ++i) {
    auto* n = static_cast<THtNode*>(FList[i]);
    if (!n) continue;
    THtNode* c = n->AddChild(n->GetElementClass(tag, nullptr));
    if (!tag.IsEmpty()) c->SetTag(tag);
    if (!content.IsEmpty()) c->SetContent(content);
    created.push_back(c);
  }
  ReplaceItems(created);
}

THtNodeList* THtNodeList::SetHTML(const UnicodeString& html) {
  for (int32_t i = 0; i < FCount; ++i)
    if (auto* n = static_cast<THtNode*>(FList[i])) HtmlOps(n, Ops() && Ops()->SetInnerHTML).SetInnerHTML(n, html);
  return this;
}

THtNodeList* THtNodeList::Remove() {
  CheckNotOwning();
  // A node listed twice, or listed together with one of its ancestors, goes
  // with the first deletion that reaches it: deleting it again would free
  // it twice.
  std::unordered_set<THtNode*> listed;
  for (int32_t i = 0; i < FCount; ++i)
    if (FList[i]) listed.insert(static_cast<THtNode*>(FList[i]));
  // Whether a node or one of its ancestors is listed, remembered for every
  // node passed so that each ancestor chain is walked once in all.
  std::unordered_map<THtNode*, bool> inListedPath;
  std::vector<THtNode*> walked;
  auto HasListedAncestor = [&](THtNode* n) {
    bool result = false;
    walked.clear();
    for (THtNode* p = n->FParent; p; p = p->FParent) {
      auto it = inListedPath.find(p);
      if (it != inListedPath.end()) {
        result = it->second;
        break;
      }
      walked.push_back(p);
      if (listed.count(p)) {
        result = true;
        break;
      }
    }
    for (THtNode* p : walked) inListedPath[p] = result;
    return result;
  };
  std::unordered_set<THtNode*> seen;
  std::vector<THtNode*> order;
  for (int32_t i = FCount - 1; i >= 0; --i) {
    auto* n = static_cast<THtNode*>(FList[i]);
    if (!n || !seen.insert(n).second) continue;
    if (!HasListedAncestor(n)) order.push_back(n);
  }
  TList::Clear();
  for (THtNode* n : order)
    if (n->FParent) n->FParent->DeleteChild(n);
  return this;
}

// --- Read -------------------------------------------------------------------------------------

UnicodeString THtNodeList::GetAttr(const UnicodeString& name) const {
  TFastString out(256);
  bool first = true;
  for (int32_t i = 0; i < FCount; ++i) {
    auto* n = static_cast<THtNode*>(FList[i]);
    if (!n) continue;
    if (!first) out.AddChar(u',');
    first = false;
    out.Add(n->GetAttribute(name));
  }
  return out.GetAsString();
}

UnicodeString THtNodeList::GetCSS(const UnicodeString&) const { return UnicodeString(); }

UnicodeString THtNodeList::GetHTML() const {
  THtNode* n = FirstNode();
  if (!n) return UnicodeString();
  return HtmlOps(n, Ops() && Ops()->GetInnerHTML).GetInnerHTML(n);
}

UnicodeString THtNodeList::GetText() const {
  TFastString out(1024);
  for (int32_t i = 0; i < FCount; ++i)
    if (auto* n = static_cast<THtNode*>(FList[i])) out.Add(HtmlOps(n, Ops() && Ops()->GetInnerText).GetInnerText(n));
  return out.GetAsString();
}

// --- Order ------------------------------------------------------------------------------------

namespace {

// Turns the owns flag off for the time of a sort and restores it even when
// a comparison raises.
struct TOwnsOff {
  THtObjectList& List;
  bool Saved;
  explicit TOwnsOff(THtObjectList& l) : List(l), Saved(l.OwnsObjects) { l.OwnsObjects = false; }
  ~TOwnsOff() { List.OwnsObjects = Saved; }
};

int32_t Sign(double d) noexcept { return d < 0 ? -1 : (d > 0 ? 1 : 0); }

TDateTime ReadDate(const UnicodeString& s) {
  if (s.IsEmpty()) return 0;
  try {
    return StrtoDateFmt(s, UnicodeString());
  } catch (const EConvertError&) {
    return 0;  // an unreadable date sorts with the empty ones
  }
}

}  // namespace

THtNodeList* THtNodeList::SortElements(TObject* func, bool ascending) {
  bool owned;
  {
    TOwnsOff guard(*this);
    owned = guard.Saved;
    SortList([&](void* a, void* b) -> int32_t {
      auto* x = static_cast<THtNode*>(a);
      auto* y = static_cast<THtNode*>(b);
      int32_t c = x ? x->ScriptCompare(func, y) : (y ? -y->ScriptCompare(func, x) : 0);
      return ascending ? c : -c;
    });
  }
  if (owned) SetSiblings();
  return this;
}

THtNodeList* THtNodeList::SortbyAttr(const UnicodeString& names, THtSortCompareType type, bool ascending) {
  struct Key {
    UnicodeString Name;
    bool Reverse;
  };
  std::vector<Key> keys;
  std::u16string_view rest = names.view();
  while (!rest.empty()) {
    size_t comma = rest.find(u',');
    UnicodeString name = Trim(UnicodeString(rest.substr(0, comma)));
    rest = comma == std::u16string_view::npos ? std::u16string_view() : rest.substr(comma + 1);
    bool reverse = name.Length() > 0 && name[0] == u'^';
    if (reverse) name = Copy(name, 2);
    if (!name.IsEmpty()) keys.push_back({name, reverse});
  }
  if (keys.empty()) return this;

  auto compareValues = [type](const UnicodeString& a, const UnicodeString& b) -> int32_t {
    switch (type) {
      case scCaseSensitive: return CompareStr(a.view(), b.view());
      case scCaseInsensitive: return CompareText(a.view(), b.view());
      case scFloat: return Sign(iStrtoFloat(a) - iStrtoFloat(b));
      case scDate: return Sign(ReadDate(a) - ReadDate(b));
    }
    return 0;
  };
  bool owned;
  {
    TOwnsOff guard(*this);
    owned = guard.Saved;
    SortList([&](void* a, void* b) -> int32_t {
      auto* x = static_cast<THtNode*>(a);
      auto* y = static_cast<THtNode*>(b);
      int32_t c = 0;
      for (const Key& k : keys) {
        c = compareValues(x ? x->GetAttribute(k.Name) : UnicodeString(), y ? y->GetAttribute(k.Name) : UnicodeString());
        if (k.Reverse) c = -c;
        if (c != 0) break;
      }
      return ascending ? c : -c;
    });
  }
  // Sibling links belong to the tree: only a child list rewrites them.
  if (owned) SetSiblings();
  return this;
}

// --- Interface form ---------------------------------------------------------------------------

IntfPtr<IHtNodeList> THtNodeList::AddClass2(const UnicodeString& name) {
  AddClass(name);
  return IntfPtr<IHtNodeList>(this);
}

IntfPtr<IHtNodeList> THtNodeList::RemoveClass2(const UnicodeString& name) {
  RemoveClass(name);
  return IntfPtr<IHtNodeList>(this);
}

IntfPtr<IHtNodeList> THtNodeList::ToggleClass2(const UnicodeString& name) {
  ToggleClass(name);
  return IntfPtr<IHtNodeList>(this);
}

}  // namespace norvane
