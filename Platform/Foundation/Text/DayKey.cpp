#include "Foundation/Text/DayKey.h"

#include <cstring>

#include "Foundation/Text/Internal/IcuFormat.h"
#include "Foundation/Text/Internal/PlainDay.h"
#include "Foundation/Text/Internal/PlainDigits.h"
#include "Foundation/Values/FatalError.h"

namespace foundation {

DayKey::DayKey(const Date& date) : DayKey(currentEnvironment(), date) {}

DayKey::DayKey(const Environment& environment, const Date& date) {
  const auto day = plainDay(environment, date);
  if (!day) {
    set(icuFormat(environment, "yyyy-MM-dd", date));
    return;
  }
  char* end = writeFourDigits(text_.data(), static_cast<std::uint32_t>(day->year));
  yearSize_ = static_cast<std::uint8_t>(end - text_.data());
  *end++ = '-';
  end = writeTwoDigits(end, static_cast<std::uint32_t>(day->month));
  monthSize_ = static_cast<std::uint8_t>(end - text_.data());
  *end++ = '-';
  end = writeTwoDigits(end, static_cast<std::uint32_t>(day->day));
  size_ = static_cast<std::uint8_t>(end - text_.data());
}

void DayKey::set(std::string_view text) {
  const std::size_t afterMonth = text.rfind('-');
  const std::size_t afterYear = text.find('-');
  if (text.size() > kCapacity || afterYear == afterMonth) {
    fatalError("a day was written as \"" + std::string(text) + "\", which is no day key");
  }
  std::memcpy(text_.data(), text.data(), text.size());
  size_ = static_cast<std::uint8_t>(text.size());
  monthSize_ = static_cast<std::uint8_t>(afterMonth);
  yearSize_ = static_cast<std::uint8_t>(afterYear);
}

}  // namespace foundation
