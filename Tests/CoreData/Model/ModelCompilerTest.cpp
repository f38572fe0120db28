#include "CoreData/Model/Compiler/ModelCompiler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "CoreData/Model/Compiled/ModelFiles.h"
#include "Tests/CoreData/Model/ModelTesting.h"
#include "Tests/Support/FaultyFileSystem.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace coredata {
namespace {

using foundation::URL;
using testing::ElementsAre;
using testing::HasSubstr;

std::string contentOf(const std::filesystem::path& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

std::vector<std::string> filesIn(const std::filesystem::path& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::ranges::sort(names);
  return names;
}

class ModelCompilerTest : public testing::Test {
 protected:
  ModelCompilerTest() {
    write(path("One.json"), R"({"entities": {"One": {}}})");
    write(path("Two.json"), R"({"entities": {"One": {}, "Two": {}}})");
  }

  [[nodiscard]] std::string path(const std::string& name) const {
    return (directory_.path() / name).string();
  }
  [[nodiscard]] std::vector<std::string> both() const {
    return {path("One.json"), path("Two.json")};
  }
  [[nodiscard]] std::string refusalOfDirectory(const std::vector<std::string>& sources,
                                               const std::string& current) const {
    return refusalOf([&] { compileModelDirectory(sources, path("out/Model.momd"), current); });
  }

  support::TemporaryDirectory directory_;
};

TEST_F(ModelCompilerTest, WritesEveryVersionInBothFormsAndTheirList) {
  compileModelDirectory(both(), path("out/Model.momd"), "Two");

  EXPECT_THAT(filesIn(path("out/Model.momd")),
              ElementsAre("Info.json", "One.mom", "One.omo", "Two.mom", "Two.omo"));
}

TEST_F(ModelCompilerTest, ListsTheVersionsWithTheirFingerprints) {
  compileModelDirectory(both(), path("Model.momd"), "One");

  const auto info = readVersionInfo(URL::fileURL(path("Model.momd")));

  EXPECT_EQ(info.current, "One");
  EXPECT_EQ(info.versions.size(), 2);
  EXPECT_EQ(info.versions.at("Two"),
            hexadecimal(compileModelSource(path("Two.json")).hashes.fingerprint));
}

TEST_F(ModelCompilerTest, WritesTheSameBytesAgain) {
  compileModelDirectory(both(), path("First.momd"), "Two");
  compileModelDirectory(both(), path("Second.momd"), "Two");

  for (const auto& name : filesIn(path("First.momd"))) {
    EXPECT_EQ(contentOf(path("First.momd/" + name)), contentOf(path("Second.momd/" + name)));
  }
}

TEST_F(ModelCompilerTest, RefusesACurrentVersionWithoutASource) {
  EXPECT_THAT(refusalOfDirectory(both(), "Three"),
              HasSubstr("there is no source of the current version \"Three\"."));
  EXPECT_FALSE(std::filesystem::exists(path("out")));
}

TEST_F(ModelCompilerTest, RefusesVersionsThatStoreAlike) {
  write(path("Twin.json"), R"({"identifiers": ["Twin"], "entities": {"One": {"class": "X"}}})");

  EXPECT_EQ(refusalOfDirectory({path("One.json"), path("Twin.json")}, "One"),
            "\"" + path("Twin.json") +
                "\": the version stores exactly as \"One\" does, so that no store could be told to "
                "be of one of them.");
}

TEST_F(ModelCompilerTest, RefusesTwoSourcesOfOneVersion) {
  EXPECT_THAT(refusalOfDirectory({path("One.json"), path("One.json")}, "One"),
              HasSubstr("there are two sources of \"One\"."));
}

TEST_F(ModelCompilerTest, NamesTheFileAndThePlaceOfAMistake) {
  write(path("Bad.json"), R"({"entities": {"A": {"attributes": {"x": "txt"}}}})");

  EXPECT_EQ(refusalOfDirectory({path("One.json"), path("Bad.json")}, "One"),
            "\"" + path("Bad.json") +
                "\": The model source cannot be read at entities.A.attributes.x: there is no type "
                "\"txt\".");
  EXPECT_FALSE(std::filesystem::exists(path("out")));
}

TEST_F(ModelCompilerTest, NamesAMissingSource) {
  EXPECT_EQ(
      refusalOfDirectory({path("None.json")}, "None"),
      "The model file \"" + path("None.json") + "\" cannot be read: No such file or directory.");
}

TEST_F(ModelCompilerTest, RefusesAnOutputOfAnotherKind) {
  EXPECT_EQ(
      refusalOf([&] { writeCompiledModel(compileModelSource(path("One.json")), path("One.bin")); }),
      "\"" + path("One.bin") + "\": a compiled model ends in .omo or .mom.");
}

TEST_F(ModelCompilerTest, NamesAnOutputThatCannotBeWritten) {
  EXPECT_EQ(refusalOf([&] {
              writeCompiledModel(compileModelSource(path("One.json")), path("none/One.omo"));
            }),
            "\"" + path("none/One.omo") + "\" cannot be written: No such file or directory.");
}

TEST_F(ModelCompilerTest, RefusesASourceWhoseNameCanBeNoVersions) {
  write(path(".json"), R"({"entities": {"A": {}}})");

  EXPECT_EQ(refusalOf([this] {
              const std::vector<std::string> sources = {path(".json")};
              compileModelDirectory(sources, path("Model.momd"), "One");
            }),
            "\"" + path(".json") + "\": a version cannot be named \".json\".");
}

TEST_F(ModelCompilerTest, LeavesTheOldFileOrTheNewOneWhateverFails) {
  const auto one = compileModelSource(path("One.json"));
  const auto two = compileModelSource(path("Two.json"));
  writeCompiledModel(one, path("Model.omo"));
  const auto before = contentOf(path("Model.omo"));

  for (std::size_t change = 1;; ++change) {
    support::FaultyFileSystem faults(support::FileFault::failOnce, change, EIO);
    const auto refusal = refusalOf([&] { writeCompiledModel(two, path("Model.omo")); });
    if (!faults.wasReached()) {
      ASSERT_GT(change, 3);
      break;
    }
    EXPECT_EQ(refusal, "\"" + path("Model.omo") + "\" cannot be written: Input/output error.");
    EXPECT_EQ(contentOf(path("Model.omo")), before);
    EXPECT_THAT(filesIn(directory_.path()), ElementsAre("Model.omo", "One.json", "Two.json"));
  }
  EXPECT_EQ(readCompiledModel(URL::fileURL(path("Model.omo"))), two);
}

}  // namespace
}  // namespace coredata
