// The magic functions of the script library: functions that work on the
// expression's stack, so they take any number of arguments of any type and
// can write into a variable argument (Inc, Delete, SetLength, ...).
//
// Write and Writeln print through ScriptOutput(), a replaceable hook that
// writes to stdout by default; hosts, the command line and tests swap it.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "norvane/runtime/unicode_string.h"
#include "norvane/script/script_func.h"
#include "norvane/script/script_variable.h"

namespace norvane {

// Receives the text of Write and Writeln (Writeln's ends in a line feed).
using THtScriptOutput = std::function<void(const UnicodeString& AText)>;
// The hook in use; an empty function restores stdout.
void SetScriptOutput(THtScriptOutput AOutput);
const THtScriptOutput& ScriptOutput();

// One magic function: its lower-case lookup name, the declaration shown in
// completion lists, and its body.
struct THtMagicFuncInfo {
  std::u16string_view Name;
  std::u16string_view Declaration;
  TMagicFunc Func;
  int32_t MinParamCount;
  int32_t MaxParamCount;  // -1: any number
  bool IsProcedure;       // no result
};

// The table, in registration order.
const THtMagicFuncInfo* ScriptMagicFunctions(int32_t& ACount) noexcept;
// By name ignoring case; nullptr when no magic function has that name.
const THtMagicFuncInfo* FindScriptMagicFunction(std::u16string_view AName) noexcept;

// Registers every magic function of the table (and the hidden
// `_createarray`) with AGlobal->RegisterMagicFunc.
void RegisterScriptMagicFunctions(THtScriptParser* AGlobal);

// The hidden function behind array literals: a variant array of its
// arguments, a range argument becoming a two-element array of its bounds.
void MagicCreateArray(TScriptExpression* Ex, TExVariable* const* Params, int32_t StackTop,
                      int32_t AParamCount, Variant& Res);

}  // namespace norvane
