#include "CoreData/SQLite/RowFeed.h"

#include "CoreData/SQLite/Statement.h"
#include "CoreData/SQLite/TableFunction.h"

namespace coredata {

namespace {

constexpr char kFunction[] = "fed_rows";

std::string columnList(int count) {
  std::string result;
  for (int column = 0; column < count; ++column) {
    result += (column == 0 ? "c" : ",c") + std::to_string(column);
  }
  return result;
}

/// What is left of a feed.
class FedRows {
 public:
  static constexpr const char* kPointerType = "coredata-feed";
  static constexpr int kColumnCount = RowFeed::kMaxColumns;
  static constexpr sqlite3_int64 kGuessedRows = 1000;
  static std::string columns() { return columnList(kColumnCount); }

  void start(void* address) noexcept {
    feed_ = static_cast<RowFeed*>(address);
    isAtEnd_ = true;
    if (feed_ != nullptr) advance();
  }
  void advance() noexcept { isAtEnd_ = !feed_->advance(); }
  [[nodiscard]] bool isAtEnd() const noexcept { return isAtEnd_; }
  void give(int column, sqlite3_context* context) const noexcept { feed_->give(column, context); }

 private:
  RowFeed* feed_ = nullptr;
  bool isAtEnd_ = true;
};

}  // namespace

std::string RowFeed::insertText(const std::string& table, const std::string& columns,
                                int columnCount) {
  // A save that fails is undone as a whole, so SQLite need not be able to undo this statement
  // alone: for that it would copy aside every page that it touches.
  return "INSERT OR FAIL INTO " + table + "(" + columns + ") SELECT " + columnList(columnCount) +
         " FROM " + kFunction + "(?)";
}

std::string RowFeed::firstColumnText() {
  return std::string("(SELECT c0 FROM ") + kFunction + "(?))";
}

void bindFeed(RowFeed& feed, Statement& statement) {
  statement.bindPointer(1, &feed, FedRows::kPointerType);
}

void insertFrom(RowFeed& feed, Statement& statement) {
  bindFeed(feed, statement);
  statement.run();
}

int installRowFeed(sqlite3* database) noexcept {
  return TableFunction<FedRows>::install(database, kFunction);
}

}  // namespace coredata
