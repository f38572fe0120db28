#include "Benchmarks/Reading.h"

namespace benchmarks {

using coredatastack::CDCheckin;
using foundation::Date;

namespace {

std::int64_t lengthOf(const std::optional<std::string>& text) {
  return text ? static_cast<std::int64_t>(text->size()) : 0;
}

std::int64_t wholeSeconds(const std::optional<Date>& date) {
  return date ? static_cast<std::int64_t>(date->timeIntervalSinceReferenceDate()) : 0;
}

std::int64_t wholeSeconds(const std::optional<double>& date) {
  return date ? static_cast<std::int64_t>(*date) : 0;
}

}  // namespace

std::int64_t readingOf(const CDCheckin& checkin) {
  return static_cast<std::int64_t>(checkin.count()) + wholeSeconds(checkin.createdDate()) +
         lengthOf(checkin.date()) + lengthOf(checkin.memo()) +
         wholeSeconds(checkin.modifiedDate()) + checkin.type();
}

std::int64_t readingOf(const CheckinRecord& checkin) {
  return static_cast<std::int64_t>(checkin.count) + wholeSeconds(checkin.createdDate) +
         lengthOf(checkin.date) + lengthOf(checkin.memo) + wholeSeconds(checkin.modifiedDate) +
         checkin.type;
}

std::int64_t readEverything(EngineStore& store) {
  return store.inBlock([&] {
    auto request = CDCheckin::fetchRequest();
    request.setSortDescriptors({{"date", true}});
    std::int64_t sum = 0;
    for (const auto& checkin : store.context().fetch(request)) sum += readingOf(*checkin);
    return sum;
  });
}

std::int64_t sumOfCounts(EngineStore& store) {
  return store.inBlock([&] {
    double sum = 0;
    for (const auto& checkin : store.context().fetch(CDCheckin::fetchRequest())) {
      sum += checkin->count();
    }
    return static_cast<std::int64_t>(sum);
  });
}

std::int64_t readEverything(HandWrittenStore& store) {
  std::int64_t sum = 0;
  for (const CheckinRecord& checkin : store.checkinsByDate()) sum += readingOf(checkin);
  return sum;
}

}  // namespace benchmarks
