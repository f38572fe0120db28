#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CoreData/SQLite/Query/QueryDraft.h"

namespace coredata {

/// The tables of one FROM clause: an entity's, and those joined to it for key paths.
class SqlScope {
 public:
  SqlScope(const NSEntityDescription& entity, QueryDraft& draft)
      : draft_(draft), entity_(entity), table_(draft.nextTable()) {}

  /// The entity's own table.
  [[nodiscard]] std::uint32_t table() const noexcept { return table_; }
  /// The table with the object that a to-one of `from` leads to; a row without one stays. Paths
  /// that begin alike share it.
  [[nodiscard]] std::uint32_t follow(std::uint32_t from, const NSRelationshipDescription& toOne);
  /// The table with the members of a to-many of `from`, one row for each.
  [[nodiscard]] std::uint32_t addMembers(std::uint32_t from,
                                         const NSRelationshipDescription& toMany);
  /// What stands behind FROM.
  [[nodiscard]] std::string text() const;

 private:
  struct Join {
    std::uint32_t from;
    const NSRelationshipDescription* link;
    std::uint32_t table;
  };

  QueryDraft& draft_;
  const NSEntityDescription& entity_;
  std::uint32_t table_;
  std::vector<Join> joins_;
};

/// A place in a query from which key paths start.
struct PathStart {
  SqlScope* scope;
  std::uint32_t table;
};

/// Follows the path's to-one links and gives the table of its end. The path passes no to-many.
[[nodiscard]] std::uint32_t followLinks(const PathStart& start, const ResolvedPath& path);

/// The table whose rows have the path's first to-many; its rows are absent where a link before it
/// is.
[[nodiscard]] std::uint32_t followToMembers(const PathStart& start, const ResolvedPath& path);

/// The subquery over all that lies at the end of a path with a to-many: its tables, and the
/// condition that ties it to the query around it. An absent link before the first to-many leads to
/// nothing; one behind it to a row without values.
class MemberQuery {
 public:
  MemberQuery(const PathStart& start, const ResolvedPath& path, QueryDraft& draft);
  MemberQuery(const MemberQuery&) = delete;
  MemberQuery& operator=(const MemberQuery&) = delete;

  [[nodiscard]] PathStart end() noexcept { return {&scope_, end_}; }
  /// `SELECT <what> FROM ... WHERE ...`; `condition` may be empty.
  [[nodiscard]] std::string text(std::string_view what, std::string_view condition) const;

 private:
  SqlScope scope_;
  std::string tie_;
  std::uint32_t end_;
};

}  // namespace coredata
