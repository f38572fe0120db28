#pragma once

#include "CoreData/Rows/Row.h"
#include "Tools/salvage/Record.h"
#include "Tools/salvage/SalvageReport.h"

namespace salvage {

/// Where the slots of a record begin, behind its key and its version.
inline constexpr std::size_t kFirstSlot = 2;

/// Whether a record has an entity's columns: their number, and no key of its own, since the key is
/// the cell's.
[[nodiscard]] bool hasColumnsOf(const coredata::NSEntityDescription& entity,
                                const RecordShape& shape) noexcept;
/// Whether every value is of the class that its column stores as well.
[[nodiscard]] bool hasValuesOf(const coredata::NSEntityDescription& entity,
                               const RecordShape& shape) noexcept;

/// A row with what the record holds of the entity. Of a value that its property cannot have the
/// model's default remains, which may be none; a text that is no UTF-8 in places is mended. All of
/// it is noted in `report`, if there is one.
///
/// No property of any version must have a value, so no row is lost over one.
[[nodiscard]] foundation::Ref<coredata::Row> madeRow(const coredata::NSEntityDescription& entity,
                                                     coredata::ObjectKey key,
                                                     const RecordReader& record,
                                                     EntityReport* report);

}  // namespace salvage
