#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CoreData/Migration/InstanceAssociations.h"
#include "CoreData/Migration/MigrationPlan.h"
#include "CoreData/Migration/NSEntityMigrationPolicy.h"
#include "CoreData/Migration/NSMigrationManager.h"
#include "CoreData/SQLite/SQLiteStore.h"
#include "Foundation/Progress/Progress.h"

namespace coredata {

/// One store's migration from its begin to its end; see `NSMigrationManager`.
class NSMigrationManager::Run {
 public:
  Run(NSMigrationManager& manager, foundation::Ref<const NSMappingModel> mappings,
      foundation::URL destination);
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  void openSource(const foundation::URL& url, const foundation::ValueDictionary& options);
  void migrate(const foundation::ValueDictionary& destinationOptions);

  [[nodiscard]] const NSMappingModel& mappings() const noexcept { return *mappings_; }
  [[nodiscard]] const MigrationPlan& plan() const noexcept { return plan_; }
  [[nodiscard]] NSManagedObjectContext& source() const noexcept { return *source_; }
  /// There once rows have been copied and the policies' turn has come.
  [[nodiscard]] NSManagedObjectContext& destination() const;
  [[nodiscard]] InstanceAssociations& associations(std::size_t mapping) {
    return associations_[mapping];
  }

 private:
  /// Objects that are looked at before what was made of them is saved and let go.
  static constexpr std::size_t kBatch = 100;

  void createDestination();
  void copyRows();
  /// Makes a unit of the progress for each row that there is to look at.
  void expectRows(RowTransfer& transfer);
  /// Tells of rows that are done, and throws if somebody wants the migration to stop.
  void report(const PlannedMapping& planned, std::int64_t rows) const;
  void openDestination(const foundation::ValueDictionary& options);
  void makePolicies();
  void runPolicies();
  void createInstances();
  void createInstances(std::size_t position);
  void createRelationships();
  void finishMappings();
  /// Throws what a save would, if objects lack what is mandatory: policies may leave that out until
  /// the end.
  void requireMandatoryValues();
  /// Writes into the columns of copied rows which objects the policies made of what they led to,
  /// where that is not an object of the same key.
  void settleReferences();
  [[nodiscard]] bool keptEveryKey(std::size_t position);
  /// Runs inside the turns of both contexts.
  template <typename Work>
  void inTurn(Work&& work);

  NSMigrationManager& manager_;
  foundation::Ref<const NSMappingModel> mappings_;
  foundation::URL destinationURL_;
  std::string sourcePath_;
  std::string destinationPath_;
  MigrationPlan plan_;
  foundation::Ref<foundation::Progress> progress_;
  foundation::Ref<NSPersistentStore> sourceStore_;
  foundation::Ref<NSManagedObjectContext> source_;
  foundation::Ref<NSManagedObjectContext> destination_;
  std::vector<InstanceAssociations> associations_;
  /// By mapping; null where rows are copied.
  std::vector<foundation::Ref<NSEntityMigrationPolicy>> policies_;
};

}  // namespace coredata
