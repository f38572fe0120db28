#include "Foundation/Files/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "Foundation/Files/Internal/ProtectedPlaces.h"
#include "Foundation/Values/Error.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/ScopedVariable.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {
namespace {

using Code = TemporaryDirectoryErrorCode;
using support::errorCode;
using support::FaultyFileSystem;
using support::FileFault;
using support::number;

namespace fs = std::filesystem;

class TemporaryDirectoryTest : public testing::Test {
 protected:
  [[nodiscard]] TemporaryDirectory open() const { return TemporaryDirectory(directories_); }

  [[nodiscard]] std::int64_t codeOfOpening() const {
    return errorCode([&] { static_cast<void>(open()); });
  }
  [[nodiscard]] std::int64_t codeOfEmptying(const TemporaryDirectory& directory) const {
    return errorCode([&] { directory.removeContents(store_); });
  }

  /// Makes the directory with a file that must be there in the end.
  [[nodiscard]] TemporaryDirectory filled() const {
    TemporaryDirectory directory = open();
    std::ofstream(path_ / "precious") << "text";
    return directory;
  }
  void expectNothingRemoved() const { EXPECT_TRUE(fs::exists(path_ / "precious")); }

  static mode_t modeOf(const fs::path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
  }

  support::TemporaryDirectory root_;
  Directories directories_ = Directories::below(root_.path().native(), "garden");
  fs::path parent_ = root_.path() / "cache" / "garden";
  fs::path path_ = parent_ / "tmp";
  URL store_ = URL::fileURL((root_.path() / "data" / "garden" / "Model.sqlite").native());
};

TEST_F(TemporaryDirectoryTest, IsMadeForThisUserAloneWithItsMarkerBesideIt) {
  const TemporaryDirectory directory = open();

  EXPECT_EQ(directory.path(), path_.native());
  EXPECT_EQ(directory.url(), URL::fileURL(path_.native() + "/"));
  EXPECT_TRUE(fs::is_empty(path_));
  EXPECT_EQ(modeOf(path_), 0700U);
  EXPECT_EQ(modeOf(parent_), 0700U);
  EXPECT_EQ(modeOf(parent_ / "tmp.may-be-emptied"), 0600U);
}

TEST_F(TemporaryDirectoryTest, KeepsWhatLiesInItWhenItIsOpenedAgain) {
  static_cast<void>(filled());

  static_cast<void>(open());

  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, BelongsToOneApplication) {
  const TemporaryDirectory other(Directories::below(root_.path().native(), "garden.share"));

  EXPECT_NE(other.path(), open().path());
}

TEST_F(TemporaryDirectoryTest, IsThatOfTheProcesssDirectories) {
  Directories::set(directories_);

  EXPECT_EQ(TemporaryDirectory::ofProcess().path(), path_.native());
}

TEST_F(TemporaryDirectoryTest, LosesItsContentsAndNothingElseWhenEmptied) {
  const TemporaryDirectory directory = filled();
  fs::create_directories(path_ / "a" / "b");
  fs::create_directory_symlink(root_.path(), path_ / "link");
  std::ofstream(parent_ / "neighbour") << "text";

  directory.removeContents(store_);

  EXPECT_TRUE(fs::is_empty(path_));
  EXPECT_TRUE(fs::exists(parent_ / "neighbour"));
  EXPECT_EQ(codeOfEmptying(open()), 0);
}

TEST_F(TemporaryDirectoryTest, ReportsAnEntryThatCannotBeRemoved) {
  const TemporaryDirectory directory = filled();

  const FaultyFileSystem files(FileFault::failOnce, 1, EACCES);

  EXPECT_EQ(codeOfEmptying(directory), EACCES);
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereItIsTheHomeDirectory) {
  const TemporaryDirectory directory = filled();
  const support::ScopedVariable home("HOME", path_.c_str());

  EXPECT_EQ(codeOfOpening(), number(Code::protectedPlace));
  EXPECT_EQ(codeOfEmptying(directory), number(Code::protectedPlace));
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereItHoldsTheHomeDirectory) {
  const TemporaryDirectory directory = filled();
  const fs::path link = root_.path() / "home";
  fs::create_directories(path_ / "people" / "rosa");
  fs::create_directory_symlink(path_ / "people", link);
  const support::ScopedVariable home("HOME", (link / "rosa").c_str());

  EXPECT_EQ(codeOfOpening(), number(Code::protectedPlace));
  EXPECT_EQ(codeOfEmptying(directory), number(Code::protectedPlace));
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereItIsTheSystemsTemporaryDirectory) {
  const TemporaryDirectory directory = filled();
  const support::ScopedVariable temporary("TMPDIR", path_.c_str());

  EXPECT_EQ(codeOfOpening(), number(Code::protectedPlace));
  EXPECT_EQ(codeOfEmptying(directory), number(Code::protectedPlace));
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, ProtectsThePlacesOfTheSystem) {
  for (const std::string place : {"/", "/tmp", "/var/tmp"}) {
    struct stat status {};
    ASSERT_EQ(::stat(place.c_str(), &status), 0);
    EXPECT_TRUE(protectedPlaceIn(status)) << place;
  }
}

TEST_F(TemporaryDirectoryTest, MayLieBelowAProtectedPlace) {
  const support::ScopedVariable home("HOME", root_.path().c_str());

  EXPECT_EQ(codeOfOpening(), 0);
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereItIsALink) {
  const TemporaryDirectory directory = filled();
  fs::rename(path_, root_.path() / "elsewhere");
  fs::create_directory_symlink(root_.path() / "elsewhere", path_);

  EXPECT_EQ(codeOfOpening(), number(Code::symbolicLink));
  EXPECT_EQ(codeOfEmptying(directory), number(Code::symbolicLink));
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereItLiesBehindALink) {
  const TemporaryDirectory directory = filled();
  fs::rename(parent_, root_.path() / "elsewhere");
  fs::create_directory_symlink(root_.path() / "elsewhere", parent_);

  EXPECT_EQ(codeOfOpening(), number(Code::symbolicLink));
  EXPECT_EQ(codeOfEmptying(directory), number(Code::symbolicLink));
  EXPECT_EQ(errorCode([&] { static_cast<void>(directory.lock()); }), number(Code::symbolicLink));
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, IsNotMadeThroughALinkThatLeadsNowhere) {
  fs::create_directories(parent_.parent_path());
  fs::create_directory_symlink(root_.path() / "elsewhere", parent_);

  EXPECT_EQ(codeOfOpening(), number(Code::symbolicLink));
  EXPECT_FALSE(fs::exists(root_.path() / "elsewhere"));
}

TEST_F(TemporaryDirectoryTest, MayLieInACacheHomeThatIsALink) {
  fs::create_directory(root_.path() / "big disk");
  fs::create_directory_symlink(root_.path() / "big disk", root_.path() / "cache");

  EXPECT_EQ(codeOfOpening(), 0);
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereItIsAFile) {
  fs::create_directories(parent_);
  std::ofstream(path_) << "text";

  EXPECT_EQ(codeOfOpening(), number(Code::notOurs));
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereOthersCanLookIntoIt) {
  const TemporaryDirectory directory = filled();
  for (const mode_t mode : {0750U, 0705U, 0720U}) {
    ASSERT_EQ(::chmod(path_.c_str(), mode), 0);

    EXPECT_EQ(codeOfOpening(), number(Code::notOurs));
    EXPECT_EQ(codeOfEmptying(directory), number(Code::notOurs));
    EXPECT_EQ(modeOf(path_), mode) << "what is not ours is not put right either";
  }
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereOthersCanExchangeIt) {
  const TemporaryDirectory directory = filled();
  ASSERT_EQ(::chmod(parent_.c_str(), 0707), 0);

  EXPECT_EQ(codeOfOpening(), number(Code::notOurs));
  EXPECT_EQ(codeOfEmptying(directory), number(Code::notOurs));
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereItBelongsToAnotherUser) {
  if (::getuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  constexpr uid_t kNobody = 54321;
  const TemporaryDirectory directory = filled();

  ASSERT_EQ(::chown(path_.c_str(), kNobody, kNobody), 0);
  EXPECT_EQ(codeOfOpening(), number(Code::notOurs));
  EXPECT_EQ(codeOfEmptying(directory), number(Code::notOurs));

  ASSERT_EQ(::chown(path_.c_str(), 0, 0), 0);
  ASSERT_EQ(::chown(parent_.c_str(), kNobody, kNobody), 0);
  EXPECT_EQ(codeOfEmptying(directory), number(Code::notOurs));
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, IsRefusedWithoutItsMarker) {
  const TemporaryDirectory directory = filled();
  fs::remove(parent_ / "tmp.may-be-emptied");

  EXPECT_EQ(codeOfOpening(), number(Code::unmarked));
  EXPECT_EQ(codeOfEmptying(directory), number(Code::unmarked));
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, TakesNoLinkForItsMarker) {
  const TemporaryDirectory directory = filled();
  fs::rename(parent_ / "tmp.may-be-emptied", parent_ / "other");
  fs::create_symlink(parent_ / "other", parent_ / "tmp.may-be-emptied");

  EXPECT_EQ(codeOfEmptying(directory), number(Code::unmarked));
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, TakesOverNoDirectoryThatSomethingElseMade) {
  fs::create_directories(path_);
  fs::permissions(path_, fs::perms::owner_all);

  EXPECT_EQ(codeOfOpening(), number(Code::unmarked));
  EXPECT_FALSE(fs::exists(parent_ / "tmp.may-be-emptied"));
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereAStoreLiesInIt) {
  const TemporaryDirectory directory = filled();
  fs::create_directories(path_ / "inner");
  for (const fs::path& store : {path_ / "Model.sqlite", path_ / "inner" / "Model.sqlite",
                                path_ / "inner" / ".." / "Model.sqlite", path_}) {
    const URL url = URL::fileURL(store.native());
    EXPECT_EQ(errorCode([&] { directory.requireApart(url); }), number(Code::holdsStore)) << store;
    EXPECT_EQ(errorCode([&] { directory.removeContents(url); }), number(Code::holdsStore));
  }
  expectNothingRemoved();
}

TEST_F(TemporaryDirectoryTest, IsRefusedWhereAStoreIsReachedThroughIt) {
  const TemporaryDirectory directory = filled();
  const fs::path outside = root_.path() / "Model.sqlite";
  const fs::path linkOutside = root_.path() / "link.sqlite";
  fs::create_directories(path_ / "inner");
  std::ofstream(outside) << "text";
  std::ofstream(path_ / "inner" / "Model.sqlite") << "text";
  fs::create_symlink(outside, path_ / "link.sqlite");
  fs::create_symlink(path_ / "inner" / "Model.sqlite", linkOutside);

  for (const fs::path& store : {path_ / "link.sqlite", linkOutside}) {
    EXPECT_EQ(errorCode([&] { directory.requireApart(URL::fileURL(store.native())); }),
              number(Code::holdsStore))
        << store;
  }
}

TEST_F(TemporaryDirectoryTest, LiesApartFromStoresElsewhere) {
  const TemporaryDirectory directory = open();

  // Beside it, above it, and where there is nothing yet.
  for (const fs::path& store :
       {parent_ / "Model.sqlite", root_.path() / "Model.sqlite", parent_ / "tmp.sqlite",
        root_.path() / "no" / "such" / "directory" / "Model.sqlite"}) {
    EXPECT_EQ(errorCode([&] { directory.requireApart(URL::fileURL(store.native())); }), 0) << store;
  }
  EXPECT_EQ(errorCode([&] { directory.requireApart(*URL::parse("http://example.com/a")); }),
            EINVAL);
}

TEST_F(TemporaryDirectoryTest, IsUsableAfterAFailureAtAnyPointOfItsMaking) {
  std::size_t failures = 0;
  for (std::size_t change = 1;; ++change) {
    const support::TemporaryDirectory root;
    const auto directories = Directories::below(root.path().native(), "garden");
    const auto code = [&] { return errorCode([&] { TemporaryDirectory{directories}; }); };
    {
      const FaultyFileSystem files(FileFault::failFromThenOn, change, EIO);
      const auto failed = code();
      if (!files.wasReached()) break;
      EXPECT_EQ(failed, EIO);
    }
    EXPECT_EQ(code(), 0) << "after a failure of change " << change;
    ++failures;
  }

  EXPECT_GE(failures, 4U);
}

TEST_F(TemporaryDirectoryTest, IsUsableAfterItsMakerWasKilled) {
  std::size_t kills = 0;
  for (std::size_t change = 1;; ++change) {
    const support::TemporaryDirectory root;
    const auto directories = Directories::below(root.path().native(), "garden");
    const auto maker = support::runInChild([&](const support::Acknowledgements&) {
      const FaultyFileSystem files(FileFault::killProcess, change, 0);
      TemporaryDirectory{directories};
    });
    if (!maker.wasKilled()) break;
    EXPECT_EQ(errorCode([&] { TemporaryDirectory{directories}; }), 0) << change;
    ++kills;
  }

  EXPECT_GE(kills, 4U);
}

TEST_F(TemporaryDirectoryTest, IsLockedByOneAtATime) {
  const TemporaryDirectory directory = open();
  const auto guard = directory.lock();

  EXPECT_EQ(errorCode([&] { static_cast<void>(open().lock(std::chrono::milliseconds(0))); }),
            number(Code::busy));
}

TEST_F(TemporaryDirectoryTest, IsFreeAgainWhenItsGuardGoes) {
  const TemporaryDirectory directory = open();
  static_cast<void>(directory.lock());

  EXPECT_EQ(errorCode([&] { static_cast<void>(open().lock(std::chrono::milliseconds(0))); }), 0);
}

TEST_F(TemporaryDirectoryTest, IsLockedAgainstOtherProcesses) {
  const auto guard = open().lock();

  const auto other = support::runInChild([&](const support::Acknowledgements& parent) {
    const auto code =
        errorCode([&] { static_cast<void>(open().lock(std::chrono::milliseconds(1))); });
    parent.send(std::to_string(code));
  });

  EXPECT_EQ(other.acknowledged, std::vector{std::to_string(number(Code::busy))});
}

TEST_F(TemporaryDirectoryTest, KeepsItsLockWhenItIsEmptied) {
  const TemporaryDirectory directory = filled();
  const auto guard = directory.lock();

  directory.removeContents(store_);

  EXPECT_EQ(errorCode([&] { static_cast<void>(open().lock(std::chrono::milliseconds(0))); }),
            number(Code::busy));
}

TEST_F(TemporaryDirectoryTest, SaysWhyItIsNotUsed) {
  static_cast<void>(open());
  fs::remove(parent_ / "tmp.may-be-emptied");
  try {
    static_cast<void>(open());
    FAIL() << "the directory was not refused";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), kCocoaErrorDomain);
    EXPECT_EQ(error.message(),
              "\"" + path_.native() +
                  "\" is not used as the temporary directory: there is no marker "
                  "\"tmp.may-be-emptied\" beside it, so something else made it. Move it away to "
                  "let a new one be made. Nothing in it was changed.");
  }
}

}  // namespace
}  // namespace foundation
