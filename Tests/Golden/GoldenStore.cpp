#include "Tests/Golden/GoldenStore.h"

#include <limits>

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDActivityWidgetGroup.h"
#include "CoreDataStack/Model/CDActivityWidgetItem.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "CoreDataStack/Model/CDGroup.h"
#include "CoreDataStack/Model/CDMonthlyReview.h"
#include "CoreDataStack/Model/CDPhoto.h"
#include "CoreDataStack/Model/CDPhotoInfo.h"
#include "CoreDataStack/Model/CDReminder.h"
#include "CoreDataStack/Model/CDWidget.h"
#include "Tests/Support/TemporaryStore.h"

namespace golden {

using coredata::NSManagedObjectContext;
using coredata::NSPersistentContainer;
using foundation::Date;
using foundation::make;
using foundation::Ref;
using namespace coredatastack;

namespace {

constexpr double kNoon = 731073600.0;

Ref<CDActivity> fullActivity(NSManagedObjectContext& context) {
  Ref<CDActivity> activity = CDActivity::create(context, "#2e7d32");
  activity->setTitle("Stretch – 스트레칭 – التمدد");
  activity->setCheckinMaxCount(4);
  activity->setEndDate("2025-12-31");
  activity->setIcon("figure");
  activity->setMemo("two minutes\nare enough");
  activity->setNotes("");
  activity->setStartDate("2024-01-01");
  activity->setStatus(-1);
  activity->goal()->setInterval(10);
  activity->goal()->setCount(3);
  activity->setReminder(make<CDReminder>(context));
  activity->reminder()->setDays(127);
  activity->reminder()->setTime("07:30");
  activity->setWidget(make<CDWidget>(context));
  activity->widget()->setPriority(std::numeric_limits<std::int16_t>::min());
  return activity;
}

void addCheckins(NSManagedObjectContext& context, const Ref<CDActivity>& activity) {
  auto standard =
      make<CDCheckin>(context, Date::fromReference(kNoon), domain::CheckinType::standard);
  standard->setCount(2.5);
  standard->setMemo("🌧 indoors");
  activity->addCheckinsObject(standard);
  auto alternate =
      make<CDCheckin>(context, Date::fromReference(kNoon + 86400), domain::CheckinType::alternate);
  activity->addCheckinsObject(alternate);
  const domain::PhotoInfo described{4032, 3024, domain::PhotoInfo::Coordinate{126.9780, 37.5665},
                                    Date::fromReference(kNoon - 0.125), Date::distantPast()};
  standard->addPhotosObject(
      make<CDPhoto>(context, foundation::Data::fromText(std::string_view("\xff\xd8\0\xff\xd9", 5)),
                    make<CDPhotoInfo>(context, described)));
  standard->addPhotosObject(
      make<CDPhoto>(context, std::nullopt, make<CDPhotoInfo>(context, domain::PhotoInfo{})));
  (void)make<CDCheckin>(context);
}

void addGroups(NSManagedObjectContext& context, const Ref<CDActivity>& activity) {
  Ref<CDGroup> group = CDGroup::create(context);
  group->setTitle("Morning");
  group->setPriority(std::numeric_limits<std::int16_t>::max());
  activity->setGroup(group);
  auto widgetGroup = make<CDActivityWidgetGroup>(context);
  widgetGroup->setName("Home");
  widgetGroup->setType(2);
  widgetGroup->setOrder(1);
  widgetGroup->setUuid(foundation::UUID());
  widgetGroup->setCreatedDate(Date::now());
  widgetGroup->setModifiedDate(Date::now());
  auto item = make<CDActivityWidgetItem>(context);
  item->setUuid(foundation::UUID());
  item->setOrder(7);
  item->setActivity(activity);
  item->setGroup(widgetGroup);
  auto review = make<CDMonthlyReview>(context);
  review->setDate("2024-03");
  review->setFeedback("Better than February.");
  review->setCreatedDate(Date::now());
}

}  // namespace

void fill(NSManagedObjectContext& context) {
  const Ref<CDActivity> activity = fullActivity(context);
  addCheckins(context, activity);
  addGroups(context, activity);
  (void)make<CDActivity>(context);
  context.save();
}

Ref<NSPersistentContainer> opened(const std::string& path) {
  Ref<NSPersistentContainer> container = support::containerWithoutStore();
  coredata::NSPersistentStoreDescription description(foundation::URL::fileURL(path));
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  container->setPersistentStoreDescriptions({description});
  container->loadPersistentStores([](const auto&, const std::optional<foundation::Error>& error) {
    if (error) error->raise();
  });
  return container;
}

}  // namespace golden
