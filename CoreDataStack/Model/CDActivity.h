#pragma once

#include <optional>
#include <string>

#include "CoreData/Object/ManagedObjectProperties.h"
#include "Domain/CheckinType.h"
#include "Domain/UserType.h"
#include "Foundation/Values/Date.h"

namespace coredatastack {

class CDActivityWidgetItem;
class CDCheckin;
class CDDisplayOn;
class CDGoal;
class CDGroup;
class CDOrder;
class CDReminder;
class CDWidget;

/// A habit.
///
/// None of its operations saves, and none throws.
///
/// Threading: belongs to its context's queue.
class CDActivity final : public coredata::NSManagedObject {
  CD_ENTITY(CDActivity, "Activity")
  CD_DOUBLE(checkinMaxCount, setCheckinMaxCount)
  CD_TEXT(color, setColor)
  CD_DATE(createdDate, setCreatedDate)
  CD_TEXT(endDate, setEndDate)
  CD_TEXT(icon, setIcon)
  CD_TEXT(memo, setMemo)
  CD_DATE(modifiedDate, setModifiedDate)
  CD_TEXT(notes, setNotes)
  CD_TEXT(startDate, setStartDate)
  CD_INTEGER16(status, setStatus)
  CD_TEXT(title, setTitle)
  CD_TO_MANY(CDCheckin, checkins, setCheckins, addCheckinsObject, removeCheckinsObject)
  CD_TO_ONE(CDDisplayOn, displayOn, setDisplayOn)
  CD_TO_ONE(CDGoal, goal, setGoal)
  CD_TO_ONE(CDGroup, group, setGroup)
  CD_TO_ONE(CDOrder, order, setOrder)
  CD_TO_ONE(CDReminder, reminder, setReminder)
  CD_TO_ONE(CDWidget, widget, setWidget)
  CD_TO_MANY(CDActivityWidgetItem, widgets, setWidgets, addWidgetsObject, removeWidgetsObject)

 public:
  /// A new activity with the records that every activity has: its order, its goal, and the days on
  /// which it is shown (all of them). It has no title yet.
  [[nodiscard]] static foundation::Ref<CDActivity> create(coredata::NSManagedObjectContext& in,
                                                          std::string withColor);

  /// Whether the local day of the date has a check-in, of any type. False for an activity without a
  /// context and when the store fails. Costs one look at the index, and makes no object.
  [[nodiscard]] bool didCheckin(foundation::Date at) const;
  /// The check-in of the local day of the date; null when there is none, for an activity without a
  /// context and when the store fails.
  [[nodiscard]] foundation::Ref<CDCheckin> checkin(foundation::Date with) const;
  [[nodiscard]] bool didCheckinToday() const;
  /// The check-in with the latest day, read in the given context; null when there is none. When the
  /// store fails the error is printed and the answer is null.
  ///
  /// `type` is not looked at: the latest check-in of any type is what a list of habits shows.
  [[nodiscard]] foundation::Ref<CDCheckin> lastCheckin(
      coredata::NSManagedObjectContext& with, std::optional<domain::CheckinType> type) const;

  /// Whether it has a goal of a kind that counts for the user. How much the goal asks for is not
  /// looked at.
  [[nodiscard]] bool hasGoal(domain::UserType with) const;
  /// Marks the activity as achieved.
  void achieve();
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivityWidgetItem.h"
#include "CoreDataStack/Model/CDCheckin.h"
#include "CoreDataStack/Model/CDDisplayOn.h"
#include "CoreDataStack/Model/CDGoal.h"
#include "CoreDataStack/Model/CDGroup.h"
#include "CoreDataStack/Model/CDOrder.h"
#include "CoreDataStack/Model/CDReminder.h"
#include "CoreDataStack/Model/CDWidget.h"
