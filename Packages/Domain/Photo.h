#pragma once

#include <optional>
#include <string>

#include "Domain/PhotoInfo.h"
#include "Foundation/Values/Data.h"
#include "Foundation/Values/Date.h"

namespace domain {

/// A picture of a day.
struct Photo {
  /// Names the stored picture; the same for as long as that exists.
  std::string id;
  /// The encoded image.
  std::optional<foundation::Data> data;
  /// The day that the picture belongs to.
  foundation::Date date;
  foundation::Date createdDate;
  foundation::Date modifiedDate;
  PhotoInfo info;

  friend bool operator==(const Photo&, const Photo&) = default;
};

}  // namespace domain
