// Builds the XML tree from arbitrary input, as XML (first byte even) or as
// JSON (odd), writes it out in every form, and reads the output back: the
// XML code of a tree parses to a tree with the same code, the JSON of a JSON
// tree to a tree with the same JSON. The only errors allowed are those of
// the readers (EHtXML, EHtmlParserException, EHtJSONParserException and the
// number error EConvertError).
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "norvane/foundation/fast_string.h"
#include "norvane/markup/json_tokenizer.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/markup/xml_node.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

void Outputs(THtXMLNode& doc) {
  (void)doc.InnerCode();
  (void)doc.FormattedCode(1);
  (void)doc.UTF8Code(true);
  (void)doc.GetValue();
  std::unique_ptr<THtXMLNode> copy(doc.Clone());
  Check(copy->Code() == doc.Code());
}

void RunXml(const UnicodeString& text) {
  std::unique_ptr<THtXMLNode> doc;
  try {
    doc = std::make_unique<THtXMLNode>(text);
  } catch (const EHtXML&) {
    return;
  } catch (const EHtmlParserException&) {
    return;
  }
  const UnicodeString code = doc->Code();
  Outputs(*doc);
  (void)doc->JSON();
  THtXMLNode again(code);
  Check(again.Code() == code);
  doc->RemoveNamespaces();
  (void)doc->XPathSet(u"a/b[@c='d']/@e", u"f");
}

void RunJson(const UnicodeString& text) {
  std::unique_ptr<THtXMLNode> doc;
  try {
    doc = std::make_unique<THtXMLNode>(text, 0);
  } catch (const EHtJSONParserException&) {
    return;
  } catch (const EConvertError&) {
    return;
  }
  const UnicodeString json = doc->JSON();
  Outputs(*doc);
  (void)doc->Code();
  if (!json.IsEmpty()) {
    THtXMLNode again(json, 0);
    Check(again.JSON() == json);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > 1 << 16) return 0;
  const bool json = data[0] & 1;
  const UnicodeString text = UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
  if (json)
    RunJson(text);
  else
    RunXml(text);
  return 0;
}
