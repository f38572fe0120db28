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

foundation::Ref<const FetchPlan> FetchPlan::showingSorts() const {
  ResolvedPath key;
  key.root = key.entity = form_.entity;
  Form form{.entity = form_.entity,
            .predicate = form_.predicate,
            .sorts = form_.sorts,
            .columns = {},
            .grouping = {},
            .distinct = false};
  form.sorts.push_back({.path = key});
  form.columns.push_back({.name = "key", .path = key});
  for (const SortTerm& sort : form_.sorts) {
    const NSAttributeDescription* attribute = sort.path.attribute;
    form.columns.push_back(
        {.name = {},
         .path = sort.path,
         .type = attribute == nullptr ? NSAttributeType::undefined : attribute->attributeType()});
  }
  return foundation::make<const FetchPlan>(std::move(form));
}

}  // namespace coredata
