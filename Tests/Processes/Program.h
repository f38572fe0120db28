#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "CoreData/History/NSPersistentHistoryTransaction.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/Support/RecordingLogger.h"

namespace support {

/// One program of several that have a store in common: a stack that is set up, with settings and a
/// temporary directory of its own. To be made once, in a process that has nothing else.
class Program {
 public:
  using Context = coredata::NSManagedObjectContext;
  using Transactions = std::vector<foundation::Ref<const coredata::NSPersistentHistoryTransaction>>;

  /// `name` is both its author and, with a prefix, its identifier. A program called "app" is the
  /// application, every other one an extension.
  Program(const MigrationPlace& place, std::string_view name);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  [[nodiscard]] coredatastack::CoreDataStack& stack() const noexcept { return *stack_; }
  [[nodiscard]] Context& view() const { return *stack_->managedObjectContext(); }
  /// A background context that writes under the program's author.
  [[nodiscard]] foundation::Ref<Context> newContext() const;

  /// Calls `handler` after each pass over the history, on the thread of the pass.
  void afterMerging(std::function<void(const Transactions&)> handler);
  /// The view context and a context that has seen nothing hold the same.
  [[nodiscard]] bool viewIsCurrent() const;
  [[nodiscard]] std::int64_t newestTransaction() const;
  /// What the stack's logger was told.
  [[nodiscard]] std::vector<std::string> errors() const;

 private:
  std::string name_;
  foundation::Ref<RecordingLogger> log_;
  foundation::Ref<coredatastack::CoreDataStack> stack_;
  foundation::Ref<foundation::Object> token_;
};

}  // namespace support
