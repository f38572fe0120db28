// The step from version 6 to version 7 on real stores, with photo files in a container of the
// test's own.

#include "CoreDataStack/MurtelleMigrationPolicyV6toV7.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "CoreData/Migration/MigrationError.h"
#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreDataStack/CoreDataMigrationStep.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Json/NSJSONSerialization.h"
#include "Foundation/Values/Error.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/MigrationPlace.h"

namespace {

using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredatastack::CoreDataMigrationStep;
using coredatastack::CoreDataMigrationVersion;
using coredatastack::MurtelleMigrationPolicyV6toV7;
using foundation::Data;
using foundation::Date;
using foundation::Error;
using foundation::Ref;
using foundation::Value;
using foundation::ValueDictionary;
using support::allObjects;

Data dataOf(std::string_view bytes) {
  return Data(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

class V6toV7 : public testing::Test {
 protected:
  V6toV7() { MurtelleMigrationPolicyV6toV7::registerClass(); }

  template <typename Work>
  void edit(Work&& work) const {
    support::edit(place_.storeURL(), CoreDataMigrationVersion::version6, work);
  }
  void migrate() const {
    const CoreDataMigrationStep step(CoreDataMigrationVersion::version6,
                                     CoreDataMigrationVersion::version7);
    const auto manager =
        foundation::make<coredata::NSMigrationManager>(step.sourceModel, step.destinationModel);
    manager->migrateStore(place_.storeURL(), coredata::NSSQLiteStoreType, {}, step.mappingModel,
                          place_.at("new.sqlite"), coredata::NSSQLiteStoreType, {});
  }
  template <typename Work>
  void look(Work&& work) const {
    const auto context =
        support::contextOver(place_.at("new.sqlite"), CoreDataMigrationVersion::version7);
    context->performBlockAndWait([&] { work(*context); });
  }
  static Ref<NSManagedObject> made(NSManagedObjectContext& context, const char* entity,
                                   const ValueDictionary& values = {}) {
    auto object = context.insertNewObject(entity);
    for (const auto& [key, value] : values) object->setValue(value, key);
    return object;
  }

  support::MigrationPlace place_;
};

TEST_F(V6toV7, FillsWhatVersionSixLeftEmpty) {
  edit([](NSManagedObjectContext& context) {
    for (const char* entity : {"Activity", "Group", "MonthlyReview"}) made(context, entity);
  });

  migrate();

  look([](NSManagedObjectContext& context) {
    const Value past = Date::distantPast();
    const auto activity = allObjects(context, "Activity").at(0);
    EXPECT_EQ(activity->valueForKey("title"), Value(""));
    EXPECT_EQ(activity->valueForKey("createdDate"), past);
    EXPECT_EQ(activity->valueForKey("modifiedDate"), past);
    const auto group = allObjects(context, "Group").at(0);
    EXPECT_EQ(group->valueForKey("title"), Value(""));
    EXPECT_EQ(group->valueForKey("createdDate"), past);
    const auto review = allObjects(context, "MonthlyReview").at(0);
    EXPECT_EQ(review->valueForKey("createdDate"), past);
    EXPECT_EQ(review->valueForKey("modifiedDate"), past);
    // What is not filled in stays absent.
    EXPECT_EQ(activity->valueForKey("memo"), Value());
    EXPECT_EQ(review->valueForKey("date"), Value());
  });
}

TEST_F(V6toV7, KeepsWhatVersionSixHas) {
  const Value date = Date::fromReference(123.25);
  edit([&](NSManagedObjectContext& context) {
    const auto group = made(context, "Group", {{"title", "Health"}, {"priority", 3}});
    const auto activity = made(context, "Activity",
                               {{"title", "Run"},
                                {"createdDate", date},
                                {"modifiedDate", date},
                                {"color", "red"},
                                {"status", 1},
                                {"checkinMaxCount", 2.5},
                                {"group", group}});
    made(context, "Checkin", {{"date", "2024-02-10"}, {"count", 1.5}, {"activity", activity}});
    made(context, "Goal", {{"count", 4}, {"interval", 10}, {"activity", activity}});
  });

  migrate();

  look([&](NSManagedObjectContext& context) {
    const auto activity = allObjects(context, "Activity").at(0);
    EXPECT_EQ(activity->valueForKey("title"), Value("Run"));
    EXPECT_EQ(activity->valueForKey("createdDate"), date);
    EXPECT_EQ(activity->valueForKey("color"), Value("red"));
    EXPECT_EQ(activity->valueForKey("status"), Value(1));
    EXPECT_EQ(activity->valueForKey("checkinMaxCount"), Value(2.5));
    EXPECT_EQ(activity->valueForKey("group"), Value(allObjects(context, "Group").at(0)));
    EXPECT_EQ(activity->valueForKey("goal"), Value(allObjects(context, "Goal").at(0)));
    const auto checkin = allObjects(context, "Checkin").at(0);
    EXPECT_EQ(checkin->valueForKey("activity"), Value(activity));
    EXPECT_EQ(checkin->valueForKey("count"), Value(1.5));
    EXPECT_EQ(allObjects(context, "Group").at(0)->valueForKey("priority"), Value(3));
  });
}

TEST_F(V6toV7, FoldsThePhotosOfSeveralBatchesIntoTheStore) {
  constexpr int kPhotos = 250;
  edit([&](NSManagedObjectContext& context) {
    const auto checkin = made(context, "Checkin", {{"date", "2024-02-10"}});
    for (int i = 0; i < kPhotos; ++i) {
      const std::string name = std::to_string(i) + ".jpg";
      place_.addPhotoFile(name, "bytes of " + name);
      made(context, "Photo", {{"filename", name}, {"checkin", checkin}});
    }
  });

  migrate();

  look([](NSManagedObjectContext& context) {
    const auto photos = allObjects(context, "Photo");
    ASSERT_EQ(photos.size(), 250U);
    for (std::size_t i = 0; i < photos.size(); ++i) {
      EXPECT_EQ(photos[i]->valueForKey("data"),
                Value(dataOf("bytes of " + std::to_string(i) + ".jpg")));
      EXPECT_EQ(photos[i]->valueForKey("createdDate"), Value(Date::distantPast()));
    }
    EXPECT_EQ(allObjects(context, "Checkin").at(0)->valueForKey("photos").list()->size(), 250U);
  });
  EXPECT_FALSE(std::filesystem::exists(place_.container() / "photo"));
}

TEST_F(V6toV7, KeepsTheNamesWhereThereIsNoContainer) {
  edit([](NSManagedObjectContext& context) {
    made(context, "Photo", {{"filename", "a/b.jpg"}});
    made(context, "Photo");
  });
  place_.addPhotoFile("a/b.jpg", "B");

  {
    const support::WithoutContainer alone;
    migrate();
  }

  look([](NSManagedObjectContext& context) {
    EXPECT_EQ(allObjects(context, "Photo").at(0)->valueForKey("data"),
              Value(dataOf(R"({"filename":"a\/b.jpg"})")));
    EXPECT_EQ(allObjects(context, "Photo").at(1)->valueForKey("data"),
              Value(dataOf(R"({"filename":""})")));
  });
  EXPECT_TRUE(std::filesystem::exists(place_.container() / "photo" / "a" / "b.jpg"));
}

/// The number of the system's error with which the step ends; 0 if it does not.
std::int64_t systemErrorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), foundation::kPosixErrorDomain);
    return error.code();
  }
  return 0;
}

TEST_F(V6toV7, FailsOverAPhotoWhoseFileIsMissing) {
  edit([](NSManagedObjectContext& context) {
    made(context, "Photo", {{"filename", "a.jpg"}});
    made(context, "Photo", {{"filename", "missing.jpg"}});
  });
  place_.addPhotoFile("a.jpg", "A");

  EXPECT_EQ(systemErrorOf([&] { migrate(); }), ENOENT);
  EXPECT_TRUE(std::filesystem::exists(place_.container() / "photo" / "a.jpg"));
}

TEST_F(V6toV7, FailsOverAPhotoWithoutAFileName) {
  edit([](NSManagedObjectContext& context) { made(context, "Photo"); });
  place_.addPhotoFile("a.jpg", "A");

  EXPECT_EQ(systemErrorOf([&] { migrate(); }), EISDIR);
}

TEST_F(V6toV7, FailsOverAFileNameThatLeavesThePhotos) {
  edit([](NSManagedObjectContext& context) {
    made(context, "Photo", {{"filename", "../secret"}});
  });
  place_.addPhotoFile("../secret", "S");

  EXPECT_EQ(systemErrorOf([&] { migrate(); }), EPERM);
}

TEST_F(V6toV7, PutsActiveWidgetsIntoOneGroup) {
  edit([](NSManagedObjectContext& context) {
    const auto activity = [&](const char* title, int status) {
      return made(context, "Activity", {{"title", title}, {"status", status}});
    };
    made(context, "Widget", {{"activity", activity("Run", 0)}, {"priority", 7}});
    made(context, "Widget", {{"activity", activity("Done", 1)}, {"priority", 1}});
    made(context, "Widget", {{"activity", activity("Paused", -1)}, {"priority", 2}});
    made(context, "Widget", {{"priority", 3}});
    made(context, "Widget", {{"activity", activity("Read", 0)}});
  });
  const Date before = Date::now();

  migrate();

  look([&](NSManagedObjectContext& context) {
    const auto groups = allObjects(context, "ActivityWidgetGroup");
    ASSERT_EQ(groups.size(), 1U);
    const auto& group = groups.front();
    EXPECT_EQ(group->valueForKey("name"), Value("Main"));
    EXPECT_EQ(group->valueForKey("order"), Value(0));
    EXPECT_EQ(group->valueForKey("type"), Value(1));
    EXPECT_NE(group->valueForKey("uuid").uuid(), nullptr);
    EXPECT_GE(*group->valueForKey("createdDate").date(), before);
    EXPECT_GE(*group->valueForKey("modifiedDate").date(),
              *group->valueForKey("createdDate").date());
    const auto items = allObjects(context, "ActivityWidgetItem");
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0]->valueForKey("order"), Value(7));
    EXPECT_EQ(items[0]->valueForKey("activity").object()->valueForKey("title"), Value("Run"));
    EXPECT_EQ(items[1]->valueForKey("order"), Value());
    EXPECT_EQ(items[1]->valueForKey("activity").object()->valueForKey("title"), Value("Read"));
    EXPECT_NE(items[0]->valueForKey("uuid"), items[1]->valueForKey("uuid"));
    for (const auto& item : items) EXPECT_EQ(item->valueForKey("group"), Value(group));
    // The old widgets are still there.
    EXPECT_EQ(allObjects(context, "Widget").size(), 5U);
  });
}

TEST_F(V6toV7, MakesTheGroupAlsoWithoutWidgets) {
  edit([](NSManagedObjectContext&) {});

  migrate();

  look([](NSManagedObjectContext& context) {
    EXPECT_EQ(allObjects(context, "ActivityWidgetGroup").size(), 1U);
    EXPECT_TRUE(allObjects(context, "ActivityWidgetItem").empty());
  });
}

TEST(TransformStringToData, WritesTheNameAsJSON) {
  using Policy = MurtelleMigrationPolicyV6toV7;
  EXPECT_EQ(Policy::transformStringToData("a.jpg"), dataOf(R"({"filename":"a.jpg"})"));
  EXPECT_EQ(Policy::transformStringToData("a\"/\xEA\xB0\x80"),
            dataOf("{\"filename\":\"a\\\"\\/\xEA\xB0\x80\"}"));
  EXPECT_EQ(Policy::transformStringToData(std::nullopt), dataOf(R"({"filename":""})"));
}

TEST(TransformStringToData, PrintsTheErrorAndGivesNothingForWhatJSONCannotSay) {
  testing::internal::CaptureStdout();

  EXPECT_EQ(MurtelleMigrationPolicyV6toV7::transformStringToData("\xFF"), std::nullopt);

  EXPECT_NE(testing::internal::GetCapturedStdout().find("NSCocoaErrorDomain"), std::string::npos);
}

TEST(TransformStringToData, IsAllThatThePolicyCanBeAskedFor) {
  const auto policy = foundation::make<MurtelleMigrationPolicyV6toV7>();
  const auto ask = [&](std::string_view selector, const std::vector<Value>& arguments) {
    return support::errorCode([&] { static_cast<void>(policy->perform(selector, arguments)); });
  };
  constexpr const char* kSelector = "transformStringToData:";

  EXPECT_EQ(policy->perform(kSelector, std::vector<Value>{"a.jpg"}),
            Value(dataOf(R"({"filename":"a.jpg"})")));
  EXPECT_EQ(policy->perform(kSelector, std::vector<Value>{Value()}),
            Value(dataOf(R"({"filename":""})")));
  const auto unknown = support::number(coredata::MigrationErrorCode::unknownFunction);
  EXPECT_EQ(ask(kSelector, {}), unknown);
  EXPECT_EQ(ask("transformDataToString:", {"a.jpg"}), unknown);
}

// Photos whose bytes are no reference to a file, as a mapping model of another make may leave them.
class PhotoReferences : public V6toV7 {
 protected:
  /// Runs the end of the photos' mapping over version-7 photos with these bytes.
  void fold(const std::vector<Value>& photos) {
    edit([](NSManagedObjectContext& context) { made(context, "Photo"); });
    bytes_ = photos;
    PlantingPolicy::photos = &bytes_;
    coredata::NSEntityMigrationPolicy::registerClass(
        "Planting", [] { return foundation::make<PlantingPolicy>(); });
    coredata::EntityMappingContent mapping;
    mapping.name = "PhotoToPhoto";
    mapping.type = coredata::NSEntityMappingType::custom;
    mapping.destinationEntity = mapping.sourceEntity = "Photo";
    mapping.policyClass = "Planting";
    coredata::MappingContent content;
    content.entityMappings = {mapping};
    const auto manager = foundation::make<coredata::NSMigrationManager>(
        coredatastack::model("Tessaline 6"), coredatastack::model("Tessaline 7"));
    manager->migrateStore(place_.storeURL(), coredata::NSSQLiteStoreType, {},
                          foundation::make<coredata::NSMappingModel>(std::move(content)),
                          place_.at("new.sqlite"), coredata::NSSQLiteStoreType, {});
  }
  std::vector<Value> folded() const {
    std::vector<Value> result;
    look([&](NSManagedObjectContext& context) {
      for (const auto& photo : allObjects(context, "Photo")) {
        result.push_back(photo->valueForKey("data"));
      }
    });
    return result;
  }

 private:
  class PlantingPolicy : public coredata::NSEntityMigrationPolicy {
   public:
    static inline const std::vector<Value>* photos = nullptr;
    void createDestinationInstances(NSManagedObject&, const coredata::NSEntityMapping&,
                                    coredata::NSMigrationManager& manager) override {
      for (const Value& data : *photos) {
        manager.destinationContext().insertNewObject("Photo")->setValue(data, "data");
      }
    }
    void endEntityMapping(const coredata::NSEntityMapping& mapping,
                          coredata::NSMigrationManager& manager) override {
      foundation::make<MurtelleMigrationPolicyV6toV7>()->endEntityMapping(mapping, manager);
    }
  };
  std::vector<Value> bytes_;
};

TEST_F(PhotoReferences, AreLeftAsTheyAreWhereTheyNameNoFile) {
  const std::vector<Value> photos = {Value(),
                                     Value(dataOf("[]")),
                                     Value(dataOf("{}")),
                                     Value(dataOf(R"({"name":"a.jpg"})")),
                                     Value(dataOf(R"({"filename":"a.jpg","size":3})")),
                                     Value(dataOf(R"({"filename":3})"))};
  place_.addPhotoFile("a.jpg", "A");

  fold(photos);

  EXPECT_EQ(folded(), photos);
}

TEST_F(PhotoReferences, MayCarryMoreThanTheName) {
  place_.addPhotoFile("a.jpg", "A");

  fold({Value(dataOf(R"({"filename":"a.jpg","by":"Ada"})"))});

  EXPECT_EQ(folded(), std::vector<Value>{Value(dataOf("A"))});
}

TEST_F(PhotoReferences, EndTheStepWhereTheyAreNoJSON) {
  try {
    fold({Value(dataOf("no JSON"))});
    FAIL() << "nothing was thrown";
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), static_cast<std::int64_t>(foundation::JSONErrorCode::unreadable));
  }
}

}  // namespace
