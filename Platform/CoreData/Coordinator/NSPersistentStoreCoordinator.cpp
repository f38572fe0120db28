#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <mutex>
#include <system_error>

#include "CoreData/Coordinator/ObjectIDTable.h"
#include "CoreData/Coordinator/RemoteChangeWatcher.h"
#include "CoreData/Coordinator/StoreError.h"
#include "CoreData/Fetching/FetchPlanCache.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Foundation/Values/WeakRef.h"

namespace coredata {

using foundation::make;
using foundation::Ref;
using foundation::URL;

namespace {

/// Longer texts name no object; the bound keeps a hostile one cheap.
constexpr std::size_t kMaxURILength = 4096;

std::optional<ObjectKey> permanentKey(std::string_view text) noexcept {
  if (text.size() < 2 || text[0] != 'p' || text[1] == '0') return std::nullopt;
  text.remove_prefix(1);
  ObjectKey key = kNoObject;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), key);
  if (error != std::errc() || end != text.data() + text.size() || key <= 0) return std::nullopt;
  return key;
}

bool namesSameFile(const URL& a, const URL& b) { return a.absoluteString() == b.absoluteString(); }

void requireSQLite(std::string_view type) {
  if (type == NSSQLiteStoreType) return;
  throw coordinatorError(
      CoordinatorErrorCode::invalidType,
      "There is no store type \"" + std::string(type) + "\"; stores are of type SQLite.");
}

NSPersistentStoreDescription describedStore(const URL& url,
                                            const foundation::ValueDictionary& options) {
  NSPersistentStoreDescription description(url);
  for (const auto& [key, value] : options) description.setOption(value, key);
  return description;
}

void requireWritable(const URL& url, const foundation::ValueDictionary& options) {
  if (!describedStore(url, options).isReadOnly()) return;
  throw storeError(StoreErrorCode::notWritable,
                   "The store " + url.absoluteString() + " may only be read, not written.");
}

StoreOptions storeOptions(const NSPersistentStoreDescription& description) {
  StoreOptions options(*description.url());
  options.readOnly = description.isReadOnly();
  options.historyTracking = description.isOn(NSPersistentHistoryTrackingKey);
  options.announcesChanges =
      description.isOn(NSPersistentStoreRemoteChangeNotificationPostOptionKey);
  options.pragmas = description.sqlitePragmas();
  options.isScratch = description.isOn(kScratchStoreOption);
  options.buildsIndexes = !description.isOn(kDefersIndexesOption);
  return options;
}

void postRemoteChange(const Ref<NSPersistentStoreCoordinator>& coordinator,
                      const std::string& identifier, const std::string& url,
                      std::optional<std::int64_t> newestTransaction) {
  auto& center = foundation::NSNotificationCenter::defaultCenter();
  if (!center.hasObservers(NSPersistentStoreRemoteChangeNotification)) return;
  foundation::ValueDictionary userInfo{{std::string(NSStoreUUIDKey), identifier},
                                       {std::string(NSPersistentStoreURLKey), url}};
  if (newestTransaction) {
    userInfo.emplace(NSPersistentHistoryTokenKey, *newestTransaction);
  }
  center.post(NSPersistentStoreRemoteChangeNotification, coordinator,
              std::make_shared<const foundation::ValueDictionary>(std::move(userInfo)));
}

}  // namespace

struct NSPersistentStoreCoordinator::State {
  std::mutex storeMutex;
  Ref<NSPersistentStore> store;                  // guarded by storeMutex
  std::unique_ptr<RemoteChangeWatcher> watcher;  // guarded by storeMutex; ended without it
  std::mutex clientsMutex;
  std::vector<CoordinatorClient*> clients;  // guarded by clientsMutex
};

NSPersistentStoreCoordinator::NSPersistentStoreCoordinator(
    Ref<const NSManagedObjectModel> managedObjectModel)
    : model_(std::move(managedObjectModel)),
      identifiers_(make<ObjectIDTable>(model_)),
      plans_(std::make_unique<FetchPlanCache>(model_)),
      state_(std::make_unique<State>()) {}

NSPersistentStoreCoordinator::~NSPersistentStoreCoordinator() {
  state_->watcher.reset();
  if (state_->store) state_->store->engine()->close();
}

std::vector<Ref<NSPersistentStore>> NSPersistentStoreCoordinator::persistentStores() const {
  if (Ref<NSPersistentStore> current = store()) return {current};
  return {};
}

Ref<NSPersistentStore> NSPersistentStoreCoordinator::store() const {
  const std::scoped_lock lock(state_->storeMutex);
  return state_->store;
}

Ref<NSPersistentStore> NSPersistentStoreCoordinator::addPersistentStore(
    const NSPersistentStoreDescription& description) {
  requireSQLite(description.type());
  if (!description.url()) {
    throw coordinatorError(CoordinatorErrorCode::noStore,
                           "The store description says no location.");
  }
  if (description.configuration() && !model_->entities(*description.configuration())) {
    throw coordinatorError(
        CoordinatorErrorCode::unknownConfiguration,
        "The model has no configuration named \"" + *description.configuration() + "\".");
  }
  const std::scoped_lock lock(state_->storeMutex);
  if (state_->store) {
    if (namesSameFile(*state_->store->url(), *description.url())) return state_->store;
    throw coordinatorError(CoordinatorErrorCode::alreadyHasStore,
                           "The store " + state_->store->url()->absoluteString() +
                               " is open; remove it before adding another.");
  }
  auto store = make<NSPersistentStore>(*description.url(),
                                       SQLiteStore::open(storeOptions(description), model_),
                                       description.configuration());
  state_->watcher = watcher(store);
  state_->store = store;
  return store;
}

Ref<NSPersistentStore> NSPersistentStoreCoordinator::addPersistentStore(
    std::string_view type, const std::optional<std::string>& configuration, const URL& url,
    const foundation::ValueDictionary& options) {
  NSPersistentStoreDescription description = describedStore(url, options);
  description.setType(std::string(type));
  description.setConfiguration(configuration);
  return addPersistentStore(description);
}

// Members, as adding and removing are: callers ask a coordinator of their own for it.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
void NSPersistentStoreCoordinator::destroyPersistentStore(
    const URL& at, std::string_view type, const foundation::ValueDictionary& options) const {
  requireSQLite(type);
  requireWritable(at, options);
  SQLiteStore::destroy(at);
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
void NSPersistentStoreCoordinator::replacePersistentStore(
    const URL& at, const foundation::ValueDictionary& destinationOptions,
    const URL& withPersistentStoreFrom, const foundation::ValueDictionary& /*sourceOptions*/,
    std::string_view type) const {
  requireSQLite(type);
  requireWritable(at, destinationOptions);
  SQLiteStore::replace(at, withPersistentStoreFrom);
}

void NSPersistentStoreCoordinator::removePersistentStore(const Ref<NSPersistentStore>& store) {
  if (!store || this->store() != store) {
    throw coordinatorError(CoordinatorErrorCode::foreignStore,
                           "The store to be removed is not one of this coordinator's.");
  }
  endWatch();
  // A client may have to wait for its turn, which whoever has it may end by telling the others what
  // it saved: so nothing is locked meanwhile.
  for (const auto& [client, alive] : livingClients()) client->storeWillBeRemoved();
  {
    const std::scoped_lock lock(state_->storeMutex);
    state_->store = nullptr;
  }
  store->engine()->close();
}

foundation::ValueDictionary NSPersistentStoreCoordinator::metadataForPersistentStore(
    std::string_view type, const URL& url, const foundation::ValueDictionary& /*options*/) {
  requireSQLite(type);
  return SQLiteStore::metadataAt(url);
}

Ref<NSManagedObjectID> NSPersistentStoreCoordinator::managedObjectIDForURIRepresentation(
    const URL& uri) const {
  const Ref<NSPersistentStore> current = store();
  // The text is compared whole: what a query, a fragment, a port or an escape adds makes it another
  // text.
  std::string_view text = uri.absoluteString();
  constexpr std::string_view kScheme = "x-coredata://";
  if (!current || text.size() > kMaxURILength || !text.starts_with(kScheme)) return nullptr;
  text.remove_prefix(kScheme.size());
  const std::size_t hostEnd = text.find('/');
  if (hostEnd == std::string_view::npos || text.substr(0, hostEnd) != current->identifier())
    return nullptr;
  text.remove_prefix(hostEnd + 1);
  const std::size_t entityEnd = text.find('/');
  if (entityEnd == std::string_view::npos) return nullptr;
  const NSEntityDescription* entity = model_->entity(text.substr(0, entityEnd));
  const std::optional<ObjectKey> key = permanentKey(text.substr(entityEnd + 1));
  if (entity == nullptr || !key) return nullptr;
  return identifiers_->identifier(current, *entity, *key);
}

std::unique_ptr<RemoteChangeWatcher> NSPersistentStoreCoordinator::watcher(
    const Ref<NSPersistentStore>& store) {
  const StoreOptions& options = store->engine()->options();
  if (!options.announcesChanges || options.isScratch) return nullptr;
  auto announce = [coordinator = foundation::WeakRef(this), identifier = store->identifier(),
                   url = store->url()->absoluteString()](std::optional<std::int64_t> newest) {
    if (const Ref<NSPersistentStoreCoordinator> alive = coordinator.lock())
      postRemoteChange(alive, identifier, url, newest);
  };
  try {
    return std::make_unique<RemoteChangeWatcher>(
        store->engine(), store->engine()->newestAtOpening(), std::move(announce));
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "CoreData: changes to the store %s are not announced: %s\n",
                 store->url()->absoluteString().c_str(), error.what());
    return nullptr;
  }
}

void NSPersistentStoreCoordinator::endWatch() {
  std::unique_ptr<RemoteChangeWatcher> ending;
  const std::scoped_lock lock(state_->storeMutex);
  ending = std::move(state_->watcher);
}

void NSPersistentStoreCoordinator::attach(CoordinatorClient& client) {
  const std::scoped_lock lock(state_->clientsMutex);
  state_->clients.push_back(&client);
}

void NSPersistentStoreCoordinator::detach(CoordinatorClient& client) {
  const std::scoped_lock lock(state_->clientsMutex);
  std::erase(state_->clients, &client);
}

std::vector<std::pair<CoordinatorClient*, Ref<foundation::Object>>>
NSPersistentStoreCoordinator::livingClients() {
  std::vector<std::pair<CoordinatorClient*, Ref<foundation::Object>>> result;
  const std::scoped_lock lock(state_->clientsMutex);
  for (CoordinatorClient* client : state_->clients) {
    if (Ref<foundation::Object> alive = client->keepAlive())
      result.emplace_back(client, std::move(alive));
  }
  return result;
}

bool NSPersistentStoreCoordinator::hasListenersBeside(const CoordinatorClient& client) const {
  const std::scoped_lock lock(state_->clientsMutex);
  return std::ranges::any_of(state_->clients, [&](const CoordinatorClient* other) {
    return other != &client && other->listens();
  });
}

void NSPersistentStoreCoordinator::tellOthers(
    const CoordinatorClient& sender, const std::shared_ptr<const SaveBroadcast>& broadcast) {
  for (const auto& [client, alive] : livingClients()) {
    if (client != &sender && client->listens()) client->otherDidSave(broadcast);
  }
}

void NSPersistentStoreCoordinator::tellOthersOfMissedSave(
    const CoordinatorClient& sender) noexcept {
  const std::scoped_lock lock(state_->clientsMutex);
  for (CoordinatorClient* client : state_->clients) {
    if (client != &sender && client->listens()) client->missedSave();
  }
}

}  // namespace coredata
