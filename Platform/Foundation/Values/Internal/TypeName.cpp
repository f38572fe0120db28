#include "Foundation/Values/Internal/TypeName.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace foundation {

std::string typeName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> demangled(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  if (demangled == nullptr) return type.name();
  std::string name = demangled.get();
  // Cut the namespaces of the class itself, not those of its template arguments.
  const std::size_t qualifiersEnd = name.rfind("::", name.find('<'));
  return qualifiersEnd == std::string::npos ? name : name.substr(qualifiersEnd + 2);
}

}  // namespace foundation
