#include "Tools/storegen/SeededLinks.h"

#include <algorithm>
#include <string>

#include "Tools/storegen/Draw.h"

namespace storegen {

using coredata::NSRelationshipDescription;

namespace {

std::string fullName(const NSRelationshipDescription& relationship) {
  return relationship.entity()->name() + "." + relationship.name();
}

/// One name for both sides of a pair of to-ones.
std::string linkName(const NSRelationshipDescription& toOne) {
  const std::string name = fullName(toOne);
  return toOne.isOneToOne() ? std::min(name, fullName(*toOne.inverseRelationship())) : name;
}

}  // namespace

SeededLinks::SeededLinks(const NSRelationshipDescription& toOne, const SeededContent& content)
    : owners_(objectCount(*toOne.entity(), content)),
      targets_(objectCount(toOne.destinationEntity(), content)),
      stream_(streamOf(content.seed, linkName(toOne))),
      turn_(Draw(stream_, 0).below(std::max<std::size_t>(std::max(owners_, targets_), 1))),
      absentPercent_(toOne.isOptional() ? content.absentPercent : 0),
      isOneToOne_(toOne.isOneToOne()),
      isLarger_(owners_ > targets_ || (owners_ == targets_ && fullName(toOne) != linkName(toOne))) {
}

std::optional<std::size_t> SeededLinks::target(std::size_t position) const {
  if (targets_ == 0) return std::nullopt;
  return isOneToOne_ ? partner(position) : parent(position);
}

std::optional<std::size_t> SeededLinks::partner(std::size_t position) const {
  // Link n joins object n of the smaller side and one of the larger side, over which the links are
  // spread evenly.
  const std::size_t links = std::min(owners_, targets_);
  const std::size_t span = std::max(owners_, targets_);
  const auto inLarger = [&](std::size_t link) { return (link * span / links + turn_) % span; };
  if (!isLarger_) {
    return position >= links || isAbsent(position) ? std::nullopt
                                                   : std::optional(inLarger(position));
  }
  const std::size_t unturned = (position + span - turn_) % span;
  const std::size_t link = (unturned * links + span - 1) / span;
  const bool isJoined = link < links && inLarger(link) == position && !isAbsent(link);
  return isJoined ? std::optional(link) : std::nullopt;
}

std::optional<std::size_t> SeededLinks::parent(std::size_t position) const {
  if (isAbsent(position)) return std::nullopt;
  // Where there are few, two and two share one, so that some to-many sides have more members.
  const std::size_t first = owners_ >= targets_ ? (position + turn_) % targets_
                                                : Draw(stream_, position / 2).below(targets_);
  for (std::size_t i = 0; i < targets_; ++i) {
    const std::size_t target = (first + i) % targets_;
    if (!isChildless(target)) return target;
  }
  return std::nullopt;
}

bool SeededLinks::isChildless(std::size_t target) const {
  return Draw(stream_ + 1, target).happens(absentPercent_);
}

bool SeededLinks::isAbsent(std::size_t link) const {
  return link != 0 && Draw(~stream_, link).happens(absentPercent_);
}

}  // namespace storegen
