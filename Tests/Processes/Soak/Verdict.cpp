#include "Tests/Processes/Soak/Verdict.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "Tests/Processes/Soak/Member.h"

namespace soak {

Verdict::Verdict(const support::MigrationPlace& place, int members)
    : look_(*place.storeURL().filePath()) {
  for (const std::string& line :
       look_.column("SELECT t.number || ' ' || ifnull(n.text, 'nobody') FROM _transaction t "
                    "LEFT JOIN _name n ON n.id = t.author")) {
    std::int64_t number = 0;
    std::string author;
    std::istringstream(line) >> number >> author;
    authors_[number] = author;
  }
  for (int i = 0; i < members; ++i) ledgers_.emplace(memberName(i), ledgerOf(place, i));
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
    EXPECT_TRUE(std::ranges::is_sorted(ledger.stamps)) << member;
    for (const Session& session : ledger.sessions) expectMerged(session, member);
    ASSERT_FALSE(ledger.sessions.empty()) << member;
    EXPECT_TRUE(ledger.sessions.back().quiet) << member;
    EXPECT_TRUE(ledger.sessions.back().wasCurrent) << member;
  }
}

void Verdict::expectMerged(const Session& session, const std::string& member) const {
  std::set<std::int64_t> merged;
  for (const auto& [number, author] : session.merged) {
    EXPECT_NE(author, member) << number;
    EXPECT_TRUE(merged.empty() || number > *merged.rbegin()) << member << ' ' << number;
    merged.insert(number);
  }
  const std::int64_t last = session.quiet.value_or(merged.empty() ? 0 : *merged.rbegin());
  for (auto one = authors_.upper_bound(session.ready); one != authors_.end() && one->first <= last;
       ++one) {
    if (one->second == member) continue;
    EXPECT_TRUE(merged.contains(one->first)) << member << " missed " << one->first;
  }
}

std::map<std::string, int> Verdict::counts() const {
  std::map<std::string, int> result;
  for (const auto& [member, ledger] : ledgers_) {
    for (const auto& [what, count] : ledger.counts) result[what] += count;
    for (const Session& session : ledger.sessions) {
      result["transactions merged"] += static_cast<int>(session.merged.size());
    }
    result["sessions"] += static_cast<int>(ledger.sessions.size());
    result["tokens"] += static_cast<int>(ledger.tokens.size());
  }
  return result;
}

}  // namespace soak
