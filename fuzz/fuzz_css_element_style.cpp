// Computed styles from arbitrary declarations: the text is read as a
// declaration list, applied to a parent style and, split in two rules, to
// its child, then every getter runs and the change detection compares the
// child with its earlier state. Nothing may raise or read out of bounds,
// and a property name looks itself up in the property table.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "norvane/css/css_element_style.h"
#include "norvane/css/css_parser.h"
#include "norvane/css/css_section.h"

using namespace norvane;

namespace {

class FuzzStyle : public TBaseElementStyle {
 public:
  explicit FuzzStyle(FuzzStyle* parent) : Parent(parent) { IntFontSize = 15; }
  FuzzStyle* Parent;
  bool Quirks = false;
  float Inner = 300, Container = 500;

  TBaseElementStyle* ParentStyle() const noexcept override { return Parent; }
  bool QuirksMode() const noexcept override { return Quirks; }
  bool IsTableElement() const noexcept override { return Quirks; }
  uint32_t GetDefaultTextColor() const noexcept override { return 0xFF000000; }
  UnicodeString DefaultFontFamily() const override { return u"serif"; }
  float* GetPropParent(const TCSSPropRec* r) noexcept override {
    return r->ParentType == cpptFontSize ? &IntFontSize : r->ParentType >= cpptContainerWidth ? &Container : &Inner;
  }
  void ResetCSSCounter(const UnicodeString&, int32_t) override {}
  void IncrementCSSCounter(const UnicodeString&) override {}
  void DoApplyBackground(TCSSValue*, TCSSTokenSequence&) override {}
  void DoApplyAnimation(TCSSValue*, TCSSTokenSequence&) override {}
  const TMeasure* GetRootFontSize() const noexcept override { return nullptr; }
  TMeasureViewport GetViewport() const noexcept override { return {1024, 768, 1}; }
};

std::vector<TCSSValue*> ValuesOf(TCSSSection* s) {
  std::vector<TCSSValue*> v;
  for (TCSSValue& x : s->CompiledValues) v.push_back(&x);
  return v;
}

void ReadAll(FuzzStyle& s) {
  for (TMeasure m : {s.Left(), s.Top(), s.Right(), s.Bottom(), s.Width(), s.Height(), s.MinWidth(), s.MaxWidth(),
                     s.MinHeight(), s.MaxHeight(), s.ColumnGap(), s.ColumnWidth(), s.TextIndent(), s.LetterSpacing(),
                     s.WordSpacing(), s.FlexBasis(), s.BackgroundPositionX(), s.BackgroundPositionY(),
                     s.TabInterval(), s.BorderSpacingX(), s.BorderSpacingY(), s.MarginLeft(), s.MarginTop(),
                     s.PaddingRight(), s.PaddingBottom(), s.FontSize(), s.LineHeight(), s.BorderTopWidth(),
                     s.BorderLeftWidth()}) {
    m.GetPixels();
    m.GetFPixels();
  }
  s.MarginRightPx();
  s.PaddingTopPx();
  s.BorderBottomWidthPx();
  s.BorderRightWidthPx();
  s.BorderTopColor();
  s.BorderLeftStyle();
  s.BorderPresent();
  s.Float();
  s.Cursor();
  s.TextAlign();
  s.OverflowX();
  s.WritingMode();
  s.ListStyleType();
  s.PageBreakInside();
  s.VerticalAlign();
  s.ContentEditable();
  s.TextColor();
  s.BackgroundColor();
  s.OutlineColor();
  s.TextDecorationColor();
  s.Opacity();
  s.FlexGrow();
  s.ColumnCount();
  s.FontFamily();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const UnicodeString text = UnicodeString::FromUtf8(bytes);
  FindCSSPropRec(text);
  CSSPropRecOf(text);

  std::unique_ptr<TCSSSection> all, first, second;
  {
    TCSSParser p(text);
    all.reset(p.ReadValues());
  }
  const std::u16string_view t = text.view();
  const size_t half = t.size() / 2;
  {
    TCSSParser p(UnicodeString(t.substr(0, half)));
    first.reset(p.ReadValues());
  }
  {
    TCSSParser p(UnicodeString(t.substr(half)));
    second.reset(p.ReadValues());
  }

  FuzzStyle parent(nullptr);
  parent.Quirks = size % 2;
  parent.ApplyValue(ValuesOf(all.get()), false);
  ReadAll(parent);

  FuzzStyle child(&parent);
  child.Quirks = parent.Quirks;
  child.Inherit(&parent);
  child.ApplyValue(ValuesOf(first.get()), false);
  child.SaveLastProps();
  child.ApplyValue(ValuesOf(second.get()), true);
  ReadAll(child);
  bool layout = false, repaint = false;
  child.StyleChanged(layout, repaint);
  child.Reset(false);
  child.ApplyValue(ValuesOf(second.get()), false);
  child.StyleChanged(layout, repaint);
  return 0;
}
