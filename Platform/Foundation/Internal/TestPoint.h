#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace foundation {

/// The moments by which tests tell what came before what, or that it came to pass at all. Builds
/// without `COREDATASTACK_TEST_POINTS` hold nothing of them.
enum class TestPoint : std::uint8_t {
  // A save.
  beforeStamp,   ///< the write lock is held, the clock has not been read
  afterStamp,    ///< the history's record is written and not committed
  beforeCommit,  ///< all of the transaction is written
  afterCommit,   ///< others can read it, and nobody has been told
  beforePost,    ///< a commit was heard of and is about to be announced
  // A pass over the history.
  passBegins,
  beforeFetch,
  afterFetch,
  mergeBegins,  ///< in the view context's turn
  beforeTimestamp,
  afterTimestamp,
  cleanerFetches,  ///< before the stamp in common is read
  cleanerDeletes,
  cleanerClears,  ///< before each target's stamp is removed
  passEnds,
  // What seldom happens.
  emptyPass,
  cancelledCleaning,
  failedCommitLeft,  ///< a commit that failed could not be undone: it may turn up again
  logRestart,
  selfReplacement,
  fallbackReplacement,  ///< of a store that is no database any more
};

inline constexpr std::array<std::string_view, 21> kTestPointNames{
    "before stamp",        "after stamp",        "before commit",   "after commit",
    "before post",         "pass begins",        "before fetch",    "after fetch",
    "merge begins",        "before timestamp",   "after timestamp", "cleaner fetches",
    "cleaner deletes",     "cleaner clears",     "pass ends",       "empty pass",
    "cancelled cleaning",  "failed commit left", "log restart",     "self-replacement",
    "fallback replacement"};

[[nodiscard]] constexpr std::string_view nameOf(TestPoint point) noexcept {
  return kTestPointNames[static_cast<std::size_t>(point)];
}

#ifdef COREDATASTACK_TEST_POINTS

/// Is called at every point, in the middle of what happens there and on its thread, while it is
/// installed. What it does besides waiting must not come back to where it was called.
///
/// Threading: `reached` is called on any thread; installed and removed while no thread is at work.
class TestPointObserver {
 public:
  virtual ~TestPointObserver() = default;
  virtual void reached(TestPoint point) noexcept = 0;

  /// Puts `observer` in force, null for none, and returns what was.
  static TestPointObserver* install(TestPointObserver* observer) noexcept {
    return current_.exchange(observer);
  }
  [[nodiscard]] static TestPointObserver* current() noexcept {
    return current_.load(std::memory_order_acquire);
  }

 private:
  static inline std::atomic<TestPointObserver*> current_{nullptr};
};

inline void reach(TestPoint point) noexcept {
  if (TestPointObserver* const observer = TestPointObserver::current()) observer->reached(point);
}

#else

inline void reach(TestPoint /*point*/) noexcept {}

#endif

}  // namespace foundation
