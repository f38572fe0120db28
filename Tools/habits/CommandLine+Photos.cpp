#include "Tools/habits/CommandLine.h"
#include "Tools/habits/Commands.h"

namespace habits {

namespace {

void declareNewPhoto(CLI::App& app, Request& request) {
  const CommandDeclaration<NewPhoto> command(app, "add", "Attach a picture to a day's check-in");
  addHabit(command, command.arguments().day.name);
  command->add_option("file", command.arguments().path, "The picture, JPEG or PNG")->required();
  addDay(command, command.arguments().day.on);
  command.runs(request, addPhoto);
}

template <typename Arguments>
void addPhotoOfDay(const CommandDeclaration<Arguments>& command, PhotoOfDay& photo) {
  addHabit(command, photo.day.name);
  addDay(command, photo.day.on);
  command->add_option("--number", photo.number, "Which of the day's photos")->capture_default_str();
}

}  // namespace

void declarePhotos(CLI::App& app, Request& request) {
  CLI::App& photo = family(app, "photo", "Keep pictures of days");
  declareNewPhoto(photo, request);
  const CommandDeclaration<std::string> listCommand(photo, "list", "Show a habit's photos");
  addHabit(listCommand, listCommand.arguments());
  listCommand.runs(request, listPhotos);
  const CommandDeclaration<PhotoExport> exportCommand(photo, "export", "Write a photo to a file");
  addPhotoOfDay(exportCommand, exportCommand.arguments().photo);
  exportCommand->add_option("file", exportCommand.arguments().path, "A file that is not there yet")
      ->required();
  exportCommand.runs(request, exportPhoto);
  const CommandDeclaration<PhotoRemoval> removeCommand(photo, "remove", "Delete a photo");
  addPhotoOfDay(removeCommand, removeCommand.arguments().photo);
  removeCommand->add_flag("--yes", removeCommand.arguments().isConsentedTo, "Do not ask");
  removeCommand.runs(request, removePhoto);
}

}  // namespace habits
