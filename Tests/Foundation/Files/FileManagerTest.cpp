#include "Foundation/Files/FileManager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Foundation/Files/Directories.h"
#include "Foundation/Values/Error.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {
namespace {

using support::errorCode;
using support::FaultyFileSystem;
using support::FileFault;

namespace fs = std::filesystem;

class FileManagerTest : public testing::Test {
 protected:
  [[nodiscard]] fs::path path(const std::string& name) const { return directory_.path() / name; }
  [[nodiscard]] URL url(const std::string& name) const { return URL::fileURL(path(name).native()); }

  void makeFile(const std::string& name, const std::string& text = "text") const {
    manager_.write(Data::fromText(text), url(name));
  }
  [[nodiscard]] std::string text(const std::string& name) const {
    return std::string(manager_.contents(path(name).native()).text());
  }
  [[nodiscard]] mode_t modeOf(const std::string& name) const {
    struct stat status {};
    return ::stat(path(name).c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
  }

  support::TemporaryDirectory directory_;
  FileManager manager_;
};

TEST_F(FileManagerTest, IsOneForTheProcess) {
  EXPECT_EQ(&FileManager::defaultManager(), &FileManager::defaultManager());
}

TEST_F(FileManagerTest, GivesThePrivateTemporaryDirectoryInBothForms) {
  Directories::set(Directories::below(directory_.path().native(), "garden"));
  const std::string expected = path("cache/garden/tmp/").native();

  const URL temporary = manager_.temporaryDirectory();

  EXPECT_EQ(temporary, URL::fileURL(expected));
  EXPECT_EQ(NSTemporaryDirectory(), expected);
  EXPECT_TRUE(fs::is_empty(expected));
}

TEST_F(FileManagerTest, KnowsNoContainerOfAGroupThatWasNotRegistered) {
  EXPECT_FALSE(manager_.containerURL("group.com.example.garden"));
}

TEST_F(FileManagerTest, KeepsAGroupsContainerWithTheDataAndMakesNothing) {
  Directories::set(Directories::below(directory_.path().native(), "garden"));

  manager_.registerApplicationGroup("group.com.example.garden");

  const fs::path container = path("data/group.com.example.garden/");
  EXPECT_EQ(manager_.containerURL("group.com.example.garden"), URL::fileURL(container.native()));
  EXPECT_FALSE(manager_.containerURL("group.com.example"));
  EXPECT_FALSE(fs::exists(container));
}

TEST_F(FileManagerTest, KeepsAGroupsContainerWhereItIsTold) {
  manager_.registerApplicationGroup("group.garden", url("common"));

  EXPECT_EQ(manager_.containerURL("group.garden"), URL::fileURL(path("common/").native()));
}

TEST_F(FileManagerTest, RegistersNoGroupThatNamesNoDirectory) {
  EXPECT_EQ(errorCode([&] { manager_.registerApplicationGroup("../garden"); }), EINVAL);
  EXPECT_EQ(errorCode([&] {
              manager_.registerApplicationGroup("garden", *URL::parse("http://example.com/"));
            }),
            EINVAL);
}

TEST_F(FileManagerTest, HasACloudIdentityOnlyAfterOneWasInjected) {
  EXPECT_FALSE(manager_.ubiquityIdentityToken());

  manager_.setUbiquityIdentityToken(Data::fromText("rosa"));
  EXPECT_EQ(manager_.ubiquityIdentityToken(), Data::fromText("rosa"));

  manager_.setUbiquityIdentityToken(std::nullopt);
  EXPECT_FALSE(manager_.ubiquityIdentityToken());
}

TEST_F(FileManagerTest, SeesFilesAndDirectoriesThroughLinks) {
  makeFile("file");
  fs::create_symlink(path("file"), path("link"));
  fs::create_symlink(path("nothing"), path("dangling"));

  EXPECT_TRUE(manager_.fileExists(path("file").native()));
  EXPECT_TRUE(manager_.fileExists(directory_.path().native()));
  EXPECT_TRUE(manager_.fileExists(path("link").native()));
  EXPECT_FALSE(manager_.fileExists(path("dangling").native()));
  EXPECT_FALSE(manager_.fileExists(""));

  using Kind = FileManager::ItemKind;
  EXPECT_EQ(manager_.itemKind(url("file")), Kind::file);
  EXPECT_EQ(manager_.itemKind(url("link")), Kind::file);
  EXPECT_EQ(manager_.itemKind(URL::fileURL(directory_.path().native())), Kind::directory);
  EXPECT_EQ(manager_.itemKind(URL::fileURL("/dev/null")), Kind::other);
  EXPECT_EQ(manager_.itemKind(url("dangling")), std::nullopt);
  EXPECT_EQ(manager_.itemKind(url("file/beneath")), std::nullopt);
}

TEST_F(FileManagerTest, TakesNothingForMissingThatItCannotExamine) {
  makeFile("file");
  const FaultyFileSystem files(FileFault::failFromThenOn, 1, EIO,
                               support::bit(support::FileOperation::access));

  EXPECT_EQ(errorCode([&] { static_cast<void>(manager_.itemKind(url("file"))); }), EIO);
  EXPECT_FALSE(manager_.fileExists(path("file").native()));
}

TEST_F(FileManagerTest, ListsHiddenEntriesToo) {
  makeFile(".hidden");
  makeFile("a b%");
  fs::create_directory(path("directory"));

  auto entries = manager_.contentsOfDirectory(URL::fileURL(directory_.path().native() + "/"));

  std::ranges::sort(entries);
  EXPECT_EQ(entries, (std::vector<URL>{url(".hidden"), url("a b%"), url("directory")}));
}

TEST_F(FileManagerTest, ListsNothingThatIsNoDirectory) {
  makeFile("file");

  EXPECT_EQ(errorCode([&] { static_cast<void>(manager_.contentsOfDirectory(url("file"))); }),
            ENOTDIR);
  EXPECT_EQ(errorCode([&] { static_cast<void>(manager_.contentsOfDirectory(url("none"))); }),
            ENOENT);
}

TEST_F(FileManagerTest, SaysWhatFailedWithWhatAndWhy) {
  try {
    static_cast<void>(manager_.contents(path("none").native()));
    FAIL() << "a missing file was read";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), kPosixErrorDomain);
    EXPECT_EQ(error.message(),
              "\"" + path("none").native() + "\" cannot be read: No such file or directory.");
  }
}

TEST_F(FileManagerTest, ReadsAllBytesOfAFile) {
  const std::string bytes = std::string("\0\xff\n", 3) + std::string(200'000, 'x');
  makeFile("file", bytes);
  makeFile("empty", "");

  EXPECT_EQ(text("file"), bytes);
  EXPECT_EQ(text("empty"), "");
}

TEST_F(FileManagerTest, ReadsNoDirectoryAsAFile) {
  EXPECT_EQ(
      errorCode([&] { static_cast<void>(manager_.contents(directory_.path().native() + "/")); }),
      EISDIR);
}

TEST_F(FileManagerTest, WritesInPlaceForThisUserAlone) {
  makeFile("file", "long text");
  fs::create_hard_link(path("file"), path("other"));

  makeFile("file", "short");

  // The other name still leads to the same file: it was not replaced by a new one.
  EXPECT_EQ(text("other"), "short");
  EXPECT_EQ(modeOf("file"), 0600U);
}

TEST_F(FileManagerTest, WritesNowhereButIntoFiles) {
  EXPECT_EQ(errorCode([&] { manager_.write(Data(), URL::fileURL(directory_.path().native())); }),
            EISDIR);
  EXPECT_EQ(errorCode([&] { manager_.write(Data(), *URL::parse("http://example.com/a")); }),
            EINVAL);
}

TEST_F(FileManagerTest, ReportsEachFailureOfWriting) {
  std::size_t failures = 0;
  for (std::size_t change = 1;; ++change) {
    FaultyFileSystem files(FileFault::failOnce, change, ENOSPC);
    const auto code = errorCode([&] { makeFile("file"); });
    if (!files.wasReached()) break;
    EXPECT_EQ(code, ENOSPC);
    ++failures;
  }

  EXPECT_EQ(failures, 2U);
  EXPECT_EQ(text("file"), "text");
}

TEST_F(FileManagerTest, MakesDirectoriesForThisUserAlone) {
  manager_.createDirectory(url("one"), false);
  manager_.createDirectory(url("a/b"), true);
  manager_.createDirectory(url("a/b"), true);

  EXPECT_EQ(modeOf("one"), 0700U);
  EXPECT_EQ(modeOf("a"), 0700U);
  EXPECT_EQ(modeOf("a/b"), 0700U);
}

TEST_F(FileManagerTest, MakesNoDirectoryThatIsThereOrHasNoPlace) {
  manager_.createDirectory(url("one"), false);
  makeFile("file");

  EXPECT_EQ(errorCode([&] { manager_.createDirectory(url("one"), false); }), EEXIST);
  EXPECT_EQ(errorCode([&] { manager_.createDirectory(url("a/b"), false); }), ENOENT);
  EXPECT_EQ(errorCode([&] { manager_.createDirectory(url("file"), true); }), ENOTDIR);
}

TEST_F(FileManagerTest, MovesFilesAndDirectories) {
  makeFile("file");
  manager_.createDirectory(url("a/b"), true);

  manager_.moveItem(url("file"), url("a/moved"));
  manager_.moveItem(url("a"), url("c"));

  EXPECT_EQ(text("c/moved"), "text");
  EXPECT_TRUE(fs::is_directory(path("c/b")));
  EXPECT_FALSE(fs::exists(path("file")));
}

TEST_F(FileManagerTest, ReplacesNothingByMoving) {
  makeFile("from", "new");
  makeFile("to", "old");
  fs::create_symlink(path("nothing"), path("dangling"));

  EXPECT_EQ(errorCode([&] { manager_.moveItem(url("from"), url("to")); }), EEXIST);
  EXPECT_EQ(errorCode([&] { manager_.moveItem(url("from"), url("dangling")); }), EEXIST);
  EXPECT_EQ(errorCode([&] { manager_.moveItem(url("none"), url("free")); }), ENOENT);

  EXPECT_EQ(text("from"), "new");
  EXPECT_EQ(text("to"), "old");
}

TEST_F(FileManagerTest, RemovesADirectoryWithAllThatLiesInIt) {
  manager_.createDirectory(url("a/b/c"), true);
  makeFile("a/.hidden");
  makeFile("a/b/file");
  makeFile("kept");

  manager_.removeItem(URL::fileURL(path("a").native() + "/"));

  EXPECT_FALSE(fs::exists(path("a")));
  EXPECT_EQ(text("kept"), "text");
}

TEST_F(FileManagerTest, RemovesLinksAndNotWhatTheyLeadTo) {
  manager_.createDirectory(url("target"), false);
  makeFile("target/file");
  manager_.createDirectory(url("a"), false);
  fs::create_directory_symlink(path("target"), path("a/inner"));
  fs::create_directory_symlink(path("target"), path("link"));

  manager_.removeItem(url("a"));
  manager_.removeItem(url("link"));

  EXPECT_FALSE(fs::is_symlink(path("link")));
  EXPECT_EQ(text("target/file"), "text");
}

TEST_F(FileManagerTest, RemovesATreeOfAnyDepth) {
  constexpr int kLevels = 300;
  fs::path deepest = path("deep");
  for (int level = 0; level < kLevels; ++level) deepest /= "d";
  fs::create_directories(deepest);

  manager_.removeItem(url("deep"));

  EXPECT_FALSE(fs::exists(path("deep")));
}

TEST_F(FileManagerTest, RemovesNothingThatIsMissingOrHasNoName) {
  EXPECT_EQ(errorCode([&] { manager_.removeItem(url("none")); }), ENOENT);
  EXPECT_EQ(errorCode([&] { manager_.removeItem(*URL::parse("http://example.com/a")); }), EINVAL);
  EXPECT_EQ(errorCode([&] { manager_.removeItem(url("..")); }), EINVAL);
  EXPECT_EQ(errorCode([&] { manager_.removeItem(url(".")); }), EINVAL);

  EXPECT_TRUE(fs::exists(directory_.path()));
}

TEST_F(FileManagerTest, StopsRemovingAtTheFirstFailure) {
  std::size_t failures = 0;
  for (std::size_t change = 1;; ++change) {
    manager_.createDirectory(url("a/b"), true);
    makeFile("a/b/file");
    FaultyFileSystem files(FileFault::failOnce, change, EACCES);
    const auto code = errorCode([&] { manager_.removeItem(url("a")); });
    if (!files.wasReached()) break;
    EXPECT_EQ(code, EACCES);
    EXPECT_TRUE(fs::exists(path("a")));
    ++failures;
  }

  EXPECT_EQ(failures, 3U);
  EXPECT_FALSE(fs::exists(path("a")));
}

TEST_F(FileManagerTest, KnowsTheRoomThatIsLeft) {
  // Others write to the same disk: what is asked must not change around the asking.
  const auto room = [&] { return fs::space(directory_.path()).available; };
  std::uintmax_t before = 0;
  std::uint64_t told = 0;
  do {
    before = room();
    told = manager_.availableCapacity(url(""));
  } while (room() != before);

  EXPECT_EQ(told, before);

  FaultyFileSystem files;
  files.setAvailableBytes(4096);
  EXPECT_EQ(manager_.availableCapacity(url("")), 4096U);
}

TEST_F(FileManagerTest, KnowsNoRoomWhereThereIsNoDirectory) {
  EXPECT_EQ(errorCode([&] { static_cast<void>(manager_.availableCapacity(url("none"))); }), ENOENT);
}

}  // namespace
}  // namespace foundation
