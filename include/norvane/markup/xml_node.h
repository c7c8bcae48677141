// THtXMLNode: the tree for XML and for JSON.
//
// XML text is read strictly through the markup parser in XML mode: names keep
// their case, attribute values must be quoted, and any mismatched or missing
// close tag raises EHtXML. JSON text (a wider dialect: single quotes and bare
// names are accepted) becomes the same kind of tree:
//   - an object is a node tagged with its member name ("object" at the top
//     and inside arrays); its scalar members are attributes, its object and
//     array members are children tagged with the member name;
//   - an array is a node with IsArray set ("array" at the top), its items
//     are children tagged "value", "object" or "array";
//   - a scalar keeps its text: numbers as written, true/false/null as words.
// The JSON writer puts attributes first and children behind them, and
// writes every scalar as a string: the tree keeps no value types.
//
// How text is kept (this matters for round trips):
//   - the first text of an element that has no children yet is its content
//     (FContent); later texts become tagless child nodes;
//   - blank text between elements is appended to the element's content,
//     unless xml:space="preserve" is in force, where it is kept in place;
//   - comments, processing instructions and CDATA sections are tagless
//     children with TagType htComment, htDirective and htCData; their
//     content is the text inside the delimiters.
// Code writes an element's content before its children, so an XML text
// without blank runs between elements comes back as it was read.
//
// Before the root element, the declaration, comments, processing
// instructions and the document type are read and dropped; after it only
// blanks, comments and processing instructions may follow. Entities
// declared in a document type aren't expanded; the five XML entities and
// the HTML named references are.
//
// Parsing is iterative, so depth costs heap rather than stack. Names read
// from the same text share one string, as do repeated JSON names.
#pragma once

#include <cstdint>

#include "norvane/markup/ht_node.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/markup/html_parser.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TFastString;
class TFastRawString;
class TStream;
class THtJSONParser;

NV_ENUM(THtXMLFlag, xfSkipBlans)
using THtXMLFlags = TSet<THtXMLFlag>;

class THtXMLNode : public THtNode {
  NV_CLASS(THtXMLNode, THtNode)
 public:
  // --- Creation ---------------------------------------------------------------
  // An empty node without tag.
  THtXMLNode() = default;
  // The tree of an XML text (empty or blank text: an empty node).
  explicit THtXMLNode(const UnicodeString& xml);
  // The same, with TagObject set.
  THtXMLNode(const UnicodeString& xml, TObject* tagObject);
  // A node with `tag` and `value`, appended to `parent` when one is given
  // (which then owns it: make it with new).
  THtXMLNode(const UnicodeString& tag, const UnicodeString& value, THtXMLNode* parent);
  // The tree of an XML file. heDefault settles the encoding from a
  // byte-order mark or the declaration (UTF-8 when neither names one).
  THtXMLNode(const UnicodeString& fileName, THtmlEncoding encoding);
  // The tree of the stream's bytes from its position on; `json` reads them
  // as JSON text instead of XML. Raises EHtXML "Cannot load empty stream"
  // when no byte is left.
  THtXMLNode(TStream* stream, THtmlEncoding encoding, bool json = false);
  // The tree of a JSON text; the second argument only selects this form.
  THtXMLNode(const UnicodeString& json, int32_t);
  // Convenience forms of the two text constructors.
  static THtXMLNode* FromXML(const UnicodeString& xml) { return new THtXMLNode(xml); }
  static THtXMLNode* FromJSON(const UnicodeString& json) { return new THtXMLNode(json, int32_t(0)); }

  // Nodes come from the per-thread small-object pools (small_pool.h): a
  // large document makes and frees millions of them.
  static void* operator new(size_t size);
  static void operator delete(void* p, size_t size) noexcept;

  // Virtual constructor with a tag (nodes made by a tree call it).
  virtual THtXMLNode* Create(const UnicodeString& tag);

  // --- Overridden slots ---------------------------------------------------------
  // Always THtXMLNode.
  TMetaClass GetElementClass(const UnicodeString& tag, const THtNode* root) override;
  // A case-sensitive table.
  void CreateAttributes() override;

  // --- Parsing ------------------------------------------------------------------
  // Replaces this node by the root element of `text` (tag, attributes,
  // children). Raises EHtXML or EHtmlParserException on malformed text.
  void SetXML(const UnicodeString& text);
  // Reads the element the parser stands on (an opening tag) and everything
  // up to its close tag into this node.
  virtual void Parse(THtmlParser* parser);
  // Reads the JSON value at the parser's current token into this node.
  void ParseJSON(THtJSONParser* parser);
  // Replaces this node by the tree of a JSON text.
  void SetJSON(const UnicodeString& text);

  // --- Values -------------------------------------------------------------------
  // The content, and for an element also the content of each tagless child.
  UnicodeString GetValue() const;
  // Sets the content; on an element whose text lies in a tagless first
  // child, that child's content.
  void SetValue(const UnicodeString& value);
  // An element without element children (text, comments and the like only).
  bool GetIsTextElement() const noexcept;
  bool GetHasChildNodes() const noexcept { return GetCount() > 0; }
  // "b" of "a:b"; the whole tag without a prefix.
  UnicodeString GetLocalName() const;
  // "a" of "a:b"; empty without a prefix.
  UnicodeString GetPrefix() const;
  // The namespace of the node's prefix (or the default namespace), read from
  // the xmlns attributes of the node and its ancestors; empty when none.
  UnicodeString GetNamespaceURI() const;
  // A pseudo-attribute of a processing instruction's text
  // (<?xml-stylesheet href="a.css"?>: GetPIAttribute("href") is "a.css").
  // On an element, the first processing-instruction child is read.
  UnicodeString GetPIAttribute(const UnicodeString& name) const;
  // Sets the attribute, or removes it when `value` is empty.
  void SetorRemoveAttribute(const UnicodeString& name, const UnicodeString& value);
  // Folds the attribute names of this node and its descendants to lower case.
  void LowerAttributes();
  // Removes prefixes from the tags and attribute names of this node and its
  // descendants and drops the xmlns declarations. "xml:" attributes stay.
  void RemoveNamespaces();
  // Sets the value that `path` names, creating what is missing. Steps are
  // child names, "*", "..", "//name" (a descendant, created as a child when
  // none exists) with an optional bracket: an index, last(), or conditions
  // of the forms @a='v' and b='v' joined by "and", which a created node is
  // given. The last step may be "@name" (an attribute; an empty value
  // removes it) or "text()" (the value). A path that begins with "/" starts at the root. Returns the node
  // that took the value, nil for an empty path.
  THtXMLNode* XPathSet(const UnicodeString& path, const UnicodeString& value);

  // --- Tree ---------------------------------------------------------------------
  // A new last child element.
  THtXMLNode* Add(const UnicodeString& tag);
  THtXMLNode* Add(const UnicodeString& tag, const UnicodeString& value);
  THtXMLNode* AddNode(THtXMLNode* node) { return static_cast<THtXMLNode*>(THtNode::AddNode(node)); }
  // Puts `node` at `index` among the children (taken out of its former
  // parent first). An index beyond the end appends.
  THtXMLNode* InsertNode(int32_t index, THtXMLNode* node);
  // Deletes (frees) the child at `index`.
  void Delete(int32_t index);
  // Takes `child` out of this node's children without freeing it; nil when
  // it isn't a child.
  THtXMLNode* Extract(THtNode* child);
  // Makes this node a deep copy of `source` (tag, attributes, content,
  // children, IsArray); the parent link stays.
  void Assign(const THtXMLNode* source);
  // A deep copy without parent.
  THtXMLNode* Clone() const;
  // Appends <?target text?>.
  THtXMLNode* AddProcessingInstruction(const UnicodeString& target, const UnicodeString& text);
  // Raises EHtXML "Node index %d out of range".
  THtXMLNode* GetNode(int32_t index) const;
  // The first child with `tag`; raises EHtXML "Node %s not found".
  THtXMLNode* GetNode1(const UnicodeString& tag) const;
  // The node at the child path "a/b/c", created on the way where missing.
  THtXMLNode* GetCreateNode(const UnicodeString& path);
  THtXMLNode* NodebyName(const UnicodeString& path) const {
    return static_cast<THtXMLNode*>(THtNode::NodebyName(path));
  }
  // NodebyName by local names ("b/c" finds <x:b><y:c/></x:b>); with a
  // `namespaceURI`, each node's namespace must also be that one.
  THtXMLNode* NodebyNameNS(const UnicodeString& path, const UnicodeString& namespaceURI = UnicodeString()) const;
  THtXMLNode* NodebyAttr(const UnicodeString& attr, const UnicodeString& value) const {
    return static_cast<THtXMLNode*>(THtNode::NodebyAttr(attr, value));
  }
  // Sets the value of the child at path `name`, created when missing.
  THtXMLNode* SetNode(const UnicodeString& name, const UnicodeString& value);
  // The value of the child at path `name`, or "" when there is none.
  UnicodeString SafeNodeValue(const UnicodeString& name) const;
  // Sorts the children (see THtNodeList::SortbyAttr).
  void SortbyAttr(const UnicodeString& names, THtSortCompareType type, bool ascending);

  // --- Output -------------------------------------------------------------------
  // The node as XML: "<a x="1">text<b/></a>". A tagless root writes its
  // content and children.
  UnicodeString Code() const;
  // The children only.
  UnicodeString InnerCode() const;
  // Indented by `indent` blanks a level, one element a line, lines ended by
  // CR LF. An element whose children are all text stays on one line; text
  // mixed with elements, and xml:space="preserve", are written as read.
  // Indentation stops growing below 64 levels.
  UnicodeString FormattedCode(int32_t indent = 2) const;
  // UTF-8 bytes, with an <?xml version="1.0" encoding="UTF-8"?> line first
  // when `declaration` is set.
  std::string UTF8Code(bool declaration = true) const;
  std::string UTF8FormattedCode(bool declaration = true) const;
  // The node as JSON (see the top of this file).
  UnicodeString JSON() const;

  void FastCode(TFastString* out) const;
  void FastFormatCode(TFastString* out, int32_t level = 0, int32_t indent = 2) const;
  void FastUTF8Code(TFastRawString* out) const;
  void FastUTF8FormatCode(TFastRawString* out) const;
  void FastJSON(TFastString* out) const;

  // Writes UTF8Code / UTF8FormattedCode with declaration.
  void SaveToFileUTF8(const UnicodeString& fileName) const;
  void SaveToFileUTF8Format(const UnicodeString& fileName) const;
  // Writes the code in the system code page, declared as such; characters
  // the code page lacks are written as numeric references.
  void SaveToFileANSI(const UnicodeString& fileName) const;

  // The node came from a JSON array: JSON writes it with brackets.
  bool IsArray = false;

 protected:
  bool FPreserveSpace = false;  // xml:space="preserve" is in force
  bool FJSONScalar = false;     // a JSON scalar (array item or document)

 private:
  friend struct TXmlJsonBuilder;
  // Frees children and attributes and clears tag, content and flags.
  void Reset();
  // Moves tag, attributes, content, children and flags of `from` here.
  void TakeOver(THtXMLNode* from);
  THtXMLNode* NewChild();
  void ReadFromStream(TStream* stream, THtmlEncoding encoding, bool json);
  // SetXML; `decoded`: the units are characters, never bytes to re-decode.
  void ParseXMLText(const UnicodeString& text, bool decoded);
};

}  // namespace norvane
