// The script engine end to end: declarations, statements, calls, host and
// external functions, and the entry points a host uses.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "norvane/runtime/classes.h"
#include "norvane/runtime/sysutils.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_magic.h"
#include "norvane/script/script_parser.h"
#include "norvane/script/script_variable.h"

namespace norvane {
namespace {

// Runs a script and answers what it wrote.
class ScriptRun {
 public:
  explicit ScriptRun(const char* text) : parser(UnicodeString::FromUtf8(text)) {
    SetScriptOutput([this](const UnicodeString& s) { out += s.ToUtf8(); });
  }
  ~ScriptRun() { SetScriptOutput(nullptr); }
  std::string Run() {
    parser.Parse();
    parser.Compile();
    parser.Run();
    return out;
  }
  THtScriptParser parser;
  std::string out;
};

std::string Output(const char* text) { return ScriptRun(text).Run(); }

// The message of the EHtScriptException the script raises ("" if none).
std::string Failure(const char* text, THtScriptOptions options = {}) {
  ScriptRun run(text);
  run.parser.fOptions = options;
  try {
    run.Run();
  } catch (const Exception& e) {
    return e.Message().ToUtf8();
  }
  return "";
}

bool StartsWith(const std::string& s, const std::string& prefix) { return s.rfind(prefix, 0) == 0; }

TEST(ScriptParser, ProgramsWithAndWithoutHeader) {
  ScriptRun bare("x := 1");
  bare.Run();
  auto* tree = dynamic_cast<TScriptStatementSequence*>(bare.parser.Tree);
  ASSERT_NE(tree, nullptr);
  EXPECT_EQ(tree->List.size(), 1u);
  EXPECT_EQ(bare.parser.GetVar(u"x").AsInteger(), 1);

  ScriptRun named("program Demo; begin Writeln('hi') end");
  EXPECT_EQ(named.Run(), "hi\n");
  EXPECT_EQ(named.parser.ProgramName(), u"Demo");
  EXPECT_EQ(named.parser.MainUnit->UnitName(), u"Demo");
  EXPECT_EQ(named.parser.UnitbyName(u"demo"), named.parser.MainUnit);

  // Declarations only: no statements, an empty tree.
  ScriptRun decls("const k = 5; var v: integer = 7;");
  EXPECT_EQ(decls.Run(), "");
  EXPECT_EQ(decls.parser.GetVar(u"v").AsInteger(), 7);
}

TEST(ScriptParser, DeclarationErrors) {
  struct Case {
    const char* text;
    const char* message;  // the start of the message
  } cases[] = {
      {"type TFoo = class end;", "Unexpected token type at line 1"},
      {"const a = 1 + 2;", "; expected at line 1"},
      {"var s: string = 'a' - 'b';", "Only + is allowed in var declaration"},
      {"var s: string = 'a' + x;", "x is not allowed in var declaration"},
      {"begin x := 1; end.", "Unexpected token  at line 1"},
      {"var a: integer;\nvar a: string;", "Variable a already declared at line 2"},
      {"function f: integer; begin end;\nfunction F: integer; begin end;",
       "Duplicate function declaration: F  at line 2"},
      {"function f(a: integer; b) begin end;", "; or : expected"},
      {"function f(a: integer = ) : integer; begin end;", "Default value expected"},
      {"function Max(a: integer): integer; begin end;", "Duplicate function declaration: Max "},
      {"const = 1;", "const name expected"},
      {"uses Nowhere; begin end", ""},  // no header: no uses section, `uses` is a bad token
      {"unit U; uses Nowhere; begin end", "Unit nowhere not found"},
      {"function f; external 1;", "DLL name expected"},
      {"function f; external 'lib' nam 'x';", "'name' expected"},
      {"if x then y := 1; else y := 2;", "Unexpected token else at line 1"},
      {"x := ;", "Expression expected"},
      {"for i = 1 to 2 do ;", ":= expected."},
      {"for i := 1 do ;", "to expected"},
      {"while x begin end;", "do expected"},
      {"repeat x := 1;", "until expected"},
      {"case x do 1: ; end", "of expected"},
      {"try x := 1; end", "except of finally expected"},
      {"begin x := 1;", "end expected but '' found"},
  };
  for (const Case& c : cases) {
    std::string got = Failure(c.text);
    if (*c.message == 0)
      EXPECT_TRUE(StartsWith(got, "Unexpected token uses")) << c.text << " -> " << got;
    else
      EXPECT_TRUE(StartsWith(got, c.message)) << c.text << " -> [" << got << "]";
  }
}

TEST(ScriptParser, ExceptionCarriesPosition) {
  THtScriptParser p(u"x := 1;\ny := 2 3;");
  try {
    p.Parse();
    FAIL() << "no exception";
  } catch (const EHtScriptException& e) {
    EXPECT_EQ(e.Line, 1);
    EXPECT_EQ(e.ScriptUnit, u"Program");
    EXPECT_EQ(e.LastLineText, u"y := 2 3;");
    EXPECT_EQ(e.Sender, &p);
    EXPECT_GT(e.SourcePos, 8);
  }
  // A run-time error names the line and the call stack.
  ScriptRun run("procedure Inner;\nbegin\n  exit(5);\nend;\nprocedure Outer; begin Inner(); end;\nOuter();");
  try {
    run.Run();
    FAIL() << "no exception";
  } catch (const EHtScriptException& e) {
    std::string msg = e.Message().ToUtf8();
    EXPECT_TRUE(StartsWith(msg, "No Result variable found for exit() at line 3")) << msg;
    EXPECT_EQ(e.ExceptionStack, u"Program.Outer [6]\r\nProgram.Inner [5]");
    EXPECT_EQ(e.Line, 2);
  }
}

TEST(ScriptParser, VarDeclarations) {
  ScriptRun run(
      "const greeting = 'hi';\n"
      "var s: string = greeting + ' there' + #33;\n"
      "    n, m: integer = 3;\n"
      "    e: string;\n"
      "    list: array of integer;\n"
      "    big: int64 = 5000000000;\n"
      "    t: string = 'x';\n"
      "begin t := null; n := '12'; end");
  run.Run();
  EXPECT_EQ(run.parser.GetVar(u"s").AsString(), u"hi there!");
  EXPECT_EQ(run.parser.GetVar(u"m").AsInteger(), 3);
  // A declared string is never unassigned; null becomes ''; '12' becomes 12.
  EXPECT_EQ(run.parser.GetVar(u"e").VarType(), varUString);
  EXPECT_EQ(run.parser.GetVar(u"t").VarType(), varUString);
  EXPECT_EQ(run.parser.GetVar(u"t").AsString(), u"");
  EXPECT_EQ(run.parser.GetVar(u"n").VarType(), varInteger);
  EXPECT_EQ(run.parser.GetVar(u"n").AsInteger(), 12);
  EXPECT_EQ(run.parser.GetVar(u"big").AsInt64(), 5000000000LL);
  TExVariable* list = run.parser.GetVariable(u"list");
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->fDataType, 8192 | 3);
  EXPECT_EQ(THtScriptParser::TypeCode(u"word"), 2);
  EXPECT_EQ(THtScriptParser::TypeCode(u"extended"), 10);
  EXPECT_EQ(THtScriptParser::TypeCode(u"tbytes"), 8209);
  EXPECT_EQ(THtScriptParser::TypeCode(u"TStringList"), 22);
  EXPECT_EQ(THtScriptParser::TypeCode(u""), 13);
}

TEST(ScriptParser, FunctionHeaders) {
  ScriptRun run(
      "{ Adds two numbers. }\n"
      "function Add(a, b: integer; c: integer = 10): integer;\n"
      "begin result := a + b + c; end;\n"
      "function Odd2(a: integer = 1; b: integer): integer; begin result := a + b; end;\n"
      "procedure Swap(var x, y: variant); var t: variant; begin t := x; x := y; y := t; end;");
  run.Run();
  TScriptFunc* add = run.parser.GetFunction(u"add");
  ASSERT_NE(add, nullptr);
  EXPECT_EQ(add->ParamCount, 3);
  EXPECT_EQ(add->MinParamCount, 2);
  EXPECT_EQ(add->ResultType, 3);
  EXPECT_EQ(add->Params[2].DefaultValue.AsInteger(), 10);
  EXPECT_EQ(add->Description, u"{ Adds two numbers. }");
  EXPECT_EQ(add->Declaration, u"function Add(a, b: integer; c: integer = 10): integer;");
  // A default before a parameter without one is useless.
  EXPECT_EQ(run.parser.GetFunction(u"odd2")->MinParamCount, 2);
  TScriptFunc* swap = run.parser.GetFunction(u"swap");
  EXPECT_TRUE(swap->Params[0].VarFlag);
  EXPECT_TRUE(swap->Params[1].VarFlag);
  EXPECT_EQ(swap->ResultType, 0);

  // 30 parameters parse; a 31st is refused.
  std::string params;
  for (int i = 0; i < 30; ++i) params += (i ? "; p" : "p") + std::to_string(i) + ": integer";
  EXPECT_EQ(Failure(("function f(" + params + "): integer; begin result := p29; end;").c_str()), "");
  std::string msg = Failure(("function f(" + params + "; p30: integer): integer; begin end;").c_str());
  EXPECT_TRUE(StartsWith(msg, "Too many parameters")) << msg;
}

TEST(ScriptParser, UnitsAndUses) {
  const char16_t* unitText =
      u"unit Helpers;\n"
      u"interface\n"
      u"function Twice(x: integer): integer;\n"
      u"implementation\n"
      u"function Twice(whatever: string): integer;\n"  // the list isn't read again
      u"begin result := x * 2; end;\n"
      u"initialization\n"
      u"  Writeln('never');\n"
      u"end.";
  ScriptRun run("program P; uses Helpers; begin Writeln(Twice(21)); end");
  int asked = 0;
  run.parser.fOnGetUnit = [&](THtScriptParser*, const UnicodeString& name, UnicodeString& text) {
    ++asked;
    if (!SameText(name, u"helpers")) return false;
    text = unitText;
    return true;
  };
  EXPECT_EQ(run.Run(), "42\n");
  EXPECT_EQ(asked, 1);
  THtScriptUnit* unit = run.parser.UnitbyName(u"Helpers");
  ASSERT_NE(unit, nullptr);
  EXPECT_TRUE(unit->Processed);
  TScriptFunc* twice = run.parser.GetFunction(u"twice");
  EXPECT_TRUE(twice->IsPublic);
  EXPECT_EQ(twice->ScriptUnit, unit);

  // An error inside a unit names the unit.
  ScriptRun bad("program P; uses Broken; begin end");
  bad.parser.fOnGetUnit = [](THtScriptParser*, const UnicodeString&, UnicodeString& text) {
    text = u"unit Broken;\ninterface\nvar x: ;\nimplementation\nend.";
    return true;
  };
  try {
    bad.Run();
    FAIL();
  } catch (const EHtScriptException& e) {
    // A used unit is known by the name the uses list gives, in lower case.
    EXPECT_EQ(e.ScriptUnit, u"broken");
    EXPECT_EQ(e.Message(), u"Type name expected at line 3 unit broken");
  }

  // Units that use each other stop with an error, not a stack overflow.
  ScriptRun cycle("program P; uses A; begin end");
  cycle.parser.fOnGetUnit = [](THtScriptParser*, const UnicodeString& name, UnicodeString& text) {
    text = SameText(name, u"a") ? u"unit A; uses B; implementation end." : u"unit B; uses A; implementation end.";
    return true;
  };
  EXPECT_THROW(cycle.Run(), EHtScriptException);
}

TEST(ScriptParser, TolerantModeCollectsEveryError) {
  THtScriptParser p(u"x := 1 2;\nif a then b; else c;\nbreak;\nvar z;\nWriteln(1);");
  p.TolerantMode = true;
  p.Parse();
  p.Compile();
  std::vector<std::string> messages;
  for (THtScriptWarning* w : p.AllWarnings()) messages.push_back(w->Message.ToUtf8());
  ASSERT_GE(messages.size(), 4u);
  EXPECT_TRUE(StartsWith(messages[0], "Operation expected but 2 found at line 1")) << messages[0];
  bool sawElse = false, sawBreak = false;
  for (auto& m : messages) {
    sawElse |= StartsWith(m, "Unexpected token else at line 2");
    sawBreak |= m == "BREAK/CONTINUE should be used inside loop only";
  }
  EXPECT_TRUE(sawElse);
  EXPECT_TRUE(sawBreak);

  // Text after a stray end is a warning, in either mode.
  THtScriptParser tail(u"x := 1; end. more");
  tail.Parse();
  ASSERT_EQ(tail.MainUnit->Warnings().Count(), 1);
  EXPECT_EQ(tail.MainUnit->Warnings().Items(0)->Message, u"Text after final end - ignored");
  EXPECT_EQ(tail.MainUnit->Warnings().Items(0)->WarningType, swtWarning);
}

TEST(ScriptParser, NestingAndCodeLines) {
  // Hostile nesting is refused with an error, not a crash of the stack.
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "begin ";
  EXPECT_TRUE(StartsWith(Failure(deep.c_str()), "Statements nested too deeply"));
  deep = "x := ";
  for (int i = 0; i < 5000; ++i) deep += "if a then ";
  EXPECT_TRUE(StartsWith(Failure(deep.c_str()), "Expressions nested too deeply"));
  deep.clear();
  for (int i = 0; i < 5000; ++i) deep += "f := function() begin ";
  EXPECT_TRUE(StartsWith(Failure(deep.c_str()), "Statements nested too deeply"));
  std::string fine;
  for (int i = 0; i < 50; ++i) fine += "begin ";
  fine += "Write(1);";
  for (int i = 0; i < 50; ++i) fine += " end";
  EXPECT_EQ(Output(fine.c_str()), "1");

  // Lines with code are marked; a flow statement adds its kind's bit.
  THtScriptParser p(u"x := 1;\n\nwhile x < 3 do\n  begin x := x + 1; break; end;");
  p.Parse();
  EXPECT_TRUE(p.MainUnit->HasCodeAt(0));
  EXPECT_FALSE(p.MainUnit->HasCodeAt(1));
  EXPECT_TRUE(p.MainUnit->HasCodeAt(2));
  EXPECT_EQ(p.MainUnit->GetLinesAttributes()[3] & (4 << erBreak), 4 << erBreak);
}

TEST(ScriptStatements, Loops) {
  EXPECT_EQ(Output("for i := 5 to 1 do Write('x'); Write(i);"), "");  // i untouched: empty
  EXPECT_EQ(Output("for i := 1 to 3 do Write(i); Write(' ', i);"), "123 4");
  EXPECT_EQ(Output("for i := 3 downto 1 do Write(i); Write(' ', i);"), "321 1");
  EXPECT_EQ(Output("for i := 1 to 10 do begin if i = 3 then continue; if i = 5 then break; Write(i); end;"
                   "Write(' ', i);"),
            "124 5");
  // The body may move the variable of a counting loop.
  EXPECT_EQ(Output("for i := 1 to 10 do begin Write(i); i := i + 3; end;"), "159");
  EXPECT_EQ(Output("for var s in 'abc' index k do Write(s, k);"), "a1b2c3");
  EXPECT_EQ(Output("a := [10, 20]; for var v in a index k do Write(k, '=', v, ' ');"), "0=10 1=20 ");
  // A parallel loop settles its bounds and runs no body.
  EXPECT_EQ(Output("n := 0; parallel for i := 1 to 3 do n := n + 1; Write(n);"), "0");
  EXPECT_EQ(Output("i := 0; while i < 3 do i += 1; Write(i); repeat i -= 1 until i = 0; Write(i);"), "30");
  std::string msg = Failure("for var x in 12 do ;");
  EXPECT_TRUE(StartsWith(msg, "No enumerator found for simple type 3")) << msg;
  // break outside a loop: refused when compiling, not when parsing.
  THtScriptParser p(u"procedure f; begin break; end;");
  EXPECT_NO_THROW(p.Parse());
  EXPECT_THROW(p.Compile(), EHtScriptException);
}

TEST(ScriptStatements, ForInOverHostObjects) {
  TStringList list;
  list.Add(u"x");
  list.Add(u"y");
  TList plain;
  ScriptRun run("for var s in L index i do Write(s, i, ' ');");
  run.parser.RegisterClass(
      u"TStringList", [](TObject* o) -> THtScriptEnumerator* { return new TStringListEnumerator(o); },
      TStringList::StaticClass());
  run.parser.RegisterObject(u"L", &list);
  EXPECT_EQ(run.Run(), "x0 y1 ");
  ScriptRun none("for var s in P do ;");
  none.parser.RegisterObject(u"P", &plain);
  try {
    none.Run();
    FAIL();
  } catch (const EHtScriptException& e) {
    EXPECT_TRUE(StartsWith(e.Message().ToUtf8(), "No enumerator found for class TList")) << e.Message().ToUtf8();
  }
}

TEST(ScriptStatements, CaseAndConditionals) {
  EXPECT_EQ(Output("x := 2; case x of 1, 2: Write('a'); 2: Write('b'); else Write('c') end;"), "a");
  EXPECT_EQ(Output("x := 9; case x of 1: Write('a') else Write('c') end;"), "c");
  EXPECT_EQ(Output("s := 'b'; case s of 'a': Write(1); 'b': Write(2); end;"), "2");
  // A case expression with no match and no else leaves the target unset.
  ScriptRun run("x := 'was'; x := case 5 of 1: 'a'; 2: 'b' end; y := case 2 of 1: 'a'; 2: 'b' end;");
  run.Run();
  EXPECT_TRUE(VarIsEmpty(run.parser.GetVar(u"x")));
  EXPECT_EQ(run.parser.GetVar(u"y").AsString(), u"b");
  EXPECT_EQ(Output("a := 1; Write(if a = 1 then 'one' else 'other');"), "one");
  EXPECT_EQ(Output("if 1 > 2 then Write('no') else if 2 > 1 then Write('yes');"), "yes");
}

TEST(ScriptStatements, Exceptions) {
  // A bare raise re-raises; an exit in finally doesn't replace the body's.
  EXPECT_EQ(Output("try try raise 'x'; except Write('1'); raise; end; except Write('2', ExceptionMessage()); end;"),
            "12x");
  EXPECT_EQ(Output("function f: integer; begin try result := 1; exit; finally result := 2; exit; end; "
                   "result := 3; end; Write(f());"),
            "2");
  // The handler variable binds whatever was raised, whatever class it names.
  EXPECT_EQ(Output("try StrToInt('q'); except on E: TStringList do Write(Assigned(E)); end;"), "True");
  // Exceptions cross functions; the finally of each level runs.
  EXPECT_EQ(Output("procedure a; begin try raise 'deep'; finally Write('a'); end; end;\n"
                   "procedure b; begin try a(); finally Write('b'); end; end;\n"
                   "try b(); except Write(' ', ExceptionMessage()); end;"),
            "ab deep");
  // An exception that nobody handles reaches the host with its class.
  EXPECT_THROW(Output("StrToInt('q');"), EConvertError);
  std::string msg = Failure("raise 'plain text';");
  EXPECT_EQ(msg, "plain text");
  // A handled failure leaves the parser ready for the next run.
  ScriptRun again("try raise 'x' except end; Write('ok');");
  EXPECT_EQ(again.Run(), "ok");
  EXPECT_EQ(again.parser.ExceptionLine, 0);
}

TEST(ScriptFunctions, CallsAndLocals) {
  EXPECT_EQ(Output("function f(n: integer): integer; begin if n < 2 then result := 1 else result := n * f(n - 1); "
                   "end; Write(f(10));"),
            "3628800");
  // Each level keeps its own locals across the inner call.
  EXPECT_EQ(Output("function g(n: integer): string; var mine: string; begin mine := IntToStr(n); "
                   "if n > 0 then g(n - 1); result := mine; end; Write(g(3));"),
            "3");
  // A var parameter shows in the caller after the return, not before.
  EXPECT_EQ(Output("var x: integer = 1;\nprocedure p(var v: integer); begin v := 5; Write(x); end;\n"
                   "p(x); Write(x);"),
            "15");
  EXPECT_EQ(Output("function d(a: integer; b: string = 'z'): string; begin result := IntToStr(a) + b; end;"
                   "Write(d(1), d(2, 'y'));"),
            "1z2y");
  // Parameters take the zero of their type for null and are converted.
  EXPECT_EQ(Output("function t(s: string; n: integer): string; begin result := s + '|' + IntToStr(n + 1); end;"
                   "Write(t(null, '41'));"),
            "|42");
  std::string msg = Failure("function d(a, b: integer): integer; begin end; d(1);");
  EXPECT_TRUE(StartsWith(msg, "Parameter count mismatch for function d")) << msg;
  msg = Failure("procedure p; begin exit(5); end; p();");
  EXPECT_TRUE(StartsWith(msg, "No Result variable found for exit()")) << msg;
  msg = Failure("x := y + 1;", THtScriptOptions{soRequireVarDeclaration});
  EXPECT_TRUE(StartsWith(msg, "Variable 'x' not declared")) << msg;
}

TEST(ScriptFunctions, RecursionDepthIsBounded) {
  ScriptRun run("function down(n: integer): integer; begin result := down(n + 1); end;\n"
                "function depth(n: integer): integer; begin if n = 0 then result := 0 "
                "else result := depth(n - 1) + 1; end;");
  run.Run();
  Variant r;
  try {
    run.parser.RunFunction(u"down", {0}, r);
    FAIL();
  } catch (const EHtScriptException& e) {
    EXPECT_TRUE(StartsWith(e.Message().ToUtf8(), "Stack overflow: call depth of 1000 exceeded")) << e.Message().ToUtf8();
  }
  // The parser is still usable, and a depth just under the limit works.
  run.parser.RunFunction(u"depth", {kDefaultMaxCallDepth - 1}, r);
  EXPECT_EQ(r.AsInteger(), kDefaultMaxCallDepth - 1);
  run.parser.MaxCallDepth = 10;
  EXPECT_THROW(run.parser.RunFunction(u"depth", {20}, r), EHtScriptException);
  run.parser.RunFunction(u"depth", {9}, r);
  EXPECT_EQ(r.AsInteger(), 9);
}

TEST(ScriptFunctions, HostEntryPoints) {
  ScriptRun run("var total: integer = 1;\n"
                "function add(a, b: integer): integer; begin result := a + b; end;\n"
                "procedure twice(var v: integer); begin v := v * 2; end;\n"
                "function local_sum(k: integer): integer; begin result := k + total; end;");
  run.Run();
  Variant r;
  run.parser.RunFunction(u"ADD", {2, 40}, r);
  EXPECT_EQ(r.AsInteger(), 42);
  EXPECT_TRUE(run.parser.RunFunctionIfExists(u"add", {1, 2}));
  EXPECT_FALSE(run.parser.RunFunctionIfExists(u"missing", {}));
  EXPECT_THROW(run.parser.RunFunction(u"missing", {}, r), EHtScriptException);
  std::vector<Variant> args{Variant(21)};
  run.parser.RunVarFunction(run.parser.GetFunction(u"twice"), args, r);
  EXPECT_EQ(args[0].AsInteger(), 42);

  run.parser.SetVar(u"total", 100);
  EXPECT_EQ(run.parser.GetVar(u"total").AsInteger(), 100);
  run.parser.Evaluate(u"total", r);
  EXPECT_EQ(r.AsInteger(), 100);
  run.parser.Evaluate(u"total + add(1, 2)", r);
  EXPECT_EQ(r.AsInteger(), 103);

  std::unique_ptr<TScriptFunc> anon(run.parser.CreateAnonymousFunction(u"result := total * 2", false, u"integer"));
  Variant none[1];
  run.parser.RunFunction(anon.get(), none, 0, r);
  EXPECT_EQ(r.AsInteger(), 200);
  TScriptFunc* kept = run.parser.CreateAnonymousFunction(u"function(x: integer): integer begin result := x + 1 end",
                                                         true);
  Variant one[1] = {Variant(1)};
  run.parser.RunFunction(kept, one, 1, r);
  EXPECT_EQ(r.AsInteger(), 2);

  // An anonymous function stored by a script is an object the host can call.
  ScriptRun store("f := function(n: integer): integer begin result := n * 3 end;");
  store.Run();
  auto* f = dynamic_cast<TScriptFunc*>(store.parser.GetObj(u"f"));
  ASSERT_NE(f, nullptr);
  Variant seven[1] = {Variant(7)};
  store.parser.RunFunction(f, seven, 1, r);
  EXPECT_EQ(r.AsInteger(), 21);
}

// Records the hooks a parser reports to.
class TRecordingDebugger : public THtScriptDebugger {
 public:
  void OnCreate(THtScriptParser*) override { log += "create "; }
  void OnRun(THtScriptParser*) override { log += "run "; }
  void OnRunFunction(THtScriptParser*, TScriptFunc* f, const Variant*, int32_t n) override {
    log += "call:" + f->Name().ToUtf8() + "/" + std::to_string(n) + " ";
  }
  void OnStop(THtScriptParser*) override { log += "stop "; }
  void OnException(THtScriptParser*, Exception& e) override { log += "exception:" + e.Message().ToUtf8() + " "; }
  void OnDestroy(THtScriptParser*) override { log += "destroy"; }
  std::string log;
};

TEST(ScriptFunctions, DebuggerHooks) {
  TRecordingDebugger debugger;
  {
    THtScriptParser p(u"function f(a: integer): integer; begin result := a; end; x := f(1);");
    p.FInstanceDebugger = &debugger;
    p.Parse();
    p.Run();
    Variant r;
    p.RunFunction(u"f", {5}, r);
  }
  EXPECT_EQ(debugger.log, "create run stop call:f/1 destroy");
  // Without its own debugger a parser reports to the global one.
  TRecordingDebugger global;
  HtScriptDebuggerGlobal = &global;
  {
    THtScriptParser p(u"raise 'boom';");
    p.Parse();
    EXPECT_THROW(p.Run(), Exception);
  }
  HtScriptDebuggerGlobal = nullptr;
  EXPECT_EQ(global.log, "create run exception:boom destroy");
}

TEST(ScriptFunctions, VariableEvents) {
  ScriptRun run("a := clock; clock := 5; b := clock;");
  int reads = 0;
  run.parser.fOnGetVar = [&](THtScriptParser*, TExVariable* v) {
    if (SameText(v->Name, u"clock")) v->FValue = ++reads * 10;
  };
  std::vector<int> written;
  run.parser.fOnSetVar = [&](THtScriptParser*, TExVariable* v) {
    if (SameText(v->Name, u"clock")) written.push_back(v->FValue.AsInteger());
  };
  run.Run();
  EXPECT_EQ(run.parser.GetVar(u"a").AsInteger(), 10);
  EXPECT_EQ(run.parser.GetVar(u"b").AsInteger(), 20);
  EXPECT_EQ(written, std::vector<int>{5});
}

// Host functions of every calling shape.
long double HostHalf(long double x) { return x / 2; }
UnicodeString HostStars(int32_t n) { return StringOfChar(u'*', n); }
UnicodeString HostShout(const UnicodeString& s) { return UpperCase(s) + u"!"; }
int32_t HostCompare(const UnicodeString& a, const UnicodeString& b) { return CompareStr(a, b) < 0 ? -1 : 1; }
int32_t HostFloor(double d) { return int32_t(d); }
UnicodeString HostJoin(const UnicodeString& a, int32_t n, bool flag, double d) {
  return a + u"/" + IntToStr(n) + u"/" + (flag ? u"T" : u"F") + u"/" + FloatToStr(d);
}
int64_t HostWide(int64_t a, uint8_t b, int16_t c) { return a * 1000 + b + c; }
void HostIncrement(int32_t& v, UnicodeString& s) {
  ++v;
  s += u'+';
}
Variant HostEcho(const Variant& v) { return v; }
int32_t HostCounter(TObject* self, int32_t by) { return (self ? 1000 : 0) + by; }
float HostSingle(float a) { return a * 2; }

TEST(ScriptFunctions, HostFunctions) {
  TObject bound;
  ScriptRun run("a := half(5); b := stars(3); c := shout('hey'); d := compare('a', 'b');\n"
                "e := floor2(2.9); f := join('x', 7, true, 1.5); g := wide(5000000000, 3, -4);\n"
                "n := 1; s := 'a'; increment(n, s); h := echo([1, 2]); i := counter(5); j := single2(1.25);\n"
                "k := join('y');");
  THtScriptParser& p = run.parser;
  p.RegisterFunc(u"half(x: extended): extended", reinterpret_cast<void*>(&HostHalf));
  p.RegisterFunc(u"stars(n: integer): string", reinterpret_cast<void*>(&HostStars));
  p.RegisterFunc(u"shout(s: string): string", reinterpret_cast<void*>(&HostShout));
  p.RegisterFunc(u"compare(a, b: string): integer", reinterpret_cast<void*>(&HostCompare));
  p.RegisterFunc(u"floor2(d: double): integer", reinterpret_cast<void*>(&HostFloor));
  p.RegisterFunc(u"join(a: string; n: integer = 1; flag: boolean = false; d: double = 0): string",
                 reinterpret_cast<void*>(&HostJoin));
  p.RegisterFunc(u"wide(a: int64; b: byte; c: smallint): int64", reinterpret_cast<void*>(&HostWide));
  p.RegisterFunc(u"procedure increment(var v: integer; var s: string)", reinterpret_cast<void*>(&HostIncrement));
  p.RegisterFunc(u"echo(v: variant): variant", reinterpret_cast<void*>(&HostEcho));
  p.RegisterFunc(u"counter(by: integer): integer", reinterpret_cast<void*>(&HostCounter), &bound);
  p.RegisterFunc(u"single2(a: single): single", reinterpret_cast<void*>(&HostSingle));
  run.Run();
  EXPECT_DOUBLE_EQ(p.GetVar(u"a").AsDouble(), 2.5);
  EXPECT_EQ(p.GetVar(u"b").AsString(), u"***");
  EXPECT_EQ(p.GetVar(u"c").AsString(), u"HEY!");
  EXPECT_EQ(p.GetVar(u"d").AsInteger(), -1);
  EXPECT_EQ(p.GetVar(u"e").AsInteger(), 2);
  EXPECT_EQ(p.GetVar(u"f").AsString(), u"x/7/T/1.5");
  EXPECT_EQ(p.GetVar(u"g").AsInt64(), 5000000000000LL - 1);
  EXPECT_EQ(p.GetVar(u"n").AsInteger(), 2);
  EXPECT_EQ(p.GetVar(u"s").AsString(), u"a+");
  EXPECT_TRUE(p.GetVar(u"h").IsArray());
  EXPECT_EQ(p.GetVar(u"i").AsInteger(), 1005);
  EXPECT_DOUBLE_EQ(p.GetVar(u"j").AsDouble(), 2.5);
  EXPECT_EQ(p.GetVar(u"k").AsString(), u"y/1/F/0");

  // A declaration that doesn't parse is refused with its text.
  try {
    p.RegisterFunc(u"broken(a: integer", reinterpret_cast<void*>(&HostFloor));
    FAIL();
  } catch (const EHtScriptException& e) {
    EXPECT_TRUE(StartsWith(e.Message().ToUtf8(), "Error registering function broken(a: integer: "))
        << e.Message().ToUtf8();
  }
  std::string msg = Failure("x := stars();");  // not registered in a fresh parser
  EXPECT_TRUE(StartsWith(msg, "Function stars not found")) << msg;
}

TEST(ScriptFunctions, ExternalFunctions) {
  const std::string lib = std::string(NORVANE_BINARY_DIR) + "/libnvscripttest.so";
  std::string text = "function add3(a, b, c: integer): integer; external '" + lib + "' name 'nv_add3';\n"
                     "function len(s: widestring): integer; external '" + lib + "' name 'nv_utf16_len';\n"
                     "function bad(d: double): integer; external '" + lib + "' name 'nv_add3';\n"
                     "function nofunc: integer; external '" + lib + "' name 'nv_missing';\n"
                     "function nolib: integer; external 'libnv-absent.so';\n"
                     "function badresult: string; external '" + lib + "' name 'nv_counter';\n";
  ScriptRun run((text + "x := add3(1, 2, 3); y := len('abcd');").c_str());
  run.Run();
  EXPECT_EQ(run.parser.GetVar(u"x").AsInteger(), 6);
  EXPECT_EQ(run.parser.GetVar(u"y").AsInteger(), 4);
  EXPECT_TRUE(StartsWith(Failure((text + "bad(1.5);").c_str()), "Incorrect external function parameter type"));
  EXPECT_TRUE(StartsWith(Failure((text + "nofunc();").c_str()),
                         "Function 'nv_missing' not found in module '" + lib + "'"));
  // A missing library fails at the call, not when parsing.
  EXPECT_TRUE(StartsWith(Failure((text + "Write(1);").c_str()), ""));
  EXPECT_TRUE(StartsWith(Failure((text + "nolib();").c_str()), "Can't load library 'libnv-absent.so'"));
  EXPECT_TRUE(StartsWith(Failure((text + "badresult();").c_str()), "Incorrect external function result type"));
}

TEST(ScriptParser, HostRegistrations) {
  THtScriptParser p(u"x := answer; y := pi2;");
  p.RegisterConst(u"Answer", 42);
  p.RegisterConst(u"Answer", 42);  // the same value again is fine
  EXPECT_THROW(p.RegisterConst(u"answer", 43), EHtScriptException);
  p.RegisterConst(u"pi2", 6.28);
  p.Parse();
  p.Run();
  EXPECT_EQ(p.GetVar(u"x").AsInteger(), 42);
  EXPECT_DOUBLE_EQ(p.GetVar(u"y").AsDouble(), 6.28);

  TScriptClass* c1 = p.RegisterClass(u"TStringList", nullptr, TStringList::StaticClass());
  EXPECT_EQ(p.RegisterClass(u"TStringList", nullptr, TStringList::StaticClass()), c1);
  EXPECT_EQ(p.GetClass(u"tstringlist"), c1);
  ASSERT_NE(c1->Parent, nullptr);  // the parent is registered first
  EXPECT_EQ(c1->Parent->ClassPtr, TStringList::StaticClass()->Parent);

  // Objects given to a script are freed with the parser when it made them.
  p.SetObj(u"o", nullptr);
  EXPECT_EQ(p.GetObj(u"o"), nullptr);
  TScriptFunc* m = p.CreateMethod();
  EXPECT_EQ(m->Owner, &p);
}

}  // namespace
}  // namespace norvane
