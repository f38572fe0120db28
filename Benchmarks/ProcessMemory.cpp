#include "Benchmarks/ProcessMemory.h"

#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace benchmarks {

namespace {

/// A line of the process's status, in KiB.
double statusLine(std::string_view name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name)) return std::stod(line.substr(name.size()));
  }
  throw std::runtime_error("the system does not tell " + std::string(name));
}

}  // namespace

ProcessMemory::ProcessMemory() : beforeKiB_(statusLine("VmRSS:")) {}

double ProcessMemory::peakMiB() const { return (statusLine("VmHWM:") - beforeKiB_) / 1024; }

}  // namespace benchmarks
