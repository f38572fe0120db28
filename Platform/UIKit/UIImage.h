#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>

#include "Foundation/Values/Data.h"
#include "Foundation/Values/Error.h"

namespace uikit {

/// A picture in memory: rows from the top without gaps, four bytes a pixel, which are red, green,
/// blue and opacity. Colours are not multiplied by the opacity. Immutable; copies share the pixels.
///
/// Threading: safe on any thread.
class UIImage {
 public:
  /// More pixels than any camera in a pocket takes; what claims to have more is refused before room
  /// is made for it.
  static constexpr std::size_t kMaximumPixels = std::size_t{1} << 27;
  static constexpr std::size_t kMaximumFileSize = std::size_t{256} << 20;

  /// A picture without size.
  UIImage() noexcept = default;
  /// None unless there are four bytes for each pixel and at most `kMaximumPixels` of them.
  [[nodiscard]] static std::optional<UIImage> fromPixels(std::size_t width, std::size_t height,
                                                         foundation::Data pixels);
  /// The picture of a whole JPEG or PNG file, turned the way up that a JPEG says it was taken.
  /// The error is an `ImageErrorCode` for bytes that are neither, damaged, cut short or too large:
  /// a picture is never given with parts missing. Animations give their first picture.
  [[nodiscard]] static std::expected<UIImage, foundation::Error> fromData(
      std::span<const std::uint8_t> bytes);
  /// As `fromData`; for a file that cannot be read the error is the system's.
  [[nodiscard]] static std::expected<UIImage, foundation::Error> contentsOfFile(
      const std::string& path);

  [[nodiscard]] std::size_t width() const noexcept { return width_; }
  [[nodiscard]] std::size_t height() const noexcept { return height_; }
  [[nodiscard]] const foundation::Data& pixels() const noexcept { return pixels_; }

  /// The picture as a JPEG file without metadata, laid on white where it is not opaque. At quality
  /// 1.0, the highest, colours keep the full resolution; below they are halved. The same picture
  /// gives the same bytes. None for a picture without size and for one with a side that the
  /// format cannot name (above 65,535 pixels). Some programs, this class among them, read no sides
  /// above 65,500.
  [[nodiscard]] std::optional<foundation::Data> jpegData(double compressionQuality) const;

  friend bool operator==(const UIImage&, const UIImage&) = default;

 private:
  UIImage(std::size_t width, std::size_t height, foundation::Data pixels) noexcept
      : width_(width), height_(height), pixels_(std::move(pixels)) {}

  std::size_t width_ = 0;
  std::size_t height_ = 0;
  foundation::Data pixels_;
};

}  // namespace uikit
