#include "norvane/foundation/text_file.h"

#include <cstring>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/streams.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

UnicodeString FileToStr(const UnicodeString& fileName) {
  TFileStream fs(fileName, fmOpenRead | fmShareDenyWrite);
  uint8_t head[2] = {0, 0};
  int64_t got = fs.Read(head, 2);
  uint16_t mark = uint16_t(head[0] | (head[1] << 8));
  if (got == 2 && (mark == 0xFEFF || mark == 0xFFFE || head[1] == 0)) {
    // UTF-16 as stored: a mark is dropped, a guess re-reads from the start.
    if (mark != 0xFEFF && mark != 0xFFFE) fs.SetPosition(0);
    TBytes rest = fs.ReadRemaining();
    int64_t units = int64_t(rest.size() / 2);
    if (units > INT32_MAX) throw EOutOfMemory();
    UnicodeString s = UnicodeString::Alloc(int32_t(units));
    if (units) std::memcpy(s.MutableData(), rest.data(), size_t(units) * 2);
    return s;
  }
  if (got == 2 && head[0] == 0xEF && head[1] == 0xBB) {
    fs.Skip(1);
    TBytes rest = fs.ReadRemaining();
    return UnicodeString::FromUtf8(std::string_view(reinterpret_cast<const char*>(rest.data()), rest.size()));
  }
  fs.SetPosition(0);
  TBytes all = fs.ReadRemaining();
  return AnsiToUnicode(std::string_view(reinterpret_cast<const char*>(all.data()), all.size()));
}

RawByteString FileToStrA(const UnicodeString& fileName) {
  TFileStream fs(fileName, fmOpenRead | fmShareDenyWrite);
  TBytes all = fs.ReadRemaining();
  return RawByteString(all.begin(), all.end());
}

RawByteString FileToStrR(const UnicodeString& fileName) { return FileToStrA(fileName); }

void StrtoFile(const UnicodeString& s, const UnicodeString& fileName) {
  TFileStream fs(fileName, fmCreate);
  if (s.Length()) fs.WriteBuffer(s.Data(), int64_t(s.Length()) * 2);
}

void StrtoFileA(std::string_view s, const UnicodeString& fileName) {
  TFileStream fs(fileName, fmCreate);
  if (!s.empty()) fs.WriteBuffer(s.data(), int64_t(s.size()));
}

void StrtoFileR(std::string_view s, const UnicodeString& fileName) { StrtoFileA(s, fileName); }

}  // namespace norvane
