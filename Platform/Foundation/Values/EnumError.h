#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <utility>

#include "Foundation/Values/Error.h"

namespace foundation {

/// The base of an error enumeration: an error that is one of a few named cases, some with a
/// payload. It renders as `Type.case` or `Type.case(payload)`; its domain is the type's name, its
/// code the case's position.
///
///     class DoorError final : public EnumError<DoorError> {
///      public:
///       enum class Case { locked, missing };
///       static constexpr std::string_view kTypeName = "DoorError";
///       static constexpr std::string_view kCaseNames[] = {"locked", "missing"};
///
///       [[nodiscard]] static DoorError locked() { return DoorError(Case::locked); }
///       [[nodiscard]] static DoorError missing(std::string door) {
///         return DoorError(Case::missing, std::move(door));
///       }
///
///      private:
///       using EnumError::EnumError;
///     };
///
/// Two of them are equal when type, case and payload are. A case that wraps another error keeps it
/// as its `underlying()`, shows it in the payload's place, and equals every other of its case.
template <typename Derived>
class EnumError : public Error {
 public:
  /// Which case it is, as the type's own `Case`.
  [[nodiscard]] auto which() const noexcept { return static_cast<typename Derived::Case>(code()); }
  /// The payload's text; empty for a case without one.
  [[nodiscard]] const std::string& payload() const noexcept { return *payload_; }

  [[nodiscard]] std::string description() const override { return message(); }
  [[nodiscard]] std::shared_ptr<const Error> clone() const override {
    return std::make_shared<const Derived>(static_cast<const Derived&>(*this));
  }
  [[noreturn]] void raise() const override { throw static_cast<const Derived&>(*this); }

  friend bool operator==(const Derived& a, const Derived& b) noexcept {
    return a.code() == b.code() && *a.payload_ == *b.payload_;
  }

 protected:
  template <typename Case>
  requires std::same_as<Case, typename Derived::Case>
  explicit EnumError(Case which, std::string payload = {})
      : Error(std::string(Derived::kTypeName), static_cast<std::int64_t>(which),
              rendering(which, payload)),
        payload_(std::make_shared<const std::string>(std::move(payload))) {}

  template <typename Case>
  requires std::same_as<Case, typename Derived::Case> EnumError(
      Case which, const std::shared_ptr<const Error>& underlying)
      : Error(std::string(Derived::kTypeName), static_cast<std::int64_t>(which),
              rendering(which, underlying->description()), {}, underlying),
        payload_(std::make_shared<const std::string>()) {}

 private:
  template <typename Case>
  static std::string rendering(Case which, const std::string& payload) {
    std::string text(Derived::kTypeName);
    text += '.';
    text += Derived::kCaseNames[static_cast<std::size_t>(which)];
    return payload.empty() ? text : text + "(" + payload + ")";
  }

  // Shared, as the base's content is: copying what is being thrown must not throw.
  std::shared_ptr<const std::string> payload_;
};

}  // namespace foundation
