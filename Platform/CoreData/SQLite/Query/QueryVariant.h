#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "CoreData/Fetching/FetchPlan.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// What a query gives for each object that satisfies the predicate.
enum class QueryResult : std::uint8_t {
  rows,        ///< key, version and every slot
  keys,        ///< the key
  sortedKeys,  ///< the key, and what the sorts go by
  number,      ///< nothing; one row tells how many there are
  existence,   ///< nothing; the first object that is found gives a row, and no other is looked for
  ticks,       ///< a row without content for each object, so that counting can stop early
  dictionaries,  ///< the plan's columns
};

/// How an argument's list after IN is written: few members as parameters of their own, padded to
/// one of four numbers so that lists of any length share six statements; more through a table
/// function.
enum class ListForm : std::uint8_t { empty, one, two, four, eight, table };

/// What the store sees to in the order of what it gives; the rest is left to whoever reads it.
enum class QueryOrder : std::uint8_t {
  none,      ///< nothing: as it is found
  sorts,     ///< the plan's sorts; what is even in them as it is found
  complete,  ///< the sorts, and ties by key
};

struct ListShape {
  ListForm form = ListForm::empty;
  /// Whether an absent value is among the members. It is no parameter: a column that is searched
  /// for it must say so.
  bool hasAbsent = false;
};

/// What the text of a plan's query depends on beside the plan.
struct QueryVariant {
  QueryResult result = QueryResult::rows;
  bool hasLimit = false;
  bool hasOffset = false;
  QueryOrder order = QueryOrder::complete;
  /// One `code` for each argument that is a list, in the order of the arguments. Fifteen need no
  /// memory.
  std::string lists;
  /// The arguments that are absent, the bit of an argument's number for each. Those beyond have no
  /// bit, and may be either.
  std::uint64_t absentArguments = 0;

  friend bool operator==(const QueryVariant&, const QueryVariant&) = default;
};

/// How many parameters a list of that form has.
[[nodiscard]] int width(ListForm form) noexcept;

[[nodiscard]] ListShape listShape(const foundation::ValueList& list) noexcept;
[[nodiscard]] char code(ListShape shape) noexcept;
[[nodiscard]] ListShape shapeOfCode(char code) noexcept;

/// How many arguments a variant tells absent from present ones.
inline constexpr std::uint32_t kTellableArguments = 64;
[[nodiscard]] std::uint64_t absentArguments(std::span<const foundation::Value> arguments) noexcept;

/// The codes of the lists among the arguments; costs next to nothing when there is none.
[[nodiscard]] std::string listCodes(const FetchPlan& plan,
                                    std::span<const foundation::Value> arguments);

}  // namespace coredata
