// Style sheet text through the CSS tokenizer, the token cursor's colour
// reader and the colour text reader. Beyond the sanitizers, checks that the
// tokens tile the text (up to a NUL, which ends it) and that every scan
// moves forward.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "norvane/css/css_tokenizer.h"
#include "norvane/markup/html_colors.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) __builtin_trap();
}

void Tokenize(const UnicodeString& text, bool parseNumbers) {
  TCSSTokenizer t(text, parseNumbers);
  const std::u16string_view v = text.view();
  const size_t nul = v.find(u'\0');
  const int32_t stop = nul == std::u16string_view::npos ? text.Length() + 1 : int32_t(nul) + 1;
  int32_t next = t.Parser.Pos();
  TCSSTokens tokens;
  while (true) {
    t.NextToken();
    if (t.Eof) break;
    const TCSSToken& k = t.Token;
    Check(k.StartPos == next && k.EndPos >= k.StartPos && k.EndPos < stop);
    next = k.EndPos + 1;
    switch (k.CType) {
      case ctComma: case ctColon: case ctSemicolon: case ctOpenPar: case ctClosePar: case ctOpenBr:
      case ctCloseBr: case ctBlockStart: case ctBlockEnd: case ctSlash: case ctDelimiter:
      case ctNumber: case ctPercentage: case ctDimension:
        Check(k.Name.view() == v.substr(size_t(k.StartPos - 1), size_t(k.EndPos - k.StartPos + 1)));
        break;
      default:
        break;
    }
    tokens.Add(k);
  }
  Check(next == stop);

  TCSSTokenSequence ts;
  ts.Init(&tokens);
  for (; !ts.Eof; ts.Next()) {
    uint32_t color = 0;
    ts.ReadColor(color);
    TCSSTokenSequence copy = ts;  // a cursor is a value
    copy.ReadColor(color);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const UnicodeString text = UnicodeString::FromUtf8(bytes);
  Tokenize(text, true);
  Tokenize(text, false);

  htmlHextoColor(text);
  int32_t isSystem = 0;
  htmlHextoColorSys(text, isSystem);
  Check(isSystem == 0 || isSystem == 1);
  HtStringtoColor(text);
  return 0;
}
