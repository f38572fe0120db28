#include "Tools/habits/CommandLine.h"
#include "Tools/habits/Commands.h"

namespace habits {

namespace {

void declareBackup(CLI::App& app, Request& request) {
  const CommandDeclaration<std::string> command(app, "backup", "Copy everything into a file");
  command->add_option("file", command.arguments(), "The file to make")->required();
  command->final_callback([&request, file = command.sharedArguments()] {
    request.runBeforeOpening = [file](const std::string& path) { return backUp(path, *file); };
  });
}

void declareRestore(CLI::App& app, Request& request) {
  const CommandDeclaration<RestoreWish> command(app, "restore",
                                                "Put a backup in the place of everything");
  RestoreWish& wish = command.arguments();
  command->add_option("file", wish.file, "The backup")->required();
  command->add_flag("--preview", wish.isOnlyLookedAt,
                    "Only say what would be there, and what lost");
  command->add_flag("--yes", wish.isConsentedTo, "Do not ask");
  command->final_callback([&request, wishes = command.sharedArguments()] {
    request.runBeforeOpening = [wishes](const std::string& path) { return restore(path, *wishes); };
  });
}

}  // namespace

void declareBackups(CLI::App& app, Request& request) {
  declareBackup(app, request);
  declareRestore(app, request);
  app.add_subcommand("backups", "Show the backups among your cloud documents")
      ->final_callback([&request] {
        request.runBeforeOpening = [](const std::string& /*path*/) { return backups(); };
      });
}

}  // namespace habits
