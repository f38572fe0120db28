#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Benchmarks/Fixture.h"
#include "Benchmarks/Harness.h"
#include "CoreDataStack/Queries/LocalAPI.h"

namespace benchmarks {

/// An activity and a period, as each side names them.
struct Asked {
  foundation::Ref<coredatastack::CDActivity> activity;
  std::int64_t key;
  std::int64_t firstTime;
  std::int64_t lastTime;

  [[nodiscard]] foundation::Date from() const {
    return foundation::Date::from1970(static_cast<double>(firstTime));
  }
  [[nodiscard]] foundation::Date to() const {
    return foundation::Date::from1970(static_cast<double>(lastTime));
  }
  [[nodiscard]] std::string firstDay() const { return dayOf(firstTime); }
  [[nodiscard]] std::string lastDay() const { return dayOf(lastTime); }
};

/// Texts lent to a statement while it runs.
struct Parameters {
  std::string first;
  std::string second;
};

/// One question that an application asks through `API`, beside the statement that somebody would
/// write for it.
struct Requirement {
  const char* name;
  int questionsInARound;
  std::int64_t (*ours)(const coredatastack::LocalAPI&, const Asked&);
  const char* sql;
  void (*bind)(PreparedStatement&, const Asked&, Parameters&);
  std::int64_t (*read)(PreparedStatement&);
};

[[nodiscard]] std::span<const Requirement> allRequirements();

/// One question asked again and again about other activities and days, each time by itself, as an
/// application asks its view context on the main thread.
class Interview {
 public:
  /// `workload` says what the stores of the fixture hold.
  Interview(const Requirement& requirement, std::shared_ptr<Fixture> fixture,
            const Workload& workload);

  /// The cost of one question, in microseconds.
  [[nodiscard]] Run ours();
  [[nodiscard]] Run byHand();

 private:
  template <typename F>
  Run summed(F&& ask) const;

  const Requirement& requirement_;
  std::shared_ptr<Fixture> fixture_;
  coredatastack::LocalAPI api_;
  PreparedStatement statement_;
  std::vector<Asked> asked_;
};

}  // namespace benchmarks
