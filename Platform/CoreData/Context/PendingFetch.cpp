#include "CoreData/Context/PendingFetch.h"

#include <algorithm>

#include "Foundation/Predicate/PredicateEvaluation.h"

namespace coredata {

using foundation::Operand;
using foundation::Ref;
using foundation::Value;

namespace {

/// Stored objects by key, then unsaved ones as they were inserted: their keys descend.
bool precedes(ObjectKey left, ObjectKey right) noexcept {
  if (isTemporary(left) != isTemporary(right)) return !isTemporary(left);
  return isTemporary(left) ? left > right : left < right;
}

}  // namespace

PendingFetch::PendingFetch(ContextState& state, const FetchPlan& plan,
                           const NSFetchRequestBase& request, QueryRunner& store)
    : state_(state),
      plan_(plan),
      request_(request),
      store_(store),
      arguments_(request.arguments()) {}

std::size_t PendingFetch::storeLimit() const noexcept {
  if (request_.fetchLimit() == 0) return 0;
  const DirtyCounts& dirty = state_.dirty(plan_.entity());
  return request_.fetchLimit() + request_.fetchOffset() + dirty.updated + dirty.deleted;
}

std::vector<Ref<NSManagedObject>> PendingFetch::matchingDirty() {
  std::vector<Ref<NSManagedObject>> result;
  const auto judge = [&](NSManagedObject& object) {
    if (&object.entity() != &plan_.entity()) return;
    if (plan_.predicate() != nullptr) {
      const DirtyObjectReader reader(state_, *plan_.predicate());
      if (!foundation::evaluate(plan_.predicate()->shape(), arguments_, &object, reader)) return;
    }
    result.emplace_back(&object);
  };
  // Judging may read members and so make objects, but never changes the lists.
  state_.inserted.forEach(judge);
  state_.updated.forEach(judge);
  return result;
}

std::vector<ObjectKey> PendingFetch::overruledKeys() const {
  std::vector<ObjectKey> result;
  for (const ChangeList* list : {&state_.updated, &state_.deleted}) {
    list->forEach([&](const NSManagedObject& object) {
      if (&object.entity() == &plan_.entity()) result.push_back(object.key_);
    });
  }
  std::ranges::sort(result);
  return result;
}

const Row& PendingFetch::loadedRow(const NSManagedObject& object) {
  object.load();
  return *object.row_;
}

Operand PendingFetch::sortValue(const Element& element, const SortTerm& term, Value& keep) const {
  const Row* row = element.object ? &loadedRow(*element.object) : element.row.get();
  Ref<NSManagedObject> linked = element.object;
  Ref<Row> linkedRow;
  // Somebody may have deleted it since its key was read.
  if (row == nullptr) return {};
  for (const NSRelationshipDescription* link : term.path.links) {
    if (linked) {
      linked = linked->toOne(link->slot());
      if (!linked) return {};
      row = &loadedRow(*linked);
    } else {
      const ObjectKey next = row->reference(link->slot());
      linkedRow = next == kNoObject ? nullptr : state_.readRow(link->destinationEntity(), next);
      if (!linkedRow) return {};
      row = linkedRow.get();
    }
  }
  if (term.path.attribute == nullptr) {
    const ObjectKey key = row->reference(term.path.slot);
    return key == kNoObject ? Operand() : Operand::integer(key);
  }
  Operand result = DirtyObjectReader::operand(*row, term.path.slot, keep);
  if (result.kind() == Operand::Kind::text && !term.path.links.empty()) {
    keep = result.asText();
    result = Operand::of(keep);
  }
  return result;
}

bool PendingFetch::comesBefore(const Element& left, const Element& right) const {
  for (const SortTerm& term : plan_.sorts()) {
    Value keepLeft;
    Value keepRight;
    const std::weak_ordering order =
        foundation::sortOrder(sortValue(left, term, keepLeft), sortValue(right, term, keepRight));
    if (order != 0) return term.ascending ? order < 0 : order > 0;
  }
  return precedes(left.key, right.key);
}

bool PendingFetch::storedComesBefore(const Element& stored, const Element& changed) const {
  if (stored.row || plan_.sorts().empty()) return comesBefore(stored, changed);
  return comesBefore({state_.readRow(plan_.entity(), stored.key), nullptr, stored.key}, changed);
}

std::vector<PendingFetch::Element> PendingFetch::sortedDirty() {
  std::vector<Element> result;
  for (Ref<NSManagedObject>& object : matchingDirty()) {
    const ObjectKey key = object->key_;
    result.push_back({nullptr, std::move(object), key});
  }
  std::ranges::sort(result, [&](const Element& a, const Element& b) { return comesBefore(a, b); });
  return result;
}

std::vector<PendingFetch::Element> PendingFetch::stored() {
  const std::vector<ObjectKey> overruled = overruledKeys();
  std::vector<Element> result;
  const auto add = [&](ObjectKey key, Ref<Row> row) {
    if (!std::ranges::binary_search(overruled, key)) {
      result.push_back({std::move(row), nullptr, key});
    }
  };
  if (holdsKeys(request_)) {
    for (const ObjectKey key : store_.keys(plan_, arguments_, storeLimit(), 0)) add(key, nullptr);
  } else {
    for (Ref<Row>& row : store_.rows(plan_, arguments_, storeLimit(), 0)) {
      const ObjectKey key = row->key();
      add(key, std::move(row));
    }
  }
  return result;
}

std::vector<PendingFetch::Element> PendingFetch::merged() {
  std::vector<Element> changed = sortedDirty();
  std::vector<Element> stored = this->stored();
  std::vector<Element> all;
  all.reserve(stored.size() + changed.size());
  auto next = stored.begin();
  // By bisection, since few objects have changes and the row of each that is compared may have to
  // be read.
  for (Element& element : changed) {
    const auto place = std::partition_point(next, stored.end(), [&](const Element& other) {
      return storedComesBefore(other, element);
    });
    std::move(next, place, std::back_inserter(all));
    all.push_back(std::move(element));
    next = place;
  }
  std::move(next, stored.end(), std::back_inserter(all));
  return all;
}

void PendingFetch::fill(FetchedContent& content) {
  std::vector<Element> all = merged();
  const std::size_t first = std::min(request_.fetchOffset(), all.size());
  std::size_t count = all.size() - first;
  if (request_.fetchLimit() != 0) count = std::min(count, request_.fetchLimit());
  for (std::size_t i = 0; i < count; ++i) {
    Element& element = all[first + i];
    if (element.object) content.pinned.emplace(i, std::move(element.object));
    if (holdsKeys(request_)) {
      content.keys.push_back(element.key);
    } else {
      content.rows.push_back(std::move(element.row));
    }
  }
}

std::int64_t PendingFetch::count() {
  const auto changed = static_cast<std::int64_t>(matchingDirty().size());
  const DirtyCounts& dirty = state_.dirty(plan_.entity());
  std::int64_t stored = 0;
  if (dirty.updated + dirty.deleted == 0) {
    stored = store_.count(plan_, arguments_, storeLimit());
  } else {
    const std::vector<ObjectKey> overruled = overruledKeys();
    for (const ObjectKey key : store_.keys(plan_, arguments_, storeLimit(), 0)) {
      if (!std::ranges::binary_search(overruled, key)) ++stored;
    }
  }
  const std::int64_t all = std::max<std::int64_t>(
      0, stored + changed - static_cast<std::int64_t>(request_.fetchOffset()));
  if (request_.fetchLimit() == 0) return all;
  return std::min(all, static_cast<std::int64_t>(request_.fetchLimit()));
}

}  // namespace coredata
