#include "CoreData/Results/ListChanges.h"
#include "Foundation/Internal/HashTables.h"

#include <algorithm>
#include <limits>

namespace coredata {

using enum NSFetchedResultsChangeType;

namespace {

using Sections = std::vector<NSFetchedResultsSectionInfo>;
constexpr std::size_t kNowhere = std::numeric_limits<std::size_t>::max();

/// Compares two lists of the same request.
class Comparison {
 public:
  Comparison(const SectionedList& before, const SectionedList& after, const ChangedObjects& changed)
      : before_(before), after_(after), changed_(changed) {
    const auto& identifiers = before.identifiers();
    oldPositions_.makeRoomFor(identifiers.size());
    for (std::size_t i = 0; i < identifiers.size(); ++i) {
      oldPositions_.emplace(identifiers[i].get(), i);
    }
    for (const auto& identifier : after.identifiers()) {
      const auto found = oldPositions_.find(identifier.get());
      origins_.push_back(found == oldPositions_.end() ? kNowhere : found->second);
    }
    keepPlaces();
  }

  [[nodiscard]] ListChanges changes() const {
    ListChanges result;
    onlyIn(before_.sections(), after_.sections(), delete_, result);
    onlyIn(after_.sections(), before_.sections(), insert, result);
    addDeletions(result);
    for (const auto type : {insert, move, update}) addArrivals(type, result);
    return result;
  }

 private:
  /// Finds the objects of both lists that stayed where they were: first those that nobody changed,
  /// since it is the changed ones that move, then the changed ones that still lie between them.
  void keepPlaces() {
    stays_.resize(origins_.size());
    keepPlaces([&](std::size_t i) { return !isChanged(i); });
    keepPlaces([&](std::size_t i) { return isChanged(i); });
  }
  template <typename Chosen>
  void keepPlaces(Chosen isChosen) {
    // Where the next object that stays already comes from.
    std::vector<std::size_t> limits(origins_.size(), kNowhere);
    for (std::size_t i = origins_.size(); i-- > 1;) {
      limits[i - 1] = stays_[i] ? origins_[i] : limits[i];
    }
    std::size_t least = 0;
    for (std::size_t i = 0; i < origins_.size(); ++i) {
      const std::size_t origin = origins_[i];
      if (origin == kNowhere) continue;
      if (!stays_[i]) {
        stays_[i] = isChosen(i) && origin >= least && origin < limits[i] && keepsSection(i);
      }
      if (stays_[i]) least = origin + 1;
    }
  }
  [[nodiscard]] bool isChanged(std::size_t i) const {
    return changed_.contains(after_.identifiers()[i].get());
  }
  [[nodiscard]] bool keepsSection(std::size_t i) const {
    const auto& old = before_.sections()[before_.indexPath(origins_[i]).section];
    return old.name == after_.sections()[after_.indexPath(i).section].name;
  }

  static void onlyIn(const Sections& these, const Sections& those, NSFetchedResultsChangeType type,
                     ListChanges& result) {
    foundation::HashSet<std::string_view> others;
    for (const auto& section : those) others.insert(section.name);
    for (std::size_t i = 0; i < these.size(); ++i) {
      if (!others.contains(these[i].name)) result.sections.push_back({type, these[i], i});
    }
  }
  void addDeletions(ListChanges& result) const {
    std::vector<bool> isLeft(before_.identifiers().size());
    for (const std::size_t origin : origins_) {
      if (origin != kNowhere) isLeft[origin] = true;
    }
    for (std::size_t i = 0; i < isLeft.size(); ++i) {
      if (isLeft[i]) continue;
      result.objects.push_back(
          {delete_, before_.identifiers()[i], before_.indexPath(i), std::nullopt});
    }
  }
  [[nodiscard]] std::optional<NSFetchedResultsChangeType> typeOf(std::size_t i) const {
    if (origins_[i] == kNowhere) return insert;
    if (!stays_[i]) return move;
    if (isChanged(i)) return update;
    return std::nullopt;
  }
  void addArrivals(NSFetchedResultsChangeType type, ListChanges& result) const {
    for (std::size_t i = 0; i < origins_.size(); ++i) {
      if (typeOf(i) != type) continue;
      std::optional<foundation::IndexPath> from;
      if (type != insert) from = before_.indexPath(origins_[i]);
      result.objects.push_back({type, after_.identifiers()[i], from, after_.indexPath(i)});
    }
  }

  const SectionedList& before_;
  const SectionedList& after_;
  const ChangedObjects& changed_;
  foundation::HashMap<const NSManagedObjectID*, std::size_t> oldPositions_;
  /// Where each object of the new list was in the old one.
  std::vector<std::size_t> origins_;
  std::vector<bool> stays_;
};

}  // namespace

ListChanges changesBetween(const SectionedList& before, const SectionedList& after,
                           const ChangedObjects& changed) {
  return Comparison(before, after, changed).changes();
}

}  // namespace coredata
