// THTMLTokenizer: turns markup into a flat stream of tokens for the HTML and
// XML parsers.
//
// Forgiving in HTML mode (whatever isn't markup is text or an identifier),
// strict in XML mode, where a "<" that opens no name raises
// EHtmlParserException. Character references are decoded while text and
// quoted values are read; the bodies of script and style elements come as
// one raw token; tag names are interned in a table shared with the parser so
// that equal tags share one string.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "norvane/foundation/string_parser.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class THtObjectDictionary;

// Token kinds; nodes keep the kind they were read as in their TagType.
NV_ENUM(THTMLTokenType, htUnknown, htIdent, htSpace, htString, htTagStart, htTagEnd, htTagClose, htEq,
        htScript, htStyle, htComment, htDirective, htCData, htCustom)

struct THTMLToken {
  THTMLTokenType CType = htUnknown;
  UnicodeString Name;    // the token's text
  int32_t StartPos = 0;  // offsets in code units from the start of the text
  int32_t EndPos = 0;
};

// The item of the interning tables (tags, attribute names), keyed by Value.
class THtStringRec : public TObject {
  NV_CLASS(THtStringRec, TObject)
 public:
  explicit THtStringRec(const UnicodeString& value) : Value(value) {}
  // Key offset for a THtObjectDictionary of these records.
  static int32_t ValueOffset() noexcept;

  UnicodeString Value;
};

// Character classes of the tokenizer: plane 0 outside a tag, plane 1 inside.
// Units from 256 up are class 0 in both.
//   0 anything else   1 name units (inside a tag)   2 tab, LF, CR, space
//   3 quotes          4 "<"                         5 ">"
//   6 "/"             7 "="
// Classes 1-3 and 5-7 exist only inside a tag.
extern const std::array<std::array<uint8_t, 256>, 2> HtmlCharClass;

class THTMLTokenizer : public TObject {
  NV_CLASS(THTMLTokenizer, TObject)
 public:
  // The cursor starts behind any leading blanks of `text`.
  explicit THTMLTokenizer(const UnicodeString& text, bool xml = false);
  ~THTMLTokenizer() override;
  THTMLTokenizer(const THTMLTokenizer&) = delete;
  THTMLTokenizer& operator=(const THTMLTokenizer&) = delete;

  // Reads one token into Token. False at the end of the input (Eof set), and
  // after a space token that ran to the end. `allowString`: a quote inside a
  // tag opens a quoted value; otherwise stray quotes there are skipped.
  bool NextToken(bool allowString);
  // Sets the type, takes the unit under the cursor as the token's text and
  // advances one unit.
  void Next2(THTMLTokenType type);
  // Decodes the character reference behind an "&" already consumed and
  // returns its code point. What isn't a reference gives "&" with the
  // cursor (almost) where it was.
  uint32_t Escape();

  void ReadText();
  void ReadString();
  void ReadTag();
  void ReadIdent();
  void ReadComment();
  void ReadCData();
  void ReadCustom();
  void ReadDirective();
  void ReadScript();
  void ReadStyle();

  // The cursor, for parsers that step back or swap the text (Init).
  TStringParser* Parser() const noexcept { return FParser.get(); }
  // The interning table of tag names; not owned. Without one, every tag name
  // is a fresh string.
  THtObjectDictionary* TagList() const noexcept { return FTagList; }
  void SetTagList(THtObjectDictionary* list) noexcept { FTagList = list; }
  bool XMLMode() const noexcept { return FXMLMode; }
  void SetXMLMode(bool v) noexcept { FXMLMode = v; }
  // Keep the case of tag names (otherwise A-Z fold to a-z).
  bool CaseSensitive() const noexcept { return FCaseSensitive; }
  void SetCaseSensitive(bool v) noexcept { FCaseSensitive = v; }
  // Name of the tag being read; a "/" clears it.
  const UnicodeString& TagName() const noexcept { return FTagName; }
  bool InTag() const noexcept { return FInTag; }

 protected:
  IntfPtr<TStringParser> FParser;
  UnicodeString FTagName;
  bool FInTag = false;
  bool FCaseSensitive = false;

 public:
  THTMLToken Token;
  bool Eof = false;

 protected:
  bool FXMLMode = false;
  THtObjectDictionary* FTagList = nullptr;

 private:
  friend class THtmlParser;  // its XML shortcut reads items over the cursor
  int32_t Offset() const noexcept;
  // Text from `start` (at or before the cursor) up to "<" or the end, with
  // references decoded.
  void ReadTextFrom(const char16_t* start);
  // Appends [from, to) and then the decoded reference at the cursor.
  void AppendEscape(const char16_t* from, const char16_t* to);
  UnicodeString TakeBuffer(const char16_t* from, const char16_t* to);
  UnicodeString InternTag(const char16_t* start, int32_t length);

  std::u16string FBuf;  // text with decoded references, reused between tokens
  bool FBufUsed = false;
};

}  // namespace norvane
