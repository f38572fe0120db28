#include "Tools/storecheck/LinkCheck.h"

#include <gtest/gtest.h>

#include <vector>

#include "CoreData/Model/ModelBuilder.h"
#include "Tests/Tools/storecheck/CheckedStore.h"

namespace storecheck {

namespace {

using coredata::NSEntityDescription;
using coredata::ObjectKey;
using coredata::StoredValue;

foundation::Ref<coredata::NSManagedObjectModel> model() {
  return coredata::modelFromSource(R"({
    "entities": {
      "House": {
        "relationships": {"guests": {"toMany": "Guest", "inverse": "house", "deleteRule": "noAction"}}
      },
      "Guest": {
        "relationships": {
          "home": {"toOne": "House"},
          "house": {"toOne": "House", "inverse": "guests"}
        }
      }
    }
  })");
}

class LinkCheckTest : public testing::Test {
 protected:
  /// A row with its key and its to-ones, 0 for none.
  void add(const char* entity, ObjectKey key, const std::vector<ObjectKey>& targets = {}) {
    using Kind = StoredValue::Kind;
    std::vector<StoredValue> row(2 + targets.size());
    row[0] = {Kind::integer, key, 0, {}};
    row[1] = {Kind::integer, 1, 0, {}};
    for (std::size_t i = 0; i < targets.size(); ++i) {
      if (targets[i] != 0) row[2 + i] = {Kind::integer, targets[i], 0, {}};
    }
    links.add(*entityNamed(entity), row);
  }
  const NSEntityDescription* entityNamed(const char* name) const { return model_->entity(name); }
  const Findings& found() {
    links.check(findings);
    return findings;
  }

  const foundation::Ref<coredata::NSManagedObjectModel> model_ = model();
  LinkCheck links{*model_};
  Findings findings;
};

TEST_F(LinkCheckTest, WarnsOnlyWhereNobodyClearsWhatLeadsToADeletedRow) {
  add("House", 1);
  add("Guest", 1, {7, 1});
  add("Guest", 2, {1, 8});

  EXPECT_EQ(found().count(Severity::error), 0U) << described(findings);
  EXPECT_EQ(findings.count(FindingKind::dangling), 2U);
  EXPECT_EQ(findings.count(Severity::warning), 2U);
}

TEST_F(LinkCheckTest, SaysNothingOfWhatLeadsToRowsThatItDoesNotKnow) {
  add("Guest", 1, {7, 9});
  links.giveUp(*entityNamed("House"));

  EXPECT_TRUE(found().list().empty()) << described(findings);
}

TEST_F(LinkCheckTest, KnowsItsRows) {
  add("House", 3);
  add("House", 8);
  const auto& house = *entityNamed("House");

  EXPECT_EQ(links.count(house), 2U);
  EXPECT_EQ(links.highestKey(house), 8);
  EXPECT_TRUE(links.contains(house, 3));
  EXPECT_FALSE(links.contains(house, 4));
  EXPECT_EQ(links.highestKey(*entityNamed("Guest")), 0);
}

}  // namespace

}  // namespace storecheck
