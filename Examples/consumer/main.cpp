#include <cstdio>

#include "CoreData/Container/NSPersistentContainer.h"
#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Foundation/Files/Bundle.h"

using namespace coredata;
using namespace coredatastack;

int main(int count, char** arguments) {
  foundation::Bundle::registerDirectory(foundation::URL::fileURL(COREDATASTACK_RESOURCE_DIR));
  const auto bundle = foundation::Bundle::withIdentifier("com.tessaline.coredata");
  const auto model = NSManagedObjectModel::contentsOf(*bundle->url("Model", "momd"));
  const auto container = foundation::make<NSPersistentContainer>("Model", model);
  NSPersistentStoreDescription store(
      foundation::URL::fileURL(count > 1 ? arguments[1] : "Model.sqlite"));
  store.setOption(true, NSPersistentHistoryTrackingKey);
  container->setPersistentStoreDescriptions({store});
  container->loadPersistentStores([](const auto&, const auto& error) {
    if (error) error->raise();
  });

  const auto context = container->newBackgroundContext();
  context->performBlockAndWait([&] {
    const auto activity = CDActivity::create(*context, "orange");
    activity->setTitle("Run");
    CoreDataCheckinUseCase checkins(activity, context);
    checkins.addCheckin(foundation::Date::now(), domain::CheckinType::standard);
    std::printf("%zu check-ins\n", activity->checkins().count());
  });
}
