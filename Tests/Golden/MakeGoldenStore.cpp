#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Internal/RandomSource.h"
#include "Tests/Golden/GoldenStore.h"
#include "Tests/Golden/OldGoldenStore.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/StoreDump.h"
#include "Tools/storegen/SeededStore.h"

namespace {

namespace fs = std::filesystem;

/// That of version 1. Seeds were tried until active, achieved and archived activities came out.
constexpr std::uint64_t kFirstSeed = 41;

/// Whether there is nothing of that name yet.
bool isToMake(const fs::path& path) {
  const bool isThere = fs::exists(path);
  if (isThere) std::printf("%s is there already and is kept.\n", path.filename().c_str());
  return !isThere;
}

void makeCurrentStore(const fs::path& directory) {
  const fs::path store = directory / "Tessaline 7.sqlite";
  if (!isToMake(store)) return;
  const auto container = golden::opened(store.string());
  const auto context = container->newBackgroundContext();
  context->setTransactionAuthor("golden");
  context->performBlockAndWait([&] {
    golden::fill(*context);
    std::ofstream(directory / "Tessaline 7.txt") << support::dumpOf(*context);
  });
}

/// A small store of an old version.
void makeOldStore(const fs::path& store, std::uint64_t seed, std::string_view version) {
  storegen::makeSeededStore(store.string(), coredatastack::model(version),
                            {.seed = seed,
                             .activities = 5,
                             .days = 4,
                             .photos = 4,
                             .photoBytes = 0,
                             .absentPercent = 20,
                             .container = {}});
}

}  // namespace

/// Makes the golden stores, and the texts of what they hold and become, that the directory given
/// does not have yet: what was kept once is never made anew.
int main(int count, char** arguments) try {
  if (count != 2) {
    std::fputs("usage: make-golden-store DIRECTORY\n", stderr);
    return 2;
  }
  const fs::path directory = fs::absolute(arguments[1]);
  const foundation::ManualClock clock(golden::kMoment);
  const foundation::SeededRandomSource random(7);
  const support::ScopedSettings settings("en_US", "UTC");
  makeCurrentStore(directory);
  std::uint64_t seed = kFirstSeed;
  for (const auto& version : golden::oldVersions()) {
    const fs::path store = directory / golden::storeName(version);
    if (isToMake(store)) makeOldStore(store, seed, version.rawValue());
    const fs::path content = directory / golden::contentName(version);
    if (isToMake(content)) std::ofstream(content) << golden::contentOf(store, version);
    const fs::path migrated = directory / golden::migratedName(version);
    if (isToMake(migrated)) std::ofstream(migrated) << golden::migratedContentOf(store, version);
    ++seed;
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
