#include "CoreDataStack/Model/CDActivityWidgetGroup.h"

#include <gtest/gtest.h>

#include "CoreDataStack/Model/OrderType.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using domain::ActivityWidgetSize;
using foundation::Date;
using foundation::make;
using foundation::UUID;

TEST(CDActivityWidgetGroup, IsAValueOfWhatIsStored) {
  const support::TemporaryStore store;
  const UUID uuid;
  const auto group = make<CDActivityWidgetGroup>(store.context());
  group->setUuid(uuid);
  group->setName("Morning");
  group->setType(2);
  group->setOrder(-3);
  group->setCreatedDate(Date::fromReference(10));
  group->setModifiedDate(Date::fromReference(20));

  EXPECT_EQ(group->asActivityWigetGroup(),
            (domain::ActivityWidgetGroup{.uuid = uuid,
                                         .name = "Morning",
                                         .size = ActivityWidgetSize::medium,
                                         .order = -3,
                                         .createdDate = Date::fromReference(10),
                                         .modifiedDate = Date::fromReference(20)}));
}

TEST(CDActivityWidgetGroup, IsAValueWithoutAnythingStored) {
  const support::TemporaryStore store;
  const auto group = make<CDActivityWidgetGroup>(store.context());

  EXPECT_EQ(group->asActivityWigetGroup(),
            (domain::ActivityWidgetGroup{.uuid = UUID::empty(),
                                         .name = "",
                                         .size = ActivityWidgetSize::small,
                                         .order = 0,
                                         .createdDate = Date::distantPast(),
                                         .modifiedDate = Date::distantPast()}));
}

TEST(CDActivityWidgetGroup, HasTheSizeOfItsType) {
  const support::TemporaryStore store;
  const auto group = make<CDActivityWidgetGroup>(store.context());
  const auto sizeOfType = [&](std::int16_t type) {
    group->setType(type);
    return group->asActivityWigetGroup().size;
  };

  EXPECT_EQ(sizeOfType(1), ActivityWidgetSize::small);
  EXPECT_EQ(sizeOfType(2), ActivityWidgetSize::medium);
  EXPECT_EQ(sizeOfType(3), ActivityWidgetSize::large);
  EXPECT_EQ(sizeOfType(4), ActivityWidgetSize::small);
}

TEST(OrderType, IsStoredAsOne) { EXPECT_EQ(OrderType(OrderType::activity).value(), 1); }

TEST(OrderType, IsEqualToEveryOther) {
  EXPECT_EQ(OrderType(OrderType::activity), OrderType(OrderType::activity));
  EXPECT_EQ(std::hash<OrderType>{}(OrderType::activity),
            std::hash<OrderType>{}(OrderType::activity));
}

}  // namespace
}  // namespace coredatastack
