#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/Model/ModelSource.h"
#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/Model/VersionHashes.h"
#include "Foundation/Values/Ref.h"

namespace coredata {

/// What a compiled model of either form holds: a source in its normal form, and its hashes.
struct CompiledModel {
  ModelSource source;
  VersionHashes hashes;

  friend bool operator==(const CompiledModel&, const CompiledModel&) = default;
};

/// Checks a source and computes its hashes. Throws as `ModelBuilder::build` does.
[[nodiscard]] CompiledModel compiled(ModelSource source);

/// The optimised form, `.omo`. It keeps the hashes, so that loading a model needs no digest.
[[nodiscard]] std::vector<std::uint8_t> optimizedForm(const CompiledModel& model);
/// Throws an `Error` of code `damaged` or `newerFormat`. That the model makes sense is checked when
/// it is built.
[[nodiscard]] CompiledModel fromOptimizedForm(std::span<const std::uint8_t> bytes);

/// The readable form, `.mom`: JSON, the normal form of the source with a checksum in the first
/// line.
[[nodiscard]] std::string readableForm(const CompiledModel& model);
/// Throws an `Error` of code `damaged`, `newerFormat` or, for a model that contradicts itself,
/// `invalidModel`.
[[nodiscard]] CompiledModel fromReadableForm(std::string_view text);

}  // namespace coredata
