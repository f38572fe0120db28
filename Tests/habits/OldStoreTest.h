#pragma once

#include <fstream>
#include <map>
#include <sstream>

#include "CoreData/Coordinator/NSPersistentStore.h"
#include "CoreData/Coordinator/NSPersistentStoreCoordinator.h"
#include "CoreDataStack/NSPersistentStoreCoordinator+Migration.h"
#include "Tests/Support/MigrationPlace.h"
#include "Tests/habits/ProgramTest.h"

namespace habits {

using Version = coredatastack::CoreDataMigrationVersion;

/// Runs the program over a store that an older version wrote.
class OldStoreTest : public ProgramTest {
 protected:
  /// A store of version 3: a habit without a colour, with a badge, and two check-ins, one of them
  /// with a photo.
  void writeVersion3() const {
    support::edit(url(), Version::version3, [](coredata::NSManagedObjectContext& context) {
      const auto run = context.insertNewObject("Activity");
      run->setValue("Run", "title");
      run->setValue(4, "maxCount");
      context.insertNewObject("Badge")->setValue(run, "activity");
      for (const char* day : {"2024-02-10", "2024-02-11"}) {
        const auto checkin = context.insertNewObject("Checkin");
        checkin->setValue(day, "date");
        checkin->setValue(1, "count");
        checkin->setValue(run, "activity");
        if (std::string(day) != "2024-02-10") continue;
        const auto photo = context.insertNewObject("Photo");
        photo->setValue("lake.jpg", "filename");
        photo->setValue(checkin, "checkin");
      }
    });
  }
  /// A store of version 6 with photos of those names; absent ones have none.
  void writePhotos(const std::vector<std::optional<std::string>>& names) const {
    support::edit(url(), Version::version6, [&](coredata::NSManagedObjectContext& context) {
      for (const auto& name : names) {
        const auto photo = context.insertNewObject("Photo");
        if (name) photo->setValue(*name, "filename");
      }
    });
  }
  static void writeFile(const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
  }
  void writePhotoFile(const std::string& name) const {
    writeFile(container() / "photo" / name, "picture " + name);
    writeFile(container() / "thumbnail" / name, "thumbnail " + name);
  }

  [[nodiscard]] foundation::URL url() const {
    return foundation::URL::fileURL(program_.store().string());
  }
  [[nodiscard]] std::string path() const { return program_.store().string(); }
  [[nodiscard]] std::filesystem::path container() const {
    return program_.directory() / "home/.local/share/group.com.tessaline.habits";
  }
  [[nodiscard]] std::filesystem::path temporary() const {
    return program_.directory() / "home/.cache/com.tessaline.habits/tmp";
  }
  [[nodiscard]] std::string identifier() const {
    return *coredatastack::storeMetadata(url())->find(coredata::NSStoreUUIDKey)->second.text();
  }
  [[nodiscard]] std::string version() const {
    const auto metadata = coredatastack::storeMetadata(url());
    const auto version = metadata ? Version::storeVersion(*metadata) : std::nullopt;
    return version ? std::string(version->rawValue()) : "none";
  }

  using Files = std::map<std::string, std::string>;
  /// Every file and directory with what tells its bytes from others. SQLite's index of the log, and
  /// a log in which nothing is, come with looking at a store, and nothing depends on them.
  [[nodiscard]] Files files() const {
    Files result;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(program_.directory())) {
      const std::string name = entry.path().lexically_relative(program_.directory());
      const bool isOurs =
          name == "output" || name == "complaint" || name.starts_with("home/.cache");
      const bool isIndex = name.ends_with("-shm");
      const bool isEmptyLog = name.ends_with("-wal") && entry.file_size() == 0;
      if (isOurs || isIndex || isEmptyLog) continue;
      result[name] = entry.is_directory() ? "a directory" : digest(contentOf(entry.path()));
    }
    return result;
  }
  [[nodiscard]] bool leftNothingBehind() const {
    return !std::filesystem::exists(temporary()) || std::filesystem::is_empty(temporary());
  }
  /// Ends with trouble or a refusal that says all of this.
  void fails(const std::vector<std::string>& arguments, int status,
             const std::vector<std::string>& saying) const {
    const Outcome outcome = program_.run(arguments);
    EXPECT_EQ(outcome.status, status) << outcome.complaint;
    for (const std::string& text : saying) {
      EXPECT_NE(outcome.complaint.find(text), std::string::npos)
          << outcome.complaint << " lacks " << text;
    }
  }

 private:
  static std::string digest(const std::string& bytes) {
    return std::to_string(bytes.size()) + " bytes, hash " +
           std::to_string(std::hash<std::string>()(bytes));
  }
  static std::string contentOf(const std::filesystem::path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
  }
};

}  // namespace habits
