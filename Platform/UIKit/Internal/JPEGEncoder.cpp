#include "UIKit/Internal/JPEGEncoder.h"

#include <new>
#include <utility>

#include "UIKit/Internal/Picture.h"

namespace uikit {

namespace {

constexpr std::size_t kColours = 3;

void layOnWhite(std::span<const std::uint8_t> from, std::span<std::uint8_t> row) {
  for (std::size_t i = 0, out = 0; i < from.size(); i += kBytesPerPixel) {
    const int opacity = from[i + 3];
    for (std::size_t c = 0; c < kColours; ++c) {
      const int mixed = from[i + c] * opacity + 255 * (255 - opacity);
      row[out++] = static_cast<std::uint8_t>((mixed + 127) / 255);
    }
  }
}

}  // namespace

JPEGEncoder::JPEGEncoder() noexcept : codec_(), destination_() { codec_.err = failures_.manager(); }

JPEGEncoder::~JPEGEncoder() { jpeg_destroy_compress(&codec_); }

std::optional<std::vector<std::uint8_t>> JPEGEncoder::encode(const PixelWindow& picture,
                                                             int quality,
                                                             unsigned restartInterval) {
  std::vector<std::uint8_t> row(picture.width * kColours);
  const bool done = failures_.survives([&] {
    begin(picture, quality, restartInterval);
    while (codec_.next_scanline < codec_.image_height) {
      layOnWhite(picture.bytes.subspan(codec_.next_scanline * picture.stride,
                                       picture.width * kBytesPerPixel),
                 row);
      JSAMPROW start = row.data();
      jpeg_write_scanlines(&codec_, &start, 1);
    }
    jpeg_finish_compress(&codec_);
  });
  if (!done) return std::nullopt;
  return std::move(written_);
}

void JPEGEncoder::begin(const PixelWindow& picture, int quality, unsigned restartInterval) {
  jpeg_create_compress(&codec_);
  writeIntoMemory();
  codec_.image_width = static_cast<JDIMENSION>(picture.width);
  codec_.image_height = static_cast<JDIMENSION>(picture.height);
  codec_.input_components = kColours;
  codec_.in_color_space = JCS_RGB;
  jpeg_set_defaults(&codec_);
  jpeg_set_quality(&codec_, quality, TRUE);
  codec_.dct_method = JDCT_ISLOW;
  codec_.restart_interval = restartInterval;
  // The defaults halve the resolution of colours.
  if (jpegUnit(quality) == DCTSIZE) {
    codec_.comp_info[0].h_samp_factor = 1;
    codec_.comp_info[0].v_samp_factor = 1;
  }
  jpeg_start_compress(&codec_, TRUE);
}

void JPEGEncoder::writeIntoMemory() noexcept {
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

JPEGEncoder& JPEGEncoder::of(j_compress_ptr codec) noexcept {
  return *static_cast<JPEGEncoder*>(codec->client_data);
}

void JPEGEncoder::startChunk() noexcept {
  destination_.next_output_byte = chunk_.data();
  destination_.free_in_buffer = chunk_.size();
}

void JPEGEncoder::keep(std::size_t count) {
  if (append(count)) return;
  JPEGFailures::giveUp(*reinterpret_cast<j_common_ptr>(&codec_), "There is no memory left");
}

bool JPEGEncoder::append(std::size_t count) noexcept {
  try {
    written_.insert(written_.end(), chunk_.begin(),
                    chunk_.begin() + static_cast<std::ptrdiff_t>(count));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace uikit
