#pragma once

#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Values/URL.h"

namespace coredata {

/// Makes the store at the URL one of the model by a single migration that follows from the two
/// models alone. The store's own model is looked for in all bundles. Nothing happens where there is
/// no store, where it is of the model already, or where no bundle has its model: opening it tells
/// then what is wrong.
///
/// The new store is written into the temporary directory, which is held meanwhile, and takes the
/// old one's place at the end, as long as nobody has saved to that since. Throws
/// `foundation::Error`; the store is then as it was.
void migrateAutomatically(const foundation::URL& store,
                          const foundation::Ref<const NSManagedObjectModel>& to);

}  // namespace coredata
