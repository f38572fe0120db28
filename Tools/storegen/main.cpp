// Fills a new store of any version with data that a seed decides.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "CoreDataStack/CoreDataMigrationVersion.h"
#include "CoreDataStack/NSManagedObjectModel+Migration.h"
#include "Foundation/Values/Error.h"
#include "Tools/storegen/SeededStore.h"

namespace {

using coredatastack::CoreDataMigrationVersion;

constexpr int kRefused = 1;
constexpr int kUsage = 2;

struct Options {
  std::size_t version = 0;
  std::string file;
  storegen::SeededContent content;
};

void declare(CLI::App& app, Options& options) {
  storegen::SeededContent& content = options.content;
  app.add_option("version", options.version, "The version of the schema")
      ->required()
      ->check(CLI::Range(std::size_t{1}, CoreDataMigrationVersion::allCases().size()));
  app.add_option("file", options.file, "The store, which must not be there yet")->required();
  app.add_option("--seed", content.seed, "What decides the content")->capture_default_str();
  app.add_option("--activities", content.activities)->capture_default_str();
  app.add_option("--days", content.days, "Check-ins of each activity, one a day")
      ->capture_default_str();
  app.add_option("--photos", content.photos)->capture_default_str();
  app.add_option("--photo-bytes", content.photoBytes, "The size of each photo")
      ->capture_default_str();
  app.add_option("--absent", content.absentPercent,
                 "How many of a hundred optional values and relationships are absent")
      ->check(CLI::Range(0, 100))
      ->capture_default_str();
  app.add_option("--container", content.container,
                 "The directory for the files of photos, up to version 6");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Fills a new store of any version of the schema with seeded data, for tests.");
  Options options;
  declare(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kUsage;
  }
  try {
    const CoreDataMigrationVersion version =
        CoreDataMigrationVersion::allCases()[options.version - 1];
    const std::string path = std::filesystem::absolute(options.file).string();
    storegen::makeSeededStore(path, coredatastack::model(version.rawValue()), options.content);
    return 0;
  } catch (const foundation::Error& error) {
    std::fprintf(stderr, "storegen: %s\n", error.message().c_str());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "storegen: %s\n", error.what());
  }
  return kRefused;
}
