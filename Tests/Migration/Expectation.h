#pragma once

#include <functional>
#include <string>

#include "CoreData/Model/NSManagedObjectModel.h"
#include "Foundation/Values/Data.h"
#include "Foundation/Values/Date.h"
#include "Tests/Migration/StoreImage.h"

namespace images {

/// What a store is to become in the next version by names and old names alone: worked out from the
/// next model and from nothing that the library's inference knows.
[[nodiscard]] StoreImage expectedIn(const coredata::NSManagedObjectModel& next,
                                    const StoreImage& old);

/// What the step to version 7 does beyond that: no titles and dates are left absent that version 7
/// relies on, photos hold their files' bytes, and the active widgets stand in one group. The
/// identifiers of the new objects are left out.
void expectVersion7(StoreImage& image, const StoreImage& old,
                    const std::function<foundation::Data(const std::string&)>& photoFile,
                    foundation::Date now);

}  // namespace images
