// Every kind of finding, brought about alone in a store in which nothing else is wrong.

#include "Tools/storecheck/Findings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <set>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "Tests/Tools/storecheck/CheckedStore.h"

namespace storecheck {

/// What is done to a store, and what must be found in it.
struct Violation {
  const char* name;
  const char* sql;
  FindingKind kind;
  Severity severity = Severity::error;
  std::string entity;
  std::optional<std::int64_t> key;

  friend void PrintTo(const Violation& violation, std::ostream* to) { *to << violation.name; }
};

namespace {

constexpr Severity kError = Severity::error;
constexpr Severity kWarning = Severity::warning;

/// That there is one finding and no other.
void expectAlone(const Findings& findings, const Violation& violation) {
  ASSERT_EQ(findings.list().size(), 1U) << described(findings);
  const Finding& found = findings.list().front();
  EXPECT_EQ(name(found.kind), name(violation.kind));
  EXPECT_EQ(found.severity, violation.severity);
  EXPECT_EQ(found.entity, violation.entity);
  EXPECT_EQ(found.key, violation.key);
  EXPECT_FALSE(found.text.empty());
  EXPECT_EQ(findings.count(violation.severity), 1U);
}

const Violation kViolations[] = {
    // One row by itself.
    {"KeyBelowOne", "UPDATE MonthlyReview SET _id=-5 WHERE _id=1", FindingKind::rowKey, kError,
     "MonthlyReview", -5},
    {"VersionZero", "UPDATE Goal SET _version=0 WHERE _id=2", FindingKind::rowVersion, kError,
     "Goal", 2},
    {"VersionText", "UPDATE Goal SET _version='one' WHERE _id=2", FindingKind::rowVersion, kError,
     "Goal", 2},
    {"NumberTooLarge", "UPDATE Activity SET status=40000 WHERE _id=1", FindingKind::wrongKind,
     kError, "Activity", 1},
    {"TextForNumber", "UPDATE Widget SET priority='x' WHERE _id=1", FindingKind::wrongKind, kError,
     "Widget", 1},
    {"FractionForNumber", "UPDATE Widget SET priority=1.5 WHERE _id=1", FindingKind::wrongKind,
     kError, "Widget", 1},
    {"TextForReal", "UPDATE Checkin SET count='x' WHERE _id=1", FindingKind::wrongKind, kError,
     "Checkin", 1},
    {"TextForDate", "UPDATE Activity SET createdDate='today' WHERE _id=1", FindingKind::wrongKind,
     kError, "Activity", 1},
    {"BytesForText", "UPDATE Activity SET title=x'41' WHERE _id=1", FindingKind::wrongKind, kError,
     "Activity", 1},
    {"TextThatIsNoUtf8", "UPDATE Activity SET title=CAST(x'c328' AS TEXT) WHERE _id=1",
     FindingKind::wrongKind, kError, "Activity", 1},
    {"TextForBytes", "UPDATE Photo SET data='x' WHERE _id=1", FindingKind::wrongKind, kError,
     "Photo", 1},
    {"ShortIdentifier", "UPDATE ActivityWidgetItem SET uuid=x'0011' WHERE _id=1",
     FindingKind::wrongKind, kError, "ActivityWidgetItem", 1},
    {"TextForKey", "UPDATE Checkin SET activity='x' WHERE _id=1", FindingKind::wrongKind, kError,
     "Checkin", 1},

    // Relationships. Activity 1 and goal 4 belong together, and activity 4 and goal 1.
    {"Dangling", "UPDATE Checkin SET activity=999 WHERE _id=3", FindingKind::dangling, kError,
     "Checkin", 3},
    {"TargetGone", "DELETE FROM Goal WHERE _id=1", FindingKind::dangling, kError, "Activity", 4},
    {"NoWayBack", "UPDATE Goal SET activity=NULL WHERE _id=1", FindingKind::disagreement, kError,
     "Activity", 4},
    {"OwnerForgot", "UPDATE Activity SET goal=NULL WHERE _id=1", FindingKind::disagreement, kError,
     "Goal", 4},
    {"TwoOwners", "DELETE FROM Goal WHERE _id=4; UPDATE Activity SET goal=1 WHERE _id=1",
     FindingKind::sharedPart, kError, "Goal", 1},
    {"CheckinWithoutActivity", "UPDATE Checkin SET activity=NULL WHERE _id=3", FindingKind::orphan,
     kWarning, "Checkin", 3},
    {"PhotoWithoutCheckin", "UPDATE Photo SET checkin=NULL WHERE _id=1", FindingKind::orphan,
     kWarning, "Photo", 1},
    {"InfoWithoutPhoto",
     "UPDATE Photo SET info=NULL WHERE _id=1; UPDATE PhotoInfo SET photo=NULL WHERE _id=1",
     FindingKind::orphan, kWarning, "PhotoInfo", 1},
    {"ItemWithoutGroup", "UPDATE ActivityWidgetItem SET \"group\"=NULL WHERE _id=1",
     FindingKind::orphan, kWarning, "ActivityWidgetItem", 1},

    // Days.
    {"NoDay", "UPDATE Checkin SET date='soon' WHERE _id=2", FindingKind::noDay, kError, "Checkin",
     2},
    {"DayOfNoMonth", "UPDATE Checkin SET date='2023-02-29' WHERE _id=2", FindingKind::noDay,
     kWarning, "Checkin", 2},
    {"DayInOtherDigits", "UPDATE Checkin SET date='٢٠٢٤-٠٢-١٠' WHERE _id=2", FindingKind::noDay,
     kWarning, "Checkin", 2},
    {"NoMonth", "UPDATE MonthlyReview SET date='May' WHERE _id=1", FindingKind::noMonth, kError,
     "MonthlyReview", 1},
    {"ThirteenthMonth", "UPDATE MonthlyReview SET date='2024-13' WHERE _id=1", FindingKind::noMonth,
     kWarning, "MonthlyReview", 1},
    {"SameDay",
     "UPDATE Checkin SET (activity, date)=(SELECT activity, date FROM Checkin WHERE _id=1) "
     "WHERE _id=2",
     FindingKind::sameDay, kWarning, "Checkin", 2},

    // The history.
    {"StampsOutOfOrder",
     "UPDATE _transaction SET timestamp=(SELECT timestamp FROM _transaction WHERE number=1) "
     "WHERE number=2",
     FindingKind::stampOrder, kError, "_transaction", 2},
    {"StampText", "UPDATE _transaction SET timestamp='now' WHERE number=2",
     FindingKind::malformedHistory, kError, "_transaction", 2},
    {"ChangeOfNoKind", "UPDATE _change SET kind=7 WHERE \"transaction\"=1 AND sequence=1",
     FindingKind::malformedHistory, kError, "_change", 1},
    {"InsertThatSaysWhatChanged",
     "UPDATE _change SET changed=1 WHERE \"transaction\"=1 AND sequence=1",
     FindingKind::malformedHistory, kError, "_change", 1},
    {"LostTransaction", "DELETE FROM _transaction WHERE number=1", FindingKind::lostTransaction,
     kError, "_change", 1},
    {"LostNewestTransaction",
     "DELETE FROM _transaction WHERE number=(SELECT max(number) FROM _transaction)",
     FindingKind::lostTransaction, kError, "_change", 15},
    {"UnknownAuthor", "UPDATE _transaction SET author=777 WHERE number=1", FindingKind::unknownName,
     kError, "_transaction", 1},
    {"UnknownBundle", "UPDATE _transaction SET bundle=777 WHERE number=1", FindingKind::unknownName,
     kError, "_transaction", 1},
    {"UnknownEntity", "UPDATE _change SET entity=777 WHERE \"transaction\"=1 AND sequence=1",
     FindingKind::unknownName, kError, "_change", 1},
    {"Returned",
     "INSERT INTO _change SELECT \"transaction\", 1000, entity, key, 2, NULL FROM _change "
     "WHERE entity=(SELECT id FROM _name WHERE text='MonthlyReview') AND key=1",
     FindingKind::returned, kError, "MonthlyReview", 1},
    {"ReusableKey", "DELETE FROM _mark WHERE name='Group'", FindingKind::reusableKey, kError,
     "Group", 3},
    {"MarkThatIsNone", "INSERT INTO _mark VALUES('_transaction', 1), ('_timestamp', 'now')",
     FindingKind::mark, kError, "_mark", std::nullopt},
    {"HalfAMark", "INSERT INTO _mark VALUES('_transaction', 1)", FindingKind::mark, kError, "_mark",
     std::nullopt},
    {"HalfCutHistory",
     "INSERT INTO _mark VALUES('_transaction', 15), ('_timestamp', 1.5);"
     "DELETE FROM _transaction WHERE number=1",
     FindingKind::lostTransaction, kWarning, "_change", 1},
    {"BeyondTheAuthorsMark",
     "INSERT INTO _name(id, text) VALUES(500, 'another');"
     "UPDATE _transaction SET author=500 WHERE number IN (3, 4);"
     "INSERT OR REPLACE INTO _mark VALUES('_author', 0), ('_author 500', 3)",
     FindingKind::mark, kError, "_transaction", 4},
    {"MarkOfAnUnknownAuthor", "INSERT INTO _mark VALUES('_author 777', 3)", FindingKind::mark,
     kError, "_mark", std::nullopt},
    {"MarkOfNothing", "INSERT INTO _mark VALUES('Nothing', 1)", FindingKind::mark, kWarning,
     "_mark", std::nullopt},

    // The file.
    {"ForeignTable", "CREATE TABLE extra(x)", FindingKind::schema, kError, "sqlite_schema",
     std::nullopt},
    {"Trigger", "CREATE TRIGGER t AFTER DELETE ON Goal BEGIN DELETE FROM Checkin; END",
     FindingKind::schema, kError, "sqlite_schema", std::nullopt},
    {"View", "CREATE VIEW v AS SELECT * FROM Checkin", FindingKind::schema, kError, "sqlite_schema",
     std::nullopt},
    {"NoIndex", "DROP INDEX MonthlyReview_byDate", FindingKind::indexes, kWarning, "sqlite_schema",
     std::nullopt},
    {"ForeignIndex", "CREATE INDEX i ON Goal(count)", FindingKind::indexes, kWarning,
     "sqlite_schema", std::nullopt},
};

class FindingOf : public testing::TestWithParam<Violation> {};

TEST_P(FindingOf, IsTheOnlyOne) {
  const Violation& violation = GetParam();
  const CheckedStore store;
  store.execute(violation.sql);

  const Report report = store.check();

  expectAlone(report.findings, violation);
  EXPECT_EQ(report.isSound(), violation.severity == Severity::warning);
}

INSTANTIATE_TEST_SUITE_P(AllDamages, FindingOf, testing::ValuesIn(kViolations),
                         [](const auto& violation) { return std::string(violation.param.name); });

TEST(Findings, AreNoneInAStoreWhereNothingIsWrong) {
  const Report report = CheckedStore().check();

  EXPECT_EQ(described(report.findings), "");
  EXPECT_TRUE(report.isSound());
}

TEST(Findings, TellAMandatoryValueThatIsAbsent) {
  const CheckedStore store("Tessaline 4");
  store.execute("UPDATE Activity SET color=NULL WHERE _id=2");

  expectAlone(store.check().findings,
              {"", "", FindingKind::absentValue, Severity::error, "Activity", 2});
}

TEST(Findings, TellAStoreWithoutAnIdentifier) {
  const CheckedStore store;
  {
    coredata::Connection connection(store.path(), {});
    auto metadata = coredata::readMetadata(connection);
    metadata.erase(std::string(coredata::NSStoreUUIDKey));
    connection.beginWriting();
    coredata::writeMetadata(connection, metadata);
    connection.commit();
  }

  const Report report = store.check();

  expectAlone(report.findings,
              {"", "", FindingKind::identifier, Severity::error, "_metadata", std::nullopt});
  EXPECT_EQ(report.identifier, "");
}

/// The page on which a table or index begins.
std::size_t rootOf(const CheckedStore& store, const std::string& name) {
  return static_cast<std::size_t>(
      store.number("SELECT rootpage FROM sqlite_schema WHERE name='" + name + "'"));
}

constexpr std::size_t kPage = 4096;

TEST(Findings, TellAnIndexThatIsNotThatOfItsTable) {
  const CheckedStore store;
  const std::size_t page = (rootOf(store, "MonthlyReview_byDate") - 1) * kPage;
  std::string bytes = store.bytes();
  const std::size_t year = bytes.find("20", page + 100);
  ASSERT_LT(year, page + kPage);
  bytes[year] = '1';
  store.setBytes(bytes);

  const Report report = store.check();

  EXPECT_GE(report.findings.count(FindingKind::integrity), 1U);
  EXPECT_EQ(report.findings.count(FindingKind::integrity), report.findings.list().size())
      << described(report.findings);
  EXPECT_FALSE(report.isSound());
  EXPECT_FALSE(report.bytesByTable);
  EXPECT_TRUE(report.contentHash);
}

TEST(Findings, TellATableThatCannotBeReadAndGoOnWithTheOthers) {
  const CheckedStore store;
  std::string bytes = store.bytes();
  bytes.replace((rootOf(store, "Activity") - 1) * kPage, kPage, kPage, '\xff');
  store.setBytes(bytes);

  const Report report = store.check();

  EXPECT_EQ(report.findings.count(FindingKind::unreadable), 1U) << described(report.findings);
  const auto found =
      std::ranges::find(report.findings.list(), FindingKind::unreadable, &Finding::kind);
  EXPECT_EQ(found->entity, "Activity");
  EXPECT_EQ(report.findings.count(FindingKind::dangling), 0U)
      << "what leads to rows that cannot be read does not lead nowhere";
  EXPECT_EQ(report.rows.at("Activity"), 0);
  EXPECT_GT(report.rows.at("Checkin"), 0);
  EXPECT_FALSE(report.contentHash);
}

TEST(Findings, TellRowsThatLeadInCircles) {
  const CheckedStore store;
  // The second page of the table becomes the first one again.
  store.execute(
      "WITH RECURSIVE n(i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < 1400) "
      "INSERT INTO MonthlyReview(_id, _version, feedback) SELECT i, 1, hex(randomblob(40)) FROM n");
  std::string bytes = store.bytes();
  const std::size_t root = (rootOf(store, "MonthlyReview") - 1) * kPage;
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
  ASSERT_EQ(byte(root), 5) << "the table has more than one page";
  const auto cell = [&](std::size_t number) {
    const std::size_t pointer = root + 12 + 2 * number;
    return root + byte(pointer) * 256U + byte(pointer + 1);
  };
  std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(cell(0)), 4,
              bytes.begin() + static_cast<std::ptrdiff_t>(cell(1)));
  store.setBytes(bytes);

  const Report report = store.check();

  EXPECT_EQ(report.findings.count(FindingKind::unreadable), 1U) << described(report.findings);
}

TEST(Findings, ListTheFirstHundredOfAKindAndCountTheOthers) {
  const CheckedStore store;
  store.execute(
      "WITH RECURSIVE n(i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < 1249) "
      "INSERT INTO MonthlyReview(_id, _version, date) SELECT i, 1, 'May' FROM n");

  const Report report = store.check();

  EXPECT_EQ(report.findings.count(FindingKind::noMonth), 250U);
  EXPECT_EQ(report.findings.count(Severity::error), 250U);
  EXPECT_EQ(report.findings.list().size(), Findings::kMostOfAKind);
}

TEST(Findings, HaveEachItsOwnName) {
  std::set<std::string_view> names;
  for (std::size_t i = 0; i < kFindingKinds; ++i) names.insert(name(static_cast<FindingKind>(i)));

  EXPECT_EQ(names.size(), kFindingKinds);
  EXPECT_FALSE(names.contains(""));
}

}  // namespace

}  // namespace storecheck
