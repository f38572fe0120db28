#pragma once

#include <string>
#include <string_view>

namespace coredata {

/// As messages show the names of entities, properties and mappings.
[[nodiscard]] inline std::string quotedName(std::string_view name) {
  return "\"" + std::string(name) + "\"";
}

}  // namespace coredata
