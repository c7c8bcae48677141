#include "norvane/markup/html_parser.h"

#include <memory>

#include "norvane/foundation/hash.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/html_node.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(THtmlParser, "htmlpars")
NV_CLASS_IMPL(THtElementClassContainer, "htmlpars")
NV_CLASS_IMPL(TElementClasses, "htmlpars")

namespace {

bool HasUpper(std::u16string_view s) noexcept {
  for (char16_t c : s)
    if (c >= u'A' && c <= u'Z') return true;
  return false;
}

void FoldAscii(UnicodeString& s) {
  if (!HasUpper(s.view())) return;
  char16_t* d = s.MutableData();
  for (int32_t i = 0, n = s.Length(); i < n; ++i)
    if (d[i] >= u'A' && d[i] <= u'Z') d[i] = char16_t(d[i] + 32);
}

}  // namespace

// --- THtmlParser ----------------------------------------------------------------

THtmlParser::THtmlParser(const UnicodeString& text, bool xmlMode)
    : Tokenizer(std::make_unique<THTMLTokenizer>(text, xmlMode)),
      FXMLMode(xmlMode),
      IncorrectStack(std::make_unique<THtObjectList>(false)) {
  TStringParser& sp = *Tokenizer->Parser();
  const int32_t n = text.Length();
  // A UTF-8 byte-order mark that the host read through Windows-1251.
  if (n > 3 && text[0] == 0x043F && text[1] == 0x00BB && text[2] == 0x0457) {
    sp.p = sp.Start() + 3;
    FNarrowCodePage = 1251;
    ChangeEncoding(heUTF8, 0);
  }
  if (n > 1 && sp.p < sp.pend && *sp.p == 0xFEFF) ++sp.p;
  sp.SkipBlanks();

  Tokenizer->SetXMLMode(xmlMode);
  TagList = std::make_unique<THtObjectDictionary>(255, true, THtStringRec::ValueOffset(), RSHash);
  AttrList = std::make_unique<THtObjectDictionary>(511, true, THtStringRec::ValueOffset(), RSHash);
  if (!xmlMode) {
    const UnicodeString star(u"*");
    TagList->Add(star, new THtStringRec(star));
  }
  Tokenizer->SetTagList(TagList.get());
}

THtmlParser::~THtmlParser() { delete Attributes; }

void THtmlParser::SetCaseSensitive(bool value) {
  FCaseSensitive = value;
  Tokenizer->SetCaseSensitive(value);
}

void THtmlParser::vLower(UnicodeString& s) const {
  if (!FCaseSensitive) FoldAscii(s);
}

THtAttributes* THtmlParser::ExtractAttributes() {
  if (!Attributes || Attributes->Count == 0) return nullptr;
  // The node gets a table of exactly its size; the parser keeps its own,
  // grown once, for the next tag.
  auto* a = new THtAttributes(Attributes->CaseSensitive);
  const int32_t n = Attributes->Count;
  a->List.reserve(size_t(n));
  for (int32_t i = 0; i < n; ++i) a->List.push_back(std::move(Attributes->List[size_t(i)]));
  a->Count = n;
  Attributes->Clear();
  return a;
}

bool THtmlParser::NextItem() {
  THTMLTokenizer& tk = *Tokenizer;
  if (RepeatCurrent) {
    RepeatCurrent = false;
    // An item handed back and forth this often is in a cycle of repairs
    // that can't settle: it is dropped rather than looped on.
    if (++FRepeats <= MaxRepeats) return !tk.Eof;
  }
  if (FXMLMode && FCaseSensitive && FastXML && FastXMLItem()) return true;
  FRepeats = 0;
  tk.NextToken(true);
  if (Attributes) Attributes->Clear();
  Tag.Clear();
  Value.Clear();
  TagClosed = false;
  IsCloseTag = false;

  for (;;) {
    if (tk.Eof) return false;
    const THTMLTokenType t = tk.Token.CType;
    if (t == htString) {
      TagType = htString;
      Value = tk.Token.Name;
      TagClosed = true;
      break;
    }
    if (t == htTagStart) {
      StartPos = tk.Token.StartPos;
      tk.NextToken(false);
      if (tk.Eof) return false;
      if (tk.Token.CType == htTagClose) {
        IsCloseTag = true;
        tk.NextToken(false);
        if (tk.Eof) return false;
      }
      if (tk.Token.CType != htIdent) {
        // "</ >" and the like name nothing: what follows is read afresh.
        IsCloseTag = false;
        continue;
      }
      Tag = tk.Token.Name;
      vLower(Tag);
      if (IsCloseTag) {
        // Close tags come unshared from the tokenizer: share them, so that
        // the comparison with the open element's tag is one pointer test.
        TObject* rec = nullptr;
        if (TagList->Find(Tag, rec))
          Tag = static_cast<THtStringRec*>(rec)->Value;
        else if (Tag.Length() < 64)
          TagList->Add(Tag, new THtStringRec(Tag));
      }
      TagType = htIdent;
      break;
    }
    if (t >= htScript && t <= htCustom) {
      TagType = t;
      Value = tk.Token.Name;
      TagClosed = true;
      break;
    }
    tk.NextToken(true);
  }

  if (Tag.IsEmpty()) {
    StartPos = tk.Token.StartPos;
    return true;
  }
  ReadAttributes();
  if (!FXMLMode && !TagClosed && !IsCloseTag && TagType == htIdent &&
      (Tag == std::u16string_view(u"script") || Tag == std::u16string_view(u"style")))
    ReadRawBody();
  if (!IgnoreMetaEncoding && Tag == std::u16string_view(u"meta")) MetaCheck();
  return !tk.Eof;
}

void THtmlParser::RaiseValueExpected() {
  const TStringParser& sp = *Tokenizer->Parser();
  throw EHtmlParserException(u"Attribute %s value expected but %s found. Line %d position %d",
                             {FAttrname, Tokenizer->Token.Name, sp.Line(), sp.Pos()});
}

void THtmlParser::ReadAttributes() {
  THTMLTokenizer& tk = *Tokenizer;
  bool reuse = false;  // the current token is still to be handled
  for (;;) {
    if (!reuse) tk.NextToken(false);
    reuse = false;
    if (tk.Eof) return;
    switch (tk.Token.CType) {
      case htIdent: {
        if (IsCloseTag) break;
        FAttrname = tk.Token.Name;
        if (!FCaseSensitive && FAttrname.view().find(u'{') == std::u16string_view::npos) FoldAscii(FAttrname);
        if (FAttrname.Length() < 16) {
          TObject* rec = nullptr;
          if (AttrList->Find(FAttrname, rec))
            FAttrname = static_cast<THtStringRec*>(rec)->Value;
          else
            AttrList->Add(FAttrname, new THtStringRec(FAttrname));
        }
        if (!Attributes) Attributes = new THtAttributes(FCaseSensitive);
        do tk.NextToken(false);
        while (!tk.Eof && tk.Token.CType == htSpace);
        if (tk.Eof || tk.Token.CType != htEq) {
          Attributes->SetAttribute(FAttrname, FAttrname);
          reuse = true;
          break;
        }
        do tk.NextToken(true);
        while (!tk.Eof && (tk.Token.CType == htSpace || tk.Token.CType == htComment));
        if (tk.Eof) return;
        if (FXMLMode && tk.Token.CType != htString) RaiseValueExpected();
        FAttrvalue.Clear();
        if (tk.Token.CType == htTagClose) {
          FAttrvalue = UnicodeString(u"/");
          tk.NextToken(true);
        }
        while (!tk.Eof && (tk.Token.CType == htSpace || tk.Token.CType == htComment ||
                           tk.Token.CType == htDirective))
          tk.NextToken(true);
        if (tk.Eof) return;
        const THTMLTokenType vt = tk.Token.CType;
        if (vt != htIdent && vt != htString) {
          reuse = true;  // the attribute is dropped; the token decides
          break;
        }
        FAttrvalue += tk.Token.Name;
        if (vt == htIdent) {
          // An unquoted value runs on over "=" and "/" up to a blank or the
          // end of the tag.
          for (;;) {
            tk.NextToken(false);
            if (tk.Eof) break;
            const THTMLTokenType at = tk.Token.CType;
            if (at == htSpace || at == htTagEnd || at == htScript || at == htStyle) break;
            if (at == htTagClose)
              FAttrvalue += u'/';
            else
              FAttrvalue += tk.Token.Name;
          }
          reuse = true;
        }
        int32_t index;
        if (!Attributes->Find(FAttrname, index)) Attributes->Add(FAttrname, FAttrvalue);
        break;
      }
      case htTagStart:
        // A new tag opens before this one was closed.
        tk.Parser()->Skip(-1);
        return;
      case htTagEnd:
        return;
      case htTagClose:
        TagClosed = true;
        break;
      case htScript:
      case htStyle:
        if (!TagClosed) {
          Value = tk.Token.Name;
          TagType = tk.Token.CType;
          return;
        }
        break;
      default:
        break;
    }
  }
}

void THtmlParser::ReadRawBody() {
  // The raw-text token didn't come (the opening tag was cut short): the body
  // runs to the next tag of the same name.
  THTMLTokenizer& tk = *Tokenizer;
  TStringParser& sp = *tk.Parser();
  TagClosed = true;
  TagType = Tag == std::u16string_view(u"script") ? htScript : htStyle;
  const char16_t* bodyStart = sp.p;
  const char16_t* bodyEnd = nullptr;
  const char16_t* lastTagStart = nullptr;
  while (tk.NextToken(true) || !tk.Eof) {
    if (tk.Token.CType == htTagStart) {
      lastTagStart = sp.Start() + tk.Token.StartPos;
    } else if (tk.Token.CType == htIdent && SameText(tk.Token.Name.view(), Tag.view())) {
      bodyEnd = lastTagStart ? lastTagStart : sp.Start() + tk.Token.StartPos;
      break;
    }
  }
  if (!bodyEnd) bodyEnd = sp.p;
  if (bodyEnd > bodyStart) Value = UnicodeString(bodyStart, int32_t(bodyEnd - bodyStart));
  while (!tk.Eof && tk.Token.CType != htTagEnd && tk.Token.CType != htScript && tk.Token.CType != htStyle)
    tk.NextToken(false);
}

void THtmlParser::MetaCheck() {
  if (!Attributes || FEncodingProcessed) return;
  UnicodeString charset;
  if (SameText(Attributes->GetAttribute(u"http-equiv").view(), u"content-type"))
    charset = LowerCase(Attributes->GetAttribute(u"content"));
  if (charset.IsEmpty()) charset = LowerCase(Attributes->GetAttribute(u"charset"));
  if (charset.IsEmpty()) return;
  FEncodingProcessed = true;
  if (charset.view().find(u"utf-8") != std::u16string_view::npos) {
    ChangeEncoding(heUTF8, 0);
    return;
  }
  const uint32_t cp = CharsettoCodepage(charset);
  if (cp == 0 || Encoding != heDefault || CodePageName(cp).empty()) return;
  const TStringParser& sp = *Tokenizer->Parser();
  const UnicodeString rest(sp.p, int32_t(sp.pend - sp.p));
  const UnicodeString converted = RecodeHtmlText(rest, heANSI, cp, FNarrowCodePage);
  if (converted.IsEmpty()) return;
  ReplaceRest(converted);
  Encoding = heANSI;
  Codepage = cp;
  RecodeTree(heANSI, cp);
}

void THtmlParser::ReplaceRest(const UnicodeString& text) { Tokenizer->Parser()->Init(text); }

void THtmlParser::RecodeTree(THtmlEncoding encoding, uint32_t codepage) {
  THtNode* node = Root ? Root : FParseRoot;
  if (node && node->Is<THtmlNode>()) static_cast<THtmlNode*>(node)->ChangeEncoding(encoding, codepage, FNarrowCodePage);
}

void THtmlParser::ChangeEncoding(THtmlEncoding encoding, int32_t) {
  if (encoding != heUTF8 || Encoding == heUTF8) return;
  const TStringParser& sp = *Tokenizer->Parser();
  const std::u16string_view rest(sp.p, size_t(sp.pend - sp.p));
  std::u16string_view sample = rest;
  if (const size_t h = rest.find(u"</head>"); h != std::u16string_view::npos) sample = rest.substr(0, h);
  // The units stand for bytes: test the bytes they came from.
  const UnicodeString sampleText(sample);
  const UnicodeString narrowed = RecodeHtmlText(sampleText, heANSI, 28591, FNarrowCodePage);
  const bool looksUtf8 = IsUTF8(narrowed.view());
  Encoding = heUTF8;
  if (!looksUtf8) return;
  const UnicodeString converted = RecodeHtmlText(UnicodeString(rest), heUTF8, 0, FNarrowCodePage);
  if (!converted.IsEmpty()) ReplaceRest(converted);
  RecodeTree(heUTF8, 0);
}

// --- TElementClasses -----------------------------------------------------------------

int32_t THtElementClassContainer::NameOffset() noexcept { return NV_FIELD_OFFSET(THtElementClassContainer, Name); }

TElementClasses::TElementClasses()
    : THtObjectDictionary(127, true, THtElementClassContainer::NameOffset()), DefaultClass(THtmlNode::StaticClass()) {}

void TElementClasses::Register(const UnicodeString& tag, TMetaClass cls) {
  UnicodeString name = tag;
  FoldAscii(name);
  TObject* found = nullptr;
  if (Find(name, found)) {
    static_cast<THtElementClassContainer*>(found)->ElementClass = cls;
    return;
  }
  auto rec = std::make_unique<THtElementClassContainer>(name, cls);
  Add(name, rec.get());
  rec.release();
}

TMetaClass TElementClasses::GetElementClass(const UnicodeString& tag) const {
  if (tag.IsEmpty()) return TextClass;
  TObject* found = nullptr;
  bool hit;
  if (HasUpper(tag.view())) {
    UnicodeString lower = tag;
    FoldAscii(lower);
    hit = Find(lower, found);
  } else {
    hit = Find(tag, found);
  }
  if (hit && found) return static_cast<THtElementClassContainer*>(found)->ElementClass;
  return UnknownClass ? UnknownClass : DefaultClass;
}

}  // namespace norvane
