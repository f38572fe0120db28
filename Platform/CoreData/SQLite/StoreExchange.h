#pragma once

#include <string>

namespace coredata {

/// Puts a finished file in the place of one that is no database, and so is nobody's store. The old
/// one is kept, with what lies beside it, under its name with "-salvage-<n>" behind it. Throws with
/// everything back in its place; a death in between leaves both files beside the empty place.
void exchangeFile(const std::string& incoming, const std::string& path);

}  // namespace coredata
