#include "Foundation/Values/NSURL.h"

#include <functional>

namespace foundation {

const URL* NSURL::in(const Value& value) noexcept {
  const auto* held = dynamic_cast<const NSURL*>(value.object());
  return held == nullptr ? nullptr : &held->url();
}

bool NSURL::isEqual(const Object& other) const noexcept {
  const auto* url = dynamic_cast<const NSURL*>(&other);
  return url != nullptr && url->url_ == url_;
}

std::size_t NSURL::hash() const noexcept { return std::hash<URL>{}(url_); }

std::string NSURL::description() const { return url_.description(); }

}  // namespace foundation
