#pragma once

#include <span>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "Tools/salvage/RowMaker.h"
#include "Tools/salvage/StoredTables.h"

namespace salvage {

/// Where a row lies.
struct RowPlace {
  coredata::ObjectKey key = coredata::kNoObject;
  std::int64_t version = 0;
  PageNumber page = 0;
  std::uint16_t cell = 0;
  /// Whether its table no longer leads to the page.
  bool isStray = false;
  /// How many further pages its record has.
  std::uint32_t overflowPages = 0;
  /// Where its relationships begin among those of all rows.
  std::size_t links = 0;
};

/// What was found of an entity, by ascending key, each key once.
class FoundRows {
 public:
  explicit FoundRows(const coredata::NSEntityDescription& entity);

  [[nodiscard]] const coredata::NSEntityDescription& entity() const noexcept { return *entity_; }
  [[nodiscard]] std::span<const RowPlace> places() const noexcept { return places_; }
  /// The row of a key; the number of rows for one that is not there.
  [[nodiscard]] std::size_t find(coredata::ObjectKey key) const;
  /// Where a row's to-one relationship leads, by its number among the entity's.
  [[nodiscard]] coredata::ObjectKey& target(std::size_t row, std::size_t toOne) {
    return links_[places_[row].links + toOne];
  }
  /// The number of a slot among the entity's to-one relationships.
  [[nodiscard]] std::size_t toOneNumber(coredata::SlotIndex slot) const;

  EntityReport report;

 private:
  friend class RowSearch;
  void add(RowPlace place, const coredata::Row& row);
  /// Puts the rows in order. Of two with one key the one that the table leads to stays, else the
  /// one that was written more often.
  void settle();

  const coredata::NSEntityDescription* entity_;
  std::vector<RowPlace> places_;
  std::vector<coredata::ObjectKey> links_;
};

/// Looks for the rows of a model's entities in a file's pages: in those that their tables lead to
/// first, and where a table has lost pages also in all that belong to nothing else, by the shape of
/// the rows on them.
///
/// Takes memory for the keys and relationships of the rows, and time for each page once or twice,
/// whatever the pages hold.
class RowSearch {
 public:
  RowSearch(const PageFile& file, const StoredTables& tables,
            const coredata::NSManagedObjectModel& model);

  [[nodiscard]] std::vector<FoundRows>& entities() noexcept { return entities_; }
  [[nodiscard]] std::int64_t unknownPages() const noexcept { return unknownPages_; }
  /// Reads a row once more, with its relationships as they are now.
  [[nodiscard]] foundation::Ref<coredata::Row> row(FoundRows& rows, std::size_t index);

 private:
  struct Stray {
    PageNumber page;
    std::vector<FoundRows*> mayBeOf;
  };

  void searchTable(FoundRows& rows, const StoredTables& tables);
  void searchStrays();
  [[nodiscard]] std::vector<FoundRows*> ownersOf(PageNumber page,
                                                 std::span<FoundRows* const> candidates) const;
  /// Decides by the rows that those on the page lead to, and that lead back.
  [[nodiscard]] FoundRows* ownerByLinks(const Stray& stray);
  [[nodiscard]] std::size_t linksBack(PageNumber page, FoundRows& to);
  /// How many rows of the page are the entity's.
  std::size_t readPage(FoundRows& rows, PageNumber page, bool isStray);
  void settle();

  const PageFile& file_;
  RecordReader record_;
  PageSet taken_;
  std::vector<FoundRows> entities_;
  /// Pages that a tree leads to and that have none of its rows.
  std::vector<PageNumber> doubtful_;
  std::int64_t unknownPages_ = 0;
};

/// How many rows in the file have the shape of one of the model's.
[[nodiscard]] std::size_t countFittingRows(const PageFile& file,
                                           const coredata::NSManagedObjectModel& model);

}  // namespace salvage
