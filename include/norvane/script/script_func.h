// TScriptFunc: the one kind of callable of the script engine.
//
// A TScriptFunc is a script function (a body of statements with its own
// locals), a function of a shared library (`external`), a host function or
// method registered with a C++ function pointer, or a magic function that
// works on the expression's stack directly.
//
// Calls. Arguments sit on the expression's run stack, an array of
// TExVariable pointers: `Params[StackTop - AParamCount + 1 + i]` is
// argument i, StackTop being the index of the last argument.
//
// Locals. A script function has one set of locals, made at parse time:
// first its parameters in order, then `result` when it returns a value,
// then the variables of its `var` section. A recursive call copies the
// current values into a frame and writes them back when it returns, so
// each level sees its own values. `var` parameters are copy in, copy out:
// the caller sees a write only after the function returns.
//
// Depth. Every nested call of a script function counts against
// THtScriptParser::MaxCallDepth (default kDefaultMaxCallDepth, 1000): a
// deeper call raises EHtScriptException "Stack overflow: call depth of %d
// exceeded" instead of exhausting the machine stack. The default leaves
// room within an 8 MB thread stack, sanitizer builds included; a host that
// runs scripts on a smaller stack lowers it.
//
// Host functions. RegisterFunc takes a declaration ("Twice(x: integer):
// integer") and a plain C++ function whose parameters and result match the
// declared types:
//   integer, longint, pointer, set -> int32_t;  cardinal -> uint32_t;
//   int64 -> int64_t;  smallint, word -> int16_t / uint16_t;  byte -> uint8_t;
//   boolean -> bool;  single -> float;  double, tdatetime, currency -> double;
//   extended -> long double;  char -> char16_t;  string, hstring,
//   widestring, ansistring, json -> const UnicodeString& (result:
//   UnicodeString);  variant, untyped and `array of` -> const Variant&
//   (result: Variant);  a class name -> TObject* (or a derived pointer).
//   A `var` parameter is a non-const reference of its type.
// A bound object or a method gets the instance as an extra first argument
// (TObject*). Calls are made by a direct thunk for the common shapes and
// through libffi for the rest. On targets other than x86-64 a host
// function returning UnicodeString or Variant must match a direct thunk.
//
// External functions (`function f(x: integer): integer; external
// 'libfoo.so' name 'foo';`) are loaded with dlopen/dlsym at their first
// call and called with the platform's C calling convention. Parameters:
// smallint, integer, boolean, byte (as int) and widestring/pchar (a
// pointer to the zero-terminated UTF-16 units, alive during the call).
// Results: none, smallint, integer, boolean, or a pointer as an object.
#pragma once

#include <cstdint>
#include <vector>

#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"
#include "norvane/runtime/variant.h"

namespace norvane {

class THtScriptParser;
class THtScriptUnit;
class TScriptClass;
class TScriptExpression;
class TScriptStatement;
class TScriptStatementSequence;
class TExVariable;
class TExVariables;
class TScriptFunc;

NV_ENUM(TFuncType, ftFunction, ftPropertyInfo, ftMethodInfo, ftMethod, ftRttiProperty, ftRTTIField,
        ftRTTIMethod, ftHtMethod)

NV_ENUM(THtSimpleParam, smNone, smProc, smInteger, smInt64, smBoolean, smString, smSingle, smDouble,
        smExtended, smObject, smIntObject, smStringString)

// The deepest nesting of script function calls a parser allows by default.
constexpr int32_t kDefaultMaxCallDepth = 1000;

// A magic function: works on the expression's stack directly. Stack[StackTop
// - ParamCount + 1 .. StackTop] are the arguments (variables, not copies, so
// `Inc(x)` can write x); the value goes to Res.
using TMagicFunc = void (*)(TScriptExpression* Ex, TExVariable* const* Stack, int32_t StackTop,
                            int32_t ParamCount, Variant& Res);

// The calling thunk of a host function, chosen by TScriptFunc::Prepare.
using TCallPascalFunc = void (*)(TScriptFunc* Func, TObject* AObject, TExVariable* const* Params,
                                 int32_t StackTop, int32_t AParamCount, Variant& Res);

// The caller of host functions with array (bit 8192) or record (36)
// parameters or results, a variant result, or var parameters: the bridge to
// host classes installs one that works by reflection. While it is null such
// functions go through the general caller, which passes arrays and variants
// as Variant and var parameters by reference.
extern TCallPascalFunc CallPascalFuncRTTI;

struct TFuncParam {
  int32_t ParamType = 0;  // a variable type code; 0 untyped
  TScriptClass* ParamClass = nullptr;
  UnicodeString Name;
  bool VarFlag = false;
  Variant DefaultValue;
  TExVariable* Value = nullptr;  // the local that holds it, for script functions
};

class TScriptFunc : public TObject {
  NV_CLASS(TScriptFunc, TObject)
 public:
  static constexpr int32_t MaxParams = 30;

  // AOwns: the function owns its body and locals (false for a copy that
  // shares them with another function).
  explicit TScriptFunc(bool AOwns = true);
  ~TScriptFunc() override;

  void SetName(const UnicodeString& AName);  // keeps the lower-case name
  const UnicodeString& Name() const noexcept { return fName; }
  const UnicodeString& OriginalName() const noexcept { return FOriginalName; }

  // Picks the calling thunk of a host function.
  void Prepare();
  // Compiles the body (refuses break/continue outside loops).
  void Compile();
  void Run(THtScriptParser* AParser, TObject* AObject, TExVariable* const* Params, int32_t StackTop,
           int32_t AParamCount, Variant& Res);
  void CallLocalFunc(TExVariable* const* Params, int32_t StackTop, int32_t AParamCount, Variant& Res);
  void CallDllFunc(TExVariable* const* Params, int32_t StackTop, int32_t AParamCount, Variant& Res);
  // The expression of the body at source position Pos, if any.
  bool FindExpression(int32_t Pos, TScriptExpression*& AExpression, int32_t& AIndex);

  // "name(a: integer; var b: string): integer", for messages.
  UnicodeString ExpectedForm() const;
  bool IsScript() const noexcept { return fBody != nullptr; }
  bool IsHost() const noexcept { return FuncPtr != nullptr || PascalCaller != nullptr; }

  bool IsExternal = false;
  TMagicFunc MagicFunc = nullptr;
  void* DllInstance = nullptr;  // dlopen handle, at first call
  void* FuncPtr = nullptr;
  TObject* ObjectPtr = nullptr;  // the bound instance
  UnicodeString FunName;         // name in the library
  UnicodeString fName;           // lower case
  UnicodeString FOriginalName;   // as declared
  UnicodeString DllName;
  TScriptStatement* fBody = nullptr;
  // fBody seen as a statement sequence (nil when it is another statement),
  // worked out once for the body it was taken from.
  const TScriptStatement* fSeqOf = nullptr;
  TScriptStatementSequence* fSeq = nullptr;
  int32_t RecursionDepth = 0;
  TCallPascalFunc PascalCaller = nullptr;
  TExVariables* LocalVars = nullptr;
  std::vector<Variant> LocalVarsValues;  // initial values of the locals
  TClass ClassPtr = nullptr;
  THtScriptParser* Owner = nullptr;
  bool AutoFreeResult = false;
  UnicodeString Declaration;
  UnicodeString Description;
  THtScriptUnit* ScriptUnit = nullptr;
  int32_t DeclarationLine = 0;
  int32_t ImplementationLine = 0;
  bool IsPublic = false;
  bool IsConstructor = false;
  bool IsDestructor = false;
  bool IsMethod = false;
  int32_t ParamCount = 0;
  int32_t MinParamCount = 0;
  uint16_t ResultType = 0;  // 0 for a procedure
  UnicodeString DeclaredResultType;
  TScriptClass* ResultClass = nullptr;
  TFuncParam Params[MaxParams];

 private:
  bool FOwns;
  void* FFfi = nullptr;  // prepared libffi call, built at first use
  std::vector<Variant> FFrames;  // saved locals of the calls in progress, innermost last
  friend struct ScriptHostCall;
};

}  // namespace norvane
