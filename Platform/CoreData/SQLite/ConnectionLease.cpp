#include "CoreData/SQLite/ConnectionLease.h"

#include <utility>

#include "CoreData/SQLite/ConnectionPool.h"

namespace coredata {

ConnectionLease::ConnectionLease() noexcept = default;

ConnectionLease::ConnectionLease(std::shared_ptr<ConnectionPool> pool,
                                 std::unique_ptr<Connection> connection)
    : pool_(std::move(pool)), connection_(std::move(connection)) {}

ConnectionLease::ConnectionLease(ConnectionLease&& other) noexcept = default;

ConnectionLease& ConnectionLease::operator=(ConnectionLease&& other) noexcept {
  end();
  pool_ = std::move(other.pool_);
  connection_ = std::move(other.connection_);
  return *this;
}

ConnectionLease::~ConnectionLease() { end(); }

void ConnectionLease::end() noexcept {
  if (connection_) pool_->takeBack(std::move(connection_));
  pool_.reset();
}

}  // namespace coredata
