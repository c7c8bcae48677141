// THtNode: the node that every markup tree is made of.
//
// A node holds its tag (with a case-insensitive hash for fast selector
// tests), a sorted attribute table and an owned child list, both created on
// demand since most nodes of a document are text nodes with neither, text
// content and links to its parent and next sibling. Subclasses for HTML, XML
// and styled documents fill the virtual operations: creation of the right
// class, script calls and selector queries.
//
// Walks and searches are iterative: a tree may be deep enough to overflow
// the stack with recursion, and so is destruction.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>

#include "norvane/markup/html_tokenizer.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/types.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class THtAttributes;
class THtNodeList;
class IHtNodeList;
struct TXPathNode;

// The class reference of a node class ("the class of THtNode").
using TMetaClass = TClass;

class THtNode : public TObject {
  NV_CLASS(THtNode, TObject)
 public:
  // The virtual constructor behind the class reference: a bare node.
  THtNode() = default;
  // Frees the attributes and the whole subtree, deepest nodes first.
  ~THtNode() override;

  // Creates a node of class `cls` through its virtual constructor. Raises
  // EInvalidCast when `cls` is no node class and EInvalidOperation when it
  // can't be created without arguments.
  static THtNode* Create(TMetaClass cls);

  // --- Virtual operations --------------------------------------------------
  // Creates the child list on first use.
  virtual THtNodeList* GetNodes();
  virtual void SetParent(const THtNode* parent);
  virtual void SetContent(const UnicodeString& content);
  // Runs a compiled script function with this node; nothing here.
  virtual void CallScriptFunction(const TObject* func);
  // Compares this node with `other` through a script function; 0 here.
  virtual int32_t ScriptCompare(const TObject* func, const THtNode* other);
  // The class for a new element `tag`. The root of a tree decides: `root`
  // when given, else this node's root, else this node's own class.
  virtual TMetaClass GetElementClass(const UnicodeString& tag, const THtNode* root);
  // Creates a child of class `cls` (this node's own class when nil),
  // writes its parent link directly and appends it.
  virtual THtNode* InternalAddChild(TMetaClass cls);
  // Creates the attribute table with default settings.
  virtual void CreateAttributes();
  // Like InternalAddChild, but sets the parent through SetParent.
  virtual THtNode* AddChild(TMetaClass cls);
  // Removes and frees a child; raises Exception "Child node not found".
  virtual void DeleteChild(const THtNode* child);
  virtual void DeleteAllChildren();
  // Selector query; a style layer fills it. nil here.
  virtual THtNodeList* GetJQueryList(const UnicodeString& selector, bool all);
  // The node's own text followed by that of its descendants in document
  // order, undecoded and unspaced.
  virtual UnicodeString TextContent();
  // Sets or replaces an attribute; true when something changed. A nil value
  // on a node without attributes does nothing.
  virtual bool SetAttribute(const UnicodeString& name, UnicodeString value);

  // --- Fields ----------------------------------------------------------------
  const UnicodeString& Tag() const noexcept { return FTag; }
  int32_t TagHash() const noexcept { return FTagHash; }
  const UnicodeString& Content() const noexcept { return FContent; }
  THtNode* Parent() const noexcept { return FParent; }
  // The child list when it exists, without creating it.
  THtNodeList* ExistingNodes() const noexcept { return FNodes; }
  // The attribute table, nil when no attribute was ever set.
  THtAttributes* Attributes() const noexcept { return FAttributes; }

  // Stores the tag as given and its case-insensitive hash.
  void SetTag(const UnicodeString& tag);
  // The same with the hash already known (TagHashOf(tag)): builders that
  // create many nodes with the same interned tag compute it once.
  void SetTag(const UnicodeString& tag, int32_t hash) noexcept {
    FTag = tag;
    FTagHash = hash;
  }
  // The case-insensitive hash that SetTag stores for `tag`.
  static int32_t TagHashOf(const UnicodeString& tag);

  // --- Attributes -------------------------------------------------------------
  UnicodeString GetAttribute(const UnicodeString& name) const;
  void SetAttr(const UnicodeString& name, const UnicodeString& value) { SetAttribute(name, value); }
  bool HasAttribute(const UnicodeString& name) const;
  bool HasAttributeValue(const UnicodeString& name, const UnicodeString& value) const;
  void CopyAttributesFrom(const THtNode* source);

  // Typed access. An absent attribute reads as "".
  int32_t GetAttrI(const UnicodeString& name) const;  // raises EConvertError on a non-number
  void SetAttrI(const UnicodeString& name, int32_t value);
  double GetAttrF(const UnicodeString& name) const;
  double GetFloat(const UnicodeString& name) const { return GetAttrF(name); }
  void SetAttrF(const UnicodeString& name, double value);  // "0.##"
  void SetFloat(const UnicodeString& name, double value);  // full float text
  bool GetAttrB(const UnicodeString& name) const;          // "1", "true", "on"
  void SetAttrB(const UnicodeString& name, bool value);    // "1" / "0"
  // Dates; an absent or empty attribute reads as 0.
  TDateTime GetDate(const UnicodeString& name) const;
  void SetDate(const UnicodeString& name, TDateTime value);
  TDateTime GetDateTime(const UnicodeString& name) const;
  void SetDateTime(const UnicodeString& name, TDateTime value);
  TDateTime GetTime(const UnicodeString& name) const;
  void SetTime(const UnicodeString& name, TDateTime value);

  // --- Walks --------------------------------------------------------------------
  THtNode* Root() noexcept;
  THtNode* NextSibling() const noexcept { return FNextSibling; }
  THtNode* PreviousSibling() const noexcept;
  // Document order.
  THtNode* NextNode() noexcept;
  THtNode* PreviousNode() noexcept;
  // Deepest last descendant, or the node itself.
  THtNode* Last() noexcept;
  THtNode* LastChild() const noexcept;
  // First child with a tag other than "!"; last child with any tag,
  // comments included.
  THtNode* FirstChildTag() const noexcept;
  THtNode* LastChildTag() const noexcept;
  // Nearest proper ancestor with exactly that tag (one of those tags).
  THtNode* UpTo(const UnicodeString& tag) const noexcept;
  THtNode* UpTo(const UnicodeString* tags, int32_t high) const noexcept;
  THtNode* UpTo(std::initializer_list<UnicodeString> tags) const noexcept {
    return UpTo(tags.begin(), int32_t(tags.size()) - 1);
  }
  bool HasAsParent(const THtNode* node) const noexcept;
  bool HasParentTag(const UnicodeString& tag) const noexcept { return UpTo(tag) != nullptr; }
  // Tags from the root down to this node, joined by "/".
  UnicodeString Path() const;

  // --- Positions ------------------------------------------------------------------
  int32_t GetCount() const noexcept;
  // Raises EListError for an index outside the children.
  THtNode* GetNode(int32_t index) const;
  int32_t NodeIndex() const noexcept;
  int32_t ChildIndex() const noexcept;
  int32_t TagIndex() const noexcept;
  int32_t Countof(const UnicodeString& tag) const noexcept;

  // --- Searches ---------------------------------------------------------------------
  // Direct children along a "a/b/c" path.
  THtNode* NodebyName(const UnicodeString& path) const;
  THtNode* NodebyNameIndex(const UnicodeString& tag, int32_t index) const noexcept;
  THtNode* NodebyAttr(const UnicodeString& attr, const UnicodeString& value) const;
  THtNode* NodebyNameAttr(const UnicodeString& tag, const UnicodeString& attr, const UnicodeString& value) const;
  // Descendants in pre-order; the node itself isn't tested.
  THtNode* FindNode(const UnicodeString& tag) const;
  // An empty tag matches any tag.
  THtNode* FindNodebyAttr(const UnicodeString& tag, const UnicodeString& attr, const UnicodeString& value) const;

  // --- Structure ---------------------------------------------------------------------
  // Appends `node` as the last child, taking it out of its former parent's
  // list first. Raises EInvalidOperation when that would make a cycle.
  THtNode* AddNode(THtNode* node);
  // Swaps two children, by node or by index.
  void Exchange(THtNode* a, THtNode* b);
  void Exchange(int32_t index1, int32_t index2);

  // --- Path queries (the language: xpath_processor.h) ---------------------------
  // The matches of `path`, walked from this node even when the path begins
  // with "/". `current` (the step "current") defaults to this node.
  IntfPtr<IHtNodeList> XPath(const UnicodeString& path, bool firstOnly = false, THtNode* current = nullptr);
  // Calls `proc` for each match instead of collecting them.
  void XPath(const UnicodeString& path, void (*proc)(THtNode* node, void* data), void* data);
  template <class Proc>
    requires std::is_invocable_v<Proc&, THtNode*>
  void XPath(const UnicodeString& path, Proc&& proc) {
    XPath(
        path, [](THtNode* node, void* data) { (*static_cast<std::remove_reference_t<Proc>*>(data))(node); },
        const_cast<void*>(static_cast<const void*>(&proc)));
  }
  // The text of the first match; a path that begins with "/" starts at the
  // root of the tree.
  UnicodeString XPathValue(const UnicodeString& path, THtNode* current = nullptr);
  // The walk of `step` and those behind it from this node. A nil `list`
  // makes it a value query, whose result is step->Processor->Value.
  void InternalXPath(TXPathNode* step, THtNodeList* list, bool firstOnly);
  // Tests this node against the conditions of `step`.
  bool EvaluateCondition(TXPathNode* step);

  // Public for the owner of the tree; not owned.
  THTMLTokenType TagType = htUnknown;
  TObject* TagObject = nullptr;

 protected:
  UnicodeString FTag;
  int32_t FTagHash = 0;
  THtNodeList* FNodes = nullptr;
  THtAttributes* FAttributes = nullptr;
  UnicodeString FContent;
  THtNode* FNextSibling = nullptr;
  THtNode* FParent = nullptr;

 private:
  friend class THtNodeList;
  THtNode* AddCreated(TMetaClass cls, bool throughSetParent);
};

}  // namespace norvane
