// Opens a store, checks the first activity in on one day and ends: the shortest useful life of a
// program. Prints how often it checked in.

#include <cstdio>
#include <exception>
#include <string>

#include "Benchmarks/EngineStore.h"

namespace {

void checkIn(const std::string& path, double secondsSince1970) {
  const benchmarks::EngineStore store(path, benchmarks::Durability::full);
  store.inBlock([&] {
    const auto activity = store.context().fetch(benchmarks::firstActivity()).first();
    auto checkin = foundation::make<coredatastack::CDCheckin>(
        store.context(), foundation::Date::from1970(secondsSince1970),
        domain::CheckinType(domain::CheckinType::standard));
    checkin->setActivity(activity);
    store.context().save();
  });
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  try {
    checkIn(arguments[1], std::stod(arguments[2]));
    std::puts("1");
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
