// Builder throughput: a serialiser-like mix of short strings (3-12 units) and
// integers appended 10 million times, then the final string fetched. Ours
// (TFastString, TFastRawString) against the standard strings growing by +=
// with std::to_chars for the numbers. The block size is one the serialisers
// use for large output.
#include <algorithm>
#include <ctime>
#include <charconv>
#include <cstdio>
#include <string>
#include <vector>

#include "norvane/foundation/fast_string.h"

using namespace norvane;

namespace {

constexpr int kOps = 10'000'000;
constexpr int kWords = 64, kInts = 1024;

struct Inputs {
  std::vector<UnicodeString> words16;
  std::vector<std::u16string> stdWords16;
  std::vector<std::string> words8;
  std::vector<int32_t> ints;
  Inputs() {
    uint32_t seed = 12345;
    auto next = [&] { return seed = seed * 1103515245 + 12345, seed >> 8; };
    for (int i = 0; i < kWords; ++i) {
      int len = 3 + int(next() % 10);
      std::string w;
      for (int k = 0; k < len; ++k) w.push_back(char('a' + next() % 26));
      words8.push_back(w);
      words16.push_back(UnicodeString::FromAscii(w.c_str()));
      stdWords16.push_back(words16.back().ToU16());
    }
    for (int i = 0; i < kInts; ++i) ints.push_back(int32_t(next() % 2000000) - 1000000);
  }
};

// CPU time of this thread (page faults included), so that other load on the
// machine does not count; best of three runs.
double ThreadSeconds() {
  timespec ts;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

template <class F>
double Seconds(F&& f) {
  double best = 1e9;
  for (int run = 0; run < 3; ++run) {
    double t0 = ThreadSeconds();
    f();
    best = std::min(best, ThreadSeconds() - t0);
  }
  return best;
}

volatile size_t g_sink;

void Report(const char* name, double ours, double peer, size_t bytes) {
  auto line = [&](const char* who, double s) {
    std::printf("  %-26s %7.2f ns/op %8.1f MB/s\n", who, s * 1e9 / kOps, double(bytes) / s / 1e6);
  };
  std::printf("%s\n", name);
  line("ours", ours);
  line("peer (std, += / to_chars)", peer);
  std::printf("  ratio peer/ours           %7.2fx\n", peer / ours);
}

}  // namespace

int main() {
  Inputs in;
  size_t bytes16 = 0, bytes8 = 0;

  double ours16 = Seconds([&] {
    TFastString fs(65531);
    for (int i = 0; i < kOps; ++i) {
      if (i & 1)
        fs.Add(in.ints[i & (kInts - 1)]);
      else
        fs.Add(in.words16[(i >> 1) & (kWords - 1)]);
    }
    UnicodeString s = fs.GetAsString();
    bytes16 = size_t(s.Length()) * 2;
    g_sink = bytes16;
  });
  double peer16 = Seconds([&] {
    std::u16string s;
    char buf[16];
    for (int i = 0; i < kOps; ++i) {
      if (i & 1) {
        char* e = std::to_chars(buf, buf + sizeof buf, in.ints[i & (kInts - 1)]).ptr;
        char16_t wide[16];
        size_t n = size_t(e - buf);
        for (size_t k = 0; k < n; ++k) wide[k] = char16_t(buf[k]);
        s.append(wide, n);
      } else {
        s += in.stdWords16[(i >> 1) & (kWords - 1)];
      }
    }
    g_sink = s.size();
  });
  Report("UTF-16 builder: TFastString vs std::u16string", ours16, peer16, bytes16);

  double ours8 = Seconds([&] {
    TFastRawString fs(65531);
    for (int i = 0; i < kOps; ++i) {
      if (i & 1)
        fs.AddInt(in.ints[i & (kInts - 1)]);
      else
        fs.Add(in.words8[(i >> 1) & (kWords - 1)]);
    }
    std::string s = fs.GetAsString();
    bytes8 = s.size();
    g_sink = bytes8;
  });
  double peer8 = Seconds([&] {
    std::string s;
    char buf[16];
    for (int i = 0; i < kOps; ++i) {
      if (i & 1) {
        char* e = std::to_chars(buf, buf + sizeof buf, in.ints[i & (kInts - 1)]).ptr;
        s.append(buf, size_t(e - buf));
      } else {
        s += in.words8[(i >> 1) & (kWords - 1)];
      }
    }
    g_sink = s.size();
  });
  Report("Byte builder: TFastRawString vs std::string", ours8, peer8, bytes8);
  return 0;
}
