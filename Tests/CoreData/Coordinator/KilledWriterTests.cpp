#include <gtest/gtest.h>

#include "Tests/CoreData/Coordinator/Announcements.h"
#include "Tests/CoreData/Coordinator/WatchedGarden.h"
#include "Tests/CoreData/Coordinator/Writer.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

TEST(KilledWriter, IsHeardOfAlthoughItDidNotComeToRing) {
  const support::TemporaryDirectory directory;
  const auto url = foundation::URL::fileURL((directory.path() / "garden.sqlite").string());
  const auto container = garden::open(url);
  garden::Announcements announcements(container->persistentStoreCoordinator());

  for (int i = 0; i < REMOTE_CHANGE_KILLS; ++i) {
    garden::Writer writer(url);
    ASSERT_TRUE(writer.saveAndDie());

    const std::int64_t number = garden::engineOf(*container)->newestTransaction().number;
    ASSERT_EQ(number, i + 1);
    ASSERT_TRUE(announcements.await(number)) << "after " << i << " others";
  }
}

}  // namespace
