#include "Tests/Processes/Program.h"

#include <stdexcept>

#include "CoreDataStack/BuildIdentifiers.h"
#include "CoreDataStack/History/UserDefaults+HistoryTimestamp.h"
#include "CoreDataStack/Stack/CoreDataNotificationName.h"
#include "Foundation/Files/Directories.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Tests/Support/StoreDump.h"

namespace support {

using coredata::NSPersistentHistoryTransaction;
using coredatastack::CoreDataConfiguration;
using coredatastack::CoreDataStack;
using foundation::make;
using foundation::NSNotification;
using foundation::Ref;

namespace {

Ref<foundation::UserDefaults> sharedSettings() {
  return foundation::UserDefaults::suite("com.tessaline.shared");
}

Program::Transactions transactionsOf(const NSNotification& notification) {
  Program::Transactions result;
  const auto* value = notification.userInfoValue("transactions");
  if (value == nullptr || value->list() == nullptr) return result;
  for (const auto& one : *value->list()) {
    result.emplace_back(static_cast<const NSPersistentHistoryTransaction*>(one.object()));
  }
  return result;
}

}  // namespace

CoreDataConfiguration configurationOf(const std::string& name, const foundation::URL& store) {
  using Stage = CoreDataConfiguration::Stage;
  return CoreDataConfiguration(name == "app" ? Stage::production : Stage::extensions, "Model",
                               coredatastack::modelBundleIdentifier(), "iCloud.com.tessaline",
                               coredatastack::appGroupIdentifier(), name, store, false);
}

Program::Program(const MigrationPlace& place, std::string_view name)
    : name_(name), log_(make<RecordingLogger>()) {
  foundation::Directories::set(foundation::Directories::below(
      (place.directory() / "homes").string(), "com.tessaline." + name_));
  stack_ = make<CoreDataStack>(configurationOf(name_, place.storeURL()), log_);
  // Before the store is open: a pass that came first would take what this program wrote in an
  // earlier life for somebody else's.
  static_cast<void>(view());
  coredatastack::Failure failure;
  bool isOpen = false;
  // A store of the newest version is open when this returns.
  stack_->setup([&](const std::expected<bool, coredatastack::Failure>& outcome) {
    isOpen = outcome.has_value();
    if (!outcome) failure = outcome.error();
  });
  if (failure) failure->raise();
  if (!isOpen) throw std::runtime_error("the store was not of the newest version");
}

Program::~Program() {
  if (merged_) merged_->takeAway();
  log_->onError(nullptr);
}

Ref<Program::Context> Program::newContext() const {
  auto context = stack_->privateManagedObjectContext();
  context->performBlockAndWait([&] { context->setTransactionAuthor(name_); });
  return context;
}

void Program::close() const {
  const auto& coordinator = stack_->persistentStoreCoordinator();
  coordinator->removePersistentStore(coordinator->store());
}

void Program::afterMerging(std::function<void(const Transactions&)> handler) {
  merged_ = std::make_shared<Callback<const Transactions&>>(
      [this, handler = std::move(handler)](const Transactions& transactions) {
        if (isTold()) handler(transactions);
      });
  token_ = foundation::NSNotificationCenter::defaultCenter().addObserver(
      coredatastack::CoreDataNotificationName::NSPersistentHistoryDidMerge, nullptr,
      [merged = merged_](const NSNotification& notification) {
        (*merged)(transactionsOf(notification));
      });
}

void Program::onError(std::function<void(const std::string&)> handler) const {
  log_->onError(std::move(handler));
}

void Program::prune(const coredatastack::AppTarget& target) {
  target_ = target;
  pruner_ = make<coredatastack::PersistentHistoryObserver>(target, stack_->persistentContainer(),
                                                           sharedSettings(), log_);
  // What each observer tells by itself comes right before the notification that all of them post.
  pruned_ = pruner_->syncEvent()->sink(
      [this](const coredatastack::SyncEvent&) { prunedOn_ = std::this_thread::get_id(); });
  pruner_->startObserving();
}

bool Program::isTold() {
  if (!pruner_) return true;
  auto here = std::this_thread::get_id();
  return prunedOn_.compare_exchange_strong(here, {});
}

std::optional<foundation::Date> Program::stamp() const {
  return coredatastack::lastHistoryTransactionTimestamp(
      pruner_ ? *sharedSettings() : *foundation::UserDefaults::standard(), target_);
}

bool Program::viewIsCurrent() const {
  const auto fresh = newContext();
  std::string content;
  fresh->performBlockAndWait([&] { content = dumpOf(*fresh); });
  return dumpOf(view()) == content;
}

std::int64_t Program::newestTransaction() const {
  return stack_->persistentStoreCoordinator()->store()->engine()->newestTransaction().number;
}

std::vector<std::string> Program::errors() const { return log_->descriptions(); }

}  // namespace support
