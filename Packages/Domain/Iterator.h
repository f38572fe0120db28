#pragma once

#include <cstddef>
#include <optional>

#include "Foundation/Values/IndexPath.h"
#include "Foundation/Values/Object.h"

namespace domain {

/// A list in sections whose elements are made when they are looked at. This one is empty; whoever
/// has elements overrides all three.
///
/// Threading: belongs to the queue of whatever it reads from.
template <typename Element>
class Iterator : public foundation::Object {
 public:
  Iterator() = default;

  [[nodiscard]] virtual std::size_t numberOfSections() const { return 0; }
  [[nodiscard]] virtual std::size_t numberOfItems(std::size_t at) const {
    static_cast<void>(at);
    return 0;
  }
  [[nodiscard]] virtual std::optional<Element> operator[](const foundation::IndexPath& at) const {
    static_cast<void>(at);
    return std::nullopt;
  }

 protected:
  ~Iterator() override = default;
};

}  // namespace domain
