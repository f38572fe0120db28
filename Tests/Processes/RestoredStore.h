#pragma once

#include <set>
#include <string>
#include <vector>

#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Values/Data.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/FileFaults.h"
#include "Tests/Support/Scene.h"

namespace restoring {

using Version = coredatastack::CoreDataMigrationVersion;

/// A live store of the newest version whose last writer was killed, so that its log is not folded,
/// and a backup that is to take its place while another process has it open.
class RestoredStore {
 public:
  /// The backup's version. One of an old version has its photos in files, which lie in the
  /// container.
  explicit RestoredStore(const Version& backup);

  // In a child.

  /// What a restore came to.
  struct Ending {
    /// The error that its completion got; empty without one.
    std::string error;
    /// What the logger was told.
    std::vector<std::string> logged;
  };
  /// Restores, with trouble at a point, or with little room, if any. Two runs do the same: clock
  /// and random source are fixed.
  [[nodiscard]] Ending restore(const support::FileTrouble& trouble = {}, std::size_t point = 0,
                               const support::FileOperationCount& of = {}) const;

  /// What the next start of the application does.
  void start() const;

  // In the process that has the scene.

  [[nodiscard]] support::FileOperationCount countOperations(
      const support::FileTrouble& trouble) const;
  /// Whether the application's next start succeeds.
  [[nodiscard]] bool starts() const;
  /// Whether a restore succeeds that nobody disturbs.
  [[nodiscard]] bool restores() const;

  enum class State : std::uint8_t {
    old,        ///< what it was
    unbrought,  ///< what the backup holds, in its old version
    restored,   ///< what the backup holds
    neither,
  };
  [[nodiscard]] State state() const;
  void lay() const { scene_.lay(); }
  [[nodiscard]] const support::Scene& scene() const noexcept { return scene_; }
  /// What lies in the store's directory that is not there after an undisturbed start of the store
  /// in this state, but for the file of a claim that died: it is nobody's. A restore's temporary
  /// file, and the copy that it keeps, are where temporary files are.
  [[nodiscard]] std::set<std::string> leftovers(State state) const;
  /// The same after trouble: what was on its way into the store is the next replacement's to
  /// remove.
  [[nodiscard]] std::set<std::string> strangeLeftovers(State state) const;
  /// Whether the temporary directory holds a copy of the old store.
  [[nodiscard]] bool keepsCopy() const;

 private:
  void makeStore() const;
  void makeBackup(const Version& version);
  [[nodiscard]] std::set<std::string> names() const;
  [[nodiscard]] std::filesystem::path path() const;
  [[nodiscard]] std::string rows(const std::filesystem::path& store) const;

  support::Scene scene_;
  Version version_;
  foundation::Data backup_;
  std::string old_;
  std::string unbrought_;
  std::string restored_;
  std::set<std::string> oldNames_;
  std::set<std::string> restoredNames_;
};

}  // namespace restoring
