#pragma once

#include <string>

namespace coredata {

/// Writes what a database file holds into a new file, page by page, as SQLite sees them: what its
/// log has committed is among it, and a transaction that its journal can undo is not. Nothing but
/// the header is looked at, so the file may be damaged everywhere else.
///
/// For a file that nobody else has: undoing a transaction changes it, and so does reading its log.
/// Nobody waits for the disk. Throws `foundation::Error` of domain `kSQLiteErrorDomain`, and leaves
/// at `to` whatever was written by then.
void copyPages(const std::string& from, const std::string& to);

}  // namespace coredata
