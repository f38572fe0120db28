#include "CoreData/SQLite/RowAccess.h"

#include <algorithm>
#include <bit>
#include <string>

#include "CoreData/SQLite/Connection.h"

namespace coredata {

using foundation::Ref;

namespace {
StatementKey keyOf(StatementKind kind, const NSEntityDescription& entity,
                   std::uint64_t detail = 0) {
  return {kind, entity.index(), detail};
}

std::string insertText(const NSEntityDescription& entity) {
  std::string columns = "_id,_version";
  std::string parameters = "?,?";
  for (const Slot& slot : entity.slots()) {
    columns += "," + quoted(slot.property->name());
    parameters += ",?";
  }
  return "INSERT INTO " + quoted(entity.name()) + "(" + columns + ") VALUES(" + parameters + ")";
}

std::string updateText(const NSEntityDescription& entity, SlotMask changed) {
  std::string text = "UPDATE " + quoted(entity.name()) + " SET _version=?";
  for (SlotMask rest = changed; rest != 0; rest &= rest - 1) {
    const auto slot = static_cast<std::size_t>(std::countr_zero(rest));
    text += "," + quoted(entity.slots()[slot].property->name()) + "=?";
  }
  return text += " WHERE _id=? AND _version=?";
}
}  // namespace

Ref<Row> selectRow(Connection& connection, const RowColumns& columns, ObjectKey key) {
  const NSEntityDescription& entity = columns.entity();
  Statement& statement = connection.statement(keyOf(StatementKind::selectRow, entity), [&] {
    return "SELECT " + columns.list() + " FROM " + quoted(entity.name()) + " WHERE _id=?";
  });
  const StatementUse use(statement);
  statement.bindInteger(1, key);
  return statement.step() ? columns.read(statement) : nullptr;
}

bool rowExists(Connection& connection, const NSEntityDescription& entity, ObjectKey key) {
  Statement& statement = connection.statement(keyOf(StatementKind::rowExists, entity), [&] {
    return "SELECT 1 FROM " + quoted(entity.name()) + " WHERE _id=?";
  });
  const StatementUse use(statement);
  statement.bindInteger(1, key);
  return statement.step();
}

std::vector<ObjectKey> selectMembers(Connection& connection,
                                     const NSRelationshipDescription& toMany, ObjectKey owner) {
  const NSEntityDescription& members = toMany.destinationEntity();
  const NSRelationshipDescription& inverse = *toMany.inverseRelationship();
  Statement& statement =
      connection.statement(keyOf(StatementKind::members, members, inverse.slot()), [&] {
        return "SELECT _id FROM " + quoted(members.name()) + " WHERE " + quoted(inverse.name()) +
               "=?";
      });
  const StatementUse use(statement);
  statement.bindInteger(1, owner);
  std::vector<ObjectKey> result;
  while (statement.step()) result.push_back(statement.integer(0));
  // An index that leads on to other columns gives the keys in their order; sorting numbers here is
  // cheaper than sorting rows there.
  if (!std::ranges::is_sorted(result)) std::ranges::sort(result);
  return result;
}

ObjectKey highestKey(Connection& connection, const NSEntityDescription& entity) {
  Statement& statement = connection.statement(keyOf(StatementKind::highestKey, entity), [&] {
    return "SELECT max(_id) FROM " + quoted(entity.name());
  });
  const StatementUse use(statement);
  return statement.step() ? statement.integer(0) : 0;
}

void insertRow(Connection& connection, const Row& row) {
  const NSEntityDescription& entity = row.entity();
  Statement& statement = connection.statement(keyOf(StatementKind::insertRow, entity),
                                              [&] { return insertText(entity); });
  statement.bindInteger(1, row.key());
  statement.bindInteger(2, row.version());
  for (SlotIndex slot = 0; slot < row.slotCount(); ++slot) {
    RowColumns::bind(statement, slot + 3, row, slot);
  }
  statement.run();
}

bool updateRow(Connection& connection, const Row& row, SlotMask changed,
               std::int64_t expectedVersion) {
  const NSEntityDescription& entity = row.entity();
  Statement& statement = connection.statement(keyOf(StatementKind::updateRow, entity, changed),
                                              [&] { return updateText(entity, changed); });
  int parameter = 1;
  statement.bindInteger(parameter++, row.version());
  for (SlotMask rest = changed; rest != 0; rest &= rest - 1) {
    RowColumns::bind(statement, parameter++, row, static_cast<SlotIndex>(std::countr_zero(rest)));
  }
  statement.bindInteger(parameter++, row.key());
  statement.bindInteger(parameter, expectedVersion);
  statement.run();
  return sqlite3_changes64(connection.handle()) != 0;
}

bool removeRow(Connection& connection, const NSEntityDescription& entity, ObjectKey key,
               std::int64_t expectedVersion) {
  Statement& statement = connection.statement(keyOf(StatementKind::removeRow, entity), [&] {
    return "DELETE FROM " + quoted(entity.name()) + " WHERE _id=? AND _version=?";
  });
  statement.bindInteger(1, key);
  statement.bindInteger(2, expectedVersion);
  statement.run();
  return sqlite3_changes64(connection.handle()) != 0;
}

}  // namespace coredata
