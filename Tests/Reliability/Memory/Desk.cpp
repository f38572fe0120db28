#include "Tests/Reliability/Memory/Desk.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Tests/Support/LocalDate.h"
#include "Tools/storecheck/StoreCheck.h"

namespace shortage {

using coredata::NSFetchRequest;
using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::NSPersistentContainer;
using coredatastack::CDActivity;
using coredatastack::CDCheckin;
using domain::CheckinType;
using foundation::Ref;
using foundation::URL;

namespace fs = std::filesystem;

namespace {

void fill(NSManagedObjectContext& context) {
  const auto add = [&](const std::string& title, std::initializer_list<int> days) {
    const Ref<CDActivity> activity = CDActivity::create(context, "green");
    activity->setTitle(title);
    for (const int day : days) {
      const auto checkin = foundation::make<CDCheckin>(context, support::localDate(2024, 3, day),
                                                       CheckinType::standard);
      checkin->setActivity(activity);
    }
  };
  add("Read", {1, 2});
  add("Run", {1});
  context.save();
}

}  // namespace

fs::path storeIn(const fs::path& directory) { return directory / "Model.sqlite"; }

Ref<NSPersistentContainer> openedIn(const fs::path& directory) {
  auto container = support::containerWithoutStore();
  coredata::NSPersistentStoreDescription description(URL::fileURL(storeIn(directory).string()));
  description.setOption(true, coredata::NSPersistentHistoryTrackingKey);
  container->setPersistentStoreDescriptions({description});
  container->loadPersistentStores([](const auto&, const std::optional<foundation::Error>& error) {
    if (error) error->raise();
  });
  return container;
}

const support::Files& diaryFiles() {
  static const support::Files files = [] {
    const support::ScopedSettings settings("en_US", "Asia/Seoul");
    const support::TemporaryDirectory directory;
    const auto context = openedIn(directory.path())->newBackgroundContext();
    context->performBlockAndWait([&] { fill(*context); });
    const auto coordinator = context->persistentStoreCoordinator();
    coordinator->removePersistentStore(coordinator->persistentStores().front());
    return support::filesIn(directory.path());
  }();
  return files;
}

std::string outlineOf(const NSPersistentContainer& container) {
  const auto context = container.newBackgroundContext();
  std::string outline;
  context->performBlockAndWait([&] {
    for (const auto* entity : container.managedObjectModel().entities()) {
      const auto count = context->count(NSFetchRequest<NSManagedObject>(entity->name()));
      outline += entity->name() + " " + std::to_string(count) + "; ";
    }
    NSFetchRequest<CDActivity> request = CDActivity::fetchRequest();
    request.setSortDescriptors({{"title", true}});
    for (const Ref<CDActivity>& activity : context->fetch(request)) {
      outline += activity->title().value_or("untitled") + ":";
      for (const Ref<CDCheckin>& checkin : activity->checkins()) {
        outline += " " + checkin->date().value_or("no day");
      }
      const bool isWhole = activity->goal() && activity->order() && activity->displayOn();
      outline += isWhole ? "; " : " in parts; ";
    }
  });
  return outline;
}

void expectSound(const fs::path& store) {
  const auto report = storecheck::check(URL::fileURL(store.string()));
  for (const auto& finding : report.findings.list()) {
    EXPECT_EQ(finding.severity, storecheck::Severity::warning) << finding.text;
  }
}

Desk::Desk() {
  support::putFiles(diaryFiles(), directory());
  container_ = openedIn(directory());
  context_ = container_->newBackgroundContext();
}

Ref<CDActivity> Desk::activity(std::string_view title) const {
  for (const Ref<CDActivity>& activity : context_->fetch(CDActivity::fetchRequest())) {
    if (activity->title() == title) return activity;
  }
  return nullptr;
}

void Desk::close() {
  kept.clear();
  context_ = nullptr;
  container_ = nullptr;
}

namespace {

/// What a diary holds before and after a work was done with memory enough.
struct Outlines {
  std::string before;
  std::string after;
};

class DeskAttempt final : public Attempt {
 public:
  DeskAttempt(const DeskWork& work, Outlines& outlines) : work_(work), outlines_(outlines) {
    inTurn(work_.prepare);
    if (outlines_.before.empty()) outlines_.before = outlineOf(desk_.container());
  }

  void act() override { inTurn(work_.act); }

  void check(bool threw) override {
    if (outlines_.after.empty()) outlines_.after = outlineOf(desk_.container());
    EXPECT_EQ(outlineOf(desk_.container()),
              threw || !work_.writes ? outlines_.before : outlines_.after);
    if (threw) inTurn(work_.repeat);
    inTurn(work_.check);
    if (work_.writes) {
      EXPECT_EQ(outlineOf(desk_.container()), outlines_.after);
    }
    expectUsable();
  }

  void checkClosed() override {
    const std::string last = outlineOf(desk_.container());
    desk_.close();
    expectSound(storeIn(desk_.directory()));
    EXPECT_EQ(outlineOf(*openedIn(desk_.directory())), last);
  }

 private:
  template <typename Step>
  void inTurn(const Step& step) {
    desk_.context().performBlockAndWait([&] { step(desk_); });
  }

  /// The next save brings what it should and nothing else.
  void expectUsable() {
    inTurn([](Desk& desk) {
      desk.context().rollback();
      const auto activity = CDActivity::create(desk.context(), "blue");
      activity->setTitle("Zoo");
      desk.context().save();
    });
    const std::string outline = outlineOf(desk_.container());
    EXPECT_TRUE(outline.ends_with("Zoo:; ")) << outline;
  }

  const DeskWork& work_;
  Outlines& outlines_;
  Desk desk_;
};

}  // namespace

Operation deskOperation(std::string name, DeskWork work) {
  return {std::move(name), [work = std::move(work), outlines = std::make_shared<Outlines>()] {
            return std::make_unique<DeskAttempt>(work, *outlines);
          }};
}

}  // namespace shortage
