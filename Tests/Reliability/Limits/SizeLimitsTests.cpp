#include <gtest/gtest.h>

#include <random>

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Model/CDPhoto.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/TemporaryStore.h"

namespace coredatastack {
namespace {

using foundation::Data;
using foundation::make;
using foundation::NSPredicate;
using std::string_literals::operator""s;

constexpr std::size_t kMegabyte = std::size_t{1} << 20;

/// Bytes that nothing can make shorter.
std::vector<std::uint8_t> noise(std::size_t size) {
  std::mt19937 random(20261122);
  std::vector<std::uint8_t> bytes(size);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

class SizeLimits : public testing::Test {
 protected:
  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return store_.context(); }
  /// The title as it comes back from the file.
  [[nodiscard]] std::optional<std::string> titleThroughFile(const std::string& title) {
    CDActivity::create(context(), "red")->setTitle(title);
    context().save();
    store_.reopen();
    return context().fetch(CDActivity::fetchRequest()).first()->title();
  }
  [[nodiscard]] std::int64_t countOf(const char* format, const std::string& text) const {
    auto request = CDActivity::fetchRequest();
    request.setPredicate(NSPredicate::format(format, text));
    return context().count(request);
  }

  support::TemporaryStore store_;
};

TEST_F(SizeLimits, KeepAPhotoOfManyMegabytes) {
  const Data image(noise(support::tries(8, 50) * kMegabyte));
  auto photo = make<CDPhoto>(context(), image, nullptr);
  context().save();

  photo = nullptr;
  store_.reopen();

  photo = context().fetch(CDPhoto::fetchRequest()).first();
  EXPECT_TRUE(photo->data() == image);
  photo->setData(std::nullopt);
  context().save();
  EXPECT_FALSE(photo->data().has_value());
}

TEST_F(SizeLimits, KeepAndFindATitleOfAMegabyte) {
  std::string title;
  while (title.size() < kMegabyte) title += "아침 달리기 " + std::to_string(title.size());

  EXPECT_TRUE(titleThroughFile(title) == title);

  EXPECT_EQ(countOf("title = %@", title), 1);
  EXPECT_EQ(countOf("title BEGINSWITH %@", title.substr(0, title.size() - 1)), 1);
  EXPECT_EQ(countOf("title CONTAINS %@", title.substr(1)), 1);
  EXPECT_EQ(countOf("title > %@", title), 0);
}

TEST_F(SizeLimits, KeepATextWithBytesThatEndItElsewhere) {
  const std::string title = "run\0 before\0"s;

  EXPECT_EQ(titleThroughFile(title), title);

  EXPECT_EQ(countOf("title = %@", title), 1);
  EXPECT_EQ(countOf("title = %@", "run"), 0);
  EXPECT_EQ(countOf("title ENDSWITH %@", "before\0"s), 1);
}

TEST_F(SizeLimits, KeepATextThatIsNone) {
  // A lone continuation, an overlong slash, half a pair, a cut letter.
  const std::string title = "run \x80 \xC0\xAF \xED\xA0\x80 \xE4\xB8";

  EXPECT_EQ(titleThroughFile(title), title);

  EXPECT_EQ(countOf("title = %@", title), 1);
  EXPECT_EQ(countOf("title CONTAINS %@", "\xC0\xAF"), 1);
}

}  // namespace
}  // namespace coredatastack
