#pragma once

namespace coredata {

/// The name of the SQLite file layer through which stores are opened; null for SQLite's default.
[[nodiscard]] const char* storeVFS() noexcept;

/// Opens stores through the named file layer while it lives. The layer must be registered with
/// SQLite and the name must outlive this.
///
/// Threading: for tests, made and ended while no store is being opened.
class StoreVFSOverride {
 public:
  explicit StoreVFSOverride(const char* name) noexcept;
  ~StoreVFSOverride();
  StoreVFSOverride(const StoreVFSOverride&) = delete;
  StoreVFSOverride& operator=(const StoreVFSOverride&) = delete;

 private:
  const char* previous_;
};

}  // namespace coredata
