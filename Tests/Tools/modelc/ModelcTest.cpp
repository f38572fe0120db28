#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Tests/Support/TemporaryDirectory.h"

namespace {

using testing::HasSubstr;

struct Outcome {
  int status = -1;
  /// Both streams together.
  std::string output;
};

class ModelcTest : public testing::Test {
 protected:
  ModelcTest() {
    std::ofstream(path("Version 1.json"))
        << R"({"entities": {"A": {"attributes": {"x": "text"}}}})";
  }

  [[nodiscard]] std::string path(const std::string& name) const {
    return (directory_.path() / name).string();
  }
  [[nodiscard]] std::string quoted(const std::string& name) const { return "'" + path(name) + "'"; }

  [[nodiscard]] static Outcome run(const std::string& arguments) {
    Outcome outcome;
    FILE* pipe = popen((MODELC " " + arguments + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return outcome;
    std::array<char, 4096> buffer{};
    for (std::size_t size = 0; (size = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
      outcome.output.append(buffer.data(), size);
    }
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
  }

  [[nodiscard]] Outcome compile() const {
    return run("compile " + quoted("Version 1.json") + " --output " + quoted("Model.momd") +
               " --current 'Version 1'");
  }

  /// A second version, and a mapping to an entity of it.
  void writeMapping(const std::string& destination = "A") const {
    std::ofstream(path("Version 2.json"))
        << R"({"entities": {"A": {"attributes": {"x": "text", "y": "text"}}}})";
    std::ofstream(path("Mapping.json"))
        << R"({"source": "Version 1", "destination": "Version 2", "entityMappings": [
               {"source": "A", "destination": ")"
        << destination << R"(", "attributes": {"x": "'1'"}, "rest": "inferred"}]})";
  }

  [[nodiscard]] Outcome map(const std::string& output) const {
    return run("map " + quoted("Mapping.json") + " --models '" + directory_.path().string() +
               "' --output " + quoted(output));
  }

  [[nodiscard]] std::string content(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  support::TemporaryDirectory directory_;
};

TEST_F(ModelcTest, CompilesADirectoryAndSaysNothing) {
  const auto outcome = compile();

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, "");
  EXPECT_TRUE(std::filesystem::exists(path("Model.momd/Info.json")));
}

TEST_F(ModelcTest, CompilesOneSourceToOneFile) {
  const auto outcome =
      run("compile " + quoted("Version 1.json") + " --output " + quoted("Version 1.omo"));

  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(std::filesystem::exists(path("Version 1.omo")));
}

TEST_F(ModelcTest, DumpsEveryFormAsTheSameSource) {
  ASSERT_EQ(compile().status, 0);

  const auto source = run("dump " + quoted("Version 1.json"));

  EXPECT_EQ(source.status, 0);
  EXPECT_THAT(source.output, HasSubstr("\"x\": \"text\""));
  for (const auto* form : {"Model.momd", "Model.momd/Version 1.omo", "Model.momd/Version 1.mom"}) {
    EXPECT_EQ(run("dump " + quoted(form)).output, source.output) << form;
  }
}

TEST_F(ModelcTest, PrintsAHashForEachEntityAndOneForAll) {
  const auto outcome = run("hashes " + quoted("Version 1.json"));

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(std::ranges::count(outcome.output, '\n'), 2);
  EXPECT_THAT(outcome.output,
              testing::ContainsRegex("^[0-9a-f]{64}  A\n[0-9a-f]{64}  \\(all\\)\n$"));
}

TEST_F(ModelcTest, CompilesAMappingAndSaysNothing) {
  writeMapping();

  const auto outcome = map("Mapping.cdm");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, "");
  EXPECT_TRUE(std::filesystem::exists(path("Mapping.cdm")));
}

TEST_F(ModelcTest, DumpsAMappingAsASourceThatCompilesToTheSame) {
  writeMapping();
  ASSERT_EQ(map("Mapping.cdm").status, 0);

  const auto dumped = run("dump " + quoted("Mapping.cdm"));

  EXPECT_EQ(dumped.status, 0);
  EXPECT_THAT(dumped.output, HasSubstr("\"x\": \"'1'\""));
  std::ofstream(path("Mapping.json")) << dumped.output;
  ASSERT_EQ(map("Again.cdm").output, "");
  EXPECT_EQ(content("Again.cdm"), content("Mapping.cdm"));
}

TEST_F(ModelcTest, RefusesAMappingThatDoesNotFitItsModels) {
  writeMapping("A2");

  const auto outcome = map("Mapping.cdm");

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "modelc: \"" + path("Mapping.json") +
                                "\": There is no entity \"A2\" in \"Version 2\".\n");
  EXPECT_FALSE(std::filesystem::exists(path("Mapping.cdm")));
}

TEST_F(ModelcTest, NamesTheFileAndThePlaceOfAMistakeAndEndsWithOne) {
  std::ofstream(path("Bad.json")) << R"({"entities": {"A": {"attributes": {"x": "txt"}}}})";

  const auto outcome = run("compile " + quoted("Bad.json") + " --output " + quoted("Bad.omo"));

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "modelc: \"" + path("Bad.json") +
                                "\": The model source cannot be read at entities.A.attributes.x: "
                                "there is no type \"txt\".\n");
}

TEST_F(ModelcTest, EndsWithTwoWhenItIsCalledWrongly) {
  EXPECT_EQ(run("").status, 2);
  EXPECT_EQ(run("compile").status, 2);
  EXPECT_EQ(run("link x").status, 2);
  EXPECT_EQ(run("compile a.json --output " + quoted("Model.momd")).status, 2);
  EXPECT_EQ(run("map a.json --output a.cdm").status, 2);
  EXPECT_EQ(run("compile a.json b.json --output " + quoted("a.omo")).status, 2);
}

TEST_F(ModelcTest, ExplainsItself) {
  const auto outcome = run("--help");

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, HasSubstr("compile"));
}

}  // namespace
