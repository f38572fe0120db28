#include "UIKit/Internal/JPEGTiles.h"

#include <algorithm>
#include <utility>

#include "UIKit/Internal/Picture.h"

namespace uikit {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kMarker = 0xFF;
constexpr std::uint8_t kBaselineFrame = 0xC0;
constexpr std::uint8_t kFirstRestart = 0xD0;
constexpr std::uint8_t kEnd = 0xD9;
constexpr std::uint8_t kScan = 0xDA;
constexpr unsigned kRestarts = 8;

/// How a side, counted in units, is cut.
struct Cut {
  /// Those of the first part; all of them if it is the only one.
  std::size_t first;
  std::size_t second;
};

std::size_t units(std::size_t side, std::size_t unit) { return (side + unit - 1) / unit; }

Cut whole(std::size_t units) { return {units, 0}; }

/// In about the middle, both parts multiples of a number of units.
Cut halves(std::size_t units, std::size_t multipleOf) {
  const std::size_t first = units / multipleOf / 2 * multipleOf;
  return {first, units - first};
}

/// The most units after which restarts can stand in both parts of every row: a row of the whole has
/// to be a multiple of it, as the interval is one for all the file.
std::size_t restartInterval(std::size_t units, bool isCut) {
  std::size_t interval = isCut ? units / 2 : units;
  while (units % interval != 0) --interval;
  return interval;
}

/// A JPEG file as its library writes it: segments with a length each, the scan's data, the end.
class Tile {
 public:
  explicit Tile(Bytes file) : file_(std::move(file)), at_(endOfHeader()), header_(at_) {}

  /// Everything in front of the scan's data, with the whole's size in the frame.
  [[nodiscard]] Bytes header(std::size_t width, std::size_t height) const {
    Bytes result(file_.begin(), file_.begin() + static_cast<std::ptrdiff_t>(header_));
    // Behind the marker, the length and the samples' precision.
    std::uint8_t* size = &result[segment(kBaselineFrame) + 5];
    for (const std::size_t side : {height, width}) {
      *size++ = static_cast<std::uint8_t>(side >> 8);
      *size++ = static_cast<std::uint8_t>(side);
    }
    return result;
  }
  /// The scan's data up to the next marker, which is passed over.
  [[nodiscard]] std::span<const std::uint8_t> next() {
    const std::size_t begin = at_;
    // In the data 0xFF is followed by 0.
    while (file_[at_] != kMarker || file_[at_ + 1] == 0) ++at_;
    const std::span result(file_.data() + begin, at_ - begin);
    at_ += 2;
    return result;
  }

 private:
  [[nodiscard]] std::size_t lengthOf(std::size_t segment) const {
    return std::size_t{file_[segment + 2]} << 8 | file_[segment + 3];
  }
  /// Where the marker of the first segment of a kind stands.
  [[nodiscard]] std::size_t segment(std::uint8_t kind) const {
    std::size_t at = 2;
    while (file_[at + 1] != kind) at += 2 + lengthOf(at);
    return at;
  }
  [[nodiscard]] std::size_t endOfHeader() const {
    const std::size_t scan = segment(kScan);
    return scan + 2 + lengthOf(scan);
  }

  Bytes file_;
  std::size_t at_;
  std::size_t header_;
};

/// Parts side by side.
struct TileRow {
  std::vector<Tile> tiles;
  /// Rows of units.
  std::size_t rows;
};

class TiledEncoder {
 public:
  TiledEncoder(const PixelWindow& picture, int quality, std::size_t longestPart)
      : picture_(picture), quality_(quality), unit_(jpegUnit(quality)) {
    const std::size_t columns = units(picture.width, unit_);
    const std::size_t rows = units(picture.height, unit_);
    const bool isWide = picture.width > longestPart;
    interval_ = restartInterval(columns, isWide);
    across_ = isWide ? halves(columns, interval_) : whole(columns);
    down_ = picture.height > longestPart ? halves(rows, 1) : whole(rows);
  }

  std::optional<Bytes> encode() {
    std::size_t top = 0;
    for (const std::size_t rows : {down_.first, down_.second}) {
      if (rows != 0 && !encodeRow(top, rows)) return std::nullopt;
      top += rows;
    }
    return joined();
  }

 private:
  bool encodeRow(std::size_t top, std::size_t rows) {
    TileRow& row = parts_.emplace_back(TileRow{{}, rows});
    std::size_t left = 0;
    for (const std::size_t columns : {across_.first, across_.second}) {
      if (columns == 0) continue;
      auto file = JPEGEncoder().encode(window(left, top, columns, rows), quality_,
                                       static_cast<unsigned>(interval_));
      if (!file) return false;
      row.tiles.emplace_back(*std::move(file));
      left += columns;
    }
    return true;
  }
  /// Part of the picture, in units.
  [[nodiscard]] PixelWindow window(std::size_t left, std::size_t top, std::size_t columns,
                                   std::size_t rows) const {
    const std::size_t x = left * unit_;
    const std::size_t y = top * unit_;
    return {std::min(columns * unit_, picture_.width - x),
            std::min(rows * unit_, picture_.height - y), picture_.stride,
            picture_.bytes.subspan(y * picture_.stride + x * kBytesPerPixel)};
  }

  [[nodiscard]] Bytes joined() {
    Bytes file = parts_.front().tiles.front().header(picture_.width, picture_.height);
    unsigned restart = 0;
    for (TileRow& part : parts_) {
      for (std::size_t row = 0; row < part.rows; ++row) addRow(part, file, restart);
    }
    // There is no restart behind the last of them.
    file.back() = kEnd;
    return file;
  }
  /// One row of units, from left to right.
  void addRow(TileRow& part, Bytes& file, unsigned& restart) const {
    std::size_t columns = across_.first;
    for (Tile& tile : part.tiles) {
      for (std::size_t at = 0; at < columns; at += interval_) {
        const auto data = tile.next();
        file.insert(file.end(), data.begin(), data.end());
        file.push_back(kMarker);
        file.push_back(static_cast<std::uint8_t>(kFirstRestart + restart++ % kRestarts));
      }
      columns = across_.second;
    }
  }

  PixelWindow picture_;
  int quality_;
  std::size_t unit_;
  std::size_t interval_ = 0;
  Cut across_{};
  Cut down_{};
  std::vector<TileRow> parts_;
};

}  // namespace

std::optional<Bytes> jpegInTiles(const PixelWindow& picture, int quality, std::size_t longestPart) {
  return TiledEncoder(picture, quality, longestPart).encode();
}

}  // namespace uikit
