#include "CoreData/Migration/Mapping/Compiler/MappingCompiler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "Tests/CoreData/Migration/Mapping/MappingFilesTest.h"

namespace coredata {
namespace {

using MappingCompilerTest = MappingFilesTest;

TEST_F(MappingCompilerTest, FindsTheModelsInADirectoryOrAmongFiles) {
  EXPECT_EQ(compile(), compile({path("Diary.json"), path("Models/Diary 2.json"),
                                path("Models/Diary 1.json")}));
  EXPECT_EQ(compile(), compile({path("Diary 1.json"), path("Models")}));
}

TEST_F(MappingCompilerTest, RefusesAVersionWithoutASource) {
  EXPECT_EQ(refusalOf([this] { static_cast<void>(compile({path("Models/Diary 1.json")})); }),
            "\"" + path("Diary.json") + "\": There is no source of the version \"Diary 2\".");
}

TEST_F(MappingCompilerTest, NamesTheFileAndThePlaceOfAMistake) {
  write("Diary.json", R"({"source": 1})");

  EXPECT_EQ(refusal(), "\"" + path("Diary.json") +
                           "\": The mapping source cannot be read at source: expected a text.");
}

TEST_F(MappingCompilerTest, NamesAFileThatCannotBeRead) {
  std::filesystem::remove(path("Diary.json"));

  EXPECT_EQ(refusal(), "The mapping file \"" + path("Diary.json") +
                           "\" cannot be read: No such file or directory.");
}

TEST_F(MappingCompilerTest, RefusesAnotherExtension) {
  EXPECT_EQ(refusalOf([this] { writeCompiledMapping(compile(), path("Diary.omo")); }),
            "\"" + path("Diary.omo") + "\": a compiled mapping ends in .cdm.");
}

TEST_F(MappingCompilerTest, WritesWhatLoads) {
  writeCompiledMapping(compile(), path("Diary.cdm"));

  std::string why;
  const auto mapping = NSMappingModel::contentsOf(url("Diary.cdm"), &why);
  ASSERT_TRUE(mapping) << why;
  EXPECT_THAT(names(*mapping), testing::ElementsAre("Images", "AuthorToAuthor", "AddTag",
                                                    "RemoveDraft", "EntryToEntry"));
}

}  // namespace
}  // namespace coredata
