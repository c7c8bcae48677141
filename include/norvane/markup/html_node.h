// THtmlNode: the node of HTML trees. It is filled from text by a recursive
// descent over the items of THtmlParser that repairs malformed markup on the
// way: implied closes, misnested formatting elements reopened, content that
// strays into tables moved out, and a depth limit that keeps the recursion
// off the end of the stack.
//
// The class of every new node comes from the root of the tree, so derived
// node classes get their own instances throughout.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>

#include "norvane/markup/ht_node.h"
#include "norvane/markup/html_parser.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TFastString;

class THtmlNode : public THtNode {
  NV_CLASS(THtmlNode, THtNode)
 public:
  THtmlNode() = default;

  // Nesting beyond this depth closes elements by force.
  static constexpr int32_t MaxParseDepth = 256;

  // --- Parsing --------------------------------------------------------------
  // The element loop: adds children from the parser's items until this
  // element ends. Returns the node where an unfinished close must go on
  // (frames unwind to its parent), or nil.
  virtual THtNode* InternalParse(THtmlParser* parser);
  // Called when an element's loop ends; empty here.
  virtual void AfterParse();
  // The implied-close rules for a new `tag` opening inside this node: the
  // ancestor to close to, or nil.
  virtual THtNode* CheckTagOrder(const UnicodeString& tag, const THtNode* limit);
  // Replaces the children by what `text` parses to. `ignoreMeta`: a meta
  // charset changes nothing.
  virtual void Parse(const UnicodeString& text, bool ignoreMeta);
  // Takes over the attribute table of the parser's current item.
  virtual void ParseAttributes(THtmlParser* parser);
  // Parses a bare attribute string ("a=1 b='x'") into this node.
  void ParseAttributes(const UnicodeString& text);

  // Ancestor walks from this node upward, stopping with nil at the top, at
  // a node that is its own parent and at `limit`.
  // FloatUpTo: the child of the nearest ancestor with one of `tags` on this
  // path (nil when this node's tag matches itself); `limit` itself may be
  // that ancestor, since closing up to below it stays inside it.
  THtNode* FloatUpTo(const UnicodeString* tags, int32_t high, const THtNode* limit) const noexcept;
  THtNode* FloatUpTo(std::initializer_list<UnicodeString> tags, const THtNode* limit) const noexcept {
    return FloatUpTo(tags.begin(), int32_t(tags.size()) - 1, limit);
  }
  // FloatUpOver: the nearest node (this one included) with one of `tags`.
  // Without `crossTables`, table parts stop the walk.
  THtNode* FloatUpOver(const UnicodeString* tags, int32_t high, const THtNode* limit,
                         bool crossTables) const noexcept;
  THtNode* FloatUpOver(std::initializer_list<UnicodeString> tags, const THtNode* limit,
                         bool crossTables) const noexcept {
    return FloatUpOver(tags.begin(), int32_t(tags.size()) - 1, limit, crossTables);
  }

  // Re-decodes the content and attribute values of this subtree, whose
  // units stood for bytes, as `encoding` (heUTF8, or heANSI in `codepage`).
  void ChangeEncoding(THtmlEncoding encoding, uint32_t codepage, uint32_t narrowCodePage = 0);

  // --- Output ------------------------------------------------------------------
  // HTML of this node and its subtree. A text node writes its encoded text
  // (a root without a parent goes on with its children), comments,
  // directives and CDATA their markup, "script" and "style" their raw
  // content; void elements close with "/>", an "xbody" prints as "body",
  // and a "meta" that declares the content type declares the builder's
  // Charset instead. The subtree is written in one walk by these rules, so
  // depth costs no stack.
  virtual void FastInnerHTML(TFastString* out);
  // The same laid out: block elements on their own lines, `level` * `indent`
  // blanks after each CR LF. `newLine` carries whether the next tag starts
  // a line; an element whose first child is short text stays on one line.
  virtual void FastFormattedHTML(TFastString* out, int32_t level, int32_t indent, bool& newLine);
  // Plain text for export: GetInnerText's rules, with a link followed by
  // its address in parentheses and the "head" left out.
  virtual void FastInnerText(TFastString* out);
  virtual UnicodeString GetOuterHTML();
  // HTML of the children only.
  virtual UnicodeString GetInnerHTML();
  // The text a reader would see: no script, style, comments or "noscript";
  // "br" as CR LF; blocks (p, pre, blockquote, li, tr, div, h1-h5) trimmed
  // and on their own line; a tab behind each cell but a row's last.
  virtual UnicodeString GetInnerText();
  // The content of all text nodes of the subtree, nothing added.
  virtual UnicodeString GetRawInnerText();
  // Parses `text` into a throw-away node and returns its inner text.
  virtual UnicodeString HTMLtoText(const UnicodeString& text);

  // --- Editing -------------------------------------------------------------------
  // Replaces the children by what `text` parses to, repaired as content of
  // this element (of a "tbody" in a "table"). A "script" or "style" takes
  // the text as its raw content.
  virtual void SetInnerHTML(const UnicodeString& text);
  // Replaces this node, in its parent, by what `text` parses to, and frees
  // it: the caller must not use the node afterwards. Raises
  // EInvalidOperation on a node without a parent.
  virtual void SetOuterHTML(const UnicodeString& text);
  // Replaces the children by one text node (the raw content of a "script"
  // or "style", the content of a text node).
  virtual void SetInnerText(const UnicodeString& text);
  // Appends what `text` parses to, repaired as content of this element as
  // SetInnerHTML does; returns the first node added, or nil.
  virtual THtNode* AddHTML(const UnicodeString& text);
  // Moves the children into the parent at this node's place; with
  // `freeSelf` the node then leaves its parent and is freed. Without a
  // parent nothing moves.
  virtual void MoveChildrentoParent(bool freeSelf);
  // The "class" and "style" attributes; empty text removes them.
  virtual void SetStyleClass(const UnicodeString& text);
  virtual void SetSelfStyle(const UnicodeString& text);
  // Whether parsing into this tree ignores the case of tags. A plain tree
  // knows no document type and is in quirks mode; a document layer decides.
  virtual bool QuirksMode();

  // --- Classes and style -----------------------------------------------------------
  // Applies a CSS declaration; a style layer fills it, nothing here.
  virtual void CSS(const UnicodeString& text);
  // The blank-separated names of the "class" attribute: AddClass appends a
  // missing name, RemoveClass removes every copy (and the attribute when
  // none is left), HasClass compares exactly.
  virtual void AddClass(const UnicodeString& name);
  virtual void RemoveClass(const UnicodeString& name);
  virtual bool HasClass(const UnicodeString& name);
  void ToggleClass(const UnicodeString& name);
  UnicodeString GetId() const;
  void SetId(const UnicodeString& id);
  UnicodeString GetStyleClassStr() const;
  UnicodeString GetSelfStyle() const;

  // --- Moving ------------------------------------------------------------------------
  // Moves all children to `target`, inserted from `index` on (appended when
  // `index` is negative or past the end). Raises EInvalidOperation when the
  // target is this node or one of its descendants.
  void MoveChildrento(THtNode* target, int32_t index);
  // Moves `node` (from wherever it is) into this node's children before
  // `before`, or to the end when `before` is nil or no child of this node.
  void MoveNode(THtNode* node, THtNode* before);

  // --- Elements ----------------------------------------------------------------------
  // Calls `proc` for each element of the subtree (comments, directives and
  // text left out) in document order until it returns false.
  void EnumerateElements(bool (*proc)(THtNode* node, void* data), void* data);
  template <class Proc>
    requires std::is_invocable_r_v<bool, Proc&, THtNode*>
  void EnumerateElements(Proc&& proc) {
    EnumerateElements([](THtNode* node, void* data) { return (*static_cast<std::remove_reference_t<Proc>*>(data))(node); },
                      const_cast<void*>(static_cast<const void*>(&proc)));
  }
  // The number of nodes with this node's tag before it in the document.
  int32_t AbsoluteTagIndex();

 private:
  // Creates a child of the class the tree's root chooses for `tag`; nil when
  // the class is nil (the item is dropped).
  THtNode* NewChild(THtmlParser* parser, const UnicodeString& tag);
  // Moves this node from a table-like parent to the end of `target`.
  void MoveTo(THtNode* target);
};

}  // namespace norvane
