#include <filesystem>
#include <stdexcept>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreBackup.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/UUID.h"
#include "Tools/habits/Backup/Comparison.h"
#include "Tools/habits/Backup/Manifest.h"
#include "Tools/habits/Backup/StoreDuplicate.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Consent.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Migration/Interruption.h"
#include "Tools/habits/Migration/WatchedWork.h"

namespace habits {

using coredata::StoreErrorCode;
using foundation::Error;
using foundation::FileManager;
using foundation::URL;
using foundation::ValueDictionary;

namespace {

bool is(const Error& error, StoreErrorCode code) {
  return error.domain() == foundation::kCocoaErrorDomain &&
         error.code() == static_cast<std::int64_t>(code);
}

StoreContent contentOfBackup(const std::string& backup, const std::string& storePath) {
  try {
    return soundContent(URL::fileURL(backup));
  } catch (const Error& error) {
    throw std::runtime_error("The backup " + backup + " cannot be used: " + error.message() +
                             "\nThe store " + storePath + " was left as it was.");
  }
}

void requireDigest(const StoreContent& content, const std::string& backup) {
  const auto digest = digestInManifest(backup);
  if (digest && *digest != content.digest) {
    throw std::runtime_error("The backup " + backup + " does not hold what " +
                             manifestPath(backup) +
                             " says: one of them was changed. Nothing was restored.");
  }
}

Comparison compared(const std::string& backup, const std::string& storePath) {
  Comparison comparison{contentOfBackup(backup, storePath), std::nullopt, ""};
  requireDigest(comparison.backup, backup);
  if (!FileManager::defaultManager().itemKind(URL::fileURL(storePath))) return comparison;
  try {
    comparison.live = soundContent(URL::fileURL(storePath));
  } catch (const Error& error) {
    // A restore is what helps against that.
    comparison.trouble = error.message();
  }
  return comparison;
}

/// Copies the store to a new file beside it and says which; none where there is nothing to copy.
std::optional<std::string> keptBeside(const std::string& storePath) {
  if (!FileManager::defaultManager().itemKind(URL::fileURL(storePath))) return std::nullopt;
  for (int number = 1;; ++number) {
    std::string kept = storePath + "-before-restore-" + std::to_string(number) + ".sqlite";
    if (std::filesystem::exists(std::filesystem::symlink_status(kept))) continue;
    try {
      coredata::backUpStore(URL::fileURL(storePath), URL::fileURL(kept));
      return kept;
    } catch (const Error& error) {
      // No database at all: the restore itself sets such a file aside.
      if (is(error, StoreErrorCode::notAStore)) return std::nullopt;
      // Somebody took the name meanwhile.
      if (!is(error, StoreErrorCode::exists)) throw;
    }
  }
}

std::string keptText(const std::optional<std::string>& kept) {
  return kept ? "\nWhat the store held before lies in " + *kept + "." : "";
}

/// The whole backup as one file: a program that opened it may have left the newest part in a log.
foundation::Data bytesOf(const std::string& backup) {
  const URL directory = FileManager::defaultManager().temporaryDirectory();
  const std::string path =
      directory.appendingPathComponent(foundation::UUID().uuidString()).filePath().value();
  const StoreDuplicate copy(backup, path);
  return FileManager::defaultManager().contents(path);
}

void replace(const std::string& storePath, const std::string& backup) {
  const Interruption interruption;
  const foundation::Data bytes = bytesOf(backup);
  coredatastack::Failure failure;
  const auto stack = stackOver(storePath);
  doWatched("Restoring", [&] {
    stack->restoreFromDropbox(bytes, [&](const auto& told) { failure = told; });
    if (failure) failure->raise();
  });
}

std::string questionOf(const Comparison& comparison, const std::string& backup,
                       const std::string& storePath) {
  const std::size_t lost = comparison.lost().size();
  return "Put " + backup + " in the place of " + storePath + "?" +
         (lost == 0 ? "" : " " + checkinsText(lost) + " of it would be lost.");
}

}  // namespace

Answer restore(const std::string& storePath, const RestoreWish& wish) {
  const std::string backup = std::filesystem::absolute(wish.file).string();
  if (!FileManager::defaultManager().itemKind(URL::fileURL(backup))) {
    throw Refusal("There is no backup at " + backup + ".");
  }
  const Comparison comparison = compared(backup, storePath);
  if (wish.isOnlyLookedAt) return {comparison.text(), comparison.data()};
  requireConsent(wish.isConsentedTo,
                 comparison.text() + "\n\n" + questionOf(comparison, backup, storePath));
  const auto kept = keptBeside(storePath);
  try {
    replace(storePath, backup);
  } catch (const Error& error) {
    throw std::runtime_error(explained(error, storePath) + keptText(kept));
  }
  const Session reopened(storePath, false);
  ValueDictionary data = comparison.data();
  data["kept"] = kept;
  return {"Restored " + checkinsText(comparison.backup.checkins.size()) + " from " + backup + "." +
              keptText(kept),
          std::move(data)};
}

}  // namespace habits
