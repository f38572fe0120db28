#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "Foundation/Values/Object.h"
#include "Foundation/Values/URL.h"
#include "Foundation/Values/Value.h"

namespace foundation {

/// A URL where an object is wanted: as a `Value`, so as an attribute of an item or in a dictionary.
///
/// Threading: immutable; use it on any thread.
class NSURL final : public Object {
 public:
  explicit NSURL(URL url) noexcept : url_(std::move(url)) {}

  /// The URL that a value holds, valid as long as the value; null for a value of another kind.
  [[nodiscard]] static const URL* in(const Value& value) noexcept;

  [[nodiscard]] const URL& url() const noexcept { return url_; }

  [[nodiscard]] bool isEqual(const Object& other) const noexcept override;
  [[nodiscard]] std::size_t hash() const noexcept override;
  /// The URL's text.
  [[nodiscard]] std::string description() const override;

 private:
  URL url_;
};

}  // namespace foundation
