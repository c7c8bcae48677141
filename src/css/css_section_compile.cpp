// Compiling a rule: its declarations become the longhands that styles
// match and apply. Shorthands are taken apart here, once per rule.
#include <algorithm>

#include "norvane/css/css_section.h"
#include "norvane/markup/html_colors.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

TCSSTokens Slice(const TCSSTokens& tokens, int32_t from, int32_t to) {
  TCSSTokens r;
  to = std::min(to, tokens.Length());
  if (to <= from) return r;
  r.SetLength(to - from);
  for (int32_t i = from; i < to; ++i) {
    TCSSToken& t = r[i - from];
    t = tokens[i];
    // A longhand resolves its own colours and ordinals.
    if (t.CType != ctNumber && t.CType != ctPercentage && t.CType != ctDimension && t.CType != ctHash) {
      t.Color = 0;
      t.Flags = 0;
    }
  }
  return r;
}

TCSSTokens OneToken(const char16_t* name) {
  TCSSToken t;
  t.CType = ctIdent;
  t.Name = UnicodeString(name);
  TCSSTokens r;
  r.Add(t);
  return r;
}

// The end of the value piece at `i`: one token, or a function with
// everything up to its closing ")".
int32_t PieceEnd(const TCSSTokens& tokens, int32_t i) {
  const int32_t n = tokens.Length();
  if (tokens[i].CType != ctFunction) return i + 1;
  int32_t depth = 0;
  for (int32_t j = i + 1; j < n; ++j) {
    if (tokens[j].CType == ctOpenPar) {
      ++depth;
    } else if (tokens[j].CType == ctClosePar) {
      if (--depth <= 0) return j + 1;
    }
  }
  return n;
}

// Up to the first "]" or the end: what a background shorthand gives a
// function.
int32_t UpToCloseBr(const TCSSTokens& tokens, int32_t i) {
  const int32_t n = tokens.Length();
  for (int32_t j = i; j < n; ++j)
    if (tokens[j].CType == ctCloseBr) return j;
  return n;
}

bool IsColorName(const UnicodeString& name) {
  return HtStringtoColor(name) != 0 || HtStringtoSysColor(name) != 0 || SameText(name.view(), u"transparent");
}

bool IsKeywordOf(const char16_t* propName, const UnicodeString& word) {
  const TCSSPropRec* r = FindCSSPropRec(std::u16string_view(propName));
  int32_t ordinal = 0;
  return r && r->IsEnumValue(word, ordinal);
}

bool Fits(const TCSSToken& t, const TCSSPropRec* sub) {
  switch (t.CType) {
    case ctIdent: {
      if (sub->PropType == cptColor) return IsColorName(t.Name);
      int32_t ordinal = 0;
      return sub->PropType == cptEnum && sub->IsEnumValue(t.Name, ordinal);
    }
    case ctHash:
      return sub->PropType == cptColor;
    case ctNumber:
      return sub->PropType == cptNumber;
    case ctPercentage:
    case ctDimension:
      return sub->PropType == cptLength;
    default:
      return false;
  }
}

}  // namespace

TCSSValue* TCSSSection::AddCompiled(const TCSSValue& shorthand, TCSSPropRec* sub, const TCSSTokens& tokens) {
  if (!sub || tokens.Empty()) return nullptr;
  TCSSValue v;
  v.NameToken = shorthand.NameToken;
  v.NameToken.Name = sub->Name;
  v.Tokens = tokens;
  v.Important = shorthand.Important;
  if (!PrepareValue(v, this)) return nullptr;
  CompiledValues.push_back(std::move(v));
  return &CompiledValues.back();
}

TCSSValue* TCSSSection::AddCompiled(const TCSSValue& shorthand, const char16_t* subName, const TCSSTokens& tokens) {
  return AddCompiled(shorthand, FindCSSPropRec(std::u16string_view(subName)), tokens);
}

void TCSSSection::Compile() {
  CompiledValues.clear();
  CompiledValues.reserve(Values.size() + 4);
  for (const TCSSValue& v : Values) {
    const TCSSPropRec* r = v.PropRec;
    if (v.VendorPrefixed || !r || r->ID == cspUnknown || v.Tokens.Empty()) continue;
    const size_t subs = r->SubProps.size();
    switch (r->PropType) {
      case cptLength:
      case cptColor:
      case cptString:
      case cptEnum:
        if (subs == 4) {
          CompileFourSides(v);
        } else if (subs == 2) {
          CompileTwo(v);
        } else if (!(r->PropType == cptEnum && r->ID != cspFontWeight &&
                     v.Tokens[0].Color == CSSUnknownKeywordMarker)) {
          CompiledValues.push_back(v);
        }
        break;
      case cptNumber:
        CompiledValues.push_back(v);
        break;
      case cptComplex:
        // The shorthand itself stays: the style reads some of them whole
        // (the font size in "font", a background's layers).
        CompiledValues.push_back(v);
        switch (r->ID) {
          case cspFont: CompileFont(v); break;
          case cspBorder: CompileBorder(v); break;
          case cspBackground: CompileBackground(v); break;
          case cspTextDecoration: CompileTextDecoration(v); break;
          default:
            if (subs) CompilePositional(v);
            break;
        }
        break;
    }
  }
}

void TCSSSection::CompileFourSides(const TCSSValue& v) {
  const TCSSTokens& t = v.Tokens;
  // "a / b" and the like stay whole.
  if (t.Length() == 3 && t[1].CType == ctDelimiter) {
    CompiledValues.push_back(v);
    return;
  }
  int32_t starts[5];
  int32_t ends[5];
  int32_t count = 0;
  for (int32_t i = 0; i < t.Length() && count < 4; ++count) {
    starts[count] = i;
    i = PieceEnd(t, i);
    ends[count] = i;
  }
  const auto& sub = v.PropRec->SubProps;
  auto piece = [&](int32_t k) { return Slice(t, starts[k], ends[k]); };
  switch (count) {
    case 0:
      return;
    case 1:
      for (int s = 0; s < 4; ++s) AddCompiled(v, sub[s], piece(0));
      return;
    case 2:
      AddCompiled(v, sub[0], piece(0));
      AddCompiled(v, sub[1], piece(1));
      AddCompiled(v, sub[2], piece(0));
      AddCompiled(v, sub[3], piece(1));
      return;
    default:
      // Three values leave the fourth side unset.
      for (int32_t s = 0; s < count; ++s) AddCompiled(v, sub[size_t(s)], piece(s));
      return;
  }
}

void TCSSSection::CompileTwo(const TCSSValue& v) {
  const TCSSTokens& t = v.Tokens;
  const auto& sub = v.PropRec->SubProps;
  AddCompiled(v, sub[0], Slice(t, 0, 1));
  AddCompiled(v, sub[1], t.Length() > 1 ? Slice(t, 1, 2) : Slice(t, 0, 1));
}

void TCSSSection::CompilePositional(const TCSSValue& v) {
  const TCSSTokens& t = v.Tokens;
  int32_t i = 0;
  for (TCSSPropRec* sub : v.PropRec->SubProps) {
    if (i >= t.Length()) break;
    if (Fits(t[i], sub)) {
      AddCompiled(v, sub, Slice(t, i, i + 1));
      ++i;
    }
  }
}

void TCSSSection::CompileFont(const TCSSValue& v) {
  const TCSSTokens& t = v.Tokens;
  bool styleSeen = false, weightSeen = false;
  TCSSTokens family;
  for (int32_t i = 0; i < t.Length(); ++i) {
    const TCSSToken& k = t[i];
    switch (k.CType) {
      case ctIdent:
        if (!styleSeen && IsKeywordOf(u"font-style", k.Name)) {
          styleSeen = true;
          AddCompiled(v, u"font-style", Slice(t, i, i + 1));
        } else if (!weightSeen && IsKeywordOf(u"font-weight", k.Name)) {
          weightSeen = true;
          AddCompiled(v, u"font-weight", Slice(t, i, i + 1));
        } else {
          family.Add(k);
        }
        break;
      case ctString:
        family.Add(k);
        break;
      case ctComma:
        // The rest of a family list.
        if (!family.Empty()) family.Add(k);
        break;
      case ctNumber:
      case ctPercentage:
      case ctDimension:
        AddCompiled(v, u"font-size", Slice(t, i, i + 1));
        if (i + 2 < t.Length() && t[i + 1].CType == ctSlash) {
          AddCompiled(v, u"line-height", Slice(t, i + 2, i + 3));
          i += 2;
        }
        break;
      default:
        break;
    }
  }
  if (!family.Empty()) AddCompiled(v, u"font-family", Slice(family, 0, family.Length()));
  if (!styleSeen) AddCompiled(v, u"font-style", OneToken(u"normal"));
  if (!weightSeen) AddCompiled(v, u"font-weight", OneToken(u"normal"));
}

void TCSSSection::CompileBorder(const TCSSValue& v) {
  static const char16_t* const styles[] = {u"border-top-style", u"border-right-style", u"border-bottom-style",
                                           u"border-left-style"};
  const TCSSTokens& t = v.Tokens;
  for (int32_t i = 0; i < t.Length(); ++i) {
    const TCSSToken& k = t[i];
    switch (k.CType) {
      case ctIdent:
        if (IsKeywordOf(u"border-top-style", k.Name)) {
          for (const char16_t* s : styles) AddCompiled(v, s, Slice(t, i, i + 1));
        } else if (k.Name == u"thin" || k.Name == u"medium" || k.Name == u"thick") {
          AddCompiled(v, u"border-width", Slice(t, i, i + 1));
        } else {
          AddCompiled(v, u"border-color", Slice(t, i, i + 1));
        }
        break;
      case ctHash:
        AddCompiled(v, u"border-color", Slice(t, i, i + 1));
        break;
      case ctNumber:
      case ctDimension:
        AddCompiled(v, u"border-width", Slice(t, i, i + 1));
        break;
      case ctFunction: {
        int32_t end = PieceEnd(t, i);
        AddCompiled(v, u"border-color", Slice(t, i, end));
        i = end - 1;
        break;
      }
      default:
        break;
    }
  }
}

void TCSSSection::CompileTextDecoration(const TCSSValue& v) {
  const TCSSTokens& t = v.Tokens;
  for (int32_t i = 0; i < t.Length(); ++i) {
    const TCSSToken& k = t[i];
    if (k.CType == ctIdent) {
      if (k.Name == u"inherit" || IsKeywordOf(u"text-decoration-line", k.Name))
        AddCompiled(v, u"text-decoration-line", Slice(t, i, i + 1));
      else if (IsKeywordOf(u"text-decoration-style", k.Name))
        AddCompiled(v, u"text-decoration-style", Slice(t, i, i + 1));
    } else if (k.CType == ctHash) {
      AddCompiled(v, u"text-decoration-color", Slice(t, i, i + 1));
    }
  }
}

void TCSSSection::CompileBackground(const TCSSValue& v) {
  const TCSSTokens& t = v.Tokens;
  bool imageSeen = false, xSet = false, ySet = false;
  for (int32_t i = 0; i < t.Length(); ++i) {
    const TCSSToken& k = t[i];
    switch (k.CType) {
      case ctIdent: {
        const UnicodeString& n = k.Name;
        if (n == u"none") {
          AddCompiled(v, u"background-image", Slice(t, i, i + 1));
          AddCompiled(v, u"background-color", Slice(t, i, i + 1));
          imageSeen = true;
        } else if (IsColorName(n)) {
          AddCompiled(v, u"background-color", Slice(t, i, i + 1));
        } else if (IsKeywordOf(u"background-repeat", n)) {
          AddCompiled(v, u"background-repeat", Slice(t, i, i + 1));
        } else if (IsKeywordOf(u"background-origin", n)) {
          AddCompiled(v, u"background-origin", Slice(t, i, i + 1));
        } else if (IsKeywordOf(u"background-attachment", n)) {
          AddCompiled(v, u"background-attachment", Slice(t, i, i + 1));
        } else if (n == u"left" || n == u"right" || (n == u"center" && !xSet)) {
          AddCompiled(v, u"background-position-x", Slice(t, i, i + 1));
          xSet = true;
        } else if (n == u"top" || n == u"bottom" || n == u"middle" || n == u"center") {
          AddCompiled(v, u"background-position-y", Slice(t, i, i + 1));
          ySet = true;
        } else {
          AddCompiled(v, u"background-color", Slice(t, i, i + 1));
        }
        break;
      }
      case ctHash:
        AddCompiled(v, u"background-color", Slice(t, i, i + 1));
        break;
      case ctNumber:
      case ctDimension:
        if (!xSet) {
          AddCompiled(v, u"background-position-x", Slice(t, i, i + 1));
          xSet = true;
        } else if (!ySet) {
          AddCompiled(v, u"background-position-y", Slice(t, i, i + 1));
          ySet = true;
        }
        break;
      case ctURI:
        AddCompiled(v, u"background-image", Slice(t, i, i + 1));
        imageSeen = true;
        break;
      case ctFunction: {
        // Whatever follows such a function in the shorthand belongs to it.
        int32_t end = UpToCloseBr(t, i);
        const UnicodeString& n = k.Name;
        if (n == u"linear-gradient" || n == u"radial-gradient") {
          AddCompiled(v, u"background-image", Slice(t, i, end));
          imageSeen = true;
        } else if (n.view().starts_with(u"rgb") || n == u"var") {
          AddCompiled(v, u"background-color", Slice(t, i, end));
        }
        i = end;
        break;
      }
      default:
        break;
    }
  }
  if (!imageSeen) AddCompiled(v, u"background-image", OneToken(u"none"));
}

}  // namespace norvane
