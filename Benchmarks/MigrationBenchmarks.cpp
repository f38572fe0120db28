#include <limits>
#include <memory>
#include <string>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/ChildProcess.h"
#include "Benchmarks/OldStores.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace benchmarks {

namespace {

constexpr double kMilliseconds = 1e3;
constexpr double kNoTarget = std::numeric_limits<double>::infinity();
/// A process that migrates is an application about to show its first screen.
constexpr double kMostMemoryOfSteps = 128;
constexpr double kMostMemoryOfPhotos = 300;

using Filling = void (OldStores::*)(const Workload&) const;

/// Old stores in a directory that lasts as long as they do.
class TemporaryOldStores {
 public:
  TemporaryOldStores(Filling fill, const Workload& workload) : stores_(directory_.path()) {
    (stores_.*fill)(workload);
  }
  [[nodiscard]] const OldStores& stores() const { return stores_; }
  [[nodiscard]] std::string path() const { return directory_.path().string(); }

 private:
  support::TemporaryDirectory directory_;
  OldStores stores_;
};

class TimedMigrations : private TemporaryOldStores, public Migrations {
 public:
  TimedMigrations(Filling fill, const Workload& workload)
      : TemporaryOldStores(fill, workload), Migrations(stores()) {}
};

using Operation = Run (Migrations::*)();

Sides timed(Filling fill, const Workload& workload, Operation ours, Operation byHand) {
  const auto migrations = std::make_shared<TimedMigrations>(fill, workload);
  const auto run = [migrations](Operation operation) {
    const Run seconds = (*migrations.*operation)();
    return Run{seconds.cost * kMilliseconds, seconds.answer};
  };
  return {[=] { return run(ours); }, [=] { return run(byHand); }};
}

Sides weighed(Filling fill, const Workload& workload, const std::string& operation) {
  const auto stores = std::make_shared<TemporaryOldStores>(fill, workload);
  const auto run = [stores](const std::string& name) {
    return runPrintedBy({programBeside("benchmark_migration"), name, stores->path()});
  };
  return {[=] { return run(operation); }, [=] { return run(operation + "-by-hand"); }};
}

}  // namespace

Comparison sixSteps() {
  return {"six steps of a million", "ms", 0.7, 5, Clock::elapsed, [](const Workload& workload) {
            return timed(&OldStores::fillWithCheckins, workload, &Migrations::steps,
                         &Migrations::stepsByHand);
          }};
}

Comparison memoryOfSixSteps() {
  return {"memory of six steps",
          "MiB",
          kNoTarget,
          3,
          Clock::processor,
          [](const Workload& workload) {
            return weighed(&OldStores::fillWithCheckins, workload, "steps");
          },
          kMostMemoryOfSteps};
}

Comparison foldingOfPhotos() {
  return {"folding of photos", "ms", 1.5, 5, Clock::elapsed, [](const Workload& workload) {
            return timed(&OldStores::fillWithPhotos, workload, &Migrations::photos,
                         &Migrations::photosByHand);
          }};
}

Comparison memoryOfFolding() {
  return {"memory of folding",
          "MiB",
          kNoTarget,
          3,
          Clock::processor,
          [](const Workload& workload) {
            return weighed(&OldStores::fillWithPhotos, workload, "photos");
          },
          kMostMemoryOfPhotos};
}

}  // namespace benchmarks
