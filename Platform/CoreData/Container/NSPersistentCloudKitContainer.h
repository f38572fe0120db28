#pragma once

#include "CoreData/Container/NSPersistentContainer.h"

namespace coredata {

/// A container whose stores may be mirrored to the user's private database at the cloud. On this
/// device it does what every container does: mirroring is another's work, which finds what to
/// mirror in the descriptions' `cloudKitContainerOptions`.
///
/// Threading: as `NSPersistentContainer`.
class NSPersistentCloudKitContainer final : public NSPersistentContainer {
 public:
  using NSPersistentContainer::NSPersistentContainer;

 private:
  ~NSPersistentCloudKitContainer() override = default;
};

}  // namespace coredata
