#include <fcntl.h>

#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include "CoreDataStack/Model/CDActivity.h"
#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Text/DayKey.h"
#include "Tools/habits/CheckinTable.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Groups.h"
#include "Tools/habits/Habit.h"
#include "Tools/habits/Progress.h"

namespace habits {

using coredata::NSManagedObjectContext;
using coredata::ObjectKey;
using coredatastack::CDActivity;
using coredatastack::CDCheckin;
using coredatastack::CDGroup;
using domain::CheckinType;
using foundation::DayKey;
using foundation::make;
using foundation::Ref;
using foundation::ValueDictionary;

namespace {

constexpr std::size_t kLargestFile = std::size_t{256} << 20U;
constexpr std::size_t kMostBadRowsToName = 20;

std::string contentOf(const std::string& path) {
  const auto bytes = foundation::readFile(AT_FDCWD, path.c_str(), kLargestFile);
  if (!bytes) throw Refusal(path + " cannot be read: " + std::strerror(bytes.error()) + ".");
  return {bytes->begin(), bytes->end()};
}

CheckinTable tableIn(const std::string& path) {
  const std::string content = contentOf(path);
  try {
    return readCheckinTable(content);
  } catch (const Refusal& refusal) {
    throw Refusal(path + " cannot be imported. " + refusal.what());
  }
}

std::string counted(std::size_t number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

[[noreturn]] void refuse(const std::string& path, const std::vector<BadRow>& rows) {
  std::string text = path + " has " + counted(rows.size(), "bad row") + "; nothing was imported.";
  for (std::size_t i = 0; i < rows.size() && i < kMostBadRowsToName; ++i) {
    text += "\n  line " + std::to_string(rows[i].line) + ", column " +
            std::to_string(rows[i].column) + ": " + rows[i].what;
  }
  if (rows.size() > kMostBadRowsToName) {
    text += "\n  and " + std::to_string(rows.size() - kMostBadRowsToName) + " more";
  }
  throw Refusal(text + "\nMend them, or leave them out with --skip-bad.");
}

using Days = std::unordered_set<std::string>;

/// The days of all check-ins that there are, in one fetch.
std::unordered_map<ObjectKey, Days> storedDays(NSManagedObjectContext& context) {
  auto request = CDCheckin::fetchRequest();
  request.setPropertiesToFetch({"activity", "date"});
  request.setResultType(coredata::NSFetchRequestResultType::dictionaries);
  const coredata::DictionaryRows rows = context.fetchDictionaries(request);
  std::unordered_map<ObjectKey, Days> days;
  const std::size_t activity = rows.column("activity");
  const std::size_t date = rows.column("date");
  for (std::size_t row = 0; row < rows.size(); ++row) {
    days[rows.reference(row, activity)].emplace(rows.text(row, date));
  }
  return days;
}

/// A habit that check-ins go to, and the days that it has.
struct Target {
  Ref<CDActivity> activity;
  Days days;
};

/// The habits by their names.
class Targets {
 public:
  explicit Targets(NSManagedObjectContext& context) : context_(context) {
    auto days = storedDays(context);
    for (const Habit& habit : allHabits(context)) {
      const std::string title = titleOf(*habit.activity);
      if (habit.name != title) ambiguous_.insert(title);
      Target target{habit.activity, std::move(days[habit.activity->objectID()->key()])};
      // A title that looks like the number of another one goes before that.
      if (habit.name == title) {
        targets_.insert_or_assign(habit.name, std::move(target));
      } else {
        targets_.emplace(habit.name, std::move(target));
      }
    }
  }

  /// The habit that the check-in is of, made if there is none. Throws `Refusal` when there are
  /// several.
  [[nodiscard]] Target& of(const ImportedCheckin& checkin) {
    const auto found = targets_.find(checkin.title);
    if (found != targets_.end()) return found->second;
    // This says which ones there are.
    if (ambiguous_.contains(checkin.title)) {
      static_cast<void>(habitNamed(checkin.title, context_));
    }
    ++made_;
    return targets_.emplace(checkin.title, Target{made(checkin), {}}).first->second;
  }

  [[nodiscard]] std::size_t made() const { return made_; }

 private:
  [[nodiscard]] Ref<CDActivity> made(const ImportedCheckin& checkin) {
    auto activity = CDActivity::create(context_, kDefaultColor);
    activity->setTitle(checkin.title);
    if (!checkin.group.empty()) activity->setGroup(group(checkin.group));
    return activity;
  }
  [[nodiscard]] const Ref<CDGroup>& group(const std::string& title) {
    Ref<CDGroup>& group = groups_[title];
    if (!group) group = findGroup(title, context_);
    if (!group) group = makeGroup(title, context_);
    return group;
  }

  NSManagedObjectContext& context_;
  std::unordered_map<std::string, Target> targets_;
  std::unordered_map<std::string, Ref<CDGroup>> groups_;
  std::unordered_set<std::string> ambiguous_;
  std::size_t made_ = 0;
};

void addCheckin(const ImportedCheckin& imported, const Ref<CDActivity>& activity,
                NSManagedObjectContext& context) {
  const auto checkin = make<CDCheckin>(context, imported.date, CheckinType::standard);
  checkin->setCount(imported.count);
  if (!imported.memo.empty()) checkin->setMemo(imported.memo);
  checkin->setActivity(activity);
}

struct Outcome {
  std::size_t added = 0;
  std::size_t present = 0;
  std::size_t newHabits = 0;
};

Outcome importAll(const std::vector<ImportedCheckin>& checkins, NSManagedObjectContext& context) {
  Progress progress("Importing", checkins.size());
  Targets targets(context);
  Outcome outcome;
  for (const ImportedCheckin& checkin : checkins) {
    Target& target = targets.of(checkin);
    if (target.days.insert(DayKey(checkin.date).string()).second) {
      addCheckin(checkin, target.activity, context);
      ++outcome.added;
    } else {
      ++outcome.present;
    }
    progress.advance();
  }
  progress.goOnWith("Saving");
  context.save();
  outcome.newHabits = targets.made();
  return outcome;
}

std::string textOf(const Outcome& outcome, std::size_t badRows, const std::string& path) {
  std::string text = "Imported " + counted(outcome.added, "check-in") + " from " + path;
  if (outcome.newHabits > 0) text += ", " + counted(outcome.newHabits, "new habit");
  if (outcome.present > 0)
    text += "; left alone " + counted(outcome.present, "day") + " checked in already";
  if (badRows > 0) text += "; left out " + counted(badRows, "bad row");
  return text + ".";
}

foundation::Value number(std::size_t value) { return static_cast<std::int64_t>(value); }

}  // namespace

Answer importFile(const Session& session, const ImportFile& file) {
  const CheckinTable table = tableIn(file.path);
  if (!table.badRows.empty() && !file.skipsBadRows) refuse(file.path, table.badRows);
  const Outcome outcome = importAll(table.checkins, session.context());
  return {textOf(outcome, table.badRows.size(), file.path),
          ValueDictionary{{"imported", number(outcome.added)},
                          {"present", number(outcome.present)},
                          {"newHabits", number(outcome.newHabits)},
                          {"badRows", number(table.badRows.size())}}};
}

}  // namespace habits
