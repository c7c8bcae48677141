#include "css_text_writer.h"

namespace norvane::css_text {

namespace {

bool IsNameUnit(char16_t c) {
  return c == u'-' || c == u'_' || (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') ||
         c >= 256;
}

void AddHexEscape(std::u16string& out, uint32_t c) {
  static const char hex[] = "0123456789abcdef";
  char buf[8];
  int n = 0;
  do {
    buf[n++] = hex[c & 15];
    c >>= 4;
  } while (c);
  out += u'\\';
  while (n) out += char16_t(buf[--n]);
  out += u' ';
}

bool IsOpening(TCSSTokenType t) { return t == ctOpenPar || t == ctOpenBr; }

// A control character delimiter is written as an escape and reads back as
// an identifier: it is spaced like one.
TCSSTokenType Kind(const TCSSToken& t) {
  return t.CType == ctDelimiter && t.Name.Length() == 1 && t.Name[0] < 33 ? ctIdent : t.CType;
}

// Whether a token is written without a blank ahead of it.
bool Bare(const TCSSToken* prevToken, const TCSSToken& curToken, TTextMode mode) {
  if (!prevToken) return true;
  struct {
    TCSSTokenType CType;
  } prevKind{Kind(*prevToken)}, cur{Kind(curToken)};
  const auto* prev = &prevKind;
  switch (cur.CType) {
    case ctOpenPar:
      // "foo (" must not turn into the function "foo(".
      return prev->CType == ctFunction || prev->CType == ctOpenPar || prev->CType == ctComma ||
             prev->CType == ctColon ||
             (mode == kMinified && prev->CType != ctIdent && prev->CType != ctHash && prev->CType != ctNumber &&
              prev->CType != ctDimension && prev->CType != ctDelimiter);
    case ctClosePar: case ctOpenBr: case ctCloseBr: case ctComma: case ctColon:
      return true;
    default:
      break;
  }
  if (IsOpening(prev->CType)) return true;
  if (mode != kMinified) return false;
  switch (prev->CType) {
    case ctComma: case ctColon: case ctSlash: case ctClosePar: case ctCloseBr: case ctString: case ctURI:
      return true;
    default:
      break;
  }
  // A quote, "#" or "/" ends a name, but a delimiter before it could join
  // it ("-" and "'x'" read as the identifier "-"); "url(" would extend a name.
  return prev->CType != ctDelimiter && (cur.CType == ctSlash || cur.CType == ctString || cur.CType == ctHash);
}

void AddURI(std::u16string& out, std::u16string_view url) {
  // Quoted addresses are taken raw up to the closing quote: pick a quote the
  // address doesn't hold.
  char16_t q = url.find(u'\'') == std::u16string_view::npos ? u'\''
               : url.find(u'"') == std::u16string_view::npos ? u'"'
                                                               : 0;
  out += u"url(";
  if (q) {
    out += q;
    out += url;
    out += q;
  } else {
    out += url;
  }
  out += u')';
}

}  // namespace

void AddName(std::u16string& out, std::u16string_view name) {
  // A digit first, or after a first "-", would start a number.
  size_t digitAt = !name.empty() && name[0] == u'-' ? 1 : 0;
  for (size_t i = 0; i < name.size(); ++i) {
    const char16_t c = name[i];
    if (i == digitAt && c >= u'0' && c <= u'9')
      AddHexEscape(out, c);
    else if (IsNameUnit(c))
      out += c;
    else if (c < 32 || c == 127)
      AddHexEscape(out, c);
    else {
      out += u'\\';
      out += c;
    }
  }
}

void AddQuoted(std::u16string& out, std::u16string_view text) {
  out += u'\'';
  for (char16_t c : text) {
    if (c == u'\'' || c == u'\\') {
      out += u'\\';
      out += c;
    } else if (c == u'\n' || c == u'\r' || c == 0) {
      AddHexEscape(out, c == 0 ? 0xFFFD : c);
    } else {
      out += c;
    }
  }
  out += u'\'';
}

void AddTokensText(std::u16string& out, const TCSSTokens& tokens, TTextMode mode) {
  const TCSSToken* prev = nullptr;
  for (const TCSSToken& t : tokens) {
    if (t.CType == ctSpace || t.CType == ctComment) continue;
    if (t.CType == ctHash && mode == kCompact) {
      out += u" #";
      AddName(out, t.Name.view());
      prev = &t;
      continue;
    }
    if (!Bare(prev, t, mode)) out += u' ';
    switch (t.CType) {
      case ctIdent: case ctFunction: case ctAtKeyword:
        if (t.CType == ctAtKeyword) {
          out += u'@';
          AddName(out, t.Name.view().substr(t.Name.Length() > 0 && t.Name[0] == u'@' ? 1 : 0));
        } else {
          AddName(out, t.Name.view());
        }
        break;
      case ctHash:
        out += u'#';
        AddName(out, t.Name.view());
        break;
      case ctString:
        AddQuoted(out, t.Name.view());
        break;
      case ctURI:
        AddURI(out, t.Name.view());
        break;
      case ctDelimiter:
        // A control character would join the blank before it.
        if (t.Name.Length() == 1 && t.Name[0] < 33)
          AddHexEscape(out, t.Name[0]);
        else
          out += t.Name.view();
        break;
      default:
        out += t.Name.view();
        break;
    }
    prev = &t;
  }
}

void AddValueText(std::u16string& out, const TCSSValue& value, TTextMode mode) {
  AddName(out, value.NameToken.Name.view());
  out += u':';
  if (mode == kPretty) out += u' ';
  AddTokensText(out, value.Tokens, mode);
  if (value.Important) out += mode == kPretty ? u" !important" : u"!important";
  out += u';';
}

void AddSectionText(std::u16string& out, const TCSSSection& section, TTextMode mode, std::u16string_view indent) {
  const bool pretty = mode != kMinified;
  if (pretty) out += indent;
  for (int32_t i = 0; i < section.Selectors->Count(); ++i) {
    if (i) out += pretty ? u", " : u",";
    out += section.Selectors->GetSelector(i)->AsString().view();
  }
  if (pretty) {
    out += section.Selectors->Count() ? u" {\n" : u"{\n";
    for (const TCSSValue& v : section.Values) {
      out += indent;
      out += u"  ";
      AddValueText(out, v, kPretty);
      out += u'\n';
    }
    out += indent;
    out += u"}\n";
  } else {
    out += u'{';
    for (const TCSSValue& v : section.Values) AddValueText(out, v, kMinified);
    if (!section.Values.empty()) out.pop_back();  // the last ";" can go
    out += u'}';
  }
}

}  // namespace norvane::css_text
