// THtmlParser: assembles the tokens of THTMLTokenizer into items (one opening
// tag with its attributes, one close tag, one text, one raw block) for the
// recursive descent of THtmlNode::InternalParse, and settles the encoding of
// text that was read as bytes (byte-order marks, meta charset).
//
// TElementClasses: the table a document root may consult to choose the node
// class of each tag.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "norvane/foundation/ht_object_list.h"
#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/markup/html_tokenizer.h"
#include "norvane/markup/ht_node.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class THtAttributes;
class THtmlNode;

NV_ENUM(THtmlEncoding, heDefault, heUTF8, heUTF16, heANSI)

class THtmlParser : public TObject {
  NV_CLASS(THtmlParser, TObject)
 public:
  THtmlParser(const UnicodeString& text, bool xmlMode);
  ~THtmlParser() override;
  THtmlParser(const THtmlParser&) = delete;
  THtmlParser& operator=(const THtmlParser&) = delete;

  // Reads the next item into the public fields; false at the end of input.
  bool NextItem();
  void SetCaseSensitive(bool value);
  bool CaseSensitive() const noexcept { return FCaseSensitive; }
  bool XMLMode() const noexcept { return FXMLMode; }
  // Folds A-Z in place unless case sensitive.
  void vLower(UnicodeString& s) const;
  // Re-decodes the unread rest of the text (and what the tree already holds)
  // as UTF-8 when it looks like UTF-8. Other targets are ignored here.
  void ChangeEncoding(THtmlEncoding encoding, int32_t codepage);

  // Encoding of a file from its first 4096 bytes: byte-order mark, UTF-16
  // shape, UTF-8 shape, else a charset declaration (codepage, heDefault).
  static THtmlEncoding GetFileEncoding(const UnicodeString& path, uint32_t& codepage);
  // The same test on bytes in memory (their first 4096 are read).
  static THtmlEncoding GetBufferEncoding(std::string_view bytes, uint32_t& codepage);
  // Code page of a lower-case charset name; 0 when unknown.
  static uint32_t CharsettoCodepage(const UnicodeString& name);

  // The tokenizer, for readers that need its cursor (line and position).
  THTMLTokenizer* GetTokenizer() const noexcept { return Tokenizer.get(); }
  // Depth of the element recursion; maintained by THtmlNode::InternalParse.
  int32_t& StackLevel() noexcept { return FStackLevel; }
  // The node the running parse started in (set by its first frame).
  THtmlNode* ParseRoot() const noexcept { return FParseRoot; }
  void SetParseRoot(THtmlNode* node) noexcept { FParseRoot = node; }
  // Takes the attribute table of the current item (nil when there is none).
  THtAttributes* ExtractAttributes();

 private:
  void ReadAttributes();
  // Reads a plain XML item in one pass; false (cursor unmoved) leaves it to
  // the token loop.
  bool FastXMLItem();
  void ReadRawBody();
  void MetaCheck();
  // Puts `text` under the running tokenizer, cursor at its start.
  void ReplaceRest(const UnicodeString& text);
  void RecodeTree(THtmlEncoding encoding, uint32_t codepage);
  [[noreturn]] void RaiseValueExpected();

  UnicodeString FAttrname, FAttrvalue;
  std::unique_ptr<THTMLTokenizer> Tokenizer;
  bool FXMLMode = false;
  bool FEncodingProcessed = false;
  int32_t FStackLevel = 0;
  bool FCaseSensitive = false;
  // The code page through which the host turned bytes into units: the
  // system one, or 1251 when a UTF-8 mark was seen through it.
  uint32_t FNarrowCodePage = 0;
  THtmlNode* FParseRoot = nullptr;
  int32_t FRepeats = 0;  // times the current item came round again
  std::array<UnicodeString, 48> FBlankRuns;  // by length, for the XML shortcut

 public:
  using TNameCache = std::array<UnicodeString, 128>;

 private:
  TNameCache FTagCache, FAttrCache;  // names met lately, for the XML shortcut
  static constexpr int32_t MaxRepeats = 4096;

 public:
  THTMLTokenType TagType = htUnknown;
  UnicodeString Tag;
  UnicodeString Value;
  bool TagClosed = false;
  bool IsCloseTag = false;
  bool RepeatCurrent = false;
  THtAttributes* Attributes = nullptr;  // owned until a node takes it
  THtNode* Root = nullptr;        // upper limit of the walks towards the root
  THtNode* GlobalRoot = nullptr;  // the node asked for element classes
  THtmlEncoding Encoding = heDefault;
  uint32_t Codepage = 0;
  int32_t StartPos = 0;
  std::unique_ptr<THtObjectDictionary> TagList;
  std::unique_ptr<THtObjectDictionary> AttrList;
  std::unique_ptr<THtObjectList> IncorrectStack;  // not owning
  bool IgnoreMetaEncoding = false;
  // Case-sensitive XML reads plain items without the token loop; false
  // reads every item token by token. Both give the same items.
  bool FastXML = true;
};

// Maps a lower-case tag to the node class that represents it.
class THtElementClassContainer : public TObject {
  NV_CLASS(THtElementClassContainer, TObject)
 public:
  THtElementClassContainer() = default;
  THtElementClassContainer(const UnicodeString& name, TMetaClass cls) : Name(name), ElementClass(cls) {}
  static int32_t NameOffset() noexcept;

  UnicodeString Name;
  TMetaClass ElementClass = nullptr;
};

class TElementClasses : public THtObjectDictionary {
  NV_CLASS(TElementClasses, THtObjectDictionary)
 public:
  TElementClasses();

  // Registers (or replaces) the class of a tag; the tag is folded to lower case.
  void Register(const UnicodeString& tag, TMetaClass cls);
  // The empty tag gives TextClass; a listed tag its class; any other
  // UnknownClass, or DefaultClass when that is nil.
  TMetaClass GetElementClass(const UnicodeString& tag) const;

  TMetaClass UnknownClass = nullptr;
  TMetaClass TextClass = nullptr;
  TMetaClass DefaultClass = nullptr;
};

// True when at least one valid multi-byte UTF-8 sequence occurs before any
// invalid one (4-byte forms aren't recognised). Pure ASCII is false.
bool IsUTF8Bytes(const uint8_t* bytes, int32_t length) noexcept;
// The same over units taken as bytes; a unit from 256 up ends the scan.
bool IsUTF8(std::u16string_view text) noexcept;
// Quick scan of a byte buffer for a meta charset; its code page or 0.
uint32_t GetHTMLEncoding(const void* buffer, int32_t size);

// Re-decodes text whose units stand for bytes (`narrowCodePage` names the
// code page they were read through, 0 for the system one): as UTF-8 for
// heUTF8, through `codepage` for heANSI. Other encodings return the text.
UnicodeString RecodeHtmlText(const UnicodeString& text, THtmlEncoding encoding, uint32_t codepage,
                             uint32_t narrowCodePage = 0);

}  // namespace norvane
