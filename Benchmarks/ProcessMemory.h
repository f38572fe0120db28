#pragma once

namespace benchmarks {

/// How much memory the process takes from here on at its peak, beyond what it has now. Throws
/// `std::runtime_error` where the system does not tell.
class ProcessMemory {
 public:
  ProcessMemory();
  [[nodiscard]] double peakMiB() const;

 private:
  double beforeKiB_;
};

}  // namespace benchmarks
