#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace soak {

/// What a member does to the store, each in one save.
enum class Deed : std::uint8_t {
  add,     ///< a check-in of its own
  raise,   ///< the count of one of its check-ins, by one
  erase,   ///< one of its check-ins, with its photos
  attach,  ///< a photo to one of its check-ins
  append,  ///< a token to the list that all members share
  relink,  ///< one activity's place in the ring that all members share
};

[[nodiscard]] std::string_view nameOf(Deed deed) noexcept;

/// What a member expects of a check-in of its own.
struct Entry {
  int count = 1;
  int photos = 0;
  friend bool operator==(const Entry&, const Entry&) = default;
};
using Entries = std::map<std::size_t, Entry>;

struct Pending {
  Deed deed;
  std::size_t number;
};

void enter(const Pending& pending, Entries& entries);

/// From a member's start to its end or death.
struct Session {
  /// The newest transaction when it was told of passes from then on, if it came so far.
  std::optional<std::int64_t> ready;
  /// What each pass merged, with its author.
  std::vector<std::vector<std::pair<std::int64_t, std::string>>> passes;
  /// Between which transactions each of its own saves lies: behind the first, and the second at
  /// most.
  std::vector<std::pair<std::int64_t, std::int64_t>> own;
  /// The transactions that a pass may have merged which failed later: behind the first, and the
  /// second at most.
  std::vector<std::pair<std::int64_t, std::int64_t>> untold;
  /// The newest transaction when all were quiet, if it lived to see that.
  std::optional<std::int64_t> quiet;
  bool wasCurrent = false;
};

/// As what a ledger counts the saves in whose middle a member died, and which are in the store.
inline constexpr const char* kKept = "kept though not acknowledged";

/// What a member has written down of what it did and saw, before and after each save.
struct Ledger {
  /// Reads what `LedgerFile` wrote; a last line that was cut off does not count.
  explicit Ledger(const std::filesystem::path& file);

  Entries entries;
  std::set<std::string> tokens;
  /// Begun, and neither done nor looked for yet.
  std::optional<Pending> pending;
  std::vector<Session> sessions;
  /// The stamps up to which it had merged, in the order of its passes.
  std::vector<std::int64_t> stamps;
  std::map<std::string, int> counts;
  std::size_t nextNumber = 1;

 private:
  void read(const std::string& line);
};

/// Writes a ledger. A line is there when the call returns, whatever becomes of the process; the
/// machine is not to die.
///
/// Threading: any thread.
class LedgerFile {
 public:
  explicit LedgerFile(const std::filesystem::path& file);
  ~LedgerFile();
  LedgerFile(const LedgerFile&) = delete;
  LedgerFile& operator=(const LedgerFile&) = delete;

  /// `newest` is the newest transaction before it, and after it.
  void began(const Pending& pending, std::int64_t newest) const;
  void done(std::int64_t newest) const { write("done " + std::to_string(newest)); }
  /// After a death in the middle of it: whether the save is in the store.
  void found(bool isThere) const { write(isThere ? "kept" : "undone"); }
  void count(std::string_view what) const { write("count " + std::string(what)); }
  void opened() const { write("session"); }
  void follows(std::int64_t newest) const { write("ready " + std::to_string(newest)); }
  void passed() const { write("pass"); }
  void merged(std::int64_t number, const std::string& author) const;
  /// A pass told of an error; `newest` is the newest transaction then.
  void failed(std::int64_t newest) const { write("failed " + std::to_string(newest)); }
  void stamped(double seconds) const;
  void quiet(std::int64_t newest, bool isCurrent) const;

 private:
  void write(std::string line) const;

  int file_;
};

}  // namespace soak
