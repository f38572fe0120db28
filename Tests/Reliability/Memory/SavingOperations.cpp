#include <gtest/gtest.h>

#include "CoreData/Fetching/NSBatchDeleteRequest.h"
#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Tests/Reliability/Memory/Desk.h"
#include "Tests/Reliability/Memory/Operations.h"
#include "Tests/Support/LocalDate.h"

namespace shortage {

using coredata::NSManagedObjectContext;
using coredatastack::CDActivity;
using coredatastack::CDCheckin;
using coredatastack::CoreDataCheckinUseCase;
using domain::CheckinType;
using foundation::Ref;

namespace {

void save(Desk& desk) { desk.context().save(); }

void insert(Desk& desk) {
  const Ref<CDActivity> activity = CDActivity::create(desk.context(), "red");
  activity->setTitle("Swim");
  const auto checkin = foundation::make<CDCheckin>(desk.context(), support::localDate(2024, 3, 5),
                                                   CheckinType::standard);
  checkin->setActivity(activity);
}

/// Changes, deletes one with what belongs to it, and inserts.
void changeAndDelete(Desk& desk) {
  const Ref<CDActivity> read = desk.activity("Read");
  read->setTitle("Read a long time, as long as a text takes that is moved");
  desk.context().delete_(read->checkins().at(0));
  desk.context().delete_(desk.activity("Run"));
  insert(desk);
  desk.context().processPendingChanges();
}

void expectNothingPending(Desk& desk) { EXPECT_FALSE(desk.context().hasChanges()); }

DeskWork insertingAndSaving() {
  const auto act = [](Desk& desk) {
    insert(desk);
    desk.context().save();
  };
  return {.act = act,
          .repeat =
              [act](Desk& desk) {
                desk.context().rollback();
                act(desk);
              },
          .check = expectNothingPending,
          .writes = true};
}

DeskWork saving(void (*change)(Desk&)) {
  return {.prepare = change,
          .act = save,
          .repeat =
              [](Desk& desk) {
                EXPECT_TRUE(desk.context().hasChanges());
                desk.context().save();
              },
          .check = expectNothingPending,
          .writes = true};
}

/// Somebody who hears of saves, and another context that merges them.
class Audience final : public foundation::Object {
 public:
  explicit Audience(Desk& desk)
      : other(desk.container().newBackgroundContext()),
        token_(foundation::NSNotificationCenter::defaultCenter().addObserver(
            NSManagedObjectContext::didSaveNotification(), desk.contextHandle(),
            [this](const auto&) { ++heard; })) {
    other->performBlockAndWait([&] {
      for (const Ref<CDActivity>& activity : other->fetch(CDActivity::fetchRequest())) {
        static_cast<void>(activity->title());
        objects.push_back(activity);
      }
    });
  }

  [[nodiscard]] std::string titles() const {
    std::string result;
    // Blocks run in the order in which they come: this one behind the merge.
    other->performBlockAndWait([&] {
      for (const Ref<CDActivity>& activity : objects) {
        // One that is read anew is known to be gone only once it was read.
        const auto title = activity->title();
        result += activity->isDeleted() ? "deleted " : title.value_or("none") + " ";
      }
    });
    return result;
  }

  const Ref<NSManagedObjectContext> other;
  std::vector<Ref<CDActivity>> objects;
  int heard = 0;

 private:
  Ref<foundation::Object> token_;
};

DeskWork savingBeforeAnAudience() {
  DeskWork work = saving([](Desk& desk) {
    desk.kept.push_back(foundation::make<Audience>(desk));
    changeAndDelete(desk);
  });
  work.check = [](Desk& desk) {
    const auto audience = foundation::as<Audience>(desk.kept.front());
    EXPECT_EQ(audience->heard, 1);
    EXPECT_EQ(audience->titles(),
              "Read a long time, as long as a text takes that is moved deleted ");
    expectNothingPending(desk);
  };
  return work;
}

DeskWork deletingABatch() {
  const auto act = [](Desk& desk) {
    auto request = CDCheckin::fetchRequest();
    request.setPredicate(foundation::NSPredicate::format("date == %@", "2024-03-01"));
    desk.context().execute(coredata::NSBatchDeleteRequest(request));
  };
  return {.act = act, .repeat = act, .writes = true};
}

DeskWork checkingIn() {
  const auto act = [](Desk& desk) {
    CoreDataCheckinUseCase(desk.activity("Run"), desk.contextHandle())
        .addCheckin(support::localDate(2024, 3, 9), CheckinType::standard);
  };
  return {.act = act,
          .repeat =
              [act](Desk& desk) {
                desk.context().rollback();
                act(desk);
              },
          .check =
              [](Desk& desk) {
                EXPECT_EQ(desk.activity("Run")->checkins().count(), 2U);
                expectNothingPending(desk);
              },
          .writes = true};
}

/// The save meets rows that another context has changed and deleted meanwhile.
DeskWork savingOverConflicts() {
  return saving([](Desk& desk) {
    desk.context().setMergePolicy(coredata::NSMergePolicy::mergeByPropertyObjectTrump);
    desk.kept.push_back(desk.activity("Read"));
    desk.kept.push_back(desk.activity("Read")->checkins().at(0));
    desk.activity("Read")->setMemo("mine");
    foundation::as<CDCheckin>(desk.kept[1])->setMemo("mine");
    desk.context().delete_(desk.activity("Run"));
    desk.context().processPendingChanges();
    const auto elsewhere = openedIn(desk.directory());
    const auto other = elsewhere->newBackgroundContext();
    other->performBlockAndWait([&] {
      for (const Ref<CDActivity>& activity : other->fetch(CDActivity::fetchRequest())) {
        if (activity->title() == "Read") {
          other->delete_(activity->checkins().at(0));
          activity->setTitle("Reads");
        } else {
          const auto checkin = foundation::make<CDCheckin>(*other, support::localDate(2024, 3, 20),
                                                           CheckinType::standard);
          checkin->setActivity(activity);
        }
      }
      other->save();
    });
  });
}

}  // namespace

std::vector<Operation> savingOperations() {
  return {
      deskOperation("InsertingAndSaving", insertingAndSaving()),
      deskOperation("SavingTheNew", saving(insert)),
      deskOperation("SavingTheChangedAndDeleted", saving(changeAndDelete)),
      deskOperation("SavingBeforeAnAudience", savingBeforeAnAudience()),
      deskOperation("SavingOverConflicts", savingOverConflicts()),
      deskOperation("DeletingABatch", deletingABatch()),
      deskOperation("CheckingIn", checkingIn()),
  };
}

}  // namespace shortage
