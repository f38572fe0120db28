#include "CoreDataStack/UseCases/CheckinWriter.h"

#include <utility>

#include "Domain/CheckinError.h"

namespace coredatastack {

using coredata::NSManagedObjectContext;
using domain::CheckinError;
using domain::CheckinType;
using foundation::Date;
using foundation::make;
using foundation::Ref;

CheckinWriter::CheckinWriter(Ref<CDActivity> activity, Ref<NSManagedObjectContext> context)
    : activity_(std::move(activity)), context_(std::move(context)) {}

void CheckinWriter::addCheckin(Date at, CheckinType with) const {
  if (activity_->didCheckin(at)) throw CheckinError::alreadyExists();
  static_cast<void>(insertCheckin(at, with));
  context_->refresh(activity_, true);
  saveIfChanged();
}

Ref<CDCheckin> CheckinWriter::addCheckinCount(Date date) const {
  Ref<CDCheckin> checkin = activity_->checkin(date);
  if (checkin) {
    checkin->increaseCount();
  } else {
    checkin = insertCheckin(date, CheckinType::standard);
  }
  context_->refresh(activity_, true);
  saveIfChanged();
  return checkin;
}

void CheckinWriter::deleteCheckin(Date at) const {
  const Ref<CDCheckin> checkin = activity_->checkin(at);
  if (!checkin) throw CheckinError::notFound();
  activity_->removeCheckinsObject(checkin);
  context_->delete_(checkin);
  context_->refresh(activity_, true);
  context_->save();
}

Ref<CDCheckin> CheckinWriter::insertCheckin(Date date, CheckinType type) const {
  auto checkin = make<CDCheckin>(*context_, date, type);
  activity_->addCheckinsObject(checkin);
  return checkin;
}

void CheckinWriter::saveIfChanged() const {
  if (context_->hasChanges()) context_->save();
}

}  // namespace coredatastack
