#pragma once

#include <array>
#include <stdexcept>

#include "Tests/CoreData/Context/RandomOperations/GardenAccess.h"
#include "Tests/CoreData/Context/RandomOperations/GraphModel.h"
#include "Tests/CoreData/Context/RandomOperations/Steps.h"
#include "Tests/Support/GardenStore.h"

namespace graph {

/// The engine did something else than the model.
class Mismatch : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Two containers over one file: the contexts work in the first, the second looks on as another
/// process would.
struct Stage {
  garden::Store store;
  foundation::Ref<coredata::NSPersistentContainer> onlooker = store.opened();

  /// Removes every row.
  void clear();
};

/// Runs a sequence on two contexts and on the model, and compares them. The stage must be empty.
class Playground {
 public:
  Playground(Stage& stage, const Sequence& sequence);

  /// Throws `Mismatch`, and whatever the engine throws unasked.
  void run();
  /// What the steps did, for a sequence that failed.
  [[nodiscard]] const std::string& log() const { return log_; }

 private:
  using Object = foundation::Ref<coredata::NSManagedObject>;
  struct Actor {
    char name;
    foundation::Ref<coredata::NSManagedObjectContext> context;
    bool mergesAutomatically;
    bool changesHereWin;
    Scratch scratch{Graph()};
    /// A handle to each object that the context shows.
    std::map<Id, Object> objects{};
  };
  using Choices = std::array<std::uint32_t, 4>;

  void run(Actor& actor, const Step& step);
  void insert(Actor& actor, const Choices& choices);
  void set(Actor& actor, const Choices& choices);
  void relate(Actor& actor, const Choices& choices, bool toNone);
  void addMember(Actor& actor, const Choices& choices);
  void removeMember(Actor& actor, const Choices& choices);
  void setMembers(Actor& actor, const Choices& choices);
  void erase(Actor& actor, const Choices& choices);
  void save(Actor& actor);
  void didSave(Actor& actor, const std::set<Id>& inserted, bool storeChanged);
  void rollback(Actor& actor);
  void refreshAll(Actor& actor);
  void refreshOne(Actor& actor, const Choices& choices);
  void forget(Actor& actor, const Choices& choices);
  void fetch(Actor& actor, const Choices& choices);

  /// One of the records of the kind that the context shows; 0 if there is none.
  [[nodiscard]] static Id pick(const Actor& actor, std::optional<Kind> kind, std::uint32_t choice);
  [[nodiscard]] bool knowsMembers(const Actor& actor, Id bed) const;
  void note(const Actor& actor, const std::string& text);

  // Comparing. To be called inside the context's turn.
  void check(Actor& actor);
  void takeHandles(Actor& actor);
  void dropHandles(Actor& actor);
  void checkObject(const Actor& actor, Id id, const Record& record);
  void checkMembers(const Actor& actor, Id bed);
  void checkChanges(const Actor& actor);
  void checkSet(const Actor& actor, const char* what, const std::vector<Object>& objects,
                const std::set<Id>& atLeast, const std::set<Id>& atMost);
  [[nodiscard]] std::string text(const Actor& actor, const std::vector<Object>& objects) const;
  void checkFile(coredata::NSPersistentContainer& container);

  Stage& stage_;
  const Sequence& sequence_;
  Graph store_;
  std::map<Id, foundation::Ref<coredata::NSManagedObjectID>> identifiers_;
  Id last_ = 0;
  int saves_ = 0;
  std::array<Actor, 2> actors_;
  std::string log_;
};

}  // namespace graph
