#include "CoreData/Container/NSPersistentCloudKitContainer.h"

#include "Tests/Support/GardenTest.h"

namespace {

using coredata::NSPersistentCloudKitContainer;
using coredata::NSPersistentCloudKitContainerOptions;
using coredata::NSPersistentContainer;
using coredata::NSPersistentStoreDescription;
using foundation::make;
using foundation::Ref;
using foundation::URL;

TEST(CloudContainers, OpenAMirroredStoreAsAnyOther) {
  const support::TemporaryDirectory directory;
  const Ref<NSPersistentContainer> container =
      make<NSPersistentCloudKitContainer>("garden", garden::model());
  NSPersistentStoreDescription description(
      URL::fileURL((directory.path() / "garden.sqlite").string()));
  description.setCloudKitContainerOptions(NSPersistentCloudKitContainerOptions("iCloud.garden"));
  container->setPersistentStoreDescriptions({description});

  std::size_t failures = 0;
  container->loadPersistentStores(
      [&](const auto&, const auto& error) { failures += error ? 1U : 0U; });

  EXPECT_EQ(failures, 0U);
  EXPECT_EQ(container->name(), "garden");
  EXPECT_EQ(container->persistentStoreCoordinator()->persistentStores().size(), 1U);
}

}  // namespace
