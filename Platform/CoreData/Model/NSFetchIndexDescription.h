#pragma once

#include <string>
#include <vector>

#include "CoreData/Model/NSPropertyDescription.h"

namespace coredata {

/// An index that the store keeps over some of an entity's columns, in order. Indexes are no part of
/// a version's identity: adding one changes speed, not what is stored.
class NSFetchIndexDescription final : public foundation::Object {
 public:
  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  /// The indexed columns, first the one that leads. All ascend.
  [[nodiscard]] const std::vector<SlotIndex>& slots() const noexcept { return slots_; }

 private:
  friend class ModelBuilder;
  explicit NSFetchIndexDescription(std::string name) : name_(std::move(name)) {}

  std::string name_;
  std::vector<SlotIndex> slots_;
};

}  // namespace coredata
