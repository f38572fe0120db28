#include "Foundation/Predicate/Operand.h"

#include <algorithm>
#include <cmath>

namespace foundation {
namespace {

using Kind = Operand::Kind;

bool isNumber(const Operand& operand) noexcept {
  return operand.kind() == Kind::integer || operand.kind() == Kind::real;
}

NSNumber numberOf(const Operand& operand) noexcept {
  return operand.kind() == Kind::integer ? NSNumber(operand.asInteger())
                                         : NSNumber(operand.asReal());
}

std::partial_ordering orderNumbers(const Operand& left, const Operand& right) noexcept {
  if (left.kind() == Kind::integer && right.kind() == Kind::integer) {
    return left.asInteger() <=> right.asInteger();
  }
  return numberOf(left) <=> numberOf(right);
}

bool areSameObject(const Operand& left, const Operand& right) noexcept {
  if (left.asIdentity() == right.asIdentity()) return true;
  return left.asObject() != nullptr && right.asObject() != nullptr &&
         left.asObject()->isEqual(*right.asObject());
}

bool isNaN(const Operand& operand) noexcept {
  return (operand.kind() == Kind::real || operand.kind() == Kind::date) &&
         std::isnan(operand.asReal());
}

/// Both kinds of numbers sort as one.
int sortRank(const Operand& operand) noexcept {
  return operand.kind() == Kind::real ? static_cast<int>(Kind::integer)
                                      : static_cast<int>(operand.kind());
}

}  // namespace

Operand Operand::of(const Value& value) noexcept {
  struct Visitor {
    Operand operator()(std::monostate) const noexcept { return {}; }
    Operand operator()(NSNumber held) const noexcept {
      return held.isReal() ? real(held.doubleValue()) : integer(held.int64Value());
    }
    Operand operator()(const std::string& held) const noexcept { return text(held); }
    Operand operator()(Date held) const noexcept {
      return date(held.timeIntervalSinceReferenceDate());
    }
    Operand operator()(const Data& held) const noexcept { return bytes(held.bytes()); }
    Operand operator()(const UUID& held) const noexcept { return uuid(held.bytes()); }
    Operand operator()(const Ref<Object>& held) const noexcept {
      return held ? object(*held) : Operand();
    }
    Operand operator()(const std::shared_ptr<const ValueList>& held) const noexcept {
      return held ? list(*held) : Operand();
    }
    Operand operator()(const std::shared_ptr<const ValueDictionary>&) const noexcept {
      return other();
    }
  };
  return std::visit(Visitor{}, value.storage());
}

std::partial_ordering order(const Operand& left, const Operand& right) noexcept {
  if (isNumber(left) && isNumber(right)) return orderNumbers(left, right);
  if (left.kind() != right.kind()) return std::partial_ordering::unordered;
  switch (left.kind()) {
    case Kind::date:
      return left.asReal() <=> right.asReal();
    case Kind::text:
    case Kind::bytes:
      return left.asText() <=> right.asText();
    case Kind::uuid:
      return left.asUUID() <=> right.asUUID();
    case Kind::object:
      return areSameObject(left, right) ? std::partial_ordering::equivalent
                                        : std::partial_ordering::unordered;
    case Kind::none:
    case Kind::integer:
    case Kind::real:
    case Kind::list:
    case Kind::many:
    case Kind::other:
      break;
  }
  return std::partial_ordering::unordered;
}

bool isEqual(const Operand& left, const Operand& right) noexcept {
  if (left.kind() != right.kind()) return order(left, right) == 0;
  switch (left.kind()) {
    case Kind::none:
      return true;
    case Kind::integer:
      return left.asInteger() == right.asInteger();
    case Kind::text:
    case Kind::bytes:
      return left.asText() == right.asText();
    case Kind::object:
      return areSameObject(left, right);
    case Kind::list:
      return left.asList() == right.asList();
    case Kind::real:
    case Kind::date:
    case Kind::uuid:
    case Kind::many:
    case Kind::other:
      break;
  }
  return order(left, right) == 0;
}

std::weak_ordering sortOrder(const Operand& left, const Operand& right) noexcept {
  if (const auto ranks = sortRank(left) <=> sortRank(right); ranks != 0) return ranks;
  if (isNaN(left) || isNaN(right)) return isNaN(right) <=> isNaN(left);
  const std::partial_ordering result = order(left, right);
  if (result < 0) return std::weak_ordering::less;
  if (result > 0) return std::weak_ordering::greater;
  return std::weak_ordering::equivalent;
}

}  // namespace foundation
