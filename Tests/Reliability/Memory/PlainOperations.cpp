#include <gtest/gtest.h>

#include "Foundation/Predicate/NSPredicate.h"
#include "Tests/Reliability/Memory/Desk.h"
#include "Tests/Reliability/Memory/Operations.h"

namespace shortage {

using foundation::NSPredicate;
using foundation::Ref;

namespace {

class OpensDiary : public Attempt {
 public:
  explicit OpensDiary(const support::Files& files) { support::putFiles(files, directory_.path()); }

  void act() override { container_ = openedIn(directory_.path()); }

  void check(bool threw) override {
    EXPECT_EQ(container_ == nullptr, threw);
    container_ = nullptr;
  }

  void checkClosed() override {
    Ref<coredata::NSPersistentContainer> again = openedIn(directory_.path());
    EXPECT_TRUE(outlineOf(*again).ends_with(lastOfOutline()));
    again = nullptr;
    expectSound(storeIn(directory_.path()));
  }

 protected:
  [[nodiscard]] virtual std::string lastOfOutline() const {
    return "Read: 2024-03-01 2024-03-02; Run: 2024-03-01; ";
  }

 private:
  support::TemporaryDirectory directory_;
  Ref<coredata::NSPersistentContainer> container_;
};

class MakesDiary final : public OpensDiary {
 public:
  MakesDiary() : OpensDiary({}) {}

 protected:
  [[nodiscard]] std::string lastOfOutline() const override { return "Widget 0; "; }
};

/// A text that nobody has parsed yet: parsed ones are remembered.
class ParsesPredicate final : public Attempt {
 public:
  ParsesPredicate() {
    static int number = 100'000;  // as many digits for each
    format_ = "title CONTAINS[c] 'n" + std::to_string(number++) +
              "' OR (priority BETWEEN {1, 5} AND SUBQUERY(checkins, $c, $c.date == %@).@count > 0)";
  }

  void act() override { static_cast<void>(NSPredicate::format(format_, "2024-03-01")); }

  void check(bool /*threw*/) override {
    EXPECT_TRUE(NSPredicate::format(format_, "2024-03-01").predicateFormat().find("SUBQUERY") !=
                std::string::npos);
  }

 private:
  std::string format_;
};

class LoadsModel final : public Attempt {
 public:
  void act() override { model_ = support::loadedModel(); }
  void check(bool threw) override {
    EXPECT_EQ(model_ == nullptr, threw);
    EXPECT_EQ(support::loadedModel()->entities().size(),
              support::currentModel()->entities().size());
  }

 private:
  Ref<const coredata::NSManagedObjectModel> model_;
};

}  // namespace

std::vector<Operation> plainOperations() {
  return {
      {"OpeningAStore", [] { return std::make_unique<OpensDiary>(diaryFiles()); }},
      {"MakingAStore", [] { return std::make_unique<MakesDiary>(); }},
      {"ParsingAPredicate", [] { return std::make_unique<ParsesPredicate>(); }},
      {"LoadingAModel", [] { return std::make_unique<LoadsModel>(); }},
  };
}

}  // namespace shortage
