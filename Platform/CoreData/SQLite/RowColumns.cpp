#include "CoreData/SQLite/RowColumns.h"

#include <algorithm>
#include <array>

#include "CoreData/SQLite/SQLiteStoreError.h"

namespace coredata {

using foundation::Ref;
using foundation::UUID;

namespace {
/// The key and the version stand before the slots.
constexpr int kFirstSlotColumn = 2;
}  // namespace

std::string quotedIdentifier(std::string_view name) {
  std::string result = "\"";
  for (const char character : name) {
    if (character == '"') result += '"';
    result += character;
  }
  return result += '"';
}

SlotTag slotKind(const Slot& slot) noexcept {
  if (slot.attribute == nullptr) return SlotTag::reference;
  switch (slot.attribute->attributeType()) {
    case NSAttributeType::integer16:
    case NSAttributeType::integer32:
    case NSAttributeType::integer64:
    case NSAttributeType::boolean:
      return SlotTag::integer;
    case NSAttributeType::double_:
      return SlotTag::real;
    case NSAttributeType::date:
      return SlotTag::date;
    case NSAttributeType::string:
      return SlotTag::text;
    case NSAttributeType::binaryData:
      return SlotTag::bytes;
    case NSAttributeType::uuid:
      return SlotTag::identifier;
    case NSAttributeType::undefined:
      return SlotTag::none;
  }
  return SlotTag::none;
}

RowColumns::RowColumns(const NSEntityDescription& entity) : entity_(&entity) {
  SlotIndex index = 0;
  for (const Slot& slot : entity.slots()) {
    const SlotTag kind = slotKind(slot);
    const bool isPacked =
        kind == SlotTag::text || kind == SlotTag::bytes || kind == SlotTag::identifier;
    (isPacked ? packed_ : plain_).push_back({index++, kind});
  }
}

std::string RowColumns::list(std::string_view alias) const {
  const std::string prefix = std::string(alias) + ".";
  std::string result = prefix + "_id," + prefix + "_version";
  for (const Slot& slot : entity_->slots())
    result += "," + prefix + quotedIdentifier(slot.property->name());
  return result;
}

namespace {

/// What a packed column holds; lent by the statement.
struct PackedCell {
  const std::uint8_t* start;
  std::size_t size;
  bool isAbsent;

  [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept { return {start, size}; }
};

PackedCell packedCell(const Cell& cell) {
  if (cell.isNull()) return {nullptr, 0, true};
  const auto bytes = cell.bytes();
  return {bytes.data(), bytes.size(), false};
}

void putPlain(Row& row, SlotIndex slot, SlotTag kind, const Cell& cell) noexcept {
  if (cell.isNull()) return;
  if (kind == SlotTag::integer) {
    row.setInteger(slot, cell.integer());
  } else if (kind == SlotTag::reference) {
    row.setReference(slot, cell.integer());
  } else if (kind == SlotTag::date) {
    row.setDate(slot, cell.real());
  } else if (kind == SlotTag::real) {
    row.setReal(slot, cell.real());
  }
}

}  // namespace

Ref<Row> RowColumns::read(const Statement& statement, RowBlocks* blocks) const {
  // Looked at once, for the room that they take and for what they hold. Not cleared: most entities
  // have few.
  std::array<PackedCell, kMaxSlots> cells;
  std::size_t size = 0;
  for (std::size_t i = 0; i < packed_.size(); ++i) {
    cells[i] = packedCell(statement.cell(kFirstSlotColumn + packed_[i].slot));
    size += cells[i].size;
  }
  Ref<Row> row = Row::make(*entity_, size, blocks);
  row->setKey(statement.integer(0));
  row->setVersion(statement.integer(1));
  for (const Column& column : plain_) {
    putPlain(*row, column.slot, column.kind, statement.cell(kFirstSlotColumn + column.slot));
  }
  for (std::size_t i = 0; i < packed_.size(); ++i) {
    if (!cells[i].isAbsent) putPacked(row, packed_[i], cells[i].bytes());
  }
  return row;
}

void RowColumns::putPacked(Ref<Row>& row, const Column& column,
                           std::span<const std::uint8_t> bytes) const {
  switch (column.kind) {
    case SlotTag::text:
      return Row::setText(row, column.slot,
                          {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    case SlotTag::bytes:
      return Row::setBytes(row, column.slot, bytes);
    case SlotTag::identifier: {
      UUID::Bytes value;
      if (bytes.size() != value.size()) {
        throw storeError(StoreErrorCode::damaged,
                         entity_->name() + " " + std::to_string(row->key()) + " holds an " +
                             entity_->slots()[column.slot].property->name() + " of " +
                             std::to_string(bytes.size()) + " bytes, which is no identifier.");
      }
      std::ranges::copy(bytes, value.begin());
      return Row::setIdentifier(row, column.slot, UUID(value));
    }
    case SlotTag::none:
    case SlotTag::integer:
    case SlotTag::real:
    case SlotTag::date:
    case SlotTag::reference:
      return;
  }
}

void RowColumns::bind(Statement& statement, int parameter, const Row& row, SlotIndex slot) {
  switch (row.tag(slot)) {
    case SlotTag::none:
      return statement.bindNull(parameter);
    case SlotTag::integer:
      return statement.bindInteger(parameter, row.integer(slot));
    case SlotTag::reference:
      return statement.bindInteger(parameter, row.reference(slot));
    case SlotTag::real:
    case SlotTag::date:
      return statement.bindReal(parameter, row.real(slot));
    case SlotTag::text:
      return statement.bindText(parameter, row.text(slot));
    case SlotTag::bytes:
      return statement.bindBytes(parameter, row.bytes(slot));
    case SlotTag::identifier:
      return statement.bind(parameter, foundation::Operand::uuid(row.identifier(slot).bytes()));
  }
}

}  // namespace coredata
