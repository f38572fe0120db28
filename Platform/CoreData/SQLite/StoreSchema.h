#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Values/FunctionRef.h"

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

/// A table or index of a file, as its schema table has it.
struct SchemaEntry {
  std::string_view name;
  std::string_view sql;
};

/// Whether the entries that `next` gives, until it gives none, are exactly those of a store of the
/// model, in the order in which they are made: what nearly every opening finds, told without making
/// any text.
[[nodiscard]] bool isSchemaOf(const NSManagedObjectModel& model,
                              foundation::FunctionRef<std::optional<SchemaEntry>()> next);

/// The entity's table alone; what a migration fills before it builds the indexes.
[[nodiscard]] SchemaObject tableOf(const NSEntityDescription& entity);
[[nodiscard]] std::vector<SchemaObject> indexesOf(const NSEntityDescription& entity);

}  // namespace coredata
