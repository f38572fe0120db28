#include "Tools/storecheck/StoreCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>

#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreData/SQLite/StoreMetadata.h"
#include "CoreData/SQLite/StoreOpening.h"
#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Tools/storecheck/ContentHash.h"
#include "Tools/storecheck/DayCheck.h"
#include "Tools/storecheck/HistoryCheck.h"
#include "Tools/storecheck/LinkCheck.h"
#include "Tools/storecheck/ValueCheck.h"

namespace storecheck {

using coredata::NSEntityDescription;
using coredata::NSManagedObjectModel;
using coredata::StoredRow;
using coredata::StoreErrorCode;
using coredata::StoreInspection;
using coredatastack::CoreDataMigrationVersion;
using foundation::Error;
using foundation::Ref;
using foundation::URL;

namespace {

std::string versionOf(const foundation::ValueDictionary& metadata, const URL& store) {
  if (const auto version = CoreDataMigrationVersion::storeVersion(metadata))
    return std::string(version->rawValue());
  const auto newest = coredatastack::model(CoreDataMigrationVersion::newest().rawValue());
  if (coredata::isNewer(metadata, *newest)) {
    throw coredata::storeError(
        StoreErrorCode::newerVersion,
        "The store " + store.path() + " was written by a newer version of this program.");
  }
  throw coredata::storeError(
      StoreErrorCode::incompatibleModel,
      "The store " + store.path() + " is of no version of the model that this program knows.");
}

/// One look at a store.
class Look {
 public:
  Look(StoreInspection& store, std::size_t lastTransactions)
      : store_(store), lastTransactions_(lastTransactions) {}

  Report report(const URL& url) {
    report_.metadata = store_.metadata();
    report_.version = versionOf(report_.metadata, url);
    model_ = coredatastack::model(report_.version);
    identify();
    checkFile();
    checkRows();
    report_.sizes = store_.sizes();
    if (findings().count(FindingKind::integrity) == 0)
      reading("dbstat", [&] { report_.bytesByTable = store_.bytesByTable(); });
    return std::move(report_);
  }

 private:
  Findings& findings() noexcept { return report_.findings; }

  /// Does what one table is read for; false when it cannot be read to its end.
  template <typename Work>
  bool reading(std::string_view table, Work&& work, FindingKind failure = FindingKind::unreadable) {
    try {
      work();
      return true;
    } catch (const Error& error) {
      findings().error(failure, table, std::nullopt, error.message());
      return false;
    }
  }

  void identify() {
    if (const auto identifier = coredata::storeIdentifier(report_.metadata)) {
      report_.identifier = identifier->uuidString();
    } else {
      findings().error(FindingKind::identifier, "_metadata", std::nullopt,
                       "The store does not say which one it is.");
    }
  }

  void checkFile() {
    const auto checkIntegrity = [&] {
      for (std::string& problem : store_.integrityProblems(Findings::kMostOfAKind))
        findings().error(FindingKind::integrity, "", std::nullopt, std::move(problem));
    };
    reading("", checkIntegrity, FindingKind::integrity);
    reading("sqlite_schema", [&] {
      const coredata::SchemaCheck schema = store_.schema(*model_);
      if (!schema.problem.empty()) {
        findings().error(FindingKind::schema, "sqlite_schema", std::nullopt,
                         "The store is not as its version makes it: " + schema.problem);
      }
      for (const std::string& change : schema.indexChanges) {
        findings().warning(FindingKind::indexes, "sqlite_schema", std::nullopt,
                           "The next opening will do: " + change);
      }
    });
  }

  void checkRows() {
    LinkCheck links(*model_);
    DayCheck days;
    ContentHash hash;
    bool isWhole = true;
    for (const NSEntityDescription* entity : model_->entities()) {
      if (entity->isAbstract()) continue;
      hash.begin(*entity);
      const auto add = [&](StoredRow row) {
        checkValues(*entity, row, findings());
        days.add(*entity, row, findings());
        links.add(*entity, row);
        hash.add(row);
      };
      if (!reading(entity->name(), [&] { store_.visitRows(*entity, add); })) {
        links.giveUp(*entity);
        isWhole = false;
      }
      report_.rows[entity->name()] = static_cast<std::int64_t>(links.count(*entity));
    }
    links.check(findings());
    days.checkSameDays(findings());
    checkHistory(links);
    if (isWhole) report_.contentHash = hash.text();
  }

  void checkHistory(const LinkCheck& rows) {
    HistoryCheck history(*model_, rows, lastTransactions_, findings());
    reading("_name", [&] { history.readNames(store_); });
    reading("_mark", [&] { history.readMarks(store_); });
    reading("_transaction", [&] { history.readTransactions(store_); });
    reading("_change", [&] { history.readChanges(store_); });
    history.check();
    report_.history = history.history();
  }

  StoreInspection& store_;
  const std::size_t lastTransactions_;
  Ref<const NSManagedObjectModel> model_;
  Report report_;
};

}  // namespace

Report check(const URL& store, std::size_t lastTransactions) {
  constexpr int kMostLooks = 5;
  for (int i = 0; i < kMostLooks; ++i) {
    StoreInspection inspection(store);
    // What was seen counts only if nobody changed the store meanwhile, and so does what went wrong.
    try {
      Report report = Look(inspection, lastTransactions).report(store);
      if (inspection.isUndisturbed()) return report;
    } catch (const Error&) {
      if (inspection.isUndisturbed()) throw;
    }
  }
  throw coredata::storeError(StoreErrorCode::busy, "The store " + store.path() +
                                                       " was changed each time it was looked at.");
}

}  // namespace storecheck
