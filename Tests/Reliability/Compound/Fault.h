#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Foundation/Values/FunctionRef.h"
#include "Tests/Support/Chance.h"
#include "Tests/Support/FileFaults.h"

namespace compound {

/// How a run ended that something went wrong in, or nothing.
enum class Ending : std::uint8_t {
  returned,
  refused,  ///< with an error of the library's
  killed,
  stopped,  ///< by itself, as it does where there is nothing that the program could do
  other,
};

/// Trouble at one of a run's operations on files.
struct Fault {
  support::FileTrouble trouble;
  std::size_t point = 0;
};

/// How many operations on files a run makes, those that trouble can come at: all for an error, and
/// those that leave a trace for a death.
class Operations {
 public:
  /// Counts them in a child, each time after `lay`.
  Operations(foundation::FunctionRef<void()> lay, foundation::FunctionRef<void()> work);

  [[nodiscard]] const support::FileOperationCount& ofDeaths() const noexcept { return ofDeaths_; }
  /// A death before one of the operations.
  [[nodiscard]] Fault someDeath(support::Chance& chance) const;
  /// An error of one kind or another, once or for good.
  [[nodiscard]] Fault someError(support::Chance& chance) const;
  /// Either; an error where nothing leaves a trace, so that there is nothing to die in the middle
  /// of.
  [[nodiscard]] Fault someFault(support::Chance& chance) const;
  /// Does the work in a child, in which the fault comes unless it ends before.
  [[nodiscard]] Ending run(const Fault& fault, foundation::FunctionRef<void()> work) const;

 private:
  support::FileOperationCount ofDeaths_;
  support::FileOperationCount ofErrors_;
};

/// Calls `look` with so many seeds until it returns false; with the variable `COMPOUND_SEED` with
/// that one only.
void forEachSeed(std::size_t count, foundation::FunctionRef<bool(std::uint64_t)> look);

/// What to say of a check that a pair of faults failed: which, and how to see it again.
[[nodiscard]] std::string describe(std::uint64_t seed, const Fault& first, const Fault& second);

}  // namespace compound
