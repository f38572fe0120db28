#include "Tests/Golden/OldGoldenStore.h"

#include <regex>

#include "CoreDataStack/CoreDataMigrator.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreDump.h"

namespace golden {

namespace fs = std::filesystem;

using coredatastack::CoreDataMigrationVersion;
using foundation::URL;

namespace {

std::string nameOf(const CoreDataMigrationVersion& version) {
  return std::string(version.rawValue());
}

std::string dump(const URL& store, const CoreDataMigrationVersion& version) {
  const auto context = support::contextOver(store, version);
  return context->performBlockAndWait([&] { return support::dumpOf(*context); });
}

/// Gives each photo of the store a file, whose bytes are its name's.
void addPhotoFiles(const support::MigrationPlace& place, const CoreDataMigrationVersion& version) {
  const auto context = support::contextOver(place.storeURL(), version);
  const auto* const photo = context->entity("Photo");
  if (photo == nullptr) return;
  context->performBlockAndWait([&] {
    for (const auto& object : support::allObjects(*context, photo->name())) {
      const std::string name = *object->valueForKey("filename").text();
      place.addPhotoFile(name, name);
    }
  });
}

}  // namespace

std::span<const CoreDataMigrationVersion> oldVersions() {
  const auto all = CoreDataMigrationVersion::allCases();
  return all.first(all.size() - 1);
}

std::string storeName(const CoreDataMigrationVersion& version) {
  return nameOf(version) + ".sqlite";
}
std::string contentName(const CoreDataMigrationVersion& version) {
  return nameOf(version) + ".txt";
}
std::string migratedName(const CoreDataMigrationVersion& version) {
  return nameOf(version) + " migrated.txt";
}

std::string contentOf(const fs::path& store, const CoreDataMigrationVersion& version) {
  const support::MigrationPlace place;
  fs::copy_file(store, *place.storeURL().filePath());
  return dump(place.storeURL(), version);
}

std::string migratedContentOf(const fs::path& store, const CoreDataMigrationVersion& version) {
  const support::MigrationPlace place;
  fs::copy_file(store, *place.storeURL().filePath());
  addPhotoFiles(place, version);
  coredatastack::CoreDataMigrator().migrateStore(place.storeURL(),
                                                 CoreDataMigrationVersion::newest());
  static const std::regex kIdentifier("uuid: [0-9A-F-]{36}");
  return std::regex_replace(dump(place.storeURL(), CoreDataMigrationVersion::newest()), kIdentifier,
                            "uuid: drawn");
}

}  // namespace golden
