#include <algorithm>
#include <cstdlib>

#include "Tests/CoreData/Context/RandomOperations/Playground.h"

namespace graph {

using foundation::NSPredicate;
using foundation::NSSortDescriptor;

namespace {

/// What a condition is judged on: a record, and the graph in which its relationships are followed.
/// An unchanged object is judged as it is stored, even where what it leads to has changed.
struct Subject {
  const Graph* graph;
  const Record* record;
  Id id;

  [[nodiscard]] const std::string& value(const std::string& name) const {
    return record->values.at(name);
  }
  [[nodiscard]] double number(const std::string& name) const {
    return std::atof(value(name).c_str());
  }
  /// The rank of the record's bed; nothing without one.
  [[nodiscard]] std::optional<double> rank() const {
    const Id bed = record->links.at("bed");
    if (bed == 0) return std::nullopt;
    return std::atof(graph->at(bed).values.at("rank").c_str());
  }
};

using Test = std::function<bool(const Subject&)>;
using Less = std::function<bool(const Subject&, const Subject&)>;

struct Condition {
  std::optional<NSPredicate> predicate;
  Test holds;
};

Condition plantCondition(std::uint32_t choice, Id bed,
                         const foundation::Ref<coredata::NSManagedObject>& bedObject) {
  switch (choice % 12) {
    case 0:
      return {NSPredicate::format("name = %@", "ash"),
              [](const Subject& s) { return s.value("name") == "'ash'"; }};
    case 1:
      return {NSPredicate::format("name != %@", "ash"),
              [](const Subject& s) { return s.value("name") != "'ash'"; }};
    case 2:
      return {NSPredicate::format("name = nil"),
              [](const Subject& s) { return s.value("name") == "-"; }};
    case 3:
      return {NSPredicate::format("name BEGINSWITH %@", "as"),
              [](const Subject& s) { return s.value("name").starts_with("'as"); }};
    case 4:
      return {NSPredicate::format("height > %d", 0),
              [](const Subject& s) { return s.number("height") > 0; }};
    case 5:
      return {NSPredicate::format("NOT (leaves BETWEEN {%d, %d})", 0, 100),
              [](const Subject& s) { return s.number("leaves") < 0 || s.number("leaves") > 100; }};
    case 6:
      return {NSPredicate::format("evergreen = YES OR latitude = nil"), [](const Subject& s) {
                return s.value("evergreen") == "1" || s.value("latitude") == "-";
              }};
    case 7:
      return {NSPredicate::format("bed.rank > %d", 0),
              [](const Subject& s) { return s.rank().value_or(-1) > 0; }};
    case 8:
      return {NSPredicate::format("label = nil"),
              [](const Subject& s) { return s.record->links.at("label") == 0; }};
    case 9:
      return {NSPredicate::format("bed = nil"),
              [](const Subject& s) { return s.record->links.at("bed") == 0; }};
    case 10:
      if (bed == 0) break;
      return {NSPredicate::format("bed = %@", bedObject),
              [bed](const Subject& s) { return s.record->links.at("bed") == bed; }};
    default:
      break;
  }
  return {std::nullopt, [](const Subject&) { return true; }};
}

/// Of a bed: whether one of its plants is taller than 1.
Condition bedCondition() {
  return {NSPredicate::format("SUBQUERY(plants, $p, $p.height > %d).@count > 0", 1),
          [](const Subject& s) {
            return std::ranges::any_of(
                membersOf(*s.graph, Kind::plant, "bed", s.id), [&](Id plant) {
                  return std::atof(s.graph->at(plant).values.at("height").c_str()) > 1;
                });
          }};
}

struct Order {
  std::vector<NSSortDescriptor> descriptors;
  std::vector<Less> less;
};

/// The order of texts by their bytes, absent first.
std::string sortable(const std::string& text) { return text == "-" ? std::string() : text; }

Order plantOrder(std::uint32_t choice) {
  const Less byHeight = [](const Subject& a, const Subject& b) {
    return a.number("height") < b.number("height");
  };
  const Less byName = [](const Subject& a, const Subject& b) {
    // Between the marks that texts are printed in.
    const auto bare = [](const std::string& text) {
      return text.empty() ? text : text.substr(0, text.size() - 1);
    };
    return bare(sortable(a.value("name"))) < bare(sortable(b.value("name")));
  };
  const Less byRank = [](const Subject& a, const Subject& b) { return a.rank() < b.rank(); };
  const auto opposite = [](Less less) -> Less {
    return [less = std::move(less)](const Subject& a, const Subject& b) { return less(b, a); };
  };
  switch (choice % 6) {
    case 0:
      return {{NSSortDescriptor("height", true)}, {byHeight}};
    case 1:
      return {{NSSortDescriptor("height", false), NSSortDescriptor("name", true)},
              {opposite(byHeight), byName}};
    case 2:
      return {{NSSortDescriptor("name", true)}, {byName}};
    case 3:
      return {{NSSortDescriptor("name", false)}, {opposite(byName)}};
    case 4:
      return {{NSSortDescriptor("bed.rank", true)}, {byRank}};
    default:
      return {};
  }
}

}  // namespace

void Playground::fetch(Actor& actor, const Choices& choices) {
  const Kind kind = choices[0] % 5 == 0 ? Kind::bed : Kind::plant;
  const Id bed = pick(actor, Kind::bed, choices[3]);
  const Condition condition =
      kind == Kind::bed
          ? bedCondition()
          : plantCondition(choices[0] >> 8, bed, bed == 0 ? nullptr : actor.objects.at(bed));
  const Order order = kind == Kind::plant ? plantOrder(choices[1]) : Order();
  coredata::NSFetchRequestBase request(entityName(kind));
  request.setPredicate(condition.predicate);
  request.setSortDescriptors(order.descriptors);
  if (choices[2] % 3 == 0) request.setFetchLimit(1 + choices[2] / 3 % 5);
  if (choices[3] % 4 == 0) request.setFetchOffset(choices[3] / 4 % 4);
  if (choices[3] % 5 == 0) request.setFetchBatchSize(1 + choices[3] / 5 % 4);
  note(actor, std::string("fetches ") + entityName(kind) + " where " +
                  (condition.predicate ? condition.predicate->description() : "TRUE") + " by " +
                  std::to_string(choices[1] % 6) + ", from " +
                  std::to_string(request.fetchOffset()) + ", at most " +
                  std::to_string(request.fetchLimit()));

  takeHandles(actor);
  std::vector<Subject> matches;
  for (const auto& [id, record] : actor.scratch.current()) {
    if (record.kind != kind) continue;
    const bool isDirty = actor.objects.at(id)->hasChanges();
    const Graph& graph = isDirty ? actor.scratch.current() : actor.scratch.base();
    const Subject subject{&graph, &graph.at(id), id};
    if (condition.holds(subject)) matches.push_back(subject);
  }
  const auto place = [&](const Subject& one) {
    const bool isNew = actor.scratch.inserted().contains(one.id);
    return std::pair(isNew, isNew ? one.id : identifiers_.at(one.id)->key());
  };
  std::ranges::sort(matches, [&](const Subject& a, const Subject& b) {
    for (const Less& less : order.less) {
      if (less(a, b)) return true;
      if (less(b, a)) return false;
    }
    return place(a) < place(b);
  });
  std::string expected;
  std::size_t expectedCount = 0;
  for (std::size_t i = request.fetchOffset(); i < matches.size(); ++i) {
    if (request.fetchLimit() != 0 && i >= request.fetchOffset() + request.fetchLimit()) break;
    expected += (expected.empty() ? "" : " ") + std::to_string(matches[i].id);
    ++expectedCount;
  }

  const coredata::FetchedObjects list = actor.context->fetchObjects(request);
  std::vector<Object> found;
  for (std::size_t i = 0; i < list.size(); ++i) found.push_back(list.at(i));
  if (text(actor, found) != expected) {
    throw Mismatch("fetched " + text(actor, found) + " instead of " + expected);
  }
  const Object first = actor.context->fetchFirstObject(request);
  const std::string expectedFirst = expected.substr(0, expected.find(' '));
  if (text(actor, first ? std::vector{first} : std::vector<Object>()) != expectedFirst) {
    throw Mismatch("fetched another object than " + expectedFirst + " as the first");
  }
  const auto counted = static_cast<std::size_t>(actor.context->count(request));
  if (counted != expectedCount) {
    throw Mismatch("counted " + std::to_string(counted) + " instead of " +
                   std::to_string(expectedCount));
  }
}

}  // namespace graph
