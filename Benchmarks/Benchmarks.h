#pragma once

#include "Benchmarks/Harness.h"

namespace benchmarks {

/// One check-in a save.
[[nodiscard]] Comparison checkinAtFullDurability();
[[nodiscard]] Comparison checkinAtNormalDurability();
/// A thousand days of a hundred habits in one save.
[[nodiscard]] Comparison importInOneSave();
/// A file that another program exported, taken in by `habits` in a process of its own.
[[nodiscard]] Comparison importOfAFile();
/// Once more on each of many days, in one save.
[[nodiscard]] Comparison raisedCounts();
/// All check-ins of a habit deleted in one go.
[[nodiscard]] Comparison erasing();
/// What others saved, read from the history with every change.
[[nodiscard]] Comparison historyPass();
/// The question whether there is any, where everything since is one's own.
[[nodiscard]] Comparison nothingNewAfterFew();
[[nodiscard]] Comparison nothingNewAfterMany();
/// A long history deleted, and how long another writer had to wait at most meanwhile.
[[nodiscard]] Comparison deletionOfHistory();
[[nodiscard]] Comparison waitForDeletion();
/// All check-ins in the order of their days, every attribute read.
[[nodiscard]] Comparison fetchOfEverything();
/// Whether a day has a check-in, each time asked in a turn of the context's own.
[[nodiscard]] Comparison dayByDay();
/// The same with all questions in one turn.
[[nodiscard]] Comparison daysInOneBlock();
/// How many check-ins a habit has from one day to another.
[[nodiscard]] Comparison countsOfRanges();
/// The sum of a habit's counts in a month.
[[nodiscard]] Comparison sumsOfMonths();
/// The same with all questions in one turn.
[[nodiscard]] Comparison sumsOfMonthsInOneBlock();
/// The latest check-in of each habit.
[[nodiscard]] Comparison latestCheckins();
/// Opening a large store, to the answer to the first question.
[[nodiscard]] Comparison openingToFirstQuery();
/// From the construction of a stack over a large store of the newest version to the first object,
/// in a process that has done nothing before: a start happens once.
[[nodiscard]] Comparison setupToFirstObject();
/// The peak of memory while a million check-ins are fetched and read.
[[nodiscard]] Comparison memoryOfEverything();
/// A process that opens a store, checks in once and ends.
[[nodiscard]] Comparison processOfOneCheckin();
/// A store of version 1 with a million check-ins, brought to the newest version.
[[nodiscard]] Comparison sixSteps();
/// The peak of memory of a process that does that.
[[nodiscard]] Comparison memoryOfSixSteps();
/// A store of version 6 that takes in the files of its photos.
[[nodiscard]] Comparison foldingOfPhotos();
[[nodiscard]] Comparison memoryOfFolding();

/// A list of many photos of which some pages are looked at: time and memory of a process of its
/// own. Throws when the memory passes what is allowed for any number of photos.
[[nodiscard]] std::vector<Comparison> photos();
/// Each question of the application's interface.
[[nodiscard]] std::vector<Comparison> requirements();
/// What each of them costs in stores of a hundred times a hundred check-ins, of ten and of a
/// hundred times as many: a table for people, the growth from the first to the last at its end.
void printGrowth(const Workload& smallest);

}  // namespace benchmarks
