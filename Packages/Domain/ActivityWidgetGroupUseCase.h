#pragma once

#include "Domain/ActivityWidgetSize.h"
#include "Foundation/Values/Ref.h"
#include "Foundation/Values/UUID.h"

namespace domain {

/// The sets of activities that home-screen widgets show. `Group` is the class that stands for one
/// wherever the data is kept, `Groups` a list of them.
///
/// All operations throw whatever the store throws, unchanged.
///
/// Threading: as the data underneath says.
template <typename Group, typename Groups>
class ActivityWidgetGroupUseCase {
 public:
  ActivityWidgetGroupUseCase() = default;
  ActivityWidgetGroupUseCase(const ActivityWidgetGroupUseCase&) = delete;
  ActivityWidgetGroupUseCase& operator=(const ActivityWidgetGroupUseCase&) = delete;
  virtual ~ActivityWidgetGroupUseCase() = default;

  /// The groups of that size by their order.
  [[nodiscard]] virtual Groups list(ActivityWidgetSize by) = 0;
  /// The group of that identity; null when there is none.
  [[nodiscard]] virtual foundation::Ref<Group> find(const foundation::UUID& by) = 0;

  /// Saves a group that the caller has made.
  virtual void add(const foundation::Ref<Group>& group) = 0;
  /// Saves what the caller has changed in a group.
  virtual void update(const foundation::Ref<Group>& group) = 0;
  /// Deletes the group; the next save makes that last.
  virtual void remove(const foundation::Ref<Group>& group) = 0;
};

}  // namespace domain
