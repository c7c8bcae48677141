// The path queries of THtNode: the walk of compiled steps over a tree and the
// test of bracket conditions.
//
// The walk keeps its own stack instead of recursing, so the depth of a tree
// or the number of steps costs heap, not machine stack. Condition operands
// are paths that run as queries of their own; they nest as deep as brackets
// nest in the text, which TXPathProcessor::MaxNesting bounds.
#include <unordered_set>
#include <vector>

#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/ht_node.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/markup/xpath_processor.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

// Shared by a query and the condition queries it starts, on this thread.
struct TQueryBudget {
  int32_t Depth = 0;
  int64_t Visits = 0;
  bool Stopped = false;
};
thread_local TQueryBudget gBudget;

// Entered by every query; the outermost one starts a fresh budget.
class TNestGuard {
 public:
  TNestGuard() noexcept {
    if (gBudget.Depth == 0) gBudget = TQueryBudget{};
    ++gBudget.Depth;
  }
  ~TNestGuard() { --gBudget.Depth; }
  TNestGuard(const TNestGuard&) = delete;
  TNestGuard& operator=(const TNestGuard&) = delete;
  bool Allowed() const noexcept { return gBudget.Depth <= TXPathProcessor::MaxNesting && !gBudget.Stopped; }
};

bool Spend(int64_t amount = 1) noexcept {
  gBudget.Visits += amount;
  if (gBudget.Visits > TXPathProcessor::MaxVisits) gBudget.Stopped = true;
  return !gBudget.Stopped;
}

// Compiling a path costs about as much as visiting a node per few units.
bool SpendCompile(const UnicodeString& path) noexcept { return Spend(1 + path.Length() / 16); }

// Where matches go: a list, a callback, or nowhere (a value query).
struct TSink {
  THtNodeList* List = nullptr;
  void (*Proc)(THtNode*, void*) = nullptr;
  void* Data = nullptr;
  int32_t Count = 0;
  // Set when the path can reach a node more than once: each is given once.
  std::unordered_set<const THtNode*>* Given = nullptr;

  bool IsValue() const noexcept { return !List && !Proc; }
  bool NonEmpty() const noexcept { return List ? List->GetCount() > 0 : Count > 0; }
  void Add(THtNode* node) {
    if (Given && !Given->insert(node).second) return;
    if (List)
      List->Add(node);
    else
      Proc(node, Data);
    ++Count;
  }
};

// A node can meet the same step twice only after two descendant steps or a
// step back up ("//a//b", "*/../*"); each visit would give the same matches
// again, and in a chain of such steps the visits multiply.
bool CanRevisit(const TXPathNode* step) noexcept {
  int32_t all = 0;
  for (const TXPathNode* s = step; s; s = s->Next) {
    if (s->All) ++all;
    if (s != step && (s->Kind == xkParent || s->Kind == xkCurrent)) return true;
  }
  return all > 1;
}

enum TPhase : uint8_t { phNextChild, phAll, phCheck, phEnd };

struct TFrame {
  THtNode* Node;
  TXPathNode* Step;
  THtNode* Child;
  int32_t Index;
  TPhase Phase;
};

void Walk(THtNode* start, TXPathNode* first, TSink& sink, bool firstOnly) {
  TXPathProcessor* proc = first->Processor;
  UnicodeString spare;
  UnicodeString& value = proc ? proc->Value : spare;
  THtNode* const current = proc ? proc->Current : nullptr;
  const bool dedupe = CanRevisit(first);
  struct PairHash {
    size_t operator()(const std::pair<const void*, const void*>& p) const noexcept {
      return std::hash<const void*>()(p.first) * 31 + std::hash<const void*>()(p.second);
    }
  };
  std::unordered_set<std::pair<const void*, const void*>, PairHash> seen;
  std::unordered_set<const THtNode*> given;
  if (dedupe) sink.Given = &given;
  std::vector<TFrame> stack;

  // Applies `step` to `node`: attribute, parent and current steps act at
  // once, child steps push a frame that the loop below works off.
  auto enter = [&](THtNode* node, TXPathNode* step) {
    for (;;) {
      if (dedupe && !seen.emplace(node, step).second) return;
      if (!Spend()) return;
      switch (step->Kind) {
        case xkAttr:
          if (sink.IsValue())
            value = node->GetAttribute(step->Tag);
          else if (node->Attributes() && node->Attributes()->Indexof(step->Tag) >= 0)
            sink.Add(node);
          return;
        case xkParent:
        case xkCurrent: {
          THtNode* target = step->Kind == xkParent ? node->Parent() : current;
          if (!target) return;
          if (step->Next) {
            node = target;
            step = step->Next;
            continue;
          }
          if (sink.IsValue())
            value = target->TextContent();
          else
            sink.Add(target);
          return;
        }
        default:
          stack.push_back({node, step, nullptr, 0, phNextChild});
          return;
      }
    }
  };

  enter(start, first);
  while (!stack.empty() && !gBudget.Stopped) {
    TFrame& f = stack.back();
    switch (f.Phase) {
      case phNextChild: {
        THtNodeList* nodes = f.Node->ExistingNodes();
        if (!nodes || f.Index >= nodes->GetCount()) {
          stack.pop_back();
          break;
        }
        THtNode* child = nodes->GetNode(f.Index++);
        TXPathNode* step = f.Step;
        f.Child = child;
        f.Phase = phAll;
        if (!child || !Spend()) break;
        const bool match = step->Kind == xkAsterisk || step->Tag == child->Tag();
        if (!match || (!step->Conditions.empty() && !child->EvaluateCondition(step))) break;
        if (step->Next) {
          enter(child, step->Next);
        } else if (sink.IsValue()) {
          value = child->TextContent();
          // The value is taken; a descendant step may still overwrite it,
          // and then this level ends.
          if (step->All) {
            stack.back().Phase = phEnd;
            enter(child, step);
          } else {
            stack.pop_back();
          }
        } else {
          sink.Add(child);
          if (firstOnly) stack.pop_back();
        }
        break;
      }
      case phAll:
        f.Phase = phCheck;
        if (f.Step->All && f.Child) enter(f.Child, f.Step);
        break;
      case phCheck:
        if ((firstOnly && sink.NonEmpty()) || !value.IsEmpty())
          stack.pop_back();
        else
          f.Phase = phNextChild;
        break;
      case phEnd:
        stack.pop_back();
        break;
    }
  }
}

}  // namespace

IntfPtr<IHtNodeList> THtNode::XPath(const UnicodeString& path, bool firstOnly, THtNode* current) {
  THtNodeList* list = new THtNodeList(false, true);
  IntfPtr<IHtNodeList> result(list);
  TNestGuard guard;
  if (!guard.Allowed() || !SpendCompile(path)) return result;
  TXPathProcessor proc(path);
  proc.Current = current ? current : this;
  // A leading "/" doesn't move the start: the walk begins here.
  if (TXPathNode* first = proc.FirstStep()) {
    TSink sink{list};
    Walk(this, first, sink, firstOnly);
  }
  return result;
}

void THtNode::XPath(const UnicodeString& path, void (*proc)(THtNode* node, void* data), void* data) {
  if (!proc) return;
  TNestGuard guard;
  if (!guard.Allowed() || !SpendCompile(path)) return;
  TXPathProcessor xp(path);
  xp.Current = this;
  if (TXPathNode* first = xp.FirstStep()) {
    TSink sink{nullptr, proc, data};
    Walk(this, first, sink, false);
  }
}

UnicodeString THtNode::XPathValue(const UnicodeString& path, THtNode* current) {
  TNestGuard guard;
  if (!guard.Allowed() || !SpendCompile(path)) return UnicodeString();
  TXPathProcessor proc(path);
  proc.Current = current ? current : this;
  if (TXPathNode* first = proc.FirstStep()) {
    TSink sink;
    Walk(proc.Root ? Root() : this, first, sink, true);
  }
  return proc.Value;
}

void THtNode::InternalXPath(TXPathNode* step, THtNodeList* list, bool firstOnly) {
  if (!step) return;
  TNestGuard guard;
  if (!guard.Allowed()) return;
  TSink sink{list};
  Walk(this, step, sink, firstOnly);
}

bool THtNode::EvaluateCondition(TXPathNode* step) {
  if (!step) return true;
  THtNode* const current = step->Processor ? step->Processor->Current : nullptr;
  // The operand's text: a literal, an attribute, the node's text, or the
  // value of a path from this node.
  auto operand = [&](const UnicodeString& text, bool str, bool attr, bool allowText) {
    if (str) return text;
    if (attr) return GetAttribute(text);
    if (allowText && text == u"text()") return TextContent();
    return XPathValue(text, current);
  };
  bool result = true;
  for (const TXCondition& cond : step->Conditions) {
    bool c = false;
    if (cond.ctype == ctIndex) {
      if (FParent) c = cond.index == -1 ? FParent->LastChildTag() == this : ChildIndex() == cond.index;
    } else if (cond.leftstr || cond.rightstr || !cond.right.IsEmpty()) {
      // A quoted empty right operand ("@x=''") counts as given: the test
      // then asks for a non-empty left side.
      const UnicodeString l = operand(cond.left, cond.leftstr, cond.leftattr, true);
      if (cond.right.IsEmpty()) {
        c = !l.IsEmpty();
      } else {
        const UnicodeString r = operand(cond.right, cond.rightstr, cond.rightattr, false);
        int32_t li = 0, ri = 0;
        switch (cond.ctype) {
          case ctEQ:
            c = l == r;
            break;
          case ctNotEQ:
            c = !(l == r);
            break;
          default:
            if (TryStrToInt(l.view(), li) && TryStrToInt(r.view(), ri)) {
              switch (cond.ctype) {
                case ctLess:
                  c = li < ri;
                  break;
                case ctAbove:
                  c = li > ri;
                  break;
                case ctLessEQ:
                  c = li <= ri;
                  break;
                case ctAboveEQ:
                  c = li >= ri;
                  break;
                default:
                  break;
              }
            }
        }
      }
    } else if (cond.leftattr) {
      c = HasAttribute(cond.left);
    } else if (cond.left == u"text()") {
      c = !TextContent().IsEmpty();
    } else {
      c = XPath(cond.left, true, current)->GetCount() > 0;
    }
    switch (cond.Op) {
      case boAnd:
        result = result && c;
        break;
      case boOr:
        result = result || c;
        break;
      case boNot:
        result = result && !c;
        break;
    }
  }
  return result;
}

}  // namespace norvane
