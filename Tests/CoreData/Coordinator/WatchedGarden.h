#pragma once

#include <cstdint>
#include <string_view>

#include "CoreData/Container/NSPersistentContainer.h"
#include "Tests/Support/GardenModel.h"

namespace garden {

using foundation::make;
using foundation::Ref;

/// How a store is opened by a program that is told of changes.
struct Opening {
  bool tracksHistory = true;
  bool isWatched = true;
  bool isReadOnly = false;
};

inline coredata::NSPersistentStoreDescription described(const foundation::URL& url,
                                                        Opening opening = {}) {
  coredata::NSPersistentStoreDescription description(url);
  description.setOption(opening.tracksHistory, coredata::NSPersistentHistoryTrackingKey);
  description.setOption(opening.isWatched,
                        coredata::NSPersistentStoreRemoteChangeNotificationPostOptionKey);
  description.setReadOnly(opening.isReadOnly);
  return description;
}

inline Ref<coredata::NSPersistentContainer> open(const foundation::URL& url, Opening opening = {}) {
  auto container = make<coredata::NSPersistentContainer>("garden", model());
  container->setPersistentStoreDescriptions({described(url, opening)});
  container->loadPersistentStores([](const auto&, const std::optional<foundation::Error>& error) {
    if (error) error->raise();
  });
  return container;
}

inline const Ref<coredata::SQLiteStore>& engineOf(
    const coredata::NSPersistentContainer& container) {
  return container.persistentStoreCoordinator()->store()->engine();
}

/// Saves a plant; the number of the transaction, by whomever, that is the newest then.
inline std::int64_t savePlant(const coredata::NSPersistentContainer& container,
                              std::string_view name = "ash") {
  const auto context = container.newBackgroundContext();
  context->performBlockAndWait([&] {
    make<Plant>(*context)->setName(std::string(name));
    context->save();
  });
  return engineOf(container)->newestTransaction().number;
}

}  // namespace garden
