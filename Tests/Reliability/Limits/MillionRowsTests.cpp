#include "CoreData/Fetching/NSBatchDeleteRequest.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/GardenTest.h"

namespace {

using foundation::make;
using foundation::NSPredicate;
using foundation::Ref;
using garden::Plant;

constexpr std::int64_t kRows = 1'000'000;
constexpr std::int64_t kRowsOfASave = 50'000;

/// In force before the store is opened: nothing waits for the disk.
struct UnsyncedDisk {
  UnsyncedDisk() { vfs.skipSyncs(); }

  support::FaultVFS vfs;
  coredata::StoreVFSOverride override{vfs.name()};
};

/// A million plants, each with its number as its cells, and every thousandth evergreen.
class MillionRows : private UnsyncedDisk, public garden::Test {
 protected:
  MillionRows() {
    for (std::int64_t first = 0; first < kRows; first += kRowsOfASave) {
      context->performBlockAndWait([&] {
        for (std::int64_t number = first; number < first + kRowsOfASave; ++number) {
          const auto plant = make<Plant>(*context);
          plant->setName("plant " + std::to_string(number));
          plant->setCells(number);
          plant->setEvergreen(number % 1000 == 0);
        }
        context->save();
        context->reset();
      });
    }
  }
  [[nodiscard]] static coredata::NSFetchRequest<Plant> evergreens() {
    auto request = Plant::fetchRequest();
    request.setPredicate(NSPredicate::format("evergreen = 1"));
    return request;
  }
};

TEST_F(MillionRows, AreCountedFoundWalkedChangedAndDeleted) {
  context->performBlockAndWait([&] {
    EXPECT_EQ(context->count(Plant::fetchRequest()), kRows);
    EXPECT_EQ(context->count(evergreens()), kRows / 1000);

    auto all = Plant::fetchRequest();
    all.setFetchBatchSize(500);
    all.setSortDescriptors({foundation::NSSortDescriptor("cells", false)});
    std::int64_t next = kRows;
    for (const Ref<Plant> plant : context->fetch(all)) ASSERT_EQ(plant->cells(), --next);
    EXPECT_EQ(next, 0);
    context->reset();

    for (const Ref<Plant> plant : context->fetch(evergreens())) plant->setCells(-1);
    context->save();
    EXPECT_EQ(stored<Plant>(), static_cast<std::size_t>(kRows));

    auto rest = Plant::fetchRequest();
    rest.setPredicate(NSPredicate::format("cells >= 0"));
    static_cast<void>(context->execute(coredata::NSBatchDeleteRequest(rest)));
    EXPECT_EQ(context->count(Plant::fetchRequest()), kRows / 1000);
  });
}

}  // namespace
