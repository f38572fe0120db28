#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Context/NSManagedObjectContext.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Foundation/Files/Directories.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace support {

/// Where a test migrates a store: a directory of its own with the store, the temporary directory
/// and the container of the application's group in it, and the bundle of `habits`, which carries
/// the mapping models, as the main bundle. In force while it lives; one at a time.
class MigrationPlace {
 public:
  MigrationPlace();
  ~MigrationPlace();
  MigrationPlace(const MigrationPlace&) = delete;
  MigrationPlace& operator=(const MigrationPlace&) = delete;

  [[nodiscard]] const std::filesystem::path& directory() const { return directory_.path(); }
  [[nodiscard]] foundation::URL storeURL() const { return at("Model.sqlite"); }
  [[nodiscard]] foundation::URL at(std::string_view name) const;
  /// The container in which version 6 has its photos. Exists.
  [[nodiscard]] std::filesystem::path container() const { return directory() / "container"; }
  /// Writes a photo's file.
  void addPhotoFile(std::string_view name, std::string_view bytes) const;
  /// The names of what lies in the temporary directory.
  [[nodiscard]] std::vector<std::string> temporaryFiles() const;

 private:
  TemporaryDirectory directory_;
  std::shared_ptr<const foundation::Directories> before_;
};

/// A process whose group has no container, while it lives.
class WithoutContainer {
 public:
  WithoutContainer();
  ~WithoutContainer();
  WithoutContainer(const WithoutContainer&) = delete;
  WithoutContainer& operator=(const WithoutContainer&) = delete;

 private:
  std::string group_;
};

/// A context on a private queue over the store at the URL, which is made when it is missing, of
/// that version of the model; with history tracking, as the application opens it.
[[nodiscard]] foundation::Ref<coredata::NSManagedObjectContext> contextOver(
    const foundation::URL& url, const coredatastack::CoreDataMigrationVersion& version);

/// Works on a store and saves.
template <typename Work>
void edit(const foundation::URL& url, const coredatastack::CoreDataMigrationVersion& version,
          Work&& work) {
  const auto context = contextOver(url, version);
  context->performBlockAndWait([&] {
    work(*context);
    context->save();
  });
}

/// All objects of an entity by ascending key.
[[nodiscard]] std::vector<foundation::Ref<coredata::NSManagedObject>> allObjects(
    coredata::NSManagedObjectContext& context, std::string_view entity);
/// The titles of all activities, by ascending key. All must have one.
[[nodiscard]] std::vector<std::string> titlesOfActivities(
    coredata::NSManagedObjectContext& context);
/// The same of a store of the newest version that is opened for it.
[[nodiscard]] std::vector<std::string> titlesOfActivities(const foundation::URL& store);

}  // namespace support
