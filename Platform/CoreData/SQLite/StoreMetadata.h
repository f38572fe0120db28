#pragma once

#include <optional>
#include <string_view>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Values/UUID.h"
#include "Foundation/Values/Value.h"

namespace coredata {

class Connection;

/// Under this key a store's metadata tells which version of this library laid out its tables.
inline constexpr std::string_view NSPersistenceFrameworkVersionKey =
    "NSPersistenceFrameworkVersion";

/// What a new store of the model says of itself.
[[nodiscard]] foundation::ValueDictionary identifyingMetadata(const NSManagedObjectModel& model,
                                                              const foundation::UUID& identifier);

/// `program`'s entries with those of `identity` that say which store this is and what it holds.
/// Throws `StoreErrorCode::invalidMetadata` for a key that begins with "_" or is empty.
[[nodiscard]] foundation::ValueDictionary mergedMetadata(
    foundation::ValueDictionary program, const foundation::ValueDictionary& identity);

/// The store's identifier; none when the metadata does not tell.
[[nodiscard]] std::optional<foundation::UUID> storeIdentifier(
    const foundation::ValueDictionary& metadata);

/// The identifier of a store of exactly this model, found out from the texts as they stand; none
/// for a store of another model and wherever anything is out of order, which `readMetadata` then
/// tells. Opening a store asks this at every start of a program.
[[nodiscard]] std::optional<foundation::UUID> identifierOfStore(Connection& connection,
                                                                const NSManagedObjectModel& model);
/// Reads all metadata. Throws `StoreErrorCode::damaged` when the checksum kept with it is not its
/// own.
[[nodiscard]] foundation::ValueDictionary readMetadata(Connection& connection);
/// Replaces all metadata, in the transaction that is open.
void writeMetadata(Connection& connection, const foundation::ValueDictionary& metadata);

}  // namespace coredata
