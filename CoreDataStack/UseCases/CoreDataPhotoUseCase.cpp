#include "CoreDataStack/UseCases/CoreDataPhotoUseCase.h"

#include <utility>

#include "CoreDataStack/UseCases/CoreDataPhotoIterator.h"
#include "Domain/PhotoError.h"
#include "Foundation/Predicate/PredicateTemplate.h"
#include "Foundation/Text/DayKey.h"
#include "Foundation/Values/FatalError.h"
#include "Foundation/Values/URL.h"

namespace coredatastack {

using coredata::NSFetchRequest;
using coredata::NSManagedObjectContext;
using domain::ActivityStatus;
using domain::Photo;
using domain::PhotoError;
using domain::PhotoInfo;
using foundation::Date;
using foundation::DayKey;
using foundation::make;
using foundation::NSPredicate;
using foundation::PredicateTemplate;
using foundation::Ref;

namespace {

constexpr std::size_t kBatchSize = 20;

NSPredicate inPeriod(Date from, Date to, ActivityStatus status) {
  static constinit PredicateTemplate format{
      "(%@ <= checkin.date AND checkin.date <= %@) AND checkin.activity.status = %d"};
  return format.bind(DayKey(from).text(), DayKey(to).text(), status.value());
}

/// Newest day first.
NSFetchRequest<CDPhoto> requestFor(NSPredicate predicate) {
  NSFetchRequest<CDPhoto> request = CDPhoto::fetchRequest();
  request.setPredicate(std::move(predicate));
  request.setSortDescriptors({{"checkin.date", false}});
  return request;
}

}  // namespace

CoreDataPhotoUseCase::CoreDataPhotoUseCase(Ref<NSManagedObjectContext> with)
    : context_(std::move(with)) {}

Ref<domain::Iterator<Photo>> CoreDataPhotoUseCase::iterator(Date from, Date to,
                                                            ActivityStatus status) {
  return Ref<CoreDataPhotoIterator>::adopt(
      new CoreDataPhotoIterator(context_, requestFor(inPeriod(from, to, status))));
}

std::vector<Photo> CoreDataPhotoUseCase::load(const Ref<CDCheckin>& by) {
  static constinit PredicateTemplate ofCheckin{"checkin = %@"};
  return list(ofCheckin.bind(by));
}

std::vector<Photo> CoreDataPhotoUseCase::photos(const Ref<CDActivity>& by) {
  static constinit PredicateTemplate ofActivity{"checkin.activity = %@"};
  return list(ofActivity.bind(by));
}

std::vector<Photo> CoreDataPhotoUseCase::photos(Date from, Date to, ActivityStatus status) {
  return list(inPeriod(from, to, status));
}

std::int64_t CoreDataPhotoUseCase::numberOfPhotos(const Ref<CDActivity>& by, Date at) {
  static constinit PredicateTemplate onDay{"checkin.activity = %@ AND checkin.date = %@"};
  auto request = CDPhoto::fetchRequest();
  request.setPredicate(onDay.bind(by, DayKey(at).text()));
  return number(request);
}

std::int64_t CoreDataPhotoUseCase::numberOfAllPhotos() { return number(CDPhoto::fetchRequest()); }

std::vector<Photo> CoreDataPhotoUseCase::list(NSPredicate predicate) {
  auto request = requestFor(std::move(predicate));
  request.setFetchBatchSize(kBatchSize);
  std::vector<Photo> result;
  try {
    const auto found = context_->fetch(request);
    result.reserve(found.size());
    for (const Ref<CDPhoto>& photo : found) result.push_back(photo->asPhoto());
  } catch (const foundation::Error& error) {
    foundation::print(error.description());
  }
  return result;
}

std::int64_t CoreDataPhotoUseCase::number(const coredata::NSFetchRequestBase& request) {
  try {
    return context_->count(request);
  } catch (const foundation::Error& error) {
    foundation::print(error.description());
    return 0;
  }
}

void CoreDataPhotoUseCase::save(const uikit::UIImage& image, const PhotoInfo& info,
                                const Ref<CDCheckin>& to) {
  const auto storedInfo = make<CDPhotoInfo>(*context_, info);
  to->addPhotosObject(make<CDPhoto>(*context_, image.jpegData(1.0), storedInfo));
  context_->save();
}

void CoreDataPhotoUseCase::delete_(const Photo& photo, const Ref<CDCheckin>& from) {
  const Ref<CDPhoto> object = stored(photo.id);
  context_->delete_(object);
  from->removePhotosObject(object);
  context_->save();
}

Ref<CDPhoto> CoreDataPhotoUseCase::stored(const std::string& id) {
  const auto url = foundation::URL::parse(id);
  if (!url) throw PhotoError::notFound();
  const auto identifier =
      context_->persistentStoreCoordinator()->managedObjectIDForURIRepresentation(*url);
  if (!identifier) throw PhotoError::notFound();
  auto photo = foundation::as<CDPhoto>(context_->objectWithID(*identifier));
  if (!photo) throw PhotoError::notFound();
  // A photo that is about to go is still stored.
  if (photo->isDeleted()) return photo;
  // A look at the row: an identifier may outlive its photo.
  static_cast<void>(photo->createdDate());
  if (photo->isDeleted()) throw PhotoError::notFound();
  return photo;
}

}  // namespace coredatastack
