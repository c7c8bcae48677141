// THtNodeList: a node's child list, and the result of a query.
//
// A child list owns its nodes (Create(true, false)) and keeps their
// next-sibling links in step. A query result (Create(false, ...)) holds
// plain references: it frees nothing and leaves sibling links alone. The
// query result offers a fluent set of operations that act on every item and
// return the list itself; with reference counting on, it lives as long as
// an IntfPtr<IHtNodeList> holds it.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "norvane/foundation/ht_object_list.h"
#include "norvane/runtime/small_pool.h"
#include "norvane/markup/ht_node.h"

namespace norvane {

class THtNodeList;

NV_ENUM(THtSortCompareType, scCaseSensitive, scCaseInsensitive, scFloat, scDate)

// The interface through which scripts and callers hold a query result.
class IHtNodeList {
 public:
  virtual int32_t _AddRef() noexcept = 0;
  virtual int32_t _Release() noexcept = 0;
  virtual THtNodeList* GetList() noexcept = 0;
  virtual int32_t GetCount() const noexcept = 0;
  virtual THtNode* GetNode(int32_t index) const = 0;
  virtual IntfPtr<IHtNodeList> AddClass2(const UnicodeString& name) = 0;
  virtual IntfPtr<IHtNodeList> RemoveClass2(const UnicodeString& name) = 0;
  virtual IntfPtr<IHtNodeList> ToggleClass2(const UnicodeString& name) = 0;

 protected:
  ~IHtNodeList() = default;
};

inline constexpr char IID_IHtNodeList[] = "{5B0E6C1A-9D2F-4A47-8E31-2C7F4D9B6A10}";

// The operations of HTML nodes that the bulk calls of a list reach. The HTML
// node layer registers them at start; until then, and for items that aren't
// of NodeClass, such a call raises.
struct THtHtmlNodeOps {
  TMetaClass NodeClass = nullptr;
  void (*CSS)(THtNode* node, const UnicodeString& text) = nullptr;
  void (*AddClass)(THtNode* node, const UnicodeString& name) = nullptr;
  void (*RemoveClass)(THtNode* node, const UnicodeString& name) = nullptr;
  bool (*HasClass)(THtNode* node, const UnicodeString& name) = nullptr;
  void (*SetInnerHTML)(THtNode* node, const UnicodeString& html) = nullptr;
  UnicodeString (*GetInnerHTML)(THtNode* node) = nullptr;
  UnicodeString (*GetInnerText)(THtNode* node) = nullptr;
};
// `ops` must outlive every list operation; nil unregisters.
void RegisterHtmlNodeOps(const THtHtmlNodeOps* ops) noexcept;
// The operations registered now (the HTML node layer's, once it is linked).
const THtHtmlNodeOps* RegisteredHtmlNodeOps() noexcept;

struct THtNodeListEnumerator {
  int32_t FIndex = -1;
  const THtNodeList* FList = nullptr;

  bool MoveNext() noexcept;
  THtNode* GetCurrent() const;
};

class THtNodeList : public THtObjectList, public IHtNodeList {
  NV_CLASS(THtNodeList, THtObjectList)
 public:
  // Every node with children has a list: they come from the pools.
  NV_SMALL_POOL_NEW
  explicit THtNodeList(bool owns = false, bool refCounted = false)
      : THtObjectList(owns), FRefCounted(refCounted) {}
  ~THtNodeList() override;

  // --- Reference count ----------------------------------------------------------
  // Without reference counting both do nothing and return 0. The last
  // _Release frees the list.
  int32_t _AddRef() noexcept override;
  int32_t _Release() noexcept override;
  int32_t RefCount() const noexcept { return FRefCount.load(std::memory_order_relaxed); }
  bool RefCounted() const noexcept { return FRefCounted; }
  // Raises EInvalidPointer (message: the class name) while references are
  // held; Free calls it before freeing.
  void BeforeDestruction() const;
  void Free();

  // --- List ------------------------------------------------------------------------
  int32_t Add(THtNode* node);
  THtNode* AddNode(THtNode* node) {
    Add(node);
    return node;
  }
  // The callback form of AddNode, for producers that call back per match.
  void AddProc(THtNode* node) { Add(node); }
  // Frees the node when the list owns it.
  void Delete(int32_t index);
  void Insert(int32_t index, THtNode* node);
  void Exchange(int32_t index1, int32_t index2);
  // Takes the node out without freeing it; its former index or -1.
  int32_t RemoveItem(THtNode* node);
  THtNode* GetNode(int32_t index) const override { return static_cast<THtNode*>(Get(index)); }
  int32_t GetCount() const noexcept override { return FCount; }
  THtNode* FirstNode() const noexcept { return FCount > 0 ? static_cast<THtNode*>(FList[0]) : nullptr; }
  THtNode* LastNode() const noexcept { return FCount > 0 ? static_cast<THtNode*>(FList[FCount - 1]) : nullptr; }
  // Rebuilds every next-sibling link from the list's order.
  void SetSiblings() noexcept;
  THtNodeList* GetList() noexcept override { return this; }

  THtNodeListEnumerator GetEnumerator() const noexcept { return THtNodeListEnumerator{-1, this}; }
  THtNode* const* begin() const noexcept { return reinterpret_cast<THtNode* const*>(FList); }
  THtNode* const* end() const noexcept { return begin() + FCount; }

  // --- Narrowing, in place ------------------------------------------------------
  // The ones that replace items (Parent, Children, Append, SetText, Remove)
  // raise EInvalidOperation on an owning list: its nodes belong to it.
  THtNodeList* First();
  THtNodeList* Last();
  THtNodeList* Parent();
  THtNodeList* Children();

  // --- Bulk ---------------------------------------------------------------------------
  THtNodeList* Each(TObject* func);
  THtNodeList* on(const UnicodeString& event, const UnicodeString& handler);
  THtNodeList* Attribute(const UnicodeString& name, const UnicodeString& value);
  THtNodeList* SetAttr(const UnicodeString& name, const UnicodeString& value) { return Attribute(name, value); }
  THtNodeList* Style(const UnicodeString& name, const UnicodeString& value);
  THtNodeList* SetCSS(const UnicodeString& name, const UnicodeString& value) { return Style(name, value); }
  THtNodeList* AddClass(const UnicodeString& name);
  THtNodeList* RemoveClass(const UnicodeString& name);
  THtNodeList* ToggleClass(const UnicodeString& name);
  // Items are replaced by a new child of each with that tag.
  THtNodeList* Append(const UnicodeString& tag);
  // Items are replaced by a new text child of each.
  THtNodeList* SetText(const UnicodeString& text);
  THtNodeList* SetHTML(const UnicodeString& html);
  // Empties the list and deletes each item from its parent.
  THtNodeList* Remove();

  // --- Read -----------------------------------------------------------------------------
  // The items' values joined by ",".
  UnicodeString GetAttr(const UnicodeString& name) const;
  UnicodeString GetCSS(const UnicodeString& name) const;
  // Inner HTML of the first item.
  UnicodeString GetHTML() const;
  // Inner text of all items, concatenated.
  UnicodeString GetText() const;

  // --- Order ------------------------------------------------------------------------------
  // Neither sort keeps the order of equal items.
  THtNodeList* SortElements(TObject* func, bool ascending);
  // `names`: comma-separated keys, tried in order; "^name" sorts that key
  // the other way.
  THtNodeList* SortbyAttr(const UnicodeString& names, THtSortCompareType type, bool ascending);

  // --- Interface form ---------------------------------------------------------------------
  IntfPtr<IHtNodeList> AddClass2(const UnicodeString& name) override;
  IntfPtr<IHtNodeList> RemoveClass2(const UnicodeString& name) override;
  IntfPtr<IHtNodeList> ToggleClass2(const UnicodeString& name) override;

 private:
  void CheckNotOwning() const;
  // Replaces the items by `nodes` (a query result: nothing freed).
  void ReplaceItems(const std::vector<THtNode*>& nodes);
  void AddChildToEach(const UnicodeString& tag, const UnicodeString& content);
  void Link(int32_t index) noexcept;  // sets the link into index from index-1

  std::atomic<int32_t> FRefCount{0};
  bool FRefCounted;
};

inline bool THtNodeListEnumerator::MoveNext() noexcept {
  if (!FList || FIndex >= FList->GetCount() - 1) return false;
  ++FIndex;
  return true;
}

inline THtNode* THtNodeListEnumerator::GetCurrent() const { return FList->GetNode(FIndex); }

}  // namespace norvane
