#pragma once

#include <string>
#include <string_view>

#include "CoreData/Object/ManagedObjectProperties.h"
#include "Domain/CheckInIntensity.h"
#include "Domain/CheckinProgressValue.h"
#include "Domain/CheckinType.h"
#include "Foundation/Values/Date.h"

namespace coredatastack {

class CDActivity;
class CDPhoto;

/// What one activity's day holds.
///
/// Threading: belongs to its context's queue.
class CDCheckin final : public coredata::NSManagedObject {
  CD_ENTITY(CDCheckin, "Checkin")
  CD_DOUBLE(count, setCount)
  CD_DATE(createdDate, setCreatedDate)
  CD_TEXT(date, setDate)
  CD_TEXT(memo, setMemo)
  CD_DATE(modifiedDate, setModifiedDate)
  CD_INTEGER16(type, setType)
  CD_TO_ONE(CDActivity, activity, setActivity)
  CD_TO_MANY(CDPhoto, photos, setPhotos, addPhotosObject, removePhotosObject)

 public:
  /// A new check-in on the local day of the date, counted once and of no activity yet.
  CDCheckin(coredata::NSManagedObjectContext& context, foundation::Date date,
            domain::CheckinType type);

  /// Once more on the same day.
  void increaseCount();

  /// How far the day got towards the activity's target; 0 of it without an activity.
  [[nodiscard]] domain::CheckinProgressValue progressValue() const;
  /// How strongly to draw the day.
  [[nodiscard]] domain::CheckInIntensity intensity() const;
  /// The month: the first seven characters of the day's text; fewer when it is shorter.
  [[nodiscard]] std::string section() const;
  /// Whether the memo holds anything but blanks and line breaks.
  [[nodiscard]] bool hasMemo() const;

  /// "section" can be read by name as well, so that lists can be cut by it. It is computed: no
  /// predicate that the store evaluates knows it.
  [[nodiscard]] foundation::Value valueForKey(std::string_view key) const override;

 private:
  /// A text where it lies in the row, empty when absent; valid until the object changes.
  [[nodiscard]] std::string_view textIn(coredata::SlotIndex slot) const;
};

}  // namespace coredatastack

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDPhoto.h"
