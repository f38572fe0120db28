#pragma once

#include <memory>
#include <vector>

#include "CoreData/Context/ContextState.h"
#include "CoreData/Context/DirtyObjectReader.h"
#include "CoreData/Context/FetchedContent.h"
#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Fetching/NSFetchRequest.h"
#include "CoreData/SQLite/Query/QueryRunner.h"

namespace coredata {

/// Whether the request's result holds keys, and rows are read when they are looked at.
[[nodiscard]] inline bool holdsKeys(const NSFetchRequestBase& request) noexcept {
  return request.fetchBatchSize() != 0 || !request.includesPropertyValues();
}

/// A fetch of an entity of which the context has unsaved changes. The store gives what it has,
/// without offset and with room for what may drop out; objects with changes are judged by their
/// current values instead; then both are merged in the request's order, and offset and limit cut
/// the result.
class PendingFetch {
 public:
  PendingFetch(ContextState& state, const FetchPlan& plan, const NSFetchRequestBase& request,
               QueryRunner& store);

  void fill(FetchedContent& content);
  [[nodiscard]] std::int64_t count();

 private:
  struct Element {
    /// Null where the result holds keys.
    foundation::Ref<Row> row;
    /// Set for an object with changes; then `row` is the object's own.
    foundation::Ref<NSManagedObject> object;
    ObjectKey key;
  };

  [[nodiscard]] std::size_t storeLimit() const noexcept;
  /// The objects with unsaved changes that satisfy the predicate now.
  [[nodiscard]] std::vector<foundation::Ref<NSManagedObject>> matchingDirty();
  /// Keys of objects that the store's answer must not decide about, ascending.
  [[nodiscard]] std::vector<ObjectKey> overruledKeys() const;
  [[nodiscard]] std::vector<Element> sortedDirty();
  /// What the store gives, in its order, without what it must not decide about.
  [[nodiscard]] std::vector<Element> stored();
  [[nodiscard]] std::vector<Element> merged();
  [[nodiscard]] bool comesBefore(const Element& left, const Element& right) const;
  /// The same for a stored element, whose row is read for the while if it is needed.
  [[nodiscard]] bool storedComesBefore(const Element& stored, const Element& changed) const;
  /// A fetch throws what the store throws, where a look at the object would show it empty.
  [[nodiscard]] static const Row& loadedRow(const NSManagedObject& object);
  [[nodiscard]] foundation::Operand sortValue(const Element& element, const SortTerm& term,
                                              foundation::Value& keep) const;

  ContextState& state_;
  const FetchPlan& plan_;
  const NSFetchRequestBase& request_;
  QueryRunner& store_;
  std::span<const foundation::Value> arguments_;
};

}  // namespace coredata
