// Media sets: what an "@media" query asks for, kept as flags and width
// limits so that a style pass tests a rule's media with a few compares.
#pragma once

#include <cstdint>

#include "norvane/css/css_tokenizer.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

NV_ENUM_T(TCSSMedia, uint8_t, cmAll, cmAural, cmBraille, cmHandheld, cmPrint, cmProjection, cmScreen, cmTV,
          cmUnknown)
using TCSSMediaFlags = TSet<TCSSMedia, uint16_t>;

class TCSSMediaSet : public TObject {
  NV_CLASS(TCSSMediaSet, TObject)
 public:
  TCSSMediaSet() = default;

  // Reads one token into the tokenizer's Token and keeps it in Tokens
  // unless it is "{" or ";". Returns whether a token was read.
  bool AddNextToken(TCSSTokenizer& tokenizer);
  // "@media " and the query as written.
  UnicodeString AsString() const;
  // Whether a page of the medium and widths (in pixels) meets the set: a
  // set that isn't just cmAll must hold the medium; with width limits the
  // width must lie inside them, and the device width (the width when 0)
  // inside the device limits.
  bool CheckMedia(TCSSMedia media, int64_t width, int64_t deviceWidth) const noexcept;

  TCSSMediaFlags Media;
  int64_t MinWidth = 0;  // 0: not given
  int64_t MaxWidth = 0;
  int64_t MinDeviceWidth = 0;
  int64_t MaxDeviceWidth = 0;
  bool SizeQuery = false;  // a width limit is given
  bool Disabled = false;   // the last TestMediaSets found that it doesn't apply
  TCSSTokens Tokens;       // the query as written
};

// The set of every rule outside "@media": all flags clear. Created once,
// shared and never changed.
TCSSMediaSet* DefaultCSSMediaSet() noexcept;

}  // namespace norvane
