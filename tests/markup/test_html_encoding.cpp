// Encodings of HTML read as bytes: byte-order marks, meta charsets, the
// UTF-8 shape test and the charset names.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "norvane/markup/html_node.h"
#include "norvane/markup/html_parser.h"

using namespace norvane;

namespace {

// Bytes as units, the way a host hands over text of unknown encoding.
UnicodeString Bytes(std::string_view s) { return UnicodeString::FromLatin1(s); }

std::string TextOf(const THtNode* n) {
  std::string s = n->Content().ToUtf8();
  for (int32_t i = 0; i < n->GetCount(); ++i) s += TextOf(n->GetNode(i));
  return s;
}

}  // namespace

TEST(HtmlEncoding, IsUTF8NeedsOneValidSequenceAndNoBadOne) {
  struct {
    std::string_view bytes;
    bool utf8;
  } cases[] = {
      {"", false},
      {"plain ascii", false},
      {"caf\xc3\xa9", true},
      {"\xc0\x80", false},               // overlong lead: false at once
      {"\xc3\xa9\xc1\x81", false},       // even after a valid sequence
      {"\xc3" "A", false},               // a two-byte lead needs its continuation
      {"\xe0\xa0\x80", true},
      {"\xe0\x80\x80", false},           // failed triple, nothing valid before
      {"\xc3\xa9\xe0\x80\x80", true},    // failed triple ends the scan
      {"\xed\x9f\xbf", true},
      {"\xed\xa0\x80", false},           // surrogates are no characters
      {"\xf0\x9f\x98\x80", false},       // four-byte forms aren't recognised
      {"\xc3\xa9\xff", true},            // other lead bytes end the scan
      {"\xe9t\xe9", false},              // Latin-1 text
      {"x\xc3", false},                  // cut at the end
  };
  for (const auto& c : cases) {
    EXPECT_EQ(IsUTF8Bytes(reinterpret_cast<const uint8_t*>(c.bytes.data()), int32_t(c.bytes.size())), c.utf8)
        << c.bytes;
    EXPECT_EQ(IsUTF8(Bytes(c.bytes).view()), c.utf8) << c.bytes;
  }
  EXPECT_FALSE(IsUTF8(u"\u0410\u00c3\u00a9")) << "units from 256 up end the scan";
  EXPECT_TRUE(IsUTF8(u"\u00c3\u00a9\u0410"));
}

TEST(HtmlEncoding, CharsetNamesToCodePages) {
  struct {
    const char16_t* name;
    uint32_t cp;
  } cases[] = {
      {u"iso-8859-1", 1252},  {u"iso-8859-15", 1252}, {u"iso-8859-2", 28592}, {u"iso-8859-5", 28595},
      {u"iso-8859-6", 28596}, {u"iso-8859-7", 28597}, {u"iso-8859-9", 1254},  {u"iso-8859-8", 1255},
      {u"koi8-r", 20866},     {u"windows-1251", 1251}, {u"windows-874", 874}, {u"windows-12x4", 0},
      {u"windows-", 0},         {u"windows-9093", 9093},       {u"gb2312", 936},        {u"utf-8", 65001},     {u"big5", 950},
      {u"text/html; charset=windows-1250", 1250},     {u"UTF-8", 0},          {u"latin1", 0},
  };
  for (const auto& c : cases) EXPECT_EQ(THtmlParser::CharsettoCodepage(c.name), c.cp) << UnicodeString(c.name).ToUtf8();
}

TEST(HtmlEncoding, QuickScanOfAByteBuffer) {
  struct {
    std::string_view bytes;
    uint32_t cp;
  } cases[] = {
      {"<html><head><meta charset=\"windows-1251\"></head>", 1251},
      {"<HTML><HEAD><META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; CHARSET=KOI8-R\">", 0},
      {"<head><meta content='text/html' charset='UTF-8'>", 65001},
      {"<head><meta name=viewport content=x><meta charset=big5>", 950},
      {"<head><title>no declaration here</title></head>", 0},
      {"<meta charset=utf-8", 0},  // below 20 bytes
  };
  for (const auto& c : cases) EXPECT_EQ(GetHTMLEncoding(c.bytes.data(), int32_t(c.bytes.size())), c.cp) << c.bytes;
  // The name is looked for in lower case only; the value is folded.
  std::string_view upper = "<META charset=KOI8-R> padding padding";
  EXPECT_EQ(GetHTMLEncoding(upper.data(), int32_t(upper.size())), 20866u);
  EXPECT_EQ(GetHTMLEncoding(nullptr, 100), 0u);
}

TEST(HtmlEncoding, FileEncodingFromItsFirstBytes) {
  const auto dir = std::filesystem::temp_directory_path() / ("norvane_enc_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  struct {
    const char* name;
    std::string bytes;
    THtmlEncoding encoding;
    uint32_t cp;
  } cases[] = {
      {"empty", "", heDefault, 0},
      {"bom8", "\xef\xbb\xbf<p>x", heUTF8, 0},
      {"bom16le", "\xff\xfe<\0p\0", heUTF16, 0},
      {"bom16be", "\xfe\xff\0<\0p", heUTF16, 0},
      {"wide", std::string("x\0<\0p\0", 6), heUTF16, 0},
      {"utf8", "<p>caf\xc3\xa9</p>", heUTF8, 0},
      {"declared", "<META charset=\"Windows-1251\"><p>\xcf", heDefault, 1251},
      {"plain", "<p>\xe9</p>", heDefault, 0},
  };
  for (const auto& c : cases) {
    const auto path = dir / c.name;
    std::ofstream(path, std::ios::binary).write(c.bytes.data(), std::streamsize(c.bytes.size()));
    uint32_t cp = 0;
    EXPECT_EQ(THtmlParser::GetFileEncoding(UnicodeString::FromUtf8(path.string()), cp), c.encoding) << c.name;
    EXPECT_EQ(cp, c.cp) << c.name;
  }
  uint32_t cp = 0;
  EXPECT_EQ(THtmlParser::GetFileEncoding(UnicodeString::FromUtf8((dir / "missing").string()), cp), heDefault);
  std::filesystem::remove_all(dir);
}

TEST(HtmlEncoding, ByteOrderMarksAndMetaCharsetRedecode) {
  struct {
    UnicodeString text;
    bool ignoreMeta;
    const char* text_utf8;
  } cases[] = {
      {UnicodeString(u"\uFEFF<p>x"), false, "x"},
      // The UTF-8 mark seen through Windows-1251, then UTF-8 bytes through it.
      {UnicodeString(u"\u043F\u00BB\u0457<p>x"), false, "x"},
      {UnicodeString(u"\u043F\u00BB\u0457<p>\u0413\u00A9"), false, "\xc3\xa9"},
      {Bytes("<meta charset=utf-8><p>caf\xc3\xa9"), false, "caf\xc3\xa9"},
      {Bytes("<meta http-equiv=Content-Type content='text/html; charset=UTF-8'><p>\xc3\xa9"), false, "\xc3\xa9"},
      // Text that doesn't look like UTF-8 stays as it is.
      {Bytes("<meta charset=utf-8><p>\xe9t\xe9"), false, "\xc3\xa9t\xc3\xa9"},
      {Bytes("<meta charset=windows-1251><p>\xcf\xf0\xe8"), false, "\xd0\x9f\xd1\x80\xd0\xb8"},
      // What the tree already holds is re-decoded too, attributes included.
      {Bytes("<title a='\xcf'>\xcf</title><meta charset=windows-1251>\xcf"), false, "\xd0\x9f\xd0\x9f"},
      // Only the first declaration counts.
      {Bytes("<meta charset=windows-1251><meta charset=iso-8859-7><p>\xcf"), false, "\xd0\x9f"},
      {Bytes("<meta charset=windows-1251><p>\xcf"), true, "\xc3\x8f"},
      // An unknown code page changes nothing.
      {Bytes("<meta charset=windows-9999><p>\xcf"), false, "\xc3\x8f"},
  };
  for (const auto& c : cases) {
    THtmlNode root;
    root.Parse(c.text, c.ignoreMeta);
    EXPECT_EQ(TextOf(&root), c.text_utf8) << c.text.ToUtf8();
  }
  THtmlNode root;
  root.Parse(Bytes("<title a='\xcf'>t</title><meta charset=windows-1251>x"), false);
  EXPECT_EQ(root.FindNode(u"title")->GetAttribute(u"a").ToUtf8(), "\xd0\x9f");
}

TEST(HtmlEncoding, ParserReportsWhatItSettled) {
  THtmlParser p(Bytes("<meta charset=koi8-r><p>x"), false);
  while (p.NextItem()) {
  }
  EXPECT_EQ(p.Encoding, heANSI);
  EXPECT_EQ(p.Codepage, 20866u);
  THtmlParser q(Bytes("<meta charset=utf-8><p>x"), false);
  while (q.NextItem()) {
  }
  EXPECT_EQ(q.Encoding, heUTF8) << "set even when the text is plain ASCII";
}
