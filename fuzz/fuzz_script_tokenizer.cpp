// Tokenizes arbitrary text to its end twice: once with an error handler that
// tolerates everything, once with none (then only EHtScriptException may
// escape). Checks that the cursor stays inside the text and that every token
// moves it on, apart from the zero-width generic markers, which may not
// follow each other at one position.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "norvane/script/script_errors.h"
#include "norvane/script/script_tokenizer.h"
#include "norvane/script/script_unit.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

void Run(THtScriptUnit& unit, bool tolerant) {
  TScriptTokenizer tok(unit.UnitText);
  tok.ScriptUnit = &unit;
  if (tolerant) tok.FOnError = [](TScriptTokenizer*, const UnicodeString& msg) { return !msg.IsEmpty(); };
  const char16_t* start = tok.SP->Start();
  const char16_t* before = tok.SP->p;
  bool zeroWidth = false;
  try {
    while (tok.NextToken()) {
      const char16_t* p = tok.SP->p;
      Check(p >= start && p <= tok.SP->pend);
      const TScriptToken& t = tok.Token;
      Check(t.StartPos == int32_t(before - start) + 1 && t.EndPos == int32_t(p - start));
      if (p == before) {
        // Only a generic marker stands still, and never twice in a row.
        Check(t.TokenType == ttGenericLeft || t.TokenType == ttGenericRight);
        Check(!zeroWidth);
        zeroWidth = true;
      } else {
        zeroWidth = false;
      }
      Check(tok.Scope == tok.GetScope(0));
      Check(t.Line <= tok.Line && tok.Line >= 0);
      before = p;
    }
    Check(tok.Empty && *tok.SP->p == 0);
  } catch (const EHtScriptException& e) {
    Check(!tolerant);
    Check(e.Line >= 0 && e.SourcePos >= 1);
  }
  (void)unit.GetLine(tok.Line);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  THtScriptUnit unit(UnicodeString(u"Fuzz"));
  unit.UnitText = UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  Run(unit, true);
  Run(unit, false);
  return 0;
}
