// Replays a fuzz target's corpus as an ordinary program: every file under the
// given folders (or the given files) goes through LLVMFuzzerTestOneInput once.
// Links with the plain library, so the corpus runs in every build, sanitized
// or not.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static void RunFile(const std::filesystem::path& p, size_t& count) {
  std::ifstream in(p, std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  ++count;
}

int main(int argc, char** argv) {
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    std::filesystem::path p(argv[i]);
    if (std::filesystem::is_directory(p)) {
      for (auto& e : std::filesystem::recursive_directory_iterator(p))
        if (e.is_regular_file()) RunFile(e.path(), count);
    } else if (std::filesystem::exists(p)) {
      RunFile(p, count);
    }
  }
  // An empty input is always worth one run.
  LLVMFuzzerTestOneInput(nullptr, 0);
  std::printf("replayed %zu inputs\n", count);
  return 0;
}
