#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "norvane/foundation/text_file.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/markup_encode.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/markup/xml_node.h"
#include "norvane/runtime/streams.h"

using namespace norvane;

namespace {

std::string U8(const UnicodeString& s) { return s.ToUtf8(); }

std::unique_ptr<THtXMLNode> Xml(const char16_t* text) { return std::make_unique<THtXMLNode>(UnicodeString(text)); }

std::string ErrorOf(const char16_t* text) {
  try {
    THtXMLNode n{UnicodeString(text)};
  } catch (const Exception& e) {
    return e.what();
  }
  return "";
}

TEST(XmlNode, ReadsElementsAttributesAndText) {
  auto doc = Xml(u"<?xml version=\"1.0\"?>\n<Root a=\"1\" B='x&amp;y'><Item>one</Item><Item/>tail</Root>");
  EXPECT_EQ(U8(doc->Tag()), "Root");
  EXPECT_EQ(doc->TagType, htIdent);
  // Names keep their case; attributes are case-sensitive.
  EXPECT_EQ(U8(doc->GetAttribute(u"B")), "x&y");
  EXPECT_EQ(U8(doc->GetAttribute(u"b")), "");
  ASSERT_EQ(doc->GetCount(), 3);
  EXPECT_EQ(U8(doc->GetNode(0)->GetValue()), "one");
  EXPECT_EQ(doc->GetNode(1)->GetCount(), 0);
  EXPECT_EQ(U8(doc->GetNode(2)->Content()), "tail");
  EXPECT_TRUE(doc->GetNode(2)->Tag().IsEmpty());
  // Interned tags: the two "Item" share one string.
  EXPECT_TRUE(doc->GetNode(0)->Tag().SameBlock(doc->GetNode(1)->Tag()));
  EXPECT_EQ(U8(doc->Code()), "<Root B=\"x&amp;y\" a=\"1\"><Item>one</Item><Item/>tail</Root>");
}

TEST(XmlNode, TextPlacement) {
  // Two blanks stay as the element's content.
  EXPECT_EQ(U8(Xml(u"<a>  </a>")->Content()), "  ");
  // Blank runs between elements join the element's content; other text after
  // a child becomes a text child; the value joins content and text children.
  auto doc = Xml(u"<a>\n  <b/>\n  x<c/>y\n</a>");
  EXPECT_EQ(U8(doc->Content()), "\n  ");
  ASSERT_EQ(doc->GetCount(), 4);
  EXPECT_EQ(U8(doc->GetNode(1)->Content()), "\n  x");
  EXPECT_EQ(U8(doc->GetValue()), "\n  \n  xy\n");
  // xml:space="preserve" keeps blank text in place, also in descendants.
  auto pre = Xml(u"<a xml:space=\"preserve\"><b/> <c> <d/></c></a>");
  ASSERT_EQ(pre->GetCount(), 3);
  EXPECT_EQ(U8(pre->GetNode(1)->Content()), " ");
  EXPECT_EQ(U8(pre->GetNode(2)->Content()), " ");  // the first text of "c"
  EXPECT_EQ(U8(pre->Code()), "<a xml:space=\"preserve\"><b/> <c> <d/></c></a>");
}

TEST(XmlNode, CommentsCDataDirectivesAndEntities) {
  auto doc = Xml(
      u"<!-- before --><a><!-- c --><![CDATA[<raw> & ]]><?pi x=\"1\"?>&lt;&#65;&#x42;&quot;&apos;</a><!-- after -->");
  ASSERT_EQ(doc->GetCount(), 4);
  EXPECT_EQ(doc->GetNode(0)->TagType, htComment);
  EXPECT_EQ(U8(doc->GetNode(0)->Content()), " c ");
  EXPECT_EQ(doc->GetNode(1)->TagType, htCData);
  EXPECT_EQ(U8(doc->GetNode(1)->Content()), "<raw> & ");
  EXPECT_EQ(doc->GetNode(2)->TagType, htDirective);
  EXPECT_EQ(U8(doc->GetPIAttribute(u"x")), "1");
  EXPECT_EQ(U8(doc->GetNode(3)->Content()), "<AB\"'");
  EXPECT_EQ(U8(doc->Code()),
            "<a><!-- c --><![CDATA[<raw> & ]]><?pi x=\"1\"?>&lt;AB&quot;'</a>");
  // A CDATA section holding "]]>" is split on output, and reads back whole.
  THtXMLNode n(u"r", UnicodeString(), nullptr);
  THtXMLNode* cd = n.Add(u"x");
  cd->SetTag(UnicodeString());
  cd->TagType = htCData;
  cd->SetContent(u"a]]>b");
  EXPECT_EQ(U8(n.Code()), "<r><![CDATA[a]]]]><![CDATA[>b]]></r>");
  EXPECT_EQ(U8(THtXMLNode(n.Code()).GetValue()), "a]]>b");
  // The reader pairs the brackets of a run from its start, so runs before
  // ">" and at the end need care: whatever the text, the output reads back
  // to the same text and prints again the same.
  for (const char16_t* text : {u"a]", u"]", u"]]]", u"]]]>]]", u"x]]]>", u"]]]]>", u"]>]]>]]]>", u"a]]b]]]c"}) {
    cd->SetContent(text);
    const UnicodeString code = n.Code();
    THtXMLNode again(code);
    EXPECT_EQ(again.GetValue(), UnicodeString(text)) << U8(code);
    EXPECT_EQ(again.Code(), code);
  }
}

TEST(XmlNode, Errors) {
  // The tag order error always says position 0.
  EXPECT_EQ(ErrorOf(u"<a>x</b>"), "Tag order error: /a expected, /b found at position 0");
  EXPECT_EQ(ErrorOf(u"<a><b></a></b>"), "Tag order error: /b expected, /a found at position 0");
  EXPECT_EQ(ErrorOf(u"<a><b>"), "Unexpected end of XML: /b expected");
  EXPECT_EQ(ErrorOf(u"<a/><b/>"), "Only one root element is allowed");
  EXPECT_EQ(ErrorOf(u"<a/>x"), "Text outside the root element");
  EXPECT_EQ(ErrorOf(u"just text"), "Text outside the root element");
  EXPECT_EQ(ErrorOf(u"<!-- only a comment -->"), "XML has no root element");
  EXPECT_EQ(ErrorOf(u"</a>"), "Tag order error: / expected, /a found at position 0");
  EXPECT_EQ(ErrorOf(u"<a><!DOCTYPE a></a>"), "Misplaced markup declaration");
  // Cheap checks beyond balance: names, comments, processing instructions.
  EXPECT_EQ(ErrorOf(u"<-a/>"), "Invalid element name -a");
  EXPECT_EQ(ErrorOf(u"<a .b=\"1\"/>"), "Invalid attribute name .b");
  EXPECT_EQ(ErrorOf(u"<a><!-- a -- b --></a>"), "A comment may not hold \"--\"");
  EXPECT_EQ(ErrorOf(u"<a><? x?></a>"), "A processing instruction needs a target name");
  EXPECT_EQ(ErrorOf(u"<!-- c --><?xml version=\"1.0\"?><a/>"), "The XML declaration must stand at the start");
  EXPECT_EQ(ErrorOf(u"\uFEFF<?xml version=\"1.0\"?><a/>"), "");
  // The markup parser's own strict errors pass through.
  EXPECT_EQ(ErrorOf(u"<a b=1/>"), "Attribute b value expected but 1 found. Line 0 position 7");
  EXPECT_EQ(ErrorOf(u"<a>1 < 2</a>"), "Invalid tag name  . Line 0 position 6");
  EXPECT_THROW(THtXMLNode(UnicodeString(u"<a><1/></a>")), EHtmlParserException);
  // Empty and blank texts give an empty node.
  EXPECT_EQ(ErrorOf(u""), "");
  EXPECT_EQ(ErrorOf(u" \r\n "), "");
  // A deep document parses without recursion and frees without it.
  const int depth = 200000;
  std::u16string text;
  for (int i = 0; i < depth; ++i) text += u"<a>";
  for (int i = 0; i < depth; ++i) text += u"</a>";
  THtXMLNode doc{UnicodeString(text)};
  EXPECT_EQ(doc.Code().Length(), int32_t(text.size()) - 3);  // the innermost is "<a/>"
  EXPECT_GT(doc.FormattedCode().Length(), 0);
  std::unique_ptr<THtXMLNode> copy(doc.Clone());
  EXPECT_EQ(copy->Code(), doc.Code());
}

TEST(XmlNode, ValuesAndTypedAccess) {
  auto doc = Xml(u"<r><n>5</n><t>a<!--c-->b</t><e/></r>");
  EXPECT_EQ(U8(doc->SafeNodeValue(u"n")), "5");
  EXPECT_EQ(U8(doc->SafeNodeValue(u"missing")), "");
  // The value joins the content of every tagless child, comments included.
  EXPECT_EQ(U8(doc->NodebyName(u"t")->GetValue()), "acb");
  EXPECT_TRUE(doc->NodebyName(u"n")->GetIsTextElement());
  EXPECT_FALSE(doc->GetIsTextElement());
  EXPECT_TRUE(doc->GetHasChildNodes());
  EXPECT_FALSE(doc->NodebyName(u"e")->GetHasChildNodes());
  // SetValue writes the content, or the first text child of an element
  // whose content is empty.
  THtXMLNode* t = doc->NodebyName(u"t");
  t->SetValue(u"z");
  EXPECT_EQ(U8(t->Content()), "z");
  THtXMLNode* e = doc->NodebyName(u"e");
  e->AddProcessingInstruction(u"go", u"");
  e->SetValue(u"v");
  EXPECT_EQ(U8(e->Code()), "<e><?v?></e>");
  EXPECT_EQ(U8(doc->SetNode(u"x/y", u"1")->Path()), "r/x/y");
  EXPECT_EQ(U8(doc->SafeNodeValue(u"x/y")), "1");
  EXPECT_THROW(doc->GetNode(10), EHtXML);
  try {
    doc->GetNode(-1);
  } catch (const EHtXML& ex) {
    EXPECT_STREQ(ex.what(), "Node index -1 out of range");
  }
  EXPECT_THROW(doc->GetNode1(u"nothing"), EHtXML);
  EXPECT_EQ(doc->GetNode1(u"n"), doc->NodebyName(u"n"));
  doc->SetorRemoveAttribute(u"k", u"v");
  EXPECT_EQ(U8(doc->GetAttribute(u"k")), "v");
  doc->SetorRemoveAttribute(u"k", u"");
  EXPECT_FALSE(doc->HasAttribute(u"k"));
}

TEST(XmlNode, TreeOperations) {
  THtXMLNode root(u"list", UnicodeString(), nullptr);
  THtXMLNode* a = root.Add(u"a", u"1");
  THtXMLNode* c = root.Add(u"c", u"3");
  auto* b = new THtXMLNode(u"b", u"2", nullptr);
  root.InsertNode(1, b);
  EXPECT_EQ(U8(root.Code()), "<list><a>1</a><b>2</b><c>3</c></list>");
  EXPECT_EQ(a->NextSibling(), b);
  EXPECT_EQ(b->NextSibling(), c);
  // Moving a node takes it out of its former place.
  root.InsertNode(0, c);
  EXPECT_EQ(U8(root.Code()), "<list><c>3</c><a>1</a><b>2</b></list>");
  EXPECT_THROW(a->InsertNode(0, &root), EInvalidOperation);
  std::unique_ptr<THtXMLNode> out(root.Extract(a));
  EXPECT_EQ(out->Parent(), nullptr);
  EXPECT_EQ(root.Extract(a), nullptr);
  EXPECT_EQ(U8(root.Code()), "<list><c>3</c><b>2</b></list>");
  root.Delete(0);
  EXPECT_EQ(U8(root.Code()), "<list><b>2</b></list>");
  EXPECT_THROW(root.Delete(5), EHtXML);
  // Clone and Assign copy deeply.
  root.GetNode(0)->SetAttr(u"k", u"v");
  std::unique_ptr<THtXMLNode> copy(root.Clone());
  root.GetNode(0)->SetAttr(u"k", u"changed");
  EXPECT_EQ(U8(copy->Code()), "<list><b k=\"v\">2</b></list>");
  THtXMLNode other;
  other.Assign(copy.get());
  EXPECT_EQ(other.Code(), copy->Code());
  // Assign from one's own descendant.
  other.Assign(other.GetNode(0));
  EXPECT_EQ(U8(other.Code()), "<b k=\"v\">2</b>");
  // GetCreateNode makes what is missing and finds what exists.
  THtXMLNode* deep = root.GetCreateNode(u"x/y/z");
  EXPECT_EQ(root.GetCreateNode(u"x/y/z"), deep);
  EXPECT_EQ(U8(deep->Path()), "list/x/y/z");
  // Sorting by attribute.
  auto rows = Xml(u"<r><i n=\"3\"/><i n=\"10\"/><i n=\"1\"/></r>");
  rows->SortbyAttr(u"n", scFloat, true);
  EXPECT_EQ(U8(rows->Code()), "<r><i n=\"1\"/><i n=\"3\"/><i n=\"10\"/></r>");
  EXPECT_EQ(rows->GetNode(0)->NextSibling(), rows->GetNode(1));
}

TEST(XmlNode, Namespaces) {
  auto doc = Xml(
      u"<x:root xmlns:x=\"urn:x\" xmlns=\"urn:d\" xmlns:y=\"urn:y\"><x:item y:id=\"1\">a</x:item>"
      u"<item xml:lang=\"en\">b</item><y:item>c</y:item></x:root>");
  EXPECT_EQ(U8(doc->GetPrefix()), "x");
  EXPECT_EQ(U8(doc->GetLocalName()), "root");
  EXPECT_EQ(U8(doc->GetNamespaceURI()), "urn:x");
  EXPECT_EQ(U8(doc->GetNode(1)->GetPrefix()), "");
  EXPECT_EQ(U8(doc->GetNode(1)->GetNamespaceURI()), "urn:d");
  EXPECT_EQ(U8(doc->NodebyNameNS(u"item")->GetValue()), "a");
  EXPECT_EQ(U8(doc->NodebyNameNS(u"item", u"urn:d")->GetValue()), "b");
  EXPECT_EQ(U8(doc->NodebyNameNS(u"item", u"urn:y")->GetValue()), "c");
  EXPECT_EQ(doc->NodebyNameNS(u"item", u"urn:none"), nullptr);
  doc->RemoveNamespaces();
  EXPECT_EQ(U8(doc->Code()), "<root><item id=\"1\">a</item><item xml:lang=\"en\">b</item><item>c</item></root>");
  auto up = Xml(u"<a HREF=\"1\"><b Id=\"2\"/></a>");
  up->LowerAttributes();
  EXPECT_EQ(U8(up->Code()), "<a href=\"1\"><b id=\"2\"/></a>");
}

TEST(XmlNode, XPathQueriesAndXPathSet) {
  auto doc = Xml(u"<r><a id=\"1\"><b>x</b></a><a id=\"2\"><b>y</b></a></r>");
  EXPECT_EQ(U8(doc->XPathValue(u"a[@id='2']/b")), "y");
  EXPECT_EQ(doc->XPath(u"//b")->GetCount(), 2);
  // Existing nodes take the value; missing steps are created, with what the
  // conditions ask for.
  doc->XPathSet(u"a[@id='2']/b", u"z");
  EXPECT_EQ(U8(doc->XPathValue(u"a[@id='2']/b")), "z");
  THtXMLNode* made = doc->XPathSet(u"a[@id='3']/c[d='4']/@e", u"5");
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(U8(doc->GetNode(2)->Code()), "<a id=\"3\"><c e=\"5\"><d>4</d></c></a>");
  doc->XPathSet(u"/s/t/text()", u"v");
  EXPECT_EQ(U8(doc->XPathValue(u"s/t")), "v");
  doc->XPathSet(u"//b", u"first");
  EXPECT_EQ(U8(doc->XPathValue(u"a/b")), "first");
  EXPECT_EQ(doc->XPathSet(u"", u"x"), nullptr);
  EXPECT_EQ(doc->XPathSet(u"*/zz/*", u"x"), nullptr);  // "*" can't be created
}

TEST(XmlNode, FormattedCode) {
  auto doc = Xml(u"<r a=\"1\">\n<!--c--><x>t</x><y><z/></y><m>a<b>c</b>d</m></r>");
  EXPECT_EQ(U8(doc->FormattedCode()),
            "<r a=\"1\">\r\n  <!--c-->\r\n  <x>t</x>\r\n  <y>\r\n    <z/>\r\n  </y>\r\n"
            "  <m>a<b>c</b>d</m>\r\n</r>");
  EXPECT_EQ(U8(doc->FormattedCode(1)).find("\r\n <x>"), 20u);
  // Formatting again what formatting gave changes nothing: the blank
  // content it adds gives way to the indentation once more.
  EXPECT_EQ(THtXMLNode(doc->FormattedCode()).FormattedCode(), doc->FormattedCode());
  EXPECT_EQ(U8(Xml(u"<a/>")->FormattedCode()), "<a/>");
}

TEST(XmlNode, RoundTrips) {
  const char16_t* texts[] = {
      u"<a/>",
      u"<a b=\"&lt;&amp;&quot;\">t&gt;<c/>text<!--x--><![CDATA[y]]><?p q?></a>",
      u"<ns:a xmlns:ns=\"u\"><ns:b ns:c=\"1\">\u00e9\u4e2d\U0001F600</ns:b></ns:a>",
      u"<a>&#1;&#31;\t</a>",
  };
  for (const char16_t* t : texts) {
    auto doc = Xml(t);
    const UnicodeString once = doc->Code();
    EXPECT_EQ(THtXMLNode(once).Code(), once) << U8(once);
  }
  // UTF-8 output with and without the declaration.
  auto doc = Xml(u"<a>\u00e9</a>");
  EXPECT_EQ(doc->UTF8Code(false), "<a>\xc3\xa9</a>");
  EXPECT_EQ(doc->UTF8Code(true), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<a>\xc3\xa9</a>");
  EXPECT_EQ(XMLEncode(u"a<\"&>\x01"), UnicodeString(u"a&lt;&quot;&amp;&gt;&#1;"));
  const UnicodeString plain(u"nothing to do");
  EXPECT_TRUE(XMLEncode(plain).SameBlock(plain));
}

TEST(XmlNode, StreamsFilesAndEncodings) {
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / "norvane_xml_node_test";
  std::filesystem::create_directories(dir);
  const UnicodeString file = UnicodeString::FromUtf8((dir / "doc.xml").string());
  auto doc = Xml(u"<a x=\"\u00e9\">\u20ac \u4e2d</a>");
  doc->SaveToFileUTF8(file);
  EXPECT_EQ(THtXMLNode(file, heDefault).Code(), doc->Code());
  doc->SaveToFileUTF8Format(file);
  EXPECT_EQ(THtXMLNode(file, heUTF8).Code(), doc->Code());
  // The system code page lacks the CJK character: it goes out as a
  // reference, and the declaration names the code page.
  doc->SaveToFileANSI(file);
  const RawByteString ansi = FileToStrR(file);
  EXPECT_NE(ansi.find("encoding=\"windows-1252\""), std::string::npos);
  EXPECT_NE(ansi.find("&#20013;"), std::string::npos);
  EXPECT_EQ(THtXMLNode(file, heDefault).Code(), doc->Code());
  // Byte-order marks and UTF-16.
  {
    TBytesStream s(TBytes{0xFF, 0xFE, '<', 0, 'a', 0, '/', 0, '>', 0});
    EXPECT_EQ(U8(THtXMLNode(&s, heDefault).Code()), "<a/>");
    TBytesStream be(TBytes{0, '<', 0, 'b', 0, '/', 0, '>'});
    EXPECT_EQ(U8(THtXMLNode(&be, heDefault).Code()), "<b/>");
    const std::string latin = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xe9</a>";
    TBytesStream l(TBytes(latin.begin(), latin.end()));
    EXPECT_EQ(U8(THtXMLNode(&l, heDefault).GetValue()), "\xc3\xa9");
    const std::string json = "\xef\xbb\xbf{\"a\":[1]}";
    TBytesStream j(TBytes(json.begin(), json.end()));
    EXPECT_EQ(U8(THtXMLNode(&j, heDefault, true).JSON()), "{\"a\":[\"1\"]}");
    TBytesStream empty;
    try {
      THtXMLNode n(&empty, heDefault);
      ADD_FAILURE();
    } catch (const EHtXML& e) {
      EXPECT_STREQ(e.what(), "Cannot load empty stream");
    }
    // Reading starts at the stream's position and leaves it at the end; a
    // stream read to its end is empty.
    const std::string two = "<x/><y>t</y>";
    TBytesStream s2(TBytes(two.begin(), two.end()));
    s2.Seek(4, soBeginning);
    EXPECT_EQ(U8(THtXMLNode(&s2, heDefault).Code()), "<y>t</y>");
    EXPECT_EQ(s2.Position(), int64_t(two.size()));
    EXPECT_THROW(THtXMLNode(&s2, heDefault), EHtXML);
  }
  std::filesystem::remove_all(dir);
}

}  // namespace
