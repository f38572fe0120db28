#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "CoreData/Migration/Mapping/Compiler/MappingCompiler.h"
#include "Tests/CoreData/Migration/Mapping/MappingTesting.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace coredata {

/// A directory with the sources of two versions and of a mapping between them.
class MappingFilesTest : public testing::Test {
 protected:
  MappingFilesTest() {
    std::filesystem::create_directory(path("Models"));
    write("Models/Diary 1.json", kDiary1);
    write("Models/Diary 2.json", kDiary2);
    write("Diary.json", kDiaryMapping);
  }

  [[nodiscard]] std::string path(const std::string& name) const {
    return (directory_.path() / name).string();
  }
  [[nodiscard]] foundation::URL url(const std::string& name) const {
    return foundation::URL::fileURL(path(name));
  }
  void write(const std::string& name, std::string_view content) const {
    std::ofstream(path(name), std::ios::binary) << content;
  }

  [[nodiscard]] MappingContent compile(const std::vector<std::string>& models) const {
    return compileMappingSource(path("Diary.json"), models);
  }
  [[nodiscard]] MappingContent compile() const { return compile({path("Models")}); }

  [[nodiscard]] std::string refusal() const {
    return refusalOf([this] { static_cast<void>(compile()); });
  }

  support::TemporaryDirectory directory_;
  ModelRef source_ = modelFromSource(kDiary1);
  ModelRef destination_ = modelFromSource(kDiary2);
};

}  // namespace coredata
