#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/SQLite/HistoryNames.h"
#include "CoreData/SQLite/RowChange.h"
#include "CoreData/SQLite/SQLiteStore.h"

namespace coredata {

class Connection;

/// Writes a transaction and its changes into the history tables. Names are kept once in the store;
/// their numbers never change, so what was committed is remembered for good.
///
/// Threading: inside the store's writer gate.
class HistoryWriter {
 public:
  struct Origin {
    std::optional<std::string_view> author;
    std::optional<std::string_view> contextName;
    std::string_view bundle;
  };

  explicit HistoryWriter(std::size_t entityCount) : entityNames_(entityCount) {}

  /// In the transaction that is open. `position` is the new transaction's own. Gives its author's
  /// number.
  HistoryNameId write(Connection& connection, const HistoryPosition& position, const Origin& origin,
                      std::span<const RowChange> changes);
  /// The transaction's end, by which new names are in the store or not.
  void committed() noexcept { added_.clear(); }
  void rolledBack() noexcept;

 private:
  void insertChanges(Connection& connection, std::int64_t transaction,
                     std::span<const RowChange> changes);
  void feedChanges(Connection& connection, std::int64_t transaction,
                   std::span<const RowChange> changes);
  [[nodiscard]] HistoryNameId idOf(Connection& connection, std::string_view text);
  [[nodiscard]] HistoryNameId idOf(Connection& connection, const NSEntityDescription& entity);

  std::map<std::string, HistoryNameId, std::less<>> names_;
  /// By entity; 0 is unknown.
  std::vector<HistoryNameId> entityNames_;
  /// Names of the transaction that is open.
  std::vector<std::string> added_;
};

/// The stamp after `newest` at the clock's present reading: later by a microsecond at least, also
/// when the clock was put back or does not resolve one.
[[nodiscard]] foundation::Date nextTimestamp(foundation::Date newest) noexcept;

}  // namespace coredata
