// The style sheet parser: a pull parser that reads one rule a call.
//
// It isn't a recursive grammar. It knows one level of nesting, that of
// "@media" and "@keyframes", and recovers from whatever it doesn't
// understand by skipping tokens: a declaration it can't read is dropped up
// to its ";", a rule it can't read up to the next "}". Nothing in a sheet's
// text raises.
//
//   TCSSParser parser(u"a { color: red } @media print { b { margin: 0 1px } }");
//   while (parser.NextSection()) {
//     TCSSSection* rule = parser.Section();  // or TakeSection() to keep it
//     ...
//   }
#pragma once

#include <cstdint>
#include <vector>

#include "norvane/css/css_media_set.h"
#include "norvane/css/css_section.h"
#include "norvane/css/css_tokenizer.h"
#include "norvane/foundation/ht_object_list.h"
#include "norvane/runtime/exception.h"
#include "norvane/runtime/object.h"

namespace norvane {

// Raised only for a token type outside the enumeration, which the tokenizer
// never produces: "Unknown token type".
NV_EXCEPTION(ECSSParserError, Exception)

// One "@import": the address token (a string or url()) and what follows it,
// the media list (identifiers, strings and functions).
struct TCSSImport {
  TCSSToken URL;
  TCSSTokens Media;
};

class TCSSParser : public TObject {
  NV_CLASS(TCSSParser, TObject)
 public:
  explicit TCSSParser(const UnicodeString& text, bool parseNumbers = true);
  ~TCSSParser() override;

  // Reads the next rule into Section(); false when nothing is left.
  bool NextSection();
  // Reads declarations without a selector (a style attribute) into a new
  // rule, compiled with the default media set; the caller owns it.
  TCSSSection* ReadValues();
  // Appends every remaining token, unfiltered.
  void ParseValue(TCSSTokens& tokens);

  // The rule read by the last NextSection; the parser frees it on the next
  // call unless it was taken.
  TCSSSection* Section() const noexcept { return FSection; }
  TCSSSection* TakeSection() noexcept;
  // The name of the "@keyframes" block the last rule stands in; empty
  // outside one.
  const UnicodeString& KeyFramesName() const noexcept { return FKeyFrames; }
  bool InKeyFrames() const noexcept { return FInKeyFrames; }
  // The media set of the "@media" block being read, or null.
  TCSSMediaSet* CurrentMediaSet() const noexcept { return FMediaSet; }
  // The sets this parser created, in order; owned until extracted.
  THtObjectList& MediaSets() noexcept { return FMediaSets; }
  // The query texts seen; entry 0 is "default".
  const std::vector<UnicodeString>& MediaTexts() const noexcept { return FMediaTexts; }
  int32_t MediaIndex() const noexcept { return FMediaIndex; }

  std::vector<TCSSImport> Imports;

  // The steps of NextSection, each starting at the current token.
  void AddSelector();
  void AddValue();
  void AddAtKeyword();
  void AddImport();
  void ReadSectionValues();
  // Up to the next "}" or ";", which stays current.
  void SkipValue();
  // Up to the next "}", and one token further.
  void SkipSection();

 private:
  bool Read();
  bool Eof() const noexcept { return FTokenizer.Eof; }
  const TCSSToken& Tok() const noexcept { return FTokenizer.Token; }
  void SkipBlanks();
  void ReadDeclarations();
  void ReadMedia();
  void ReadKeyFrames();
  void EndBlock();

  TCSSTokenizer FTokenizer;
  std::vector<TCSSToken> FScratch;       // the tokens of a selector
  std::vector<TCSSToken> FValueScratch;  // the tokens of a value
  TCSSValues FValues;                    // the declarations of a rule
  std::vector<UnicodeString> FMediaTexts;
  int32_t FMediaIndex = 0;
  TCSSMediaSet* FMediaSet = nullptr;
  TCSSSection* FSection = nullptr;
  UnicodeString FKeyFrames;
  bool FInKeyFrames = false;
  THtObjectList FMediaSets{true};
};

}  // namespace norvane
