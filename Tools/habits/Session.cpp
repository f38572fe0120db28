#include "Tools/habits/Session.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "CoreDataStack/BuildIdentifiers.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/Directories.h"
#include "Foundation/Files/FileManager.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Migration/OldStore.h"
#include "Tools/habits/StackSetup.h"

namespace habits {

using coredata::NSManagedObjectModel;
using coredatastack::CoreDataConfiguration;
using coredatastack::CoreDataStack;
using foundation::Bundle;
using foundation::Ref;
using foundation::URL;

namespace {

constexpr const char* kApplication = "com.tessaline.habits";
constexpr const char* kModelName = "Model";
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

/// Before the store is opened.
void stopFollowing(coredata::NSPersistentContainer& container) {
  auto descriptions = container.persistentStoreDescriptions();
  for (auto& description : descriptions) {
    description.setOption(false, coredata::NSPersistentStoreRemoteChangeNotificationPostOptionKey);
  }
  container.setPersistentStoreDescriptions(std::move(descriptions));
}

bool needsMigration(CoreDataStack& stack, Complaints& complaints) {
  // Opening a store that cannot be read tells why, and makes one that is missing.
  const Complaints::Silence silence(complaints);
  return stack.needMigration();
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

CoreDataConfiguration configurationOf(const std::string& path, const std::string& author) {
  return {CoreDataConfiguration::Stage::production,
          kModelName,
          coredatastack::modelBundleIdentifier(),
          "",
          coredatastack::appGroupIdentifier(),
          author,
          URL::fileURL(path),
          false};
}

Ref<CoreDataStack> stackOver(const std::string& path, const Role& role) {
  // The stack would stop the process over a model that is not there.
  static_cast<void>(newestModel());
  auto stack = foundation::make<CoreDataStack>(configurationOf(path, role.author), role.complaints);
  // The context's author tells others' transactions from this program's, which a follower may hear
  // of as soon as the store is open.
  static_cast<void>(stack->managedObjectContext());
  if (!role.follows) stopFollowing(*stack->persistentContainer());
  return stack;
}

Session::Session(const std::string& path, bool mayMigrate, const Role& role)
    : stack_(stackOver(path, role)) {
  if (needsMigration(*stack_, *role.complaints)) {
    bringForwardWithConsent(*stack_, path, mayMigrate);
  } else {
    setUp(*stack_);
  }
}

}  // namespace habits
