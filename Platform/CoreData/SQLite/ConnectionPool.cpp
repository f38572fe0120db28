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
      log_(path_) {
  // So that giving one back takes no memory.
  idle_.reserve(kMaxIdle);
  idle_.push_back(std::move(first));
}

ConnectionPool::~ConnectionPool() { close(); }

ConnectionLease ConnectionPool::lease() {
  std::unique_ptr<Connection> connection = takeIdle();
  if (!connection) connection = connect();
  return ConnectionLease(shared_from_this(), std::move(connection));
}

std::unique_ptr<Connection> ConnectionPool::takeIdle() {
  const std::scoped_lock lock(mutex_);
  if (closed_) {
    throw storeError(StoreErrorCode::removed, "The store " + path_ + " was removed.");
  }
  if (forkGeneration_ != forkGeneration()) {
    throw storeError(StoreErrorCode::forked, "The store " + path_ +
                                                 " was opened before this process was forked; open "
                                                 "it again in the child.");
  }
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
  if (closed_ || !connection->isUsable() || !connection->isOurs() || idle_.size() >= kMaxIdle)
    return false;
  idle_.push_back(std::move(connection));
  return true;
}

void ConnectionPool::takeBack(std::unique_ptr<Connection> connection) noexcept {
  if (connection->isOurs()) connection->rollBack();
  if (!keep(connection)) retire(std::move(connection));
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
  std::vector<std::unique_ptr<Connection>> closing;
  {
    const std::scoped_lock lock(mutex_);
    closed_ = true;
    closing.swap(idle_);
  }
  for (auto& connection : closing) retire(std::move(connection));
}

bool ConnectionPool::isClosed() const {
  const std::scoped_lock lock(mutex_);
  return closed_;
}

std::size_t ConnectionPool::size() const {
  const std::scoped_lock lock(mutex_);
  return open_;
}

}  // namespace coredata
