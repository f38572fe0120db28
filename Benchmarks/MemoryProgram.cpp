// Opens a store, reads all its check-ins in the order of their days, and prints what came of it and
// the memory, in MiB, that it took at its peak beyond what the program had before.

#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "Benchmarks/ProcessMemory.h"
#include "Benchmarks/Reading.h"

namespace {

template <typename Store>
void measure(const std::string& path) {
  Store store(path, benchmarks::Durability::full);
  const benchmarks::ProcessMemory memory;
  const std::int64_t answer = benchmarks::readEverything(store);
  std::printf("%lld %.3f\n", static_cast<long long>(answer), memory.peakMiB());
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  try {
    const bool isOurs = std::string_view(arguments[1]) == "ours";
    isOurs ? measure<benchmarks::EngineStore>(arguments[2])
           : measure<benchmarks::HandWrittenStore>(arguments[2]);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
