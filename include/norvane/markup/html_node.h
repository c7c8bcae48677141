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

#include "norvane/markup/ht_node.h"
#include "norvane/markup/html_parser.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

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
  // path (nil when this node's tag matches itself).
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

 private:
  // Creates a child of the class the tree's root chooses for `tag`; nil when
  // the class is nil (the item is dropped).
  THtNode* NewChild(THtmlParser* parser, const UnicodeString& tag);
  // Moves this node from a table-like parent to the end of `target`.
  void MoveTo(THtNode* target);
};

}  // namespace norvane
