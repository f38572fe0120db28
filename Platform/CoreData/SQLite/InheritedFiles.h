#pragma once

namespace coredata {

/// Has SQLite take what a forked child opens for other files than those that its parent had open.
///
/// SQLite keeps one account for each file of which locks the process holds, and asks the system
/// only for those that are not in it. A child inherits the account and none of the locks: it would
/// believe that it reads under a lock that it has not, and wait for ever for one that its parent
/// held. Closing what was inherited is no way out, for that undoes what the parent is about to
/// write.
///
/// To be called before a file is opened; costs a load where there was no fork.
void keepInheritedFilesApart() noexcept;

}  // namespace coredata
