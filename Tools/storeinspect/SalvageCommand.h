#pragma once

#include <string>

#include "Tools/salvage/SalvageReport.h"
#include "Tools/storeinspect/Program.h"

namespace storeinspect {

/// The word that chooses it. A store of that name is called "./salvage".
inline constexpr const char* kSalvage = "salvage";

/// `storeinspect salvage`; `argv` begins with that word.
[[nodiscard]] ExitStatus salvageCommand(int argc, char** argv);

/// As text for people, without the newline at its end.
[[nodiscard]] std::string text(const salvage::SalvageReport& report);
[[nodiscard]] std::string json(const salvage::SalvageReport& report);

}  // namespace storeinspect
