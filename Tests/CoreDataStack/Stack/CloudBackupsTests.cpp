#include "Foundation/Metadata/MetadataProvider.h"
#include "Foundation/Metadata/NSMetadataItem.h"
#include "Foundation/Metadata/NSMetadataQuery.h"
#include "Foundation/Values/NSURL.h"
#include "Tests/CoreDataStack/Stack/StackPlace.h"

namespace {

using foundation::make;
using foundation::MetadataProvider;
using foundation::NSMetadataItem;
using foundation::NSMetadataQuery;
using foundation::NSNotificationCenter;
using foundation::NSURL;
using foundation::Object;
using foundation::Ref;
using foundation::URL;
using foundation::Value;
using foundation::ValueDictionary;

/// A cloud whose files the test decides.
class Cloud final : public MetadataProvider {
 public:
  Items items() override {
    const std::scoped_lock lock(mutex_);
    return items_;
  }
  Ref<Object> observe(std::function<void()> changed) override {
    const std::scoped_lock lock(mutex_);
    changed_ = std::move(changed);
    return make<Token>();
  }

  void add(std::string_view path, const Value& status = "here") {
    ValueDictionary attributes{
        {std::string(foundation::NSMetadataItemFSNameKey), URL::fileURL(path).lastPathComponent()},
        {std::string(foundation::NSMetadataItemURLKey), make<NSURL>(URL::fileURL(path))}};
    if (!status.isNone()) {
      attributes[std::string(foundation::NSMetadataUbiquitousItemDownloadingStatusKey)] = status;
    }
    add(make<NSMetadataItem>(std::move(attributes)));
  }
  void add(Ref<NSMetadataItem> item) {
    std::function<void()> changed;
    {
      const std::scoped_lock lock(mutex_);
      items_.push_back(std::move(item));
      changed = changed_;
    }
    if (changed) changed();
  }

 private:
  class Token final : public Object {};

  std::mutex mutex_;
  Items items_;
  std::function<void()> changed_;
};

class CloudBackups : public support::StackPlace {
 protected:
  CloudBackups() {
    MetadataProvider::setProvider(cloud_, foundation::NSMetadataQueryUbiquitousDataScope);
  }
  ~CloudBackups() override {
    MetadataProvider::setProvider(nullptr, foundation::NSMetadataQueryUbiquitousDataScope);
  }

  /// What is said until gathering has finished.
  std::string search(Stack& stack) {
    finished_ = 0;
    testing::internal::CaptureStdout();
    stack.restoreFromCloud();
    EXPECT_TRUE(support::runMainQueueUntil([&] { return finished_ > 0; }));
    return testing::internal::GetCapturedStdout();
  }

  Ref<Cloud> cloud_ = make<Cloud>();
  int finished_ = 0;
  int updated_ = 0;

 private:
  // Registered before any stack is: what a stack says of a notification comes after these, but
  // still before the main queue's next block.
  Ref<Object> finish_ = NSNotificationCenter::defaultCenter().addObserver(
      foundation::NSMetadataQueryDidFinishGatheringNotification, nullptr,
      [this](const auto&) { ++finished_; });
  Ref<Object> update_ = NSNotificationCenter::defaultCenter().addObserver(
      foundation::NSMetadataQueryDidUpdateNotification, nullptr,
      [this](const auto&) { ++updated_; });
};

TEST_F(CloudBackups, AreNoneWithoutACloud) {
  MetadataProvider::setProvider(nullptr, foundation::NSMetadataQueryUbiquitousDataScope);

  EXPECT_EQ(search(*stack()), "[]\n");
}

TEST_F(CloudBackups, AreListedInTheOrderOfTheirTexts) {
  cloud_->add("/cloud/Backups/2024 b.sqlite");
  cloud_->add("/cloud/Backups/2023.sqlite");

  EXPECT_EQ(search(*stack()),
            "[\"file:///cloud/Backups/2023.sqlite\", "
            "\"file:///cloud/Backups/2024%20b.sqlite\"]\n");
}

TEST_F(CloudBackups, LieInAPlaceSpelledLikeThat) {
  cloud_->add("/cloud/backups/2023.sqlite");
  cloud_->add("/cloud/BACKUPS/2023.sqlite");
  cloud_->add("/cloud/Letters/2023.txt");
  cloud_->add("/cloud/Old Backups of mine/2023.sqlite");

  EXPECT_EQ(search(*stack()), "[\"file:///cloud/Old%20Backups%20of%20mine/2023.sqlite\"]\n");
}

TEST_F(CloudBackups, NeedAStatusThatIsAText) {
  cloud_->add("/cloud/Backups/none.sqlite", {});
  cloud_->add("/cloud/Backups/number.sqlite", 1);
  cloud_->add("/cloud/Backups/empty.sqlite", "");

  EXPECT_EQ(search(*stack()), "[\"file:///cloud/Backups/empty.sqlite\"]\n");
}

TEST_F(CloudBackups, NeedAURL) {
  cloud_->add(make<NSMetadataItem>(ValueDictionary{
      {std::string(foundation::NSMetadataItemFSNameKey), "Backups"},
      {std::string(foundation::NSMetadataUbiquitousItemDownloadingStatusKey), "here"}}));
  cloud_->add(make<NSMetadataItem>(ValueDictionary{
      {std::string(foundation::NSMetadataItemFSNameKey), "2023.sqlite"},
      {std::string(foundation::NSMetadataUbiquitousItemDownloadingStatusKey), "here"},
      {std::string(foundation::NSMetadataItemURLKey), "file:///cloud/Backups/2023.sqlite"}}));

  EXPECT_EQ(search(*stack()), "[]\n");
}

TEST_F(CloudBackups, AreListedAnewWhenTheyChange) {
  const auto made = stack();
  static_cast<void>(search(*made));
  testing::internal::CaptureStdout();

  cloud_->add("/cloud/Backups/2023.sqlite");
  EXPECT_TRUE(support::runMainQueueUntil([&] { return updated_ > 0; }));

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "[\"file:///cloud/Backups/2023.sqlite\"]\n");
}

TEST_F(CloudBackups, AreSearchedForAnewInThePlaceOfTheSearchBefore) {
  const auto made = stack();
  cloud_->add("/cloud/Backups/2023.sqlite");

  const std::string first = search(*made);
  const std::string second = search(*made);

  EXPECT_EQ(first, "[\"file:///cloud/Backups/2023.sqlite\"]\n");
  EXPECT_EQ(second, first);
}

TEST_F(CloudBackups, ComeFromAQueryAlone) {
  testing::internal::CaptureStdout();

  stack()->refresh(
      foundation::NSNotification(foundation::NSMetadataQueryDidFinishGatheringNotification,
                                 make<NSMetadataItem>(ValueDictionary())));
  stack()->refresh(
      foundation::NSNotification(foundation::NSMetadataQueryDidFinishGatheringNotification));

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(CloudBackups, SearchChangesNothing) {
  addStore(Version::version7);
  cloud_->add("/cloud/Backups/2023.sqlite");
  const auto made = setUp();

  static_cast<void>(search(*made));

  EXPECT_EQ(titles(*made->managedObjectContext()), std::vector<std::string>{"Run"});
}

}  // namespace
