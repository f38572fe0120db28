#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CoreDataStack/Model/CDGoal.h"
#include "Domain/ActivityStatus.h"
#include "Domain/ActivityWidgetSize.h"
#include "Tools/habits/Answer.h"
#include "Tools/habits/AnswerStream.h"
#include "Tools/habits/Session.h"

namespace habits {

/// Of habits for which no colour is chosen.
inline constexpr const char* kDefaultColor = "blue";

// One function a command. Each runs inside a block of the session's context and throws `Refusal`,
// `UsageError` or the store's `foundation::Error`; what it writes is saved when it returns.

struct NewHabit {
  std::string title;
  std::string color = kDefaultColor;
  /// How many check-ins make a day complete; the model's own number when absent.
  std::optional<double> target;
  coredatastack::CDGoal::Interval interval = coredatastack::CDGoal::Interval::none;
  std::int16_t times = 0;
};
[[nodiscard]] Answer add(const Session& session, const NewHabit& habit);

/// A habit's day, as a command line names it: today when none is given.
struct HabitDay {
  std::string name;
  std::optional<std::string> on;
};
[[nodiscard]] Answer check(const Session& session, const HabitDay& day, bool alternate);
[[nodiscard]] Answer more(const Session& session, const HabitDay& day);
[[nodiscard]] Answer uncheck(const Session& session, const HabitDay& day);
/// An empty text takes the note away.
[[nodiscard]] Answer note(const Session& session, const HabitDay& day, const std::string& text);

/// Which habits to list: all, or at most one of these.
struct ListFilter {
  /// The active ones of the group of that title.
  std::optional<std::string> group;
  /// The active ones in no group.
  bool inNoGroup = false;
  std::optional<domain::ActivityStatus> status;
};
[[nodiscard]] Answer list(const Session& session, const ListFilter& filter);
[[nodiscard]] Answer last(const Session& session);
/// The year's check-ins as a calendar; this year's when none is given.
[[nodiscard]] Answer year(const Session& session, const std::string& name, std::optional<int> which,
                          bool inColor);

/// The names of the types of check-in.
inline constexpr const char* kStandardType = "standard";
inline constexpr const char* kAlternateType = "alternate";
/// What to count of a habit; a period is open where an end is absent.
struct StatsQuestion {
  std::string name;
  std::optional<std::string> from;
  std::optional<std::string> to;
  std::vector<std::string> types{kStandardType};
};
[[nodiscard]] Answer stats(const Session& session, const StatsQuestion& question);

[[nodiscard]] Answer achieve(const Session& session, const std::string& name);

/// What takes things away for good.
struct Destruction {
  std::string name;
  /// Whether the user need not be asked any more.
  bool isConsentedTo = false;
};
/// Deletes the habit's check-ins.
[[nodiscard]] Answer erase(const Session& session, const Destruction& destruction);
/// Deletes the habit with all that belongs to it.
[[nodiscard]] Answer remove(const Session& session, const Destruction& destruction);

[[nodiscard]] Answer addGroup(const Session& session, const std::string& title);
[[nodiscard]] Answer listGroups(const Session& session);
/// A habit and the group that it goes to; no group when none is given.
struct GroupMove {
  std::string name;
  std::optional<std::string> group;
};
[[nodiscard]] Answer moveToGroup(const Session& session, const GroupMove& move);

/// What to write about a month, this one when none is given; without a text only look.
struct MonthText {
  std::optional<std::string> month;
  std::optional<std::string> text;
};
[[nodiscard]] Answer review(const Session& session, const MonthText& wanted);

inline constexpr const char* kAllDays = "all";
inline constexpr const char* kNoDays = "none";
/// The days of the week as a reminder's days are named, and those two.
[[nodiscard]] std::vector<std::string> namesOfDays();
/// What to change of a habit's reminder; what is absent stays.
struct ReminderChange {
  std::string name;
  std::optional<std::string> at;
  std::vector<std::string> days;
};
[[nodiscard]] Answer remind(const Session& session, const ReminderChange& change);

struct NewWidget {
  std::string name;
  domain::ActivityWidgetSize size = domain::ActivityWidgetSize::small;
  std::vector<std::string> habits;
};
[[nodiscard]] Answer addWidget(const Session& session, const NewWidget& widget);
[[nodiscard]] Answer listWidgets(const Session& session);
[[nodiscard]] Answer removeWidget(const Session& session, const std::string& name);

/// A picture to attach to the check-in of a habit's day.
struct NewPhoto {
  HabitDay day;
  std::string path;
};
[[nodiscard]] Answer addPhoto(const Session& session, const NewPhoto& photo);
[[nodiscard]] Answer listPhotos(const Session& session, const std::string& name);
/// A photo of a day: the first is number 1.
struct PhotoOfDay {
  HabitDay day;
  std::size_t number = 1;
};
struct PhotoExport {
  PhotoOfDay photo;
  std::string path;
};
/// Overwrites nothing.
[[nodiscard]] Answer exportPhoto(const Session& session, const PhotoExport& wanted);
struct PhotoRemoval {
  PhotoOfDay photo;
  /// Whether the user need not be asked any more.
  bool isConsentedTo = false;
};
[[nodiscard]] Answer removePhoto(const Session& session, const PhotoRemoval& removal);

/// A file of another program.
struct ImportFile {
  std::string path;
  /// Whether rows that cannot be read are left out; with one of them nothing is imported otherwise.
  bool skipsBadRows = false;
};
/// Adds the check-ins of days that have none, and the habits that are missing, in one save.
[[nodiscard]] Answer importFile(const Session& session, const ImportFile& file);

/// What to watch, and how.
struct WatchWish {
  std::string path;
  bool mayMigrate = false;
  bool json = false;
};
/// Prints what other processes write to the store, from the moment at which it says that it
/// watches, until it is stopped. Over a store that is not open.
void watch(const WatchWish& wish, const AnswerStream& stream);

/// Which transactions of the history to show; all of them when nothing is said.
struct HistoryWish {
  /// From the beginning of that day on.
  std::optional<std::string> since;
  /// Only what happened to one object, named by its URI.
  std::optional<std::string> object;
};
[[nodiscard]] Answer history(const Session& session, const HistoryWish& wish);

/// Copies the store while others go on writing to it, and says beside the copy what it holds.
/// Overwrites nothing, and leaves nothing of a copy that failed. Over a store that is not open.
[[nodiscard]] Answer backUp(const std::string& storePath, const std::string& file);

/// How to put a backup into the store's place.
struct RestoreWish {
  std::string file;
  /// Say what would become of the store.
  bool isOnlyLookedAt = false;
  /// Whether the user need not be asked any more.
  bool isConsentedTo = false;
};
/// Over a store that is not open. What it held is kept in a backup beside it.
[[nodiscard]] Answer restore(const std::string& storePath, const RestoreWish& wish);

/// The backups among the user's cloud documents.
[[nodiscard]] Answer backups();

/// How to bring an old store to the newest version.
struct MigrationWish {
  /// Say what would be done.
  bool plansOnly = false;
  /// Do it with copies.
  bool rehearses = false;
  /// The directory that holds the photos of a store from elsewhere; the user's own when absent.
  std::optional<std::string> photos;

  [[nodiscard]] bool isOnlyLookedAt() const { return plansOnly || rehearses; }
};
/// Over a store that is not open. The wish is the consent.
[[nodiscard]] Answer migrate(const std::string& path, const MigrationWish& wish);

}  // namespace habits
