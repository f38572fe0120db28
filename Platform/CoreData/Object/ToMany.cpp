#include "CoreData/Object/ToMany.h"

#include <algorithm>

namespace coredata {

void ToMany::add(ObjectKey member) {
  const auto former = std::ranges::lower_bound(removed, member);
  if (former != removed.end() && *former == member) {
    removed.erase(former);
    return;
  }
  added.push_back(member);
}

void ToMany::remove(ObjectKey member) {
  // The latest additions are the likeliest to be taken back.
  const auto recent = std::ranges::find(added.rbegin(), added.rend(), member);
  if (recent != added.rend()) {
    added.erase(std::next(recent).base());
    return;
  }
  const auto place = std::ranges::lower_bound(removed, member);
  if (place == removed.end() || *place != member) removed.insert(place, member);
}

void ToMany::forget(ObjectKey member) noexcept {
  std::erase(added, member);
  std::erase(removed, member);
}

}  // namespace coredata
