#include "CoreData/SQLite/StoreCore.h"

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Files/Bundle.h"

namespace coredata {

using foundation::Ref;

StoreCore::StoreCore(StoreOptions options, Ref<const NSManagedObjectModel> model,
                     OpenedStore opened)
    : options_(std::move(options)),
      model_(std::move(model)),
      identifier_(opened.identifier),
      schemaVersion_(opened.schemaVersion),
      newestAtOpening_(opened.newestTransaction),
      counters_(*model_),
      history_(model_->entities().size()),
      pool_(std::make_unique<ConnectionPool>(std::move(opened.path), std::move(opened.settings),
                                             std::move(opened.connection))),
      bell_(pool_->path()) {
  columns_.reserve(model_->entities().size());
  for (const NSEntityDescription* entity : model_->entities()) columns_.emplace_back(*entity);
  if (!opened.usesLog || options_.readOnly) pool_->log().disable();
}

ConnectionLease StoreCore::lease() {
  if (replaced_.load(std::memory_order_relaxed)) throwReplaced();
  return pool_->lease();
}

const std::string& StoreCore::bundleIdentifier() {
  if (!bundleIdentifier_) {
    bundleIdentifier_ = options_.bundleIdentifier ? options_.bundleIdentifier
                                                  : foundation::Bundle::main().bundleIdentifier();
    if (!bundleIdentifier_) bundleIdentifier_.emplace();
  }
  return *bundleIdentifier_;
}

CacheEpoch StoreCore::notice(Connection& connection, CacheEpoch epochBefore) {
  const std::int64_t version = connection.lastDataVersion();
  if (version == connection.seenDataVersion) return epochBefore;
  requireSameStore(connection);
  connection.seenDataVersion = version;
  return rows_.outdate(epochBefore);
}

void StoreCore::close() noexcept {
  pool_->close();
  forgetRows();
}

void StoreCore::forgetRows() noexcept { static_cast<void>(rows_.outdate(kNoEpoch)); }

void StoreCore::requireSameStore(Connection& connection) {
  // Nothing changes the schema of a store in use but another store's content copied over it.
  if (connection.schemaVersion() == schemaVersion_) return;
  replaced_.store(true, std::memory_order_relaxed);
  forgetRows();
  throwReplaced();
}

void StoreCore::throwReplaced() const {
  throw storeError(StoreErrorCode::replaced, "The content of the store " + pool_->path() +
                                                 " was replaced; close it and open it again.");
}

}  // namespace coredata
