#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "norvane/script/script_errors.h"
#include "norvane/script/script_tokenizer.h"
#include "norvane/script/script_unit.h"

using namespace norvane;

namespace {

UnicodeString U(const char* s) { return UnicodeString::FromUtf8(s); }

// One token as "type" or "type:name"; integers add "=value".
std::string Describe(const TScriptToken& t) {
  std::string s = EnumInfo(t.TokenType).Name(t.TokenType).ToUtf8();
  if (!t.Name.IsEmpty()) s += ":" + t.Name.ToUtf8();
  if (t.TokenType == ttInt) s += "=" + std::to_string(t.AsInt64);
  return s;
}

// The tokens of `src`, blank-separated; spaces are left out.
std::string Tokens(const char* src) {
  TScriptTokenizer tok(U(src));
  std::string out;
  while (tok.NextToken()) {
    if (tok.Token.TokenType == ttSpace) continue;
    if (!out.empty()) out += ' ';
    out += Describe(tok.Token);
  }
  return out;
}

}  // namespace

TEST(ScriptTokenizer, TokenForms) {
  struct Case {
    const char* src;
    const char* expected;
  };
  const Case cases[] = {
      {"", ""},
      // After a dot every word is a name; "&" escapes a reserved word.
      {"a.begin", "ttVar:a ttMethod ttVar:begin"},
      {"&begin", "ttVar:begin"},
      {"&Begin(", "ttFunc:begin ttBracket:("},
      {"a & b", "ttVar:a ttOperation:& ttVar:b"},
      // Only U+0020 is looked over when deciding on a call.
      {"foo (1)", "ttFunc:foo ttBracket:( ttInt:1=1 ttCloseBr:)"},
      {"foo\t(1)", "ttVar:foo ttBracket:( ttInt:1=1 ttCloseBr:)"},
      // A sign joins a number only where an operand is expected.
      {"x := -1", "ttVar:x ttAssign ttInt:-1=-1"},
      {"x - 1", "ttVar:x ttOperation:- ttInt:1=1"},
      {"x -1", "ttVar:x ttOperation:- ttInt:1=1"},
      {"(-1)", "ttBracket:( ttInt:-1=-1 ttCloseBr:)"},
      {"(-y)", "ttBracket:( ttOperation:- ttVar:y ttCloseBr:)"},
      {"[+.5]", "ttSquare:[ ttNum:+.5 ttCloseSquare:]"},
      {"1..3", "ttInt:1=1 ttRange ttInt:3=3"},
      {".5 1.5e3 1e", "ttNum:.5 ttNum:1.5e3 ttInt:1=1 ttVar:e"},
      {"99999999999999999999", "ttNum:99999999999999999999"},
      {"$FF $ %101 %", "ttInt:$FF=255 ttInt:$=0 ttInt:%101=5 ttInt:%=0"},
      {"$('#a')", "ttFunc:jquery ttBracket:( ttStr:#a ttCloseBr:)"},
      {"x += 1; y -= 2; z *= 3; w /= 4", "ttVar:x ttAssign:+ ttInt:1=1 ttDelimiter ttVar:y ttAssign:- ttInt:2=2 "
                                         "ttDelimiter ttVar:z ttAssign:* ttInt:3=3 ttDelimiter ttVar:w "
                                         "ttOperation:/ ttBool:= ttInt:4=4"},
      {"a<=b<>c==d=>e>=f>>g<<h", "ttVar:a ttBool:<= ttVar:b ttBool:<> ttVar:c ttBool:== ttVar:d ttBool:=> "
                                "ttVar:e ttBool:>= ttVar:f ttBool:>> ttVar:g ttBool:< ttBool:< ttVar:h"},
      {"a: integer; b: Array of JSON",
       "ttVar:a ttTypePref ttVarType:integer ttDelimiter ttVar:b ttTypePref ttVarType:array ttReserved:of "
       "ttVarType:json"},
      {"True and not FALSE or x", "ttBoolValue:true ttBoolOp:and ttBoolOp:not ttBoolValue:false ttBoolOp:or ttVar:x"},
      {"a div b mod c shl d shr e xor f is g in h",
       "ttVar:a ttOperation:div ttVar:b ttOperation:mod ttVar:c ttOperation:shl ttVar:d ttOperation:shr "
       "ttVar:e ttOperation:xor ttVar:f ttOperation:is ttVar:g ttOperation:in ttVar:h"},
      {"@p^, Über_1", "ttAddress ttVar:p ttRef:^ ttParamdiv ttVar:Über_1"},
      {"a/*b*/", "ttVar:a ttOperation:/ ttOperation:* ttVar:b ttOperation:* ttOperation:/"},
      // Strings: doubled quotes, no escapes, character codes on their own.
      {"'it''s' \"say \"\"hi\"\"\" 'a\\n'", "ttStr:it's ttStr:say \"hi\" ttStr:a\\n"},
      {"#72#$69", "ttStr:Hi"},
      {"'a'#33'b'", "ttStr:a ttStr:! ttStr:b"},
      // Comments, raw text kept; "(*)" is a whole one; no directives.
      {"(*)x{$R+}y// z", "ttComment:(*) ttVar:x ttComment:{$R+} ttVar:y ttComment:// z"},
      {"x { open", "ttVar:x ttComment:{ open"},
      // "(" behind blanks makes a call, even when it opens a comment.
      {"x (*", "ttFunc:x ttComment:(*"},
      {"(* a *) *)", "ttComment:(* a *) ttOperation:* ttCloseBr:)"},
      // Dotted names after routine words and in uses lists.
      {"function TFoo.Bar", "ttReserved:function ttVar:tfoo.bar"},
      {"procedure TFoo . {x} Bar(a)", "ttReserved:procedure ttFunc:tfoo.bar ttBracket:( ttVar:a ttCloseBr:)"},
      {"uses System . Classes, X;", "ttReserved:uses ttVar:system.classes ttParamdiv ttVar:x ttDelimiter"},
      {"uses a.;", "ttReserved:uses ttVar:a ttMethod ttDelimiter"},
      {"uses a.", "ttReserved:uses ttVar:a ttMethod"},
      {"x := a.b", "ttVar:x ttAssign ttVar:a ttMethod ttVar:b"},
      {"inline operator", "ttReserved:inline ttReserved:operator"},
  };
  for (const Case& c : cases) EXPECT_EQ(Tokens(c.src), c.expected) << c.src;
}

TEST(ScriptTokenizer, TokenDetails) {
  // Positions count from behind a BOM; EndPos is the 1-based last unit.
  TScriptTokenizer tok(U("\xEF\xBB\xBF" "ab  Cd 2.5"));
  ASSERT_TRUE(tok.NextToken());
  EXPECT_EQ(tok.Token.StartPos, 1);
  EXPECT_EQ(tok.Token.EndPos, 2);
  ASSERT_TRUE(tok.NextNonSpace());
  EXPECT_EQ(tok.Token.Name, u"cd");
  EXPECT_EQ(tok.Token.OriginalName, u"Cd");
  EXPECT_EQ(tok.Token.StartPos, 5);
  EXPECT_EQ(tok.Token.EndPos, 6);
  EXPECT_EQ(tok.LastToken.TokenType, ttVar);  // the space between doesn't count
  ASSERT_TRUE(tok.NextNonSpace());
  EXPECT_EQ(tok.Token.TokenType, ttNum);
  EXPECT_EQ(tok.Token.AsNumber, 2.5L);
  EXPECT_FALSE(tok.NextToken());
  EXPECT_TRUE(tok.Empty);
  EXPECT_EQ(tok.Token.TokenType, ttNum);  // the last token stays

  TScriptTokenizer empty{UnicodeString()};
  EXPECT_FALSE(empty.NextToken());
  EXPECT_TRUE(empty.Empty);

  // A zero unit ends the text like its end does.
  TScriptTokenizer zero(UnicodeString(std::u16string_view(u"a\0b", 3)));
  EXPECT_TRUE(zero.NextToken());
  EXPECT_FALSE(zero.NextToken());
}

TEST(ScriptTokenizer, ReservedWordTable) {
  int32_t count = 0;
  const TScriptReservedWord* rows = ScriptReservedWords(count);
  ASSERT_EQ(count, 85);
  for (int32_t i = 0; i < count; ++i) EXPECT_EQ(FindScriptReservedWord(rows[i].Word), &rows[i]);
  EXPECT_EQ(FindScriptReservedWord(u"procedure")->ReservedType, rtProc);
  EXPECT_EQ(FindScriptReservedWord(u"operator")->ReservedType, rtFunc);
  EXPECT_EQ(FindScriptReservedWord(u"array")->TokenType, ttVarType);
  for (auto w : {u"", u"i", u"Begin", u"beginx", u"finalization", u"~a", u"{b"})
    EXPECT_EQ(FindScriptReservedWord(w), nullptr);
  EXPECT_EQ(EnumInfo(TScriptTokenType{}).Count(), 27);
  EXPECT_EQ(EnumInfo(TReservedType{}).Count(), 55);
  EXPECT_EQ(int(rtArray), 2);
  EXPECT_EQ(int(rtGeneric), 54);
}

TEST(ScriptTokenizer, ScopesOfAUnit) {
  // The scope after each token that isn't space or comment.
  const char* src =
      "unit U; interface\n"
      "type TFoo = class(TList<string>)\n"
      "  procedure Bar(x: integer); function Baz: integer;\n"
      "end; TRec = packed record a: integer; case b: integer of 1: (c: integer); end;\n"
      "  TC = class of TFoo; TP = procedure(a: integer);\n"
      "procedure Top;\n"
      "implementation\n"
      "procedure TFoo.Bar(x: integer); var i: integer; begin try finally end; end;\n";
  TScriptTokenizer tok(U(src));
  std::string trace;
  while (tok.NextNonSpace()) {
    const TScriptToken& t = tok.Token;
    trace += (t.Name.IsEmpty() ? EnumInfo(t.TokenType).Name(t.TokenType).ToUtf8() : t.Name.ToUtf8()) + "/" +
             EnumInfo(tok.Scope).Name(tok.Scope).ToUtf8().substr(2) + " ";
    if (t.Name == u"interface") {
      EXPECT_EQ(tok.ParseBlock, tpbInterface);
    }
  }
  EXPECT_EQ(tok.ParseBlock, tpbImplementation);
  EXPECT_EQ(trace,
            "unit/Unit u/Unit ttDelimiter/Unit interface/Unit "
            "type/Type tfoo/Type =/Type class/Class (/Bracket tlist/Bracket ttGenericLeft/Generic </Generic "
            "string/Generic ttGenericRight/Bracket >/Bracket )/Class "
            "procedure/Proc bar/Proc (/Bracket x/Bracket ttTypePref/Bracket integer/Bracket )/Proc "
            "ttDelimiter/Class function/Proc baz/Proc ttTypePref/Proc integer/Proc ttDelimiter/Class "
            "end/Type ttDelimiter/Type trec/Type =/Type packed/Type record/Record a/Record ttTypePref/Record "
            "integer/Record ttDelimiter/Record case/Record b/Record ttTypePref/Record integer/Record of/Record "
            "1/Record ttTypePref/Record (/Bracket c/Bracket ttTypePref/Bracket integer/Bracket )/Record "
            "ttDelimiter/Record end/Type ttDelimiter/Type "
            "tc/Type =/Type class/Class of/Type tfoo/Type ttDelimiter/Type "
            "tp/Type =/Type procedure/Proc (/Bracket a/Bracket ttTypePref/Bracket integer/Bracket )/Proc "
            "ttDelimiter/Type "
            "procedure/Proc top/Proc ttDelimiter/Unit implementation/Unit "
            "procedure/Proc tfoo.bar/Proc (/Bracket x/Bracket ttTypePref/Bracket integer/Bracket )/Proc "
            "ttDelimiter/Unit var/Var i/Var ttTypePref/Var integer/Var ttDelimiter/Var begin/Begin try/Begin "
            "finally/Finally end/Begin ttDelimiter/Begin end/Var ttDelimiter/Var ");
  EXPECT_EQ(tok.GetScope(0), rtVar);
  EXPECT_EQ(tok.GetScope(-1), rtUnit);
  tok.PopScope();
  tok.PopScope();  // popping an empty stack does nothing
  EXPECT_EQ(tok.Scope, rtUnit);
}

TEST(ScriptTokenizer, LineCounting) {
  struct Case {
    const char* src;
    std::vector<int> lines;  // of the tokens that aren't white space
  };
  const Case cases[] = {
      {"a\r\nb\rc\nd\n\re", {0, 1, 2, 3, 5}},
      {"'x\ny' z", {0, 1}},
      {"{\r\n\n} z (*\r*) y // q\nw", {0, 2, 2, 3, 3, 4}},
      {"a\xC2\xA0\n b", {0, 1}},
      {"uses x.\n\n y; z", {0, 0, 2, 2}},  // a dotted name over lines
  };
  for (const Case& c : cases) {
    TScriptTokenizer tok(U(c.src));
    std::vector<int> lines;
    while (tok.NextToken())
      if (tok.Token.TokenType != ttSpace) lines.push_back(tok.Token.Line);
    EXPECT_EQ(lines, c.lines) << c.src;
  }
}

TEST(ScriptTokenizer, Errors) {
  struct Case {
    const char* src;
    const char* unit;  // nullptr: no unit
    const char* message;
    int sourcePos, line;
    const char* lineText;
  };
  const Case cases[] = {
      {"a ? b", nullptr, "Unexpected symbol ? at line 1", 3, 0, "a ? b"},
      {"a\n\n  b ~", "Program", "Unexpected symbol ~ at line 3", 8, 2, "  b ~"},
      {"a\r\n  b |", "Lib", "Unexpected symbol | at line 2 unit Lib", 8, 1, "  b |"},
      {"x :=\n 'abc\n\ndef", "Lib", "Unterminated string at line 2 unit Lib", 16, 1, " 'abc"},
  };
  for (const Case& c : cases) {
    THtScriptUnit unit;
    unit.UnitText = U(c.src);
    if (c.unit) unit.SetUnitName(U(c.unit));
    TScriptTokenizer tok(unit.UnitText);
    if (c.unit) tok.ScriptUnit = &unit;
    try {
      while (tok.NextToken()) {
      }
      ADD_FAILURE() << "no error for " << c.src;
    } catch (const EHtScriptException& e) {
      EXPECT_STREQ(e.what(), c.message);
      EXPECT_EQ(e.SourcePos, c.sourcePos) << c.src;
      EXPECT_EQ(e.Line, c.line) << c.src;
      EXPECT_EQ(e.ScriptUnit.ToUtf8(), c.unit ? c.unit : "") << c.src;
      EXPECT_EQ(e.LastLineText.ToUtf8(), c.lineText) << c.src;
    }
  }

  TScriptTokenizer tok(U("Foo bar"));
  tok.NextToken();
  try {
    tok.ErrorFmt2(u"Unexpected token %s");
    ADD_FAILURE();
  } catch (const EHtScriptException& e) {
    EXPECT_STREQ(e.what(), "Unexpected token Foo at line 1");
    EXPECT_EQ(e.SourcePos, 4);
  }
  EXPECT_THROW(tok.ErrorFmt(u"%d items", {3}, 1), EHtScriptException);
  EXPECT_THROW(tok.ReadComment(), EHtScriptException);  // "Wrong comment start"
  try {
    tok.EndInclude();
    ADD_FAILURE();
  } catch (const EHtScriptException& e) {
    EXPECT_STREQ(e.what(), "Unbalanced call to EndInclude");
  }
}

TEST(ScriptTokenizer, ToleratedErrors) {
  std::vector<std::string> messages;
  TScriptTokenizer tok(U("a ?! b\n'open\nrest"));
  tok.FOnError = [&](TScriptTokenizer* sender, const UnicodeString& msg) {
    EXPECT_EQ(sender, &tok);
    messages.push_back(msg.ToUtf8());
    return true;
  };
  std::vector<std::string> names;
  while (tok.NextNonSpace()) names.push_back(tok.Token.Name.ToUtf8());
  // The bad symbols are dropped like white space; the unclosed string runs to
  // the end and is reported at the line where it began.
  EXPECT_EQ(names, (std::vector<std::string>{"a", "b", "open\nrest"}));
  EXPECT_EQ(messages, (std::vector<std::string>{"Unexpected symbol ? at line 1", "Unexpected symbol ! at line 1",
                                                "Unterminated string at line 2"}));
  EXPECT_EQ(tok.Line, 1);
}

TEST(ScriptTokenizer, IncludesAndSavedPositions) {
  TScriptTokenizer tok(U("a b"));
  ASSERT_TRUE(tok.NextNonSpace());
  const char16_t* mark = tok.SavePos();
  tok.BeginInclude(U("x"));
  ASSERT_TRUE(tok.NextNonSpace());
  EXPECT_EQ(tok.Token.Name, u"x");
  EXPECT_FALSE(tok.NextNonSpace());
  tok.RestorePos(mark);  // belongs to the other text: ignored
  tok.EndInclude();
  ASSERT_TRUE(tok.NextNonSpace());
  EXPECT_EQ(tok.Token.Name, u"b");
  tok.RestorePos(mark);
  ASSERT_TRUE(tok.NextNonSpace());
  EXPECT_EQ(tok.Token.Name, u"b");
  EXPECT_FALSE(tok.NextNonSpace());
}
