// THtXMLNode: JSON text to tree and tree to JSON.
#include <memory>
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
  static const UnicodeString s(u"value");
  return s;
}
const UnicodeString& NameObject() {
  static const UnicodeString s(u"object");
  return s;
}
const UnicodeString& NameArray() {
  static const UnicodeString s(u"array");
  return s;
}

inline bool IsScalar(THtJSONTokenType t) noexcept {
  return t == jtString || t == jtValue || t == jtInt || t == jtFloat;
}

}  // namespace

// The builder works on the fields directly: a JSON document of a million
// values makes a million nodes, and each saved call shows.
struct TXmlJsonBuilder {
  static THtXMLNode* Child(THtXMLNode* parent, const UnicodeString& tag) {
    THtXMLNode* c = parent->NewChild();
    c->SetTag(tag);
    return c;
  }

  static void SetMember(THtXMLNode* n, const UnicodeString& name, const UnicodeString& value) {
    // Empty strings are kept too: nothing of the document is dropped.
    if (!n->FAttributes) {
      n->FAttributes = new THtAttributes(true);
      n->FAttributes->List.reserve(4);
    }
    THtAttributes& a = *n->FAttributes;
    // Members mostly come in a new order each time but repeat their names:
    // appending to the end is the common case for sorted input.
    if (a.Count > 0) {
      const UnicodeString& lastName = a.List[size_t(a.Count - 1)].Name;
      if (!lastName.SameBlock(name) && CompareStr(lastName.view(), name.view()) < 0) {
        if (size_t(a.Count) == a.List.size()) a.List.emplace_back();
        a.List[size_t(a.Count)].Name = name;
        a.List[size_t(a.Count)].Value = value;
        ++a.Count;
        return;
      }
    }
    a.SetAttributeEx(name, value);
  }

  static void Value(THtXMLNode* n, THtJSONParser* parser) {
    THtJSONTokenizer& t = *parser->Tokenizer;
    const THtJSONTokenType first = t.Token.CType;
    n->IsArray = first == jtArrayStart;
    if (IsScalar(first)) {
      n->SetValue(t.Token.Name);
      n->FJSONScalar = true;
      return;
    }
    if (first != jtObjectStart && first != jtArrayStart) RaiseTokenExpected();
    if (!t.NextNSToken()) RaiseTokenExpected();
    // At most 1024 levels: the 1025th raises.
    if (parser->Level >= kMaxJsonLevel)
      throw EHtJSONParserException(UnicodeString(u"JSON contains too many nested nodes"));
    ++parser->Level;
    if (n->IsArray)
      Array(n, parser);
    else
      Object(n, parser);
    --parser->Level;
  }

  static void Array(THtXMLNode* n, THtJSONParser* parser) {
    THtJSONTokenizer& t = *parser->Tokenizer;
    if (n->FTag.IsEmpty()) n->SetTag(NameArray());
    if (t.Token.CType == jtArrayEnd) return;
    for (;;) {
      const THtJSONTokenType ct = t.Token.CType;
      if (IsScalar(ct)) {
        THtXMLNode* c = Child(n, NameValue());
        c->FContent = t.Token.Name;
        c->FJSONScalar = true;
      } else if (ct == jtObjectStart) {
        Value(Child(n, NameObject()), parser);
      } else if (ct == jtArrayStart) {
        Value(Child(n, NameArray()), parser);
      } else {
        RaiseTokenExpected();
      }
      if (!t.NextNSToken()) RaiseTokenExpected();
      if (t.Token.CType == jtArrayEnd) return;
      if (t.Token.CType != jtComma) RaiseTokenExpected();
      if (!t.NextNSToken() || t.Token.CType == jtArrayEnd) RaiseTokenExpected();
    }
  }

  static void Object(THtXMLNode* n, THtJSONParser* parser) {
    THtJSONTokenizer& t = *parser->Tokenizer;
    if (n->FTag.IsEmpty()) n->SetTag(NameObject());
    if (t.Token.CType == jtObjectEnd) return;
    for (;;) {
      const THtJSONTokenType ct = t.Token.CType;
      if (ct != jtIdent && ct != jtString) RaiseTokenExpected();
      const THtJSONTokenType vt = parser->NextNameValue();
      if (parser->Name.IsEmpty()) RaiseTokenExpected();
      if (vt == jtObjectStart || vt == jtArrayStart)
        Value(Child(n, parser->Name), parser);
      else
        SetMember(n, parser->Name, t.Token.Name);
      if (!t.NextNSToken()) RaiseTokenExpected();
      if (t.Token.CType == jtObjectEnd) return;
      if (t.Token.CType != jtComma) RaiseTokenExpected();
      if (!t.NextNSToken() || t.Token.CType == jtObjectEnd)
        throw EHtJSONParserException(UnicodeString(u"Name/Value expected after comma"));
    }
  }
};

void THtXMLNode::ParseJSON(THtJSONParser* parser) {
  if (!parser || !parser->Tokenizer) throw EHtJSONParserException(UnicodeString(u"JSON is empty"));
  TXmlJsonBuilder::Value(this, parser);
}

void THtXMLNode::SetJSON(const UnicodeString& text) {
  Reset();
  THtJSONParser parser(text);
  if (!parser.Tokenizer || !parser.Tokenizer->NextNSToken())
    throw EHtJSONParserException(UnicodeString(u"JSON is empty"));
  THtJSONTokenizer& t = *parser.Tokenizer;
  ParseJSON(&parser);
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
    TXmlJsonBuilder::Value(TXmlJsonBuilder::Child(this, NameObject()), &parser);
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
