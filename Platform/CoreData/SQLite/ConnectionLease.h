#pragma once

#include <memory>

namespace coredata {

class Connection;
class ConnectionPool;

/// A connection that is this holder's alone until the lease ends.
class ConnectionLease {
 public:
  ConnectionLease() noexcept;
  ConnectionLease(std::shared_ptr<ConnectionPool> pool, std::unique_ptr<Connection> connection);
  ConnectionLease(ConnectionLease&& other) noexcept;
  ConnectionLease& operator=(ConnectionLease&& other) noexcept;
  ~ConnectionLease();

  /// Gives the connection back to its pool, which keeps it unless it has become unusable.
  void end() noexcept;

  explicit operator bool() const noexcept { return connection_ != nullptr; }
  Connection& operator*() const noexcept { return *connection_; }
  Connection* operator->() const noexcept { return connection_.get(); }

 private:
  std::shared_ptr<ConnectionPool> pool_;
  std::unique_ptr<Connection> connection_;
};

}  // namespace coredata
