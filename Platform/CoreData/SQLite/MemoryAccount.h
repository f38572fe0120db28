#pragma once

namespace coredata {

/// Has SQLite keep no account of the memory that it uses. Nobody here asks for it, and it costs the
/// process's one lock in each of the allocations of which an opening makes thousands.
///
/// To be called before a file is opened. Where the program has used SQLite before, its account and
/// the limits that rest on it stay as they are.
void keepNoMemoryAccount() noexcept;

}  // namespace coredata
