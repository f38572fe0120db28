#pragma once

#include <string>
#include <string_view>

#include "Foundation/Values/EnumError.h"
#include "Foundation/Values/URL.h"

namespace coredatastack {

/// Why a store was not migrated.
class CoreDataMigratorError final : public foundation::EnumError<CoreDataMigratorError> {
 public:
  enum class Case {
    unableToMigrate,      ///< for callers that wrap what the migrator threw
    unknownStoreVersion,  ///< no metadata to be read, or no version that they fit
  };
  static constexpr std::string_view kTypeName = "CoreDataMigratorError";
  static constexpr std::string_view kCaseNames[] = {"unableToMigrate", "unknownStoreVersion"};

  [[nodiscard]] static CoreDataMigratorError unableToMigrate(const foundation::Error& underlying) {
    return CoreDataMigratorError(Case::unableToMigrate, underlying.clone());
  }
  [[nodiscard]] static CoreDataMigratorError unknownStoreVersion(std::string message) {
    return CoreDataMigratorError(Case::unknownStoreVersion, std::move(message));
  }
  [[nodiscard]] static CoreDataMigratorError unknownStoreVersion(const foundation::URL& atURL) {
    return unknownStoreVersion("unknown store version at URL " + atURL.description());
  }

 private:
  using EnumError::EnumError;
};

}  // namespace coredatastack
