// Text helpers on arbitrary input: date masks (given and picked), both float
// parsers, URL decoding and encoding (which must round-trip), URL joining,
// the tokenizer and the builders. The first byte chooses the split of the
// rest into two strings; only the documented conversion errors may escape.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "norvane/foundation/date_mask.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/foundation/number_text.h"
#include "norvane/foundation/text_utils.h"
#include "norvane/foundation/url_utils.h"
#include "norvane/runtime/exception.h"

using namespace norvane;

namespace {

// Bytes as code units: pairs as UTF-16 when the selector says so, else
// widened bytes (which keeps masks and dates readable in the corpus).
UnicodeString Units(const uint8_t* p, size_t n, bool wide) {
  std::u16string s;
  if (wide) {
    for (size_t i = 0; i + 1 < n; i += 2) s.push_back(char16_t(p[i] | (p[i + 1] << 8)));
  } else {
    for (size_t i = 0; i < n; ++i) s.push_back(char16_t(p[i]));
  }
  return UnicodeString(s);
}

void Check(bool ok) {
  if (!ok) std::abort();
}

bool HasSurrogate(const UnicodeString& s) {
  for (char16_t c : s.view())
    if (c >= 0xD800 && c <= 0xDFFF) return true;
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  uint8_t sel = data[0];
  ++data;
  --size;
  size_t cut = size ? (sel & 0x3F) % (size + 1) : 0;
  bool wide = sel & 0x80;
  UnicodeString a = Units(data, cut, wide);
  UnicodeString b = Units(data + cut, size - cut, wide);
  UnicodeString all = Units(data, size, wide);

  // Dates: the text with its own mask, with no mask, and as a log time.
  for (const UnicodeString& mask : {b, UnicodeString()}) {
    try {
      StrtoDateFmt(a, mask);
    } catch (const EConvertError&) {
    }
  }
  try {
    StrtoDateFmt(all, u"cisco");
  } catch (const EConvertError&) {
  }
  try {
    StrtoDateFmt(all, UnicodeString());
  } catch (const EConvertError&) {
  }

  // Numbers.
  double lenient = iStrtoFloat(all);
  (void)lenient;
  char16_t dec = b.Length() > 0 ? b[0] : u'.';
  char16_t thou = b.Length() > 1 ? b[1] : u',';
  try {
    StrtoFloatCheck(a, dec, thou);
  } catch (const Exception& e) {
    Check(e.ClassType() == Exception::StaticClass());
  }
  HexToDec(all);
  try {
    HtFormatDecimal(lenient, sel & 0x0F);
  } catch (const EIntOverflow&) {
  }

  // URLs: encoding must survive decoding unchanged.
  UnicodeString encoded = HtEncodeUrl(all);
  if (!HasSurrogate(all)) Check(HTTPDecode(encoded) == all);
  HTTPDecode(all);
  CombineUrl(a, b);

  // Tokenizer: every unit of the input ends up in a token, a delimiter or
  // what is left.
  UnicodeString rest = all;
  int32_t guard = all.Length() + 2;
  while (!rest.IsEmpty() && guard-- > 0) {
    int32_t before = rest.Length();
    UnicodeString tok = Q_StrTok(rest, b, sel & 0x40);
    Check(rest.Length() < before || b.IsEmpty());
    if (b.IsEmpty()) break;
  }
  Check(guard >= 0);

  // Builders against a plain string.
  TFastString fs(int32_t(sel & 0x1F));
  std::u16string model;
  std::u16string_view v = all.view();
  for (size_t i = 0; i < v.size(); i += 1 + (v[i] & 7)) {
    std::u16string_view part = v.substr(i, 1 + (v[i] & 7));
    switch (v[i] % 5) {
      case 0: fs.Add(part.data(), int32_t(part.size())); model += part; break;
      case 1: fs.Prepend(UnicodeString(part)); model.insert(0, part); break;
      case 2: fs.AddChar(part[0]); model += part[0]; break;
      case 3: {
        int32_t n = int32_t(part.size()) % 4;
        fs.DeletefromEnd(n);
        model.resize(model.size() > size_t(n) ? model.size() - size_t(n) : 0);
        break;
      }
      case 4: {
        TFastString other(4);
        other.Add(UnicodeString(part));
        fs.Grab(&other);
        model += part;
        break;
      }
    }
    Check(fs.GetTotalLen() == int32_t(model.size()));
  }
  Check(fs.GetAsString().view() == model);
  if (!b.IsEmpty()) {
    int32_t pos = fs.PosOf(b);
    if (pos) Check(model.substr(size_t(pos - 1), size_t(b.Length())) == b.view());
    Check(fs.StartsWith(b) == std::u16string_view(model).starts_with(b.view()));
    Check(fs.EndsWith(b) == std::u16string_view(model).ends_with(b.view()));
  }
  fs.TrimTrailingBlanks();

  // Numbers written straight into the blocks.
  int64_t iv = 0;
  std::memcpy(&iv, data, std::min(size, sizeof iv));
  TFastString nums(int32_t(sel & 0x1F));
  nums.Add(iv);
  uint64_t mag = iv < 0 ? 0 - uint64_t(iv) : uint64_t(iv);
  std::string expect = (iv < 0 ? "-" : "") + std::to_string(uint32_t(mag) < 100 ? uint64_t(uint32_t(mag)) : mag);
  Check(nums.GetAsString() == UnicodeString::FromAscii(expect.c_str()));
  nums.Add(lenient, int32_t(sel & 0x0F) - 2, sel & 1);
  double dv;
  std::memcpy(&dv, &iv, sizeof dv);
  nums.Add(dv, int32_t(sel & 0x0F) - 2, sel & 2);
  TFastRawString ints(int32_t(sel & 0x07));
  ints.AddInt(int32_t(iv));
  if (int32_t(iv) != INT32_MIN) Check(ints.GetAsString() == std::to_string(int32_t(iv)));
  TFastRawString rs(int32_t(sel & 0x0F));
  rs.AddUTF8(all);
  if (!HasSurrogate(all)) Check(rs.GetAsString() == all.ToUtf8());
  Check(HtUTF8Encode(all) == all.ToUtf8() || HasSurrogate(all));
  return 0;
}
