#include "norvane/markup/sax_xml_parser.h"

#include <algorithm>
#include <cstring>

#include "norvane/foundation/fast_string.h"
#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/foundation/string_parser.h"
#include "norvane/markup/ht_attributes.h"
#include "norvane/markup/html_tokenizer.h"
#include "norvane/markup/markup_errors.h"
#include "norvane/runtime/streams.h"
#include "norvane/runtime/sysutils.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace norvane {

NV_CLASS_IMPL(THtSAXXMLParser, "htxml")
NV_CLASS_IMPL(EHtXML, "htxml")

namespace {

// Classes of the units below 256; every unit from 0x80 up may stand in a
// name (bytes of UTF-8 and code-page letters, and UTF-16 units alike).
enum : uint8_t { ccName = 1, ccNameStart = 2, ccBlank = 4 };

struct TSAXCharClass {
  uint8_t Cls[256]{};
  constexpr TSAXCharClass() {
    for (int c = 'a'; c <= 'z'; ++c) Cls[c] = ccName | ccNameStart;
    for (int c = 'A'; c <= 'Z'; ++c) Cls[c] = ccName | ccNameStart;
    for (int c = 0x80; c < 256; ++c) Cls[c] = ccName | ccNameStart;
    Cls[int('_')] = Cls[int(':')] = ccName | ccNameStart;
    for (int c = '0'; c <= '9'; ++c) Cls[c] = ccName;
    Cls[int('-')] = Cls[int('.')] = ccName;
    Cls[int(' ')] = Cls[int('\t')] = Cls[int('\r')] = Cls[int('\n')] = ccBlank;
  }
};
constexpr TSAXCharClass kClass;

inline uint8_t ClassOf(uint8_t c) noexcept { return kClass.Cls[c]; }
inline uint8_t ClassOf(char16_t c) noexcept { return c < 256 ? kClass.Cls[c] : uint8_t(ccName | ccNameStart); }

// Most names repeat; past this many distinct ones (a generated document
// with a name per record) new names are no longer kept, so memory stays
// bounded.
constexpr int32_t kMaxInternedNames = 65536;

// A character reference needs at most this many units in view.
constexpr int32_t kEscapeWindow = 64;

// The first unit equal to `a` or `b` in [p, e), or e.
inline const uint8_t* FindEither(const uint8_t* p, const uint8_t* e, uint8_t a, uint8_t b) noexcept {
#if defined(__SSE2__)
  const __m128i va = _mm_set1_epi8(char(a)), vb = _mm_set1_epi8(char(b));
  while (e - p >= 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const int m = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(v, va), _mm_cmpeq_epi8(v, vb)));
    if (m) return p + __builtin_ctz(unsigned(m));
    p += 16;
  }
#endif
  while (p < e && *p != a && *p != b) ++p;
  return p;
}

inline const char16_t* FindEither(const char16_t* p, const char16_t* e, char16_t a, char16_t b) noexcept {
#if defined(__SSE2__)
  const __m128i va = _mm_set1_epi16(short(a)), vb = _mm_set1_epi16(short(b));
  while (e - p >= 8) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const int m = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(v, va), _mm_cmpeq_epi16(v, vb)));
    if (m) return p + (__builtin_ctz(unsigned(m)) >> 1);
    p += 8;
  }
#endif
  while (p < e && *p != a && *p != b) ++p;
  return p;
}

inline const uint8_t* FindUnit(const uint8_t* p, const uint8_t* e, uint8_t a) noexcept {
  const void* q = std::memchr(p, a, size_t(e - p));
  return q ? static_cast<const uint8_t*>(q) : e;
}

inline const char16_t* FindUnit(const char16_t* p, const char16_t* e, char16_t a) noexcept {
  return FindEither(p, e, a, a);
}

// The first byte from 0x80 up in [p, e), or e.
inline const uint8_t* SkipAscii(const uint8_t* p, const uint8_t* e) noexcept {
#if defined(__SSE2__)
  while (e - p >= 16) {
    const int m = _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    if (m) return p + __builtin_ctz(unsigned(m));
    p += 16;
  }
#endif
  while (p < e && *p < 0x80) ++p;
  return p;
}

// Widens the ASCII bytes at p (up to e) into d; stops at the first byte
// from 0x80 up.
inline void WidenAscii(const uint8_t*& p, const uint8_t* e, char16_t*& d) noexcept {
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  while (e - p >= 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if (_mm_movemask_epi8(v)) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_unpacklo_epi8(v, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 8), _mm_unpackhi_epi8(v, zero));
    p += 16;
    d += 16;
  }
#endif
  while (p < e && *p < 0x80) *d++ = *p++;
}

// Short keys compare in words rather than through a call.
inline bool SameBytes(const uint8_t* a, const uint8_t* b, int32_t n) noexcept {
  uint64_t x, y;
  for (; n >= 8; a += 8, b += 8, n -= 8) {
    std::memcpy(&x, a, 8);
    std::memcpy(&y, b, 8);
    if (x != y) return false;
  }
  for (; n > 0; --n)
    if (*a++ != *b++) return false;
  return true;
}

template <class Ch>
inline bool Matches(const Ch* p, std::string_view s) noexcept {
  for (size_t i = 0; i < s.size(); ++i)
    if (p[i] != Ch(uint8_t(s[i]))) return false;
  return true;
}

}  // namespace

// --- Buffers -------------------------------------------------------------------------

char16_t* THtSAXXMLParser::TUnitBuffer::Grow(int32_t n) {
  {
    if (int64_t(Len) + n > 0x7FFFFFF0) throw EOutOfMemory();
    int32_t cap = std::max<int32_t>(256, Cap);
    while (cap - Len < n) cap = cap > 0x3FFFFFFF ? 0x7FFFFFF0 : cap * 2;
    std::unique_ptr<char16_t[]> d(new char16_t[size_t(cap)]);
    if (Len) std::memcpy(d.get(), Data.get(), size_t(Len) * 2);
    Data = std::move(d);
    Cap = cap;
  }
  return Data.get() + Len;
}

// --- Construction --------------------------------------------------------------------

THtSAXXMLParser::THtSAXXMLParser(TStream* stream, THtmlEncoding encoding, uint32_t codePage) : FStream(stream) {
  Init(encoding, codePage);
}

THtSAXXMLParser::THtSAXXMLParser(const UnicodeString& fileName, THtmlEncoding encoding, uint32_t codePage) {
  FOwnStream = std::make_unique<TFileStream>(fileName, fmOpenRead | fmShareDenyWrite);
  FStream = FOwnStream.get();
  Init(encoding, codePage);
}

THtSAXXMLParser::~THtSAXXMLParser() = default;

void THtSAXXMLParser::Init(THtmlEncoding encoding, uint32_t codePage) {
  FBuf.reset(new char16_t[BufSize / 2]);
  FAttributes = std::make_unique<THtAttributes>(true);
  FNames = std::make_unique<THtObjectDictionary>(255, true, THtStringRec::ValueOffset());
  FNameCache.reset(new TNameSlot[NameCacheSize]);
  FEscaper = std::make_unique<THTMLTokenizer>(UnicodeString(), true);
  FCodePage = codePage;
  ReadBuf();
  DetectEncoding(encoding);
}

void THtSAXXMLParser::DetectEncoding(THtmlEncoding encoding) {
  const uint8_t* b = Bytes();
  const int32_t n = FBufEnd;
  FEncoding = encoding;
  if (n >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF && encoding != heUTF16) {
    if (encoding == heDefault) FEncoding = heUTF8;
    FBufStart = 3;
  } else if (n >= 2 && ((b[0] == 0xFF && b[1] == 0xFE) || (b[0] == 0xFE && b[1] == 0xFF)) &&
             (encoding == heDefault || encoding == heUTF16)) {
    FEncoding = heUTF16;
    FBigEndian = b[0] == 0xFE;
    FBufStart = 2;
  } else if (encoding == heUTF16) {
    // No mark: a zero first byte before a non-zero one is big-endian.
    FBigEndian = n >= 2 && b[0] == 0 && b[1] != 0;
  } else if (encoding == heDefault) {
    if (n >= 2 && b[0] == '<' && b[1] == 0) {
      FEncoding = heUTF16;
    } else if (n >= 2 && b[0] == 0 && b[1] == '<') {
      FEncoding = heUTF16;
      FBigEndian = true;
    } else {
      // Valid UTF-8 is taken as UTF-8, anything else as the system code
      // page; a declaration may still say otherwise. A sequence cut by the
      // end of the buffer is not held against the text.
      int32_t m = n;
      if (!FEof)
        while (m > 0 && n - m < 4 && b[m - 1] >= 0x80) --m;
      if (m == 0 || n - m >= 4) m = n;
      // Only the runs of bytes from 0x80 up need a look; they begin and end
      // on sequence boundaries.
      bool valid = true;
      for (const uint8_t *p = b, *e = b + m; valid && p < e;) {
        p = SkipAscii(p, e);
        const uint8_t* h = p;
        while (p < e && *p >= 0x80) ++p;
        valid = IsValidUtf8(h, size_t(p - h));
      }
      FEncoding = valid ? heUTF8 : heDefault;
      FMayDeclare = true;
    }
  }
  FUnits16 = FEncoding == heUTF16;
  if (FBigEndian) {
    FSwapped = FBufStart;
    ReadBuf();  // swaps what is there
  }
}

int32_t THtSAXXMLParser::ReadBuf() {
  uint8_t* b = Bytes();
  if (FBufStart > 0) {
    const int32_t rest = FBufEnd - FBufStart;
    if (rest > 0) std::memmove(b, b + FBufStart, size_t(rest));
    FBufPosition += FBufStart;
    FSwapped = std::max(0, FSwapped - FBufStart);
    FBufEnd = rest;
    FBufStart = 0;
  }
  while (!FEof && FBufEnd < BufSize) {
    const int64_t got = FStream->Read(b + FBufEnd, BufSize - FBufEnd);
    if (got <= 0) {
      FEof = true;
      break;
    }
    FBufEnd += int32_t(got);
  }
  if (FBigEndian) {
    const int32_t whole = FBufEnd & ~1;
    for (int32_t i = FSwapped; i < whole; i += 2) std::swap(b[i], b[i + 1]);
    FSwapped = std::max(FSwapped, whole);
  }
  return FBufEnd;
}

template <class Ch>
bool THtSAXXMLParser::Ensure(int32_t units) {
  while (Avail<Ch>() < units) {
    // A full buffer can't take more: the caller's token is too long.
    if (FEof || (FBufStart == 0 && FBufEnd == BufSize)) return false;
    ReadBuf();
  }
  return true;
}

// --- Errors --------------------------------------------------------------------------

void THtSAXXMLParser::RaiseError(const UnicodeString& message, int64_t position) {
  throw EHtXML(message + u" at position " + IntToStr(position));
}

template <class Ch>
void THtSAXXMLParser::RaiseIncorrect(int32_t unitOffset) {
  RaiseError(u"Incorrect XML", Position() + int64_t(unitOffset) * int64_t(sizeof(Ch)));
}

// --- Decoding ------------------------------------------------------------------------

template <>
void THtSAXXMLParser::GetString<uint8_t>(TUnitBuffer& s, const uint8_t* p, int32_t count) {
  if (count <= 0) return;
  const uint8_t* e = p + count;
  char16_t* d = s.Reserve(count);  // never more units than bytes here
  char16_t* const d0 = s.Data.get();
  WidenAscii(p, e, d);
  if (p < e) {
    if (FEncoding == heUTF8) {
      // Runs of bytes from 0x80 up begin and end on sequence boundaries.
      while (p < e) {
        const uint8_t* h = p;
        while (h < e && *h >= 0x80) ++h;
        d = Utf8ToU16(p, size_t(h - p), d);
        p = h;
        WidenAscii(p, e, d);
      }
    } else {
      s.Len = int32_t(d - d0);
      const uint32_t cp = FCodePage ? FCodePage : SystemCodePage();
      const UnicodeString u =
          DecodeCodePage(std::string_view(reinterpret_cast<const char*>(p), size_t(e - p)), cp);
      d = s.Reserve(u.Length());
      if (u.Length()) std::memcpy(d, u.Data(), size_t(u.Length()) * 2);
      s.Len += u.Length();
      return;
    }
  }
  s.Len = int32_t(d - d0);
}

template <>
void THtSAXXMLParser::GetString<char16_t>(TUnitBuffer& s, const char16_t* p, int32_t count) {
  if (count <= 0) return;
  std::memcpy(s.Reserve(count), p, size_t(count) * 2);
  s.Len += count;
}

// Where a run of text that goes on beyond the buffer can be cut without
// splitting a character: UTF-16 units and single bytes anywhere; UTF-8
// before an unfinished sequence; other code pages behind a byte below 0x40,
// which no double-byte code page uses as a trail byte.
template <class Ch>
const Ch* THtSAXXMLParser::SafeCut(const Ch* p, const Ch* e) const noexcept {
  if constexpr (sizeof(Ch) == 1) {
    if (p == e || e[-1] < 0x80) return e;
    const Ch* cut = e;
    if (FEncoding == heUTF8) {
      const Ch* q = e;
      while (q > p && e - q < 4 && (q[-1] & 0xC0) == 0x80) --q;
      if (q > p && q[-1] >= 0xC0) {
        const uint8_t lead = q[-1];
        const int need = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if (e - (q - 1) < need) cut = q - 1;
      }
    } else {
      cut = e;
      while (cut > p && cut[-1] >= 0x40) --cut;
    }
    // Nothing to cut off yet: wait for more, unless the buffer is full.
    if (cut == p && FBufStart == 0 && FBufEnd == BufSize) cut = e;
    return cut;
  } else {
    (void)p;
    return e;
  }
}

void THtSAXXMLParser::AppendCode(TUnitBuffer& s, uint32_t code) {
  // Stored as the HTML tokenizer stores references: supplementary code
  // points as a pair, values that are no character as two spaces.
  char16_t* d = s.Reserve(2);
  if (code > 0xFFFF) {
    if (code >= 0x110000) {
      d[0] = d[1] = u' ';
    } else {
      code -= 0x10000;
      d[0] = char16_t(0xD800 + (code >> 10));
      d[1] = char16_t(0xDC00 + (code & 0x3FF));
    }
    s.Len += 2;
  } else if (code >= 0xD800 && code <= 0xDFFF) {
    d[0] = d[1] = u' ';
    s.Len += 2;
  } else {
    d[0] = char16_t(code);
    s.Len += 1;
  }
}

template <class Ch>
uint32_t THtSAXXMLParser::Escape() {
  Ensure<Ch>(kEscapeWindow);
  const Ch* p = Units<Ch>();
  const int32_t n = std::min(Avail<Ch>(), kEscapeWindow);
  // The tokenizer's decoder runs on a copy of the units in view (bytes
  // widened one to one), so both readers decode references alike.
  char16_t window[kEscapeWindow + 1];
  for (int32_t i = 0; i < n; ++i) window[i] = char16_t(p[i]);
  window[n] = 0;
  TStringParser& sp = *FEscaper->Parser();
  sp.p = window;
  sp.pend = window + n;
  const uint32_t code = FEscaper->Escape();
  int32_t used = int32_t(sp.p - window);
  sp.p = sp.pend = sp.Start();
  if constexpr (sizeof(Ch) == 1) {
    // An unknown name loses its first unit; in UTF-8 that is a whole
    // character, not one byte of it.
    if (FEncoding == heUTF8 && used > 0 && p[used - 1] >= 0xC0)
      while (used < n && (p[used] & 0xC0) == 0x80) ++used;
  }
  Consume<Ch>(used);
  return code;
}

UnicodeString THtSAXXMLParser::GetUniqueString(const char16_t* chars, int32_t length) {
  if (length <= 0) return UnicodeString();
  const int32_t hash = FNames->HashFunc()(chars, length);
  const int32_t slot = FNames->FindHashed(hash, chars, length);
  if (slot >= 0) return static_cast<THtStringRec*>(FNames->Table().ValueAt(slot))->Value;
  UnicodeString name(chars, length);
  if (FNames->Count() < kMaxInternedNames) {
    auto rec = std::make_unique<THtStringRec>(name);
    FNames->AddHashed(hash, name, rec.get());
    rec.release();
  }
  return name;
}

void THtSAXXMLParser::SetTag(const TNameSlot& name) {
  FTag = name.Name;
  FTagNS = name.Prefix;
}

void THtSAXXMLParser::AddAttribute(const UnicodeString& name) {
  if (size_t(FPendingCount) == FPending.size()) FPending.emplace_back();
  TPendingAttr& a = FPending[size_t(FPendingCount++)];
  a.Name = name;
  a.Offset = FValues.Len;
  a.Length = FScratch.Len;
  if (FScratch.Len) {
    std::memcpy(FValues.Reserve(FScratch.Len), FScratch.Data.get(), size_t(FScratch.Len) * 2);
    FValues.Len += FScratch.Len;
  }
}

void THtSAXXMLParser::SortAttributes() {
  const int32_t n = FPendingCount;
  THtAttributes& attrs = *FAttributes;
  attrs.Clear();
  if (n == 0) return;
  bool same = FSortedNames.size() == size_t(n);
  for (int32_t i = 0; same && i < n; ++i) same = FSortedNames[size_t(i)].SameBlock(FPending[size_t(i)].Name);
  if (!same) {
    // Name order as the table's own search expects (ordinal units); a
    // stable insertion sort keeps repeated names in document order.
    FSortedNames.resize(size_t(n));
    FOrder.resize(size_t(n));
    for (int32_t i = 0; i < n; ++i) {
      const UnicodeString& name = FPending[size_t(i)].Name;
      FSortedNames[size_t(i)] = name;
      int32_t k = i;
      for (; k > 0; --k) {
        const UnicodeString& prev = FPending[size_t(FOrder[size_t(k - 1)])].Name;
        if (prev.SameBlock(name) || prev.view() <= name.view()) break;
        FOrder[size_t(k)] = FOrder[size_t(k - 1)];
      }
      FOrder[size_t(k)] = i;
    }
  }
  if (attrs.List.size() < size_t(n)) attrs.List.resize(size_t(n));
  THtAttribute* items = attrs.List.data();
  for (int32_t j = 0; j < n; ++j) {
    const TPendingAttr& a = FPending[size_t(FOrder[size_t(j)])];
    THtAttribute& at = items[j];
    at.Name = a.Name;
    // The value string of an earlier tag is reused when nobody else holds it
    // and its length fits: the values of a document repeat their lengths.
    const char16_t* v = FValues.Data.get() + a.Offset;
    if (a.Length == 0)
      at.Value.Clear();
    else if (at.Value.Length() == a.Length && at.Value.RefCount() == 1)
      std::memcpy(at.Value.MutableData(), v, size_t(a.Length) * 2);
    else
      at.Value = UnicodeString(v, a.Length);
  }
  attrs.Count = n;
}

// --- Events --------------------------------------------------------------------------

bool THtSAXXMLParser::Next() { return FUnits16 ? NextT<char16_t>() : NextT<uint8_t>(); }

template <class Ch>
bool THtSAXXMLParser::NextT() {
  if (FPendingEnd) {
    FPendingEnd = false;
    FOpen.pop_back();
    --Level;
    FLastEvent = seTagEnd;
    return true;
  }
  for (;;) {
    if (!Ensure<Ch>(1)) {
      if (!FOpen.empty()) RaiseIncorrect<Ch>(Avail<Ch>());
      return false;
    }
    const Ch* p = Units<Ch>();
    if (p[0] != '<') {
      ReadText<Ch>();
      FLastEvent = seText;
      return true;
    }
    if (!Ensure<Ch>(2)) RaiseIncorrect<Ch>(0);
    p = Units<Ch>();
    switch (p[1]) {
      case '/':
        ReadEndTag<Ch>();
        return true;
      case '?':
        ReadProcessingInstruction<Ch>();
        return true;
      case '!':
        Ensure<Ch>(9);
        p = Units<Ch>();
        if (Avail<Ch>() >= 4 && p[2] == '-' && p[3] == '-') {
          SkipComment<Ch>();
          continue;
        }
        if (Avail<Ch>() >= 9 && Matches(p + 2, "[CDATA[")) {
          // A text that may turn out empty: "<![CDATA[]]>" alone is none.
          ReadText<Ch>();
          if (FText.Len == 0) continue;
          FLastEvent = seText;
          return true;
        }
        SkipDeclaration<Ch>();
        continue;
      default:
        ReadStartTag<Ch>();
        return true;
    }
  }
}

template <class Ch>
bool THtSAXXMLParser::SkipBlanks() {
  if (Avail<Ch>() > 0 && !(ClassOf(*Units<Ch>()) & ccBlank)) return true;
  for (;;) {
    const Ch* p = Units<Ch>();
    const Ch* e = p + Avail<Ch>();
    const Ch* q = p;
    while (q < e && (ClassOf(*q) & ccBlank)) ++q;
    Consume<Ch>(int32_t(q - p));
    if (q < e) return true;
    if (!Ensure<Ch>(1)) return false;
  }
}

template <class Ch>
const THtSAXXMLParser::TNameSlot& THtSAXXMLParser::ReadName(int32_t offset, int32_t& end) {
  if (!Ensure<Ch>(offset + 1) || !(ClassOf(Units<Ch>()[offset]) & ccNameStart)) RaiseIncorrect<Ch>(offset);
  int32_t i = offset + 1;
  for (;;) {
    const Ch* p = Units<Ch>();
    const int32_t n = Avail<Ch>();
    while (i < n && (ClassOf(p[i]) & ccName)) ++i;
    if (i < n) break;
    // The stream ended inside the tag, or the name fills the buffer.
    if (!Ensure<Ch>(i + 1)) RaiseIncorrect<Ch>(FEof ? i : offset);
  }
  end = i;
  const Ch* name = Units<Ch>() + offset;
  const int32_t bytes = (i - offset) * int32_t(sizeof(Ch));
  const auto* key = reinterpret_cast<const uint8_t*>(name);
  TNameSlot* slot = &FLongName;
  if (bytes <= int32_t(sizeof slot->Key)) {
    slot = &FNameCache[(bytes * 7 + key[0] * 31 + key[bytes - 1] * 17 + key[bytes >> 1]) & (NameCacheSize - 1)];
    if (slot->Bytes == bytes && SameBytes(slot->Key, key, bytes)) return *slot;
  }
  FScratch.Len = 0;
  GetString<Ch>(FScratch, name, i - offset);
  const char16_t* d = FScratch.Data.get();
  const int32_t len = FScratch.Len;
  slot->Bytes = -1;
  slot->Name = GetUniqueString(d, len);
  slot->Prefix.Clear();
  for (int32_t k = 1; k < len; ++k)
    if (d[k] == u':') {
      slot->Prefix = GetUniqueString(d, k);
      break;
    }
  if (slot != &FLongName) {
    std::memcpy(slot->Key, key, size_t(bytes));
    slot->Bytes = bytes;
  }
  return *slot;
}

template <class Ch>
void THtSAXXMLParser::ReadStartTag() {
  int32_t end;
  SetTag(ReadName<Ch>(1, end));
  Consume<Ch>(end);
  FOpen.push_back(FTag);
  ++Level;
  FLastEvent = seTagStart;
  FPendingCount = 0;
  FValues.Len = 0;
  for (;;) {
    if (!SkipBlanks<Ch>()) RaiseIncorrect<Ch>(0);
    const Ch c = Units<Ch>()[0];
    if (c == '>') {
      Consume<Ch>(1);
      SortAttributes();
      return;
    }
    if (c == '/') {
      if (!Ensure<Ch>(2) || Units<Ch>()[1] != '>') RaiseIncorrect<Ch>(0);
      Consume<Ch>(2);
      FPendingEnd = true;
      SortAttributes();
      return;
    }
    const UnicodeString& name = ReadName<Ch>(0, end).Name;
    Consume<Ch>(end);
    if (!SkipBlanks<Ch>()) RaiseIncorrect<Ch>(0);
    if (Units<Ch>()[0] != '=') {
      // A bare name stands for itself, as the tree parser reads it.
      FScratch.Len = 0;
      std::memcpy(FScratch.Reserve(name.Length()), name.Data(), size_t(name.Length()) * 2);
      FScratch.Len = name.Length();
      AddAttribute(name);
      continue;
    }
    Consume<Ch>(1);
    if (!SkipBlanks<Ch>()) RaiseIncorrect<Ch>(0);
    const Ch quote = Units<Ch>()[0];
    if (quote != '"' && quote != '\'') RaiseIncorrect<Ch>(0);
    Consume<Ch>(1);
    ReadQuoted<Ch>(quote);
    AddAttribute(name);
  }
}

template <class Ch>
void THtSAXXMLParser::ReadEndTag() {
  const int64_t start = Position();
  int32_t end;
  const TNameSlot& name = ReadName<Ch>(2, end);
  Consume<Ch>(end);
  if (!SkipBlanks<Ch>() || Units<Ch>()[0] != '>') RaiseIncorrect<Ch>(0);
  Consume<Ch>(1);
  if (FOpen.empty() || !(FOpen.back() == name.Name)) RaiseError(u"Incorrect XML", start);
  FOpen.pop_back();
  SetTag(name);
  --Level;
  FLastEvent = seTagEnd;
}

template <class Ch>
void THtSAXXMLParser::ReadProcessingInstruction() {
  const int64_t start = Position();
  int32_t nameEnd;
  TNameSlot tag;
  {
    const UnicodeString& target = ReadName<Ch>(2, nameEnd).Name;
    FScratch.Len = 0;
    *FScratch.Reserve(1) = u'?';
    FScratch.Len = 1;
    std::memcpy(FScratch.Reserve(target.Length()), target.Data(), size_t(target.Length()) * 2);
    FScratch.Len += target.Length();
    tag.Name = GetUniqueString(FScratch.Data.get(), FScratch.Len);
  }
  // The whole instruction is taken into the buffer, up to "?>".
  int32_t i = nameEnd;
  for (;;) {
    const Ch* p = Units<Ch>();
    const Ch* e = p + Avail<Ch>();
    const Ch* q = p + i;
    bool found = false;
    while ((q = FindUnit(q, e, Ch('?'))) < e - 1) {
      if (q[1] == '>') {
        found = true;
        break;
      }
      ++q;
    }
    i = int32_t(q - p);  // the "?>", or where to search on
    if (found) break;
    if (!Ensure<Ch>(Avail<Ch>() + 1)) RaiseError(u"Incorrect XML", start);
  }
  const Ch* p = Units<Ch>();
  int32_t from = nameEnd;
  while (from < i && (ClassOf(p[from]) & ccBlank)) ++from;
  if (from == nameEnd && from < i) RaiseIncorrect<Ch>(from);  // "<?a-b" is one name, "<?a!" no PI
  FText.Len = 0;
  GetString<Ch>(FText, p + from, i - from);
  FPendingCount = 0;
  FValues.Len = 0;
  ReadPseudoAttributes<Ch>(p + from, p + i);
  SortAttributes();
  Consume<Ch>(i + 2);
  SetTag(tag);
  FOpen.push_back(FTag);
  ++Level;
  FPendingEnd = true;
  FLastEvent = seTagStart;
  if (!FEncodingProcessed && FTag == u"?xml") ProcessEncoding();
}

// name="value" pairs of an instruction's content; they end quietly at the
// first thing that isn't one, since an instruction's content is free text.
template <class Ch>
void THtSAXXMLParser::ReadPseudoAttributes(const Ch* p, const Ch* e) {
  for (;;) {
    while (p < e && (ClassOf(*p) & ccBlank)) ++p;
    if (p >= e || !(ClassOf(*p) & ccNameStart)) return;
    const Ch* n = p;
    while (p < e && (ClassOf(*p) & ccName)) ++p;
    const Ch* ne = p;
    while (p < e && (ClassOf(*p) & ccBlank)) ++p;
    if (p >= e || *p != '=') return;
    ++p;
    while (p < e && (ClassOf(*p) & ccBlank)) ++p;
    if (p >= e || (*p != '"' && *p != '\'')) return;
    const Ch quote = *p++;
    const Ch* v = p;
    p = FindUnit(p, e, quote);
    if (p >= e) return;
    FScratch.Len = 0;
    GetString<Ch>(FScratch, n, int32_t(ne - n));
    const UnicodeString name = GetUniqueString(FScratch.Data.get(), FScratch.Len);
    FScratch.Len = 0;
    GetString<Ch>(FScratch, v, int32_t(p - v));
    AddAttribute(name);
    ++p;
  }
}

void THtSAXXMLParser::ProcessEncoding() {
  FEncodingProcessed = true;
  if (!FMayDeclare) return;
  const UnicodeString name = LowerCase(GetAttr(u"encoding"));
  if (name.IsEmpty()) return;
  const uint32_t cp = THtmlParser::CharsettoCodepage(name);
  // Names already seen may read differently now.
  for (int32_t i = 0; i < NameCacheSize; ++i) FNameCache[i].Bytes = -1;
  if (cp == 65001) {
    FEncoding = heUTF8;
  } else if (cp != 0 && !CodePageName(cp).empty()) {
    // A code page the system can't convert is ignored rather than fail
    // every later string.
    FEncoding = heANSI;
    FCodePage = cp;
  }
}

// Character data up to the next tag, with references decoded, comments and
// declarations left out and CDATA sections taken in.
template <class Ch>
void THtSAXXMLParser::ReadText() {
  FText.Len = 0;
  for (;;) {
    const Ch* p = Units<Ch>();
    const Ch* e = p + Avail<Ch>();
    const Ch* q = FindEither(p, e, Ch('<'), Ch('&'));
    if (q == e) {
      if (FEof) {
        GetString<Ch>(FText, p, int32_t(e - p));
        Consume<Ch>(int32_t(e - p));
        return;
      }
      const Ch* cut = SafeCut(p, e);
      GetString<Ch>(FText, p, int32_t(cut - p));
      Consume<Ch>(int32_t(cut - p));
      ReadBuf();
      continue;
    }
    GetString<Ch>(FText, p, int32_t(q - p));
    Consume<Ch>(int32_t(q - p));
    if (*q == '&') {
      Consume<Ch>(1);
      AppendCode(FText, Escape<Ch>());
      continue;
    }
    Ensure<Ch>(9);
    p = Units<Ch>();
    const int32_t n = Avail<Ch>();
    if (n >= 4 && p[1] == '!' && p[2] == '-' && p[3] == '-') {
      SkipComment<Ch>();
      continue;
    }
    if (n >= 9 && p[1] == '!' && Matches(p + 2, "[CDATA[")) {
      AppendCData<Ch>();
      continue;
    }
    if (n >= 2 && p[1] == '!') {
      SkipDeclaration<Ch>();  // a document type between two runs of text
      continue;
    }
    return;
  }
}

template <class Ch>
void THtSAXXMLParser::ReadQuoted(Ch quote) {
  const int64_t start = Position();
  FScratch.Len = 0;
  for (;;) {
    const Ch* p = Units<Ch>();
    const Ch* e = p + Avail<Ch>();
    const Ch* q = FindEither(p, e, quote, Ch('&'));
    if (q == e) {
      if (FEof) RaiseError(u"Incorrect XML", start);
      const Ch* cut = SafeCut(p, e);
      GetString<Ch>(FScratch, p, int32_t(cut - p));
      Consume<Ch>(int32_t(cut - p));
      ReadBuf();
      continue;
    }
    GetString<Ch>(FScratch, p, int32_t(q - p));
    Consume<Ch>(int32_t(q - p) + 1);
    if (*q == quote) return;
    AppendCode(FScratch, Escape<Ch>());
  }
}

template <class Ch>
void THtSAXXMLParser::AppendCData() {
  const int64_t start = Position();
  Consume<Ch>(9);
  for (;;) {
    const Ch* p = Units<Ch>();
    const Ch* e = p + Avail<Ch>();
    const Ch* q = FindUnit(p, e, Ch(']'));
    if (q == e) {
      if (FEof) RaiseError(u"Incorrect XML", start);
      const Ch* cut = SafeCut(p, e);
      GetString<Ch>(FText, p, int32_t(cut - p));
      Consume<Ch>(int32_t(cut - p));
      ReadBuf();
      continue;
    }
    GetString<Ch>(FText, p, int32_t(q - p));
    Consume<Ch>(int32_t(q - p));
    if (!Ensure<Ch>(3)) RaiseError(u"Incorrect XML", start);
    p = Units<Ch>();
    if (p[1] == ']' && p[2] == '>') {
      Consume<Ch>(3);
      return;
    }
    GetString<Ch>(FText, p, 1);
    Consume<Ch>(1);
  }
}

template <class Ch>
void THtSAXXMLParser::SkipComment() {
  const int64_t start = Position();
  Consume<Ch>(4);
  for (;;) {
    const Ch* p = Units<Ch>();
    const Ch* e = p + Avail<Ch>();
    const Ch* q = FindUnit(p, e, Ch('-'));
    Consume<Ch>(int32_t(q - p));
    if (q == e) {
      if (!Ensure<Ch>(1)) RaiseError(u"Incorrect XML", start);
      continue;
    }
    if (!Ensure<Ch>(3)) RaiseError(u"Incorrect XML", start);
    p = Units<Ch>();
    if (p[1] == '-' && p[2] == '>') {
      Consume<Ch>(3);
      return;
    }
    Consume<Ch>(1);
  }
}

// "<!DOCTYPE ...>" and other declarations: skipped up to the ">" that
// stands outside quotes and outside the internal subset's brackets.
template <class Ch>
void THtSAXXMLParser::SkipDeclaration() {
  const int64_t start = Position();
  Consume<Ch>(2);
  Ch quote = 0;
  int32_t depth = 0;
  for (;;) {
    if (!Ensure<Ch>(1)) RaiseError(u"Incorrect XML", start);
    const Ch* p = Units<Ch>();
    const Ch* e = p + Avail<Ch>();
    const Ch* q = p;
    for (; q < e; ++q) {
      const Ch c = *q;
      if (quote) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == '[') {
        ++depth;
      } else if (c == ']') {
        if (depth > 0) --depth;
      } else if (c == '>' && depth == 0) {
        Consume<Ch>(int32_t(q - p) + 1);
        return;
      } else if (c == '<' && depth > 0) {
        break;  // a comment inside the subset may hold quotes
      }
    }
    Consume<Ch>(int32_t(q - p));
    if (q == e) continue;
    if (!Ensure<Ch>(4)) RaiseError(u"Incorrect XML", start);
    p = Units<Ch>();
    if (p[1] == '!' && p[2] == '-' && p[3] == '-')
      SkipComment<Ch>();
    else
      Consume<Ch>(1);
  }
}

// --- Walking -------------------------------------------------------------------------

UnicodeString THtSAXXMLParser::GetAttr(const UnicodeString& name) const { return FAttributes->GetAttribute(name); }

void THtSAXXMLParser::SkipLevel() {
  const int32_t level = Level;
  while (Level >= level && Next()) {
  }
}

void THtSAXXMLParser::ExtractText(TFastString* out, const THtSAXTextFilter& filter) {
  const int32_t level = Level;
  if (FLastEvent == seText) out->Add(FText.Data.get(), FText.Len);
  while (Level >= level && Next()) {
    switch (FLastEvent) {
      case seText:
        out->Add(FText.Data.get(), FText.Len);
        break;
      case seTagStart:
        if (filter && !filter(*this, *out)) SkipLevel();
        break;
      case seTagEnd:
        if (Level >= level && filter) filter(*this, *out);
        break;
    }
  }
}

}  // namespace norvane
