#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/AuthorMarks.h"
#include "CoreData/SQLite/ReadSession.h"
#include "CoreData/SQLite/RowChange.h"
#include "Foundation/Values/Date.h"

namespace coredata {

/// On whose behalf a transaction is made, for the history.
struct HistoryAuthor {
  std::optional<std::string> author;
  std::optional<std::string> contextName;
};

struct CommitResult {
  /// The transaction's number in the history; 0 when none was recorded.
  std::int64_t transactionNumber = 0;
  foundation::Date timestamp;
  /// Whether anything was written at all.
  bool wroteChanges = false;
};

/// One save: everything in it reaches the store together, or nothing does. While it lives nobody
/// else can write, so the reads in it are true until `commit`.
///
/// Throws `foundation::Error` from every operation. After a throw the transaction is to be dropped,
/// and the store is as it was. Only where the disk fails a commit and what is written then to undo
/// it, the store may turn out to have the changes when it is opened anew.
///
/// Threading: as its session.
class WriteTransaction {
 public:
  /// Waits for other writers for at most the store's busy timeout. The session's state is given up:
  /// its next read sees the newest one.
  explicit WriteTransaction(ReadSession& session);
  /// Undoes everything unless committed.
  ~WriteTransaction();
  WriteTransaction(const WriteTransaction&) = delete;
  WriteTransaction& operator=(const WriteTransaction&) = delete;

  /// The first of `count` successive keys that no object of the entity ever had.
  [[nodiscard]] ObjectKey reserveKeys(const NSEntityDescription& entity, std::size_t count);

  [[nodiscard]] bool exists(const NSEntityDescription& entity, ObjectKey key);
  /// The row as the store holds it now, this transaction's own writes included.
  [[nodiscard]] foundation::Ref<Row> row(const NSEntityDescription& entity, ObjectKey key);
  [[nodiscard]] std::vector<ObjectKey> members(const NSRelationshipDescription& toMany,
                                               ObjectKey owner);

  /// Makes room for that many changes beforehand.
  void expectChanges(std::size_t count) { changes_.reserve(count); }
  /// The rows become shared with the row cache: they must not be changed afterwards.
  void insert(const Row& row);
  /// Rows of one entity; a large number of them at a time costs half of what each alone does.
  void insert(std::span<const Row* const> rows);
  /// Writes the changed columns and the version of `row`. False when the store holds no such row of
  /// that version.
  [[nodiscard]] bool update(const Row& row, SlotMask changed, std::int64_t expectedVersion);
  [[nodiscard]] bool remove(const NSEntityDescription& entity, ObjectKey key,
                            std::int64_t expectedVersion);

  /// Records the changes in the history when the store tracks it, and makes them durable. Without
  /// changes nothing is written.
  CommitResult commit(const HistoryAuthor& author);

  // What the rest of this folder needs.

  [[nodiscard]] Connection& connection() const noexcept { return *session_.lease_; }
  [[nodiscard]] StoreCore& core() const noexcept { return session_.store_->core(); }
  /// Takes a change into the history that was made past the operations above. `row` is the new row
  /// if known; the row cache drops the old one in any case.
  void note(RowChange change) { changes_.push_back(std::move(change)); }
  /// Makes `commit` write although no row changed.
  void noteOtherChange() noexcept { hasOtherChanges_ = true; }

 private:
  void begin();
  void keepMarks();
  void recordHistory(const HistoryAuthor& author, CommitResult& result);
  void commitOrAbandon();
  /// A commit that the disk did not confirm lies in the log all the same: those who have the store
  /// open do not see it, but the next to read the log from its beginning would. Puts an empty
  /// commit into its place, behind which it never counts.
  void overwriteFailedCommit() noexcept;
  void finish() noexcept;
  /// Whether others are to be told of what was committed.
  [[nodiscard]] bool ringsBell(const CommitResult& result) const noexcept;

  ReadSession& session_;
  std::vector<RowChange> changes_;
  /// What the history ends with once this is committed.
  HistoryTail recorded_;
  bool hasOtherChanges_ = false;
  bool isOpen_ = false;
};

}  // namespace coredata
