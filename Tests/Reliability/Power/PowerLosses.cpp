#include "Tests/Reliability/Power/PowerLosses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "Tests/Reliability/Power/LosingDisk.h"
#include "Tests/Support/EnvironmentSetting.h"
#include "Tests/Support/Scene.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace power {

using support::below;
using Kind = DiskOperation::Kind;

namespace {

constexpr const char* kPoint = "POWER_LOSS_POINT";
constexpr const char* kSeed = "POWER_LOSS_SEED";

bool isSync(const DiskOperation& operation) {
  return operation.kind == Kind::sync || operation.kind == Kind::syncDirectory;
}

/// The same seed is another one at another point.
std::uint64_t mixed(std::uint64_t seed, std::size_t point) { return seed * 1'000'003 + point; }

}  // namespace

PowerLosses::PowerLosses(const std::filesystem::path& directory,
                         foundation::FunctionRef<void(RecordedDisk&)> work)
    : before_(support::filesIn(directory)) {
  const support::TemporaryDirectory place;
  const auto record = place.path() / "record";
  const bool returned = support::succeeds([&] {
    RecordedDisk disk(directory, record);
    work(disk);
  });
  if (!returned) throw std::runtime_error("the work to be recorded failed");
  operations_ = operationsIn(record);
}

PowerLosses PowerLosses::withLyingSyncs() const {
  std::vector<DiskOperation> operations = operations_;
  std::erase_if(operations, isSync);
  return {before_, std::move(operations)};
}

std::size_t PowerLosses::syncs() const {
  return static_cast<std::size_t>(std::ranges::count_if(operations_, isSync));
}

std::vector<PowerLosses::Moment> PowerLosses::moments(std::size_t seeds) const {
  if (std::getenv(kPoint) != nullptr) {
    return {{support::numberFrom(kPoint, 0), support::numberFrom(kSeed, 0)}};
  }
  std::vector<Moment> result;
  const std::uint64_t first = support::runSeed(0);
  std::size_t begin = 0;
  for (std::size_t i = 0; i <= operations_.size(); ++i) {
    const bool isLast = i == operations_.size();
    const bool isMark = !isLast && operations_[i].kind == Kind::mark;
    if (!isLast && !isMark && !isSync(operations_[i])) continue;
    const std::size_t end = isMark ? i + 1 : i;
    Chance chance(mixed(first, i));
    for (std::uint64_t seed = first; seed < first + seeds; ++seed) {
      const bool isAtEnd = seed % 2 == 0 || end == begin;
      result.push_back({isAtEnd ? end : begin + below(chance, end - begin), seed});
    }
    begin = end;
  }
  std::ranges::sort(result);
  return result;
}

void PowerLosses::forEach(std::size_t seeds,
                          foundation::FunctionRef<bool(const Loss&)> look) const {
  LosingDisk disk(before_);
  Loss loss;
  bool isNew = true;
  for (const Moment& moment : moments(seeds)) {
    for (; loss.point < moment.point; ++loss.point) {
      const DiskOperation& operation = operations_.at(loss.point);
      disk.apply(operation);
      if (operation.kind == Kind::mark) loss.mark = static_cast<int>(operation.number);
      isNew = true;
    }
    // With nothing to lose every seed comes to the same.
    if (!std::exchange(isNew, false) && disk.isSynced()) continue;
    loss.seed = moment.seed;
    loss.files = disk.afterLoss(mixed(loss.seed, loss.point));
    if (!look(loss)) return;
  }
}

std::string describe(const Loss& loss) {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  const std::string point = std::to_string(loss.point);
  const std::string seed = std::to_string(loss.seed);
  return "power lost after operation " + point + ", seed " + seed + ", mark " +
         (loss.mark ? std::to_string(*loss.mark) : "none") + "; again: " + kPoint + '=' + point +
         ' ' + kSeed + '=' + seed + " PowerLossTests --gtest_filter=" + test->test_suite_name() +
         '.' + test->name();
}

}  // namespace power
