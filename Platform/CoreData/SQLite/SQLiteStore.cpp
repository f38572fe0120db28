#include "CoreData/SQLite/SQLiteStore.h"

#include "CoreData/SQLite/ReadSession.h"
#include "CoreData/SQLite/StoreCore.h"
#include "CoreData/SQLite/StoreDestruction.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreData/SQLite/StoreOpening.h"
#include "CoreData/SQLite/StoreReplacement.h"
#include "CoreData/SQLite/WriteTransaction.h"

namespace coredata {

using foundation::Ref;
using foundation::ValueDictionary;

Ref<SQLiteStore> SQLiteStore::open(const StoreOptions& options,
                                   Ref<const NSManagedObjectModel> model) {
  OpenedStore opened = openStore(options, *model);
  auto core = std::make_unique<StoreCore>(options, std::move(model), std::move(opened));
  return Ref<SQLiteStore>::adopt(new SQLiteStore(std::move(core)));
}

ValueDictionary SQLiteStore::metadataAt(const foundation::URL& url) { return metadataOfFile(url); }

void SQLiteStore::destroy(const foundation::URL& url) {
  destroyStore(url, StoreOptions(url).busyTimeout);
}

void SQLiteStore::replace(const foundation::URL& at, const foundation::URL& with) {
  replaceStore(at, with, StoreOptions(at).busyTimeout);
}

void SQLiteStore::buildIndexes(StoreOptions options, Ref<const NSManagedObjectModel> model) {
  options.buildsIndexes = true;
  open(options, std::move(model))->close();
}

SQLiteStore::SQLiteStore(std::unique_ptr<StoreCore> core) : core_(std::move(core)) {}

SQLiteStore::~SQLiteStore() { close(); }

const NSManagedObjectModel& SQLiteStore::model() const noexcept { return core_->model(); }

const StoreOptions& SQLiteStore::options() const noexcept { return core_->options(); }

const std::string& SQLiteStore::path() const noexcept { return core_->pool().path(); }

const foundation::UUID& SQLiteStore::identifier() const noexcept { return core_->identifier(); }

ValueDictionary SQLiteStore::metadata() {
  ReadSession session{Ref<SQLiteStore>(this)};
  const Reading reading(session);
  return readMetadata(reading.connection());
}

void SQLiteStore::setMetadata(const ValueDictionary& metadata) {
  ReadSession session{Ref<SQLiteStore>(this)};
  WriteTransaction transaction(session);
  Connection& connection = transaction.connection();
  writeMetadata(connection, mergedMetadata(metadata, readMetadata(connection)));
  transaction.noteOtherChange();
  transaction.commit({});
}

HistoryPosition SQLiteStore::newestTransaction() {
  ReadSession session{Ref<SQLiteStore>(this)};
  return session.newestTransaction();
}

std::int64_t SQLiteStore::newestAtOpening() const noexcept { return core_->newestAtOpening(); }

void SQLiteStore::close() noexcept { core_->close(); }

bool SQLiteStore::isClosed() const noexcept { return core_->pool().isClosed(); }

}  // namespace coredata
