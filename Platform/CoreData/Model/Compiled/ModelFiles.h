#pragma once

#include <string>

#include "CoreData/Model/Compiled/CompiledModel.h"
#include "CoreData/Model/Compiled/VersionInfo.h"
#include "Foundation/Values/URL.h"

namespace coredata {

/// Reads a `.mom` or `.omo` file, or the current version of a `.momd` directory. Throws an `Error`
/// whose message names the file.
[[nodiscard]] CompiledModel readCompiledModel(const foundation::URL& url);

[[nodiscard]] bool isModelDirectory(const foundation::URL& url);
[[nodiscard]] VersionInfo readVersionInfo(const foundation::URL& directory);
/// The file of one version of a directory: the optimised one where there is one.
[[nodiscard]] foundation::URL versionFile(const foundation::URL& directory,
                                          const std::string& version);

}  // namespace coredata
