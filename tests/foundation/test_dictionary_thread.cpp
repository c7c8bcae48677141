// THtThreadObjectDictionary under concurrent readers and a writer.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "norvane/foundation/ht_dictionary.h"

using namespace norvane;

namespace {
struct Named : TObject {
  explicit Named(const UnicodeString& n) : Name(n) {}
  UnicodeString Name;
};
UnicodeString KeyOf(int i) { return UnicodeString::FromAscii(("n" + std::to_string(i)).c_str()); }
}  // namespace

TEST(HtThreadObjectDictionary, ReadersSeeAConsistentTableWhileAWriterWorks) {
  THtThreadObjectDictionary d(0, true, NV_FIELD_OFFSET(Named, Name));
  // Stable keys every reader must always find; the writer churns others and
  // makes the table grow and shrink its runs meanwhile.
  const int kStable = 200;
  std::vector<UnicodeString> stable;
  for (int i = 0; i < kStable; ++i) {
    stable.push_back(KeyOf(i));
    d.AddObject(new Named(stable.back()));
  }
  std::atomic<bool> done{false};
  std::atomic<int> misses{0};
  std::vector<std::thread> readers;
  for (int r = 0; r < 3; ++r)
    readers.emplace_back([&, r] {
      int i = r;
      while (!done.load(std::memory_order_relaxed)) {
        const UnicodeString& k = stable[size_t(i++ % kStable)];
        TObject* v = nullptr;
        if (!d.Find(k.Data(), k.Length(), v) || static_cast<Named*>(v)->Name != k) misses.fetch_add(1);
        if (!d.ContainsKey(k) || d.Get(k) == nullptr) misses.fetch_add(1);
      }
    });
  for (int round = 0; round < 20; ++round) {
    for (int i = 0; i < 500; ++i) d.Add(KeyOf(10000 + i), new Named(KeyOf(10000 + i)));
    for (int i = 0; i < 500; ++i) d.Remove(KeyOf(10000 + i));
    d.Put(stable[0], d.Get(stable[0]));  // same object: stays alive
  }
  done = true;
  for (auto& t : readers) t.join();
  EXPECT_EQ(misses.load(), 0);
  EXPECT_EQ(d.Count(), kStable);
  int visited = 0;
  d.Traverse(&visited, [](void* ctx, TObject*) { ++*static_cast<int*>(ctx); });
  EXPECT_EQ(visited, kStable);
  // The hashed forms are the same steps without the lock.
  const UnicodeString k = stable[5];
  const int32_t h = ShaPerfectHashAsm(k.Data(), k.Length());
  EXPECT_GE(d.FindHashed(h, k), 0);
  TObject* extracted = d.ExtractHashed(h, k);
  EXPECT_NE(extracted, nullptr);
  delete extracted;
  EXPECT_FALSE(d.ContainsKey(k));
}
