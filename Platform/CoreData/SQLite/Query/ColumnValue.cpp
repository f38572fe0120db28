#include "CoreData/SQLite/Query/ColumnValue.h"

#include <cmath>
#include <limits>
#include <span>

namespace coredata {

using foundation::NSNumber;
using foundation::Operand;
using foundation::Value;

namespace {

using Role = QueryParameter::Role;

Operand realValue(double value) noexcept {
  return std::isnan(value) ? Operand::other() : Operand::real(value);
}

/// A whole number beside a double column. SQLite would round it to the nearest double where it
/// searches an index, so it has to be one already, and on the right side.
Operand doubleValue(std::int64_t value, Role role) noexcept {
  const double nearest = static_cast<double>(value);
  const auto order = NSNumber(nearest) <=> NSNumber(value);
  if (order == 0) return Operand::real(nearest);
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  switch (role) {
    case Role::roundedDown:
      return Operand::real(order < 0 ? nearest : std::nextafter(nearest, -kInfinity));
    case Role::roundedUp:
      return Operand::real(order > 0 ? nearest : std::nextafter(nearest, kInfinity));
    case Role::equality:
    case Role::prefixEnd:
      break;
  }
  return Operand::other();
}

Operand numberValue(const Value& value, ColumnKind kind, Role role) noexcept {
  const NSNumber* number = value.number();
  if (number == nullptr) return Operand::other();
  if (number->isReal()) return realValue(number->doubleValue());
  if (kind == ColumnKind::real) return doubleValue(number->int64Value(), role);
  return Operand::integer(number->int64Value());
}

}  // namespace

Operand columnValue(const Value& value, const ColumnType& type, Role role,
                    const ObjectArguments& objects) {
  if (value.isNone()) return {};
  switch (type.kind) {
    case ColumnKind::integer:
    case ColumnKind::real:
      return numberValue(value, type.kind, role);
    case ColumnKind::date:
      if (value.date() == nullptr) break;
      return realValue(value.date()->timeIntervalSinceReferenceDate());
    case ColumnKind::text:
      if (value.text() == nullptr) break;
      return Operand::text(*value.text());
    case ColumnKind::bytes:
      if (value.data() == nullptr) break;
      return Operand::bytes(value.data()->bytes());
    case ColumnKind::identifier:
      if (value.uuid() == nullptr) break;
      return Operand::bytes(value.uuid()->bytes());
    case ColumnKind::reference:
      if (value.object() == nullptr) break;
      return Operand::integer(objects.keyFor(*value.object(), *type.entity));
    case ColumnKind::collection:
      break;
  }
  return Operand::other();
}

Operand unequalValue(const ColumnType& type) noexcept {
  const bool holdsBytes = type.kind == ColumnKind::bytes || type.kind == ColumnKind::identifier;
  return holdsBytes ? Operand::integer(0) : Operand::bytes({});
}

std::string prefixEnd(std::string_view prefix) {
  constexpr char kLast = '\xff';
  while (!prefix.empty() && prefix.back() == kLast) prefix.remove_suffix(1);
  std::string end(prefix);
  if (!end.empty()) ++end.back();
  return end;
}

}  // namespace coredata
