#include "CoreData/Fetching/FetchPlan.h"

#include <algorithm>
#include <atomic>

namespace coredata {

namespace {
std::uint64_t nextSerial() noexcept {
  static std::atomic<std::uint64_t> counter{0};
  return counter.fetch_add(1, std::memory_order_relaxed) + 1;
}
}  // namespace

FetchPlan::FetchPlan(Form form) : form_(std::move(form)), serial_(nextSerial()) {
  sortsByOwnSlots_ = std::ranges::all_of(
      form_.sorts, [](const SortTerm& term) { return term.path.links.empty(); });
}

}  // namespace coredata
