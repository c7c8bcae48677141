#include "norvane/script/script_unit.h"

#include <memory>

#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(THtScriptWarning, "htscriptparse")
NV_CLASS_IMPL(THtScriptWarnings, "htscriptparse")
NV_CLASS_IMPL(THtScriptUnit, "htscriptparse")

void THtScriptUnit::SetUnitName(const UnicodeString& name) {
  FUnitName = name;
  fUnitNameLower = LowerCase(name);
}

UnicodeString ScriptSourceLine(std::u16string_view text, int32_t line) {
  if (line < 0) return UnicodeString();
  const char16_t* p = text.data();
  const char16_t* end = p + text.size();
  if (p < end && *p == 0xFEFF) ++p;  // the tokenizer reads behind a BOM too
  for (; line > 0; --line) {
    while (p < end && *p != u'\r' && *p != u'\n') ++p;
    if (p == end) return UnicodeString();
    if (*p++ == u'\r' && p < end && *p == u'\n') ++p;
  }
  const char16_t* q = p;
  while (q < end && *q != u'\r' && *q != u'\n') ++q;
  return q == p ? UnicodeString() : UnicodeString(p, int32_t(q - p));
}

THtScriptWarning* THtScriptUnit::AddWarning(const UnicodeString& msg, int32_t line, int32_t pos,
                                            int32_t endPos, THtWarningType warningType) {
  auto owned = std::make_unique<THtScriptWarning>();
  THtScriptWarning* w = owned.get();
  w->Message = msg;
  w->SourceLine = line;
  w->SourcePos = pos;
  w->EndPos = endPos;
  w->WarningType = warningType;
  FWarnings.Add(w);
  owned.release();
  return w;
}

}  // namespace norvane
