#include "Fuzz/Support/CommittedLog.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "Fuzz/Support/SeedStore.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreDump.h"
#include "Tests/Support/StoreFiles.h"

namespace fuzz {

using coredata::NSManagedObjectContext;
using coredatastack::CoreDataMigrationVersion;

namespace {

constexpr std::size_t kHead = 32;
constexpr std::size_t kFrame = 24 + 4096;

/// The bytes of a log that are in use: frames with the salts of its head. Behind them lies room.
std::string usedPart(const std::string& log) {
  const auto saltsAt = [&](std::size_t place) { return std::string_view(log).substr(place, 8); };
  std::size_t end = std::min(log.size(), kHead);
  while (end + kFrame <= log.size() && saltsAt(end + 8) == saltsAt(16)) end += kFrame;
  return log.substr(0, end);
}

/// Something else each time, in rows of several tables.
void change(NSManagedObjectContext& context, std::size_t number) {
  const std::string text = "commit " + std::to_string(number);
  context.insertNewObject("Group")->setValue(text, "title");
  const auto activities = support::allObjects(context, "Activity");
  activities[number % activities.size()]->setValue(text, "title");
  context.save();
}

}  // namespace

std::string contentOf(const foundation::URL& store) {
  const auto context = support::contextOver(store, CoreDataMigrationVersion::newest());
  return context->performBlockAndWait([&] { return support::dumpOf(*context); });
}

CommittedLog::CommittedLog() : store_(seedStore(CoreDataMigrationVersion::newest())) {
  constexpr std::size_t kCommits = 4;
  const support::TemporaryDirectory directory;
  const auto path = directory.path() / "Model.sqlite";
  support::putFiles({{"Model.sqlite", store_}}, directory.path());
  auto context = support::contextOver(foundation::URL::fileURL(path.string()),
                                      CoreDataMigrationVersion::newest());
  context->performBlockAndWait([&] {
    for (std::size_t i = 0; i <= kCommits; ++i) {
      if (i > 0) change(*context, i);
      log_ = usedPart(support::bytesOf(path.string() + "-wal"));
      commits_.push_back({log_.size(), support::dumpOf(*context)});
    }
  });
  if (support::bytesOf(path) != store_ || commits_[1].end <= kHead)
    throw std::runtime_error("the commits are not in the log");
  context = nullptr;
  foldedStore_ = support::bytesOf(path);
  if (foldedStore_ == store_) throw std::runtime_error("the log was not folded");
}

const std::string& CommittedLog::contentBehind(std::size_t equalBytes) const {
  std::size_t last = 0;
  while (last + 1 < commits_.size() && commits_[last + 1].end <= equalBytes) ++last;
  return commits_[last].content;
}

}  // namespace fuzz
