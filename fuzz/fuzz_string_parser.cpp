// Drives every reader of TStringParser over arbitrary text until the cursor
// reaches the end, lenient and strict, and checks that the cursor never
// leaves the text.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "norvane/foundation/string_parser.h"
#include "norvane/runtime/exception.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

void Walk(const UnicodeString& text, bool raise, uint8_t order) {
  TStringParser sp(text);
  sp.RaiseException = raise;
  Check(sp.Start() + text.Length() == sp.pend && *sp.pend == 0);
  sp.SkipEndBlanks();
  Check(*sp.pend == 0 && sp.p <= sp.pend);
  UnicodeString out;
  int64_t i;
  long double f;
  const TAnsiCharSet stops(";:=>\"'");
  for (unsigned step = order;; ++step) {
    if (sp.Empty()) break;
    const char16_t* before = sp.p;
    try {
      switch (step % 20) {
        case 0: sp.ReadWord(out, step & 32); break;
        case 1: sp.ReadParam(out); break;
        case 2: sp.ReadtoChar(u';', out, step & 32); break;
        case 3: sp.ReadtoChars(stops, out); break;
        case 4: sp.ReadLn(out); break;
        case 5: sp.ReadtoWordBreak(out); break;
        case 6: sp.ReadInt(); break;
        case 7: sp.ReadInt1(); break;
        case 8: sp.ReadHex(); break;
        case 9: sp.ReadBin(); break;
        case 10: sp.ReadNum(); break;
        case 11: sp.ReadNumEx(); break;
        case 12: sp.ReadIntOrFloat(i, f); break;
        case 13: sp.Skip(int32_t(step % 7) - 2); break;
        case 14: sp.Skipto(u'<'); break;
        case 15: sp.SkipBlanks(); break;
        case 16: (void)sp.StartsWith(u"</script>"); break;
        case 17: (void)sp.CharPos(u'>'); break;
        case 18: (void)sp.Line(); (void)sp.Pos(); break;
        case 19: (void)sp.Tail(); (void)HasChinese(out.view()); break;
      }
    } catch (const EConvertError&) {
      // Strict readers reject the text; the walk goes on from where they stopped.
    }
    Check(sp.p >= sp.Start() && sp.p <= sp.pend);
    // Several readers may legitimately stand still; one unit of progress per
    // step keeps the walk finite.
    if (sp.p <= before) sp.p = before + 1 <= sp.pend ? before + 1 : sp.pend;
  }
  Check(sp.GetCurrent() == 0 && sp.Next() == 0 && sp.Empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) {
    Walk(UnicodeString(), false, 0);
    Walk(UnicodeString(), true, 0);
    return 0;
  }
  // The first byte chooses the decoding and the reader order.
  const uint8_t mode = data[0];
  std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  UnicodeString text;
  if (mode & 1) {
    std::u16string units(bytes.size() / 2, u'\0');
    for (size_t k = 0; k < units.size(); ++k)
      units[k] = char16_t(uint8_t(bytes[2 * k]) | uint8_t(bytes[2 * k + 1]) << 8);
    text = UnicodeString(units);
  } else {
    text = UnicodeString::FromUtf8(bytes);
  }
  Walk(text, false, mode >> 1);
  Walk(text, true, mode >> 1);
  return 0;
}
