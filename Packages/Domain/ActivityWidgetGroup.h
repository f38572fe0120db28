#pragma once

#include <cstdint>
#include <string>

#include "Domain/ActivityWidgetSize.h"
#include "Foundation/Values/Date.h"
#include "Foundation/Values/UUID.h"

namespace domain {

/// A set of activities that one home-screen widget shows, without its members.
struct ActivityWidgetGroup {
  foundation::UUID uuid;
  std::string name;
  ActivityWidgetSize size;
  /// The position among the groups.
  std::int64_t order;
  foundation::Date createdDate;
  foundation::Date modifiedDate;

  friend bool operator==(const ActivityWidgetGroup&, const ActivityWidgetGroup&) = default;
};

}  // namespace domain
