#include "norvane/foundation/url_utils.h"

#include <string>
#include <string_view>

#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

using View = std::u16string_view;

bool StartsWithNoCase(View s, View prefix) noexcept {
  return s.size() >= prefix.size() && SameText(s.substr(0, prefix.size()), prefix);
}

int HexValue(char16_t c) noexcept {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

}  // namespace

UnicodeString CombineUrl(const UnicodeString& base, const UnicodeString& relative) {
  View b = base.view(), r = relative.view();
  if (!r.starts_with(u'/')) {
    size_t slash = b.rfind(u'/');
    View keep = slash == View::npos ? b : b.substr(0, slash + 1);
    return UnicodeString(keep) + relative;
  }
  if (r.starts_with(u"//")) {
    View tail = r.substr(2);
    if (StartsWithNoCase(tail, u"http")) return UnicodeString(tail);
    return UnicodeString(std::u16string(u"http://").append(tail));
  }
  size_t from = 0;
  if (StartsWithNoCase(b, u"http://") || StartsWithNoCase(b, u"https://")) from = b.find(u"//") + 2;
  size_t slash = b.find(u'/', from);
  View keep = slash == View::npos ? b : b.substr(0, slash);
  return UnicodeString(keep) + relative;
}

UnicodeString HTTPDecode(const UnicodeString& s) {
  View v = s.view();
  size_t n = v.size();
  std::string out;
  out.reserve(n);
  size_t i = 0;
  while (i < n) {
    char16_t c = v[i];
    if (c == u'+') {
      out.push_back(' ');
      ++i;
    } else if (c == u'%') {
      char16_t a = i + 1 < n ? v[i + 1] : 0;
      if (a == 0) break;  // "%" at the end (or before a NUL) ends the text
      if (a == u'%') {
        out.push_back('%');
        i += 2;
        continue;
      }
      int hi = HexValue(a);
      if (hi < 0) {
        // A malformed escape still takes its place in the output, as a 0.
        out.push_back('\0');
        i += 2;
        continue;
      }
      char16_t b = i + 2 < n ? v[i + 2] : 0;
      if (b == 0) {
        out.push_back('\0');
        break;
      }
      int lo = HexValue(b);
      out.push_back(lo < 0 ? '\0' : char(hi * 16 + lo));
      i += 3;
    } else {
      out.push_back(char(c & 0xFF));
      ++i;
    }
  }
  return UnicodeString::FromUtf8(out);
}

UnicodeString HtEncodeUrl(const UnicodeString& s) {
  static constexpr char kHex[] = "0123456789abcdef";
  View v = s.view();
  std::u16string out;
  out.reserve(v.size() + v.size() / 2);
  auto escape = [&](unsigned byte) {
    out.push_back(u'%');
    out.push_back(char16_t(kHex[byte >> 4]));
    out.push_back(char16_t(kHex[byte & 15]));
  };
  for (char16_t c : v) {
    if ((c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9')) {
      out.push_back(c);
    } else if (c == u' ') {
      out.push_back(u'+');
    } else if (c < 0x80) {
      switch (c) {
        case u'!': case u'(': case u')': case u'*': case u'-':
        case u'.': case u'\\': case u'_': case u'~':
          out.push_back(c);
          break;
        default:
          escape(c);
      }
    } else if (c < 0x800) {
      escape(0xC0 | (c >> 6));
      escape(0x80 | (c & 0x3F));
    } else {
      // Surrogates too, each on its own.
      escape(0xE0 | (c >> 12));
      escape(0x80 | ((c >> 6) & 0x3F));
      escape(0x80 | (c & 0x3F));
    }
  }
  return UnicodeString(out);
}

}  // namespace norvane
