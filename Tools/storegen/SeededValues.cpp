#include "Tools/storegen/SeededValues.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <limits>
#include <string>
#include <string_view>

#include "Tools/storegen/Draw.h"

namespace storegen {

using coredata::NSAttributeDescription;
using coredata::NSAttributeType;
using foundation::Data;
using foundation::Date;
using foundation::UUID;
using foundation::Value;

namespace {

constexpr std::chrono::sys_days kFirstDay{std::chrono::year{2019} / 1 / 1};
constexpr double kSecondsOfHalfDay = 43200;

std::string_view entityName(const ValuePlace& place) { return place.attribute.entity()->name(); }

std::size_t dayOf(const ValuePlace& place) {
  return dayOf(entityName(place), place.position, place.content);
}

std::chrono::year_month_day dateOf(std::size_t day) {
  return kFirstDay + std::chrono::days(static_cast<std::int64_t>(day));
}

std::string dayKey(std::size_t day) {
  const auto date = dateOf(day);
  return fmt::format("{:04}-{:02}-{:02}", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
}

template <std::size_t count>
std::string oneOf(Draw& draw, const std::array<std::string_view, count>& texts) {
  return std::string(texts[draw.below(count)]);
}

// Texts.

Value ownDay(Draw& /*draw*/, const ValuePlace& place) { return dayKey(dayOf(place)); }

Value someDay(Draw& draw, const ValuePlace& /*place*/) { return dayKey(draw.below(4000)); }

Value month(Draw& /*draw*/, const ValuePlace& place) { return dayKey(dayOf(place)).substr(0, 7); }

Value timeOfDay(Draw& draw, const ValuePlace& /*place*/) {
  return fmt::format("{:02}:{:02}", draw.below(24), draw.below(60));
}

Value color(Draw& draw, const ValuePlace& /*place*/) {
  static constexpr std::array<std::string_view, 5> kColors{"blue", "green", "red", "#2e7d32",
                                                           "#FFB300"};
  return oneOf(draw, kColors);
}

Value icon(Draw& draw, const ValuePlace& /*place*/) {
  static constexpr std::array<std::string_view, 4> kIcons{"figure", "book", "drop", "🎻"};
  return oneOf(draw, kIcons);
}

Value title(Draw& draw, const ValuePlace& /*place*/) {
  static constexpr std::array<std::string_view, 8> kTitles{
      "Stretch",     "Drink water",   "책 읽기",  "التمدد",
      "Don't smoke", "Übe \"Geige\"", "🌧 run", "走る"};
  // An empty title is not an absent one.
  if (draw.below(16) == 0) return "";
  return oneOf(draw, kTitles) + fmt::format(" {}", draw.below(1000));
}

Value sentence(Draw& draw, const ValuePlace& /*place*/) {
  static constexpr std::array<std::string_view, 6> kSentences{
      "Two minutes\nare enough.",
      "오늘은 비가 왔다.",
      "Twenty minutes, and felt good afterwards",
      "'; it rained --",
      "😀👨‍👩‍👧‍👦",
      ""};
  return oneOf(draw, kSentences);
}

Value anyUUID(Draw& draw, const ValuePlace& /*place*/) {
  UUID::Bytes bytes{};
  draw.fill(bytes);
  return UUID(bytes);
}

Value fileName(Draw& draw, const ValuePlace& place) {
  return anyUUID(draw, place).uuid()->uuidString() + ".jpg";
}

// Numbers.

template <int... numbers>
Value among(Draw& draw, const ValuePlace& /*place*/) {
  static constexpr std::array kNumbers{numbers...};
  return kNumbers[draw.below(kNumbers.size())];
}

template <int first, int last>
Value between(Draw& draw, const ValuePlace& /*place*/) {
  return first + static_cast<int>(draw.below(last - first + 1));
}

/// Whole ones, and halves where there is room for them.
Value amount(Draw& draw, const ValuePlace& place) {
  const auto halves = static_cast<int>(draw.below(9)) + 1;
  if (place.attribute.attributeType() == NSAttributeType::double_) return halves / 2.0;
  return (halves + 1) / 2;
}

template <int bound>
Value degrees(Draw& draw, const ValuePlace& /*place*/) {
  return (draw.fraction() * 2 - 1) * bound;
}

template <typename Integer>
Value anyInteger(Draw& draw, const ValuePlace& /*place*/) {
  using Limits = std::numeric_limits<Integer>;
  const std::uint64_t kind = draw.below(8);
  if (kind == 0) return std::int64_t{Limits::min()};
  if (kind == 1) return std::int64_t{Limits::max()};
  return static_cast<std::int64_t>(draw.below(1000));
}

// Moments and bytes.

Value created(Draw& draw, const ValuePlace& place) {
  const double midnight =
      static_cast<double>(std::chrono::seconds(kFirstDay.time_since_epoch()).count()) +
      static_cast<double>(dayOf(place)) * 2 * kSecondsOfHalfDay;
  return Date::from1970(midnight + draw.fraction() * kSecondsOfHalfDay);
}

/// Later than any `created` of the same day.
Value modified(Draw& draw, const ValuePlace& place) {
  return Date::fromReference(created(draw, place).date()->timeIntervalSinceReferenceDate() +
                             kSecondsOfHalfDay);
}

Value bytes(Draw& draw, const ValuePlace& place) {
  std::vector<std::uint8_t> result(place.content.photoBytes);
  draw.fill(result);
  return Data(std::move(result));
}

// Which maker is whose.

struct NamedMaker {
  /// The entity's and the attribute's name; without an entity's, the attribute of each entity.
  std::string_view entity;
  std::string_view attribute;
  SeededValues::Maker maker;
};

constexpr std::array kMakers{
    NamedMaker{"Checkin", "date", ownDay},
    NamedMaker{"Checkin", "count", amount},
    NamedMaker{"Checkin", "type", among<0, 0, 0, 10>},
    NamedMaker{"MonthlyReview", "date", month},
    NamedMaker{"Order", "type", among<1>},
    NamedMaker{"ActivityWidgetGroup", "type", among<1, 2, 3>},
    NamedMaker{"", "startDate", someDay},
    NamedMaker{"", "endDate", someDay},
    NamedMaker{"", "time", timeOfDay},
    NamedMaker{"", "color", color},
    NamedMaker{"", "icon", icon},
    NamedMaker{"", "title", title},
    NamedMaker{"", "name", title},
    NamedMaker{"", "filename", fileName},
    NamedMaker{"", "status", among<0, 0, 1, -1>},
    NamedMaker{"", "days", between<0, 127>},
    NamedMaker{"", "interval", among<1, 7, 10, 30>},
    NamedMaker{"", "maxCount", amount},
    NamedMaker{"", "checkinMaxCount", amount},
    NamedMaker{"", "latitude", degrees<90>},
    NamedMaker{"", "longitude", degrees<180>},
    NamedMaker{"", "modifiedDate", modified},
};

SeededValues::Maker makerOfKind(NSAttributeType type) {
  switch (type) {
    case NSAttributeType::integer16:
      return anyInteger<std::int16_t>;
    case NSAttributeType::integer32:
      return anyInteger<std::int32_t>;
    case NSAttributeType::integer64:
      return anyInteger<std::int64_t>;
    case NSAttributeType::double_:
      return degrees<1000>;
    case NSAttributeType::string:
      return sentence;
    case NSAttributeType::boolean:
      return among<0, 1>;
    case NSAttributeType::date:
      return created;
    case NSAttributeType::binaryData:
      return bytes;
    case NSAttributeType::uuid:
      return anyUUID;
    case NSAttributeType::undefined:
      break;
  }
  return [](Draw&, const ValuePlace&) { return Value(); };
}

SeededValues::Maker makerOf(const NSAttributeDescription& attribute) {
  for (const NamedMaker& named : kMakers) {
    if (named.attribute != attribute.name()) continue;
    if (named.entity.empty() || named.entity == attribute.entity()->name()) return named.maker;
  }
  return makerOfKind(attribute.attributeType());
}

int absentPercent(const NSAttributeDescription& attribute, const SeededContent& content) {
  const bool isAlwaysThere = !attribute.isOptional() || attribute.name() == "filename";
  return isAlwaysThere ? 0 : content.absentPercent;
}

}  // namespace

SeededValues::SeededValues(const NSAttributeDescription& attribute, const SeededContent& content)
    : attribute_(attribute),
      content_(content),
      stream_(streamOf(content.seed, attribute.entity()->name() + "." + attribute.name())),
      maker_(makerOf(attribute)),
      absentPercent_(absentPercent(attribute, content)) {}

Value SeededValues::at(std::size_t position) const {
  Draw draw(stream_, position);
  if (draw.happens(absentPercent_) && position != 0) return {};
  return maker_(draw, {attribute_, position, content_});
}

}  // namespace storegen
