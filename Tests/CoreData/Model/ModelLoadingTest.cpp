#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "CoreData/Model/Compiled/VersionInfo.h"
#include "CoreData/Model/Compiler/ModelCompiler.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "Tests/CoreData/Model/ModelTesting.h"
#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace coredata {
namespace {

using foundation::URL;
using foundation::ValueDictionary;
using testing::EndsWith;
using testing::HasSubstr;

constexpr std::string_view kOther = R"({"identifiers": ["Other"], "entities": {"Other": {}}})";

ValueDictionary metadataOf(std::string_view json) {
  return {{std::string(NSStoreModelVersionHashesKey),
           modelFromSource(json)->entityVersionHashesByName()}};
}

class ModelLoadingTest : public testing::Test {
 protected:
  ModelLoadingTest() {
    write(path("Library.json"), kLibrary);
    write(path("Other.json"), kOther);
  }

  [[nodiscard]] std::string path(const std::string& name) const {
    return (directory_.path() / name).string();
  }
  [[nodiscard]] URL url(const std::string& name) const { return URL::fileURL(path(name)); }

  void compile(const std::string& source, const std::string& output) const {
    writeCompiledModel(compileModelSource(path(source)), path(output));
  }
  void compileDirectory(const std::string& current) const {
    const std::vector<std::string> sources = {path("Library.json"), path("Other.json")};
    compileModelDirectory(sources, path("Model.momd"), current);
  }
  [[nodiscard]] std::string reasonFor(const std::string& name) const {
    std::string why;
    EXPECT_EQ(NSManagedObjectModel::contentsOf(url(name), &why), nullptr);
    return why;
  }

  support::TemporaryDirectory directory_;
};

TEST_F(ModelLoadingTest, LoadsBothFormsAsEqualModels) {
  compile("Library.json", "Library.omo");
  compile("Library.json", "Library.mom");

  const auto optimized = NSManagedObjectModel::contentsOf(url("Library.omo"));
  const auto readable = NSManagedObjectModel::contentsOf(url("Library.mom"));

  ASSERT_TRUE(optimized && readable);
  EXPECT_EQ(optimized->fingerprint(), readable->fingerprint());
  EXPECT_EQ(optimized->entityVersionHashesByName(), readable->entityVersionHashesByName());
  EXPECT_EQ(optimized->versionIdentifiers(), readable->versionIdentifiers());
  EXPECT_EQ(optimized->entity("Book")->managedObjectClassName(), "LIBook");
  EXPECT_EQ(readable->entity("Book")->managedObjectClassName(), "LIBook");
  EXPECT_EQ(optimized->entity("Book")->indexes().size(), 2);
  EXPECT_EQ(readable->entity("Book")->indexes().size(), 2);
}

TEST_F(ModelLoadingTest, KeepsTheHashesThatTheSourceHas) {
  compile("Library.json", "Library.omo");

  EXPECT_EQ(NSManagedObjectModel::contentsOf(url("Library.omo"))->entityVersionHashesByName(),
            modelFromSource(kLibrary)->entityVersionHashesByName());
}

TEST_F(ModelLoadingTest, MakesANewModelAtEachLoad) {
  compile("Library.json", "Library.omo");

  const auto first = NSManagedObjectModel::contentsOf(url("Library.omo"));
  const auto second = NSManagedObjectModel::contentsOf(url("Library.omo"));

  EXPECT_NE(first, second);
  EXPECT_NE(first->entity("Book"), second->entity("Book"));
}

TEST_F(ModelLoadingTest, LoadsTheCurrentVersionOfADirectory) {
  compileDirectory("Other");
  EXPECT_NE(NSManagedObjectModel::contentsOf(url("Model.momd"))->entity("Other"), nullptr);

  compileDirectory("Library");
  EXPECT_NE(NSManagedObjectModel::contentsOf(url("Model.momd"))->entity("Book"), nullptr);
}

TEST_F(ModelLoadingTest, PrefersTheOptimizedFormInADirectory) {
  compileDirectory("Library");
  write(path("Model.momd/Library.mom"), "damaged");

  EXPECT_NE(NSManagedObjectModel::contentsOf(url("Model.momd")), nullptr);
}

TEST_F(ModelLoadingTest, TakesTheReadableFormWhereThereIsNoOther) {
  compileDirectory("Library");
  std::filesystem::remove(path("Model.momd/Library.omo"));

  EXPECT_NE(NSManagedObjectModel::contentsOf(url("Model.momd")), nullptr);
}

TEST_F(ModelLoadingTest, GivesNoneForADamagedFile) {
  write(path("Damaged.omo"), "CDMO\x01");

  EXPECT_EQ(reasonFor("Damaged.omo"),
            "\"" + path("Damaged.omo") + "\": The compiled file is damaged: it ends too early.");
}

TEST_F(ModelLoadingTest, GivesNoneWithoutAskingWhy) {
  EXPECT_EQ(NSManagedObjectModel::contentsOf(url("Missing.omo")), nullptr);
}

TEST_F(ModelLoadingTest, GivesNoneForAMissingFile) {
  EXPECT_EQ(reasonFor("Missing.omo"), "The model file \"" + path("Missing.omo") +
                                          "\" cannot be read: No such file or directory.");
}

/// Files that end before they are as long as they say.
class CutOffFiles final : public support::ForwardingFileSystem {
 public:
  foundation::FileResult<std::size_t> read(int /*file*/,
                                           std::span<std::uint8_t> /*bytes*/) override {
    return 0;
  }
};

TEST_F(ModelLoadingTest, GivesNoneWhateverFailsWhileItReads) {
  compile("Library.json", "Library.omo");

  int refusals = 0;
  for (std::size_t point = 1;; ++point) {
    support::FaultyFileSystem faults(support::FileFault::failOnce, point, EIO,
                                     support::kEverything);
    std::string why;
    const auto model = NSManagedObjectModel::contentsOf(url("Library.omo"), &why);
    if (!model) {
      EXPECT_THAT(why, EndsWith("cannot be read: Input/output error."));
      ++refusals;
    }
    if (!faults.wasReached()) break;
  }
  // Opening it, asking for its size, reading it.
  EXPECT_EQ(refusals, 3);

  const CutOffFiles files;
  std::string why;
  EXPECT_FALSE(NSManagedObjectModel::contentsOf(url("Library.omo"), &why));
  EXPECT_THAT(why, EndsWith("cannot be read: it was cut off while it was read."));
}

TEST_F(ModelLoadingTest, GivesNoneForAFileOfAnotherKind) {
  write(path("Model.txt"), "text");

  EXPECT_THAT(reasonFor("Model.txt"), EndsWith("compiled models end in .omo, .mom or .momd."));
}

TEST_F(ModelLoadingTest, GivesNoneForAPipeWithoutWaitingForAWriter) {
  ASSERT_EQ(mkfifo(path("Pipe.omo").c_str(), 0600), 0);

  EXPECT_THAT(reasonFor("Pipe.omo"), EndsWith("it is no regular file."));
}

TEST_F(ModelLoadingTest, GivesNoneForAFileTooLongForAModel) {
  write(path("Long.omo"), "CDMO");
  std::filesystem::resize_file(path("Long.omo"), std::uintmax_t{1} << 40);

  EXPECT_THAT(reasonFor("Long.omo"), EndsWith("it is too long for a model."));
}

TEST_F(ModelLoadingTest, GivesNoneForAUrlThatIsNoFile) {
  std::string why;

  EXPECT_EQ(NSManagedObjectModel::contentsOf(URL::parse("https://x/y.omo").value(), &why), nullptr);
  EXPECT_THAT(why, HasSubstr("it is no file of this machine"));
}

TEST_F(ModelLoadingTest, GivesNoneForADirectoryWithoutItsList) {
  std::filesystem::create_directory(path("Empty.momd"));

  EXPECT_THAT(reasonFor("Empty.momd"), HasSubstr("Info.json"));
}

TEST_F(ModelLoadingTest, GivesNoneForADirectoryWhoseListIsNone) {
  std::filesystem::create_directory(path("Bad.momd"));
  for (const auto* list :
       {"", "[]", "{", "{}", R"({"current": "A"})", R"({"current": 1, "versions": {}})",
        R"({"current": "A", "versions": []})", R"({"current": "A", "versions": {"A": 1}})",
        R"({"current": "A", "versions": {"B": ""}})"}) {
    write(path("Bad.momd/Info.json"), list);
    EXPECT_THAT(reasonFor("Bad.momd"), HasSubstr("The list of the model's versions")) << list;
  }
}

TEST_F(ModelLoadingTest, NeverFollowsAVersionNameOutOfTheDirectory) {
  compile("Library.json", "Library.omo");
  std::filesystem::create_directory(path("Bad.momd"));
  write(path("Bad.momd/Info.json"), VersionInfo{"../Library", {{"../Library", ""}}}.text());

  EXPECT_THAT(reasonFor("Bad.momd"), HasSubstr("\"../Library\", which can be no file"));
}

TEST_F(ModelLoadingTest, FindsTheVersionOfAStoreAmongAllThatAreThere) {
  compileDirectory("Other");
  const std::vector<URL> urls = {url("Model.momd")};

  const auto found = NSManagedObjectModel::mergedModel(urls, metadataOf(kLibrary));

  ASSERT_TRUE(found);
  EXPECT_NE(found->entity("Book"), nullptr);
}

TEST_F(ModelLoadingTest, FindsTheVersionOfAStoreInASingleFile) {
  compile("Other.json", "Other.mom");
  const std::vector<URL> urls = {url("Missing.momd"), url("Other.mom")};

  EXPECT_TRUE(NSManagedObjectModel::mergedModel(urls, metadataOf(kOther)));
}

TEST_F(ModelLoadingTest, FindsNoVersionForAStoreOfAnotherModel) {
  compileDirectory("Other");
  const std::vector<URL> urls = {url("Model.momd")};

  EXPECT_FALSE(NSManagedObjectModel::mergedModel(urls, {}));
  EXPECT_FALSE(NSManagedObjectModel::mergedModel(urls, metadataOf("{}")));
  EXPECT_FALSE(NSManagedObjectModel::mergedModel({}, metadataOf(kOther)));
}

}  // namespace
}  // namespace coredata
