#pragma once

#include <string>

#include "Tools/storecheck/StoreCheck.h"

namespace storeinspect {

/// What is asked about a store. Its version and identifier are told in any case.
struct Questions {
  bool metadata = false;
  bool rows = false;
  bool history = false;
  bool sizes = false;
  bool hash = false;
  bool check = false;
};

/// As text for people, without the newline at its end.
[[nodiscard]] std::string text(const storecheck::Report& report, const Questions& questions);
/// The same as JSON. Points in time are texts, and seconds since the reference date beside them.
[[nodiscard]] std::string json(const storecheck::Report& report, const Questions& questions);

}  // namespace storeinspect
