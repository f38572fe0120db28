#include "CoreData/SQLite/StoreCopy.h"

#include <fcntl.h>

#include <utility>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMarks.h"

namespace coredata {

StoreCopy::StoreCopy(Connection& from, Connection& to)
    : to_(to), backup_(sqlite3_backup_init(to.handle(), "main", from.handle(), "main")) {
  if (backup_ == nullptr) to_.fail(sqlite3_extended_errcode(to_.handle()), "a copy of a store");
}

void StoreCopy::undo() noexcept {
  // What it answers was thrown when it happened.
  sqlite3_backup_finish(std::exchange(backup_, nullptr));
}

void StoreCopy::lockDestination() { step(0, SQLITE_OK); }

void StoreCopy::finish() {
  step(-1, SQLITE_DONE);
  const int result = sqlite3_backup_finish(std::exchange(backup_, nullptr));
  if (result != SQLITE_OK) to_.fail(result, "a copy of a store");
}

void StoreCopy::step(int pages, int expected) {
  const int result = sqlite3_backup_step(backup_, pages);
  if (result != expected) to_.fail(result, "a copy of a store");
}

IncomingStore::File::File(std::string place) : path(std::move(place)) {
  removeFile(path);
  for (const std::string_view companion : kCompanions) removeFile(path + std::string(companion));
  createFile(path);
}

IncomingStore::File::~File() {
  const auto remove = [](const std::string& name) {
    // What stays is removed by the next one.
    [[maybe_unused]] const auto removed =
        foundation::FileSystem::current().unlink(AT_FDCWD, name.c_str(), 0);
  };
  remove(path);
  for (const std::string_view companion : kCompanions) remove(path + std::string(companion));
}

IncomingStore::~IncomingStore() = default;

void IncomingStore::close() noexcept { connection_.reset(); }

IncomingStore::IncomingStore(const std::string& destination, Connection& from,
                             const HistoryPosition& floor, Durability durability)
    : file_(destination + std::string(kIncomingSuffix)) {
  ConnectionSettings settings;
  if (durability == Durability::scratch) settings.pragmas.emplace("synchronous", "OFF");
  connection_ = std::make_unique<Connection>(file_.path, settings);
  StoreCopy(from, *connection_).finish();
  // The copy of a store that keeps a log would keep one too, and would no longer be one file.
  connection_->setKeepsLogFile(false);
  connection_->execute("PRAGMA journal_mode=DELETE");
  connection_->beginWriting();
  raiseHistoryMarks(*connection_, floor);
  connection_->commit();
}

}  // namespace coredata
