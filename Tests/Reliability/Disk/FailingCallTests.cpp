#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <tuple>

#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/History/PersistentHistoryCleaner.h"
#include "CoreDataStack/History/PersistentHistoryMerger.h"
#include "CoreDataStack/History/UserDefaults+HistoryTimestamp.h"
#include "CoreDataStack/Queries/LocalAPI.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Files/UserDefaults.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tests/Reliability/Disk/DiskPoints.h"
#include "Tests/Reliability/Disk/Witness.h"
#include "Tests/Reliability/Disk/WorkedStoreTest.h"
#include "Tests/Support/RecordingLogger.h"
#include "Tests/Support/TemporaryStore.h"

// A call of each kind to which the disk says no at any operation on files, reading ones and locks
// included. Each says so in the form that it has for that, once, and answers rightly when it is
// made again on the same objects once the disk works.

namespace {

using coredatastack::AppTarget;
using coredatastack::CDCheckin;
using coredatastack::CoreDataConfiguration;
using coredatastack::CoreDataStack;
using coredatastack::Failure;
using foundation::Error;
using foundation::make;
using foundation::Ref;
using support::FileFault;
using support::FileFaults;
using support::FileOperation;

using Context = Ref<coredata::NSManagedObjectContext>;

/// The program that calls: a stack whose store is not open, and a container whose is.
struct Program {
  explicit Program(const foundation::URL& store)
      : stack(make<CoreDataStack>(
            CoreDataConfiguration(CoreDataConfiguration::Stage::inMemory, "Model",
                                  coredatastack::modelBundleIdentifier(), "", "", "app", store,
                                  false),
            logger)) {
    coredata::NSPersistentStoreDescription description(store);
    description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
    container->persistentStoreCoordinator()->addPersistentStore(description);
    context = container->newBackgroundContext();
  }

  Ref<support::RecordingLogger> logger = make<support::RecordingLogger>();
  Ref<CoreDataStack> stack;
  Ref<coredata::NSPersistentContainer> container = support::containerWithoutStore();
  Context context;
};

foundation::UserDefaults& defaults() { return *foundation::UserDefaults::standard(); }

void setTimestamps(std::optional<foundation::Date> date) {
  for (const AppTarget& target : {AppTarget::app, AppTarget::shareExtension}) {
    updateLastHistoryTransactionTimestamp(defaults(), target, date);
  }
}

std::string setUp(Program& program) {
  Failure failure;
  std::string told;
  program.stack->setup([&](const std::expected<bool, Failure>& outcome) {
    told += "opened";
    if (!outcome) failure = outcome.error();
  });
  if (failure) failure->raise();
  return told;
}

std::string reload(Program& program) {
  Failure failure;
  std::string told;
  const auto& stores = program.container->persistentStoreCoordinator()->persistentStores();
  const CoreDataConfiguration configuration(CoreDataConfiguration::Stage::inMemory, "Model",
                                            coredatastack::modelBundleIdentifier(), "", "", "app",
                                            *stores.front()->url(), false);
  program.stack->reload(configuration, [&](const auto& outcome) {
    told += "opened";
    if (!outcome) failure = outcome.error();
  });
  if (failure) failure->raise();
  return told;
}

std::string needsMigration(Program& program) {
  return program.stack->needMigration() ? "true" : "false";
}

std::string fetch(Program& program) {
  return program.context->performBlockAndWait([&] {
    std::string days;
    for (const auto& checkin : program.context->fetch(CDCheckin::fetchRequest())) {
      days += *checkin->date() + ' ';
    }
    return days;
  });
}

std::string count(Program& program) {
  return program.context->performBlockAndWait(
      [&] { return std::to_string(program.context->count(CDCheckin::fetchRequest())); });
}

std::string query(Program& program) {
  return program.context->performBlockAndWait([&] {
    const coredatastack::LocalAPI api(program.context, program.logger);
    return std::to_string(api.activities().size());
  });
}

std::string merge(Program& program) {
  return program.context->performBlockAndWait([&] {
    const auto merged =
        coredatastack::PersistentHistoryMerger(program.context, program.container->viewContext(),
                                               AppTarget::app, foundation::UserDefaults::standard())
            .merge();
    return merged ? std::to_string(merged->size()) : "nothing";
  });
}

/// Of all targets that have a timestamp, which they keep until it succeeds.
std::string clean(Program& program) {
  return program.context->performBlockAndWait([&] {
    coredatastack::PersistentHistoryCleaner(program.context,
                                            {AppTarget::app, AppTarget::shareExtension},
                                            foundation::UserDefaults::standard())
        .clean();
    const bool isForgotten = !lastHistoryTransactionTimestamp(defaults(), AppTarget::app);
    return isForgotten ? "cleaned" : "cancelled";
  });
}

/// A call and what comes of it.
struct Call {
  std::string name;
  std::string (*make)(Program&);
  std::string answer;
  /// What it answers when it hands the error to the logger; nothing for one that throws it, or
  /// gives it to its completion.
  std::optional<std::string> empty = std::nullopt;
  /// Whether something aside of the answer may fail, and be logged, while the answer is right.
  bool logsAside = false;

  friend std::ostream& operator<<(std::ostream& stream, const Call& call) {
    return stream << call.name;
  }
};

struct Refusal {
  std::string name;
  support::FileTrouble trouble;

  friend std::ostream& operator<<(std::ostream& stream, const Refusal& refusal) {
    return stream << refusal.name;
  }
};

/// The call in a child, with trouble at a point.
class Attempt {
 public:
  Attempt(const foundation::URL& store, const Call& call, const Refusal& refusal,
          const support::Acknowledgements& parent)
      : call_(call),
        witness_(*store.filePath(), parent),
        trouble_(refusal.trouble),
        faults_(trouble_) {
    program_.emplace(store);
  }
  ~Attempt() { endProgram(); }
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;

  [[nodiscard]] support::FileOperationCount countOperations() {
    faults_.restart(0, {});
    if (call_.make(*program_) != call_.answer) witness_.problem("undisturbed, it answers wrongly");
    return faults_.count();
  }
  void run(std::size_t point, const support::FileOperationCount& count) {
    faults_.restart(point, count);
    const bool succeeded = succeeds();
    faults_.mend();
    witness_.expectUnlocked();
    if (!succeeded && call_.make(*program_) != call_.answer) {
      witness_.problem("it answers wrongly once the disk works");
    }
    endProgram();
    witness_.expectClosed();
  }

 private:
  /// What waits on the main queue may hold the store.
  void endProgram() {
    program_.reset();
    foundation::drainMainQueue();
  }
  [[nodiscard]] bool succeeds() {
    std::string answer;
    try {
      answer = call_.make(*program_);
    } catch (const Error& error) {
      if (call_.empty) witness_.problem("it threw");
      witness_.expectCause(error, trouble_);
      witness_.note("failed with " + error.domain() + ' ' + std::to_string(error.code()));
      return false;
    }
    const auto logged = program_->logger->descriptions();
    if (logged.empty()) {
      if (answer != call_.answer) witness_.problem("it answered " + answer + " and said nothing");
      witness_.note("unharmed");
      return true;
    }
    const bool isAside = call_.logsAside && answer == call_.answer;
    if (logged.size() != 1 || (call_.empty != answer && !isAside)) {
      witness_.problem("it logged " + logged.back());
    }
    witness_.note(isAside ? "logged something aside" : "logged");
    return isAside;
  }

  const Call& call_;
  reliability::Witness witness_;
  const support::FileTrouble& trouble_;
  FileFaults faults_;
  std::optional<Program> program_;
};

class FailingCalls : public reliability::WorkedStoreTest,
                     public testing::WithParamInterface<std::tuple<Call, Refusal>> {
 protected:
  FailingCalls() {
    lay();
    const auto outcome = support::runInChild([&](const auto& parent) {
      prepare();
      const auto count = Attempt(url(), call_, refusal_, parent).countOperations();
      parent.send(std::to_string(count.sqlite));
      parent.send(std::to_string(count.others));
    });
    after_ = contents();
    if (outcome.acknowledged.size() != 2) return;
    count_ = {std::stoul(outcome.acknowledged[0]), std::stoul(outcome.acknowledged[1])};
  }

  void lay() const {
    store_.lay();
    if (!support::succeeds([&] { store_.work([](int) {}); })) ADD_FAILURE();
  }
  /// Opens what a process opens once and keeps.
  void prepare() const {
    foundation::drainMainQueue();
    setTimestamps(foundation::Date::now());
    if (call_.make != clean) setTimestamps(std::nullopt);
  }
  void failAt(std::size_t point) {
    lay();
    const auto outcome = support::runInChild([&](const auto& parent) {
      prepare();
      Attempt(url(), call_, refusal_, parent).run(point, count_);
    });
    reliability::take(outcome, point, notes_);
  }
  [[nodiscard]] foundation::URL url() const { return store_.scene().place().storeURL(); }
  [[nodiscard]] std::string contents() const {
    return support::StoreLook(store_.path()).contentsOfWork();
  }

  const reliability::WorkedStore& store_ =
      storeFor(reliability::workloads().front(), reliability::kLogged);
  const Call& call_ = std::get<0>(GetParam());
  const Refusal& refusal_ = std::get<1>(GetParam());
  support::FileOperationCount count_;
  std::string after_;
  reliability::Notes notes_;
};

TEST_P(FailingCalls, SaySoInTheirFormAndAnswerOnceTheDiskWorks) {
  ASSERT_GT(count_.total(), 0U);
  const auto points = reliability::diskPoints(count_.total(), 6, 100'000);
  for (const std::size_t point : points) {
    failAt(point);
    EXPECT_EQ(contents(), after_) << reliability::repeatedBy(point);
    if (HasFailure()) break;
  }
  reliability::print(notes_, points.size(), count_.total());
}

constexpr int kOwn = support::FaultVFS::kCodeOfOperation;
constexpr auto kLocks = bit(FileOperation::lock) | bit(FileOperation::lockShared);

const Refusal kRefusals[] = {
    {"ErrorOnce", {FileFault::failOnce, kOwn, EIO, support::kEverything}},
    {"Errors", {FileFault::failFromThenOn, kOwn, EIO, support::kEverything}},
    {"Protocol", {FileFault::failOnce, SQLITE_PROTOCOL, EBUSY, kLocks}},
};

const Call kCalls[] = {
    // It looks whether a migration left photos behind.
    {.name = "Setup", .make = setUp, .answer = "opened", .logsAside = true},
    {"Reload", reload, "opened"},
    {"NeedMigration", needsMigration, "false", "false"},
    {"Fetch", fetch, "2024-03-01 2024-03-02 2024-03-03 2024-03-04 2024-03-05 "},
    {"Count", count, "5"},
    {"Query", query, "1", "0"},
    {"Merge", merge, "6"},
    {"Clean", clean, "cleaned"},
};

INSTANTIATE_TEST_SUITE_P(Disk, FailingCalls,
                         testing::Combine(testing::ValuesIn(kCalls), testing::ValuesIn(kRefusals)),
                         [](const auto& tested) {
                           return std::get<0>(tested.param).name + std::get<1>(tested.param).name;
                         });

}  // namespace
