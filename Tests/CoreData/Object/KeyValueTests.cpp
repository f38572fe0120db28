#include <cmath>
#include <limits>

#include "CoreData/Fetching/FetchError.h"
#include "CoreData/Object/PropertyError.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/GardenTest.h"

namespace {

using coredata::FetchErrorCode;
using coredata::PropertyErrorCode;
using foundation::Data;
using foundation::Date;
using foundation::make;
using foundation::Ref;
using foundation::UUID;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;
using garden::Bed;
using garden::Label;
using garden::Plant;
using support::errorCode;
using support::number;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class KeyValueAccess : public garden::Test {
 protected:
  /// A saved plant without changes.
  Ref<Plant> savedPlant() {
    auto plant = make<Plant>(*context);
    context->save();
    return plant;
  }
  static std::int64_t settingError(Plant& plant, const Value& value, std::string_view key) {
    return errorCode([&] { plant.setValue(value, key); });
  }
};

/// A value of each attribute's kind.
ValueDictionary someValues() {
  return {{"name", "Ähre 🌾"},
          {"height", 1.25},
          {"leaves", -7},
          {"seeds", 2'000'000'000},
          {"cells", std::int64_t{1} << 60},
          {"evergreen", true},
          {"planted", Date::fromReference(738000000.123456789)},
          {"photo", Data::fromText(std::string_view("\0\1\2", 3))},
          {"code", UUID()},
          {"latitude", -0.5}};
}

TEST_F(KeyValueAccess, GivesBackEachKindOfValue) {
  context->performBlockAndWait([&] {
    const ValueDictionary values = someValues();
    auto plant = make<Plant>(*context);
    for (const auto& [key, value] : values) plant->setValue(value, key);
    for (const auto& [key, value] : values) EXPECT_EQ(plant->valueForKey(key), value) << key;

    context->save();
    context->refresh(plant, false);

    for (const auto& [key, value] : values) EXPECT_EQ(plant->valueForKey(key), value) << key;
  });
}

TEST_F(KeyValueAccess, GivesNumbersTheirKind) {
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);
    plant->setEvergreen(true);

    using Kind = foundation::NSNumber::Kind;
    EXPECT_EQ(plant->valueForKey("evergreen").number()->kind(), Kind::boolean);
    EXPECT_EQ(plant->valueForKey("leaves").number()->kind(), Kind::integer);
    EXPECT_EQ(plant->valueForKey("height").number()->kind(), Kind::real);
  });
}

TEST_F(KeyValueAccess, AgreesWithTypedAccess) {
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);
    plant->setValue("ash", "name");
    plant->setValue(12, "leaves");
    plant->setValue(true, "evergreen");
    plant->setHeight(2.5);

    EXPECT_EQ(plant->name(), "ash");
    EXPECT_EQ(plant->leaves(), 12);
    EXPECT_TRUE(plant->evergreen());
    EXPECT_EQ(plant->valueForKey("height"), Value(2.5));
  });
}

TEST_F(KeyValueAccess, KeepsAbsentValuesApartFromDefaultsAndZeros) {
  context->performBlockAndWait([&] {
    const ValueDictionary values = someValues();
    auto plant = make<Plant>(*context);
    for (const auto& [key, value] : values) plant->setValue(value, key);
    for (const auto& [key, value] : values) plant->setValue(Value(), key);
    context->save();
    context->refresh(plant, false);

    for (const auto& [key, value] : values) EXPECT_TRUE(plant->valueForKey(key).isNone()) << key;
    EXPECT_EQ(plant->leaves(), 0);
    EXPECT_EQ(plant->seeds(), 0);
    EXPECT_EQ(plant->cells(), 0);
    EXPECT_EQ(plant->height(), 0.0);
    EXPECT_FALSE(plant->evergreen());
    EXPECT_FALSE(plant->planted().has_value());
    EXPECT_FALSE(plant->photo().has_value());
    EXPECT_FALSE(plant->code().has_value());
    EXPECT_FALSE(plant->latitude().has_value());
  });
}

TEST_F(KeyValueAccess, TellsAnEmptyTextAndEmptyBytesFromAbsentOnes) {
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);
    plant->setName("");
    plant->setPhoto(Data());
    context->save();
    context->refresh(plant, false);

    EXPECT_EQ(plant->name(), "");
    EXPECT_EQ(plant->photo(), Data());
  });
}

/// The greatest and the least number of an attribute, and the first beyond each.
struct Range {
  const char* key;
  std::int64_t greatest;
  Value above;
  Value below;
};
class IntegerRanges : public KeyValueAccess, public testing::WithParamInterface<Range> {};

TEST_P(IntegerRanges, AreKeptToTheLastNumber) {
  const auto& [key, greatest, above, below] = GetParam();
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);
    for (const std::int64_t extreme : {greatest, -greatest - 1}) {
      plant->setValue(extreme, key);
      context->save();
      context->refresh(plant, false);
      EXPECT_EQ(plant->valueForKey(key), Value(extreme));
    }
  });
}

TEST_P(IntegerRanges, AreNotLeft) {
  const auto& [key, greatest, above, below] = GetParam();
  context->performBlockAndWait([&] {
    auto plant = savedPlant();
    const Value before = plant->valueForKey(key);
    for (const Value& value : {above, below, Value(1.5), Value(1e300), Value(kInfinity),
                               Value(-kInfinity), Value(kNaN)}) {
      EXPECT_EQ(settingError(*plant, value, key), number(PropertyErrorCode::outOfRange))
          << key << " took " << value.description();
      EXPECT_EQ(plant->valueForKey(key), before);
    }
    EXPECT_FALSE(context->hasChanges());
  });
}

INSTANTIATE_TEST_SUITE_P(Kinds, IntegerRanges,
                         testing::Values(Range{"leaves", 32767, 32768, -32769},
                                         Range{"seeds", 2147483647, std::int64_t{2147483648},
                                               std::int64_t{-2147483649}},
                                         Range{"cells", std::numeric_limits<std::int64_t>::max(),
                                               9223372036854775808.0, -9223372036854777856.0}),
                         [](const auto& each) { return std::string(each.param.key); });

TEST_F(KeyValueAccess, TakesWholeNumbersOfAnyKind) {
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);
    plant->setValue(3.0, "leaves");
    plant->setValue(true, "seeds");
    plant->setValue(-0.0, "cells");
    plant->setValue(2, "evergreen");
    plant->setValue(7, "height");

    EXPECT_EQ(plant->leaves(), 3);
    EXPECT_EQ(plant->seeds(), 1);
    EXPECT_EQ(plant->cells(), 0);
    EXPECT_TRUE(plant->evergreen());
    EXPECT_EQ(plant->valueForKey("evergreen"), Value(true));
    EXPECT_EQ(plant->height(), 7.0);
  });
}

TEST_F(KeyValueAccess, KeepsInfinitiesAndLosesWhatIsNoNumber) {
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);
    plant->setHeight(kNaN);
    plant->setLatitude(foundation::NSNumber(-kInfinity));
    context->save();
    context->refresh(plant, false);

    EXPECT_EQ(plant->height(), 0.0);
    EXPECT_EQ(plant->latitude(), foundation::NSNumber(-kInfinity));
  });
}

TEST_F(KeyValueAccess, RefusesEveryOtherKindAndChangesNothing) {
  context->performBlockAndWait([&] {
    auto plant = savedPlant();
    ValueDictionary kinds = someValues();
    for (const char* numeric : {"leaves", "seeds", "cells", "evergreen", "latitude"})
      kinds.erase(kinds.find(numeric));
    const ValueList others = {ValueList{1}, ValueDictionary{{"a", 1}}, Value(plant)};

    for (const auto& [key, own] : someValues()) {
      const Value before = plant->valueForKey(key);
      const auto refuses = [&](const Value& value) {
        EXPECT_EQ(settingError(*plant, value, key), number(PropertyErrorCode::wrongKind))
            << key << " took " << value.description();
        EXPECT_EQ(plant->valueForKey(key), before);
      };
      for (const auto& [kind, value] : kinds) {
        const bool isOwnKind = value.storage().index() == own.storage().index();
        if (!isOwnKind) refuses(value);
      }
      for (const Value& value : others) refuses(value);
    }
    EXPECT_FALSE(context->hasChanges());
  });
}

TEST_F(KeyValueAccess, SaysWhichPropertyRefused) {
  context->performBlockAndWait([&] {
    auto plant = make<Plant>(*context);
    try {
      plant->setValue("many", "leaves");
      FAIL() << "a text was taken for a number";
    } catch (const foundation::Error& error) {
      EXPECT_EQ(error.domain(), foundation::kCocoaErrorDomain);
      EXPECT_NE(error.message().find("\"leaves\" of Plant"), std::string::npos);
    }
  });
}

TEST_F(KeyValueAccess, RefusesNamesThatTheEntityDoesNotHave) {
  context->performBlockAndWait([&] {
    auto plant = savedPlant();
    for (const char* key : {"colour", "", "Name", "bed.name", "_key"}) {
      EXPECT_EQ(errorCode([&] { static_cast<void>(plant->valueForKey(key)); }),
                number(FetchErrorCode::unknownKey))
          << key;
      EXPECT_EQ(settingError(*plant, "red", key), number(FetchErrorCode::unknownKey)) << key;
    }
    EXPECT_FALSE(context->hasChanges());
  });
}

TEST_F(KeyValueAccess, FollowsAToOne) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto plant = make<Plant>(*context);
    EXPECT_TRUE(plant->valueForKey("bed").isNone());

    plant->setValue(bed, "bed");
    EXPECT_EQ(plant->valueForKey("bed").object(), bed.get());
    EXPECT_TRUE(bed->plants().contains(plant));

    plant->setValue(Value(), "bed");
    EXPECT_EQ(plant->bed(), nullptr);
    EXPECT_TRUE(bed->plants().empty());
  });
}

TEST_F(KeyValueAccess, GivesAndTakesTheMembersOfAToMany) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto ash = make<Plant>(*context);
    auto elm = make<Plant>(*context);
    EXPECT_TRUE(bed->valueForKey("plants").list()->empty());

    bed->setValue(ValueList{ash, elm}, "plants");
    EXPECT_EQ(ash->bed(), bed);
    EXPECT_EQ(bed->valueForKey("plants").list()->size(), 2U);

    bed->setValue(ValueList{elm}, "plants");
    EXPECT_EQ(ash->bed(), nullptr);
    EXPECT_EQ(bed->valueForKey("plants"), Value(ValueList{elm}));

    bed->setValue(Value(), "plants");
    EXPECT_EQ(elm->bed(), nullptr);
  });
}

TEST_F(KeyValueAccess, RefusesObjectsOfAnotherEntityInRelationships) {
  context->performBlockAndWait([&] {
    auto bed = make<Bed>(*context);
    auto plant = make<Plant>(*context);
    auto label = make<Label>(*context);
    plant->setBed(bed);
    for (const Value& value : {Value(label), Value("north"), Value(1)}) {
      EXPECT_EQ(settingError(*plant, value, "bed"), number(PropertyErrorCode::wrongKind));
      EXPECT_EQ(errorCode([&] {
                  bed->setValue(ValueList{plant, value}, "plants");
                }),
                number(PropertyErrorCode::wrongKind));
    }

    EXPECT_EQ(plant->bed(), bed);
    EXPECT_EQ(bed->plants().count(), 1U);
  });
}

TEST_F(KeyValueAccess, ListsWhatDiffersFromTheStore) {
  context->performBlockAndWait([&] {
    auto plant = savedPlant();
    EXPECT_TRUE(plant->changedValues().empty());

    plant->setName("ash");
    plant->setHeight(0);

    EXPECT_EQ(plant->changedValues(), (ValueDictionary{{"name", "ash"}}));
    context->save();
    EXPECT_TRUE(plant->changedValues().empty());
  });
}

TEST_F(KeyValueAccess, IsAllThatAnObjectWithoutAClassNeeds) {
  context->performBlockAndWait([&] {
    const auto plant = context->insertNewObject("Plant");
    plant->setValue("ash", "name");
    context->save();

    EXPECT_EQ(context->fetch(Plant::fetchRequest()).first()->name(), "ash");
    EXPECT_EQ(plant->valueForKey("leaves"), Value(2));
    EXPECT_EQ(errorCode([&] { context->insertNewObject("Weed"); }),
              number(FetchErrorCode::unknownEntity));
    EXPECT_FALSE(context->hasChanges());
  });
}

}  // namespace
