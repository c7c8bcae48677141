// Tokenizes arbitrary input in HTML and XML mode, as UTF-8 text and as raw
// UTF-16 units, and checks the invariants every consumer relies on: the
// cursor stays inside the text, every token moves it forward or ends the
// stream, positions are ordered, and only XML mode raises, and then only
// EHtmlParserException.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/markup/html_tokenizer.h"
#include "norvane/markup/markup_errors.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

void Run(const UnicodeString& text, bool xml, bool caseSensitive) {
  THtObjectDictionary tags(255, true, THtStringRec::ValueOffset(), &RSHash);
  THTMLTokenizer t(text, xml);
  t.SetTagList(&tags);
  t.SetCaseSensitive(caseSensitive);
  TStringParser& sp = *t.Parser();
  const char16_t* const start = sp.Start();
  try {
    for (bool allow = true;; allow = !allow) {
      const char16_t* before = sp.p;
      const bool more = t.NextToken(allow);
      Check(sp.p >= start && sp.p <= sp.pend);
      if (t.Eof) break;
      Check(sp.p > before);  // every token consumes something
      Check(t.Token.StartPos == before - start && t.Token.EndPos == sp.p - start);
      if (t.Token.CType == htIdent && t.TagName().SameBlock(t.Token.Name) && !t.Token.Name.IsEmpty())
        Check(tags.ContainsKey(t.Token.Name));
      if (!more) break;
    }
  } catch (const EHtmlParserException&) {
    Check(xml);
  }
  Check(sp.p <= sp.pend);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const UnicodeString utf8 = UnicodeString::FromUtf8(bytes);
  const bool caseSensitive = size && (data[0] & 1);
  Run(utf8, false, caseSensitive);
  Run(utf8, true, caseSensitive);
  // The same bytes as UTF-16 units (an odd last byte is dropped): lone
  // surrogates, NULs and units above 255 in every position.
  if (size >= 2) {
    UnicodeString raw = UnicodeString::Alloc(int32_t(size / 2));
    std::memcpy(raw.MutableData(), data, (size / 2) * 2);
    Run(raw, false, !caseSensitive);
    Run(raw, true, caseSensitive);
  }
  return 0;
}
