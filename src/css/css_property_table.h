// Internal: the raw rows of the CSS property table, which
// css_properties.cpp turns into records.
#pragma once

#include <span>

#include "norvane/css/css_properties.h"

namespace norvane::detail {

struct TCSSPropRow {
  const char16_t* Name;
  TCSSProperty ID;
  TCSSPropertyType PropType;
  TCSSPropertyParentType ParentType;
  bool Inherited;
  float DefaultValue;
  bool Layout;
};

std::span<const TCSSPropRow> CSSPropRows() noexcept;

// Gives the records their sub-properties and enumerations; `rec` returns the
// record of a name that is in the table.
void ChainCSSPropRecs(TCSSPropRec* (*rec)(const char16_t* name));

}  // namespace norvane::detail
