#pragma once

#include "CoreData/Model/ModelSource.h"

namespace coredata {

/// Finds the first thing by which a model in its normal form contradicts itself or asks for what no
/// store can hold. Throws an `Error` of code `ModelErrorCode::invalidModel` whose message names the
/// entity and the property.
void checkModel(const ModelSource& model);

}  // namespace coredata
