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

}  // namespace
