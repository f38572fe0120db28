#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "Foundation/Values/FunctionRef.h"

namespace damage {

/// How often which outcome came about.
using Tally = std::map<std::string, std::size_t>;

/// Many cases, each in a process of its own, which it may end, keep forever or fill the memory of:
/// the test fails for that case, with what repeats it, and the others follow.
///
/// A case may take two seconds, on the best of three times, and 64 MiB more than what was there.
/// Memory is not measured where a sanitizer keeps its own.
struct Cases {
  std::size_t count = 0;
  /// What a case is, for a line of the test's output.
  foundation::FunctionRef<std::string(std::size_t)> name;
  /// Does the case in a child process and says in a word how it came out. Throws for what is wrong.
  foundation::FunctionRef<std::string(std::size_t)> work;
};

/// Runs them all, or the one that the environment's `DAMAGE_CASE` gives the number of.
///
/// Threading: this process must have no other threads, and no store open.
Tally run(const Cases& cases);

}  // namespace damage
