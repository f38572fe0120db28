#pragma once

#include <map>
#include <string>

namespace coredata {

/// The pragmas that may be chosen for a store, with their values in upper case. Throws
/// `StoreErrorCode::invalidOption` for anything that is not on the list: their texts become part of
/// statements. `synchronous` FULL becomes EXTRA, which in a store with a log is the same.
[[nodiscard]] std::map<std::string, std::string> checkedPragmas(
    const std::map<std::string, std::string>& pragmas);

}  // namespace coredata
