// Reads arbitrary input with the JSON tokenizer and the name/value step, as
// UTF-8 text and as raw UTF-16 units, and checks what consumers rely on: the
// cursor stays inside the text, each token moves it forward, positions are
// ordered, an interned name is the one the list holds, and the only errors
// are EHtJSONParserException and EConvertError. The tree, which reads
// tokens its own way, must end as a walk over the ordinary tokens does.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "../tests/markup/json_walk.h"
#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/markup/json_tokenizer.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

// Every token, restarting behind each error so that one input exercises
// many token starts.
void Tokens(const UnicodeString& text) {
  THtJSONTokenizer t(text);
  TStringParser& sp = *t.Parser();
  const char16_t* const start = sp.Start();
  for (;;) {
    const char16_t* before = sp.p;
    try {
      const bool more = t.NextToken();
      Check(sp.p >= start && sp.p <= sp.pend);
      if (t.Eof) break;
      Check(sp.p > before);
      Check(t.Token.StartPos == before - start && t.Token.EndPos == sp.p - start);
      if (!more) break;
    } catch (const EHtJSONParserException&) {
    } catch (const EConvertError&) {
    }
    Check(sp.p >= start && sp.p <= sp.pend);
    if (sp.p == before) sp.Next();
    if (sp.p >= sp.pend) break;
  }
}

// Pairs wherever a name stands; the rest is stepped over.
void Pairs(const UnicodeString& text) {
  THtJSONParser parser(text);
  if (!parser.Tokenizer) return;
  THtJSONTokenizer& t = *parser.Tokenizer;
  try {
    while (t.NextNSToken()) {
      if (t.Token.CType != jtIdent && t.Token.CType != jtString) continue;
      const THtJSONTokenType v = parser.NextNameValue();
      Check(v == jtIdent || v == jtObjectStart || v == jtArrayStart || v == jtInt || v == jtFloat);
      if (!parser.Name.IsEmpty()) Check(parser.Names().GetPair(parser.Name)->Name.SameBlock(parser.Name));
    }
  } catch (const EHtJSONParserException&) {
  } catch (const EConvertError&) {
  }
  Check(t.Parser()->p <= t.Parser()->pend);
}

void TreeAsWalk(const UnicodeString& text) {
  const std::string tree = testcheck::TreeOutcome(text);
  if (tree != testcheck::kTooDeep) Check(tree == testcheck::WalkOutcome(text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const UnicodeString utf8 = UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  Tokens(utf8);
  Pairs(utf8);
  TreeAsWalk(utf8);
  if (size >= 2) {
    UnicodeString raw = UnicodeString::Alloc(int32_t(size / 2));
    std::memcpy(raw.MutableData(), data, (size / 2) * 2);
    Tokens(raw);
    Pairs(raw);
    TreeAsWalk(raw);
  }
  return 0;
}
