#pragma once

#include <string>
#include <utility>

namespace coredata {

/// Which private database at the cloud mirrors a store. Kept on the store's description for the
/// mirroring engine that a platform plugs in; the store itself is opened as any other.
class NSPersistentCloudKitContainerOptions {
 public:
  explicit NSPersistentCloudKitContainerOptions(std::string containerIdentifier)
      : containerIdentifier_(std::move(containerIdentifier)) {}

  [[nodiscard]] const std::string& containerIdentifier() const noexcept {
    return containerIdentifier_;
  }

 private:
  std::string containerIdentifier_;
};

}  // namespace coredata
