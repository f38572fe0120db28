#include "CoreData/SQLite/RowDeletion.h"

#include <bit>
#include <string>

#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowColumns.h"

namespace coredata {

namespace {

const std::string& nameOf(const NSEntityDescription& entity, SlotIndex slot) {
  return entity.slots()[slot].property->name();
}

std::string referencesText(const NSEntityDescription& entity) {
  std::string columns;
  for (const SlotIndex slot : entity.toOneSlots()) {
    if (!columns.empty()) columns += ",";
    columns += quoted(nameOf(entity, slot));
  }
  return "SELECT " + columns + " FROM " + quoted(entity.name()) + " WHERE _id=?";
}

std::string clearingText(const NSEntityDescription& entity, SlotMask slots) {
  std::string text = "UPDATE " + quoted(entity.name()) + " SET _version=_version+1";
  for (SlotMask rest = slots; rest != 0; rest &= rest - 1) {
    text += "," + quoted(nameOf(entity, static_cast<SlotIndex>(std::countr_zero(rest)))) + "=NULL";
  }
  return text += " WHERE _id=?";
}

}  // namespace

RowDeletion::RowDeletion(WriteTransaction& transaction) noexcept : transaction_(transaction) {}

RowDeletion::~RowDeletion() = default;

Statement& RowDeletion::statement(Work work, const NSEntityDescription& entity, SlotMask slots) {
  std::unique_ptr<Statement>& statement = statements_[{work, entity.index(), slots}];
  if (statement) return *statement;
  const std::string text = [&] {
    switch (work) {
      case Work::references:
        return referencesText(entity);
      case Work::clearing:
        return clearingText(entity, slots);
      case Work::removal:
        return "DELETE FROM " + quoted(entity.name()) + " WHERE _id=?";
    }
    return std::string();
  }();
  statement = std::make_unique<Statement>(transaction_.connection(), text);
  return *statement;
}

std::vector<ObjectKey> RowDeletion::references(const NSEntityDescription& entity, ObjectKey key) {
  std::vector<ObjectKey> result;
  Statement& select = statement(Work::references, entity);
  const StatementUse use(select);
  select.bindInteger(1, key);
  if (!select.step()) return result;
  // An absent reference reads as 0, which is no object's key.
  for (int column = 0; column < select.columnCount(); ++column) {
    result.push_back(select.integer(column));
  }
  return result;
}

void RowDeletion::clearReferences(const NSEntityDescription& entity, ObjectKey key,
                                  SlotMask slots) {
  run(statement(Work::clearing, entity, slots),
      {&entity, key, RowChangeKind::update, slots, nullptr});
}

bool RowDeletion::remove(const NSEntityDescription& entity, ObjectKey key) {
  return run(statement(Work::removal, entity), {&entity, key, RowChangeKind::remove, 0, nullptr});
}

bool RowDeletion::run(Statement& statement, RowChange change) {
  statement.bindInteger(1, change.key);
  statement.run();
  if (sqlite3_changes64(transaction_.connection().handle()) == 0) return false;
  transaction_.note(std::move(change));
  return true;
}

}  // namespace coredata
