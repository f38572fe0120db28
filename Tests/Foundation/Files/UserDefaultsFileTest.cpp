#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Foundation/Files/UserDefaults.h"
#include "Tests/Foundation/Files/UserDefaultsPlace.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/FaultyFileSystem.h"

namespace foundation {
namespace {

namespace fs = std::filesystem;
using support::Acknowledgements;
using support::FaultyFileSystem;
using support::FileFault;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

class UserDefaultsFileTest : public testing::Test {
 protected:
  void lay(const std::string& content) const {
    fs::create_directories(place_.directory());
    std::ofstream(place_.file()) << content;
  }
  [[nodiscard]] static std::string contentOf(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  [[nodiscard]] std::vector<std::string> filesThere() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(place_.directory())) {
      names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
  }
  /// What `work` writes to the standard error stream, line by line.
  template <typename Work>
  [[nodiscard]] static std::vector<std::string> reported(Work&& work) {
    CaptureStderr();
    std::forward<Work>(work)();
    std::vector<std::string> lines;
    for (std::istringstream text(GetCapturedStderr()); !text.eof();) {
      std::string line;
      if (std::getline(text, line)) lines.push_back(line);
    }
    return lines;
  }

  UserDefaultsPlace place_;
};

using Names = std::vector<std::string>;

mode_t modeOf(const fs::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) throw std::runtime_error("nothing at " + path.string());
  return status.st_mode & 0777U;
}

TEST_F(UserDefaultsFileTest, IsMadeForThisUserAloneByTheFirstChange) {
  EXPECT_EQ(place_.defaults()->object("key"), std::nullopt);
  EXPECT_TRUE(fs::is_empty(place_.root()));

  place_.defaults()->set(1, "key");

  EXPECT_EQ(filesThere(), (Names{"defaults", "defaults.lock"}));
  EXPECT_EQ(modeOf(place_.file()), 0600U);
  EXPECT_EQ(modeOf(place_.directory()), 0700U);
}

TEST_F(UserDefaultsFileTest, IsNotMadeByARemoval) {
  place_.defaults()->removeObject("key");

  EXPECT_FALSE(fs::exists(place_.file()));
}

TEST_F(UserDefaultsFileTest, SaysWhatItHoldsAsText) {
  place_.defaults()->set(Date::fromReference(1.5), "lastHistoryTransactionTimeStamp-app");
  place_.defaults()->set(ValueDictionary{{"a/b", ValueList{true, 1, 1.0}}}, "more");

  EXPECT_EQ(contentOf(place_.file()),
            R"({"lastHistoryTransactionTimeStamp-app":{"date":"3ff8000000000000"},)"
            R"("more":{"dictionary":{"a\/b":[true,1,{"real":"3ff0000000000000"}]}}})");
}

TEST_F(UserDefaultsFileTest, IsNotOpenedAgainWhileItIsTheSame) {
  lay(R"({"key":1})");
  EXPECT_EQ(place_.defaults()->object("key"), Value(1));
  const FaultyFileSystem files;

  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(place_.defaults()->object("key"), Value(1));
    EXPECT_EQ(place_.defaults()->object("none"), std::nullopt);
  }

  EXPECT_TRUE(files.opened().empty());
}

TEST_F(UserDefaultsFileTest, IsNotWrittenForAValueThatItHasAlready) {
  place_.defaults()->set(1.0, "key");
  const FaultyFileSystem files;

  place_.defaults()->set(1.0, "key");
  EXPECT_EQ(files.count(), 1U) << "the lock's file may be made";

  place_.defaults()->set(1, "key");
  EXPECT_GT(files.count(), 2U);
}

TEST_F(UserDefaultsFileTest, IsReadAgainWhenAnotherProcessHasChangedIt) {
  place_.defaults()->set("rose", "own");
  ASSERT_EQ(place_.defaults()->object("other"), std::nullopt);

  const auto other = support::runInChild([&](const Acknowledgements& parent) {
    const auto seen = place_.defaults()->object("own");
    parent.send(seen ? seen->description() : "nothing");
    place_.defaults()->set("lily", "other");
  });

  EXPECT_EQ(other.acknowledged, Names{"rose"});
  EXPECT_EQ(place_.defaults()->object("other"), Value("lily"));
  EXPECT_EQ(place_.defaults()->object("own"), Value("rose"));
}

TEST_F(UserDefaultsFileTest, IsReadAgainWhenItHasGoneOrIsEditedInPlace) {
  lay(R"({"key":1})");
  ASSERT_EQ(place_.defaults()->object("key"), Value(1));

  lay(R"({"key":1234})");
  EXPECT_EQ(place_.defaults()->object("key"), Value(1234));

  fs::remove(place_.file());
  EXPECT_EQ(place_.defaults()->object("key"), std::nullopt);
}

TEST_F(UserDefaultsFileTest, LosesNothingThatTwoProcessesWriteAtOnce) {
  constexpr int kKeys = 60;
  const auto write = [](const std::string& name) {
    for (int i = 0; i < kKeys; ++i) {
      UserDefaults::suite("group.example")->set(i, name + std::to_string(i));
    }
  };

  const auto outcome = support::runInChild([&](const Acknowledgements&) {
    const pid_t second = ::fork();
    if (second < 0) throw std::runtime_error("no child process");
    write(second == 0 ? "second" : "first");
    if (second == 0) ::_exit(0);
    int status = 0;
    if (::waitpid(second, &status, 0) != second || status != 0)
      throw std::runtime_error("the second process failed");
  });

  ASSERT_EQ(outcome.exitStatus, 0);
  for (int i = 0; i < kKeys; ++i) {
    for (const char* name : {"first", "second"}) {
      EXPECT_EQ(UserDefaults::suite("group.example")->object(name + std::to_string(i)), Value(i));
    }
  }
}

class KilledWriter : public testing::TestWithParam<std::optional<Value>> {};

TEST_P(KilledWriter, LeavesTheOldSettingsOrTheNewOnes) {
  std::size_t kills = 0;
  for (std::size_t change = 1;; ++change) {
    UserDefaultsPlace place;
    place.defaults()->set(GetParam(), "key");
    const auto writer = support::runInChild([&](const Acknowledgements&) {
      const FaultyFileSystem files(FileFault::killProcess, change, 0);
      place.defaults()->set("new", "key");
    });
    const auto found = place.defaults()->object("key");
    if (!writer.wasKilled()) {
      EXPECT_EQ(found, Value("new"));
      break;
    }
    EXPECT_TRUE(found == GetParam() || found == Value("new")) << change;
    place.defaults()->set("newest", "key");
    EXPECT_EQ(place.readByAnotherObject("key"), Value("newest")) << change;
    ++kills;
  }

  EXPECT_GE(kills, 5U);
}

INSTANTIATE_TEST_SUITE_P(UserDefaultsFile, KilledWriter,
                         testing::Values(std::nullopt, Value("old")));

TEST_F(UserDefaultsFileTest, KeepsOthersKeysAndTheValueInMemoryWhereverAWriteFails) {
  std::size_t failures = 0;
  for (std::size_t change = 1;; ++change) {
    UserDefaultsPlace place;
    place.defaults()->set("rose", "other");
    bool wasReached = false;
    const auto lines = reported([&] {
      const FaultyFileSystem files(FileFault::failFromThenOn, change, ENOSPC);
      place.defaults()->set(1, "key");
      place.defaults()->set(2, "key");
      wasReached = files.wasReached();
    });
    EXPECT_EQ(place.defaults()->object("key"), Value(2)) << change;
    if (!wasReached) {
      EXPECT_TRUE(lines.empty());
      break;
    }
    EXPECT_EQ(lines.size(), 1U) << change;
    place.defaults()->set(true, "third");
    EXPECT_EQ(place.readByAnotherObject("key"), Value(2)) << change;
    EXPECT_EQ(place.readByAnotherObject("other"), Value("rose")) << change;
    EXPECT_EQ(place.readByAnotherObject("third"), Value(true)) << change;
    ++failures;
  }

  EXPECT_GE(failures, 8U);
}

TEST_F(UserDefaultsFileTest, ReportsAWriteThatFailsAndTheNextOneAfterItWorkedAgain) {
  const auto failing = [&](int value) {
    const FaultyFileSystem files(FileFault::failFromThenOn, 1, EACCES);
    place_.defaults()->set(value, "key");
  };

  EXPECT_EQ(reported([&] {
              failing(1);
              place_.defaults()->set(2, "key");
              failing(3);
            }).size(),
            2U);
}

TEST_F(UserDefaultsFileTest, HoldsSixteenMebibytesAndNoByteMore) {
  constexpr std::size_t kLargest = std::size_t{16} << 20;
  place_.defaults()->set("", "key");
  const std::size_t room = kLargest - fs::file_size(place_.file());
  const auto lines = [&](std::size_t length) {
    return reported([&] { place_.defaults()->set(std::string(length, 'a'), "key"); }).size();
  };

  EXPECT_EQ(lines(room), 0U);
  EXPECT_EQ(fs::file_size(place_.file()), kLargest);
  EXPECT_EQ(place_.readByAnotherObject("key")->text()->size(), room);
  EXPECT_EQ(lines(room + 1), 1U);
  EXPECT_EQ(place_.readByAnotherObject("key")->text()->size(), room);
}

TEST_F(UserDefaultsFileTest, LeavesNoHalfFileWhenTheDiskIsFull) {
  place_.defaults()->set(1, "key");

  const auto lines = reported([&] {
    // The lock, the new file, and then its first write.
    const FaultyFileSystem files(FileFault::failOnce, 3, ENOSPC);
    place_.defaults()->set(2, "key");
  });

  EXPECT_EQ(lines, Names{"\"" + place_.file().string() +
                         ".new\" cannot be written: No space left on device. What was set is kept "
                         "in memory until it can be."});
  EXPECT_EQ(filesThere(), (Names{"defaults", "defaults.lock"}));
}

TEST_F(UserDefaultsFileTest, IsSetAsideAndReportedOnceWhenItIsDamaged) {
  lay(R"({"key":1)");

  const auto lines = reported([&] {
    EXPECT_EQ(place_.defaults()->object("key"), std::nullopt);
    EXPECT_EQ(place_.defaults()->object("key"), std::nullopt);
  });

  const std::string path = place_.file();
  EXPECT_EQ(lines, Names{path + " was damaged and is now " + path +
                         ".damaged-1; its settings are forgotten"});
  EXPECT_EQ(contentOf(path + ".damaged-1"), R"({"key":1)");
  EXPECT_FALSE(fs::exists(path));
}

TEST_F(UserDefaultsFileTest, IsSetAsideBesideEarlierOnesByAWriteToo) {
  lay("[]");
  std::ofstream(place_.file().string() + ".damaged-1") << "earlier";

  const auto lines = reported([&] { place_.defaults()->set(1, "key"); });

  EXPECT_EQ(lines.size(), 1U);
  EXPECT_EQ(contentOf(place_.file().string() + ".damaged-1"), "earlier");
  EXPECT_EQ(contentOf(place_.file().string() + ".damaged-2"), "[]");
  EXPECT_EQ(contentOf(place_.file()), R"({"key":1})");
}

TEST_F(UserDefaultsFileTest, IsLeftAloneWhenItCannotBeSetAside) {
  lay("{");

  const auto lines = reported([&] {
    const FaultyFileSystem files(FileFault::failFromThenOn, 2, EROFS);
    EXPECT_EQ(place_.defaults()->object("key"), std::nullopt);
    EXPECT_EQ(place_.defaults()->object("key"), std::nullopt);
  });

  EXPECT_EQ(lines.size(), 1U);
  EXPECT_EQ(contentOf(place_.file()), "{");
}

TEST_F(UserDefaultsFileTest, CountsAsDamagedForWhateverItWouldNotHold) {
  for (const char* content :
       {"", "1", "[]", R"({"a":1.5})", R"({"a":null})", R"({"a":18446744073709551615})",
        R"({"a":{"date":1}})", R"({"a":{"date":"41c5e0f7a1f3b64"}})",
        R"({"a":{"date":"41C5E0F7A1F3B646"}})", R"({"a":{"data":"0"}})", R"({"a":{"what":1}})",
        R"({"a":{}})", R"({"a":{"dictionary":1}})", R"({"a":[{"b":1}]})",
        R"({"a":{"real":"3ff0000000000000","date":"3ff0000000000000"}})", R"({"a":1}{})"}) {
    const UserDefaultsPlace place;
    fs::create_directories(place.directory());
    std::ofstream(place.file()) << content;

    const auto lines =
        reported([&] { EXPECT_EQ(place.defaults()->object("a"), std::nullopt) << content; });

    EXPECT_EQ(lines.size(), 1U) << content;
    EXPECT_EQ(contentOf(place.file().string() + ".damaged-1"), content);
  }
}

TEST_F(UserDefaultsFileTest, KeepsWhatWasReadWhenItBecomesADirectory) {
  place_.defaults()->set("rose", "key");
  fs::remove(place_.file());
  fs::create_directory(place_.file());

  const auto lines = reported([&] {
    EXPECT_EQ(place_.defaults()->object("key"), Value("rose"));
    EXPECT_EQ(place_.defaults()->object("key"), Value("rose"));
  });

  EXPECT_EQ(lines, Names{"\"" + place_.file().string() +
                         "\" cannot be read: Is a directory. Its settings stay as they were last "
                         "read."});
}

}  // namespace
}  // namespace foundation
