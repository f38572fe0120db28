#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "CoreData/SQLite/StoreVFS.h"
#include "Tests/CoreDataStack/Queries/Diary.h"
#include "Tests/Support/FaultVFS.h"
#include "Tests/Support/LocalDate.h"

namespace coredatastack {
namespace {

using coredata::StoreVFSOverride;
using domain::ActivityStatus;
using domain::CalendarItem;
using domain::DateFormat;
using foundation::make;
using foundation::Ref;
using support::FaultVFS;
using support::localDate;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

using Activity = Ref<CDActivity>;

foundation::Date day() { return localDate(2024, 2, 10); }

/// A query that finds something in the store of these tests.
struct Question {
  std::string name;
  std::function<bool(const API& api, const Activity& run)> findsSomething;
};

const std::vector<Question>& questions() {
  static const std::vector<Question> all = {
      {"checkins", [](const API& api, const Activity& run) { return !api.checkins(run).empty(); }},
      {"checkinsOfAMonth",
       [](const API& api, const Activity& run) {
         return !api.checkins(run, day(), DateFormat::month).empty();
       }},
      {"checkinsOfADay",
       [](const API& api, const Activity& run) {
         return !api.checkins(run, day(), DateFormat::day).empty();
       }},
      {"checkinsOfAPeriod",
       [](const API& api, const Activity& run) {
         return !api.checkins(run, kAllTypes, day(), day()).empty();
       }},
      {"checkinExists",
       [](const API& api, const Activity& run) { return api.checkinExists(day(), run); }},
      {"firstCheckin",
       [](const API& api, const Activity& run) {
         return api.firstCheckin(run, ActivityStatus::achieved) != nullptr;
       }},
      {"firstCheckinOfAll",
       [](const API& api, const Activity&) {
         return api.firstCheckin(nullptr, ActivityStatus::achieved) != nullptr;
       }},
      {"lastCheckin",
       [](const API& api, const Activity& run) { return api.lastCheckin(run) != nullptr; }},
      {"activities", [](const API& api, const Activity&) { return !api.activities().empty(); }},
      {"activitiesOfAGroup",
       [](const API& api, const Activity& run) { return !api.activities(run->group()).empty(); }},
      {"activitiesOfNoGroup",
       [](const API& api, const Activity&) { return !api.activities(nullptr).empty(); }},
      {"activitiesOfAStatus",
       [](const API& api, const Activity&) {
         return !api.activities(ActivityStatus::achieved).empty();
       }},
      {"activitiesOfAPeriod",
       [](const API& api, const Activity&) {
         return !api.activities(ActivityStatus::achieved, day(), day()).empty();
       }},
      {"numberOfActivities",
       [](const API& api, const Activity&) { return api.numberOfActivities() != 0; }},
      {"numberOfActivitiesOfAStatus",
       [](const API& api, const Activity&) {
         return api.numberOfActivities(ActivityStatus::achieved) != 0;
       }},
      {"numberOfAchievedActivities",
       [](const API& api, const Activity&) { return api.numberOfAchievedActivities() != 0; }},
      {"numberOfCheckinsOfAYear",
       [](const API& api, const Activity& run) {
         return api.numberOfCheckins(run, CalendarItem::year(2024)) != 0;
       }},
      {"numberOfCheckinsOfAPeriod",
       [](const API& api, const Activity& run) {
         return api.numberOfCheckins(run, day(), std::nullopt) != 0;
       }},
  };
  return all;
}

class OverAFailingStore : public testing::Test {
 protected:
  OverAFailingStore() {
    run_->achieve();
    diary_.activity("Read", {.group = run_->group()});
    diary_.activity("Walk");
    diary_.checkIn(run_, "2024-02-10");
    diary_.save();
  }
  ~OverAFailingStore() override { vfs_.reset(); }

  void breakStore() {
    vfs_.watch(support::kEverything);
    vfs_.failAt(1, SQLITE_IOERR, true);
  }

  FaultVFS vfs_;
  StoreVFSOverride override_{vfs_.name()};
  Diary diary_;
  Ref<CDActivity> run_ = diary_.activity("Run", {.group = diary_.group(0)});
};

class FailingQueries : public OverAFailingStore, public testing::WithParamInterface<Question> {
 protected:
  [[nodiscard]] bool ask() const { return GetParam().findsSomething(diary_.api(), run_); }
};

INSTANTIATE_TEST_SUITE_P(Query, FailingQueries, testing::ValuesIn(questions()),
                         [](const auto& question) { return question.param.name; });

TEST_P(FailingQueries, AnswerAndSayNothingWhileTheStoreWorks) {
  testing::internal::CaptureStdout();

  EXPECT_TRUE(ask());

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_THAT(diary_.logged(), IsEmpty());
}

TEST_P(FailingQueries, PrintAndLogTheErrorAndAnswerWithNothing) {
  breakStore();

  testing::internal::CaptureStdout();
  EXPECT_FALSE(ask());

  const std::string printed = testing::internal::GetCapturedStdout();
  ASSERT_THAT(diary_.logged(), ElementsAre(StartsWith("Error Domain=NSSQLiteErrorDomain")));
  EXPECT_EQ(printed, diary_.logged().front() + "\n");
}

TEST_P(FailingQueries, AreNotTriedAgainWhenTheStoreFailsOnce) {
  vfs_.reset();
  vfs_.watch(support::kEverything);
  vfs_.failAt(1, SQLITE_IOERR);

  testing::internal::CaptureStdout();
  EXPECT_FALSE(ask());

  EXPECT_EQ(testing::internal::GetCapturedStdout(), diary_.logged().at(0) + "\n");
  EXPECT_EQ(diary_.logged().size(), 1U);
}

TEST_P(FailingQueries, AnswerAgainOnceTheStoreWorksAgain) {
  breakStore();
  testing::internal::CaptureStdout();
  EXPECT_FALSE(ask());
  static_cast<void>(testing::internal::GetCapturedStdout());

  vfs_.reset();

  EXPECT_TRUE(ask());
  EXPECT_EQ(diary_.logged().size(), 1U);
}

class QueriesWithoutAStore : public testing::TestWithParam<Question> {};

INSTANTIATE_TEST_SUITE_P(Query, QueriesWithoutAStore, testing::ValuesIn(questions()),
                         [](const auto& question) { return question.param.name; });

TEST_P(QueriesWithoutAStore, PrintAndLogTheErrorAndAnswerWithNothing) {
  const auto container = support::containerWithoutStore();
  const auto logger = make<support::RecordingLogger>();
  const LocalAPI api(container->viewContext(), logger);
  const auto loose = CDActivity::create(*container->viewContext(), "red");
  loose->setGroup(CDGroup::create(*container->viewContext()));

  testing::internal::CaptureStdout();
  EXPECT_FALSE(GetParam().findsSomething(api, loose));

  const std::string printed = testing::internal::GetCapturedStdout();
  ASSERT_THAT(logger->descriptions(), ElementsAre(StartsWith("Error Domain=NSCocoaErrorDomain")));
  EXPECT_EQ(printed, logger->descriptions().front() + "\n");
}

using FailingDeletion = OverAFailingStore;

TEST_F(FailingDeletion, IsPrintedAloneAndStaysPending) {
  breakStore();

  testing::internal::CaptureStdout();
  diary_.api().delete_(run_);

  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_THAT(printed, StartsWith("Error Domain="));
  EXPECT_EQ(printed.find('\n'), printed.size() - 1) << printed;
  EXPECT_THAT(diary_.logged(), IsEmpty());
  EXPECT_TRUE(diary_.context().hasChanges());
  vfs_.reset();
  diary_.save();
  EXPECT_EQ(diary_.api().numberOfActivities(), 2);
}

}  // namespace
}  // namespace coredatastack
