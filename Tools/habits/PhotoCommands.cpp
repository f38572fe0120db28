#include "CoreDataStack/UseCases/CoreDataPhotoUseCase.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Text/DayKey.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Consent.h"
#include "Tools/habits/Day.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Habit.h"
#include "Tools/habits/NewFile.h"
#include "Tools/habits/Table.h"

namespace habits {

using coredata::DictionaryRows;
using coredatastack::CDCheckin;
using coredatastack::CDPhoto;
using coredatastack::CoreDataPhotoUseCase;
using domain::Photo;
using foundation::Date;
using foundation::DayKey;
using foundation::Ref;
using foundation::ValueDictionary;
using foundation::ValueList;
using uikit::UIImage;

namespace {

/// A habit's day, whose check-in the photos belong to.
class PhotoDay {
 public:
  /// Throws `Refusal` for a day without a check-in.
  PhotoDay(const Session& session, const HabitDay& day)
      : date_(dayArgument(day.on)),
        habit_(habitNamed(day.name, session.context())),
        checkin_(habit_.activity->checkin(date_)),
        useCase_(session.contextHandle()) {
    if (!checkin_) throw Refusal("There is no check-in of " + text() + ".");
  }

  [[nodiscard]] const Ref<CDCheckin>& checkin() const { return checkin_; }
  [[nodiscard]] CoreDataPhotoUseCase& useCase() { return useCase_; }
  [[nodiscard]] std::size_t count() const { return checkin_->photos().count(); }
  /// "Run" on 2024-02-10
  [[nodiscard]] std::string text() const {
    return "\"" + habit_.name + "\" on " + DayKey(date_).string();
  }
  /// Throws `Refusal` when there is no photo of that number.
  [[nodiscard]] Photo photo(std::size_t number) {
    const std::vector<Photo> photos = useCase_.load(checkin_);
    // A list that cannot be read is empty.
    if (photos.size() != count())
      throw std::runtime_error("The photos of " + text() + " cannot be read.");
    if (number == 0 || number > photos.size()) {
      throw Refusal("There is no photo " + std::to_string(number) + " of " + text() +
                    ". \"habits photo list\" shows those that there are.");
    }
    return photos[number - 1];
  }
  [[nodiscard]] ValueDictionary data(std::size_t number) const {
    return {{"title", titleOf(*habit_.activity)},
            {"name", habit_.name},
            {"date", checkin_->date()},
            {"number", static_cast<std::int64_t>(number)}};
  }

 private:
  Date date_;
  Habit habit_;
  Ref<CDCheckin> checkin_;
  CoreDataPhotoUseCase useCase_;
};

UIImage imageIn(const std::string& path) {
  const auto image = UIImage::contentsOfFile(path);
  if (!image) throw Refusal(path + " is no picture: " + image.error().message());
  return *image;
}

/// The days and sizes of a habit's photos, without the pictures.
DictionaryRows photosOf(const Habit& habit, coredata::NSManagedObjectContext& context) {
  auto request = CDPhoto::fetchRequest();
  request.setPredicate(foundation::NSPredicate::format("checkin.activity = %@", habit.activity));
  request.setSortDescriptors({{"checkin.date", true}});
  request.setPropertiesToFetch({"checkin.date", "info.pixelWidth", "info.pixelHeight"});
  request.setResultType(coredata::NSFetchRequestResultType::dictionaries);
  return context.fetchDictionaries(request);
}

}  // namespace

Answer addPhoto(const Session& session, const NewPhoto& photo) {
  PhotoDay day(session, photo.day);
  const UIImage image = imageIn(photo.path);
  domain::PhotoInfo info;
  info.pixelWidth = static_cast<std::int64_t>(image.width());
  info.pixelHeight = static_cast<std::int64_t>(image.height());
  if (!image.jpegData(1.0)) throw Refusal(photo.path + " is too large to be stored as a JPEG.");
  day.useCase().save(image, info, day.checkin());
  const std::size_t number = day.count();
  return {"Added photo " + std::to_string(number) + " to " + day.text() + ".", day.data(number)};
}

Answer listPhotos(const Session& session, const std::string& name) {
  const Habit habit = habitNamed(name, session.context());
  const DictionaryRows rows = photosOf(habit, session.context());
  Table table;
  ValueList data;
  std::string lastDay;
  std::int64_t number = 0;
  for (std::size_t row = 0; row < rows.size(); ++row) {
    const std::string day(rows.text(row, 0));
    const std::int64_t width = rows.integer(row, 1);
    const std::int64_t height = rows.integer(row, 2);
    number = day == lastDay ? number + 1 : 1;
    lastDay = day;
    table.add(
        {day, std::to_string(number), std::to_string(width) + " x " + std::to_string(height)});
    data.push_back(
        ValueDictionary{{"date", day}, {"number", number}, {"width", width}, {"height", height}});
  }
  return {data.empty() ? "No photos of \"" + habit.name + "\" yet." : table.text(),
          std::move(data)};
}

Answer exportPhoto(const Session& session, const PhotoExport& wanted) {
  PhotoDay day(session, wanted.photo.day);
  const Photo photo = day.photo(wanted.photo.number);
  const std::string text = "photo " + std::to_string(wanted.photo.number) + " of " + day.text();
  if (!photo.data) throw Refusal("There is no picture in " + text + ".");
  writeNewFile(wanted.path, photo.data->bytes());
  return {"Wrote " + text + " to " + wanted.path + ".", day.data(wanted.photo.number)};
}

Answer removePhoto(const Session& session, const PhotoRemoval& removal) {
  PhotoDay day(session, removal.photo.day);
  const std::size_t number = removal.photo.number;
  const Photo photo = day.photo(number);
  const std::string text = "photo " + std::to_string(number) + " of " + day.text();
  requireConsent(removal.isConsentedTo, "Remove " + text + "?");
  ValueDictionary data = day.data(number);
  day.useCase().delete_(photo, day.checkin());
  return {"Removed " + text + ".", std::move(data)};
}

}  // namespace habits
