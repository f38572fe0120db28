#include <cstdio>

#include "CoreDataStack/Model/CDActivity.h"
#include "CoreDataStack/Stack/CoreDataStack.h"
#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Foundation/Files/Bundle.h"
#include "Logger/StandardErrorLogger.h"

using namespace coredatastack;

int main(int count, char** arguments) {
  foundation::Bundle::registerDirectory(foundation::URL::fileURL(COREDATASTACK_RESOURCE_DIR));
  const auto location = foundation::URL::fileURL(count > 1 ? arguments[1] : "Model.sqlite");
  const auto stack = foundation::make<CoreDataStack>(
      CoreDataConfiguration(CoreDataConfiguration::Stage::production, "Model",
                            "com.tessaline.coredata", "", "", "tracker", location, false),
      foundation::make<logger::StandardErrorLogger>());
  stack->setup([](const auto& outcome) {
    if (!outcome) outcome.error()->raise();
  });

  const auto& context = stack->managedObjectContext();
  const auto activity = CDActivity::create(*context, "orange");
  activity->setTitle("Run");
  CoreDataCheckinUseCase checkins(activity, context);
  checkins.addCheckin(foundation::Date::now(), domain::CheckinType::standard);
  std::printf("%zu check-ins\n", activity->checkins().count());
}
