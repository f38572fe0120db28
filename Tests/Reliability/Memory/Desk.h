#pragma once

#include <functional>
#include <string>
#include <vector>

#include "CoreDataStack/Model/CDActivity.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/Reliability/Memory/Sweep.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/StoreFiles.h"
#include "Tests/Support/TemporaryStore.h"

namespace shortage {

/// A diary's files: two activities, "Read" with two check-ins and "Run" with one. Made once.
[[nodiscard]] const support::Files& diaryFiles();

/// Opens the diary in that directory, or makes an empty one.
[[nodiscard]] foundation::Ref<coredata::NSPersistentContainer> openedIn(
    const std::filesystem::path& directory);
[[nodiscard]] std::filesystem::path storeIn(const std::filesystem::path& directory);

/// What a diary holds as a reader who knows nothing of it finds it: of each entity how many, and of
/// each activity, by its title, the days and what is left of its companions.
[[nodiscard]] std::string outlineOf(const coredata::NSPersistentContainer& container);

/// Expects a store that nobody has open to be sound.
void expectSound(const std::filesystem::path& store);

/// A diary of its own, open, with a context to work in.
class Desk {
 public:
  Desk();

  [[nodiscard]] const std::filesystem::path& directory() const { return directory_.path(); }
  [[nodiscard]] coredata::NSPersistentContainer& container() const { return *container_; }
  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return *context_; }
  [[nodiscard]] const foundation::Ref<coredata::NSManagedObjectContext>& contextHandle() const {
    return context_;
  }
  /// In the context's turn.
  [[nodiscard]] foundation::Ref<coredatastack::CDActivity> activity(std::string_view title) const;
  /// Closes everything.
  void close();

  /// What an operation wants to keep for later.
  std::vector<foundation::Ref<foundation::Object>> kept;

 private:
  support::ScopedSettings settings_{"en_US", "Asia/Seoul"};
  foundation::ManualClock clock_{700'000'000};
  support::TemporaryDirectory directory_;
  foundation::Ref<coredata::NSPersistentContainer> container_;
  foundation::Ref<coredata::NSManagedObjectContext> context_;
};

/// Something that is done at a desk, in the context's turn.
struct DeskWork {
  /// With memory enough.
  std::function<void(Desk&)> prepare = [](Desk&) {};
  std::function<void(Desk&)> act;
  /// When the work threw: does it again. Expected not to throw.
  std::function<void(Desk&)> repeat = [](Desk& desk) { desk.context().rollback(); };
  /// When it was done, at once or again.
  std::function<void(Desk&)> check = [](Desk&) {};
  /// Whether what a diary holds is another thing once the work is done.
  bool writes = false;
};

/// An operation that must leave the diary as it was or as it is meant to be, and the context fit
/// for another save.
[[nodiscard]] Operation deskOperation(std::string name, DeskWork work);

}  // namespace shortage
