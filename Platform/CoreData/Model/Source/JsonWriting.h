#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Values/Value.h"

namespace coredata {

/// A text in quotes, with escapes where JSON asks for them.
[[nodiscard]] std::string jsonText(std::string_view text);

/// A number or a text as JSON; everything else is null.
[[nodiscard]] std::string jsonConstant(const foundation::Value& value);

/// A list of texts on one line.
[[nodiscard]] std::string jsonList(const std::vector<std::string>& texts);

/// An object written member by member, on one line or with a line each.
class JsonObject {
 public:
  /// `indentation` stands before each member; an empty one keeps all on one line.
  explicit JsonObject(std::string indentation = {}) : indentation_(std::move(indentation)) {}

  /// The value is JSON already.
  void add(std::string_view member, const std::string& value);

  [[nodiscard]] bool empty() const noexcept { return members_.empty(); }
  [[nodiscard]] std::string text() const;

 private:
  std::string indentation_;
  std::string members_;
};

}  // namespace coredata
