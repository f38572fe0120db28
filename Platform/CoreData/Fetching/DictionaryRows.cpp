#include "CoreData/Fetching/DictionaryRows.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "CoreData/Fetching/SortedOrder.h"

namespace coredata {

using foundation::Value;

namespace {

bool showsAsStored(const FetchColumn& column) noexcept {
  const NSAttributeDescription* attribute = column.path.attribute;
  const auto stored =
      attribute == nullptr ? NSAttributeType::undefined : attribute->attributeType();
  return column.aggregate == Aggregate::none && column.type == stored;
}

/// The column that shows the values of a path as they are stored.
std::size_t columnShowing(std::span<const FetchColumn> columns, const ResolvedPath& path) {
  const auto found = std::ranges::find_if(columns, [&](const FetchColumn& column) {
    return column.path == path && showsAsStored(column);
  });
  return found == columns.end() ? DictionaryRows::kNoColumn
                                : static_cast<std::size_t>(found - columns.begin());
}

}  // namespace

std::size_t DictionaryRows::column(std::string_view name) const noexcept {
  const auto found = std::ranges::find(columns(), name, &FetchColumn::name);
  return found == columns().end() ? kNoColumn : static_cast<std::size_t>(found - columns().begin());
}

std::int64_t DictionaryRows::integer(std::size_t row, std::size_t column) const noexcept {
  const Cell& found = cell(row, column);
  return found.tag == SlotTag::integer ? found.integer : 0;
}

double DictionaryRows::real(std::size_t row, std::size_t column) const noexcept {
  const Cell& found = cell(row, column);
  return found.tag == SlotTag::real || found.tag == SlotTag::date ? found.real : 0.0;
}

std::string_view DictionaryRows::text(std::size_t row, std::size_t column) const noexcept {
  const Cell& found = cell(row, column);
  if (found.tag != SlotTag::text) return {};
  return std::string_view(payload_).substr(found.offset, found.size);
}

ObjectKey DictionaryRows::reference(std::size_t row, std::size_t column) const noexcept {
  const Cell& found = cell(row, column);
  return found.tag == SlotTag::reference ? found.integer : kNoObject;
}

Value DictionaryRows::value(std::size_t row, std::size_t column) const {
  const Cell& found = cell(row, column);
  // Of the other kinds the offset means nothing.
  const auto packed = [&] {
    return reinterpret_cast<const std::uint8_t*>(payload_.data()) + found.offset;
  };
  switch (found.tag) {
    case SlotTag::none:
      return {};
    case SlotTag::integer:
    case SlotTag::reference:
      return found.integer;
    case SlotTag::real:
      return found.real;
    case SlotTag::date:
      return foundation::Date::fromReference(found.real);
    case SlotTag::text:
      return text(row, column);
    case SlotTag::bytes:
      return foundation::Data(std::span(packed(), found.size));
    case SlotTag::identifier: {
      foundation::UUID::Bytes bytes{};
      std::memcpy(bytes.data(), packed(), std::min<std::size_t>(found.size, bytes.size()));
      return foundation::UUID(bytes);
    }
  }
  return {};
}

void DictionaryRows::appendInteger(std::int64_t value) {
  Cell& added = cells_.emplace_back();
  added.integer = value;
  added.tag = SlotTag::integer;
}

void DictionaryRows::appendReal(double value) {
  Cell& added = cells_.emplace_back();
  added.real = value;
  added.tag = SlotTag::real;
}

void DictionaryRows::appendDate(double secondsSinceReferenceDate) {
  appendReal(secondsSinceReferenceDate);
  cells_.back().tag = SlotTag::date;
}

void DictionaryRows::appendReference(ObjectKey key) {
  appendInteger(key);
  cells_.back().tag = SlotTag::reference;
}

void DictionaryRows::appendPacked(SlotTag tag, const void* source, std::size_t size) {
  Cell& added = cells_.emplace_back();
  added.offset = payload_.size();
  added.size = static_cast<std::uint32_t>(size);
  added.tag = tag;
  payload_.append(static_cast<const char*>(source), size);
}

bool DictionaryRows::canSort(const FetchPlan& plan, std::span<const SortTerm> sorts) {
  return std::ranges::all_of(sorts, [&](const SortTerm& sort) {
    return columnShowing(plan.columns(), sort.path) != kNoColumn;
  });
}

SortCell DictionaryRows::sortCell(std::size_t row, std::size_t column) const noexcept {
  const Cell& found = cell(row, column);
  SortCell result;
  result.tag = found.tag;
  switch (found.tag) {
    case SlotTag::none:
      break;
    case SlotTag::integer:
    case SlotTag::reference:
      result.integer = found.integer;
      break;
    case SlotTag::real:
    case SlotTag::date:
      result.real = found.real;
      break;
    case SlotTag::text:
    case SlotTag::bytes:
    case SlotTag::identifier:
      result.packed = std::string_view(payload_).substr(found.offset, found.size);
      break;
  }
  return result;
}

std::vector<std::uint32_t> DictionaryRows::order(std::span<const SortTerm> sorts) const {
  std::vector<std::size_t> columns;
  for (const SortTerm& sort : sorts) {
    columns.push_back(columnShowing(plan_->columns(), sort.path));
  }
  const auto valueOf = [&](std::uint32_t row, std::size_t sort) {
    return sortCell(row, columns[sort]);
  };
  return SortedOrder(sorts, valueOf).of(size());
}

void DictionaryRows::reorder(std::span<const std::uint32_t> rows) {
  assert(rows.size() == size());
  std::vector<Cell> ordered;
  ordered.reserve(cells_.size());
  for (const std::uint32_t row : rows) {
    const auto first = cells_.begin() + static_cast<std::ptrdiff_t>(row * width_);
    ordered.insert(ordered.end(), first, first + static_cast<std::ptrdiff_t>(width_));
  }
  cells_ = std::move(ordered);
}

}  // namespace coredata
