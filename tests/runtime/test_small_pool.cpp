#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include "norvane/runtime/small_pool.h"
#include "norvane/runtime/unicode_string.h"

using namespace norvane;

namespace {

// Blocks of every class stay apart while held, keep their bytes through a
// resize across classes and into and out of the large range, and blocks
// given back come round again.
TEST(SmallPool, BlocksKeepTheirBytes) {
  std::vector<std::pair<uint8_t*, size_t>> held;
  for (size_t size = 1; size <= 300; ++size) {
    auto* p = static_cast<uint8_t*>(SmallPoolTake(size));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % alignof(std::max_align_t), 0u) << size;
    std::memset(p, int(size & 0xFF), size);
    held.emplace_back(p, size);
  }
  for (auto& [p, size] : held)
    for (size_t i = 0; i < size; ++i) ASSERT_EQ(p[i], uint8_t(size & 0xFF)) << size;

  // Growing from 8 to 600 bytes and back down keeps the common prefix.
  auto* r = static_cast<uint8_t*>(SmallPoolTake(8));
  for (int i = 0; i < 8; ++i) r[i] = uint8_t(i + 1);
  size_t now = 8;
  for (size_t to : {24u, 100u, 256u, 257u, 600u, 40u, 8u}) {
    r = static_cast<uint8_t*>(SmallPoolResize(r, now, to));
    ASSERT_NE(r, nullptr);
    now = to;
    for (int i = 0; i < 8; ++i) ASSERT_EQ(r[i], uint8_t(i + 1)) << to;
  }
  SmallPoolGive(r, now);

  for (auto& [p, size] : held) SmallPoolGive(p, size);
  std::set<void*> again;
  for (int i = 0; i < 64; ++i) again.insert(SmallPoolTake(48));
  EXPECT_EQ(again.size(), 64u);
  for (void* p : again) SmallPoolGive(p, 48);
}

// Random takes, gives and resizes against a model: no two held blocks
// overlap (each keeps the pattern written into it), across enough blocks
// that free lists turn into batches and back.
TEST(SmallPool, RandomUseAgainstAModel) {
  struct THeld {
    uint8_t* P;
    size_t Size;
    uint8_t Mark;
  };
  std::vector<THeld> held;
  uint32_t seed = 12345;
  const auto next = [&] { return seed = seed * 1103515245u + 12345u, seed >> 8; };
  const auto fill = [](THeld& h) { std::memset(h.P, h.Mark, h.Size); };
  const auto check = [](const THeld& h) {
    for (size_t i = 0; i < h.Size; ++i)
      if (h.P[i] != h.Mark) return false;
    return true;
  };
  for (int step = 0; step < 200000; ++step) {
    const uint32_t op = next() % 8;
    if (op < 4 || held.empty()) {
      THeld h{nullptr, 1 + next() % 300, uint8_t(next())};
      h.P = static_cast<uint8_t*>(SmallPoolTake(h.Size));
      ASSERT_NE(h.P, nullptr);
      fill(h);
      held.push_back(h);
    } else if (op < 7) {
      const size_t i = next() % held.size();
      ASSERT_TRUE(check(held[i])) << step;
      SmallPoolGive(held[i].P, held[i].Size);
      held[i] = held.back();
      held.pop_back();
    } else {
      THeld& h = held[next() % held.size()];
      ASSERT_TRUE(check(h)) << step;
      const size_t to = 1 + next() % 300;
      h.P = static_cast<uint8_t*>(SmallPoolResize(h.P, h.Size, to));
      ASSERT_NE(h.P, nullptr);
      for (size_t k = 0; k < std::min(h.Size, to); ++k) ASSERT_EQ(h.P[k], h.Mark) << step;
      h.Size = to;
      fill(h);
    }
  }
  for (const THeld& h : held) {
    EXPECT_TRUE(check(h));
    SmallPoolGive(h.P, h.Size);
  }
}

// One thread makes strings and another frees them, in rounds, so blocks
// travel between threads and through the shared lists; afterwards strings
// made here still hold their own units.
TEST(SmallPool, BlocksCrossThreads) {
  for (int round = 0; round < 4; ++round) {
    std::vector<UnicodeString> made;
    std::thread producer([&] {
      for (int i = 0; i < 50000; ++i) made.emplace_back(UnicodeString(u"value ") + UnicodeString(char16_t(u'a' + i % 26)));
    });
    producer.join();
    std::thread consumer([&] { made.clear(); });
    consumer.join();
  }
  std::vector<UnicodeString> mine;
  for (int i = 0; i < 20000; ++i) mine.emplace_back(UnicodeString(u"x") + UnicodeString(char16_t(u'0' + i % 10)));
  for (int i = 0; i < 20000; ++i) ASSERT_EQ(mine[size_t(i)][1], char16_t(u'0' + i % 10));
}

}  // namespace
