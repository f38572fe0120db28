#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Fixture.h"
#include "CoreDataStack/UseCases/CoreDataActivityUseCase.h"

namespace benchmarks {

namespace {

constexpr double kMilliseconds = 1e3;
/// One is erased, and the others are what its check-ins lie among.
constexpr int kActivities = 3;
constexpr std::int64_t kErased = 1;

Run eraseOurs(int checkins) {
  TemporaryFixture fixture(kActivities, checkins);
  EngineStore& store = fixture.ours();
  const Cost cost = costOf([&] {
    store.inBlock([&] {
      coredatastack::CoreDataActivityUseCase(fixture.activity(kErased), store.contextHandle())
          .eraseAllData();
    });
  });
  return {cost * kMilliseconds, store.inBlock([&] {
            return store.context().count(coredatastack::CDCheckin::fetchRequest());
          })};
}

Run eraseByHand(int checkins) {
  TemporaryFixture fixture(kActivities, checkins);
  HandWrittenStore& store = fixture.byHand();
  const Cost cost = costOf([&] {
    store.begin();
    store.recordTransaction(secondsNow());
    for (const std::int64_t key : store.checkinsOf(kErased)) {
      store.recordChange(key, HandWrittenStore::Change::remove, 0);
    }
    store.eraseCheckins(kErased);
    store.commit();
  });
  return {cost * kMilliseconds, store.countOfCheckins()};
}

}  // namespace

Comparison erasing() {
  return {"erase all check-ins", "ms", 1.15, 15, Clock::processor, [](const Workload& workload) {
            const int count = workload.erasedCheckins;
            return Sides{[=] { return eraseOurs(count); }, [=] { return eraseByHand(count); }};
          }};
}

}  // namespace benchmarks
