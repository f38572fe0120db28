#pragma once

#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Values/URL.h"

namespace coredata {

/// Writes a new file with what a store holds at one moment, page by page, while others may go on
/// reading and writing the store. The copy is one file that needs nothing beside it, readable for
/// its owner only, and on the disk when this returns. Costs a read and a write of every page.
///
/// The source may be damaged as long as it is a database: its pages are copied as they are.
///
/// Throws `foundation::Error`: `StoreErrorCode::exists` when there is something at `to`, and what
/// the file system and SQLite say. A copy that failed is removed.
void backUpStore(const foundation::URL& from, const foundation::URL& to);

/// Throws unless the file is a store of the model, with exactly the tables that its version has and
/// nothing in it that could act by itself, and every page of it in order. Reads all of the file and
/// changes nothing; trusts nothing in it.
void requireSoundStore(const foundation::URL& at, const NSManagedObjectModel& model);

}  // namespace coredata
