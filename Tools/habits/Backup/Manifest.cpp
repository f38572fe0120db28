#include "Tools/habits/Backup/Manifest.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/Date.h"
#include "Tools/habits/History/ShownChange.h"
#include "Tools/habits/NewFile.h"

namespace habits {

using foundation::FileManager;
using Json = nlohmann::ordered_json;

namespace {
constexpr const char* kFormat = "habits-backup/1";
}  // namespace

std::string manifestPath(const std::string& backup) { return backup + ".json"; }

void writeManifest(const StoreContent& content, const std::string& backup) {
  const auto newest = content.newestCheckin();
  const Json manifest{{"format", kFormat},
                      {"version", content.version},
                      {"identifier", content.identifier},
                      {"rows", content.rows},
                      {"newestCheckin", newest ? Json(*newest) : Json()},
                      {"digest", content.digest},
                      {"date", timeForScripts(foundation::Date::now())}};
  const std::string text = manifest.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  writeNewFile(manifestPath(backup), foundation::Data::fromText(text).bytes());
}

std::optional<std::string> digestInManifest(const std::string& backup) {
  const std::string path = manifestPath(backup);
  if (!FileManager::defaultManager().itemKind(foundation::URL::fileURL(path))) return std::nullopt;
  const Json manifest = Json::parse(FileManager::defaultManager().contents(path).text(), nullptr,
                                    /*allow_exceptions=*/false);
  const bool isOurs = manifest.is_object() && manifest.value("format", Json()) == kFormat &&
                      manifest.value("digest", Json()).is_string();
  if (!isOurs) {
    throw std::runtime_error(path +
                             " does not say what the backup holds. If the backup is to be "
                             "trusted all the same, move that file away; nothing was changed.");
  }
  return manifest["digest"].get<std::string>();
}

}  // namespace habits
