// Reads arbitrary bytes with the SAX parser and checks what consumers rely
// on: the only error is EHtXML, the level follows the start and end events
// and is 0 at a clean end, no two text events come in a row, the position
// only moves forward and never past the input, and SkipLevel and
// ExtractText stop where the element ends.
//
// The first byte picks how the stream hands out its bytes (all at once or
// in small reads), an encoding to impose, and whether the input starts just
// before the end of the parser's first buffer, so that the code that reads
// on across the buffer boundary gets exercised too.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "norvane/foundation/fast_string.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/markup/sax_xml_parser.h"
#include "norvane/runtime/streams.h"

using namespace norvane;

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

class TChunkStream : public TStream {
 public:
  TChunkStream(const std::string& bytes, int64_t chunk) : FBytes(bytes), FChunk(chunk) {}
  int64_t Read(void* buffer, int64_t count) override {
    const int64_t n = std::min({count, FChunk, int64_t(FBytes.size()) - FPos});
    if (n <= 0) return 0;
    std::memcpy(buffer, FBytes.data() + FPos, size_t(n));
    FPos += n;
    return n;
  }
  int64_t Write(const void*, int64_t) override { return 0; }
  int64_t Seek(int64_t, TSeekOrigin) override { return FPos; }

 private:
  const std::string& FBytes;
  int64_t FChunk;
  int64_t FPos = 0;
};

void Walk(const std::string& bytes, uint8_t mode) {
  static const int64_t kChunks[] = {1 << 30, 1, 3, 4096};
  static const THtmlEncoding kEncodings[] = {heDefault, heDefault, heUTF8, heUTF16, heANSI};
  TChunkStream stream(bytes, kChunks[mode & 3]);
  try {
    THtSAXXMLParser sax(&stream, kEncodings[(mode >> 2) % 5]);
    int64_t last = sax.Position();
    int32_t depth = 0;
    THtSAXEventType previous = seTagEnd;
    for (int events = 0; events < 100000; ++events) {
      if (!sax.Next()) {
        Check(sax.Level == 0 && depth == 0);
        Check(sax.Position() <= int64_t(bytes.size()));
        break;
      }
      Check(sax.Position() >= last && sax.Position() <= int64_t(bytes.size()));
      last = sax.Position();
      switch (sax.LastEvent()) {
        case seTagStart:
          ++depth;
          Check(!sax.Tag().IsEmpty());
          for (int32_t i = 1; i < sax.Attributes()->Count; ++i)
            Check(sax.Attributes()->GetName(i - 1).view() <= sax.Attributes()->GetName(i).view());
          if ((mode & 0x80) && events % 3 == 1) {
            const int32_t level = sax.Level;
            if (events % 2) {
              sax.SkipLevel();
            } else {
              TFastString out;
              sax.ExtractText(&out, [](THtSAXXMLParser& p, TFastString&) { return p.Tag().Length() != 1; });
            }
            Check(sax.Level < level || sax.Level == 0);
            depth = sax.Level;
          }
          break;
        case seTagEnd:
          --depth;
          break;
        case seText:
          Check(!sax.TextView().empty());
          Check(previous != seText);  // text between two tags is one event
          break;
      }
      Check(sax.Level == depth);
      previous = sax.LastEvent();
    }
  } catch (const EHtXML&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t mode = data[0];
  std::string bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  if (mode & 0x40) {
    // Text up to a few bytes before the first buffer's end, then the input.
    const size_t pad = size_t(THtSAXXMLParser::BufSize) - 3 - (mode & 0x0F) * 3;
    std::string doc = "<r>";
    doc.append(pad, 'x');
    bytes = doc + bytes;
  }
  Walk(bytes, mode);
  return 0;
}
