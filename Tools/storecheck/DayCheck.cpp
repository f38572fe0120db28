#include "Tools/storecheck/DayCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <optional>

#include "Foundation/Text/Characters.h"
#include "Tools/storecheck/ValueCheck.h"

namespace storecheck {

using coredata::NSEntityDescription;
using coredata::StoredRow;
using coredata::StoredValue;

namespace {

constexpr std::size_t kDayParts = 3;
constexpr std::size_t kMonthParts = 2;

std::vector<std::string_view> partsOf(std::string_view text) {
  std::vector<std::string_view> parts;
  for (std::size_t begin = 0;;) {
    const std::size_t end = std::min(text.find('-', begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    if (end == text.size()) return parts;
    begin = end + 1;
  }
}

bool isLatinDigit(char character) { return character >= '0' && character <= '9'; }

/// Digits of other scripts are all beyond ASCII.
bool mayBeDigits(std::string_view part) {
  const auto mayBeDigit = [](char character) {
    return isLatinDigit(character) || static_cast<unsigned char>(character) >= 0x80;
  };
  return !part.empty() && std::ranges::all_of(part, mayBeDigit);
}

std::optional<int> numberOf(std::string_view part, std::size_t digits) {
  if (part.size() != digits || !std::ranges::all_of(part, isLatinDigit)) return std::nullopt;
  int number = 0;
  std::from_chars(part.data(), part.data() + part.size(), number);
  return number;
}

KeyForm formOf(std::string_view text, std::size_t partCount) {
  const auto parts = partsOf(text);
  constexpr std::size_t kLongest = 60;
  if (parts.size() != partCount || text.size() > kLongest || !foundation::isUtf8(text) ||
      !std::ranges::all_of(parts, mayBeDigits)) {
    return KeyForm::none;
  }
  const auto year = numberOf(parts[0], 4);
  const auto month = numberOf(parts[1], 2);
  const auto day = partCount == kDayParts ? numberOf(parts[2], 2) : 1;
  if (!year || !month || !day) return KeyForm::other;
  const std::chrono::year_month_day date{std::chrono::year(*year),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day))};
  return *year > 0 && date.ok() ? KeyForm::gregorian : KeyForm::other;
}

/// The value of a property; null where the entity has none of that name, and where it is no text.
const StoredValue* textOf(const NSEntityDescription& entity, StoredRow row,
                          std::string_view attribute) {
  const auto* const property = entity.attribute(attribute);
  if (property == nullptr || property->isTransient()) return nullptr;
  const StoredValue& value = row[kFirstSlot + property->slot()];
  return value.kind == StoredValue::Kind::text ? &value : nullptr;
}

std::int64_t referenceOf(const NSEntityDescription& entity, StoredRow row,
                         std::string_view relationship) {
  const auto* const property = entity.relationship(relationship);
  if (property == nullptr || property->isToMany()) return coredata::kNoObject;
  return row[kFirstSlot + property->slot()].integer;
}

void checkForm(KeyForm form, FindingKind kind, std::string_view what, std::string_view entity,
               std::int64_t key, Findings& findings) {
  switch (form) {
    case KeyForm::gregorian:
      return;
    case KeyForm::other:
      return findings.warning(
          kind, entity, key,
          fmt::format("Its \"date\" is no {} of the Gregorian calendar in Latin digits.", what));
    case KeyForm::none:
      return findings.error(kind, entity, key, fmt::format("Its \"date\" is no {}.", what));
  }
}

}  // namespace

KeyForm formOfDay(std::string_view text) { return formOf(text, kDayParts); }

KeyForm formOfMonth(std::string_view text) { return formOf(text, kMonthParts); }

void DayCheck::add(const NSEntityDescription& entity, StoredRow row, Findings& findings) {
  const bool isCheckin = entity.name() == "Checkin";
  if (!isCheckin && entity.name() != "MonthlyReview") return;
  const StoredValue* date = textOf(entity, row, "date");
  if (date == nullptr) return;
  const std::int64_t key = keyOf(row);
  if (!isCheckin) {
    checkForm(formOfMonth(date->content), FindingKind::noMonth, "month", entity.name(), key,
              findings);
    return;
  }
  checkForm(formOfDay(date->content), FindingKind::noDay, "day", entity.name(), key, findings);
  const std::int64_t activity = referenceOf(entity, row, "activity");
  if (activity != coredata::kNoObject)
    checkins_.push_back({activity, std::string(date->content), key});
}

void DayCheck::checkSameDays(Findings& findings) {
  std::ranges::sort(checkins_);
  for (std::size_t i = 1; i < checkins_.size(); ++i) {
    const Checkin& before = checkins_[i - 1];
    const Checkin& checkin = checkins_[i];
    if (checkin.activity != before.activity || checkin.day != before.day) continue;
    findings.warning(FindingKind::sameDay, "Checkin", checkin.key,
                     fmt::format("It is of the same activity ({}) and day as check-in {}.",
                                 checkin.activity, before.key));
  }
}

}  // namespace storecheck
