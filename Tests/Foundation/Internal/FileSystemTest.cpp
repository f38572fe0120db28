#include "Foundation/Internal/FileSystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {
namespace {

using support::FaultyFileSystem;
using support::FileFault;

constexpr std::uint8_t kContent[] = {1, 2, 3};

/// Writes a file beside the old one, syncs it and puts it in the old one's place: four changes.
FileResult<void> replaceFile(const std::filesystem::path& directory) {
  const std::string fresh = directory / "fresh";
  const std::string path = directory / "file";
  auto file = FileDescriptor::open(AT_FDCWD, fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (!file) return std::unexpected(file.error());
  if (const auto done = writeAll(file->get(), kContent); !done) return done;
  if (const auto done = FileSystem::current().sync(file->get()); !done) return done;
  return FileSystem::current().rename(AT_FDCWD, fresh.c_str(), AT_FDCWD, path.c_str());
}

TEST(FileSystem, WritesAndReadsAFile) {
  const support::TemporaryDirectory directory;

  ASSERT_TRUE(replaceFile(directory.path()));

  const auto content = readFile(AT_FDCWD, (directory.path() / "file").c_str(), 100);
  ASSERT_TRUE(content);
  EXPECT_EQ(*content, std::vector<std::uint8_t>({1, 2, 3}));
}

TEST(FileSystem, AnswersTheSystemsErrorNumber) {
  const support::TemporaryDirectory directory;

  const auto file = FileDescriptor::open(AT_FDCWD, (directory.path() / "none").c_str(), O_RDONLY);

  ASSERT_FALSE(file);
  EXPECT_EQ(file.error(), ENOENT);
}

TEST(FileSystem, RefusesToReadPastTheLimit) {
  const support::TemporaryDirectory directory;
  ASSERT_TRUE(replaceFile(directory.path()));

  EXPECT_EQ(readFile(AT_FDCWD, (directory.path() / "file").c_str(), 2).error(), EFBIG);
}

TEST(FileSystem, ReadsNoDirectoryAsAFile) {
  const support::TemporaryDirectory directory;

  EXPECT_EQ(readFile(AT_FDCWD, directory.path().c_str(), 100).error(), EISDIR);
}

TEST(FileSystem, OpensDescriptorsThatCloseOnExec) {
  const support::TemporaryDirectory directory;

  const auto file = FileDescriptor::open(AT_FDCWD, directory.path().c_str(), O_RDONLY);

  ASSERT_TRUE(file);
  EXPECT_EQ(::fcntl(file->get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(FileSystem, ListsTheNamesInADirectory) {
  const support::TemporaryDirectory directory;
  std::filesystem::create_directory(directory.path() / ".hidden");
  ASSERT_TRUE(replaceFile(directory.path()));
  const auto opened = FileDescriptor::open(AT_FDCWD, directory.path().c_str(), O_PATH);
  ASSERT_TRUE(opened);

  auto names = FileSystem::current().list(opened->get());
  // A second look starts at the beginning again.
  const auto again = FileSystem::current().list(opened->get());

  ASSERT_TRUE(names);
  EXPECT_EQ(names, again);
  std::ranges::sort(*names);
  EXPECT_EQ(*names, (std::vector<std::string>{".hidden", "file"}));
}

TEST(FileSystem, ListsNoFile) {
  const support::TemporaryDirectory directory;
  ASSERT_TRUE(replaceFile(directory.path()));
  const auto opened = FileDescriptor::open(AT_FDCWD, (directory.path() / "file").c_str(), O_RDONLY);
  ASSERT_TRUE(opened);

  EXPECT_EQ(FileSystem::current().list(opened->get()).error(), ENOTDIR);
}

TEST(FileSystem, TellsMountsApart) {
  const support::TemporaryDirectory directory;
  std::filesystem::create_directory(directory.path() / "inner");
  const auto mountOf = [](const std::string& path) {
    const auto opened = FileDescriptor::open(AT_FDCWD, path.c_str(), O_RDONLY);
    return opened ? FileSystem::current().mount(opened->get()) : std::unexpected(opened.error());
  };

  const auto outer = mountOf(directory.path());
  const auto inner = mountOf(directory.path() / "inner");
  const auto processes = mountOf("/proc");

  ASSERT_TRUE(outer && inner && processes);
  EXPECT_EQ(*outer, *inner);
  EXPECT_NE(*outer, *processes);
}

TEST(FileSystem, MakesADirectoryAndThoseAboveIt) {
  const support::TemporaryDirectory directory;
  const std::filesystem::path path = directory.path() / "a" / "b" / "c";

  EXPECT_TRUE(makeDirectories(path, 0700));
  EXPECT_TRUE(makeDirectories(path, 0700));

  EXPECT_TRUE(std::filesystem::is_directory(path));
}

TEST(FileSystem, MakesNoDirectoryThroughAFile) {
  const support::TemporaryDirectory directory;
  ASSERT_TRUE(replaceFile(directory.path()));

  EXPECT_EQ(makeDirectories(directory.path() / "file", 0700).error(), ENOTDIR);
  EXPECT_EQ(makeDirectories(directory.path() / "file" / "below", 0700).error(), ENOTDIR);
}

TEST(FileDescriptor, ClosesWhatItOwns) {
  const support::TemporaryDirectory directory;
  int number = -1;
  {
    const auto file = FileDescriptor::open(AT_FDCWD, directory.path().c_str(), O_RDONLY);
    ASSERT_TRUE(file);
    number = file->get();
  }

  EXPECT_EQ(::fcntl(number, F_GETFD), -1);
}

TEST(FaultyFileSystem, FailsEachChangeOnceAndThenNone) {
  const support::TemporaryDirectory directory;
  std::size_t failures = 0;
  for (std::size_t change = 1;; ++change) {
    FaultyFileSystem files(FileFault::failOnce, change, EIO);
    const auto result = replaceFile(directory.path());
    if (!files.wasReached()) {
      EXPECT_TRUE(result);
      break;
    }
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), EIO);
    ++failures;
  }

  EXPECT_EQ(failures, 4U);
}

TEST(FaultyFileSystem, KeepsFailingFromAChangeOn) {
  const support::TemporaryDirectory directory;
  const FaultyFileSystem files(FileFault::failFromThenOn, 2, ENOSPC);

  EXPECT_EQ(replaceFile(directory.path()).error(), ENOSPC);
  EXPECT_EQ(replaceFile(directory.path()).error(), ENOSPC);
}

TEST(FaultyFileSystem, LimitsTheRoomThatThereIs) {
  const support::TemporaryDirectory directory;
  const auto opened = FileDescriptor::open(AT_FDCWD, directory.path().c_str(), O_RDONLY);
  ASSERT_TRUE(opened);
  ASSERT_GT(FileSystem::current().availableBytes(opened->get()).value_or(0), 1000U);

  FaultyFileSystem files;
  files.setAvailableBytes(1000);

  EXPECT_EQ(FileSystem::current().availableBytes(opened->get()), 1000U);
}

TEST(FaultyFileSystemDeathTest, KillsTheProcessBeforeAChange) {
  const support::TemporaryDirectory directory;
  ASSERT_TRUE(replaceFile(directory.path()));

  EXPECT_EXIT(
      {
        const FaultyFileSystem files(FileFault::killProcess, 4, 0);
        static_cast<void>(replaceFile(directory.path()));
      },
      testing::KilledBySignal(SIGKILL), "");
  // The new content was written beside the file; the rename never came.
  EXPECT_TRUE(std::filesystem::exists(directory.path() / "fresh"));
}

}  // namespace
}  // namespace foundation
