#include <limits>

#include "CoreData/Fetching/NSBatchDeleteRequest.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/GardenTest.h"

namespace {

using foundation::make;
using foundation::NSPredicate;
using foundation::Ref;
using garden::Bed;
using garden::Plant;
using garden::Tool;

/// A store in which somebody has put a bed with the last key of all.
class LastKey : public garden::Test {
 protected:
  LastKey() {
    context = nullptr;
    shelf::query(*store.url().filePath(),
                 "INSERT INTO Bed(_id, _version, name, rank) "
                 "VALUES(9223372036854775807, 1, 'last', 1)");
    store.reopen();
    context = store.newContext();
  }
  [[nodiscard]] Ref<Bed> last() const { return context->fetch(Bed::fetchRequest()).first(); }
};

TEST_F(LastKey, IsReadAndNamedLikeAnyOther) {
  context->performBlockAndWait([&] {
    const auto bed = last();
    EXPECT_EQ(bed->name(), "last");
    EXPECT_EQ(bed->objectID()->key(), std::numeric_limits<std::int64_t>::max());

    const auto uri = bed->objectID()->uriRepresentation();
    EXPECT_TRUE(uri.absoluteString().ends_with("/Bed/p9223372036854775807"));
    const auto again =
        store.container().persistentStoreCoordinator()->managedObjectIDForURIRepresentation(uri);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(context->objectWithID(*again), bed);
  });
}

TEST_F(LastKey, IsTheTargetOfRelationships) {
  context->performBlockAndWait([&] {
    const auto plant = make<Plant>(*context);
    plant->setBed(last());
    context->save();
    context->reset();

    auto request = Plant::fetchRequest();
    request.setPredicate(NSPredicate::format("bed.name = %@", "last"));
    EXPECT_EQ(context->count(request), 1);
    EXPECT_TRUE(last()->plants().contains(context->fetch(request).first()));
  });
}

TEST_F(LastKey, LeavesNoneForAnotherAndEverythingElseAsItIs) {
  context->performBlockAndWait([&] {
    const auto beyond = make<Bed>(*context);
    EXPECT_EQ(support::errorCode([&] { context->save(); }),
              support::number(coredata::StoreErrorCode::keysExhausted));
    context->delete_(beyond);

    last()->setName("renamed");
    context->save();
    context->reset();
    EXPECT_EQ(last()->name(), "renamed");
    context->delete_(last());
    context->save();
  });

  EXPECT_EQ(stored<Bed>(), 0U);
}

/// A store in which a tool, in a bed, has been written as often as can be counted.
class LastVersion : public garden::Test {
 protected:
  LastVersion() {
    context->performBlockAndWait([&] {
      const auto tool = make<Tool>(*context);
      tool->setName("rake");
      tool->setBed(make<Bed>(*context));
      context->save();
    });
    context = nullptr;
    shelf::query(path(), "UPDATE Tool SET _version=9223372036854775807");
    store.reopen();
    context = store.newContext();
  }
  [[nodiscard]] std::string path() const { return *store.url().filePath(); }
  [[nodiscard]] std::vector<std::string> version() const {
    return shelf::query(path(), "SELECT _version, typeof(_version) FROM Tool");
  }
};

TEST_F(LastVersion, IsFollowedByTheFirst) {
  context->performBlockAndWait([&] {
    const auto tool = context->fetch(Tool::fetchRequest()).first();
    tool->setName("hoe");
    context->save();
    EXPECT_EQ(version(), std::vector<std::string>{"1|integer"});

    tool->setName("axe");
    context->save();
  });

  EXPECT_EQ(version(), std::vector<std::string>{"2|integer"});
}

TEST_F(LastVersion, IsFollowedByTheFirstWhereABatchTakesAnObjectsLinkAway) {
  context->performBlockAndWait([&] {
    static_cast<void>(context->execute(coredata::NSBatchDeleteRequest(Bed::fetchRequest())));

    EXPECT_EQ(context->fetch(Tool::fetchRequest()).first()->bed(), nullptr);
  });

  EXPECT_EQ(version(), std::vector<std::string>{"1|integer"});
}

}  // namespace
