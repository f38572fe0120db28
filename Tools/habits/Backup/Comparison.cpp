#include "Tools/habits/Backup/Comparison.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "Tools/habits/Table.h"

namespace habits {

using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {

/// Of what would be lost so many are named.
constexpr std::size_t kMostNamed = 5;

std::string newestText(const StoreContent& content) {
  return content.newestCheckin().value_or("none");
}

std::string countIn(const StoreContent& content, const std::string& entity) {
  const auto found = content.rows.find(entity);
  return found == content.rows.end() ? "-" : std::to_string(found->second);
}

std::set<std::string> entitiesOf(const Comparison& comparison) {
  std::set<std::string> names;
  for (const auto& [name, number] : comparison.backup.rows) names.insert(name);
  if (comparison.live) {
    for (const auto& [name, number] : comparison.live->rows) names.insert(name);
  }
  return names;
}

Table tableOf(const Comparison& comparison) {
  const StoreContent& backup = comparison.backup;
  const StoreContent nothing;
  const StoreContent& live = comparison.live ? *comparison.live : nothing;
  Table table;
  table.add({"", "Store", "Backup"});
  table.add({"Version", live.version.empty() ? "-" : live.version, backup.version});
  for (const std::string& entity : entitiesOf(comparison)) {
    const std::string before = countIn(live, entity);
    const std::string after = countIn(backup, entity);
    const bool isNothing = (before == "0" || before == "-") && (after == "0" || after == "-");
    if (!isNothing) table.add({entity, before, after});
  }
  table.add({"Newest check-in", newestText(live), newestText(backup)});
  return table;
}

/// The newest first.
std::vector<CheckinDay> named(const std::vector<CheckinDay>& lost) {
  const std::size_t number = std::min(kMostNamed, lost.size());
  return {lost.rbegin(), std::next(lost.rbegin(), static_cast<std::ptrdiff_t>(number))};
}

ValueDictionary dataOf(const StoreContent& content) {
  ValueDictionary rows;
  for (const auto& [entity, number] : content.rows) rows[entity] = number;
  return {{"version", content.version},
          {"identifier", content.identifier},
          {"rows", std::move(rows)},
          {"newestCheckin", content.newestCheckin()}};
}

}  // namespace

std::vector<CheckinDay> Comparison::lost() const {
  std::vector<CheckinDay> lost;
  if (live) std::ranges::set_difference(live->checkins, backup.checkins, std::back_inserter(lost));
  return lost;
}

std::string Comparison::text() const {
  std::string text = tableOf(*this).text();
  if (!trouble.empty()) text += "\n\nWhat the store holds cannot be told: " + trouble;
  const std::vector<CheckinDay> gone = lost();
  if (gone.empty()) return text;
  text += "\n\n" + checkinsText(gone.size()) + (gone.size() == 1 ? " is" : " are") +
          " not in the backup and would be lost:";
  for (const CheckinDay& day : named(gone)) text += "\n  " + day.day + "  " + day.habit;
  if (gone.size() > kMostNamed) {
    text += "\n  and " + std::to_string(gone.size() - kMostNamed) + " before them";
  }
  return withoutControls(std::move(text));
}

ValueDictionary Comparison::data() const {
  const std::vector<CheckinDay> gone = lost();
  ValueList newest;
  for (const CheckinDay& day : named(gone)) {
    newest.emplace_back(ValueDictionary{{"activity", day.habit}, {"date", day.day}});
  }
  ValueDictionary data{
      {"backup", dataOf(backup)},
      {"store", Value()},
      {"lost", ValueDictionary{{"checkins", static_cast<std::int64_t>(gone.size())},
                               {"newest", std::move(newest)}}}};
  if (live) data["store"] = dataOf(*live);
  return data;
}

}  // namespace habits
