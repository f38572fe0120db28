#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>

#include "Foundation/Values/Date.h"

namespace storecheck {

/// One recorded save.
struct Transaction {
  std::int64_t number = 0;
  foundation::Date timestamp;
  /// Empty when it has none.
  std::string author;
  /// How many rows it inserted, updated and removed.
  std::array<std::int64_t, 3> changes{};
};

/// What a store's history is like.
struct History {
  std::int64_t transactions = 0;
  std::int64_t changes = 0;
  std::optional<Transaction> oldest;
  std::optional<Transaction> newest;
  /// How many transactions each author made; those without an author under the empty text.
  std::map<std::string, std::int64_t> byAuthor;
  /// The newest ones, as many as were asked for, the newest last.
  std::deque<Transaction> last;
};

}  // namespace storecheck
