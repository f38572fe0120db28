#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/Rows/ObjectKey.h"
#include "CoreData/Rows/RowBlocks.h"
#include "Foundation/Values/Ref.h"
#include "Foundation/Values/UUID.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// What a slot of a row holds.
enum class SlotTag : std::uint8_t {
  none,        ///< absent, which is not 0
  integer,     ///< a whole number or a Boolean
  real,        ///< a double
  date,        ///< a double: seconds since the reference date
  text,        ///< UTF-8
  bytes,       ///< binary data
  identifier,  ///< a UUID
  reference,   ///< the key of another object
};

/// The values of one object as the store holds them: 8-byte slots, a tag each, and the texts and
/// bytes behind them, in one piece of memory.
///
/// A row is written while exactly one handle holds it and is immutable as soon as it is shared; the
/// setters demand that (checked in debug builds). Setting a text or bytes may move the row, which
/// is why those setters take the handle.
///
/// Threading: a shared row may be read on any threads.
class Row {
 public:
  Row(const Row&) = delete;
  Row& operator=(const Row&) = delete;

  /// A row with every slot absent, key and version 0, and room for `payloadCapacity` bytes of
  /// texts. It lies in memory of its own, or next to the rows that were made in `blocks` before.
  [[nodiscard]] static foundation::Ref<Row> make(const NSEntityDescription& entity,
                                                 std::size_t payloadCapacity = 0,
                                                 RowBlocks* blocks = nullptr);
  /// A copy that can be written, with room for `extraCapacity` more bytes.
  [[nodiscard]] foundation::Ref<Row> copy(std::size_t extraCapacity = 0) const;

  [[nodiscard]] const NSEntityDescription& entity() const noexcept { return *entity_; }
  [[nodiscard]] SlotIndex slotCount() const noexcept { return slotCount_; }
  /// The object's key in the store; kept by the row so that a fetched row says which object it is.
  [[nodiscard]] ObjectKey key() const noexcept { return key_; }
  /// How often the stored row was written; a save that finds another number than it read has met a
  /// conflict.
  [[nodiscard]] std::int64_t version() const noexcept { return version_; }
  /// Bytes that the row occupies.
  [[nodiscard]] std::size_t byteSize() const noexcept;

  [[nodiscard]] SlotTag tag(SlotIndex slot) const noexcept { return tags()[slot]; }
  [[nodiscard]] bool isNone(SlotIndex slot) const noexcept { return tag(slot) == SlotTag::none; }
  /// The readers answer 0, empty or `kNoObject` for a slot that holds nothing or another kind.
  [[nodiscard]] std::int64_t integer(SlotIndex slot) const noexcept {
    return tag(slot) == SlotTag::integer ? words()[slot].integer : 0;
  }
  [[nodiscard]] double real(SlotIndex slot) const noexcept {
    return tag(slot) == SlotTag::real || tag(slot) == SlotTag::date ? words()[slot].real : 0.0;
  }
  [[nodiscard]] ObjectKey reference(SlotIndex slot) const noexcept {
    return tag(slot) == SlotTag::reference ? words()[slot].integer : kNoObject;
  }
  [[nodiscard]] std::string_view text(SlotIndex slot) const noexcept;
  [[nodiscard]] std::span<const std::uint8_t> bytes(SlotIndex slot) const noexcept;
  [[nodiscard]] foundation::UUID identifier(SlotIndex slot) const noexcept;
  /// The bytes of a text, of data or of an identifier, whichever it is.
  [[nodiscard]] std::string_view packed(SlotIndex slot) const noexcept;
  /// The bytes of a slot of a row that is not written any more. Where they are most of it they stay
  /// in its memory, which lives as long as they do; else they are copied.
  [[nodiscard]] static foundation::Data sharedBytes(const foundation::Ref<Row>& row,
                                                    SlotIndex slot);
  /// The slot as a value of run-time kind; a reference gives its key as a number. Allocates for
  /// texts and bytes.
  [[nodiscard]] foundation::Value value(SlotIndex slot) const;

  void setKey(ObjectKey key) noexcept;
  void setVersion(std::int64_t version) noexcept;
  void setNone(SlotIndex slot) noexcept;
  void setInteger(SlotIndex slot, std::int64_t value) noexcept;
  /// Not-a-number cannot be stored and becomes absent, which a scalar reads as 0.
  void setReal(SlotIndex slot, double value) noexcept;
  void setDate(SlotIndex slot, double secondsSinceReferenceDate) noexcept;
  void setReference(SlotIndex slot, ObjectKey key) noexcept;
  /// Throws `foundation::Error` when the row would pass 1 GiB, the store's limit for one value.
  static void setText(foundation::Ref<Row>& row, SlotIndex slot, std::string_view value);
  static void setBytes(foundation::Ref<Row>& row, SlotIndex slot,
                       std::span<const std::uint8_t> value);
  static void setIdentifier(foundation::Ref<Row>& row, SlotIndex slot,
                            const foundation::UUID& value);
  /// Copies one slot of another row of the same entity.
  static void setFrom(foundation::Ref<Row>& row, SlotIndex slot, const Row& other);

  /// Whether both rows hold the same in this slot: tag and bits.
  [[nodiscard]] bool slotEquals(SlotIndex slot, const Row& other) const noexcept;
  /// The slots in which two rows of one entity differ.
  [[nodiscard]] SlotMask differencesFrom(const Row& other) const noexcept;

  void retain() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  void release() const noexcept {
    if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy();
  }
  /// Whether this handle is the only one, so that the row may be written.
  [[nodiscard]] bool isUnshared() const noexcept {
    return count_.load(std::memory_order_acquire) == 1;
  }

 private:
  struct PayloadRange {
    std::uint32_t offset;
    std::uint32_t size;
  };
  union Word {
    std::int64_t integer;
    double real;
    PayloadRange range;
  };

  Row(const NSEntityDescription& entity, std::uint32_t payloadCapacity,
      std::uint16_t distance) noexcept;
  ~Row() = default;
  void destroy() const noexcept;
  static foundation::Ref<Row> allocate(RowBlocks* blocks, const NSEntityDescription& entity,
                                       std::size_t payloadCapacity);
  class ValueLeftOut;
  static void setRange(foundation::Ref<Row>& row, SlotIndex slot, SlotTag tag, const void* source,
                       std::size_t size);

  /// Bytes of texts and data that the slots name; less than `payloadSize_` where some were
  /// replaced.
  [[nodiscard]] std::size_t usedPayload() const noexcept;
  /// Bytes of the slots and their tags.
  [[nodiscard]] std::size_t slotsSize() const noexcept {
    return slotCount_ * (sizeof(Word) + sizeof(SlotTag));
  }

  [[nodiscard]] Word* words() noexcept { return reinterpret_cast<Word*>(this + 1); }
  [[nodiscard]] const Word* words() const noexcept {
    return reinterpret_cast<const Word*>(this + 1);
  }
  [[nodiscard]] SlotTag* tags() noexcept {
    return reinterpret_cast<SlotTag*>(words() + slotCount_);
  }
  [[nodiscard]] const SlotTag* tags() const noexcept {
    return reinterpret_cast<const SlotTag*>(words() + slotCount_);
  }
  [[nodiscard]] std::uint8_t* payload() noexcept {
    return reinterpret_cast<std::uint8_t*>(tags() + slotCount_);
  }
  [[nodiscard]] const std::uint8_t* payload() const noexcept {
    return reinterpret_cast<const std::uint8_t*>(tags() + slotCount_);
  }

  const NSEntityDescription* entity_;
  ObjectKey key_ = kNoObject;
  std::int64_t version_ = 0;
  mutable std::atomic<std::uint32_t> count_{1};
  std::uint32_t payloadSize_ = 0;
  std::uint32_t payloadCapacity_;
  SlotIndex slotCount_;
  /// How far behind the start of its block the row lies; 0 in memory of its own.
  std::uint16_t distance_;
};

}  // namespace coredata
