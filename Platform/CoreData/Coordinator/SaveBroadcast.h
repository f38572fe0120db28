#pragma once

#include <memory>
#include <vector>

#include "CoreData/Model/NSEntityDescription.h"
#include "CoreData/Rows/Row.h"

namespace coredata {

/// What one save wrote, as the other contexts of its coordinator need it: the new rows, and which
/// are gone.
struct SaveBroadcast {
  struct Removal {
    const NSEntityDescription* entity;
    ObjectKey key;
  };
  std::vector<foundation::Ref<const Row>> inserted;
  std::vector<foundation::Ref<const Row>> updated;
  std::vector<Removal> deleted;
};

/// A context as its coordinator sees it: somebody to tell about what others did.
/// Threading: called on the thread of the save or removal. `otherDidSave` only queues its work;
/// `storeWillBeRemoved` may wait for the client's turn.
class CoordinatorClient {
 public:
  CoordinatorClient(const CoordinatorClient&) = delete;
  CoordinatorClient& operator=(const CoordinatorClient&) = delete;

  /// A handle that keeps the client alive during a call; null when its last one is already gone.
  [[nodiscard]] virtual foundation::Ref<foundation::Object> keepAlive() = 0;
  /// Whether the client would do anything with what others save now.
  [[nodiscard]] virtual bool listens() const = 0;
  /// Another client of the same coordinator has committed this. Only for clients that listen.
  virtual void otherDidSave(const std::shared_ptr<const SaveBroadcast>& broadcast) noexcept = 0;
  /// The same where there is no memory to say what. With the list of clients locked.
  virtual void missedSave() noexcept = 0;
  /// The store is about to go; what was read from it must not be shown any more.
  virtual void storeWillBeRemoved() = 0;

 protected:
  CoordinatorClient() = default;
  ~CoordinatorClient() = default;
};

}  // namespace coredata
