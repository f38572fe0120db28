#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace coredata {

/// A condition in SQL. It is true or not; where it is not, it may be false or NULL, so it must not
/// stand under NOT: `holds` turns it round.
struct SqlCondition {
  enum class Form : std::uint8_t { atom, conjunction, disjunction };

  std::string text;
  Form form = Form::atom;
  /// How many parentheses are open at once while its text is read.
  int depth = 0;
};

[[nodiscard]] SqlCondition always(bool value);
[[nodiscard]] SqlCondition allOf(std::vector<SqlCondition> parts);
[[nodiscard]] SqlCondition anyOf(std::vector<SqlCondition> parts);

/// The condition itself if `wanted`, else one that is true exactly when it is not. An index serves
/// the first, never the second.
[[nodiscard]] SqlCondition holds(SqlCondition condition, bool wanted);

/// The same for a text that is never NULL.
[[nodiscard]] SqlCondition holdsOrNot(std::string text, bool wanted);

}  // namespace coredata
