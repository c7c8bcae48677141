// Tree construction: the shapes the repairing parser gives malformed HTML,
// item assembly, the strict mode's errors and the depth limit.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/html_node.h"
#include "norvane/markup/html_parser.h"
#include "norvane/markup/markup_errors.h"

using namespace norvane;

namespace {

// tag(children), attributes as " name=value", text as "text", content of
// raw and comment nodes in {}.
std::string Dump(const THtNode* n) {
  std::string s;
  if (n->Tag().IsEmpty() && !n->GetCount()) {
    s = (n->TagType == htCData ? "cdata\"" : "\"") + n->Content().ToUtf8() + "\"";
  } else {
    s = n->Tag().ToUtf8();
    if (const THtAttributes* a = n->Attributes())
      for (int32_t i = 0; i < a->Count; ++i) s += " " + a->GetName(i).ToUtf8() + "=" + a->GetValue(i).ToUtf8();
    if (!n->Content().IsEmpty()) s += "{" + n->Content().ToUtf8() + "}";
  }
  if (n->GetCount()) {
    s += "(";
    for (int32_t i = 0; i < n->GetCount(); ++i) s += (i ? " " : "") + Dump(n->GetNode(i));
    s += ")";
  }
  return s;
}

std::string ParseDump(const std::string& html) {
  THtmlNode root;
  root.Parse(UnicodeString::FromUtf8(html), false);
  return Dump(&root);
}

int32_t Depth(const THtNode* root) {
  int32_t best = 0;
  std::vector<std::pair<const THtNode*, int32_t>> pending{{root, 0}};
  while (!pending.empty()) {
    auto [n, d] = pending.back();
    pending.pop_back();
    best = std::max(best, d);
    for (int32_t i = 0; i < n->GetCount(); ++i) pending.push_back({n->GetNode(i), d + 1});
  }
  return best;
}

struct TreeCase {
  const char* html;
  const char* tree;
};

}  // namespace

TEST(HtmlParser, RepairRulesGiveTheseTrees) {
  const TreeCase cases[] = {
      {"abc", "body(\"abc\")"},
      {"<p>a<p>b", "body(p(\"a\") p(\"b\"))"},
      {"<div><p>a<div>b", "body(div(p(\"a\") div(\"b\")))"},
      // "i" is pushed when "</b>" walks over it and reopens for the next text.
      {"<b><i>x</b>y</i>", "body(b(i(\"x\")) i(\"y\"))"},
      {"<table><td>x", "body(table(tr(td(\"x\"))))"},
      {"<table><th>x", "body(table(tr(th(\"x\"))))"},
      // A void element in a table moves in front of it only from a tbody.
      {"<table><input></table>", "body(table(input))"},
      {"<table><tbody><input></table>", "body(input table(tbody))"},
      {"<table><div>a</div></table>", "body(table div(\"a\"))"},
      {"<table><tr><div>z</div></tr></table>", "body(table(tr) div(\"z\"))"},
      {"<table><tr><td>a<div>b</div></td></tr></table>", "body(table(tr(td(\"a\" div(\"b\")))))"},
      // A "p" in a table gets a row and a cell-class node that keeps "tr" as its tag.
      {"<table><p>x</table>", "body(table(tr(tr(p(\"x\")))))"},
      {"</div>x", "body(\"x\")"},
      {"</p>", "body"},
      {"<div>a</body>b", "body(div(\"a\" \"b\"))"},
      {"<!DOCTYPE html><p>x", "body(p(\"x\"))"},
      {"<a href=x>1<a href=y>2", "body(a href=x(\"1\") a href=y(\"2\"))"},
      {"<ul><li>a<li>b</ul>", "body(ul(li(\"a\") li(\"b\")))"},
      {"<ol><li>a<ul><li>b</ul><li>c</ol>", "body(ol(li(\"a\" ul(li(\"b\"))) li(\"c\")))"},
      {"<dl><dt>a<dd>b<dt>c</dl>", "body(dl(dt(\"a\") dd(\"b\") dt(\"c\")))"},
      {"<dd>a<dd>b", "body(dd(\"a\") dd(\"b\"))"},
      {"<table><tr><td>1<td>2<tr><td>3</table>", "body(table(tr(td(\"1\") td(\"2\")) tr(td(\"3\"))))"},
      {"<table><tr><td><table><tr><td>x</td></tr></table></td></tr></table>",
       "body(table(tr(td(table(tr(td(\"x\")))))))"},
      {"<table><table>", "body(table table)"},
      {"<head><title>t</title><div>x", "body(head(title(\"t\")) div(\"x\"))"},
      // With a body or html of its own, the root keeps its empty tag.
      {"<head><meta charset=x><body>y", "(head(meta charset=x) body(\"y\"))"},
      {"<p>a<h1>b</h1>", "body(p(\"a\") h1(\"b\"))"},
      // A "p" is not closed from inside a cell.
      {"<p><table><tr><td><div>x", "body(p(table(tr(td(div(\"x\"))))))"},
      {"<div><span>a</div>b", "body(div(span(\"a\")) \"b\")"},
      {"<span><div>a</span>b", "body(span(div(\"a\" \"b\")))"},
      {"<br><hr><img src=a>x", "body(br hr img src=a \"x\")"},
      {"<html><body>x</body></html>", "(html(body(\"x\")))"},
      {"<script>if (a<b) x();</script><p>", "body(script{if (a<b) x();} p)"},
      {"<style>p{}</style>", "body(style{p{}})"},
      {"<![CDATA[d]]>", "body(cdata\"d\")"},
      {"<?php x?>", "body(?{php x})"},
      {"</ >x", "body(\"x\")"},
      // A "<" that opens no tag starts a text of its own.
      {"a < b", "body(\"a \" \"< b\")"},
  };
  for (const auto& c : cases) EXPECT_EQ(ParseDump(c.html), c.tree) << c.html;
}

TEST(HtmlParser, AttributesOfAnItem) {
  const TreeCase cases[] = {
      // With values the first of two duplicates wins; without, the last stays.
      {"<x a=1 a=2>", "body(x a=1)"},
      {"<x b=3 b>", "body(x b=b)"},
      {"<x B=1 Checked>", "body(x b=1 checked=checked)"},
      // Unquoted values run over "=" and "/" up to a blank.
      {"<a href=/x/y?a=b>1</a>", "body(a href=/x/y?a=b(\"1\"))"},
      {"<img src='a' alt=\"b c\">", "body(img alt=b c src=a)"},
      {"<x a = 'v'>", "body(x a=v)"},
      {"<x a=>", "body(x)"},
      {"<x a=\"&amp;&lt;\">", "body(x a=&<)"},
      // A tag that opens before the previous one closed.
      {"<div class=a <p>x", "body(div class=a(p(\"x\")))"},
      {"<div class=a<p>x", "body(div class=a<p(\"x\"))"},
  };
  for (const auto& c : cases) EXPECT_EQ(ParseDump(c.html), c.tree) << c.html;

  THtmlNode node;
  node.ParseAttributes(UnicodeString(u"id=n1 class='a b' hidden"));
  EXPECT_EQ(node.GetAttribute(u"id"), u"n1");
  EXPECT_EQ(node.GetAttribute(u"class"), u"a b");
  EXPECT_EQ(node.GetAttribute(u"hidden"), u"hidden");
}

TEST(HtmlParser, ItemsAndInterning) {
  THtmlParser p(UnicodeString(u"<DIV Class=x>t</div><div/>"), false);
  ASSERT_TRUE(p.NextItem());
  EXPECT_EQ(p.Tag, u"div");
  EXPECT_FALSE(p.TagClosed);
  ASSERT_NE(p.Attributes, nullptr);
  EXPECT_EQ(p.Attributes->GetAttribute(u"class"), u"x");
  const UnicodeString first = p.Tag;
  ASSERT_TRUE(p.NextItem());
  EXPECT_EQ(p.TagType, htString);
  EXPECT_EQ(p.Value, u"t");
  EXPECT_TRUE(p.Tag.IsEmpty());
  ASSERT_TRUE(p.NextItem());
  EXPECT_TRUE(p.IsCloseTag);
  EXPECT_TRUE(p.Tag.SameBlock(first)) << "equal tags share one string";
  p.RepeatCurrent = true;
  ASSERT_TRUE(p.NextItem());
  EXPECT_TRUE(p.IsCloseTag) << "RepeatCurrent returns the same item";
  p.NextItem();
  EXPECT_FALSE(p.IsCloseTag);
  EXPECT_TRUE(p.TagClosed);
  EXPECT_FALSE(p.NextItem());
}

TEST(HtmlParser, XmlModeRaisesItsTwoErrors) {
  struct {
    const char16_t* text;
    const char* message;
  } cases[] = {
      {u"<a>\n<b x=1/></a>", "Attribute x value expected but 1 found. Line 1 position 11"},
      {u"<a>< b/></a>", "Invalid tag name  . Line 0 position 4"},
  };
  for (const auto& c : cases) {
    THtmlParser p(UnicodeString(c.text), true);
    try {
      while (p.NextItem()) {
      }
      ADD_FAILURE() << c.message;
    } catch (const EHtmlParserException& e) {
      EXPECT_EQ(std::string(e.what()), c.message);
    }
  }
  // Well-formed input reads without an error and keeps raw-looking tags as tags.
  THtmlParser ok(UnicodeString(u"<r a=\"1\"><script>x</script></r>"), true);
  int items = 0;
  while (ok.NextItem()) ++items;
  EXPECT_EQ(items, 5);
}

TEST(HtmlParser, DepthLimitKeepsNestingBounded) {
  // 300 nested divs: a tag met above depth 256 closes two levels.
  std::string html;
  for (int i = 0; i < 300; ++i) html += "<div>";
  THtmlNode root;
  root.Parse(UnicodeString::FromUtf8(html), false);
  EXPECT_LE(Depth(&root), THtmlNode::MaxParseDepth);
  EXPECT_GE(Depth(&root), THtmlNode::MaxParseDepth - 2);

  // A table right at the limit still takes cells and paragraphs (its
  // implied rows must not be closed by force and handed back forever).
  for (int open = 250; open <= 258; ++open) {
    std::string atLimit;
    for (int i = 0; i < open; ++i) atLimit += "<div>";
    atLimit += "<table><p>x<td>y<p>z</table>";
    THtmlNode r;
    r.Parse(UnicodeString::FromUtf8(atLimit), false);
    EXPECT_LE(Depth(&r), THtmlNode::MaxParseDepth + 3) << open;
  }

  // 100,000 open tags of several kinds stay within the limit (the test's
  // time limit catches a quadratic repair).
  for (const char* open : {"<div>", "<b>", "<td>", "<li>", "<b><i>x</b>", "<table><td>", "<span><p>"}) {
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += open;
    THtmlNode r;
    r.Parse(UnicodeString::FromUtf8(deep), false);
    EXPECT_LE(Depth(&r), THtmlNode::MaxParseDepth + 2) << open;
  }
}

TEST(HtmlParser, ElementClassesDecideTheNodeClass) {
  TElementClasses classes;
  EXPECT_EQ(classes.GetElementClass(u"p"), THtmlNode::StaticClass()) << "DefaultClass";
  classes.Register(u"P", THtNode::StaticClass());
  EXPECT_EQ(classes.GetElementClass(u"P"), THtNode::StaticClass());
  EXPECT_EQ(classes.GetElementClass(u""), nullptr) << "TextClass unset";
  classes.UnknownClass = THtNode::StaticClass();
  EXPECT_EQ(classes.GetElementClass(u"zz"), THtNode::StaticClass());
}

namespace {
// A root that consults a class table: "span" has no class (dropped), "p"
// gets a derived class.
class TTestNode : public THtmlNode {
  NV_CLASS(TTestNode, THtmlNode)
};
NV_CLASS_IMPL(TTestNode, "test")
class TTestRoot : public THtmlNode {
  NV_CLASS(TTestRoot, THtmlNode)
 public:
  TTestRoot() {
    Classes.TextClass = THtmlNode::StaticClass();
    Classes.Register(u"span", nullptr);
    Classes.Register(u"p", TTestNode::StaticClass());
  }
  TMetaClass GetElementClass(const UnicodeString& tag, const THtNode*) override {
    return Classes.GetElementClass(tag);
  }
  TElementClasses Classes;
};
NV_CLASS_IMPL(TTestRoot, "test")
}  // namespace

TEST(HtmlParser, RootChoosesClassesAndNilDropsTheItem) {
  TTestRoot root;
  root.Parse(UnicodeString(u"<div><span>a</span><p>b</div>"), false);
  // "span" is dropped as an item; its text goes on in the div.
  EXPECT_EQ(Dump(&root), "body(div(\"a\" p(\"b\")))");
  EXPECT_TRUE(root.GetNode(0)->GetNode(1)->Is<TTestNode>());
  EXPECT_FALSE(root.GetNode(0)->Is<TTestNode>());
}

TEST(HtmlParser, Html5libTreeConstructionInputsParse) {
  const std::filesystem::path dir = std::filesystem::path(NORVANE_SHARED_DATA) / "html/html5lib-tests/tree-construction";
  if (!std::filesystem::is_directory(dir)) GTEST_SKIP() << "no " << dir;
  int files = 0, inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    if (entry.path().extension() != ".dat") continue;
    ++files;
    std::ifstream f(entry.path(), std::ios::binary);
    std::string line, data;
    bool inData = false;
    auto flush = [&] {
      if (!inData) return;
      if (!data.empty()) data.pop_back();  // the line end before "#errors"
      const UnicodeString text = UnicodeString::FromUtf8(data);
      THtmlNode root;
      root.Parse(text, false);
      EXPECT_LE(Depth(&root), THtmlNode::MaxParseDepth + 2);
      try {
        THtmlNode xml;
        THtmlParser p(text, true);
        xml.InternalParse(&p);
      } catch (const EHtmlParserException&) {
      }
      ++inputs;
      data.clear();
      inData = false;
    };
    while (std::getline(f, line)) {
      if (line == "#data") {
        flush();
        inData = true;
      } else if (!line.empty() && line[0] == '#' && inData) {
        flush();
      } else if (inData) {
        data += line + "\n";
      }
    }
    flush();
  }
  EXPECT_GT(files, 0);
  EXPECT_GT(inputs, 1000);
}
