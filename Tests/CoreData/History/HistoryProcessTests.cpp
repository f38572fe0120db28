#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "CoreData/History/NSPersistentHistoryResult.h"
#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/CoreData/History/HistoryTest.h"
#include "Tests/Support/EnvironmentSetting.h"
#include "Tests/Support/FaultVFS.h"

namespace {

using coredata::NSPersistentHistoryChangeRequest;
using foundation::Date;
using foundation::make;
using foundation::Ref;
using garden::Plant;

/// A process that saves plants under an author's name, killed if it outlives the test.
class Writer {
 public:
  Writer(const foundation::URL& url, std::string author, std::uint64_t saves) : child_(fork()) {
    if (child_ != 0) return;
    try {
      write(url, std::move(author), saves);
      _exit(0);
    } catch (const foundation::Error&) {
      _exit(70);
    }
  }
  ~Writer() {
    if (child_ <= 0) return;
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  /// Whether it came to its end.
  [[nodiscard]] bool wait() {
    int status = -1;
    waitpid(std::exchange(child_, 0), &status, 0);
    return status == 0;
  }

 private:
  static void write(const foundation::URL& url, std::string author, std::uint64_t saves) {
    // The machine stays alive: what counts is who commits when.
    support::FaultVFS vfs;
    vfs.skipSyncs();
    const coredata::StoreVFSOverride override(vfs.name());
    const auto container = garden::openedAt(url);
    const auto context = container->newBackgroundContext();
    context->performBlockAndWait([&] { context->setTransactionAuthor(std::move(author)); });
    for (std::uint64_t i = 0; i < saves; ++i) {
      context->performBlockAndWait([&] {
        (void)make<Plant>(*context);
        context->save();
      });
    }
  }

  pid_t child_;
};

TEST(HistoryProcesses, MissNoneOfWhatOthersSaveMeanwhile) {
  const std::uint64_t saves = support::numberFrom("HISTORY_TEST_SAVES", 400) / 2;
  const support::TemporaryDirectory directory;
  const auto url = foundation::URL::fileURL((directory.path() / "garden.sqlite").string());
  Writer one(url, "one", saves);
  Writer other(url, "other", saves);
  const auto container = garden::openedAt(url);
  const auto context = container->newBackgroundContext();

  Date last = Date::distantPast();
  std::int64_t next = 1;
  while (next <= static_cast<std::int64_t>(2 * saves)) {
    for (const auto& transaction : garden::transactionsOf(
             *context, NSPersistentHistoryChangeRequest::fetchHistoryAfterDate(last))) {
      ASSERT_EQ(transaction->transactionNumber(), next++);
      ASSERT_GT(transaction->timestamp(), last);
      ASSERT_EQ(transaction->changes().size(), 1U);
      last = transaction->timestamp();
    }
  }
  EXPECT_TRUE(one.wait());
  EXPECT_TRUE(other.wait());
}

}  // namespace
