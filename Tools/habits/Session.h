#pragma once

#include <optional>
#include <string>

#include "CoreDataStack/Stack/CoreDataStack.h"
#include "Tools/habits/Complaints.h"

namespace habits {

/// Tells the platform where this program keeps its files, and where photos lay in older versions:
/// to be called before anything else. Throws `foundation::Error` for a user without a home.
void setUpDirectories();

/// The model of the newest version. Throws when the program is not installed completely.
[[nodiscard]] foundation::Ref<const coredata::NSManagedObjectModel> newestModel();

/// The store that a command line means: the named file, or the user's own.
[[nodiscard]] std::string storePath(const std::optional<std::string>& named);

/// As whom a store is opened.
struct Role {
  /// Who the changes are by, in the history.
  std::string author = "habits";
  /// Who is told of errors that nobody else is.
  foundation::Ref<Complaints> complaints = foundation::make<Complaints>();
  /// Whether other programs' commits are merged as they happen. A command is over before that
  /// matters, and no longer to follow takes the system as long as the command.
  bool follows = false;
};

/// How a store is opened.
[[nodiscard]] coredatastack::CoreDataConfiguration configurationOf(const std::string& path,
                                                                   const std::string& author);

/// The stack over a store, which is not opened yet. Throws as `newestModel` does.
[[nodiscard]] foundation::Ref<coredatastack::CoreDataStack> stackOver(const std::string& path,
                                                                      const Role& role = {});

/// One run of the program over its open store.
///
/// Threading: belongs to the main thread.
class Session {
 public:
  /// Opens the store and makes it if it is missing. One of an older version is brought forward
  /// first, if the user consents: beforehand, or when asked in a terminal.
  /// Throws `foundation::Error`, and what `bringForwardWithConsent` does.
  Session(const std::string& path, bool mayMigrate, const Role& role = {});

  [[nodiscard]] coredata::NSManagedObjectContext& context() const { return *contextHandle(); }
  [[nodiscard]] const foundation::Ref<coredata::NSManagedObjectContext>& contextHandle() const {
    return stack_->managedObjectContext();
  }
  [[nodiscard]] coredatastack::CoreDataStack& stack() const { return *stack_; }

 private:
  foundation::Ref<coredatastack::CoreDataStack> stack_;
};

}  // namespace habits
