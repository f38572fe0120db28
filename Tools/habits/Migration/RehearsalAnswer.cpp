#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/PhotoDirectories.h"
#include "Foundation/Files/FileManager.h"
#include "Tools/habits/Migration/Rehearsal.h"
#include "Tools/habits/Table.h"

namespace habits {

using foundation::Value;
using foundation::ValueDictionary;
using foundation::ValueList;

namespace {

std::string cell(const std::optional<std::int64_t>& number) {
  return number ? std::to_string(*number) : "-";
}

std::string tableOf(const std::vector<EntityBalance>& entities) {
  Table table;
  table.add({"Entity", "Rows before", "Rows after", "Values filled in"});
  for (const EntityBalance& entity : entities) {
    table.add({entity.name, cell(entity.rowsBefore), cell(entity.rowsAfter),
               std::to_string(entity.valuesFilledIn)});
  }
  return table.text();
}

Value dataOf(const std::optional<std::int64_t>& number) {
  return number ? Value(*number) : Value();
}

Value dataOf(const EntityBalance& entity) {
  return ValueDictionary{{"entity", entity.name},
                         {"rowsBefore", dataOf(entity.rowsBefore)},
                         {"rowsAfter", dataOf(entity.rowsAfter)},
                         {"valuesFilledIn", entity.valuesFilledIn}};
}

std::string photoDirectory() {
  const auto container =
      foundation::FileManager::defaultManager().containerURL(coredatastack::appGroupIdentifier());
  if (!container) return "the directory of photos";
  return container->appendingPathComponent(coredatastack::kPhotoDirectory)
      .filePath()
      .value_or(container->absoluteString());
}

std::string troubleOf(const Balance& balance, const std::string& storePath) {
  const std::size_t number = balance.filesMissing.size();
  return std::to_string(number) + (number == 1 ? " photo" : " photos") + " of " + storePath +
         " cannot be read in " + photoDirectory() +
         ": the migration would stop there.\nPut the files there, name another directory with "
         "--photos, or delete the photos with the program that wrote the store.";
}

}  // namespace

Answer answerOf(const Balance& balance, const std::string& storePath) {
  std::string text = "Rehearsed on a copy of " + storePath +
                     "; the store and its photos were left as they are.\n\n" +
                     tableOf(balance.entities) +
                     "\n\nPhotos folded into the store: " + std::to_string(balance.photosFolded) +
                     "\nPhoto files missing: " + std::to_string(balance.filesMissing.size());
  ValueList entities;
  for (const EntityBalance& entity : balance.entities) entities.push_back(dataOf(entity));
  ValueList missing;
  for (const std::string& name : balance.filesMissing) {
    text += "\n  " + (name.empty() ? "(a photo without a name)" : withoutControls(name));
    missing.emplace_back(name);
  }
  Answer answer{std::move(text), ValueDictionary{{"store", storePath},
                                                 {"entities", std::move(entities)},
                                                 {"photosFolded", balance.photosFolded},
                                                 {"filesMissing", std::move(missing)}}};
  if (!balance.filesMissing.empty()) answer.trouble = troubleOf(balance, storePath);
  return answer;
}

}  // namespace habits
