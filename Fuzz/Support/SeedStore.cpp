#include "Fuzz/Support/SeedStore.h"

#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Internal/ManualClock.h"
#include "Tests/Support/StoreFiles.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tools/storegen/SeededStore.h"

namespace fuzz {

std::string seedStore(const coredatastack::CoreDataMigrationVersion& version,
                      const std::string& container) {
  constexpr double kNow = 800'000'000;
  const foundation::ManualClock clock(kNow);
  const support::TemporaryDirectory directory;
  const std::string path = (directory.path() / "seed.sqlite").string();
  storegen::makeSeededStore(path, coredatastack::model(version.rawValue()),
                            {.seed = 7,
                             .activities = 2,
                             .days = 2,
                             .photos = 2,
                             .photoBytes = 300,
                             .absentPercent = 10,
                             .container = container});
  return support::bytesOf(path);
}

}  // namespace fuzz
