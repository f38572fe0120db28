#pragma once

#include <string_view>

#include "Foundation/Values/EnumError.h"

namespace domain {

/// Why a photo was refused.
class PhotoError final : public foundation::EnumError<PhotoError> {
 public:
  enum class Case {
    notFound,  ///< its identifier does not lead to a stored photo
  };
  static constexpr std::string_view kTypeName = "PhotoError";
  static constexpr std::string_view kCaseNames[] = {"notFound"};

  [[nodiscard]] static PhotoError notFound() { return PhotoError(Case::notFound); }

 private:
  using EnumError::EnumError;
};

}  // namespace domain
