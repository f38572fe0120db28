#include <filesystem>

#include "Foundation/Files/FileManager.h"
#include "Tools/habits/Backup/Manifest.h"
#include "Tools/habits/Backup/StoreDuplicate.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Migration/Interruption.h"
#include "Tools/habits/Progress.h"

namespace habits {

using foundation::FileManager;
using foundation::URL;
using foundation::ValueDictionary;

namespace {

void requireNothingAt(const std::string& path) {
  if (std::filesystem::exists(std::filesystem::symlink_status(path))) {
    throw Refusal("There is something at " + path + " already, and nothing is overwritten.");
  }
}

ValueDictionary rowsData(const StoreContent& content) {
  ValueDictionary rows;
  for (const auto& [entity, number] : content.rows) rows[entity] = number;
  return rows;
}

}  // namespace

Answer backUp(const std::string& storePath, const std::string& file) {
  if (file.empty()) throw UsageError("A backup needs the name of a file.");
  const std::string backup = std::filesystem::absolute(file).string();
  if (!FileManager::defaultManager().itemKind(URL::fileURL(storePath))) {
    throw Refusal("There is no store at " + storePath + ".");
  }
  requireNothingAt(backup);
  requireNothingAt(manifestPath(backup));

  const Interruption interruption;
  const Progress progress("Copying", 1);
  StoreDuplicate copy(storePath, backup);
  Interruption::stopIfWanted();
  progress.goOnWith("Checking the copy");
  const StoreContent content = soundContent(URL::fileURL(backup));
  Interruption::stopIfWanted();
  writeManifest(content, backup);
  copy.keep();
  return {"Backed up " + checkinsText(content.checkins.size()) + " to " + backup + ".",
          ValueDictionary{{"file", backup},
                          {"manifest", manifestPath(backup)},
                          {"version", content.version},
                          {"identifier", content.identifier},
                          {"rows", rowsData(content)},
                          {"newestCheckin", content.newestCheckin()},
                          {"digest", content.digest}}};
}

}  // namespace habits
