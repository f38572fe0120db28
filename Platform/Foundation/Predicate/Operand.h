#pragma once

#include <compare>
#include <cstdint>
#include <span>
#include <string_view>

#include "Foundation/Values/Value.h"

namespace foundation {

/// One side of a comparison at the moment it is made: a kind and a view of a value that somebody
/// else keeps alive. Making and copying one never allocates.
class Operand {
 public:
  enum class Kind : std::uint8_t {
    none,
    integer,
    real,
    date,
    text,
    bytes,
    uuid,
    object,
    list,
    many,   ///< a to-many, whose members only the reader can enumerate
    other,  ///< of a kind that compares with nothing
  };

  constexpr Operand() noexcept : kind_(Kind::none), integer_(0) {}
  [[nodiscard]] static constexpr Operand integer(std::int64_t value) noexcept {
    Operand result(Kind::integer);
    result.integer_ = value;
    return result;
  }
  [[nodiscard]] static constexpr Operand real(double value) noexcept {
    Operand result(Kind::real);
    result.real_ = value;
    return result;
  }
  [[nodiscard]] static constexpr Operand date(double secondsSinceReference) noexcept {
    Operand result(Kind::date);
    result.real_ = secondsSinceReference;
    return result;
  }
  [[nodiscard]] static constexpr Operand text(std::string_view value) noexcept {
    Operand result(Kind::text);
    result.text_ = value;
    return result;
  }
  [[nodiscard]] static Operand bytes(std::span<const std::uint8_t> value) noexcept {
    Operand result(Kind::bytes);
    result.text_ = {reinterpret_cast<const char*>(value.data()), value.size()};
    return result;
  }
  [[nodiscard]] static constexpr Operand uuid(const UUID::Bytes& value) noexcept {
    Operand result(Kind::uuid);
    result.uuid_ = value;
    return result;
  }
  /// An object known by an address that its equals share.
  [[nodiscard]] static constexpr Operand identity(const void* identity) noexcept {
    Operand result(Kind::object);
    result.object_ = {identity, nullptr};
    return result;
  }
  /// An object that compares by `isEqual`.
  [[nodiscard]] static Operand object(const Object& value) noexcept {
    Operand result(Kind::object);
    result.object_ = {&value, &value};
    return result;
  }
  [[nodiscard]] static constexpr Operand list(const ValueList& values) noexcept {
    Operand result(Kind::list);
    result.list_ = &values;
    return result;
  }
  [[nodiscard]] static constexpr Operand many() noexcept { return Operand(Kind::many); }
  [[nodiscard]] static constexpr Operand other() noexcept { return Operand(Kind::other); }
  /// A view of the value, which must outlive the operand.
  [[nodiscard]] static Operand of(const Value& value) noexcept;

  [[nodiscard]] constexpr Kind kind() const noexcept { return kind_; }
  [[nodiscard]] constexpr bool isNone() const noexcept { return kind_ == Kind::none; }
  [[nodiscard]] constexpr std::int64_t asInteger() const noexcept { return integer_; }
  [[nodiscard]] constexpr double asReal() const noexcept { return real_; }
  /// A text's or a byte string's bytes.
  [[nodiscard]] constexpr std::string_view asText() const noexcept { return text_; }
  [[nodiscard]] constexpr const UUID::Bytes& asUUID() const noexcept { return uuid_; }
  [[nodiscard]] constexpr const void* asIdentity() const noexcept { return object_.identity; }
  [[nodiscard]] constexpr const Object* asObject() const noexcept { return object_.object; }
  [[nodiscard]] constexpr const ValueList& asList() const noexcept { return *list_; }

 private:
  struct ObjectView {
    const void* identity;
    const Object* object;
  };

  constexpr explicit Operand(Kind kind) noexcept : kind_(kind), integer_(0) {}

  Kind kind_;
  union {
    std::int64_t integer_;
    double real_;
    std::string_view text_;
    UUID::Bytes uuid_;
    ObjectView object_;
    const ValueList* list_;
  };
};

/// The order of two values that can be compared: numbers by value without rounding either side,
/// dates by their seconds, texts and byte strings by bytes, identifiers by bytes; objects are equal
/// or unordered. Values of different kinds, absent ones and not-a-number are unordered.
[[nodiscard]] std::partial_ordering order(const Operand& left, const Operand& right) noexcept;

/// Whether `=` holds: as `order`, and two absent values are equal, and lists with equal elements.
[[nodiscard]] bool isEqual(const Operand& left, const Operand& right) noexcept;

/// The total order of sorting: absent first, then by `order`; kinds that do not compare stand in
/// the order of `Operand::Kind`, not-a-number before all numbers. Objects and lists have no order
/// among themselves.
[[nodiscard]] std::weak_ordering sortOrder(const Operand& left, const Operand& right) noexcept;

}  // namespace foundation
