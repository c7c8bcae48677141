// HTML output: the encoders, serialisation of each kind of node, laid-out
// output, the text forms, and the editing operations that parse HTML into
// the middle of a tree.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "norvane/foundation/fast_string.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/ht_node_list.h"
#include "norvane/markup/html_encode.h"
#include "norvane/markup/html_node.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

using namespace norvane;

namespace {

std::string U8(const UnicodeString& s) { return s.ToUtf8(); }

std::unique_ptr<THtmlNode> Doc(const char* html) {
  auto root = std::make_unique<THtmlNode>();
  root->Parse(UnicodeString::FromUtf8(html), false);
  return root;
}

std::string Outer(const char* html) { return U8(Doc(html)->GetOuterHTML()); }
std::string Text(const char* html) { return U8(Doc(html)->GetInnerText()); }

// Parent links and next-sibling links agree with every child list.
void ExpectLinked(THtNode* n) {
  for (int32_t i = 0; i < n->GetCount(); ++i) {
    THtNode* c = n->GetNode(i);
    EXPECT_EQ(c->Parent(), n) << U8(c->Tag());
    EXPECT_EQ(c->NextSibling(), i + 1 < n->GetCount() ? n->GetNode(i + 1) : nullptr) << U8(c->Tag());
    ExpectLinked(c);
  }
}

// A node class with its own rule for its text: the walk of the base class
// asks each such node.
class TShoutingNode : public THtmlNode {
  NV_CLASS(TShoutingNode, THtmlNode)
 public:
  UnicodeString GetInnerText() override {
    ++calls;
    return UpperCase(THtmlNode::GetInnerText());
  }
  static inline int calls = 0;
};
NV_CLASS_IMPL(TShoutingNode, "test")

}  // namespace

TEST(HtmlText, DerivedClassesGiveTheirOwnText) {
  TShoutingNode root;
  root.Parse(u"<p>ab<b>c</b></p>", false);
  TShoutingNode::calls = 0;
  EXPECT_EQ(U8(root.GetInnerText()), "ABC");
  EXPECT_EQ(TShoutingNode::calls, 5);  // root, p, "ab", b, "c"
  // Deep trees of such nodes stop asking past a depth instead of running
  // off the stack.
  THtNode* n = &root;
  for (int i = 0; i < 50000; ++i) n = n->AddChild(nullptr);
  n->SetContent(u"deep");
  EXPECT_EQ(U8(root.GetInnerText()), "ABCDEEP");
}

TEST(HtmlEncode, EveryCharacterThatNeedsIt) {
  struct Case {
    const char16_t* in;
    const char16_t* text;  // HtmlEncode
    const char16_t* attr;  // HtmlEncodeAttr
  } cases[] = {
      {u"a&b", u"a&amp;b", u"a&amp;b"},
      {u"<p>", u"&lt;p&gt;", u"&lt;p&gt;"},
      {u"\"q\"", u"\"q\"", u"&quot;q&quot;"},  // quotes stay in text
      {u"'", u"'", u"'"},
      {u"\u00A0", u"&nbsp;", u"&nbsp;"},
      {u"\x01\x08", u"&#1;&#8;", u"&#1;&#8;"},
      {u"\t\n\r", u"\t\n\r", u"&#9;\n\r"},  // tab is below 10, not below 9
      {u"\u00E9\u00FF", u"\u00E9\u00FF", u"\u00E9\u00FF"},  // units below 256 stay
      {u"\u03BB\u0416\u2014\u2030", u"\u03BB\u0416\u2014\u2030", u"\u03BB\u0416\u2014\u2030"},  // skipped ranges
      {u"\u20AC\u2190\u2264", u"&euro;&LeftArrow;&le;", u"\u20AC\u2190\u2264"},  // first name in table order
      {u"\u2233", u"&CounterClockwiseContourIntegral;", u"\u2233"},
      {u"x\U0001F600y", u"x&#x01F600;y", u"x\U0001F600y"},
      {u"\u4E2D\u6587", u"\u4E2D\u6587", u"\u4E2D\u6587"},  // no named reference
  };
  for (const Case& c : cases) {
    const UnicodeString in(c.in);
    EXPECT_EQ(U8(HtmlEncode(in)), U8(UnicodeString(c.text))) << U8(in);
    EXPECT_EQ(U8(HtmlEncodeAttr(in)), U8(UnicodeString(c.attr))) << U8(in);
    // A precounted overhead gives the same text; so does a wrong one, at the
    // price of a reallocation.
    EXPECT_EQ(HtmlEncode(in, HtmlEncodeNodeOverhead(in.view())), UnicodeString(c.text));
    EXPECT_EQ(HtmlEncode(in, 0), UnicodeString(c.text));
    EXPECT_EQ(HtmlEncode(in, 100), UnicodeString(c.text));
    EXPECT_EQ(HtmlEncodeAttr(in, 0), UnicodeString(c.attr));
    EXPECT_EQ(HtmlEncodeNodeOverhead(in.view()), UnicodeString(c.text).Length() - in.Length()) << U8(in);
    TFastString b;
    FastHtmlEncode(&b, in.view());
    FastHtmlEncodeAttr(&b, in.view());
    EXPECT_EQ(b.GetAsString(), UnicodeString(c.text) + UnicodeString(c.attr));
  }
  // Nothing to encode: the very same string comes back.
  const UnicodeString plain(u"plain text \u00E9 \u4E2D");
  EXPECT_TRUE(HtmlEncode(plain).SameBlock(plain));
  EXPECT_TRUE(HtmlEncodeAttr(plain).SameBlock(plain));
  EXPECT_TRUE(HtmlEncode(UnicodeString()).IsEmpty());
  // A lone high surrogate is taken with the unit after it, or with the
  // terminating zero at the end: ten units either way, counted as such.
  const UnicodeString lone(u"a\xD800");
  EXPECT_EQ(HtmlEncodeNodeOverhead(lone.view()), 9);
  EXPECT_EQ(U8(HtmlEncode(lone)), "a&#x002400;");
  EXPECT_EQ(HtmlEncodeOverhead[u'&'], 4);
  EXPECT_EQ(HtmlEncodeAttrOverhead[u'"'], 5);
  EXPECT_EQ(HtmlEncodeOverhead[u'"'], 0);
}

TEST(HtmlOutput, EachKindOfNodePrints) {
  struct Case {
    const char* html;
    const char* printed;
  } cases[] = {
      {"abc", "<body>abc</body>"},
      {"<br>", "<body><br/></body>"},
      {"<div></div>", "<body><div></div></body>"},
      {"<div/>", "<body><div></div></body>"},
      {"<img src=a>", "<body><img src=\"a\"/></body>"},
      {"<p class=x>t</p>", "<body><p class=\"x\">t</p></body>"},
      // Attributes in name order; a value equal to its name prints bare.
      {"<input value=1 checked type=checkbox>", "<body><input checked type=\"checkbox\" value=\"1\"/></body>"},
      {"<a title='say \"hi\" & <go>'>x</a>", "<body><a title=\"say &quot;hi&quot; &amp; &lt;go&gt;\">x</a></body>"},
      {"<p>1 &lt; 2 &amp;&amp; &quot;3&quot;&nbsp;</p>", "<body><p>1 &lt; 2 &amp;&amp; \"3\"&nbsp;</p></body>"},
      // Raw bodies go out unencoded; their attributes as name="value".
      {"<script async>if (a<b && c) x();</script>",
       "<body><script async=\"async\">if (a<b && c) x();</script></body>"},
      {"<style>p>b{color:red}</style>", "<body><style>p>b{color:red}</style></body>"},
      // The tokenizer keeps the opening dashes of a comment.
      {"<!-- c -->", "<body><!---- c --></body>"},
      {"<?xml version=\"1.0\"?>", "<body><?xml version=\"1.0\"?></body>"},
      {"<![CDATA[a<b]]>", "<body><![CDATA[a<b]]></body>"},
      {"<!DOCTYPE html><html><body>x</body></html>", "<html><body>x</body></html>"},
      {"<table><td>1<td>2</table>", "<body><table><tr><td>1</td><td>2</td></tr></table></body>"},
  };
  for (const Case& c : cases) EXPECT_EQ(Outer(c.html), c.printed) << c.html;

  auto doc = Doc("<p>a<b>b</b></p>");
  EXPECT_EQ(U8(doc->GetInnerHTML()), "<p>a<b>b</b></p>");
  EXPECT_EQ(U8(static_cast<THtmlNode*>(doc->GetNode(0))->GetInnerHTML()), "a<b>b</b>");
}

TEST(HtmlOutput, BodyTheDocumentDidNotOpenAndMetaCharset) {
  THtmlNode root;
  THtNode* body = root.AddChild(nullptr);
  body->SetTag(u"xbody");
  EXPECT_EQ(U8(root.GetOuterHTML()), "<xbody></xbody>");  // no attributes, no children: as it stands
  body->SetAttr(u"class", u"c");
  EXPECT_EQ(U8(root.GetOuterHTML()), "<body class=\"c\"></body>");
  THtNode* p = body->AddChild(nullptr);
  p->SetContent(u"x");
  EXPECT_EQ(U8(root.GetOuterHTML()), "<body class=\"c\">x</body>");

  auto doc = Doc("<head><meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\"></head>");
  EXPECT_EQ(U8(doc->GetOuterHTML()),
            "<body><head><meta http-equiv=\"Content-Type\" content=\"text/html;\"/></head></body>");
  TFastString out;
  out.Charset = u"utf-8";
  doc->FastInnerHTML(&out);
  EXPECT_EQ(U8(out.GetAsString()),
            "<body><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"/></head></body>");
  EXPECT_EQ(Outer("<meta name=a content=b>"), "<body><meta content=\"b\" name=\"a\"/></body>");
}

TEST(HtmlOutput, FormattedLayout) {
  auto doc = Doc(
      "<html><head><title>T</title></head><body><div>\n  <p>short</p><p>a paragraph long enough to need "
      "more than one line of the output, as it goes on</p><span>x</span><b>y</b></div><ul><li>1<li>2</ul>"
      "</body></html>");
  TFastString out;
  bool newLine = false;
  doc->FastFormattedHTML(&out, 0, 2, newLine);
  EXPECT_EQ(U8(out.GetAsString()),
            "<html>\r\n"
            "  <head>\r\n"
            "    <title>T</title>\r\n"
            "  </head>\r\n"
            "  <body>\r\n"
            "    <div>\r\n"
            "      <p>short</p>\r\n"
            "      <p>a paragraph long enough to need more than one line of the output, as it goes on\r\n"
            "      </p>\r\n"
            "      <span>x</span><b>y</b>\r\n"
            "    </div>\r\n"
            "    <ul>\r\n"
            "      <li>1</li>\r\n"
            "      <li>2</li>\r\n"
            "    </ul>\r\n"
            "  </body>\r\n"
            "</html>");
  // Level and indent apply to every line break; inline elements after a
  // block start a line.
  TFastString out2;
  newLine = false;
  static_cast<THtmlNode*>(doc->FindNode(u"ul"))->FastFormattedHTML(&out2, 1, 4, newLine);
  EXPECT_EQ(U8(out2.GetAsString()), "<ul>\r\n        <li>1</li>\r\n        <li>2</li>\r\n    </ul>");
}

TEST(HtmlText, WhatAReaderSees) {
  struct Case {
    const char* html;
    const char* text;
  } cases[] = {
      {"<script>var a = 1;</script>", ""},
      {"<p>a</p><p>b</p>", "a\r\nb"},  // the first block adds no empty line
      {"x<p> a </p>", "x\r\na"},
      {"<!-- c --><p> a </p>", "a "},  // a comment before it doesn't count
      {"<div><p>a</p></div>", "a"},
      {"<ul><li> one </li><li>two</li></ul>", "\r\none\r\ntwo"},
      {"a<br>b", "a\r\nb"},
      {"<style>p{}</style><noscript>n</noscript><![CDATA[c]]>t", "t"},
      {"<table><tr><td>1</td><td>2</td></tr><tr><th>3</th><th>4</th></tr></table>", "\r\n1\t2\r\n3\t4"},
      {"<a href=u>link</a> <img alt=i src=x>", "link "},
      {"<h1> T </h1><h6> U </h6>", "T  U "},  // h6 isn't one of the blocks
      {"A &amp; B&nbsp;C", "A & B\u00A0C"},
  };
  for (const Case& c : cases) EXPECT_EQ(Text(c.html), c.text) << c.html;

  auto doc = Doc("<head><title>T</title></head><p>See <a href=\"http://x.org/\">the site</a>, "
                 "<a href=#top>top</a>, <a href=\"mailto:a@b\" title=Mail></a><script>s</script></p>");
  TFastString out;
  doc->FastInnerText(&out);
  // The head writes nothing, but as an element before the paragraph it
  // still puts a line break in front of it.
  EXPECT_EQ(U8(out.GetAsString()), "\r\nSee the site (http://x.org/), top, Mail (mailto:a@b)");
  EXPECT_EQ(U8(doc->GetRawInnerText()), "TSee the site, top, ");
  EXPECT_EQ(U8(doc->HTMLtoText(u"<p>a</p><p>b &lt;c&gt;</p>")), "a\r\nb <c>");
}

TEST(HtmlEditing, SetInnerHtmlInTheMiddleOfATree) {
  auto doc = Doc("<div id=a>1</div><div id=b>old<i>x</i></div><div id=c>3</div>");
  auto* b = static_cast<THtmlNode*>(doc->FindNodebyAttr(u"div", u"id", u"b"));
  b->SetInnerHTML(u"<p>new<p>two</p>tail");
  EXPECT_EQ(U8(doc->GetOuterHTML()),
            "<body><div id=\"a\">1</div><div id=\"b\"><p>new</p><p>two</p>tail</div><div id=\"c\">3</div></body>");
  ExpectLinked(doc.get());

  // A table takes its rows as a tbody would; a row takes its cells.
  auto t = Doc("<table id=t></table>");
  auto* table = static_cast<THtmlNode*>(t->FindNode(u"table"));
  table->SetInnerHTML(u"<tr><td>1<td>2</tr>");
  EXPECT_EQ(U8(table->GetInnerHTML()), "<tr><td>1</td><td>2</td></tr>");
  static_cast<THtmlNode*>(table->FindNode(u"tr"))->SetInnerHTML(u"<td>a<td>b");
  EXPECT_EQ(U8(table->GetInnerHTML()), "<tr><td>a</td><td>b</td></tr>");
  ExpectLinked(t.get());

  // Raw bodies take the text itself; empty text just clears.
  auto s = Doc("<script>a</script><p>x</p>");
  static_cast<THtmlNode*>(s->FindNode(u"script"))->SetInnerHTML(u"if (a<b) f();");
  static_cast<THtmlNode*>(s->FindNode(u"p"))->SetInnerHTML(UnicodeString());
  EXPECT_EQ(U8(s->GetOuterHTML()), "<body><script>if (a<b) f();</script><p></p></body>");

  // Outer: the node is replaced in place, its siblings stay.
  auto o = Doc("<ul><li>1</li><li id=x>2</li><li>3</li></ul>");
  static_cast<THtmlNode*>(o->FindNodebyAttr(u"li", u"id", u"x"))->SetOuterHTML(u"<li>2a<li>2b");
  EXPECT_EQ(U8(o->GetOuterHTML()), "<body><ul><li>1</li><li>2a</li><li>2b</li><li>3</li></ul></body>");
  ExpectLinked(o.get());
  THtmlNode lonely;
  EXPECT_THROW(lonely.SetOuterHTML(u"<p>"), EInvalidOperation);

  // AddHTML appends and returns the first node added.
  auto* ul = static_cast<THtmlNode*>(o->FindNode(u"ul"));
  THtNode* first = ul->AddHTML(u"<li>4</li><li>5</li>");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(U8(first->GetNode(0)->Content()), "4");
  EXPECT_EQ(ul->GetCount(), 6);
  EXPECT_EQ(ul->AddHTML(UnicodeString()), nullptr);
  ExpectLinked(o.get());

  ul->SetInnerText(u"<plain>");
  EXPECT_EQ(U8(ul->GetOuterHTML()), "<ul>&lt;plain&gt;</ul>");
}

TEST(HtmlEditing, MovingChildren) {
  auto doc = Doc("<div><p>a</p><span id=s>1<b>2</b>3</span><p>z</p></div>");
  auto* span = static_cast<THtmlNode*>(doc->FindNode(u"span"));
  THtNode* div = span->Parent();
  span->MoveChildrentoParent(false);
  EXPECT_EQ(U8(div->Parent() ? static_cast<THtmlNode*>(div)->GetOuterHTML() : UnicodeString()),
            "<div><p>a</p>1<b>2</b>3<span id=\"s\"></span><p>z</p></div>");
  ExpectLinked(doc.get());
  span->MoveChildrentoParent(true);  // no children left; the span goes
  EXPECT_EQ(U8(static_cast<THtmlNode*>(div)->GetOuterHTML()), "<div><p>a</p>1<b>2</b>3<p>z</p></div>");
  ExpectLinked(doc.get());

  auto* d = static_cast<THtmlNode*>(div);
  auto target = Doc("<ol><li>x</li></ol>");
  THtNode* ol = target->FindNode(u"ol");
  d->MoveChildrento(ol, 0);
  EXPECT_EQ(d->GetCount(), 0);
  EXPECT_EQ(U8(target->GetOuterHTML()), "<body><ol><p>a</p>1<b>2</b>3<p>z</p><li>x</li></ol></body>");
  ExpectLinked(target.get());
  EXPECT_THROW(static_cast<THtmlNode*>(ol)->MoveChildrento(ol->GetNode(1), -1), EInvalidOperation);

  auto* olh = static_cast<THtmlNode*>(ol);
  THtNode* li = ol->GetNode(5);
  olh->MoveNode(li, ol->GetNode(0));
  EXPECT_EQ(U8(olh->GetInnerHTML()), "<li>x</li><p>a</p>1<b>2</b>3<p>z</p>");
  olh->MoveNode(li, nullptr);
  EXPECT_EQ(U8(olh->GetInnerHTML()), "<p>a</p>1<b>2</b>3<p>z</p><li>x</li>");
  ExpectLinked(target.get());
  EXPECT_THROW(static_cast<THtmlNode*>(li)->MoveNode(ol, nullptr), EInvalidOperation);

  std::vector<std::string> tags;
  target->EnumerateElements([&](THtNode* n) {
    tags.push_back(U8(n->Tag()));
    return tags.size() < 4;
  });
  EXPECT_EQ(tags, (std::vector<std::string>{"ol", "p", "b", "p"}));
  EXPECT_EQ(static_cast<THtmlNode*>(ol->GetNode(4))->AbsoluteTagIndex(), 1);  // the second "p"
}

TEST(HtmlEditing, ClassAndIdHelpers) {
  auto doc = Doc("<p class=\" a  b \">x</p>");
  auto* p = static_cast<THtmlNode*>(doc->FindNode(u"p"));
  EXPECT_TRUE(p->HasClass(u"a"));
  EXPECT_TRUE(p->HasClass(u"b a"));
  EXPECT_FALSE(p->HasClass(u"c"));
  EXPECT_FALSE(p->HasClass(UnicodeString()));
  p->AddClass(u"c a");
  EXPECT_EQ(U8(p->GetStyleClassStr()), " a  b  c");
  p->RemoveClass(u"a");
  EXPECT_EQ(U8(p->GetStyleClassStr()), "b c");
  p->ToggleClass(u"b");
  p->ToggleClass(u"d");
  EXPECT_EQ(U8(p->GetStyleClassStr()), "c d");
  p->RemoveClass(u"c d");
  EXPECT_FALSE(p->HasAttribute(u"class"));
  p->SetStyleClass(u"x");
  p->SetSelfStyle(u"color: red");
  p->SetId(u"i1");
  EXPECT_EQ(U8(p->GetOuterHTML()), "<p class=\"x\" id=\"i1\" style=\"color: red\">x</p>");
  p->SetStyleClass(UnicodeString());
  p->SetSelfStyle(UnicodeString());
  EXPECT_EQ(U8(p->GetOuterHTML()), "<p id=\"i1\">x</p>");
  EXPECT_EQ(U8(p->GetId()), "i1");
  EXPECT_TRUE(p->QuirksMode());
}

TEST(HtmlEditing, NodeListsReachTheHtmlOperations) {
  // The HTML node layer registers its operations when the library loads.
  ASSERT_NE(RegisteredHtmlNodeOps(), nullptr);
  EXPECT_EQ(RegisteredHtmlNodeOps()->NodeClass, THtmlNode::StaticClass());
  auto doc = Doc("<p>a</p><p>b</p><div>c</div>");
  IntfPtr<IHtNodeList> found = doc->XPath(u"//p");
  THtNodeList* list = found->GetList();
  ASSERT_EQ(list->GetCount(), 2);
  EXPECT_EQ(U8(list->GetHTML()), "a");
  EXPECT_EQ(U8(list->GetText()), "a\r\nb");
  list->AddClass(u"k")->ToggleClass(u"m");
  EXPECT_TRUE(static_cast<THtmlNode*>(list->GetNode(1))->HasClass(u"k m"));
  list->RemoveClass(u"m");
  list->SetHTML(u"<b>x</b>");
  EXPECT_EQ(U8(doc->GetOuterHTML()), "<body><p class=\"k\"><b>x</b></p><p class=\"k\"><b>x</b></p><div>c</div></body>");
}

TEST(HtmlEditing, PlaceholderNamesKeepTheirCase) {
  auto doc = Doc("<a {Link}=\"x\" HREF=\"{Url}\" Title=t>y</a>");
  THtNode* a = doc->FindNode(u"a");
  const THtAttributes* at = a->Attributes();
  ASSERT_NE(at, nullptr);
  std::vector<std::string> names;
  for (int32_t i = 0; i < at->Count; ++i) names.push_back(U8(at->GetName(i)));
  EXPECT_EQ(names, (std::vector<std::string>{"href", "title", "{Link}"}));
  THtAttributes table;
  table.Add(u"{Name}", u"1");
  table.SetAttribute(u"{Other}", u"2");
  table.Add(u"NAME", u"3");
  EXPECT_EQ(U8(table.GetName(0)), "name");
  EXPECT_EQ(U8(table.GetName(1)), "{Name}");
  EXPECT_EQ(U8(table.GetName(2)), "{Other}");
  EXPECT_EQ(U8(table.GetAttribute(u"{name}")), "1");  // lookups still ignore case
}

TEST(HtmlEditing, DeepTreesBuildAndPrintInLinearTime) {
  // Children made without a class take their parent's: no walk to the
  // root for each one, and printing keeps its stack on the heap.
  THtmlNode root;
  THtNode* n = &root;
  constexpr int kDepth = 200000;
  for (int i = 0; i < kDepth; ++i) {
    n = n->AddChild(nullptr);
    n->SetTag(u"b");
  }
  EXPECT_TRUE(n->Is<THtmlNode>());
  n->AddChild(nullptr)->SetContent(u"x");
  const UnicodeString html = root.GetOuterHTML();
  EXPECT_EQ(html.Length(), kDepth * 7 + 1);
  EXPECT_EQ(U8(root.GetInnerText()), "x");
  EXPECT_EQ(U8(root.GetRawInnerText()), "x");
  TFastString out;
  bool newLine = false;
  root.FastFormattedHTML(&out, 0, 0, newLine);
  EXPECT_EQ(out.GetTotalLen(), kDepth * 7 + 1);
}

TEST(HtmlText, ReplaceTextURLs) {
  struct Case {
    const char16_t* in;
    const char16_t* out;
  } cases[] = {
      {u"see http://a.org/x?y=1.", u"see [http://a.org/x?y=1]."},
      {u"(www.example.com/p) and ftp://f.net", u"([www.example.com/p]) and [ftp://f.net]"},
      {u"wiki https://en.wikipedia.org/wiki/A_(b), ok", u"wiki [https://en.wikipedia.org/wiki/A_(b)], ok"},
      {u"mailto:joe@x.gov; example.edu/path!", u"[mailto:joe@x.gov]; [example.edu/path]!"},
      {u"joe@example.com x.com www. http:// notaurl.comx", u"joe@example.com [x.com] www. http:// notaurl.comx"},
      {u"<a>HTTP://UP.ORG</a>", u"<a>[HTTP://UP.ORG]</a>"},
      {u"no links here", u"no links here"},
  };
  for (const Case& c : cases) {
    const UnicodeString in(c.in);
    const UnicodeString r = ReplaceTextURLs(in, [](const UnicodeString& url) { return u"[" + url + u"]"; });
    EXPECT_EQ(U8(r), U8(UnicodeString(c.out))) << U8(in);
  }
  const UnicodeString none(u"plain");
  EXPECT_TRUE(ReplaceTextURLs(none, [](const UnicodeString& u) { return u; }).SameBlock(none));
}
