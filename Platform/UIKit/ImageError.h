#pragma once

#include <cstdint>
#include <string>

#include "Foundation/Values/Error.h"

namespace uikit {

/// The codes, in the domain `kImageErrorDomain`, of bytes that give no picture.
enum class ImageErrorCode : std::int64_t {
  unknownFormat = 1,  ///< neither a JPEG nor a PNG image
  damaged = 2,        ///< the picture is incomplete or garbled
  tooLarge = 3,       ///< more pixels than are taken
};

inline constexpr std::string_view kImageErrorDomain = "UIImageErrorDomain";

[[nodiscard]] inline foundation::Error imageError(ImageErrorCode code, std::string message) {
  return foundation::Error(std::string(kImageErrorDomain), static_cast<std::int64_t>(code),
                           std::move(message));
}

}  // namespace uikit
