#include <signal.h>

#include <atomic>
#include <fstream>
#include <sstream>
#include <thread>

#include "Tests/habits/OldStoreTest.h"

namespace habits {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::string day(int number) {
  std::ostringstream text;
  text << "20" << 10 + number / 336 << '-' << (number / 28 % 12 < 9 ? "0" : "")
       << number / 28 % 12 + 1 << '-' << (number % 28 < 9 ? "0" : "") << number % 28 + 1;
  return text.str();
}

class HabitsWatch : public OldStoreTest {
 protected:
  [[nodiscard]] std::unique_ptr<RunningProgram> watching() const {
    auto watch = program_.start({"watch", "--json"}, "watch-complaint");
    EXPECT_EQ(json::parse(watch->line()), json({{"watching", path()}}));
    return watch;
  }
  /// The next check-in that is shown.
  [[nodiscard]] static json nextCheckin(RunningProgram& watch) {
    for (;;) {
      json shown = json::parse(watch.line());
      if (shown.value("entity", "") == "Checkin") return shown;
    }
  }
  [[nodiscard]] static std::vector<std::string> nextDays(RunningProgram& watch, std::size_t count) {
    std::vector<std::string> days;
    while (days.size() < count) days.push_back(nextCheckin(watch)["date"]);
    return days;
  }
  [[nodiscard]] fs::path settings() const { return program_.directory() / "home/.config"; }
  [[nodiscard]] fs::path caches() const { return program_.directory() / "home/.cache"; }
  /// Directories that belong to watches.
  [[nodiscard]] std::vector<std::string> directoriesOfWatches() const {
    std::vector<std::string> names;
    for (const fs::path& place : {settings(), caches()}) {
      if (!fs::exists(place)) continue;
      for (const auto& entry : fs::directory_iterator(place)) {
        const std::string name = entry.path().filename().string();
        if (name.find(".watch-") != std::string::npos) names.push_back(name);
      }
    }
    return names;
  }
};

TEST_F(HabitsWatch, ShowsWhatAnotherProcessWrites) {
  text({"add", "Run"});
  const auto watch = watching();

  text({"check", "Run", "--on", "2024-02-10"});

  const json shown = nextCheckin(*watch);
  EXPECT_EQ(shown["author"], "habits");
  EXPECT_EQ(shown["kind"], "insert");
  EXPECT_EQ(shown["activity"], "Run");
  EXPECT_EQ(shown["date"], "2024-02-10");
  EXPECT_TRUE(shown["time"].get<std::string>().ends_with("Z")) << shown;
}

TEST_F(HabitsWatch, ShowsItToPeople) {
  text({"add", "Run"});
  const auto watch = program_.start({"watch"}, "watch-complaint");
  EXPECT_EQ(watch->line(), "Watching " + path() + "; stop with Ctrl-C.");

  text({"check", "Run", "--on", "2024-02-10"});

  EXPECT_TRUE(watch->line().ends_with("  habits  insert Checkin  \"Run\" on 2024-02-10"));
}

TEST_F(HabitsWatch, ShowsADeletedCheckinWithoutItsDay) {
  text({"add", "Run"});
  text({"check", "Run", "--on", "2024-02-10"});
  const auto watch = watching();

  text({"uncheck", "Run", "--on", "2024-02-10"});

  const json shown = nextCheckin(*watch);
  EXPECT_EQ(shown["kind"], "delete");
  EXPECT_FALSE(shown.contains("date"));
}

TEST_F(HabitsWatch, SeesEveryCommandOfOthersOnceAndInOrder) {
  constexpr int kCommands = 50;
  text({"add", "Run"});
  const auto watch = watching();
  std::vector<std::string> written;
  for (int number = 0; number < kCommands; ++number) {
    written.push_back(day(number));
    text({"check", "Run", "--on", written.back()});
  }

  EXPECT_EQ(nextDays(*watch, kCommands), written);
  watch->signal(SIGINT);
  EXPECT_EQ(watch->remainingLines(), std::vector<std::string>());
  EXPECT_EQ(watch->status(), 0);
}

TEST_F(HabitsWatch, MissesNothingFromTheMomentAtWhichItSaysSo) {
  constexpr int kCommands = 60;
  text({"add", "Run"});
  std::atomic<int> begun = 0;
  std::thread others([&] {
    for (int number = 0; number < kCommands; ++number) {
      ++begun;
      text({"check", "Run", "--on", day(number)});
    }
  });
  while (begun < kCommands / 6) std::this_thread::yield();
  const auto watch = watching();
  const int first = begun;
  others.join();

  // What was under way when it said so may be shown; what began later is.
  std::vector<std::string> expected;
  for (int number = first; number < kCommands; ++number) expected.push_back(day(number));
  ASSERT_LT(first, kCommands) << "the watch began too late to say anything";
  std::vector<std::string> shown;
  while (shown.empty() || shown.back() != expected.back()) {
    shown.push_back(nextCheckin(*watch)["date"]);
  }
  ASSERT_GE(shown.size(), expected.size());
  for (std::size_t i = 0; i < shown.size(); ++i) {
    EXPECT_EQ(shown[i], day(kCommands - static_cast<int>(shown.size() - i)));
  }
}

TEST_F(HabitsWatch, SeesWhatIsWrittenWithoutAnAuthor) {
  text({"add", "Run"});
  const auto watch = watching();

  support::edit(url(), Version::version7, [](auto& context) {
    context.insertNewObject("Group")->setValue("Sport", "title");
  });

  json shown = json::parse(watch->line());
  EXPECT_EQ(shown["entity"], "Group");
  EXPECT_TRUE(shown["author"].is_null());
}

TEST_F(HabitsWatch, EndsWhenItIsToldTo) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const auto watch = watching();
    EXPECT_FALSE(directoriesOfWatches().empty());

    watch->signal(signal);

    EXPECT_EQ(watch->status(), 0);
    EXPECT_EQ(directoriesOfWatches(), std::vector<std::string>());
  }
}

TEST_F(HabitsWatch, EndsWhenNobodyReadsIt) {
  const auto watch = watching();

  watch->closeOutput();

  EXPECT_EQ(watch->status(), 0);
}

TEST_F(HabitsWatch, EndsWhenItIsToldToWhileItsReaderIsElsewhere) {
  const auto watch = watching();
  support::edit(url(), Version::version7, [](auto& context) {
    // More than a pipe holds.
    for (int number = 0; number < 2000; ++number) context.insertNewObject("Group");
  });
  static_cast<void>(watch->line());

  watch->signal(SIGTERM);

  EXPECT_EQ(watch->status(), 0);
}

TEST_F(HabitsWatch, RemovesWhatKilledOnesLeft) {
  const auto killed = watching();
  killed->signal(SIGKILL);
  EXPECT_EQ(killed->status(), -SIGKILL);
  const std::vector<std::string> left = directoriesOfWatches();
  ASSERT_FALSE(left.empty());
  const auto living = watching();
  const auto another = watching();

  for (const std::string& name : directoriesOfWatches()) {
    EXPECT_FALSE(name.ends_with("-" + std::to_string(killed->process()))) << name;
  }
  EXPECT_FALSE(directoriesOfWatches().empty());
}

TEST_F(HabitsWatch, MigratesOnlyWithConsent) {
  writeVersion3();
  writePhotoFile("lake.jpg");
  fails({"watch"}, 3, {"--migrate"});
  EXPECT_EQ(version(), "Tessaline 3");

  const auto watch = program_.start({"watch", "--json", "--migrate"}, "watch-complaint");

  EXPECT_EQ(json::parse(watch->line()), json({{"watching", path()}}));
  EXPECT_EQ(version(), "Tessaline 7");
  text({"check", "Run", "--on", "2024-03-10"});
  EXPECT_EQ(nextCheckin(*watch)["date"], "2024-03-10");
}

}  // namespace
}  // namespace habits
