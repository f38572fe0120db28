#include "Tools/storecheck/LinkCheck.h"

#include <fmt/format.h>

#include <algorithm>

#include "Tools/storecheck/ValueCheck.h"

namespace storecheck {

using coredata::kNoObject;
using coredata::NSDeleteRule;
using coredata::NSEntityDescription;
using coredata::NSRelationshipDescription;
using coredata::ObjectKey;
using coredata::SlotIndex;
using coredata::StoredRow;
using coredata::StoredValue;

namespace {
/// Where a column leads that holds something else than a key.
constexpr ObjectKey kNowhereKnown = -1;

ObjectKey targetOf(const StoredValue& value) {
  if (value.kind == StoredValue::Kind::absent) return kNoObject;
  const bool isKey = value.kind == StoredValue::Kind::integer && value.integer > 0;
  return isKey ? value.integer : kNowhereKnown;
}
}  // namespace

LinkCheck::LinkCheck(const coredata::NSManagedObjectModel& model)
    : model_(model), tables_(model.entities().size()) {
  for (const NSEntityDescription* entity : model.entities())
    tables_[entity->index()].targets.resize(entity->slots().size());
}

void LinkCheck::add(const NSEntityDescription& entity, StoredRow row) {
  Table& own = tables_[entity.index()];
  own.keys.push_back(keyOf(row));
  for (const SlotIndex slot : entity.toOneSlots())
    own.targets[slot].push_back(targetOf(row[kFirstSlot + slot]));
}

void LinkCheck::giveUp(const NSEntityDescription& entity) {
  tables_[entity.index()].isWhole = false;
}

bool LinkCheck::contains(const NSEntityDescription& entity, ObjectKey key) const {
  return std::ranges::binary_search(table(entity).keys, key);
}

ObjectKey LinkCheck::highestKey(const NSEntityDescription& entity) const {
  const auto& keys = table(entity).keys;
  return keys.empty() ? kNoObject : std::max(keys.back(), kNoObject);
}

std::size_t LinkCheck::count(const NSEntityDescription& entity) const {
  return table(entity).keys.size();
}

bool LinkCheck::isWhole(const NSEntityDescription& entity) const { return table(entity).isWhole; }

/// A to-one of an entity, with what leads where.
class LinkCheck::Relationship {
 public:
  Relationship(const LinkCheck& store, const NSEntityDescription& entity, SlotIndex slot,
               Findings& findings)
      : findings_(findings),
        entity_(entity),
        relationship_(*entity.slots()[slot].relationship),
        keys_(store.table(entity).keys),
        targets_(store.table(entity).targets[slot]),
        destination_(store.table(relationship_.destinationEntity())),
        inverse_(relationship_.inverseRelationship()) {}

  void check() const {
    // Both sides must be known: a row that could not be read may be what is looked for.
    if (!destination_.isWhole) return;
    checkTargets();
    if (relationship_.isOneToOne()) checkWayBack();
  }

  /// That each row has one, if it is the way to the row's owner.
  void checkOwners() const {
    if (inverse_ == nullptr || inverse_->deleteRule() != NSDeleteRule::cascade) return;
    if (!destination_.isWhole) return;
    std::vector<ObjectKey> owned;
    if (relationship_.isOneToOne()) owned = destination_.targets[inverse_->slot()];
    std::ranges::sort(owned);
    for (std::size_t i = 0; i < keys_.size(); ++i) {
      // Whom somebody leads to has an owner that it does not know of; that was said already.
      if (targets_[i] != kNoObject || std::ranges::binary_search(owned, keys_[i])) continue;
      findings_.warning(
          FindingKind::orphan, entity_.name(), keys_[i],
          fmt::format("It is part of no {}.", relationship_.destinationEntity().name()));
    }
  }

 private:
  struct Link {
    ObjectKey target;
    ObjectKey from;
    friend auto operator<=>(const Link&, const Link&) = default;
  };

  [[nodiscard]] bool leads(std::size_t row) const {
    return targets_[row] > kNoObject &&
           std::ranges::binary_search(destination_.keys, targets_[row]);
  }

  void checkTargets() const {
    // Whether anything clears this column when the row that it leads to is deleted.
    const bool isKept = inverse_ != nullptr && inverse_->deleteRule() != NSDeleteRule::noAction;
    for (std::size_t i = 0; i < keys_.size(); ++i) {
      if (targets_[i] <= kNoObject || leads(i)) continue;
      const std::string text =
          fmt::format("Its \"{}\" leads to {} {}, which is not there.", relationship_.name(),
                      relationship_.destinationEntity().name(), targets_[i]);
      if (isKept) {
        findings_.error(FindingKind::dangling, entity_.name(), keys_[i], text);
      } else {
        findings_.warning(FindingKind::dangling, entity_.name(), keys_[i], text);
      }
    }
  }

  void checkWayBack() const {
    std::vector<Link> links;
    for (std::size_t i = 0; i < keys_.size(); ++i) {
      if (leads(i)) links.push_back({targets_[i], keys_[i]});
    }
    std::ranges::sort(links);
    for (auto first = links.begin(); first != links.end();) {
      const auto last = std::find_if(
          first, links.end(), [&](const Link& link) { return link.target != first->target; });
      if (last - first > 1) {
        reportShared({first, last});
      } else {
        checkWayBack(*first);
      }
      first = last;
    }
  }

  void reportShared(std::span<const Link> links) const {
    const auto shown = std::min<std::size_t>(links.size(), kMostShown);
    std::string owners;
    for (const Link& link : links.first(shown)) owners += fmt::format(" {}", link.from);
    if (shown < links.size()) owners += " ...";
    findings_.error(FindingKind::sharedPart, relationship_.destinationEntity().name(),
                    links.front().target,
                    fmt::format("It is the \"{}\" of {} rows of {}, and can be that of one:{}.",
                                relationship_.name(), links.size(), entity_.name(), owners));
  }

  void checkWayBack(const Link& link) const {
    const auto place = std::ranges::lower_bound(destination_.keys, link.target);
    const auto row = static_cast<std::size_t>(place - destination_.keys.begin());
    const ObjectKey back = destination_.targets[inverse_->slot()][row];
    if (back == link.from || back == kNowhereKnown) return;
    const std::string whither =
        back == kNoObject ? "nowhere" : fmt::format("to {} {}", entity_.name(), back);
    findings_.error(FindingKind::disagreement, entity_.name(), link.from,
                    fmt::format("Its \"{}\" leads to {} {}, whose \"{}\" leads {}.",
                                relationship_.name(), relationship_.destinationEntity().name(),
                                link.target, inverse_->name(), whither));
  }

  static constexpr std::size_t kMostShown = 5;

  Findings& findings_;
  const NSEntityDescription& entity_;
  const NSRelationshipDescription& relationship_;
  const std::vector<ObjectKey>& keys_;
  const std::vector<ObjectKey>& targets_;
  const Table& destination_;
  const NSRelationshipDescription* inverse_;
};

void LinkCheck::check(Findings& findings) const {
  for (const NSEntityDescription* entity : model_.entities()) {
    for (const SlotIndex slot : entity->toOneSlots()) {
      const Relationship relationship(*this, *entity, slot, findings);
      relationship.check();
      relationship.checkOwners();
    }
  }
}

}  // namespace storecheck
