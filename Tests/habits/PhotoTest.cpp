#include <fstream>
#include <sstream>

#include "Tests/habits/ProgramTest.h"
#include "UIKit/UIImage.h"

namespace habits {
namespace {

using foundation::Data;
using nlohmann::json;
using uikit::UIImage;

class HabitsPhotoTest : public ProgramTest {
 protected:
  void SetUp() override {
    text({"add", "Run"});
    text({"check", "Run", "--on", "2024-02-10"});
  }
  [[nodiscard]] std::string path(const std::string& name) const {
    return (program_.directory() / name).string();
  }
  /// A file with a picture of that size.
  [[nodiscard]] std::string picture(std::size_t width, std::size_t height) const {
    const std::vector<std::uint8_t> pixels(width * height * 4, 200);
    const auto jpeg = UIImage::fromPixels(width, height, Data(pixels))->jpegData(1.0);
    std::ofstream(path("picture.jpg"), std::ios::binary) << jpeg->text();
    return path("picture.jpg");
  }
  static std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
  }
};

TEST_F(HabitsPhotoTest, AttachesAPictureToADay) {
  EXPECT_EQ(text({"photo", "list", "Run"}), "No photos of \"Run\" yet.\n");

  EXPECT_EQ(text({"photo", "add", "Run", picture(3, 2), "--on", "2024-02-10"}),
            "Added photo 1 to \"Run\" on 2024-02-10.\n");

  EXPECT_EQ(text({"photo", "list", "Run"}), "2024-02-10  1  3 x 2\n");
}

TEST_F(HabitsPhotoTest, NumbersThePhotosOfEachDay) {
  text({"check", "Run", "--on", "2024-02-09"});
  text({"photo", "add", "Run", picture(1, 1), "--on", "2024-02-10"});
  text({"photo", "add", "Run", picture(2, 2), "--on", "2024-02-10"});
  text({"photo", "add", "Run", picture(3, 3), "--on", "2024-02-09"});

  EXPECT_EQ(text({"photo", "list", "Run"}),
            "2024-02-09  1  3 x 3\n"
            "2024-02-10  1  1 x 1\n"
            "2024-02-10  2  2 x 2\n");
  EXPECT_EQ(data({"photo", "list", "Run"})[2],
            json({{"date", "2024-02-10"}, {"number", 2}, {"width", 2}, {"height", 2}}));
}

TEST_F(HabitsPhotoTest, WritesAPhotoToANewFile) {
  text({"photo", "add", "Run", picture(1, 1), "--on", "2024-02-10"});
  text({"photo", "add", "Run", picture(5, 4), "--on", "2024-02-10"});

  EXPECT_EQ(
      text({"photo", "export", "Run", path("out.jpg"), "--on", "2024-02-10", "--number", "2"}),
      "Wrote photo 2 of \"Run\" on 2024-02-10 to " + path("out.jpg") + ".\n");

  const auto image = UIImage::contentsOfFile(path("out.jpg"));
  ASSERT_TRUE(image.has_value());
  EXPECT_EQ(image->width(), 5U);
  EXPECT_EQ(image->height(), 4U);
}

TEST_F(HabitsPhotoTest, OverwritesNothing) {
  text({"photo", "add", "Run", picture(1, 1), "--on", "2024-02-10"});
  std::ofstream(path("letter.txt")) << "Dear reader";

  refused({"photo", "export", "Run", path("letter.txt"), "--on", "2024-02-10"},
          path("letter.txt") + " is there already, and was left as it is. Name another file.");

  EXPECT_EQ(contentOf(path("letter.txt")), "Dear reader");
  refused({"photo", "export", "Run", path("missing/out.jpg"), "--on", "2024-02-10"},
          path("missing/out.jpg") + " cannot be written: No such file or directory.");
}

TEST_F(HabitsPhotoTest, RemovesAPhotoOnlyWithConsent) {
  text({"photo", "add", "Run", picture(1, 1), "--on", "2024-02-10"});
  text({"photo", "add", "Run", picture(2, 2), "--on", "2024-02-10"});

  refused({"photo", "remove", "Run", "--on", "2024-02-10"},
          "Remove photo 1 of \"Run\" on 2024-02-10? This cannot be undone: say --yes if it shall "
          "be done.");
  EXPECT_EQ(text({"photo", "remove", "Run", "--on", "2024-02-10", "--yes"}),
            "Removed photo 1 of \"Run\" on 2024-02-10.\n");

  EXPECT_EQ(text({"photo", "list", "Run"}), "2024-02-10  1  2 x 2\n");
}

TEST_F(HabitsPhotoTest, RefusesWhatIsNoPicture) {
  std::ofstream(path("letter.txt")) << "Dear reader";

  for (const char* name : {"letter.txt", "missing.jpg"}) {
    const Outcome outcome = program_.run({"photo", "add", "Run", path(name), "--on", "2024-02-10"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.complaint.starts_with("habits: " + path(name))) << outcome.complaint;
  }
  EXPECT_EQ(data({"photo", "list", "Run"}), json::array());
}

TEST_F(HabitsPhotoTest, RefusesDaysAndNumbersThatAreNotThere) {
  refused({"photo", "add", "Run", picture(1, 1), "--on", "2024-02-11"},
          "There is no check-in of \"Run\" on 2024-02-11.");
  refused({"photo", "export", "Run", path("out.jpg"), "--on", "2024-02-10"},
          "There is no photo 1 of \"Run\" on 2024-02-10. \"habits photo list\" shows those that "
          "there are.");
  refused({"photo", "remove", "Run", "--on", "2024-02-10", "--number", "0", "--yes"},
          "There is no photo 0 of \"Run\" on 2024-02-10. \"habits photo list\" shows those that "
          "there are.");
}

}  // namespace
}  // namespace habits
