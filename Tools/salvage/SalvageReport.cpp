#include "Tools/salvage/SalvageReport.h"

#include <algorithm>
#include <numeric>

namespace salvage {

std::string_view text(LossReason reason) noexcept {
  switch (reason) {
    case LossReason::unreadableRow:
      return "rows that cannot be read";
    case LossReason::noKey:
      return "rows under keys that none has";
    case LossReason::repeatedKey:
      return "further rows under the same key";
    case LossReason::lostValue:
      return "lost with the page it was on";
    case LossReason::wrongKind:
      return "not of its kind";
    case LossReason::noDay:
      return "no day or month";
    case LossReason::mendedText:
      return "no UTF-8 in places, which were replaced";
    case LossReason::dangling:
      return "leads to a row that is not there";
    case LossReason::contradicted:
      return "leads to a row that belongs to another";
  }
  return {};
}

namespace {
std::int64_t sum(const std::vector<EntityReport>& entities, std::int64_t EntityReport::*what) {
  return std::transform_reduce(entities.begin(), entities.end(), std::int64_t{0}, std::plus(),
                               [&](const EntityReport& entity) { return entity.*what; });
}
}  // namespace

std::int64_t SalvageReport::found() const { return sum(entities, &EntityReport::found); }

std::int64_t SalvageReport::broughtBack() const {
  return sum(entities, &EntityReport::broughtBack);
}

int SalvageReport::percentage() const {
  constexpr int kAll = 100;
  const std::int64_t all = found();
  const int share = all == 0 ? kAll : static_cast<int>(broughtBack() * kAll / all);
  return std::min(share, isComplete() ? kAll : kAll - 1);
}

bool SalvageReport::isComplete() const {
  return unknownPages == 0 && std::ranges::none_of(entities, [](const EntityReport& entity) {
           return entity.lostPages > 0 || entity.isUnlisted;
         });
}

bool SalvageReport::isWhole() const {
  return hadSoundHeader && problem.empty() && unknownPages == 0 &&
         versionSource == VersionSource::metadata && !identifier.empty() &&
         std::ranges::all_of(entities, &EntityReport::isWhole);
}

}  // namespace salvage
