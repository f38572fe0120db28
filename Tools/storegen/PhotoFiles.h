#pragma once

#include "CoreData/Model/NSManagedObjectModel.h"
#include "Tools/storegen/SeededContent.h"

namespace storegen {

/// Writes the files of the photos, and a small one for each as its thumbnail, where the model keeps
/// photos in files and the content names a container. Throws `foundation::Error`.
void writePhotoFiles(const coredata::NSManagedObjectModel& model, const SeededContent& content);

}  // namespace storegen
