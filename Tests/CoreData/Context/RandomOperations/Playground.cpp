#include "Tests/CoreData/Context/RandomOperations/Playground.h"

#include <future>

#include "CoreData/Context/SaveError.h"

namespace graph {

using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using foundation::Ref;
using garden::Bed;
using garden::Plant;
using garden::Tool;

namespace {

/// More would only make the checks slow.
constexpr std::size_t kManyObjects = 22;
/// How often everything is compared without an occasion.
constexpr std::size_t kStepsBetweenChecks = 8;

/// Waits until everything that was queued for the context is done.
void drain(NSManagedObjectContext& context) {
  std::promise<void> done;
  context.performBlock([&] { done.set_value(); });
  done.get_future().wait();
}

}  // namespace

void Stage::clear() {
  const auto context = store.newContext();
  context->performBlockAndWait([&] {
    for (const char* entity : {"Bed", "Plant", "Label", "Tool"}) {
      const auto all = context->fetchObjects(coredata::NSFetchRequestBase(entity));
      for (std::size_t i = 0; i < all.size(); ++i) context->delete_(all.at(i));
      context->processPendingChanges();
    }
    context->save();
  });
}

Playground::Playground(Stage& stage, const Sequence& sequence)
    : stage_(stage),
      sequence_(sequence),
      actors_{Actor{'A', stage.store.newContext(), sequence.mergesAutomatically[0],
                    sequence.changesHereWin[0]},
              Actor{'B', stage.store.newContext(), sequence.mergesAutomatically[1],
                    sequence.changesHereWin[1]}} {
  for (const Actor& actor : actors_) {
    actor.context->setAutomaticallyMergesChangesFromParent(actor.mergesAutomatically);
  }
}

void Playground::run() {
  for (std::size_t i = 0; i < sequence_.steps.size(); ++i) {
    const Step& step = sequence_.steps[i];
    Actor& actor = actors_[step.actor];
    actor.context->setMergePolicy(actor.changesHereWin
                                      ? coredata::NSMergeByPropertyObjectTrumpMergePolicy
                                      : coredata::NSErrorMergePolicy);
    actor.context->performBlockAndWait([&] { run(actor, step); });
    if (i % kStepsBetweenChecks == 0) actor.context->performBlockAndWait([&] { check(actor); });
  }
  for (Actor& actor : actors_) actor.context->performBlockAndWait([&] { check(actor); });
  checkFile(*stage_.onlooker);
}

void Playground::run(Actor& actor, const Step& step) {
  // What a context shows before it saves is not laid down where somebody else has just added to
  // what it means to delete.
  const bool isOpen = actor.scratch.isUnsettled();
  const bool isStale = actor.scratch.isStale();
  switch (step.operation) {
    case Operation::save:
      return save(actor);
    case Operation::rollback:
      return rollback(actor);
    case Operation::refreshAll:
      return refreshAll(actor);
    case Operation::switchPolicy:
      actor.changesHereWin = !actor.changesHereWin;
      return;
    default:
      break;
  }
  if (isOpen) return;
  switch (step.operation) {
    case Operation::insert:
      return insert(actor, step.choices);
    case Operation::set:
      return set(actor, step.choices);
    case Operation::relate:
      return relate(actor, step.choices, false);
    case Operation::unrelate:
      return relate(actor, step.choices, true);
    case Operation::addMember:
      return addMember(actor, step.choices);
    case Operation::removeMember:
      return removeMember(actor, step.choices);
    case Operation::erase:
      return erase(actor, step.choices);
    default:
      break;
  }
  if (isStale) return;
  switch (step.operation) {
    case Operation::setMembers:
      return setMembers(actor, step.choices);
    case Operation::refreshOne:
      return refreshOne(actor, step.choices);
    case Operation::forget:
      return forget(actor, step.choices);
    case Operation::fetch:
      return fetch(actor, step.choices);
    default:
      break;
  }
}

Id Playground::pick(const Actor& actor, std::optional<Kind> kind, std::uint32_t choice) {
  std::vector<Id> candidates;
  for (const auto& [id, record] : actor.scratch.current()) {
    if (!kind || record.kind == *kind) candidates.push_back(id);
  }
  return candidates.empty() ? 0 : candidates[choice % candidates.size()];
}

void Playground::note(const Actor& actor, const std::string& text) {
  log_ +=
      std::string("  ") + actor.name + (actor.scratch.isStale() ? " (stale) " : " ") + text + "\n";
}

void Playground::insert(Actor& actor, const Choices& choices) {
  if (actor.scratch.current().size() >= kManyObjects) return erase(actor, choices);
  constexpr std::array kKinds = {Kind::plant, Kind::plant, Kind::plant, Kind::label,
                                 Kind::label, Kind::bed,   Kind::bed,   Kind::tool};
  const Kind kind = kKinds[choices[0] % kKinds.size()];
  const Id id = ++last_;
  note(actor, "inserts " + std::string(entityName(kind)) + " " + std::to_string(id));
  actor.scratch.insert(id, newRecord(kind));
  actor.objects[id] = newObject(kind, *actor.context);
  if (kind == Kind::tool) {
    const Attribute& name = attributesOf(kind).front();
    name.set(*actor.objects.at(id), 1);
    actor.scratch.set(id, name.name, name.printed[1]);
  }
}

void Playground::set(Actor& actor, const Choices& choices) {
  const Id id = pick(actor, std::nullopt, choices[0]);
  if (id == 0) return;
  const Kind kind = actor.scratch.current().at(id).kind;
  const auto& attributes = attributesOf(kind);
  const Attribute& attribute = attributes[choices[1] % attributes.size()];
  std::size_t choice = choices[2] % attribute.printed.size();
  // A tool without a name cannot be saved: seldom enough that most saves get through.
  if (kind == Kind::tool && choice == 0 && choices[3] % 5 != 0) choice = 1;
  note(actor, "sets " + attribute.name + " of " + std::to_string(id) + " to " +
                  attribute.printed[choice].substr(0, 20));
  attribute.set(*actor.objects.at(id), choice);
  actor.scratch.set(id, attribute.name, attribute.printed[choice]);
}

void Playground::relate(Actor& actor, const Choices& choices, bool toNone) {
  const Id id = pick(actor, std::nullopt, choices[0]);
  if (id == 0) return;
  const auto& links = linksOf(actor.scratch.current().at(id).kind);
  if (links.empty()) return;
  const Link& link = links[choices[1] % links.size()];
  const Id target = toNone ? 0 : pick(actor, link.target, choices[2]);
  note(actor, "sets " + link.name + " of " + std::to_string(id) + " to " + std::to_string(target));
  setLink(*actor.objects.at(id), link.name, target == 0 ? nullptr : actor.objects.at(target));
  actor.scratch.relate(id, link.name, target);
}

void Playground::addMember(Actor& actor, const Choices& choices) {
  const Id bed = pick(actor, Kind::bed, choices[0]);
  const bool isTool = choices[1] % 3 == 0;
  const Id member = pick(actor, isTool ? Kind::tool : Kind::plant, choices[2]);
  if (bed == 0 || member == 0) return;
  note(actor, "adds " + std::to_string(member) + " to " + std::to_string(bed));
  const Ref<Bed> owner = as<Bed>(actor.objects.at(bed));
  if (isTool) {
    owner->addToolsObject(as<Tool>(actor.objects.at(member)));
  } else {
    owner->addPlantsObject(as<Plant>(actor.objects.at(member)));
  }
  actor.scratch.relate(member, "bed", bed);
}

void Playground::removeMember(Actor& actor, const Choices& choices) {
  const Id bed = pick(actor, Kind::bed, choices[0]);
  if (bed == 0) return;
  const std::set<Id> members = membersOf(actor.scratch.current(), Kind::plant, "bed", bed);
  if (members.empty()) return;
  const Id member =
      *std::next(members.begin(), static_cast<std::ptrdiff_t>(choices[1] % members.size()));
  note(actor, "removes " + std::to_string(member) + " from " + std::to_string(bed));
  as<Bed>(actor.objects.at(bed))->removePlantsObject(as<Plant>(actor.objects.at(member)));
  actor.scratch.relate(member, "bed", 0);
}

void Playground::setMembers(Actor& actor, const Choices& choices) {
  const Id bed = pick(actor, Kind::bed, choices[0]);
  if (bed == 0) return;
  std::vector<Object> wanted;
  std::set<Id> ids;
  std::uint32_t bits = choices[1] & choices[2];
  for (const auto& [id, record] : actor.scratch.current()) {
    if (record.kind != Kind::plant) continue;
    if ((bits & 1) != 0) ids.insert(id);
    bits >>= 1;
  }
  for (const Id id : ids) wanted.push_back(actor.objects.at(id));
  note(actor,
       "replaces the plants of " + std::to_string(bed) + " by " + std::to_string(ids.size()));
  as<Bed>(actor.objects.at(bed))
      ->setPlants(coredata::NSSet<Plant>(coredata::ObjectSet(std::move(wanted))));
  for (const Id id : membersOf(actor.scratch.current(), Kind::plant, "bed", bed)) {
    if (!ids.contains(id)) actor.scratch.relate(id, "bed", 0);
  }
  for (const Id id : ids) actor.scratch.relate(id, "bed", bed);
}

bool Playground::knowsMembers(const Actor& actor, Id bed) const {
  for (const Kind kind : {Kind::plant, Kind::tool}) {
    if (membersOf(actor.scratch.base(), kind, "bed", bed) != membersOf(store_, kind, "bed", bed)) {
      return false;
    }
  }
  return true;
}

void Playground::erase(Actor& actor, const Choices& choices) {
  const Id id = pick(actor, std::nullopt, choices[0]);
  if (id == 0) return;
  // Whether a set that was read before shows what somebody else did to it since is open.
  if (actor.scratch.isStale() && !knowsMembers(actor, id)) return;
  note(actor, "deletes " + std::to_string(id));
  actor.context->delete_(actor.objects.at(id));
  actor.context->processPendingChanges();
  actor.scratch.erase(id);
}

void Playground::save(Actor& actor) {
  const std::set<Id> inserted = actor.scratch.inserted();
  const Graph before = store_;
  Scratch expected = actor.scratch;
  const SaveOutcome outcome = expected.save(store_, actor.changesHereWin);
  note(actor, "saves");
  try {
    actor.context->save();
  } catch (const foundation::Error& error) {
    const bool isConflict =
        error.code() == static_cast<std::int64_t>(coredata::SaveErrorCode::conflict);
    if (outcome == SaveOutcome::saved || isConflict != (outcome == SaveOutcome::conflict)) {
      throw Mismatch("an unexpected error: " + error.description());
    }
    check(actor);
    return;
  }
  if (outcome == SaveOutcome::conflict) throw Mismatch("a conflict was not noticed");
  if (outcome == SaveOutcome::invalid) throw Mismatch("a tool without a name was saved");
  actor.scratch = std::move(expected);
  bool storeChanged = before.size() != store_.size();
  for (const auto& [id, record] : store_) {
    const auto known = before.find(id);
    storeChanged = storeChanged || known == before.end() || known->second.version != record.version;
  }
  didSave(actor, inserted, storeChanged);
}

void Playground::didSave(Actor& actor, const std::set<Id>& inserted, bool storeChanged) {
  for (const Id id : inserted) {
    if (!store_.contains(id)) continue;
    identifiers_[id] = actor.objects.at(id)->objectID();
    if (identifiers_[id]->isTemporaryID())
      throw Mismatch("a saved object has a temporary identifier");
  }
  if (actor.scratch.isStale()) {
    actor.context->refreshAllObjects();
    actor.scratch = Scratch(store_);
  }
  check(actor);
  Actor& other = actors_[&actor == &actors_[0] ? 1 : 0];
  if (!storeChanged) return;
  if (other.mergesAutomatically) {
    drain(*other.context);
    other.scratch.rebase(store_);
    other.context->performBlockAndWait([&] { check(other); });
  } else {
    other.scratch.noteStale();
  }
  checkFile(++saves_ % 4 == 0 ? *stage_.onlooker : stage_.store.container());
}

void Playground::rollback(Actor& actor) {
  note(actor, "rolls back");
  const bool wasStale = actor.scratch.isStale();
  actor.scratch.rollback(store_);
  actor.context->rollback();
  if (wasStale) actor.context->refreshAllObjects();
  check(actor);
}

void Playground::refreshAll(Actor& actor) {
  note(actor, "refreshes all");
  actor.context->refreshAllObjects();
  actor.scratch.rebase(store_);
  check(actor);
}

void Playground::refreshOne(Actor& actor, const Choices& choices) {
  const Id id = pick(actor, std::nullopt, choices[0]);
  if (id == 0) return;
  const bool merges = choices[1] % 2 == 0;
  // Which side of a changed relationship a dropped change leaves behind is open.
  if (!merges && !actor.scratch.hasSameRelationshipsAsStored(id)) return;
  note(actor, std::string(merges ? "refreshes " : "drops the changes of ") + std::to_string(id));
  actor.context->refresh(actor.objects.at(id), merges);
  if (!merges) actor.scratch.dropValues(id);
  check(actor);
}

void Playground::forget(Actor& actor, const Choices& choices) {
  const Id id = pick(actor, std::nullopt, choices[0]);
  if (id == 0) return;
  note(actor, "lets go of " + std::to_string(id));
  const Object held = std::exchange(actor.objects[id], nullptr);
  if (!held->hasChanges()) {
    actor.objects.erase(id);
  } else {
    actor.objects[id] = held;
  }
  check(actor);
}

}  // namespace graph
