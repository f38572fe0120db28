#pragma once

#include <compare>
#include <span>
#include <string>
#include <string_view>

#include "Foundation/Predicate/PredicateShape.h"
#include "Foundation/Values/Object.h"

namespace foundation {

/// One key of a sort: a dotted path and a direction. Absent values come first when ascending and
/// last when descending.
///
/// Threading: immutable; use it on any thread.
class NSSortDescriptor {
 public:
  /// Throws `Error` for a text that is no key path.
  NSSortDescriptor(std::string_view key, bool ascending);

  [[nodiscard]] const std::string& key() const noexcept { return path_.text; }
  /// The key as a path, for readers of values.
  [[nodiscard]] const KeyPathExpression& path() const noexcept { return path_; }
  [[nodiscard]] bool ascending() const noexcept { return ascending_; }
  [[nodiscard]] NSSortDescriptor reversed() const;

  /// The order of two objects by key-value access, direction included.
  [[nodiscard]] std::weak_ordering compare(const Object& left, const Object& right) const;

  friend bool operator==(const NSSortDescriptor& a, const NSSortDescriptor& b) noexcept {
    return a.ascending_ == b.ascending_ && a.key() == b.key();
  }

 private:
  KeyPathExpression path_;
  bool ascending_;
};

/// The order by several descriptors: the first that tells the two apart decides.
[[nodiscard]] std::weak_ordering compare(std::span<const NSSortDescriptor> descriptors,
                                         const Object& left, const Object& right);

}  // namespace foundation
