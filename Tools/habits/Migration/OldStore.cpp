#include "Tools/habits/Migration/OldStore.h"

#include <chrono>
#include <stdexcept>
#include <utility>

#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Tools/habits/Consent.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Migration/Interruption.h"
#include "Tools/habits/Migration/ScratchSpace.h"
#include "Tools/habits/Migration/StoreReading.h"
#include "Tools/habits/Migration/WatchedWork.h"
#include "Tools/habits/Session.h"
#include "Tools/habits/StackSetup.h"

namespace habits {

using coredatastack::CoreDataStack;
using foundation::Error;
using foundation::TemporaryDirectory;
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

/// Empties the temporary directory when the migration has ended, however that was: what lies there
/// is as private as the store. The stack empties it before.
class Clearance {
 public:
  explicit Clearance(URL store) : store_(std::move(store)) { requireApartFromPhotos(directory_); }
  Clearance(const Clearance&) = delete;
  Clearance& operator=(const Clearance&) = delete;
  ~Clearance() {
    try {
      const auto guard = directory_.lock(std::chrono::milliseconds::zero());
      directory_.removeContents(store_);
    } catch (const Error&) {
      // Whoever has it, or uses it next, empties it first, and says so if that fails.
    }
  }

 private:
  const URL store_;
  const TemporaryDirectory directory_ = TemporaryDirectory::ofProcess();
};

}  // namespace

std::optional<Version> olderVersion(const URL& store) {
  const auto metadata = coredatastack::storeMetadata(store);
  // Every start comes by here, mostly with a new store: one model is enough to tell.
  if (!metadata || newestModel()->isConfiguration(std::nullopt, *metadata)) return std::nullopt;
  return Version::storeVersion(*metadata);
}

void requireNewest(const URL& store) { closeStores(*contextOver(store, newestModel(), true)); }

void bringForward(CoreDataStack& stack, const std::string& path) {
  const Interruption interruption;
  try {
    const Clearance clearance(URL::fileURL(path));
    doWatched("Migrating", [&] { setUp(stack); });
  } catch (const Error& error) {
    std::string text = explained(error, path);
    if (error.domain() == foundation::kPosixErrorDomain) {
      text +=
          "\n\"habits migrate --rehearse\" tries it on a copy and shows which files are missing.";
    }
    throw std::runtime_error(text);
  }
}

void bringForwardWithConsent(CoreDataStack& stack, const std::string& path, bool isConsentedTo) {
  const URL store = URL::fileURL(path);
  const auto version = olderVersion(store);
  if (!version) {
    requireNewest(store);
    return setUp(stack);  // Another process brought it forward meanwhile.
  }
  if (!isConsentedTo) requireConsent(path, *version);
  bringForward(stack, path);
}

}  // namespace habits
