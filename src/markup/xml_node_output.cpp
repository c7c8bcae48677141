// THtXMLNode: the tree written as XML, plain and indented, in UTF-16,
// UTF-8 and the system code page.
#include <unordered_map>
#include <vector>

#include "norvane/foundation/fast_string.h"
#include "norvane/foundation/text_file.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/markup_encode.h"
#include "norvane/markup/xml_node.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

const char16_t kCrLf[] = u"\r\n";

// CDATA text as sections the reader reads back to the same text. The reader
// pairs the brackets of a run from its start and ends a section at a pair
// followed by ">": so a run of even length followed by ">" inside the text
// would end it early (the section is closed behind the run and the ">" opens
// the next), and a text ending in an odd run can't end a section at all (its
// last bracket goes out as text).
void WriteCData(TFastString* out, std::u16string_view v) {
  const size_t n = v.size();
  size_t from = 0;
  const auto section = [&](size_t to) {
    out->Add(u"<![CDATA[", 9);
    out->Add(v.data() + from, int32_t(to - from));
    out->Add(u"]]>", 3);
    from = to;
  };
  for (size_t i = 0; i < n;) {
    if (v[i] != u']') {
      ++i;
      continue;
    }
    size_t j = i;
    while (j < n && v[j] == u']') ++j;
    const size_t run = j - i;
    if (j < n && v[j] == u'>' && run % 2 == 0) section(j);
    if (j == n && run % 2 == 1) {
      if (j - 1 > from) section(j - 1);
      out->AddChar(u']');
      return;
    }
    i = j;
  }
  section(n);
}

// A tagless node: comment, processing instruction, CDATA, declaration or text.
void WriteTextLike(TFastString* out, const THtNode* n) {
  const UnicodeString& c = n->Content();
  switch (n->TagType) {
    case htComment:
      out->Add(u"<!--", 4);
      out->Add(c);
      out->Add(u"-->", 3);
      break;
    case htDirective:
      out->Add2Char(u'<', u'?');
      out->Add(c);
      out->Add2Char(u'?', u'>');
      break;
    case htCData:
      WriteCData(out, c.view());
      break;
    case htCustom:
      out->Add2Char(u'<', u'!');
      out->Add(c);
      out->AddChar(u'>');
      break;
    default: FastXMLEncode(out, c); break;
  }
}

// "<tag attributes", without the closing ">".
void WriteStartTag(TFastString* out, const THtNode* n) {
  out->AddChar(u'<');
  out->Add(n->Tag());
  if (const THtAttributes* a = n->Attributes()) a->FastAsString(out);
}

void WriteEndTag(TFastString* out, const THtNode* n) {
  out->Add2Char(u'<', u'/');
  out->Add(n->Tag());
  out->AddChar(u'>');
}

bool HasChildren(const THtNode* n) {
  const THtNodeList* l = n->ExistingNodes();
  return l && l->GetCount() > 0;
}

// The node and its subtree, or only its children; no recursion.
void WriteCode(TFastString* out, const THtNode* root, bool innerOnly) {
  struct Frame {
    const THtNode* Node;
    int32_t Next;
  };
  std::vector<Frame> stack;
  // Writes the opening part; true when the node's children and end follow.
  const auto enter = [&](const THtNode* n) {
    if (n->Tag().IsEmpty()) {
      WriteTextLike(out, n);
      return n == root && HasChildren(n);
    }
    WriteStartTag(out, n);
    if (n->Content().IsEmpty() && !HasChildren(n)) {
      out->Add2Char(u'/', u'>');
      return false;
    }
    out->AddChar(u'>');
    FastXMLEncode(out, n->Content());
    return true;
  };
  if (innerOnly) {
    if (!HasChildren(root)) return;
    stack.push_back({root, 0});
  } else if (enter(root)) {
    stack.push_back({root, 0});
  }
  while (!stack.empty()) {
    Frame& f = stack.back();
    const THtNodeList* l = f.Node->ExistingNodes();
    if (l && f.Next < l->GetCount()) {
      const THtNode* c = l->GetNode(f.Next++);
      if (c && enter(c)) stack.push_back({c, 0});
      continue;
    }
    const THtNode* n = f.Node;
    stack.pop_back();
    if (!n->Tag().IsEmpty() && !(innerOnly && n == root)) WriteEndTag(out, n);
  }
}

// True when the element's text can't be re-indented without changing it:
// text beside element children.
bool MixedContent(const THtNode* n) {
  if (!HasChildren(n)) return false;
  bool element = false, text = false;
  for (const THtNode* c : *n->ExistingNodes()) {
    if (!c) continue;
    if (!c->Tag().IsEmpty())
      element = true;
    else if (c->TagType != htComment && c->TagType != htDirective && c->TagType != htCData &&
             !Trim(c->Content()).IsEmpty())
      text = true;
  }
  if (!Trim(n->Content()).IsEmpty()) text = true;
  return element && text;
}

}  // namespace

void THtXMLNode::FastCode(TFastString* out) const {
  if (out) WriteCode(out, this, false);
}

UnicodeString THtXMLNode::Code() const {
  TFastString out(65536);
  FastCode(&out);
  return out.GetAsString();
}

UnicodeString THtXMLNode::InnerCode() const {
  TFastString out(65536);
  WriteCode(&out, this, true);
  return out.GetAsString();
}

void THtXMLNode::FastFormatCode(TFastString* out, int32_t level, int32_t indent) const {
  if (!out) return;
  if (indent < 0) indent = 0;
  struct Frame {
    const THtNode* Node;
    int32_t Next;
    int32_t Level;
  };
  std::vector<Frame> stack;
  bool first = out->GetTotalLen() == 0;
  // Indentation stops growing at this depth: deeper trees would otherwise
  // cost the square of their depth.
  constexpr int32_t kMaxIndentLevel = 64;
  const auto newLine = [&](int32_t lvl) {
    if (!first) out->Add(kCrLf, 2);
    first = false;
    if (lvl > kMaxIndentLevel) lvl = kMaxIndentLevel;
    if (lvl > 0) out->AddSpaces(lvl * indent);
  };
  // Writes a node's line(s); true when its children follow on lines of
  // their own.
  const auto enter = [&](const THtNode* n, int32_t lvl) {
    if (n->Tag().IsEmpty()) {
      const bool container = n == this && HasChildren(n);
      if (!(n->TagType == htString || n->TagType == htUnknown) || !Trim(n->Content()).IsEmpty()) {
        newLine(lvl);
        WriteTextLike(out, n);
      }
      return container;
    }
    newLine(lvl);
    const bool preserve = n->Is<THtXMLNode>() && static_cast<const THtXMLNode*>(n)->FPreserveSpace;
    bool elements = false;
    if (HasChildren(n))
      for (const THtNode* c : *n->ExistingNodes())
        if (c && (!c->Tag().IsEmpty() || c->TagType == htComment || c->TagType == htDirective ||
                  c->TagType == htCData))
          elements = true;
    if (preserve || MixedContent(n) || !elements) {
      // As read: on one line.
      WriteCode(out, n, false);
      return false;
    }
    // Blank content between elements gives way to the indentation.
    WriteStartTag(out, n);
    out->AddChar(u'>');
    if (!Trim(n->Content()).IsEmpty()) FastXMLEncode(out, n->Content());
    return true;
  };
  if (enter(this, level)) stack.push_back({this, 0, level});
  while (!stack.empty()) {
    Frame& f = stack.back();
    const THtNodeList* l = f.Node->ExistingNodes();
    if (l && f.Next < l->GetCount()) {
      const THtNode* c = l->GetNode(f.Next++);
      const int32_t lvl = f.Node->Tag().IsEmpty() ? f.Level : f.Level + 1;
      if (c && enter(c, lvl)) stack.push_back({c, 0, lvl});
      continue;
    }
    const Frame done = f;
    stack.pop_back();
    if (!done.Node->Tag().IsEmpty()) {
      newLine(done.Level);
      WriteEndTag(out, done.Node);
    }
  }
}

UnicodeString THtXMLNode::FormattedCode(int32_t indent) const {
  TFastString out(65536);
  FastFormatCode(&out, 0, indent);
  return out.GetAsString();
}

namespace {

const std::string_view kUtf8Declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";

}  // namespace

void THtXMLNode::FastUTF8Code(TFastRawString* out) const {
  if (!out) return;
  TFastString wide(65536);
  FastCode(&wide);
  out->AddUTF8(wide.GetAsString());
}

void THtXMLNode::FastUTF8FormatCode(TFastRawString* out) const {
  if (!out) return;
  TFastString wide(65536);
  FastFormatCode(&wide);
  out->AddUTF8(wide.GetAsString());
}

std::string THtXMLNode::UTF8Code(bool declaration) const {
  TFastRawString out(65536);
  if (declaration) out.Add(kUtf8Declaration);
  FastUTF8Code(&out);
  return out.GetAsString();
}

std::string THtXMLNode::UTF8FormattedCode(bool declaration) const {
  TFastRawString out(65536);
  if (declaration) out.Add(kUtf8Declaration);
  FastUTF8FormatCode(&out);
  return out.GetAsString();
}

void THtXMLNode::SaveToFileUTF8(const UnicodeString& fileName) const { StrtoFileR(UTF8Code(true), fileName); }

void THtXMLNode::SaveToFileUTF8Format(const UnicodeString& fileName) const {
  StrtoFileR(UTF8FormattedCode(true), fileName);
}

void THtXMLNode::SaveToFileANSI(const UnicodeString& fileName) const {
  const uint32_t cp = SystemCodePage();
  const UnicodeString code = Code();
  // Characters the code page lacks go out as numeric references.
  std::unordered_map<uint32_t, bool> fits;
  TFastString safe(code.Length() + 64);
  const std::u16string_view v = code.view();
  for (size_t i = 0; i < v.size(); ++i) {
    char16_t c = v[i];
    if (c < 128) {
      safe.AddChar(c);
      continue;
    }
    uint32_t cpoint = c;
    size_t len = 1;
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < v.size() && v[i + 1] >= 0xDC00 && v[i + 1] <= 0xDFFF) {
      cpoint = 0x10000 + ((uint32_t(c) - 0xD800) << 10) + (v[i + 1] - 0xDC00);
      len = 2;
    }
    auto it = fits.find(cpoint);
    if (it == fits.end()) {
      const std::string bytes = EncodeCodePage(v.substr(i, len), cp);
      it = fits.emplace(cpoint, bytes != "?").first;
    }
    if (it->second) {
      safe.Add(v.data() + i, int32_t(len));
    } else {
      safe.Add2Char(u'&', u'#');
      safe.Add(int64_t(cpoint));
      safe.AddChar(u';');
    }
    i += len - 1;
  }
  std::string name = (cp >= 1250 && cp <= 1258) ? "windows-" + std::to_string(cp) : CodePageName(cp);
  for (char& ch : name)
    if (ch >= 'A' && ch <= 'Z') ch = char(ch + 32);
  std::string bytes = "<?xml version=\"1.0\" encoding=\"" + name + "\"?>\r\n";
  bytes += EncodeCodePage(safe.GetAsString().view(), cp);
  StrtoFileR(bytes, fileName);
}

}  // namespace norvane
