#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "Foundation/Values/URL.h"

namespace coredatastack {

// Where photos lay before version 7: in files of the shared container, of which the store kept the
// names.

/// The directory of the pictures; what lies in it bears the names that the store knows.
inline constexpr std::string_view kPhotoDirectory = "photo";
/// That of their small copies.
inline constexpr std::string_view kThumbnailDirectory = "thumbnail";
inline constexpr std::array kPhotoDirectories = {kPhotoDirectory, kThumbnailDirectory};

/// The file that a photo's name stands for. Throws `EPERM` for a name that leads out of the
/// directory of photos, or to another file than it seems: it counts as one that cannot be read.
[[nodiscard]] foundation::URL photoFile(const foundation::URL& container, const std::string& named);

/// What the photo files in a container take, in bytes.
[[nodiscard]] std::uint64_t spaceOfPhotos(const foundation::URL& container);

}  // namespace coredatastack
