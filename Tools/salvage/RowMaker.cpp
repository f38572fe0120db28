#include "Tools/salvage/RowMaker.h"

#include <algorithm>

#include "Foundation/Text/Characters.h"
#include "Tools/storecheck/DayCheck.h"
#include "Tools/storecheck/ValueCheck.h"

namespace salvage {

using coredata::NSAttributeType;
using coredata::NSEntityDescription;
using coredata::Row;
using coredata::Slot;
using coredata::SlotIndex;
using coredata::StoredValue;
using foundation::Ref;
using Kind = StoredValue::Kind;

namespace {

bool isStoredAsReal(const Slot& slot) {
  if (slot.attribute == nullptr) return false;
  const NSAttributeType type = slot.attribute->attributeType();
  return type == NSAttributeType::double_ || type == NSAttributeType::date;
}

/// The class in which a column stores what is there.
Kind kindOf(const Slot& slot) {
  if (slot.attribute == nullptr) return Kind::integer;
  switch (slot.attribute->attributeType()) {
    case NSAttributeType::undefined:
      return Kind::absent;
    case NSAttributeType::integer16:
    case NSAttributeType::integer32:
    case NSAttributeType::integer64:
    case NSAttributeType::boolean:
      return Kind::integer;
    case NSAttributeType::double_:
    case NSAttributeType::date:
      return Kind::real;
    case NSAttributeType::string:
      return Kind::text;
    case NSAttributeType::binaryData:
    case NSAttributeType::uuid:
      return Kind::bytes;
  }
  return Kind::absent;
}

bool isStored(const RecordShape::Column& column, const Slot& slot) {
  if (column.kind == Kind::absent || column.kind == kindOf(slot)) return true;
  return column.kind == Kind::integer && isStoredAsReal(slot);
}

/// With the replacement character for each byte that is part of no other.
std::string mendedText(std::string_view text) {
  constexpr std::string_view kReplacement = "\xef\xbf\xbd";
  constexpr std::size_t kLongestCharacter = 4;
  std::string mended;
  while (!text.empty()) {
    std::size_t size = 1;
    while (size < std::min(kLongestCharacter, text.size()) &&
           !foundation::isUtf8(text.substr(0, size)))
      ++size;
    const bool isCharacter = foundation::isUtf8(text.substr(0, size));
    mended += isCharacter ? text.substr(0, size) : kReplacement;
    text.remove_prefix(isCharacter ? size : 1);
  }
  return mended;
}

bool isDayOrMonth(const NSEntityDescription& entity, const Slot& slot, std::string_view text) {
  using storecheck::KeyForm;
  if (slot.property->name() != "date") return true;
  if (entity.name() == "Checkin") return storecheck::formOfDay(text) != KeyForm::none;
  if (entity.name() == "MonthlyReview") return storecheck::formOfMonth(text) != KeyForm::none;
  return true;
}

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// One row in the making.
class Making {
 public:
  Making(const NSEntityDescription& entity, const RecordReader& record, EntityReport* report)
      : entity_(entity), record_(record), report_(report), row_(Row::make(entity)) {}

  Ref<Row> row(coredata::ObjectKey key) {
    row_->setKey(key);
    const StoredValue& version = record_.values()[1];
    row_->setVersion(version.kind == Kind::integer ? std::max<std::int64_t>(version.integer, 1)
                                                   : 1);
    for (SlotIndex i = 0; i < row_->slotCount(); ++i) fill(i);
    return std::move(row_);
  }

 private:
  void fill(SlotIndex index) {
    const Slot& slot = entity_.slots()[index];
    if (record_.isLost(kFirstSlot + index)) return lose(index, LossReason::lostValue);
    StoredValue value = record_.values()[kFirstSlot + index];
    if (value.kind == Kind::absent) return;
    if (value.kind == Kind::integer && isStoredAsReal(slot)) {
      value.kind = Kind::real;
      value.real = static_cast<double>(value.integer);
    }
    std::string mended;
    if (kindOf(slot) == Kind::text && value.kind == Kind::text &&
        !foundation::isUtf8(value.content)) {
      mended = mendedText(value.content);
      value.content = mended;
      note(slot, LossReason::mendedText);
    }
    if (!storecheck::isOfKind(value, slot)) return lose(index, LossReason::wrongKind);
    if (!isDayOrMonth(entity_, slot, value.content)) return lose(index, LossReason::noDay);
    put(index, slot, value);
  }

  void put(SlotIndex index, const Slot& slot, const StoredValue& value) {
    if (slot.attribute == nullptr) return row_->setReference(index, value.integer);
    switch (slot.attribute->attributeType()) {
      case NSAttributeType::undefined:
        return;
      case NSAttributeType::integer16:
      case NSAttributeType::integer32:
      case NSAttributeType::integer64:
      case NSAttributeType::boolean:
        return row_->setInteger(index, value.integer);
      case NSAttributeType::double_:
        return row_->setReal(index, value.real);
      case NSAttributeType::date:
        return row_->setDate(index, value.real);
      case NSAttributeType::string:
        return Row::setText(row_, index, value.content);
      case NSAttributeType::binaryData:
        return Row::setBytes(row_, index, bytesOf(value.content));
      case NSAttributeType::uuid:
        return putIdentifier(index, value.content);
    }
  }

  void putIdentifier(SlotIndex index, std::string_view content) {
    foundation::UUID::Bytes bytes{};
    std::ranges::copy(bytesOf(content), bytes.begin());
    Row::setIdentifier(row_, index, foundation::UUID(bytes));
  }

  void note(const Slot& slot, LossReason reason) {
    if (report_ != nullptr) report_->lose(slot.property->name(), reason);
  }

  void lose(SlotIndex index, LossReason reason) {
    const Slot& slot = entity_.slots()[index];
    note(slot, reason);
    if (slot.attribute == nullptr) return;
    const foundation::Value& usual = slot.attribute->defaultValue();
    if (const auto* number = usual.number()) {
      slot.attribute->attributeType() == NSAttributeType::double_
          ? row_->setReal(index, number->doubleValue())
          : row_->setInteger(index, number->int64Value());
    } else if (const std::string* text = usual.text()) {
      Row::setText(row_, index, *text);
    }
  }

  const NSEntityDescription& entity_;
  const RecordReader& record_;
  EntityReport* report_;
  Ref<Row> row_;
};

}  // namespace

bool hasColumnsOf(const NSEntityDescription& entity, const RecordShape& shape) noexcept {
  const auto columns = shape.columns();
  return columns.size() == kFirstSlot + entity.slots().size() && columns[0].kind == Kind::absent;
}

bool hasValuesOf(const NSEntityDescription& entity, const RecordShape& shape) noexcept {
  if (!hasColumnsOf(entity, shape) || shape.columns()[1].kind != Kind::integer) return false;
  const auto columns = shape.columns().subspan(kFirstSlot);
  return std::ranges::equal(columns, entity.slots(), isStored);
}

Ref<Row> madeRow(const NSEntityDescription& entity, coredata::ObjectKey key,
                 const RecordReader& record, EntityReport* report) {
  return Making(entity, record, report).row(key);
}

}  // namespace salvage
