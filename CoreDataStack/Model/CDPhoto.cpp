#include "CoreDataStack/Model/CDPhoto.h"

#include "Domain/DateFormat.h"
#include "Foundation/Text/DateFormatter.h"

namespace coredatastack {

using domain::DateFormat;
using domain::Photo;
using domain::PhotoInfo;
using foundation::Date;
using foundation::Ref;

CDPhoto::CDPhoto(coredata::NSManagedObjectContext& context,
                 const std::optional<foundation::Data>& data, const Ref<CDPhotoInfo>& info)
    : CDPhoto(context) {
  setData(data);
  setCreatedDate(Date::now());
  setModifiedDate(Date::now());
  setInfo(info);
}

Photo CDPhoto::asPhoto() const {
  const Ref<CDPhotoInfo> its = info();
  const auto identifier = objectID();
  return {.id = identifier ? identifier->uriRepresentation().absoluteString() : std::string(),
          .data = data(),
          .date = day().value_or(Date::now()),
          // Not the stored ones: applications show these two as when the value was handed to them.
          .createdDate = Date::now(),
          .modifiedDate = Date::now(),
          .info = its ? its->asPhotoInfo() : PhotoInfo{}};
}

std::optional<Date> CDPhoto::day() const {
  const Ref<CDCheckin> its = checkin();
  const auto text = its ? its->date() : std::nullopt;
  if (!text) return std::nullopt;
  return foundation::DateFormatter(DateFormat(DateFormat::day).pattern()).date(*text);
}

}  // namespace coredatastack
