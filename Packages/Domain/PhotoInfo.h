#pragma once

#include <cstdint>
#include <optional>

#include "Foundation/Values/Date.h"

namespace domain {

/// What a picture's source tells about it.
struct PhotoInfo {
  /// A place on earth, in degrees.
  struct Coordinate {
    double longitude = 0;
    double latitude = 0;

    friend bool operator==(const Coordinate&, const Coordinate&) = default;
  };

  std::int64_t pixelWidth = 0;
  std::int64_t pixelHeight = 0;
  std::optional<Coordinate> coordinate;
  std::optional<foundation::Date> createdDate;
  std::optional<foundation::Date> modifiedDate;

  friend bool operator==(const PhotoInfo&, const PhotoInfo&) = default;
};

}  // namespace domain
