// Selector chains: building them from a rule's tokens, specificity, and
// writing them back.
#include "norvane/css/css_selector.h"

#include "css_text_writer.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "norvane/foundation/hash.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TCSSSelector, "htmlcss")
NV_CLASS_IMPL(TCSSSelectors, "htmlcss")

TCSSSelector::~TCSSSelector() {
  delete Prev;
  for (TCSSSelector* s : NotList) delete s;
}

void TCSSSelector::AddClass(const UnicodeString& name) {
  UnicodeString n = LowerCase(Trim(name));
  if (n.IsEmpty()) return;
  Classes.push_back({n, RSHash(n.Data(), n.Length())});
}

void TCSSSelector::AddPseudo(const UnicodeString& name, const TCSSToken* arg) {
  int32_t v = 0;
  TCSSPseudoClass pc = IsEnum2(u"pc", name, EnumInfo(pcNone), v) ? TCSSPseudoClass(v) : pcUnknown;
  // "pcnone" is no pseudo class that can be written.
  if (pc == pcNone) pc = pcUnknown;
  if (Pseudo.Contains(pc)) return;
  Pseudo.Include(pc);
  ++PseudoCount;
  if (MainPseudo == pcNone) MainPseudo = pc;
  if (arg) {
    if (SameText(arg->Name.view(), u"odd"))
      NthValue = -1;
    else if (SameText(arg->Name.view(), u"even"))
      NthValue = -2;
    else if (arg->CType == ctNumber || arg->CType == ctPercentage || arg->CType == ctDimension)
      NthValue = int32_t(std::lround(std::isfinite(arg->AsFloat) ? arg->AsFloat : 0.0f));
    else
      NthValue = 0;
  }
}

void TCSSSelector::ParseCondition() {
  Conditions.clear();
  std::u16string_view all = Condition.view();
  size_t start = 0;
  while (start <= all.size()) {
    size_t end = all.find(u'\x01', start);
    if (end == std::u16string_view::npos) end = all.size();
    std::u16string_view part = all.substr(start, end - start);
    start = end + 1;
    TCSSCondition c;
    size_t eq = part.find(u'=');
    if (eq == std::u16string_view::npos) {
      c.Name = Trim(UnicodeString(part));
    } else {
      UnicodeString name = Trim(UnicodeString(part.substr(0, eq)));
      c.Value = Trim(UnicodeString(part.substr(eq + 1)));
      if (name.Length() > 0) {
        char16_t last = name[name.Length() - 1];
        TAttrCompare cmp = acMatch;
        switch (last) {
          case u'^': cmp = acStarts; break;
          case u'$': cmp = acEnds; break;
          case u'*': cmp = acContains; break;
          case u'~': cmp = acWord; break;
          case u'|': cmp = acStarts2; break;
          case u'!': cmp = acNotEq; break;
          default: break;
        }
        if (cmp != acMatch) name = Trim(UnicodeString(name.view().substr(0, size_t(name.Length() - 1))));
        c.Compare = cmp;
      }
      c.Name = name;
    }
    if (!c.Name.IsEmpty() || !c.Value.IsEmpty()) Conditions.push_back(std::move(c));
  }
}

uint32_t TCSSSelector::CalcWeight() const noexcept {
  uint32_t w = 0;
  for (const TCSSSelector* s = this; s; s = s->Prev) {
    if (!s->Tag.IsEmpty() && s->Tag != u"*") w += 1;
    w += 16 * uint32_t(s->Classes.size());
    w += 16 * uint32_t(s->PseudoCount);
    if (!s->ID.IsEmpty()) w += 256;
    if (!s->Condition.IsEmpty()) w += 16;
  }
  return w;
}

using css_text::AddName;
using css_text::AddQuoted;

namespace {

// A name inside a pseudo class argument: as written ("2n+1" is the two
// names "2" and "n"), escaped only where it holds what would end it.
void AddArgName(std::u16string& out, std::u16string_view name) {
  for (char16_t c : name)
    if (!(c == u'-' || c == u'_' || (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') ||
          (c >= u'A' && c <= u'Z') || c >= 256))
      return AddName(out, name);
  out += name;
}

}  // namespace

void TCSSSelector::WriteCompound(std::u16string& out) const {
  size_t before = out.size();
  if (!Tag.IsEmpty()) {
    const std::u16string_view tag = Tag.view();
    // Key frame selectors ("50%") stand as numbers; "@page" as an at-keyword.
    const bool number = (tag[0] >= u'0' && tag[0] <= u'9') || tag[0] == u'.';
    bool plain = true;
    for (char16_t c : tag)
      plain = plain && ((c >= u'0' && c <= u'9') || c == u'.' || c == u'%');
    if (tag == u"*" || (number && plain)) {
      out += tag;
    } else if (tag[0] == u'@' && (Prev || tag == u"@font-face" || tag == u"@page")) {
      // Behind another compound an at-keyword stays part of the selector;
      // first in the text only these two start a rule.
      out += u'@';
      AddName(out, tag.substr(1));
    } else {
      AddName(out, tag);
    }
  }
  if (!ID.IsEmpty()) {
    out += u'#';
    AddName(out, ID.view());
  }
  for (const TCSSSelectorClass& c : Classes) {
    out += u'.';
    AddName(out, c.Name.view());
  }
  for (const TCSSCondition& c : Conditions) {
    out += u'[';
    AddName(out, c.Name.view());
    static const char16_t* ops[] = {u"=", u"^=", u"$=", u"*=", u"~=", u"|=", u"!="};
    if (c.Compare != acMatch || !c.Value.IsEmpty()) {
      out += ops[c.Compare];
      AddQuoted(out, c.Value.view());
    }
    out += u']';
  }
  for (const UnicodeString& p : PseudoTexts) out += p.view();
  for (const TCSSSelector* n : NotList) {
    out += u":not(";
    n->WriteCompound(out);
    out += u')';
  }
  if (out.size() == before) out += u'*';
}

UnicodeString TCSSSelector::AsString() const {
  std::vector<const TCSSSelector*> chain;
  for (const TCSSSelector* s = this; s; s = s->Prev) chain.push_back(s);
  std::u16string out;
  for (size_t i = chain.size(); i-- > 0;) {
    const TCSSSelector* s = chain[i];
    if (i + 1 < chain.size()) {
      static const char16_t* combinators[] = {u" ", u" > ", u" + ", u" ~ "};
      out += combinators[s->Position];
    }
    s->WriteCompound(out);
  }
  return UnicodeString(out);
}

bool TCSSSelectors::DistinctAdd(TCSSSelector* selector) {
  UnicodeString text = selector->AsString();
  for (int32_t i = 0; i < Count(); ++i)
    if (GetSelector(i)->AsString() == text) return false;
  Add(selector);
  return true;
}

namespace {

// Reads compounds from a token range with one index.
struct TSelectorBuilder {
  const TCSSToken* T;
  int32_t N;
  int32_t I = 0;

  bool At(TCSSTokenType type) const { return I < N && T[I].CType == type; }
  bool AtDelim(char16_t c) const {
    return I < N && T[I].CType == ctDelimiter && T[I].Name.Length() == 1 && T[I].Name[0] == c;
  }
  void SkipSpaces() {
    while (At(ctSpace)) ++I;
  }
  // Appends the names of the tokens up to `close` (consumed) to `out`.
  void TakeUpTo(TCSSTokenType close, std::u16string& out) {
    int32_t depth = 0;
    while (I < N) {
      const TCSSToken& t = T[I++];
      if (t.CType == ctOpenPar && close == ctClosePar) {
        if (depth++ == 0) continue;
      }
      if (t.CType == close) {
        if (close != ctClosePar || --depth <= 0) return;
      }
      out += t.Name.view();
    }
  }

  // Reads one compound into `s`; `inNot` stops before a ")" that closes
  // ":not(". Returns whether any token was read.
  bool Compound(TCSSSelector* s, bool inNot) {
    int32_t start = I;
    if (I < N && s->Tag.IsEmpty()) {
      const TCSSToken& t = T[I];
      if (t.CType == ctIdent || t.CType == ctAtKeyword || t.CType == ctString || t.CType == ctNumber ||
          t.CType == ctPercentage || t.CType == ctDimension || (t.Name.Length() == 1 && t.Name[0] == u'*')) {
        s->Tag = LowerCase(t.Name);
        ++I;
      }
    }
    std::u16string cond = std::u16string(s->Condition.view());
    while (I < N) {
      const TCSSToken& t = T[I];
      if (t.CType == ctColon) {
        ++I;
        bool twice = At(ctColon);
        if (twice) ++I;
        if (I >= N || (T[I].CType != ctIdent && T[I].CType != ctFunction)) continue;
        UnicodeString name = T[I++].Name;
        std::u16string text = twice ? u"::" : u":";
        std::u16string nameText;
        AddName(nameText, name.view());
        text += nameText;
        if (At(ctOpenPar)) {
          ++I;
          if (At(ctClosePar)) {
            ++I;
            s->AddPseudo(name, nullptr);
            s->PseudoTexts.push_back(UnicodeString(text + u"()"));
          } else if (SameText(name.view(), u"not")) {
            SkipSpaces();
            auto* n = new TCSSSelector(nullptr);
            n->Section = s->Section;
            Compound(n, true);
            n->Universal = n->Tag == u"*";
            if (!n->Condition.IsEmpty()) n->ParseCondition();
            s->NotList.push_back(n);
            std::u16string rest;
            TakeUpTo(ctClosePar, rest);
          } else {
            SkipSpaces();
            const TCSSToken* arg = I < N ? &T[I] : nullptr;
            s->AddPseudo(name, arg);
            std::u16string argText;
            int32_t depth = 1;
            for (; I < N; ++I) {
              if (T[I].CType == ctOpenPar) ++depth;
              if (T[I].CType == ctClosePar && --depth == 0) break;
              if (T[I].CType == ctString)
                AddQuoted(argText, T[I].Name.view());
              else if (T[I].CType == ctFunction || T[I].CType == ctIdent)
                AddArgName(argText, T[I].Name.view());
              else if (T[I].CType == ctHash)
                argText.append(u"#").append(T[I].Name.view());
              else if (T[I].CType != ctComment)
                argText += T[I].Name.view();
            }
            if (I < N) ++I;  // ")"
            // An argument cut off by the end of the text is closed here.
            s->PseudoTexts.push_back(UnicodeString(text + u"(" + argText + std::u16string(size_t(std::max(depth, 1)), u')')));
          }
        } else {
          s->AddPseudo(name, nullptr);
          s->PseudoTexts.push_back(UnicodeString(text));
        }
      } else if (t.CType == ctHash) {
        s->ID = t.Name;
        ++I;
      } else if (t.CType == ctDelimiter && t.Name == u".") {
        ++I;
        if (At(ctIdent)) s->AddClass(T[I++].Name);
      } else if (t.CType == ctFunction || t.CType == ctOpenPar) {
        if (t.CType == ctFunction) {
          cond += t.Name.view();
          ++I;
        }
        if (At(ctOpenPar)) TakeUpTo(ctClosePar, cond);
      } else if (t.CType == ctOpenBr) {
        ++I;
        if (!cond.empty()) cond += u'\x01';
        TakeUpTo(ctCloseBr, cond);
      } else {
        if (!inNot && (t.CType == ctClosePar || t.CType == ctCloseBr || t.CType == ctSlash)) ++I;
        break;
      }
    }
    s->Condition = UnicodeString(cond);
    return I > start;
  }
};

}  // namespace

TCSSSelector* BuildSelector(const TCSSToken* tokens, int32_t count) {
  TSelectorBuilder b{tokens, count};
  TCSSSelector* last = nullptr;
  while (b.I < b.N) {
    TSelectorPosition pos = spDescendant;
    // Blanks and combinators between compounds.
    while (b.I < b.N) {
      const TCSSToken& t = b.T[b.I];
      if (t.CType == ctSpace || t.CType == ctComment) {
        ++b.I;
      } else if (t.CType == ctDelimiter && t.Name != u"." && t.Name != u"*") {
        if (t.Name == u">")
          pos = spChild;
        else if (t.Name == u"+")
          pos = spSibling;
        else if (t.Name == u"~")
          pos = spAllSiblings;
        ++b.I;
      } else {
        break;
      }
    }
    if (b.I >= b.N) break;
    auto* s = new TCSSSelector(last);
    s->Position = last ? pos : spDescendant;
    if (!b.Compound(s, false)) ++b.I;  // a token no compound starts with
    // A compound that holds nothing (a stray token) adds no link.
    if (s->Tag.IsEmpty() && s->ID.IsEmpty() && s->Classes.empty() && s->Condition.IsEmpty() && s->Pseudo.Empty() &&
        s->NotList.empty()) {
      s->Prev = nullptr;
      delete s;
      continue;
    }
    last = s;
  }
  if (!last) return nullptr;
  for (TCSSSelector* s = last; s; s = s->Prev) {
    s->Universal = s->Tag == u"*";
    if (!s->Condition.IsEmpty()) s->ParseCondition();
  }
  return last;
}

}  // namespace norvane
