#pragma once

#include "CoreData/Model/NSAttributeType.h"
#include "CoreData/Model/NSPropertyDescription.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// An attribute: a named value of one kind.
class NSAttributeDescription final : public NSPropertyDescription {
 public:
  [[nodiscard]] NSAttributeType attributeType() const noexcept { return type_; }
  /// Whether typed code sees a plain number that reads 0 when nothing is stored. Other attributes, boxed numbers
  /// included, are absent then.
  [[nodiscard]] bool usesScalarValueType() const noexcept { return scalar_; }
  /// What a new object starts with; absent when the model gives none. Scalars without one start at 0.
  [[nodiscard]] const foundation::Value& defaultValue() const noexcept { return defaultValue_; }

 private:
  friend class ModelBuilder;
  explicit NSAttributeDescription(std::string name) : NSPropertyDescription(std::move(name)) {}

  foundation::Value defaultValue_;
  NSAttributeType type_ = NSAttributeType::undefined;
  bool scalar_ = false;
};

}  // namespace coredata
