#pragma once

#include <sqlite3.h>

#include <string>

namespace coredata {

class Statement;

/// Rows that one statement takes in, instead of a statement's run for each: SQLite then opens its
/// tables once and not once a row, which makes a large save nearly twice as fast.
///
/// Threading: by the thread that runs the statement.
class RowFeed {
 public:
  /// Most columns that a feed can have: the slots of a row, its key and its version.
  static constexpr int kMaxColumns = 66;
  /// A statement's run for each row is cheaper for fewer than these.
  static constexpr std::size_t kWorthwhile = 8;

  /// Goes to the first row at the first call, then to the next. False when there is none.
  [[nodiscard]] virtual bool advance() noexcept = 0;
  /// Hands the current row's value to SQLite, which must be able to read it until the next
  /// `advance`.
  virtual void give(int column, sqlite3_context* context) const noexcept = 0;

  /// The statement that puts the rows of a feed into `table`, whose columns are named in the order
  /// of the feed's.
  [[nodiscard]] static std::string insertText(const std::string& table, const std::string& columns,
                                              int columnCount);
  /// A subquery that has the first column of a feed, which is bound to its one parameter.
  [[nodiscard]] static std::string firstColumnText();

 protected:
  RowFeed() = default;
  ~RowFeed() = default;
  RowFeed(const RowFeed&) = default;
  RowFeed& operator=(const RowFeed&) = default;
};

/// Binds a feed to the parameter of a text with `RowFeed::firstColumnText`. One run takes it in.
void bindFeed(RowFeed& feed, Statement& statement);

/// Runs a statement made by `RowFeed::insertText`. Throws `foundation::Error`; rows that came
/// before the failure may then be in the table.
void insertFrom(RowFeed& feed, Statement& statement);

/// Makes the table function that the statements read known to a connection. Gives SQLite's result.
[[nodiscard]] int installRowFeed(sqlite3* database) noexcept;

}  // namespace coredata
