#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace graph {

enum class Operation : std::uint8_t {
  insert,
  set,
  relate,
  unrelate,
  addMember,
  removeMember,
  setMembers,
  erase,
  save,
  rollback,
  refreshAll,
  refreshOne,
  forget,
  fetch,
  switchPolicy,
};

/// What one context does. The numbers choose among whatever there is when the step is run, so that
/// a sequence stays runnable when steps are taken out of it.
struct Step {
  std::size_t actor = 0;
  Operation operation{};
  std::array<std::uint32_t, 4> choices{};
};

struct Sequence {
  std::array<bool, 2> mergesAutomatically{};
  std::array<bool, 2> changesHereWin{};
  std::vector<Step> steps;
};

/// The sequence of that seed; the same on every machine.
[[nodiscard]] Sequence randomSequence(std::uint64_t seed);
[[nodiscard]] std::string description(const Sequence& sequence);

}  // namespace graph
