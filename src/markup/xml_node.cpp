// THtXMLNode: creation, XML reading, values and tree operations.
#include "norvane/markup/xml_node.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "norvane/runtime/small_pool.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/json_tokenizer.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/markup/xpath_processor.h"
#include "norvane/runtime/streams.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(THtXMLNode, "htxml")

namespace {

inline bool IsXmlBlank(char16_t c) noexcept { return c == u' ' || c == u'\n' || c == u'\r' || c == u'\t'; }

bool IsBlank(std::u16string_view s) noexcept {
  for (char16_t c : s)
    if (!IsXmlBlank(c)) return false;
  return true;
}

const UnicodeString& XmlSpaceName() {
  static const UnicodeString name(u"xml:space");
  return name;
}

[[noreturn]] void RaiseTagOrder(const UnicodeString& expected, const UnicodeString& found) {
  throw EHtXML(u"Tag order error: /%s expected, /%s found at position %d", {expected, found, 0});
}

// Local name and prefix of a qualified name.
std::u16string_view LocalPart(std::u16string_view name) noexcept {
  const size_t colon = name.find(u':');
  return colon == std::u16string_view::npos ? name : name.substr(colon + 1);
}

// UTF-16 bytes to text; `bigEndian` swaps each pair.
UnicodeString DecodeUtf16(const uint8_t* p, size_t n, bool bigEndian) {
  const int32_t units = int32_t(n / 2);
  UnicodeString s = UnicodeString::Alloc(units);
  char16_t* d = s.MutableData();
  for (int32_t i = 0; i < units; ++i) {
    const uint8_t a = p[2 * i], b = p[2 * i + 1];
    d[i] = bigEndian ? char16_t((a << 8) | b) : char16_t((b << 8) | a);
  }
  return s;
}

// The encoding named by an XML declaration at the start of narrow bytes, in
// lower case; empty when there is none.
std::string DeclaredEncoding(std::string_view bytes) {
  if (bytes.substr(0, 5) != "<?xml") return {};
  const size_t end = bytes.find("?>");
  const std::string_view decl = bytes.substr(0, end == std::string_view::npos ? std::min<size_t>(bytes.size(), 256) : end);
  const size_t at = decl.find("encoding");
  if (at == std::string_view::npos) return {};
  size_t i = at + 8;
  while (i < decl.size() && (decl[i] == ' ' || decl[i] == '=' || decl[i] == '\t')) ++i;
  if (i >= decl.size() || (decl[i] != '"' && decl[i] != '\'')) return {};
  const char quote = decl[i++];
  std::string name;
  for (; i < decl.size() && decl[i] != quote; ++i)
    name.push_back(char(decl[i] >= 'A' && decl[i] <= 'Z' ? decl[i] + 32 : decl[i]));
  return name;
}

// Checks that cost little and catch common malformations the markup reader
// lets through: names that can't start a name, "--" in comments, processing instructions without a proper target.
inline bool BadNameStart(const UnicodeString& name) noexcept {
  const char16_t c = name.IsEmpty() ? u'-' : name[0];
  return c == u'-' || c == u'.' || (c >= u'0' && c <= u'9') || (c < 0x80 && !(c == u':' || c == u'_' ||
         (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z')));
}

void CheckAttributes(const THtAttributes& a) {
  for (int32_t i = 0; i < a.Count; ++i) {
    const THtAttribute& e = a.List[size_t(i)];
    if (BadNameStart(e.Name)) throw EHtXML(u"Invalid attribute name %s", {e.Name});
  }
}

void CheckComment(std::u16string_view text) {
  if (text.find(u"--") != std::u16string_view::npos || text.ends_with(u'-'))
    throw EHtXML(UnicodeString(u"A comment may not hold \"--\""));
}

// `declarationAllowed`: the XML declaration may stand here (the very start).
void CheckProcessingInstruction(std::u16string_view text, bool declarationAllowed) {
  size_t n = 0;
  while (n < text.size() && !IsXmlBlank(text[n])) ++n;
  const std::u16string_view target = text.substr(0, n);
  if (target.empty() || BadNameStart(UnicodeString(target.substr(0, 1))))
    throw EHtXML(UnicodeString(u"A processing instruction needs a target name"));
  if (target.size() == 3 && (target[0] | 0x20) == u'x' && (target[1] | 0x20) == u'm' && (target[2] | 0x20) == u'l' &&
      !(declarationAllowed && target == u"xml"))
    throw EHtXML(UnicodeString(u"The XML declaration must stand at the start"));
}

// The code page of an encoding name from a declaration (lower case); 0 for
// UTF-8, UTF-16 and names not known. XML takes ISO-8859-1 literally, where
// HTML readers take it as Windows-1252.
uint32_t DeclaredCodePage(const std::string& name) {
  if (name.empty()) return 0;
  if (name.starts_with("iso-8859-") || name.starts_with("iso_8859-")) {
    const int n = std::atoi(name.c_str() + 9);
    return n >= 1 && n <= 16 && n != 12 ? uint32_t(28590 + n) : 0;
  }
  static const std::pair<const char*, uint32_t> kNames[] = {
      {"us-ascii", 20127}, {"ascii", 20127},     {"latin1", 28591},   {"shift_jis", 932},  {"shift-jis", 932},
      {"euc-jp", 51932},   {"euc-kr", 51949},    {"gbk", 936},        {"gb2312", 936},     {"gb18030", 54936},
      {"big5", 950},       {"koi8-r", 20866},    {"koi8-u", 21866},   {"iso-2022-jp", 50220},
  };
  for (const auto& [n, cp] : kNames)
    if (name == n) return cp;
  if (name.starts_with("windows-") || name.starts_with("cp")) {
    const int n = std::atoi(name.c_str() + (name[0] == 'w' ? 8 : 2));
    return n > 0 ? uint32_t(n) : 0;
  }
  const uint32_t cp = THtmlParser::CharsettoCodepage(UnicodeString::FromLatin1(name));
  return cp == 65001 ? 0 : cp;
}

// True when `text` may hold bytes of UTF-8 read as single units: some unit
// in 0x80-0xFF and none above. Pure ASCII reads the same either way.
bool MayBeNarrowUtf8(std::u16string_view text) noexcept {
  bool high = false;
  for (char16_t c : text) {
    if (c > 0xFF) return false;
    high |= c >= 0x80;
  }
  return high;
}


}  // namespace

void* THtXMLNode::operator new(size_t size) { return SmallPoolTake(size); }

void THtXMLNode::operator delete(void* p, size_t size) noexcept { SmallPoolGive(p, size); }

// --- Creation --------------------------------------------------------------------------

THtXMLNode::THtXMLNode(const UnicodeString& xml) { SetXML(xml); }

THtXMLNode::THtXMLNode(const UnicodeString& xml, TObject* tagObject) {
  TagObject = tagObject;
  SetXML(xml);
}

THtXMLNode::THtXMLNode(const UnicodeString& tag, const UnicodeString& value, THtXMLNode* parent) {
  SetTag(tag);
  if (!tag.IsEmpty()) TagType = htIdent;
  FContent = value;
  if (parent) parent->AddNode(this);
}

THtXMLNode::THtXMLNode(const UnicodeString& fileName, THtmlEncoding encoding) {
  TFileStream stream(fileName, fmOpenRead | fmShareDenyWrite);
  ReadFromStream(&stream, encoding, false);
}

THtXMLNode::THtXMLNode(TStream* stream, THtmlEncoding encoding, bool json) {
  ReadFromStream(stream, encoding, json);
}

THtXMLNode::THtXMLNode(const UnicodeString& json, int32_t) { SetJSON(json); }

THtXMLNode* THtXMLNode::Create(const UnicodeString& tag) {
  auto* n = new THtXMLNode();
  n->SetTag(tag);
  if (!tag.IsEmpty()) n->TagType = htIdent;
  return n;
}

TMetaClass THtXMLNode::GetElementClass(const UnicodeString&, const THtNode*) { return StaticClass(); }

void THtXMLNode::CreateAttributes() {
  if (!FAttributes) FAttributes = new THtAttributes(true);
}

THtXMLNode* THtXMLNode::NewChild() {
  TMetaClass cls = GetElementClass(UnicodeString(), nullptr);
  THtXMLNode* c;
  if (cls == StaticClass() || !cls || !cls->InheritsFrom(StaticClass()))
    c = new THtXMLNode();
  else
    c = static_cast<THtXMLNode*>(THtNode::Create(cls));
  c->FParent = this;
  GetNodes()->Add(c);
  return c;
}

void THtXMLNode::Reset() {
  DeleteAllChildren();
  delete FNodes;
  FNodes = nullptr;
  delete FAttributes;
  FAttributes = nullptr;
  FTag.Clear();
  FTagHash = 0;
  FContent.Clear();
  TagType = htUnknown;
  IsArray = false;
  FPreserveSpace = false;
  FJSONScalar = false;
}

void THtXMLNode::TakeOver(THtXMLNode* from) {
  Reset();
  FTag = std::move(from->FTag);
  FTagHash = from->FTagHash;
  from->FTagHash = 0;
  FContent = std::move(from->FContent);
  TagType = from->TagType;
  IsArray = from->IsArray;
  FPreserveSpace = from->FPreserveSpace;
  FJSONScalar = from->FJSONScalar;
  FAttributes = from->FAttributes;
  from->FAttributes = nullptr;
  FNodes = from->FNodes;
  from->FNodes = nullptr;
  if (FNodes)
    for (THtNode* c : *FNodes) c->SetParent(this);
  from->TagType = htUnknown;
  from->IsArray = from->FPreserveSpace = from->FJSONScalar = false;
}

void THtXMLNode::ReadFromStream(TStream* stream, THtmlEncoding encoding, bool json) {
  // A memory stream is read where it lies; any other is read into a copy.
  TBytes bytes;
  const uint8_t* p = nullptr;
  size_t n = 0;
  auto* memory = stream ? dynamic_cast<TCustomMemoryStream*>(stream) : nullptr;
  if (memory && memory->Memory()) {
    const int64_t at = std::clamp<int64_t>(memory->Position(), 0, memory->Size());
    p = static_cast<const uint8_t*>(memory->Memory()) + at;
    n = size_t(memory->Size() - at);
    memory->Seek(0, soEnd);
  } else if (stream) {
    bytes = stream->ReadRemaining();
    p = bytes.data();
    n = bytes.size();
  }
  if (n == 0) throw EHtXML(UnicodeString(u"Cannot load empty stream"));
  const std::string_view narrow(reinterpret_cast<const char*>(p), n);
  UnicodeString text;
  const bool bomUtf8 = n >= 3 && p[0] == 0xEF && p[1] == 0xBB && p[2] == 0xBF;
  const bool bomLE = n >= 2 && p[0] == 0xFF && p[1] == 0xFE;
  const bool bomBE = n >= 2 && p[0] == 0xFE && p[1] == 0xFF;
  if (encoding == heDefault) {
    if (bomUtf8)
      encoding = heUTF8;
    else if (bomLE || bomBE || (n >= 2 && (p[0] == 0 || p[1] == 0)))
      encoding = heUTF16;
  }
  switch (encoding) {
    case heUTF16: {
      const bool be = bomBE || (!bomLE && n >= 2 && p[0] == 0 && p[1] != 0);
      const size_t skip = (bomLE || bomBE) ? 2 : 0;
      text = DecodeUtf16(p + skip, n - skip, be);
      break;
    }
    case heANSI: text = DecodeCodePage(narrow, SystemCodePage()); break;
    case heUTF8: text = UnicodeString::FromUtf8(bomUtf8 ? narrow.substr(3) : narrow); break;
    default: {
      // A declaration may name a narrow code page; UTF-8 is the default.
      const uint32_t cp = json ? 0 : DeclaredCodePage(DeclaredEncoding(narrow));
      if (cp != 0 && cp != 65001 && !CodePageName(cp).empty())
        text = DecodeCodePage(narrow, cp);
      else
        text = UnicodeString::FromUtf8(narrow);
      break;
    }
  }
  if (json) {
    SetJSON(text);
    return;
  }
  // The text is decoded: a declaration must not decode it again.
  ParseXMLText(text, true);
}

// --- Parsing -------------------------------------------------------------------------------

void THtXMLNode::SetXML(const UnicodeString& text) { ParseXMLText(text, false); }

void THtXMLNode::ParseXMLText(const UnicodeString& text, bool decoded) {
  Reset();
  THtmlParser parser(text, true);
  parser.SetCaseSensitive(true);
  if (decoded) parser.Encoding = heUTF8;
  bool root = false;
  bool first = true;
  while (parser.NextItem()) {
    const THTMLTokenType t = parser.TagType;
    const bool atStart = first && (parser.StartPos == 0 || (parser.StartPos == 1 && text[0] == 0xFEFF));
    first = false;
    if (t == htIdent && !parser.Tag.IsEmpty()) {
      if (parser.IsCloseTag) RaiseTagOrder(UnicodeString(), parser.Tag);
      if (root) throw EHtXML(UnicodeString(u"Only one root element is allowed"));
      Parse(&parser);
      root = true;
      continue;
    }
    if (t == htString || t == htIdent || t == htSpace) {
      if (!IsBlank(parser.Value.view())) throw EHtXML(UnicodeString(u"Text outside the root element"));
    } else if (t == htDirective) {
      CheckProcessingInstruction(parser.Value.view(), atStart);
      // The declaration may say that the units stand for UTF-8 bytes.
      if (!root && !decoded && parser.Value.view().starts_with(u"xml ") &&
          LowerCase(parser.Value).view().find(u"utf-8") != std::u16string_view::npos &&
          MayBeNarrowUtf8(text.view()))
        parser.ChangeEncoding(heUTF8, 0);
    } else if (t == htCustom ? root : t != htComment) {
      throw EHtXML(UnicodeString(u"Misplaced markup declaration"));
    } else if (t == htComment) {
      CheckComment(parser.Value.view().substr(parser.Value.view().starts_with(u"--") ? 2 : 0));
    }
  }
  if (!root && !IsBlank(text.view())) throw EHtXML(UnicodeString(u"XML has no root element"));
}

void THtXMLNode::Parse(THtmlParser* parser) {
  // One loop with an explicit stack of open elements: depth costs heap.
  // Blank runs of each open element gather in a buffer of its level and
  // join its content once, when it closes.
  std::vector<THtXMLNode*> open;
  std::vector<std::u16string> blanks;
  // Tags come interned: their hashes are remembered by string block. Every
  // block seen stays alive in a node until the parse ends, so no address
  // comes back with another name.
  struct TTagHash {
    const char16_t* Data = nullptr;
    int32_t Hash = 0;
  };
  std::array<TTagHash, 64> tagHashes{};
  const auto start = [&](THtXMLNode* n, bool inheritedPreserve) {
    if (BadNameStart(parser->Tag)) throw EHtXML(u"Invalid element name %s", {parser->Tag});
    TTagHash& th = tagHashes[(reinterpret_cast<uintptr_t>(parser->Tag.Data()) >> 4) & 63];
    if (th.Data != parser->Tag.Data()) th = {parser->Tag.Data(), TagHashOf(parser->Tag)};
    n->SetTag(parser->Tag, th.Hash);
    n->TagType = parser->TagType;
    if (THtAttributes* a = parser->ExtractAttributes()) {
      delete n->FAttributes;
      a->CaseSensitive = true;
      n->FAttributes = a;  // owned by the node before anything may raise
      CheckAttributes(*a);
      int32_t i;
      if (a->Find(XmlSpaceName(), i))
        n->FPreserveSpace = a->List[size_t(i)].Value == std::u16string_view(u"preserve");
      else
        n->FPreserveSpace = inheritedPreserve;
    } else {
      n->FPreserveSpace = inheritedPreserve;
    }
    if (parser->TagClosed) return;
    open.push_back(n);
    if (blanks.size() < open.size()) blanks.resize(open.size());
    blanks[open.size() - 1].clear();
  };
  start(this, FParent && FParent->Is<THtXMLNode>() && static_cast<THtXMLNode*>(FParent)->FPreserveSpace);

  while (!open.empty()) {
    THtXMLNode* top = open.back();
    if (!parser->NextItem()) throw EHtXML(u"Unexpected end of XML: /%s expected", {top->FTag});
    const THTMLTokenType t = parser->TagType;
    if (parser->IsCloseTag) {
      if (parser->Tag != top->FTag) RaiseTagOrder(top->FTag, parser->Tag);
      std::u16string& pending = blanks[open.size() - 1];
      if (!pending.empty()) top->FContent += std::u16string_view(pending);
      open.pop_back();
      continue;
    }
    if (parser->Tag.IsEmpty()) {
      if (t == htString || t == htIdent || t == htSpace) {
        const UnicodeString& v = parser->Value;
        std::u16string& pending = blanks[open.size() - 1];
        if ((t == htSpace || IsBlank(v.view())) && !top->FPreserveSpace) {
          pending.append(v.view());
          continue;
        }
        if (top->GetCount() == 0 && top->FContent.IsEmpty() && pending.empty()) {
          top->FContent = v;
          continue;
        }
      } else if (t == htCustom || t == htUnknown) {
        throw EHtXML(UnicodeString(u"Misplaced markup declaration"));
      } else if (t == htDirective && parser->Encoding != heUTF8 && parser->Value.view().starts_with(u"xml ") &&
                 LowerCase(parser->Value).view().find(u"utf-8") != std::u16string_view::npos &&
                 MayBeNarrowUtf8(parser->GetTokenizer()->Parser()->Text().view())) {
        parser->ChangeEncoding(heUTF8, 0);
      }
      THtXMLNode* c = top->NewChild();
      c->TagType = t;
      // A comment token keeps the dashes of its opening: the node holds
      // only the text between "<!--" and "-->".
      if (t == htComment) {
        const std::u16string_view v = parser->Value.view();
        c->FContent = v.starts_with(u"--") ? UnicodeString(v.substr(2)) : parser->Value;
        CheckComment(c->FContent.view());
      } else {
        if (t == htDirective) CheckProcessingInstruction(parser->Value.view(), false);
        c->FContent = parser->Value;
      }
      continue;
    }
    start(top->NewChild(), top->FPreserveSpace);
  }
}

// --- Values -----------------------------------------------------------------------------

UnicodeString THtXMLNode::GetValue() const {
  if (FTag.IsEmpty() || !FNodes || FNodes->GetCount() == 0) return FContent;
  bool any = false;
  for (THtNode* c : *FNodes)
    if (c && c->Tag().IsEmpty() && !c->Content().IsEmpty()) any = true;
  if (!any) return FContent;
  UnicodeString s = FContent;
  for (THtNode* c : *FNodes)
    if (c && c->Tag().IsEmpty()) s += c->Content();
  return s;
}

void THtXMLNode::SetValue(const UnicodeString& value) {
  if (!FTag.IsEmpty() && FContent.IsEmpty() && FNodes) {
    for (THtNode* c : *FNodes)
      if (c && c->Tag().IsEmpty()) {
        c->SetContent(value);
        return;
      }
  }
  FContent = value;
}

bool THtXMLNode::GetIsTextElement() const noexcept {
  if (FTag.IsEmpty()) return false;
  if (FNodes)
    for (THtNode* c : *FNodes)
      if (c && !c->Tag().IsEmpty()) return false;
  return true;
}

UnicodeString THtXMLNode::GetLocalName() const {
  const size_t colon = FTag.view().find(u':');
  return colon == std::u16string_view::npos ? FTag : UnicodeString(FTag.view().substr(colon + 1));
}

UnicodeString THtXMLNode::GetPrefix() const {
  const size_t colon = FTag.view().find(u':');
  return colon == std::u16string_view::npos ? UnicodeString() : UnicodeString(FTag.view().substr(0, colon));
}

UnicodeString THtXMLNode::GetNamespaceURI() const {
  const UnicodeString prefix = GetPrefix();
  if (prefix == u"xml") return UnicodeString(u"http://www.w3.org/XML/1998/namespace");
  const UnicodeString attr = prefix.IsEmpty() ? UnicodeString(u"xmlns") : u"xmlns:" + prefix;
  for (const THtNode* n = this; n; n = n->Parent()) {
    int32_t i;
    if (n->Attributes() && n->Attributes()->Find(attr, i)) return n->Attributes()->List[size_t(i)].Value;
  }
  return UnicodeString();
}

UnicodeString THtXMLNode::GetPIAttribute(const UnicodeString& name) const {
  const THtNode* pi = TagType == htDirective && FTag.IsEmpty() ? this : nullptr;
  if (!pi && FNodes)
    for (THtNode* c : *FNodes)
      if (c && c->Tag().IsEmpty() && c->TagType == htDirective) {
        pi = c;
        break;
      }
  if (!pi || name.IsEmpty()) return UnicodeString();
  // The target comes first; pseudo-attributes follow as name="value".
  const std::u16string_view s = pi->Content().view();
  size_t i = 0;
  while (i < s.size() && !IsXmlBlank(s[i])) ++i;
  while (i < s.size()) {
    while (i < s.size() && IsXmlBlank(s[i])) ++i;
    const size_t nameStart = i;
    while (i < s.size() && !IsXmlBlank(s[i]) && s[i] != u'=') ++i;
    const std::u16string_view attr = s.substr(nameStart, i - nameStart);
    while (i < s.size() && IsXmlBlank(s[i])) ++i;
    if (i >= s.size() || s[i] != u'=') {
      if (i == nameStart) ++i;  // a stray unit: step over it
      continue;
    }
    ++i;
    while (i < s.size() && IsXmlBlank(s[i])) ++i;
    if (i >= s.size()) break;
    const char16_t quote = s[i];
    size_t valueStart, valueEnd;
    if (quote == u'"' || quote == u'\'') {
      valueStart = ++i;
      while (i < s.size() && s[i] != quote) ++i;
      valueEnd = i;
      if (i < s.size()) ++i;
    } else {
      valueStart = i;
      while (i < s.size() && !IsXmlBlank(s[i])) ++i;
      valueEnd = i;
    }
    if (attr == name.view()) return UnicodeString(s.substr(valueStart, valueEnd - valueStart));
  }
  return UnicodeString();
}

void THtXMLNode::SetorRemoveAttribute(const UnicodeString& name, const UnicodeString& value) {
  if (value.IsEmpty()) {
    if (FAttributes) FAttributes->ClearAttr(name);
  } else {
    SetAttribute(name, value);
  }
}

namespace {

// Calls `visit` on `node` and every descendant, without recursion.
template <class Visit>
void ForSubtree(THtNode* node, Visit visit) {
  std::vector<THtNode*> stack{node};
  while (!stack.empty()) {
    THtNode* n = stack.back();
    stack.pop_back();
    visit(n);
    if (THtNodeList* l = n->ExistingNodes())
      for (int32_t i = l->GetCount() - 1; i >= 0; --i)
        if (THtNode* c = l->GetNode(i)) stack.push_back(c);
  }
}

// Rebuilds an attribute table with names mapped by `rename`; a name mapped
// to the empty string is dropped. On a clash the later entry wins.
template <class Rename>
void RenameAttributes(THtAttributes* a, Rename rename) {
  if (!a || a->Count == 0) return;
  std::vector<THtAttribute> old(a->List.begin(), a->List.begin() + a->Count);
  a->Clear();
  for (THtAttribute& e : old) {
    UnicodeString name = rename(e.Name);
    if (!name.IsEmpty()) a->SetAttributeEx(name, e.Value);
  }
  for (size_t i = size_t(a->Count); i < a->List.size(); ++i) a->List[i] = THtAttribute{};
}

}  // namespace

void THtXMLNode::LowerAttributes() {
  ForSubtree(this, [](THtNode* n) {
    THtAttributes* a = n->Attributes();
    if (!a) return;
    bool upper = false;
    for (int32_t i = 0; i < a->Count && !upper; ++i)
      for (char16_t c : a->List[size_t(i)].Name.view())
        if (c >= u'A' && c <= u'Z') upper = true;
    if (upper) RenameAttributes(a, [](const UnicodeString& s) { return LowerCase(s); });
  });
}

void THtXMLNode::RemoveNamespaces() {
  ForSubtree(this, [](THtNode* n) {
    if (n->Tag().view().find(u':') != std::u16string_view::npos)
      n->SetTag(UnicodeString(LocalPart(n->Tag().view())));
    THtAttributes* a = n->Attributes();
    if (!a) return;
    bool touch = false;
    for (int32_t i = 0; i < a->Count && !touch; ++i) {
      const std::u16string_view s = a->List[size_t(i)].Name.view();
      touch = s == u"xmlns" || (s.find(u':') != std::u16string_view::npos && !s.starts_with(u"xml:"));
    }
    if (!touch) return;
    RenameAttributes(a, [](const UnicodeString& s) {
      const std::u16string_view v = s.view();
      if (v == u"xmlns" || v.starts_with(u"xmlns:")) return UnicodeString();
      if (v.starts_with(u"xml:") || v.find(u':') == std::u16string_view::npos) return s;
      return UnicodeString(LocalPart(v));
    });
  });
}

// --- Tree ---------------------------------------------------------------------------------

THtXMLNode* THtXMLNode::Add(const UnicodeString& tag) {
  THtXMLNode* c = NewChild();
  c->SetTag(tag);
  if (!tag.IsEmpty()) c->TagType = htIdent;
  c->FPreserveSpace = FPreserveSpace;
  return c;
}

THtXMLNode* THtXMLNode::Add(const UnicodeString& tag, const UnicodeString& value) {
  THtXMLNode* c = Add(tag);
  c->FContent = value;
  return c;
}

THtXMLNode* THtXMLNode::InsertNode(int32_t index, THtXMLNode* node) {
  if (!node) return nullptr;
  if (node == this || HasAsParent(node))
    throw EInvalidOperation(UnicodeString(u"A node can't be added to itself or to one of its descendants"));
  if (node->FParent && node->FParent->ExistingNodes()) node->FParent->ExistingNodes()->RemoveItem(node);
  THtNodeList* l = GetNodes();
  if (index < 0) index = 0;
  if (index > l->GetCount()) index = l->GetCount();
  l->Insert(index, node);
  node->SetParent(this);
  return node;
}

void THtXMLNode::Delete(int32_t index) {
  GetNode(index);
  FNodes->Delete(index);
}

THtXMLNode* THtXMLNode::Extract(THtNode* child) {
  if (!child || !FNodes || FNodes->RemoveItem(child) < 0) return nullptr;
  child->SetParent(nullptr);
  return static_cast<THtXMLNode*>(child);
}

namespace {

void CopyFields(THtXMLNode* to, const THtXMLNode* from) {
  to->SetTag(from->Tag());
  to->TagType = from->TagType;
  to->SetContent(from->Content());
  to->IsArray = from->IsArray;
  if (const THtAttributes* a = from->Attributes()) {
    to->CreateAttributes();
    THtAttributes* t = to->Attributes();
    t->List.assign(a->List.begin(), a->List.begin() + a->Count);
    t->Count = a->Count;
    t->CaseSensitive = a->CaseSensitive;
  }
}

}  // namespace

void THtXMLNode::Assign(const THtXMLNode* source) {
  if (!source || source == this) return;
  if (HasAsParent(source))
    throw EInvalidOperation(UnicodeString(u"A node can't be assigned from one of its ancestors"));
  // Copy first: `source` may lie inside this node's subtree.
  std::unique_ptr<THtXMLNode> copy(source->Clone());
  TakeOver(copy.get());
}

THtXMLNode* THtXMLNode::Clone() const {
  auto* root = new THtXMLNode();
  std::unique_ptr<THtXMLNode> guard(root);
  CopyFields(root, this);
  root->FPreserveSpace = FPreserveSpace;
  root->FJSONScalar = FJSONScalar;
  std::vector<std::pair<const THtXMLNode*, THtXMLNode*>> stack{{this, root}};
  while (!stack.empty()) {
    auto [from, to] = stack.back();
    stack.pop_back();
    if (!from->FNodes) continue;
    for (THtNode* c : *from->FNodes) {
      if (!c || !c->Is<THtXMLNode>()) continue;
      const auto* src = static_cast<const THtXMLNode*>(c);
      THtXMLNode* dst = to->NewChild();
      CopyFields(dst, src);
      dst->FPreserveSpace = src->FPreserveSpace;
      dst->FJSONScalar = src->FJSONScalar;
      if (src->FNodes && src->FNodes->GetCount() > 0) stack.push_back({src, dst});
    }
  }
  return guard.release();
}

THtXMLNode* THtXMLNode::AddProcessingInstruction(const UnicodeString& target, const UnicodeString& text) {
  THtXMLNode* c = NewChild();
  c->TagType = htDirective;
  c->FContent = text.IsEmpty() ? target : target + u' ' + text;
  return c;
}

THtXMLNode* THtXMLNode::GetNode(int32_t index) const {
  if (index < 0 || index >= GetCount()) throw EHtXML(u"Node index %d out of range", {index});
  return static_cast<THtXMLNode*>(FNodes->GetNode(index));
}

THtXMLNode* THtXMLNode::GetNode1(const UnicodeString& tag) const {
  if (FNodes)
    for (THtNode* c : *FNodes)
      if (c && c->Tag() == tag) return static_cast<THtXMLNode*>(c);
  throw EHtXML(u"Node %s not found", {tag});
}

THtXMLNode* THtXMLNode::GetCreateNode(const UnicodeString& path) {
  THtXMLNode* n = this;
  const std::u16string_view rest = path.view();
  size_t pos = 0;
  while (pos <= rest.size()) {
    size_t slash = rest.find(u'/', pos);
    if (slash == std::u16string_view::npos) slash = rest.size();
    const std::u16string_view piece = rest.substr(pos, slash - pos);
    pos = slash + 1;
    if (piece.empty()) continue;
    THtXMLNode* found = nullptr;
    if (n->FNodes)
      for (THtNode* c : *n->FNodes)
        if (c && c->Tag().view() == piece) {
          found = static_cast<THtXMLNode*>(c);
          break;
        }
    n = found ? found : n->Add(UnicodeString(piece));
  }
  return n;
}

THtXMLNode* THtXMLNode::NodebyNameNS(const UnicodeString& path, const UnicodeString& namespaceURI) const {
  const THtXMLNode* n = this;
  const std::u16string_view rest = path.view();
  size_t pos = 0;
  for (;;) {
    size_t slash = rest.find(u'/', pos);
    const bool last = slash == std::u16string_view::npos;
    if (last) slash = rest.size();
    const std::u16string_view piece = rest.substr(pos, slash - pos);
    const THtXMLNode* found = nullptr;
    if (n->FNodes)
      for (THtNode* c : *n->FNodes) {
        if (!c || c->Tag().IsEmpty() || LocalPart(c->Tag().view()) != piece) continue;
        const auto* x = static_cast<const THtXMLNode*>(c);
        if (!namespaceURI.IsEmpty() && x->GetNamespaceURI() != namespaceURI) continue;
        found = x;
        break;
      }
    if (!found || last) return const_cast<THtXMLNode*>(found);
    n = found;
    pos = slash + 1;
  }
}

THtXMLNode* THtXMLNode::SetNode(const UnicodeString& name, const UnicodeString& value) {
  THtXMLNode* n = GetCreateNode(name);
  n->SetValue(value);
  return n;
}

UnicodeString THtXMLNode::SafeNodeValue(const UnicodeString& name) const {
  const THtXMLNode* n = NodebyName(name);
  return n ? n->GetValue() : UnicodeString();
}

void THtXMLNode::SortbyAttr(const UnicodeString& names, THtSortCompareType type, bool ascending) {
  if (FNodes) FNodes->SortbyAttr(names, type, ascending);
}

// --- XPathSet ----------------------------------------------------------------------------

namespace {

bool StepMatches(THtNode* c, TXPathNode* step) {
  if (!c) return false;
  if (step->Kind == xkAsterisk ? c->Tag().IsEmpty() : c->Tag() != step->Tag) return false;
  return step->Conditions.empty() || c->EvaluateCondition(step);
}

// A created node gets what the equality conditions of its step ask for.
void ApplyConditions(THtXMLNode* n, const TXPathNode* step) {
  for (const TXCondition& c : step->Conditions) {
    if (c.ctype != ctEQ || c.Op == boNot || c.Op == boOr || c.left.IsEmpty() || !c.rightstr) continue;
    if (c.leftattr)
      n->SetAttr(c.left, c.right);
    else if (!c.leftstr && c.left.view().find_first_of(u"/@[()*.") == std::u16string_view::npos)
      n->SetNode(c.left, c.right);
  }
}

}  // namespace

THtXMLNode* THtXMLNode::XPathSet(const UnicodeString& path, const UnicodeString& value) {
  TXPathProcessor proc(path);
  proc.Current = this;
  TXPathNode* step = proc.FirstStep();
  if (!step) return nullptr;
  THtXMLNode* n = proc.Root ? static_cast<THtXMLNode*>(Root()) : this;
  for (; step; step = step->Next) {
    const bool last = step->Next == nullptr;
    switch (step->Kind) {
      case xkAttr:
        if (!last) return nullptr;
        n->SetorRemoveAttribute(step->Tag, value);
        return n;
      case xkParent:
        if (n->FParent) n = static_cast<THtXMLNode*>(n->FParent);
        continue;
      case xkCurrent:
        n = this;
        continue;
      case xkTag:
      case xkAsterisk: {
        if (step->Kind == xkTag && step->Tag.IsEmpty()) {  // text()
          n->SetValue(value);
          return n;
        }
        THtNode* found = nullptr;
        if (step->All) {
          ForSubtree(n, [&](THtNode* d) {
            if (!found && d != n && StepMatches(d, step)) found = d;
          });
        } else if (n->FNodes) {
          for (THtNode* c : *n->FNodes)
            if (StepMatches(c, step)) {
              found = c;
              break;
            }
        }
        if (found) {
          n = static_cast<THtXMLNode*>(found);
        } else {
          if (step->Kind == xkAsterisk) return nullptr;
          n = n->Add(step->Tag);
          ApplyConditions(n, step);
        }
        continue;
      }
    }
  }
  n->SetValue(value);
  return n;
}

}  // namespace norvane
