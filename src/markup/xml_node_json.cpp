// THtXMLNode: JSON text to tree and tree to JSON.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "norvane/foundation/fast_string.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/json_tokenizer.h"
#include "norvane/markup/markup_encode.h"
#include "norvane/markup/xml_node.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

constexpr int32_t kMaxJsonLevel = 1024;

[[noreturn]] void RaiseTokenExpected() {
  throw EHtJSONParserException(UnicodeString(u"Incorrect JSON, token expected."));
}

[[noreturn]] void RaiseNotTerminated() {
  throw EHtJSONParserException(UnicodeString(u"JSON is not terminated properly"));
}

const UnicodeString& NameValue() {
  static const UnicodeString s = UnicodeString::Immortal(u"value");
  return s;
}
const UnicodeString& NameObject() {
  static const UnicodeString s = UnicodeString::Immortal(u"object");
  return s;
}
const UnicodeString& NameArray() {
  static const UnicodeString s = UnicodeString::Immortal(u"array");
  return s;
}

inline bool IsScalar(THtJSONTokenType t) noexcept {
  return t == jtString || t == jtValue || t == jtInt || t == jtFloat;
}

}  // namespace

// The builder works on the fields directly: a JSON document of a million
// values makes a million nodes, and each saved call shows. It reads the
// tokenizer in its text-only way, taking a string only for what the tree
// keeps.
struct TXmlJsonBuilder {
  explicit TXmlJsonBuilder(THtJSONParser& parser)
      : P(parser), T(*parser.Tokenizer), FWasTextOnly(T.FTextOnly) {
    T.SetTextOnly(true);
  }
  ~TXmlJsonBuilder() { T.SetTextOnly(FWasTextOnly); }
  TXmlJsonBuilder(const TXmlJsonBuilder&) = delete;
  TXmlJsonBuilder& operator=(const TXmlJsonBuilder&) = delete;

  THtJSONParser& P;
  THtJSONTokenizer& T;
  bool FWasTextOnly;
  // Scalar members of the objects being read, innermost object last. An
  // object's members go into its sorted table in one step when it closes,
  // instead of one sorted insertion each.
  std::vector<THtAttribute> FMembers;
  std::vector<uint32_t> FOrder;  // the order of a large object
  // The sorted order of recent object shapes (up to kShapeMax names).
  static constexpr uint32_t kShapeMax = 64;
  static constexpr size_t kShapes = 16;
  struct TShape {
    uint32_t Count = 0;
    const char16_t* Names[kShapeMax];
    uint32_t Order[kShapeMax];
  };
  std::unique_ptr<TShape[]> FShapes{new TShape[kShapes]};

  static int32_t HashOf(const UnicodeString& tag) { return THtNode::TagHashOf(tag); }

  // The tag hash of an interned member name, kept by the name's block: the
  // same names tag object and array members again and again.
  struct TTagHash {
    const char16_t* Name = nullptr;
    int32_t Hash = 0;
  };
  std::array<TTagHash, 64> FTagHashes{};

  int32_t MemberTagHash(const UnicodeString& name) {
    TTagHash& slot = FTagHashes[(reinterpret_cast<uintptr_t>(name.Data()) / 16) % FTagHashes.size()];
    if (slot.Name != name.Data()) slot = {name.Data(), HashOf(name)};
    return slot.Hash;
  }

  static THtXMLNode* Child(THtXMLNode* parent, const UnicodeString& tag, int32_t hash) {
    THtXMLNode* c = parent->NewChild();
    c->SetTag(tag, hash);
    return c;
  }

  void Value(THtXMLNode* n) {
    const THtJSONTokenType first = T.Token.CType;
    n->IsArray = first == jtArrayStart;
    if (IsScalar(first)) {
      n->SetValue(T.TakeText());
      n->FJSONScalar = true;
      return;
    }
    if (first != jtObjectStart && first != jtArrayStart) RaiseTokenExpected();
    if (!T.NextTextToken()) RaiseTokenExpected();
    // At most 1024 levels: the 1025th raises.
    if (P.Level >= kMaxJsonLevel) throw EHtJSONParserException(UnicodeString(u"JSON contains too many nested nodes"));
    ++P.Level;
    if (n->IsArray)
      Array(n);
    else
      Object(n);
    --P.Level;
  }

  void Array(THtXMLNode* n) {
    static const int32_t valueHash = HashOf(NameValue()), objectHash = HashOf(NameObject()),
                         arrayHash = HashOf(NameArray());
    if (n->FTag.IsEmpty()) n->SetTag(NameArray(), arrayHash);
    if (T.Token.CType == jtArrayEnd) return;
    for (;;) {
      const THtJSONTokenType ct = T.Token.CType;
      if (IsScalar(ct)) {
        THtXMLNode* c = Child(n, NameValue(), valueHash);
        c->FContent = T.TakeText();
        c->FJSONScalar = true;
      } else if (ct == jtObjectStart) {
        Value(Child(n, NameObject(), objectHash));
      } else if (ct == jtArrayStart) {
        Value(Child(n, NameArray(), arrayHash));
      } else {
        RaiseTokenExpected();
      }
      if (!T.NextTextToken()) RaiseTokenExpected();
      if (T.Token.CType == jtArrayEnd) return;
      if (T.Token.CType != jtComma) RaiseTokenExpected();
      if (!T.NextTextToken() || T.Token.CType == jtArrayEnd) RaiseTokenExpected();
    }
  }

  void Object(THtXMLNode* n) {
    static const int32_t objectHash = HashOf(NameObject());
    if (n->FTag.IsEmpty()) n->SetTag(NameObject(), objectHash);
    if (T.Token.CType == jtObjectEnd) return;
    const size_t base = FMembers.size();
    try {
      for (;;) {
        const THtJSONTokenType ct = T.Token.CType;
        if (ct != jtIdent && ct != jtString) RaiseTokenExpected();
        const THtJSONTokenType vt = P.NextNameValue();
        if (P.Name.IsEmpty()) RaiseTokenExpected();
        if (vt == jtObjectStart || vt == jtArrayStart)
          Value(Child(n, P.Name, MemberTagHash(P.Name)));
        else
          FMembers.push_back({P.Name, T.TakeText()});  // empty strings too: nothing is dropped
        if (!T.NextTextToken()) RaiseTokenExpected();
        if (T.Token.CType == jtObjectEnd) break;
        if (T.Token.CType != jtComma) RaiseTokenExpected();
        if (!T.NextTextToken() || T.Token.CType == jtObjectEnd)
          throw EHtJSONParserException(UnicodeString(u"Name/Value expected after comma"));
      }
    } catch (...) {
      // What was read stays with the tree, as it would have been set.
      SetMembers(n, base);
      throw;
    }
    SetMembers(n, base);
  }

  static bool NameLess(const THtAttribute& a, const THtAttribute& b) noexcept {
    if (a.Name.SameBlock(b.Name)) return false;
    const char16_t x = a.Name.c_str()[0], y = b.Name.c_str()[0];
    return x != y ? x < y : CompareStr(a.Name.view(), b.Name.view()) < 0;
  }

  // The members' indices in name order. Stable, so that of equal names the
  // last read comes last.
  const uint32_t* SortedOrder(const THtAttribute* m, uint32_t count) {
    const auto less = [m](uint32_t x, uint32_t y) { return NameLess(m[x], m[y]); };
    if (count > kShapeMax) {
      FOrder.resize(count);
      for (uint32_t i = 0; i < count; ++i) FOrder[i] = i;
      std::stable_sort(FOrder.begin(), FOrder.end(), less);
      return FOrder.data();
    }
    // Objects mostly repeat a few shapes, the same names in the same order.
    // Names are interned, so a shape is known by the names' blocks, and its
    // order is reused without comparing any text.
    size_t key = count;
    for (uint32_t i = 0; i < count; ++i) key = key * 31 + reinterpret_cast<uintptr_t>(m[i].Name.Data()) / 16;
    TShape& shape = FShapes[(key ^ (key >> 17)) % kShapes];
    if (shape.Count == count) {
      uint32_t i = 0;
      while (i < count && shape.Names[i] == m[i].Name.Data()) ++i;
      if (i == count) return shape.Order;
    }
    // Binary insertion: a few dozen members at most, as a rule.
    uint32_t* const order = shape.Order;
    order[0] = 0;
    for (uint32_t i = 1; i < count; ++i) {
      uint32_t* at = order + i;
      if (less(i, order[i - 1])) {
        at = std::upper_bound(order, order + i, i, less);
        std::memmove(at + 1, at, size_t(order + i - at) * sizeof *order);
      }
      *at = i;
    }
    shape.Count = count;
    for (uint32_t i = 0; i < count; ++i) shape.Names[i] = m[i].Name.Data();
    return order;
  }

  // Moves the members from `base` on into the node's table: sorted by name
  // as the table keeps them, a repeated name with its last value, as if each
  // had been set in document order.
  void SetMembers(THtXMLNode* n, size_t base) {
    THtAttribute* const m = FMembers.data() + base;
    const uint32_t count = uint32_t(FMembers.size() - base);
    if (count == 0) return;
    // The range is dropped however this ends, so that an enclosing object
    // never takes these members for its own.
    struct TDrop {
      std::vector<THtAttribute>& Members;
      size_t Base;
      ~TDrop() { Members.resize(Base); }
    } drop{FMembers, base};
    const uint32_t* const order = SortedOrder(m, count);
    if (!n->FAttributes) n->FAttributes = new THtAttributes(true);
    THtAttributes& a = *n->FAttributes;
    if (a.Count > 0) {
      // A node that had attributes before (ParseJSON into a used node).
      for (uint32_t i = 0; i < count; ++i) a.SetAttributeEx(m[order[i]].Name, m[order[i]].Value);
    } else {
      if (a.List.size() < count) a.List.resize(count);
      int32_t unique = 0;
      for (uint32_t i = 0; i < count; ++i) {
        THtAttribute& from = m[order[i]];
        if (unique > 0 && a.List[size_t(unique - 1)].Name == from.Name)
          a.List[size_t(unique - 1)].Value = std::move(from.Value);
        else
          a.List[size_t(unique++)] = std::move(from);
      }
      a.Count = unique;
    }
  }
};

void THtXMLNode::ParseJSON(THtJSONParser* parser) {
  if (!parser || !parser->Tokenizer) throw EHtJSONParserException(UnicodeString(u"JSON is empty"));
  TXmlJsonBuilder(*parser).Value(this);
}

void THtXMLNode::SetJSON(const UnicodeString& text) {
  Reset();
  THtJSONParser parser(text);
  if (!parser.Tokenizer) throw EHtJSONParserException(UnicodeString(u"JSON is empty"));
  TXmlJsonBuilder builder(parser);
  THtJSONTokenizer& t = *parser.Tokenizer;
  if (!t.NextNSToken()) throw EHtJSONParserException(UnicodeString(u"JSON is empty"));
  builder.Value(this);
  // Values after the first, separated by commas, make the document an array
  // of them; only objects may follow.
  bool wrapped = false;
  while (t.NextNSToken()) {
    if (t.Token.CType != jtComma) RaiseNotTerminated();
    if (!wrapped) {
      auto first = std::make_unique<THtXMLNode>();
      first->TakeOver(this);
      if (first->FTag.IsEmpty()) first->SetTag(NameValue());
      SetTag(NameArray());
      IsArray = true;
      first->FParent = this;
      GetNodes()->Add(first.release());
      wrapped = true;
    }
    if (!t.NextNSToken() || t.Token.CType != jtObjectStart) RaiseNotTerminated();
    builder.Value(TXmlJsonBuilder::Child(this, NameObject(), TXmlJsonBuilder::HashOf(NameObject())));
  }
}

// --- Output -------------------------------------------------------------------------------

namespace {

// A node that writes as a JSON string: a scalar read from JSON, or a text
// element (no attributes, no element children) with a value.
bool WritesAsString(const THtXMLNode* n, bool scalarFlag) {
  if (scalarFlag) return true;
  if (n->Attributes() && n->Attributes()->Count > 0) return false;
  if (THtNodeList* l = n->ExistingNodes())
    for (THtNode* c : *l)
      if (c && !c->Tag().IsEmpty()) return false;
  return !n->GetValue().IsEmpty();
}

inline bool WritesNothing(const THtNode* n) {
  return n->TagType == htComment || n->TagType == htDirective || n->TagType == htCData || n->Tag().IsEmpty();
}

}  // namespace

void THtXMLNode::FastJSON(TFastString* out) const {
  if (!out) return;
  struct Frame {
    const THtXMLNode* Node;
    int32_t Next;
    bool Array;
    bool Any;
  };
  std::vector<Frame> stack;
  const auto open = [&](const THtXMLNode* n) {
    if (WritesAsString(n, n->FJSONScalar)) {
      out->AddChar(u'"');
      FastJSONEncode(out, n->GetValue());
      out->AddChar(u'"');
      return;
    }
    if (n->IsArray) {
      out->AddChar(u'[');
      stack.push_back({n, 0, true, false});
      return;
    }
    out->AddChar(u'{');
    bool any = false;
    if (const THtAttributes* a = n->Attributes())
      for (int32_t i = 0; i < a->Count; ++i) {
        if (any) out->AddChar(u',');
        any = true;
        out->AddChar(u'"');
        FastJSONEncode(out, a->List[size_t(i)].Name);
        out->Add(u"\":\"", 3);
        FastJSONEncode(out, a->List[size_t(i)].Value);
        out->AddChar(u'"');
      }
    stack.push_back({n, 0, false, any});
  };

  if (!FJSONScalar && WritesNothing(this)) return;
  open(this);
  while (!stack.empty()) {
    Frame& f = stack.back();
    const THtXMLNode* c = nullptr;
    if (THtNodeList* l = f.Node->FNodes)
      while (f.Next < l->GetCount()) {
        THtNode* x = l->GetNode(f.Next++);
        if (!x || !x->Is<THtXMLNode>()) continue;
        const auto* xn = static_cast<const THtXMLNode*>(x);
        if (xn->FJSONScalar || !WritesNothing(xn)) {
          c = xn;
          break;
        }
      }
    if (!c) {
      out->AddChar(f.Array ? u']' : u'}');
      stack.pop_back();
      continue;
    }
    if (f.Any) {
      if (f.Array)
        out->Add(u",\r\n", 3);
      else
        out->AddChar(u',');
    }
    f.Any = true;
    if (!f.Array) {
      out->AddChar(u'"');
      FastJSONEncode(out, c->FTag);
      out->Add2Char(u'"', u':');
    }
    open(c);  // may push: `f` is not used after this
  }
}

UnicodeString THtXMLNode::JSON() const {
  TFastString out(65536);
  FastJSON(&out);
  return out.GetAsString();
}

}  // namespace norvane
