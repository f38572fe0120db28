#include "CoreData/SQLite/RowDeletion.h"

#include <algorithm>
#include <bit>
#include <string>

#include "CoreData/Rows/RowVersion.h"
#include "CoreData/SQLite/Connection.h"
#include "CoreData/SQLite/RowColumns.h"
#include "CoreData/SQLite/RowFeed.h"
#include "Foundation/Internal/HashTables.h"

namespace coredata {

namespace {

const std::string& nameOf(const NSEntityDescription& entity, SlotIndex slot) {
  return entity.slots()[slot].property->name();
}

std::string referencesText(const NSEntityDescription& entity) {
  std::string columns;
  for (const SlotIndex slot : entity.toOneSlots()) {
    if (!columns.empty()) columns += ",";
    columns += quotedIdentifier(nameOf(entity, slot));
  }
  return "SELECT " + columns + " FROM " + quotedIdentifier(entity.name()) + " WHERE _id=?";
}

std::string clearingText(const NSEntityDescription& entity, SlotMask slots) {
  std::string text = "UPDATE " + quotedIdentifier(entity.name()) + " SET _version=" + kNextVersion;
  for (SlotMask rest = slots; rest != 0; rest &= rest - 1) {
    text += "," + quotedIdentifier(nameOf(entity, static_cast<SlotIndex>(std::countr_zero(rest)))) +
            "=NULL";
  }
  return text += " WHERE _id=?";
}

std::string membersText(const NSEntityDescription& members, SlotMask inverse) {
  // The owners come first: without CROSS, SQLite might go through the members and look for owners.
  return "SELECT owner.c0,member._id FROM " + RowFeed::firstColumnText() + " owner CROSS JOIN " +
         quotedIdentifier(members.name()) + " member ON member." +
         quotedIdentifier(nameOf(members, static_cast<SlotIndex>(std::countr_zero(inverse)))) +
         "=owner.c0";
}

std::string removalText(const NSEntityDescription& entity) {
  return "DELETE FROM " + quotedIdentifier(entity.name()) + " WHERE _id IN " +
         RowFeed::firstColumnText();
}

/// An index that leads on to other columns gives an owner's members in their order.
void sortWithinOwners(std::span<RowDeletion::Membership> members) {
  for (auto first = members.begin(); first != members.end();) {
    const auto last = std::find_if(first, members.end(),
                                   [&](const auto& each) { return each.owner != first->owner; });
    std::ranges::sort(first, last, {}, &RowDeletion::Membership::member);
    first = last;
  }
}

/// The rows that a connection deletes as long as this lives, as SQLite tells of them: a `RETURNING`
/// would read them first and keep what it returns.
class DeletedRows {
 public:
  /// At most `room` rows of one table are deleted.
  DeletedRows(const Connection& connection, std::size_t room) : database_(connection.handle()) {
    keys_.makeRoomFor(room);
    sqlite3_update_hook(database_, &note, this);
  }
  ~DeletedRows() { sqlite3_update_hook(database_, nullptr, nullptr); }
  DeletedRows(const DeletedRows&) = delete;
  DeletedRows& operator=(const DeletedRows&) = delete;

  [[nodiscard]] std::size_t count() const noexcept { return keys_.size(); }
  [[nodiscard]] bool contain(ObjectKey key) const { return keys_.contains(key); }

 private:
  static void note(void* self, int, const char*, const char*, sqlite3_int64 key) {
    static_cast<DeletedRows*>(self)->keys_.insert(key);
  }

  sqlite3* database_;
  foundation::HashSet<ObjectKey> keys_;
};

/// Keys as rows of one column.
class KeyFeed final : public RowFeed {
 public:
  explicit KeyFeed(std::span<const ObjectKey> keys) noexcept : keys_(keys) {}

  [[nodiscard]] bool advance() noexcept override { return next_++ < keys_.size(); }
  void give(int, sqlite3_context* context) const noexcept override {
    sqlite3_result_int64(context, keys_[next_ - 1]);
  }

 private:
  std::span<const ObjectKey> keys_;
  std::size_t next_ = 0;
};

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
      case Work::members:
        return membersText(entity, slots);
      case Work::clearing:
        return clearingText(entity, slots);
      case Work::removal:
        return removalText(entity);
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
  Statement& clear = statement(Work::clearing, entity, slots);
  clear.bindInteger(1, key);
  clear.run();
  if (sqlite3_changes64(transaction_.connection().handle()) == 0) return;
  transaction_.note({&entity, key, RowChangeKind::update, slots, nullptr});
}

std::vector<RowDeletion::Membership> RowDeletion::members(const NSRelationshipDescription& toMany,
                                                          std::span<const ObjectKey> owners) {
  Statement& select = statement(Work::members, toMany.destinationEntity(),
                                SlotMask{1} << toMany.inverseRelationship()->slot());
  const StatementUse use(select);
  KeyFeed feed(owners);
  bindFeed(feed, select);
  std::vector<Membership> result;
  while (select.step()) result.push_back({select.integer(0), select.integer(1)});
  sortWithinOwners(result);
  return result;
}

std::int64_t RowDeletion::remove(const NSEntityDescription& entity,
                                 std::span<const ObjectKey> keys) {
  if (keys.empty()) return 0;
  Statement& statement = this->statement(Work::removal, entity);
  const StatementUse use(statement);
  KeyFeed feed(keys);
  bindFeed(feed, statement);
  const DeletedRows deleted(transaction_.connection(), keys.size());
  statement.run();
  // In the order of the keys, which is that of the history, and not in SQLite's.
  for (const ObjectKey key : keys) {
    if (deleted.count() == keys.size() || deleted.contain(key)) {
      transaction_.note({&entity, key, RowChangeKind::remove, 0, nullptr});
    }
  }
  return static_cast<std::int64_t>(deleted.count());
}

}  // namespace coredata
