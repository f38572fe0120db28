#include "Tools/habits/Migration/OldStore.h"

#include <stdexcept>

#include "CoreDataStack/CoreDataMigrator.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Tools/habits/Consent.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Migration/Interruption.h"
#include "Tools/habits/Migration/ScratchSpace.h"
#include "Tools/habits/Migration/WatchedWork.h"
#include "Tools/habits/Session.h"

namespace habits {

using foundation::Error;
using foundation::URL;
using Version = coredatastack::CoreDataMigrationVersion;

namespace {

std::string described(const std::string& path, const Version& version) {
  return path + " was written by an older version of the program: it is of version " +
         std::string(version.rawValue()) + ", and this program needs " +
         std::string(Version::newest().rawValue()) + ".";
}

void requireConsent(const std::string& path, const Version& version) {
  const std::string what = described(path, version);
  const auto reply = askedInTerminal(what +
                                     "\nBring it to the new version? Older programs cannot "
                                     "read it then.");
  if (!reply) {
    throw std::runtime_error(
        what +
        " It was left as it is.\nSay --migrate to bring it to the new version first, or use "
        "\"habits migrate\": --plan shows what that does, --rehearse tries it on a copy.");
  }
  if (!*reply) throw Refusal("Nothing was changed.");
}

}  // namespace

std::optional<Version> olderVersion(const URL& store) {
  const auto metadata = coredatastack::storeMetadata(store);
  // Every start comes by here, mostly with a new store: one model is enough to tell.
  if (!metadata || newestModel()->isConfiguration(std::nullopt, *metadata)) return std::nullopt;
  return Version::storeVersion(*metadata);
}

void bringForward(const URL& store, const std::string& path) {
  const Interruption interruption;
  try {
    const ScratchSpace scratch(store);
    doWatched("Migrating",
              [&] { coredatastack::CoreDataMigrator().migrateStore(store, Version::newest()); });
  } catch (const Error& error) {
    std::string text = explained(error, path);
    if (error.domain() == foundation::kPosixErrorDomain) {
      text +=
          "\n\"habits migrate --rehearse\" tries it on a copy and shows which files are missing.";
    }
    throw std::runtime_error(text);
  }
}

void bringForwardWithConsent(const std::string& path, bool isConsentedTo) {
  const URL store = URL::fileURL(path);
  const auto version = olderVersion(store);
  if (!version) return;
  if (!isConsentedTo) requireConsent(path, *version);
  bringForward(store, path);
}

}  // namespace habits
