#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Foundation/Values/Data.h"
#include "Foundation/Values/Date.h"
#include "Foundation/Values/NSNumber.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/Ref.h"
#include "Foundation/Values/UUID.h"

namespace foundation {

class Value;
using ValueList = std::vector<Value>;
using ValueDictionary = std::map<std::string, Value, std::less<>>;

/// A value whose kind is known at run time: what key-value access, predicates' arguments,
/// dictionaries and user information carry. Absent is a kind of its own. Lists and dictionaries are
/// immutable and shared between copies.
class Value {
 public:
  using Storage =
      std::variant<std::monostate, NSNumber, std::string, Date, Data, UUID, Ref<Object>,
                   std::shared_ptr<const ValueList>, std::shared_ptr<const ValueDictionary>>;

  /// Absent.
  Value() noexcept = default;
  // NOLINTBEGIN(google-explicit-constructor): a value is what it was made from
  Value(std::nullptr_t) noexcept {}
  Value(bool value) noexcept : storage_(NSNumber(value)) {}
  Value(int value) noexcept : storage_(NSNumber(value)) {}
  Value(std::int64_t value) noexcept : storage_(NSNumber(value)) {}
  Value(double value) noexcept : storage_(NSNumber(value)) {}
  Value(NSNumber value) noexcept : storage_(value) {}
  Value(std::string value) noexcept : storage_(std::move(value)) {}
  Value(std::string_view value) : storage_(std::string(value)) {}
  Value(const char* value) : storage_(std::string(value)) {}
  Value(Date value) noexcept : storage_(value) {}
  Value(Data value) noexcept : storage_(std::move(value)) {}
  Value(const UUID& value) noexcept : storage_(value) {}
  /// An empty handle is absent.
  template <typename T>
  requires std::derived_from<T, Object> Value(const Ref<T>& object)
  noexcept {
    if (object) storage_ = Ref<Object>(const_cast<std::remove_const_t<T>*>(object.get()));
  }
  Value(ValueList list) : storage_(std::make_shared<const ValueList>(std::move(list))) {}
  Value(ValueDictionary dictionary)
      : storage_(std::make_shared<const ValueDictionary>(std::move(dictionary))) {}
  /// An empty optional is absent.
  template <typename T>
  Value(const std::optional<T>& value) {
    if (value) *this = Value(*value);
  }
  // NOLINTEND(google-explicit-constructor)

  [[nodiscard]] bool isNone() const noexcept {
    return std::holds_alternative<std::monostate>(storage_);
  }
  [[nodiscard]] const NSNumber* number() const noexcept { return std::get_if<NSNumber>(&storage_); }
  [[nodiscard]] const std::string* text() const noexcept {
    return std::get_if<std::string>(&storage_);
  }
  [[nodiscard]] const Date* date() const noexcept { return std::get_if<Date>(&storage_); }
  [[nodiscard]] const Data* data() const noexcept { return std::get_if<Data>(&storage_); }
  [[nodiscard]] const UUID* uuid() const noexcept { return std::get_if<UUID>(&storage_); }
  /// The object, or null when the value is none or of another kind.
  [[nodiscard]] Object* object() const noexcept {
    const auto* held = std::get_if<Ref<Object>>(&storage_);
    return held == nullptr ? nullptr : held->get();
  }
  [[nodiscard]] const ValueList* list() const noexcept;
  [[nodiscard]] const ValueDictionary* dictionary() const noexcept;
  [[nodiscard]] const Storage& storage() const noexcept { return storage_; }

  /// A text for people and logs.
  [[nodiscard]] std::string description() const;

  /// Same kind and equal content; numbers compare numerically, objects by `isEqual`.
  friend bool operator==(const Value& a, const Value& b) noexcept;

 private:
  Storage storage_;
};

}  // namespace foundation
