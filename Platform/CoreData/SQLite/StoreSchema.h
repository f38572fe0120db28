#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"

namespace coredata {

/// Written into the file's header, so that tools and we ourselves know it for one of ours: "CDST".
inline constexpr std::int32_t kStoreApplicationId = 0x43445354;
/// The layout of the tables below, apart from the model. A higher number is a later version's.
inline constexpr std::int32_t kStoreFormatVersion = 1;
inline constexpr int kStorePageSize = 4096;

/// A table or index, with the text that makes it, letter by letter as SQLite keeps it in its schema
/// table.
struct SchemaObject {
  enum class Kind : std::uint8_t { table, index };
  Kind kind;
  std::string name;
  std::string sql;
};

/// Everything that a store of the model holds, in the order in which it is made: the tables that
/// every store has, those of the entities, the indexes.
[[nodiscard]] std::vector<SchemaObject> storeSchema(const NSManagedObjectModel& model);

/// The entity's table alone; what a migration fills before it builds the indexes.
[[nodiscard]] SchemaObject tableOf(const NSEntityDescription& entity);
[[nodiscard]] std::vector<SchemaObject> indexesOf(const NSEntityDescription& entity);

}  // namespace coredata
