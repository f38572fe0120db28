#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "Foundation/Values/Error.h"
#include "Foundation/Values/Value.h"

namespace foundation::testing {

/// An object whose properties a test sets by name; a key that was never set is unknown.
class TestObject : public Object {
 public:
  explicit TestObject(ValueDictionary properties) : properties_(std::move(properties)) {}

  [[nodiscard]] Value valueForKey(std::string_view key) const override {
    const auto found = properties_.find(key);
    if (found == properties_.end()) {
      throw Error(std::string(kCocoaErrorDomain), 1, "no key " + std::string(key));
    }
    return found->second;
  }

 private:
  ValueDictionary properties_;
};

[[nodiscard]] inline Ref<TestObject> object(ValueDictionary properties) {
  return make<TestObject>(std::move(properties));
}

}  // namespace foundation::testing
