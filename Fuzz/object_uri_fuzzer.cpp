#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/Object/NSManagedObject.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using coredata::NSManagedObjectContext;
using coredata::NSManagedObjectID;
using coredata::NSPersistentStoreCoordinator;
using foundation::make;
using foundation::Ref;
using foundation::URL;

constexpr std::size_t kLongestInput = std::size_t{16} * 1024;

void require(bool holds) {
  if (!holds) std::abort();
}

/// A store with two entities, which no object is ever saved to.
class EmptyStore {
 public:
  EmptyStore() {
    const auto file = (directory_.path() / "store.sqlite").string();
    coordinator_->addPersistentStore(coredata::NSPersistentStoreDescription(URL::fileURL(file)));
    // Otherwise nothing would ever be looked at.
    require(find(*URL::parse(beginning() + "Bed/p1")) != nullptr);
  }
  [[nodiscard]] Ref<NSManagedObjectID> find(const URL& uri) const {
    return coordinator_->managedObjectIDForURIRepresentation(uri);
  }
  /// With which the URIs of all its objects begin.
  [[nodiscard]] std::string beginning() const {
    return "x-coredata://" + coordinator_->store()->identifier() + "/";
  }
  [[nodiscard]] const Ref<NSPersistentStoreCoordinator>& coordinator() const noexcept {
    return coordinator_;
  }

 private:
  support::TemporaryDirectory directory_;
  Ref<NSPersistentStoreCoordinator> coordinator_ =
      make<NSPersistentStoreCoordinator>(coredata::modelFromSource(
          R"({"identifiers": ["Fuzz"],
              "entities": {"Bed": {"attributes": {"name": "text"}},
                           "Beetle": {"attributes": {"name": "text"}}}})"));
};

const EmptyStore& store() {
  static const EmptyStore store;
  return store;
}

/// What is found bears the URI that it was found by, and is a fault of the entity that this names.
void lookUp(std::string_view text) {
  const auto uri = URL::parse(text);
  if (!uri) return;
  const auto found = store().find(*uri);
  if (!found) return;
  require(found->uriRepresentation() == *uri &&
          found->uriRepresentation().absoluteString() == text);
  require(found->key() > 0 && !found->isTemporaryID());
  require(text.starts_with(store().beginning() + found->entity().name() + "/p"));
  require(store().find(found->uriRepresentation()) == found);
  const auto context = make<NSManagedObjectContext>(
      store().coordinator(), coredata::NSManagedObjectContextConcurrencyType::privateQueue);
  context->performBlockAndWait([&] {
    const auto object = context->objectWithID(*found);
    require(object->isFault() && &object->entity() == &found->entity());
  });
}

}  // namespace

/// No text names anything but an object of this store, in the one way of writing it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestInput) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  lookUp(text);
  lookUp(store().beginning() + std::string(text));
  return 0;
}
