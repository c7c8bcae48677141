// Random operation sequences on the string-keyed and id-keyed tables and the
// integer box, checked step by step against std::map models.
//
// Input: byte 0 picks the hash (a real one, or weak ones that make every key
// collide), byte 1 the box's key mode; then each operation is two bytes, an
// opcode and an argument.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "norvane/foundation/ht_dictionary.h"
#include "norvane/foundation/sha_integer_box.h"

using namespace norvane;

#define CHECK(cond)         \
  do {                      \
    if (!(cond)) abort();   \
  } while (0)

namespace {

struct Item : TObject {
  explicit Item(const UnicodeString& k) : Key(k) {}
  UnicodeString Key;
};

int32_t LengthHash(const char16_t*, int32_t n) { return n; }
int32_t ConstantHash(const char16_t*, int32_t) { return -1; }
const THtHashFunc kHashes[] = {nullptr, &ShaPerfectHashAsm, &RSHash, &JenkinsHash, &LengthHash, &ConstantHash};

std::vector<UnicodeString> MakeKeys() {
  std::vector<UnicodeString> keys{UnicodeString()};
  const char16_t* words[] = {u"a", u"b", u"ab", u"ba", u"abc", u"div", u"span", u"\u00e9", u"\uFFFF", u"aa",
                             u"color", u"colour", u"x1", u"x2", u"x3", u"background-color"};
  for (auto* w : words) keys.emplace_back(w);
  while (keys.size() < 32) keys.push_back(keys[keys.size() - 16] + u"!");
  return keys;
}

void RunStrings(const uint8_t* data, size_t size, THtHashFunc hash) {
  static const std::vector<UnicodeString> keys = MakeKeys();
  THtObjectDictionary d(0, true, NV_FIELD_OFFSET(Item, Key), hash);
  std::map<int, Item*> model;  // key index -> value
  for (size_t p = 0; p + 1 < size; p += 2) {
    const int k = data[p + 1] % 32;
    const UnicodeString& key = keys[size_t(k)];
    const bool present = model.count(k) != 0;
    switch (data[p] % 9) {
      case 0: {
        auto* v = new Item(key);
        CHECK(d.AddObject(v) >= 0);
        model[k] = v;
        break;
      }
      case 1: {
        auto* v = new Item(key);
        d.Put(key, v);
        model[k] = v;
        break;
      }
      case 2:
        CHECK(d.Remove(key) == present);
        model.erase(k);
        break;
      case 3: {
        TObject* v = d.Extract(key);
        CHECK(v == (present ? model[k] : nullptr));
        delete v;
        model.erase(k);
        break;
      }
      case 4: {
        // A copy of the text in another buffer: no pointer shortcut.
        const std::u16string copy = key.ToU16();
        TObject* v = nullptr;
        CHECK(d.Find(copy.data(), int32_t(copy.size()), v) == present);
        CHECK(v == (present ? model[k] : nullptr));
        CHECK(d.Get(key) == v);
        break;
      }
      case 5:
        d.SetCapacity(data[p + 1] * 3);
        break;
      case 6:
        if (data[p + 1] < 16) {
          d.Clear(data[p + 1] * 5);
          model.clear();
        }
        break;
      case 7: {
        std::set<TObject*> seen;
        int32_t cursor = 0;
        while (TObject* v = d.GetNext(cursor)) CHECK(seen.insert(v).second);
        CHECK(seen.size() == model.size());
        for (auto& [i, v] : model) CHECK(seen.count(v) == 1);
        break;
      }
      default: {
        // Hashed forms with the dictionary's own hash.
        const int32_t h = d.Hash(key);
        const int32_t i = d.FindHashed(h, key);
        CHECK((i >= 0) == present);
        if (!present) {
          auto* v = new Item(key);
          CHECK(d.AddHashed(h, key, v) >= 0);
          model[k] = v;
        }
      }
    }
    CHECK(d.Count() == int32_t(model.size()));
    if ((p & 15) == 0) CHECK(d.Table().Validate());
  }
  CHECK(d.Table().Validate());
}

void RunIds(const uint8_t* data, size_t size) {
  THtIdObjectDictionary d(0, false);
  std::map<int32_t, TObject*> model;
  static const int32_t spread[] = {1, 3, 8, 64, 1 << 20, -1, -7};
  for (size_t p = 0; p + 1 < size; p += 2) {
    const uint8_t a = data[p + 1];
    const int32_t id = int32_t(a % 32) * spread[(a >> 5) % 7] - 5;
    auto* fake = reinterpret_cast<TObject*>(uintptr_t(p + 16) * 16);
    const auto it = model.find(id);
    const bool present = it != model.end();
    switch (data[p] % 8) {
      case 0: {
        const int32_t r = d.Add(id, fake);
        CHECK((r < 0) == present);
        if (!present) model[id] = fake;
        break;
      }
      case 1:
        d.Put(id, fake);
        model[id] = fake;
        break;
      case 2:
        CHECK(d.Remove(id) == present);
        model.erase(id);
        break;
      case 3:
        CHECK(d.Extract(id) == (present ? it->second : nullptr));
        model.erase(id);
        break;
      case 4: {
        TObject* v;
        CHECK(d.TryGetValue(id, v) == present);
        CHECK(d.Get(id) == (present ? it->second : nullptr));
        break;
      }
      case 5:
        d.SetCapacity(a * 2);
        break;
      case 6:
        if (a < 24) {
          d.Clear(a);
          model.clear();
        }
        break;
      default: {
        size_t n = 0;
        int32_t cursor = 0;
        while (d.GetNext(cursor)) ++n;
        CHECK(n == model.size());
      }
    }
    CHECK(d.Count() == int32_t(model.size()));
    if ((p & 15) == 0) CHECK(d.Table().Validate());
  }
  CHECK(d.Table().Validate());
}

void RunBox(const uint8_t* data, size_t size, bool scramble) {
  TShaIntegerBox box(0, scramble);
  std::map<int32_t, intptr_t> model;
  for (size_t p = 0; p + 1 < size; p += 2) {
    const int32_t key = int32_t(data[p + 1] % 64) * (data[p + 1] >= 128 ? 0x01000001 : 1) - 3;
    const intptr_t value = intptr_t(p);
    const bool present = model.count(key) != 0;
    switch (data[p] % 5) {
      case 0:
      case 1:
        CHECK((box.Add(key, value) < 0) == present);
        model[key] = value;
        break;
      case 2:
        CHECK(box.Remove(key) == present);
        model.erase(key);
        break;
      case 3: {
        intptr_t v;
        CHECK(box.Find(key, v) == present);
        if (present) CHECK(v == model[key]);
        break;
      }
      default: {
        std::map<int32_t, intptr_t> back;
        int32_t cursor = 0, k;
        intptr_t v;
        while (box.GetNext(cursor, k, v)) back[k] = v;
        CHECK(back == model);
      }
    }
    CHECK(box.Count() == int32_t(model.size()));
    if ((p & 15) == 0) CHECK(box.Table().Validate());
  }
  CHECK(box.Table().Validate());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  RunStrings(data + 2, size - 2, kHashes[data[0] % 6]);
  RunIds(data + 2, size - 2);
  RunBox(data + 2, size - 2, data[1] & 1);
  return 0;
}
