#pragma once

#include <string_view>

#include "Foundation/Values/EnumError.h"

namespace domain {

/// Why a check-in was refused.
class CheckinError final : public foundation::EnumError<CheckinError> {
 public:
  enum class Case {
    alreadyExists,  ///< the day has a check-in
    notFound,       ///< the day has none
  };
  static constexpr std::string_view kTypeName = "CheckinError";
  static constexpr std::string_view kCaseNames[] = {"alreadyExists", "notFound"};

  [[nodiscard]] static CheckinError alreadyExists() { return CheckinError(Case::alreadyExists); }
  [[nodiscard]] static CheckinError notFound() { return CheckinError(Case::notFound); }

 private:
  using EnumError::EnumError;
};

}  // namespace domain
