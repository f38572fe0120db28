// What lies beside a store is missing, cut, older, or another store's.

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/Reliability/Damage/CaseRunner.h"
#include "Tests/Reliability/Damage/DamagedStoreUse.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/TemporaryStore.h"

namespace damage {

namespace {

constexpr std::size_t kFrame = kFrameHeader + kPage;
constexpr std::size_t kCommits = 5;

void require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

/// Whoever reads finds exactly this state.
void requireState(const Use& use, const State& state) {
  require(use.seen == state.seen, "the application did not see the last commit that is there");
  require(use.looked == state.content, "a look did not see the last commit that is there");
  require(use.salvaged == state.content, "not the last commit that is there was salvaged");
  require(use.isSaved, "the store cannot be saved to");
}

/// How many commits are whole in the first bytes of a log.
std::size_t commitsIn(std::string_view log) {
  std::size_t commits = 0;
  std::string_view salts;
  for (std::size_t at = kLogHeader; at + kFrame <= log.size(); at += kFrame) {
    // Frames of an earlier log have other salts and do not count.
    if (salts.empty()) salts = log.substr(16, 8);
    if (log.substr(at + 8, 8) != salts) break;
    const auto pages = log.substr(at + 4, 4);
    if (std::ranges::any_of(pages, [](char byte) { return byte != 0; })) ++commits;
  }
  return commits;
}

/// Where a log is cut: around the ends of its frames.
std::vector<std::size_t> cuts(const std::string& log) {
  std::vector<std::size_t> result{0, 1, kLogHeader - 1, kLogHeader, kLogHeader + 1};
  for (std::size_t end = kLogHeader + kFrame; end <= log.size(); end += kFrame) {
    const std::string_view salts = std::string_view(log).substr(16, 8);
    if (std::string_view(log).substr(end - kFrame + 8, 8) != salts) break;
    for (const std::size_t cut : {end - 1, end, end + 1}) {
      if (cut <= log.size()) result.push_back(cut);
    }
  }
  return result;
}

/// What lies in a store's place when its process has died in a save, before it took its rollback
/// journal away.
support::Files filesOfADeath(const StoreSample& store) {
  store.layWith({});
  const auto outcome = support::runInChild([&](const support::Acknowledgements&) {
    support::FaultVFS files;
    const coredata::StoreVFSOverride override(files.name());
    coredata::NSPersistentStoreDescription description(store.place().storeURL());
    description.setValue("DELETE", "journal_mode");
    const auto coordinator =
        foundation::make<coredata::NSPersistentStoreCoordinator>(support::currentModel());
    coordinator->addPersistentStore(description);
    const auto context = foundation::make<coredata::NSManagedObjectContext>(
        coordinator, coredata::NSManagedObjectContextConcurrencyType::privateQueue);
    context->performBlockAndWait([&] {
      for (const auto& activity : support::allObjects(*context, "Activity"))
        activity->setValue("never saved", "title");
      files.watch(support::bit(support::FileOperation::remove));
      files.reset();
      files.killAt(1);
      context->save();
    });
  });
  if (!outcome.wasKilled()) throw std::runtime_error("the save was not the last");
  return support::filesIn(store.place().directory());
}

class Companions : public testing::Test {
 protected:
  const StoreSample sample{7, kCommits, StoreSample::End::killed};

  /// The store with a log, without the index, as a copy by a person leaves it.
  static void layOut(const StoreSample& store, support::Files files) {
    files[kIndex].clear();
    store.layWith(files);
    std::filesystem::remove(store.path().string() + "-shm");
  }
  /// Uses what is laid out, in a child.
  static void use(const StoreSample& store, foundation::FunctionRef<void()> lay,
                  foundation::FunctionRef<void(const Use&)> judge) {
    run({.count = 1,
         .name = [](std::size_t) { return std::string("the only case"); },
         .work =
             [&](std::size_t) {
               lay();
               const Use result = useStore(store);
               judge(result);
               return result.outcome();
             }});
  }
};

}  // namespace

TEST_F(Companions, AMissingLogLeavesTheStateThatTheFileHolds) {
  const StoreSample& store = sample;
  use(
      store,
      [&] {
        store.layWith({});
        std::filesystem::remove(store.path().string() + "-wal");
        std::filesystem::remove(store.path().string() + "-shm");
      },
      [&](const Use& result) { requireState(result, store.states().front()); });
}

TEST_F(Companions, ACutLogEndsWithItsLastWholeCommit) {
  const std::string& log = sample.bytes("-wal");
  ASSERT_EQ(commitsIn(log), kCommits);
  const std::vector<std::size_t> all = cuts(log);
  std::vector<std::size_t> some;
  for (const std::size_t point : support::points(all.size(), 40, all.size()))
    some.push_back(all[point - 1]);

  run({.count = some.size(),
       .name = [&](std::size_t i) { return "a log of " + std::to_string(some[i]) + " bytes"; },
       .work =
           [&](std::size_t i) {
             const std::string cut = log.substr(0, some[i]);
             layOut(sample, {{kLog, cut}});
             const Use use = useStore(sample);
             requireState(use, sample.states().at(commitsIn(cut)));
             return std::to_string(commitsIn(cut)) + " commits";
           }});
}

TEST_F(Companions, AnOlderCopyOfTheLogEndsWithItsOwnLastCommit) {
  // The file is the same as long as nothing of the log was copied into it.
  run({.count = kCommits,
       .name = [](std::size_t i) { return "the log after commit " + std::to_string(i + 1); },
       .work =
           [&](std::size_t i) {
             layOut(sample, {{kLog, sample.filesAfter().at(i + 1).at(kLog)}});
             const Use use = useStore(sample);
             requireState(use, sample.states().at(i + 1));
             return use.outcome();
           }});
}

TEST_F(Companions, AnIndexOfAnotherTimeIsMadeAnew) {
  const StoreSample other(8, 2, StoreSample::End::killed);
  use(
      sample,
      [&] {
        sample.layWith({{kIndex, other.bytes("-shm")}});
      },
      [&](const Use& result) { requireState(result, sample.states().back()); });
}

TEST_F(Companions, AJournalUndoesTheSaveInWhichTheProcessDied) {
  const StoreSample store(7, 0, StoreSample::End::closed);
  const support::Files dead = filesOfADeath(store);
  ASSERT_FALSE(dead.at(kJournal).empty());
  ASSERT_NE(dead.at(kStore), store.bytes()) << "nothing has to be undone";

  use(
      store, [&] { store.layWith(dead); },
      [&](const Use& result) {
        require(result.seen == store.states().front().seen, "the save was not undone");
        require(result.salvaged == store.states().front().content, "what was undone was salvaged");
        require(!result.looked, "a look cannot undo a save");
        require(result.isSaved, "the store cannot be saved to");
      });
}

TEST_F(Companions, AnotherStoresJournalDoesNoHarmThatIsNotTold) {
  const StoreSample store(7, 0, StoreSample::End::closed);
  const StoreSample other(8, 0, StoreSample::End::closed);
  const std::string journal = filesOfADeath(other).at(kJournal);

  use(
      store,
      [&] {
        store.layWith({{kJournal, journal}});
      },
      [&](const Use& result) {
        // Nothing in it says whose it is: SQLite undoes what it tells to.
        require(!result.looked, "a look found a store with another one's journal sound");
      });
}

TEST_F(Companions, AnotherStoresLogDoesNoHarmThatIsNotTold) {
  const StoreSample other(8, 2, StoreSample::End::killed);
  use(
      sample,
      [&] {
        layOut(sample, {{kLog, other.bytes("-wal")}});
      },
      [&](const Use& result) {
        // SQLite cannot know whose it is: it applies what is whole in itself.
        require(!result.looked, "a look found a store with another one's log sound");
      });
}

}  // namespace damage
