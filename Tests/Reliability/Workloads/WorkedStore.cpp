#include "Tests/Reliability/Workloads/WorkedStore.h"

#include <algorithm>
#include <stdexcept>

#include "CoreDataStack/Model/CDActivity.h"
#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Internal/RandomSource.h"
#include "Tests/Support/TemporaryStore.h"

namespace reliability {

namespace {

constexpr double kNow = 800'000'000;

/// A clock and a source of random numbers that are the same in each run.
struct Fixed {
  foundation::ManualClock clock{kNow};
  foundation::SeededRandomSource random{7};
};

void doInChild(foundation::FunctionRef<void()> work) {
  if (!support::succeeds(work)) throw std::runtime_error("the store was not worked on");
}

}  // namespace

foundation::Ref<coredata::NSManagedObjectContext> contextOver(const foundation::URL& store,
                                                              const StoreMode& mode) {
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

foundation::Ref<coredata::NSManagedObjectContext> WorkedStore::opened() const {
  return contextOver(scene_.place().storeURL(), mode_);
}

void WorkedStore::makeStore() const {
  const Fixed fixed;
  const auto context = opened();
  context->performBlockAndWait([&] {
    workload_.prepare(context);
    context->save();
  });
}

void WorkedStore::work(foundation::FunctionRef<void(int)> saved, int saves) const {
  const Fixed fixed;
  const auto context = opened();
  saved(0);
  context->performBlockAndWait([&] {
    for (int number = 1; number <= saves; ++number) {
      workload_.save(context, number);
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
