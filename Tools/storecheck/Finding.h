#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace storecheck {

/// What can be wrong with a store.
enum class FindingKind : std::uint8_t {
  integrity,         ///< SQLite itself finds pages, tables or indexes in disorder
  unreadable,        ///< a table cannot be read to its end
  schema,            ///< a table, trigger or view too many, missing, or of another make
  indexes,           ///< indexes other than the model's, which the next opening puts right
  identifier,        ///< the store does not say which one it is
  rowKey,            ///< a key below 1
  rowVersion,        ///< a row that was never written by its own account
  wrongKind,         ///< a value that is none of its property's kind
  absentValue,       ///< nothing where the model demands something
  dangling,          ///< a relationship that leads to no row
  disagreement,      ///< a one-to-one relationship that does not lead back
  sharedPart,        ///< two rows that lead to one where only one may
  orphan,            ///< a part without the owner whose deletion would delete it
  noDay,             ///< a check-in's day that is none
  noMonth,           ///< a review's month that is none
  sameDay,           ///< several check-ins of one activity on one day
  malformedHistory,  ///< a transaction or change that says what none can say
  stampOrder,        ///< a transaction that is not later than the one before it
  lostTransaction,   ///< changes whose transaction is not there
  unknownName,       ///< a history entry that refers to a name that is not there
  returned,          ///< a row that is there although the history ends with its removal
  reusableKey,       ///< a key that the history knows and that would be given out again
  mark,              ///< a mark that is none
};
inline constexpr std::size_t kFindingKinds = static_cast<std::size_t>(FindingKind::mark) + 1;

/// The kind in the words of the program's answer: "dangling", "same day", ...
[[nodiscard]] std::string_view name(FindingKind kind) noexcept;

/// An error is something that the library never does by itself. A warning is something that it
/// allows, but that few will have wanted.
enum class Severity : std::uint8_t { warning, error };

/// One thing that is wrong.
struct Finding {
  Severity severity = Severity::error;
  FindingKind kind = FindingKind::integrity;
  /// The entity or the store's own table that it is in; empty when it is in none.
  std::string entity;
  std::optional<std::int64_t> key;
  /// A sentence for people. It quotes nothing that users wrote.
  std::string text;
};

}  // namespace storecheck
