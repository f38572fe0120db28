#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CoreData/Fetching/BoundPredicate.h"
#include "CoreData/Fetching/ResolvedPath.h"
#include "Foundation/Values/Object.h"

namespace coredata {

/// What a fetch gives back for each object that it finds.
enum class NSFetchRequestResultType : std::uint8_t {
  managedObjects,    ///< the objects
  managedObjectIDs,  ///< their identifiers
  dictionaries,      ///< chosen properties and aggregates, from the store alone
  count,             ///< one number in all
};

/// A sort by the value at the end of a path; paths go through to-one relationships only.
struct SortTerm {
  ResolvedPath path;
  bool ascending = true;

  friend bool operator==(const SortTerm&, const SortTerm&) = default;
};

/// What is computed over the values of a column.
enum class Aggregate : std::uint8_t { none, sum, minimum, maximum, average, count };

/// One entry of a dictionary result.
struct FetchColumn {
  /// The key under which the value stands in the row.
  std::string name;
  ResolvedPath path;
  Aggregate aggregate = Aggregate::none;
  /// The kind of the value; undefined for a to-one relationship, whose value is an object's
  /// identifier.
  NSAttributeType type = NSAttributeType::undefined;

  friend bool operator==(const FetchColumn&, const FetchColumn&) = default;
};

/// A fetch request resolved against the model, without the values that change from call to call
/// (the predicate's arguments, limit and offset). Requests of the same form share one plan, and the
/// store keeps what it prepared for it under the plan's `serial()`.
///
/// Threading: immutable; use it on any thread.
class FetchPlan final : public foundation::Object {
 public:
  struct Form {
    const NSEntityDescription* entity = nullptr;
    /// Null for all objects of the entity.
    std::shared_ptr<const BoundPredicate> predicate;
    std::vector<SortTerm> sorts;
    /// For dictionaries only.
    std::vector<FetchColumn> columns;
    std::vector<ResolvedPath> grouping;
    bool distinct = false;
  };

  explicit FetchPlan(Form form);

  [[nodiscard]] const NSEntityDescription& entity() const noexcept { return *form_.entity; }
  [[nodiscard]] const BoundPredicate* predicate() const noexcept { return form_.predicate.get(); }
  [[nodiscard]] const std::vector<SortTerm>& sorts() const noexcept { return form_.sorts; }
  [[nodiscard]] const std::vector<FetchColumn>& columns() const noexcept { return form_.columns; }
  [[nodiscard]] const std::vector<ResolvedPath>& grouping() const noexcept {
    return form_.grouping;
  }
  [[nodiscard]] bool isDistinct() const noexcept { return form_.distinct; }
  /// Whether every sort reads the fetched row itself, so that rows can be ordered without the
  /// store.
  [[nodiscard]] bool sortsByOwnSlots() const noexcept { return sortsByOwnSlots_; }
  /// The plan of a fetch of dictionaries for the same objects: their keys, in the first column, and
  /// what the sorts go by. Its own sorts are these and then the keys, so that its order is
  /// complete.
  [[nodiscard]] foundation::Ref<const FetchPlan> showingSorts() const;
  /// Unique in this process and never used again.
  [[nodiscard]] std::uint64_t serial() const noexcept { return serial_; }

 private:
  Form form_;
  bool sortsByOwnSlots_ = true;
  std::uint64_t serial_;
};

}  // namespace coredata
