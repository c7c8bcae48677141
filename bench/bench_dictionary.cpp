// String lookups in THtObjectDictionary against std::unordered_map.
//
// Keys are identifier-like strings of 4 to 16 units held by the value
// objects. Ours: Find(pointer, length) with the pointer of the interned key
// (hits) or of a separate buffer (misses), as the parsers call it. Peer:
// std::unordered_map<std::u16string, Entry*> with a transparent hash, probed
// with a std::u16string_view over the same pointer and length (C++20
// heterogeneous lookup: no string is built per probe). Memory: our table
// block per entry (the keys live in the values, which both sides have) and
// the peer's nodes, key copies and buckets, counted by its allocator.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "norvane/foundation/ht_dictionary.h"

using namespace norvane;

namespace {

struct Entry : TObject {
  explicit Entry(const UnicodeString& k) : Key(k) {}
  UnicodeString Key;
};

size_t g_peerBytes = 0;

template <class T>
struct CountingAllocator {
  using value_type = T;
  CountingAllocator() = default;
  template <class U>
  CountingAllocator(const CountingAllocator<U>&) {}
  T* allocate(size_t n) {
    g_peerBytes += n * sizeof(T);
    return std::allocator<T>().allocate(n);
  }
  void deallocate(T* p, size_t n) {
    g_peerBytes -= n * sizeof(T);
    std::allocator<T>().deallocate(p, n);
  }
  template <class U>
  bool operator==(const CountingAllocator<U>&) const { return true; }
};

struct ViewHash {
  using is_transparent = void;
  size_t operator()(std::u16string_view s) const noexcept { return std::hash<std::u16string_view>()(s); }
};

using PeerString = std::basic_string<char16_t, std::char_traits<char16_t>, CountingAllocator<char16_t>>;
struct PeerHash {
  using is_transparent = void;
  size_t operator()(std::u16string_view s) const noexcept { return std::hash<std::u16string_view>()(s); }
  size_t operator()(const PeerString& s) const noexcept { return (*this)(std::u16string_view(s.data(), s.size())); }
};
struct PeerEq {
  using is_transparent = void;
  bool operator()(const PeerString& a, const PeerString& b) const noexcept { return a == b; }
  bool operator()(const PeerString& a, std::u16string_view b) const noexcept {
    return std::u16string_view(a.data(), a.size()) == b;
  }
  bool operator()(std::u16string_view a, const PeerString& b) const noexcept { return (*this)(b, a); }
};
using PeerMap = std::unordered_map<PeerString, Entry*, PeerHash, PeerEq,
                                   CountingAllocator<std::pair<const PeerString, Entry*>>>;

std::u16string RandomIdentifier(std::mt19937& rng) {
  static const char16_t first[] = u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
  static const char16_t rest[] = u"abcdefghijklmnopqrstuvwxyz0123456789-_";
  const size_t n = 4 + rng() % 13;
  std::u16string s(1, first[rng() % 53]);
  while (s.size() < n) s += rest[rng() % 38];
  return s;
}

struct Probe {
  const char16_t* p;
  int32_t n;
};

template <class F>
double BestNsPerLookup(const std::vector<Probe>& probes, F&& lookup) {
  double best = 1e30;
  for (int run = 0; run < 3; ++run) {
    size_t sink = 0;
    const auto t0 = std::chrono::steady_clock::now();
    for (const Probe& pr : probes) sink += lookup(pr);
    const auto t1 = std::chrono::steady_clock::now();
    const double ns = std::chrono::duration<double, std::nano>(t1 - t0).count() / double(probes.size());
    if (sink == size_t(-1)) std::puts("");
    best = std::min(best, ns);
  }
  return best;
}

void Run(size_t count, size_t lookups) {
  std::mt19937 rng{uint32_t(count)};
  std::vector<std::u16string> words;
  {
    std::unordered_map<std::u16string, bool> seen;
    while (words.size() < count * 2) {
      std::u16string w = RandomIdentifier(rng);
      if (seen.emplace(w, true).second) words.push_back(std::move(w));
    }
  }
  // First half in the tables, second half only ever probed (misses).
  std::vector<Entry*> entries;
  entries.reserve(count);
  for (size_t i = 0; i < count; ++i) entries.push_back(new Entry(UnicodeString(words[i])));

  THtObjectDictionary ours(int32_t(count), false, NV_FIELD_OFFSET(Entry, Key));
  for (Entry* e : entries) ours.AddObject(e);

  g_peerBytes = 0;
  auto* peer = new PeerMap();
  peer->reserve(count);
  for (Entry* e : entries) peer->emplace(PeerString(e->Key.Data(), size_t(e->Key.Length())), e);
  const size_t peerBytes = g_peerBytes;

  std::vector<Probe> hits, misses;
  for (size_t i = 0; i < lookups; ++i) {
    const Entry* e = entries[rng() % count];
    hits.push_back({e->Key.Data(), e->Key.Length()});
    const std::u16string& w = words[count + rng() % count];
    misses.push_back({w.data(), int32_t(w.size())});
  }

  auto ourLookup = [&](const Probe& pr) -> size_t {
    TObject* v;
    return ours.Find(pr.p, pr.n, v) ? reinterpret_cast<uintptr_t>(v) & 1 ? 2 : 1 : 0;
  };
  auto peerLookup = [&](const Probe& pr) -> size_t {
    auto it = peer->find(std::u16string_view(pr.p, size_t(pr.n)));
    return it != peer->end() ? reinterpret_cast<uintptr_t>(it->second) & 1 ? 2 : 1 : 0;
  };
  // Sanity: both agree on every probe.
  for (size_t i = 0; i < 1000; ++i) {
    if (ourLookup(hits[i]) != 1 || peerLookup(hits[i]) != 1 || ourLookup(misses[i]) || peerLookup(misses[i])) {
      std::printf("lookup mismatch\n");
      std::exit(1);
    }
  }

  const double oh = BestNsPerLookup(hits, ourLookup), ph = BestNsPerLookup(hits, peerLookup);
  const double om = BestNsPerLookup(misses, ourLookup), pm = BestNsPerLookup(misses, peerLookup);
  std::printf("%8zu entries  hits:   ours %6.1f ns  unordered_map %6.1f ns  ratio %.2fx\n", count, oh, ph, ph / oh);
  std::printf("%8zu entries  misses: ours %6.1f ns  unordered_map %6.1f ns  ratio %.2fx\n", count, om, pm, pm / om);
  std::printf("%8zu entries  memory: ours %5.1f B/entry (table %d slots)  unordered_map %5.1f B/entry\n", count,
              double(ours.Table().TableBytes()) / double(count), ours.Capacity(),
              double(peerBytes) / double(count));
  delete peer;
  for (Entry* e : entries) delete e;
}

}  // namespace

int main() {
  Run(10000, 2000000);
  Run(1000000, 4000000);
  return 0;
}
