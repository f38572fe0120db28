#pragma once

#include <cstdint>

#include "Foundation/Values/Ref.h"

namespace domain {

/// The groups that activities are sorted into. `Group` is the class that stands for one wherever
/// the data is kept, `Groups` a list of them.
///
/// The two questions never throw: one that fails answers with nothing.
///
/// Threading: as the data underneath says.
template <typename Group, typename Groups>
class GroupUseCase {
 public:
  GroupUseCase() = default;
  GroupUseCase(const GroupUseCase&) = delete;
  GroupUseCase& operator=(const GroupUseCase&) = delete;
  virtual ~GroupUseCase() = default;

  /// All groups by priority, the newest first among equals.
  [[nodiscard]] virtual Groups list() = 0;
  [[nodiscard]] virtual std::int64_t numberOfGroups() = 0;

  /// Told that the caller has made, changed or is done with a group. These may throw.
  virtual void add(const foundation::Ref<Group>& group) = 0;
  virtual void update(const foundation::Ref<Group>& group) = 0;
  virtual void remove(const foundation::Ref<Group>& group) = 0;
};

}  // namespace domain
