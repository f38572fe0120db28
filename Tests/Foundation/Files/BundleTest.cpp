#include "Foundation/Files/Bundle.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Tests/Support/TemporaryDirectory.h"

namespace foundation {
namespace {

namespace fs = std::filesystem;

void write(const fs::path& file, std::string_view text) {
  fs::create_directories(file.parent_path());
  std::ofstream(file) << text;
}

std::string infoOf(const std::string& identifier) {
  return R"({"identifier": ")" + identifier + R"(", "name": "Garden"})";
}

class BundleTest : public testing::Test {
 protected:
  /// Makes a bundle of the test's own and registers the directory that it lies in.
  void makeBundle(const std::string& info) {
    write(path() / "Info.json", info);
    Bundle::registerDirectory(URL::fileURL(directory_.path().string()));
  }
  [[nodiscard]] fs::path path() const { return directory_.path() / "Plants.bundle"; }
  [[nodiscard]] Bundle bundle() const { return Bundle::at(URL::fileURL(path().string())).value(); }
  [[nodiscard]] const fs::path& directory() const { return directory_.path(); }

 private:
  support::TemporaryDirectory directory_;
};

TEST_F(BundleTest, IsFoundByItsIdentifier) {
  makeBundle(infoOf("test.found"));

  const auto found = Bundle::withIdentifier("test.found");

  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(found->bundleIdentifier(), "test.found");
  EXPECT_EQ(found->name(), "Garden");
  EXPECT_EQ(found->bundleURL(), URL::fileURL(path().string() + "/"));
}

TEST_F(BundleTest, IsNotFoundByAnotherIdentifier) {
  makeBundle(infoOf("test.case"));

  EXPECT_FALSE(Bundle::withIdentifier("test.Case").has_value());
  EXPECT_FALSE(Bundle::withIdentifier("test").has_value());
  EXPECT_FALSE(Bundle::withIdentifier("").has_value());
}

TEST_F(BundleTest, IsFoundAsSoonAsItIsThereAndNoLongerThanThat) {
  Bundle::registerDirectory(URL::fileURL(directory().string()));
  EXPECT_FALSE(Bundle::withIdentifier("test.late").has_value());

  write(path() / "Info.json", infoOf("test.late"));
  EXPECT_TRUE(Bundle::withIdentifier("test.late").has_value());

  fs::remove_all(path());
  EXPECT_FALSE(Bundle::withIdentifier("test.late").has_value());
}

TEST_F(BundleTest, MayItselfBeTheRegisteredDirectory) {
  write(directory() / "Info.json", infoOf("test.itself"));
  Bundle::registerDirectory(URL::fileURL(directory().string() + "/"));

  const auto found = Bundle::withIdentifier("test.itself");

  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(found->bundleURL(), URL::fileURL(directory().string() + "/"));
}

TEST_F(BundleTest, IsTheOneRegisteredFirst) {
  makeBundle(infoOf("test.twice"));
  support::TemporaryDirectory later;
  write(later.path() / "Plants.bundle" / "Info.json", infoOf("test.twice"));
  Bundle::registerDirectory(URL::fileURL(later.path().string()));

  EXPECT_EQ(Bundle::withIdentifier("test.twice")->bundleURL(), URL::fileURL(path().string() + "/"));
}

TEST_F(BundleTest, IsFoundAtOnceWhereItsNameIsTheEndOfItsIdentifier) {
  write(directory() / "A.bundle" / "Info.json", "[]");
  makeBundle(infoOf("test.Plants"));

  testing::internal::CaptureStderr();
  const auto found = Bundle::withIdentifier("test.Plants");

  EXPECT_TRUE(found.has_value());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "the others were looked at";
}

TEST_F(BundleTest, IsNotTakenByItsNameAlone) {
  write(directory() / "roses.bundle" / "Info.json", infoOf("test.others.roses"));
  makeBundle(infoOf("test.roses"));

  const auto found = Bundle::withIdentifier("test.roses");

  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(found->bundleURL(), URL::fileURL(path().string() + "/"));
}

TEST_F(BundleTest, ReadsItsInfoInAnyFormThatIsJSON) {
  const std::string plain = R"({"identifier": "test.form", "name": "Garden"})";
  for (const std::string& info :
       {plain + "\n", plain, R"({"name":"Garden","identifier":"test.form"})" + std::string("\n"),
        R"({"identifier": "test.f\u006frm", "name": "Gard\u0065n"})" + std::string("\n"),
        R"({"identifier": "test.form", "name": "Garden", "more": [1]})" + std::string("\n")}) {
    write(path() / "Info.json", info);
    EXPECT_EQ(bundle().bundleIdentifier(), "test.form") << info;
    EXPECT_EQ(bundle().name(), "Garden") << info;
  }
}

TEST_F(BundleTest, IsLeftOutWithOneLineWhenItsInfoIsDamaged) {
  makeBundle(R"({"identifier": "test.damaged")");

  testing::internal::CaptureStderr();
  EXPECT_FALSE(Bundle::withIdentifier("test.damaged").has_value());
  EXPECT_FALSE(Bundle::withIdentifier("test.damaged").has_value());

  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            (path() / "Info.json").string() + ": this is not JSON; the bundle is left out\n");
}

TEST_F(BundleTest, DoesNotHideOthersWhenItsInfoIsDamaged) {
  write(directory() / "A.bundle" / "Info.json", "[]");
  write(directory() / "B.bundle" / "Info.json", R"({"name": "B"})");
  write(directory() / "C.bundle" / "Info.json", R"({"identifier": 7})");
  makeBundle(infoOf("test.whole"));

  testing::internal::CaptureStderr();
  const auto found = Bundle::withIdentifier("test.whole");
  const std::string reported = testing::internal::GetCapturedStderr();

  EXPECT_TRUE(found.has_value());
  EXPECT_NE(reported.find("A.bundle/Info.json: this is not a JSON object;"), std::string::npos);
  EXPECT_NE(reported.find("B.bundle/Info.json: the bundle's identifier is missing;"),
            std::string::npos);
  EXPECT_NE(reported.find("C.bundle/Info.json: the bundle's identifier is missing;"),
            std::string::npos);
}

TEST_F(BundleTest, MayBeADirectoryWithoutInfo) {
  fs::create_directories(path());

  const auto found = Bundle::at(URL::fileURL(path().string()));

  ASSERT_TRUE(found.has_value());
  EXPECT_FALSE(found->bundleIdentifier().has_value());
  EXPECT_EQ(found->name(), "Plants");
}

TEST_F(BundleTest, IsNotAtAPlaceWithoutDirectory) {
  write(directory() / "file", "");

  EXPECT_FALSE(Bundle::at(URL::fileURL((directory() / "file").string())).has_value());
  EXPECT_FALSE(Bundle::at(URL::fileURL((directory() / "nothing").string())).has_value());
  EXPECT_FALSE(Bundle::at(URL::parse("garden:").value()).has_value());
}

TEST_F(BundleTest, FindsAResourceByNameAndExtension) {
  write(path() / "Rose.json", "{}");

  EXPECT_EQ(bundle().url("Rose", "json"), URL::fileURL((path() / "Rose.json").string()));
  EXPECT_EQ(bundle().url("Rose.json"), URL::fileURL((path() / "Rose.json").string()));
}

TEST_F(BundleTest, FindsAResourceInASubdirectory) {
  write(path() / "Model.momd" / "Garden 7.omo", "");

  EXPECT_EQ(bundle().url("Garden 7", "omo", "Model.momd"),
            URL::fileURL((path() / "Model.momd" / "Garden 7.omo").string()));
  EXPECT_FALSE(bundle().url("Garden 7", "omo").has_value());
}

TEST_F(BundleTest, GivesADirectoryAsADirectory) {
  fs::create_directories(path() / "Model.momd");

  const auto found = bundle().url("Model", "momd");

  ASSERT_TRUE(found.has_value());
  EXPECT_TRUE(found->hasDirectoryPath());
}

TEST_F(BundleTest, FindsNothingThatIsMissingOrWrittenOtherwise) {
  write(path() / "Rose.json", "{}");

  EXPECT_FALSE(bundle().url("rose", "json").has_value());
  EXPECT_FALSE(bundle().url("Rose", "JSON").has_value());
  EXPECT_FALSE(bundle().url("Rose").has_value());
  EXPECT_FALSE(bundle().url("Lily", "json").has_value());
  EXPECT_FALSE(bundle().url("", "json").has_value());
}

TEST_F(BundleTest, FindsNothingOutsideItself) {
  write(directory() / "secret.json", "{}");
  write(path() / "inner" / "Rose.json", "{}");

  EXPECT_FALSE(bundle().url("../secret", "json").has_value());
  EXPECT_FALSE(bundle().url("secret", "json", "..").has_value());
  EXPECT_FALSE(bundle().url("secret", "json", "inner/../..").has_value());
  EXPECT_FALSE(bundle().url((directory() / "secret").string(), "json").has_value());
  EXPECT_FALSE(bundle().url("Rose", "json", directory().string()).has_value());
  EXPECT_FALSE(bundle().url(std::string_view("Rose\0x", 6), "json", "inner").has_value());
  EXPECT_TRUE(bundle().urls("json", "..").empty());
}

TEST_F(BundleTest, ListsItsResourcesOfOneExtensionByName) {
  for (const char* name : {"c.cdm", "a.cdm", "b.cdm", "d.json"}) write(path() / name, "");

  std::vector<std::string> names;
  for (const URL& url : bundle().urls("cdm")) names.push_back(url.lastPathComponent());

  EXPECT_EQ(names, (std::vector<std::string>{"a.cdm", "b.cdm", "c.cdm"}));
  EXPECT_TRUE(bundle().urls("cdm", "missing").empty());
}

TEST_F(BundleTest, GivesTheTextsOfItsTables) {
  write(path() / "en.lproj" / "Localizable.strings", R"("Rose" = "A rose";)");
  write(path() / "en.lproj" / "Herbs.strings", R"("Sage" = "Some sage";)");

  EXPECT_EQ(bundle().localizedString("Rose"), "A rose");
  EXPECT_EQ(bundle().localizedString("Sage", "", "Herbs"), "Some sage");
  EXPECT_EQ(bundle().localizedString("Lily", "A lily"), "A lily");
  EXPECT_EQ(bundle().localizedString("Lily"), "Lily");
}

TEST_F(BundleTest, MayBeSetAsTheProgramsOwn) {
  const Bundle before = Bundle::main();
  write(path() / "Info.json", infoOf("test.own"));

  Bundle::setMain(bundle());

  EXPECT_EQ(Bundle::main().bundleURL(), bundle().bundleURL());
  EXPECT_TRUE(Bundle::withIdentifier("test.own").has_value());
  Bundle::setMain(before);
}

/// A program of its own, copied to where the test wants it.
class BundleProbeTest : public BundleTest {
 protected:
  /// The lines that the program prints.
  [[nodiscard]] std::vector<std::string> run(const std::string& identifier) const {
    const fs::path program = directory() / "bin" / "garden";
    fs::create_directories(program.parent_path());
    fs::copy_file(BUNDLE_PROBE, program);
    const fs::path output = directory() / "output";
    const std::string command =
        program.string() + " " + identifier + " > " + output.string() + " 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::vector<std::string> lines;
    std::ifstream stream(output);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }
};

TEST_F(BundleProbeTest, TakesTheBundleNamedAsTheProgramFromTheInstalledPlaceForItsOwn) {
  const fs::path shared = directory() / "share" / "CoreDataStack";
  write(shared / "garden.bundle" / "Info.json", infoOf("test.garden"));
  write(shared / "Model.bundle" / "Info.json", infoOf("test.model"));

  EXPECT_EQ(run("test.model"), (std::vector<std::string>{(shared / "garden.bundle").string(),
                                                         (shared / "Model.bundle").string()}));
}

TEST_F(BundleProbeTest, PrefersTheBundleBesideTheProgram) {
  write(directory() / "share" / "CoreDataStack" / "garden.bundle" / "Info.json",
        infoOf("test.garden"));
  write(directory() / "bin" / "garden.bundle" / "Info.json", infoOf("test.garden"));

  EXPECT_EQ(run("test.garden"),
            (std::vector<std::string>{(directory() / "bin" / "garden.bundle").string(),
                                      (directory() / "bin" / "garden.bundle").string()}));
}

TEST_F(BundleProbeTest, TakesTheProgramsDirectoryForItsOwnWhereThereIsNoBundle) {
  EXPECT_EQ(run("test.nothing"),
            (std::vector<std::string>{(directory() / "bin").string(), "none"}));
}

TEST(BundleDeathTest, StopsTheProcessWhenADirectoryIsNotNamedByAFileURL) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(Bundle::registerDirectory(URL::parse("garden:x").value()),
               "Fatal error: a directory of bundles is named by a file URL\n");
}

}  // namespace
}  // namespace foundation
