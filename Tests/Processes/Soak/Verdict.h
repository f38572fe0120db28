#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Tests/Processes/Soak/Ledger.h"
#include "Tests/Processes/Soak/Member.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreFiles.h"

namespace soak {

/// Compares the store that some members have left with what each of them has written down, by
/// gtest's expectations.
class Verdict {
 public:
  Verdict(const support::MigrationPlace& place, int members, Custom custom);

  /// The file is sound, and no row leads to one that is not there.
  void expectWholeStore() const;
  /// What was acknowledged is there, and nothing else.
  void expectAcknowledged() const;
  /// Each member that follows has merged all that others wrote while it lived, in order, and none
  /// of its own; its stamp never went back; in the end its view context held what the store holds.
  void expectMerged() const;

  /// What two of them have merged is no longer in the history.
  void expectPruned() const;

  /// How often what came to pass that seldom does.
  [[nodiscard]] std::map<std::string, int> counts() const;
  /// Of all that there have been.
  [[nodiscard]] std::int64_t transactions() const;

 private:
  [[nodiscard]] Entries entriesOf(const std::string& member) const;
  void expectMerged(const Session& session, const std::string& member) const;
  void expectNoneMissed(const Session& session, const std::set<std::int64_t>& merged,
                        const std::string& member) const;

  support::StoreLook look_;
  const Custom custom_;
  std::set<std::string> followers_;
  std::map<std::string, Ledger> ledgers_;
};

}  // namespace soak
