#include "Foundation/Files/Directories.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "Foundation/Values/Error.h"
#include "Tests/Support/ScopedVariable.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {
namespace {

using support::ScopedVariable;

class DirectoriesTest : public testing::Test {
 protected:
  ScopedVariable home_{"HOME", "/home/rosa"};
  ScopedVariable config_{"XDG_CONFIG_HOME", nullptr};
  ScopedVariable data_{"XDG_DATA_HOME", nullptr};
  ScopedVariable cache_{"XDG_CACHE_HOME", nullptr};
};

std::string homeInUserDatabase() { return ::getpwuid(::getuid())->pw_dir; }

int codeOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), kPosixErrorDomain);
    return static_cast<int>(error.code());
  }
  return 0;
}

TEST_F(DirectoriesTest, LieInTheHomeDirectoryUnderTheApplicationsIdentifier) {
  const auto directories = Directories::ofUser("com.example.garden");

  EXPECT_EQ(directories.applicationIdentifier(), "com.example.garden");
  EXPECT_EQ(directories.configDirectory(), "/home/rosa/.config/com.example.garden");
  EXPECT_EQ(directories.dataDirectory(), "/home/rosa/.local/share/com.example.garden");
  EXPECT_EQ(directories.cacheDirectory(), "/home/rosa/.cache/com.example.garden");
}

TEST_F(DirectoriesTest, LieWhereTheVariablesSay) {
  const ScopedVariable config("XDG_CONFIG_HOME", "/etc/rosa/");
  const ScopedVariable data("XDG_DATA_HOME", "/srv/rosa");
  const ScopedVariable cache("XDG_CACHE_HOME", "/var/cache/rosa");

  const auto directories = Directories::ofUser("garden");

  EXPECT_EQ(directories.configDirectory(), "/etc/rosa/garden");
  EXPECT_EQ(directories.dataDirectory(), "/srv/rosa/garden");
  EXPECT_EQ(directories.cacheDirectory(), "/var/cache/rosa/garden");
}

TEST_F(DirectoriesTest, IgnoreVariablesThatAreEmptyOrRelative) {
  const ScopedVariable config("XDG_CONFIG_HOME", "");
  const ScopedVariable data("XDG_DATA_HOME", "data");
  const ScopedVariable cache("XDG_CACHE_HOME", "./cache");

  const auto directories = Directories::ofUser("garden");

  EXPECT_EQ(directories.configDirectory(), "/home/rosa/.config/garden");
  EXPECT_EQ(directories.dataDirectory(), "/home/rosa/.local/share/garden");
  EXPECT_EQ(directories.cacheDirectory(), "/home/rosa/.cache/garden");
}

TEST_F(DirectoriesTest, FollowTheUserDatabaseWhereHomeIsUnset) {
  const ScopedVariable home("HOME", nullptr);

  EXPECT_EQ(Directories::ofUser("garden").configDirectory(),
            homeInUserDatabase() + "/.config/garden");
}

TEST_F(DirectoriesTest, FollowTheUserDatabaseWhereHomeIsRelative) {
  const ScopedVariable home("HOME", "rosa");

  EXPECT_EQ(Directories::ofUser("garden").configDirectory(),
            homeInUserDatabase() + "/.config/garden");
}

TEST_F(DirectoriesTest, SayWhatToDoWhereThereIsNoHomeDirectory) {
  if (::getuid() != 0) GTEST_SKIP() << "only the superuser can become a user without an entry";
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        ::unsetenv("HOME");
        if (::setuid(54321) != 0) std::_Exit(2);
        try {
          static_cast<void>(Directories::ofUser("garden"));
        } catch (const Error& error) {
          std::fprintf(stderr, "%s\n", error.message().c_str());
          std::_Exit(error.code() == ENOENT ? 0 : 3);
        }
      },
      testing::ExitedWithCode(0),
      "There is no home directory to keep data in: HOME is not an absolute path, and user 54321 "
      "has none in the user database. Set HOME, or XDG_CONFIG_HOME, XDG_DATA_HOME and "
      "XDG_CACHE_HOME.");
}

TEST_F(DirectoriesTest, NeedNoHomeDirectoryWhereTheVariablesSayAll) {
  const ScopedVariable home("HOME", nullptr);
  const ScopedVariable config("XDG_CONFIG_HOME", "/a");
  const ScopedVariable data("XDG_DATA_HOME", "/b");
  const ScopedVariable cache("XDG_CACHE_HOME", "/c");

  EXPECT_EQ(Directories::ofUser("garden").cacheDirectory(), "/c/garden");
}

TEST_F(DirectoriesTest, RefuseAnIdentifierThatIsNoNameOfADirectory) {
  for (const std::string identifier : {"", ".", "..", "a/b", "../a", "/a"}) {
    EXPECT_EQ(codeOf([&] { static_cast<void>(Directories::ofUser(identifier)); }), EINVAL)
        << identifier;
  }
}

TEST_F(DirectoriesTest, KeepAGroupsDirectoryBesideTheApplications) {
  const auto directories = Directories::ofUser("com.example.garden");

  EXPECT_EQ(directories.groupDirectory("group.example"), "/home/rosa/.local/share/group.example");
  EXPECT_EQ(codeOf([&] { static_cast<void>(directories.groupDirectory("../x")); }), EINVAL);
}

TEST_F(DirectoriesTest, KeepASuitesSettingsBesideTheApplications) {
  const auto directories = Directories::ofUser("com.example.garden");

  EXPECT_EQ(directories.suiteDirectory("group.example"), "/home/rosa/.config/group.example");
  EXPECT_EQ(codeOf([&] { static_cast<void>(directories.suiteDirectory("a/b")); }), EINVAL);
}

TEST_F(DirectoriesTest, LieTogetherBelowADirectoryOfTheCallers) {
  const auto directories = Directories::below("/srv/test/", "garden");

  EXPECT_EQ(directories.configDirectory(), "/srv/test/config/garden");
  EXPECT_EQ(directories.dataDirectory(), "/srv/test/data/garden");
  EXPECT_EQ(directories.cacheDirectory(), "/srv/test/cache/garden");
  EXPECT_EQ(codeOf([] { static_cast<void>(Directories::below("test", "garden")); }), EINVAL);
}

TEST_F(DirectoriesTest, AreTheProcesssOnceSet) {
  Directories::set(Directories::below("/srv/first", "garden"));
  const auto first = Directories::current();

  Directories::set(Directories::below("/srv/second", "garden"));

  EXPECT_EQ(first->configDirectory(), "/srv/first/config/garden");
  EXPECT_EQ(Directories::current()->configDirectory(), "/srv/second/config/garden");
}

TEST_F(DirectoriesTest, AreThoseOfTheUserUnderTheProgramsNameWhereNoneWereSet) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        std::fprintf(stderr, "%s\n", Directories::current()->configDirectory().c_str());
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "/home/rosa/.config/FoundationFilesTests\n");
}

TEST_F(DirectoriesTest, MakeNothingOnTheDisk) {
  support::TemporaryDirectory root;

  const auto directories = Directories::below(root.path().string(), "garden");

  EXPECT_FALSE(std::filesystem::exists(directories.configDirectory()));
  EXPECT_TRUE(std::filesystem::is_empty(root.path()));
}

}  // namespace
}  // namespace foundation
