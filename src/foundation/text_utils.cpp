#include "norvane/foundation/text_utils.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/object.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

int32_t FindChar(char16_t c, const UnicodeString& s, int32_t start) noexcept {
  int32_t n = s.Length();
  if (start < 1) start = 1;
  if (n == 0 || start > n) return 0;
  const char16_t* p = s.Data();
  int32_t i = start - 1;
  // Two units a step: half the loop overhead on long runs.
  for (; i + 1 < n; i += 2) {
    if (p[i] == c) return i + 1;
    if (p[i + 1] == c) return i + 2;
  }
  if (i < n && p[i] == c) return i + 1;
  return 0;
}

int32_t FindChar(char c, std::string_view s, int32_t start) noexcept {
  if (start < 1) start = 1;
  if (s.empty() || size_t(start) > s.size()) return 0;
  const void* hit = std::memchr(s.data() + start - 1, c, s.size() - size_t(start - 1));
  return hit ? int32_t(static_cast<const char*>(hit) - s.data()) + 1 : 0;
}

namespace {

bool IsDelimiter(char16_t c, std::u16string_view delims) noexcept {
  for (char16_t d : delims)
    if (d == c) return true;
  return false;
}

// Shared by both Q_StrTok forms: token bounds in s as [first, last) of the
// result and the count of units s loses from its front.
struct TokSplit {
  size_t first, last, drop;
};

TokSplit SplitToken(std::u16string_view s, std::u16string_view delims, bool skip) noexcept {
  size_t n = s.size();
  size_t i = 0;
  while (i < n && IsDelimiter(s[i], delims)) ++i;
  if (i >= n) return skip ? TokSplit{0, 0, n} : TokSplit{0, n, n};
  size_t j = i + 1;
  while (j < n && !IsDelimiter(s[j], delims)) ++j;
  if (skip) return {i, j, std::min(n, j + 1)};
  return {0, j, j};
}

}  // namespace

UnicodeString Q_StrTok(UnicodeString& s, const UnicodeString& delimiters, bool skip) {
  if (s.IsEmpty() || delimiters.IsEmpty()) return UnicodeString();
  TokSplit t = SplitToken(s.view(), delimiters.view(), skip);
  std::u16string_view v = s.view();
  UnicodeString result(v.substr(t.first, t.last - t.first));
  s = UnicodeString(v.substr(t.drop));
  return result;
}

std::u16string Q_StrTok(std::u16string& s, std::u16string_view delimiters, bool skip) {
  if (s.empty() || delimiters.empty()) return std::u16string();
  TokSplit t = SplitToken(s, delimiters, skip);
  std::u16string result = s.substr(t.first, t.last - t.first);
  s.erase(0, t.drop);
  return result;
}

void ReplaceChar(UnicodeString& s, char16_t from, char16_t to) {
  int32_t at = FindChar(from, s, 1);
  if (at == 0 || from == to) return;
  char16_t* p = s.MutableData();
  int32_t n = s.Length();
  for (int32_t i = at - 1; i < n; ++i)
    if (p[i] == from) p[i] = to;
}

UnicodeString ReplaceStr(const UnicodeString& s, const UnicodeString& from, const UnicodeString& to) {
  int32_t m = from.Length();
  if (s.IsEmpty() || m == 0) return s;
  if (m == 1 && to.Length() == 1) {
    UnicodeString r = s;
    ReplaceChar(r, from[0], to[0]);
    return r;
  }
  std::u16string_view src = s.view(), f = from.view(), t = to.view();
  size_t hit = src.find(f);
  if (hit == std::u16string_view::npos) return s;
  int32_t size = s.Length();
  UnicodeString out = UnicodeString::Alloc(size);
  int32_t w = 0;
  size_t pos = 0;
  auto put = [&](std::u16string_view part) {
    if (part.empty()) return;
    int32_t k = int32_t(part.size());
    if (int64_t(w) + k > size) {
      // Grow by half (at most 64K units), or by what is missing if more.
      int64_t grow = std::max<int64_t>(std::min<int64_t>(65535, size / 2), int64_t(w) + k - size);
      int64_t next = int64_t(size) + grow;
      if (next > INT32_MAX) throw EOutOfMemory();
      size = int32_t(next);
      out.SetLength(size);
    }
    std::memcpy(out.MutableData() + w, part.data(), part.size() * 2);
    w += k;
  };
  while (hit != std::u16string_view::npos) {
    put(src.substr(pos, hit - pos));
    put(t);
    pos = hit + f.size();
    hit = src.find(f, pos);
  }
  put(src.substr(pos));
  out.SetLength(w);
  return out;
}

bool AnsiStartsWith(const UnicodeString& s, const UnicodeString& start) noexcept {
  if (start.IsEmpty()) return false;
  return s.view().starts_with(start.view());
}

bool AnsiEndsWith(const UnicodeString& s, const UnicodeString& end) noexcept {
  if (end.IsEmpty()) return true;
  return s.view().ends_with(end.view());
}

bool StrIn(const UnicodeString& s, const UnicodeString* items, int32_t high) noexcept {
  if (!items) return false;
  for (int32_t i = 0; i <= high; ++i)
    if (items[i] == s) return true;
  return false;
}

bool StrIn(const UnicodeString& s, std::initializer_list<std::u16string_view> items) noexcept {
  for (std::u16string_view v : items)
    if (s.view() == v) return true;
  return false;
}

bool BlankString(const UnicodeString& s) noexcept {
  for (char16_t c : s.view())
    if (c > u' ') return false;
  return true;
}

bool BlankOrNBSP(const UnicodeString& s) noexcept {
  for (char16_t c : s.view())
    if (c != u' ' && c != 0xA0 && c != u'\t' && c != u'\r' && c != u'\n') return false;
  return true;
}

void AddStr(UnicodeString& s, const UnicodeString& add, const UnicodeString& separator) {
  if (s.IsEmpty())
    s = add;
  else
    s = s + separator + add;
}

bool IsEnum2(const UnicodeString& prefix, const UnicodeString& name, const TEnumInfo& info,
             int32_t& value) noexcept {
  size_t n = size_t(prefix.Length()) + size_t(name.Length());
  char16_t stack[128];
  std::unique_ptr<char16_t[]> heap;
  char16_t* buf = stack;
  if (n > std::size(stack)) {
    heap.reset(new (std::nothrow) char16_t[n]);
    if (!heap) return false;
    buf = heap.get();
  }
  size_t k = 0;
  for (char16_t c : prefix.view()) buf[k++] = c;
  for (char16_t c : name.view())
    if (c != u'-') buf[k++] = c;
  int32_t v = info.Value(std::u16string_view(buf, k));
  if (v < 0) return false;
  value = v;
  return true;
}

bool IsEnum(const UnicodeString& name, const TEnumInfo& info, int32_t& value) noexcept {
  return IsEnum2(UnicodeString(), name, info, value);
}

void SplitEmailAdress(const UnicodeString& text, UnicodeString& name, UnicodeString& address,
                      UnicodeString& rest) {
  std::u16string_view t = text.view();
  size_t n = t.size(), i = 0;
  std::u16string nm;
  UnicodeString addr;
  while (i < n && t[i] == u' ') ++i;
  if (i < n && (t[i] == u'"' || t[i] == u'\'')) {
    size_t close = t.find(t[i], i + 1);
    if (close == std::u16string_view::npos) close = n;
    nm.assign(t.substr(i + 1, close - i - 1));
    i = close < n ? close + 1 : n;
  }
  size_t word = i;     // start of the word being scanned
  size_t wordEnd = n;  // where a word left over at the stop ends
  size_t restAt = n;
  bool angle = false;
  for (; i < n; ++i) {
    char16_t c = t[i];
    if (c == u' ') {
      nm.append(t.substr(word, i + 1 - word));
      word = i + 1;
    } else if (c == u',') {
      wordEnd = i;
      restAt = i + 1;
      break;
    } else if (c == u'<') {
      nm.append(t.substr(word, i - word));
      size_t close = t.find(u'>', i + 1);
      if (close == std::u16string_view::npos) close = n;
      addr = UnicodeString(t.substr(i + 1, close - i - 1));
      restAt = close < n ? close + 1 : n;
      angle = true;
      break;
    }
  }
  if (!angle && word < wordEnd) addr = UnicodeString(t.substr(word, wordEnd - word));
  name = Trim(UnicodeString(nm));
  address = Trim(addr);
  rest = UnicodeString(t.substr(restAt));
}

// --- UTF-8 by table --------------------------------------------------------------

namespace {

struct Utf8Table {
  uint32_t bytes[65536];
  uint8_t count[65536];
  Utf8Table() {
    for (uint32_t c = 0; c < 65536; ++c) {
      if (c < 0x80) {
        bytes[c] = c;
        count[c] = 1;
      } else if (c < 0x800) {
        bytes[c] = (0xC0 | (c >> 6)) | ((0x80 | (c & 0x3F)) << 8);
        count[c] = 2;
      } else {
        bytes[c] = (0xE0 | (c >> 12)) | ((0x80 | ((c >> 6) & 0x3F)) << 8) | ((0x80 | (c & 0x3F)) << 16);
        count[c] = 3;
      }
    }
  }
};

const Utf8Table& Utf8Tables() {
  static const auto* table = new Utf8Table();  // built once, lives for the process
  return *table;
}

// Built at load time so that the hot path never meets a first-use guard race.
[[maybe_unused]] const Utf8Table& kUtf8TableAtStart = Utf8Tables();

}  // namespace

char* HtUTF8EncodePtr(const char16_t* src, char* dst, int32_t count) noexcept {
  const Utf8Table& t = Utf8Tables();
  uint32_t seen = 0;
  for (int32_t i = 0; i < count; ++i) {
    char16_t c = src[i];
    seen |= c;
    std::memcpy(dst, &t.bytes[c], 4);
    dst += t.count[c];
  }
  if ((seen & 0xD800) == 0xD800) return nullptr;
  return dst;
}

std::string HtUTF8Encode(const UnicodeString& s) {
  int32_t n = s.Length();
  std::string out;
  if (n == 0) return out;
  out.resize(size_t(n) * 3 + 1);
  char* end = HtUTF8EncodePtr(s.Data(), out.data(), n);
  if (end) {
    out.resize(size_t(end - out.data()));
  } else {
    out.clear();
    AppendUtf8(out, s.view());
  }
  return out;
}

TBytes HtUTF8EncodetoBytes(const UnicodeString& s) {
  std::string u = HtUTF8Encode(s);
  return TBytes(u.begin(), u.end());
}

}  // namespace norvane
