#pragma once

#include <optional>
#include <string>

#include "CoreData/SQLite/SQLiteStore.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/URL.h"

namespace coredata {

/// A store that a coordinator has added: where it lies and what it says of itself.
/// Threading: use it on any thread.
class NSPersistentStore final : public foundation::Object {
 public:
  NSPersistentStore(foundation::URL url, foundation::Ref<SQLiteStore> engine,
                    std::optional<std::string> configuration);

  [[nodiscard]] const std::optional<foundation::URL>& url() const noexcept { return url_; }
  [[nodiscard]] std::string_view type() const noexcept;
  /// The store's UUID as a text; the same for as long as the store lives, through every migration.
  [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }
  [[nodiscard]] const std::optional<std::string>& configurationName() const noexcept {
    return configuration_;
  }
  [[nodiscard]] foundation::ValueDictionary metadata() const { return engine_->metadata(); }
  /// The rows behind it.
  [[nodiscard]] const foundation::Ref<SQLiteStore>& engine() const noexcept { return engine_; }
  /// Unique in this process and never used again, so that keys of a store that was removed never
  /// meet another's.
  [[nodiscard]] std::uint64_t serial() const noexcept { return serial_; }

 private:
  std::optional<foundation::URL> url_;
  foundation::Ref<SQLiteStore> engine_;
  std::optional<std::string> configuration_;
  std::string identifier_;
  std::uint64_t serial_;
};

}  // namespace coredata
