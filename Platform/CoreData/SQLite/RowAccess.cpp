#include "CoreData/SQLite/RowAccess.h"

#include <algorithm>
#include <bit>
#include <string>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowFeed.h"

namespace coredata {

using foundation::Ref;

namespace {
StatementKey keyOf(StatementKind kind, const NSEntityDescription& entity,
                   std::uint64_t detail = 0) {
  return {kind, entity.index(), detail};
}

std::string insertedColumns(const NSEntityDescription& entity) {
  std::string columns = "_id,_version";
  for (const Slot& slot : entity.slots()) columns += "," + quotedIdentifier(slot.property->name());
  return columns;
}

std::string insertText(const NSEntityDescription& entity) {
  std::string parameters = "?,?";
  for (std::size_t slot = 0; slot < entity.slots().size(); ++slot) parameters += ",?";
  return "INSERT INTO " + quotedIdentifier(entity.name()) + "(" + insertedColumns(entity) +
         ") VALUES(" + parameters + ")";
}

void giveSlot(sqlite3_context* context, const Row& row, SlotIndex slot) noexcept {
  switch (row.tag(slot)) {
    case SlotTag::none:
      return;
    case SlotTag::integer:
      return sqlite3_result_int64(context, row.integer(slot));
    case SlotTag::reference:
      return sqlite3_result_int64(context, row.reference(slot));
    case SlotTag::real:
    case SlotTag::date:
      return sqlite3_result_double(context, row.real(slot));
    case SlotTag::text: {
      const std::string_view text = row.text(slot);
      return sqlite3_result_text64(context, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
    }
    case SlotTag::bytes: {
      const auto bytes = row.bytes(slot);
      return sqlite3_result_blob64(context, bytes.data(), bytes.size(), SQLITE_STATIC);
    }
    case SlotTag::identifier: {
      const foundation::UUID identifier = row.identifier(slot);
      const auto& bytes = identifier.bytes();
      return sqlite3_result_blob64(context, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
    }
  }
}

/// Rows of one entity, in the order of its table's columns.
class EntityRowFeed final : public RowFeed {
 public:
  explicit EntityRowFeed(std::span<const Row* const> rows) noexcept : rows_(rows) {}

  bool advance() noexcept override { return next_++ < rows_.size(); }

  void give(int column, sqlite3_context* context) const noexcept override {
    const Row& row = *rows_[next_ - 1];
    switch (column) {
      case 0:
        return sqlite3_result_int64(context, row.key());
      case 1:
        return sqlite3_result_int64(context, row.version());
      default:
        return giveSlot(context, row, static_cast<SlotIndex>(column - 2));
    }
  }

 private:
  std::span<const Row* const> rows_;
  std::size_t next_ = 0;
};

std::string updateText(const NSEntityDescription& entity, SlotMask changed) {
  std::string text = "UPDATE " + quotedIdentifier(entity.name()) + " SET _version=?";
  for (SlotMask rest = changed; rest != 0; rest &= rest - 1) {
    const auto slot = static_cast<std::size_t>(std::countr_zero(rest));
    text += "," + quotedIdentifier(entity.slots()[slot].property->name()) + "=?";
  }
  return text += " WHERE _id=? AND _version=?";
}
}  // namespace

Ref<Row> selectRow(Connection& connection, const RowColumns& columns, ObjectKey key) {
  const NSEntityDescription& entity = columns.entity();
  Statement& statement = connection.statement(keyOf(StatementKind::selectRow, entity), [&] {
    return "SELECT * FROM " + quotedIdentifier(entity.name()) + " WHERE _id=?";
  });
  const StatementUse use(statement);
  statement.bindInteger(1, key);
  return statement.step() ? columns.read(statement) : nullptr;
}

bool rowExists(Connection& connection, const NSEntityDescription& entity, ObjectKey key) {
  Statement& statement = connection.statement(keyOf(StatementKind::rowExists, entity), [&] {
    return "SELECT 1 FROM " + quotedIdentifier(entity.name()) + " WHERE _id=?";
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
        return "SELECT _id FROM " + quotedIdentifier(members.name()) + " WHERE " +
               quotedIdentifier(inverse.name()) + "=?";
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
    return "SELECT max(_id) FROM " + quotedIdentifier(entity.name());
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

void insertRows(Connection& connection, std::span<const Row* const> rows) {
  if (rows.size() < RowFeed::kWorthwhile) {
    for (const Row* row : rows) insertRow(connection, *row);
    return;
  }
  const NSEntityDescription& entity = rows.front()->entity();
  Statement& statement = connection.statement(keyOf(StatementKind::insertRows, entity), [&] {
    return RowFeed::insertText(quotedIdentifier(entity.name()), insertedColumns(entity),
                               static_cast<int>(entity.slots().size()) + 2);
  });
  EntityRowFeed feed(rows);
  insertFrom(feed, statement);
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
    return "DELETE FROM " + quotedIdentifier(entity.name()) + " WHERE _id=? AND _version=?";
  });
  statement.bindInteger(1, key);
  statement.bindInteger(2, expectedVersion);
  statement.run();
  return sqlite3_changes64(connection.handle()) != 0;
}

}  // namespace coredata
