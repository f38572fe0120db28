#include "CoreData/SQLite/StoreClaim.h"

#include <algorithm>
#include <vector>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/ForkGeneration.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreFile.h"
#include "CoreData/SQLite/StoreMarks.h"
#include "CoreData/SQLite/StoreOpening.h"
#include "CoreData/SQLite/WriteAheadLog.h"

namespace coredata {

namespace {
std::vector<StoreClaim*>& claimsOfThisThread() {
  thread_local std::vector<StoreClaim*> claims;
  return claims;
}
}  // namespace

std::uint32_t fileVersion(Connection& connection) {
  std::uint32_t version = 0;
  const int result =
      sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_DATA_VERSION, &version);
  if (result != SQLITE_OK) connection.fail(result, {});
  return version;
}

std::optional<StoreState> stateOf(Connection& connection, const std::string& path) {
  const Snapshot snapshot(connection);
  if (contentOf(connection, path) == StoreContent::nothing) return std::nullopt;
  return StoreState{fileVersion(connection), newestTransactionIn(connection)};
}

StoreClaim::Place StoreClaim::placeOf(const std::string& path) {
  requireDirectoryOf(path);
  const FileIdentity directory = FileIdentity::of(directoryOf(path));
  return {directory.device, directory.inode, path.substr(path.rfind('/') + 1)};
}

StoreClaim::StoreClaim(const foundation::URL& url, std::chrono::milliseconds limit)
    : path_(pathOf(url)),
      place_(placeOf(path_)),
      limit_(limit),
      lock_(path_ + std::string(kClaimSuffix)),
      held_(lock_.lock(limit)),
      forkGeneration_(forkGeneration()) {
  if (!held_) {
    throw storeError(StoreErrorCode::busy,
                     "The store " + path_ + " is being migrated or replaced by somebody else.");
  }
  claimsOfThisThread().push_back(this);
}

StoreClaim::~StoreClaim() {
  std::erase(claimsOfThisThread(), this);
  disconnect();
  if (isOurs()) lock_.removeFile();
}

bool StoreClaim::isOurs() const noexcept { return forkGeneration_ == forkGeneration(); }

StoreClaim* StoreClaim::find(const std::string& path) {
  const Place place = placeOf(path);
  const auto& claims = claimsOfThisThread();
  const auto found = std::ranges::find_if(
      claims, [&](const StoreClaim* claim) { return claim->isOurs() && claim->place_ == place; });
  return found == claims.end() ? nullptr : *found;
}

HeldClaim::HeldClaim(const foundation::URL& url, std::chrono::milliseconds limit)
    : claim_(StoreClaim::find(pathOf(url))) {
  if (claim_ == nullptr) claim_ = &own_.emplace(url, limit);
}

void StoreClaim::markRead() {
  try {
    requireFile(path_, false);
    read_ = stateOf(connection(), path_);
    readBy_ = connection_->serial();
    if (!read_) throw storeError(StoreErrorCode::missing, "There is no store in " + path_ + ".");
  } catch (const foundation::Error& error) {
    connection_.reset();
    throwMeaning(error, path_);
  }
}

Connection& StoreClaim::connection() {
  if (!connection_) {
    ConnectionSettings settings;
    settings.busyTimeout = limit_;
    connection_ = std::make_unique<Connection>(path_, settings);
  }
  return *connection_;
}

void StoreClaim::disconnect() noexcept {
  if (!connection_) return;
  WriteAheadLog(path_).fold(*connection_);
  connection_.reset();
}

void StoreClaim::requireUnchanged(const std::optional<StoreState>& now) const {
  if (!read_) return;
  if (!connection_ || connection_->serial() != readBy_ || read_ != now) throwChanged();
}

void StoreClaim::throwChanged() const {
  throw storeError(StoreErrorCode::changedMeanwhile,
                   "The store " + path_ +
                       " was written to after it was read; it is kept, and what was to replace it "
                       "has to be made again.");
}

}  // namespace coredata
