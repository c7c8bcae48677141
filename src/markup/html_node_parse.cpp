// THtmlNode: building the tree from parser items, with the repair rules.
#include <initializer_list>
#include <string_view>
#include <vector>

#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/markup/html_node.h"
#include "norvane/markup/html_parser.h"

namespace norvane {

NV_CLASS_IMPL(THtmlNode, "htmlpars")

namespace {

using Names = std::initializer_list<std::u16string_view>;

inline bool TagIs(const UnicodeString& s, std::u16string_view v) noexcept { return s.view() == v; }

inline bool In(const UnicodeString& s, Names names) noexcept {
  const std::u16string_view v = s.view();
  for (std::u16string_view n : names)
    if (n == v) return true;
  return false;
}

// Tag names the walks look for, made once.
struct TTagNames {
  const UnicodeString tr{u"tr"}, table{u"table"}, thead{u"thead"}, tbody{u"tbody"}, tfoot{u"tfoot"};
  const UnicodeString ul{u"ul"}, ol{u"ol"}, dl{u"dl"}, dd{u"dd"}, head{u"head"}, a{u"a"}, p{u"p"};
};
const TTagNames& TagNames() {
  static const TTagNames names;
  return names;
}

constexpr Names kVoid = {u"br", u"img", u"link", u"col", u"hr", u"frame", u"input", u"meta", u"wbr"};
constexpr Names kFormatting = {u"a",    u"b",     u"big",   u"code",   u"em",     u"font", u"i",
                               u"nobr", u"s",     u"small", u"strike", u"strong", u"tt",   u"u"};
constexpr Names kTableStops = {u"td", u"th", u"tr", u"table", u"tbody", u"thead", u"colgroup"};
constexpr Names kClosesP = {u"address", u"article", u"aside",   u"blockquote", u"center", u"details", u"dir",
                            u"div",     u"dl",      u"fieldset", u"figcaption", u"figure", u"footer",  u"header",
                            u"hgroup",  u"menu",    u"nav",      u"ol",         u"p",      u"pre",     u"section",
                            u"summary", u"ul",      u"h1",       u"h2",         u"h3",     u"h4",      u"h5",
                            u"h6"};
constexpr Names kHeadContent = {u"base",   u"basefont", u"bgsound", u"link",    u"meta",
                                u"script", u"style",    u"title",   u"noscript"};

bool InList(const UnicodeString& tag, const UnicodeString* tags, int32_t high) noexcept {
  for (int32_t i = 0; i <= high; ++i)
    if (tag == tags[i]) return true;
  return false;
}

}  // namespace

// --- Walks -----------------------------------------------------------------------

THtNode* THtmlNode::FloatUpOver(const UnicodeString* tags, int32_t high, const THtNode* limit,
                                bool crossTables) const noexcept {
  for (const THtNode* n = this; n; n = n->Parent()) {
    if (n == limit || n->Parent() == n) return nullptr;
    // A "p" outside a cell can't be closed from inside one.
    if (!crossTables && In(n->Tag(), kTableStops)) return nullptr;
    if (InList(n->Tag(), tags, high)) return const_cast<THtNode*>(n);
  }
  return nullptr;
}

THtNode* THtmlNode::FloatUpTo(const UnicodeString* tags, int32_t high, const THtNode* limit) const noexcept {
  const THtNode* below = nullptr;
  for (const THtNode* n = this; n; below = n, n = n->Parent()) {
    if (n->Parent() == n) return nullptr;
    // The limit itself may match: closing up to below it stays inside it.
    if (InList(n->Tag(), tags, high)) return const_cast<THtNode*>(below);
    if (n == limit) return nullptr;
  }
  return nullptr;
}

THtNode* THtmlNode::CheckTagOrder(const UnicodeString& tag, const THtNode* limit) {
  const TTagNames& N = TagNames();
  if (TagIs(FTag, u"tr") && !In(tag, {u"tr", u"tbody", u"thead", u"tfoot", u"caption", u"td", u"th", u"font"}))
    return FloatUpOver({N.table}, limit, true);
  if (!tag.IsEmpty() && tag[0] == u't') {
    if (In(tag, {u"thead", u"tbody"})) return FloatUpTo({N.table}, limit);
    if (TagIs(tag, u"tr")) {
      if (THtNode* r = FloatUpTo({N.thead, N.tbody, N.tfoot, N.table}, limit)) return r;
      // A row opening right in a table or one of its sections closes
      // nothing, so that a table nested in a cell keeps its rows.
      if (In(FTag, {u"thead", u"tbody", u"tfoot", u"table"})) return nullptr;
      return FloatUpOver({N.tr}, limit, true);
    }
    if (In(tag, {u"td", u"th"})) return FloatUpTo({N.tr}, limit);
    if (TagIs(tag, u"table") && TagIs(FTag, u"table")) return FloatUpOver({N.table}, limit, true);
    return nullptr;
  }
  if (TagIs(tag, u"li")) return FloatUpTo({N.ul, N.ol}, limit);
  if (TagIs(tag, u"dt")) return FloatUpTo({N.dl}, limit);
  if (TagIs(tag, u"dd")) {
    if (THtNode* r = FloatUpTo({N.dl}, limit)) return r;
    return FloatUpOver({N.dd}, limit, false);
  }
  if (TagIs(tag, u"body")) return FloatUpOver({N.head}, limit, false);
  if (TagIs(tag, u"a")) return FloatUpOver({N.a}, limit, false);
  if (TagIs(FTag, u"head") && !In(tag, kHeadContent))
    if (THtNode* r = FloatUpOver({N.head}, limit, false)) return r;
  if (In(tag, kClosesP)) return FloatUpOver({N.p}, limit, false);
  return nullptr;
}

// --- Attributes --------------------------------------------------------------------

void THtmlNode::ParseAttributes(THtmlParser* parser) {
  if (THtAttributes* a = parser->ExtractAttributes()) {
    delete FAttributes;
    FAttributes = a;
  }
}

void THtmlNode::ParseAttributes(const UnicodeString& text) {
  UnicodeString wrapped(u"<x ");
  wrapped += text;
  wrapped += std::u16string_view(u"/>");
  THtmlParser parser(wrapped, false);
  parser.IgnoreMetaEncoding = true;
  if (parser.NextItem() || parser.Tag == std::u16string_view(u"x")) ParseAttributes(&parser);
}

void THtmlNode::AfterParse() {}

// --- Building ------------------------------------------------------------------------

THtNode* THtmlNode::NewChild(THtmlParser* parser, const UnicodeString& tag) {
  TMetaClass cls = GetElementClass(tag, parser->GlobalRoot);
  // Elements run their own loop, so they must be HTML nodes; text may be any node.
  if (!cls || (!tag.IsEmpty() && !cls->InheritsFrom(THtmlNode::StaticClass()))) return nullptr;
  return InternalAddChild(cls);
}

void THtmlNode::MoveTo(THtNode* target) {
  if (FParent && FParent->ExistingNodes()) FParent->ExistingNodes()->RemoveItem(this);
  target->GetNodes()->Add(this);
  FParent = target;
}

void THtmlNode::Parse(const UnicodeString& text, bool ignoreMeta) {
  DeleteAllChildren();
  {
    THtmlParser parser(text, false);
    parser.IgnoreMetaEncoding = ignoreMeta;
    parser.GlobalRoot = Root();
    parser.SetParseRoot(this);
    InternalParse(&parser);
  }
  if (!FParent) {
    bool documentElement = false;
    if (FNodes)
      for (int32_t i = 0, n = FNodes->GetCount(); i < n && !documentElement; ++i)
        documentElement = In(FNodes->GetNode(i)->Tag(), {u"body", u"html"});
    if (!documentElement) SetTag(UnicodeString(u"body"));
  }
}

THtNode* THtmlNode::InternalParse(THtmlParser* P) {
  int32_t& level = P->StackLevel();
  ++level;
  if (!P->ParseRoot()) P->SetParseRoot(this);
  THtNode* result = nullptr;

  if (!P->RepeatCurrent) {
    if (!P->Tag.IsEmpty() && FTag.IsEmpty()) SetTag(P->Tag);
    TagType = P->TagType;
    ParseAttributes(P);
    if (P->TagClosed) return nullptr;
  }

  THtObjectList& stack = *P->IncorrectStack;

  // Runs the loop of `child`; true when this frame must return `result`.
  auto descend = [&](THtmlNode* child) -> bool {
    result = child->InternalParse(P);
    --level;
    if (result && result->Parent() != this) {
      AfterParse();
      return true;
    }
    result = nullptr;
    return false;
  };
  auto setContent = [](THtNode* n, const UnicodeString& text) {
    if (n->Is<THtmlNode>())
      static_cast<THtmlNode*>(n)->FContent = text;
    else
      n->SetContent(text);
  };

  bool ownClose = false;
  while (P->NextItem()) {
    const UnicodeString& tag = P->Tag;

    if (!P->IsCloseTag) {
      // Formatting elements are reopened only while there is depth to spare.
      if (stack.Count() > 0 && level > MaxParseDepth) stack.Clear();

      if (stack.Count() > 0) {
        // A misnested formatting element reopens around what follows.
        P->RepeatCurrent = true;
        THtNode* entry = static_cast<THtNode*>(stack.Last());
        const UnicodeString entryTag = entry->Tag();
        THtNode* c = NewChild(P, entryTag);
        if (c) {
          c->SetTag(entryTag);
          c->TagType = entry->TagType;
          c->CopyAttributesFrom(entry);
        }
        stack.Delete(stack.Count() - 1);
        if (c && descend(static_cast<THtmlNode*>(c))) return result;
        continue;
      }

      switch (P->TagType) {
        case htScript:
        case htStyle: {
          if (THtNode* c = NewChild(P, tag)) {
            c->SetTag(tag);
            c->TagType = P->TagType;
            setContent(c, P->Value);
            if (c->Is<THtmlNode>()) static_cast<THtmlNode*>(c)->ParseAttributes(P);
          }
          continue;
        }
        case htComment:
        case htDirective:
        case htCData: {
          const UnicodeString mark(P->TagType == htDirective ? u"?" : u"!");
          TMetaClass cls = GetElementClass(UnicodeString(u"!"), P->GlobalRoot);
          if (!cls) continue;
          THtNode* c = InternalAddChild(cls);
          if (P->TagType != htCData) c->SetTag(mark);
          c->TagType = P->TagType;
          setContent(c, P->Value);
          if (P->TagType != htCData && c->Is<THtmlNode>()) static_cast<THtmlNode*>(c)->ParseAttributes(P);
          continue;
        }
        case htIdent:
        case htString:
          break;
        default:
          continue;  // the document type and stray tokens make no node
      }

      if (!tag.IsEmpty()) {
        if (In(tag, kVoid)) {
          P->TagClosed = true;
        } else {
          // Cells and paragraphs right in a table get an implied row.
          // (Only below the limit: the implied node must not be closed by force
          // at once, or the table would take the item again without end.)
          if (In(FTag, {u"table", u"thead", u"tbody"}) && level < MaxParseDepth) {
            if (In(tag, {u"td", u"th"})) {
              THtNode* row = NewChild(P, UnicodeString(u"tr"));
              if (!row) continue;
              row->SetTag(UnicodeString(u"tr"));
              row->TagType = htIdent;
              P->RepeatCurrent = true;
              if (descend(static_cast<THtmlNode*>(row))) return result;
              continue;
            }
            if (TagIs(tag, u"p")) {
              const UnicodeString tr(u"tr");
              THtNode* row = NewChild(P, tr);
              if (!row) continue;
              row->SetTag(tr);
              row->TagType = htIdent;
              TMetaClass cellClass = GetElementClass(UnicodeString(u"td"), P->GlobalRoot);
              if (!cellClass || !cellClass->InheritsFrom(THtmlNode::StaticClass())) continue;
              THtNode* cell = row->InternalAddChild(cellClass);
              cell->SetTag(tr);
              cell->TagType = htIdent;
              P->RepeatCurrent = true;
              if (descend(static_cast<THtmlNode*>(cell))) return result;
              continue;
            }
          }

          // Implied closes.
          if (TagIs(tag, u"td")) {
            result = FloatUpTo({TagNames().tr}, P->Root);
          } else if (TagIs(tag, u"tr") && TagIs(FTag, u"tr")) {
            result = FloatUpOver({TagNames().tr}, P->Root, true);
          } else if (TagIs(FTag, u"tr") && In(tag, {u"p", u"span", u"ul", u"div"})) {
            // The item belongs in the row's last cell.
            THtNode* cell = nullptr;
            if (FNodes)
              for (int32_t i = FNodes->GetCount() - 1; i >= 0 && !cell; --i) {
                THtNode* n = FNodes->GetNode(i);
                if (In(n->Tag(), {u"td", u"th"}) && n->Is<THtmlNode>()) cell = n;
              }
            if (cell) {
              P->RepeatCurrent = true;
              if (descend(static_cast<THtmlNode*>(cell))) return result;
              continue;
            }
          } else {
            result = CheckTagOrder(tag, P->Root);
          }

          if (!result && level > MaxParseDepth) result = FParent;
          if (result) {
            P->RepeatCurrent = true;
            return result;
          }
        }
      }

      // New child.
      THtNode* c;
      if (P->TagClosed && !tag.IsEmpty() && TagIs(FTag, u"tbody") && !TagIs(tag, u"tr") && FParent &&
          FParent->Parent()) {
        // Foster parenting: a void element met in a table body goes before the table.
        THtNode* gp = FParent->Parent();
        TMetaClass cls = GetElementClass(tag, P->GlobalRoot);
        if (!cls || !cls->InheritsFrom(THtmlNode::StaticClass())) continue;
        c = gp->InternalAddChild(cls);
        const int32_t n = gp->GetCount();
        if (n >= 2) gp->Exchange(n - 1, n - 2);
      } else {
        c = NewChild(P, tag);
        if (!c) continue;
      }
      if (P->TagType == htString) {
        c->SetContent(P->Value);
        continue;
      }
      c->SetTag(tag);
      if (tag.IsEmpty()) continue;
      if (descend(static_cast<THtmlNode*>(c))) return result;
      continue;
    }

    // Close tags.
    if (tag == FTag) {
      ownClose = true;
      break;
    }

    for (int32_t i = stack.Count() - 1; i >= 0; --i)
      if (static_cast<THtNode*>(stack.Get(i))->Tag() == tag) stack.Delete(i);
    const int32_t kept = stack.Count();
    const bool rowPart = In(tag, {u"tr", u"td", u"th", u"p"});
    const bool tablePart = In(tag, {u"table", u"tr", u"td", u"th"});
    THtNode* found = nullptr;
    for (THtNode* n = this; n;) {
      const UnicodeString& nt = n->Tag();
      if (rowPart && TagIs(nt, u"table")) break;
      if (!tablePart && In(nt, {u"table", u"tr", u"td", u"th"})) break;
      if (TagIs(tag, u"span") && TagIs(nt, u"div")) break;
      if (In(nt, {u"body", u"html"})) break;
      if (TagIs(tag, u"table") && TagIs(n->Tag(), u"tr") && n->Parent()) n = n->Parent();
      if (TagIs(tag, u"table") && TagIs(n->Tag(), u"tbody") && n->Parent()) n = n->Parent();
      if (n->Tag() == tag) {
        found = n;
        break;
      }
      if (In(n->Tag(), kFormatting) && stack.Count() < MaxParseDepth) stack.Add(n);
      if (n->Parent() == n) break;
      n = n->Parent();
    }
    if (found) {
      AfterParse();
      return found;
    }
    while (stack.Count() > kept) stack.Delete(stack.Count() - 1);
    continue;
  }

  if (!ownClose) {  // the input ended
    AfterParse();
    return result;
  }

  // The loop ended on this element's own close tag.
  for (int32_t i = stack.Count() - 1; i >= 0; --i)
    if (static_cast<THtNode*>(stack.Get(i))->HasAsParent(this)) stack.Delete(i);

  // An element that closes inside a table without belonging there moves out.
  if (FParent) {
    const UnicodeString& pt = FParent->Tag();
    if (TagIs(pt, u"table") && FParent->Parent() &&
        !In(FTag, {u"tbody", u"thead", u"tfoot", u"tr", u"td", u"th", u"colgroup", u"col", u"caption"})) {
      MoveTo(FParent->Parent());
      AfterParse();
      return result;
    }
    if (TagIs(pt, u"tr") && !In(FTag, {u"td", u"th"})) {
      THtNode* table = UpTo(TagNames().table);
      if (table && table->Parent()) {
        MoveTo(table->Parent());
        AfterParse();
        return result;
      }
    }
  }
  AfterParse();
  return result;
}

// --- Encoding ------------------------------------------------------------------------

void THtmlNode::ChangeEncoding(THtmlEncoding encoding, uint32_t codepage, uint32_t narrowCodePage) {
  std::vector<THtNode*> pending{this};
  while (!pending.empty()) {
    THtNode* n = pending.back();
    pending.pop_back();
    if (!n->Content().IsEmpty()) {
      const UnicodeString recoded = RecodeHtmlText(n->Content(), encoding, codepage, narrowCodePage);
      if (!recoded.SameBlock(n->Content())) {
        if (n->Is<THtmlNode>())
          static_cast<THtmlNode*>(n)->FContent = recoded;
        else
          n->SetContent(recoded);
      }
    }
    if (THtAttributes* a = n->Attributes())
      for (int32_t i = 0; i < a->Count; ++i)
        if (!a->GetValue(i).IsEmpty())
          a->SetValue(i, RecodeHtmlText(a->GetValue(i), encoding, codepage, narrowCodePage));
    if (THtNodeList* kids = n->ExistingNodes())
      for (int32_t i = kids->GetCount() - 1; i >= 0; --i) pending.push_back(kids->GetNode(i));
  }
}

}  // namespace norvane
