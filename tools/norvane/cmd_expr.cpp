// Expression commands: evaluate one script expression, or show its postfix
// form (the order in which it runs).
#include <cstdio>
#include <string>

#include "cli_common.h"
#include "norvane/runtime/sysutils.h"
#include "norvane/script/script_errors.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_magic.h"

namespace norvane::cli {
namespace {

int RunEval(const Args& args);

constexpr Command kCommands[] = {
    {"eval", "[--postfix] EXPRESSION", "evaluate a script expression",
     "Parses EXPRESSION in the script language, runs it and prints its value\n"
     "(an array as [a, b, ...]). Names not declared anywhere are variables that\n"
     "hold nothing. Write and Writeln inside print before the value. An error\n"
     "prints its message on standard error and exits 1.\n"
     "  --postfix   print the postfix items instead of running\n",
     RunEval, "--postfix"},
};

std::string Show(const Variant& v) {
  if (v.IsArray()) {
    std::string out = "[";
    for (int32_t i = VarArrayLowBound(v); i <= VarArrayHighBound(v); ++i) {
      if (i > VarArrayLowBound(v)) out += ", ";
      out += Show(v.GetElement(i));
    }
    return out + "]";
  }
  switch (v.VarType()) {
    case varObject: return v.AsObject() ? "(object " + v.AsObject()->ClassName().ToUtf8() + ")" : "nil";
    case varRange: return std::to_string(v.RangeLow()) + ".." + std::to_string(v.RangeHigh());
    case varNull: return "Null";
    default: return VarToStr(v).ToUtf8();
  }
}

int RunEval(const Args& args) {
  Args rest = args;
  const bool postfix = TakeFlag(rest, "--postfix");
  ExpectArgs(kCommands[0], rest, 1, 1);
  const UnicodeString text = UnicodeString::FromUtf8(rest[0]);
  TScriptExpression e;
  try {
    e.Parse(text);
    if (postfix) {
      std::printf("%s\n", e.AsString().ToUtf8().c_str());
      return kExitOk;
    }
    Variant r;
    e.Calc(r);
    std::fflush(stdout);
    std::printf("%s\n", Show(r).c_str());
  } catch (const Exception& x) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", x.Message().ToUtf8().c_str());
    return kExitFailure;
  }
  return kExitOk;
}

}  // namespace

std::span<const Command> ExpressionCommands() { return kCommands; }

}  // namespace norvane::cli
