#include "Benchmarks/OldStores.h"

#include <fcntl.h>

#include <stdexcept>

#include "Benchmarks/HandWrittenStore.h"
#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/MurtelleMigrationPolicyV6toV7.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "CoreDataStack/PhotoDirectories.h"
#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Tools/storegen/SeededStore.h"

namespace benchmarks {

using coredata::NSFetchRequest;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredatastack::CoreDataMigrationVersion;
using foundation::URL;

namespace {

void requireSynced(const std::filesystem::path& path) {
  const auto file = foundation::FileDescriptor::open(AT_FDCWD, path.c_str(), O_RDONLY);
  if (file && foundation::FileSystem::current().sync(file->get())) return;
  throw std::runtime_error("cannot sync " + path.string());
}

void copyToDisk(const std::filesystem::path& from, const std::filesystem::path& to) {
  std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
  requireSynced(to);
}

void fill(const OldStores& stores, const CoreDataMigrationVersion& version,
          const storegen::SeededContent& content) {
  storegen::makeSeededStore(stores.ours().string(), coredatastack::model(version.rawValue()),
                            content);
}

/// What is found in a store of the newest version.
template <typename F>
std::int64_t answerFrom(const URL& store, F&& ask) {
  const auto context = support::contextOver(store, CoreDataMigrationVersion::newest());
  return context->performBlockAndWait([&] { return ask(*context); });
}

std::int64_t checkinsIn(NSManagedObjectContext& context) {
  NSFetchRequest<NSManagedObject> request("Checkin");
  const std::int64_t all = context.count(request);
  request.setPredicate(foundation::NSPredicate::format("memo != nil"));
  return all + context.count(request);
}

/// Each photo is forgotten before the next is read.
std::int64_t bytesOfPhotos(NSManagedObjectContext& context) {
  NSFetchRequest<NSManagedObject> request("Photo");
  request.setIncludesPropertyValues(false);
  std::int64_t sum = 0;
  for (const auto& photo : context.fetch(request)) {
    const foundation::Value value = photo->valueForKey("data");
    if (value.data() != nullptr) sum += static_cast<std::int64_t>(value.data()->size());
    context.refresh(*photo, false);
  }
  return sum;
}

std::int64_t numberIn(const std::filesystem::path& path, const char* sql) {
  const Database database = openDatabase(path.string());
  PreparedStatement statement(database.get(), sql);
  return statement.step() ? statement.integer(0) : 0;
}

}  // namespace

void OldStores::fillWithCheckins(const Workload& workload) const {
  storegen::SeededContent content;
  content.activities = static_cast<std::size_t>(workload.activities);
  content.days = static_cast<std::size_t>(workload.checkinsInMemory / workload.activities);
  content.photos = 0;
  fill(*this, CoreDataMigrationVersion::version1, content);
  StepsByHand().fill(byHand().string(), ours().string());
}

void OldStores::fillWithPhotos(const Workload& workload) const {
  storegen::SeededContent content;
  content.photos = workload.photoFiles;
  content.photoBytes = workload.photoFileBytes;
  content.container = container().string();
  fill(*this, CoreDataMigrationVersion::version6, content);
}

std::filesystem::path OldStores::photos() const {
  return container() / coredatastack::kPhotoDirectory;
}

Migrations::Migrations(OldStores stores) : stores_(std::move(stores)) {
  coredatastack::MurtelleMigrationPolicyV6toV7::registerClass();
}

Run Migrations::steps() {
  const URL url = place_.storeURL();
  copyToDisk(stores_.ours(), *url.filePath());
  const Cost cost = costOf([&] {
    coredatastack::CoreDataMigrator().migrateStore(url, CoreDataMigrationVersion::newest());
  });
  return {cost, answerFrom(url, checkinsIn)};
}

Run Migrations::stepsByHand() {
  const auto path = place_.directory() / "by-hand.sqlite";
  copyToDisk(stores_.byHand(), path);
  const Cost cost = costOf([&] { steps_.run(path.string()); });
  return {cost, numberIn(path, "SELECT count(*) + count(memo) FROM Checkin")};
}

Run Migrations::photos() {
  linkPhotos();
  const URL from = place_.storeURL();
  const URL to = place_.at("next.sqlite");
  copyToDisk(stores_.ours(), *from.filePath());
  std::filesystem::remove(*to.filePath());
  const Cost cost = costOf([&] {
    const coredatastack::CoreDataMigrationStep step(CoreDataMigrationVersion::version6,
                                                    CoreDataMigrationVersion::version7);
    foundation::make<coredata::NSMigrationManager>(step.sourceModel, step.destinationModel)
        ->migrateStore(from, coredata::NSSQLiteStoreType, {}, step.mappingModel, to,
                       coredata::NSSQLiteStoreType, {});
    requireSynced(*to.filePath());
  });
  return {cost, answerFrom(to, bytesOfPhotos)};
}

Run Migrations::photosByHand() {
  const auto path = place_.directory() / "photos.sqlite";
  std::filesystem::remove(path);
  const Cost cost = costOf([&] { copyFilesByHand(stores_.photos().string(), path.string()); });
  return {cost, numberIn(path, "SELECT sum(length(data)) FROM Photo")};
}

void Migrations::linkPhotos() const {
  std::filesystem::remove_all(place_.container());
  const auto to = place_.container() / coredatastack::kPhotoDirectory;
  std::filesystem::create_directories(to);
  for (const auto& file : std::filesystem::directory_iterator(stores_.photos())) {
    std::filesystem::create_hard_link(file.path(), to / file.path().filename());
  }
}

}  // namespace benchmarks
