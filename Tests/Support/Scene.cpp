#include "Tests/Support/Scene.h"

#include <stdexcept>

#include "Tests/Support/CrashRunner.h"

namespace support {

namespace fs = std::filesystem;

namespace {
bool liesBesideOpenStore(const std::string& name) {
  return name.ends_with("-wal") || name.ends_with("-shm");
}
}  // namespace

bool succeeds(foundation::FunctionRef<void()> work) {
  const auto outcome = runInChild(
      [&](const Acknowledgements& done) {
        work();
        done.send("returned");
      },
      std::chrono::seconds(30));
  return !outcome.acknowledged.empty();
}

FileOperationCount countOperations(const FileTrouble& trouble,
                                   foundation::FunctionRef<void()> work) {
  const auto outcome = runInChild(
      [&](const Acknowledgements& done) {
        const FileFaults faults(trouble);
        work();
        const FileOperationCount count = faults.count();
        done.send(std::to_string(count.sqlite));
        done.send(std::to_string(count.others));
        done.send(std::to_string(count.bytes));
      },
      std::chrono::seconds(30));
  if (outcome.acknowledged.size() != 3) throw std::runtime_error("the work was not done");
  const auto number = [&](std::size_t line) { return std::stoll(outcome.acknowledged[line]); };
  return {static_cast<std::size_t>(number(0)), static_cast<std::size_t>(number(1)), number(2)};
}

void Scene::remember() { files_ = filesIn(place_.directory()); }

void Scene::lay(const Files& files) const {
  putFiles(files, place_.directory());
  fs::create_directories(place_.container());
}

std::set<std::string> Scene::names() const {
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(place_.directory())) {
    const std::string name = fs::relative(entry.path(), place_.directory()).string();
    if (!liesBesideOpenStore(name)) names.insert(name);
  }
  return names;
}

}  // namespace support
