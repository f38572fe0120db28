#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Tests/Support/FileFaults.h"
#include "Tests/Support/Scene.h"

namespace migrating {

using coredatastack::CoreDataMigrationVersion;

using support::FileOperationCount;
using support::Files;
using support::FileTrouble;
using support::Scene;

/// A seeded store of an old version with its photos' files, and what it is to become.
class OldStore {
 public:
  struct Options {
    CoreDataMigrationVersion version = CoreDataMigrationVersion::version1;
    std::string_view name = "Model.sqlite";
    std::uint64_t seed = 1;
    /// Whether its writer was killed with saves in the log.
    bool hasLog = false;
  };
  OldStore(const Scene& scene, const Options& options);

  // In a child.

  /// Brings the store forward. Two runs make the same store: clock and random source are fixed.
  void migrate() const;
  /// The same as a start of the application does it, in a temporary directory emptied before.
  void start() const;

  // In the process that has the scene.

  /// Migrates undisturbed, and remembers the outcome.
  void learn();
  [[nodiscard]] FileOperationCount countOperations(const FileTrouble& trouble) const;
  /// Whether the next start succeeds.
  [[nodiscard]] bool starts() const;

  enum class State : std::uint8_t {
    old,      ///< what it was
    brought,  ///< what the undisturbed migration makes of it
    neither,
  };
  [[nodiscard]] State state() const;
  /// Whether it was brought forward without its widgets: an error with them alone is printed and
  /// forgotten, since they can be arranged anew.
  [[nodiscard]] bool wentOnWithoutWidgets() const;
  /// Whether its file is what it was to the byte. The log of a killed writer may have been folded
  /// into it.
  [[nodiscard]] bool isSameFile() const;
  /// Whether each photo's file is in its directory or set aside, as it was.
  [[nodiscard]] bool photosAreInFiles() const;

  [[nodiscard]] std::filesystem::path path() const;
  [[nodiscard]] foundation::URL url() const { return scene_.place().at(options_.name); }
  [[nodiscard]] const CoreDataMigrationVersion& version() const { return options_.version; }

 private:
  void make() const;

  const Scene& scene_;
  Options options_;
  std::string oldBytes_;
  std::string old_;
  std::string brought_;
  /// The photos' files, by their paths in the container.
  Files photos_;
};

/// A scene with one store, and what lies there once it was brought forward.
class LoneStore {
 public:
  explicit LoneStore(const OldStore::Options& options);
  /// The store brought forward, and nothing left of the way there.
  void expectFinished(std::string_view when) const;

  Scene scene;
  OldStore store;

 private:
  std::set<std::string> finished_;
};

}  // namespace migrating
