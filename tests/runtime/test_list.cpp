#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "norvane/runtime/classes.h"
#include "norvane/runtime/exception.h"

using namespace norvane;

namespace {

// Records every notification as "<action><value>", e.g. "+1" "-2" "x3".
class TRecordingList : public TList {
 public:
  std::vector<std::string> log;

 protected:
  void Notify(void* ptr, TListNotification action) override {
    const char* tag = action == lnAdded ? "+" : action == lnDeleted ? "-" : "x";
    log.push_back(tag + std::to_string(reinterpret_cast<intptr_t>(ptr)));
  }
};

void* P(intptr_t v) { return reinterpret_cast<void*>(v); }

std::vector<intptr_t> Items(const TList& l) {
  std::vector<intptr_t> out;
  for (int32_t i = 0; i < l.Count(); ++i) out.push_back(reinterpret_cast<intptr_t>(l.Get(i)));
  return out;
}

}  // namespace

TEST(List, NotifyRunsForEachOperationAndOnlyForNonNilItems) {
  using Log = std::vector<std::string>;
  struct Case {
    const char* name;
    void (*op)(TRecordingList&);
    Log expected;
    std::vector<intptr_t> after;
  };
  // Every case starts from [1, 2, 3] with the log cleared.
  const Case cases[] = {
      {"Add", [](TRecordingList& l) { EXPECT_EQ(l.Add(P(4)), 3); }, {"+4"}, {1, 2, 3, 4}},
      {"Add nil", [](TRecordingList& l) { l.Add(nullptr); }, {}, {1, 2, 3, 0}},
      {"Insert", [](TRecordingList& l) { l.Insert(0, P(9)); }, {"+9"}, {9, 1, 2, 3}},
      {"Insert at end", [](TRecordingList& l) { l.Insert(3, P(9)); }, {"+9"}, {1, 2, 3, 9}},
      {"Delete", [](TRecordingList& l) { l.Delete(1); }, {"-2"}, {1, 3}},
      {"Remove", [](TRecordingList& l) { EXPECT_EQ(l.Remove(P(3)), 2); }, {"-3"}, {1, 2}},
      {"Remove missing", [](TRecordingList& l) { EXPECT_EQ(l.Remove(P(7)), -1); }, {}, {1, 2, 3}},
      {"Extract", [](TRecordingList& l) { EXPECT_EQ(l.Extract(P(2)), P(2)); }, {"x2"}, {1, 3}},
      {"Extract missing", [](TRecordingList& l) { EXPECT_EQ(l.Extract(P(7)), nullptr); }, {}, {1, 2, 3}},
      // The runtime clears from the end.
      {"Clear", [](TRecordingList& l) { l.Clear(); }, {"-3", "-2", "-1"}, {}},
      {"SetCount shrink", [](TRecordingList& l) { l.SetCount(1); }, {"-3", "-2"}, {1}},
      {"SetCount grow", [](TRecordingList& l) { l.SetCount(5); }, {}, {1, 2, 3, 0, 0}},
      {"Put replaces", [](TRecordingList& l) { l.Put(0, P(8)); }, {"-1", "+8"}, {8, 2, 3}},
      {"Put same item", [](TRecordingList& l) { l.Put(0, P(1)); }, {}, {1, 2, 3}},
      {"Put nil", [](TRecordingList& l) { l.Put(2, nullptr); }, {"-3"}, {1, 2, 0}},
      {"Exchange", [](TRecordingList& l) { l.Exchange(0, 2); }, {}, {3, 2, 1}},
      {"Move forward", [](TRecordingList& l) { l.Move(0, 2); }, {}, {2, 3, 1}},
      {"Move back", [](TRecordingList& l) { l.Move(2, 0); }, {}, {3, 1, 2}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TRecordingList l;
    for (intptr_t v : {1, 2, 3}) l.Add(P(v));
    l.log.clear();
    c.op(l);
    EXPECT_EQ(l.log, c.expected);
    EXPECT_EQ(Items(l), c.after);
  }
}

TEST(List, OwningDescendantFreesItsItems) {
  // The pattern of an owning list: free in Notify, Clear in the destructor
  // (by the time ~TList runs, the override is gone).
  struct TOwning : TList {
    ~TOwning() override { Clear(); }
    void Notify(void* p, TListNotification a) override {
      if (a == lnDeleted) delete static_cast<std::string*>(p);
    }
  };
  std::string* kept = new std::string("kept");
  {
    TOwning l;
    l.Add(new std::string("a"));
    l.Add(nullptr);
    l.Add(kept);
    l.Insert(0, new std::string("b"));
    l.Delete(0);
    l.Put(0, new std::string("c"));
    EXPECT_EQ(l.Extract(kept), kept);
    l.Add(new std::string("d"));
  }  // the sanitizer build reports any leak or double free here
  EXPECT_EQ(*kept, "kept");
  delete kept;
}

TEST(List, IndexErrorsCarryTheIndex) {
  TList l;
  struct Case {
    const char* name;
    void (*op)(TList&);
    const char* message;
  };
  const Case cases[] = {
      {"First on empty", [](TList& x) { x.First(); }, "List index out of bounds (0)"},
      {"Last on empty", [](TList& x) { x.Last(); }, "List index out of bounds (-1)"},
      {"Get past end", [](TList& x) { x.Get(0); }, "List index out of bounds (0)"},
      {"Insert past end", [](TList& x) { x.Insert(1, nullptr); }, "List index out of bounds (1)"},
      {"Delete negative", [](TList& x) { x.Delete(-1); }, "List index out of bounds (-1)"},
      {"Move target", [](TList& x) { x.Add(P(1)), x.Move(0, 1); }, "List index out of bounds (1)"},
      {"Negative count", [](TList& x) { x.SetCount(-2); }, "List count out of bounds (-2)"},
      {"Capacity below count", [](TList& x) { x.Add(P(1)), x.SetCapacity(0); },
       "List capacity out of bounds (0)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    l.Clear();
    try {
      c.op(l);
      ADD_FAILURE() << "no error";
    } catch (const EListError& e) {
      EXPECT_STREQ(e.what(), c.message);
    }
  }
}

TEST(List, GrowsByTheRuntimeSteps) {
  TList l;
  std::vector<int32_t> capacities;
  for (int i = 0; i < 200; ++i) {
    int32_t before = l.Capacity();
    l.Add(P(i + 1));
    if (l.Capacity() != before) capacities.push_back(l.Capacity());
  }
  // +4 up to 8, +16 up to 64, then a quarter.
  EXPECT_EQ(capacities, (std::vector<int32_t>{4, 8, 12, 28, 44, 60, 76, 95, 118, 147, 183, 228}));
  l.Clear();
  EXPECT_EQ(l.Capacity(), 0);
  EXPECT_EQ(l.List(), nullptr);
}

TEST(List, PackSortAndAssign) {
  TList l;
  for (intptr_t v : {5, 0, 3, 0, 9, 1, 3}) l.Add(P(v));
  l.Pack();
  EXPECT_EQ(Items(l), (std::vector<intptr_t>{5, 3, 9, 1, 3}));

  l.Sort([](void* a, void* b) -> int32_t {
    auto x = reinterpret_cast<intptr_t>(a), y = reinterpret_cast<intptr_t>(b);
    return x < y ? -1 : x > y;
  });
  EXPECT_EQ(Items(l), (std::vector<intptr_t>{1, 3, 3, 5, 9}));
  l.SortList([](void* a, void* b) -> int32_t {
    return int32_t(reinterpret_cast<intptr_t>(b) - reinterpret_cast<intptr_t>(a));
  });
  EXPECT_EQ(Items(l), (std::vector<intptr_t>{9, 5, 3, 3, 1}));

  // An inconsistent comparison must neither crash nor lose items.
  TList big;
  for (int i = 1; i <= 500; ++i) big.Add(P(i));
  big.Sort([](void*, void*) -> int32_t { return -1; });
  std::vector<intptr_t> seen = Items(big);
  std::sort(seen.begin(), seen.end());
  for (int i = 0; i < 500; ++i) ASSERT_EQ(seen[size_t(i)], i + 1);

  TList copy;
  copy.Add(P(42));
  copy.Assign(&l);
  EXPECT_EQ(Items(copy), Items(l));
}
