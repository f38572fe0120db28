#include "CoreDataStack/History/AppTarget.h"

#include <algorithm>

namespace coredatastack {

namespace {
constexpr AppTarget kAllCases[] = {AppTarget::app, AppTarget::shareExtension};
}  // namespace

std::span<const AppTarget> AppTarget::allCases() noexcept { return kAllCases; }

std::optional<AppTarget> AppTarget::withRawValue(std::string_view rawValue) noexcept {
  const auto* const found = std::ranges::find(kAllCases, rawValue, &AppTarget::rawValue);
  return found == std::end(kAllCases) ? std::nullopt : std::optional(*found);
}

}  // namespace coredatastack
