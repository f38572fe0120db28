#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "Fuzz/Support/CsvText.h"
#include "Tools/habits/CheckinTable.h"
#include "Tools/habits/Day.h"
#include "Tools/habits/Failures.h"

namespace {

using habits::CheckinTable;
using habits::ImportedCheckin;

constexpr std::size_t kLongestInput = 64 * 1024;

void require(bool holds) {
  if (!holds) std::abort();
}

std::string dayText(const habits::Day& day) {
  std::array<char, 32> text{};
  const int size =
      std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(day.year()),
                    static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
  return {text.data(), static_cast<std::size_t>(size)};
}

std::string countText(double count) {
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), count).ptr;
  return {text.data(), end};
}

bool isSame(const ImportedCheckin& a, const ImportedCheckin& b) {
  return a.title == b.title && a.date == b.date && a.count == b.count && a.memo == b.memo &&
         a.group == b.group;
}

void requireSound(const CheckinTable& table) {
  for (const ImportedCheckin& checkin : table.checkins) {
    require(!checkin.title.empty() && std::isfinite(checkin.count) && checkin.count > 0);
  }
  for (const habits::BadRow& bad : table.badRows) {
    // The first line names the columns.
    require(bad.line > 1 && bad.column > 0 && !bad.what.empty());
  }
}

}  // namespace

/// Whatever is imported is imported again from a list of the same check-ins.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  CheckinTable table;
  try {
    table = habits::readCheckinTable(std::string_view(reinterpret_cast<const char*>(data), size));
  } catch (const habits::Refusal&) {
    return 0;
  }
  requireSound(table);

  std::string list = "date,activity,count,memo,group\n";
  for (const ImportedCheckin& checkin : table.checkins) {
    list += fuzz::csvLine({dayText(habits::dayOf(checkin.date)), checkin.title,
                           countText(checkin.count), checkin.memo, checkin.group});
  }
  const CheckinTable again = habits::readCheckinTable(list);
  require(again.badRows.empty() && again.checkins.size() == table.checkins.size());
  for (std::size_t i = 0; i < again.checkins.size(); ++i)
    require(isSame(again.checkins[i], table.checkins[i]));
  return 0;
}
