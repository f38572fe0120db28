#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Foundation/Values/FunctionRef.h"
#include "Tests/Reliability/Power/DiskOperation.h"
#include "Tests/Reliability/Power/RecordedDisk.h"
#include "Tests/Support/StoreFiles.h"

namespace power {

/// One failure of the power.
struct Loss {
  /// How many operations there were before it.
  std::size_t point = 0;
  std::uint64_t seed = 0;
  /// The last mark before it; none before the first.
  std::optional<int> mark;
  /// What is on the disk afterwards.
  support::Files files;
};

/// The failures of the power in a run that was recorded once.
///
/// They come around each sync and mark: right before the sync takes effect or right behind the
/// mark, and at some moment since the one before. With the variables `POWER_LOSS_POINT` and
/// `POWER_LOSS_SEED` there is that one failure only.
class PowerLosses {
 public:
  /// Runs `work` in a child, which says by marks how far it has come. What lies in the directory
  /// now is on the disk for certain. Throws unless the work returns.
  PowerLosses(const std::filesystem::path& directory,
              foundation::FunctionRef<void(RecordedDisk&)> work);

  /// The same run on a disk that says of each sync that it is done, and does nothing.
  [[nodiscard]] PowerLosses withLyingSyncs() const;

  /// Calls `look` with failures, so many around each sync and mark, in the order of their points,
  /// until it returns false.
  void forEach(std::size_t seeds, foundation::FunctionRef<bool(const Loss&)> look) const;

  [[nodiscard]] const std::vector<DiskOperation>& operations() const noexcept {
    return operations_;
  }
  /// How many of the operations are syncs.
  [[nodiscard]] std::size_t syncs() const;

 private:
  PowerLosses(support::Files before, std::vector<DiskOperation> operations)
      : before_(std::move(before)), operations_(std::move(operations)) {}

  struct Moment {
    std::size_t point;
    std::uint64_t seed;
    friend auto operator<=>(const Moment&, const Moment&) = default;
  };
  /// In the order in which they come.
  [[nodiscard]] std::vector<Moment> moments(std::size_t seeds) const;

  support::Files before_;
  std::vector<DiskOperation> operations_;
};

/// What to say of a check that a loss failed: which, and how to see it again.
[[nodiscard]] std::string describe(const Loss& loss);

}  // namespace power
