#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Foundation/Values/Error.h"
#include "Foundation/Values/FunctionRef.h"
#include "Tests/Reliability/Workloads/Workload.h"
#include "Tests/Support/Scene.h"

namespace reliability {

/// How a store keeps what is being written, and whether a save waits for the disk to confirm it.
struct StoreMode {
  std::string name;
  /// Values of SQLite's pragmas.
  std::string journalMode;
  std::string synchronous;

  friend std::ostream& operator<<(std::ostream& stream, const StoreMode& mode) {
    return stream << mode.name;
  }
};
/// As the application has it.
inline const StoreMode kLogged{"Logged", "WAL", "FULL"};
/// A log whose commits nobody waits for.
inline const StoreMode kUnconfirmed{"Unconfirmed", "WAL", "NORMAL"};
/// With a rollback journal.
inline const StoreMode kJournalled{"Journalled", "DELETE", "FULL"};

/// A context on a private queue over the store, which is made when it is missing, with the history
/// on.
[[nodiscard]] foundation::Ref<coredata::NSManagedObjectContext> contextOver(
    const foundation::URL& store, const StoreMode& mode);

/// A store on which a workload is done again and again, each time from the same files, and which
/// knows what the store holds after each of its saves when nothing disturbs them.
class WorkedStore {
 public:
  WorkedStore(const Workload& workload, const StoreMode& mode);

  // In a child: nothing of the engine may have run in the process that has the scene.

  /// Opens the store and works, calling `saved` with the number of each save that returned: 0 after
  /// the opening. Throws what the engine throws.
  void work(foundation::FunctionRef<void(int)> saved, int saves = kSaves) const;

  /// What becomes of a save that failed.
  enum class Sequel : std::uint8_t {
    again,  ///< the context drops its changes, and the save is made once more
    next,   ///< the save is in the store all the same; the context forgets what it knew
  };
  /// Works to the end, in the same context of the same stack, whatever fails on the way: `failed`
  /// is called with the number of the save, 0 for the opening, and mends the disk. Throws what
  /// fails then.
  void persevere(foundation::FunctionRef<void(int)> saved,
                 foundation::FunctionRef<Sequel(int, const foundation::Error&)> failed) const;

  // In the process that has the scene.

  /// Puts the files back as they are before the work.
  void lay() const { scene_.lay(); }
  [[nodiscard]] std::filesystem::path path() const;
  [[nodiscard]] const support::Scene& scene() const noexcept { return scene_; }

  /// After how many saves the store holds exactly what it does now, in every row, its history
  /// included; nothing when that is after none of them. Looks at a copy, as the next process to
  /// open it would find it. Throws when it is damaged.
  [[nodiscard]] std::optional<int> savesIn() const { return savesIn(path()); }
  /// The same of a store elsewhere.
  [[nodiscard]] std::optional<int> savesIn(const std::filesystem::path& store) const;

  /// Whether the engine opens the store and saves once more, in a child.
  [[nodiscard]] bool goesOn() const;

 private:
  void makeStore() const;
  [[nodiscard]] foundation::Ref<coredata::NSManagedObjectContext> opened() const;
  void save(const foundation::Ref<coredata::NSManagedObjectContext>& context, int number) const;

  support::Scene scene_;
  Workload workload_;
  StoreMode mode_;
  /// What the store holds after 0, 1, ... saves.
  std::vector<std::string> states_;
};

}  // namespace reliability
