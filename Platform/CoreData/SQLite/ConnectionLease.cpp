#include "CoreData/SQLite/ConnectionLease.h"

#include <utility>

#include "CoreData/SQLite/ConnectionPool.h"

namespace coredata {

ConnectionLease::ConnectionLease() noexcept = default;

ConnectionLease::ConnectionLease(ConnectionPool& pool,
                                 std::unique_ptr<Connection> connection) noexcept
    : pool_(&pool), connection_(std::move(connection)) {}

ConnectionLease::ConnectionLease(ConnectionLease&& other) noexcept = default;

ConnectionLease& ConnectionLease::operator=(ConnectionLease&& other) noexcept {
  end();
  pool_ = other.pool_;
  connection_ = std::move(other.connection_);
  return *this;
}

ConnectionLease::~ConnectionLease() { end(); }

void ConnectionLease::end() noexcept {
  if (connection_) pool_->takeBack(std::move(connection_));
}

}  // namespace coredata
