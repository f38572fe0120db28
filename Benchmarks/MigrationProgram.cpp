// Brings one store forward, and prints what it holds then and the memory, in MiB, that the process
// took at its peak beyond what it had before.

#include <cstdio>
#include <exception>
#include <string_view>

#include "Benchmarks/OldStores.h"
#include "Benchmarks/ProcessMemory.h"

namespace {

using benchmarks::Migrations;
using Operation = benchmarks::Run (Migrations::*)();

Operation operationNamed(std::string_view name) {
  if (name == "steps") return &Migrations::steps;
  if (name == "steps-by-hand") return &Migrations::stepsByHand;
  if (name == "photos") return &Migrations::photos;
  if (name == "photos-by-hand") return &Migrations::photosByHand;
  return nullptr;
}

}  // namespace

int main(int count, char** arguments) {
  const Operation operation = count == 3 ? operationNamed(arguments[1]) : nullptr;
  if (operation == nullptr) return 2;
  try {
    const benchmarks::ProcessMemory memory;
    Migrations migrations{benchmarks::OldStores(arguments[2])};
    const auto answer = (migrations.*operation)().answer;
    std::printf("%lld %.3f\n", static_cast<long long>(answer), memory.peakMiB());
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
