#include "Tools/habits/CommandLine.h"
#include "Tools/habits/Commands.h"

namespace habits {

void declareMigration(CLI::App& app, Request& request) {
  app.add_flag("--migrate", request.migrates, "Bring an old store to this version first");
  const CommandDeclaration<MigrationWish> command(app, "migrate",
                                                  "Bring an old store to this version");
  MigrationWish& wish = command.arguments();
  auto* plan = command->add_flag("--plan", wish.plansOnly, "Only say what would be done");
  command->add_flag("--rehearse", wish.rehearses, "Try it on a copy, and say how that went")
      ->excludes(plan);
  command->add_option("--photos", wish.photos,
                      "The directory with the photo directory of a store from elsewhere");
  command->final_callback([&request, wishes = command.sharedArguments()] {
    request.runBeforeOpening = [wishes](const std::string& path) { return migrate(path, *wishes); };
  });
}

}  // namespace habits
