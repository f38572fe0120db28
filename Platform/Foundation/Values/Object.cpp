#include "Foundation/Values/Object.h"

#include <array>
#include <cstdio>
#include <functional>
#include <typeinfo>

#include "Foundation/Values/Error.h"
#include "Foundation/Values/Internal/TypeName.h"

namespace foundation {

bool Object::retainIfAlive() const noexcept {
  std::uint32_t count = count_.load(std::memory_order_relaxed);
  while (count != 0) {
    if (count_.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) return true;
  }
  return false;
}

bool Object::isEqual(const Object& other) const noexcept { return this == &other; }

std::size_t Object::hash() const noexcept { return std::hash<const Object*>{}(this); }

std::string Object::description() const {
  std::array<char, 24> address{};
  std::snprintf(address.data(), address.size(), "%p", static_cast<const void*>(this));
  std::string text = "<";
  text.append(typeName(typeid(*this))).append(": ").append(address.data()).append(">");
  return text;
}

Value Object::valueForKey(std::string_view key) const {
  throw Error(std::string(kCocoaErrorDomain), kUnknownKeyErrorCode,
              typeName(typeid(*this)) + " has no property named \"" + std::string(key) + "\"");
}

void Object::lastReferenceDropped() const noexcept { delete this; }

}  // namespace foundation
