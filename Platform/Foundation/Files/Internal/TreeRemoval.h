#pragma once

#include <string>

namespace foundation {

/// Removes an entry of an open directory: a file, a symbolic link but never what it leads to, or a
/// directory with everything in it. Each step starts from a descriptor, so that a directory swapped
/// for a link meanwhile ends the removal instead of redirecting it; nothing on another mount is
/// touched. `parentPath` is for the message.
///
/// Throws `Error` at the first thing that cannot be removed; what was removed before is gone.
void removeTree(int parent, const std::string& name, std::string parentPath);

}  // namespace foundation
