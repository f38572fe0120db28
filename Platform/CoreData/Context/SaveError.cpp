#include "CoreData/Context/SaveError.h"

namespace coredata {

using foundation::Error;

Error missingValueError(std::string_view property, std::string_view object) {
  std::string message = "\"";
  message.append(property).append("\" of ").append(object).append(" must have a value.");
  return saveError(SaveErrorCode::missingMandatoryProperty, std::move(message));
}

void throwSaveErrors(const std::vector<Error>& errors) {
  if (errors.size() == 1) throw Error(errors.front());
  foundation::ValueList details;
  for (const Error& error : errors) details.emplace_back(error.message());
  throw saveError(
      SaveErrorCode::severalErrors,
      errors.front().message() + " There are " + std::to_string(errors.size() - 1) + " more.",
      {{std::string(NSDetailedErrorsKey), std::move(details)}});
}

}  // namespace coredata
