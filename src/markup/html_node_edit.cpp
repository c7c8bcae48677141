// THtmlNode: replacing content from HTML text, moving children, the class
// and id helpers, and the operations that node lists reach.
#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "norvane/foundation/text_utils.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/markup/html_node.h"
#include "norvane/markup/html_parser.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

const UnicodeString& ClassAttr() {
  static const UnicodeString name(u"class");
  return name;
}

inline bool RawText(const UnicodeString& tag) noexcept { return tag == u"script" || tag == u"style"; }

inline bool IsVoid(const UnicodeString& tag) noexcept {
  for (std::u16string_view v : {u"br", u"img", u"link", u"col", u"hr", u"frame", u"input", u"meta", u"wbr"})
    if (tag.view() == v) return true;
  return false;
}

// Whether the tokenizer reads `tag` back as one tag name.
bool PlainTagName(const UnicodeString& tag) noexcept {
  if (tag.IsEmpty()) return false;
  for (int32_t i = 0; i < tag.Length(); ++i) {
    const char16_t c = tag[i];
    const bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c >= 128;
    if (!letter && (i == 0 || !((c >= u'0' && c <= u'9') || c == u'-' || c == u'_' || c == u':'))) return false;
  }
  return true;
}

// The element in whose place a fragment is parsed for `context`: a "table"
// takes rows through a "tbody"; a tag the tokenizer wouldn't read back, or
// one that takes no content, gives a neutral "div".
UnicodeString FragmentWrapper(const THtNode* context) {
  const UnicodeString& tag = context ? context->Tag() : UnicodeString();
  if (tag == u"table") return UnicodeString(u"tbody");
  if (!PlainTagName(tag) || IsVoid(tag) || RawText(tag)) return UnicodeString(u"div");
  return tag;
}

bool RootQuirks(THtNode* node) {
  THtNode* root = node->Root();
  return root->Is<THtmlNode>() ? static_cast<THtmlNode*>(root)->QuirksMode() : true;
}

// Puts `node` back at `index` of `parent` if a repair moved it elsewhere.
void KeepAt(THtNode* node, THtNode* parent, int32_t index) {
  if (node->Parent() == parent) return;
  if (THtNode* other = node->Parent())
    if (THtNodeList* l = other->ExistingNodes()) l->RemoveItem(node);
  THtNodeList* list = parent->GetNodes();
  list->Insert(std::min(index, list->GetCount()), node);
  node->SetParent(parent);
}

// Parses `text` as the content of a `wrapper` element into a temporary node
// made by `cls` in `parent` (before `before`, or last), and lifts the result
// into its place. The temporary node stands in the wrapper's place: it takes
// the wrapper's tag, so the repair rules see the context, and it is the
// limit of their walks, so they never reach into the tree around it.
void ParseFragment(THtNode* parent, TMetaClass cls, const UnicodeString& text, const UnicodeString& wrapper,
                   THtNode* before) {
  THtNode* made = parent->AddChild(cls);
  if (!made->Is<THtmlNode>()) {
    parent->DeleteChild(made);
    throw EInvalidCast(u"Invalid class typecast: %s is not %s",
                       {made->ClassName(), THtmlNode::StaticClass()->ClassName()});
  }
  auto* temp = static_cast<THtmlNode*>(made);
  THtNodeList* list = parent->GetNodes();
  if (before) {
    const int32_t at = list->IndexOf(before);
    if (at >= 0) {
      list->RemoveItem(temp);
      list->Insert(at, temp);
    }
  }
  const int32_t index = list->IndexOf(temp);
  try {
    // No close tag: a wrapper closed by its own tag would be moved out of a
    // table by the parser's rule for strays.
    UnicodeString source(u"<");
    source += wrapper;
    source += u'>';
    source += text;
    THtmlParser parser(source, false);
    parser.Root = temp;
    parser.GlobalRoot = parent->Root();
    // The text is already decoded: a meta charset in it must not re-decode
    // the tree it lands in.
    parser.IgnoreMetaEncoding = true;
    parser.SetCaseSensitive(!RootQuirks(parent));
    // The first item is the wrapper's opening tag, which gives the
    // temporary node (tag still empty) its tag.
    if (parser.NextItem()) {
      const TStringParser& cursor = *parser.GetTokenizer()->Parser();
      // A close tag of the wrapper inside the text ends the temporary
      // node's loop early; what follows it goes in all the same.
      for (;;) {
        parser.StackLevel() = 0;
        const char16_t* from = cursor.p;
        temp->InternalParse(&parser);
        KeepAt(temp, parent, index);
        if ((cursor.Empty() && !parser.RepeatCurrent) || (cursor.p == from && !parser.RepeatCurrent)) break;
        // The item that ended the loop is used up: no attributes or closed
        // flag of it may apply to the temporary node.
        parser.TagClosed = false;
      }
    }
  } catch (...) {
    KeepAt(temp, parent, index);
    parent->DeleteChild(temp);
    throw;
  }
  temp->MoveChildrentoParent(true);
}

// Takes every child out of `list` without freeing it.
std::vector<THtNode*> TakeAll(THtNodeList* list) {
  std::vector<THtNode*> kids;
  if (!list) return kids;
  kids.reserve(size_t(list->GetCount()));
  for (THtNode* c : *list) kids.push_back(c);
  const bool owns = list->OwnsObjects;
  list->OwnsObjects = false;
  list->Clear();
  list->OwnsObjects = owns;
  return kids;
}

// Inserts `kids` into `target`'s list from `index` on (appends when
// `index` is negative or past the end) and makes `target` their parent.
void PutAll(THtNode* target, const std::vector<THtNode*>& kids, int32_t index) {
  if (kids.empty()) return;
  THtNodeList* list = target->GetNodes();
  if (index < 0 || index > list->GetCount()) index = list->GetCount();
  if (index == list->GetCount()) {
    for (THtNode* c : kids) list->Add(c);
  } else {
    // One move of the tail instead of one per inserted node.
    std::vector<THtNode*> tail(list->begin() + index, list->end());
    const bool owns = list->OwnsObjects;
    list->OwnsObjects = false;
    while (list->GetCount() > index) list->Delete(list->GetCount() - 1);
    list->OwnsObjects = owns;
    for (THtNode* c : kids) list->Add(c);
    for (THtNode* c : tail) list->Add(c);
  }
  for (THtNode* c : kids)
    if (c) c->SetParent(target);
}

// Blank-separated names of a class attribute.
template <class Fn>
void ForEachName(std::u16string_view s, Fn fn) {
  size_t i = 0;
  while (i < s.size()) {
    while (i < s.size() && s[i] <= u' ') ++i;
    size_t e = i;
    while (e < s.size() && s[e] > u' ') ++e;
    if (e > i) fn(s.substr(i, e - i));
    i = e;
  }
}

bool HasName(std::u16string_view list, std::u16string_view name) {
  bool found = false;
  ForEachName(list, [&](std::u16string_view n) { found = found || n == name; });
  return found;
}

}  // namespace

// --- Replacing content --------------------------------------------------------------

void THtmlNode::SetInnerHTML(const UnicodeString& text) {
  DeleteAllChildren();
  if (RawText(FTag)) {
    FContent = text;
    return;
  }
  if (text.IsEmpty()) return;
  ParseFragment(this, ClassType(), text, FragmentWrapper(this), nullptr);
}

void THtmlNode::SetOuterHTML(const UnicodeString& text) {
  THtNode* parent = FParent;
  if (!parent) throw EInvalidOperation(UnicodeString(u"A node without a parent can't be replaced"));
  if (!text.IsEmpty()) ParseFragment(parent, ClassType(), text, FragmentWrapper(parent), this);
  parent->DeleteChild(this);  // frees this node
}

void THtmlNode::SetInnerText(const UnicodeString& text) {
  if (FTag.IsEmpty() || RawText(FTag)) {
    DeleteAllChildren();
    SetContent(text);
    return;
  }
  DeleteAllChildren();
  if (text.IsEmpty()) return;
  THtNode* c = AddChild(GetElementClass(UnicodeString(), nullptr));
  c->SetContent(text);
}

THtNode* THtmlNode::AddHTML(const UnicodeString& text) {
  if (text.IsEmpty() || RawText(FTag)) return nullptr;
  const int32_t count = GetCount();
  ParseFragment(this, ClassType(), text, FragmentWrapper(this), nullptr);
  return GetCount() > count ? FNodes->GetNode(count) : nullptr;
}

void THtmlNode::MoveChildrentoParent(bool freeSelf) {
  THtNode* parent = FParent;
  if (!parent || !parent->ExistingNodes()) return;
  const int32_t at = parent->ExistingNodes()->IndexOf(this);
  if (at < 0) return;  // the parent doesn't list this node: nowhere to go
  PutAll(parent, TakeAll(FNodes), at);
  if (freeSelf) parent->DeleteChild(this);
}

// --- Attributes ---------------------------------------------------------------------------

void THtmlNode::SetStyleClass(const UnicodeString& text) {
  if (text.IsEmpty()) {
    if (FAttributes) FAttributes->ClearAttr(ClassAttr());
    return;
  }
  SetAttribute(ClassAttr(), text);
}

void THtmlNode::SetSelfStyle(const UnicodeString& text) {
  const UnicodeString style(u"style");
  if (text.IsEmpty()) {
    if (FAttributes) FAttributes->ClearAttr(style);
    return;
  }
  SetAttribute(style, text);
}

bool THtmlNode::QuirksMode() { return true; }

void THtmlNode::CSS(const UnicodeString&) {}

void THtmlNode::AddClass(const UnicodeString& name) {
  UnicodeString value = GetAttribute(ClassAttr());
  const UnicodeString before = value;
  ForEachName(name.view(), [&](std::u16string_view n) {
    if (HasName(value.view(), n)) return;
    if (!value.IsEmpty()) value += u' ';
    value += n;
  });
  if (!value.SameBlock(before)) SetAttribute(ClassAttr(), value);
}

void THtmlNode::RemoveClass(const UnicodeString& name) {
  const UnicodeString value = GetAttribute(ClassAttr());
  if (value.IsEmpty()) return;
  UnicodeString kept;
  ForEachName(value.view(), [&](std::u16string_view n) {
    if (HasName(name.view(), n)) return;
    if (!kept.IsEmpty()) kept += u' ';
    kept += n;
  });
  SetStyleClass(kept);
}

bool THtmlNode::HasClass(const UnicodeString& name) {
  const UnicodeString value = GetAttribute(ClassAttr());
  bool all = !BlankString(name);
  ForEachName(name.view(), [&](std::u16string_view n) { all = all && HasName(value.view(), n); });
  return all;
}

void THtmlNode::ToggleClass(const UnicodeString& name) {
  if (HasClass(name))
    RemoveClass(name);
  else
    AddClass(name);
}

UnicodeString THtmlNode::GetId() const { return GetAttribute(UnicodeString(u"id")); }

void THtmlNode::SetId(const UnicodeString& id) { SetAttribute(UnicodeString(u"id"), id); }

UnicodeString THtmlNode::GetStyleClassStr() const { return GetAttribute(ClassAttr()); }

UnicodeString THtmlNode::GetSelfStyle() const { return GetAttribute(UnicodeString(u"style")); }

// --- Moving --------------------------------------------------------------------------------

void THtmlNode::MoveChildrento(THtNode* target, int32_t index) {
  if (!target || !FNodes || FNodes->GetCount() == 0) return;
  if (target == this || target->HasAsParent(this))
    throw EInvalidOperation(UnicodeString(u"A node can't be added to itself or to one of its descendants"));
  PutAll(target, TakeAll(FNodes), index);
}

void THtmlNode::MoveNode(THtNode* node, THtNode* before) {
  if (!node || node == before) return;
  if (node == this || HasAsParent(node))
    throw EInvalidOperation(UnicodeString(u"A node can't be added to itself or to one of its descendants"));
  if (THtNode* from = node->Parent())
    if (THtNodeList* l = from->ExistingNodes()) l->RemoveItem(node);
  THtNodeList* list = GetNodes();
  const int32_t at = before && before->Parent() == this ? list->IndexOf(before) : -1;
  if (at >= 0)
    list->Insert(at, node);
  else
    list->Add(node);
  node->SetParent(this);
}

// --- Elements ------------------------------------------------------------------------------

void THtmlNode::EnumerateElements(bool (*proc)(THtNode* node, void* data), void* data) {
  if (!proc) return;
  std::vector<THtNode*> pending;
  for (int32_t i = GetCount() - 1; i >= 0; --i) pending.push_back(FNodes->GetNode(i));
  while (!pending.empty()) {
    THtNode* n = pending.back();
    pending.pop_back();
    if (!n) continue;
    const UnicodeString& tag = n->Tag();
    if (!tag.IsEmpty() && tag != u"!" && tag != u"?" && !proc(n, data)) return;
    for (int32_t i = n->GetCount() - 1; i >= 0; --i) pending.push_back(n->GetNode(i));
  }
}

int32_t THtmlNode::AbsoluteTagIndex() {
  int32_t count = 0;
  for (THtNode* n = Root(); n && n != this; n = n->NextNode())
    if (n->Tag() == FTag) ++count;
  return count;
}

// --- The operations node lists reach ----------------------------------------------------

namespace {

THtmlNode* Html(THtNode* n) { return static_cast<THtmlNode*>(n); }

const THtHtmlNodeOps kHtmlNodeOps = {
    THtmlNode::StaticClass(),
    [](THtNode* n, const UnicodeString& text) { Html(n)->CSS(text); },
    [](THtNode* n, const UnicodeString& name) { Html(n)->AddClass(name); },
    [](THtNode* n, const UnicodeString& name) { Html(n)->RemoveClass(name); },
    [](THtNode* n, const UnicodeString& name) { return Html(n)->HasClass(name); },
    [](THtNode* n, const UnicodeString& html) { Html(n)->SetInnerHTML(html); },
    [](THtNode* n) { return Html(n)->GetInnerHTML(); },
    [](THtNode* n) { return Html(n)->GetInnerText(); },
};

[[maybe_unused]] const bool kOpsRegistered = (RegisterHtmlNodeOps(&kHtmlNodeOps), true);

}  // namespace

}  // namespace norvane
