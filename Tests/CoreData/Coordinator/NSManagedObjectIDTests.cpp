#include "CoreData/Coordinator/NSManagedObjectID.h"

#include <string>
#include <vector>

#include "Foundation/Values/UUID.h"
#include "Tests/Support/GardenTest.h"

namespace {

using coredata::NSManagedObjectID;
using foundation::make;
using foundation::Ref;
using foundation::URL;
using garden::Bed;
using garden::Plant;

class ObjectIdentifiers : public garden::Test {
 protected:
  [[nodiscard]] coredata::NSPersistentStoreCoordinator& coordinator() const {
    return *store.container().persistentStoreCoordinator();
  }
  [[nodiscard]] std::string storeUUID() const { return coordinator().store()->identifier(); }
  [[nodiscard]] Ref<NSManagedObjectID> named(const std::string& uri) const {
    return coordinator().managedObjectIDForURIRepresentation(URL::parse(uri).value());
  }
  /// A bed with the key 1.
  Ref<Bed> savedBed() {
    return context->performBlockAndWait([&] {
      auto bed = make<Bed>(*context);
      bed->setName("north");
      context->save();
      return bed;
    });
  }
};

TEST_F(ObjectIdentifiers, NameStoreEntityAndKey) {
  const Ref<Bed> bed = savedBed();

  EXPECT_EQ(bed->objectID()->uriRepresentation().absoluteString(),
            "x-coredata://" + storeUUID() + "/Bed/p1");
}

TEST_F(ObjectIdentifiers, ComeBackFromTheirURI) {
  const Ref<Bed> bed = savedBed();

  const Ref<NSManagedObjectID> found = named(bed->objectID()->uriRepresentation().absoluteString());

  EXPECT_EQ(found, bed->objectID());
  context->performBlockAndWait([&] { EXPECT_EQ(context->objectWithID(*found).get(), bed.get()); });
}

TEST_F(ObjectIdentifiers, ComeBackFromTheirURIWhenTheStoreIsOpenedAgain) {
  const std::string uri = savedBed()->objectID()->uriRepresentation().absoluteString();
  context = nullptr;
  store.reopen();

  const Ref<NSManagedObjectID> found = named(uri);

  ASSERT_NE(found, nullptr);
  const auto reader = store.newContext();
  reader->performBlockAndWait([&] {
    const auto bed = coredata::properties::uncheckedCast<Bed>(reader->objectWithID(*found));
    EXPECT_EQ(bed->name(), "north");
    EXPECT_EQ(bed->objectID(), found);
  });
}

TEST_F(ObjectIdentifiers, AreNotLookedUpInTheStore) {
  const Ref<NSManagedObjectID> nobody = named("x-coredata://" + storeUUID() + "/Bed/p77");

  ASSERT_NE(nobody, nullptr);
  EXPECT_EQ(nobody->key(), 77);
  EXPECT_FALSE(nobody->isTemporaryID());
  context->performBlockAndWait([&] {
    const auto ghost = coredata::properties::uncheckedCast<Bed>(context->objectWithID(*nobody));
    ASSERT_NE(ghost, nullptr);
    EXPECT_TRUE(ghost->isFault());
    EXPECT_FALSE(ghost->name().has_value());
    EXPECT_EQ(ghost->rank(), 0);
    EXPECT_TRUE(ghost->plants().empty());
    EXPECT_TRUE(ghost->isDeleted());
    EXPECT_FALSE(context->hasChanges());
  });
}

TEST_F(ObjectIdentifiers, GoUpToTheLargestKey) {
  const Ref<NSManagedObjectID> last =
      named("x-coredata://" + storeUUID() + "/Bed/p9223372036854775807");

  ASSERT_NE(last, nullptr);
  EXPECT_EQ(last->key(), std::numeric_limits<std::int64_t>::max());
}

TEST_F(ObjectIdentifiers, AreDifferentAndNameNoStoreWhileTemporary) {
  context->performBlockAndWait([&] {
    const auto first = make<Bed>(*context)->objectID();
    const auto second = make<Bed>(*context)->objectID();

    EXPECT_TRUE(first->uriRepresentation().absoluteString().starts_with("x-coredata:///Bed/t"));
    EXPECT_NE(first->uriRepresentation(), second->uriRepresentation());
    EXPECT_FALSE(first->isEqual(*second));
    EXPECT_EQ(first->persistentStore(), nullptr);
    EXPECT_EQ(named(first->uriRepresentation().absoluteString()), nullptr);
  });
}

TEST_F(ObjectIdentifiers, ChangeTheirURIAtTheSave) {
  context->performBlockAndWait([&] {
    const auto bed = make<Bed>(*context);
    const auto identifier = bed->objectID();
    const URL before = identifier->uriRepresentation();

    context->save();

    EXPECT_EQ(named(before.absoluteString()), nullptr);
    EXPECT_EQ(named(identifier->uriRepresentation().absoluteString()), identifier);
    EXPECT_EQ(identifier->persistentStore(), coordinator().store());
  });
}

TEST_F(ObjectIdentifiers, AreEqualInEveryContainerOfTheFile) {
  const auto identifier = savedBed()->objectID();
  const auto other = store.opened();

  const auto same = other->persistentStoreCoordinator()->managedObjectIDForURIRepresentation(
      identifier->uriRepresentation());

  ASSERT_NE(same, nullptr);
  EXPECT_NE(same, identifier);
  EXPECT_TRUE(same->isEqual(*identifier));
  EXPECT_EQ(same->hash(), identifier->hash());
}

TEST_F(ObjectIdentifiers, DifferByEntityAndByStore) {
  const garden::Store elsewhere;
  const Ref<NSManagedObjectID> bed = named("x-coredata://" + storeUUID() + "/Bed/p1");
  const Ref<NSManagedObjectID> plant = named("x-coredata://" + storeUUID() + "/Plant/p1");
  const auto otherCoordinator = elsewhere.container().persistentStoreCoordinator();
  const Ref<NSManagedObjectID> others = otherCoordinator->managedObjectIDForURIRepresentation(
      URL::parse("x-coredata://" + otherCoordinator->store()->identifier() + "/Bed/p1").value());

  ASSERT_NE(others, nullptr);
  EXPECT_FALSE(bed->isEqual(*plant));
  EXPECT_FALSE(bed->isEqual(*others));
  EXPECT_EQ(otherCoordinator->managedObjectIDForURIRepresentation(bed->uriRepresentation()),
            nullptr);
}

TEST_F(ObjectIdentifiers, AreNeverUsedAgainForAnotherObject) {
  const auto former = savedBed()->objectID();
  context->performBlockAndWait([&] {
    context->delete_(context->objectWithID(*former));
    context->save();
  });
  context = nullptr;
  store.reopen();

  context = store.newContext();
  EXPECT_GT(savedBed()->objectID()->key(), former->key());
}

TEST_F(ObjectIdentifiers, StayReadableWhenTheirCoordinatorIsGone) {
  Ref<NSManagedObjectID> kept;
  std::string uri;
  {
    const garden::Store shortLived;
    const auto other = shortLived.newContext();
    other->performBlockAndWait([&] {
      const auto bed = make<Bed>(*other);
      other->save();
      kept = bed->objectID();
      uri = kept->uriRepresentation().absoluteString();
    });
  }

  EXPECT_EQ(kept->uriRepresentation().absoluteString(), uri);
  EXPECT_EQ(kept->entity().name(), "Bed");
  EXPECT_EQ(named(uri), nullptr);
}

TEST_F(ObjectIdentifiers, AreNotFoundWithoutAStore) {
  const URL uri = savedBed()->objectID()->uriRepresentation();
  coordinator().removePersistentStore(coordinator().store());

  EXPECT_EQ(coordinator().managedObjectIDForURIRepresentation(uri), nullptr);
}

/// Texts that name no object; "%U" stands for the UUID of the store.
class HostileURIs : public ObjectIdentifiers, public testing::WithParamInterface<std::string> {};

TEST_P(HostileURIs, NameNoObject) {
  std::string text = GetParam();
  if (const std::size_t place = text.find("%U"); place != std::string::npos)
    text.replace(place, 2, storeUUID());
  const std::optional<URL> uri = URL::parse(text);
  ASSERT_TRUE(uri.has_value()) << text;

  EXPECT_EQ(coordinator().managedObjectIDForURIRepresentation(*uri), nullptr) << text;
}

INSTANTIATE_TEST_SUITE_P(Schemes, HostileURIs,
                         testing::Values("http://%U/Bed/p1", "x-coredatas://%U/Bed/p1",
                                         "file://%U/Bed/p1", "x-coredata:%U/Bed/p1",
                                         "x-coredata:/%U/Bed/p1", "//%U/Bed/p1", "/Bed/p1",
                                         "Bed/p1", "abc"));
INSTANTIATE_TEST_SUITE_P(Stores, HostileURIs,
                         testing::Values("x-coredata:///Bed/p1",
                                         "x-coredata://" + foundation::UUID().uuidString() +
                                             "/Bed/p1",
                                         "x-coredata://%U:80/Bed/p1", "x-coredata://me@%U/Bed/p1",
                                         "x-coredata://%U0/Bed/p1", "x-coredata://%U%00/Bed/p1"));
INSTANTIATE_TEST_SUITE_P(Entities, HostileURIs,
                         testing::Values("x-coredata://%U/Weed/p1", "x-coredata://%U/bed/p1",
                                         "x-coredata://%U/%42ed/p1", "x-coredata://%U//p1",
                                         "x-coredata://%U/p1", "x-coredata://%U/Bed",
                                         "x-coredata://%U/Bed/", "x-coredata://%U/",
                                         "x-coredata://%U", "x-coredata://%U/../Bed/p1",
                                         "x-coredata://%U/_meta/p1"));
INSTANTIATE_TEST_SUITE_P(Keys, HostileURIs,
                         testing::Values("x-coredata://%U/Bed/p", "x-coredata://%U/Bed/p0",
                                         "x-coredata://%U/Bed/p-1", "x-coredata://%U/Bed/p+1",
                                         "x-coredata://%U/Bed/p01", "x-coredata://%U/Bed/1",
                                         "x-coredata://%U/Bed/P1", "x-coredata://%U/Bed/t1",
                                         "x-coredata:///Bed/t1", "x-coredata://%U/Bed/px",
                                         "x-coredata://%U/Bed/p1x", "x-coredata://%U/Bed/p1.0",
                                         "x-coredata://%U/Bed/p1e3", "x-coredata://%U/Bed/p0x1",
                                         "x-coredata://%U/Bed/p9223372036854775808",
                                         "x-coredata://%U/Bed/p18446744073709551617",
                                         "x-coredata://%U/Bed/p99999999999999999999999999"));
INSTANTIATE_TEST_SUITE_P(Endings, HostileURIs,
                         testing::Values("x-coredata://%U/Bed/p1/", "x-coredata://%U/Bed/p1/2",
                                         "x-coredata://%U/Bed//p1", "x-coredata://%U/Bed/p1?",
                                         "x-coredata://%U/Bed/p1?x=1", "x-coredata://%U/Bed/p1#",
                                         "x-coredata://%U/Bed/p1#x", "x-coredata://%U/Bed/p1%20",
                                         "x-coredata://%U/Bed/p1%00", "x-coredata://%U/Bed/p%31",
                                         "x-coredata://%U/Bed/p1;x"));
INSTANTIATE_TEST_SUITE_P(Lengths, HostileURIs,
                         testing::Values("x-coredata://%U/Bed/p" + std::string(8000, '1'),
                                         "x-coredata://%U/" + std::string(8000, 'B') + "/p1",
                                         "x-coredata://" + std::string(8000, 'F') + "/Bed/p1",
                                         "x-coredata://%U/Bed/p" + std::string(8000, '0') + "1"));

}  // namespace
