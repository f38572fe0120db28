#include "CoreDataStack/History/UserDefaults+HistoryTimestamp.h"

#include <gtest/gtest.h>

#include "Foundation/Files/Directories.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using coredatastack::AppTarget;
using coredatastack::lastCommonTransactionTimestamp;
using coredatastack::lastHistoryTransactionTimestamp;
using coredatastack::updateLastHistoryTransactionTimestamp;
using foundation::Date;
using foundation::UserDefaults;

constexpr AppTarget kJustOne[] = {AppTarget::shareExtension};

class HistoryTimestamp : public testing::Test {
 protected:
  HistoryTimestamp() {
    foundation::Directories::set(
        foundation::Directories::below(directory_.path().string(), "com.tessaline.test"));
    defaults_ = UserDefaults::standard();
  }
  ~HistoryTimestamp() override { foundation::Directories::set(*before_); }

  std::shared_ptr<const foundation::Directories> before_ = foundation::Directories::current();
  support::TemporaryDirectory directory_;
  foundation::Ref<UserDefaults> defaults_;
};

TEST_F(HistoryTimestamp, LiesUnderTheTargetsName) {
  const Date date = Date::fromReference(123456789.1234567);

  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::app, date);
  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::shareExtension, date);

  EXPECT_EQ(defaults_->date("lastHistoryTransactionTimeStamp-app"), date);
  EXPECT_EQ(defaults_->date("lastHistoryTransactionTimeStamp-shareExtension"), date);
  EXPECT_EQ(lastHistoryTransactionTimestamp(*defaults_, AppTarget::app), date);
}

TEST_F(HistoryTimestamp, IsNoneUntilItIsSetAndAfterItIsCleared) {
  EXPECT_EQ(lastHistoryTransactionTimestamp(*defaults_, AppTarget::app), std::nullopt);

  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::app, Date::now());
  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::app, std::nullopt);

  EXPECT_EQ(lastHistoryTransactionTimestamp(*defaults_, AppTarget::app), std::nullopt);
  EXPECT_FALSE(defaults_->object("lastHistoryTransactionTimeStamp-app").has_value());
}

TEST_F(HistoryTimestamp, OfAnotherKindReadsAsNone) {
  defaults_->set("2024-02-10", "lastHistoryTransactionTimeStamp-app");
  EXPECT_EQ(lastHistoryTransactionTimestamp(*defaults_, AppTarget::app), std::nullopt);

  defaults_->set(729100000.0, "lastHistoryTransactionTimeStamp-app");
  EXPECT_EQ(lastHistoryTransactionTimestamp(*defaults_, AppTarget::app), std::nullopt);
}

TEST_F(HistoryTimestamp, InCommonIsTheEarlier) {
  const Date early = Date::fromReference(1000.25);
  const Date late = Date::fromReference(2000.5);

  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::app, late);
  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::shareExtension, early);
  EXPECT_EQ(lastCommonTransactionTimestamp(*defaults_, AppTarget::allCases()), early);

  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::app, early);
  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::shareExtension, late);
  EXPECT_EQ(lastCommonTransactionTimestamp(*defaults_, AppTarget::allCases()), early);
}

TEST_F(HistoryTimestamp, InCommonIsNoneWhileATargetHasNone) {
  EXPECT_EQ(lastCommonTransactionTimestamp(*defaults_, AppTarget::allCases()), std::nullopt);

  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::app, Date::now());
  EXPECT_EQ(lastCommonTransactionTimestamp(*defaults_, AppTarget::allCases()), std::nullopt);
}

TEST_F(HistoryTimestamp, InCommonIsNoneInTheDistantPast) {
  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::app, Date::now());
  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::shareExtension, Date::distantPast());

  EXPECT_EQ(lastCommonTransactionTimestamp(*defaults_, AppTarget::allCases()), std::nullopt);
}

TEST_F(HistoryTimestamp, OfOneTargetIsItsOwnWhateverItIs) {
  EXPECT_EQ(lastCommonTransactionTimestamp(*defaults_, kJustOne), std::nullopt);

  updateLastHistoryTransactionTimestamp(*defaults_, AppTarget::shareExtension, Date::distantPast());
  EXPECT_EQ(lastCommonTransactionTimestamp(*defaults_, kJustOne), Date::distantPast());
}

TEST_F(HistoryTimestamp, OfNoTargetsStopsTheProcess) {
  EXPECT_DEATH(static_cast<void>(lastCommonTransactionTimestamp(*defaults_, {})), "Fatal error");
}

}  // namespace
