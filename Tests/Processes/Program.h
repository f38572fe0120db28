#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Combine/AnyCancellable.h"
#include "CoreData/History/NSPersistentHistoryTransaction.h"
#include "CoreDataStack/History/PersistentHistoryObserver.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Tests/Support/Callback.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/RecordingLogger.h"

namespace support {

/// How a program of that name has its store: as the application does if it is called "app", and as
/// an extension otherwise.
[[nodiscard]] coredatastack::CoreDataConfiguration configurationOf(const std::string& name,
                                                                   const foundation::URL& store);

/// One program of several that have a store in common: a stack that is set up, with settings and a
/// temporary directory of its own, and with settings that they share. To be made once, in a process
/// that has nothing else.
class Program {
 public:
  using Context = coredata::NSManagedObjectContext;
  using Transactions = std::vector<foundation::Ref<const coredata::NSPersistentHistoryTransaction>>;

  /// `name` is both its author and, with a prefix, its identifier.
  Program(const MigrationPlace& place, std::string_view name);
  /// Waits for a call of a handler that goes on.
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  [[nodiscard]] coredatastack::CoreDataStack& stack() const noexcept { return *stack_; }
  [[nodiscard]] Context& view() const { return *stack_->managedObjectContext(); }
  /// A background context that writes under the program's author.
  [[nodiscard]] foundation::Ref<Context> newContext() const;

  /// Follows the store a second time, as that target over the settings that programs share, and
  /// deletes what every target has merged. Only these passes are told of from then on.
  void prune(const coredatastack::AppTarget& target);
  /// How far its passes have come.
  [[nodiscard]] std::optional<foundation::Date> stamp() const;

  /// Closes the store, which stays open otherwise: those who follow it live on.
  void close() const;

  /// Calls `handler` after each pass over the history, on the thread of the pass, until the program
  /// ends: passes do not end with it.
  void afterMerging(std::function<void(const Transactions&)> handler);
  /// Calls `handler` with each error that the stack's logger is told, on the thread that it is told
  /// on, until the program ends.
  void onError(std::function<void(const std::string&)> handler) const;
  /// The view context and a context that has seen nothing hold the same.
  [[nodiscard]] bool viewIsCurrent() const;
  [[nodiscard]] std::int64_t newestTransaction() const;
  /// What the stack's logger was told.
  [[nodiscard]] std::vector<std::string> errors() const;

 private:
  /// Whether the pass that has just ended on this thread is one of those that are told of.
  [[nodiscard]] bool isTold();

  std::string name_;
  foundation::Ref<RecordingLogger> log_;
  foundation::Ref<coredatastack::CoreDataStack> stack_;
  coredatastack::AppTarget target_ = coredatastack::AppTarget::app;
  foundation::Ref<coredatastack::PersistentHistoryObserver> pruner_;
  std::optional<combine::AnyCancellable> pruned_;
  /// On which the last pass of the pruner ended.
  std::atomic<std::thread::id> prunedOn_;
  /// Whoever makes a pass has a part in it, and may call it when the program has gone.
  std::shared_ptr<Callback<const Transactions&>> merged_;
  foundation::Ref<foundation::Object> token_;
};

}  // namespace support
