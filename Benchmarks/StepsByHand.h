#pragma once

#include <string>
#include <vector>

#include "CoreData/Model/NSManagedObjectModel.h"

namespace benchmarks {

/// What somebody would write who brings a database forward with SQLite's own interface and knows it
/// well. Each step attaches the old file to a new one with the tables and the indexes of the next
/// version, copies every table by one statement, syncs once and takes the old one's place. Nothing
/// is written twice for a journal: until the renaming the old file is all there is.
///
/// Plain tables have the columns that the model declares, and no history.
class StepsByHand {
 public:
  StepsByHand();

  /// Makes a database of the first version out of the library's store at `source`, which nobody may
  /// have open.
  void fill(const std::string& path, const std::string& source) const;
  /// Takes it to the newest version.
  void run(const std::string& path) const;

 private:
  struct Copy {
    std::string schema;
    std::string rows;
    std::string indexes;
  };
  static void make(const std::string& path, const std::string& from, const Copy& copy);

  Copy filling_;
  std::vector<Copy> steps_;
};

/// Writes each file of the directory as a row of a new database at `path`, in one transaction.
void copyFilesByHand(const std::string& directory, const std::string& path);

}  // namespace benchmarks
