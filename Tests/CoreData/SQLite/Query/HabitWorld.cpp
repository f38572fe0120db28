#include "Tests/CoreData/SQLite/Query/HabitWorld.h"

#include <array>
#include <limits>
#include <string>

#include "Tests/CoreData/SQLite/Query/RandomValues.h"

namespace habits {

using coredata::NSEntityDescription;
using coredata::NSRelationshipDescription;
using coredata::ObjectKey;
using coredata::ResolvedPath;
using coredata::Row;
using coredata::SlotTag;
using foundation::KeyPathExpression;
using foundation::Operand;
using foundation::Ref;
using foundation::Subject;
using foundation::Value;

namespace {

Value randomValue(const coredata::Slot& slot, RandomValues& values) {
  if (values.below(5) == 0) return {};
  // Some links lead to rows that are not there.
  if (slot.relationship != nullptr) return static_cast<std::int64_t>(values.below(14) + 1);
  switch (slot.attribute->attributeType()) {
    case coredata::NSAttributeType::integer16:
      return static_cast<std::int64_t>(values.below(5)) - 1;
    case coredata::NSAttributeType::boolean:
      return values.below(2) == 0;
    case coredata::NSAttributeType::integer32:
    case coredata::NSAttributeType::integer64:
      return values.wholeNumber();
    case coredata::NSAttributeType::double_:
      return values.realNumber();
    case coredata::NSAttributeType::date:
      return values.date();
    case coredata::NSAttributeType::string:
      return values.text();
    case coredata::NSAttributeType::uuid:
      return values.identifier();
    case coredata::NSAttributeType::binaryData:
    case coredata::NSAttributeType::undefined:
      break;
  }
  return values.bytes();
}

Operand identity(const NSEntityDescription& entity, ObjectKey key) {
  const auto word = static_cast<std::uintptr_t>(key) * 16 + entity.index() + 1;
  return Operand::identity(reinterpret_cast<const void*>(word));
}

bool hasToManyFrom(const ResolvedPath& path, std::size_t link) {
  for (; link < path.links.size(); ++link) {
    if (path.links[link]->isToMany()) return true;
  }
  return path.end == ResolvedPath::End::toMany;
}

Operand endOf(const Row* row, const ResolvedPath& path, Value& keep) {
  if (row == nullptr) return {};
  if (path.end == ResolvedPath::End::self) return identity(row->entity(), row->key());
  switch (row->tag(path.slot)) {
    case SlotTag::none:
      return {};
    case SlotTag::reference:
      return identity(path.relationship->destinationEntity(), row->reference(path.slot));
    case SlotTag::integer:
    case SlotTag::real:
    case SlotTag::date:
    case SlotTag::text:
    case SlotTag::bytes:
    case SlotTag::identifier:
      break;
  }
  keep = row->value(path.slot);
  return Operand::of(keep);
}

}  // namespace

World::World(std::mt19937_64& random) : rows_(model().entities().size()) {
  const std::array<std::pair<const char*, ObjectKey>, 4> counts{
      {{"Activity", 14}, {"Checkin", 24}, {"Photo", 14}, {"Group", 4}}};
  RandomValues values(random);
  for (const auto& [name, count] : counts) {
    const NSEntityDescription& kind = entity(name);
    for (ObjectKey key = 1; key <= count; ++key) {
      if (values.below(8) == 0) continue;
      Values given;
      for (const coredata::Slot& slot : kind.slots()) {
        given.emplace_back(slot.property->name(), randomValue(slot, values));
      }
      rows_[kind.index()].emplace(key, habits::row(name, key, given));
    }
  }
}

std::vector<Ref<Row>> World::all() const {
  std::vector<Ref<Row>> result;
  for (const Rows& rows : rows_) {
    for (const auto& [key, row] : rows) result.push_back(row);
  }
  return result;
}

const Row* World::row(const NSEntityDescription& entity, ObjectKey key) const {
  const auto found = rows(entity).find(key);
  return found == rows(entity).end() ? nullptr : found->second.get();
}

std::vector<const Row*> World::members(const NSRelationshipDescription& toMany,
                                       ObjectKey owner) const {
  std::vector<const Row*> result;
  for (const auto& [key, row] : rows(toMany.destinationEntity())) {
    if (row->reference(toMany.inverseRelationship()->slot()) == owner) result.push_back(row.get());
  }
  return result;
}

bool WorldReader::walk(const Row* from, const ResolvedPath& path, std::size_t link,
                       Visit visit) const {
  if (from == nullptr && hasToManyFrom(path, link)) return true;
  if (link == path.links.size()) return visit(from);
  const NSRelationshipDescription& next = *path.links[link];
  if (!next.isToMany()) {
    const Row* row = from == nullptr
                         ? nullptr
                         : world_.row(next.destinationEntity(), from->reference(next.slot()));
    return walk(row, path, link + 1, visit);
  }
  for (const Row* member : world_.members(next, from->key())) {
    if (!walk(member, path, link + 1, visit)) return false;
  }
  return true;
}

Operand WorldReader::read(Subject subject, const KeyPathExpression& expression, Value& keep) const {
  const ResolvedPath& path = predicate_.path(expression);
  const auto* row = static_cast<const Row*>(subject);
  for (const NSRelationshipDescription* link : path.links) {
    if (row == nullptr) return {};
    if (link->isToMany()) return Operand::many();
    row = world_.row(link->destinationEntity(), row->reference(link->slot()));
  }
  if (path.end == ResolvedPath::End::toMany) return row == nullptr ? Operand() : Operand::many();
  return endOf(row, path, keep);
}

void WorldReader::forEachValue(Subject subject, const KeyPathExpression& expression,
                               foundation::FunctionRef<bool(const Operand&)> visit) const {
  const ResolvedPath& path = predicate_.path(expression);
  walk(static_cast<const Row*>(subject), path, 0, [&](const Row* row) {
    if (path.end != ResolvedPath::End::toMany) {
      Value keep;
      return visit(endOf(row, path, keep));
    }
    for (const Row* member : world_.members(*path.relationship, row->key())) {
      if (!visit(identity(member->entity(), member->key()))) return false;
    }
    return true;
  });
}

void WorldReader::forEachMember(Subject subject, const KeyPathExpression& expression,
                                foundation::FunctionRef<bool(Subject)> visit) const {
  const ResolvedPath& path = predicate_.path(expression);
  walk(static_cast<const Row*>(subject), path, 0, [&](const Row* row) {
    for (const Row* member : world_.members(*path.relationship, row->key())) {
      if (!visit(member)) return false;
    }
    return true;
  });
}

std::int64_t WorldReader::memberCount(Subject subject, const KeyPathExpression& path) const {
  std::int64_t count = 0;
  forEachMember(subject, path, [&](Subject) {
    ++count;
    return true;
  });
  return count;
}

Operand WorldReader::operandForArgument(const Value& argument) const {
  if (argument.object() == nullptr) return Operand::of(argument);
  const auto* handle = dynamic_cast<const Handle*>(argument.object());
  return handle == nullptr ? Operand::other() : identity(handle->entity(), handle->key());
}

}  // namespace habits
