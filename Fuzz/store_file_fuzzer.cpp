#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "CoreData/Fetching/NSBatchDeleteRequest.h"
#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreData/History/NSPersistentHistoryResult.h"
#include "CoreData/SQLite/SQLiteStore.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Fuzz/Support/ByteEdits.h"
#include "Fuzz/Support/MemoryFiles.h"
#include "Fuzz/Support/SeedStore.h"
#include "Fuzz/Support/Tolerance.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreDump.h"
#include "Tests/Support/StoreFiles.h"
#include "Tools/salvage/Salvage.h"
#include "Tools/storecheck/StoreCheck.h"

// input := edits operation*            a store of the newest version, changed
//        | "SQLite format 3" byte*     the store itself, with which everything is done once
// operation := u8                      modulo their number

namespace {

using coredata::NSFetchRequest;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::NSPersistentHistoryChangeRequest;
using coredatastack::CoreDataMigrationVersion;
using foundation::Ref;
using foundation::URL;
using fuzz::unlessRefused;

constexpr std::size_t kLongestInput = std::size_t{512} * 1024;
constexpr std::size_t kMostOperations = 16;
constexpr std::string_view kName = "Model.sqlite";

enum class Operation : std::uint8_t {
  readMetadata,
  look,
  salvage,
  readAll,
  search,
  add,
  change,
  remove,
  erase,
  readHistory,
  pruneHistory,
  reopen,
};
constexpr std::uint8_t kOperations = 12;

const support::TemporaryDirectory& directory() {
  static const support::TemporaryDirectory directory;
  return directory;
}
URL storeURL() { return URL::fileURL((directory().path() / kName).string()); }

const std::string& wholeStore() {
  static const std::string bytes = fuzz::seedStore(CoreDataMigrationVersion::newest());
  return bytes;
}

/// None when it is refused.
std::optional<storecheck::Report> look() {
  std::optional<storecheck::Report> report;
  unlessRefused([&] { report = storecheck::check(storeURL()); });
  return report;
}

bool isSound() {
  const auto report = look();
  return report && report->isSound();
}

/// Whatever is salvaged is sound.
void salvageStore() {
  const support::TemporaryDirectory aside;
  const URL out = URL::fileURL((aside.path() / kName).string());
  const bool isMade =
      unlessRefused([&] { static_cast<void>(salvage::salvageStore(storeURL(), out)); });
  if (isMade) fuzz::require(storecheck::check(out).isSound());
}

/// What an application does with its store, which it opens when it first needs it.
class Application {
 public:
  void run(Operation operation) {
    unlessRefused([&] {
      if (!context_)
        context_ = support::contextOver(storeURL(), CoreDataMigrationVersion::newest());
      context_->performBlockAndWait([&] {
        const bool isDone = unlessRefused([&] { work(*context_, operation); });
        if (!isDone) context_->rollback();
      });
    });
  }
  void close() { context_ = nullptr; }

 private:
  static void work(NSManagedObjectContext& context, Operation operation);

  Ref<NSManagedObjectContext> context_;
};

void setAllTitles(NSManagedObjectContext& context) {
  for (const auto& activity : support::allObjects(context, "Activity"))
    activity->setValue("changed", "title");
  context.save();
}

void removeFirst(NSManagedObjectContext& context) {
  const auto activities = support::allObjects(context, "Activity");
  if (!activities.empty()) context.delete_(activities.front());
  context.save();
}

void search(NSManagedObjectContext& context) {
  NSFetchRequest<NSManagedObject> request("Activity");
  request.setPredicate(foundation::NSPredicate::format(
      "title CONTAINS[c] %@ OR ANY checkins.date BEGINSWITH %@", "a", "20"));
  static_cast<void>(context.fetch(request));
  static_cast<void>(context.count(request));
}

void Application::work(NSManagedObjectContext& context, Operation operation) {
  switch (operation) {
    case Operation::readAll:
      static_cast<void>(support::dumpOf(context));
      return;
    case Operation::search:
      return search(context);
    case Operation::add:
      context.insertNewObject("Reminder")->setValue("06:30", "time");
      return context.save();
    case Operation::change:
      return setAllTitles(context);
    case Operation::remove:
      return removeFirst(context);
    case Operation::erase:
      context.execute(coredata::NSBatchDeleteRequest(NSFetchRequest<NSManagedObject>("Checkin")));
      return;
    case Operation::readHistory:
      context.execute(NSPersistentHistoryChangeRequest::fetchHistoryAfterToken(nullptr));
      return;
    case Operation::pruneHistory:
      context.execute(NSPersistentHistoryChangeRequest::deleteHistoryBeforeDate(
          foundation::Date::fromReference(800'000'000)));
      return;
    case Operation::readMetadata:
    case Operation::look:
    case Operation::salvage:
    case Operation::reopen:
      return;
  }
}

/// Those who look and salvage do it while no application of their process has the store open.
void run(Operation operation, Application& application) {
  switch (operation) {
    case Operation::readMetadata:
      unlessRefused([] { static_cast<void>(coredata::SQLiteStore::metadataAt(storeURL())); });
      return;
    case Operation::look:
      application.close();
      static_cast<void>(look());
      return;
    case Operation::salvage:
      application.close();
      return salvageStore();
    case Operation::reopen:
      return application.close();
    case Operation::readAll:
    case Operation::search:
    case Operation::add:
    case Operation::change:
    case Operation::remove:
    case Operation::erase:
    case Operation::readHistory:
    case Operation::pruneHistory:
      return application.run(operation);
  }
}

void use(const std::string& store, std::string_view operations) {
  support::putFiles({{std::string(kName), store}}, directory().path());
  const bool wasSound = isSound();
  Application application;
  for (const char operation : operations) {
    run(static_cast<Operation>(static_cast<std::uint8_t>(operation) % kOperations), application);
  }
  application.close();
  const bool isSoundNow = isSound();
  fuzz::require(isSoundNow || !wasSound);
}

std::string everyOperation() {
  std::string operations;
  for (std::uint8_t i = 0; i < kOperations; ++i) operations += static_cast<char>(i);
  return operations;
}

}  // namespace

/// A damaged store is refused or used, never worse; a sound one stays sound whatever is done.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  fuzz::keepFilesInMemory();
  fuzz::Input input(data, size);
  const std::string_view whole(reinterpret_cast<const char*>(data), size);
  if (whole.starts_with(fuzz::kDatabaseBegins)) {
    use(std::string(whole), everyOperation());
  } else {
    std::string store = wholeStore();
    fuzz::applyEdits(input, store);
    use(store, input.take(kMostOperations));
  }
  return 0;
}
