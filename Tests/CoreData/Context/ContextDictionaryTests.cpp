#include <string>
#include <vector>

#include "CoreData/Fetching/FetchError.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/GardenTest.h"

namespace {

using coredata::DictionaryRows;
using coredata::FetchErrorCode;
using coredata::FetchProperty;
using coredata::NSAttributeType;
using coredata::NSExpressionDescription;
using coredata::NSFetchRequest;
using coredata::SlotTag;
using foundation::make;
using foundation::NSExpression;
using foundation::NSPredicate;
using foundation::NSSortDescriptor;
using foundation::Ref;
using foundation::Value;
using garden::Bed;
using garden::Plant;
using support::errorCode;
using support::number;

class ContextDictionaries : public garden::Test {
 protected:
  Ref<Bed> north;

  void SetUp() override {
    context->performBlockAndWait([&] {
      north = make<Bed>(*context);
      plant("ash", 1, north);
      plant("ash", 2, nullptr);
      plant(nullptr, 4, nullptr);
      plant(nullptr, 8, north);
      plant("elm", 16, nullptr);
      context->save();
    });
  }
  void plant(const char* name, double height, const Ref<Bed>& bed) {
    auto made = make<Plant>(*context);
    if (name != nullptr) made->setName(name);
    made->setHeight(height);
    made->setBed(bed);
  }
  static FetchProperty computed(const char* name, const char* function, const char* key,
                                NSAttributeType type = NSAttributeType::double_) {
    return make<NSExpressionDescription>(
        name, NSExpression::forFunction(function, {NSExpression::forKeyPath(key)}), type);
  }
  static FetchProperty total() { return computed("total", "sum:", "height"); }
  static NSFetchRequest<Plant> request(std::vector<FetchProperty> shown,
                                       std::vector<FetchProperty> grouping = {}) {
    NSFetchRequest<Plant> result("Plant");
    result.setResultType(coredata::NSFetchRequestResultType::dictionaries);
    result.setPropertiesToFetch(std::move(shown));
    result.setPropertiesToGroupBy(std::move(grouping));
    return result;
  }
  DictionaryRows rows(const NSFetchRequest<Plant>& wanted) {
    return context->performBlockAndWait([&] { return context->fetchDictionaries(wanted); });
  }
};

TEST_F(ContextDictionaries, GroupAbsentKeysWithEachOther) {
  auto wanted = request({"name", total()}, {"name"});
  wanted.setSortDescriptors({NSSortDescriptor("name", true)});

  const DictionaryRows found = rows(wanted);

  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found.tag(0, found.column("name")), SlotTag::none);
  EXPECT_EQ(found.real(0, found.column("total")), 12.0);
  EXPECT_EQ(found.text(1, found.column("name")), "ash");
  EXPECT_EQ(found.real(1, found.column("total")), 3.0);
  EXPECT_EQ(found.text(2, found.column("name")), "elm");
  EXPECT_EQ(found.real(2, found.column("total")), 16.0);
}

TEST_F(ContextDictionaries, GroupByARelationshipAndItsAbsence) {
  const DictionaryRows found = rows(request({"bed", total()}, {"bed"}));

  ASSERT_EQ(found.size(), 2U);
  const std::size_t inBed = found.tag(0, found.column("bed")) == SlotTag::none ? 1 : 0;
  EXPECT_EQ(found.reference(inBed, found.column("bed")), north->objectID()->key());
  EXPECT_EQ(found.real(inBed, found.column("total")), 9.0);
  EXPECT_EQ(found.tag(1 - inBed, found.column("bed")), SlotTag::none);
  EXPECT_EQ(found.real(1 - inBed, found.column("total")), 22.0);
}

TEST_F(ContextDictionaries, SumToZeroOverNothing) {
  auto wanted = request({total()});
  wanted.setPredicate(NSPredicate::format("height > %d", 1000));

  const DictionaryRows found = rows(wanted);

  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found.value(0, found.column("total")), Value(0.0));
}

TEST_F(ContextDictionaries, HaveNoLeastGreatestOrMiddleOfNothing) {
  auto wanted = request({computed("least", "min:", "height"), computed("most", "max:", "height"),
                         computed("middle", "average:", "height"),
                         computed("number", "count:", "height", NSAttributeType::integer64)});
  wanted.setPredicate(NSPredicate::format("height > %d", 1000));

  const DictionaryRows found = rows(wanted);

  ASSERT_EQ(found.size(), 1U);
  for (const char* name : {"least", "most", "middle"})
    EXPECT_TRUE(found.value(0, found.column(name)).isNone()) << name;
  EXPECT_EQ(found.value(0, found.column("number")), Value(0));
}

TEST_F(ContextDictionaries, HaveNoGroupsOfNothing) {
  auto wanted = request({"name", total()}, {"name"});
  wanted.setPredicate(NSPredicate::format("height > %d", 1000));

  EXPECT_TRUE(rows(wanted).empty());
}

TEST_F(ContextDictionaries, LeaveAbsentValuesOutOfAggregates) {
  context->performBlockAndWait([&] {
    auto tall = make<Plant>(*context);
    tall->setValue(Value(), "height");
    context->save();
  });

  const DictionaryRows found =
      rows(request({total(), computed("number", "count:", "height", NSAttributeType::integer64)}));

  EXPECT_EQ(found.real(0, found.column("total")), 31.0);
  EXPECT_EQ(found.integer(0, found.column("number")), 5);
}

TEST_F(ContextDictionaries, SumWholeNumbersExactly) {
  constexpr std::int64_t kLarge = (std::int64_t{1} << 52) + 1;
  context->performBlockAndWait([&] {
    for (const std::int64_t cells : {kLarge, kLarge - 3, std::int64_t{1}})
      make<Plant>(*context)->setCells(cells);
    context->save();
  });

  const DictionaryRows found =
      rows(request({computed("cells", "sum:", "cells", NSAttributeType::integer64)}));

  EXPECT_EQ(found.integer(0, found.column("cells")), 2 * kLarge - 2);
}

TEST_F(ContextDictionaries, CountNoPendingChange) {
  context->performBlockAndWait([&] {
    plant("oak", 1000, north);
    context->fetch(Plant::fetchRequest()).first()->setHeight(500);
    auto elm = Plant::fetchRequest();
    elm.setPredicate(NSPredicate::format("name = 'elm'"));
    context->delete_(context->fetch(elm).first());

    const DictionaryRows sum = context->fetchDictionaries(request({total()}));
    EXPECT_EQ(sum.real(0, sum.column("total")), 31.0);
    EXPECT_EQ(context->fetchDictionaries(request({"name"}, {"name"})).size(), 3U);
    EXPECT_EQ(context->fetchDictionaries(request({"name"})).size(), 5U);
  });
}

TEST_F(ContextDictionaries, RefuseToSortByWhatIsNeitherGroupedNorAggregated) {
  auto wanted = request({"name", total()}, {"name"});
  wanted.setSortDescriptors({NSSortDescriptor("height", true)});

  EXPECT_NE(errorCode([&] { static_cast<void>(rows(wanted)); }), 0);
}

TEST_F(ContextDictionaries, RefuseUnknownKeysAndEntities) {
  EXPECT_EQ(errorCode([&] { static_cast<void>(rows(request({"colour"}))); }),
            number(FetchErrorCode::unknownKey));
  NSFetchRequest<Plant> weeds("Weed");
  weeds.setResultType(coredata::NSFetchRequestResultType::dictionaries);
  EXPECT_EQ(errorCode([&] { static_cast<void>(rows(weeds)); }),
            number(FetchErrorCode::unknownEntity));
}

/// Two plants with a value of every kind, the first one's before the second one's in each order.
class ContextDictionariesOfEveryKind : public ContextDictionaries {
 protected:
  static inline const std::vector<const char*> kKeys = {"name",    "height", "cells", "evergreen",
                                                        "planted", "photo",  "code",  "bed"};
  static constexpr const char* kCodes[] = {"11111111-1111-4111-8111-111111111111",
                                           "22222222-2222-4222-8222-222222222222"};

  void SetUp() override {
    context->performBlockAndWait([&] {
      for (const std::size_t i : {0, 1}) {
        beds[i] = make<Bed>(*context);
        auto made = make<Plant>(*context);
        made->setName(i == 0 ? "ash" : "elm");
        made->setHeight(static_cast<double>(i) - 0.5);
        made->setCells(static_cast<std::int64_t>(i) - 1);
        made->setEvergreen(i == 1);
        made->setPlanted(day(i));
        made->setPhoto(foundation::Data::fromText(i == 0 ? "" : "leaf"));
        made->setCode(*foundation::UUID::fromString(kCodes[i]));
        made->setBed(beds[i]);
      }
      context->save();
    });
  }
  static foundation::Date day(std::size_t i) {
    return foundation::Date::fromReference(7e8 + static_cast<double>(i));
  }
  static std::vector<FetchProperty> shown() { return {kKeys.begin(), kKeys.end()}; }

  Ref<Bed> beds[2];
};

TEST_F(ContextDictionariesOfEveryKind, GiveThemAsTheObjectsDo) {
  auto wanted = request(shown());
  wanted.setSortDescriptors({NSSortDescriptor("name", true)});

  const DictionaryRows found = rows(wanted);

  ASSERT_EQ(found.size(), 2U);
  const auto value = [&](std::size_t row, const char* key) {
    return found.value(row, found.column(key));
  };
  for (const std::size_t i : {0, 1}) {
    EXPECT_EQ(value(i, "name"), Value(i == 0 ? "ash" : "elm"));
    EXPECT_EQ(value(i, "height"), Value(static_cast<double>(i) - 0.5));
    EXPECT_EQ(value(i, "cells"), Value(static_cast<std::int64_t>(i) - 1));
    EXPECT_EQ(value(i, "evergreen"), Value(static_cast<std::int64_t>(i)));
    EXPECT_EQ(value(i, "planted"), Value(day(i)));
    EXPECT_EQ(value(i, "photo"), Value(foundation::Data::fromText(i == 0 ? "" : "leaf")));
    EXPECT_EQ(value(i, "code"), Value(*foundation::UUID::fromString(kCodes[i])));
    EXPECT_EQ(value(i, "bed"), Value(beds[i]->objectID()->key()));
  }
}

TEST_F(ContextDictionariesOfEveryKind, GiveNothingAsAKindThatAValueIsNot) {
  const DictionaryRows found = rows(request(shown()));
  const std::size_t name = found.column("name");
  const std::size_t height = found.column("height");

  EXPECT_EQ(found.integer(0, name), 0);
  EXPECT_EQ(found.real(0, name), 0.0);
  EXPECT_EQ(found.reference(0, name), coredata::kNoObject);
  EXPECT_EQ(found.text(0, height), "");
  EXPECT_EQ(found.column("weight"), DictionaryRows::kNoColumn);
  EXPECT_EQ(found.real(1, found.column("planted")), day(1).timeIntervalSinceReferenceDate());
}

TEST_F(ContextDictionariesOfEveryKind, AreSortedByEach) {
  for (const char* key : kKeys) {
    for (const bool isAscending : {true, false}) {
      auto wanted = request(shown());
      wanted.setSortDescriptors({NSSortDescriptor(key, isAscending)});

      const DictionaryRows found = rows(wanted);

      ASSERT_EQ(found.size(), 2U) << key;
      EXPECT_EQ(found.text(0, found.column("name")), isAscending ? "ash" : "elm") << key;
    }
  }
}

TEST_F(ContextDictionaries, AreSortedByWhatTheyDoNotShow) {
  auto wanted = request({"name"});
  wanted.setSortDescriptors({NSSortDescriptor("height", false)});

  const DictionaryRows found = rows(wanted);

  ASSERT_EQ(found.size(), 5U);
  EXPECT_EQ(found.text(0, 0), "elm");
  EXPECT_EQ(found.text(4, 0), "ash");
}

TEST_F(ContextDictionaries, TakeNoExpressionForAnother) {
  const auto only = [this](const FetchProperty& property) {
    return rows(request({property})).value(0, 0);
  };

  EXPECT_EQ(only(total()), Value(31.0));
  EXPECT_EQ(only(total()), Value(31.0));
  EXPECT_EQ(only(computed("total", "max:", "height")), Value(16.0));
  const Value whole = only(computed("total", "sum:", "height", NSAttributeType::integer64));
  EXPECT_EQ(whole, Value(31));
  EXPECT_FALSE(whole.number()->isReal());
  EXPECT_EQ(rows(request({"name"})).size(), 5U);
}

TEST_F(ContextDictionaries, AreEachThereOnceWhenTheyAreToBeDistinct) {
  auto wanted = request({"name"});
  wanted.setReturnsDistinctResults(true);
  wanted.setSortDescriptors({NSSortDescriptor("name", false)});

  const DictionaryRows found = rows(wanted);

  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found.text(0, 0), "elm");
  EXPECT_EQ(found.text(1, 0), "ash");
  EXPECT_TRUE(found.value(2, 0).isNone());
  auto grouped = request({"name", total()}, {"name"});
  grouped.setReturnsDistinctResults(true);
  EXPECT_EQ(rows(grouped).size(), 3U);
}

}  // namespace
