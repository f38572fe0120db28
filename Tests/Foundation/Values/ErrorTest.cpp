#include "Foundation/Values/Error.h"

#include <gtest/gtest.h>

#include "Foundation/Values/EnumError.h"

namespace foundation {
namespace {

class DoorError final : public EnumError<DoorError> {
 public:
  enum class Case : std::uint8_t { locked, missing, unreachable };
  static constexpr std::string_view kTypeName = "DoorError";
  static constexpr std::string_view kCaseNames[] = {"locked", "missing", "unreachable"};

  [[nodiscard]] static DoorError locked() { return DoorError(Case::locked); }
  [[nodiscard]] static DoorError missing(std::string door) {
    return DoorError(Case::missing, std::move(door));
  }
  [[nodiscard]] static DoorError unreachable(const Error& underlying) {
    return DoorError(Case::unreachable, underlying.clone());
  }

 private:
  using EnumError::EnumError;
};

TEST(Error, RendersDomainCodeAndMessage) {
  EXPECT_EQ(Error("Garden", 7, "no \"water\"").description(),
            R"(Error Domain=Garden Code=7 "no \"water\"")");
}

TEST(Error, RendersUserInfoAndWhatLiesBeneath) {
  const auto cause = std::make_shared<const Error>("Pipe", 1, "burst");
  const Error error("Garden", 7, "dry", {{"bed", "roses"}}, cause);

  EXPECT_EQ(error.description(),
            "Error Domain=Garden Code=7 \"dry\" UserInfo=[\"bed\": \"roses\"] "
            "Underlying=(Error Domain=Pipe Code=1 \"burst\")");
}

TEST(Error, IsAStandardExceptionWithItsMessage) {
  const Error error("Garden", 7, "dry");
  const std::exception& exception = error;

  EXPECT_STREQ(exception.what(), "dry");
}

TEST(EnumError, RendersTypeAndCase) {
  EXPECT_EQ(DoorError::locked().description(), "DoorError.locked");
  EXPECT_EQ(DoorError::missing("back").description(), "DoorError.missing(back)");
}

TEST(EnumError, KnowsItsCase) {
  EXPECT_EQ(DoorError::missing("back").which(), DoorError::Case::missing);
  EXPECT_EQ(DoorError::missing("back").payload(), "back");
}

TEST(EnumError, EqualsByCaseAndPayload) {
  EXPECT_EQ(DoorError::locked(), DoorError::locked());
  EXPECT_FALSE(DoorError::locked() == DoorError::missing(""));
  EXPECT_FALSE(DoorError::missing("back") == DoorError::missing("front"));
}

TEST(EnumError, KeepsAndShowsTheErrorThatItWraps) {
  const DoorError error = DoorError::unreachable(DoorError::missing("gate"));

  EXPECT_EQ(error.description(), "DoorError.unreachable(DoorError.missing(gate))");
  ASSERT_NE(error.underlying(), nullptr);
  EXPECT_THROW(error.underlying()->raise(), DoorError);
}

TEST(EnumError, EqualsByCaseWhereItWrapsAnError) {
  EXPECT_EQ(DoorError::unreachable(DoorError::locked()),
            DoorError::unreachable(Error("Garden", 7, "dry")));
  EXPECT_FALSE(DoorError::unreachable(DoorError::locked()) == DoorError::locked());
}

TEST(EnumError, StaysItselfWhenKeptAndThrownAgain) {
  const std::shared_ptr<const Error> kept = DoorError::locked().clone();

  EXPECT_THROW(kept->raise(), DoorError);
}

}  // namespace
}  // namespace foundation
