#pragma once

#include <cstdint>
#include <vector>

#include "CoreData/Context/FetchedObjects.h"
#include "CoreData/Object/ObjectRegistry.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

/// What a fetched list holds. Exactly one of `rows` and `keys` is filled.
struct FetchedContent {
  foundation::Ref<ObjectRegistry> registry;
  const NSEntityDescription* entity = nullptr;
  /// The rows as they were fetched; null where `pinned` has the object.
  std::vector<foundation::Ref<Row>> rows;
  std::vector<ObjectKey> keys;
  /// Objects that had unsaved changes, by position.
  foundation::HashMap<std::size_t, foundation::Ref<NSManagedObject>> pinned;
  /// The context's count of written rows when the list was made: once it has moved on, the rows may
  /// be old.
  std::uint64_t rowEpoch = 0;
  /// How many rows to read at once, 0 for one at a time.
  std::size_t batchSize = 0;
  /// The batch that was looked at last.
  std::size_t batchStart = 0;
  std::vector<foundation::Ref<Row>> batch;

  [[nodiscard]] std::size_t size() const noexcept {
    return rows.empty() ? keys.size() : rows.size();
  }
  [[nodiscard]] ObjectKey key(std::size_t index) const noexcept {
    return rows.empty() ? keys[index] : rows[index]->key();
  }
  /// The row that a new object starts with; null for a fault.
  [[nodiscard]] foundation::Ref<Row> row(std::size_t index, NSManagedObjectContext& context);
};

}  // namespace coredata
