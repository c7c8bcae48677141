#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/unicode_string.h"

using namespace norvane;

TEST(UnicodeString, EmptyIsNullAndNeverAllocates) {
  UnicodeString a, b(u""), c(u"", 0), d(std::u16string_view{}), e(0, u'x');
  for (const auto* s : {&a, &b, &c, &d, &e}) {
    EXPECT_EQ(s->Data(), nullptr);
    EXPECT_EQ(s->Length(), 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(s->c_str()), "");  // still a valid pointer
  }
  EXPECT_TRUE(UnicodeString::Alloc(0).IsEmpty());
  UnicodeString x(u"abc");
  x.SetLength(0);
  EXPECT_EQ(x.Data(), nullptr);
}

TEST(UnicodeString, CopiesShareAndMutationUnshares) {
  UnicodeString a(u"hello");
  UnicodeString b = a;
  EXPECT_TRUE(a.SameBlock(b));
  EXPECT_EQ(a.RefCount(), 2);
  b.MutableData()[0] = u'j';
  EXPECT_FALSE(a.SameBlock(b));
  EXPECT_EQ(a, u"hello");
  EXPECT_EQ(b, u"jello");
  EXPECT_EQ(a.RefCount(), 1);
  UnicodeString moved = std::move(b);
  EXPECT_TRUE(b.IsEmpty());  // NOLINT: moved-from is empty by contract
  EXPECT_EQ(moved, u"jello");

  // An immortal string shares its block without counting, and is copied
  // before any change; its copies outlive the original.
  UnicodeString copy;
  {
    static const UnicodeString fixed = UnicodeString::Immortal(u"value");  // never freed: kept reachable
    const int32_t count = fixed.RefCount();
    EXPECT_LT(count, 0);
    copy = fixed;
    EXPECT_TRUE(copy.SameBlock(fixed));
    EXPECT_EQ(fixed.RefCount(), count);
    UnicodeString changed = fixed;
    changed.MutableData()[0] = u'V';
    EXPECT_FALSE(changed.SameBlock(fixed));
    EXPECT_EQ(changed.RefCount(), 1);
    UnicodeString longer = fixed;
    longer.SetLength(7);
    EXPECT_EQ(fixed, u"value");
  }
  EXPECT_EQ(copy, u"value");
}

TEST(UnicodeString, EqualityAndOrder) {
  UnicodeString a(u"abc"), b(u"abc"), c(u"abd"), shorter(u"ab");
  EXPECT_EQ(a, b);
  EXPECT_FALSE(a.SameBlock(b));
  EXPECT_NE(a, c);
  EXPECT_LT(a, c);
  EXPECT_LT(shorter, a);
  EXPECT_EQ(UnicodeString(), UnicodeString(u""));
  EXPECT_LT(UnicodeString(), shorter);
}

TEST(UnicodeString, Utf8RoundTripsAndRepairs) {
  struct Case {
    const char* utf8;
    std::u16string units;
  } cases[] = {
      {"", u""},
      {"plain", u"plain"},
      {"\xC3\xA9t\xC3\xA9", u"\u00E9t\u00E9"},
      {"\xE2\x82\xAC", u"\u20AC"},
      {"\xF0\x9F\x98\x80", u"\U0001F600"},  // surrogate pair
  };
  for (const auto& c : cases) {
    UnicodeString s = UnicodeString::FromUtf8(c.utf8);
    EXPECT_EQ(s.view(), c.units) << c.utf8;
    EXPECT_EQ(s.ToUtf8(), c.utf8);
  }
  // Broken input becomes U+FFFD, one per bad sequence, and decoding goes on.
  struct Bad {
    const char* utf8;
    std::u16string units;
  } bad[] = {
      {"a\xFF" "b", u"a\uFFFDb"},
      {"\xC3", u"\uFFFD"},                      // truncated at the end
      {"\xE2\x82" "x", u"\uFFFDx"},             // truncated in the middle
      {"\xC0\xAF", u"\uFFFD\uFFFD"},            // overlong
      {"\xED\xA0\x80", u"\uFFFD"},              // encoded surrogate
      {"\xF4\x90\x80\x80", u"\uFFFD"},        // above U+10FFFF
  };
  for (const auto& c : bad) EXPECT_EQ(UnicodeString::FromUtf8(c.utf8).view(), c.units) << c.utf8;
  // A lone surrogate still encodes (3 bytes) rather than being dropped.
  EXPECT_EQ(UnicodeString(u"\xD800").ToUtf8(), "\xED\xA0\x80");

  // ASCII runs are decoded in blocks: every length of run around the block
  // sizes, followed by a two-byte form, a bad byte or the end, decodes as
  // the unit-by-unit reading would.
  for (size_t run = 0; run < 40; ++run)
    for (const char* tail : {"", "\xC3\xA9", "\xFF", "\xE2\x82"}) {
      std::string in;
      std::u16string want;
      for (size_t i = 0; i < run; ++i) {
        in += char('a' + i % 26);
        want += char16_t(u'a' + i % 26);
      }
      in += tail;
      want += tail[0] == '\0' ? u"" : tail[0] == '\xC3' ? u"\u00E9" : u"\uFFFD";
      in += "xyz";
      want += u"xyz";
      EXPECT_EQ(UnicodeString::FromUtf8(in).view(), want) << run << " " << in;
    }
}

TEST(UnicodeString, AppendAndSetLength) {
  UnicodeString s(u"ab");
  s += s;  // appending itself must not read freed memory
  EXPECT_EQ(s, u"abab");
  s += UnicodeString(u"cd").view().substr(1);
  EXPECT_EQ(s, u"ababd");
  s.SetLength(7);
  EXPECT_EQ(s.Length(), 7);
  EXPECT_EQ(s[5], 0);
  EXPECT_EQ(s[6], 0);
  UnicodeString shared = s;
  shared.SetLength(2);
  EXPECT_EQ(shared, u"ab");
  EXPECT_EQ(s.Length(), 7);  // the other owner is untouched
  EXPECT_EQ(u"x" + UnicodeString() + u'y', u"xy");
  EXPECT_EQ(UnicodeString() + UnicodeString(), UnicodeString());
  UnicodeString empty;
  empty += UnicodeString(u"z");
  EXPECT_EQ(empty, u"z");
}

TEST(UnicodeString, AbsurdLengthsRaiseOutOfMemory) {
  EXPECT_THROW(UnicodeString::Alloc(-1), EOutOfMemory);
  EXPECT_THROW(UnicodeString::Alloc(0x7FFFFFFF), EOutOfMemory);
  UnicodeString s(u"a");
  EXPECT_THROW(s.SetLength(0x7FFFFFFF), EOutOfMemory);
  EXPECT_EQ(s, u"a");
}

TEST(UnicodeString, SharedAcrossThreads) {
  UnicodeString shared(u"shared text");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([shared] {
      for (int i = 0; i < 20000; ++i) {
        UnicodeString copy = shared;
        ASSERT_EQ(copy.Length(), 11);
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(shared.RefCount(), 1);
}
