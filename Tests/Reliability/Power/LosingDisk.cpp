#include "Tests/Reliability/Power/LosingDisk.h"

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>

namespace power {

using support::below;
using Kind = DiskOperation::Kind;

namespace {

/// A path's directory, empty for none, and its last name.
std::pair<std::string, std::string> split(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {"", path};
  return {path.substr(0, slash), path.substr(slash + 1)};
}

}  // namespace

LosingDisk::LosingDisk(const support::Files& before) {
  makeNode(true);
  for (const auto& [path, bytes] : before) {
    const NodeNumber directory = makeDirectoriesOf(split(path).first);
    const NodeNumber file = makeNode(false);
    nodes_[file].content = LosingFile(bytes);
    nodes_[directory].entries.emplace(split(path).second, file);
  }
  for (NodeNumber node = 0; node < nodes_.size(); ++node) {
    if (nodes_[node].isDirectory) synced_[node] = nodes_[node].entries;
  }
}

LosingDisk::NodeNumber LosingDisk::makeNode(bool isDirectory) {
  nodes_.push_back({isDirectory, {}, {}});
  return nodes_.size() - 1;
}

LosingDisk::NodeNumber LosingDisk::makeDirectoriesOf(const std::string& path) {
  if (path.empty()) return 0;
  const auto [above, name] = split(path);
  const NodeNumber directory = makeDirectoriesOf(above);
  if (const auto found = nodes_[directory].entries.find(name);
      found != nodes_[directory].entries.end()) {
    return found->second;
  }
  const NodeNumber made = makeNode(true);
  nodes_[directory].entries.emplace(name, made);
  return made;
}

std::optional<LosingDisk::NodeNumber> LosingDisk::find(const std::string& path) const {
  if (path.empty()) return 0;
  const auto [directory, name] = placeOf(path);
  const auto found = nodes_[directory].entries.find(name);
  if (found == nodes_[directory].entries.end()) return std::nullopt;
  return found->second;
}

LosingDisk::NodeNumber LosingDisk::nodeOf(const std::string& path) const {
  if (const auto found = find(path)) return *found;
  throw std::logic_error("the record has nothing at " + path);
}

LosingDisk::Place LosingDisk::placeOf(const std::string& path) const {
  const auto [above, name] = split(path);
  return {nodeOf(above), name};
}

void LosingDisk::change(EntryChange change) {
  if (change.to) nodes_[change.to->directory].entries[change.to->name] = change.node;
  if (change.from) nodes_[change.from->directory].entries.erase(change.from->name);
  changes_.push_back(std::move(change));
}

void LosingDisk::change(LosingFile& file, const DiskOperation& operation) {
  if (operation.kind == Kind::write) return file.write(operation.number, operation.bytes);
  if (operation.kind == Kind::truncate) return file.truncate(operation.number);
  file.sync();
}

void LosingDisk::apply(const DiskOperation& operation) {
  switch (operation.kind) {
    case Kind::create:
      return change({placeOf(operation.path), {}, makeNode(false)});
    case Kind::makeDirectory:
      return change({placeOf(operation.path), {}, makeNode(true)});
    case Kind::rename:
      return change({placeOf(operation.bytes), placeOf(operation.path), nodeOf(operation.path)});
    case Kind::unlink:
    case Kind::removeDirectory:
      return change({{}, placeOf(operation.path), nodeOf(operation.path)});
    case Kind::write:
    case Kind::truncate:
    case Kind::sync:
      // What is open and has no name any more is nobody's loss.
      if (const auto file = find(operation.path)) change(nodes_[*file].content, operation);
      return;
    case Kind::syncDirectory:
      return syncDirectory(nodeOf(operation.path));
    case Kind::mark:
      return;
  }
}

void LosingDisk::make(const EntryChange& change, Names& names) {
  names[change.to->directory][change.to->name] = change.node;
}

void LosingDisk::remove(const EntryChange& change, Names& names) {
  Entries& entries = names[change.from->directory];
  const auto found = entries.find(change.from->name);
  // Where an earlier change was lost something else may have the name.
  if (found != entries.end() && found->second == change.node) entries.erase(found);
}

void LosingDisk::syncDirectory(NodeNumber directory) {
  const auto isOf = [&](const std::optional<Place>& place) {
    return place && place->directory == directory;
  };
  std::vector<EntryChange> later;
  for (EntryChange& change : changes_) {
    const bool makes = isOf(change.to);
    const bool removes = isOf(change.from);
    // The other directory of a renaming: a name that is gone from here is there.
    if (change.to && (makes || removes)) make(change, synced_);
    if (removes) remove(change, synced_);
    if (makes || removes) change.to.reset();
    if (removes) change.from.reset();
    if (change.to || change.from) later.push_back(std::move(change));
  }
  changes_ = std::move(later);
}

bool LosingDisk::isSynced() const {
  return changes_.empty() &&
         std::ranges::all_of(nodes_, [](const Node& node) { return node.content.isSynced(); });
}

bool LosingDisk::isReachable(NodeNumber directory, const Names& names) {
  if (directory == 0) return true;
  return std::ranges::any_of(names, [&](const auto& named) {
    const bool holds = std::ranges::any_of(
        named.second, [&](const auto& entry) { return entry.second == directory; });
    return holds && isReachable(named.first, names);
  });
}

LosingDisk::Names LosingDisk::namesAfterLoss(Chance& chance) const {
  Names names = synced_;
  const bool hasJournal = below(chance, 2) == 0;
  const auto keptInOrder = below(chance, changes_.size() + 1);
  for (std::size_t i = 0; i < changes_.size(); ++i) {
    const EntryChange& change = changes_[i];
    if (hasJournal ? i >= keptInOrder : below(chance, 2) == 0) continue;
    // Nothing can be moved into a directory that is not there.
    if (change.to && !isReachable(change.to->directory, names)) continue;
    if (change.to) make(change, names);
    if (change.from) remove(change, names);
  }
  return names;
}

support::Files LosingDisk::afterLoss(std::uint64_t seed) const {
  Chance chance(seed);
  const Names names = namesAfterLoss(chance);
  support::Files files;
  const std::function<void(NodeNumber, const std::string&)> collect = [&](NodeNumber directory,
                                                                          const std::string& path) {
    const auto entries = names.find(directory);
    if (entries == names.end()) return;
    for (const auto& [name, node] : entries->second) {
      if (nodes_[node].isDirectory) {
        collect(node, path + name + '/');
      } else {
        files.emplace(path + name, nodes_[node].content.afterLoss(chance));
      }
    }
  };
  collect(0, {});
  return files;
}

}  // namespace power
