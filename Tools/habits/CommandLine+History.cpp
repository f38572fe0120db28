#include "Tools/habits/CommandLine.h"
#include "Tools/habits/Commands.h"

namespace habits {

void declareHistory(CLI::App& app, Request& request) {
  app.add_subcommand("watch", "Show what other programs write, as it happens")
      ->final_callback([&request] {
        request.runAnsweringLater = [&request](const std::string& path,
                                               const AnswerStream& stream) {
          watch({path, request.migrates, request.json}, stream);
        };
      });
  const CommandDeclaration<HistoryWish> command(app, "history", "Show what was written, and when");
  command->add_option("--since", command.arguments().since, "The first day, as YYYY-MM-DD");
  command->add_option("--object", command.arguments().object,
                      "Only what happened to the object of that URI");
  command.runs(request, history);
}

}  // namespace habits
