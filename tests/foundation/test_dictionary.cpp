// The hash table family: sizing, Robin Hood invariants, the per-class
// differences of Add/Put, ownership, iteration.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "norvane/foundation/ht_dictionary.h"
#include "norvane/foundation/sha_integer_box.h"
#include "norvane/runtime/exception.h"

using namespace norvane;

namespace {

// A value carrying its key; counts its destructions.
struct Keyed : TObject {
  Keyed(const UnicodeString& k, int* d = nullptr) : Key(k), deaths(d) {}
  ~Keyed() override {
    if (deaths) ++*deaths;
  }
  UnicodeString Key;
  int* deaths;
};
const int32_t kKeyOffset = NV_FIELD_OFFSET(Keyed, Key);

// Hash = first unit, so tests can place keys in chosen slots.
int32_t FirstUnitHash(const char16_t* s, int32_t n) { return n > 0 ? s[0] : 0; }

}  // namespace

TEST(HashFunctions, KnownValues) {
  struct Case {
    const char16_t* s;
    int32_t sha, rs, jenkins;
  } cases[] = {
      {u"", 0, 0, 0},
      {u"a", 386701040, 97, -902917054},
      {u"div", 149728112, 185439667, 403277409},
      {u"background-color", 510721732, 1982358498, 700835372},
      {u"\u00e9t\u00e9", -1587845723, 1986903340, -1771871093},
      {u"abcdefghi", -322574356, 2015364377, -927675779},
  };
  for (const Case& c : cases) {
    const int32_t n = int32_t(std::u16string_view(c.s).size());
    EXPECT_EQ(ShaPerfectHash(c.s, n), c.sha) << n;
    EXPECT_EQ(ShaPerfectHashAsm(c.s, n), c.sha) << n;
    EXPECT_EQ(RSHash(c.s, n), c.rs) << n;
    EXPECT_EQ(JenkinsHash(c.s, n), c.jenkins) << n;
  }
  // The ANSI forms take bytes as unsigned units.
  EXPECT_EQ(ShaPerfectHashANSI("div", 3), 149728112);
  EXPECT_EQ(ShaPerfectHashANSI("\xe9", 1), -47677784);
  EXPECT_EQ(JenkinsHashANSI("abcdefghi", 9), -927675779);
  EXPECT_EQ(ShaPerfectHash(nullptr, 5), 0);
  // The unrolled loop agrees for every remainder of the length by four.
  std::u16string s;
  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(ShaPerfectHashAsm(s.data(), int32_t(s.size())), ShaPerfectHash(s.data(), int32_t(s.size())));
    s += char16_t(0xFFF0 + i * 7919);
  }
}

TEST(HtHashTable, Sizing) {
  struct Case {
    int32_t capacity, slots, growLimit;
  } cases[] = {{-5, 4, 3}, {0, 4, 3}, {2, 4, 3}, {3, 8, 6}, {6, 16, 12}, {12, 32, 24}, {100000, 262144, 196608}};
  for (const Case& c : cases) {
    detail::HtHashTable t(c.capacity);
    EXPECT_EQ(t.Slots(), c.slots) << c.capacity;
    EXPECT_EQ(t.GrowLimit(), c.growLimit) << c.capacity;
  }
  detail::HtHashTable t(0);
  EXPECT_THROW(t.SetCapacity(0x40000001), EOutOfMemory);
  try {
    t.SetCapacity(0x7FFFFFFF);
  } catch (const EOutOfMemory& e) {
    EXPECT_EQ(e.Message(), u"Out of memory");
  }
}

TEST(HtIdDictionary, CapacityZeroHoldsThreeThenDoubles) {
  THtIdPointerDictionary d(0);
  for (int32_t id = 10; id < 13; ++id) d.Add(id, nullptr);
  EXPECT_EQ(d.Capacity(), 4);
  d.Add(13, nullptr);
  EXPECT_EQ(d.Capacity(), 8);
  EXPECT_EQ(d.GrowLimit(), 6);
  // A smaller request never shrinks a table that holds entries.
  d.SetCapacity(0);
  EXPECT_EQ(d.Capacity(), 8);
  // Emptied, it may shrink.
  d.Clear(0);
  EXPECT_EQ(d.Capacity(), 4);
}

TEST(HtIdDictionary, WrappedClusters) {
  // In an 8-slot table ids 6, 14, 22, 30 share home slot 7 and wrap to 0..2;
  // id 7 has home 0 and id 0 home 1: one run 7,0,1,2,3,4 across the end.
  const std::vector<int32_t> ids = {6, 14, 22, 7, 30, 0};
  for (size_t gone = 0; gone < ids.size(); ++gone) {
    THtIdPointerDictionary d(6);
    ASSERT_EQ(d.Capacity(), 16);
    d.Clear(5);  // 8 slots
    ASSERT_EQ(d.Capacity(), 8);
    for (int32_t id : ids) d.Add(id, reinterpret_cast<void*>(intptr_t(id + 100)));
    ASSERT_TRUE(d.Table().Validate());
    EXPECT_TRUE(d.Remove(ids[gone]));
    EXPECT_TRUE(d.Table().Validate()) << "removed " << ids[gone];
    for (int32_t id : ids)
      EXPECT_EQ(d.Get(id), id == ids[gone] ? nullptr : reinterpret_cast<void*>(intptr_t(id + 100)))
          << "removed " << ids[gone] << ", looking for " << id;
    // The wrapped run is found again after a rehash into a larger table.
    d.SetCapacity(40);
    EXPECT_EQ(d.Capacity(), 64);
    EXPECT_TRUE(d.Table().Validate());
    for (int32_t id : ids) {
      if (id != ids[gone]) {
        EXPECT_EQ(d.Get(id), reinterpret_cast<void*>(intptr_t(id + 100)));
      }
    }
  }
}

TEST(HtIdDictionary, OccupiedSlotNeverLooksEmpty) {
  // Id i sits in its home slot i + 1: hash word i next to slot index i + 1.
  THtIdPointerDictionary d(5);
  for (int32_t id = 0; id < 5; ++id) EXPECT_EQ(d.Add(id, &d), id + 1);
  EXPECT_EQ(d.Add(7, &d), 0);  // home (7 + 1) & 7 = 0
  EXPECT_EQ(d.Capacity(), 8);
  int32_t seen = 0, cursor = 0;
  while (d.GetNext(cursor)) ++seen;
  EXPECT_EQ(seen, 6);
  for (int32_t id : {5, 6, 8, -1}) EXPECT_FALSE(d.ContainsKey(id)) << id;
}

TEST(HtIdDictionary, AddAndPutDifferences) {
  int deaths = 0;
  THtIdObjectDictionary objs(0, true);
  auto* a = new Keyed(u"a", &deaths);
  auto* b = new Keyed(u"b", &deaths);
  const int32_t slot = objs.Add(5, a);
  EXPECT_GE(slot, 0);
  EXPECT_EQ(objs.Add(5, b), ~slot);  // existing id: nothing changes
  EXPECT_EQ(objs.Get(5), a);
  objs.Put(5, a);  // same object: not freed
  EXPECT_EQ(deaths, 0);
  objs.Put(5, b);  // replaced owned value is freed
  EXPECT_EQ(deaths, 1);
  EXPECT_EQ(objs.Get(5), b);
  EXPECT_LT(objs.InternalFind(99), 0);
  EXPECT_EQ(objs.LastKey(), 99);

  THtIdPointerDictionary ptrs;
  int x, y;
  const int32_t ps = ptrs.Add(5, &x);
  EXPECT_EQ(ptrs.Add(5, &y), ~ps);  // existing id: value overwritten
  EXPECT_EQ(ptrs.Get(5), &y);
}

TEST(HtIdDictionary, OwnershipAndClear) {
  int deaths = 0;
  {
    THtIdObjectDictionary d(0, true);
    for (int32_t id = 0; id < 20; ++id) d.Add(id * 7, new Keyed(u"", &deaths));
    TObject* kept = d.Extract(0);
    EXPECT_NE(kept, nullptr);
    EXPECT_EQ(deaths, 0);
    delete kept;
    EXPECT_TRUE(d.Remove(7));
    EXPECT_FALSE(d.Remove(7));
    EXPECT_EQ(deaths, 2);
    d.Clear(0);
    EXPECT_EQ(deaths, 20);
    EXPECT_EQ(d.Count(), 0);
    EXPECT_TRUE(d.Table().Validate());
    d.Add(1, new Keyed(u"", &deaths));
  }
  EXPECT_EQ(deaths, 21);
  THtIdObjectDictionary notOwning(0, false);
  Keyed k(u"", &deaths);
  notOwning.Add(1, &k);
  notOwning.Clear();
  EXPECT_EQ(deaths, 21);
}

TEST(HtIdDictionary, GetNextAndTraverseVisitEachValueInSlotOrder) {
  THtIdObjectDictionary d(0, true);
  std::vector<Keyed*> added;
  for (int32_t id = 0; id < 50; ++id) {
    added.push_back(new Keyed(u""));
    d.Add(id * 2654435761u, added.back());
  }
  std::vector<TObject*> viaNext, viaTraverse;
  int32_t cursor = 0;
  while (TObject* v = d.GetNext(cursor)) viaNext.push_back(v);
  EXPECT_EQ(d.GetNext(cursor), nullptr);  // stays at the end
  d.Traverse(&viaTraverse, [](void* ctx, TObject* v) { static_cast<std::vector<TObject*>*>(ctx)->push_back(v); });
  EXPECT_EQ(viaNext, viaTraverse);
  std::sort(viaNext.begin(), viaNext.end());
  std::vector<TObject*> expected(added.begin(), added.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(viaNext, expected);
}

TEST(HtIdDictionary, GrowthAcrossTheSevenEighthsLoad) {
  THtIdPointerDictionary d;
  std::mt19937 rng(7);
  std::vector<int32_t> ids(300000);
  for (auto& id : ids) id = int32_t(rng());
  std::sort(ids.begin(), ids.end());
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  struct Step {
    int32_t count, capacity, growLimit;
  } steps[] = {{98304, 131072, 98304}, {98305, 262144, 196608},
               // Past 100000 entries the same table takes 7/8 before doubling.
               {196609, 262144, 229376},
               {229377, 524288, 458752}};
  size_t next = 0;
  for (const Step& s : steps) {
    for (; int32_t(next) < s.count; ++next) d.Add(ids[next], reinterpret_cast<void*>(intptr_t(next + 1)));
    EXPECT_EQ(d.Count(), s.count);
    EXPECT_EQ(d.Capacity(), s.capacity) << s.count;
    EXPECT_EQ(d.GrowLimit(), s.growLimit) << s.count;
  }
  EXPECT_TRUE(d.Table().Validate());
  for (size_t i = 0; i < next; i += 2) ASSERT_TRUE(d.Remove(ids[i]));
  EXPECT_TRUE(d.Table().Validate());
  for (size_t i = 0; i < next; ++i)
    ASSERT_EQ(d.Get(ids[i]), i % 2 ? reinterpret_cast<void*>(intptr_t(i + 1)) : nullptr) << i;
}

TEST(HtIdDictionary, RandomOperationsKeepTheInvariants) {
  // Small key range, many collisions, many resizes.
  std::mt19937 rng(12345);
  THtIdPointerDictionary d;
  std::map<int32_t, void*> model;
  for (int step = 0; step < 20000; ++step) {
    const int32_t id = int32_t(rng() % 64) * 16 - 300;
    void* v = reinterpret_cast<void*>(intptr_t(step + 1));
    switch (rng() % 5) {
      case 0:
      case 1:
        d.Put(id, v);
        model[id] = v;
        break;
      case 2:
        EXPECT_EQ(d.Remove(id), model.erase(id) == 1);
        break;
      case 3:
        d.SetCapacity(int32_t(rng() % 200));
        break;
      default:
        if (rng() % 50 == 0) {
          d.Clear(int32_t(rng() % 40));
          model.clear();
        }
    }
    ASSERT_EQ(d.Count(), int32_t(model.size()));
    ASSERT_TRUE(d.Table().Validate()) << step;
  }
  for (auto& [id, v] : model) EXPECT_EQ(d.Get(id), v);
}

TEST(HtObjectDictionary, KeyComparisonAndEmptyKey) {
  int deaths = 0;
  THtObjectDictionary d(0, true, kKeyOffset, &FirstUnitHash);
  auto* abc = new Keyed(u"abc", &deaths);
  auto* abd = new Keyed(u"abd", &deaths);
  auto* empty = new Keyed(UnicodeString(), &deaths);
  d.AddObject(abc);
  d.AddObject(abd);
  d.AddObject(empty);
  EXPECT_EQ(ShaPerfectHash(nullptr, 0), 0);
  TObject* v = nullptr;
  struct Case {
    const char16_t* p;
    int32_t n;
    TObject* expected;
  } cases[] = {
      {abc->Key.Data(), 3, abc},  // same pointer
      {u"abc", 3, abc},           // same text elsewhere
      {abc->Key.Data(), 2, nullptr},  // same pointer, shorter: not a match
      {u"abd", 3, abd},
      {u"abx", 3, nullptr},
      {nullptr, 0, empty},  // the empty key is a key like any other
      {u"", 0, empty},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(d.Find(c.p, c.n, v), c.expected != nullptr) << c.n;
    EXPECT_EQ(v, c.expected);
  }
  EXPECT_TRUE(d.Find(UnicodeString(), v));
  EXPECT_EQ(v, empty);
  EXPECT_EQ(d.Get(UnicodeString(u"abc")), abc);
  // The default hash is ShaPerfectHash: the empty key's hash 0 lands in slot 1.
  THtObjectDictionary plain(0, false, kKeyOffset);
  Keyed e(UnicodeString(), nullptr);
  EXPECT_EQ(plain.AddObject(&e), 1);
  EXPECT_TRUE(plain.ContainsKey(UnicodeString()));
}

TEST(HtObjectDictionary, AddHashedReplacesAndPutKeepsTheSameObject) {
  int deaths = 0;
  THtObjectDictionary d(0, true, kKeyOffset);
  auto* first = new Keyed(u"k", &deaths);
  auto* second = new Keyed(u"k", &deaths);
  const int32_t slot = d.Add(first->Key, first);
  EXPECT_GE(slot, 0);
  EXPECT_EQ(d.Add(first->Key, first), slot);  // same object: kept, slot returned
  EXPECT_EQ(deaths, 0);
  EXPECT_EQ(d.AddObject(second), slot);  // replaced, old freed, still >= 0
  EXPECT_EQ(deaths, 1);
  d.Put(u"k", second);
  EXPECT_EQ(deaths, 1);
  EXPECT_EQ(d.Count(), 1);
  EXPECT_EQ(d.Extract(u"k"), second);
  EXPECT_EQ(d.Count(), 0);
  d.Put(u"k", second);
  EXPECT_TRUE(d.Remove(u"k"));
  EXPECT_EQ(deaths, 2);
  EXPECT_FALSE(d.Remove(u"k"));
  EXPECT_THROW(d.AddObject(nullptr), EArgumentException);

  // The record table overwrites and reports the existing key by a negative result.
  struct Rec {
    int tag;
    UnicodeString Key;
  } r1{1, u"x"}, r2{2, u"x"};
  THtPointerDictionary p(0, int32_t(offsetof(Rec, Key)));
  const int32_t ps = p.AddPointer(&r1);
  EXPECT_EQ(p.AddPointer(&r2), ~ps);
  EXPECT_EQ(p.Get(u"x"), &r2);
  EXPECT_EQ(p.Count(), 1);
}

TEST(HtObjectDictionary, ManyKeysThroughResizes) {
  THtObjectDictionary d(0, true, kKeyOffset);
  std::vector<UnicodeString> keys;
  for (int i = 0; i < 5000; ++i) {
    keys.push_back(UnicodeString::FromAscii(("key" + std::to_string(i * 31)).c_str()));
    d.Add(keys.back(), new Keyed(keys.back()));
  }
  EXPECT_TRUE(d.Table().Validate());
  for (int i = 0; i < 5000; i += 3) EXPECT_TRUE(d.Remove(keys[size_t(i)]));
  for (int i = 0; i < 5000; ++i) {
    const std::u16string copy = keys[size_t(i)].ToU16();  // another block, same text
    TObject* v;
    EXPECT_EQ(d.Find(copy.data(), int32_t(copy.size()), v), i % 3 != 0) << i;
  }
}

TEST(HtStringLists, PairsAndWidths) {
  int deaths = 0;
  {
    THtStringList list(0, true);
    auto* o1 = new Keyed(u"", &deaths);
    auto* o2 = new Keyed(u"", &deaths);
    list.Add(u"one", o1);
    list.AddKey(u"two");
    EXPECT_TRUE(list.HasKey(u"two"));
    EXPECT_EQ(list.GetObject(u"two"), nullptr);
    EXPECT_EQ(list.GetObject(u"one"), o1);
    list.Add(u"one", o1);  // same object again: not freed
    EXPECT_EQ(deaths, 0);
    list.Add(u"one", o2);  // replaced: the owned object is freed
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(list.GetObject(u"one"), o2);
    EXPECT_EQ(list.GetObject(u"three"), nullptr);
    EXPECT_EQ(list.Count(), 2);
  }
  EXPECT_EQ(deaths, 2);

  THtSingleList widths;
  EXPECT_EQ(widths.Capacity(), 32);
  EXPECT_EQ(widths.GetWidth(u"missing"), -1.0f);
  widths.AddWidth(u"Arial 12", 7.5f);
  widths.AddWidth(u"Arial 12", 8.25f);
  EXPECT_EQ(widths.GetWidth(u"Arial 12"), 8.25f);
  EXPECT_EQ(widths.Count(), 1);
}

TEST(HtVirtualDictionaries, SlicesCountedBytesAndCallbacks) {
  // Keys as slices of one buffer.
  const std::u16string text = u"alpha beta gamma beta";
  struct Slice {
    THtVirtualKey key;
    int id;
  };
  std::vector<Slice> slices;
  for (size_t start = 0; start < text.size();) {
    size_t end = text.find(u' ', start);
    if (end == std::u16string::npos) end = text.size();
    slices.push_back(Slice{{0, int32_t(end - start), text.data() + start}, int(slices.size())});
    start = end + 1;
  }
  THtVirtualStringDictionary vs(0, int32_t(offsetof(Slice, key)) + THtVirtualKey::CharsOffset());
  for (Slice& s : slices) {
    const int32_t h = ShaPerfectHash(s.key.Chars, s.key.Length);
    const int32_t index = vs.FindHashedVirtual(h, s.key.Chars, s.key.Length);
    if (index < 0) vs.AddHashedVirtual(h, index, s.key.Chars, s.key.Length, &s);
  }
  EXPECT_EQ(vs.Count(), 3);  // the second "beta" was found
  EXPECT_EQ(vs.Get(u"beta"), &slices[1]);
  void* found;
  EXPECT_TRUE(vs.Find(u"gamma", 5, found));
  EXPECT_EQ(found, &slices[2]);
  EXPECT_FALSE(vs.Find(u"gamm", 4, found));
  // A stale index from before a growth is not trusted.
  THtVirtualStringDictionary grown(0, int32_t(offsetof(Slice, key)) + THtVirtualKey::CharsOffset());
  std::vector<Slice> many;
  std::vector<std::u16string> words;
  for (int i = 0; i < 40; ++i) words.push_back(u"w" + std::u16string(size_t(i % 7 + 1), char16_t(u'a' + i)));
  for (auto& w : words) many.push_back(Slice{{0, int32_t(w.size()), w.data()}, 0});
  for (Slice& s : many) {
    const int32_t h = ShaPerfectHash(s.key.Chars, s.key.Length);
    grown.AddHashedVirtual(h, grown.FindHashedVirtual(h, s.key.Chars, s.key.Length), s.key.Chars,
                           s.key.Length, &s);
  }
  EXPECT_TRUE(grown.Table().Validate());
  for (Slice& s : many) EXPECT_EQ(grown.Get(UnicodeString(s.key.Chars, s.key.Length)), &s);

  // Counted byte strings.
  struct Rec {
    unsigned char len;
    char bytes[15];
  };
  Rec a{3, "div"}, b{4, "span"}, c{3, "div"};
  THtUTF8Dictionary u8(0, 1);
  EXPECT_GE(u8.Add(&a), 0);
  EXPECT_GE(u8.Add(&b), 0);
  EXPECT_LT(u8.Add(&c), 0);  // existing key: overwritten
  EXPECT_EQ(u8.Get("div"), &c);
  EXPECT_EQ(u8.Get("di"), nullptr);
  EXPECT_GE(u8.AddUnique(&a), 0);  // no key comparison: a second "div"
  EXPECT_EQ(u8.Count(), 3);
  Rec d{2, "li"};
  const int32_t h = THtUTF8Dictionary::Hash("li");
  u8.AddWithIndex(h, u8.FindHashed(h, "li"), &d);
  EXPECT_EQ(u8.Get("li"), &d);
  EXPECT_TRUE(u8.Table().Validate());

  // Caller-defined keys: integers equal modulo 10.
  auto hash = [](void*, const void* p) { return int32_t(*static_cast<const int*>(p) % 10); };
  auto equal = [](void*, const void* s, const void* q) {
    return *static_cast<const int*>(s) % 10 == *static_cast<const int*>(q) % 10;
  };
  THtVirtualDictionary vd(hash, equal);
  int n3 = 3, n13 = 13, n4 = 4;
  EXPECT_GE(vd.Add(&n3), 0);
  EXPECT_LT(vd.Add(&n13), 0);  // equal to 3: replaces it
  EXPECT_EQ(vd.Find(&n3), &n13);
  EXPECT_EQ(vd.Find(&n4), nullptr);
  EXPECT_EQ(vd.Extract(&n3), &n13);
  EXPECT_EQ(vd.Count(), 0);
}

TEST(ShaIntegerBox, ScrambledKeysComeBack) {
  for (bool scramble : {false, true}) {
    TShaIntegerBox box(0, scramble);
    const std::vector<int32_t> keys = {0, 1, 2, -1, INT32_MIN, INT32_MAX, 1000, 1001, 1002};
    for (int32_t k : keys) EXPECT_GE(box.Add(k, intptr_t(k) * 2), 0);
    EXPECT_LT(box.Add(1000, 5), 0);
    std::vector<int32_t> back;
    int32_t cursor = 0, key;
    intptr_t value;
    while (box.GetNext(cursor, key, value)) {
      back.push_back(key);
      EXPECT_EQ(value, key == 1000 ? 5 : intptr_t(key) * 2);
    }
    std::sort(back.begin(), back.end());
    std::vector<int32_t> expected = keys;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(back, expected);
    box.InternalFind(7);
    EXPECT_EQ(box.LastHash(), scramble ? TShaIntegerBox::ScrambleKey(7) : 7u);
    EXPECT_TRUE(box.Remove(-1));
    EXPECT_FALSE(box.Find(-1, value));
    TShaIntegerBox copy = box;
    EXPECT_TRUE(copy.Find(INT32_MIN, value));
  }
  for (int32_t k : {0, 1, -1, 123456789, INT32_MIN})
    EXPECT_EQ(TShaIntegerBox::UnscrambleKey(TShaIntegerBox::ScrambleKey(k)), k);
}
