#include "Foundation/Values/FatalError.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace foundation {
namespace {

/// What `print` leaves on standard output.
std::string printed(std::string_view text) {
  testing::internal::CaptureStdout();
  print(text);
  return testing::internal::GetCapturedStdout();
}

TEST(FatalErrorDeathTest, PrintsSourceLineAndMessageAndEndsByASignal) {
  EXPECT_EXIT(fatalError("no store", "CoreDataStack/CoreDataMigrator", 42),
              testing::KilledBySignal(SIGABRT),
              "^CoreDataStack/CoreDataMigrator:42: Fatal error: no store\n$");
}

TEST(FatalErrorDeathTest, PrintsTheMessageAloneWithoutAPosition) {
  EXPECT_EXIT(fatalError("the model is missing"), testing::KilledBySignal(SIGABRT),
              "^Fatal error: the model is missing\n$");
}

TEST(FatalErrorDeathTest, RunsNoExitHandlers) {
  EXPECT_EXIT(
      {
        std::atexit([] { std::fputs("exit handler", stderr); });
        fatalError("stop");
      },
      testing::KilledBySignal(SIGABRT), "^Fatal error: stop\n$");
}

TEST(Print, WritesTheTextAndANewline) {
  EXPECT_EQ(printed("two words"), "two words\n");
  EXPECT_EQ(printed(""), "\n");
}

TEST(Print, KeepsItsPlaceAmongWhatTheProgramPrints) {
  testing::internal::CaptureStdout();
  std::fputs("one ", stdout);
  print("two");
  std::fputs("three", stdout);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "one two\nthree");
}

TEST(Print, KeepsTheLinesOfSeveralThreadsWhole) {
  constexpr int kLines = 200;
  testing::internal::CaptureStdout();
  {
    std::vector<std::jthread> threads;
    for (const char letter : {'a', 'b', 'c', 'd'}) {
      threads.emplace_back([letter] {
        for (int i = 0; i < kLines; ++i) print(std::string(3000, letter));
      });
    }
  }
  std::istringstream lines(testing::internal::GetCapturedStdout());

  int count = 0;
  for (std::string line; std::getline(lines, line); ++count)
    ASSERT_EQ(line, std::string(3000, line.empty() ? ' ' : line.front()));
  EXPECT_EQ(count, 4 * kLines);
}

TEST(PrintDeathTest, OutlivesAClosedPipe) {
  EXPECT_EXIT(
      {
        int ends[2] = {};
        if (::pipe(ends) != 0) std::_Exit(2);
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[0]);
        print("nobody reads this");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(PrintDeathTest, LeavesTheProgramsOwnBrokenPipesAlone) {
  EXPECT_EXIT(
      {
        print("fine");
        int ends[2] = {};
        if (::pipe(ends) != 0) std::_Exit(2);
        ::close(ends[0]);
        static_cast<void>(::write(ends[1], "x", 1));
        std::_Exit(0);
      },
      testing::KilledBySignal(SIGPIPE), "");
}

}  // namespace
}  // namespace foundation
