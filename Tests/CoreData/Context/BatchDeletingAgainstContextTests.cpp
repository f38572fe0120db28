#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

#include "CoreData/Fetching/NSBatchDeleteRequest.h"
#include "Tests/CoreData/SQLite/StoreFixture.h"
#include "Tests/Support/GardenStore.h"

// A batch delete leaves the rows that deleting the same objects through a context leaves.

namespace {

using coredata::NSFetchRequestBase;
using coredata::NSManagedObjectContext;
using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Handle;
using garden::Label;
using garden::Plant;
using garden::Tool;

/// A garden in which anything may lead anywhere that the schema lets it; the same for a seed.
void plantGarden(NSManagedObjectContext& context, std::uint32_t seed) {
  std::mt19937 random(seed);
  const auto chance = [&](std::uint32_t oneIn) { return random() % oneIn == 0; };
  std::vector<Ref<Bed>> beds;
  for (int i = 0; i < 4; ++i) beds.push_back(make<Bed>(context));
  for (int i = 0; i < 8; ++i) {
    const auto plant = make<Plant>(context);
    if (!chance(3)) plant->setBed(beds[random() % beds.size()]);
    if (chance(2)) plant->setLabel(make<Label>(context));
  }
  for (int i = 0; i < 6; ++i) {
    const auto tool = make<Tool>(context);
    tool->setName("tool");
    if (!chance(3)) tool->setBed(beds[random() % beds.size()]);
    if (chance(4)) make<Handle>(context)->setTool(tool);
  }
  context.save();
}

class Plot {
 public:
  explicit Plot(std::uint32_t seed) {
    context_->performBlockAndWait([&] { plantGarden(*context_, seed); });
  }

  /// False when the delete rules refuse it.
  [[nodiscard]] bool deleteInBatch(const NSFetchRequestBase& request) const {
    return tries([&] { context_->execute(coredata::NSBatchDeleteRequest(request)); });
  }
  [[nodiscard]] bool deleteThroughContext(const NSFetchRequestBase& request) const {
    return tries([&] {
      const auto objects = context_->fetchObjects(request);
      for (std::size_t i = 0; i < objects.size(); ++i) context_->delete_(objects.at(i));
      context_->save();
    });
  }
  /// Every row of every entity, with its version.
  [[nodiscard]] std::vector<std::string> rows() const {
    std::vector<std::string> result;
    for (const char* entity : {"Bed", "Handle", "Label", "Plant", "Tool"}) {
      for (const std::string& row :
           shelf::query((store_.directory() / "garden.sqlite").string(),
                        std::string("SELECT * FROM ") + entity + " ORDER BY _id")) {
        result.push_back(std::string(entity) + " " + row);
      }
    }
    return result;
  }

 private:
  template <typename Work>
  [[nodiscard]] bool tries(Work&& work) const {
    return context_->performBlockAndWait([&] {
      try {
        work();
      } catch (const foundation::Error& error) {
        EXPECT_EQ(error.domain(), foundation::kCocoaErrorDomain) << error.description();
        return false;
      }
      return true;
    });
  }

  garden::Store store_;
  Ref<NSManagedObjectContext> context_ = store_.newContext();
};

NSFetchRequestBase someOf(std::mt19937& random) {
  constexpr std::array kEntities = {"Bed", "Handle", "Label", "Plant", "Tool"};
  NSFetchRequestBase request(kEntities[random() % kEntities.size()]);
  request.setFetchLimit(1 + random() % 4);
  request.setFetchOffset(random() % 3);
  return request;
}

TEST(BatchDeletingAgainstContext, LeavesTheSameRows) {
  constexpr std::uint32_t kSeeds = 40;
  std::mt19937 random(20240210);
  std::uint32_t refused = 0;
  for (std::uint32_t seed = 1; seed <= kSeeds && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const Plot inBatch(seed);
    const Plot throughContext(seed);
    const NSFetchRequestBase request = someOf(random);
    SCOPED_TRACE(request.entityName());

    const bool allowed = inBatch.deleteInBatch(request);

    EXPECT_EQ(throughContext.deleteThroughContext(request), allowed);
    EXPECT_EQ(inBatch.rows(), throughContext.rows());
    refused += allowed ? 0U : 1U;
  }
  // Or one of the two cases would hardly have come up.
  EXPECT_GT(refused, 0U);
  EXPECT_LT(refused, kSeeds / 2);
}

}  // namespace
