#include "Tools/habits/Migration/PlannedMigration.h"

#include <algorithm>
#include <numeric>
#include <ranges>

#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/MigrationSpace.h"
#include "CoreDataStack/PhotoDirectories.h"
#include "Foundation/Files/FileManager.h"
#include "Tools/habits/Migration/StoreReading.h"

namespace habits {

using coredatastack::CoreDataMigrationStep;
using foundation::FileManager;
using foundation::URL;
using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;
using Rows = std::map<std::string, std::int64_t>;

namespace {

std::string versionOf(const coredata::NSManagedObjectModel& model) {
  return *model.versionIdentifiers().begin();
}

Rows rowsIn(const URL& store, const CoreDataMigrationStep& firstStep) {
  const StoreReading reading(store, firstStep.sourceModel);
  Rows rows;
  for (const auto* entity : firstStep.sourceModel->entities()) {
    rows[entity->name()] = reading.rows(entity->name());
  }
  return rows;
}

/// What a step makes of the rows, as far as rows become rows.
Rows rowsAfter(const Rows& before, const std::vector<EntityLink>& links) {
  Rows after;
  for (const EntityLink& link : links) {
    if (link.before == nullptr || link.after == nullptr) continue;
    const auto found = before.find(link.before->name());
    if (found != before.end()) after[link.after->name()] += found->second;
  }
  return after;
}

PlannedSpace spaceIn(const URL& directory, std::uint64_t needed) {
  return {directory.filePath().value_or(directory.absoluteString()), needed,
          FileManager::defaultManager().availableCapacity(directory)};
}

std::int64_t sum(const Rows& rows) {
  const auto numbers = std::views::values(rows);
  return std::accumulate(numbers.begin(), numbers.end(), std::int64_t{0});
}

std::string counted(std::int64_t number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

Value dataOf(const SchemaChange& change) {
  ValueDictionary data{{"change", nameOf(change.kind)}, {"what", change.what}};
  if (!change.from.empty()) data["from"] = change.from;
  if (!change.to.empty()) data["to"] = change.to;
  return data;
}

Value dataOf(const PlannedStep& step) {
  ValueList changes;
  for (const SchemaChange& change : step.changes) changes.push_back(dataOf(change));
  ValueDictionary rows;
  for (const auto& [entity, number] : step.rows) rows[entity] = number;
  return ValueDictionary{{"from", step.from},
                         {"to", step.to},
                         {"mapping", step.isInferred ? "inferred" : "explicit"},
                         {"changes", std::move(changes)},
                         {"rows", std::move(rows)}};
}

Value dataOf(const PlannedSpace& space) {
  return ValueDictionary{{"directory", space.directory},
                         {"needed", static_cast<std::int64_t>(space.needed)},
                         {"available", static_cast<std::int64_t>(space.available)}};
}

std::string textOf(const PlannedStep& step) {
  std::string text = step.from + " to " + step.to + ", " +
                     (step.isInferred ? "inferred" : "explicit") + ", " +
                     counted(sum(step.rows), "row");
  for (const SchemaChange& change : step.changes) text += "\n  " + textOf(change);
  return text;
}

std::string textOf(const PlannedSpace& space) {
  return counted(static_cast<std::int64_t>(space.needed), "byte") + " in " + space.directory +
         ", where " + std::to_string(space.available) + " are free" +
         (space.needed > space.available ? ": not enough" : "");
}

}  // namespace

std::uint64_t spaceForSteps(const URL& store, const Steps& steps) {
  std::uint64_t space = 0;
  for (const CoreDataMigrationStep& step : steps) {
    space = std::max(space, coredatastack::spaceForStep(store, step));
  }
  // From the second step on, what the one before made lies there too.
  return steps.size() > 1 ? space + coredatastack::spaceOfStore(store) : space;
}

std::uint64_t spaceForNewStore(const URL& store) {
  const auto container =
      FileManager::defaultManager().containerURL(coredatastack::appGroupIdentifier());
  return coredatastack::spaceOfStore(store) +
         (container ? coredatastack::spaceOfPhotos(*container) : 0);
}

PlannedMigration planned(const URL& store, const Steps& steps) {
  PlannedMigration plan;
  Rows rows = rowsIn(store, steps.front());
  for (const CoreDataMigrationStep& step : steps) {
    const std::vector<EntityLink> links = linksOf(step);
    Rows after = rowsAfter(rows, links);
    plan.steps.push_back({versionOf(*step.sourceModel), versionOf(*step.destinationModel),
                          step.isInferred, changesOf(links), std::move(rows)});
    rows = std::move(after);
  }
  const URL temporary = FileManager::defaultManager().temporaryDirectory();
  plan.space = {spaceIn(temporary, spaceForSteps(store, steps)),
                spaceIn(store.deletingLastPathComponent(), spaceForNewStore(store))};
  return plan;
}

Answer answerOf(const PlannedMigration& plan, const std::string& storePath) {
  std::string text = storePath + " is of version " + plan.steps.front().from + ". " +
                     counted(static_cast<std::int64_t>(plan.steps.size()), "step") + " to " +
                     plan.steps.back().to + ":\n";
  ValueList steps;
  for (const PlannedStep& step : plan.steps) {
    text += "\n" + textOf(step) + "\n";
    steps.push_back(dataOf(step));
  }
  text += "\nFree space needed:";
  ValueList space;
  for (const PlannedSpace& one : plan.space) {
    text += "\n  " + textOf(one);
    space.push_back(dataOf(one));
  }
  return {std::move(text), ValueDictionary{{"store", storePath},
                                           {"from", plan.steps.front().from},
                                           {"to", plan.steps.back().to},
                                           {"steps", std::move(steps)},
                                           {"space", std::move(space)}}};
}

}  // namespace habits
