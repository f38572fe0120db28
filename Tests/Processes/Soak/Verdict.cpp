#include "Tests/Processes/Soak/Verdict.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

namespace soak {

Verdict::Verdict(const support::MigrationPlace& place, int members, Custom custom)
    : look_(*place.storeURL().filePath()), custom_(custom) {
  for (int i = 0; i < members; ++i) {
    ledgers_.emplace(memberName(i), ledgerOf(place, i));
    if (follows(i, custom)) followers_.insert(memberName(i));
  }
}

std::int64_t Verdict::transactions() const {
  return std::stoll(look_.column("SELECT max(number) FROM _transaction").front());
}

void Verdict::expectPruned() const {
  constexpr std::int64_t kTail = 10'000;
  const auto left = look_.column("SELECT count(*) FROM _transaction");
  EXPECT_LT(std::stoll(left.front()), std::min(kTail, transactions()));
}

void Verdict::expectWholeStore() const {
  EXPECT_NO_THROW(static_cast<void>(look_.contents()));
  EXPECT_EQ(look_.column("SELECT _id FROM Checkin WHERE activity IS NULL OR activity NOT IN "
                         "(SELECT _id FROM Activity)"),
            std::vector<std::string>());
  EXPECT_EQ(look_.column("SELECT _id FROM Photo WHERE checkin IS NULL OR checkin NOT IN "
                         "(SELECT _id FROM Checkin)"),
            std::vector<std::string>());
}

Entries Verdict::entriesOf(const std::string& member) const {
  Entries entries;
  for (const std::string& line :
       look_.column("SELECT substr(memo, instr(memo, ':') + 1) || ' ' || CAST(count AS INTEGER) || "
                    "' ' || (SELECT count(*) FROM "
                    "Photo WHERE checkin = Checkin._id) FROM Checkin WHERE memo LIKE '" +
                    member + ":%'")) {
    std::size_t number = 0;
    Entry entry;
    std::istringstream(line) >> number >> entry.count >> entry.photos;
    entries[number] = entry;
  }
  return entries;
}

void Verdict::expectAcknowledged() const {
  const auto lists = look_.column("SELECT notes FROM Activity WHERE title = 'list'");
  ASSERT_EQ(lists.size(), 1U);
  std::multiset<std::string> listed;
  std::istringstream words(lists.front());
  for (std::string token; words >> token;) listed.insert(token);
  std::size_t tokens = 0;
  for (const auto& [member, ledger] : ledgers_) {
    EXPECT_FALSE(ledger.pending) << member;
    EXPECT_EQ(entriesOf(member), ledger.entries) << member;
    tokens += ledger.tokens.size();
    for (const std::string& token : ledger.tokens) {
      EXPECT_EQ(listed.count(member + ':' + token + ';'), 1U) << member << ' ' << token;
    }
  }
  EXPECT_EQ(listed.size(), tokens);
}

void Verdict::expectMerged() const {
  for (const auto& [member, ledger] : ledgers_) {
    if (!followers_.contains(member)) continue;
    ASSERT_FALSE(ledger.sessions.empty()) << member;
    EXPECT_TRUE(std::ranges::is_sorted(ledger.stamps)) << member;
    const Session& last = ledger.sessions.back();
    for (const Session& session : ledger.sessions) expectMerged(session, member);
    EXPECT_TRUE(last.quiet) << member;
    EXPECT_TRUE(last.wasCurrent) << member;
  }
}

void Verdict::expectMerged(const Session& session, const std::string& member) const {
  std::set<std::int64_t> merged;
  for (const auto& pass : session.passes) {
    std::int64_t last = 0;
    // A pass begins anew with what is left when the history has been cut.
    if (custom_ == Custom::keepsHistory && !merged.empty()) last = *merged.rbegin();
    for (const auto& [number, author] : pass) {
      EXPECT_NE(author, member) << number;
      EXPECT_GT(number, last) << member;
      last = number;
    }
    for (const auto& [number, author] : pass) merged.insert(number);
  }
  expectNoneMissed(session, merged, member);
}

void Verdict::expectNoneMissed(const Session& session, const std::set<std::int64_t>& merged,
                               const std::string& member) const {
  if (!session.ready) return;
  const std::int64_t last = session.quiet.value_or(merged.empty() ? 0 : *merged.rbegin());
  auto own = session.own.begin();
  for (std::int64_t number = *session.ready + 1; number <= last; ++number) {
    if (merged.contains(number)) continue;
    // Nobody else counts: each of its own saves explains one number, and numbers have no gaps.
    while (own != session.own.end() && own->second < number) ++own;
    const bool isUntold = std::ranges::any_of(session.untold, [number](const auto& range) {
      return range.first < number && number <= range.second;
    });
    // Its own save may be any of them, or come behind.
    if (isUntold) continue;
    const bool isOwn = own != session.own.end() && own->first < number;
    EXPECT_TRUE(isOwn) << member << " missed " << number;
    if (isOwn) ++own;
  }
}

std::map<std::string, int> Verdict::counts() const {
  std::map<std::string, int> result;
  for (const auto& [member, ledger] : ledgers_) {
    for (const auto& [what, count] : ledger.counts) result[what] += count;
    for (const Session& session : ledger.sessions) {
      for (const auto& pass : session.passes) {
        result["transactions merged"] += static_cast<int>(pass.size());
      }
    }
    result["sessions"] += static_cast<int>(ledger.sessions.size());
    result["tokens"] += static_cast<int>(ledger.tokens.size());
  }
  return result;
}

}  // namespace soak
