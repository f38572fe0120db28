#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "CoreDataStack/Stack/BackupRestore.h"
#include "Fuzz/Support/ByteEdits.h"
#include "Fuzz/Support/CommittedLog.h"
#include "Fuzz/Support/MemoryFiles.h"
#include "Fuzz/Support/SeedStore.h"
#include "Fuzz/Support/Tolerance.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/RecordingLogger.h"
#include "Tests/Support/StoreFiles.h"
#include "Tools/storecheck/StoreCheck.h"

// input := version:u8 edits           a backup of a version of ours, changed
//        | "SQLite format 3" byte*    the backup itself

namespace {

namespace fs = std::filesystem;
using coredatastack::BackupRestore;
using coredatastack::CoreDataMigrationVersion;
using foundation::Data;

constexpr std::size_t kLongestInput = std::size_t{512} * 1024;

/// The backups of every version, and the files that restoring them finds.
class Scene {
 public:
  Scene() {
    for (const auto& version : CoreDataMigrationVersion::allCases())
      backups_.push_back(fuzz::seedStore(version, place_.container().string()));
    files_ = support::filesIn(place_.directory());
    files_["Model.sqlite"] = live_.store();
    files_["Model.sqlite-wal"] = live_.log();
  }

  [[nodiscard]] const support::MigrationPlace& place() const noexcept { return place_; }
  /// That of some version, the same for the same number.
  [[nodiscard]] const std::string& backup(std::size_t number) const {
    return backups_[number % backups_.size()];
  }
  /// What the live store holds, to its last commit, which is in its log.
  [[nodiscard]] const std::string& liveContent() const {
    return live_.contentBehind(live_.log().size());
  }
  void lay() const {
    support::putFiles(files_, place_.directory());
    fs::create_directories(place_.container());
  }

 private:
  support::MigrationPlace place_;
  fuzz::CommittedLog live_;
  std::vector<std::string> backups_;
  support::Files files_;
};

const Scene& scene() {
  static const Scene scene;
  return scene;
}

/// Of the newest version, with every page, table and row in order. What its rows say of each other
/// is what the backup said.
void requireWhole() {
  using storecheck::FindingKind;
  const auto report = storecheck::check(scene().place().storeURL());
  fuzz::require(report.version == CoreDataMigrationVersion::newest().rawValue());
  for (const FindingKind kind :
       {FindingKind::integrity, FindingKind::unreadable, FindingKind::schema}) {
    fuzz::require(report.findings.count(kind) == 0);
  }
}

void restore(const std::string& backup) {
  scene().lay();
  const auto logger = foundation::make<support::RecordingLogger>();
  coredatastack::CoreDataMigrator migrator;
  const BackupRestore work(
      migrator, coredatastack::model(CoreDataMigrationVersion::newest().rawValue()), logger);
  const foundation::URL store = scene().place().storeURL();
  const bool isRestored = fuzz::unlessRefused([&] { work.run(Data::fromText(backup), store); });
  // Nothing went wrong that only a log would tell.
  fuzz::require(logger->descriptions().empty());
  if (isRestored) requireWhole();
  const std::string content = fuzz::contentOf(store);
  fuzz::require(isRestored || content == scene().liveContent());
}

}  // namespace

/// A backup is refused and the live store is what it was, or it becomes a store of the newest
/// version.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  fuzz::keepFilesInMemory();
  const std::string_view whole(reinterpret_cast<const char*>(data), size);
  if (whole.starts_with(fuzz::kDatabaseBegins)) {
    restore(std::string(whole));
    return 0;
  }
  fuzz::Input input(data, size);
  std::string backup = scene().backup(input.byte());
  fuzz::applyEdits(input, backup);
  restore(backup);
  return 0;
}
