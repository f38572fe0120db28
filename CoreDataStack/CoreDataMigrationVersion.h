#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "Foundation/Values/Value.h"

namespace coredatastack {

/// The versions of the schema, oldest first. A store moves from one to the next and never leaves
/// one out.
class CoreDataMigrationVersion {
 public:
  static const CoreDataMigrationVersion version1;
  static const CoreDataMigrationVersion version2;
  static const CoreDataMigrationVersion version3;
  static const CoreDataMigrationVersion version4;
  static const CoreDataMigrationVersion version5;
  static const CoreDataMigrationVersion version6;
  static const CoreDataMigrationVersion version7;

  [[nodiscard]] static std::span<const CoreDataMigrationVersion> allCases() noexcept;
  /// The last of all. Stops the process over an empty list.
  [[nodiscard]] static CoreDataMigrationVersion newest();
  [[nodiscard]] static CoreDataMigrationVersion newest(
      std::span<const CoreDataMigrationVersion> of);

  /// The version of the store that has this metadata: the first whose model is compatible with it;
  /// none when no model is. Loads the models from disk, up to all seven, at each call.
  [[nodiscard]] static std::optional<CoreDataMigrationVersion> storeVersion(
      const foundation::ValueDictionary& forMetadata);

  /// The name of the version and of its compiled model.
  [[nodiscard]] constexpr std::string_view rawValue() const noexcept { return rawValue_; }
  /// The version after this one; none after the last.
  [[nodiscard]] std::optional<CoreDataMigrationVersion> next() const noexcept;

  friend constexpr bool operator==(const CoreDataMigrationVersion&,
                                   const CoreDataMigrationVersion&) noexcept = default;

 private:
  explicit constexpr CoreDataMigrationVersion(std::string_view rawValue) noexcept
      : rawValue_(rawValue) {}

  std::string_view rawValue_;
};

inline constexpr CoreDataMigrationVersion CoreDataMigrationVersion::version1("Tessaline 1");
inline constexpr CoreDataMigrationVersion CoreDataMigrationVersion::version2("Tessaline 2");
inline constexpr CoreDataMigrationVersion CoreDataMigrationVersion::version3("Tessaline 3");
inline constexpr CoreDataMigrationVersion CoreDataMigrationVersion::version4("Tessaline 4");
inline constexpr CoreDataMigrationVersion CoreDataMigrationVersion::version5("Tessaline 5");
inline constexpr CoreDataMigrationVersion CoreDataMigrationVersion::version6("Tessaline 6");
inline constexpr CoreDataMigrationVersion CoreDataMigrationVersion::version7("Tessaline 7");

}  // namespace coredatastack
