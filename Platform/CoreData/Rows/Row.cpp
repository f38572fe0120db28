#include "CoreData/Rows/Row.h"

#include <cassert>
#include <cmath>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "Foundation/Values/Error.h"

namespace coredata {

using foundation::Ref;
using foundation::Value;

namespace {
constexpr std::size_t kMaxPayload = std::size_t{1} << 30;
constexpr std::int64_t kPayloadTooLargeCode = 134180;

bool isInPayload(SlotTag tag) noexcept {
  return tag == SlotTag::text || tag == SlotTag::bytes || tag == SlotTag::identifier;
}
}  // namespace

Row::Row(const NSEntityDescription& entity, std::uint32_t payloadCapacity,
         std::uint16_t distance) noexcept
    : entity_(&entity),
      payloadCapacity_(payloadCapacity),
      slotCount_(static_cast<SlotIndex>(entity.slots().size())),
      distance_(distance) {}

Ref<Row> Row::allocate(RowBlocks* blocks, const NSEntityDescription& entity,
                       std::size_t payloadCapacity) {
  if (payloadCapacity > kMaxPayload) {
    throw foundation::Error(std::string(foundation::kCocoaErrorDomain), kPayloadTooLargeCode,
                            "The texts and data of one " + entity.name() + " pass 1 GiB.");
  }
  const std::size_t size =
      sizeof(Row) + entity.slots().size() * (sizeof(Word) + sizeof(SlotTag)) + payloadCapacity;
  const RowPlace place =
      blocks != nullptr ? blocks->place(size) : RowPlace{::operator new(size), 0};
  return Ref<Row>::adopt(
      new (place.memory) Row(entity, static_cast<std::uint32_t>(payloadCapacity), place.distance));
}

void Row::destroy() const noexcept {
  auto* memory = reinterpret_cast<std::byte*>(const_cast<Row*>(this));
  const std::size_t distance = distance_ * RowPlace::kUnit;
  this->~Row();
  if (distance == 0) {
    ::operator delete(memory);
  } else {
    reinterpret_cast<RowBlock*>(memory - distance)->drop();
  }
}

Ref<Row> Row::make(const NSEntityDescription& entity, std::size_t payloadCapacity,
                   RowBlocks* blocks) {
  Ref<Row> result = allocate(blocks, entity, payloadCapacity);
  std::memset(result->words(), 0, result->slotsSize());
  return result;
}

Ref<Row> Row::copy(std::size_t extraCapacity) const {
  const std::size_t used = usedPayload();
  Ref<Row> result = allocate(nullptr, *entity_, used + extraCapacity);
  result->key_ = key_;
  result->version_ = version_;
  if (used == payloadSize_) {
    std::memcpy(result->words(), words(), slotsSize() + payloadSize_);
    result->payloadSize_ = payloadSize_;
    return result;
  }
  // Replaced texts have left holes behind them: only what the slots still name is taken along.
  std::memcpy(result->words(), words(), slotsSize());
  std::uint32_t end = 0;
  for (SlotIndex slot = 0; slot < slotCount_; ++slot) {
    if (!isInPayload(tag(slot))) continue;
    const PayloadRange from = words()[slot].range;
    std::memcpy(result->payload() + end, payload() + from.offset, from.size);
    result->words()[slot].range.offset = end;
    end += from.size;
  }
  result->payloadSize_ = end;
  return result;
}

std::size_t Row::usedPayload() const noexcept {
  if (payloadSize_ == 0) return 0;
  std::size_t result = 0;
  for (SlotIndex slot = 0; slot < slotCount_; ++slot) {
    if (isInPayload(tag(slot))) result += words()[slot].range.size;
  }
  return result;
}

std::size_t Row::byteSize() const noexcept { return sizeof(Row) + slotsSize() + payloadCapacity_; }

std::string_view Row::packed(SlotIndex slot) const noexcept {
  if (!isInPayload(tag(slot))) return {};
  const PayloadRange range = words()[slot].range;
  return {reinterpret_cast<const char*>(payload()) + range.offset, range.size};
}

std::string_view Row::text(SlotIndex slot) const noexcept {
  return tag(slot) == SlotTag::text ? packed(slot) : std::string_view();
}

std::span<const std::uint8_t> Row::bytes(SlotIndex slot) const noexcept {
  if (tag(slot) != SlotTag::bytes) return {};
  const PayloadRange range = words()[slot].range;
  return {payload() + range.offset, range.size};
}

foundation::Data Row::sharedBytes(const Ref<Row>& row, SlotIndex slot) {
  const auto bytes = row->bytes(slot);
  const bool areMostOfIt = row->distance_ == 0 && bytes.size() >= row->byteSize() / 2;
  if (!areMostOfIt) return foundation::Data(bytes);
  struct LentBytes {
    Ref<Row> row;
    std::span<const std::uint8_t> bytes;
  };
  const auto lent = std::make_shared<const LentBytes>(row, bytes);
  return foundation::Data({lent, &lent->bytes});
}

foundation::UUID Row::identifier(SlotIndex slot) const noexcept {
  foundation::UUID::Bytes bytes{};
  if (tag(slot) == SlotTag::identifier) {
    std::memcpy(bytes.data(), payload() + words()[slot].range.offset, bytes.size());
  }
  return foundation::UUID(bytes);
}

Value Row::value(SlotIndex slot) const {
  switch (tag(slot)) {
    case SlotTag::none:
      return {};
    case SlotTag::integer:
    case SlotTag::reference:
      return words()[slot].integer;
    case SlotTag::real:
      return words()[slot].real;
    case SlotTag::date:
      return foundation::Date::fromReference(words()[slot].real);
    case SlotTag::text:
      return text(slot);
    case SlotTag::bytes:
      return foundation::Data(bytes(slot));
    case SlotTag::identifier:
      return identifier(slot);
  }
  return {};
}

void Row::setKey(ObjectKey key) noexcept {
  assert(isUnshared());
  key_ = key;
}

void Row::setVersion(std::int64_t version) noexcept {
  assert(isUnshared());
  version_ = version;
}

void Row::setNone(SlotIndex slot) noexcept {
  assert(isUnshared());
  tags()[slot] = SlotTag::none;
  words()[slot].integer = 0;
}

void Row::setInteger(SlotIndex slot, std::int64_t value) noexcept {
  assert(isUnshared());
  tags()[slot] = SlotTag::integer;
  words()[slot].integer = value;
}

void Row::setReal(SlotIndex slot, double value) noexcept {
  assert(isUnshared());
  if (std::isnan(value)) {
    setNone(slot);
    return;
  }
  tags()[slot] = SlotTag::real;
  words()[slot].real = value;
}

void Row::setDate(SlotIndex slot, double secondsSinceReferenceDate) noexcept {
  setReal(slot, secondsSinceReferenceDate);
  if (tags()[slot] == SlotTag::real) tags()[slot] = SlotTag::date;
}

void Row::setReference(SlotIndex slot, ObjectKey key) noexcept {
  assert(isUnshared());
  tags()[slot] = key == kNoObject ? SlotTag::none : SlotTag::reference;
  words()[slot].integer = key;
}

/// A row without one of its values, which need not come along into a copy. It gets it back: there
/// may be no memory for the copy.
class Row::ValueLeftOut {
 public:
  ValueLeftOut(Row& row, SlotIndex slot) noexcept
      : row_(&row), slot_(slot), tag_(std::exchange(row.tags()[slot], SlotTag::none)) {}
  ~ValueLeftOut() { row_->tags()[slot_] = tag_; }
  ValueLeftOut(const ValueLeftOut&) = delete;
  ValueLeftOut& operator=(const ValueLeftOut&) = delete;

  [[nodiscard]] const Row& row() const noexcept { return *row_; }

 private:
  const Ref<Row> row_;
  const SlotIndex slot_;
  const SlotTag tag_;
};

void Row::setRange(Ref<Row>& row, SlotIndex slot, SlotTag tag, const void* source,
                   std::size_t size) {
  assert(row->isUnshared());
  Word& word = row->words()[slot];
  const bool fitsInPlace = isInPayload(row->tag(slot)) && word.range.size >= size;
  std::uint32_t offset = word.range.offset;
  if (!fitsInPlace) {
    if (size > kMaxPayload || row->payloadSize_ + size > row->payloadCapacity_) {
      // Growing by half again keeps repeated edits cheap.
      const ValueLeftOut leftOut(*row, slot);
      row = leftOut.row().copy(size + row->payloadSize_ / 2);
    }
    offset = row->payloadSize_;
    row->payloadSize_ += static_cast<std::uint32_t>(size);
  }
  if (size != 0) std::memcpy(row->payload() + offset, source, size);
  row->words()[slot].range = {offset, static_cast<std::uint32_t>(size)};
  row->tags()[slot] = tag;
}

void Row::setText(Ref<Row>& row, SlotIndex slot, std::string_view value) {
  setRange(row, slot, SlotTag::text, value.data(), value.size());
}

void Row::setBytes(Ref<Row>& row, SlotIndex slot, std::span<const std::uint8_t> value) {
  setRange(row, slot, SlotTag::bytes, value.data(), value.size());
}

void Row::setIdentifier(Ref<Row>& row, SlotIndex slot, const foundation::UUID& value) {
  setRange(row, slot, SlotTag::identifier, value.bytes().data(), value.bytes().size());
}

void Row::setFrom(Ref<Row>& row, SlotIndex slot, const Row& other) {
  if (isInPayload(other.tag(slot))) {
    const PayloadRange range = other.words()[slot].range;
    setRange(row, slot, other.tag(slot), other.payload() + range.offset, range.size);
    return;
  }
  assert(row->isUnshared());
  row->words()[slot] = other.words()[slot];
  row->tags()[slot] = other.tag(slot);
}

bool Row::slotEquals(SlotIndex slot, const Row& other) const noexcept {
  if (tag(slot) != other.tag(slot)) return false;
  if (!isInPayload(tag(slot))) return words()[slot].integer == other.words()[slot].integer;
  const PayloadRange a = words()[slot].range;
  const PayloadRange b = other.words()[slot].range;
  return a.size == b.size &&
         std::memcmp(payload() + a.offset, other.payload() + b.offset, a.size) == 0;
}

SlotMask Row::differencesFrom(const Row& other) const noexcept {
  SlotMask result = 0;
  const Word* mine = words();
  const Word* theirs = other.words();
  for (SlotIndex slot = 0; slot < slotCount_; ++slot) {
    const bool differs = tag(slot) != other.tag(slot) ||
                         (isInPayload(tag(slot)) ? !slotEquals(slot, other)
                                                 : mine[slot].integer != theirs[slot].integer);
    result |= SlotMask{differs} << slot;
  }
  return result;
}

}  // namespace coredata
