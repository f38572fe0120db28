#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/SQLite/StoreOptions.h"
#include "Foundation/Values/Date.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/URL.h"
#include "Foundation/Values/UUID.h"

namespace coredata {

class StoreCore;

/// The newest transaction that a store's history records.
struct HistoryPosition {
  /// 0 when there is none.
  std::int64_t number = 0;
  /// The stamp that any later one exceeds.
  foundation::Date timestamp = foundation::Date::distantPast();

  friend bool operator==(const HistoryPosition&, const HistoryPosition&) = default;
};

/// One open store file: rows of a model's entities, the history of their changes, and what the
/// store says of itself.
///
/// Rows are read through a `ReadSession` and written through a `WriteTransaction`. The file may be
/// open in other stores and processes at the same time; whoever writes waits for the others.
///
/// A store that was open when its process forked refuses to work in the child.
///
/// Threading: use it on any thread.
class SQLiteStore final : public foundation::Object {
 public:
  /// Opens the file, or makes a new store when it is missing or empty; its directory must be there.
  /// Throws `foundation::Error` with a `StoreErrorCode`, leaving a file that was there as it was.
  [[nodiscard]] static foundation::Ref<SQLiteStore> open(
      const StoreOptions& options, foundation::Ref<const NSManagedObjectModel> model);

  /// A store's metadata, read without creating or changing it. Throws when there is none to be
  /// read.
  [[nodiscard]] static foundation::ValueDictionary metadataAt(const foundation::URL& url);

  /// Removes a store with everything beside it, and gives one the content of another: see
  /// `destroyStore` and `replaceStore`.
  static void destroy(const foundation::URL& url);
  static void replace(const foundation::URL& at, const foundation::URL& with);

  /// Gives a store the model's indexes, as opening it without `buildsIndexes` put off. An open
  /// store would take the change for a replacement, so nobody may have it open.
  static void buildIndexes(StoreOptions options, foundation::Ref<const NSManagedObjectModel> model);

  [[nodiscard]] const NSManagedObjectModel& model() const noexcept;
  [[nodiscard]] const StoreOptions& options() const noexcept;
  /// Where the file lies, with links followed.
  [[nodiscard]] const std::string& path() const noexcept;
  /// The same for as long as the store lives, through every migration.
  [[nodiscard]] const foundation::UUID& identifier() const noexcept;

  /// The metadata as it stands in the file.
  [[nodiscard]] foundation::ValueDictionary metadata();
  /// Replaces the caller's own entries; those that identify the store stay as they are, whatever
  /// `metadata` holds under their keys. Throws for values that are objects, and leaves everything
  /// as it was when it throws.
  void setMetadata(const foundation::ValueDictionary& metadata);

  /// The newest transaction in the file, whoever wrote it.
  [[nodiscard]] HistoryPosition newestTransaction();
  /// The number of the one that was the newest when the store was opened: whatever comes after it
  /// is news to who opened it. 0 for a store that announces no changes or keeps no history.
  [[nodiscard]] std::int64_t newestAtOpening() const noexcept;

  /// Closes the file and folds the log into it when nobody else has it open. Sessions that are
  /// reading finish first. Using the store afterwards throws. Closing twice is fine.
  void close() noexcept;
  [[nodiscard]] bool isClosed() const noexcept;

  /// The inner life, for this folder.
  [[nodiscard]] StoreCore& core() const noexcept { return *core_; }

 private:
  explicit SQLiteStore(std::unique_ptr<StoreCore> core);
  ~SQLiteStore() override;

  std::unique_ptr<StoreCore> core_;
};

}  // namespace coredata
