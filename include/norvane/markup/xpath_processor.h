// TXPathProcessor: the compiled form of a node path.
//
// Every node tree answers a small path language for picking data out of
// HTML and XML: child steps ("a/b"), descendant steps ("//b", "a//b"),
// attributes ("@href"), parent (".."), the current node ("current"), text
// nodes ("text()"), any element ("*") and one bracket of conditions per
// step ("a[2]", "a[last()]", "a[@x='1' and not b]"). Condition operands are
// paths themselves, so a condition can look at a cousin of the node tested.
//
// Compiling never fails: what isn't understood becomes a step or condition
// that matches nothing. THtNode::XPath and XPathValue run the steps.
//
// Behaviour that existing paths rely on and that therefore stays:
// - ">" without "=" compares as "<": "a[n>5]" holds when n is below 5.
// - Index conditions count as THtNode::ChildIndex does: from 0, among all
//   children with a tag, not only those of the step's name.
// - Conditions join strictly left to right, without precedence.
// - A step has one bracket pair: "a[b][c]" reads as the odd condition "b][c".
// - Tags compare exactly, with case as stored.
#pragma once

#include <cstdint>
#include <vector>

#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class THtNode;
class TXPathProcessor;

NV_ENUM(TXPathNodeKind, xkTag, xkAttr, xkAsterisk, xkParent, xkCurrent)
NV_ENUM(TXConditionType, ctEQ, ctNotEQ, ctLess, ctAbove, ctLessEQ, ctAboveEQ, ctIndex)
NV_ENUM(TXBoolOp, boAnd, boOr, boNot)

// One test inside a step's brackets.
struct TXCondition {
  UnicodeString left, right;
  bool leftstr = false, rightstr = false;    // the operand was a quoted literal
  bool leftattr = false, rightattr = false;  // the operand was written "@name"
  TXConditionType ctype = ctEQ;
  int32_t index = 0;  // for ctIndex; -1 means last
  TXBoolOp Op = boAnd;  // how the result joins what stands before it
};

struct TXPathNode;
using PXPathNode = TXPathNode*;

// One step of a path.
struct TXPathNode {
  TXPathNodeKind Kind = xkTag;
  bool All = false;  // written with "//": searches all descendants
  // The name to match; empty for "text()", which so matches text nodes.
  UnicodeString Tag;
  std::vector<TXCondition> Conditions;
  PXPathNode Next = nullptr;  // nil at the last step
  TXPathProcessor* Processor = nullptr;
};

class TXPathProcessor : public TObject {
  NV_CLASS(TXPathProcessor, TObject)
 public:
  // Compiles `path`; never fails.
  explicit TXPathProcessor(const UnicodeString& path);
  // Steps point at each other and at the processor: not copyable.
  TXPathProcessor(const TXPathProcessor&) = delete;
  TXPathProcessor& operator=(const TXPathProcessor&) = delete;

  // The first step, nil for an empty path.
  PXPathNode FirstStep() noexcept { return Nodes.empty() ? nullptr : &Nodes.front(); }

  bool Root = false;     // the path began with "/"
  UnicodeString Value;   // what a value query found
  std::vector<TXPathNode> Nodes;
  THtNode* Current = nullptr;  // the node that the step "current" means

  // Safety bounds of one query, conditions included. A path can ask for work
  // that grows as a power of the tree size ("*/../*/../*/.." or conditions
  // nested in conditions); past MaxVisits examined nodes the walk stops and
  // the query gives what it found so far. Condition operands nested deeper
  // than MaxNesting match nothing. Both keep the stack and the time bounded.
  static inline int64_t MaxVisits = int64_t(1) << 26;
  static inline int32_t MaxNesting = 100;

 private:
  void ExtractPathPart(std::u16string_view text, size_t& pos);
  static void ParseConditions(TXPathNode& step, const UnicodeString& text);
};

}  // namespace norvane
