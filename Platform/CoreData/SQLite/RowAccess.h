#pragma once

#include <span>
#include <vector>

#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/RowColumns.h"

namespace coredata {

class Connection;

// Rows by their keys, by statements that the connection keeps.

[[nodiscard]] foundation::Ref<Row> selectRow(Connection& connection, const RowColumns& columns,
                                             ObjectKey key);
[[nodiscard]] bool rowExists(Connection& connection, const NSEntityDescription& entity,
                             ObjectKey key);
/// The keys of a to-many's members, ascending.
[[nodiscard]] std::vector<ObjectKey> selectMembers(Connection& connection,
                                                   const NSRelationshipDescription& toMany,
                                                   ObjectKey owner);
/// 0 for an empty table.
[[nodiscard]] ObjectKey highestKey(Connection& connection, const NSEntityDescription& entity);

void insertRow(Connection& connection, const Row& row);
/// Rows of one entity.
void insertRows(Connection& connection, std::span<const Row* const> rows);
/// Writes the columns in `changed` and the version. False when there is no row of the expected
/// version.
[[nodiscard]] bool updateRow(Connection& connection, const Row& row, SlotMask changed,
                             std::int64_t expectedVersion);
[[nodiscard]] bool removeRow(Connection& connection, const NSEntityDescription& entity,
                             ObjectKey key, std::int64_t expectedVersion);

}  // namespace coredata
