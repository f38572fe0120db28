#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Tests/Processes/Soak/Ledger.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/StoreFiles.h"

namespace soak {

/// Compares the store that some members have left with what each of them has written down, by
/// gtest's expectations.
class Verdict {
 public:
  Verdict(const support::MigrationPlace& place, int members);

  /// The file is sound, and no row leads to one that is not there.
  void expectWholeStore() const;
  /// What was acknowledged is there, and nothing else.
  void expectAcknowledged() const;
  /// Each member has merged all that others wrote while it lived, in order, and none of its own;
  /// its stamp never went back; in the end its view context held what the store holds.
  void expectMerged() const;

  /// How often what came to pass that seldom does.
  [[nodiscard]] std::map<std::string, int> counts() const;
  [[nodiscard]] std::size_t transactions() const noexcept { return authors_.size(); }

 private:
  [[nodiscard]] Entries entriesOf(const std::string& member) const;
  void expectMerged(const Session& session, const std::string& member) const;

  support::StoreLook look_;
  /// By the transactions' numbers.
  std::map<std::int64_t, std::string> authors_;
  std::map<std::string, Ledger> ledgers_;
};

}  // namespace soak
