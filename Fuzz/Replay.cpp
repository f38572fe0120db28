#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {
bool replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  if (file.bad() || !file.is_open()) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return false;
  }
  // Named before it runs, since a find ends the process.
  std::fprintf(stderr, "%s\n", path.filename().c_str());
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return true;
}
}  // namespace

/// Runs a fuzz target once on each file of a corpus folder, without the fuzzer: seeds and former
/// finds stay tests in every build and under every compiler. Fails on an empty folder.
int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <corpus folder>\n", argv[0]);
    return 2;
  }
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    if (!replay(entry.path())) return 1;
    ++count;
  }
  std::fprintf(stderr, "%zu inputs\n", count);
  return count == 0 ? 1 : 0;
}
