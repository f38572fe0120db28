#pragma once

#include <span>
#include <string>

#include "CoreData/Migration/Mapping/MappingContent.h"

namespace coredata {

/// Reads a source file, expands it and checks it against both of its models, whose sources are
/// found by name among `models`: files, and directories that hold them. Throws an `Error` whose
/// message names the file and the place in it.
[[nodiscard]] MappingContent compileMappingSource(const std::string& path,
                                                  std::span<const std::string> models);

/// Writes a compiled mapping, whose name must end in .cdm. The file is replaced as a whole or left
/// as it was. Throws an `Error` that names it.
void writeCompiledMapping(const MappingContent& content, const std::string& path);

}  // namespace coredata
