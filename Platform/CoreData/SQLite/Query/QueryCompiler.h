#pragma once

#include "CoreData/Fetching/FetchPlan.h"
#include "CoreData/SQLite/Query/CompiledQuery.h"
#include "CoreData/SQLite/Query/QueryVariant.h"

namespace coredata {

/// Translates a fetch into one SELECT. The judged entity's table is `t0`; every name in the text is
/// the model's, quoted, and whatever came from a format or an argument is a parameter.
///
/// Rows are sorted by the plan's sorts, absent values before all others, and then by key, as far as
/// the variant's `order` says. Distinct dictionaries stand where the first of their kind would;
/// grouped ones without a sort are ordered by what they are grouped by.
///
/// Throws `foundation::Error` for a predicate that is nested too deeply for SQLite.
[[nodiscard]] CompiledQuery compileQuery(const FetchPlan& plan, const QueryVariant& variant);

/// Whether an index of the entity gives the plan's order, so that the store need not sort: its
/// first columns are those that the predicate ties to one value, the next ones those of the sorts.
[[nodiscard]] bool indexGivesOrder(const FetchPlan& plan);

}  // namespace coredata
