#pragma once

#include <string>
#include <typeinfo>

namespace foundation {

/// A class's name without its namespaces, for texts that people read.
[[nodiscard]] std::string typeName(const std::type_info& type);

}  // namespace foundation
