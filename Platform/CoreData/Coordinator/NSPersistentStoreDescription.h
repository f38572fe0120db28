#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "CoreData/Coordinator/NSPersistentCloudKitContainerOptions.h"
#include "Foundation/Values/URL.h"
#include "Foundation/Values/Value.h"

namespace coredata {

/// The kinds of stores that a coordinator can add.
inline constexpr std::string_view NSSQLiteStoreType = "SQLite";

/// Option keys of a store description.
inline constexpr std::string_view NSPersistentHistoryTrackingKey = "NSPersistentHistoryTrackingKey";
inline constexpr std::string_view NSPersistentStoreRemoteChangeNotificationPostOptionKey =
    "NSPersistentStoreRemoteChangeNotificationOptionKey";
inline constexpr std::string_view NSPersistentStoreFileProtectionKey =
    "NSPersistentStoreFileProtectionKey";
/// A value for the key above. Accepted and kept; what protects a store here is that its files are
/// its user's alone.
inline constexpr std::string_view NSFileProtectionCompleteUnlessOpen =
    "NSFileProtectionCompleteUnlessOpen";
/// A dictionary of SQLite pragmas, name to value, applied when the store is opened. Only names that
/// cannot harm the store are let through: see `StoreOptions`.
inline constexpr std::string_view NSSQLitePragmasOption = "NSSQLitePragmasOption";
inline constexpr std::string_view NSReadOnlyPersistentStoreOption =
    "NSReadOnlyPersistentStoreOption";
// Of this library's own: `StoreOptions::isScratch`, and the contrary of `buildsIndexes`.
inline constexpr std::string_view kScratchStoreOption = "CDSScratchStoreOption";
inline constexpr std::string_view kDefersIndexesOption = "CDSDefersIndexesOption";

/// How a store is to be opened. Starts as type SQLite, added synchronously, with no options and no
/// migration of any kind: an unasked migration of a user's store is the worse surprise.
class NSPersistentStoreDescription {
 public:
  NSPersistentStoreDescription() = default;
  explicit NSPersistentStoreDescription(foundation::URL url) : url_(std::move(url)) {}

  [[nodiscard]] const std::optional<foundation::URL>& url() const noexcept { return url_; }
  void setURL(std::optional<foundation::URL> url) { url_ = std::move(url); }
  [[nodiscard]] const std::string& type() const noexcept { return type_; }
  void setType(std::string type) { type_ = std::move(type); }
  /// The model's configuration that the store holds; none for all entities.
  [[nodiscard]] const std::optional<std::string>& configuration() const noexcept {
    return configuration_;
  }
  void setConfiguration(std::optional<std::string> name) { configuration_ = std::move(name); }

  [[nodiscard]] bool shouldMigrateStoreAutomatically() const noexcept { return migrates_; }
  void setShouldMigrateStoreAutomatically(bool value) noexcept { migrates_ = value; }
  [[nodiscard]] bool shouldInferMappingModelAutomatically() const noexcept {
    return infersMapping_;
  }
  void setShouldInferMappingModelAutomatically(bool value) noexcept { infersMapping_ = value; }
  /// Always false: stores are added before `loadPersistentStores` returns.
  [[nodiscard]] bool shouldAddStoreAsynchronously() const noexcept { return false; }

  [[nodiscard]] bool isReadOnly() const noexcept { return isOn(NSReadOnlyPersistentStoreOption); }
  void setReadOnly(bool value) { setOption(value, NSReadOnlyPersistentStoreOption); }

  [[nodiscard]] const foundation::ValueDictionary& options() const noexcept { return options_; }
  /// An absent value removes the key.
  void setOption(foundation::Value value, std::string_view forKey);
  /// Whether the option is set to a number other than 0.
  [[nodiscard]] bool isOn(std::string_view optionKey) const noexcept;
  /// Adds one entry to the dictionary under `NSSQLitePragmasOption`.
  void setValue(const std::string& value, const std::string& forPragmaNamed);
  [[nodiscard]] std::map<std::string, std::string> sqlitePragmas() const;

  /// With which private database the store is mirrored; none for a store of this device alone.
  [[nodiscard]] const std::optional<NSPersistentCloudKitContainerOptions>&
  cloudKitContainerOptions() const noexcept {
    return cloudOptions_;
  }
  void setCloudKitContainerOptions(std::optional<NSPersistentCloudKitContainerOptions> options) {
    cloudOptions_ = std::move(options);
  }

 private:
  std::optional<foundation::URL> url_;
  std::string type_{NSSQLiteStoreType};
  std::optional<std::string> configuration_;
  foundation::ValueDictionary options_;
  std::optional<NSPersistentCloudKitContainerOptions> cloudOptions_;
  bool migrates_ = false;
  bool infersMapping_ = false;
};

}  // namespace coredata
