#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <string>

#include "Tests/Processes/Companion.h"
#include "Tests/Processes/Program.h"
#include "Tests/Processes/Soak/Ledger.h"

namespace soak {

inline constexpr int kRingSize = 6;

[[nodiscard]] std::string memberName(int index);
[[nodiscard]] std::filesystem::path ledgerOf(const support::MigrationPlace& place, int index);
/// The store with the members' activities, the shared list and the ring.
void makeStore(const support::MigrationPlace& place, int members);

/// One of the processes that share a store: writes at random, follows the others, and writes both
/// down. It may be killed at any moment and begun again.
class Member {
 public:
  Member(const support::MigrationPlace& place, int index, std::uint64_t seed);

  /// Works until it hears "quiet", answers, and when it hears "settle" waits until it has merged
  /// everything, and compares its view context with the store.
  void run(support::Line& line);

 private:
  using Object = foundation::Ref<coredata::NSManagedObject>;

  void watch();
  /// Looks in the store for what was pending at the last death.
  void resolve();
  [[nodiscard]] bool isInStore(const Pending& pending) const;
  [[nodiscard]] Entries ownEntries() const;
  void findOwn();

  void act();
  [[nodiscard]] Pending choose();
  void carryOut(const Pending& pending);
  void save(coredata::NSManagedObjectContext& context) const;
  void add(std::size_t number);
  void raise(std::size_t number);
  void erase(std::size_t number);
  void attach(std::size_t number);
  /// Work on what is shared, from a fresh reading, repeated until nobody came between.
  template <typename Work>
  void contend(Work&& work) const;
  void append(std::size_t number) const;
  void relink();
  void checkRing() const;

  [[nodiscard]] std::size_t below(std::size_t limit) { return random_() % limit; }
  [[nodiscard]] std::size_t anyEntry();
  void settle();

  const std::string name_;
  Ledger ledger_;
  const LedgerFile file_;
  std::mt19937_64 random_;
  support::Program program_;
  foundation::Ref<foundation::Object> announcements_;
  Object activity_;
  std::map<std::size_t, Object> checkins_;
};

}  // namespace soak
