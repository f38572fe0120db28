#pragma once

#include <cstdint>
#include <string_view>

#include "Foundation/Values/EnumError.h"

namespace coredatastack {

/// What stands between an application and its store. Two are equal when their cases are.
class CoreDataError final : public foundation::EnumError<CoreDataError> {
 public:
  enum class Case : std::uint8_t { unableToMigratePersistentStore, unableToLoadPersistentStore };
  static constexpr std::string_view kTypeName = "CoreDataError";
  static constexpr std::string_view kCaseNames[] = {"unableToMigratePersistentStore",
                                                    "unableToLoadPersistentStore"};

  /// For callers: a failed migration reports the migrator's own error.
  [[nodiscard]] static CoreDataError unableToMigratePersistentStore(
      const foundation::Error& underlying) {
    return CoreDataError(Case::unableToMigratePersistentStore, underlying.clone());
  }
  /// There is no description of a store, or one without a location.
  [[nodiscard]] static CoreDataError unableToLoadPersistentStore() {
    return CoreDataError(Case::unableToLoadPersistentStore);
  }

 private:
  using EnumError::EnumError;
};

}  // namespace coredatastack
