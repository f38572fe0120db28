#include "Foundation/Predicate/ValueReader.h"

#include <cstddef>
#include <span>
#include <string>
#include <utility>

#include "Foundation/Values/Error.h"

namespace foundation {
namespace {

/// The code of an error for a key that a value does not have.
constexpr std::int64_t kUnknownKeyCode = 5004;

const Value& valueOf(Subject subject) noexcept { return *static_cast<const Value*>(subject); }

Value property(const Value& owner, const std::string& key) {
  if (owner.isNone()) return {};
  if (const Object* object = owner.object()) return object->valueForKey(key);
  if (const ValueDictionary* dictionary = owner.dictionary()) {
    const auto entry = dictionary->find(key);
    return entry == dictionary->end() ? Value() : entry->second;
  }
  throw Error(std::string(kCocoaErrorDomain), kUnknownKeyCode,
              "A value without properties has no key \"" + key + "\".");
}

/// Calls `visit` with each value at the end of the path until it gives false, going into every list
/// on the way and at the end. Absent values are met only if `meetsAbsent` holds. Gives false once
/// `visit` did.
bool visitEnds(const Value& start, std::span<const std::string> segments, bool meetsAbsent,
               FunctionRef<bool(const Value&)> visit) {
  if (const ValueList* list = start.list()) {
    for (const Value& element : *list) {
      if (!visitEnds(element, segments, meetsAbsent, visit)) return false;
    }
    return true;
  }
  if (start.isNone() && !meetsAbsent) return true;
  if (segments.empty()) return visit(start);
  return visitEnds(property(start, segments.front()), segments.subspan(1), meetsAbsent, visit);
}

}  // namespace

Operand ValueReader::read(Subject subject, const KeyPathExpression& path, Value& keep) const {
  const Value* current = &valueOf(subject);
  for (const std::string& segment : path.segments) {
    if (current->isNone()) return {};
    if (current->list() != nullptr) return Operand::many();
    // The owner is let go only after its property is there.
    keep = property(*current, segment);
    current = &keep;
  }
  return Operand::of(*current);
}

void ValueReader::forEachValue(Subject subject, const KeyPathExpression& path,
                               FunctionRef<bool(const Operand&)> visit) const {
  visitEnds(valueOf(subject), path.segments, true,
            [&](const Value& value) { return visit(Operand::of(value)); });
}

void ValueReader::forEachMember(Subject subject, const KeyPathExpression& path,
                                FunctionRef<bool(Subject)> visit) const {
  visitEnds(valueOf(subject), path.segments, false,
            [&](const Value& value) { return visit(&value); });
}

std::int64_t ValueReader::memberCount(Subject subject, const KeyPathExpression& path) const {
  std::int64_t count = 0;
  visitEnds(valueOf(subject), path.segments, false, [&](const Value&) {
    ++count;
    return true;
  });
  return count;
}

}  // namespace foundation
