#pragma once

#include <memory>

namespace coredata {

class Connection;
class ConnectionPool;

/// A connection that is this holder's alone until the lease ends. The store that it is of must
/// outlive it.
class ConnectionLease {
 public:
  ConnectionLease() noexcept;
  ConnectionLease(ConnectionPool& pool, std::unique_ptr<Connection> connection) noexcept;
  ConnectionLease(ConnectionLease&& other) noexcept;
  ConnectionLease& operator=(ConnectionLease&& other) noexcept;
  ~ConnectionLease();

  /// Gives the connection back to its pool, which keeps it unless it has become unusable.
  void end() noexcept;

  explicit operator bool() const noexcept { return connection_ != nullptr; }
  Connection& operator*() const noexcept { return *connection_; }
  Connection* operator->() const noexcept { return connection_.get(); }

 private:
  ConnectionPool* pool_ = nullptr;
  std::unique_ptr<Connection> connection_;
};

}  // namespace coredata
