#include <cstdio>
#include <exception>
#include <string>

#include "Foundation/Values/Error.h"
#include "Tools/habits/AnswerStream.h"
#include "Tools/habits/CommandLine.h"
#include "Tools/habits/Complaints.h"
#include "Tools/habits/Failures.h"

namespace habits {

namespace {

Answer answerTo(const Request& request, const std::string& path) {
  if (request.runBeforeOpening) return request.runBeforeOpening(path);
  const Session session(path, request.migrates);
  return session.context().performBlockAndWait([&] { return request.run(session); });
}

int fulfil(const Request& request) {
  std::string path;
  try {
    setUpDirectories();
    path = storePath(request.store);
    const AnswerStream stream;
    if (request.runAnsweringLater) {
      request.runAnsweringLater(path, stream);
      return kSuccess;
    }
    const Answer answer = answerTo(request, path);
    stream.print(request.json ? json(answer.data) : answer.text);
    if (!answer.trouble) return kSuccess;
    complain(*answer.trouble);
  } catch (const Refusal& refusal) {
    complain(refusal.what());
    return kRefused;
  } catch (const UsageError& error) {
    complain(error.what());
    return kUsage;
  } catch (const foundation::Error& error) {
    complain(explained(error, path));
  } catch (const std::exception& error) {
    complain(error.what());
  }
  return kStoreTrouble;
}

}  // namespace

}  // namespace habits

int main(int argc, char** argv) {
  CLI::App app(
      "Tracks habits, day by day.\nOf several habits with one title, TITLE#1 is the oldest.",
      "habits");
  app.require_subcommand(0, 1);
  app.fallthrough();
  habits::Request request;
  app.add_option("--store", request.store,
                 "The file to keep them in; the user's own when not given");
  app.add_flag("--json", request.json, "Answer in JSON");
  habits::declareHabitCommands(app, request);
  habits::declareDayCommands(app, request);
  habits::declareListCommands(app, request);
  habits::declareImport(app, request);
  habits::declareErasing(app, request);
  habits::declareGroups(app, request);
  habits::declareReview(app, request);
  habits::declareReminders(app, request);
  habits::declareWidgets(app, request);
  habits::declarePhotos(app, request);
  habits::declareMigration(app, request);
  habits::declareHistory(app, request);
  habits::declareBackups(app, request);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? habits::kSuccess : habits::kUsage;
  }
  if (!request.run && !request.runBeforeOpening && !request.runAnsweringLater) {
    std::fputs(app.help().c_str(), stderr);
    return habits::kUsage;
  }
  return habits::fulfil(request);
}
