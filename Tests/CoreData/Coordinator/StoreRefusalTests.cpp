#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Tests/Support/CrashRunner.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/GardenModel.h"
#include "Tests/Support/TemporaryDirectory.h"

// What lies at a URL and is no store of the model is refused, and left as it was.

namespace {

using coredata::NSPersistentStoreCoordinator;
using coredata::NSPersistentStoreDescription;
using coredata::StoreErrorCode;
using foundation::make;
using foundation::Ref;
using foundation::URL;
using support::number;

constexpr const char* kOlderGarden =
    R"({"identifiers": ["Garden 1"], "entities": {"Bed": {"attributes": {"name": "text"}}}})";
constexpr const char* kNewerGarden =
    R"({"identifiers": ["Garden 2"], "entities": {"Bed": {"attributes": {"width": "double"}}}})";
constexpr const char* kOrchard =
    R"({"identifiers": ["Orchard 1"], "entities": {"Tree": {"attributes": {"name": "text"}}}})";

class StoreRefusal : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path path() const { return directory.path() / "garden.sqlite"; }

  void write(const std::string& content) const {
    std::ofstream(path(), std::ios::binary) << content;
  }
  /// Only while nobody has the file open: closing it would take SQLite's locks away.
  [[nodiscard]] std::string content() const {
    std::ifstream stream(path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  void makeStore(const char* modelSource) const {
    make<NSPersistentStoreCoordinator>(coredata::modelFromSource(modelSource))
        ->addPersistentStore(description());
  }
  [[nodiscard]] NSPersistentStoreDescription description() const {
    return NSPersistentStoreDescription(URL::fileURL(path().string()));
  }
  /// The code with which a coordinator of the first garden refuses what is there.
  [[nodiscard]] std::int64_t refusal() const {
    const auto coordinator =
        make<NSPersistentStoreCoordinator>(coredata::modelFromSource(kOlderGarden));
    try {
      coordinator->addPersistentStore(description());
    } catch (const foundation::Error& error) {
      EXPECT_NE(error.message().find(path().string()), std::string::npos) << error.message();
      EXPECT_TRUE(coordinator->persistentStores().empty());
      // It is as good as new for another store.
      coordinator->addPersistentStore(NSPersistentStoreDescription(
          URL::fileURL((directory.path() / "another.sqlite").string())));
      return error.code();
    }
    return 0;
  }

  support::TemporaryDirectory directory;
};

TEST_F(StoreRefusal, MeetsAStoreOfANewerModel) {
  makeStore(kNewerGarden);
  const std::string before = content();

  EXPECT_EQ(refusal(), number(StoreErrorCode::newerVersion));
  EXPECT_EQ(content(), before);
}

TEST_F(StoreRefusal, MeetsAStoreOfAnotherModel) {
  makeStore(kOrchard);
  const std::string before = content();

  EXPECT_EQ(refusal(), number(StoreErrorCode::incompatibleModel));
  EXPECT_EQ(content(), before);
}

TEST_F(StoreRefusal, IsOverOnceTheModelFits) {
  makeStore(kNewerGarden);
  ASSERT_NE(refusal(), 0);

  EXPECT_NO_THROW(makeStore(kNewerGarden));
}

TEST_F(StoreRefusal, MeetsAFileThatIsNoDatabase) {
  const std::string letter(9000, 'x');
  write(letter);

  EXPECT_EQ(refusal(), number(StoreErrorCode::notAStore));
  EXPECT_EQ(content(), letter);
}

TEST_F(StoreRefusal, MeetsAShortFile) {
  for (const std::size_t length : {1U, 2U, 99U, 512U}) {
    const std::string letter(length, 'x');
    write(letter);

    EXPECT_EQ(refusal(), number(StoreErrorCode::notAStore)) << length;
    EXPECT_EQ(content(), letter);
  }
}

TEST_F(StoreRefusal, MeetsADirectory) {
  std::filesystem::create_directory(path());
  std::ofstream(path() / "letter") << "x";

  EXPECT_EQ(refusal(), number(StoreErrorCode::notAStore));
  EXPECT_TRUE(std::filesystem::exists(path() / "letter"));
}

TEST_F(StoreRefusal, MeetsAFileThatItMayNotWrite) {
  makeStore(kOlderGarden);
  const std::string before = content();
  std::filesystem::permissions(path(), std::filesystem::perms(0444));
  std::filesystem::permissions(directory.path(), std::filesystem::perms(0755));

  // The superuser may write everything, so somebody else has to try.
  const support::ChildOutcome outcome = support::runInChild([&](const auto& done) {
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && seteuid(kNobody) != 0) return done.send("cannot be somebody else");
    const auto coordinator =
        make<NSPersistentStoreCoordinator>(coredata::modelFromSource(kOlderGarden));
    done.send(std::to_string(
        support::errorCode([&] { coordinator->addPersistentStore(description()); })));
  });

  EXPECT_EQ(outcome.acknowledged, std::vector{std::to_string(number(StoreErrorCode::notWritable))});
  EXPECT_EQ(content(), before);
}

}  // namespace
