#pragma once

#include <array>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "Foundation/Predicate/PredicateArgument.h"
#include "Foundation/Predicate/PredicateShape.h"
#include "Foundation/Predicate/SubjectReader.h"
#include "Foundation/Values/Value.h"

namespace foundation {

/// A condition on objects: a shape and the values of its arguments. A handle to an immutable
/// content: copying costs a count.
///
/// Formats follow the grammar of comparisons ("activity = %@ AND date BEGINSWITH %@"), joined by
/// AND, OR and NOT. Placeholders stand for arguments: `%@` for any value, `%d` for whole numbers of
/// 32 bits, `%ld` of 64, `%u` and
/// `%lu` for those that are not negative, `%lf` for any number, `%K` for a key path given as a
/// text. Inside quotes placeholders are plain text; a percent sign is written there as `%%` or
/// alone.
///
/// Threading: immutable; use it on any thread.
class NSPredicate {
 public:
  /// Reads a format; a format seen before costs a look-up. For a call site on a hot path use
  /// `PredicateTemplate`. Throws `Error` for bad syntax and for a wrong number or kind of
  /// arguments.
  template <typename... Arguments>
  [[nodiscard]] static NSPredicate format(std::string_view format, Arguments&&... arguments) {
    std::array<Value, sizeof...(Arguments)> values{
        predicateArgument(std::forward<Arguments>(arguments))...};
    return formatWithArguments(format, values);
  }
  /// The same with the arguments in a list; their values are moved out of it.
  [[nodiscard]] static NSPredicate formatWithArguments(std::string_view format,
                                                       std::span<Value> arguments);
  /// One that holds for everything or for nothing.
  [[nodiscard]] static NSPredicate withValue(bool value);

  /// Binds arguments to a shape; the values are moved out of the list.
  /// Throws `Error` for a wrong number or kind of arguments.
  NSPredicate(std::shared_ptr<const PredicateShape> shape, std::span<Value> arguments);

  [[nodiscard]] const PredicateShape& shape() const noexcept;
  [[nodiscard]] const std::shared_ptr<const PredicateShape>& sharedShape() const noexcept;
  [[nodiscard]] std::span<const Value> arguments() const noexcept;
  /// The normalised format, without values.
  [[nodiscard]] const std::string& predicateFormat() const noexcept { return shape().format(); }

  /// Judges an object by its key-value access, or any other value. Throws what reading a property
  /// throws.
  [[nodiscard]] bool evaluate(const Object& with) const;
  [[nodiscard]] bool evaluate(const Value& with) const;
  /// Judges whatever the reader knows how to read.
  [[nodiscard]] bool evaluate(Subject with, const SubjectReader& reader) const;

  /// The format with the values in their places, for people. Values are a user's data: keep it out
  /// of logs that leave the device.
  [[nodiscard]] std::string description() const;

  /// The same shape and equal arguments.
  friend bool operator==(const NSPredicate& a, const NSPredicate& b) noexcept;

 private:
  struct Content;
  std::shared_ptr<const Content> content_;
};

}  // namespace foundation
