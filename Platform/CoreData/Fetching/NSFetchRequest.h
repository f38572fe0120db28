#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/Fetching/NSExpressionDescription.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Predicate/SortDescriptors.h"

namespace coredata {

/// A property that a dictionary fetch gives or groups by: an attribute or relationship by its name
/// or by its description, or a computed column.
class FetchProperty {
 public:
  // NOLINTBEGIN(google-explicit-constructor): a list of properties reads like one
  FetchProperty(std::string name) : name_(std::move(name)) {}
  FetchProperty(const char* name) : name_(name) {}
  FetchProperty(const NSPropertyDescription& property) : name_(property.name()) {}
  FetchProperty(foundation::Ref<const NSExpressionDescription> computed)
      : name_(computed->name()), computed_(std::move(computed)) {}
  FetchProperty(const foundation::Ref<NSExpressionDescription>& computed)
      : FetchProperty(foundation::Ref<const NSExpressionDescription>(computed)) {}
  // NOLINTEND(google-explicit-constructor)

  /// The name under which the value stands in the row; a key path for one that is not computed.
  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  /// The computed column, or null.
  [[nodiscard]] const NSExpressionDescription* computed() const noexcept { return computed_.get(); }

 private:
  std::string name_;
  foundation::Ref<const NSExpressionDescription> computed_;
};

/// What to fetch: an entity, a condition, an order, and how much of it. A plain value; nothing is
/// looked up before the request is run.
class NSFetchRequestBase {
 public:
  explicit NSFetchRequestBase(std::string_view entityName) : entityName_(entityName) {}

  [[nodiscard]] const std::string& entityName() const noexcept { return entityName_; }
  /// The entity, where it was set by its description; null otherwise.
  [[nodiscard]] const NSEntityDescription* entity() const noexcept { return entity_; }
  void setEntity(const NSEntityDescription* entity) {
    entity_ = entity;
    if (entity != nullptr) entityName_ = entity->name();
  }

  [[nodiscard]] const std::optional<foundation::NSPredicate>& predicate() const noexcept {
    return predicate_;
  }
  void setPredicate(std::optional<foundation::NSPredicate> predicate) {
    predicate_ = std::move(predicate);
  }
  /// The values for the predicate's places; none without a predicate. They lie in the request.
  [[nodiscard]] std::span<const foundation::Value> arguments() const noexcept {
    return predicate_ ? predicate_->arguments() : std::span<const foundation::Value>();
  }
  [[nodiscard]] const foundation::SortDescriptors& sortDescriptors() const noexcept {
    return sorts_;
  }
  /// Without any: stored objects by ascending key, then unsaved ones as they were inserted.
  void setSortDescriptors(foundation::SortDescriptors sorts) { sorts_ = std::move(sorts); }

  /// At most so many; 0 for all.
  [[nodiscard]] std::size_t fetchLimit() const noexcept { return limit_; }
  void setFetchLimit(std::size_t limit) noexcept { limit_ = limit; }
  [[nodiscard]] std::size_t fetchOffset() const noexcept { return offset_; }
  void setFetchOffset(std::size_t offset) noexcept { offset_ = offset; }
  /// How many rows to read at once, when they are looked at; 0 reads all at the fetch. The result
  /// is the same.
  [[nodiscard]] std::size_t fetchBatchSize() const noexcept { return batchSize_; }
  void setFetchBatchSize(std::size_t size) noexcept { batchSize_ = size; }

  [[nodiscard]] NSFetchRequestResultType resultType() const noexcept { return resultType_; }
  void setResultType(NSFetchRequestResultType type) noexcept { resultType_ = type; }
  /// Kept, without effect: entities have no sub-entities.
  [[nodiscard]] bool includesSubentities() const noexcept { return includesSubentities_; }
  void setIncludesSubentities(bool value) noexcept { includesSubentities_ = value; }
  /// Whether unsaved changes take part; never in dictionary results, which come from the store
  /// alone.
  [[nodiscard]] bool includesPendingChanges() const noexcept { return includesPendingChanges_; }
  void setIncludesPendingChanges(bool value) noexcept { includesPendingChanges_ = value; }
  /// Without values only identifiers are read, and each object's row when it is first looked at.
  [[nodiscard]] bool includesPropertyValues() const noexcept { return includesPropertyValues_; }
  void setIncludesPropertyValues(bool value) noexcept { includesPropertyValues_ = value; }
  /// Kept: objects are made when a result is looked at, whatever this says.
  [[nodiscard]] bool returnsObjectsAsFaults() const noexcept { return returnsObjectsAsFaults_; }
  void setReturnsObjectsAsFaults(bool value) noexcept { returnsObjectsAsFaults_ = value; }

  /// For dictionary results: what each row holds (all stored properties if empty), and what to
  /// group by.
  [[nodiscard]] const std::vector<FetchProperty>& propertiesToFetch() const noexcept {
    return properties_;
  }
  void setPropertiesToFetch(std::vector<FetchProperty> properties) {
    properties_ = std::move(properties);
  }
  [[nodiscard]] const std::vector<FetchProperty>& propertiesToGroupBy() const noexcept {
    return grouping_;
  }
  void setPropertiesToGroupBy(std::vector<FetchProperty> properties) {
    grouping_ = std::move(properties);
  }
  [[nodiscard]] bool returnsDistinctResults() const noexcept { return distinct_; }
  void setReturnsDistinctResults(bool value) noexcept { distinct_ = value; }

 private:
  std::string entityName_;
  const NSEntityDescription* entity_ = nullptr;
  std::optional<foundation::NSPredicate> predicate_;
  foundation::SortDescriptors sorts_;
  std::vector<FetchProperty> properties_;
  std::vector<FetchProperty> grouping_;
  std::size_t limit_ = 0;
  std::size_t offset_ = 0;
  std::size_t batchSize_ = 0;
  NSFetchRequestResultType resultType_ = NSFetchRequestResultType::managedObjects;
  bool includesSubentities_ = true;
  bool includesPendingChanges_ = true;
  bool includesPropertyValues_ = true;
  bool returnsObjectsAsFaults_ = true;
  bool distinct_ = false;
};

/// A request whose results are objects of a known class.
template <typename T>
class NSFetchRequest final : public NSFetchRequestBase {
 public:
  using NSFetchRequestBase::NSFetchRequestBase;
};

}  // namespace coredata
