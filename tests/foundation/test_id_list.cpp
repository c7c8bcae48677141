// TIDList and the TList variants.
#include <gtest/gtest.h>

#include <vector>

#include "norvane/foundation/ht_object_list.h"
#include "norvane/foundation/id_list.h"
#include "norvane/runtime/exception.h"

using namespace norvane;

namespace {
struct Counted : TObject {
  explicit Counted(int* d) : deaths(d) {}
  ~Counted() override { ++*deaths; }
  int* deaths;
};

std::vector<int32_t> Ids(const TIDList& l) {
  std::vector<int32_t> v;
  for (int32_t i = 0; i < l.Count(); ++i) v.push_back(l.Get(i));
  return v;
}

template <class F>
UnicodeString ErrorOf(F&& f) {
  try {
    f();
  } catch (const EStringListError& e) {
    return e.Message();
  }
  return UnicodeString(u"(none)");
}
}  // namespace

TEST(TIDList, SortedAddKeepsDuplicatesInArrivalOrder) {
  TIDList l;
  TObject a, b, c;
  l.AddObject(5, &a);
  l.AddObject(-3, nullptr);
  l.AddObject(9, nullptr);
  l.AddObject(5, &b);
  l.AddObject(7, nullptr);
  l.AddObject(5, &c);
  EXPECT_EQ(Ids(l), (std::vector<int32_t>{-3, 5, 5, 5, 7, 9}));
  EXPECT_EQ(l.GetObject(1), &a);
  EXPECT_EQ(l.GetObject(2), &b);
  EXPECT_EQ(l.GetObject(3), &c);  // the newest duplicate goes behind its equals
  int32_t index;
  EXPECT_TRUE(l.Find(5, index));
  EXPECT_EQ(index, 1);
  EXPECT_FALSE(l.Find(6, index));
  EXPECT_EQ(index, 4);
  EXPECT_EQ(l.IndexOf(9), 5);
  EXPECT_EQ(l.IndexOf(8), -1);
  EXPECT_EQ(l.IndexOfObject(&c), 3);
}

TEST(TIDList, Errors) {
  TIDList l;
  l.Add(1);
  l.SetDuplicates(dupError);
  struct Case {
    std::function<void()> op;
    const char16_t* key;
  } cases[] = {
      {[&] { l.Add(1); }, u"SDuplicateString"},
      {[&] { l.Insert(0, 2); }, u"SSortedListError"},
      {[&] { l.Put(0, 2); }, u"SSortedListError"},
      {[&] { l.Get(1); }, u"SListIndexError"},
      {[&] { l.GetObject(-1); }, u"SListIndexError"},
      {[&] { l.Delete(3); }, u"SListIndexError"},
      {[&] { l.Exchange(0, 1); }, u"SListIndexError"},
  };
  for (const Case& c : cases) EXPECT_EQ(ErrorOf(c.op), c.key);
  EXPECT_EQ(l.Count(), 1);
}

TEST(TIDList, UnsortedListsSortAndSearchUnsigned) {
  TIDList l;
  l.SetSorted(false);
  for (int32_t id : {3, -1, 0, 3, INT32_MIN, 2}) l.Add(id);
  l.Insert(0, 10);
  l.Exchange(0, 1);
  EXPECT_EQ(Ids(l), (std::vector<int32_t>{3, 10, -1, 0, 3, INT32_MIN, 2}));
  l.Sort();
  // Unsigned order: negative ids come last.
  EXPECT_EQ(Ids(l), (std::vector<int32_t>{0, 2, 3, 3, 10, INT32_MIN, -1}));
  int32_t index;
  EXPECT_TRUE(l.FindCardinal(uint32_t(-1), index));
  EXPECT_EQ(index, 6);
  EXPECT_TRUE(l.FindCardinal(3, index));
  EXPECT_EQ(index, 2);
  EXPECT_FALSE(l.FindCardinal(4, index));
  EXPECT_EQ(index, 4);
  l.Delete(0);
  EXPECT_EQ(l.Get(0), 2);
  // Sorting a large reversed run stays correct.
  TIDList big;
  big.SetSorted(false);
  for (int32_t i = 5000; i > 0; --i) big.Add(i % 97);
  big.Sort();
  for (int32_t i = 1; i < big.Count(); ++i) ASSERT_LE(big.Get(i - 1), big.Get(i));
}

TEST(TIDList, GrowthAndClear) {
  TIDList l;
  std::vector<int32_t> capacities;
  for (int32_t i = 0; i < 120; ++i) {
    l.Add(i);
    if (capacities.empty() || capacities.back() != l.Capacity()) capacities.push_back(l.Capacity());
  }
  EXPECT_EQ(capacities, (std::vector<int32_t>{4, 8, 12, 28, 44, 60, 76, 95, 118, 147}));
  l.Clear();
  EXPECT_EQ(l.Count(), 0);
  EXPECT_EQ(l.Capacity(), 147);  // Clear keeps the memory
  int deaths = 0;
  l.AddObject(1, new Counted(&deaths));
  l.AddObject(2, new Counted(&deaths));
  l.FreeObjects();
  EXPECT_EQ(deaths, 2);
  EXPECT_EQ(l.GetObject(0), nullptr);
}

TEST(THtObjectList, OwningFreesWhatLeaves) {
  int deaths = 0;
  {
    THtObjectList list(true);
    for (int i = 0; i < 5; ++i) list.Add(new Counted(&deaths));
    list.Delete(0);
    EXPECT_EQ(deaths, 1);
    auto* kept = static_cast<TObject*>(list.Extract(list.Get(0)));
    EXPECT_EQ(deaths, 1);
    delete kept;
    list.Clear();
    EXPECT_EQ(deaths, 5);
    list.Add(new Counted(&deaths));
  }
  EXPECT_EQ(deaths, 6);
  THtObjectList borrowed(false);
  Counted c(&deaths);
  borrowed.Add(&c);
  borrowed.Clear();
  EXPECT_EQ(deaths, 6);
}
