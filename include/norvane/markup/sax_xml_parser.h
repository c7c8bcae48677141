// THtSAXXMLParser: reads XML straight from a stream, one event at a time,
// without building a tree, so that documents larger than memory can be
// walked in a fixed 256 KiB byte buffer.
//
// Events: a start tag (with its attributes), an end tag, a text. An empty
// element `<a/>` gives a start and then an end event; a processing
// instruction `<?pi a="1"?>` does the same with the tag "?pi", its
// pseudo-attributes as attributes and its raw content as text. Comments and
// document type declarations are skipped; CDATA sections are text. A text
// event holds all character data between two tags: CDATA sections and the
// text around skipped comments join into one event. Character references
// are decoded as the HTML tokenizer decodes them, so a tree and a SAX parse
// of one document read the same text; line ends and blanks stay as written.
//
// Encoding: a byte-order mark (UTF-8, UTF-16 LE or BE) decides; without one
// the first buffer is sniffed (UTF-16 shape, else UTF-8 when it is valid
// UTF-8, else the system code page), and the `encoding` of an XML
// declaration may then change it. An encoding given by the caller stays.
//
// Errors raise EHtXML "Incorrect XML at position N", N the byte offset in
// the stream: malformed markup, a close tag that doesn't match the open
// element, and a stream that ends inside markup or with elements open.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "norvane/markup/html_parser.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TStream;
class THtAttributes;
class THtObjectDictionary;
class THTMLTokenizer;
class TFastString;

NV_ENUM(THtSAXEventType, seTagStart, seTagEnd, seText)

class THtSAXXMLParser;

// Called by ExtractText at each start and end tag inside the element being
// read. At a start tag, false skips that element and its text. The callback
// may append to the builder (a separator, say).
using THtSAXTextFilter = std::function<bool(THtSAXXMLParser& parser, TFastString& out)>;

class THtSAXXMLParser : public TObject {
  NV_CLASS(THtSAXXMLParser, TObject)
 public:
  static constexpr int32_t BufSize = 0x40000;

  // Reads `stream` from its current position; the stream stays the
  // caller's. `encoding` heDefault lets marks and the declaration decide;
  // heANSI reads through `codePage` (0: the system code page).
  explicit THtSAXXMLParser(TStream* stream, THtmlEncoding encoding = heDefault, uint32_t codePage = 0);
  // Opens the file itself (EFOpenError when it can't).
  explicit THtSAXXMLParser(const UnicodeString& fileName, THtmlEncoding encoding = heDefault,
                           uint32_t codePage = 0);
  ~THtSAXXMLParser() override;
  THtSAXXMLParser(const THtSAXXMLParser&) = delete;
  THtSAXXMLParser& operator=(const THtSAXXMLParser&) = delete;

  // Reads the next event; false at the end of the stream.
  bool Next();

  THtSAXEventType LastEvent() const noexcept { return FLastEvent; }
  // The tag of the last start or end event, as written ("ns:name"), and its
  // namespace prefix ("ns", or empty). Names are interned per parser.
  const UnicodeString& Tag() const noexcept { return FTag; }
  const UnicodeString& TagNS() const noexcept { return FTagNS; }
  // Attributes of the last start event, in name order.
  THtAttributes* Attributes() const noexcept { return FAttributes.get(); }
  UnicodeString GetAttr(const UnicodeString& name) const;
  // Text of the last text event (or content of a processing instruction);
  // the view is valid until the next call of Next.
  std::u16string_view TextView() const noexcept { return {FText.Data.get(), size_t(FText.Len)}; }
  UnicodeString Text() const { return UnicodeString(TextView()); }

  // Reads on until Level falls below its value at the call: at a start
  // event, up to and including the element's end event.
  void SkipLevel();
  // Appends the text of every text event up to the end of the current
  // element (as SkipLevel reads), the current text event included.
  void ExtractText(TFastString* out, const THtSAXTextFilter& filter = nullptr);

  // Byte offset in the stream of the next unread byte.
  int64_t Position() const noexcept { return FBufPosition + FBufStart; }
  THtmlEncoding Encoding() const noexcept { return FEncoding; }
  // The code page of heANSI (0 for the system one).
  uint32_t CodePage() const noexcept { return FCodePage; }

  // Moves the unread tail to the front of the buffer and fills it up from
  // the stream; returns the bytes now in the buffer.
  int32_t ReadBuf();

  int32_t Level = 0;                // depth of open elements
  bool FEncodingProcessed = false;  // the declaration was seen

 protected:
  // A buffer of units that only grows; Len units are in use.
  struct TUnitBuffer {
    std::unique_ptr<char16_t[]> Data;
    int32_t Len = 0;
    int32_t Cap = 0;
    // Room for `n` more units behind Len; returns where they go.
    char16_t* Reserve(int32_t n) { return n <= Cap - Len ? Data.get() + Len : Grow(n); }
    char16_t* Grow(int32_t n);
  };

  // A name as it was last read, keyed by its raw units (up to 32 bytes):
  // repeated names skip decoding and the interning table.
  struct TNameSlot {
    int32_t Bytes = -1;
    uint8_t Key[32];
    UnicodeString Name, Prefix;
  };

  // Applies the declaration's "encoding" pseudo-attribute.
  void ProcessEncoding();
  // Appends `count` units of the buffer (bytes, or UTF-16 units) to `s`,
  // decoded by FEncoding.
  template <class Ch>
  void GetString(TUnitBuffer& s, const Ch* units, int32_t count);
  // The interned string of a decoded name.
  UnicodeString GetUniqueString(const char16_t* chars, int32_t length);
  // Raises EHtXML: the message, " at position " and `position`.
  [[noreturn]] void RaiseError(const UnicodeString& message, int64_t position);
  // Decodes the character reference behind an "&" just consumed.
  template <class Ch>
  uint32_t Escape();

  TStream* FStream = nullptr;
  std::unique_ptr<TStream> FOwnStream;
  THtmlEncoding FEncoding = heDefault;
  UnicodeString FTag, FTagNS;
  std::unique_ptr<THtAttributes> FAttributes;
  TUnitBuffer FText;  // reused by every text event
  // 0x40000 bytes, stored as units so that UTF-16 reads are aligned.
  std::unique_ptr<char16_t[]> FBuf;
  int32_t FBufStart = 0;
  int32_t FBufEnd = 0;
  int64_t FBufPosition = 0;
  THtSAXEventType FLastEvent = seTagEnd;
  uint32_t FCodePage = 0;

 private:
  void Init(THtmlEncoding encoding, uint32_t codePage);
  void DetectEncoding(THtmlEncoding encoding);
  uint8_t* Bytes() const noexcept { return reinterpret_cast<uint8_t*>(FBuf.get()); }
  template <class Ch>
  const Ch* Units() const noexcept {
    return reinterpret_cast<const Ch*>(Bytes() + FBufStart);
  }
  template <class Ch>
  int32_t Avail() const noexcept {
    return (FBufEnd - FBufStart) / int32_t(sizeof(Ch));
  }
  template <class Ch>
  void Consume(int32_t units) noexcept {
    FBufStart += units * int32_t(sizeof(Ch));
  }
  template <class Ch>
  bool NextT();
  template <class Ch>
  bool Ensure(int32_t units);
  template <class Ch>
  bool SkipBlanks();
  // Reads the name `offset` units behind FBufStart; `end` gets the offset
  // behind it.
  template <class Ch>
  const TNameSlot& ReadName(int32_t offset, int32_t& end);
  template <class Ch>
  void ReadStartTag();
  template <class Ch>
  void ReadEndTag();
  template <class Ch>
  void ReadProcessingInstruction();
  template <class Ch>
  void ReadPseudoAttributes(const Ch* p, const Ch* e);
  template <class Ch>
  void ReadText();
  template <class Ch>
  void ReadQuoted(Ch quote);
  template <class Ch>
  void AppendCData();
  template <class Ch>
  void SkipComment();
  template <class Ch>
  void SkipDeclaration();
  template <class Ch>
  const Ch* SafeCut(const Ch* p, const Ch* e) const noexcept;
  template <class Ch>
  [[noreturn]] void RaiseIncorrect(int32_t unitOffset);
  static void AppendCode(TUnitBuffer& s, uint32_t code);
  void SetTag(const TNameSlot& name);
  // Attributes are gathered in document order, values decoded into
  // FValues, and then put into FAttributes in name order.
  void AddAttribute(const UnicodeString& name);
  void SortAttributes();

  bool FUnits16 = false;     // the buffer holds UTF-16 units
  bool FBigEndian = false;   // ... read big-endian and swapped in place
  bool FEof = false;         // the stream gave its last byte
  bool FMayDeclare = false;  // the declaration may still set the encoding
  bool FPendingEnd = false;  // an empty element's end event comes next
  int32_t FSwapped = 0;      // bytes of the buffer already in native order
  TUnitBuffer FScratch;      // names and attribute values being decoded
  struct TPendingAttr {
    UnicodeString Name;
    int32_t Offset = 0, Length = 0;  // the value in FValues
  };
  std::vector<TPendingAttr> FPending;
  int32_t FPendingCount = 0;
  TUnitBuffer FValues;
  // The names of the last tag that was sorted, in document order, and the
  // order found: a document repeats its attribute sequences.
  std::vector<UnicodeString> FSortedNames;
  std::vector<int32_t> FOrder;
  std::vector<UnicodeString> FOpen;  // names of the open elements
  std::unique_ptr<THtObjectDictionary> FNames;
  std::unique_ptr<TNameSlot[]> FNameCache;  // NameCacheSize slots
  TNameSlot FLongName;                      // a name too long for the cache
  static constexpr int32_t NameCacheSize = 256;
  std::unique_ptr<THTMLTokenizer> FEscaper;  // its Escape decodes references
};

}  // namespace norvane
