#include <fstream>
#include <memory>
#include <stdexcept>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/ChildProcess.h"
#include "Benchmarks/Fixture.h"
#include "Benchmarks/Reading.h"

namespace benchmarks {

namespace {

constexpr double kMilliseconds = 1e3;

std::string rowOf(const CheckinRecord& record) {
  const std::string memo = record.memo ? '"' + *record.memo + '"' : std::string();
  return "Habit " + std::to_string(record.activity) + ',' + record.date.value_or("") + ',' +
         std::to_string(static_cast<int>(record.count)) + ',' + memo + '\n';
}

/// A file of check-ins, as another program might write it, day by day.
class ExportedFile {
 public:
  explicit ExportedFile(const Workload& workload) {
    std::ofstream file(path());
    file << "activity,date,count,memo\n";
    for (int day = 0; day < workload.days; ++day) {
      for (int activity = 1; activity <= workload.activities; ++activity) {
        file << rowOf(checkinOn(activity, day));
      }
    }
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path());
  }

  [[nodiscard]] std::string path() const { return (directory_.path() / "checkins.csv").string(); }

 private:
  support::TemporaryDirectory directory_;
};

/// How long a program takes to import the file into a new store.
template <typename Import>
Cost importing(Import import) {
  return costOf([&] { static_cast<void>(outputOf(import())); }) * kMilliseconds;
}

Run importOurs(const ExportedFile& file) {
  const StoreDirectory directory;
  const Cost cost = importing([&] {
    return std::vector<std::string>{programBeside("habits"), "--store", directory.ourPath(),
                                    "import", file.path()};
  });
  EngineStore store(directory.ourPath(), Durability::full);
  return {cost, sumOfCounts(store)};
}

Run importByHand(const ExportedFile& file) {
  const StoreDirectory directory;
  const Cost cost = importing([&] {
    return std::vector<std::string>{programBeside("benchmark_import_by_hand"),
                                    directory.handWrittenPath(), file.path()};
  });
  HandWrittenStore store(directory.handWrittenPath(), Durability::full);
  return {cost, store.sumOfCounts()};
}

}  // namespace

Comparison importOfAFile() {
  return {"import of a file", "ms", 1.5, 9, Clock::elapsed, [](const Workload& workload) {
            const auto file = std::make_shared<const ExportedFile>(workload);
            return Sides{[=] { return importOurs(*file); }, [=] { return importByHand(*file); }};
          }};
}

}  // namespace benchmarks
