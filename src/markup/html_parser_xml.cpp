// The XML-mode shortcut of THtmlParser::NextItem.
//
// Well-formed XML is nearly all plain start tags with quoted attributes,
// close tags, text and the odd comment, processing instruction or CDATA
// section. For those this reader goes over the units once and fills the
// item fields exactly as the token loop would, without a token per name,
// blank, "=" and quote. Anything else (a document type, a bare or unquoted
// attribute, a stray quote, a "<" inside a tag, input that ends inside a
// tag) puts the cursor back where the item began and leaves the item to the
// token loop, which also raises the errors.
#include <cstring>

#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/html_parser.h"

namespace norvane {

namespace {

inline bool IsTagBlank(char16_t c) noexcept { return c == u' ' || c == u'\n' || c == u'\r' || c == u'\t'; }

// A blank token: one of the four blanks, then every unit below "!".
inline const char16_t* SkipTagBlanks(const char16_t* q, const char16_t* pend) noexcept {
  if (q < pend && IsTagBlank(*q))
    for (++q; q < pend && *q < 0x21;) ++q;
  return q;
}

// The end of a name read the way the tokenizer reads identifiers inside a
// tag: up to NUL, a blank, quote, "<", ">", "=", or a "/" that closes the tag.
inline const char16_t* IdentEnd(const char16_t* q, const char16_t* pend) noexcept {
  for (; q < pend; ++q) {
    const char16_t c = *q;
    if (c == 0) break;
    if (c < 256 && HtmlCharClass[1][c] >= 2 && !(c == u'/' && (q + 1 >= pend || q[1] != u'>'))) break;
  }
  return q;
}

// A unit that starts an identifier inside a tag (classes 0 and 1).
inline bool StartsIdent(char16_t c) noexcept { return c >= 256 || HtmlCharClass[1][c] <= 1; }

// The shared string for a name in `dict`; names of `limit` units or more are
// left out of the table, as the token loop does. A small cache in front of
// the table answers the names that repeat without hashing them.
UnicodeString InternName(THtObjectDictionary& dict, THtmlParser::TNameCache& cache, const char16_t* start,
                         int32_t length, int32_t limit) {
  UnicodeString& cached =
      cache[(uint32_t(length) * 31u + uint32_t(start[0]) * 7u + uint32_t(start[length - 1])) % cache.size()];
  if (cached.Length() == length && std::memcmp(cached.Data(), start, size_t(length) * 2) == 0) return cached;
  const int32_t hash = dict.HashFunc()(start, length);
  const int32_t slot = dict.FindHashed(hash, start, length);
  if (slot >= 0) return cached = static_cast<THtStringRec*>(dict.Table().ValueAt(slot))->Value;
  UnicodeString name(start, length);
  if (length < limit) {
    dict.AddHashed(hash, name, new THtStringRec(name));
    cached = name;
  }
  return name;
}

}  // namespace

bool THtmlParser::FastXMLItem() {
  THTMLTokenizer& tk = *Tokenizer;
  TStringParser& sp = *tk.Parser();
  const char16_t* const begin = sp.p;
  const char16_t* const pend = sp.pend;
  if (begin >= pend || tk.FInTag) return false;

  FRepeats = 0;
  if (Attributes) Attributes->Clear();
  Tag.Clear();
  Value.Clear();
  TagClosed = false;
  IsCloseTag = false;
  StartPos = int32_t(begin - sp.Start());
  tk.Token.StartPos = StartPos;

  const auto giveUp = [&] {
    sp.p = begin;
    tk.FInTag = false;
    if (Attributes) Attributes->Clear();
    Tag.Clear();
    TagClosed = false;
    IsCloseTag = false;
    return false;
  };
  const auto done = [&](THTMLTokenType last) {
    tk.Token.CType = last;
    tk.Token.EndPos = int32_t(sp.p - sp.Start());
    return true;
  };

  if (*begin != u'<') {
    // Indentation between elements repeats the same few blank runs: they
    // share one string each rather than cost an allocation apiece.
    const char16_t* q = begin;
    while (q < pend && q - begin < ptrdiff_t(FBlankRuns.size()) && IsTagBlank(*q)) ++q;
    const size_t len = size_t(q - begin);
    if (q < pend && *q == u'<' && len < FBlankRuns.size()) {
      UnicodeString& run = FBlankRuns[len];
      if (run.view() != std::u16string_view(begin, len)) run = UnicodeString(begin, int32_t(len));
      Value = run;
      sp.p = q;
    } else {
      tk.ReadText();
      Value = std::move(tk.Token.Name);
    }
    TagType = htString;
    TagClosed = true;
    return done(htString);
  }
  if (pend - begin < 3) return giveUp();
  const char16_t n = begin[1];

  if (n == u'!' || n == u'?') {
    if (n == u'?') {
      tk.ReadDirective();
    } else if (begin[2] == u'-') {
      tk.ReadComment();
    } else if (pend - begin >= 6 && begin[2] == u'[' && begin[3] == u'C' && begin[4] == u'D' && begin[5] == u'A') {
      tk.ReadCData();
    } else {
      return giveUp();  // a document type: once a document
    }
    TagType = tk.Token.CType;
    Value = std::move(tk.Token.Name);
    TagClosed = true;
    return done(TagType);
  }

  if (n == u'/') {
    const char16_t* q = begin + 2;
    if (!StartsIdent(*q) || *q == 0) return giveUp();
    const char16_t* e = IdentEnd(q + 1, pend);
    const char16_t* r = SkipTagBlanks(e, pend);
    if (r >= pend || *r != u'>') return giveUp();
    Tag = InternName(*TagList, FTagCache, q, int32_t(e - q), 64);
    TagType = htIdent;
    IsCloseTag = true;
    sp.p = r + 1;
    return done(htTagEnd);
  }

  // A start tag whose name opens with an ASCII letter, "-", ".", ":" or "_";
  // other openings (beyond ASCII, or errors) go the long way.
  const bool opens = (n >= u'A' && n <= u'Z') || (n >= u'a' && n <= u'z') || n == u'-' || n == u'.' || n == u':' ||
                     n == u'_';
  if (!opens) return giveUp();
  // The name reads as the tokenizer reads tag names: everything from "A" up,
  // name units, and a "/" that doesn't close the tag.
  const char16_t* q = begin + 2;
  while (q < pend && (*q >= u'A' || HtmlCharClass[1][*q] == 1 || (*q == u'/' && (q + 1 >= pend || q[1] != u'>'))))
    ++q;
  Tag = InternName(*TagList, FTagCache, begin + 1, int32_t(q - begin - 1), 0x7FFFFFFF);
  tk.FTagName = Tag;
  tk.FInTag = true;
  TagType = htIdent;

  for (;;) {
    q = SkipTagBlanks(q, pend);
    if (q >= pend) return giveUp();
    const char16_t c = *q;
    if (c == u'>') {
      sp.p = q + 1;
      break;
    }
    if (c == u'/') {
      if (q + 1 >= pend || q[1] != u'>') return giveUp();
      TagClosed = true;
      sp.p = q + 2;
      break;
    }
    if (!StartsIdent(c) || c == 0) return giveUp();
    const char16_t* nameEnd = IdentEnd(q + 1, pend);
    const char16_t* r = SkipTagBlanks(nameEnd, pend);
    if (r >= pend || *r != u'=') return giveUp();
    r = SkipTagBlanks(r + 1, pend);
    if (r >= pend || (*r != u'"' && *r != u'\'')) return giveUp();
    sp.p = r;
    tk.ReadString();
    if (sp.p >= pend) return giveUp();  // the tag doesn't end
    FAttrname = InternName(*AttrList, FAttrCache, q, int32_t(nameEnd - q), 16);
    if (!Attributes) Attributes = new THtAttributes(FCaseSensitive);
    int32_t index;
    if (!Attributes->Find(FAttrname, index)) Attributes->Add(FAttrname, tk.Token.Name);
    q = sp.p;
  }
  tk.FInTag = false;
  if (!IgnoreMetaEncoding && Tag == std::u16string_view(u"meta")) MetaCheck();
  return done(htTagEnd);
}

}  // namespace norvane
