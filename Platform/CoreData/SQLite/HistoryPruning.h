#pragma once

#include <cstdint>

#include "CoreData/SQLite/ReadSession.h"

namespace coredata {

/// Takes the oldest part of the history away, and nothing else: the rows of objects stay, and later
/// transactions go on counting.
///
/// Done in many small transactions with pauses between them, so that others who want to write wait
/// for milliseconds. What is left of the history at any moment, also after a death in the middle,
/// begins with some transaction and has everything from there on.
///
/// Threading: the session's.
class HistoryPruning {
 public:
  /// The session must outlive it.
  explicit HistoryPruning(ReadSession& session) noexcept : session_(session) {}

  /// Both give the number of transactions that were deleted. Both throw `foundation::Error`; what
  /// was deleted until then stays deleted.
  std::int64_t deleteBefore(double stamp);
  /// Those of lower numbers.
  std::int64_t deleteBefore(std::int64_t number);

 private:
  /// Deletes a part of what is before the number. False when nothing is left of it.
  bool deleteSome(std::int64_t before);

  ReadSession& session_;
  std::int64_t deleted_ = 0;
};

}  // namespace coredata
