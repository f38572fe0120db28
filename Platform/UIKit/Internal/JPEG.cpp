#include "UIKit/Internal/JPEG.h"

// The library's header leaves it to others to declare size_t and FILE.
#include <cstdio>

#include <jpeglib.h>

// Which messages there are depends on what the library can do.
#include <jerror.h>

#include <array>
#include <csetjmp>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/FunctionRef.h"
#include "UIKit/ImageError.h"
#include "UIKit/Internal/Orientation.h"

namespace uikit {

using foundation::Data;
using foundation::FunctionRef;

namespace {

/// A block of 64 pixels takes a bit or more; a little room for coders that do better.
constexpr std::size_t kPixelsPerByte = 1024;
/// Encoders make about ten. Every one costs a walk over the whole picture, and hardly any bytes.
constexpr int kMostScans = 100;

/// How the library tells that it gives up. Its frames know no exceptions, so it jumps back to where
/// a step was begun; hence a step's block must have nothing to destroy.
class Failures {
 public:
  Failures() noexcept : manager_() {
    jpeg_std_error(&manager_);
    manager_.error_exit = [](j_common_ptr codec) { tell(*codec); };
    manager_.emit_message = [](j_common_ptr codec, int level) {
      if (level < 0 && losesPixels(codec->err->msg_code)) tell(*codec);
    };
  }

  [[nodiscard]] jpeg_error_mgr* manager() noexcept { return &manager_; }
  /// Whether the step got to its end.
  [[nodiscard]] bool survives(FunctionRef<void()> step) {
    if (setjmp(resume_) != 0) return false;
    step();
    return true;
  }
  [[nodiscard]] foundation::Error error() const {
    return imageError(ImageErrorCode::damaged,
                      "The JPEG image is damaged: " + std::string(message_.data()) + ".");
  }
  /// Ends the step that the codec is in. To be called from the library's callbacks.
  [[noreturn]] static void giveUp(jpeg_common_struct& codec, std::string_view message) {
    Failures& self = of(codec);
    self.message_[message.copy(self.message_.data(), self.message_.size() - 1)] = 0;
    std::longjmp(self.resume_, 1);
  }

 private:
  /// Warnings after which the library goes on with pixels of its own making.
  static bool losesPixels(int code) noexcept {
    return code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE || code == JWRN_ARITH_BAD_CODE ||
           code == JWRN_JPEG_EOF || code == JWRN_MUST_RESYNC;
  }
  [[noreturn]] static void tell(jpeg_common_struct& codec) {
    std::array<char, JMSG_LENGTH_MAX> message{};
    codec.err->format_message(&codec, message.data());
    giveUp(codec, message.data());
  }
  /// The library knows the first member, which lies where the whole does.
  static Failures& of(jpeg_common_struct& codec) noexcept {
    return *reinterpret_cast<Failures*>(codec.err);
  }

  jpeg_error_mgr manager_;
  std::jmp_buf resume_{};
  std::array<char, JMSG_LENGTH_MAX> message_{};
};

class Decoder {
 public:
  Decoder() noexcept : codec_() { codec_.err = failures_.manager(); }
  ~Decoder() { jpeg_destroy_decompress(&codec_); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  DecodedPicture decode(std::span<const std::uint8_t> file) {
    if (!begin(file)) return std::unexpected(failures_.error());
    auto picture =
        emptyPicture(codec_.image_width, codec_.image_height, file.size(), kPixelsPerByte);
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
      Failures::giveUp(*codec, "It comes in too many scans");
    }
  }

  static constexpr int kExifMarker = JPEG_APP0 + 1;

  Failures failures_;
  jpeg_progress_mgr progress_{};
  jpeg_decompress_struct codec_;
};

class Encoder {
 public:
  Encoder() noexcept : codec_(), destination_() { codec_.err = failures_.manager(); }
  ~Encoder() { jpeg_destroy_compress(&codec_); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  std::optional<Data> encode(std::size_t width, std::size_t height,
                             std::span<const std::uint8_t> pixels, int quality) {
    std::vector<std::uint8_t> row(width * kColours);
    const bool done = failures_.survives([&] {
      begin(width, height, quality);
      while (codec_.next_scanline < codec_.image_height) {
        const std::size_t rowSize = width * kBytesPerPixel;
        layOnWhite(pixels.subspan(codec_.next_scanline * rowSize, rowSize), row);
        JSAMPROW start = row.data();
        jpeg_write_scanlines(&codec_, &start, 1);
      }
      jpeg_finish_compress(&codec_);
    });
    if (!done) return std::nullopt;
    return Data(std::move(written_));
  }

 private:
  static constexpr std::size_t kColours = 3;
  static constexpr std::size_t kChunk = std::size_t{64} * 1024;

  void begin(std::size_t width, std::size_t height, int quality) {
    jpeg_create_compress(&codec_);
    writeIntoMemory();
    codec_.image_width = static_cast<JDIMENSION>(width);
    codec_.image_height = static_cast<JDIMENSION>(height);
    codec_.input_components = kColours;
    codec_.in_color_space = JCS_RGB;
    jpeg_set_defaults(&codec_);
    jpeg_set_quality(&codec_, quality, TRUE);
    codec_.dct_method = JDCT_ISLOW;
    if (quality >= 100) {
      codec_.comp_info[0].h_samp_factor = 1;
      codec_.comp_info[0].v_samp_factor = 1;
    }
    jpeg_start_compress(&codec_, TRUE);
  }
  static void layOnWhite(std::span<const std::uint8_t> from, std::span<std::uint8_t> row) {
    for (std::size_t i = 0, out = 0; i < from.size(); i += kBytesPerPixel) {
      const int opacity = from[i + 3];
      for (std::size_t c = 0; c < kColours; ++c) {
        const int mixed = from[i + c] * opacity + 255 * (255 - opacity);
        row[out++] = static_cast<std::uint8_t>((mixed + 127) / 255);
      }
    }
  }

  void writeIntoMemory() noexcept {
    codec_.client_data = this;
    codec_.dest = &destination_;
    destination_.init_destination = [](j_compress_ptr codec) { of(codec).startChunk(); };
    destination_.empty_output_buffer = [](j_compress_ptr codec) -> boolean {
      of(codec).keep(kChunk);
      of(codec).startChunk();
      return TRUE;
    };
    destination_.term_destination = [](j_compress_ptr codec) {
      of(codec).keep(kChunk - codec->dest->free_in_buffer);
    };
  }
  static Encoder& of(j_compress_ptr codec) noexcept {
    return *static_cast<Encoder*>(codec->client_data);
  }
  void startChunk() noexcept {
    destination_.next_output_byte = chunk_.data();
    destination_.free_in_buffer = chunk_.size();
  }
  void keep(std::size_t count) {
    if (append(count)) return;
    Failures::giveUp(*reinterpret_cast<j_common_ptr>(&codec_), "There is no memory left");
  }
  /// An exception must not reach the library's frames.
  bool append(std::size_t count) noexcept {
    try {
      written_.insert(written_.end(), chunk_.begin(),
                      chunk_.begin() + static_cast<std::ptrdiff_t>(count));
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

  Failures failures_;
  jpeg_compress_struct codec_;
  jpeg_destination_mgr destination_;
  std::array<std::uint8_t, kChunk> chunk_;
  std::vector<std::uint8_t> written_;
};

}  // namespace

DecodedPicture decodedJPEG(std::span<const std::uint8_t> file) { return Decoder().decode(file); }

std::optional<Data> encodedJPEG(std::size_t width, std::size_t height,
                                std::span<const std::uint8_t> pixels, int quality) {
  if (width > JPEG_MAX_DIMENSION || height > JPEG_MAX_DIMENSION) return std::nullopt;
  return Encoder().encode(width, height, pixels, quality);
}

}  // namespace uikit
