#pragma once

#include <cstdint>

#include "CoreData/Model/NSDeleteRule.h"
#include "CoreData/Model/NSPropertyDescription.h"

namespace coredata {

/// The number of a to-many relationship among its entity's, counted from 0 in the order of their
/// names.
using ToManyIndex = std::uint16_t;

/// A relationship to objects of one entity. A to-one is a column that holds the other object's key;
/// a to-many is the other side's to-one seen from here, and has no column of its own.
class NSRelationshipDescription final : public NSPropertyDescription {
 public:
  [[nodiscard]] const NSEntityDescription& destinationEntity() const noexcept {
    return *destination_;
  }
  /// The relationship of the destination that leads back; null for a one-way to-one.
  [[nodiscard]] const NSRelationshipDescription* inverseRelationship() const noexcept {
    return inverse_;
  }
  [[nodiscard]] bool isToMany() const noexcept { return toMany_; }
  /// Whether both sides are columns that lead to one object each.
  [[nodiscard]] bool isOneToOne() const noexcept {
    return !toMany_ && inverse_ != nullptr && !inverse_->toMany_;
  }
  [[nodiscard]] bool isOrdered() const noexcept { return false; }
  [[nodiscard]] NSDeleteRule deleteRule() const noexcept { return deleteRule_; }
  /// The number among the entity's to-many relationships; meaningless for a to-one.
  [[nodiscard]] ToManyIndex toManyIndex() const noexcept { return toManyIndex_; }

 private:
  friend class ModelBuilder;
  explicit NSRelationshipDescription(std::string name) : NSPropertyDescription(std::move(name)) {}

  const NSEntityDescription* destination_ = nullptr;
  const NSRelationshipDescription* inverse_ = nullptr;
  ToManyIndex toManyIndex_ = 0;
  bool toMany_ = false;
  NSDeleteRule deleteRule_ = NSDeleteRule::nullify;
};

}  // namespace coredata
