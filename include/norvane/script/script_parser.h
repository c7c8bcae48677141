// THtScriptParser: one loaded script.
//
// It owns the tokenizer, the global variables, the lists of functions,
// classes and constants, the units, the statement tree and the run state.
// Use: Create(text), Parse, Compile, then Run or RunFunction. Errors are
// EHtScriptException with position, line, unit and the script's call stack.
// With TolerantMode set, parse errors become warnings of their unit and the
// parse runs to the end (for editors).
//
// Every parser looks up functions, classes and constants in its own lists
// and then in the shared global context HtScriptGlobal(), which holds the
// built-in library; it copies the global context's variables when made.
//
// A parser belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <unordered_map>
#include <vector>

#include "norvane/foundation/ht_object_list.h"
#include "norvane/runtime/format.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"
#include "norvane/runtime/variant.h"
#include "norvane/script/script_class.h"
#include "norvane/script/script_errors.h"
#include "norvane/script/script_func.h"
#include "norvane/script/script_statements.h"
#include "norvane/script/script_tokenizer.h"
#include "norvane/script/script_unit.h"

namespace norvane {

class THtScriptParser;
class THtScriptGlobal;
class TScriptExpression;
class TExVariable;
class TExVariables;
struct THtTypeStackItem;

NV_ENUM(THtScriptOption, soRequireVarDeclaration, soAutoFreeComponents)
using THtScriptOptions = TSet<THtScriptOption>;

NV_ENUM(THtScriptDebuggerMode, sdmNone, sdmPaused, sdmStepOver, sdmTraceInto, sdmGotoLine, sdmGotoFirstLine,
        sdmUntilReturn, sdmDisabled)

// Host hooks on variables: run on every read (get) or write (set) of a
// global that isn't a temporary.
using THtGetSetVarEvent = std::function<void(THtScriptParser* Sender, TExVariable* V)>;
using PHtGetSetVarEvent = const THtGetSetVarEvent*;
// Supplies the text of a used unit; answers false when it has none.
using THtGetUnitEvent =
    std::function<bool(THtScriptParser* Sender, const UnicodeString& ScriptUnitName, UnicodeString& UnitText)>;
// Called for each expression item while warnings are checked.
using THtExpressionCompileEvent = std::function<void(THtScriptParser* Sender, TScriptExpression* Ex,
                                                     int32_t ItemIndex, THtTypeStackItem* ResultType)>;

// Hooks a parser reports to. The base does nothing; a debugger overrides
// what it needs. A parser uses its FInstanceDebugger, or else the global
// HtScriptDebuggerGlobal; either may be null.
class THtScriptDebugger : public TObject {
  NV_CLASS(THtScriptDebugger, TObject)
 public:
  virtual void OnCreate(THtScriptParser* Sender) { (void)Sender; }
  virtual void OnDestroy(THtScriptParser* Sender) { (void)Sender; }
  virtual void OnRun(THtScriptParser* Sender) { (void)Sender; }
  virtual void OnRunFunction(THtScriptParser* Sender, TScriptFunc* ScriptFunc, const Variant* Params,
                             int32_t ParamCount) {
    (void)Sender, (void)ScriptFunc, (void)Params, (void)ParamCount;
  }
  virtual void OnStop(THtScriptParser* Sender) { (void)Sender; }
  virtual void OnPause(THtScriptParser* Sender) { (void)Sender; }
  virtual void OnResume(THtScriptParser* Sender) { (void)Sender; }
  virtual void OnException(THtScriptParser* Sender, Exception& E) { (void)Sender, (void)E; }
  virtual void ProcessMessages(THtScriptParser* Sender, bool IsMain) { (void)Sender, (void)IsMain; }
  virtual void OnConsoleLog(THtScriptParser* Sender, int32_t Kind, const UnicodeString& Text) {
    (void)Sender, (void)Kind, (void)Text;
  }
};

// The shared debugger of parsers without their own; not owned.
extern THtScriptDebugger* HtScriptDebuggerGlobal;

// Functions by lower-case name; a name holds its overloads in order. Owns
// the functions unless made with AOwns false.
class THtProcList {
 public:
  explicit THtProcList(bool AOwns = true) : FOwns(AOwns) {}
  ~THtProcList();
  THtProcList(const THtProcList&) = delete;
  THtProcList& operator=(const THtProcList&) = delete;

  void Add(TScriptFunc* AFunc);  // under AFunc->Name()
  // The first function of the name; with AllowInstance false only those
  // callable without an instance.
  TScriptFunc* FindProc(const UnicodeString& AName, bool AllowInstance = true) const;
  // The first overload whose parameter range covers AParamCount.
  TScriptFunc* FindProc(const UnicodeString& AName, int32_t AParamCount, bool Strict) const;
  // Removes (and frees, when owning) every function of the name.
  bool Remove(const UnicodeString& AName);
  // Takes AFunc out without freeing it.
  void Extract(TScriptFunc* AFunc);
  int32_t Count() const noexcept { return FCount; }

 private:
  std::unordered_map<UnicodeString, std::vector<TScriptFunc*>, UnicodeStringHash> FItems;
  bool FOwns;
  int32_t FCount = 0;
};

class THtScriptParser : public TObject {
  NV_CLASS(THtScriptParser, TObject)
 public:
  explicit THtScriptParser(const UnicodeString& AScript = UnicodeString());
  ~THtScriptParser() override;
  THtScriptParser(const THtScriptParser&) = delete;
  THtScriptParser& operator=(const THtScriptParser&) = delete;

  // -- Parsing ------------------------------------------------------------
  void Parse();
  void Compile();
  void ProcessUnit(const UnicodeString& AName);
  void ProcessConst();
  void ProcessVars();
  TScriptFunc* ProcessFuncDeclaration(bool AddToList, bool IsAnonymous, TScriptFunc* Existing);
  // The statement at the current token; nullptr for none (`;`, `end`, const).
  TScriptStatement* GetStatement(TScriptStatement* AParent);
  // A new expression parsed from the current token (the stop word only
  // documents the caller's intent).
  TScriptExpression* GetExpression(TReservedType AStopWord = rtNone);
  // Reads the next token that isn't comment or space and tests its type.
  bool Check(TScriptTokenTypes ATypes, std::u16string_view AMessage, bool ARaiseAtEnd = true);
  // The same on the current token, after skipping comment and space.
  bool CheckCurrent(TScriptTokenTypes ATypes, std::u16string_view AMessage);
  void TokenValue(const TScriptToken& AToken, Variant& AValue);
  // A type word to its variable type code (22 for a class name, 13 for "").
  static int32_t TypeCode(const UnicodeString& ALowerName);
  bool OnError(TScriptTokenizer* Sender, const UnicodeString& AMessage);

  // -- Lookup (own lists first, then the global context) ----------------------
  // Locals of MainLocalFunc, locals of LocalFunc, then globals. ACreate adds
  // a missing global when AForceCreate is true or soRequireVarDeclaration
  // is off.
  TExVariable* GetVariable(const UnicodeString& AName, bool ACreate = false, bool AForceCreate = false);
  TScriptFunc* GetFunction(const UnicodeString& AName);
  TScriptClass* GetClass(const UnicodeString& AName);
  bool GetConst(const UnicodeString& AName, Variant& AValue);
  THtScriptUnit* UnitbyName(const UnicodeString& AName) const;
  THtScriptUnit* GetOrCreateUnit(const UnicodeString& AName);
  THtScriptUnit* GetUnit(int32_t I) const;
  int32_t GetUnitCount() const noexcept { return int32_t(FUnitOrder.size()); }
  // Marks a line of the current unit as holding code (Flags ORed in).
  void SetCodeLine(int32_t ALine, int32_t AFlags);
  // The unit the tokenizer is reading.
  THtScriptUnit* CurrentUnit() const;

  // -- Registration -----------------------------------------------------------
  // "Name(a: integer; s: string): string" with a C++ function (see
  // script_func.h for the types). Raises "Error registering function %s: %s".
  TScriptFunc* RegisterFunc(const UnicodeString& ADeclaration, void* APointer, TObject* AObject = nullptr,
                            TClass AClass = nullptr, bool IsMethod = false, bool AutoFreeResult = false,
                            bool AddToList = true);
  TScriptFunc* RegisterMagicFunc(const UnicodeString& ADeclaration, TMagicFunc AFunc);
  bool UnregisterFunc(const UnicodeString& AName);
  // "Constant %s already registered" for a name with another value.
  void RegisterConst(const UnicodeString& AName, const Variant& AValue);
  // A class as scripts see it; the same TScriptClass for a class registered twice.
  TScriptClass* RegisterClass(const UnicodeString& AName, CHtScriptEnumerator AEnumerator, TClass AClass);
  // A global variable holding an object.
  TExVariable* RegisterObject(const UnicodeString& AName, TObject* AObject, TClass AClass = nullptr);
  THtProcList& Procs() noexcept { return ProcList; }

  // -- Running --------------------------------------------------------------
  void Run();
  void RunFunction(const UnicodeString& AName, std::initializer_list<Variant> Args, Variant& Result);
  void RunFunction(TScriptFunc* AFunc, const Variant* Args, int32_t ArgCount, Variant& Result);
  bool RunFunctionIfExists(const UnicodeString& AName, std::initializer_list<Variant> Args);
  // Arguments copied in; var parameters copied back into Args.
  void RunVarFunction(TScriptFunc* AFunc, std::vector<Variant>& Args, Variant& Result);
  void Evaluate(const UnicodeString& AText, Variant& Result);
  // A function from text: "function(...)..." as it stands, otherwise the
  // text is wrapped as a body. With AAutoFree the parser keeps and frees it;
  // otherwise the caller owns it.
  TScriptFunc* CreateAnonymousFunction(const UnicodeString& AText, bool AAutoFree,
                                       const UnicodeString& AResultType = UnicodeString());
  // Registers an object the script made, freed with the parser.
  void CreateObject(TObject* AObject);
  // A stand-alone function freed with the parser.
  TScriptFunc* CreateMethod();
  // Asks a running script to stop at the next statement.
  void Halt() noexcept { FHalt = true; }

  Variant GetVar(const UnicodeString& AName);
  void SetVar(const UnicodeString& AName, const Variant& AValue);
  TObject* GetObj(const UnicodeString& AName);
  void SetObj(const UnicodeString& AName, TObject* AObject);

  // Run-time errors: message + " at line %d %s" and the call stack.
  [[noreturn]] void RunError(const UnicodeString& AMessage);
  [[noreturn]] void RunErrorFmt(std::u16string_view AMessage, FormatArgs Args);
  // Builds ExceptionStack once per failure.
  void SaveExceptionStack();
  int32_t CurrentLine() const;  // 0-based, of the expression being run
  int32_t CurrentPos() const;
  // Stepping hook, at every expression evaluation.
  void CheckPause();
  THtScriptDebugger* Debugger() const noexcept {
    return FInstanceDebugger ? FInstanceDebugger : HtScriptDebuggerGlobal;
  }

  const UnicodeString& ProgramName() const noexcept { return FProgramName; }
  void SetProgramName(const UnicodeString& AName) { FProgramName = AName; }
  // All warnings of every unit, in unit order.
  std::vector<THtScriptWarning*> AllWarnings() const;

  // -- State -----------------------------------------------------------------
  THtScriptDebugger* FInstanceDebugger = nullptr;  // not owned
  TScriptTokenizer* Tokenizer = nullptr;
  THtProcList ProcList{false};  // the parser owns its functions in FFuncs
  THtClassList FClassList;
  THtConstList fConstList;
  THtGetSetVarEvent fOnGetVar, fOnSetVar;
  THtObjectList MethodList{true};
  THtScriptParser* fScriptGlobal = nullptr;
  UnicodeString fName;
  THtScriptOptions fOptions;
  THtGetUnitEvent fOnGetUnit;
  THtExpressionCompileEvent FOnExpressionCompile;
  std::vector<TScriptFunc*> FLocalProcList;  // script functions in declaration order
  TScriptFunc* LocalFunc = nullptr;
  TScriptFunc* MainLocalFunc = nullptr;
  THtObjectList ScriptObjects{true};
  int32_t FDebugLastExecutedLine = -1;
  int32_t fDebugLastExecutedPos = -1;
  int32_t fDebugRuntoLine = -1;
  THtScriptUnit* FDebugRuntoUnit = nullptr;
  THtScriptUnit* FDebugLastExecutedUnit = nullptr;
  int32_t FDebugLastStackCount = -1;
  THtScriptDebuggerMode FDebuggerMode = sdmNone;
  Exception* CurrentException = nullptr;  // the exception in the innermost except
  bool FHalt = false;
  UnicodeString FProgramName;
  TScriptStatement* Tree = nullptr;
  UnicodeString Script;
  TExVariables* Vars = nullptr;
  int32_t ExceptionLine = 0;
  UnicodeString ExceptionLineText;
  TObject* ExceptionObject = nullptr;
  UnicodeString ExceptionStack;
  std::vector<TScriptFunc*> DebugStack;
  std::vector<int32_t> DebugLineStack;
  TScriptExpression* CurrentExpression = nullptr;
  THtScriptUnit* MainUnit = nullptr;
  UnicodeString ScriptID;
  bool TolerantMode = false;
  intptr_t Tag = 0;
  TObject* TagObject = nullptr;
  // Nesting limit of script calls (see script_func.h).
  int32_t MaxCallDepth = kDefaultMaxCallDepth;
  int32_t FCallDepth = 0;

 protected:
  // For the global context, which has no global context of its own.
  struct NoGlobal {};
  THtScriptParser(const UnicodeString& AScript, NoGlobal);

 private:
  void Init(const UnicodeString& AScript, bool AUseGlobal);
  void ProcessLocals(TScriptFunc* AFunc);
  int32_t ReadTypeWord(int32_t& AType, TScriptClass*& AClass, std::u16string_view AMessage);
  TScriptFunc* DoRegisterFunc(const UnicodeString& ADeclaration, bool ATolerant);
  void Next();
  friend class TScriptFunc;

  std::unordered_map<UnicodeString, std::unique_ptr<THtScriptUnit>, UnicodeStringHash> FUnits;  // lower-case name
  std::vector<THtScriptUnit*> FUnitOrder;
  std::vector<std::unique_ptr<TScriptFunc>> FFuncs;  // every function parsed here
  bool FParsed = false;
  bool FCompiled = false;
  int32_t FUnitDepth = 0;  // nesting of used units being parsed
  // Nesting of statements being parsed; a text nested deeper is refused
  // ("Statements nested too deeply").
  static constexpr int32_t kMaxNesting = 200;
  int32_t FNesting = 0;
  void EnterNesting();
};

// The shared global context: a parser that holds no script but what every
// script can call. Made and filled at the first call of HtScriptGlobal().
class THtScriptGlobal : public THtScriptParser {
  NV_CLASS(THtScriptGlobal, THtScriptParser)
 public:
  THtScriptGlobal();
  virtual void RegisterInternals();
  virtual void RegisterMagicFunctions();
  virtual void RegisterMathFunctions();
  virtual void RegisterSystemFunctions();
  virtual void RegisterSysUtilsFunctions();
  virtual void RegisterAll();
};

THtScriptGlobal* HtScriptGlobal();

}  // namespace norvane
