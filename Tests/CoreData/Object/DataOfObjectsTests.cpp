#include <gtest/gtest.h>

#include "Tests/Support/GardenTest.h"

// What was taken from an object as data stays as it is, whatever becomes of the object.

namespace {

using foundation::Data;
using foundation::make;
using foundation::Ref;
using garden::Plant;

constexpr std::size_t kSize = 100'000;

Data photo(std::uint8_t shade) { return Data(std::vector<std::uint8_t>(kSize, shade)); }

class DataOfObjects : public garden::Test {
 protected:
  /// A plant that was saved with a photo, read anew.
  [[nodiscard]] Ref<Plant> storedPlant() {
    const auto writer = store.newContext();
    writer->performBlockAndWait([&] {
      make<Plant>(*writer)->setPhoto(photo(1));
      writer->save();
    });
    return context->fetch(Plant::fetchRequest()).first();
  }
};

TEST_F(DataOfObjects, LieWhereAStoredObjectHasThem) {
  context->performBlockAndWait([&] {
    const Ref<Plant> plant = storedPlant();

    EXPECT_EQ(plant->photo()->bytes().data(), plant->photo()->bytes().data());
    EXPECT_EQ(plant->photo(), photo(1));
  });
}

TEST_F(DataOfObjects, StayWhenTheObjectIsChangedAndSaved) {
  context->performBlockAndWait([&] {
    const Ref<Plant> plant = storedPlant();
    const auto before = plant->photo();
    plant->setPhoto(photo(2));
    const auto unsaved = plant->photo();
    plant->setPhoto(photo(3));
    plant->setName("ash");
    context->save();

    EXPECT_EQ(before, photo(1));
    EXPECT_EQ(unsaved, photo(2));
    EXPECT_EQ(plant->photo(), photo(3));
  });
}

TEST_F(DataOfObjects, StayWhenAnUnsavedObjectIsChangedAndSaved) {
  context->performBlockAndWait([&] {
    const auto plant = make<Plant>(*context);
    plant->setPhoto(photo(1));
    const auto before = plant->photo();
    plant->setPhoto(photo(2));
    context->save();

    EXPECT_EQ(before, photo(1));
    EXPECT_EQ(plant->photo(), photo(2));
  });
}

TEST_F(DataOfObjects, OutliveTheObjectAndItsStore) {
  auto data = context->performBlockAndWait([&] { return storedPlant()->photo(); });

  context = nullptr;
  store.reopen();

  EXPECT_EQ(data, photo(1));
}

}  // namespace
