#include <algorithm>

#include "Tests/CoreData/Context/RandomOperations/Playground.h"

namespace graph {

using coredata::NSManagedObject;
using foundation::Ref;
using garden::Bed;
using garden::Plant;
using garden::Tool;

namespace {

std::string nameOf(Id id, const Record& record) {
  return std::string(entityName(record.kind)) + " " + std::to_string(id);
}

void require(bool holds, const std::string& what) {
  if (!holds) throw Mismatch(what);
}

}  // namespace

void Playground::check(Actor& actor) {
  if (actor.scratch.isUnsettled()) return;
  takeHandles(actor);
  for (const auto& [id, record] : actor.scratch.current()) checkObject(actor, id, record);
  checkChanges(actor);
  dropHandles(actor);
}

void Playground::takeHandles(Actor& actor) {
  for (const auto& [id, record] : actor.scratch.current()) {
    Object& handle = actor.objects[id];
    if (!handle) handle = actor.context->objectWithID(*identifiers_.at(id));
  }
}

void Playground::dropHandles(Actor& actor) {
  for (auto one = actor.objects.begin(); one != actor.objects.end();) {
    const auto& [id, object] = *one;
    if (actor.scratch.current().contains(id)) {
      ++one;
      continue;
    }
    const std::string name = std::to_string(id) + " in context " + actor.name;
    if (actor.scratch.deleted().contains(id)) {
      require(object->isDeleted(), "not deleted: " + name);
      require(object->managedObjectContext() == actor.context,
              "has left its context early: " + name);
      ++one;
      continue;
    }
    require(object->valueForKey(object->entity().name() == "Label" ? "text" : "name").isNone(),
            "still has values: " + name);
    require(object->isDeleted() || !object->managedObjectContext(), "still alive: " + name);
    require(!object->hasChanges(), "gone, but with changes: " + name);
    one = actor.objects.erase(one);
  }
}

void Playground::checkObject(const Actor& actor, Id id, const Record& record) {
  const NSManagedObject& object = *actor.objects.at(id);
  const std::string name = nameOf(id, record) + " in context " + actor.name;
  require(!object.isDeleted(), "deleted: " + name);
  for (const Attribute& attribute : attributesOf(record.kind)) {
    const std::string& expected = record.values.at(attribute.name);
    const std::string found = attribute.read(object);
    require(found == expected,
            attribute.name + " of " + name + " is " + found + " instead of " + expected);
  }
  for (const auto& [link, target] : record.links) {
    const Object found = linkTarget(object, link);
    const Object expected = target == 0 ? nullptr : actor.objects.at(target);
    require(found == expected, link + " of " + name + " leads to " + text(actor, {found}) +
                                   " instead of " + std::to_string(target));
  }
  if (record.kind == Kind::bed && !actor.scratch.isStale()) checkMembers(actor, id);
}

void Playground::checkMembers(const Actor& actor, Id bed) {
  const auto owner = as<Bed>(actor.objects.at(bed));
  const auto compare = [&](Kind kind, const char* what, const auto& set) {
    std::vector<Object> found;
    for (const auto& member : set) found.emplace_back(member);
    checkSet(actor, (std::string(what) + " of " + std::to_string(bed)).c_str(), found,
             membersOf(actor.scratch.current(), kind, "bed", bed),
             membersOf(actor.scratch.current(), kind, "bed", bed));
  };
  compare(Kind::plant, "plants", owner->plants());
  compare(Kind::tool, "tools", owner->tools());
}

void Playground::checkChanges(const Actor& actor) {
  const auto& context = *actor.context;
  const Scratch& scratch = actor.scratch;
  checkSet(actor, "inserted", context.insertedObjects(), scratch.inserted(), scratch.inserted());
  checkSet(actor, "deleted", context.deletedObjects(), scratch.deleted(), scratch.deleted());
  checkSet(actor, "updated", context.updatedObjects(), scratch.surelyUpdated(),
           scratch.perhapsUpdated());
  const bool hasAny = !context.insertedObjects().empty() || !context.deletedObjects().empty() ||
                      !context.updatedObjects().empty();
  require(context.hasChanges() == hasAny, "hasChanges is wrong");
}

std::string Playground::text(const Actor& actor, const std::vector<Object>& objects) const {
  std::string result;
  for (const Object& object : objects) {
    const auto known =
        std::ranges::find(actor.objects, object, [](const auto& one) { return one.second; });
    if (!result.empty()) result += " ";
    result += !object                        ? "nothing"
              : known != actor.objects.end() ? std::to_string(known->first)
                                             : object->description();
  }
  return result;
}

void Playground::checkSet(const Actor& actor, const char* what, const std::vector<Object>& objects,
                          const std::set<Id>& atLeast, const std::set<Id>& atMost) {
  const auto isIn = [&](Id id) {
    return std::ranges::find(objects, actor.objects.at(id)) != objects.end();
  };
  std::size_t expected = 0;
  bool agrees = true;
  for (const Id id : atMost) {
    const bool found = isIn(id);
    expected += found ? 1 : 0;
    agrees = agrees && (found || !atLeast.contains(id));
  }
  if (agrees && expected == objects.size()) return;
  std::string wanted;
  for (const Id id : atLeast) wanted += " " + std::to_string(id);
  throw Mismatch(std::string(what) + " in context " + actor.name + ": " + text(actor, objects) +
                 " instead of" + wanted);
}

void Playground::checkFile(coredata::NSPersistentContainer& container) {
  std::map<std::pair<Kind, coredata::ObjectKey>, Id> ids;
  for (const auto& [id, record] : store_) ids[{record.kind, identifiers_.at(id)->key()}] = id;
  const auto context = container.newBackgroundContext();
  context->performBlockAndWait([&] {
    std::size_t found = 0;
    const auto idOf = [&](Kind kind, const Object& object) {
      if (!object) return Id{0};
      const auto known = ids.find({kind, object->objectID()->key()});
      return known == ids.end() ? Id{-1} : known->second;
    };
    for (const Kind kind : {Kind::plant, Kind::label, Kind::bed, Kind::tool}) {
      const auto all = context->fetchObjects(coredata::NSFetchRequestBase(entityName(kind)));
      found += all.size();
      for (std::size_t i = 0; i < all.size(); ++i) {
        const Object object = all.at(i);
        const Id id = idOf(kind, object);
        require(id > 0, "the file holds a stranger: " + object->description());
        const Record& record = store_.at(id);
        for (const Attribute& attribute : attributesOf(kind)) {
          require(attribute.read(*object) == record.values.at(attribute.name),
                  attribute.name + " of " + nameOf(id, record) + " in the file is " +
                      attribute.read(*object) + " instead of " + record.values.at(attribute.name));
        }
        for (const Link& link : linksOf(kind)) {
          const Id target = idOf(link.target, linkTarget(*object, link.name));
          require(target == record.links.at(link.name),
                  link.name + " of " + nameOf(id, record) + " in the file leads to " +
                      std::to_string(target) + " instead of " +
                      std::to_string(record.links.at(link.name)));
        }
      }
    }
    require(found == store_.size(), "the file holds " + std::to_string(found) +
                                        " objects instead of " + std::to_string(store_.size()));
  });
}

}  // namespace graph
