#include "Tests/Reliability/Memory/Sweep.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "Foundation/Values/Error.h"
#include "Foundation/Values/WeakRef.h"
#include "Tests/Support/Effort.h"

namespace shortage {

using foundation::Error;
using support::AllocationFaults;
using support::Allocator;
using support::LiveBlocks;
using support::liveBlocks;
using support::Shortage;

namespace {

/// How many points of an operation a quick run tries.
constexpr std::size_t kQuick = 10;
/// As many allocations fail one after the other, and of those behind them each so manieth.
constexpr std::size_t kAll = 20'000;
constexpr std::size_t kStride = 7;
/// So many allocations more than in the rehearsal an operation may make.
constexpr std::size_t kMostMore = 20;
/// Whoever mends it needs a few.
constexpr int kMostFailures = 5;

/// Where the sweep is, for a process that is stopped. Written to without allocating.
std::array<char, 160> place{};

std::string placeName(const Operation& operation, Allocator allocator, Shortage kind,
                      std::size_t n) {
  return operation.name + ", " +
         (allocator == Allocator::sqlite ? "SQLite's " : "operator new's ") + std::to_string(n) +
         ". allocation fails" + (kind == Shortage::once ? " once" : ", and all that follow");
}

/// Tells where the sweep was when something calls `std::terminate`.
class TerminationNote {
 public:
  TerminationNote() noexcept : before_(std::set_terminate(tell)) {}
  ~TerminationNote() { std::set_terminate(before_); }
  TerminationNote(const TerminationNote&) = delete;
  TerminationNote& operator=(const TerminationNote&) = delete;

 private:
  [[noreturn]] static void tell() {
    std::fprintf(stderr, "terminated: %s\n", place.data());
    std::abort();
  }

  std::terminate_handler before_;
};

bool tellsOfMemory(const Error& error) {
  for (const Error* each = &error; each != nullptr; each = each->underlying()) {
    if (each->domain() != foundation::kSQLiteErrorDomain) continue;
    if (each->code() == SQLITE_NOMEM || each->code() == SQLITE_IOERR_NOMEM) return true;
  }
  return false;
}

/// What is wrong with what left the operation; empty for nothing.
std::string objection(const std::exception_ptr& thrown) {
  try {
    std::rethrow_exception(thrown);
  } catch (const std::bad_alloc&) {
    return {};
  } catch (const Error& error) {
    return tellsOfMemory(error) ? "" : error.description();
  } catch (const std::exception& error) {
    return error.what();
  }
}

/// How the operation went at one point.
struct Outcome {
  std::exception_ptr thrown;
  std::size_t allocations = 0;
  bool wasReached = false;
};

Outcome actUnder(Attempt& attempt, Allocator allocator, std::size_t n, Shortage kind) {
  Outcome outcome;
  const AllocationFaults faults(allocator, n, kind);
  try {
    attempt.act();
  } catch (...) {
    outcome.thrown = std::current_exception();
  }
  outcome.allocations = faults.count();
  outcome.wasReached = faults.wasReached();
  return outcome;
}

/// One attempt, `n` 0 for one with memory enough. Gives how many allocations it made.
Outcome attemptAt(const Operation& operation, Allocator allocator, std::size_t n, Shortage kind) {
  std::unique_ptr<Attempt> attempt = operation.lay();
  Outcome outcome = actUnder(*attempt, allocator, n, kind);
  if (outcome.thrown != nullptr) {
    EXPECT_EQ(objection(outcome.thrown), "");
  }
  attempt->check(outcome.thrown != nullptr);
  attempt->checkClosed();
  outcome.thrown = nullptr;
  return outcome;
}

/// How many blocks more there are than at its beginning.
class Kept {
 public:
  /// Holds the number that it has come to; none where a worker has since let go of what it had
  /// when this began.
  std::string stop() {
    const LiveBlocks now = liveBlocks();
    kept_ = {std::max<std::ptrdiff_t>(0, now.operatorNew - from_.operatorNew),
             std::max<std::ptrdiff_t>(0, now.sqlite - from_.sqlite)};
    return std::to_string(kept_.operatorNew) + " blocks of operator new, " +
           std::to_string(kept_.sqlite) + " of SQLite are kept";
  }
  /// Waits for a moment if need be: a worker lets go of what it ran after it has said so.
  bool isAtMost(const Kept& usual) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    do {
      stop();
      if (kept_.operatorNew <= usual.kept_.operatorNew && kept_.sqlite <= usual.kept_.sqlite) {
        return true;
      }
      std::this_thread::yield();
    } while (std::chrono::steady_clock::now() < end);
    return false;
  }

 private:
  LiveBlocks from_ = liveBlocks();
  LiveBlocks kept_;
};

/// The table behind weak handles has many parts, each of which keeps what it once needed: here all
/// of them come to need it, rather than one more now and then.
void fillTableOfWeakHandles() {
  class Nothing final : public foundation::Object {};
  std::vector<foundation::Ref<Nothing>> objects;
  std::vector<foundation::WeakRef<Nothing>> handles;
  for (int i = 0; i < 5000; ++i) {
    objects.push_back(foundation::make<Nothing>());
    handles.emplace_back(objects.back());
  }
}

std::vector<std::size_t> numbersUpTo(std::size_t count) {
  if (support::tries(0, 1) == 0) return support::points(count, kQuick, kQuick);
  std::vector<std::size_t> result;
  for (std::size_t n = 1; n <= count; n += n < kAll ? 1 : kStride) result.push_back(n);
  return result;
}

}  // namespace

void sweep(const Operation& operation, Allocator allocator, Shortage kind) {
  const TerminationNote note;
  fillTableOfWeakHandles();
  // The first attempts make what a process keeps for good.
  std::size_t count = 0;
  Kept usual;
  for (int i = 0; i < 3; ++i) {
    usual = Kept();
    const Outcome rehearsal = attemptAt(operation, allocator, 0, kind);
    ASSERT_EQ(rehearsal.thrown, nullptr);
    count = rehearsal.allocations;
    usual.stop();
  }
  const auto& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
  int failures = 0;
  const auto wasReachedAt = [&](std::size_t n) {
    const std::string name = placeName(operation, allocator, kind, n);
    std::snprintf(place.data(), place.size(), "%s", name.c_str());
    SCOPED_TRACE(name);
    // A failure is remembered by the test's own result.
    const int before = result.total_part_count();
    Kept kept;
    const bool wasReached = attemptAt(operation, allocator, n, kind).wasReached;
    if (result.total_part_count() == before) {
      EXPECT_TRUE(kept.isAtMost(usual)) << kept.stop();
    }
    if (result.total_part_count() != before) ++failures;
    return wasReached;
  };
  for (const std::size_t n : numbersUpTo(count)) {
    wasReachedAt(n);
    if (failures == kMostFailures) return;
  }
  // What the process remembers grows a little now and then.
  std::size_t n = count + 1;
  while (n <= count + kMostMore && wasReachedAt(n)) ++n;
  EXPECT_LE(n, count + kMostMore);
  std::printf("%s: %zu allocations\n", operation.name.c_str(), n - 1);
}

}  // namespace shortage
