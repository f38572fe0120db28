#include "Tools/salvage/SalvagedStore.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreBackup.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreInspection.h"
#include "CoreData/SQLite/StoreMarks.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreData/SQLite/WriteTransaction.h"
#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Values/Error.h"

namespace salvage {

using coredata::ObjectKey;
using coredata::Row;
using coredata::SQLiteStore;
using coredata::StoredRow;
using coredata::StoreInspection;
using coredata::StoreOptions;
using coredata::WriteTransaction;
using foundation::Date;
using foundation::Error;
using foundation::Ref;
using foundation::URL;

namespace {

/// What a damaged table does not say remains unsaid.
template <typename Work>
void tolerating(Work&& work) {
  try {
    work();
  } catch (const Error&) {
    // What was read before it stays read.
  }
}

class RecordsReading {
 public:
  explicit RecordsReading(const std::string& path) : store_(URL::fileURL(path)) {}

  void read(StoreRecords& records) {
    tolerating([&] { records.metadata = store_.metadata(); });
    tolerating([&] { store_.visitMarks([&](StoredRow row) { addMark(row, records); }); });
    tolerating([&] {
      store_.visitTransactions([&](StoredRow row) {
        raiseNumber(row[0].integer, records);
        raiseStamp(row[1], records);
      });
    });
  }

 private:
  static constexpr std::int64_t kHighest = std::int64_t{1} << 47;

  void addMark(StoredRow row, StoreRecords& records) {
    const std::string_view name = row[0].content;
    if (name == "_transaction") return raiseNumber(row[1].integer, records);
    if (name == "_timestamp") return raiseStamp(row[1], records);
    const bool isKey = row[1].integer > 0 && row[1].integer <= kHighest;
    if (isKey) records.highestKeys[std::string(name)] = row[1].integer;
  }

  static void raiseNumber(std::int64_t number, StoreRecords& records) {
    if (number <= kHighest) records.history.number = std::max(records.history.number, number);
  }

  void raiseStamp(const coredata::StoredValue& value, StoreRecords& records) const {
    const bool isReal = value.kind == coredata::StoredValue::Kind::real;
    const double seconds = isReal ? value.real : static_cast<double>(value.integer);
    if (!(seconds <= latest_)) return;
    records.history.timestamp = std::max(records.history.timestamp, Date::fromReference(seconds));
  }

  // Clocks differ, but not by days.
  const double latest_ = Date().timeIntervalSinceReferenceDate() + 86400;
  StoreInspection store_;
};

/// Writes rows, many in a transaction.
class Filling {
 public:
  explicit Filling(const Ref<SQLiteStore>& store) : store_(store) {}

  void add(Ref<Row> row) {
    bytes_ += row->byteSize();
    rows_.push_back(std::move(row));
    constexpr std::size_t kMostRows = 10000;
    constexpr std::size_t kMostBytes = 8 << 20;
    if (rows_.size() >= kMostRows || bytes_ >= kMostBytes) write();
  }

  void write() {
    if (rows_.empty()) return;
    coredata::ReadSession session(store_);
    WriteTransaction transaction(session);
    std::vector<const Row*> pointers;
    pointers.reserve(rows_.size());
    for (const Ref<Row>& row : rows_) pointers.push_back(row.get());
    transaction.insert(pointers);
    transaction.commit({});
    rows_.clear();
    bytes_ = 0;
  }

 private:
  Ref<SQLiteStore> store_;
  std::vector<Ref<Row>> rows_;
  std::size_t bytes_ = 0;
};

void fill(const Ref<SQLiteStore>& store, RowSearch& search) {
  for (FoundRows& rows : search.entities()) {
    Filling filling(store);
    for (std::size_t i = 0; i < rows.places().size(); ++i) {
      filling.add(search.row(rows, i));
      ++rows.report.broughtBack;
    }
    filling.write();
  }
}

void keepMarks(const Ref<SQLiteStore>& store, const StoreRecords& records) {
  coredata::ReadSession session(store);
  WriteTransaction transaction(session);
  for (const coredata::NSEntityDescription* entity : store->model().entities()) {
    const auto key = records.highestKeys.find(entity->name());
    if (key != records.highestKeys.end())
      coredata::raiseKeyMark(transaction.connection(), key->first, key->second);
  }
  if (records.history.number > 0)
    coredata::raiseHistoryMarks(transaction.connection(), records.history);
  transaction.noteOtherChange();
  transaction.commit({});
}

}  // namespace

StoreRecords storeRecords(const std::string& path) {
  StoreRecords records;
  tolerating([&] { RecordsReading(path).read(records); });
  return records;
}

std::string makeStore(const Ref<const coredata::NSManagedObjectModel>& model,
                      const StoreRecords& records, RowSearch& rows,
                      const WorkDirectory& directory) {
  const std::string filled = directory.at("filled");
  StoreOptions options(URL::fileURL(filled));
  options.newIdentifier = coredata::storeIdentifier(records.metadata);
  options.newMetadata = records.metadata;
  options.isScratch = true;
  options.buildsIndexes = false;
  const Ref<SQLiteStore> store = SQLiteStore::open(options, model);
  fill(store, rows);
  keepMarks(store, records);
  store->close();
  options.buildsIndexes = true;
  SQLiteStore::buildIndexes(options, model);
  const std::string finished = directory.at("finished");
  coredata::backUpStore(URL::fileURL(filled), URL::fileURL(finished));
  return finished;
}

void publish(const std::string& file, const std::string& place) {
  // A link never replaces what is there, and never follows what is.
  if (linkat(AT_FDCWD, file.c_str(), AT_FDCWD, place.c_str(), 0) != 0) {
    const int number = errno;
    if (number == EEXIST) {
      throw coredata::storeError(coredata::StoreErrorCode::exists,
                                 "There is something at " + place + " already.");
    }
    throw Error(std::string(foundation::kPosixErrorDomain), number,
                place + " cannot be made: " + std::strerror(number) + ".");
  }
  try {
    coredata::syncDirectoryOf(place);
  } catch (...) {
    // Nobody is to find a store of which he was told that it could not be made.
    [[maybe_unused]] const auto removed =
        foundation::FileSystem::current().unlink(AT_FDCWD, place.c_str(), 0);
    throw;
  }
}

}  // namespace salvage
