#include "CoreData/SQLite/ConnectionPool.h"

#include "CoreData/SQLite/ForkGeneration.h"
#include "CoreData/SQLite/SQLiteStoreError.h"

namespace coredata {

ConnectionPool::ConnectionPool(std::string path, ConnectionSettings settings,
                               std::unique_ptr<Connection> first)
    : path_(std::move(path)),
      settings_(std::move(settings)),
      file_(FileIdentity::of(path_)),
      forkGeneration_(forkGeneration()),
      log_(path_),
      nearest_(first.get()) {
  // So that giving one back takes no memory.
  idle_.reserve(kMaxIdle);
  static_cast<void>(first.release());
}

ConnectionPool::~ConnectionPool() { close(); }

ConnectionLease ConnectionPool::lease() {
  requireOpen();
  std::unique_ptr<Connection> connection(nearest_.exchange(nullptr));
  if (!connection) connection = takeIdle();
  if (!connection) connection = connect();
  return {*this, std::move(connection)};
}

void ConnectionPool::requireOpen() const {
  if (closed_) {
    throw storeError(StoreErrorCode::removed, "The store " + path_ + " was removed.");
  }
  if (forkGeneration_ != forkGeneration()) {
    throw storeError(StoreErrorCode::forked, "The store " + path_ +
                                                 " was opened before this process was forked; open "
                                                 "it again in the child.");
  }
}

std::unique_ptr<Connection> ConnectionPool::takeIdle() {
  const std::scoped_lock lock(mutex_);
  // Again, with the lock held: whoever closes counts what exists.
  requireOpen();
  if (idle_.empty()) {
    ++open_;
    return nullptr;
  }
  std::unique_ptr<Connection> result = std::move(idle_.back());
  idle_.pop_back();
  return result;
}

std::unique_ptr<Connection> ConnectionPool::connect() {
  try {
    // Opened by its path, which somebody may have given to another file in the meantime.
    auto result = std::make_unique<Connection>(path_, settings_);
    requireSameFile();
    return result;
  } catch (...) {
    const std::scoped_lock lock(mutex_);
    --open_;
    throw;
  }
}

void ConnectionPool::requireSameFile() const {
  if (FileIdentity::of(path_) == file_) return;
  throw storeError(StoreErrorCode::replaced,
                   "Another file has taken the place of the store " + path_ + ".");
}

bool ConnectionPool::keep(std::unique_ptr<Connection>& connection) noexcept {
  const std::scoped_lock lock(mutex_);
  if (closed_ || idle_.size() >= kMaxIdle) return false;
  idle_.push_back(std::move(connection));
  return true;
}

void ConnectionPool::takeBack(std::unique_ptr<Connection> connection) noexcept {
  if (!connection->isOurs()) return retire(std::move(connection));
  connection->rollBack();
  if (!connection->isUsable()) return retire(std::move(connection));
  std::unique_ptr<Connection> before(nearest_.exchange(connection.release()));
  if (before && !keep(before)) retire(std::move(before));
  // Whoever closes either finds it there, or has closed before and is seen here.
  if (closed_) endIdle();
}

void ConnectionPool::retire(std::unique_ptr<Connection> connection) noexcept {
  bool isLast = false;
  {
    const std::scoped_lock lock(mutex_);
    isLast = closed_ && open_ == 1;
  }
  if (isLast) log_.fold(*connection);
  connection.reset();
  const std::scoped_lock lock(mutex_);
  --open_;
}

void ConnectionPool::close() noexcept {
  {
    const std::scoped_lock lock(mutex_);
    closed_ = true;
  }
  endIdle();
}

void ConnectionPool::endIdle() noexcept {
  std::unique_ptr<Connection> nearest(nearest_.exchange(nullptr));
  if (nearest) retire(std::move(nearest));
  std::vector<std::unique_ptr<Connection>> ending;
  {
    const std::scoped_lock lock(mutex_);
    ending.swap(idle_);
  }
  for (auto& connection : ending) retire(std::move(connection));
}

std::size_t ConnectionPool::size() const {
  const std::scoped_lock lock(mutex_);
  return open_;
}

}  // namespace coredata
