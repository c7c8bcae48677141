// THtJSONTokenizer and THtJSONParser: the reader under the JSON trees.
//
// The tokenizer yields one token at a time over a strict TStringParser
// cursor, so malformed numbers raise EConvertError "Incorrect number". The
// dialect is a little wider than JSON: strings may be single-quoted, names
// may be bare identifiers, "\x" takes two hex digits. THtJSONParser adds the
// name/value step with interning of names; the tree builder on top of it
// keeps the nesting Level. Nothing here recurses, so depth costs no stack.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "norvane/foundation/string_parser.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class THtStringList;

NV_EXCEPTION(EHtJSONParserException, Exception)

NV_ENUM(THtJSONTokenType, jtUnknown, jtIdent, jtString, jtValue, jtSpace, jtComma, jtObjectStart, jtObjectEnd,
        jtArrayStart, jtArrayEnd, jtColon, jtInt, jtFloat, jtComment)

struct THtJSONToken {
  THtJSONTokenType CType = jtUnknown;
  UnicodeString Name;         // the token's text; a string's decoded content
  int64_t IntValue = 0;       // jtInt
  long double FloatValue = 0; // jtFloat
  int32_t StartPos = 0;       // offsets in code units from the start, 0-based
  int32_t EndPos = 0;
};

// Dispatch class of each unit below 256 (units from 256 up are class 0):
//   0 anything else: an identifier-like run typed jtUnknown
//   1 A-Z a-z _      2 " '      4 tab LF CR space
//   5 ,   6 {   7 }   8 [   9 ]   10 :   12 digits and "-"
extern const std::array<uint8_t, 256> JsonCharClass;

class THtJSONTokenizer : public TObject {
  NV_CLASS(THtJSONTokenizer, TObject)
 public:
  // The cursor raises on bad numbers and starts behind leading blanks.
  explicit THtJSONTokenizer(const UnicodeString& text);
  ~THtJSONTokenizer() override;
  THtJSONTokenizer(const THtJSONTokenizer&) = delete;
  THtJSONTokenizer& operator=(const THtJSONTokenizer&) = delete;

  // Reads one token into Token. False with Eof set at the end of input;
  // also false (Token being that jtSpace) when blanks ran to the end.
  bool NextToken();
  // NextToken over jtSpace tokens; false when the input ends first.
  bool NextNSToken();
  // NextNSToken that raises "Token expected" at the end of input.
  void NextRequiredToken();
  // A one-unit token: sets the type, takes the unit, advances one unit.
  void Next2(THtJSONTokenType type);
  // Decodes the escape behind a "\" already consumed; returns one unit.
  char16_t Escape();
  void ReadString();
  void ReadIdent();
  // A line comment from the cursor: one unit (the opener) is skipped, the
  // rest of the line is the text. Callers that accept comments use it;
  // NextToken never does.
  void ReadComment();

  TStringParser* Parser() const noexcept { return FParser.get(); }

 protected:
  IntfPtr<TStringParser> FParser;

 public:
  THtJSONToken Token;
  bool Eof = false;

 private:
  friend class THtJSONParser;
  friend struct TXmlJsonBuilder;

  int32_t Offset() const noexcept;
  void ReadNumber();
  void ScanNumber();
  void ReadSpace();
  [[noreturn]] void RaiseEscape() const;

  // The tree builder's reading: it needs the text of strings, names and
  // scalars and nothing else, so with FTextOnly set the tokenizer gives
  // every token its type and the errors as usual, but fills no Name and no
  // positions, converts no number, and leaves the text in FText (or FWord
  // for true, false and null) until TakeText asks for a string.
  void SetTextOnly(bool on) noexcept;
  bool NextTextToken();
  UnicodeString TakeText() const { return FWord ? *FWord : UnicodeString(FText); }

  bool FTextOnly = false;
  std::u16string_view FText;             // the source text or FBuf
  const UnicodeString* FWord = nullptr;  // the shared text of a keyword
  std::u16string FBuf;                   // decoded string text, reused between tokens
  UnicodeString FLastSpace;              // indentation repeats: reuse its string
};

class THtJSONParser : public TObject {
  NV_CLASS(THtJSONParser, TObject)
 public:
  // Without text there is no tokenizer: Tokenizer stays null.
  explicit THtJSONParser(const UnicodeString& text);
  ~THtJSONParser() override;
  THtJSONParser(const THtJSONParser&) = delete;
  THtJSONParser& operator=(const THtJSONParser&) = delete;

  // At a jtIdent or jtString token: interns it as Name, reads the ":" and
  // the value token. Returns jtIdent for any string-like value (jtIdent,
  // jtString, jtValue), else jtObjectStart, jtArrayStart, jtInt or jtFloat;
  // the value itself is Tokenizer->Token. Raises "Name expected" or
  // "Value expected".
  THtJSONTokenType NextNameValue();

  // One entry per distinct name read so far.
  const THtStringList& Names() const noexcept { return *FNames; }

 protected:
  std::unique_ptr<THtStringList> FNames;

 private:
  friend struct TXmlJsonBuilder;
  // Interns the name in `text`: a small cache keyed by the length and a
  // few units answers the usual repeat without hashing the whole name.
  void InternName(std::u16string_view text);

  std::unique_ptr<UnicodeString[]> FNameCache;

 public:
  UnicodeString Name;  // the interned name of the pair just read
  std::unique_ptr<THtJSONTokenizer> Tokenizer;
  int32_t Level = 0;  // nesting depth, kept by the tree builder
};

}  // namespace norvane
