#include "Tools/storegen/SeededContent.h"

#include <algorithm>

namespace storegen {

namespace {

constexpr std::size_t kDaysOfMonth = 30;
constexpr std::size_t kActivitiesOfGroup = 4;

constexpr std::size_t partsOf(std::size_t whole, std::size_t part) {
  return (whole + part - 1) / part;
}

}  // namespace

std::size_t objectCount(const coredata::NSEntityDescription& entity, const SeededContent& content) {
  const std::string& name = entity.name();
  if (name == "Checkin") return content.activities * content.days;
  if (name == "Photo" || name == "PhotoInfo") return content.photos;
  if (name == "MonthlyReview") return partsOf(content.days, kDaysOfMonth);
  if (name == "Group" || name == "ActivityWidgetGroup") {
    return partsOf(content.activities, kActivitiesOfGroup);
  }
  if (name == "Badge" || name == "ActivityWidgetItem") return 2 * content.activities;
  return content.activities;
}

std::size_t dayOf(std::string_view entity, std::size_t position, const SeededContent& content) {
  if (entity == "Checkin") return position / std::max<std::size_t>(content.activities, 1);
  if (entity == "MonthlyReview") return position * kDaysOfMonth;
  return position % std::max<std::size_t>(content.days, 1);
}

}  // namespace storegen
