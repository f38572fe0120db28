#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Foundation/Files/FileManager.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {
namespace {

namespace fs = std::filesystem;

/// Mounts a directory at a second place that only this process sees; false where that is not
/// allowed.
bool mountForThisProcess(const fs::path& directory, const fs::path& place) {
  if (::unshare(CLONE_NEWNS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         ::mount(directory.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

TEST(FileManagerMount, RemovesNothingOnAnotherMount) {
  const support::TemporaryDirectory root;
  const fs::path precious = root.path() / "precious";
  const fs::path place = root.path() / "doomed" / "mounted";
  fs::create_directories(precious);
  fs::create_directories(place);
  std::ofstream(precious / "diary") << "text";

  const auto child = support::runInChild([&](const support::Acknowledgements& parent) {
    if (!mountForThisProcess(precious, place)) return parent.send("not allowed");
    const FileManager manager;
    const URL doomed = URL::fileURL((root.path() / "doomed").native());
    parent.send(std::to_string(support::errorCode([&] { manager.removeItem(doomed); })));
  });

  ASSERT_EQ(child.acknowledged.size(), 1U);
  if (child.acknowledged.front() == "not allowed") GTEST_SKIP() << "no mounts can be made here";
  EXPECT_EQ(child.acknowledged.front(), std::to_string(EXDEV));
  EXPECT_TRUE(fs::exists(precious / "diary"));
}

}  // namespace
}  // namespace foundation
