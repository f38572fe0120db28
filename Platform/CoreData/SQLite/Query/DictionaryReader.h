#pragma once

#include "CoreData/Fetching/DictionaryRows.h"
#include "CoreData/SQLite/Statement.h"

namespace coredata {

/// Appends the row on which the statement stands, each column as the kind that the plan declares
/// for it. A value that has no such form, such as a text declared a number, keeps its own kind.
void appendRow(const Statement& statement, DictionaryRows& rows);

}  // namespace coredata
