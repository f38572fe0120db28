// What it takes to learn of other processes' commits: the time from the end of a commit there to
// the call of a receiver here, and what opening a store to the first query costs with a watch and
// without.

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Benchmarks/EngineStore.h"
#include "Benchmarks/Fixture.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Tests/Support/ForwardingFileSystem.h"

namespace {

using Clock = std::chrono::steady_clock;
using benchmarks::EngineStore;
using benchmarks::RemoteChanges;

/// More than the watcher rests after an announcement.
constexpr std::chrono::milliseconds kPause{8};

/// What both processes see. The clock counts from the machine's start, in either.
struct Shared {
  std::atomic<std::int64_t> wanted = 0;
  std::atomic<Clock::rep> committedAt = 0;
  std::atomic<bool> isOver = false;
};

Shared* shareWithChildren() {
  void* memory =
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::runtime_error("no shared memory");
  return new (memory) Shared;
}

Clock::rep now() { return Clock::now().time_since_epoch().count(); }

/// Notes when a commit is done and about to be told.
class NotingFileSystem final : public support::ForwardingFileSystem {
 public:
  explicit NotingFileSystem(Shared& shared) : shared_(shared) {}
  foundation::FileResult<void> touch(int directory, const char* path) override {
    shared_.committedAt = now();
    return ForwardingFileSystem::touch(directory, path);
  }

 private:
  Shared& shared_;
};

void write(const std::string& path, Shared& shared) {
  const NotingFileSystem files(shared);
  const EngineStore store(path, benchmarks::Durability::full);
  std::int64_t saved = 0;
  while (!shared.isOver) {
    if (saved == shared.wanted) {
      std::this_thread::sleep_for(std::chrono::microseconds(200));
      continue;
    }
    ++saved;
    store.inBlock([&] {
      const auto activity = coredatastack::CDActivity::create(store.context(), "green");
      store.context().save();
    });
  }
}

double microseconds(Clock::rep time) {
  return std::chrono::duration<double, std::micro>(Clock::duration(time)).count();
}

std::vector<double> latencies(const std::string& path, Shared& shared, pid_t writer,
                              std::size_t count) {
  std::vector<double> result(count);
  std::atomic<std::int64_t> heard = 0;
  EngineStore store(path, benchmarks::Durability::full, RemoteChanges::watched);
  const auto token = foundation::NSNotificationCenter::defaultCenter().addObserver(
      coredata::NSPersistentStoreRemoteChangeNotification, nullptr, [&](const auto&) {
        const Clock::rep time = now() - shared.committedAt;
        const std::int64_t number = ++heard;
        if (number <= static_cast<std::int64_t>(count))
          result[static_cast<std::size_t>(number - 1)] = microseconds(time);
      });
  for (std::size_t i = 0; i < count; ++i) {
    std::this_thread::sleep_for(kPause);
    ++shared.wanted;
    while (heard < shared.wanted) {
      if (waitpid(writer, nullptr, WNOHANG) != 0) throw std::runtime_error("the writer has ended");
      std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
  }
  return result;
}

/// Of this thread, in microseconds: what the watcher's own thread does is in nobody's way.
double processorTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

double openingTo(const std::string& path, RemoteChanges remoteChanges) {
  const double start = processorTime();
  const EngineStore store(path, benchmarks::Durability::full, remoteChanges);
  store.inBlock([&] { return store.context().count(coredatastack::CDActivity::fetchRequest()); });
  return processorTime() - start;
}

double median(std::vector<double>& values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

void printOpenings(const std::string& path, std::size_t count) {
  std::vector<double> unwatched;
  std::vector<double> watched;
  for (std::size_t i = 0; i < count; ++i) {
    // Each comes behind the other as often: what the one leaves in the caches the other finds.
    if (i % 2 == 0) unwatched.push_back(openingTo(path, RemoteChanges::unwatched));
    watched.push_back(openingTo(path, RemoteChanges::watched));
    if (i % 2 != 0) unwatched.push_back(openingTo(path, RemoteChanges::unwatched));
  }
  std::printf("opening to first query: median %.0f us of processor time, watched %.0f us\n",
              median(unwatched), median(watched));
}

void measure(std::size_t count) {
  const benchmarks::StoreDirectory directory;
  Shared& shared = *shareWithChildren();
  // Before this process has a store or a thread.
  const pid_t writer = fork();
  if (writer < 0) throw std::runtime_error("no process");
  if (writer == 0) {
    write(directory.ourPath(), shared);
    _exit(0);
  }
  std::vector<double> found = latencies(directory.ourPath(), shared, writer, count);
  shared.isOver = true;
  waitpid(writer, nullptr, 0);
  std::ranges::sort(found);
  const auto quantile = [&](double part) {
    return found[static_cast<std::size_t>(part * static_cast<double>(found.size() - 1))];
  };
  std::printf("commits %zu, median %.0f us, 90 %% %.0f us, 99 %% %.0f us, longest %.0f us\n",
              found.size(), quantile(0.5), quantile(0.9), quantile(0.99), quantile(1));
  printOpenings(directory.ourPath(), count);
}

}  // namespace

int main(int count, char** arguments) {
  try {
    measure(count < 2 ? 3000 : std::strtoull(arguments[1], nullptr, 10));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
