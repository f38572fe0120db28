#include "Domain/Iterator.h"

#include <gtest/gtest.h>

#include <string>

namespace domain {
namespace {

/// One section of three words.
class Words final : public Iterator<std::string> {
 public:
  [[nodiscard]] std::size_t numberOfSections() const override { return 1; }
  [[nodiscard]] std::size_t numberOfItems(std::size_t at) const override { return at == 0 ? 3 : 0; }
  [[nodiscard]] std::optional<std::string> operator[](
      const foundation::IndexPath& at) const override {
    return std::string(at.item + 1, 'a');
  }

 protected:
  ~Words() override = default;
};

class Plain final : public Iterator<std::string> {
 protected:
  ~Plain() override = default;
};

TEST(Iterator, IsEmptyOnItsOwn) {
  const auto plain = foundation::make<Plain>();

  EXPECT_EQ(plain->numberOfSections(), 0U);
  EXPECT_EQ(plain->numberOfItems(0), 0U);
  const foundation::IndexPath first{.section = 0, .item = 0};
  EXPECT_FALSE((*plain)[first].has_value());
}

TEST(Iterator, AsksItsSubclass) {
  const foundation::Ref<Iterator<std::string>> words = foundation::make<Words>();

  EXPECT_EQ(words->numberOfSections(), 1U);
  EXPECT_EQ(words->numberOfItems(0), 3U);
  const foundation::IndexPath second{.section = 0, .item = 1};
  EXPECT_EQ((*words)[second], "aa");
}

}  // namespace
}  // namespace domain
