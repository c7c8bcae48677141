#include "norvane/markup/sax_xml_parser.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "norvane/foundation/fast_string.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/html_tokenizer.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/runtime/streams.h"
#include "norvane/runtime/sysutils.h"

using namespace norvane;

namespace {

// A stream over bytes that hands out at most `chunk` bytes a read, as pipes
// and sockets do.
class TChunkStream : public TStream {
 public:
  TChunkStream(std::string bytes, int64_t chunk) : FBytes(std::move(bytes)), FChunk(chunk) {}
  int64_t Read(void* buffer, int64_t count) override {
    const int64_t n = std::min({count, FChunk, int64_t(FBytes.size()) - FPos});
    if (n <= 0) return 0;
    std::memcpy(buffer, FBytes.data() + FPos, size_t(n));
    FPos += n;
    return n;
  }
  int64_t Write(const void*, int64_t) override { return 0; }
  int64_t Seek(int64_t, TSeekOrigin) override { return FPos; }

 private:
  std::string FBytes;
  int64_t FChunk;
  int64_t FPos = 0;
};

std::string Utf8(std::u16string_view s) {
  std::string out;
  AppendUtf8(out, s);
  return out;
}

// One line per event: "<a k=v>" for a start, "</a>" for an end, the text
// as it is for a text.
std::string Show(THtSAXXMLParser& sax) {
  switch (sax.LastEvent()) {
    case seTagStart: {
      std::string s = "<" + sax.Tag().ToUtf8();
      const THtAttributes& a = *sax.Attributes();
      for (int32_t i = 0; i < a.Count; ++i) s += " " + a.GetName(i).ToUtf8() + "=" + a.GetValue(i).ToUtf8();
      return s + ">";
    }
    case seTagEnd:
      return "</" + sax.Tag().ToUtf8() + ">";
    case seText:
      return Utf8(sax.TextView());
  }
  return "?";
}

std::vector<std::string> Events(TStream& stream, THtmlEncoding encoding = heDefault) {
  THtSAXXMLParser sax(&stream, encoding);
  std::vector<std::string> out;
  while (sax.Next()) out.push_back(Show(sax));
  EXPECT_EQ(sax.Level, 0);
  return out;
}

std::vector<std::string> Events(const std::string& bytes, int64_t chunk = 1 << 30,
                                THtmlEncoding encoding = heDefault) {
  TChunkStream stream(bytes, chunk);
  return Events(stream, encoding);
}

using V = std::vector<std::string>;

// The message of the EHtXML that reading all of `bytes` raises, or "".
std::string ErrorOf(const std::string& bytes, int64_t chunk = 1 << 30) {
  TChunkStream stream(bytes, chunk);
  try {
    THtSAXXMLParser sax(&stream);
    while (sax.Next()) {
    }
  } catch (const EHtXML& e) {
    return e.Message().ToUtf8();
  }
  return "";
}

std::string Utf16(std::u16string_view s, bool bigEndian, bool mark) {
  const std::u16string text = mark ? u"\uFEFF" + std::u16string(s) : std::u16string(s);
  std::string out;
  for (char16_t c : text) {
    const char lo = char(c & 0xFF), hi = char(c >> 8);
    out += bigEndian ? hi : lo;
    out += bigEndian ? lo : hi;
  }
  return out;
}

TEST(SAXParser, ElementsAttributesAndText) {
  EXPECT_EQ(Events("<a x=\"1\" b='two' c>hi <b/>there</a>"),
            (V{"<a b=two c=c x=1>", "hi ", "<b>", "</b>", "there", "</a>"}))
      << "attributes come in name order; a bare name is its own value";
  EXPECT_EQ(Events("<r>\n  <e\tk = \"v\" />\n</r>\n"), (V{"<r>", "\n  ", "<e k=v>", "</e>", "\n", "</r>", "\n"}))
      << "blank text between tags is reported as written";
  EXPECT_EQ(Events(""), V{});
  EXPECT_EQ(Events("just text"), V{"just text"});

  // Levels: a start counts up before it is reported, an end down.
  TBytesStream s(TBytes{'<', 'a', '>', '<', 'b', '/', '>', 'x', '<', '/', 'a', '>'});
  THtSAXXMLParser sax(&s);
  std::vector<int32_t> levels;
  while (sax.Next()) levels.push_back(sax.Level);
  EXPECT_EQ(levels, (std::vector<int32_t>{1, 2, 1, 1, 0}));

  // <a/> yields a start and an end with the level back at 0; the end keeps
  // the name.
  TBytesStream e(TBytes{'<', 'a', '/', '>'});
  THtSAXXMLParser empty(&e);
  ASSERT_TRUE(empty.Next());
  EXPECT_EQ(empty.LastEvent(), seTagStart);
  EXPECT_EQ(empty.Level, 1);
  ASSERT_TRUE(empty.Next());
  EXPECT_EQ(empty.LastEvent(), seTagEnd);
  EXPECT_EQ(empty.Tag(), u"a");
  EXPECT_EQ(empty.Level, 0);
  EXPECT_FALSE(empty.Next());
  EXPECT_FALSE(empty.Next()) << "the end stays the end";
}

TEST(SAXParser, AttributeTablesFromTagToTag) {
  // Repeated attribute sequences, a changed order, a table that shrinks,
  // and a value kept by the caller while the parser moves on.
  TChunkStream s("<a z=\"1\" y=\"22\" x=\"333\"><a z=\"9\" y=\"88\" x=\"777\"><a x=\"4\" z=\"55\">"
                 "<a/></a></a></a>",
                 1 << 20);
  THtSAXXMLParser sax(&s);
  ASSERT_TRUE(sax.Next());
  EXPECT_EQ(Show(sax), "<a x=333 y=22 z=1>");
  const UnicodeString kept = sax.GetAttr(u"x");
  ASSERT_TRUE(sax.Next());
  EXPECT_EQ(Show(sax), "<a x=777 y=88 z=9>");
  EXPECT_EQ(kept, u"333") << "a value the caller holds is never written over";
  ASSERT_TRUE(sax.Next());
  EXPECT_EQ(Show(sax), "<a x=4 z=55>");
  EXPECT_EQ(sax.GetAttr(u"y"), u"");
  ASSERT_TRUE(sax.Next());
  EXPECT_EQ(sax.Attributes()->Count, 0);
  EXPECT_EQ(Events("<a b=\"2\" a=\"1\" b=\"3\"/>")[0], "<a a=1 b=2 b=3>") << "a repeated name keeps both";
}

TEST(SAXParser, NamesAreInternedAndCarryTheirPrefix) {
  TChunkStream s("<x:root xmlns:x=\"urn:x\"><x:item id=\"1\"/><x:item id=\"2\"/><plain/></x:root>", 1 << 20);
  THtSAXXMLParser sax(&s);
  std::vector<UnicodeString> tags, prefixes;
  while (sax.Next())
    if (sax.LastEvent() == seTagStart) {
      tags.push_back(sax.Tag());
      prefixes.push_back(sax.TagNS());
    }
  ASSERT_EQ(tags.size(), 4u);
  EXPECT_EQ(tags[1], u"x:item");
  EXPECT_EQ(prefixes[0], u"x");
  EXPECT_EQ(prefixes[3], u"");
  EXPECT_TRUE(tags[1].SameBlock(tags[2])) << "a repeated name is one string";
  EXPECT_TRUE(prefixes[0].SameBlock(prefixes[1]));
}

TEST(SAXParser, CommentsCDataDeclarationsAndInstructions) {
  EXPECT_EQ(Events("<a>one<!-- c -->two</a>"), (V{"<a>", "onetwo", "</a>"}))
      << "the text around a comment is one event";
  EXPECT_EQ(Events("<a><![CDATA[<b>&amp;]]]></a>"), (V{"<a>", "<b>&amp;]", "</a>"}))
      << "CDATA is verbatim; a third bracket before ]]> is text";
  EXPECT_EQ(Events("<a>x<![CDATA[y]]>z</a>"), (V{"<a>", "xyz", "</a>"}));
  EXPECT_EQ(Events("<a><![CDATA[]]></a>"), (V{"<a>", "</a>"})) << "an empty section is no text";
  EXPECT_EQ(Events("<!DOCTYPE r [\n<!ENTITY e \"<>\">\n<!-- it's ] -->\n]><r/>"), (V{"<r>", "</r>"}))
      << "the internal subset may hold quotes, brackets and comments";
  EXPECT_EQ(Events("\n<!DOCTYPE r>\n<r/>"), (V{"\n\n", "<r>", "</r>"})) << "never two texts in a row";
  EXPECT_EQ(Events("<?xml version=\"1.0\"?>\n<r><?pi free text ?></r>"),
            (V{"<?xml version=1.0>", "</?xml>", "\n", "<r>", "<?pi>", "</?pi>", "</r>"}));

  TChunkStream s("<?style a=\"1\" b='2' then free text?><?empty?>", 1 << 20);
  THtSAXXMLParser sax(&s);
  ASSERT_TRUE(sax.Next());
  EXPECT_EQ(sax.Text(), u"a=\"1\" b='2' then free text") << "the content as written";
  EXPECT_EQ(sax.GetAttr(u"b"), u"2") << "pseudo-attributes up to the first thing that isn't one";
  EXPECT_EQ(sax.Attributes()->Count, 2);
  ASSERT_TRUE(sax.Next());
  ASSERT_TRUE(sax.Next());
  EXPECT_EQ(sax.Tag(), u"?empty");
  EXPECT_EQ(sax.Text(), u"");
}

TEST(SAXParser, ReferencesDecodeAsTheTokenizerDecodesThem) {
  // Text and attribute values through the SAX parser and through the HTML
  // tokenizer (which the tree parser uses) must agree.
  const char16_t* cases[] = {
      u"&lt;&gt;&amp;&quot;&apos;", u"&#65;&#x42;&#x1F600;", u"caf&eacute; &nbsp;x&nbsp x",
      u"&foo; stays odd", u"a & b", u"&#X41;", u"&#xD800;&#1114112;", u"&",
      u"&\u00e9t\u00e9;", u"&#65",
  };
  for (const char16_t* c : cases) {
    THTMLTokenizer tok(UnicodeString(c), true);
    tok.NextToken(true);
    const std::string xml = "<a v=\"" + Utf8(c) + "\">" + Utf8(c) + "</a>";
    TChunkStream s(xml, 1 << 20);
    THtSAXXMLParser sax(&s);
    ASSERT_TRUE(sax.Next()) << Utf8(c);
    EXPECT_EQ(sax.GetAttr(u"v"), tok.Token.Name) << Utf8(c);
    ASSERT_TRUE(sax.Next());
    EXPECT_EQ(sax.Text(), tok.Token.Name) << Utf8(c);
  }
  EXPECT_EQ(Events("<a>&#x1F600;</a>")[1], "\xF0\x9F\x98\x80") << "a supplementary character is one pair";
}

TEST(SAXParser, Encodings) {
  const std::u16string doc = u"<a t=\"\u00e9\u20ac\">\u00e9\u4e2d\U0001F600</a>";
  const V expected{"<a t=\u00e9\u20ac>", "\u00e9\u4e2d\U0001F600", "</a>"};
  EXPECT_EQ(Events(Utf8(doc)), expected) << "valid UTF-8 without a mark is UTF-8";
  EXPECT_EQ(Events("\xEF\xBB\xBF" + Utf8(doc)), expected);
  EXPECT_EQ(Events(Utf16(doc, false, true)), expected) << "UTF-16 LE with a mark";
  EXPECT_EQ(Events(Utf16(doc, true, true)), expected) << "UTF-16 BE with a mark";
  EXPECT_EQ(Events(Utf16(doc, false, false)), expected) << "UTF-16 recognised by its first \"<\"";
  EXPECT_EQ(Events(Utf16(doc, true, false)), expected);

  struct Case {
    std::string bytes;
    std::string text;  // UTF-8
    THtmlEncoding encoding;
    uint32_t codePage;
  };
  const Case cases[] = {
      {"<?xml version=\"1.0\" encoding=\"windows-1252\"?><a>\x80\xE9</a>", "\u20ac\u00e9", heANSI, 1252},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>", "\u00e9", heANSI, 1252},
      {"<?xml version=\"1.0\" encoding=\"KOI8-R\"?><a>\xC1</a>", "\u0430", heANSI, 20866},
      {"<?xml version=\"1.0\" encoding=\"gb2312\"?><a>\xD6\xD0</a>", "\u4e2d", heANSI, 936},
      {"<?xml version=\"1.0\" encoding=\"UTF-8\"?><a>\xC3\xA9</a>", "\u00e9", heUTF8, 0},
      // Not UTF-8 and nothing declared: the system code page (1252).
      {"<a>\xE9\x80</a>", "\u00e9\u20ac", heDefault, 0},
      // A code page the system doesn't know is ignored.
      {"<?xml version=\"1.0\" encoding=\"windows-9999\"?><a>\xC3\xA9</a>", "\u00e9", heUTF8, 0},
  };
  for (const Case& c : cases) {
    TChunkStream s(c.bytes, 1 << 20);
    THtSAXXMLParser sax(&s);
    std::string text;
    while (sax.Next())
      if (sax.LastEvent() == seText) text = Utf8(sax.TextView());
    EXPECT_EQ(text, c.text) << c.bytes;
    EXPECT_EQ(sax.Encoding(), c.encoding) << c.bytes;
    EXPECT_EQ(sax.CodePage(), c.codePage) << c.bytes;
    EXPECT_TRUE(sax.FEncodingProcessed == (c.bytes[1] == '?'));
  }

  // What the caller says stays: the declaration can't override it, nor can
  // it override a byte-order mark.
  EXPECT_EQ(Events("<?xml version=\"1.0\" encoding=\"windows-1252\"?><a>\xC3\xA9</a>", 1 << 20, heUTF8)[3],
            "\u00e9");
  EXPECT_EQ(Events("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"windows-1252\"?><a>\xC3\xA9</a>")[3], "\u00e9");
  EXPECT_EQ(Events("<a>\xC3\xA9</a>", 1 << 20, heANSI)[1], "\u00c3\u00a9") << "heANSI: the system code page";
}

TEST(SAXParser, SkipLevelAndExtractText) {
  const std::string doc =
      "<doc><head><title>T</title></head><body><p>Hello <b>big</b> world<script>x()</script></p>"
      "<p>second</p></body></doc>";
  TChunkStream s(doc, 1 << 20);
  THtSAXXMLParser sax(&s);
  ASSERT_TRUE(sax.Next());  // <doc>
  ASSERT_TRUE(sax.Next());  // <head>
  sax.SkipLevel();
  EXPECT_EQ(Show(sax), "</head>") << "SkipLevel reads through the element's end";
  EXPECT_EQ(sax.Level, 1);
  ASSERT_TRUE(sax.Next());  // <body>
  ASSERT_TRUE(sax.Next());  // <p>
  TFastString out;
  sax.ExtractText(&out, [](THtSAXXMLParser& p, TFastString& o) {
    if (p.LastEvent() == seTagStart) return p.Tag() != u"script";
    o.AddChar(u'|');  // after each inner element
    return true;
  });
  EXPECT_EQ(out.GetAsString(), u"Hello big| world");
  EXPECT_EQ(Show(sax), "</p>");
  ASSERT_TRUE(sax.Next());  // <p>
  ASSERT_TRUE(sax.Next());  // "second"
  TFastString rest;
  sax.ExtractText(&rest);
  EXPECT_EQ(rest.GetAsString(), u"second") << "the current text counts";
  EXPECT_EQ(Show(sax), "</p>");
  ASSERT_TRUE(sax.Next());
  EXPECT_EQ(Show(sax), "</body>");
}

TEST(SAXParser, MalformedInputRaisesWithThePosition) {
  struct Case {
    const char* xml;
    const char* message;
  };
  const Case cases[] = {
      {"<a></b>", "Incorrect XML at position 3"},      // close tag of another element
      {"<a>x</a></a>", "Incorrect XML at position 8"},  // close tag with nothing open
      {"<a>text", "Incorrect XML at position 7"},       // elements left open at the end
      {"<a", "Incorrect XML at position 2"},
      {"<a x=\"1\"", "Incorrect XML at position 8"},
      {"<", "Incorrect XML at position 0"},
      {"< a/>", "Incorrect XML at position 1"},
      {"<1/>", "Incorrect XML at position 1"},
      {"<a b=c/>", "Incorrect XML at position 5"},
      {"<a b=\"c/>", "Incorrect XML at position 6"},
      {"<a !/>", "Incorrect XML at position 3"},
      {"<a/ >", "Incorrect XML at position 2"},
      {"<a></a x>", "Incorrect XML at position 7"},
      {"</>", "Incorrect XML at position 2"},
      {"<a><!-- open", "Incorrect XML at position 3"},
      {"<a><![CDATA[open", "Incorrect XML at position 3"},
      {"<?pi open", "Incorrect XML at position 0"},
      {"<?pi!?>", "Incorrect XML at position 4"},
      {"<!DOCTYPE a [ <!ENTITY x \"]>\" ", "Incorrect XML at position 0"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ErrorOf(c.xml), c.message) << c.xml;
    EXPECT_EQ(ErrorOf(c.xml, 1), c.message) << c.xml << " read a byte at a time";
  }
  EXPECT_EQ(ErrorOf("<a>ok</a>"), "");
}

// A document whose interesting part begins `pad` bytes before the end of
// the first buffer, so that every piece of markup straddles it for some
// pad.
std::string Straddling(int32_t pad, const std::string& tail) {
  std::string doc = "<r>";
  doc.append(size_t(THtSAXXMLParser::BufSize - 3 - pad), 'x');
  return doc + tail;
}

TEST(SAXParser, MarkupAcrossTheBufferBoundary) {
  const std::string tail =
      "<item name=\"n\u00e9\" v='&amp;&#x1F600;'>t\u00e9xt &lt; <![CDATA[c]]d]]><!-- c --></item>"
      "<?pi a=\"1\"?>&eacute;\u4e2d</r>";
  const V expected{"<item name=n\u00e9 v=&\U0001F600>", "t\u00e9xt < c]]d", "</item>", "<?pi a=1>", "</?pi>",
                   "\u00e9\u4e2d", "</r>"};
  for (int32_t pad = 0; pad <= int32_t(tail.size()) + 2; ++pad) {
    const std::string doc = Straddling(pad, tail);
    for (int64_t chunk : {int64_t(1) << 30, int64_t(4093)}) {
      V got = Events(doc, chunk);
      ASSERT_GE(got.size(), 2u) << pad;
      EXPECT_EQ(got[0], "<r>");
      EXPECT_EQ(got[1].size() + 3 + size_t(pad), size_t(THtSAXXMLParser::BufSize)) << pad;
      EXPECT_EQ(V(got.begin() + 2, got.end()), expected) << "pad " << pad << " chunk " << chunk;
    }
  }

  // UTF-16: a unit and a surrogate pair across the boundary, big-endian too.
  for (bool be : {false, true})
    for (int32_t pad = 0; pad < 12; ++pad) {
      std::u16string doc = u"<r>" + std::u16string(size_t(THtSAXXMLParser::BufSize / 2 - 4 - pad), u'x') +
                           u"<a k=\"\u00e9\">\U0001F600</a></r>";
      const V got = Events(Utf16(doc, be, true), 7);
      ASSERT_EQ(got.size(), 6u);
      EXPECT_EQ(got[2], "<a k=\u00e9>");
      EXPECT_EQ(got[3], "\U0001F600") << pad;
    }
}

TEST(SAXParser, TextsAndValuesLargerThanTheBuffer) {
  // A 1 MB text of two-byte characters, an attribute value and a comment of
  // 600 KB: all read in pieces, nothing lost or split.
  std::string big;
  for (int i = 0; i < 500000; ++i) big += i % 7 ? "\xC3\xA9" : "&amp;";
  const std::string value(600000, 'v');
  const std::string doc = "<r a=\"" + value + "\"><!--" + std::string(600000, '-') + " -->" + big +
                          "<![CDATA[" + std::string(300000, ']') + "]]></r>";
  for (int64_t chunk : {int64_t(1) << 30, int64_t(1000)}) {
    TChunkStream s(doc, chunk);
    THtSAXXMLParser sax(&s);
    ASSERT_TRUE(sax.Next());
    EXPECT_EQ(sax.GetAttr(u"a").Length(), 600000);
    ASSERT_TRUE(sax.Next());
    ASSERT_EQ(sax.LastEvent(), seText);
    const std::u16string_view t = sax.TextView();
    ASSERT_EQ(t.size(), 500000u + 300000u);
    EXPECT_EQ(t[0], u'&');
    EXPECT_EQ(t[1], u'\u00e9');
    EXPECT_EQ(t.find(u'\uFFFD'), std::u16string_view::npos) << "no character was cut";
    EXPECT_EQ(t.substr(500000).find_first_not_of(u']'), std::u16string_view::npos);
    ASSERT_TRUE(sax.Next());
    EXPECT_EQ(Show(sax), "</r>");
    EXPECT_EQ(sax.Position(), int64_t(doc.size()));
  }

  // A name can't outgrow the buffer.
  EXPECT_EQ(ErrorOf("<" + std::string(THtSAXXMLParser::BufSize, 'n') + "/>"), "Incorrect XML at position 1");
}

TEST(SAXParser, ReadsFromAFile) {
  const std::string path = std::string(NORVANE_BINARY_DIR) + "/sax_test_file.xml";
  {
    std::ofstream f(path, std::ios::binary);
    f << "\xEF\xBB\xBF<list><i>1</i><i>2</i></list>";
  }
  THtSAXXMLParser sax{U8(path)};
  int texts = 0;
  while (sax.Next()) texts += sax.LastEvent() == seText;
  EXPECT_EQ(texts, 2);
  std::remove(path.c_str());
  EXPECT_THROW({ THtSAXXMLParser gone{U8(path)}; }, EFOpenError);
}

// Produces an endless-looking XML document as it is read, so that a
// document of hundreds of megabytes never exists anywhere.
class TGeneratedXMLStream : public TStream {
 public:
  explicit TGeneratedXMLStream(int64_t size) : FSize(size) { FPending = "<?xml version=\"1.0\"?>\n<catalog>\n"; }
  int64_t Read(void* buffer, int64_t count) override {
    auto* out = static_cast<char*>(buffer);
    int64_t done = 0;
    while (done < count) {
      if (FAt == FPending.size()) {
        if (FEnded) break;
        NextRecord();
      }
      const int64_t n = std::min<int64_t>(count - done, int64_t(FPending.size() - FAt));
      std::memcpy(out + done, FPending.data() + FAt, size_t(n));
      FAt += size_t(n);
      done += n;
    }
    FProduced += done;
    return done;
  }
  int64_t Write(const void*, int64_t) override { return 0; }
  int64_t Seek(int64_t, TSeekOrigin) override { return FProduced; }
  int64_t Records() const { return FRecords; }

 private:
  void NextRecord() {
    FAt = 0;
    if (FProduced >= FSize) {
      FPending = "</catalog>\n";
      FEnded = true;
      return;
    }
    char rec[256];
    const int n = std::snprintf(rec, sizeof rec,
                                "  <item id=\"%lld\" kind=\"k%lld\"><name>Item &amp; %lld</name>"
                                "<price cur='EUR'>%lld.50</price><!-- note --></item>\n",
                                FRecords, FRecords % 7, FRecords, FRecords % 1000);
    FPending.assign(rec, size_t(n));
    ++FRecords;
  }
  int64_t FSize;
  int64_t FProduced = 0;
  long long FRecords = 0;
  std::string FPending;
  size_t FAt = 0;
  bool FEnded = false;
};

int64_t StatusKB(const char* field) {
  std::ifstream f("/proc/self/status");
  std::string line;
  const size_t n = std::strlen(field);
  while (std::getline(f, line))
    if (line.compare(0, n, field) == 0) return std::stoll(line.substr(n + 1));
  return -1;
}

TEST(SAXParser, WalksHundredsOfMegabytesInConstantMemory) {
#if defined(__SANITIZE_ADDRESS__)
  // The sanitizer's shadow and quarantine make memory figures meaningless
  // and each byte slow: a smaller document checks the same walk.
  const int64_t size = int64_t(40) << 20;
#else
  const int64_t size = int64_t(300) << 20;
#endif
  {
    std::ofstream reset("/proc/self/clear_refs");  // restarts the peak at the current size
    reset << "5";
  }
  [[maybe_unused]] const int64_t before = StatusKB("VmHWM:");
  TGeneratedXMLStream stream(size);
  THtSAXXMLParser sax(&stream);
  int64_t starts = 0, ends = 0, texts = 0, priced = 0;
  while (sax.Next()) {
    switch (sax.LastEvent()) {
      case seTagStart:
        ++starts;
        if (sax.Level == 3 && sax.Tag() == u"price" && sax.GetAttr(u"cur") == u"EUR") ++priced;
        break;
      case seTagEnd:
        ++ends;
        break;
      case seText:
        ++texts;
        break;
    }
  }
  const int64_t records = stream.Records();
  EXPECT_GE(sax.Position(), size);
  EXPECT_EQ(starts, 2 + 3 * records) << "declaration, catalog, and three elements a record";
  EXPECT_EQ(ends, starts);
  EXPECT_EQ(priced, records);
  EXPECT_EQ(texts, 3 + 3 * records) << "blanks around the catalog, and name, price and line end a record";
#if !defined(__SANITIZE_ADDRESS__)
  const int64_t growth = StatusKB("VmHWM:") - before;
  EXPECT_LT(growth, 8 * 1024) << "peak RSS grew by " << growth << " kB over " << (size >> 20) << " MB";
  std::printf("[          ] %lld records, %lld events, peak RSS growth %lld kB\n", (long long)records,
              (long long)(starts + ends + texts), (long long)growth);
#endif
}

}  // namespace
