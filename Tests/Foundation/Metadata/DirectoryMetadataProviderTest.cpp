#include "Foundation/Metadata/DirectoryMetadataProvider.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "Foundation/Values/NSURL.h"
#include "Tests/Foundation/Metadata/QueryLog.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {
namespace {

namespace fs = std::filesystem;
using Entries = QueryLog::Entries;
using Names = std::vector<std::string>;

/// So long that only what the system tells can be the cause of a call.
constexpr std::chrono::hours kNever{24};

class DirectoryMetadataProviderTest : public testing::Test {
 protected:
  void lay(const fs::path& path) const {
    fs::create_directories((root() / path).parent_path());
    std::ofstream(root() / path) << "content";
  }
  [[nodiscard]] fs::path root() const { return directory_.path() / "documents"; }
  [[nodiscard]] Ref<DirectoryMetadataProvider> provider(std::chrono::milliseconds interval) const {
    return make<DirectoryMetadataProvider>(URL::fileURL(root().string()), interval);
  }
  /// The paths below the directory of the items that are there.
  [[nodiscard]] Names paths() const {
    Names result;
    for (const auto& item : provider(kNever)->items()) {
      const Value url = item->value(NSMetadataItemURLKey).value();
      result.push_back(fs::path(*NSURL::in(url)->filePath()).lexically_relative(root()));
    }
    return result;
  }
  /// A query that has gathered.
  [[nodiscard]] Ref<NSMetadataQuery> started(std::chrono::milliseconds interval) {
    MetadataProvider::setProvider(provider(interval), "documents");
    auto query = make<NSMetadataQuery>();
    const auto queue = make<OperationQueue>();
    queue->setMaxConcurrentOperationCount(1);
    query->setOperationQueue(queue);
    query->setSearchScopes({"documents"});
    log_ = QueryLog::of(query);
    query->startQuery();
    static_cast<void>(log_->await(1));
    MetadataProvider::setProvider(nullptr, "documents");
    return query;
  }

  support::TemporaryDirectory directory_;
  Ref<QueryLog> log_;
};

TEST_F(DirectoryMetadataProviderTest, SaysOfAFileItsNameItsURLAndThatItIsHere) {
  lay("Backups/rose 1.sqlite");

  const auto items = provider(kNever)->items();

  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0]->value(NSMetadataItemFSNameKey), Value("rose 1.sqlite"));
  EXPECT_EQ(*NSURL::in(*items[0]->value(NSMetadataItemURLKey)),
            URL::fileURL((root() / "Backups/rose 1.sqlite").string()));
  EXPECT_EQ(items[0]->value(NSMetadataUbiquitousItemDownloadingStatusKey),
            Value("NSMetadataUbiquitousItemDownloadingStatusCurrent"));
}

TEST_F(DirectoryMetadataProviderTest, FindsAllRegularFilesInTheOrderOfTheirPaths) {
  for (const char* path : {"b", "a/z/1", "a/b", ".hidden", "a.b"}) lay(path);
  fs::create_directory(root() / "empty");

  EXPECT_EQ(paths(), (Names{".hidden", "a.b", "a/b", "a/z/1", "b"}));
}

TEST_F(DirectoryMetadataProviderTest, FollowsNoLinkBelowTheDirectory) {
  lay("a/file");
  fs::create_directory_symlink(root() / "a", root() / "link");
  fs::create_directory_symlink(root(), root() / "a/circle");
  fs::create_symlink(root() / "a/file", root() / "linked file");

  EXPECT_EQ(paths(), Names{"a/file"});
}

TEST_F(DirectoryMetadataProviderTest, MayBeALinkItself) {
  lay("a");
  fs::create_directory_symlink(root(), directory_.path() / "link");

  const auto items =
      make<DirectoryMetadataProvider>(URL::fileURL((directory_.path() / "link").string()))->items();

  EXPECT_EQ(items.size(), 1U);
}

TEST_F(DirectoryMetadataProviderTest, HasNothingWhereThereIsNoDirectory) {
  EXPECT_TRUE(paths().empty());

  std::ofstream(root()) << "a file";
  EXPECT_TRUE(paths().empty());
}

TEST_F(DirectoryMetadataProviderTest, IsOfNoURLThatIsNotAFiles) {
  EXPECT_EQ(support::errorCode([] {
              static_cast<void>(make<DirectoryMetadataProvider>(*URL::parse("http://a.com/")));
            }),
            EINVAL);
}

TEST_F(DirectoryMetadataProviderTest, TellsWhenTheSystemDoesThatFilesComeAndGo) {
  lay("a");
  const auto query = started(kNever);

  lay("b");
  EXPECT_EQ(log_->await(2).back(), "updated a b");
  fs::rename(root() / "a", root() / "c");
  EXPECT_EQ(log_->await(3).back(), "updated b c");
  fs::remove(root() / "b");
  EXPECT_EQ(log_->await(4).back(), "updated c");
}

TEST_F(DirectoryMetadataProviderTest, WatchesDirectoriesThatComeLater) {
  lay("a");
  const auto query = started(kNever);
  lay("new/deep/b");
  EXPECT_EQ(log_->await(2).back(), "updated a b");

  lay("new/deep/c");

  EXPECT_EQ(log_->await(3).back(), "updated a b c");
}

TEST_F(DirectoryMetadataProviderTest, LooksAfterEachIntervalWhereTheSystemTellsNothing) {
  // Nothing can be watched where there is no directory.
  const auto query = started(std::chrono::milliseconds(5));
  fs::create_directories(directory_.path() / "made");
  std::ofstream(directory_.path() / "made/a") << "content";

  fs::rename(directory_.path() / "made", root());

  EXPECT_EQ(log_->await(2), (Entries{"gathered", "updated a"}));
}

TEST_F(DirectoryMetadataProviderTest, HasCalledForTheLastTimeWhenItsTokenIsGone) {
  std::latch isInCall(1);
  std::latch isDropping(1);
  bool isOver = true;
  auto token = provider(std::chrono::milliseconds(1))->observe([&] {
    if (isInCall.try_wait()) return;
    isOver = false;
    isInCall.count_down();
    isDropping.wait();
    for (int turn = 0; turn < 100; ++turn) std::this_thread::yield();
    isOver = true;
  });
  isInCall.wait();

  isDropping.count_down();
  token = nullptr;

  EXPECT_TRUE(isOver);
}

TEST_F(DirectoryMetadataProviderTest, LetsACallDropItsOwnToken) {
  std::latch isDropped(1);
  std::latch isKept(1);
  Ref<Object> token;
  token = provider(std::chrono::milliseconds(1))->observe([&] {
    isKept.wait();
    token = nullptr;
    isDropped.count_down();
  });
  isKept.count_down();

  isDropped.wait();

  EXPECT_EQ(token, nullptr);
}

}  // namespace
}  // namespace foundation
