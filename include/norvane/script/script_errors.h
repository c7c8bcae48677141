// EHtScriptException: the one error class of the script engine. It carries
// where the error happened (position, line, unit, the text of that line) so
// that hosts and editors can point at it, and the script's call stack once
// the engine has filled it in.
#pragma once

#include <cstdint>

#include "norvane/runtime/exception.h"

namespace norvane {

class THtScriptParser;

class EHtScriptException : public Exception {
  NV_CLASS(EHtScriptException, Exception)
 public:
  using Exception::Exception;
  EHtScriptException(const UnicodeString& msg, THtScriptParser* sender, int32_t sourcePos, int32_t line,
                     const UnicodeString& scriptUnit, const UnicodeString& lastLineText)
      : Exception(msg),
        Sender(sender),
        SourcePos(sourcePos),
        Line(line),
        ScriptUnit(scriptUnit),
        LastLineText(lastLineText) {}

  THtScriptParser* Sender = nullptr;  // the parser whose script failed
  int32_t SourcePos = -1;             // 1-based position in the unit's text
  int32_t Line = 0;                   // 0-based line
  UnicodeString ScriptUnit;           // the unit's name
  UnicodeString LastLineText;         // the source line at Line
  UnicodeString ExceptionStack;       // the script's call stack as text
};

}  // namespace norvane
