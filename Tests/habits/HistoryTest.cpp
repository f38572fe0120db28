#include "Tests/habits/OldStoreTest.h"

namespace habits {
namespace {

using nlohmann::json;

class HabitsHistory : public OldStoreTest {
 protected:
  void SetUp() override {
    text({"add", "Run"});
    text({"check", "Run", "--on", "2024-02-10"});
    text({"more", "Run", "--on", "2024-02-10"});
  }
  [[nodiscard]] static json changeOf(const json& transaction, const std::string& entity) {
    for (const json& change : transaction["changes"]) {
      if (change["entity"] == entity) return change;
    }
    return {};
  }
};

TEST_F(HabitsHistory, ShowsWhatWasWrittenWithTheNewestLast) {
  const json history = data({"history"});

  ASSERT_EQ(history.size(), 3U);
  for (std::size_t i = 0; i < history.size(); ++i) {
    EXPECT_EQ(history[i]["author"], "habits");
    EXPECT_EQ(history[i]["number"], i + 1);
  }
  EXPECT_EQ(changeOf(history[0], "Activity")["kind"], "insert");
  EXPECT_EQ(changeOf(history[1], "Checkin")["kind"], "insert");
  const json more = changeOf(history[2], "Checkin");
  EXPECT_EQ(more["kind"], "update");
  EXPECT_NE(std::ranges::find(more["properties"], "count"), more["properties"].end()) << more;
}

TEST_F(HabitsHistory, ShowsItToPeople) {
  const std::string shown = text({"history"});

  EXPECT_NE(shown.find("  habits\n  insert  x-coredata://"), std::string::npos) << shown;
}

TEST_F(HabitsHistory, FollowsOneObject) {
  const std::string checkin = changeOf(data({"history"})[1], "Checkin")["object"];

  const json history = data({"history", "--object", checkin});

  ASSERT_EQ(history.size(), 2U);
  EXPECT_EQ(history[0]["changes"].size(), 1U);
  EXPECT_EQ(history[0]["changes"][0]["kind"], "insert");
  EXPECT_EQ(history[1]["changes"][0]["kind"], "update");
}

TEST_F(HabitsHistory, KnowsNoObjectOfAnotherStore) {
  for (const char* uri : {"Checkin/p1", "x-coredata://5D3A/Checkin/p1", ""}) {
    refused({"history", "--object", uri},
            "There is no object " + std::string(uri) +
                " in this store. \"habits history\" shows those that there are.");
  }
}

TEST_F(HabitsHistory, BeginsWithADay) {
  EXPECT_EQ(data({"history", "--since", "2020-01-01"}).size(), 3U);
  EXPECT_EQ(data({"history", "--since", "2999-01-01"}), json::array());
  EXPECT_EQ(text({"history", "--since", "2999-01-01"}), "Nothing was written.\n");
  EXPECT_EQ(program_.run({"history", "--since", "soon"}).status, 2);
}

TEST_F(HabitsHistory, NamesNobodyForWhatHasNoAuthor) {
  support::edit(url(), Version::version7, [](auto& context) {
    context.insertNewObject("Group")->setValue("Sport", "title");
  });

  EXPECT_TRUE(data({"history"}).back()["author"].is_null());
}

}  // namespace
}  // namespace habits
