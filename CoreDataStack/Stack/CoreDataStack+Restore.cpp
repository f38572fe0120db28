#include "CoreDataStack/Stack/BackupRestore.h"
#include "CoreDataStack/Stack/CoreDataStack.h"

namespace coredatastack {

void CoreDataStack::restoreFromDropbox(const foundation::Data& with,
                                       const std::function<void(const Failure&)>& completion) {
  Failure failure;
  try {
    BackupRestore(*migrator_, managedObjectModel(), logger_).run(with, configuration_.path());
  } catch (const foundation::Error& error) {
    failure = error.clone();
  }
  if (completion) completion(failure);
}

}  // namespace coredatastack
