#include "norvane/css/css_media_set.h"

#include <string>

#include "css_text_writer.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TCSSMediaSet, "htmlcss")

bool TCSSMediaSet::AddNextToken(TCSSTokenizer& tokenizer) {
  tokenizer.NextToken();
  if (tokenizer.Eof) return false;
  const TCSSToken& t = tokenizer.Token;
  if (t.CType != ctBlockStart && t.CType != ctSemicolon) Tokens.Add(t);
  return true;
}

UnicodeString TCSSMediaSet::AsString() const {
  std::u16string out = u"@media ";
  for (const TCSSToken& t : Tokens) {
    switch (t.CType) {
      case ctComment:
        break;
      case ctSpace:
        if (out.back() != u' ') out += u' ';
        break;
      case ctString:
        css_text::AddQuoted(out, t.Name.view());
        break;
      case ctIdent:
      case ctFunction:
        css_text::AddName(out, t.Name.view());
        break;
      case ctAtKeyword:
        out += u'@';
        css_text::AddName(out, t.Name.view().substr(t.Name.Length() > 0 && t.Name[0] == u'@' ? 1 : 0));
        break;
      case ctHash:
        out += u'#';
        css_text::AddName(out, t.Name.view());
        break;
      case ctURI: {
        TCSSTokens one;
        one.Add(t);
        css_text::AddTokensText(out, one, css_text::kPretty);
        break;
      }
      case ctDelimiter:
        // A control character would join the blank before it: escaped.
        if (t.Name.Length() == 1 && t.Name[0] < 33)
          css_text::AddName(out, t.Name.view());
        else
          out += t.Name.view();
        break;
      default:
        out += t.Name.view();
        break;
    }
  }
  while (!out.empty() && out.back() == u' ') out.pop_back();
  return UnicodeString(out);
}

bool TCSSMediaSet::CheckMedia(TCSSMedia media, int64_t width, int64_t deviceWidth) const noexcept {
  // "all" next to other media still means every medium.
  if (!Media.Empty() && !Media.Contains(cmAll) && !Media.Contains(media)) return false;
  if (SizeQuery) {
    if (width < MinWidth) return false;
    if (MaxWidth != 0 && width > MaxWidth) return false;
    const int64_t device = deviceWidth != 0 ? deviceWidth : width;
    if (device < MinDeviceWidth) return false;
    if (MaxDeviceWidth != 0 && device > MaxDeviceWidth) return false;
  }
  return true;
}

TCSSMediaSet* DefaultCSSMediaSet() noexcept {
  static TCSSMediaSet set;
  return &set;
}

}  // namespace norvane
