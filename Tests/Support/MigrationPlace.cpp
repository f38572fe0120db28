#include "Tests/Support/MigrationPlace.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "CoreDataStack/PhotoDirectories.h"
#include "Foundation/Files/Bundle.h"
#include "Foundation/Files/FileManager.h"
#include "Tests/Support/StoreDump.h"

namespace support {

using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using foundation::Bundle;
using foundation::FileManager;
using foundation::Ref;
using foundation::URL;

namespace {
constexpr std::string_view kProgramBundle = "com.tessaline.habits";
constexpr std::string_view kGroupWithoutContainer = "group.com.tessaline.nobody";
}  // namespace

MigrationPlace::MigrationPlace() : before_(foundation::Directories::current()) {
  foundation::Directories::set(
      foundation::Directories::below((directory() / "homes").string(), "com.tessaline.test"));
  std::filesystem::create_directories(container());
  FileManager::defaultManager().registerApplicationGroup(coredatastack::appGroupIdentifier(),
                                                         URL::fileURL(container().string() + "/"));
  auto program = Bundle::withIdentifier(kProgramBundle);
  if (!program) throw std::runtime_error("the bundle of the program was not built");
  Bundle::setMain(*std::move(program));
}

MigrationPlace::~MigrationPlace() { foundation::Directories::set(*before_); }

WithoutContainer::WithoutContainer() : group_(coredatastack::appGroupIdentifier()) {
  coredatastack::setAppGroupIdentifier(std::string(kGroupWithoutContainer));
}

WithoutContainer::~WithoutContainer() { coredatastack::setAppGroupIdentifier(group_); }

URL MigrationPlace::at(std::string_view name) const {
  return URL::fileURL((directory() / name).string());
}

void MigrationPlace::addPhotoFile(std::string_view name, std::string_view bytes) const {
  const auto path = container() / coredatastack::kPhotoDirectory / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

std::vector<std::string> MigrationPlace::temporaryFiles() const {
  const FileManager& files = FileManager::defaultManager();
  std::vector<std::string> names;
  for (const URL& entry : files.contentsOfDirectory(files.temporaryDirectory())) {
    names.push_back(entry.lastPathComponent());
  }
  return names;
}

Ref<NSManagedObjectContext> contextOver(const URL& url,
                                        const coredatastack::CoreDataMigrationVersion& version) {
  return contextOver(url, coredatastack::model(version.rawValue()));
}

std::vector<Ref<NSManagedObject>> allObjects(NSManagedObjectContext& context,
                                             std::string_view entity) {
  std::vector<Ref<NSManagedObject>> objects;
  for (const auto& object : context.fetch(coredata::NSFetchRequest<NSManagedObject>(entity))) {
    objects.push_back(object);
  }
  return objects;
}

std::vector<std::string> titlesOfActivities(NSManagedObjectContext& context) {
  std::vector<std::string> titles;
  for (const auto& activity : allObjects(context, "Activity")) {
    titles.push_back(*activity->valueForKey("title").text());
  }
  return titles;
}

std::vector<std::string> titlesOfActivities(const URL& store) {
  const auto context = contextOver(store, coredatastack::CoreDataMigrationVersion::newest());
  return context->performBlockAndWait([&] { return titlesOfActivities(*context); });
}

}  // namespace support
