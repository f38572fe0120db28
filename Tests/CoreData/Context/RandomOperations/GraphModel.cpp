#include "Tests/CoreData/Context/RandomOperations/GraphModel.h"

#include <stdexcept>

namespace graph {

const std::vector<Link>& linksOf(Kind kind) {
  static const std::vector<Link> plant{{"bed", Kind::bed, false, "", false, true},
                                       {"label", Kind::label, true, "plant", true, false}};
  static const std::vector<Link> label{{"plant", Kind::plant, true, "label", false, false}};
  static const std::vector<Link> tool{{"bed", Kind::bed, false, "", false, false}};
  static const std::vector<Link> none;
  switch (kind) {
    case Kind::plant:
      return plant;
    case Kind::label:
      return label;
    case Kind::tool:
      return tool;
    case Kind::bed:
      return none;
  }
  return none;
}

const Link& linkOf(Kind kind, const std::string& name) {
  for (const Link& link : linksOf(kind)) {
    if (link.name == name) return link;
  }
  throw std::out_of_range(name);
}

std::set<Id> membersOf(const Graph& graph, Kind kind, const std::string& link, Id target) {
  std::set<Id> result;
  for (const auto& [id, record] : graph) {
    if (record.kind == kind && record.links.at(link) == target) result.insert(id);
  }
  return result;
}

void eraseFrom(Graph& graph, const std::set<Id>& condemned) {
  std::vector<Id> left(condemned.begin(), condemned.end());
  while (!left.empty()) {
    const Id id = left.back();
    left.pop_back();
    const auto found = graph.find(id);
    if (found == graph.end()) continue;
    const Record gone = found->second;
    graph.erase(found);
    for (const Link& link : linksOf(gone.kind)) {
      if (link.deletesTarget && gone.links.at(link.name) != 0)
        left.push_back(gone.links.at(link.name));
    }
    for (auto& [other, record] : graph) {
      for (const Link& link : linksOf(record.kind)) {
        Id& target = record.links.at(link.name);
        if (target != id) continue;
        if (link.dependsOnTarget) {
          left.push_back(other);
        } else {
          target = 0;
        }
      }
    }
  }
}

void Scratch::mark(Id id) {
  if (id != 0 && !inserted_.contains(id)) marked_.insert(id);
}

void Scratch::mayMark(Id id) {
  if (id != 0) perhapsMarked_.insert(id);
}

void Scratch::mayMarkPair(Id id, Id target) {
  mayMark(id);
  mayMark(target);
}

bool Scratch::isChanged(Id id) const {
  const auto before = base_.find(id);
  const auto now = current_.find(id);
  return before != base_.end() && now != current_.end() && !before->second.sameContent(now->second);
}

std::set<Id> Scratch::surelyUpdated() const {
  std::set<Id> result = marked_;
  for (const auto& [id, record] : current_) {
    if (isChanged(id)) result.insert(id);
  }
  std::erase_if(result, [&](Id id) { return inserted_.contains(id) || !current_.contains(id); });
  return result;
}

std::set<Id> Scratch::perhapsUpdated() const {
  std::set<Id> result = surelyUpdated();
  for (const Id id : perhapsMarked_) {
    if (!inserted_.contains(id) && current_.contains(id)) result.insert(id);
  }
  return result;
}

void Scratch::insert(Id id, Record record) {
  current_.emplace(id, std::move(record));
  inserted_.insert(id);
}

void Scratch::set(Id id, const std::string& attribute, const std::string& value) {
  current_.at(id).values.at(attribute) = value;
  mark(id);
}

void Scratch::relate(Id id, const std::string& name, Id target) {
  const Link& link = linkOf(current_.at(id).kind, name);
  Id& now = current_.at(id).links.at(name);
  if (now == target) {
    mayMarkPair(id, target);
    return;
  }
  mark(id);
  mark(now);
  mark(target);
  if (link.isOneToOne) {
    relateOne(id, link, target);
  } else {
    now = target;
  }
}

void Scratch::relateOne(Id id, const Link& link, Id target) {
  Id& mine = current_.at(id).links.at(link.name);
  if (mine != 0) current_.at(mine).links.at(link.inverse) = 0;
  mine = target;
  if (target == 0) return;
  Id& theirs = current_.at(target).links.at(link.inverse);
  if (theirs != 0) {
    mark(theirs);
    current_.at(theirs).links.at(link.name) = 0;
  }
  theirs = id;
}

void Scratch::erase(Id id) {
  Graph after = current_;
  eraseFrom(after, {id});
  for (const auto& [gone, record] : current_) {
    if (after.contains(gone)) continue;
    if (!inserted_.erase(gone)) deleted_.insert(gone);
    for (const auto& [name, target] : record.links) mayMark(target);
  }
  current_ = std::move(after);
}

void Scratch::rollback(const Graph& store) { *this = Scratch(store); }

bool Scratch::hasSameRelationshipsAsStored(Id id) const {
  if (inserted_.contains(id) || base_.at(id).links != current_.at(id).links) return false;
  for (const Kind kind : {Kind::plant, Kind::label, Kind::tool}) {
    for (const Link& link : linksOf(kind)) {
      if (membersOf(base_, kind, link.name, id) != membersOf(current_, kind, link.name, id))
        return false;
    }
  }
  return true;
}

void Scratch::dropValues(Id id) {
  current_.at(id).values = base_.at(id).values;
  marked_.erase(id);
  perhapsMarked_.insert(id);
}

bool Scratch::changedHere(const Graph& mine, Id id, const std::string& link) const {
  const auto now = mine.find(id);
  if (now == mine.end()) return false;
  const auto before = base_.find(id);
  return before == base_.end() || before->second.links.at(link) != now->second.links.at(link);
}

Graph Scratch::withoutLinksToGone(const Graph& store) const {
  Graph result = current_;
  for (auto& [id, record] : result) {
    for (auto& [name, target] : record.links) {
      const bool isGone = !store.contains(target) && !inserted_.contains(target);
      if (isGone && changedHere(current_, id, name)) target = 0;
    }
  }
  return result;
}

Graph Scratch::onTopOf(const Graph& store) const {
  Graph result = store;
  const Graph mine = withoutLinksToGone(store);
  for (const auto& [id, record] : mine) {
    if (inserted_.contains(id)) {
      result.emplace(id, record);
      continue;
    }
    const auto fresh = result.find(id);
    if (fresh == result.end()) continue;
    const Record& before = base_.at(id);
    for (const auto& [name, value] : record.values) {
      if (before.values.at(name) != value) fresh->second.values.at(name) = value;
    }
    for (const auto& [name, target] : record.links) {
      if (before.links.at(name) != target) fresh->second.links.at(name) = target;
    }
  }
  for (auto& [id, record] : result) {
    for (auto& [name, target] : record.links) {
      if (!result.contains(target)) target = 0;
    }
  }
  settleOneToOnes(result, mine);
  return result;
}

void Scratch::settleOneToOnes(Graph& graph, const Graph& mine) const {
  for (auto& [id, record] : graph) {
    for (const Link& link : linksOf(record.kind)) {
      Id& target = record.links.at(link.name);
      if (!link.isOneToOne || target == 0) continue;
      if (graph.at(target).links.at(link.inverse) == id) continue;
      if (!changedHere(mine, id, link.name)) target = 0;
    }
  }
}

void Scratch::rebase(const Graph& store) {
  perhapsMarked_ = perhapsUpdated();
  marked_.clear();
  Graph fresh = onTopOf(store);
  std::erase_if(deleted_, [&](Id id) { return !store.contains(id); });
  unsettled_ = reachesIntoDeleted(fresh);
  if (unsettled_) {
    // What the deletion means for the others' records is settled by the save.
    std::erase_if(fresh, [&](const auto& one) { return deleted_.contains(one.first); });
  } else {
    eraseFrom(fresh, deleted_);
  }
  base_ = store;
  current_ = std::move(fresh);
  stale_ = false;
  for (const auto& [id, record] : current_) {
    if (inserted_.contains(id)) continue;
    for (const auto& [name, target] : record.links) {
      if (changedHere(current_, id, name)) mayMarkPair(base_.at(id).links.at(name), target);
    }
  }
  for (const Id id : deleted_) {
    for (const auto& [name, target] : base_.at(id).links) mayMark(target);
  }
}

bool Scratch::reachesIntoDeleted(const Graph& graph) const {
  for (const auto& [id, record] : graph) {
    for (const Link& link : linksOf(record.kind)) {
      const Id target = record.links.at(link.name);
      if (target == 0 || deleted_.contains(id) == deleted_.contains(target)) continue;
      if (deleted_.contains(target) || link.deletesTarget) return true;
    }
  }
  return false;
}

bool Scratch::hasChangesToWrite() const {
  if (!inserted_.empty() || !deleted_.empty()) return true;
  for (const auto& [id, record] : current_) {
    if (isChanged(id)) return true;
  }
  return false;
}

bool Scratch::conflictsWith(const Graph& store) const {
  const auto changedElsewhere = [&](Id id) {
    const auto found = store.find(id);
    return found == store.end() || found->second.version != base_.at(id).version;
  };
  for (const Id id : deleted_) {
    if (changedElsewhere(id)) return true;
  }
  for (const auto& [id, record] : current_) {
    if (isChanged(id) && changedElsewhere(id)) return true;
    for (const auto& [name, target] : record.links) {
      if (target != 0 && changedHere(current_, id, name) && !inserted_.contains(target) &&
          !store.contains(target)) {
        return true;
      }
    }
  }
  for (const auto& [id, record] : onTopOf(store)) {
    if (deleted_.contains(id)) continue;
    for (const auto& [name, target] : record.links) {
      if (deleted_.contains(target)) return true;
    }
  }
  return false;
}

SaveOutcome Scratch::save(Graph& store, bool changesHereWin) {
  for (const auto& [id, record] : current_) {
    if (record.kind == Kind::tool && record.values.at("name") == "-" &&
        (inserted_.contains(id) || isChanged(id))) {
      return SaveOutcome::invalid;
    }
  }
  if (hasChangesToWrite()) {
    if (!changesHereWin && conflictsWith(store)) return SaveOutcome::conflict;
    Graph saved = onTopOf(store);
    eraseFrom(saved, deleted_);
    for (auto& [id, record] : saved) {
      const auto before = store.find(id);
      record.version = before == store.end() ? 1 : before->second.version;
      if (before != store.end() && !record.sameContent(before->second)) ++record.version;
    }
    store = std::move(saved);
  }
  const bool wasStale = stale_;
  *this = Scratch(store);
  stale_ = wasStale;
  return SaveOutcome::saved;
}

}  // namespace graph
