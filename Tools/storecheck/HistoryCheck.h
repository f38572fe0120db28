#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/SQLite/StoreInspection.h"
#include "Tools/storecheck/Findings.h"
#include "Tools/storecheck/History.h"
#include "Tools/storecheck/LinkCheck.h"

namespace storecheck {

/// Reads a store's history and its marks, and looks whether they agree with each other and with the
/// rows.
///
/// - Stamps rise with the numbers of the transactions; every change has its transaction, and every
///   author, context, bundle and entity its name. Of the oldest transactions changes may be left
///   alone: the history is cut piece by piece, and who died doing so is no error.
/// - A row whose last change is its removal is not there, and no key that the history knows would
/// be
///   given out again: keys go on behind the highest row and the entity's mark.
/// - Marks are numbers, of entities of the model or of the history, whose two come together. They
/// say
///   nothing about what is there: later keys and transactions are higher, moved ones may be lower.
class HistoryCheck {
 public:
  /// Of the newest transactions `last` are kept.
  HistoryCheck(const coredata::NSManagedObjectModel& model, const LinkCheck& rows, std::size_t last,
               Findings& findings)
      : model_(model), rows_(rows), last_(last), findings_(findings) {}

  /// In this order. A table that cannot be read throws; the others can be read all the same.
  void readNames(coredata::StoreInspection& store);
  void readMarks(coredata::StoreInspection& store);
  void readTransactions(coredata::StoreInspection& store);
  void readChanges(coredata::StoreInspection& store);
  /// When all that can be read was.
  void check();

  [[nodiscard]] const History& history() const noexcept { return history_; }

 private:
  using EntityKey = std::pair<const coredata::NSEntityDescription*, coredata::ObjectKey>;

  void addTransaction(coredata::StoredRow row);
  void addChange(coredata::StoredRow row);
  void addMark(coredata::StoredRow row);
  void addAuthorMark(std::string_view author, const coredata::StoredValue& value);
  void reportMark(std::string_view name);
  void reportLostTransaction(std::int64_t transaction);
  void noteKey(const EntityKey& key, std::int64_t kind, std::int64_t transaction);
  void countChange(std::int64_t transaction, std::int64_t kind);
  [[nodiscard]] bool hasName(const coredata::StoredValue& reference) const;
  void requireName(const coredata::StoredValue& reference, std::string_view what,
                   std::string_view table, std::int64_t key);
  [[nodiscard]] const coredata::NSEntityDescription* entityOf(
      const coredata::StoredValue& reference) const;
  void checkReturned();
  void checkKeys();
  void checkAuthors();

  const coredata::NSManagedObjectModel& model_;
  const LinkCheck& rows_;
  const std::size_t last_;
  Findings& findings_;

  History history_;
  std::map<std::int64_t, std::string> names_;
  bool knowsNames_ = false;
  /// All numbers, ascending.
  std::vector<std::int64_t> numbers_;
  bool knowsTransactions_ = false;
  std::int64_t lostTransaction_ = 0;
  /// What was removed last, with the transaction that did it.
  std::map<EntityKey, std::int64_t> removed_;
  std::map<const coredata::NSEntityDescription*, coredata::ObjectKey> highestKeys_;
  std::map<const coredata::NSEntityDescription*, coredata::ObjectKey> marks_;
  bool knowsMarks_ = false;
  std::optional<std::int64_t> numberMark_;
  bool hasTimestampMark_ = false;
  /// By the number of the author's name, 0 for nobody named.
  std::map<std::int64_t, std::int64_t> authorMarks_;
  /// Up to which authors have no marks; none in a store that keeps no such marks.
  std::optional<std::int64_t> authorMarksFrom_;
  std::map<std::int64_t, std::int64_t> lastNumbers_;
  std::int64_t newestAuthor_ = 0;
};

}  // namespace storecheck
