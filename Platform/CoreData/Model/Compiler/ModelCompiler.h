#pragma once

#include <span>
#include <string>
#include <vector>

#include "CoreData/Model/Compiled/CompiledModel.h"

namespace coredata {

/// Reads and checks a source file. Throws an `Error` whose message names the file and the place in
/// it.
[[nodiscard]] CompiledModel compileModelSource(const std::string& path);

/// Writes one compiled model, in the form that the path's extension names: `.omo` or `.mom`. The
/// file is replaced as a whole or left as it was. Throws an `Error` that names it.
void writeCompiledModel(const CompiledModel& model, const std::string& path);

/// Compiles every version into a `.momd` directory, which is made when it is missing: each in both
/// forms under the name of its source, and the list of versions, with `current` as the current one,
/// after all of them.
///
/// Throws an `Error` that names the file at fault. All sources are read and checked before anything
/// is written. Two versions that store alike are refused: a store could not be told to be of one
/// rather than the other.
void compileModelDirectory(std::span<const std::string> sources, const std::string& directory,
                           const std::string& current);

}  // namespace coredata
