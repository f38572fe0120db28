#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "CoreData/Migration/Mapping/MappingContent.h"
#include "Foundation/Values/URL.h"

namespace coredata {

/// The compiled form of a mapping, `.cdm`. It keeps the fingerprints of both models, by which a
/// migration finds it, and the hashes of their entities.
[[nodiscard]] std::vector<std::uint8_t> compiledForm(const MappingContent& content);

/// Throws an `Error` of code `ModelErrorCode::damaged` or `newerFormat`, or one of `checkForm`.
/// Whether the mapping fits its models shows when it is held against them.
[[nodiscard]] MappingContent fromCompiledForm(std::span<const std::uint8_t> bytes);

/// Reads a `.cdm` file. Throws an `Error` whose message names it.
[[nodiscard]] MappingContent readCompiledMapping(const foundation::URL& url);

}  // namespace coredata
