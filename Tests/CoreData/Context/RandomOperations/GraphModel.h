#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace graph {

/// Names a record in the model; 0 names none. Later records have greater numbers.
using Id = int;

enum class Kind { plant, label, bed, tool };

/// A record as plain values: attributes as printed texts ("-" when absent), to-one relationships as
/// the record they lead to. To-many relationships are not kept, they follow from the other side.
struct Record {
  Kind kind{};
  std::map<std::string, std::string> values;
  std::map<std::string, Id> links;
  /// Raised by every save that changes the record.
  int version = 1;

  [[nodiscard]] bool sameContent(const Record& other) const {
    return values == other.values && links == other.links;
  }
};

using Graph = std::map<Id, Record>;

/// A to-one relationship and what an object's deletion means for its target.
struct Link {
  std::string name;
  Kind target;
  bool isOneToOne;
  /// The relationship of the target that leads back, where that is a to-one as well.
  std::string inverse;
  bool deletesTarget;
  /// Whether the target's deletion deletes the record that links to it.
  bool dependsOnTarget;
};

/// The to-one relationships of a kind.
[[nodiscard]] const std::vector<Link>& linksOf(Kind kind);
[[nodiscard]] const Link& linkOf(Kind kind, const std::string& name);

/// The ids of a kind whose to-one of that name leads to `target`, ascending.
[[nodiscard]] std::set<Id> membersOf(const Graph& graph, Kind kind, const std::string& link,
                                     Id target);

enum class SaveOutcome { saved, conflict, invalid };

/// What one context shows and means to save, in the plainest form there is: a copy of the whole
/// store as last seen, and a copy with the changes in it. What was changed is what differs.
class Scratch {
 public:
  explicit Scratch(Graph store) : base_(std::move(store)), current_(base_) {}

  // Observers.
  [[nodiscard]] const Graph& base() const { return base_; }
  [[nodiscard]] const Graph& current() const { return current_; }
  [[nodiscard]] const std::set<Id>& inserted() const { return inserted_; }
  [[nodiscard]] const std::set<Id>& deleted() const { return deleted_; }
  /// Stored records that must count as updated, and those that may.
  [[nodiscard]] std::set<Id> surelyUpdated() const;
  [[nodiscard]] std::set<Id> perhapsUpdated() const;
  /// Whether somebody saved since the store was last seen.
  [[nodiscard]] bool isStale() const { return stale_; }
  /// Whether a record that somebody else saved belongs to one that is deleted here.
  [[nodiscard]] bool isUnsettled() const { return unsettled_; }

  /// Whether nothing that leads from or to a stored record was changed.
  [[nodiscard]] bool hasSameRelationshipsAsStored(Id id) const;

  // Changes.
  void insert(Id id, Record record);
  void set(Id id, const std::string& attribute, const std::string& value);
  void relate(Id id, const std::string& link, Id target);
  void erase(Id id);
  void rollback(const Graph& store);
  /// Drops the attribute changes of one stored record.
  void dropValues(Id id);

  /// Takes in the store's newest state under the changes made here.
  void rebase(const Graph& store);
  void noteStale() { stale_ = true; }

  /// What saving comes to; `store` changes only if it is saved. The context then shows the store.
  [[nodiscard]] SaveOutcome save(Graph& store, bool changesHereWin);

 private:
  void mark(Id id);
  void mayMark(Id id);
  void mayMarkPair(Id id, Id target);
  void relateOne(Id id, const Link& link, Id target);
  [[nodiscard]] bool hasChangesToWrite() const;
  [[nodiscard]] bool isChanged(Id id) const;
  [[nodiscard]] bool conflictsWith(const Graph& store) const;
  /// What this context shows; a link to a record that the store has no more is absent, and so
  /// unchanged where it was absent before.
  [[nodiscard]] Graph withoutLinksToGone(const Graph& store) const;
  /// The store with the changes made here applied on top, property by property.
  [[nodiscard]] Graph onTopOf(const Graph& store) const;
  void settleOneToOnes(Graph& graph, const Graph& mine) const;
  /// Whether a record that stays belongs to one that is deleted here, or the other way round.
  [[nodiscard]] bool reachesIntoDeleted(const Graph& graph) const;
  [[nodiscard]] bool changedHere(const Graph& mine, Id id, const std::string& link) const;

  Graph base_;
  Graph current_;
  std::set<Id> inserted_;
  std::set<Id> deleted_;
  std::set<Id> marked_;
  std::set<Id> perhapsMarked_;
  bool stale_ = false;
  bool unsettled_ = false;
};

/// Removes records with everything that their deletion entails.
void eraseFrom(Graph& graph, const std::set<Id>& condemned);

}  // namespace graph
