#include <signal.h>

#include "Tests/habits/OldStoreTest.h"

namespace habits {
namespace {

using nlohmann::json;

class HabitsLongWatch : public OldStoreTest {};

TEST_F(HabitsLongWatch, SeesEachOfTenThousandCommits) {
  constexpr int kCommits = 10'000;
  text({"add", "Run"});
  const auto watch = program_.start({"watch", "--json"}, "watch-complaint");
  ASSERT_EQ(json::parse(watch->line()), json({{"watching", path()}}));

  support::edit(url(), Version::version7, [](auto& context) {
    context.setTransactionAuthor("writer");
    for (int number = 0; number < kCommits; ++number) {
      context.insertNewObject("Group")->setValue(number, "priority");
      context.save();
    }
  });

  std::string last;
  for (const std::string& line : watch->lines(kCommits)) {
    const json shown = json::parse(line);
    ASSERT_EQ(shown["entity"], "Group");
    ASSERT_EQ(shown["author"], "writer");
    ASSERT_LE(last, shown["time"].get<std::string>());
    last = shown["time"];
  }
  watch->signal(SIGINT);
  EXPECT_EQ(watch->remainingLines(), std::vector<std::string>());
  EXPECT_EQ(watch->status(), 0);
}

}  // namespace
}  // namespace habits
