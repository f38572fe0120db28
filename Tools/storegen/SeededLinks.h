#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "Tools/storegen/SeededContent.h"

namespace storegen {

/// Which objects a to-one relationship of a seeded store leads to. The two columns of a pair of
/// to-ones agree, though each is computed by itself.
class SeededLinks {
 public:
  SeededLinks(const coredata::NSRelationshipDescription& toOne, const SeededContent& content);

  /// The position of the object that the one at `position` leads to; none where there is no link.
  [[nodiscard]] std::optional<std::size_t> target(std::size_t position) const;

 private:
  [[nodiscard]] std::optional<std::size_t> partner(std::size_t position) const;
  [[nodiscard]] std::optional<std::size_t> parent(std::size_t position) const;
  /// Whether a to-many side was left without members.
  [[nodiscard]] bool isChildless(std::size_t target) const;
  /// Whether the link of that number was left out; the first never is.
  [[nodiscard]] bool isAbsent(std::size_t link) const;

  std::size_t owners_;
  std::size_t targets_;
  std::uint64_t stream_;
  /// How far the targets are turned, so that what is linked does not bear the same key.
  std::size_t turn_;
  int absentPercent_;
  bool isOneToOne_;
  /// Of the two sides of a pair of to-ones exactly one counts as the larger, equal ones too.
  bool isLarger_;
};

}  // namespace storegen
