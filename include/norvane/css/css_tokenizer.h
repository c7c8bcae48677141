// CSS tokens: the tokenizer that reads style sheet text one token at a time,
// the shared token array a declaration value lives in, and the cursor that
// walks such an array.
//
// Comments, escapes, URLs, numbers with their unit and the lexical forms of
// colours are all settled in the one pass of the tokenizer. It never raises:
// malformed text still gives tokens (an unterminated string or comment ends
// with the text, a number with an unknown unit is an identifier), and what
// to drop is the parser's decision.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "norvane/css/css_measure_unit.h"
#include "norvane/foundation/string_parser.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

// ctCDO and ctCDC are never produced: "<!--" arrives as delimiters and an
// identifier.
NV_ENUM(TCSSTokenType, ctUnknown, ctIdent, ctAtKeyword, ctString, ctBlockStart, ctBlockEnd, ctHash, ctNumber,
        ctPercentage, ctDimension, ctURI, ctCDO, ctCDC, ctComment, ctFunction, ctColon, ctSemicolon, ctComma,
        ctOpenPar, ctClosePar, ctDelimiter, ctOpenBr, ctCloseBr, ctSlash, ctSpace)

// One token; a value that owns only its string.
//
// Name per type: ctIdent the unescaped name (or the whole run of a number
// with an unknown unit, "1fffff"); ctHash the name without "#"; ctAtKeyword
// "@" and the name; ctFunction the name folded to lower case (its "(" is the
// next token); ctString the unescaped text without quotes; ctURI the address;
// ctNumber, ctPercentage, ctDimension the source text, sign and unit
// included; ctComment the text between "/*" and "*/"; ctSpace the run of
// white space; the rest the character itself.
struct TCSSToken {
  UnicodeString Name;
  int32_t StartPos = 0;  // 1-based position of the first character
  int32_t EndPos = 0;    // 1-based position of the last character
  // 0 after tokenizing; 1 once a colour lookup found a system colour, which
  // must be looked up again on every read since the palette can change.
  int32_t Flags = 0;
  // The numeric value of ctNumber, ctPercentage and ctDimension; for tokens
  // the parser has resolved, the same four bytes cache the resolved value as
  // Color (an ARGB colour, an enumeration ordinal, or a marker). A Color of
  // 0 means "not resolved yet".
  union {
    float AsFloat = 0.0f;
    uint32_t Color;
  };
  TCSSTokenType CType = ctUnknown;
  TMeasureUnit MUnit = muNone;  // muPercent for ctPercentage, the unit of ctDimension
};

// The tokens of a value: a shared array. Copies share the elements, so the
// colours a consumer caches in a token are seen by every holder; changing the
// length of an array that is shared detaches a private copy first.
class TCSSTokens {
 public:
  TCSSTokens() = default;

  int32_t Length() const noexcept { return d_ ? int32_t(d_->size()) : 0; }
  bool Empty() const noexcept { return Length() == 0; }
  TCSSToken& operator[](int32_t i) noexcept { return (*d_)[size_t(i)]; }
  const TCSSToken& operator[](int32_t i) const noexcept { return (*d_)[size_t(i)]; }
  TCSSToken* Data() noexcept { return d_ ? d_->data() : nullptr; }
  const TCSSToken* Data() const noexcept { return d_ ? d_->data() : nullptr; }
  TCSSToken* begin() noexcept { return Data(); }
  TCSSToken* end() noexcept { return Data() + Length(); }
  const TCSSToken* begin() const noexcept { return Data(); }
  const TCSSToken* end() const noexcept { return Data() + Length(); }

  void SetLength(int32_t n);
  void Add(const TCSSToken& token);
  void Clear() noexcept { d_.reset(); }
  // Holders of this array, 0 when it is empty and unallocated.
  long RefCount() const noexcept { return d_ ? d_.use_count() : 0; }

 private:
  void Unshare();
  std::shared_ptr<std::vector<TCSSToken>> d_;
};

// A cursor over a TCSSTokens variable; a plain value, one per walk.
struct TCSSTokenSequence {
  int32_t Index = 0;
  TCSSTokens* FPTokens = nullptr;  // the array walked, not owned
  TCSSTokens FOwnTokens;           // a reference that keeps the array alive (InitStore)
  int32_t Count = 0;
  TCSSToken* T = nullptr;  // the current token, null past the end
  bool Eof = true;

  TCSSTokenSequence() = default;
  // A copy of a sequence made with InitStore walks its own reference.
  TCSSTokenSequence(const TCSSTokenSequence& o) { *this = o; }
  TCSSTokenSequence& operator=(const TCSSTokenSequence& o);

  // Cursor at index 0; Eof when the array is empty.
  void Init(TCSSTokens* tokens);
  // The same, holding a reference so that the sequence outlives `tokens`.
  void InitStore(const TCSSTokens& tokens);
  // Index += step; Eof when the index reached the count. Returns whether a
  // token stands at the new index (a step below index 0 finds none).
  bool Next(int32_t step = 1);
  // The index of T; the last index when T is null.
  int32_t Position() const noexcept;
  // Reads a colour at the cursor into `color` (ARGB) and returns whether a
  // colour expression stands there: a colour name or system colour, a hash
  // colour, rgb()/rgba() (numbers, percentages, or a colour and an alpha),
  // or var() (which leaves `color` alone). "inherit" is none. A bare number
  // ("bgcolor=00FF00" style) gives its colour but counts as none. Resolved
  // colours and the system flag are cached in the tokens.
  bool ReadColor(uint32_t& color);
};

class TCSSTokenizer : public TObject {
  NV_CLASS(TCSSTokenizer, TObject)
 public:
  // `parseNumbers` false delimits numbers without converting them.
  explicit TCSSTokenizer(const UnicodeString& text, bool parseNumbers = true);

  // Reads one token into Token. False when no token was read (the end of
  // the text or a NUL, with Eof set), and also for white space that is the
  // last thing in the text: that token is delivered, and Eof comes with the
  // following call.
  bool NextToken();

  // The scanners NextToken dispatches to; each starts at the current
  // character and leaves the cursor behind what it read.
  // A one-character token of the given type.
  void Next(TCSSTokenType type);
  // `functions` false (after "#" and "@") keeps a following "(" out of the
  // token: no function, no url().
  void ReadIdent(bool functions = true);
  void ReadString();
  void ReadURI();
  void ReadNumber();
  void ReadComment();
  void ReadAt();
  void ReadHash();
  // After a backslash: up to six hexadecimal digits and one blank behind
  // them, or the next character as it stands. Returns the code point.
  int32_t Escape() noexcept;

  TStringParser Parser;
  bool ParseNumbers;
  TCSSToken Token;
  bool Eof = false;

 private:
  // Adds a code point to the name being built.
  void AddCodePoint(int32_t cp);
  void Flush(const char16_t* from, const char16_t* to);
  void TakeName(const char16_t* from, const char16_t* to);
  void ReadUrlArgument();

  std::u16string FBuf;  // names with escapes are assembled here
  bool FBuffered = false;
};

}  // namespace norvane
