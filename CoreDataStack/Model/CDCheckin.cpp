#include "CoreDataStack/Model/CDCheckin.h"

#include "Foundation/Text/Characters.h"
#include "Foundation/Text/DayKey.h"

namespace coredatastack {

using domain::CheckInIntensity;
using domain::CheckinProgressValue;
using domain::CheckinType;
using foundation::Date;

namespace {

constexpr std::size_t kMonthLength = 7;
constexpr std::string_view kSectionKey = "section";

}  // namespace

CDCheckin::CDCheckin(coredata::NSManagedObjectContext& context, Date date, CheckinType type)
    : CDCheckin(context) {
  setDate(foundation::DayKey(date).string());
  setCreatedDate(Date::now());
  setModifiedDate(Date::now());
  setType(type.value());
  setCount(1.0);
}

void CDCheckin::increaseCount() {
  setCount(count() + 1.0);
  setModifiedDate(Date::now());
}

CheckinProgressValue CDCheckin::progressValue() const {
  const auto its = activity();
  if (!its) return CheckinProgressValue::progress(0.0);
  if (type() == CheckinType(CheckinType::alternate).value()) return CheckinProgressValue::other();
  // Without a target, 0/0 and infinity are complete: no comparison with a number that is none
  // holds.
  const double quotient = count() / its->checkinMaxCount();
  return quotient < 1.0 ? CheckinProgressValue::progress(quotient)
                        : CheckinProgressValue::complete();
}

CheckInIntensity CDCheckin::intensity() const {
  if (type() != CheckinType(CheckinType::standard).value()) return CheckInIntensity::none;
  const double scale = progressValue().scale();
  if (0.0 <= scale && scale < 0.4) return CheckInIntensity::low;
  if (0.4 <= scale && scale < 0.8) return CheckInIntensity::medium;
  // A negative count and one that is not a number belong here too; people have seen them as full
  // days for as long as there are intensities.
  return CheckInIntensity::high;
}

std::string CDCheckin::section() const {
  return std::string(foundation::prefix(textIn(dateSlot_.index), kMonthLength));
}

bool CDCheckin::hasMemo() const {
  return !foundation::trimmingWhitespaceAndNewlines(textIn(memoSlot_.index)).empty();
}

foundation::Value CDCheckin::valueForKey(std::string_view key) const {
  return key == kSectionKey ? foundation::Value(section()) : NSManagedObject::valueForKey(key);
}

std::string_view CDCheckin::textIn(coredata::SlotIndex slot) const {
  const coredata::Row& values = row();
  return values.isNone(slot) ? std::string_view() : values.text(slot);
}

}  // namespace coredatastack
