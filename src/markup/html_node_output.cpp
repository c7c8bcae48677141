// THtmlNode: writing the tree back as HTML, as laid-out HTML and as text.
//
// Every walk here keeps its own stack on the heap, so a tree built deeper
// than the parser's limit prints without running off the end of the stack.
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "norvane/foundation/fast_string.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/markup/html_encode.h"
#include "norvane/markup/html_node.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

using Names = std::initializer_list<std::u16string_view>;

inline bool In(const UnicodeString& s, Names names) noexcept {
  const std::u16string_view v = s.view();
  for (std::u16string_view n : names)
    if (n == v) return true;
  return false;
}


constexpr Names kFormattedBlocks = {
    u"html",     u"address",  u"blockquote", u"head",       u"body",  u"dd",    u"div",   u"dl",
    u"dt",       u"fieldset", u"form",       u"meta",       u"link",  u"title", u"frame", u"frameset",
    u"h1",       u"h2",       u"h3",         u"h4",         u"h5",    u"h6",    u"noframes", u"ol",
    u"p",        u"ul",       u"center",     u"dir",        u"hr",    u"menu",  u"pre",   u"datapacket",
    u"li",       u"table",    u"tr",         u"td",         u"th",    u"thead", u"tbody", u"tfoot",
    u"col",      u"colgroup", u"caption",    u"foreignobject", u"xhtml"};

constexpr Names kTextBlocks = {u"p", u"pre", u"blockquote", u"li", u"tr", u"div", u"h1", u"h2", u"h3", u"h4", u"h5"};

// What the printer needs to know of a tag, found with one switch: most
// tags are none of these and cost a length test.
enum TTagKind { tkOther, tkVoid, tkMeta, tkRaw, tkXBody };

TTagKind KindOf(const UnicodeString& tag) noexcept {
  const std::u16string_view t = tag.view();
  switch (t.size()) {
    case 2: return t == u"br" || t == u"hr" ? tkVoid : tkOther;
    case 3: return t == u"img" || t == u"col" || t == u"wbr" ? tkVoid : tkOther;
    case 4: return t == u"meta" ? tkMeta : (t == u"link" ? tkVoid : tkOther);
    case 5:
      if (t == u"frame" || t == u"input") return tkVoid;
      if (t == u"style" || t == u"xbody") return t[0] == u's' ? tkRaw : tkXBody;
      return tkOther;
    case 6: return t == u"script" ? tkRaw : tkOther;
    default: return tkOther;
  }
}

inline void AddText(TFastString* out, std::u16string_view s) { out->Add(s.data(), int32_t(s.size())); }

inline bool HasAttributes(const THtNode* n) noexcept { return n->Attributes() && n->Attributes()->Count > 0; }
inline bool HasChildren(const THtNode* n) noexcept {
  const THtNodeList* kids = n->ExistingNodes();
  return kids && kids->GetCount() > 0;
}

// Comment, directive or CDATA markup around the content; false for others.
bool WriteMarked(TFastString* out, const THtNode* n) {
  switch (n->TagType) {
    case htComment:
      AddText(out, u"<!--");
      out->Add(n->Content());
      AddText(out, u"-->");
      return true;
    case htDirective:
      out->Add2Char(u'<', u'?');
      out->Add(n->Content());
      out->Add2Char(u'?', u'>');
      return true;
    case htCData:
      AddText(out, u"<![CDATA[");
      out->Add(n->Content());
      AddText(out, u"]]>");
      return true;
    default:
      return false;
  }
}

const UnicodeString& PrintedTag(const THtNode* n, TTagKind kind) {
  static const UnicodeString body(u"body");
  return kind == tkXBody ? body : n->Tag();
}

void WriteAttributes(TFastString* out, const THtNode* n, TTagKind kind) {
  const THtAttributes* a = n->Attributes();
  if (!a || a->Count == 0) return;
  if (kind == tkMeta && SameText(a->GetAttribute(UnicodeString(u"http-equiv")).view(), u"content-type")) {
    // The document is written in the builder's charset, whatever it said.
    if (!out->Charset.IsEmpty()) {
      AddText(out, u" http-equiv=\"Content-Type\" content=\"text/html; charset=");
      out->Add(out->Charset);
      out->AddChar(u'"');
    } else {
      AddText(out, u" http-equiv=\"Content-Type\" content=\"text/html;\"");
    }
    return;
  }
  a->FastAsString(out);
}

enum class TOpen { Done, Children };

// Writes what comes before a node's children; Children when its children
// and then its close tag follow.
TOpen WriteOpen(TFastString* out, const THtNode* n) {
  const UnicodeString& tag = n->Tag();
  if (tag.IsEmpty()) {
    if (!WriteMarked(out, n)) FastHtmlEncode(out, n->Content().view());
    // A text-like root holds the document: its children follow, no close.
    return !n->Parent() && HasChildren(n) ? TOpen::Children : TOpen::Done;
  }
  const TTagKind kind = KindOf(tag);
  if (kind == tkRaw) {
    out->AddChar(u'<');
    out->Add(tag);
    if (HasAttributes(n)) {
      out->AddChar(u' ');
      out->Add(n->Attributes()->AsString());
    }
    out->AddChar(u'>');
    out->Add(n->Content());
    out->Add2Char(u'<', u'/');
    out->Add(tag);
    out->AddChar(u'>');
    return TOpen::Done;
  }
  const bool children = HasChildren(n);
  if (!children && !HasAttributes(n)) {
    if (WriteMarked(out, n)) return TOpen::Done;
    out->AddChar(u'<');
    out->Add(tag);
    if (kind == tkVoid || kind == tkMeta) {
      out->Add2Char(u'/', u'>');
    } else {
      out->Add2Char(u'>', u'<');
      out->AddChar(u'/');
      out->Add(tag);
      out->AddChar(u'>');
    }
    return TOpen::Done;
  }
  out->AddChar(u'<');
  out->Add(PrintedTag(n, kind));
  WriteAttributes(out, n, kind);
  if (!children) {
    if (kind == tkVoid || kind == tkMeta) {
      out->Add2Char(u'/', u'>');
    } else {
      out->Add2Char(u'>', u'<');
      out->AddChar(u'/');
      out->Add(PrintedTag(n, kind));
      out->AddChar(u'>');
    }
    return TOpen::Done;
  }
  out->AddChar(u'>');
  return TOpen::Children;
}

void WriteClose(TFastString* out, const THtNode* n) {
  if (n->Tag().IsEmpty()) return;
  out->Add2Char(u'<', u'/');
  out->Add(PrintedTag(n, KindOf(n->Tag())));
  out->AddChar(u'>');
}

// A node whose children are being written, and the rest of its children.
struct TFrame {
  const THtNode* Node;
  THtNode* const* Next;
  THtNode* const* End;
};

void WriteHtml(TFastString* out, const THtNode* top) {
  if (WriteOpen(out, top) == TOpen::Done) return;
  std::vector<TFrame> stack;
  stack.reserve(64);
  stack.push_back({top, top->ExistingNodes()->begin(), top->ExistingNodes()->end()});
  while (!stack.empty()) {
    TFrame& f = stack.back();
    if (f.Next == f.End) {
      WriteClose(out, f.Node);
      stack.pop_back();
      continue;
    }
    const THtNode* c = *f.Next++;
    if (c && WriteOpen(out, c) == TOpen::Children) stack.push_back({c, c->ExistingNodes()->begin(), c->ExistingNodes()->end()});
  }
}

// --- Formatted output ------------------------------------------------------------

class TFormatter {
 public:
  TFormatter(TFastString* out, int32_t indent, bool& newLine) : FOut(out), FIndent(indent), FNewLine(newLine) {}

  void Write(const THtNode* top, int32_t level) {
    std::vector<TFmtFrame> stack;
    Open(top, level, stack);
    while (!stack.empty()) {
      TFmtFrame& f = stack.back();
      if (f.Next >= f.Node->GetCount()) {
        const TFmtFrame done = f;
        stack.pop_back();
        Close(done);
        continue;
      }
      const int32_t childLevel = f.ChildLevel;
      const THtNode* c = f.Node->ExistingNodes()->GetNode(f.Next++);
      if (c) Open(c, childLevel, stack);
    }
  }

 private:
  void LineBreak(int32_t level) {
    FOut->TrimTrailingBlanks();
    if (FOut->GetTotalLen() == 0) return;  // the output starts on a line
    FOut->Add2Char(u'\r', u'\n');
    if (level > 0 && FIndent > 0) FOut->AddSpaces(level * FIndent);
  }

  // Writes the node's opening; true (with a frame pushed) when children follow.
  struct TFmtFrame {
    const THtNode* Node;
    int32_t Next;
    int32_t Level, ChildLevel;
    bool OneLine;  // no line break before the close tag
  };

  bool Open(const THtNode* n, int32_t level, std::vector<TFmtFrame>& stack) {
    const UnicodeString& tag = n->Tag();
    if (tag.IsEmpty()) {
      const UnicodeString& text = n->Content();
      if (n->TagType == htCData || !LayoutBlanks(text)) WriteOpen(FOut, n);
      if (!n->Parent() && HasChildren(n)) {
        stack.push_back({n, 0, level, level, false});
        return true;
      }
      return false;
    }
    const bool block = In(tag, kFormattedBlocks);
    if (FNewLine || block) LineBreak(level);
    FNewLine = block;
    if (WriteOpen(FOut, n) == TOpen::Done) {
      if (block) FNewLine = true;
      return false;
    }
    bool oneLine = false;
    const THtNode* first = n->ExistingNodes()->FirstNode();
    if (first && first->Tag().IsEmpty() && first->TagType != htCData && !LayoutBlanks(first->Content()) &&
        tag.Length() + Trim(first->Content()).Length() < 64) {
      oneLine = true;
      FNewLine = false;
    }
    stack.push_back({n, 0, level, level + 1, oneLine});
    return true;
  }

  void Close(const TFmtFrame& f) {
    const THtNode* n = f.Node;
    if (n->Tag().IsEmpty()) return;
    if (In(n->Tag(), kFormattedBlocks)) {
      FOut->TrimTrailingBlanks();
      if (!f.OneLine) LineBreak(f.Level);
      WriteClose(FOut, n);
      FNewLine = true;
    } else {
      WriteClose(FOut, n);
    }
  }

  // Blanks with a line break: the source's layout, which is redone here.
  static bool LayoutBlanks(const UnicodeString& s) noexcept {
    const std::u16string_view v = s.view();
    return BlankString(s) && (v.find(u'\n') != std::u16string_view::npos || v.find(u'\r') != std::u16string_view::npos);
  }

  TFastString* FOut;
  int32_t FIndent;
  bool& FNewLine;
};

// --- Text -------------------------------------------------------------------------

bool IsHiddenType(THTMLTokenType t) noexcept { return t >= htScript && t <= htCData; }

// Whether an earlier sibling of `n` shows anything: an element, a
// directive, or text that isn't blank. Comments don't count.
bool HasVisibleSiblingBefore(const THtNode* n) {
  const THtNodeList* kids = n->Parent()->ExistingNodes();
  if (!kids) return false;
  for (const THtNode* s : *kids) {
    if (s == n) break;
    if (!s) continue;
    if (s->Tag().IsEmpty() ? !BlankString(s->Content()) : s->Tag() != u"!") return true;
  }
  return false;
}

std::u16string TrimmedView(std::u16string_view s, bool left, bool right) {
  size_t b = 0, e = s.size();
  if (left)
    while (b < e && s[b] <= u' ') ++b;
  if (right)
    while (e > b && s[e - 1] <= u' ') --e;
  return std::u16string(s.substr(b, e - b));
}

// Nesting of GetInnerText calls of derived node classes in this thread.
thread_local int32_t gTextDepth = 0;
constexpr int32_t kMaxTextDepth = 200;

struct TTextFrame {
  THtNode* Node;
  int32_t Next;
  std::u16string Text;
};

class TInnerText {
 public:
  explicit TInnerText(bool exportMode) : FExport(exportMode) {}

  std::u16string Of(THtNode* top) {
    std::vector<TTextFrame> stack;
    std::u16string result;
    if (!Start(top, stack, result)) return result;
    while (!stack.empty()) {
      TTextFrame& f = stack.back();
      if (f.Next < f.Node->GetCount()) {
        THtNode* c = f.Node->ExistingNodes()->GetNode(f.Next++);
        if (!c) continue;
        if (!FExport && c->Is<THtmlNode>() && c->ClassType() != THtmlNode::StaticClass() &&
            gTextDepth < kMaxTextDepth) {
          // A derived node class may have its own rule for its text. Past a
          // depth the base rule goes on in this walk, which needs no stack.
          ++gTextDepth;
          try {
            f.Text += static_cast<THtmlNode*>(c)->GetInnerText().view();
          } catch (...) {
            --gTextDepth;
            throw;
          }
          --gTextDepth;
          continue;
        }
        std::u16string own;
        if (!Start(c, stack, own)) stack.back().Text += own;
        continue;
      }
      TTextFrame done = std::move(f);
      stack.pop_back();
      Finish(done);
      if (stack.empty())
        result = std::move(done.Text);
      else
        stack.back().Text += done.Text;
    }
    return result;
  }

 private:
  // The node's text before its children. False with `text` final when the
  // children aren't read; true with a frame pushed otherwise.
  bool Start(THtNode* n, std::vector<TTextFrame>& stack, std::u16string& text) {
    const UnicodeString& tag = n->Tag();
    text.clear();
    if (FExport && tag == u"head") return false;
    if (tag == u"br")
      text = u"\r\n";
    else if (tag != u"a" && !IsHiddenType(n->TagType) && tag != u"img")
      text = n->Content().view();
    if (IsHiddenType(n->TagType) || tag == u"noscript") return false;
    if (!HasChildren(n)) {
      TTextFrame f{n, 0, std::move(text)};
      Finish(f);
      text = std::move(f.Text);
      return false;
    }
    stack.push_back({n, 0, std::move(text)});
    return true;
  }

  void Finish(TTextFrame& f) {
    const THtNode* n = f.Node;
    std::u16string& text = f.Text;
    if (FExport && n->Tag() == u"a") LinkText(n, text);
    if (!text.empty() && In(n->Tag(), kTextBlocks)) {
      const THtNode* parent = n->Parent();
      bool lineBefore = true;
      if (parent && (In(parent->Tag(), kTextBlocks) || parent->Tag() == u"body"))
        lineBefore = HasVisibleSiblingBefore(n);
      // The first block of a parent adds no empty line.
      text = lineBefore ? u"\r\n" + TrimmedView(text, true, true) : TrimmedView(text, true, false);
    }
    if ((n->Tag() == u"td" || n->Tag() == u"th") && n->Parent() && n->Parent()->LastChildTag() != n) text += u'\t';
  }

  // A link for export: its text (or its "text" or "title" attribute when it
  // has none) and the address it leads to.
  static void LinkText(const THtNode* n, std::u16string& text) {
    if (BlankString(UnicodeString(text))) {
      UnicodeString alt = n->GetAttribute(UnicodeString(u"text"));
      if (alt.IsEmpty()) alt = n->GetAttribute(UnicodeString(u"title"));
      if (!alt.IsEmpty()) text = alt.view();
    }
    const UnicodeString href = n->GetAttribute(UnicodeString(u"href"));
    if (href.IsEmpty() || href[0] == u'#' || SameText(href.view().substr(0, 11), u"javascript:")) return;
    if (TrimmedView(text, true, true) == href.view()) return;
    if (!text.empty()) text += u' ';
    text += u'(';
    text += href.view();
    text += u')';
  }

  bool FExport;
};

}  // namespace

// --- THtmlNode ------------------------------------------------------------------------

void THtmlNode::FastInnerHTML(TFastString* out) {
  if (out) WriteHtml(out, this);
}

UnicodeString THtmlNode::GetOuterHTML() {
  TFastString out(16384);
  FastInnerHTML(&out);
  return out.GetAsString();
}

UnicodeString THtmlNode::GetInnerHTML() {
  TFastString out(16384);
  if (FNodes)
    for (THtNode* c : *FNodes) {
      if (!c) continue;
      if (c->Is<THtmlNode>())
        static_cast<THtmlNode*>(c)->FastInnerHTML(&out);
      else
        WriteHtml(&out, c);
    }
  return out.GetAsString();
}

void THtmlNode::FastFormattedHTML(TFastString* out, int32_t level, int32_t indent, bool& newLine) {
  if (!out) return;
  TFormatter(out, indent, newLine).Write(this, level);
}

UnicodeString THtmlNode::GetInnerText() { return UnicodeString(TInnerText(false).Of(this)); }

void THtmlNode::FastInnerText(TFastString* out) {
  if (!out) return;
  const std::u16string text = TInnerText(true).Of(this);
  out->Add(text.data(), int32_t(text.size()));
}

UnicodeString THtmlNode::GetRawInnerText() {
  TFastString out(4096);
  std::vector<const THtNode*> pending{this};
  while (!pending.empty()) {
    const THtNode* n = pending.back();
    pending.pop_back();
    if (n->Tag().IsEmpty()) out.Add(n->Content());
    if (const THtNodeList* kids = n->ExistingNodes())
      for (int32_t i = kids->GetCount() - 1; i >= 0; --i)
        if (THtNode* c = kids->GetNode(i)) pending.push_back(c);
  }
  return out.GetAsString();
}

UnicodeString THtmlNode::HTMLtoText(const UnicodeString& text) {
  std::unique_ptr<THtNode> scratch(THtNode::Create(ClassType()));
  auto* node = static_cast<THtmlNode*>(scratch.get());
  node->Parse(text, false);
  return node->GetInnerText();
}

}  // namespace norvane
