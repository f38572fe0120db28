#include "CoreData/SQLite/RowColumns.h"

#include <algorithm>

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
  kinds_.reserve(entity.slots().size());
  for (const Slot& slot : entity.slots()) {
    const SlotTag kind = slotKind(slot);
    if (kind == SlotTag::text || kind == SlotTag::bytes || kind == SlotTag::identifier) {
      payloadSlots_.push_back(static_cast<SlotIndex>(kinds_.size()));
    }
    kinds_.push_back(kind);
  }
}

std::string RowColumns::list(std::string_view alias) const {
  const std::string prefix = std::string(alias) + ".";
  std::string result = prefix + "_id," + prefix + "_version";
  for (const Slot& slot : entity_->slots())
    result += "," + prefix + quotedIdentifier(slot.property->name());
  return result;
}

std::size_t RowColumns::payloadSize(const Statement& statement) const {
  std::size_t size = 0;
  for (const SlotIndex slot : payloadSlots_) {
    size += statement.cell(kFirstSlotColumn + slot).byteSize();
  }
  return size;
}

Ref<Row> RowColumns::read(const Statement& statement, RowBlocks* blocks) const {
  Ref<Row> row = Row::make(*entity_, payloadSize(statement), blocks);
  row->setKey(statement.integer(0));
  row->setVersion(statement.integer(1));
  const auto count = static_cast<SlotIndex>(kinds_.size());
  for (SlotIndex slot = 0; slot < count; ++slot) {
    const Cell cell = statement.cell(kFirstSlotColumn + slot);
    if (!cell.isNull()) readSlot(cell, row, slot);
  }
  return row;
}

void RowColumns::readSlot(const Cell& cell, Ref<Row>& row, SlotIndex slot) const {
  switch (kinds_[slot]) {
    case SlotTag::none:
      return;
    case SlotTag::integer:
      return row->setInteger(slot, cell.integer());
    case SlotTag::real:
      return row->setReal(slot, cell.real());
    case SlotTag::date:
      return row->setDate(slot, cell.real());
    case SlotTag::reference:
      return row->setReference(slot, cell.integer());
    case SlotTag::text:
      return Row::setText(row, slot, cell.text());
    case SlotTag::bytes:
      return Row::setBytes(row, slot, cell.bytes());
    case SlotTag::identifier: {
      const auto bytes = cell.bytes();
      UUID::Bytes value;
      if (bytes.size() != value.size()) {
        throw storeError(StoreErrorCode::damaged,
                         entity_->name() + " " + std::to_string(row->key()) + " holds an " +
                             entity_->slots()[slot].property->name() + " of " +
                             std::to_string(bytes.size()) + " bytes, which is no identifier.");
      }
      std::ranges::copy(bytes, value.begin());
      return Row::setIdentifier(row, slot, UUID(value));
    }
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
