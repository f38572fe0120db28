#include "Tests/Reliability/Damage/StoreSample.h"

#include <unistd.h>

#include <functional>
#include <sstream>
#include <stdexcept>

#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/StoreDump.h"
#include "Tools/storecheck/StoreCheck.h"
#include "Tools/storegen/SeededStore.h"

namespace damage {

namespace fs = std::filesystem;
using coredata::NSManagedObjectContext;
using coredatastack::CoreDataMigrationVersion;

namespace {

storegen::SeededContent content(std::uint64_t seed) {
  return {.seed = seed,
          .activities = 4,
          .days = 3,
          .photos = 2,
          .photoBytes = 9000,
          .absentPercent = 10,
          .container = {}};
}

State stateOf(const foundation::URL& store, NSManagedObjectContext& context) {
  return {storecheck::check(store).contentHash.value(), seenBy(context)};
}

/// Something else each time, in rows of several tables.
void change(NSManagedObjectContext& context, std::size_t number) {
  const std::string text = "commit " + std::to_string(number);
  context.insertNewObject("Group")->setValue(text, "title");
  const auto activities = support::allObjects(context, "Activity");
  activities[number % activities.size()]->setValue(text, "title");
}

}  // namespace

std::string seenBy(NSManagedObjectContext& context) {
  return std::to_string(std::hash<std::string>{}(support::dumpOf(context)));
}

StoreSample::StoreSample(std::uint64_t seed, std::size_t commits, End end) {
  if (!support::runInChild([&](const support::Acknowledgements& parent) {
         storegen::makeSeededStore(
             path().string(), coredatastack::model(CoreDataMigrationVersion::newest().rawValue()),
             content(seed));
         parent.send("made");
       }).acknowledged.empty()) {
    commitInChild(commits, end);
    files_ = support::filesIn(place_.directory());
    return;
  }
  throw std::runtime_error("no sample was made");
}

void StoreSample::commitInChild(std::size_t commits, End end) {
  const support::TemporaryDirectory aside;
  const auto outcome = support::runInChild([&](const support::Acknowledgements& parent) {
    const auto context =
        support::contextOver(place_.storeURL(), CoreDataMigrationVersion::newest());
    context->performBlockAndWait([&] {
      for (std::size_t i = 0; i <= commits; ++i) {
        if (i > 0) {
          change(*context, i);
          context->save();
        }
        const State state = stateOf(place_.storeURL(), *context);
        parent.send(state.content + ' ' + state.seen);
        const fs::path copy = aside.path() / std::to_string(i);
        fs::create_directory(copy);
        for (const char* suffix : {"", "-wal"}) {
          if (fs::exists(path().string() + suffix))
            fs::copy_file(path().string() + suffix, copy / (kStore + suffix));
        }
      }
    });
    if (end == End::killed) _exit(0);
  });
  for (const std::string& line : outcome.acknowledged) {
    State state;
    std::istringstream(line) >> state.content >> state.seen;
    states_.push_back(std::move(state));
    filesAfter_.push_back(support::filesIn(aside.path() / std::to_string(filesAfter_.size())));
  }
  if (states_.size() != commits + 1) throw std::runtime_error("the sample was not committed to");
}

fs::path StoreSample::path() const { return place_.directory() / kStore; }

const std::string& StoreSample::bytes(const std::string& suffix) const {
  return files_.at(kStore + suffix);
}

void StoreSample::layWith(const support::Files& changed) const {
  support::Files files = files_;
  for (const auto& [name, bytes] : changed) files.insert_or_assign(name, bytes);
  support::putFiles(files, place_.directory());
}

}  // namespace damage
