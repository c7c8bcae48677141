// Lengths from arbitrary text: every token of a value through Decode, the
// whole value as a calc() expression, and the text through the attribute
// reader, with the pixel conversions and the printing after each. Nothing
// may raise, and an expression nested ten thousand deep must finish.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "norvane/css/css_measure.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) __builtin_trap();
}

class FuzzStyle : public TMeasureStyle {
 public:
  float FontSize = 15.0f;
  float Zoom = 1.0f;
  const TMeasure* Root = nullptr;
  TMeasureViewport Viewport{1024.0f, 768.0f, 1.0f};

  float GetIntFontSize() const noexcept override { return FontSize; }
  float GetZoom() const noexcept override { return Zoom; }
  const TMeasure* GetRootFontSize() const noexcept override { return Root; }
  TMeasureViewport GetViewport() const noexcept override { return Viewport; }
};

void Resolve(TMeasure& m) {
  m.GetPixels();
  m.GetFPixels();
  m.Relative();
  Check(!m.AsString().IsEmpty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const UnicodeString text = UnicodeString::FromUtf8(bytes);

  // The tokens of a value as a prepared declaration holds them.
  TCSSTokens tokens;
  {
    TCSSTokenizer t(text);
    while (true) {
      t.NextToken();
      if (t.Eof) break;
      if (t.Token.CType != ctSpace && t.Token.CType != ctComment) tokens.Add(t.Token);
    }
  }

  FuzzStyle root, style;
  float parent = 333.3f;
  TMeasure rootSize;
  rootSize.Init(&root);
  rootSize.Parent = &parent;
  TCSSTokenSequence ts;
  ts.Init(&tokens);
  rootSize.Decode(ts);  // the first value also serves as the root's font size
  root.Root = &rootSize;
  style.Root = &rootSize;
  style.Zoom = size % 2 ? 1.0f : 1.5f;

  TMeasure m;
  m.Init(&style);
  m.Parent = &parent;
  // Each calc() token evaluates the whole array: a bounded number of them
  // keeps an input's cost linear.
  for (int32_t n = 0; !ts.Eof && n < 64; ts.Next(), ++n) {
    m.Decode(ts);
    Resolve(m);
    TMeasure copy;
    copy.Init(&root);
    copy.Assign(m);
    Resolve(copy);
  }

  // The whole value as an expression, whatever its first token.
  TCSSCalcValueObject calc(tokens);
  m.Calc = &calc.Tokens;
  m.SetAuto(false);
  m.DecodeCalc();
  Check(m.Calc == &calc.Tokens);
  Resolve(m);
  Resolve(rootSize);

  m.Init(&style);
  m.Parse(text);
  Resolve(m);
  return 0;
}
