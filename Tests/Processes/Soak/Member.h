#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <string>

#include "Tests/Processes/Companion.h"
#include "Tests/Processes/Program.h"
#include "Tests/Processes/Soak/Ledger.h"
#include "Tests/Processes/Soak/Occasions.h"

namespace soak {

inline constexpr int kRingSize = 6;

[[nodiscard]] std::string memberName(int index);
[[nodiscard]] std::filesystem::path ledgerOf(const support::MigrationPlace& place, int index);
/// The store with the members' activities, the shared list and the ring.
void makeStore(const support::MigrationPlace& place, int members);

/// Whether somebody deletes the history.
enum class Custom : std::uint8_t {
  keepsHistory,   ///< all follow the others; nothing is ever deleted
  prunesHistory,  ///< the first two follow the others, and delete what both have merged
};

/// Whether the member of that index follows the others.
[[nodiscard]] bool follows(int index, Custom custom) noexcept;

/// One of the processes that share a store: writes at random, follows the others, and writes both
/// down. It may be killed at any moment and begun again. It lasts as long as its process: passes go
/// on in others' threads.
class Member {
 public:
  Member(const support::MigrationPlace& place, int index, std::uint64_t seed, Custom custom,
         Occasions& occasions);

  /// Works until it hears "quiet", dying at the point of a number when it hears "die", answers, and
  /// when it hears "settle" waits until it has merged everything, and compares its view context
  /// with the store.
  void run(support::Line& line);

 private:
  using Object = foundation::Ref<coredata::NSManagedObject>;

  void follow(int index, Custom custom);
  void watch();
  /// What a pass that failed may have merged.
  void noteFailure(const std::string& error);
  void note(const support::Program::Transactions& transactions);
  /// Looks in the store for what was pending at the last death.
  void resolve();
  [[nodiscard]] bool isInStore(const Pending& pending) const;
  [[nodiscard]] Entries ownEntries() const;
  void findOwn();

  /// Works until it hears what it does not do at once.
  void work(support::Line& line);
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
  /// What must not matter: the store takes its own place.
  void replaceByItself() const;
  /// Puts the store, as it stands, into the place of a file that is no store.
  void copyOverGarbage() const;
  /// By the store; false when it was busy all the time.
  [[nodiscard]] bool replace(const foundation::URL& store) const;

  [[nodiscard]] std::size_t below(std::size_t limit) { return random_() % limit; }
  [[nodiscard]] std::size_t anyEntry();
  [[nodiscard]] bool hasMergedAll(coredata::NSManagedObjectContext& background) const;
  void settle();

  const support::MigrationPlace& place_;
  OccasionCounter occasions_;
  const std::string name_;
  Ledger ledger_;
  const LedgerFile file_;
  std::mt19937_64 random_;
  support::Program program_;
  foundation::Ref<foundation::Object> announcements_;
  std::int64_t ready_ = 0;
  const bool follows_;
  /// Held while the ledger is given what belongs together.
  mutable std::mutex mutex_;
  std::set<std::int64_t> merged_;
  Object activity_;
  std::map<std::size_t, Object> checkins_;
};

}  // namespace soak
