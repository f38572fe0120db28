#include "Tools/salvage/Record.h"

#include <algorithm>
#include <array>
#include <bit>

namespace salvage {

using coredata::StoredValue;
using Kind = StoredValue::Kind;

namespace {

std::optional<RecordShape::Column> columnOf(std::uint64_t kind) {
  constexpr std::array<std::uint64_t, 7> kIntegerSizes = {0, 1, 2, 3, 4, 6, 8};
  constexpr std::uint64_t kReal = 7;
  constexpr std::uint64_t kZero = 8;
  constexpr std::uint64_t kOne = 9;
  constexpr std::uint64_t kFirstOfLength = 12;
  if (kind == 0) return RecordShape::Column{};
  if (kind < kReal) return RecordShape::Column{.kind = Kind::integer, .size = kIntegerSizes[kind]};
  if (kind == kReal) return RecordShape::Column{.kind = Kind::real, .size = sizeof(double)};
  if (kind <= kOne)
    return RecordShape::Column{.kind = Kind::integer, .constant = kind == kZero ? 0 : 1};
  if (kind < kFirstOfLength) return std::nullopt;
  return RecordShape::Column{.kind = kind % 2 == 0 ? Kind::bytes : Kind::text,
                             .size = (kind - kFirstOfLength) / 2};
}

std::int64_t signedInteger(Bytes bytes) {
  const auto unused = static_cast<unsigned>(64 - bytes.size() * 8);
  return static_cast<std::int64_t>(bigEndian(bytes) << unused) >> unused;
}

}  // namespace

std::optional<RecordShape> RecordShape::of(const RowCell& cell) {
  Bytes rest = cell.local;
  const auto size = takeVarint(rest);
  if (!size || *size > cell.local.size()) return std::nullopt;
  const std::size_t begin = cell.local.size() - rest.size();
  if (*size < begin) return std::nullopt;
  Bytes header = cell.local.subspan(begin, *size - begin);
  RecordShape shape;
  std::uint64_t offset = *size;
  while (!header.empty()) {
    const auto kind = takeVarint(header);
    auto column = kind ? columnOf(*kind) : std::nullopt;
    if (!column || column->size > cell.size - offset) return std::nullopt;
    column->offset = offset;
    offset += column->size;
    shape.columns_.push_back(*column);
  }
  if (offset != cell.size) return std::nullopt;
  return shape;
}

void RecordReader::read(const RowCell& cell, const RecordShape& shape, PageSet& taken) {
  collect(cell, [&](PageNumber page) { return taken.add(page); });
  decode(shape);
}

void RecordReader::readAgain(const RowCell& cell, const RecordShape& shape, std::size_t pages) {
  collect(cell, [&](PageNumber) { return overflowPages_ < pages; });
  decode(shape);
}

template <typename MayTake>
void RecordReader::collect(const RowCell& cell, MayTake&& mayTake) {
  constexpr std::size_t kNext = 4;
  const auto add = [this](Bytes bytes) {
    content_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  };
  content_.clear();
  overflowPages_ = 0;
  add(cell.local);
  for (PageNumber next = cell.overflow; content_.size() < cell.size && mayTake(next);) {
    const Bytes page = file_.page(next);
    if (page.empty()) return;
    ++overflowPages_;
    next = static_cast<PageNumber>(bigEndian(page.first(kNext)));
    const std::uint64_t missing = cell.size - content_.size();
    add(page.subspan(kNext, std::min<std::uint64_t>(page.size() - kNext, missing)));
  }
}

void RecordReader::decode(const RecordShape& shape) {
  values_.assign(shape.columns().size(), StoredValue{});
  lost_.assign(shape.columns().size(), false);
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const RecordShape::Column& column = shape.columns()[i];
    if (column.offset + column.size > content_.size()) {
      lost_[i] = true;
      continue;
    }
    StoredValue& value = values_[i];
    value.kind = column.kind;
    value.content = std::string_view(content_).substr(column.offset, column.size);
    const Bytes bytes(reinterpret_cast<const std::uint8_t*>(value.content.data()),
                      value.content.size());
    if (column.kind == Kind::integer)
      value.integer = bytes.empty() ? column.constant : signedInteger(bytes);
    if (column.kind == Kind::real) value.real = std::bit_cast<double>(bigEndian(bytes));
  }
}

}  // namespace salvage
