// Files with any damage whatever: what is opened, looked at and salvaged may be refused, and does
// no harm.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "CoreData/Migration/Mapping/NSMappingModel.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Text/StringsTable.h"
#include "Foundation/Values/Error.h"
#include "Tests/Reliability/Damage/CaseRunner.h"
#include "Tests/Reliability/Damage/DamagedStoreUse.h"
#include "Tests/Support/Effort.h"
#include "Tests/Support/FileDamage.h"

namespace damage {

namespace {

namespace fs = std::filesystem;
using support::FileDamage;

class RandomDamage : public testing::Test {
 protected:
  RandomDamage() { std::printf("DAMAGE_SEED=%lu\n", static_cast<unsigned long>(seed)); }

  /// Damages one of the sample's files in so many ways; `judge` says how each came out.
  Tally damage(const StoreSample& sample, const std::string& file, std::size_t count,
               foundation::FunctionRef<std::string(const Use&)> judge) const {
    const auto damaged = [&](std::size_t i, std::string& bytes) {
      bytes = sample.files().at(file);
      return FileDamage(seed + i).apply(bytes);
    };
    std::string bytes;
    return run({.count = count,
                .name = [&](std::size_t i) { return file + ", " + damaged(i, bytes); },
                .work =
                    [&](std::size_t i) {
                      damaged(i, bytes);
                      sample.layWith({{file, bytes}});
                      return judge(useStore(sample));
                    }});
  }

  const std::uint64_t seed = support::numberFrom("DAMAGE_SEED", support::runSeed(20261122));
};

/// What the build made: models in both forms, the mapping, and the texts.
std::vector<fs::path> resources() {
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(DAMAGE_RESOURCE_DIR)) {
    const std::string kind = entry.path().extension().string();
    if (kind == ".mom" || kind == ".omo" || kind == ".cdm" || kind == ".strings")
      files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

/// Reads a resource as the library does; false when it is refused.
bool isRead(const fs::path& file) {
  const auto url = foundation::URL::fileURL(file.string());
  const std::string kind = file.extension().string();
  try {
    std::string why;
    if (kind == ".strings") {
      static_cast<void>(foundation::StringsTable::parse(support::bytesOf(file)));
      return true;
    }
    const bool isThere = kind == ".cdm"
                             ? bool(coredata::NSMappingModel::contentsOf(url, &why))
                             : bool(coredata::NSManagedObjectModel::contentsOf(url, &why));
    if (!isThere && why.empty()) throw std::runtime_error("a refusal without words");
    return isThere;
  } catch (const foundation::Error&) {
    return false;
  }
}

}  // namespace

TEST_F(RandomDamage, OfAStoreIsRefusedOrRead) {
  const StoreSample sample(7, 0, StoreSample::End::closed);

  const Tally tally = damage(sample, kStore, support::tries(250, 12'000), &Use::outcome);

  EXPECT_GT(tally.size(), 2U);
}

TEST_F(RandomDamage, OfALogEndsItAtACommit) {
  const StoreSample sample(7, 4, StoreSample::End::killed);

  const Tally tally =
      damage(sample, kLog, support::tries(100, 4'000), [&](const Use& use) -> std::string {
        const auto& states = sample.states();
        const auto state = std::ranges::find(states, use.seen, &State::seen);
        if (state == states.end()) throw std::runtime_error("the application saw what never was");
        if (use.salvaged != state->content) throw std::runtime_error("something else was salvaged");
        return std::to_string(state - states.begin()) + " commits";
      });

  EXPECT_GT(tally.size(), 1U) << "no damage has hit what is in the log";
}

TEST_F(RandomDamage, OfAStoreWithALogIsRefusedOrRead) {
  const StoreSample sample(7, 4, StoreSample::End::killed);

  damage(sample, kStore, support::tries(50, 2'000), &Use::outcome);
}

TEST_F(RandomDamage, OfModelsMappingsAndTextsIsRefusedOrRead) {
  const std::vector<fs::path> files = resources();
  ASSERT_GT(files.size(), 10U);
  const support::TemporaryDirectory directory;
  const auto fileOf = [&](std::size_t i) { return files[i % files.size()]; };
  for (const fs::path& file : files) ASSERT_TRUE(isRead(file)) << file;

  const Tally tally =
      run({.count = support::tries(100, 2'000),
           .name =
               [&](std::size_t i) {
                 std::string bytes = support::bytesOf(fileOf(i));
                 return fileOf(i).filename().string() + ", " + FileDamage(seed + i).apply(bytes);
               },
           .work =
               [&](std::size_t i) {
                 std::string bytes = support::bytesOf(fileOf(i));
                 const std::string whole = bytes;
                 FileDamage(seed + i).apply(bytes);
                 const fs::path copy =
                     directory.path() / ("damaged" + fileOf(i).extension().string());
                 std::ofstream(copy, std::ios::binary) << bytes;
                 const bool isTaken = isRead(copy);
                 // Texts have no checksum; models and mappings have.
                 if (isTaken && bytes != whole && copy.extension() != ".strings")
                   throw std::runtime_error("a damaged model or mapping was taken for a whole one");
                 return std::string(isTaken ? "read" : "refused");
               }});

  EXPECT_GT(tally.at("refused"), 0U);
}

}  // namespace damage
