#include "CoreData/SQLite/Query/ConstantReader.h"

#include <cassert>

namespace coredata {

using foundation::KeyPathExpression;
using foundation::Operand;
using foundation::Subject;
using foundation::Value;

namespace {

/// One word that no other object of the store has.
Operand identity(const NSEntityDescription& entity, ObjectKey key) noexcept {
  constexpr unsigned kEntityBits = 12;
  const auto word = static_cast<std::uintptr_t>(key) << kEntityBits | (entity.index() + 1U);
  // Only ever compared, never followed. NOLINTNEXTLINE(performance-no-int-to-ptr)
  return Operand::identity(reinterpret_cast<const void*>(word));
}

}  // namespace

Operand ConstantReader::read(Subject, const KeyPathExpression&, Value&) const {
  assert(false && "a comparison with a key path is no constant");
  return {};
}

void ConstantReader::forEachValue(Subject, const KeyPathExpression&,
                                  foundation::FunctionRef<bool(const Operand&)>) const {
  assert(false && "a comparison with a key path is no constant");
}

void ConstantReader::forEachMember(Subject, const KeyPathExpression&,
                                   foundation::FunctionRef<bool(Subject)>) const {
  assert(false && "a comparison with a key path is no constant");
}

std::int64_t ConstantReader::memberCount(Subject, const KeyPathExpression&) const {
  assert(false && "a comparison with a key path is no constant");
  return 0;
}

Operand ConstantReader::operandForArgument(const Value& argument) const {
  if (argument.object() == nullptr) return Operand::of(argument);
  for (const NSEntityDescription* entity : model_.entities()) {
    const ObjectKey key = objects_.keyFor(*argument.object(), *entity);
    if (key != kNoObject) return identity(*entity, key);
  }
  return Operand::other();
}

}  // namespace coredata
