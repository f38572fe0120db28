#include "Tests/Reliability/Workloads/WorkedStore.h"

#include <algorithm>
#include <stdexcept>

#include "CoreDataStack/Model/CDActivity.h"
#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Internal/RandomSource.h"
#include "Tests/Support/TemporaryStore.h"

namespace reliability {

namespace {

using coredata::NSManagedObjectContext;
using foundation::Ref;

constexpr double kNow = 800'000'000;
constexpr std::uint64_t kSeed = 7;

void doInChild(foundation::FunctionRef<void()> work) {
  if (!support::succeeds(work)) throw std::runtime_error("the store was not worked on");
}

}  // namespace

Ref<NSManagedObjectContext> contextOver(const foundation::URL& store, const StoreMode& mode) {
  const auto container = support::containerWithoutStore();
  coredata::NSPersistentStoreDescription description(store);
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  description.setValue(mode.journalMode, "journal_mode");
  description.setValue(mode.synchronous, "synchronous");
  container->persistentStoreCoordinator()->addPersistentStore(description);
  return container->newBackgroundContext();
}

WorkedStore::WorkedStore(const Workload& workload, const StoreMode& mode)
    : workload_(workload), mode_(mode) {
  // Once for all children: to load it is no part of the work.
  static_cast<void>(support::currentModel());
  doInChild([this] { makeStore(); });
  scene_.remember();
  for (int saves = 0; saves <= kSaves; ++saves) {
    lay();
    doInChild([&] { work([](int) {}, saves); });
    states_.push_back(support::StoreLook(path()).contentsOfWork());
  }
  lay();
}

std::filesystem::path WorkedStore::path() const {
  return scene_.place().directory() / "Model.sqlite";
}

Ref<NSManagedObjectContext> WorkedStore::opened() const {
  return contextOver(scene_.place().storeURL(), mode_);
}

void WorkedStore::makeStore() const {
  const foundation::ManualClock clock(kNow);
  const foundation::SeededRandomSource random(kSeed);
  const auto context = opened();
  context->performBlockAndWait([&] {
    workload_.prepare(context);
    context->save();
  });
}

void WorkedStore::save(const Ref<NSManagedObjectContext>& context, int number) const {
  // However often it is made, it draws the same.
  const foundation::SeededRandomSource random(kSeed + static_cast<std::uint64_t>(number));
  workload_.save(context, number);
}

void WorkedStore::work(foundation::FunctionRef<void(int)> saved, int saves) const {
  const foundation::ManualClock clock(kNow);
  const auto context = opened();
  saved(0);
  context->performBlockAndWait([&] {
    for (int number = 1; number <= saves; ++number) {
      save(context, number);
      saved(number);
    }
  });
}

void WorkedStore::persevere(
    foundation::FunctionRef<void(int)> saved,
    foundation::FunctionRef<Sequel(int, const foundation::Error&)> failed) const {
  const foundation::ManualClock clock(kNow);
  Ref<NSManagedObjectContext> context;
  try {
    context = opened();
  } catch (const foundation::Error& error) {
    static_cast<void>(failed(0, error));
    context = opened();
  }
  saved(0);
  context->performBlockAndWait([&] {
    for (int number = 1; number <= kSaves; ++number) {
      try {
        save(context, number);
      } catch (const foundation::Error& error) {
        if (failed(number, error) == Sequel::next) {
          context->reset();
          continue;
        }
        context->rollback();
        save(context, number);
      }
      saved(number);
    }
  });
}

std::optional<int> WorkedStore::savesIn(const std::filesystem::path& store) const {
  const auto found = std::ranges::find(states_, support::StoreLook(store).contentsOfWork());
  if (found == states_.end()) return std::nullopt;
  return static_cast<int>(found - states_.begin());
}

bool WorkedStore::goesOn() const {
  return support::succeeds([this] {
    const auto context = opened();
    context->performBlockAndWait([&] {
      static_cast<void>(coredatastack::CDActivity::create(*context, "red"));
      context->save();
    });
  });
}

}  // namespace reliability
