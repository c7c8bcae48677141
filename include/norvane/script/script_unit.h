// THtScriptUnit: one source unit of a script (the main program or a used
// unit): its name, its text, and the warnings an editor shows for it.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "norvane/foundation/ht_object_list.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

// Line `line` (0-based) of `text` without its line end; empty when out of
// range. CR LF, a lone CR and a lone LF each end a line, as the tokenizer
// counts them; a leading BOM is not part of the first line.
UnicodeString ScriptSourceLine(std::u16string_view text, int32_t line);

NV_ENUM(THtWarningType, swtError, swtWarning, swtHint)

class THtScriptWarning : public TObject {
  NV_CLASS(THtScriptWarning, TObject)
 public:
  UnicodeString Message;
  int32_t SourceLine = 0;  // 0-based
  int32_t SourcePos = 0;   // 1-based start
  int32_t EndPos = 0;
  THtWarningType WarningType = swtError;
};

// Owning list of THtScriptWarning.
class THtScriptWarnings : public THtObjectList {
  NV_CLASS(THtScriptWarnings, THtObjectList)
 public:
  THtScriptWarnings() : THtObjectList(true) {}
  THtScriptWarning* Items(int32_t index) const { return static_cast<THtScriptWarning*>(Get(index)); }
};

class THtScriptUnit : public TObject {
  NV_CLASS(THtScriptUnit, TObject)
 public:
  THtScriptUnit() = default;
  explicit THtScriptUnit(const UnicodeString& name) { SetUnitName(name); }

  const UnicodeString& UnitName() const noexcept { return FUnitName; }
  const UnicodeString& UnitNameLower() const noexcept { return fUnitNameLower; }
  void SetUnitName(const UnicodeString& name);

  // Source line `line` (0-based) of UnitText (see ScriptSourceLine).
  UnicodeString GetLine(int32_t line) const { return ScriptSourceLine(UnitText.view(), line); }

  THtScriptWarning* AddWarning(const UnicodeString& msg, int32_t line, int32_t pos, int32_t endPos,
                               THtWarningType warningType);
  THtScriptWarnings& Warnings() noexcept { return FWarnings; }
  const THtScriptWarnings& Warnings() const noexcept { return FWarnings; }

  // The byte per line of the code map: bit 0 marks a line that holds code,
  // a flow statement ORs in 4 shl its kind. Grows in steps of 100 lines.
  void SetCodeLine(int32_t line, uint8_t flags) {
    if (line < 0) return;
    if (size_t(line) >= fCodeLines.size()) fCodeLines.resize(size_t(line) + 100, 0);
    fCodeLines[size_t(line)] |= flags;
  }
  bool HasCodeAt(int32_t line) const noexcept {
    return line >= 0 && size_t(line) < fCodeLines.size() && (fCodeLines[size_t(line)] & 1) != 0;
  }
  const std::vector<uint8_t>& GetLinesAttributes() const noexcept { return fCodeLines; }

  bool Processed = false;   // its text has been parsed
  UnicodeString UnitText;

 private:
  UnicodeString FUnitName;
  UnicodeString fUnitNameLower;
  THtScriptWarnings FWarnings;
  std::vector<uint8_t> fCodeLines;
};

}  // namespace norvane
