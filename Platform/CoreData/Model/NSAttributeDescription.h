#pragma once

#include "CoreData/Model/NSAttributeType.h"
#include "CoreData/Model/NSPropertyDescription.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// An attribute: a named value of one kind.
class NSAttributeDescription final : public NSPropertyDescription {
 public:
  [[nodiscard]] NSAttributeType attributeType() const noexcept { return type_; }
  /// Whether typed code sees a plain number that reads 0 when nothing is stored. Other attributes,
  /// boxed numbers included, are absent then.
  [[nodiscard]] bool usesScalarValueType() const noexcept { return scalar_; }
  /// What a new object starts with: a number of the attribute's own kind or a text; absent when the
  /// model gives none. Scalars always have one, 0 unless the model gives another.
  [[nodiscard]] const foundation::Value& defaultValue() const noexcept { return defaultValue_; }
  /// A text that tells this attribute from an equal one of another version when only the meaning of
  /// what is stored has changed; part of the version hash. Usually empty.
  [[nodiscard]] const std::string& versionHashModifier() const noexcept { return hashModifier_; }

 private:
  friend class ModelBuilder;
  explicit NSAttributeDescription(std::string name) : NSPropertyDescription(std::move(name)) {}

  foundation::Value defaultValue_;
  std::string hashModifier_;
  NSAttributeType type_ = NSAttributeType::undefined;
  bool scalar_ = false;
};

}  // namespace coredata
