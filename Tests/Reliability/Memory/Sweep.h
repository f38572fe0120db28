#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "Tests/Support/AllocationFaults.h"

namespace shortage {

/// One go at an operation, with everything laid out for it beforehand.
class Attempt {
 public:
  Attempt() = default;
  virtual ~Attempt() = default;
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;

  /// The operation, while memory runs short. What leaves it must be `std::bad_alloc` or an error
  /// that tells of nothing else.
  virtual void act() = 0;
  /// Expects what the operation promises, now that there is memory again: whether it threw or not.
  virtual void check(bool threw) = 0;
  /// The same of what lies on the disk once everything is closed.
  virtual void checkClosed() {}
};

struct Operation {
  std::string name;
  std::function<std::unique_ptr<Attempt>()> lay;

  friend std::ostream& operator<<(std::ostream& stream, const Operation& operation) {
    return stream << operation.name;
  }
};

/// Lets the n-th allocation of the operation fail, n = 1, 2, ... until it makes no more: in a quick
/// run some of them only, and behind the first 20,000 every seventh. Expects each time that the
/// operation ends as it promises and that no more blocks are kept than with memory enough.
void sweep(const Operation& operation, support::Allocator allocator, support::Shortage kind);

}  // namespace shortage
