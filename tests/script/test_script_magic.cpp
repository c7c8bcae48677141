#include <gtest/gtest.h>

#include <string>

#include "norvane/runtime/variant_ops.h"
#include "norvane/script/script_errors.h"
#include "norvane/script/script_magic.h"
#include "norvane/script/script_parser.h"

using namespace norvane;

namespace {

// Runs a script with Write/Writeln captured; answers what it printed.
struct Captured {
  std::string out;
  std::string error;
  Variant x;
};

Captured RunCaptured(const char16_t* script) {
  Captured c;
  SetScriptOutput([&](const UnicodeString& t) { c.out += t.ToUtf8(); });
  try {
    THtScriptParser p{UnicodeString(script)};
    p.Parse();
    p.Compile();
    p.Run();
    c.x = p.GetVar(u"x");
  } catch (const Exception& e) {
    c.error = e.Message().ToUtf8();
  }
  SetScriptOutput(nullptr);
  return c;
}

bool StartsWith(const std::string& s, const char* prefix) { return s.rfind(prefix, 0) == 0; }

}  // namespace

TEST(ScriptMagic, WriteAndWriteln) {
  EXPECT_EQ(RunCaptured(u"Write('a', 1, 2.5); Writeln; Writeln('b', true);").out, "a12.5\nbTrue\n");
  EXPECT_EQ(RunCaptured(u"x := null; Writeln(x, '|');").out, "|\n");  // null prints as nothing
}

TEST(ScriptMagic, ValuesOfFunctions) {
  struct Case {
    const char16_t* script;
    Variant expected;
  };
  const Case cases[] = {
      {u"x := Length('abc');", Variant(3)},
      {u"x := Length([1, 2]);", Variant(2)},
      {u"x := Length('');", Variant(0)},
      {u"x := High([1, 2, 3]);", Variant(2)},
      {u"x := High('abcd');", Variant(4)},
      {u"x := 1; Inc(x);", Variant(2)},
      {u"x := 1; Inc(x, 5);", Variant(6)},
      {u"x := 1; Dec(x);", Variant(0)},
      {u"x := 10; Dec(x, 4);", Variant(6)},
      {u"x := 0.5; Inc(x);", Variant(1.5)},
      {u"x := 'abcdef'; Delete(x, 2, 3);", Variant(u"aef")},
      {u"x := 'abc'; Delete(x, 3, 100);", Variant(u"ab")},
      {u"x := 'abc'; Delete(x, 0, 1);", Variant(u"abc")},
      {u"x := 'ad'; Insert('bc', x, 2);", Variant(u"abcd")},
      {u"x := 'ab'; Insert('!', x, 99);", Variant(u"ab!")},
      {u"x := 'abcdef'; SetLength(x, 2);", Variant(u"ab")},
      {u"x := 'a'; SetLength(x, 3);", Variant(u"a  ")},
      {u"a := [1, 2]; SetLength(a, 5); x := Length(a);", Variant(5)},
      {u"a := [1, 2]; SetLength(a, 1); x := a[0];", Variant(1)},
      {u"SetLength(a, 3); x := High(a);", Variant(2)},
      {u"x := Iif(1 > 0, 'yes', 'no');", Variant(u"yes")},
      {u"x := IfThen(false, 'yes', 'no');", Variant(u"no")},
      {u"x := Min(3, 2.5);", Variant(2.5)},
      {u"x := Max('b', 'a');", Variant(u"b")},
      {u"x := Assigned(nil);", Variant(false)},
      {u"x := Assigned(y);", Variant(false)},
      {u"x := Format('%d-%s', [7, 'z']);", Variant(u"7-z")},
      {u"x := Format('%.2f', 1.5);", Variant(u"1.50")},
      {u"x := Eval('1 + 2 * 3');", Variant(7)},
      {u"x := Length(MakeArray(1, 'a', 2.5));", Variant(3)},
      {u"x := ExceptionMessage;", Variant(u"")},
      {u"try y := 1 div 0; except x := ExceptionMessage; end;", Variant(u"Division by zero")},
  };
  for (const Case& c : cases) {
    Captured r = RunCaptured(c.script);
    EXPECT_EQ(r.error, "") << UnicodeString(c.script).ToUtf8();
    EXPECT_TRUE(VarSameValue(r.x, c.expected)) << UnicodeString(c.script).ToUtf8() << " -> " << VarToStr(r.x).ToUtf8();
  }
}

TEST(ScriptMagic, Messages) {
  struct Case {
    const char16_t* script;
    const char* message;
  };
  const Case cases[] = {
      {u"Inc(1);", "Variable required for Inc procedure"},
      {u"Dec(2 + 3);", "Variable required for Dec procedure"},
      {u"Delete('abc', 1, 1);", "Variable required for Delete procedure"},
      {u"Insert('a', 'b', 1);", "Variable required for Insert procedure"},
      {u"SetLength(5, 1);", "SetLength works for string or array variables only"},
      {u"x := 5; SetLength(x, 1);", "SetLength works for string or array variables only"},
      {u"x := Min(1);", "Parameter count mismatch for function Min. Expected 2 found 1"},
      {u"x := Format('%d', ['a']);", "Format '%d' invalid or incompatible with argument"},
  };
  for (const Case& c : cases) {
    Captured r = RunCaptured(c.script);
    EXPECT_TRUE(StartsWith(r.error, c.message)) << UnicodeString(c.script).ToUtf8() << " -> " << r.error;
  }
}

TEST(ScriptMagic, TableAndDeclarations) {
  int32_t n = 0;
  const THtMagicFuncInfo* table = ScriptMagicFunctions(n);
  ASSERT_GT(n, 0);
  EXPECT_EQ(FindScriptMagicFunction(u"WRITELN")->Declaration, u"procedure Writeln(Value [,ValueN])");
  // Declarations are shown as they stand, misprints included.
  EXPECT_EQ(FindScriptMagicFunction(u"insert")->Declaration,
            u"procedure Insert(Source: string; var Dest: sttring; Index: integer)");
  EXPECT_EQ(FindScriptMagicFunction(u"nosuch"), nullptr);
  for (int32_t i = 0; i < n; ++i) {
    SCOPED_TRACE(UnicodeString(table[i].Name).ToUtf8());
    TScriptFunc* f = HtScriptGlobal()->GetFunction(UnicodeString(table[i].Name));
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->MagicFunc, table[i].Func);
  }
}
