#pragma once

#include <cstdint>
#include <string>

#include "Foundation/Values/Object.h"

namespace coredata {

class NSEntityDescription;

/// The number of a stored property inside a row: attributes and to-one relationships that have a
/// column, counted from 0 in the order of their names. To-many relationships and transient
/// attributes have no slot.
using SlotIndex = std::uint16_t;
inline constexpr SlotIndex kNoSlot = 0xffff;
/// More stored properties than this in one entity are refused by the model compiler: a set of slots
/// is one word.
inline constexpr std::size_t kMaxSlots = 64;
/// A set of slots, bit n for slot n.
using SlotMask = std::uint64_t;

/// What an entity has under one name: an attribute, a relationship, or an expression computed by a
/// fetch. Immutable once its model is in use; owned by its entity (expressions: by whoever made
/// them).
class NSPropertyDescription : public foundation::Object {
 public:
  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  /// The entity that has the property; null for an expression.
  [[nodiscard]] const NSEntityDescription* entity() const noexcept { return entity_; }
  [[nodiscard]] bool isOptional() const noexcept { return optional_; }
  /// Computed, never stored.
  [[nodiscard]] bool isTransient() const noexcept { return transient_; }
  /// The name that the property had in the version before, when it was renamed; empty otherwise.
  [[nodiscard]] const std::string& renamingIdentifier() const noexcept {
    return renamingIdentifier_;
  }
  /// The column's number in a row, or `kNoSlot`.
  [[nodiscard]] SlotIndex slot() const noexcept { return slot_; }

 protected:
  explicit NSPropertyDescription(std::string name) : name_(std::move(name)) {}

 private:
  friend class ModelBuilder;
  std::string name_;
  std::string renamingIdentifier_;
  const NSEntityDescription* entity_ = nullptr;
  SlotIndex slot_ = kNoSlot;
  bool optional_ = true;
  bool transient_ = false;
};

}  // namespace coredata
