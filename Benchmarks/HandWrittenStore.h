#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Benchmarks/Database.h"
#include "Benchmarks/Workload.h"

namespace benchmarks {

/// How much of a commit waits for the disk.
enum class Durability : std::uint8_t {
  full,    ///< every commit
  normal,  ///< checkpoints only
};

/// What becomes of the log's file when the last connection closes.
enum class LogFile : std::uint8_t { removed, kept };

/// A statement that is prepared when it is first used, and stays so. Throws `std::runtime_error`
/// with SQLite's message.
class PreparedStatement {
 public:
  PreparedStatement(sqlite3* database, const char* sql) noexcept : database_(database), sql_(sql) {}

  void bind(int parameter, std::int64_t value);
  void bind(int parameter, double value);
  void bind(int parameter, std::string_view value);
  void bind(int parameter, std::span<const std::uint8_t> value);
  void bind(int parameter, const std::optional<double>& value);
  void bind(int parameter, const std::optional<std::string>& value);

  /// Whether there is a row.
  bool step();
  /// Steps through a statement that gives no rows, and makes it ready again.
  void run();
  void reset() noexcept { sqlite3_reset(handle_.get()); }

  // The row's columns, after a step that gave one.

  [[nodiscard]] bool isNull(int column) { return type(column) == SQLITE_NULL; }
  [[nodiscard]] std::int64_t integer(int column);
  [[nodiscard]] double real(int column);
  [[nodiscard]] std::string_view text(int column);
  [[nodiscard]] std::span<const std::uint8_t> bytes(int column);
  [[nodiscard]] std::optional<double> optionalReal(int column);
  [[nodiscard]] std::optional<std::string> optionalText(int column);

 private:
  [[nodiscard]] int type(int column) { return sqlite3_column_type(handle_.get(), column); }
  void prepare();
  [[nodiscard]] sqlite3_stmt* handle() {
    if (!handle_) prepare();
    return handle_.get();
  }
  void require(int result) const;

  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };
  sqlite3* database_;
  const char* sql_;
  std::unique_ptr<sqlite3_stmt, Finalizer> handle_;
};

/// What somebody would write who keeps check-ins with SQLite's own interface and knows it well: a
/// table per entity, an index on the relationship's column and one on activity and date, statements
/// prepared once, and the history in the same two tables as ours. The log is copied by SQLite
/// itself, every 1000 pages.
class HandWrittenStore {
 public:
  /// Opens the store, and makes it if it is not there.
  HandWrittenStore(const std::string& path, Durability durability,
                   LogFile logFile = LogFile::removed);

  void begin() { begin_.run(); }
  void commit() { commit_.run(); }

  /// With the record of its place, as the library makes one. Gives its key.
  std::int64_t insertActivity(std::string_view title);
  std::int64_t insertCheckin(const CheckinRecord& record);
  /// With its record of information.
  void insertPhoto(std::int64_t checkin, std::span<const std::uint8_t> data);
  void raiseCount(std::int64_t checkin, double now);
  /// Notes in the history that a transaction begins; the changes that follow belong to it.
  void recordTransaction(double now);
  enum class Change : std::uint8_t { insert, update, remove };
  void recordChange(std::int64_t checkin, Change kind, std::int64_t columns);

  /// Deletes the check-ins of an activity and their photos.
  void eraseCheckins(std::int64_t activity);

  [[nodiscard]] std::vector<std::int64_t> checkinsOf(std::int64_t activity);
  [[nodiscard]] bool didCheckin(std::int64_t activity, std::string_view day);
  /// Both days included.
  [[nodiscard]] std::int64_t countBetween(std::int64_t activity, std::string_view first,
                                          std::string_view last);
  /// The sum of the counts of one month, "yyyy-MM".
  [[nodiscard]] double sumOfMonth(std::int64_t activity, std::string_view month);
  [[nodiscard]] std::vector<CheckinRecord> checkinsByDate();
  /// Another statement on this store; it must not outlive it.
  [[nodiscard]] PreparedStatement statement(const char* sql) { return {database_.get(), sql}; }
  [[nodiscard]] PreparedStatement& daysOfActivities() { return daysOfActivities_; }
  [[nodiscard]] std::int64_t countOfCheckins() { return number("SELECT count(*) FROM Checkin"); }
  [[nodiscard]] std::int64_t countOfActivities() { return number("SELECT count(*) FROM Activity"); }
  [[nodiscard]] std::int64_t lengthOfFirstTitle() {
    return number("SELECT length(title) FROM Activity ORDER BY id LIMIT 1");
  }
  [[nodiscard]] std::int64_t sumOfCounts() { return number("SELECT sum(count) FROM Checkin"); }
  [[nodiscard]] std::int64_t firstActivity() {
    return number("SELECT id FROM Activity ORDER BY id LIMIT 1");
  }

 private:
  [[nodiscard]] std::int64_t number(const char* sql);

  [[nodiscard]] static Database opened(const std::string& path, Durability durability,
                                       LogFile logFile);

  Database database_;
  PreparedStatement begin_;
  PreparedStatement commit_;
  PreparedStatement insertActivity_;
  PreparedStatement insertOrder_;
  PreparedStatement insertCheckin_;
  PreparedStatement insertPhoto_;
  PreparedStatement insertInfo_;
  PreparedStatement raiseCount_;
  PreparedStatement recordTransaction_;
  PreparedStatement recordChange_;
  PreparedStatement eraseInfos_;
  PreparedStatement erasePhotos_;
  PreparedStatement eraseCheckins_;
  PreparedStatement checkinsOf_;
  PreparedStatement didCheckin_;
  PreparedStatement countBetween_;
  PreparedStatement sumOfMonth_;
  PreparedStatement checkinsByDate_;
  PreparedStatement daysOfActivities_;
  std::int64_t transaction_ = 0;
  std::int64_t sequence_ = 0;
};

/// What a statement selects that `readCheckin` reads.
#define BENCHMARKS_CHECKIN_COLUMNS \
  "id, activity, count, createdDate, date, memo, modifiedDate, type"
/// The check-in on which the statement stands.
[[nodiscard]] CheckinRecord readCheckin(PreparedStatement& row);

/// Seconds since the reference date, as both sides store them.
[[nodiscard]] double secondsNow() noexcept;
/// The local day of a time in seconds since 1970.
[[nodiscard]] std::string dayOf(std::int64_t secondsSince1970);

}  // namespace benchmarks
