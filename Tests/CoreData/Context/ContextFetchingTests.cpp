#include <vector>

#include "Tests/Support/GardenTest.h"

namespace {

using coredata::NSFetchRequest;
using foundation::make;
using foundation::NSPredicate;
using foundation::NSSortDescriptor;
using foundation::Ref;
using foundation::Value;
using garden::Bed;
using garden::Plant;

class ContextFetching : public garden::Test {
 protected:
  Ref<Plant> plant(const char* name, double height) {
    auto made = make<Plant>(*context);
    if (name != nullptr) made->setName(name);
    made->setHeight(height);
    return made;
  }
  /// Names in the request's order, "-" for an absent one.
  std::vector<std::string> names(const NSFetchRequest<Plant>& request) {
    std::vector<std::string> result;
    for (const Ref<Plant>& found : context->fetch(request))
      result.push_back(found->name().value_or("-"));
    return result;
  }
  using Names = std::vector<std::string>;
};

TEST_F(ContextFetching, SeesUnsavedChangesAndSortsThemIn) {
  context->performBlockAndWait([&] {
    plant("ash", 1);
    auto elm = plant("elm", 3);
    auto oak = plant("oak", 5);
    context->save();
    plant("fir", 4);
    elm->setHeight(6);
    context->delete_(oak);

    auto request = Plant::fetchRequest();
    request.setSortDescriptors({NSSortDescriptor("height", false)});

    EXPECT_EQ(names(request), (Names{"elm", "fir", "ash"}));
    request.setPredicate(NSPredicate::format("height > %d", 3));
    EXPECT_EQ(names(request), (Names{"elm", "fir"}));
    EXPECT_EQ(context->count(request), 2);
  });
}

TEST_F(ContextFetching, CutsTheMergedResultByOffsetAndLimit) {
  context->performBlockAndWait([&] {
    for (const char* name : {"b", "d", "f", "h"}) plant(name, 1);
    context->save();
    for (const char* name : {"a", "c", "e", "g"}) plant(name, 1);

    auto request = Plant::fetchRequest();
    request.setSortDescriptors({NSSortDescriptor("name", true)});
    request.setFetchOffset(2);
    request.setFetchLimit(3);

    EXPECT_EQ(names(request), (Names{"c", "d", "e"}));
    EXPECT_EQ(context->count(request), 3);
    request.setFetchOffset(7);
    EXPECT_EQ(names(request), (Names{"h"}));
    EXPECT_EQ(context->count(request), 1);
    request.setFetchOffset(9);
    EXPECT_EQ(names(request), Names{});
    EXPECT_EQ(context->count(request), 0);
  });
}

TEST_F(ContextFetching, GivesTheFirstObjectByItself) {
  context->performBlockAndWait([&] {
    for (const char* name : {"b", "d", "f"}) plant(name, 1);
    context->save();
    auto request = Plant::fetchRequest();
    const auto first = [&]() -> std::string {
      const Ref<Plant> found = context->fetchFirst(request);
      return found ? found->name().value_or("-") : "none";
    };
    for (const std::size_t batchSize : {0, 2}) {
      request = Plant::fetchRequest();
      request.setFetchBatchSize(batchSize);
      EXPECT_EQ(first(), "b");
      request.setSortDescriptors({{"name", false}});
      EXPECT_EQ(first(), "f");
      request.setFetchLimit(2);
      request.setFetchOffset(2);
      EXPECT_EQ(first(), "b");
      EXPECT_EQ(request.fetchLimit(), 2U);
      request.setFetchOffset(3);
      EXPECT_EQ(first(), "none");
    }

    plant("g", 1);
    request.setFetchOffset(0);
    EXPECT_EQ(first(), "g");
    request.setIncludesPendingChanges(false);
    EXPECT_EQ(first(), "f");
    request.setPredicate(NSPredicate::format("name = %@", "d"));
    EXPECT_EQ(first(), "d");
    EXPECT_EQ(context->fetchFirst(request), context->fetch(request).first());
    request.setPredicate(NSPredicate::format("name = %@", "x"));
    EXPECT_EQ(first(), "none");
  });
}

TEST_F(ContextFetching, StillReachesItsLimitWhenStoredObjectsDropOut) {
  context->performBlockAndWait([&] {
    std::vector<Ref<Plant>> plants;
    for (const char* name : {"a", "b", "c", "d"}) plants.push_back(plant(name, 1));
    context->save();
    plants[0]->setHeight(9);
    context->delete_(plants[1]);

    auto request = Plant::fetchRequest();
    request.setPredicate(NSPredicate::format("height = 1"));
    request.setSortDescriptors({NSSortDescriptor("name", true)});
    request.setFetchLimit(2);

    EXPECT_EQ(names(request), (Names{"c", "d"}));
  });
}

TEST_F(ContextFetching, GivesStoredObjectsByKeyThenUnsavedOnesInTheirOrder) {
  context->performBlockAndWait([&] {
    plant("1", 1);
    plant("2", 1);
    context->save();
    plant("3", 1);
    plant("4", 1);
    context->fetch(Plant::fetchRequest()).first()->setHeight(2);

    EXPECT_EQ(names(Plant::fetchRequest()), (Names{"1", "2", "3", "4"}));
  });
}

TEST_F(ContextFetching, PutsAbsentValuesFirstAscendingAndLastDescending) {
  context->performBlockAndWait([&] {
    plant("b", 1);
    plant(nullptr, 1);
    context->save();
    plant("a", 1);
    plant(nullptr, 1);

    auto request = Plant::fetchRequest();
    request.setSortDescriptors({NSSortDescriptor("name", true)});
    EXPECT_EQ(names(request), (Names{"-", "-", "a", "b"}));
    request.setSortDescriptors({NSSortDescriptor("name", false)});
    EXPECT_EQ(names(request), (Names{"b", "a", "-", "-"}));
  });
}

TEST_F(ContextFetching, SortsThroughAToOneAndKeepsObjectsWithoutOne) {
  context->performBlockAndWait([&] {
    auto north = make<Bed>(*context);
    north->setName("north");
    auto east = make<Bed>(*context);
    east->setName("east");
    plant("n", 1)->setBed(north);
    plant("lost", 1);
    context->save();
    plant("e", 1)->setBed(east);

    auto request = Plant::fetchRequest();
    request.setSortDescriptors({NSSortDescriptor("bed.name", true)});

    EXPECT_EQ(names(request), (Names{"lost", "e", "n"}));
  });
}

TEST_F(ContextFetching, KeepsAbsentValuesUnderNotEqual) {
  context->performBlockAndWait([&] {
    plant("a", 1);
    plant(nullptr, 1);
    context->save();
    auto request = Plant::fetchRequest();
    request.setPredicate(NSPredicate::format("name != %@", "a"));
    EXPECT_EQ(names(request), (Names{"-"}));
    plant(nullptr, 2);
    EXPECT_EQ(names(request), (Names{"-", "-"}));
  });
}

TEST_F(ContextFetching, GivesTheLiveObjectAndKeepsItsLoadedValues) {
  context->setAutomaticallyMergesChangesFromParent(false);
  context->performBlockAndWait([&] {
    auto oak = plant("oak", 1);
    context->save();
    const auto other = store.newContext();
    other->performBlockAndWait([&] {
      other->fetch(Plant::fetchRequest()).first()->setName("elm");
      other->save();
    });

    EXPECT_EQ(context->fetch(Plant::fetchRequest()).first(), oak);
    EXPECT_EQ(oak->name(), "oak");
    context->refresh(oak, true);
    EXPECT_EQ(oak->name(), "elm");
  });
}

TEST_F(ContextFetching, GivesTheSameListWithABatchSize) {
  context->performBlockAndWait([&] {
    for (int i = 0; i < 25; ++i) plant(std::to_string(i).c_str(), i % 7);
    context->save();
    auto request = Plant::fetchRequest();
    request.setSortDescriptors({NSSortDescriptor("height", true)});
    const Names all = names(request);

    request.setFetchBatchSize(4);

    EXPECT_EQ(names(request), all);
    const auto batched = context->fetch(request);
    for (std::size_t i = batched.size(); i-- > 0;) EXPECT_EQ(batched[i]->name(), all[i]);
  });
}

TEST_F(ContextFetching, FixesTheListAtTheFetch) {
  context->performBlockAndWait([&] {
    plant("a", 1);
    auto gone = plant("b", 1);
    context->save();
    auto request = Plant::fetchRequest();
    request.setFetchBatchSize(1);
    const auto list = context->fetch(request);

    plant("c", 1);
    context->delete_(gone);
    context->save();

    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0]->name(), "a");
    const Ref<Plant> ghost = list[1];
    EXPECT_FALSE(ghost->name().has_value());
    EXPECT_TRUE(ghost->isDeleted());
  });
}

TEST_F(ContextFetching, ShowsSavedChangesInAListFetchedBefore) {
  context->performBlockAndWait([&] {
    plant("a", 1);
    context->save();
    context->reset();
    const auto list = context->fetch(Plant::fetchRequest());
    {
      const Ref<Plant> changed = list[0];
      changed->setName("b");
      context->save();
    }
    EXPECT_EQ(list[0]->name(), "b");
  });
}

TEST_F(ContextFetching, CountsFromTheStoreAloneInDictionaries) {
  context->performBlockAndWait([&] {
    plant("a", 1);
    plant("b", 2);
    context->save();
    plant("c", 4);

    coredata::NSFetchRequest<Plant> request("Plant");
    request.setResultType(coredata::NSFetchRequestResultType::dictionaries);
    request.setPropertiesToFetch({make<coredata::NSExpressionDescription>(
        "total",
        foundation::NSExpression::forFunction("sum:",
                                              {foundation::NSExpression::forKeyPath("height")}),
        coredata::NSAttributeType::double_)});
    const auto rows = context->fetchDictionaries(request);

    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows.real(0, rows.column("total")), 3.0);
  });
}

TEST_F(ContextFetching, ThrowsForUnknownKeysNamingEntityAndKey) {
  context->performBlockAndWait([&] {
    auto request = Plant::fetchRequest();
    request.setPredicate(NSPredicate::format("section = 'x'"));
    try {
      (void)context->fetch(request);
      FAIL() << "an unknown key was let through";
    } catch (const foundation::Error& error) {
      EXPECT_NE(error.message().find("Plant"), std::string::npos);
      EXPECT_NE(error.message().find("section"), std::string::npos);
    }
  });
}

TEST_F(ContextFetching, ThrowsWithoutAStore) {
  auto coordinator = store.container().persistentStoreCoordinator();
  coordinator->removePersistentStore(coordinator->persistentStores().front());
  context->performBlockAndWait([&] {
    EXPECT_THROW((void)context->fetch(Plant::fetchRequest()), foundation::Error);
    EXPECT_THROW((void)context->count(Plant::fetchRequest()), foundation::Error);
    (void)make<Plant>(*context);
    EXPECT_THROW(context->save(), foundation::Error);
  });
}

TEST_F(ContextFetching, JudgesMembersOfADirtyObjectInMemory) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto small = plant("small", 1);
    small->setBed(bed);
    context->save();
    auto request = Bed::fetchRequest();
    request.setPredicate(NSPredicate::format("SUBQUERY(plants, $p, $p.height > %d).@count > 0", 3));
    EXPECT_EQ(context->count(request), 0);

    plant("tall", 9)->setBed(bed);

    EXPECT_EQ(context->count(request), 1);
    EXPECT_EQ(context->fetch(request).first(), bed);
  });
}

TEST_F(ContextFetching, ThrowsForAnEntityThatTheModelDoesNotHave) {
  context->performBlockAndWait([&] {
    const NSFetchRequest<coredata::NSManagedObject> weeds("Weed");
    EXPECT_THROW((void)context->fetch(weeds), foundation::Error);
    EXPECT_THROW((void)context->count(weeds), foundation::Error);
  });
}

TEST_F(ContextFetching, LeavesPendingChangesOutWhenToldTo) {
  context->performBlockAndWait([&] {
    auto oak = plant("oak", 1);
    plant("ash", 2);
    context->save();
    plant("fir", 3);
    oak->setHeight(9);

    auto request = Plant::fetchRequest();
    request.setPredicate(NSPredicate::format("height < %d", 5));
    request.setIncludesPendingChanges(false);

    EXPECT_EQ(names(request), (Names{"oak", "ash"}));
    EXPECT_EQ(context->count(request), 2);
  });
}

TEST_F(ContextFetching, LoadsContentLaterWhenOnlyIdentifiersAreAskedFor) {
  context->performBlockAndWait([&] {
    plant("oak", 1);
    context->save();
    context->reset();
    auto request = Plant::fetchRequest();
    request.setIncludesPropertyValues(false);

    const Ref<Plant> oak = context->fetch(request).first();

    EXPECT_TRUE(oak->isFault());
    EXPECT_EQ(oak->name(), "oak");
  });
}

TEST_F(ContextFetching, GivesTheIdentifiersOfSavedAndUnsavedObjects) {
  context->performBlockAndWait([&] {
    const auto oak = plant("oak", 1);
    context->save();
    const auto ash = plant("ash", 2);

    const auto identifiers = context->fetchObjectIDs(Plant::fetchRequest());

    EXPECT_EQ(identifiers, (std::vector{oak->objectID(), ash->objectID()}));
  });
}

TEST_F(ContextFetching, FindsByAnObjectOfAnotherContextOrItsIdentifier) {
  const auto other = store.newContext();
  Ref<Bed> bedThere;
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    plant("in", 1)->setBed(bed);
    plant("out", 1);
    context->save();
    other->performBlockAndWait([&] { bedThere = in(*other, bed); });

    auto request = Plant::fetchRequest();
    request.setPredicate(NSPredicate::format("bed = %@", bedThere));
    EXPECT_EQ(names(request), (Names{"in"}));
    request.setPredicate(NSPredicate::format("bed = %@", bed->objectID()));
    EXPECT_EQ(names(request), (Names{"in"}));
    request.setPredicate(NSPredicate::format("bed != %@", bedThere));
    EXPECT_EQ(names(request), (Names{"out"}));
  });
}

TEST_F(ContextFetching, FindsByAnUnsavedObjectWhatLeadsToItHere) {
  context->performBlockAndWait([&] {
    auto moved = plant("moved", 1);
    plant("other", 1);
    context->save();
    auto bed = make<Bed>(*context);
    moved->setBed(bed);
    plant("new", 1)->setBed(bed);

    auto request = Plant::fetchRequest();
    request.setPredicate(NSPredicate::format("bed = %@", bed));

    EXPECT_EQ(names(request), (Names{"moved", "new"}));
  });
}

TEST_F(ContextFetching, FindsNothingByAnObjectOfAnotherStore) {
  const garden::Store elsewhere;
  const auto theirs = elsewhere.newContext();
  Ref<Bed> foreign;
  theirs->performBlockAndWait([&] {
    foreign = make<Bed>(*theirs);
    theirs->save();
  });
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    plant("in", 1)->setBed(bed);
    context->save();
    ASSERT_EQ(bed->objectID()->key(), foreign->objectID()->key());

    auto request = Plant::fetchRequest();
    request.setPredicate(NSPredicate::format("bed = %@", foreign));
    EXPECT_EQ(names(request), Names{});
    plant("unsaved", 1)->setBed(bed);
    EXPECT_EQ(names(request), Names{});
  });
}

/// Three plants with a value of every kind, in each order as their names are. The middle one is
/// saved, the others are not.
class ContextFetchingOfEveryKind : public ContextFetching {
 protected:
  static inline const std::vector<const char*> kKeys = {
      "name", "height", "cells", "planted", "photo", "code", "bed", "latitude", "bed.rank"};
  static constexpr const char* kCodes[] = {"11111111-1111-4111-8111-111111111111",
                                           "22222222-2222-4222-8222-222222222222",
                                           "33333333-3333-4333-8333-333333333333"};

  void SetUp() override {
    context->performBlockAndWait([&] {
      for (std::size_t i = 0; i < 3; ++i) {
        beds[i] = make<Bed>(*context);
        beds[i]->setRank(static_cast<std::int16_t>(i));
      }
      context->save();
      grow(1);
      context->save();
      grow(2);
      grow(0);
    });
  }
  void grow(std::size_t i) {
    plants[i] = plant(kNames[i], static_cast<double>(i) - 1.5);
    plants[i]->setCells(static_cast<std::int64_t>(i) - 1);
    plants[i]->setPlanted(day(i));
    plants[i]->setPhoto(photo(i));
    plants[i]->setCode(*foundation::UUID::fromString(kCodes[i]));
    plants[i]->setLatitude(foundation::NSNumber(static_cast<double>(i)));
    plants[i]->setBed(beds[i]);
  }
  static foundation::Date day(std::size_t i) {
    return foundation::Date::fromReference(7e8 + static_cast<double>(i));
  }
  static foundation::Data photo(std::size_t i) {
    return foundation::Data::fromText(std::string(i, 'x'));
  }
  /// The names of the plants that the format finds with each of the arguments, "-" between them.
  template <typename Argument>
  Names found(const char* format, Argument&& argument) {
    Names result;
    for (std::size_t i = 0; i < 3; ++i) {
      auto request = Plant::fetchRequest();
      request.setPredicate(NSPredicate::format(format, argument(i)));
      request.setSortDescriptors({NSSortDescriptor("name", true)});
      for (const std::string& name : names(request)) result.push_back(name);
      result.emplace_back("-");
    }
    return result;
  }

  static constexpr const char* kNames[] = {"a", "b", "c"};
  Ref<Bed> beds[3];
  Ref<Plant> plants[3];
};

TEST_F(ContextFetchingOfEveryKind, SortsSavedAndUnsavedOnesByEach) {
  context->performBlockAndWait([&] {
    for (const bool areSaved : {false, true}) {
      if (areSaved) context->save();
      for (const char* key : kKeys) {
        auto request = Plant::fetchRequest();
        request.setSortDescriptors({NSSortDescriptor(key, true)});
        EXPECT_EQ(names(request), (Names{"a", "b", "c"})) << key;
        request.setSortDescriptors({NSSortDescriptor(key, false)});
        EXPECT_EQ(names(request), (Names{"c", "b", "a"})) << key;
      }
    }
  });
}

TEST_F(ContextFetchingOfEveryKind, FindsSavedAndUnsavedOnesByEach) {
  const Names each = {"a", "-", "b", "-", "c", "-"};
  const auto code = [](std::size_t i) { return *foundation::UUID::fromString(kCodes[i]); };
  context->performBlockAndWait([&] {
    for (const bool areSaved : {false, true}) {
      if (areSaved) context->save();
      EXPECT_EQ(found("planted = %@", day), each);
      EXPECT_EQ(found("photo = %@", photo), each);
      EXPECT_EQ(found("code = %@", code), each);
      EXPECT_EQ(found("bed = %@", [this](std::size_t i) { return beds[i]; }), each);
      EXPECT_EQ(found("bed.rank = %d", [](std::size_t i) { return static_cast<int>(i); }), each);
    }
  });
}

TEST_F(ContextFetchingOfEveryKind, FindsSavedAndUnsavedOnesInListsOfEach) {
  const Names last = {"c", "-", "b", "c", "-", "a", "b", "c", "-"};
  /// The last one, the last two, and all.
  const auto lists = [](auto value) {
    return [value](std::size_t count) {
      foundation::ValueList list;
      for (std::size_t i = 0; i <= count; ++i) list.emplace_back(value(2 - i));
      return Value(list);
    };
  };
  context->performBlockAndWait([&] {
    for (const bool areSaved : {false, true}) {
      if (areSaved) context->save();
      EXPECT_EQ(found("planted IN %@", lists(day)), last);
      EXPECT_EQ(found("photo IN %@", lists(photo)), last);
      EXPECT_EQ(found("code IN %@", lists([](std::size_t i) {
                        return *foundation::UUID::fromString(kCodes[i]);
                      })),
                last);
      EXPECT_EQ(found("bed IN %@", lists([this](std::size_t i) { return beds[i]; })), last);
      EXPECT_EQ(
          found("height IN %@", lists([](std::size_t i) { return static_cast<double>(i) - 1.5; })),
          last);
    }
  });
}

TEST_F(ContextFetching, LooksThroughToManysOfDirtyObjectsAsItDoesInTheStore) {
  context->performBlockAndWait([&] {
    const auto bed = make<Bed>(*context);
    const auto other = make<Bed>(*context);
    const auto ash = plant("ash", 1);
    const auto elm = plant("elm", 2);
    const auto fir = plant("fir", 3);
    ash->setBed(bed);
    elm->setBed(bed);
    fir->setBed(other);
    const auto label = make<garden::Label>(*context);
    label->setText_("old");
    label->setPlant(elm);
    context->save();
    const auto finds = [&](const NSPredicate& predicate) {
      auto request = Bed::fetchRequest();
      request.setPredicate(predicate);
      const auto beds = context->fetch(request);
      return beds.size() == 1 && beds.first() == bed;
    };
    for (const bool isDirty : {false, true}) {
      if (isDirty) {
        bed->setRank(7);
        other->setRank(8);
      }
      EXPECT_TRUE(finds(NSPredicate::format("ANY plants.name = %@", "elm"))) << isDirty;
      EXPECT_TRUE(finds(NSPredicate::format("ANY plants.label.text = %@", "old"))) << isDirty;
      EXPECT_TRUE(finds(NSPredicate::format("ANY plants = %@", ash))) << isDirty;
      EXPECT_TRUE(finds(NSPredicate::format("plants.@count = %d", 2))) << isDirty;
      EXPECT_TRUE(
          finds(NSPredicate::format("SUBQUERY(plants, $p, $p.name BEGINSWITH %@).@count = 1", "e")))
          << isDirty;
      EXPECT_FALSE(finds(NSPredicate::format("ANY plants.name = %@", "oak"))) << isDirty;
      EXPECT_FALSE(finds(NSPredicate::format("ANY plants.label.text = %@", "new"))) << isDirty;
    }
  });
}

}  // namespace
