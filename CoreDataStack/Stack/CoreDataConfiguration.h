#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "Foundation/Values/URL.h"

namespace coredatastack {

/// The store that an application wants: which model from which bundle, where the file lies, which
/// cloud container mirrors it, and under which name the main context's changes are recorded. A
/// plain value, unchanged after it is made.
class CoreDataConfiguration {
 public:
  /// The running situation: it decides the kind of container and the store's options.
  enum class Stage : std::uint8_t {
    temp,        ///< a plain store that migrates by itself, for work beside the live one
    inMemory,    ///< nothing but the location: the application chooses one to throw away
    production,  ///< the live store, perhaps mirrored, with its history tracked
    extensions,  ///< the live store as an extension opens it: tracked, never mirrored from here
  };

  CoreDataConfiguration(Stage stage, std::string modelName, std::string bundleIdentifier,
                        std::string iCloudIdentifier, std::string groupIdentifier,
                        std::string author, foundation::URL path, bool useCloudSync)
      : stage_(stage),
        modelName_(std::move(modelName)),
        bundleIdentifier_(std::move(bundleIdentifier)),
        iCloudIdentifier_(std::move(iCloudIdentifier)),
        groupIdentifier_(std::move(groupIdentifier)),
        author_(std::move(author)),
        path_(std::move(path)),
        useCloudSync_(useCloudSync) {}

  [[nodiscard]] Stage stage() const noexcept { return stage_; }
  /// The compiled model's name in its bundle, without "momd", and the container's.
  [[nodiscard]] const std::string& modelName() const noexcept { return modelName_; }
  /// The bundle that holds the model.
  [[nodiscard]] const std::string& bundleIdentifier() const noexcept { return bundleIdentifier_; }
  /// The private cloud container; used in production with cloud sync on.
  [[nodiscard]] const std::string& iCloudIdentifier() const noexcept { return iCloudIdentifier_; }
  /// What the application and its extensions share. Carried for the application, not read here.
  [[nodiscard]] const std::string& groupIdentifier() const noexcept { return groupIdentifier_; }
  /// Who the main context's transactions are by, in the history.
  [[nodiscard]] const std::string& author() const noexcept { return author_; }
  /// The store's file, used as it is: no directory is made, no name appended.
  [[nodiscard]] const foundation::URL& path() const noexcept { return path_; }
  /// What the user chose; it counts in production, and while the device has a cloud identity.
  [[nodiscard]] bool useCloudSync() const noexcept { return useCloudSync_; }

 private:
  Stage stage_;
  std::string modelName_;
  std::string bundleIdentifier_;
  std::string iCloudIdentifier_;
  std::string groupIdentifier_;
  std::string author_;
  foundation::URL path_;
  bool useCloudSync_;
};

}  // namespace coredatastack
