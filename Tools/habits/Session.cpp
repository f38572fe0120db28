#include "Tools/habits/Session.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/LeftoverPhotos.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/Directories.h"
#include "Foundation/Files/FileManager.h"
#include "Tools/habits/Failures.h"

namespace habits {

using coredata::NSManagedObjectModel;
using coredata::NSPersistentContainer;
using coredata::NSPersistentStoreDescription;
using foundation::Bundle;
using foundation::Error;
using foundation::Ref;
using foundation::URL;

namespace {

constexpr const char* kApplication = "com.tessaline.habits";
constexpr const char* kModelName = "Model";
constexpr const char* kAuthor = "habits";
constexpr mode_t kForTheUserAlone = 0700;

/// The user's data directory of this program, made on first use.
std::string userDirectory() {
  const std::filesystem::path directory = foundation::Directories::current()->dataDirectory();
  std::error_code failure;
  std::filesystem::create_directories(directory.parent_path(), failure);
  if (!failure && mkdir(directory.c_str(), kForTheUserAlone) != 0 && errno != EEXIST) {
    failure.assign(errno, std::generic_category());
  }
  if (failure) {
    throw std::runtime_error("The directory " + directory.string() + " cannot be made: " +
                             failure.message() + ".\nName a file in another one with --store.");
  }
  return directory.string();
}

Ref<NSPersistentContainer> opened(const std::string& path) {
  auto container = foundation::make<NSPersistentContainer>(kModelName, newestModel());
  NSPersistentStoreDescription description(URL::fileURL(path));
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  container->setPersistentStoreDescriptions({std::move(description)});
  container->loadPersistentStores([](const auto&, const std::optional<Error>& error) {
    if (error) throw Error(*error);
  });
  coredatastack::discardLeftoverPhotos(URL::fileURL(path));
  return container;
}

}  // namespace

void setUpDirectories() {
  foundation::Directories::set(foundation::Directories::ofUser(kApplication));
  foundation::FileManager::defaultManager().registerApplicationGroup(
      coredatastack::appGroupIdentifier());
}

Ref<const NSManagedObjectModel> newestModel() {
  std::string why = "its bundle is missing";
  if (const auto bundle = Bundle::withIdentifier(coredatastack::modelBundleIdentifier())) {
    if (const auto url = bundle->url(kModelName, "momd")) {
      if (auto found = NSManagedObjectModel::contentsOf(*url, &why)) return found;
    }
  }
  throw std::runtime_error("The program is not installed completely: no model of its store, " +
                           why + ". Install it again.");
}

std::string storePath(const std::optional<std::string>& named) {
  if (!named) return userDirectory() + "/Model.sqlite";
  if (named->empty()) throw UsageError("--store needs the name of a file.");
  return std::filesystem::absolute(*named).string();
}

Session::Session(const std::string& path) : container_(opened(path)) {
  context().setMergePolicy(coredata::NSMergeByPropertyObjectTrumpMergePolicy);
  context().setTransactionAuthor(kAuthor);
}

}  // namespace habits
