#include "UIKit/Internal/JPEG.h"
#include "UIKit/Internal/JPEGFailures.h"
#include "UIKit/Internal/Orientation.h"

namespace uikit {

namespace {

/// A block of 64 pixels takes a bit or more; a little room for coders that do better.
constexpr std::size_t kPixelsPerCodedByte = 1024;
/// Encoders make about ten. Every one costs a walk over the whole picture, and hardly any bytes.
constexpr int kMostScans = 100;

class Decoder {
 public:
  Decoder() noexcept : codec_() { codec_.err = failures_.manager(); }
  ~Decoder() { jpeg_destroy_decompress(&codec_); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  DecodedPicture decode(std::span<const std::uint8_t> file) {
    if (!begin(file)) return std::unexpected(failures_.error());
    auto picture =
        emptyPicture(codec_.image_width, codec_.image_height, file.size(), kPixelsPerCodedByte);
    if (!picture) return picture;
    if (!readRows(*picture)) return std::unexpected(failures_.error());
    if (codec_.out_color_space == JCS_CMYK) turnIntoRGB(picture->pixels);
    return upright(*std::move(picture), orientation());
  }

 private:
  bool begin(std::span<const std::uint8_t> file) {
    return failures_.survives([&] {
      jpeg_create_decompress(&codec_);
      progress_.progress_monitor = &stopAfterManyScans;
      codec_.progress = &progress_;
      jpeg_mem_src(&codec_, file.data(), file.size());
      jpeg_save_markers(&codec_, kExifMarker, 0xFFFF);
      jpeg_read_header(&codec_, TRUE);
    });
  }
  bool readRows(Picture& picture) {
    // The library turns neither kind of printer's colours into others, but one into the other.
    const bool isForPrint =
        codec_.jpeg_color_space == JCS_CMYK || codec_.jpeg_color_space == JCS_YCCK;
    codec_.out_color_space = isForPrint ? JCS_CMYK : JCS_EXT_RGBA;
    codec_.dct_method = JDCT_ISLOW;
    // What may follow the last row is of no interest, nor whether the file says that it is over.
    return failures_.survives([&] {
      jpeg_start_decompress(&codec_);
      while (codec_.output_scanline < codec_.output_height) {
        JSAMPROW row = &picture.pixels[codec_.output_scanline * picture.width * kBytesPerPixel];
        jpeg_read_scanlines(&codec_, &row, 1);
      }
    });
  }
  /// Ink on white, taken as simply as most programs do. Whoever left the marker stored it inverted.
  void turnIntoRGB(std::span<std::uint8_t> pixels) const {
    const std::uint8_t inverting = codec_.saw_Adobe_marker != 0 ? 0 : 0xFF;
    for (std::size_t i = 0; i < pixels.size(); i += kBytesPerPixel) {
      const int light = pixels[i + 3] ^ inverting;
      for (std::size_t c = 0; c < 3; ++c) {
        const int lit = pixels[i + c] ^ inverting;
        pixels[i + c] = static_cast<std::uint8_t>((lit * light + 127) / 255);
      }
      pixels[i + 3] = 0xFF;
    }
  }
  [[nodiscard]] Orientation orientation() const {
    for (auto* marker = codec_.marker_list; marker != nullptr; marker = marker->next) {
      if (const auto found = exifOrientation({marker->data, marker->data_length})) return *found;
    }
    return Orientation::upright;
  }

  static void stopAfterManyScans(j_common_ptr codec) {
    if (reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > kMostScans) {
      JPEGFailures::giveUp(*codec, "It comes in too many scans");
    }
  }

  static constexpr int kExifMarker = JPEG_APP0 + 1;

  JPEGFailures failures_;
  jpeg_progress_mgr progress_{};
  jpeg_decompress_struct codec_;
};

}  // namespace

DecodedPicture decodedJPEG(std::span<const std::uint8_t> file) { return Decoder().decode(file); }

}  // namespace uikit
