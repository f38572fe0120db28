#include "CoreData/SQLite/Query/SqlScope.h"

#include <algorithm>

#include "CoreData/SQLite/RowColumns.h"

namespace coredata {

namespace {

std::string named(const NSEntityDescription& entity, std::uint32_t table) {
  return quotedIdentifier(entity.name()) + " " + tableAlias(table);
}

/// The condition under which a row of `members` belongs to the to-many of `owner`.
std::string membership(std::uint32_t members, const NSRelationshipDescription& toMany,
                       std::uint32_t owner) {
  return column(members, toMany.inverseRelationship()->name()) + " = " + keyColumn(owner);
}

const NSRelationshipDescription& firstToMany(const ResolvedPath& path) {
  const auto link = std::ranges::find_if(path.links, &NSRelationshipDescription::isToMany);
  return link != path.links.end() ? **link : *path.relationship;
}

}  // namespace

std::uint32_t SqlScope::follow(std::uint32_t from, const NSRelationshipDescription& toOne) {
  const auto known = std::ranges::find_if(
      joins_, [&](const Join& join) { return join.from == from && join.link == &toOne; });
  if (known != joins_.end()) return known->table;
  return joins_.emplace_back(from, &toOne, draft_.nextTable()).table;
}

std::uint32_t SqlScope::addMembers(std::uint32_t from, const NSRelationshipDescription& toMany) {
  return joins_.emplace_back(from, &toMany, draft_.nextTable()).table;
}

std::string SqlScope::text() const {
  std::string text = named(entity_, table_);
  for (const Join& join : joins_) {
    const std::string table = named(join.link->destinationEntity(), join.table);
    if (join.link->isToMany()) {
      text += " JOIN " + table + " ON " + membership(join.table, *join.link, join.from);
    } else {
      text += " LEFT JOIN " + table + " ON " + keyColumn(join.table) + " = " +
              column(join.from, join.link->name());
    }
  }
  return text;
}

std::uint32_t followLinks(const PathStart& start, const ResolvedPath& path) {
  std::uint32_t table = start.table;
  for (const NSRelationshipDescription* link : path.links) {
    table = start.scope->follow(table, *link);
  }
  return table;
}

std::uint32_t followToMembers(const PathStart& start, const ResolvedPath& path) {
  std::uint32_t table = start.table;
  for (const NSRelationshipDescription* link : path.links) {
    if (link->isToMany()) break;
    table = start.scope->follow(table, *link);
  }
  return table;
}

MemberQuery::MemberQuery(const PathStart& start, const ResolvedPath& path, QueryDraft& draft)
    : scope_(firstToMany(path).destinationEntity(), draft), end_(scope_.table()) {
  tie_ = membership(scope_.table(), firstToMany(path), followToMembers(start, path));
  bool isBehindFirst = false;
  for (const NSRelationshipDescription* link : path.links) {
    if (isBehindFirst) {
      end_ = link->isToMany() ? scope_.addMembers(end_, *link) : scope_.follow(end_, *link);
    }
    isBehindFirst = isBehindFirst || link->isToMany();
  }
  if (isBehindFirst && path.end == ResolvedPath::End::toMany) {
    end_ = scope_.addMembers(end_, *path.relationship);
  }
}

std::string MemberQuery::text(std::string_view what, std::string_view condition) const {
  std::string text = "SELECT " + std::string(what) + " FROM " + scope_.text() + " WHERE " + tie_;
  if (!condition.empty()) text += " AND " + std::string(condition);
  return text;
}

}  // namespace coredata
