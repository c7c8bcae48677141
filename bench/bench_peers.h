// Shared pieces of the benches that race the data trees and the SAX reader
// against other libraries: input files, timing, peak memory, the table.
//
// Speed is this thread's CPU time (the machine is shared), best of a few
// rounds of repeated parses. Peak memory is measured once per contestant in
// a forked child with a fresh heap: the growth of the peak resident size
// over the size before the parse. glibc would hand every large block back
// to the system after each parse and map it anew for the next, which makes
// small files look slower than they are for every contestant alike; the
// benches therefore raise M_MMAP_THRESHOLD and M_TRIM_THRESHOLD (mallopt)
// for all contestants equally before timing.
#pragma once

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "norvane/runtime/streams.h"

namespace bench {

inline std::string ReadFile(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  if (!f) return {};
  std::ostringstream s;
  s << f.rdbuf();
  return s.str();
}

inline std::string BaseName(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

inline void TuneAllocator() {
  mallopt(M_MMAP_THRESHOLD, 256 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
}

inline double ThreadSeconds() {
  timespec ts;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

// MB/s of `parse` over `bytes`: best of 5 rounds, each repeating the parse
// for at least 0.2 s of CPU time.
inline double MBPerSecond(size_t bytes, const std::function<void()>& parse) {
  parse();  // warm the caches and the allocator
  double best = 0;
  for (int round = 0; round < 5; ++round) {
    int runs = 0;
    const double t0 = ThreadSeconds();
    double t;
    do {
      parse();
      ++runs;
    } while ((t = ThreadSeconds() - t0) < 0.2);
    best = std::max(best, double(bytes) * runs / t / 1e6);
  }
  return best;
}

inline long StatusKB(const char* field) {
  std::ifstream f("/proc/self/status");
  std::string line;
  const size_t n = std::strlen(field);
  while (std::getline(f, line))
    if (line.compare(0, n, field) == 0) return std::atol(line.c_str() + n + 1);
  return -1;
}

// Peak resident growth, in MB, of one `parse` run in a child process.
inline double PeakMB(const std::function<void()>& parse) {
  int fds[2];
  if (pipe(fds) != 0) return -1;
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    malloc_trim(0);  // what the parent's heap keeps free shouldn't serve the parse
    {
      std::ofstream reset("/proc/self/clear_refs");
      reset << "5";
    }
    const long before = StatusKB("VmHWM:");
    parse();
    const long grown = StatusKB("VmHWM:") - before;
    if (write(fds[1], &grown, sizeof grown) != sizeof grown) _exit(1);
    _exit(0);
  }
  close(fds[1]);
  long grown = -1024;
  if (pid < 0 || read(fds[0], &grown, sizeof grown) != sizeof grown) grown = -1024;
  close(fds[0]);
  if (pid > 0) waitpid(pid, nullptr, 0);
  return double(grown) / 1024.0;
}

struct Contestant {
  std::string name;
  std::function<void()> parse;
  bool ours = false;
};

struct Result {
  std::string name;
  double mbs = 0, peak = 0;
  bool ours = false;
};

// Times every contestant on one input and prints the table: MB/s, peak
// memory, and each of our figures against each peer's.
inline std::vector<Result> RunTable(const std::string& title, size_t bytes, const std::vector<Contestant>& cs) {
  std::vector<Result> rs;
  for (const Contestant& c : cs) rs.push_back({c.name, MBPerSecond(bytes, c.parse), PeakMB(c.parse), c.ours});
  std::printf("%s (%.2f MB)\n", title.c_str(), double(bytes) / 1e6);
  for (const Result& r : rs) std::printf("  %-24s %9.1f MB/s %9.1f MB peak\n", r.name.c_str(), r.mbs, r.peak);
  for (const Result& o : rs) {
    if (!o.ours) continue;
    for (const Result& p : rs)
      if (!p.ours) std::printf("  ratio %-17s / %-18s %6.2fx\n", o.name.c_str(), p.name.c_str(), o.mbs / p.mbs);
  }
  std::fflush(stdout);
  return rs;
}

// A read-only stream over bytes that stay the caller's: no copy before the
// parse.
class TPointerStream : public norvane::TCustomMemoryStream {
 public:
  TPointerStream(const std::string& bytes) { SetPointer(const_cast<char*>(bytes.data()), int64_t(bytes.size())); }
};

// The paths on the command line, or `defaults`.
inline std::vector<std::string> Inputs(int argc, char** argv, std::vector<std::string> defaults) {
  if (argc > 1) return std::vector<std::string>(argv + 1, argv + argc);
  return defaults;
}

// The large real XML documents of the XML benches (from Debian's
// shared-mime-info and iso-codes), unless the command line names others.
inline std::vector<std::string> XmlInputs(int argc, char** argv) {
  return Inputs(argc, argv, {"/usr/share/mime/packages/freedesktop.org.xml", "/usr/share/xml/iso-codes/iso_639-3.xml"});
}

// Calls run(path, bytes) for each file; a missing or empty one is reported
// and skipped.
template <class Run>
void ForEachFile(const std::vector<std::string>& files, Run run) {
  for (const std::string& path : files) {
    const std::string bytes = ReadFile(path);
    if (bytes.empty()) {
      std::printf("%s: not found, skipped\n", path.c_str());
      continue;
    }
    run(path, bytes);
  }
}

}  // namespace bench
