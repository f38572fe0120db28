#include "CoreData/Context/DirtyObjectReader.h"

namespace coredata {

using foundation::KeyPathExpression;
using foundation::Operand;
using foundation::Ref;
using foundation::Subject;
using foundation::Value;

namespace {

NSManagedObject& objectOf(Subject subject) noexcept {
  return *static_cast<NSManagedObject*>(const_cast<void*>(subject));
}

}  // namespace

const void* predicateIdentity(const NSEntityDescription& entity, ObjectKey key) noexcept {
  constexpr unsigned kEntityBits = 12;
  const auto word = static_cast<std::uint64_t>(key) << kEntityBits | (entity.index() + 1U);
  // The word only looks like an address: it is compared, never followed.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(word));
}

const void* predicateIdentity(const foundation::Object& argument, const ContextState& state) {
  const Ref<NSManagedObjectID> identifier = state.ownIdentifier(argument);
  return identifier ? predicateIdentity(identifier->entity(), identifier->key()) : nullptr;
}

Operand DirtyObjectReader::operand(const Row& row, SlotIndex slot, Value& keep) {
  switch (row.tag(slot)) {
    case SlotTag::none:
      return {};
    case SlotTag::integer:
      return Operand::integer(row.integer(slot));
    case SlotTag::real:
      return Operand::real(row.real(slot));
    case SlotTag::date:
      return Operand::date(row.real(slot));
    case SlotTag::text:
      return Operand::text(row.text(slot));
    case SlotTag::bytes:
      return Operand::bytes(row.bytes(slot));
    case SlotTag::identifier:
      keep = row.identifier(slot);
      return Operand::of(keep);
    case SlotTag::reference:
      return Operand::identity(predicateIdentity(
          row.entity().slots()[slot].relationship->destinationEntity(), row.reference(slot)));
  }
  return {};
}

bool DirtyObjectReader::walk(const Ref<NSManagedObject>& object, const ResolvedPath& path,
                             std::size_t link,
                             foundation::FunctionRef<bool(NSManagedObject&)> visit) const {
  if (link == path.links.size()) return visit(*object);
  const NSRelationshipDescription& relationship = *path.links[link];
  if (!relationship.isToMany()) {
    object->load();
    const Ref<NSManagedObject> next = object->toOne(relationship.slot());
    return !next || walk(next, path, link + 1, visit);
  }
  const ObjectSet members = object->toMany(relationship.toManyIndex());
  for (std::size_t i = 0; i < members.count(); ++i) {
    const Ref<NSManagedObject> member = members.at(i);
    if (member && !walk(member, path, link + 1, visit)) return false;
  }
  return true;
}

Operand DirtyObjectReader::endOf(const NSManagedObject& object, const ResolvedPath& path,
                                 Value& keep) const {
  switch (path.end) {
    case ResolvedPath::End::self:
      return Operand::identity(predicateIdentity(object.entity(), object.key_));
    case ResolvedPath::End::slot:
      // Throws what the store throws, where a look would show it empty.
      object.load();
      return operand(*object.row_, path.slot, keep);
    case ResolvedPath::End::toMany:
      return Operand::many();
  }
  return {};
}

Operand DirtyObjectReader::read(Subject subject, const KeyPathExpression& expression,
                                Value& keep) const {
  const ResolvedPath& path = predicate_.path(expression);
  if (path.links.empty()) return endOf(objectOf(subject), path, keep);
  if (path.passesToMany()) return Operand::many();
  Operand result;
  walk(Ref<NSManagedObject>(&objectOf(subject)), path, 0, [&](NSManagedObject& object) {
    result = endOf(object, path, keep);
    // The object may be gone before the comparison is made, and what the operand shows with it.
    if (result.kind() == Operand::Kind::text) {
      keep = result.asText();
      result = Operand::of(keep);
    } else if (result.kind() == Operand::Kind::bytes) {
      keep = object.row().value(path.slot);
      result = Operand::of(keep);
    }
    return false;
  });
  return result;
}

void DirtyObjectReader::forEachValue(Subject subject, const KeyPathExpression& expression,
                                     foundation::FunctionRef<bool(const Operand&)> visit) const {
  const ResolvedPath& path = predicate_.path(expression);
  walk(Ref<NSManagedObject>(&objectOf(subject)), path, 0, [&](NSManagedObject& object) {
    if (path.end == ResolvedPath::End::toMany) {
      const ObjectSet members = object.toMany(path.relationship->toManyIndex());
      for (std::size_t i = 0; i < members.count(); ++i) {
        const Ref<NSManagedObject> member = members.at(i);
        if (member && !visit(Operand::identity(predicateIdentity(member->entity(), member->key_))))
          return false;
      }
      return true;
    }
    Value keep;
    return visit(endOf(object, path, keep));
  });
}

void DirtyObjectReader::forEachMember(Subject subject, const KeyPathExpression& expression,
                                      foundation::FunctionRef<bool(Subject)> visit) const {
  const ResolvedPath& path = predicate_.path(expression);
  walk(Ref<NSManagedObject>(&objectOf(subject)), path, 0, [&](NSManagedObject& object) {
    const ObjectSet members = object.toMany(path.relationship->toManyIndex());
    for (std::size_t i = 0; i < members.count(); ++i) {
      const Ref<NSManagedObject> member = members.at(i);
      if (member && !visit(member.get())) return false;
    }
    return true;
  });
}

std::int64_t DirtyObjectReader::memberCount(Subject subject,
                                            const KeyPathExpression& expression) const {
  const ResolvedPath& path = predicate_.path(expression);
  std::int64_t count = 0;
  walk(Ref<NSManagedObject>(&objectOf(subject)), path, 0, [&](NSManagedObject& object) {
    count += static_cast<std::int64_t>(object.toMany(path.relationship->toManyIndex()).count());
    return true;
  });
  return count;
}

Operand DirtyObjectReader::operandForArgument(const Value& argument) const {
  if (argument.object() == nullptr) return Operand::of(argument);
  const void* identity = predicateIdentity(*argument.object(), state_);
  return identity == nullptr ? Operand::other() : Operand::identity(identity);
}

}  // namespace coredata
