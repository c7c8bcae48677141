#include "norvane/markup/html_tokenizer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/markup/markup_errors.h"

using namespace norvane;

namespace {

// "Type" or "Type:text" per token; units below 0x20 print as \xNN.
std::string Show(const THTMLToken& t) {
  std::string s = EnumInfo(THTMLTokenType{}).Name(t.CType).ToUtf8().substr(2);
  switch (t.CType) {
    case htTagStart:
    case htTagEnd:
    case htTagClose:
    case htEq:
    case htSpace:  // a single blank keeps the previous text
      return s;
    default:
      break;
  }
  s += ':';
  for (char16_t c : t.Name.view()) {
    if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\x%02X", unsigned(c));
      s += buf;
    } else {
      AppendUtf8(s, std::u16string_view(&c, 1));
    }
  }
  return s;
}

std::vector<std::string> Tokens(THTMLTokenizer& t, bool allowString = true) {
  std::vector<std::string> out;
  for (;;) {
    const bool more = t.NextToken(allowString);
    if (t.Eof) break;
    out.push_back(Show(t.Token));
    if (!more) break;
  }
  return out;
}

std::vector<std::string> Tokens(const char16_t* text, bool allowString = true) {
  THTMLTokenizer t{UnicodeString(text)};
  return Tokens(t, allowString);
}

using V = std::vector<std::string>;

TEST(HtmlTokenizer, SmallDocuments) {
  struct Case {
    const char16_t* text;
    V tokens;
  } cases[] = {
      {u"<p class=\"x\">Hi &amp; bye</p>",
       {"TagStart", "Ident:p", "Space", "Ident:class", "Eq", "String:x", "TagEnd", "String:Hi & bye", "TagStart",
        "TagClose", "Ident:p", "TagEnd"}},
      // Leading blanks are skipped; blanks between tags are text.
      {u"  <b>x</b> <i>",
       {"TagStart", "Ident:b", "TagEnd", "String:x", "TagStart", "TagClose", "Ident:b", "TagEnd", "String: ",
        "TagStart", "Ident:i", "TagEnd"}},
      // Unquoted values keep "/" and "?"; "=" ends them.
      {u"<a href=a/b.png?x=1>",
       {"TagStart", "Ident:a", "Space", "Ident:href", "Eq", "Ident:a/b.png?x", "Eq", "Ident:1", "TagEnd"}},
      // A "/" right before ">" closes the tag, in a name as in a value.
      {u"<br/>", {"TagStart", "Ident:br", "TagClose", "TagEnd"}},
      {u"<img src=x/>", {"TagStart", "Ident:img", "Space", "Ident:src", "Eq", "Ident:x", "TagClose", "TagEnd"}},
      // Tag names take everything from "A" up.
      {u"<a[1]>", {"TagStart", "Ident:a[1]", "TagEnd"}},
      {u"<é x>", {"TagStart", "Ident:é", "Space", "Ident:x", "TagEnd"}},
      // "<" not followed by a name unit is text.
      {u"a<1", {"String:a", "String:<1"}},
      {u"x < y", {"String:x ", "String:< y"}},
      {u"a>b", {"String:a>b"}},
      {u"<", {"String:<"}},
      // A "<" inside a tag opens a new tag at once.
      {u"<a <b>", {"TagStart", "Ident:a", "Space", "TagStart", "Ident:b", "TagEnd"}},
      {u"<!-- hi -->x", {"Comment:-- hi ", "String:x"}},
      {u"<!-->", {"Comment:"}},
      {u"<!---->", {"Comment:--"}},
      {u"<!-- open", {"Comment:-- op"}},  // unterminated: the last two units go
      {u"<![CDATA[a<b]]>c", {"CData:a<b", "String:c"}},
      // Three brackets before ">" don't end the section.
      {u"<![CDATA[a]]]>b]]>", {"CData:a]]]>b"}},
      {u"<!DOCTYPE html>", {"Custom:DOCTYPE html"}},
      {u"<!DOCTYPE x [<!ENTITY a \"b\">]>", {"Custom:DOCTYPE x [<!ENTITY a \"b\">]"}},
      {u"<!>x", {"Unknown:", "String:x"}},
      {u"<?xml version=\"1.0\"?><r/>",
       {"Directive:xml version=\"1.0\"", "TagStart", "Ident:r", "TagClose", "TagEnd"}},
      {u"<?php echo 1 >x", {"Directive:php echo 1 ", "String:x"}},
      // Script and style bodies are one raw token, in place of the ">".
      {u"<script>if (a<b) x();</SCRIPT>",
       {"TagStart", "Ident:script", "Script:if (a<b) x();", "TagStart", "TagClose", "Ident:SCRIPT",
        "TagEnd"}},
      {u"<script>a</scripty>b</script>",
       {"TagStart", "Ident:script", "Script:a</scripty>b", "TagStart", "TagClose", "Ident:script",
        "TagEnd"}},
      {u"<script>\n <!-- f(); -->\n</script>",
       {"TagStart", "Ident:script", "Script: f(); ", "TagStart", "TagClose", "Ident:script", "TagEnd"}},
      {u"<script type=text/javascript>x", {"TagStart", "Ident:script", "Space", "Ident:type", "Eq",
                                           "Ident:text/javascript", "Script:x"}},
      {u"<style> <!-- p{} --> q{}</style>",
       {"TagStart", "Ident:style", "Style:  p{}  q{}", "TagStart", "TagClose", "Ident:style", "TagEnd"}},
      // A self-closed script has no body.
      {u"<script/>a", {"TagStart", "Ident:script", "TagClose", "TagEnd", "String:a"}},
      {u"<p\n\t>", {"TagStart", "Ident:p", "Space", "TagEnd"}},
  };
  for (const Case& c : cases) EXPECT_EQ(Tokens(c.text), c.tokens) << UnicodeString(c.text).ToUtf8();
}

TEST(HtmlTokenizer, QuotesOnlyWhereAsked) {
  // Without strings, stray quotes inside a tag vanish.
  EXPECT_EQ(Tokens(u"<a 'b' \"c>", false), (V{"TagStart", "Ident:a", "Space", "Ident:b", "Space", "Ident:c", "TagEnd"}));
  EXPECT_EQ(Tokens(u"<a x='1 &lt; 2' y=\"it's\">"),
            (V{"TagStart", "Ident:a", "Space", "Ident:x", "Eq", "String:1 < 2", "Space", "Ident:y", "Eq",
               "String:it's", "TagEnd"}));
  // An unterminated value keeps what it has; quotes outside tags are text.
  EXPECT_EQ(Tokens(u"<a x=\"abc"), (V{"TagStart", "Ident:a", "Space", "Ident:x", "Eq", "String:abc"}));
  EXPECT_EQ(Tokens(u"\"q\""), (V{"String:\"q\""}));
  // Quotes running to the end leave nothing to read.
  EXPECT_EQ(Tokens(u"<a \"'", false), (V{"TagStart", "Ident:a", "Space"}));
}

TEST(HtmlTokenizer, References) {
  struct Case {
    const char16_t* text;
    std::u16string decoded;
  } cases[] = {
      {u"&amp", u"&"},  // at the very end
      {u"x&amp", u"x&"},
      {u"&lt;&gt;&quot;&amp;", u"<>\"&"},
      {u"&ampx", u"&"},  // "amp" takes four units whatever the fourth is
      {u"&amp<b>", u"&b>"},  // even a "<"
      {u"&quotx", u"\""},  // "quo" takes five units whatever they are
      {u"&nbsp x", u"\u00A0 x"},
      {u"&nbsp;x", u"\u00A0x"},
      {u"&#65;", u"A"},
      {u"&#x41;", u"A"},
      {u"&#x1F600;", u"\U0001F600"},
      {u"&#65x", u"Ax"},  // no ";": the cursor stays behind the digits
      {u"&#X41;", std::u16string(1, u'\0')},  // upper-case X reads as 0
      {u"&#0;", std::u16string(1, u'\0')},
      {u"&#x110000;", u"  "},  // beyond Unicode
      {u"&#xD800;", u"  "},    // a surrogate alone
      {u"&#-1;", u"  "},
      {u"&#x100000041;", u"  "},  // beyond 32 bits
      {u"&eacute;t&eacute;", u"\u00E9t\u00E9"},
      {u"&zopf;", u"\U0001D56B"},
      {u"&acE;", u"\u223E"},
      {u"&AMP;", u"&"},
      {u"&foo;", u"&oo;"},  // an unknown name loses its first letter
      {u"&foo bar", u"&foo bar"},  // no ";": plain text
      {u"&;", u"&"},
      {u"& x", u"& x"},
      {u"&", u"&"},
      {u"a&", u"a&"},
      // 25 units at most: the longest name is out of reach.
      {u"&CounterClockwiseContourIntegral;", u"&CounterClockwiseContourIntegral;"},
      {u"&DoubleLongLeftRightArrow;", u"\u27FA"},
  };
  for (const Case& c : cases) {
    THTMLTokenizer t{UnicodeString(c.text)};
    ASSERT_TRUE(t.NextToken(true)) << UnicodeString(c.text).ToUtf8();
    EXPECT_EQ(t.Token.CType, htString);
    EXPECT_EQ(t.Token.Name.view(), c.decoded) << UnicodeString(c.text).ToUtf8();
    EXPECT_FALSE(t.NextToken(true));
    EXPECT_TRUE(t.Eof);
  }
  // The two-units-a-step scan finds a reference at any offset.
  for (int k = 0; k < 6; ++k) {
    std::u16string s(size_t(k), u'x');
    THTMLTokenizer t{UnicodeString(s + u"&lt;y")};
    ASSERT_TRUE(t.NextToken(true));
    EXPECT_EQ(t.Token.Name.view(), s + u"<y") << k;
  }
}

TEST(HtmlTokenizer, EmptyInputAndPositions) {
  for (const char16_t* text : {u"", u"   \n\t"}) {
    THTMLTokenizer t{UnicodeString(text)};
    EXPECT_FALSE(t.NextToken(true));
    EXPECT_TRUE(t.Eof);
    EXPECT_FALSE(t.NextToken(false));  // stays at the end
  }
  THTMLTokenizer t{UnicodeString(u" <p  id=1>ab")};
  struct Span {
    THTMLTokenType type;
    int32_t start, end;
    bool result;
  } spans[] = {{htTagStart, 1, 2, true}, {htIdent, 2, 3, true}, {htSpace, 3, 5, true}, {htIdent, 5, 7, true},
               {htEq, 7, 8, true},       {htIdent, 8, 9, true}, {htTagEnd, 9, 10, true}, {htString, 10, 12, true}};
  for (const Span& s : spans) {
    EXPECT_EQ(t.NextToken(true), s.result);
    EXPECT_EQ(t.Token.CType, s.type);
    EXPECT_EQ(t.Token.StartPos, s.start);
    EXPECT_EQ(t.Token.EndPos, s.end);
  }
  EXPECT_EQ(t.Token.Name.view(), u"ab");
  EXPECT_FALSE(t.NextToken(true));
  // A run of blanks has its text; a blank run at the end answers false.
  THTMLTokenizer u{UnicodeString(u"<a  ")};
  u.NextToken(true);
  u.NextToken(true);
  EXPECT_FALSE(u.NextToken(true));
  EXPECT_EQ(u.Token.CType, htSpace);
  EXPECT_EQ(u.Token.Name.view(), u"  ");
  EXPECT_FALSE(u.Eof);
}

TEST(HtmlTokenizer, XmlMode) {
  struct Case {
    const char16_t* text;
    const char* message;
  } cases[] = {
      {u"a<1", "Invalid tag name 1. Line 0 position 2"},
      {u"<r>\n\n<=", "Invalid tag name =. Line 2 position 6"},
      {u"<r>x<", "Invalid tag name . Line 0 position 5"},
  };
  for (const Case& c : cases) {
    THTMLTokenizer t(UnicodeString(c.text), true);
    try {
      while (t.NextToken(true)) {
      }
      ADD_FAILURE() << "no exception for " << c.message;
    } catch (const EHtmlParserException& e) {
      EXPECT_STREQ(e.what(), c.message);
    }
  }
  // No raw text in XML: a script body is markup like any other.
  THTMLTokenizer t(UnicodeString(u"<script><b/></script>"), true);
  EXPECT_EQ(Tokens(t), (V{"TagStart", "Ident:script", "TagEnd", "TagStart", "Ident:b", "TagClose", "TagEnd",
                          "TagStart", "TagClose", "Ident:script", "TagEnd"}));
}

TEST(HtmlTokenizer, TagInterning) {
  THtObjectDictionary tags(16, true, THtStringRec::ValueOffset(), &RSHash);
  THTMLTokenizer t{UnicodeString(u"<div><DIV><Div><span>")};
  t.SetTagList(&tags);
  std::vector<UnicodeString> names;
  while (t.NextToken(false))
    if (t.Token.CType == htIdent) names.push_back(t.Token.Name);
  ASSERT_EQ(names.size(), 4u);
  EXPECT_EQ(names[0].view(), u"div");
  EXPECT_TRUE(names[1].SameBlock(names[0]));  // folded and interned
  EXPECT_TRUE(names[2].SameBlock(names[0]));
  EXPECT_EQ(names[3].view(), u"span");
  EXPECT_EQ(tags.Count(), 2);

  // Case-sensitive reading keeps each spelling, each interned once.
  THtObjectDictionary xmlTags(16, true, THtStringRec::ValueOffset(), &RSHash);
  THTMLTokenizer x(UnicodeString(u"<Item><item><Item>"), true);
  x.SetTagList(&xmlTags);
  x.SetCaseSensitive(true);
  names.clear();
  while (x.NextToken(false))
    if (x.Token.CType == htIdent) names.push_back(x.Token.Name);
  ASSERT_EQ(names.size(), 3u);
  EXPECT_EQ(names[0].view(), u"Item");
  EXPECT_EQ(names[1].view(), u"item");
  EXPECT_TRUE(names[2].SameBlock(names[0]));
  EXPECT_EQ(xmlTags.Count(), 2);
  // The tag name is tracked until a "/".
  THTMLTokenizer n{UnicodeString(u"<a/>")};
  n.NextToken(false);
  n.NextToken(false);
  EXPECT_EQ(n.TagName().view(), u"a");
  n.NextToken(false);
  EXPECT_TRUE(n.TagName().IsEmpty());
}

// --- Conformance with the html5lib character-reference tests ------------------------

// Just enough JSON for the test files: objects, arrays, strings, literals.
struct Json {
  enum Kind { Null, Str, Arr, Obj, Other } kind = Null;
  std::u16string str;
  std::vector<Json> items;
  std::vector<std::pair<std::string, Json>> fields;
  const Json* Field(const std::string& k) const {
    for (auto& [name, v] : fields)
      if (name == k) return &v;
    return nullptr;
  }
};

class JsonReader {
 public:
  explicit JsonReader(std::string text) : s_(std::move(text)) {}
  Json Value() {
    Blanks();
    Json j;
    if (i_ >= s_.size()) throw std::runtime_error("json: end");
    const char c = s_[i_];
    if (c == '{') {
      j.kind = Json::Obj;
      ++i_;
      while (Blanks(), s_.at(i_) != '}') {
        if (s_[i_] == ',') {
          ++i_;
          continue;
        }
        Json key = Value();
        Blanks();
        ++i_;  // ':'
        std::string k;
        AppendUtf8(k, key.str);
        j.fields.emplace_back(k, Value());
      }
      ++i_;
    } else if (c == '[') {
      j.kind = Json::Arr;
      ++i_;
      while (Blanks(), s_.at(i_) != ']') {
        if (s_[i_] == ',') {
          ++i_;
          continue;
        }
        j.items.push_back(Value());
      }
      ++i_;
    } else if (c == '"') {
      j.kind = Json::Str;
      j.str = String();
    } else {
      j.kind = Json::Other;
      while (i_ < s_.size() && (std::isalnum(uint8_t(s_[i_])) || s_[i_] == '-' || s_[i_] == '.')) ++i_;
    }
    return j;
  }

 private:
  void Blanks() {
    while (i_ < s_.size() && std::isspace(uint8_t(s_[i_]))) ++i_;
  }
  std::u16string String() {
    ++i_;
    std::string raw;
    std::u16string out;
    auto flush = [&] {
      out += Utf8ToU16(raw);
      raw.clear();
    };
    while (s_.at(i_) != '"') {
      if (s_[i_] != '\\') {
        raw += s_[i_++];
        continue;
      }
      flush();
      const char e = s_.at(++i_);
      ++i_;
      switch (e) {
        case 'n': out += u'\n'; break;
        case 't': out += u'\t'; break;
        case 'r': out += u'\r'; break;
        case 'b': out += u'\b'; break;
        case 'f': out += u'\f'; break;
        case 'u':
          out += char16_t(std::stoul(s_.substr(i_, 4), nullptr, 16));  // surrogates stay units
          i_ += 4;
          break;
        default: out += char16_t(e); break;
      }
    }
    flush();
    ++i_;
    return out;
  }
  std::string s_;
  size_t i_ = 0;
};

// Runs one html5lib tokenizer file through the text reader; counts the cases
// whose decoded text equals the expected characters.
int PassingCases(const std::filesystem::path& file, int& total) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  const Json doc = JsonReader(ss.str()).Value();
  const Json* tests = doc.Field("tests");
  if (!tests) throw std::runtime_error("no tests in " + file.string());
  int pass = 0;
  total = 0;
  for (const Json& t : tests->items) {
    ++total;
    std::u16string expected;
    for (const Json& tok : t.Field("output")->items)
      if (tok.items.size() == 2 && tok.items[0].str == u"Character") expected += tok.items[1].str;
    THTMLTokenizer tk{UnicodeString(t.Field("input")->str)};
    std::u16string got;
    bool onlyText = true;
    while (tk.NextToken(true)) {
      onlyText &= tk.Token.CType == htString;
      got += tk.Token.Name.view();
    }
    const bool ok = onlyText && got == expected;
    if (!ok && std::getenv("NORVANE_SHOW_FAILURES"))
      std::printf("%s\n", UnicodeString(t.Field("input")->str).ToUtf8().c_str());
    pass += ok;
  }
  return pass;
}

TEST(HtmlTokenizer, Html5libCharacterReferences) {
  const std::filesystem::path dir = std::filesystem::path(NORVANE_SHARED_DATA) / "html/html5lib-tests/tokenizer";
  if (!std::filesystem::exists(dir / "namedEntities.test")) GTEST_SKIP() << "no html5lib tests in " << dir;
  // Where the reader differs on purpose: a name without ";" decodes only in
  // the five fast forms; a name that stands for two code points gives the
  // first; names beyond 25 units stay text; a number out of range, 0 or a
  // surrogate gives what the reader's rules say, not U+FFFD. A change in
  // either count is a change in behaviour.
  struct Case {
    const char* file;
    int total, pass;
  } cases[] = {
      {"namedEntities.test", 4210, 4013},
      {"numericEntities.test", 336, 324},
  };
  for (const Case& c : cases) {
    int total = 0;
    const int pass = PassingCases(dir / c.file, total);
    EXPECT_EQ(total, c.total) << c.file;
    EXPECT_EQ(pass, c.pass) << c.file;
  }
}

}  // namespace
