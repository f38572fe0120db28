#pragma once

#include <gtest/gtest.h>

#include <future>

#include "Tests/Support/GardenStore.h"

namespace garden {

/// A store and a context to work in.
class Test : public testing::Test {
 protected:
  Store store;
  foundation::Ref<coredata::NSManagedObjectContext> context = store.newContext();

  /// How many objects of the class the store holds, as another context finds them.
  template <typename T>
  [[nodiscard]] std::size_t stored() const {
    const auto other = store.newContext();
    return other->performBlockAndWait([&] { return other->fetch(T::fetchRequest()).size(); });
  }
  /// The same object in another context.
  template <typename T>
  [[nodiscard]] static foundation::Ref<T> in(coredata::NSManagedObjectContext& other,
                                             const foundation::Ref<T>& object) {
    return coredata::properties::uncheckedCast<T>(other.objectWithID(*object->objectID()));
  }
  /// Waits until the context has merged what was saved so far.
  void settle() {
    std::promise<void> done;
    context->performBlock([&] { done.set_value(); });
    done.get_future().wait();
  }
};

}  // namespace garden
