#include "Tests/UIKit/Samples.h"

// The library's header leaves it to others to declare size_t and FILE.
#include <cstdio>

#include <jpeglib.h>
#include <png.h>

#include <algorithm>
#include <cstdlib>

namespace samples {

using uikit::UIImage;

UIImage picture(std::size_t width, std::size_t height,
                const std::function<Colour(std::size_t, std::size_t)>& at) {
  Bytes pixels;
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      const Colour colour = at(x, y);
      for (const int part : {colour.red, colour.green, colour.blue, colour.opacity}) {
        pixels.push_back(static_cast<std::uint8_t>(part));
      }
    }
  }
  return UIImage::fromPixels(width, height, foundation::Data(std::move(pixels))).value();
}

UIImage gradient(std::size_t width, std::size_t height) {
  return picture(width, height, [&](std::size_t x, std::size_t y) {
    return Colour{static_cast<int>(x * 255 / width), static_cast<int>(y * 255 / height),
                  static_cast<int>((x + y) * 255 / (width + height))};
  });
}

Colour colourAt(const UIImage& image, std::size_t x, std::size_t y) {
  const auto pixel = image.pixels().bytes().subspan((y * image.width() + x) * 4, 4);
  return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

int largestDifference(const UIImage& a, const UIImage& b) {
  const auto left = a.pixels().bytes();
  const auto right = b.pixels().bytes();
  if (a.width() != b.width() || left.size() != right.size()) return 256;
  int result = 0;
  for (std::size_t i = 0; i < left.size(); ++i) {
    result = std::max(result, std::abs(left[i] - right[i]));
  }
  return result;
}

std::int64_t errorOf(const Bytes& file) {
  const auto image = uikit::UIImage::fromData(file);
  return image ? 0 : image.error().code();
}

Bytes jpeg(std::size_t width, std::size_t height, std::span<const std::uint8_t> rows,
           const JPEGKind& kind) {
  const int parts = kind.colours == JPEGKind::Colours::grey     ? 1
                    : kind.colours == JPEGKind::Colours::colour ? 3
                                                                : 4;
  jpeg_compress_struct codec{};
  jpeg_error_mgr failures{};
  codec.err = jpeg_std_error(&failures);
  jpeg_create_compress(&codec);
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&codec, &buffer, &size);
  codec.image_width = static_cast<JDIMENSION>(width);
  codec.image_height = static_cast<JDIMENSION>(height);
  codec.input_components = parts;
  codec.in_color_space = parts == 1 ? JCS_GRAYSCALE : parts == 3 ? JCS_RGB : JCS_CMYK;
  jpeg_set_defaults(&codec);
  jpeg_set_quality(&codec, 100, TRUE);
  if (parts == 4) codec.write_Adobe_marker = kind.isMarked ? TRUE : FALSE;
  codec.arith_code = kind.isArithmetic ? TRUE : FALSE;
  if (kind.isProgressive) jpeg_simple_progression(&codec);
  jpeg_start_compress(&codec, TRUE);
  if (!kind.camera.empty()) {
    jpeg_write_marker(&codec, JPEG_APP0 + 1, kind.camera.data(),
                      static_cast<unsigned>(kind.camera.size()));
  }
  while (codec.next_scanline < codec.image_height) {
    auto* row =
        const_cast<JSAMPROW>(&rows[codec.next_scanline * width * static_cast<std::size_t>(parts)]);
    jpeg_write_scanlines(&codec, &row, 1);
  }
  jpeg_finish_compress(&codec);
  Bytes result(buffer, buffer + size);
  jpeg_destroy_compress(&codec);
  std::free(buffer);
  return result;
}

Bytes jpeg(const UIImage& image, const JPEGKind& kind) {
  Bytes rows;
  const auto pixels = image.pixels().bytes();
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    if (i % 4 != 3) rows.push_back(pixels[i]);
  }
  return jpeg(image.width(), image.height(), rows, kind);
}

namespace {

void append(png_structp codec, png_bytep bytes, png_size_t count) {
  auto& file = *static_cast<Bytes*>(png_get_io_ptr(codec));
  file.insert(file.end(), bytes, bytes + count);
}

void writePalette(png_structp codec, png_infop info, const std::vector<Colour>& palette) {
  std::vector<png_color> colours;
  Bytes opacities;
  for (const Colour& colour : palette) {
    colours.push_back({static_cast<png_byte>(colour.red), static_cast<png_byte>(colour.green),
                       static_cast<png_byte>(colour.blue)});
    opacities.push_back(static_cast<png_byte>(colour.opacity));
  }
  const int count = static_cast<int>(palette.size());
  png_set_PLTE(codec, info, colours.data(), count);
  png_set_tRNS(codec, info, opacities.data(), count, nullptr);
}

}  // namespace

Bytes png(std::size_t width, std::size_t height, std::span<const std::uint8_t> rows,
          const PNGKind& kind) {
  Bytes result;
  png_structp codec = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(codec);
  png_set_write_fn(codec, &result, &append, nullptr);
  png_set_IHDR(codec, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height),
               kind.depth, kind.colourType,
               kind.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (!kind.palette.empty()) writePalette(codec, info, kind.palette);
  png_write_info(codec, info);
  std::vector<png_bytep> starts;
  const std::size_t rowSize = rows.size() / height;
  for (std::size_t y = 0; y < height; ++y) {
    starts.push_back(const_cast<png_bytep>(&rows[y * rowSize]));
  }
  png_write_image(codec, starts.data());
  png_write_end(codec, info);
  png_destroy_write_struct(&codec, &info);
  return result;
}

Bytes png(const UIImage& image, bool isInterlaced) {
  return png(image.width(), image.height(), image.pixels().bytes(), {.isInterlaced = isInterlaced});
}

}  // namespace samples
