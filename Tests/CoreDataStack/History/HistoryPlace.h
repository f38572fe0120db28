#pragma once

#include <gtest/gtest.h>

#include <string>

#include "CoreDataStack/History/AppTarget.h"
#include "CoreDataStack/History/UserDefaults+HistoryTimestamp.h"
#include "Foundation/Files/Directories.h"
#include "Foundation/Files/UserDefaults.h"
#include "Tests/Support/TemporaryStore.h"

namespace support {

/// A store that two programs have open: the one under test, whose main context bears an author, and
/// another one, with settings in a directory of their own.
class HistoryPlace : public testing::Test {
 protected:
  static constexpr const char* kAuthor = "app";
  /// What a cleaner says that takes nothing away.
  static constexpr const char* kCancelled =
      "Cancelling deletions as there is no common transaction timestamp\n";

  HistoryPlace() {
    foundation::Directories::set(
        foundation::Directories::below((homes_.path() / "homes").string(), "com.tessaline.test"));
    store_.context().setTransactionAuthor(kAuthor);
    store_.context().setMergePolicy(coredata::NSMergeByPropertyObjectTrumpMergePolicy);
  }
  ~HistoryPlace() override { foundation::Directories::set(*before_); }

  /// One transaction of one new activity.
  void writeElsewhere(const std::string& title,
                      const std::optional<std::string>& author = "extension",
                      const std::optional<std::string>& name = std::nullopt) {
    ++writtenElsewhere_;
    const auto context = elsewhere_->newBackgroundContext();
    context->performBlockAndWait([&] {
      context->setTransactionAuthor(author);
      context->setName(name);
      context->insertNewObject("Activity")->setValue(title, "title");
      context->save();
    });
  }
  /// The same by the main context of the program under test.
  void writeHere(const std::string& title) const {
    store_.context().insertNewObject("Activity")->setValue(title, "title");
    store_.context().save();
  }
  [[nodiscard]] std::size_t writtenElsewhere() const noexcept { return writtenElsewhere_; }
  /// How many transactions the history holds.
  [[nodiscard]] std::int64_t numberOfTransactions() const;

  [[nodiscard]] static foundation::UserDefaults& defaults() {
    return *foundation::UserDefaults::standard();
  }

 private:
  std::shared_ptr<const foundation::Directories> before_ = foundation::Directories::current();
  TemporaryDirectory homes_;
  std::size_t writtenElsewhere_ = 0;

 protected:
  TemporaryStore store_;
  foundation::Ref<coredata::NSPersistentContainer> elsewhere_ = store_.opened();
};

}  // namespace support
