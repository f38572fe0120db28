#include <gtest/gtest.h>

#include <variant>

#include "CoreData/History/NSPersistentHistoryChangeRequest.h"
#include "CoreData/History/NSPersistentHistoryResult.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Tests/Reliability/Memory/Desk.h"
#include "Tests/Reliability/Memory/Operations.h"

namespace shortage {

using coredata::NSFetchRequest;
using coredata::NSFetchRequestResultType;
using coredata::NSPersistentHistoryChangeRequest;
using coredata::NSPersistentHistoryResult;
using coredatastack::CDActivity;
using coredatastack::CDCheckin;
using foundation::NSPredicate;
using foundation::Ref;

namespace {

NSFetchRequest<CDActivity> sortedActivities() {
  auto request = CDActivity::fetchRequest();
  request.setPredicate(NSPredicate::format("title BEGINSWITH %@ AND checkins.@count > 0", "R"));
  request.setSortDescriptors({{"order.priority", true}, {"title", true}});
  return request;
}

std::string titlesOf(Desk& desk) {
  std::string titles;
  for (const Ref<CDActivity>& activity : desk.context().fetch(sortedActivities())) {
    titles += activity->title().value_or("none") + " ";
  }
  return titles;
}

/// Work whose result somebody looks at: it is either right or not there.
template <typename Find>
DeskWork finding(
    Find find, decltype(find(std::declval<Desk&>())) expected,
    std::function<void(Desk&)> prepare = [](Desk&) {}) {
  return {.prepare = std::move(prepare),
          .act = [=](Desk& desk) { EXPECT_EQ(find(desk), expected); },
          .repeat = [](Desk&) {},
          .check = [=](Desk& desk) { EXPECT_EQ(find(desk), expected); }};
}

void changeSome(Desk& desk) {
  desk.activity("Run")->setTitle("Rest");
  CDActivity::create(desk.context(), "blue")->setTitle("Row");
}

DeskWork fetchingIdentifiers() {
  return finding(
      [](Desk& desk) { return desk.context().fetchObjectIDs(sortedActivities()).size(); }, 2U);
}

DeskWork fetchingDictionaries() {
  return finding(
      [](Desk& desk) {
        auto request = CDCheckin::fetchRequest();
        request.setResultType(NSFetchRequestResultType::dictionaries);
        request.setPropertiesToFetch({"date", "activity.title"});
        request.setSortDescriptors({{"date", false}});
        const auto rows = desk.context().fetchDictionaries(request);
        return std::string(rows.text(0, rows.column("date")));
      },
      "2024-03-02");
}

DeskWork counting() {
  return finding([](Desk& desk) { return desk.context().count(sortedActivities()); }, 2);
}

std::string daysOf(Desk& desk) {
  const auto read = foundation::as<CDActivity>(desk.kept.front());
  std::string days;
  for (const Ref<CDCheckin>& checkin : read->checkins()) {
    days += checkin->date().value_or("none") + " ";
  }
  return days + (read->goal() && read->goal()->activity() == read ? "with" : "without");
}

DeskWork followingRelationships() {
  DeskWork work = finding(daysOf, "2024-03-01 2024-03-02 with",
                          [](Desk& desk) { desk.kept.push_back(desk.activity("Read")); });
  // A look at an object that cannot be read says so on the error stream, shows nothing, and is
  // repeated at the next look: what it shows meanwhile says nothing.
  work.act = [](Desk& desk) { static_cast<void>(daysOf(desk)); };
  return work;
}

/// Each side of a relationship is what the other says, whatever threw on the way.
void expectBothSides(Desk& desk) {
  for (const Ref<CDActivity>& activity : desk.context().fetch(CDActivity::fetchRequest())) {
    for (const Ref<CDCheckin>& checkin : activity->checkins()) {
      EXPECT_EQ(checkin->activity(), activity);
    }
    EXPECT_TRUE(!activity->goal() || activity->goal()->activity() == activity);
  }
  for (const Ref<CDCheckin>& checkin : desk.context().fetch(CDCheckin::fetchRequest())) {
    EXPECT_TRUE(!checkin->activity() || checkin->activity()->checkins().contains(checkin));
  }
}

/// Moves a check-in to another activity, makes two exchange their goals, takes one apart; and saves
/// what came of it even if that was not all.
DeskWork relating() {
  const auto act = [](Desk& desk) {
    const auto read = foundation::as<CDActivity>(desk.kept[0]);
    const auto run = foundation::as<CDActivity>(desk.kept[1]);
    foundation::as<CDCheckin>(desk.kept[2])->setActivity(run);
    const Ref<coredatastack::CDGoal> goal = read->goal();
    run->setGoal(goal);
    read->setGoal(foundation::make<coredatastack::CDGoal>(desk.context()));
    desk.context().delete_(run->order());
  };
  return {.prepare =
              [](Desk& desk) {
                desk.kept = {desk.activity("Read"), desk.activity("Run"),
                             desk.activity("Read")->checkins().at(0)};
              },
          .act = act,
          .repeat = [](Desk& desk) { expectBothSides(desk); },
          .check =
              [](Desk& desk) {
                expectBothSides(desk);
                desk.context().save();
                expectBothSides(desk);
              }};
}

/// Everything that somebody else has written since, fetched from the history and merged.
DeskWork followingTheHistory() {
  return {
      .prepare =
          [](Desk& desk) {
            desk.kept.push_back(desk.activity("Read"));
            static_cast<void>(desk.activity("Read")->checkins().count());
            const auto other = openedIn(desk.directory())->newBackgroundContext();
            other->performBlockAndWait([&] {
              for (const Ref<CDActivity>& activity : other->fetch(CDActivity::fetchRequest())) {
                if (activity->title() == "Read") {
                  activity->setTitle("Reads");
                  other->delete_(activity->checkins().at(0));
                }
              }
              other->save();
            });
          },
      .act =
          [](Desk& desk) {
            const auto result = foundation::as<NSPersistentHistoryResult>(
                desk.context().execute(NSPersistentHistoryChangeRequest::fetchHistoryAfterDate(
                    foundation::Date::distantPast())));
            using Transactions = std::vector<Ref<coredata::NSPersistentHistoryTransaction>>;
            for (const auto& transaction : std::get<Transactions>(result->result())) {
              desk.context().mergeChangesFromContextDidSave(transaction->objectIDNotification());
            }
          },
      .repeat = [](Desk& desk) { desk.context().refreshAllObjects(); },
      .check =
          [](Desk& desk) {
            const auto read = foundation::as<CDActivity>(desk.kept.front());
            EXPECT_EQ(read->title(), "Reads");
            EXPECT_EQ(read->checkins().count(), 1U);
          }};
}

/// Objects that were changed, deleted and made, and what becomes of them when the changes are
/// dropped.
void changeMuch(Desk& desk) {
  desk.kept = {desk.activity("Read"), desk.activity("Run")};
  foundation::as<CDActivity>(desk.kept[0])->setTitle("Changed");
  desk.context().delete_(foundation::as<CDActivity>(desk.kept[1]));
  desk.kept.push_back(CDActivity::create(desk.context(), "blue"));
}

DeskWork rollingBack() {
  const auto act = [](Desk& desk) { desk.context().rollback(); };
  return {.prepare = changeMuch, .act = act, .repeat = act, .check = [](Desk& desk) {
            EXPECT_FALSE(desk.context().hasChanges());
            EXPECT_EQ(foundation::as<CDActivity>(desk.kept[0])->title(), "Read");
            EXPECT_EQ(foundation::as<CDActivity>(desk.kept[1])->title(), "Run");
          }};
}

DeskWork resetting() {
  const auto act = [](Desk& desk) { desk.context().reset(); };
  return {.prepare = changeMuch, .act = act, .repeat = act, .check = [](Desk& desk) {
            EXPECT_FALSE(desk.context().hasChanges());
            EXPECT_TRUE(desk.context().registeredObjects().empty());
          }};
}

DeskWork refreshing() {
  const auto act = [](Desk& desk) { desk.context().refreshAllObjects(); };
  return {.prepare = changeMuch, .act = act, .repeat = act, .check = [](Desk& desk) {
            EXPECT_EQ(foundation::as<CDActivity>(desk.kept[0])->title(), "Changed");
            EXPECT_TRUE(foundation::as<CDActivity>(desk.kept[1])->isDeleted());
          }};
}

}  // namespace

std::vector<Operation> contextOperations() {
  return {
      deskOperation("FetchingObjects", finding(titlesOf, "Read Run ")),
      deskOperation("FetchingAmongChanges", finding(titlesOf, "Read Rest ", changeSome)),
      deskOperation("FetchingIdentifiers", fetchingIdentifiers()),
      deskOperation("FetchingDictionaries", fetchingDictionaries()),
      deskOperation("Counting", counting()),
      deskOperation("FollowingRelationships", followingRelationships()),
      deskOperation("Relating", relating()),
      deskOperation("FollowingTheHistory", followingTheHistory()),
      deskOperation("RollingBack", rollingBack()),
      deskOperation("Resetting", resetting()),
      deskOperation("Refreshing", refreshing()),
  };
}

}  // namespace shortage
