#include "Tools/salvage/LinkMending.h"

#include <algorithm>

namespace salvage {

using coredata::kNoObject;
using coredata::NSEntityDescription;
using coredata::NSRelationshipDescription;
using coredata::ObjectKey;
using coredata::SlotIndex;

namespace {

FoundRows& rowsOf(std::span<FoundRows> entities, const NSEntityDescription& entity) {
  return *std::ranges::find(entities, &entity,
                            [](const FoundRows& rows) { return &rows.entity(); });
}

/// One end of a relationship: a column of rows that lead to other rows.
class End {
 public:
  End(FoundRows& rows, const NSRelationshipDescription& toOne)
      : rows_(rows), name_(toOne.name()), number_(rows.toOneNumber(toOne.slot())) {}

  [[nodiscard]] std::size_t count() const { return rows_.places().size(); }
  [[nodiscard]] ObjectKey key(std::size_t row) const { return rows_.places()[row].key; }
  [[nodiscard]] std::size_t find(ObjectKey key) const { return rows_.find(key); }
  [[nodiscard]] ObjectKey target(std::size_t row) const { return rows_.target(row, number_); }
  void lead(std::size_t row, ObjectKey target) { rows_.target(row, number_) = target; }
  void clear(std::size_t row, LossReason reason) {
    lead(row, kNoObject);
    rows_.report.lose(name_, reason);
  }

 private:
  FoundRows& rows_;
  const std::string& name_;
  std::size_t number_;
};

/// The two ends of a one-to-one relationship, of which nothing dangles.
class Pairing {
 public:
  Pairing(End one, End other)
      : one_(one), other_(other), isPaired_(one.count()), isOtherPaired_(other.count()) {}

  void settle() {
    pairThoseThatAgree();
    // Of several that lead to one row, the first keeps it.
    completeFrom(one_, isPaired_, other_, isOtherPaired_);
    completeFrom(other_, isOtherPaired_, one_, isPaired_);
    clearRest(one_, isPaired_);
    clearRest(other_, isOtherPaired_);
  }

 private:
  using Paired = std::vector<bool>;

  void pairThoseThatAgree() {
    for (std::size_t i = 0; i < one_.count(); ++i) {
      if (one_.target(i) == kNoObject) continue;
      const std::size_t partner = other_.find(one_.target(i));
      if (other_.target(partner) != one_.key(i)) continue;
      isPaired_[i] = true;
      isOtherPaired_[partner] = true;
    }
  }

  static void completeFrom(const End& from, Paired& isPaired, End& to, Paired& isToPaired) {
    for (std::size_t i = 0; i < from.count(); ++i) {
      if (isPaired[i] || from.target(i) == kNoObject) continue;
      const std::size_t partner = to.find(from.target(i));
      // One that leads elsewhere may still be wanted there.
      if (isToPaired[partner] || to.target(partner) != kNoObject) continue;
      to.lead(partner, from.key(i));
      isPaired[i] = true;
      isToPaired[partner] = true;
    }
  }

  static void clearRest(End& end, const Paired& isPaired) {
    for (std::size_t i = 0; i < end.count(); ++i) {
      if (!isPaired[i] && end.target(i) != kNoObject) end.clear(i, LossReason::contradicted);
    }
  }

  End one_;
  End other_;
  Paired isPaired_;
  Paired isOtherPaired_;
};

template <typename Visit>
void forEachToOne(std::span<FoundRows> entities, Visit&& visit) {
  for (FoundRows& rows : entities) {
    for (const SlotIndex slot : rows.entity().toOneSlots()) {
      const NSRelationshipDescription& toOne = *rows.entity().slots()[slot].relationship;
      visit(rows, toOne, rowsOf(entities, toOne.destinationEntity()));
    }
  }
}

/// Each pair of ends comes up twice.
bool isFirstEnd(const NSRelationshipDescription& toOne) {
  const NSRelationshipDescription& back = *toOne.inverseRelationship();
  return std::pair(toOne.entity()->index(), toOne.slot()) <
         std::pair(back.entity()->index(), back.slot());
}

}  // namespace

void mendLinks(std::span<FoundRows> entities) {
  forEachToOne(entities,
               [](FoundRows& rows, const NSRelationshipDescription& toOne, FoundRows& destination) {
                 End end(rows, toOne);
                 for (std::size_t i = 0; i < end.count(); ++i) {
                   if (end.target(i) != kNoObject &&
                       destination.find(end.target(i)) == destination.places().size())
                     end.clear(i, LossReason::dangling);
                 }
               });
  forEachToOne(entities,
               [](FoundRows& rows, const NSRelationshipDescription& toOne, FoundRows& destination) {
                 if (!toOne.isOneToOne() || !isFirstEnd(toOne)) return;
                 Pairing(End(rows, toOne), End(destination, *toOne.inverseRelationship())).settle();
               });
}

}  // namespace salvage
