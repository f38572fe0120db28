#pragma once

#include <string>
#include <utility>

#include "CoreData/Migration/Mapping/MappingExpression.h"

namespace coredata {

/// How one property of a migrated object gets its value.
class NSPropertyMapping {
 public:
  NSPropertyMapping(std::string name, MappingExpression valueExpression,
                    foundation::Value absentReplacement = {})
      : name_(std::move(name)),
        valueExpression_(std::move(valueExpression)),
        absentReplacement_(std::move(absentReplacement)) {}

  /// The property of the destination entity.
  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  [[nodiscard]] const MappingExpression& valueExpression() const noexcept {
    return valueExpression_;
  }
  /// What is stored where the expression gives nothing, of the attribute's own kind: set for an
  /// attribute that was optional and is mandatory now. Absent for all others, which stay absent.
  [[nodiscard]] const foundation::Value& absentReplacement() const noexcept {
    return absentReplacement_;
  }

  friend bool operator==(const NSPropertyMapping&, const NSPropertyMapping&) = default;

 private:
  std::string name_;
  MappingExpression valueExpression_;
  foundation::Value absentReplacement_;
};

}  // namespace coredata
