// Every byte of what a store's files say of themselves, changed in every bit and to both ends.

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "Tests/Reliability/Damage/CaseRunner.h"
#include "Tests/Reliability/Damage/DamagedStoreUse.h"
#include "Tests/Support/Effort.h"

namespace damage {

namespace {

constexpr std::size_t kFileHeader = 100;
constexpr std::size_t kTreeHeader = 12;
constexpr std::size_t kIndexHeader = 136;
constexpr std::size_t kChangesOfAByte = 10;
constexpr std::uint64_t kSeed = 7;

/// A change to one byte of a file.
struct Change {
  std::size_t offset;
  /// One of the eight bits, all off, or all on.
  std::size_t which;

  void apply(std::string& bytes) const {
    const auto byte = static_cast<unsigned char>(bytes[offset]);
    const auto changed = which < 8 ? byte ^ (1U << which) : which == 8 ? 0U : 0xffU;
    bytes[offset] = static_cast<char>(changed);
  }
  [[nodiscard]] std::string description() const {
    const std::string what = which < 8    ? "bit " + std::to_string(which)
                             : which == 8 ? "all bits off"
                                          : "all bits on";
    return "byte " + std::to_string(offset) + ", " + what;
  }
};

/// Changes of a stretch of bytes: all of them, or as many as a quick run has the time for.
std::vector<Change> changes(std::size_t begin, std::size_t size, std::size_t quick) {
  std::vector<Change> result;
  const std::size_t all = size * kChangesOfAByte;
  for (const std::size_t point : support::points(all, quick, all)) {
    // Neighbouring points are different changes of different bytes.
    const std::size_t number = point - 1;
    result.push_back({begin + number % size, number / size});
  }
  return result;
}

class HeaderDamage : public testing::Test {
 protected:
  using Verdict = foundation::FunctionRef<void(const Use&)>;

  static Tally use(const StoreSample& sample, const std::string& file,
                   const std::vector<Change>& changes, Verdict judge) {
    return run({.count = changes.size(),
                .name = [&](std::size_t i) { return file + ", " + changes[i].description(); },
                .work =
                    [&](std::size_t i) {
                      std::string bytes = sample.files().at(file);
                      changes[i].apply(bytes);
                      sample.layWith({{file, bytes}});
                      const Use result = useStore(sample);
                      judge(result);
                      return result.outcome();
                    }});
  }

  static void require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
  }
  /// What was read is one of the states that there were.
  static void requireStates(const Use& use, std::span<const State> states) {
    const auto knows = [&](const std::optional<std::string>& read, std::string State::*which) {
      return !read ||
             std::ranges::any_of(states, [&](const State& state) { return state.*which == *read; });
    };
    require(knows(use.seen, &State::seen), "the application saw what never was");
    require(knows(use.looked, &State::content), "a look saw what never was");
    require(knows(use.salvaged, &State::content), "something else was salvaged");
  }
};

}  // namespace

TEST_F(HeaderDamage, OfAStoreIsRefusedOrHarmless) {
  const StoreSample sample(kSeed, 0, StoreSample::End::closed);

  const Tally tally = use(sample, kStore, changes(0, kFileHeader, 100), [&](const Use& use) {
    requireStates(use, sample.states());
    require(use.salvaged.has_value(), "a store with a damaged header was not salvaged");
  });

  EXPECT_GT(tally.size(), 1U) << "no change was refused, or every one";
}

TEST_F(HeaderDamage, OfItsListOfTablesIsRefusedOrHarmless) {
  const StoreSample sample(kSeed, 0, StoreSample::End::closed);

  use(sample, kStore, changes(kFileHeader, kTreeHeader, 40), [&](const Use& use) {
    requireStates(use, sample.states());
    require(use.salvaged.has_value(), "a store with a damaged list was not salvaged");
  });
}

TEST_F(HeaderDamage, OfALogEndsItAtACommit) {
  const StoreSample sample(kSeed, 4, StoreSample::End::killed);
  std::vector<Change> all = changes(0, kLogHeader, 40);
  for (const std::size_t frame : {std::size_t{0}, std::size_t{1}}) {
    const std::size_t begin = kLogHeader + frame * (kFrameHeader + kPage);
    std::ranges::copy(changes(begin, kFrameHeader, 20), std::back_inserter(all));
  }

  use(sample, kLog, all, [&](const Use& use) {
    requireStates(use, sample.states());
    require(use.seen.has_value(), "the application refused a damaged log");
    require(use.salvaged.has_value(), "nothing was salvaged of a store with a damaged log");
  });
}

TEST_F(HeaderDamage, OfALogsIndexIsMended) {
  const StoreSample sample(kSeed, 4, StoreSample::End::killed);

  use(sample, kIndex, changes(0, kIndexHeader, 30), [&](const Use& use) {
    require(use.seen == sample.states().back().seen, "the application did not see the last commit");
    require(use.salvaged == sample.states().back().content, "not the last commit was salvaged");
    require(!use.looked || use.looked == sample.states().back().content,
            "a look did not see the last commit");
  });
}

}  // namespace damage
