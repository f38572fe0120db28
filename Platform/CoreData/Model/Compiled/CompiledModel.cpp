#include "CoreData/Model/Compiled/CompiledModel.h"

#include <utility>

#include "CoreData/Model/ModelChecks.h"

namespace coredata {

CompiledModel compiled(ModelSource source) {
  source.normalize();
  checkModel(source);
  auto hashes = versionHashes(source);
  return {std::move(source), std::move(hashes)};
}

}  // namespace coredata
