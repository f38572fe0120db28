#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace benchmarks {

/// How much each benchmark works with.
struct Workload {
  int activities = 100;
  /// Check-ins of each activity in the stores that are read.
  int days = 1000;
  int savesInARound = 20;
  int queriesInARound = 1000;
  int opensInARound = 9;
  int raisedCounts = 10000;
  int erasedCheckins = 10000;
  std::int64_t foreignTransactions = 10000;
  std::int64_t ownTransactions = 1000000;
  int photos = 10000;
  std::size_t photoBytes = 200'000;
  /// Check-ins in the stores that are migrated, and in those whose readers' memory is measured.
  int checkinsInMemory = 1000000;
  int processesInARound = 5;
  /// Photos in files beside the stores that take them in, and the size of each.
  std::size_t photoFiles = 250;
  std::size_t photoFileBytes = 2'000'000;

  /// Enough to see that both sides give the same answers.
  [[nodiscard]] static Workload tiny() {
    return {.activities = 3,
            .days = 40,
            .savesInARound = 3,
            .queriesInARound = 20,
            .opensInARound = 1,
            .raisedCounts = 30,
            .erasedCheckins = 30,
            .foreignTransactions = 30,
            .ownTransactions = 300,
            .photos = 60,
            .photoBytes = 5000,
            .checkinsInMemory = 600,
            .processesInARound = 1,
            .photoFiles = 5,
            .photoFileBytes = 1000};
  }
};

/// One row of the check-ins, the same for both sides. Activities count from 1.
struct CheckinRecord {
  /// 0 for one that is not stored.
  std::int64_t id = 0;
  std::int64_t activity = 0;
  double count = 0;
  std::optional<double> createdDate;
  std::optional<std::string> date;
  std::optional<std::string> memo;
  std::optional<double> modifiedDate;
  std::int16_t type = 0;
};

/// The text of a day, counted from the first one of all stores.
[[nodiscard]] std::string dayText(int day);
/// Noon in UTC of that day, in seconds since 1970.
[[nodiscard]] std::int64_t noonOf(int day);
/// What an activity's day holds: a memo on every eighth, now and then a count above one.
[[nodiscard]] CheckinRecord checkinOn(int activity, int day);

/// An activity and days that a query asks for; the n-th is always the same, and they look random.
struct Question {
  std::int64_t activity;
  int firstDay;
  int lastDay;
};
[[nodiscard]] Question question(const Workload& workload, std::uint64_t number);

}  // namespace benchmarks
