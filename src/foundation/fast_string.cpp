#include "norvane/foundation/fast_string.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/streams.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TFastString, "htutils")
NV_CLASS_IMPL(TFastRawString, "htutils")

namespace {

// The whole text must still fit a UnicodeString, and sums of two lengths must
// never overflow an int32.
constexpr int32_t kMaxUnits = 0x3FFFFFF0;

template <class T>
T* AllocUnits(int32_t n) {
  void* p = std::malloc(size_t(n) * sizeof(T));
  if (!p) throw EOutOfMemory();
  return static_cast<T*>(p);
}

}  // namespace

namespace detail {

constexpr char kDigitPairs[201] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

[[gnu::always_inline]] inline int32_t CountDigits(uint64_t u) noexcept {
  static constexpr uint64_t kPow10[20] = {1ull, 10ull, 100ull, 1000ull, 10000ull, 100000ull, 1000000ull,
                                          10000000ull, 100000000ull, 1000000000ull, 10000000000ull,
                                          100000000000ull, 1000000000000ull, 10000000000000ull,
                                          100000000000000ull, 1000000000000000ull, 10000000000000000ull,
                                          100000000000000000ull, 1000000000000000000ull,
                                          10000000000000000000ull};
  // log10 from log2 (1233/4096 ~ log10(2)), then one correction step.
  // Or-ing 1 keeps every power of ten apart and makes 0 count one digit.
  uint64_t v = u | 1;
  int32_t t = int32_t((std::bit_width(v) * 1233) >> 12);
  return t + (v >= kPow10[t] ? 1 : 0);
}

// Writes the digits of u backwards, ending just before `end`, two at a time.
template <class Unit>
[[gnu::always_inline]] inline void WriteDigits(Unit* end, uint64_t u) noexcept {
  while (u >= 100) {
    unsigned r = unsigned(u % 100) * 2;
    u /= 100;
    *--end = Unit(kDigitPairs[r + 1]);
    *--end = Unit(kDigitPairs[r]);
  }
  if (u >= 10) {
    unsigned r = unsigned(u) * 2;
    *--end = Unit(kDigitPairs[r + 1]);
    *--end = Unit(kDigitPairs[r]);
  } else {
    *--end = Unit('0' + u);
  }
}

template <class Unit>
TFastChain<Unit>::TFastChain(int32_t blockSize) : FLast(&FFirst), FBlockSize(blockSize) {
  if (blockSize < 0 || blockSize > kMaxUnits) throw EOutOfMemory();
}

template <class Unit>
void TFastChain<Unit>::Clear() noexcept {
  std::free(FFirst.Data);
  for (Node* n = FFirst.Next; n;) {
    Node* next = n->Next;
    std::free(n->Data);
    std::free(n);
    n = next;
  }
  FFirst = Node{};
  FLast = &FFirst;
  FDoneLen = 0;
}

template <class Unit>
void TFastChain<Unit>::ClearandLeaveSpace() noexcept {
  for (Node* n = FFirst.Next; n;) {
    Node* next = n->Next;
    std::free(n->Data);
    std::free(n);
    n = next;
  }
  FFirst.Next = nullptr;
  FFirst.Len = 0;
  FLast = &FFirst;
  FDoneLen = 0;
}

template <class Unit>
Unit* TFastChain<Unit>::AddSpace(int32_t n) {
  if (n < 0 || n > kMaxUnits) throw EOutOfMemory();
  int32_t size = std::max(std::max(n, FBlockSize), int32_t(1));
  if (int64_t(GetTotalLen()) + size > kMaxUnits) throw EOutOfMemory();
  Unit* data = AllocUnits<Unit>(size);
  Node* l = FLast;
  if (l->Size != 0) {
    auto* link = static_cast<Node*>(std::malloc(sizeof(Node)));
    if (!link) {
      std::free(data);
      throw EOutOfMemory();
    }
    *link = Node{};
    FDoneLen += l->Len;
    l->Next = link;
    FLast = l = link;
  }
  l->Data = data;
  l->Size = size;
  l->Len = 0;
  return data;
}

template <class Unit>
void TFastChain<Unit>::CopyLong(char* d, const char* p, size_t bytes) noexcept {
  std::memcpy(d, p, bytes);
}

template <class Unit>
void TFastChain<Unit>::AddSpaces(int32_t n) {
  if (n <= 0) return;
  Unit* d = Reserve(n);
  std::fill(d, d + n, Unit(' '));
  FLast->Len += n;
}

template <class Unit>
void TFastChain<Unit>::CopyTo(Unit* out) const noexcept {
  for (const Node* n = &FFirst; n; n = n->Next) {
    if (n->Len > 0) {
      std::memcpy(out, n->Data, size_t(n->Len) * sizeof(Unit));
      out += n->Len;
    }
  }
}

template <class Unit>
std::basic_string<Unit> TFastChain<Unit>::Whole() const {
  std::basic_string<Unit> s(size_t(GetTotalLen()), Unit(0));
  CopyTo(s.data());
  return s;
}

template <class Unit>
void TFastChain<Unit>::SetWhole(std::basic_string_view<Unit> s) {
  Clear();
  if (!s.empty()) AppendUnits(s.data(), int32_t(s.size()));
}

template <class Unit>
Unit TFastChain<Unit>::LastUnit() const noexcept {
  if (FLast->Len > 0) return FLast->Data[FLast->Len - 1];
  // FLast may be a block reserved but not yet written to.
  const Node* found = nullptr;
  for (const Node* n = &FFirst; n; n = n->Next)
    if (n->Len > 0) found = n;
  return found ? found->Data[found->Len - 1] : Unit(0);
}

template <class Unit>
bool TFastChain<Unit>::StartsWithUnits(std::basic_string_view<Unit> s) const {
  int32_t total = GetTotalLen();
  if (total == 0 || size_t(total) < s.size()) return false;
  if (s.empty()) return true;
  if (s.size() <= size_t(FFirst.Len))
    return std::memcmp(FFirst.Data, s.data(), s.size() * sizeof(Unit)) == 0;
  return std::basic_string_view<Unit>(Whole()).substr(0, s.size()) == s;
}

template <class Unit>
bool TFastChain<Unit>::EndsWithUnits(std::basic_string_view<Unit> s) const {
  int32_t total = GetTotalLen();
  if (total == 0 || size_t(total) < s.size()) return false;
  if (s.empty()) return true;
  if (s.size() <= size_t(FLast->Len))
    return std::memcmp(FLast->Data + FLast->Len - s.size(), s.data(), s.size() * sizeof(Unit)) == 0;
  std::basic_string<Unit> w = Whole();
  return std::basic_string_view<Unit>(w).substr(w.size() - s.size()) == s;
}

template <class Unit>
int32_t TFastChain<Unit>::PosOfUnits(std::basic_string_view<Unit> s) const {
  using View = std::basic_string_view<Unit>;
  const size_t m = s.size();
  if (m == 0 || m > size_t(GetTotalLen())) return 0;
  int32_t before = 0;  // units in the links before `prev`
  const Node* prev = nullptr;
  std::basic_string<Unit> seam;
  for (const Node* cur = &FFirst; cur; cur = cur->Next) {
    int32_t prevLen = prev ? prev->Len : 0;
    // A match that starts in the previous block and ends in this one.
    if (prevLen > 0 && cur->Len > 0 && m > 1) {
      size_t tail = std::min(size_t(prevLen), m - 1);
      size_t head = std::min(size_t(cur->Len), m - 1);
      seam.assign(prev->Data + prevLen - tail, tail);
      seam.append(cur->Data, head);
      size_t k = View(seam).find(s);
      if (k != View::npos) return before + prevLen - int32_t(tail) + int32_t(k) + 1;
    }
    if (cur->Len > 0) {
      size_t k = View(cur->Data, size_t(cur->Len)).find(s);
      if (k != View::npos) return before + prevLen + int32_t(k) + 1;
    }
    before += prevLen;
    prev = cur;
  }
  return 0;
}

template <class Unit>
void TFastChain<Unit>::DeleteUnitsFromEnd(int32_t n) {
  if (n <= 0) return;
  if (n <= FLast->Len) {
    FLast->Len -= n;
    return;
  }
  const std::basic_string<Unit> w = Whole();
  SetWhole(std::basic_string_view<Unit>(w).substr(0, w.size() > size_t(n) ? w.size() - size_t(n) : 0));
}

template <class Unit>
void TFastChain<Unit>::GrabChain(TFastChain& other) {
  if (&other == this) return;
  int32_t otherTotal = other.GetTotalLen();
  if (otherTotal == 0) return;
  if (other.FLast == &other.FFirst && other.FFirst.Len < other.FFirst.Size / 2) {
    AppendUnits(other.FFirst.Data, other.FFirst.Len);
    return;
  }
  if (int64_t(GetTotalLen()) + otherTotal > kMaxUnits) throw EOutOfMemory();
  auto* link = static_cast<Node*>(std::malloc(sizeof(Node)));
  if (!link) throw EOutOfMemory();
  *link = other.FFirst;
  FLast->Next = link;
  FDoneLen += FLast->Len + other.FDoneLen;
  FLast = other.FLast == &other.FFirst ? link : other.FLast;
  // The other builder keeps no block at all (its capacity goes too), so it
  // can safely be appended to again.
  other.FFirst = Node{};
  other.FDoneLen = 0;
  other.FLast = &other.FFirst;
}

template <class Unit>
void TFastChain<Unit>::PrependUnits(const Unit* p, int32_t n) {
  if (int64_t(GetTotalLen()) + n > kMaxUnits) throw EOutOfMemory();
  Unit* data = AllocUnits<Unit>(n);
  auto* link = static_cast<Node*>(std::malloc(sizeof(Node)));
  if (!link) {
    std::free(data);
    throw EOutOfMemory();
  }
  std::memcpy(data, p, size_t(n) * sizeof(Unit));
  *link = FFirst;
  bool single = FLast == &FFirst;
  FFirst.Data = data;
  FFirst.Size = n;
  FFirst.Len = n;
  FFirst.Next = link;
  if (single) FLast = link;
  FDoneLen += n;
}

template <class Unit>
void TFastChain<Unit>::AddDecimal(int64_t v) {
  bool neg = v < 0;
  uint64_t u = neg ? 0 - uint64_t(v) : uint64_t(v);
  int32_t n = CountDigits(u) + (neg ? 1 : 0);
  Unit* d = Reserve(n);
  if (neg) d[0] = Unit('-');
  WriteDigits(d + n, u);
  FLast->Len += n;
}

template class TFastChain<char16_t>;
template class TFastChain<char>;

}  // namespace detail

// --- TFastString ----------------------------------------------------------------

void TFastString::Add(int64_t v) {
  bool neg = v < 0;
  uint64_t u = neg ? 0 - uint64_t(v) : uint64_t(v);
  uint32_t low = uint32_t(u);
  if (low < 10) {
    if (neg)
      Add2Char(u'-', char16_t(u'0' + low));
    else
      AddChar(char16_t(u'0' + low));
    return;
  }
  if (low < 100) {
    char16_t* d = Reserve(3);
    int32_t k = 0;
    if (neg) d[k++] = u'-';
    d[k++] = char16_t(detail::kDigitPairs[low * 2]);
    d[k++] = char16_t(detail::kDigitPairs[low * 2 + 1]);
    FLast->Len += k;
    return;
  }
  AddDecimal(v);
}

namespace {

// Digits of an integral double beyond the int64 range.
int32_t BigIntegralDigits(double t, char* buf, size_t cap) {
  auto r = std::to_chars(buf, buf + cap, std::fabs(t), std::chars_format::fixed, 0);
  return int32_t(r.ptr - buf);
}

constexpr double kTwo63 = 9223372036854775808.0;

}  // namespace

void TFastString::Add(double value, int32_t decimals, bool leadingZero) {
  if (!std::isfinite(value)) {
    Add(UnicodeString(std::isnan(value) ? u"NAN" : value > 0 ? u"INF" : u"-INF"));
    return;
  }
  static constexpr double kScale[9] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
  int32_t fracDigits = decimals >= 0 && decimals <= 7 ? decimals : 8;
  double scale = kScale[fracDigits];
  double t = std::nearbyint(value);
  char buf[400];
  if (decimals == 0 || std::fabs(value - t) * scale < 0.5) {
    if (std::fabs(t) < kTwo63) {
      Add(int64_t(t));
    } else {
      int32_t n = BigIntegralDigits(t, buf, sizeof buf);
      if (t < 0) AddChar(u'-');
      char16_t* d = Reserve(n);
      for (int32_t i = 0; i < n; ++i) d[i] = char16_t(buf[i]);
      FLast->Len += n;
    }
    return;
  }
  double st = std::nearbyint(scale * value);
  bool neg = st < 0;
  int32_t nd;
  if (std::fabs(st) < kTwo63) {
    uint64_t u = uint64_t(std::fabs(st));
    nd = detail::CountDigits(u);
    char* e = buf + nd;
    detail::WriteDigits(e, u);
  } else {
    nd = BigIntegralDigits(st, buf, sizeof buf);
  }
  int32_t intLen = nd > fracDigits ? nd - fracDigits : 0;
  int32_t total = (neg ? 1 : 0) + (intLen > 0 ? intLen : leadingZero ? 1 : 0) + 1 + fracDigits;
  char16_t* d = Reserve(total);
  char16_t* w = d;
  if (neg) *w++ = u'-';
  if (intLen > 0) {
    for (int32_t i = 0; i < intLen; ++i) *w++ = char16_t(buf[i]);
  } else if (leadingZero) {
    *w++ = u'0';
  }
  *w++ = u'.';
  for (int32_t i = nd; i < fracDigits; ++i) *w++ = u'0';
  for (int32_t i = intLen; i < nd; ++i) *w++ = char16_t(buf[i]);
  if (decimals > 0) {
    while (w > d && w[-1] == u'0') --w;
    // A tie such as 0.005 at 2 decimals rounds to no fraction at all.
    if (w[-1] == u'.') {
      --w;
      if (w == d || (w == d + 1 && neg)) {
        w = d;
        *w++ = u'0';
      }
    }
  }
  FLast->Len += int32_t(w - d);
}

void TFastString::TrimTrailingBlanks() {
  TFSNode* l = FLast;
  while (l->Len > 0 && l->Data[l->Len - 1] < 0x21) --l->Len;
  if (l->Len == 0) {
    UnicodeString s = TrimRight(GetAsString());
    Clear();
    Add(s);
  }
}

void TFastString::TrimTrailingSpaces() {
  TFSNode* l = FLast;
  while (l->Len > 0 && l->Data[l->Len - 1] == u' ') --l->Len;
  if (l->Len == 0) {
    // The slow path trims with the general rule, i.e. all blanks.
    UnicodeString s = TrimRight(GetAsString());
    Clear();
    Add(s);
  }
}

void TFastString::ToString(UnicodeString& out) const {
  int32_t total = GetTotalLen();
  UnicodeString s = UnicodeString::Alloc(total);
  if (total > 0) CopyTo(s.MutableData());
  out = std::move(s);
}

void TFastString::ToStringFrom(UnicodeString& out, int32_t pos) const {
  int32_t total = GetTotalLen();
  if (pos < 1) pos = 1;
  if (pos > total) {
    out.Clear();
    return;
  }
  UnicodeString s = UnicodeString::Alloc(total - pos + 1);
  char16_t* w = s.MutableData();
  int32_t skip = pos - 1;
  for (const TFSNode* n = &FFirst; n; n = n->Next) {
    if (skip >= n->Len) {
      skip -= n->Len;
      continue;
    }
    int32_t k = n->Len - skip;
    std::memcpy(w, n->Data + skip, size_t(k) * 2);
    w += k;
    skip = 0;
  }
  out = std::move(s);
}

void TFastString::SavetoStream(TStream* stream) const {
  for (const TFSNode* n = &FFirst; n; n = n->Next)
    if (n->Len > 0) stream->WriteBuffer(n->Data, int64_t(n->Len) * 2);
}

// --- TFastRawString -------------------------------------------------------------

int32_t TFastRawString::CheckedLen(size_t n) {
  if (n > size_t(kMaxUnits)) throw EOutOfMemory();
  return int32_t(n);
}

void TFastRawString::AddUTF8(const UnicodeString& s) {
  int32_t n = s.Length();
  if (n == 0) return;
  if (int64_t(n) * 3 > kMaxUnits) throw EOutOfMemory();
  int32_t room = n * 3;
  char* d = Reserve(room);
  char* const start = d;
  char* const limit = d + room;
  const char16_t* p = s.Data();
  const char16_t* const e = p + n;
  static constexpr uint8_t kLead[7] = {0, 0, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
  while (p < e) {
    if (e - p >= 2) {
      uint32_t pair;
      std::memcpy(&pair, p, 4);
      if ((pair & 0xFF80FF80u) == 0) {
        d[0] = char(pair);
        d[1] = char(pair >> 16);
        d += 2;
        p += 2;
        continue;
      }
    }
    uint32_t c = *p++;
    if (c < 0x80) {
      *d++ = char(c);
      continue;
    }
    if (c >= 0xD800 && c <= 0xDFFF) {
      if (p >= e) break;  // a lone surrogate at the very end writes nothing
      c = ((c - 0xD7C0) << 10) + (uint32_t(*p++) ^ 0xDC00);
    }
    int len = c < 0x800 ? 2 : c < 0x10000 ? 3 : c < 0x200000 ? 4 : c < 0x4000000 ? 5 : 6;
    if (limit - d < len) break;
    for (int k = len - 1; k > 0; --k) {
      d[k] = char(0x80 | (c & 0x3F));
      c >>= 6;
    }
    d[0] = char(kLead[len] | c);
    d += len;
  }
  FLast->Len += int32_t(d - start);
}

void TFastRawString::AddInt(int32_t v) {
  if (v == INT32_MIN) {
    AddChar('-');  // its negation is still negative: no digits follow
    return;
  }
  bool neg = v < 0;
  uint32_t u = neg ? 0u - uint32_t(v) : uint32_t(v);
  int32_t n = detail::CountDigits(u) + (neg ? 1 : 0);
  char* d = Reserve(n);
  d[0] = '-';  // overwritten by the first digit when positive
  detail::WriteDigits(d + n, u);
  FLast->Len += n;
}

RawByteString TFastRawString::GetAsString() const {
  RawByteString s(size_t(GetTotalLen()), '\0');
  CopyTo(s.data());
  return s;
}

TBytes TFastRawString::AsBytes() const {
  TBytes b(static_cast<size_t>(GetTotalLen()));
  CopyTo(reinterpret_cast<char*>(b.data()));
  return b;
}

}  // namespace norvane
