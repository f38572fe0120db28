#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/CoreDataMigrator+Notifications.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Queues/MainQueue.h"
#include "Tests/Support/MainQueueWait.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/RecordingLogger.h"

namespace support {

/// A place with room for a store, and what happens when a stack is set up there, in its order.
class StackPlace : public testing::Test {
 protected:
  using Configuration = coredatastack::CoreDataConfiguration;
  using Stack = coredatastack::CoreDataStack;
  using Stage = Configuration::Stage;
  using Version = coredatastack::CoreDataMigrationVersion;

  struct Happening {
    std::string what;
    std::thread::id thread;
  };

  [[nodiscard]] Configuration configuration(Stage stage = Stage::extensions,
                                            const std::string& name = "Model.sqlite") const {
    return Configuration(stage, "Model", coredatastack::modelBundleIdentifier(),
                         "iCloud.com.tessaline", coredatastack::appGroupIdentifier(), "app",
                         place_.at(name), false);
  }
  [[nodiscard]] foundation::Ref<Stack> stack(Stage stage = Stage::extensions) const {
    return foundation::make<Stack>(configuration(stage), logger_);
  }
  /// A stack whose setup is done; its outcome is among what happened.
  foundation::Ref<Stack> setUp(const foundation::Ref<Stack>& stack) {
    const std::size_t before = happenings().size();
    stack->setup([this](const std::expected<bool, coredatastack::Failure>& outcome) {
      note(outcome ? (*outcome ? "success(true)" : "success(false)")
                   : "failure(" + outcome.error()->description() + ")");
    });
    EXPECT_TRUE(runMainQueueUntil([&] { return isSetUpSince(before); }));
    return stack;
  }
  foundation::Ref<Stack> setUp(Stage stage = Stage::extensions) { return setUp(stack(stage)); }

  [[nodiscard]] std::vector<Happening> happenings() const {
    const std::scoped_lock lock(mutex_);
    return happenings_;
  }
  [[nodiscard]] std::vector<std::string> whatHappened() const {
    std::vector<std::string> result;
    for (const Happening& one : happenings()) result.push_back(one.what);
    return result;
  }

  void addStore(const Version& version, const std::string& title = "Run") const {
    support::edit(place_.storeURL(), version, [&](coredata::NSManagedObjectContext& context) {
      context.insertNewObject("Activity")->setValue(title, "title");
    });
  }
  [[nodiscard]] static std::vector<std::string> titles(coredata::NSManagedObjectContext& context) {
    return titlesOfActivities(context);
  }

  MigrationPlace place_;
  foundation::Ref<RecordingLogger> logger_ = foundation::make<RecordingLogger>();

 private:
  void note(std::string what) {
    {
      const std::scoped_lock lock(mutex_);
      happenings_.push_back({std::move(what), std::this_thread::get_id()});
    }
    foundation::MainQueue::async([] {});
  }
  /// Whether the last thing was told that a setup tells.
  [[nodiscard]] bool isSetUpSince(std::size_t before) const {
    const auto all = whatHappened();
    return all.size() > before && (all[before] != "started" || all.back() == "finished");
  }
  [[nodiscard]] foundation::Ref<foundation::Object> noting(
      const foundation::NSNotificationName& name, std::string what) {
    return foundation::NSNotificationCenter::defaultCenter().addObserver(
        name, nullptr, [this, what](const foundation::NSNotification& notification) {
          const bool isBare = !notification.object() && notification.userInfo() == nullptr;
          note(isBare ? what : what + " with something");
        });
  }

  using Names = coredatastack::CoreDataMigratorNotificationName;
  mutable std::mutex mutex_;
  std::vector<Happening> happenings_;
  foundation::Ref<foundation::Object> started_ = noting(Names::coreDataMigratorStarted, "started");
  foundation::Ref<foundation::Object> finished_ =
      noting(Names::coreDataMigratorFinished, "finished");
};

}  // namespace support
