#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "UIKit/Internal/JPEGFailures.h"

namespace uikit {

/// A rectangle of a picture's pixels, which lie as in `UIImage`.
struct PixelWindow {
  std::size_t width = 0;
  std::size_t height = 0;
  /// From a row to the next, in bytes.
  std::size_t stride = 0;
  /// From the first pixel of the first row to the last of the last.
  std::span<const std::uint8_t> bytes;
};

/// The sides of the square that an encoder codes as one unit, in pixels.
[[nodiscard]] constexpr std::size_t jpegUnit(int quality) noexcept {
  return quality < 100 ? 16 : 8;
}

/// Writes one picture as a baseline JPEG file.
class JPEGEncoder {
 public:
  JPEGEncoder() noexcept;
  ~JPEGEncoder();
  JPEGEncoder(const JPEGEncoder&) = delete;
  JPEGEncoder& operator=(const JPEGEncoder&) = delete;

  /// The file; after each so many units a decoder can begin anew, if the number is not 0. None when
  /// the library refuses the size or runs out of memory. To be called once.
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> encode(const PixelWindow& picture,
                                                                int quality,
                                                                unsigned restartInterval = 0);

 private:
  static constexpr std::size_t kChunk = std::size_t{64} * 1024;

  void begin(const PixelWindow& picture, int quality, unsigned restartInterval);
  void writeIntoMemory() noexcept;
  static JPEGEncoder& of(j_compress_ptr codec) noexcept;
  void startChunk() noexcept;
  void keep(std::size_t count);
  /// An exception must not reach the library's frames.
  bool append(std::size_t count) noexcept;

  JPEGFailures failures_;
  jpeg_compress_struct codec_;
  jpeg_destination_mgr destination_;
  std::array<std::uint8_t, kChunk> chunk_;
  std::vector<std::uint8_t> written_;
};

}  // namespace uikit
