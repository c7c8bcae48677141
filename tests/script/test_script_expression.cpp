#include <gtest/gtest.h>

#include <string>

#include "norvane/runtime/variant_ops.h"
#include "norvane/script/script_errors.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_magic.h"
#include "norvane/script/script_parser.h"

using namespace norvane;

namespace {

Variant Eval(const char16_t* text) {
  TScriptExpression e;
  return e.Evaluate(UnicodeString(text));
}

// The message of the error that evaluating `text` raises, "" when none.
std::string ErrorOf(const char16_t* text) {
  try {
    Eval(text);
  } catch (const Exception& e) {
    return e.Message().ToUtf8();
  }
  return "";
}

std::string Postfix(const char16_t* text) {
  TScriptExpression e;
  e.Parse(UnicodeString(text));
  return e.AsString().ToUtf8();
}

// Runs a whole script and answers the global `name`.
Variant RunScript(const char16_t* script, const char16_t* name) {
  THtScriptParser p{UnicodeString(script)};
  p.Parse();
  p.Compile();
  p.Run();
  return p.GetVar(UnicodeString(name));
}

std::string ScriptError(const char16_t* script) {
  try {
    RunScript(script, u"x");
  } catch (const Exception& e) {
    return e.Message().ToUtf8();
  }
  return "";
}

}  // namespace

TEST(ScriptExpression, PrecedenceAndAssociativity) {
  struct Case {
    const char16_t* text;
    const char* postfix;
  };
  const Case cases[] = {
      {u"1 + 2 * 3", "1 2 3 * +"},
      {u"(1 + 2) * 3", "1 2 + 3 *"},
      {u"10 - 4 - 3", "10 4 - 3 -"},  // left associative
      {u"a or b and c", "a b ?->4 c and or"},  // ?->4: skip to the `and` when b is false
      {u"not a = b", "a not b ="},     // not binds tighter than =
      {u"1 = 1 and 2 = 2", "1 1 ?->4 2 and = 2 ="},  // and binds tighter than =
      {u"x = 1 => 2", "x 1 = 2 ="},    // => is a second equality
      {u"-a * b", "a neg b *"},
      {u"x not in y", "x y not in"},
      {u"a shl 2 + 1", "a 2 shl 1 +"},
  };
  for (const Case& c : cases) EXPECT_EQ(Postfix(c.text), c.postfix) << std::u16string(c.text).size();

  EXPECT_EQ(Eval(u"1 + 2 * 3").AsInteger(), 7);
  EXPECT_EQ(Eval(u"(1 + 2) * 3").AsInteger(), 9);
  EXPECT_EQ(Eval(u"10 - 4 - 3").AsInteger(), 3);
  EXPECT_EQ(Eval(u"2 * 3 mod 4").AsInteger(), 2);
  EXPECT_EQ(Eval(u"1 = 1 and 2 = 2").AsBoolean(), false);  // 1 = (1 and 2) = 2
  EXPECT_EQ(Eval(u"(1 = 1) and (2 = 2)").AsBoolean(), true);
  EXPECT_EQ(Eval(u"not false = true").AsBoolean(), true);
  EXPECT_EQ(Eval(u"true or false and false").AsBoolean(), true);
}

TEST(ScriptExpression, ArithmeticAndMixes) {
  struct Case {
    const char16_t* text;
    Variant expected;
    TVarType type;
  };
  const Case cases[] = {
      {u"7 / 2", Variant(3.5), varDouble},
      {u"7 div 2", Variant(3), varInteger},
      {u"7 mod 3", Variant(1), varInteger},
      {u"-'2'", Variant(-2.0), varDouble},
      {u"-'1.5'", Variant(-1.5), varDouble},
      {u"'a' + 'b'", Variant(u"ab"), varUString},
      {u"'1' + 2", Variant(3), varInteger},        // variant addition reads the number
      {u"'3' * '4'", Variant(12.0), varDouble},     // - * / read strings as floats
      {u"'10' - 4", Variant(6.0), varDouble},
      {u"2147483647 + 1", Variant(INT32_MIN), varInteger},  // integer + integer is one add
      {u"3000000000 + 1", Variant(3000000001LL), varInt64},
      {u"1.5 + 1.5", Variant(3.0), varDouble},
      {u"12 and 10", Variant(8), varInteger},
      {u"12 or 3", Variant(15), varInteger},
      {u"12 xor 10", Variant(6), varInteger},
      {u"1 shl 4", Variant(16), varInteger},
      {u"256 shr 4", Variant(16), varInteger},
      {u"not 0", Variant(-1), varInteger},
      {u"true xor true", Variant(false), varBoolean},
      {u"'b' > 'a'", Variant(true), varBoolean},
      {u"'10' > 9", Variant(true), varBoolean},
      {u"1 <> 2", Variant(true), varBoolean},
      {u"2 >= 2", Variant(true), varBoolean},
      {u"#65#66 + 'C'", Variant(u"ABC"), varUString},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(UnicodeString(c.text).ToUtf8());
    Variant r = Eval(c.text);
    EXPECT_EQ(r.VarType(), c.type);
    EXPECT_TRUE(VarSameValue(r, c.expected)) << r.AsString().ToUtf8();
  }
}

TEST(ScriptExpression, DatesNullAndEmpty) {
  TScriptExpression e;
  e.Parse(UnicodeString(u"d + 1"));
  e.SetVar(u"d", Variant::FromDate(45000.0));
  Variant r = e.Calc();
  EXPECT_EQ(r.VarType(), varDate);
  EXPECT_EQ(r.AsDouble(), 45001.0);

  TScriptExpression m;
  m.Parse(UnicodeString(u"d - 0.5"));
  m.SetVar(u"d", Variant::FromDate(45000.0));
  EXPECT_EQ(m.Calc().VarType(), varDate);

  struct Case {
    const char16_t* text;
    Variant expected;
  };
  const Case cases[] = {
      {u"n = n", Variant(true)},      {u"n = 1", Variant(false)}, {u"n <> 1", Variant(true)},
      {u"e + 1", Variant(1)},         {u"e + 'x'", Variant(u"x")}, {u"e = 0", Variant(true)},
      {u"n < 1", Variant(false)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(UnicodeString(c.text).ToUtf8());
    TScriptExpression x;
    x.Parse(UnicodeString(c.text));
    x.SetVar(u"n", Variant::Null());
    EXPECT_TRUE(VarSameValue(x.Calc(), c.expected));
  }
  TScriptExpression nullPlus;
  nullPlus.Parse(UnicodeString(u"n + 1"));
  nullPlus.SetVar(u"n", Variant::Null());
  EXPECT_EQ(nullPlus.Calc().VarType(), varNull);
}

TEST(ScriptExpression, ShortCircuitOfTheRightmostAnd) {
  // Inc answers the new value, which lets the test count evaluations.
  TScriptExpression e;
  e.Parse(UnicodeString(u"(Inc(a) > 5) and (Inc(b) > 0) and (Inc(c) > 0)"));
  EXPECT_EQ(e.Calc().AsBoolean(), false);
  EXPECT_EQ(e.GetVar(u"a").AsInteger(), 1);
  EXPECT_EQ(e.GetVar(u"b").AsInteger(), 1);  // only the rightmost `and` skips
  EXPECT_EQ(e.GetVar(u"c").VarType(), varEmpty);

  TScriptExpression t;
  t.Parse(UnicodeString(u"(Inc(a) > 0) and (Inc(b) > 0)"));
  EXPECT_EQ(t.Calc().AsBoolean(), true);
  EXPECT_EQ(t.GetVar(u"b").AsInteger(), 1);

  // `or` has no jump: its right side runs even when the left is true.
  TScriptExpression o;
  o.Parse(UnicodeString(u"true or (Inc(k) > 0)"));
  EXPECT_EQ(o.Calc().AsBoolean(), true);
  EXPECT_EQ(o.GetVar(u"k").AsInteger(), 1);
}

TEST(ScriptExpression, InRangesAndArrays) {
  struct Case {
    const char16_t* text;
    bool expected;
  };
  const Case cases[] = {
      {u"3 in [1, 2, 3]", true},       {u"4 in [1, 2, 3]", false},      {u"'c' in ['a'..'z']", true},
      {u"'C' in ['a'..'z']", false},   {u"5 in [1..3, 5]", true},       {u"2 in [1..3]", true},
      {u"4 not in [1, 2]", true},      {u"1 not in [1, 2]", false},     {u"'b' in ['a', 'b']", true},
  };
  for (const Case& c : cases) EXPECT_EQ(Eval(c.text).AsBoolean(), c.expected) << UnicodeString(c.text).ToUtf8();
  Variant r = Eval(u"1..5");
  EXPECT_EQ(r.VarType(), varRange);
  EXPECT_EQ(r.RangeLow(), 1);
  EXPECT_EQ(r.RangeHigh(), 5);
  Variant arr = Eval(u"[1, 'a', 2.5]");
  ASSERT_TRUE(arr.IsArray());
  EXPECT_EQ(VarArrayHighBound(arr), 2);
  EXPECT_EQ(Eval(u"[]").IsArray(), true);
}

TEST(ScriptExpression, Indexing) {
  TScriptExpression s;
  s.Parse(UnicodeString(u"t[1] + t[5]"));
  s.SetVar(u"t", Variant(u"hello"));
  EXPECT_EQ(s.Calc().AsString(), u"ho");

  TScriptExpression a;
  a.Parse(UnicodeString(u"v[0] + v[2]"));
  a.SetVar(u"v", VarArrayOf({Variant(10), Variant(20), Variant(30)}));
  EXPECT_EQ(a.Calc().AsInteger(), 40);

  TScriptExpression bad;
  bad.Parse(UnicodeString(u"t[9]"));
  bad.SetVar(u"t", Variant(u"abc"));
  EXPECT_THROW(bad.Calc(), EHtScriptException);
  EXPECT_EQ(Eval(u"[5, 6, 7][1]").AsInteger(), 6);
}

TEST(ScriptExpression, Messages) {
  struct Case {
    const char16_t* text;
    const char* message;  // the start of the message
  };
  const Case cases[] = {
      {u"1 2", "Operation expected but 2 found"},
      {u"1 < < 2", "Expression expected"},
      {u"(1 + 2", ") expected"},
      {u"[1, 2)", "] expected"},
      {u"(1, 2]", ") expected"},
      {u"(1) 2", "; expected"},
      {u"1 & 2", "Unknown Operation &"},
      {u"1^", "Variable expected"},
      {u"not", "Error in expression"},
      {u"nosuchfunc(1)", "Function nosuchfunc not found"},
      {u"Iif(true, 1)", "Parameter count mismatch for function Iif. Expected 3 found 2"},
      {u"a[1, 2]", "Multidimension arrays are not supported"},
      {u"a.(", "Method name expected"},
      {u"'abc' + 1", "Could not convert variant of type (String) into type (Double)"},
      {u"1 div 0", "Division by zero"},
      {u"while", "; expected"},
      {u"'abc'[]", "Error in expression"},  // an index needs its one argument
  };
  for (const Case& c : cases) {
    const std::string msg = ErrorOf(c.text);
    EXPECT_EQ(msg.rfind(c.message, 0), 0u) << UnicodeString(c.text).ToUtf8() << " -> " << msg;
  }

  // Hostile nesting through conditional expressions stops with an error.
  std::u16string deep;
  for (int i = 0; i < 3000; ++i) deep += u"if ";
  EXPECT_EQ(ErrorOf(deep.c_str()).rfind("Expressions nested too deeply", 0), 0u);
  std::u16string parens(100000, u'(');
  EXPECT_EQ(ErrorOf((parens + u"1").c_str()).rfind(") expected", 0), 0u);  // brackets need no recursion

  TScriptExpression e;
  EXPECT_THROW(e.GetParser(), EHtScriptException);
  try {
    e.GetParser();
  } catch (const Exception& x) {
    EXPECT_EQ(x.Message(), u"Parser not created or assigned to expression");
  }
  e.Parse(UnicodeString(u"1 + 2"));
  try {
    e.GetItem(3);
    FAIL();
  } catch (const Exception& x) {
    EXPECT_EQ(x.Message(), u"Item index out of range");
  }
  EXPECT_EQ(e.GetItem(2).Operation, eoPlus);
  EXPECT_THROW(e.AsJScript(), ENotSupportedException);

  // An object value: no default property, no methods registered for it.
  TExVariable holder;
  TScriptExpression o;
  o.Parse(UnicodeString(u"obj[0]"));
  o.SetVar(u"obj", Object2Variant(&holder));
  try {
    o.Calc();
    FAIL();
  } catch (const Exception& x) {
    EXPECT_EQ(x.Message().ToUtf8().rfind("Class TExVariable has no default property", 0), 0u);
  }
  TScriptExpression m;
  m.Parse(UnicodeString(u"obj.Foo"));
  m.SetVar(u"obj", Object2Variant(&holder));
  EXPECT_THROW(m.Calc(), EHtScriptException);
  m.SetVar(u"obj", Object2Variant(nullptr));
  try {
    m.Calc();
    FAIL();
  } catch (const Exception& x) {
    EXPECT_EQ(x.Message().ToUtf8().rfind("Object is not created: method Foo", 0), 0u);
  }
  TScriptExpression num;
  num.Parse(UnicodeString(u"n.Foo"));
  num.SetVar(u"n", Variant(5));
  try {
    num.Calc();
    FAIL();
  } catch (const Exception& x) {
    EXPECT_EQ(x.Message().ToUtf8().rfind("Object expected", 0), 0u);
  }
  // An object-typed variable that holds nothing.
  TScriptExpression u;
  u.Parse(UnicodeString(u"o"));
  u.GetParser()->Vars->GetVariable(u"o")->fDataType = varObject;
  try {
    u.Calc();
    FAIL();
  } catch (const Exception& x) {
    EXPECT_EQ(x.Message().ToUtf8().rfind("Variable o is not initialized", 0), 0u);
  }
  // Assigning to something that is no variable.
  TScriptExpression lit;
  lit.Parse(UnicodeString(u"1"));
  lit.fIsAssign = true;
  lit.AssignVar = Variant(2);
  try {
    lit.Calc();
    FAIL();
  } catch (const Exception& x) {
    EXPECT_EQ(x.Message().ToUtf8().rfind("Variable or property expected", 0), 0u);
  }
}

TEST(ScriptExpression, ItemsAndObjects) {
  TScriptExpression again;  // parsing anew replaces the items
  EXPECT_EQ(again.Evaluate(u"1 + 1").AsInteger(), 2);
  EXPECT_EQ(again.Evaluate(u"5").AsInteger(), 5);
  EXPECT_EQ(again.ItemsCount, 1);

  TScriptExpression c;
  c.Parse(UnicodeString(u"42"));
  EXPECT_TRUE(c.IsConstant());
  EXPECT_FALSE(c.Empty());
  TScriptExpression v;
  v.Parse(UnicodeString(u"x + 1"));
  EXPECT_FALSE(v.IsConstant());
  int32_t pos = 5;
  EXPECT_EQ(v.GetStringAt(pos), u"1");
  EXPECT_EQ(pos, 5);

  TExVariable obj;
  EXPECT_EQ(Variant2Object(Object2Variant(&obj)), &obj);
  EXPECT_THROW(Variant2Object(Object2Variant(nullptr)), EHtScriptException);
  EXPECT_THROW(Variant2Object(Variant(7)), EHtScriptException);
  EXPECT_EQ(Variant2ObjectSafe(Variant(7)), nullptr);
  EXPECT_TRUE(VariantObjectAssigned(Object2Variant(&obj)));
  EXPECT_FALSE(VariantObjectAssigned(Object2Variant(nullptr)));

  TScriptExpression eq;
  eq.Parse(UnicodeString(u"(a = b) and (a <> n)"));
  eq.SetVar(u"a", Object2Variant(&obj));
  eq.SetVar(u"b", Object2Variant(&obj));
  eq.SetVar(u"n", Object2Variant(nullptr));
  EXPECT_TRUE(eq.Calc().AsBoolean());
}

TEST(ScriptVariable, TypedValuesAndEvents) {
  TExVariables vars;
  TExVariable* i = vars.AddLocalVariable(u"i", varInteger);
  i->SetValue(Variant(u"12"));
  EXPECT_EQ(i->FValue.VarType(), varInteger);
  EXPECT_EQ(i->FValue.AsInteger(), 12);
  TExVariable* s = vars.AddLocalVariable(u"s", varUString);
  EXPECT_EQ(s->FValue.VarType(), varUString);  // a declared string starts as ""
  s->SetValue(Variant::Null());
  EXPECT_EQ(s->FValue.VarType(), varUString);
  s->SetValue(Variant(3.5));
  EXPECT_EQ(s->FValue.AsString(), u"3.5");
  TExVariable* w = vars.AddLocalVariable(u"w", varSmallint);
  w->SetValue(Variant(65537));
  EXPECT_EQ(w->FValue.AsInteger(), 1);  // truncated to 16 bits
  TExVariable* b = vars.AddLocalVariable(u"b", varBoolean);
  b->SetValue(Variant(1));
  EXPECT_EQ(b->FValue.VarType(), varBoolean);
  TExVariable* d = vars.AddLocalVariable(u"d", varDate);
  d->SetValue(Variant(2));
  EXPECT_EQ(d->FValue.VarType(), varDate);

  EXPECT_EQ(vars.GetVariable(u"I"), i);  // names ignore case
  EXPECT_EQ(i->NameHash, CalcStrCRC32(u"i"));
  EXPECT_EQ(vars.GetVariable(u"missing"), nullptr);
  EXPECT_NE(vars.GetVariable(u"missing", true), nullptr);
  EXPECT_EQ(vars.Count(), 6);
  try {
    vars.GetVar(6);
    FAIL();
  } catch (const Exception& x) {
    EXPECT_EQ(x.Message(), u"Variable index out of bound");
  }

  // Events reach variables made before they were assigned.
  THtGetSetVarEvent onGet, onSet;
  TExVariables globals;
  globals.SetEvents(&onGet, &onSet);
  TExVariable* g = globals.AddVariable(u"g");
  int gets = 0, sets = 0;
  onGet = [&](THtScriptParser*, TExVariable* v) {
    ++gets;
    v->FValue = Variant(99);
  };
  onSet = [&](THtScriptParser*, TExVariable*) { ++sets; };
  Variant out;
  g->GetValue(out);
  EXPECT_EQ(out.AsInteger(), 99);
  g->SetValue(Variant(1));
  EXPECT_EQ(gets, 1);
  EXPECT_EQ(sets, 1);

  TExVariable target;
  TExVariable o;
  o.SetObject(&target);
  EXPECT_TRUE(o.IsObject());
  TExVariable empty(u"e");
  EXPECT_THROW(empty.GetObject(), EHtScriptException);
  empty.SetValue(Variant(0));
  EXPECT_EQ(empty.GetObject(), nullptr);  // an integer 0 reads as nil
  empty.SetValue(Variant(u"x"));
  EXPECT_THROW(empty.GetObject(), EHtScriptException);
}

TEST(ScriptHash, Crc32) {
  // The standard check value of CRC-32 over "123456789".
  EXPECT_EQ(CRC32("123456789", 9), 0xCBF43926u);
  EXPECT_EQ(CRC32("", 0), 0u);
  // A string's units count low byte first: "a" is the bytes 61 00.
  const unsigned char a[] = {0x61, 0x00};
  EXPECT_EQ(CalcStrCRC32(u"a"), CRC32(a, 2));
}

TEST(ScriptExpression, WholeScripts) {
  EXPECT_EQ(RunScript(u"x := 1; x += 2; x *= 5; x -= 1;", u"x").AsInteger(), 14);
  EXPECT_EQ(RunScript(u"x := 'a'; x += 'b';", u"x").AsString(), u"ab");
  EXPECT_NE(ScriptError(u"x := 9; x /= 2;"), "");  // there is no /= form
  EXPECT_EQ(RunScript(u"a := [1, 2, 3]; a[1] := 7; x := a[0] + a[1] + a[2];", u"x").AsInteger(), 11);
  EXPECT_EQ(RunScript(u"a := [1, 2]; a[0] += 5; x := a[0];", u"x").AsInteger(), 6);
  EXPECT_EQ(RunScript(u"x := 'abc'; x[2] := 'X';", u"x").AsString(), u"aXc");
  EXPECT_EQ(RunScript(u"y := 3; x := if y > 2 then 'big' else 'small';", u"x").AsString(), u"big");
  EXPECT_EQ(RunScript(u"y := 2; x := case y of 1: 'one'; 2: 'two' end;", u"x").AsString(), u"two");
  EXPECT_EQ(RunScript(u"function f(n: integer): integer; begin if n < 2 then result := 1 else "
                      u"result := n * f(n - 1); end; x := f(5);",
                      u"x")
                .AsInteger(),
            120);
  EXPECT_EQ(RunScript(u"function g: integer; begin result := 4; end; x := Assigned(@g);", u"x").AsBoolean(),
            true);
  EXPECT_EQ(RunScript(u"c := 'q'; x := c in ['a'..'z'];", u"x").AsBoolean(), true);
  EXPECT_EQ(ScriptError(u"x := 1; Length('a') := 2;").rfind("Variable or property expected", 0), 0u);
}

TEST(ScriptExpression, TolerantWarnings) {
  THtScriptParser p{UnicodeString(u"x := 'a' + 1;\ny := o + o;")};
  p.TolerantMode = true;
  p.GetVariable(u"o", true, true)->fDataType = varObject;
  p.Parse();
  p.Compile();
  std::string all;
  for (THtScriptWarning* w : p.AllWarnings()) all += w->Message.ToUtf8() + "|";
  EXPECT_NE(all.find("Addition is not applicable to string and integer"), std::string::npos) << all;
  EXPECT_NE(all.find("Addition is not applicable to objects"), std::string::npos) << all;
  EXPECT_EQ(VarTypetoString(16), u"ShotInt");  // the name is kept as it is spelled
  EXPECT_EQ(VarTypetoString(258), u"String");
  EXPECT_EQ(VarTypetoString(23), u"Range");
}
