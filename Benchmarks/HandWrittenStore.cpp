#include "Benchmarks/HandWrittenStore.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <stdexcept>

namespace benchmarks {

namespace {

// A table for each entity of the model, as a plain schema has them.
constexpr const char* kSchema = R"(
  CREATE TABLE Activity(
    id INTEGER PRIMARY KEY, "group" INTEGER, checkinMaxCount REAL, color TEXT, createdDate REAL,
    endDate TEXT, icon TEXT, memo TEXT, modifiedDate REAL, notes TEXT, startDate TEXT,
    status INTEGER, title TEXT);
  CREATE TABLE ActivityWidgetGroup(
    id INTEGER PRIMARY KEY, createdDate REAL, modifiedDate REAL, name TEXT, "order" INTEGER,
    type INTEGER, uuid BLOB);
  CREATE TABLE ActivityWidgetItem(
    id INTEGER PRIMARY KEY, activity INTEGER, "group" INTEGER, "order" INTEGER, uuid BLOB);
  CREATE TABLE Checkin(
    id INTEGER PRIMARY KEY, activity INTEGER, count REAL, createdDate REAL, date TEXT, memo TEXT,
    modifiedDate REAL, type INTEGER);
  CREATE TABLE DisplayOn(id INTEGER PRIMARY KEY, activity INTEGER, days INTEGER);
  CREATE TABLE Goal(id INTEGER PRIMARY KEY, activity INTEGER, count INTEGER, interval INTEGER);
  CREATE TABLE "Group"(id INTEGER PRIMARY KEY, createdDate REAL, priority INTEGER, title TEXT);
  CREATE TABLE MonthlyReview(
    id INTEGER PRIMARY KEY, createdDate REAL, date TEXT, feedback TEXT, modifiedDate REAL);
  CREATE TABLE "Order"(
    id INTEGER PRIMARY KEY, activity INTEGER, priority INTEGER, type INTEGER);
  CREATE TABLE Photo(
    id INTEGER PRIMARY KEY, checkin INTEGER, createdDate REAL, data BLOB, modifiedDate REAL);
  CREATE TABLE PhotoInfo(
    id INTEGER PRIMARY KEY, photo INTEGER, createdDate REAL, latitude REAL, longitude REAL,
    modifiedDate REAL, pixelHeight INTEGER, pixelWidth INTEGER);
  CREATE TABLE Reminder(id INTEGER PRIMARY KEY, activity INTEGER, days INTEGER, time TEXT);
  CREATE TABLE Widget(id INTEGER PRIMARY KEY, activity INTEGER, priority INTEGER);
  CREATE INDEX ActivityByGroup ON Activity("group");
  CREATE INDEX ActivityWidgetItemByActivity ON ActivityWidgetItem(activity);
  CREATE INDEX ActivityWidgetItemByGroup ON ActivityWidgetItem("group");
  CREATE INDEX CheckinByActivity ON Checkin(activity);
  CREATE INDEX CheckinByActivityAndDate ON Checkin(activity, date);
  CREATE INDEX DisplayOnByActivity ON DisplayOn(activity);
  CREATE INDEX GoalByActivity ON Goal(activity);
  CREATE INDEX OrderByActivity ON "Order"(activity);
  CREATE INDEX PhotoByCheckin ON Photo(checkin);
  CREATE INDEX PhotoInfoByPhoto ON PhotoInfo(photo);
  CREATE INDEX ReminderByActivity ON Reminder(activity);
  CREATE INDEX WidgetByActivity ON Widget(activity);
  CREATE TABLE HistoryTransaction(
    id INTEGER PRIMARY KEY, timestamp REAL, author TEXT, process INTEGER);
  CREATE TABLE HistoryChange(
    "transaction" INTEGER, sequence INTEGER, entity INTEGER, key INTEGER, kind INTEGER,
    columns INTEGER, PRIMARY KEY("transaction", sequence)) WITHOUT ROWID;
)";

constexpr std::int64_t kCheckinEntity = 1;

/// What all days of a month of the form "yyyy-MM" stand before.
std::string endOfMonth(std::string_view month) { return std::string(month) + '.'; }

}  // namespace

void PreparedStatement::prepare() {
  sqlite3_stmt* statement = nullptr;
  require(sqlite3_prepare_v3(database_, sql_, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
  handle_.reset(statement);
}

void PreparedStatement::require(int result) const {
  if (result == SQLITE_OK || result == SQLITE_DONE) return;
  throw std::runtime_error(std::string(sqlite3_errmsg(database_)) + " in: " + sql_);
}

void PreparedStatement::bind(int parameter, std::int64_t value) {
  require(sqlite3_bind_int64(handle(), parameter, value));
}

void PreparedStatement::bind(int parameter, double value) {
  require(sqlite3_bind_double(handle(), parameter, value));
}

void PreparedStatement::bind(int parameter, std::string_view value) {
  require(sqlite3_bind_text(handle(), parameter, value.data(), static_cast<int>(value.size()),
                            SQLITE_STATIC));
}

void PreparedStatement::bind(int parameter, std::span<const std::uint8_t> value) {
  require(sqlite3_bind_blob(handle(), parameter, value.data(), static_cast<int>(value.size()),
                            SQLITE_STATIC));
}

void PreparedStatement::bind(int parameter, const std::optional<double>& value) {
  if (value) return bind(parameter, *value);
  require(sqlite3_bind_null(handle(), parameter));
}

void PreparedStatement::bind(int parameter, const std::optional<std::string>& value) {
  if (value) return bind(parameter, std::string_view(*value));
  require(sqlite3_bind_null(handle(), parameter));
}

bool PreparedStatement::step() {
  const int result = sqlite3_step(handle());
  if (result == SQLITE_ROW) return true;
  require(result);
  return false;
}

void PreparedStatement::run() {
  require(sqlite3_step(handle()));
  reset();
}

std::int64_t PreparedStatement::integer(int column) {
  return sqlite3_column_int64(handle_.get(), column);
}

double PreparedStatement::real(int column) { return sqlite3_column_double(handle_.get(), column); }

std::string_view PreparedStatement::text(int column) {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(handle_.get(), column));
  if (bytes == nullptr) return {};
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column))};
}

std::span<const std::uint8_t> PreparedStatement::bytes(int column) {
  const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(handle_.get(), column));
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column))};
}

std::optional<double> PreparedStatement::optionalReal(int column) {
  if (isNull(column)) return std::nullopt;
  return real(column);
}

std::optional<std::string> PreparedStatement::optionalText(int column) {
  if (isNull(column)) return std::nullopt;
  return std::string(text(column));
}

Database HandWrittenStore::opened(const std::string& path, Durability durability, LogFile logFile) {
  const bool isNew = !std::filesystem::exists(path);
  Database owned = openDatabase(path);
  sqlite3* database = owned.get();
  sqlite3_busy_timeout(database, 5000);
  execute(database, "PRAGMA journal_mode=WAL");
  execute(database,
          durability == Durability::full ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
  execute(database, "PRAGMA cache_size=-8000");
  int keepsLogFile = logFile == LogFile::kept ? 1 : 0;
  sqlite3_file_control(database, "main", SQLITE_FCNTL_PERSIST_WAL, &keepsLogFile);
  if (isNew) execute(database, kSchema);
  return owned;
}

HandWrittenStore::HandWrittenStore(const std::string& path, Durability durability, LogFile logFile)
    : database_(opened(path, durability, logFile)),
      begin_(database_.get(), "BEGIN IMMEDIATE"),
      commit_(database_.get(), "COMMIT"),
      insertActivity_(database_.get(),
                      "INSERT INTO Activity(title, color, icon, checkinMaxCount, createdDate, "
                      "modifiedDate, status) VALUES(?, 'green', '', 1, ?2, ?2, 0)"),
      insertOrder_(database_.get(),
                   "INSERT INTO \"Order\"(activity, priority, type) VALUES(?, 0, 1)"),
      insertCheckin_(database_.get(),
                     "INSERT INTO Checkin(activity, count, createdDate, date, memo, modifiedDate, "
                     "type) VALUES(?, ?, ?, ?, ?, ?, ?)"),
      insertPhoto_(database_.get(),
                   "INSERT INTO Photo(checkin, createdDate, data, modifiedDate) VALUES(?, ?2, ?3, "
                   "?2)"),
      insertInfo_(database_.get(),
                  "INSERT INTO PhotoInfo(photo, createdDate, modifiedDate) VALUES(?, ?2, ?2)"),
      raiseCount_(database_.get(),
                  "UPDATE Checkin SET count = count + 1, modifiedDate = ? WHERE id = ?"),
      recordTransaction_(
          database_.get(),
          "INSERT INTO HistoryTransaction(timestamp, author, process) VALUES(?, NULL, 1)"),
      recordChange_(
          database_.get(),
          "INSERT INTO HistoryChange(\"transaction\", sequence, entity, key, kind, columns) "
          "VALUES(?, ?, ?, ?, ?, ?)"),
      eraseInfos_(database_.get(),
                  "DELETE FROM PhotoInfo WHERE photo IN (SELECT id FROM Photo WHERE checkin IN "
                  "(SELECT id FROM Checkin WHERE activity = ?))"),
      erasePhotos_(database_.get(),
                   "DELETE FROM Photo WHERE checkin IN (SELECT id FROM Checkin WHERE activity = "
                   "?)"),
      eraseCheckins_(database_.get(), "DELETE FROM Checkin WHERE activity = ?"),
      checkinsOf_(database_.get(), "SELECT id FROM Checkin WHERE activity = ?"),
      didCheckin_(database_.get(),
                  "SELECT count(*) FROM (SELECT 1 FROM Checkin WHERE activity = ? AND date = ? "
                  "LIMIT 1)"),
      countBetween_(database_.get(),
                    "SELECT count(*) FROM Checkin WHERE activity = ? AND ? <= date AND date <= ?"),
      sumOfMonth_(database_.get(),
                  "SELECT total(count) FROM Checkin WHERE activity = ? AND date >= ? AND date < ?"),
      checkinsByDate_(database_.get(),
                      "SELECT " BENCHMARKS_CHECKIN_COLUMNS " FROM Checkin ORDER BY date"),
      daysOfActivities_(
          database_.get(),
          "SELECT activity, date FROM Checkin GROUP BY activity, date ORDER BY date") {}

std::int64_t HandWrittenStore::insertActivity(std::string_view title) {
  insertActivity_.bind(1, title);
  insertActivity_.bind(2, secondsNow());
  insertActivity_.run();
  const std::int64_t key = sqlite3_last_insert_rowid(database_.get());
  insertOrder_.bind(1, key);
  insertOrder_.run();
  return key;
}

std::int64_t HandWrittenStore::insertCheckin(const CheckinRecord& record) {
  insertCheckin_.bind(1, record.activity);
  insertCheckin_.bind(2, record.count);
  insertCheckin_.bind(3, record.createdDate);
  insertCheckin_.bind(4, record.date);
  insertCheckin_.bind(5, record.memo);
  insertCheckin_.bind(6, record.modifiedDate);
  insertCheckin_.bind(7, std::int64_t{record.type});
  insertCheckin_.run();
  return sqlite3_last_insert_rowid(database_.get());
}

void HandWrittenStore::insertPhoto(std::int64_t checkin, std::span<const std::uint8_t> data) {
  insertPhoto_.bind(1, checkin);
  insertPhoto_.bind(2, secondsNow());
  insertPhoto_.bind(3, data);
  insertPhoto_.run();
  insertInfo_.bind(1, static_cast<std::int64_t>(sqlite3_last_insert_rowid(database_.get())));
  insertInfo_.bind(2, secondsNow());
  insertInfo_.run();
}

void HandWrittenStore::raiseCount(std::int64_t checkin, double now) {
  raiseCount_.bind(1, now);
  raiseCount_.bind(2, checkin);
  raiseCount_.run();
}

void HandWrittenStore::recordTransaction(double now) {
  recordTransaction_.bind(1, now);
  recordTransaction_.run();
  transaction_ = sqlite3_last_insert_rowid(database_.get());
  sequence_ = 0;
}

void HandWrittenStore::recordChange(std::int64_t checkin, Change kind, std::int64_t columns) {
  recordChange_.bind(1, transaction_);
  recordChange_.bind(2, ++sequence_);
  recordChange_.bind(3, kCheckinEntity);
  recordChange_.bind(4, checkin);
  recordChange_.bind(5, static_cast<std::int64_t>(kind));
  recordChange_.bind(6, columns);
  recordChange_.run();
}

void HandWrittenStore::eraseCheckins(std::int64_t activity) {
  for (PreparedStatement* erase : {&eraseInfos_, &erasePhotos_, &eraseCheckins_}) {
    erase->bind(1, activity);
    erase->run();
  }
}

std::vector<std::int64_t> HandWrittenStore::checkinsOf(std::int64_t activity) {
  std::vector<std::int64_t> keys;
  checkinsOf_.bind(1, activity);
  while (checkinsOf_.step()) keys.push_back(checkinsOf_.integer(0));
  checkinsOf_.reset();
  return keys;
}

bool HandWrittenStore::didCheckin(std::int64_t activity, std::string_view day) {
  didCheckin_.bind(1, activity);
  didCheckin_.bind(2, day);
  didCheckin_.step();
  const bool result = didCheckin_.integer(0) > 0;
  didCheckin_.reset();
  return result;
}

std::int64_t HandWrittenStore::countBetween(std::int64_t activity, std::string_view first,
                                            std::string_view last) {
  countBetween_.bind(1, activity);
  countBetween_.bind(2, first);
  countBetween_.bind(3, last);
  countBetween_.step();
  const std::int64_t result = countBetween_.integer(0);
  countBetween_.reset();
  return result;
}

double HandWrittenStore::sumOfMonth(std::int64_t activity, std::string_view month) {
  const std::string end = endOfMonth(month);
  sumOfMonth_.bind(1, activity);
  sumOfMonth_.bind(2, month);
  sumOfMonth_.bind(3, std::string_view(end));
  sumOfMonth_.step();
  const double result = sumOfMonth_.real(0);
  sumOfMonth_.reset();
  return result;
}

std::vector<CheckinRecord> HandWrittenStore::checkinsByDate() {
  std::vector<CheckinRecord> records;
  PreparedStatement& rows = checkinsByDate_;
  while (rows.step()) records.push_back(readCheckin(rows));
  rows.reset();
  return records;
}

std::int64_t HandWrittenStore::number(const char* sql) {
  PreparedStatement statement(database_.get(), sql);
  return statement.step() ? statement.integer(0) : 0;
}

CheckinRecord readCheckin(PreparedStatement& row) {
  CheckinRecord record;
  record.id = row.integer(0);
  record.activity = row.integer(1);
  record.count = row.real(2);
  record.createdDate = row.optionalReal(3);
  record.date = row.optionalText(4);
  record.memo = row.optionalText(5);
  record.modifiedDate = row.optionalReal(6);
  record.type = static_cast<std::int16_t>(row.integer(7));
  return record;
}

double secondsNow() noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<double>(now.tv_sec) - 978307200.0 + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::string dayOf(std::int64_t secondsSince1970) {
  const std::time_t time = secondsSince1970;
  std::tm local{};
  localtime_r(&time, &local);
  std::array<char, 48> text{};
  const int length = std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", local.tm_year + 1900,
                                   local.tm_mon + 1, local.tm_mday);
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace benchmarks
