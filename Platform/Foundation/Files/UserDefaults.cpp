#include "Foundation/Files/UserDefaults.h"

#include <cstdio>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "Foundation/Files/Directories.h"
#include "Foundation/Files/Internal/DefaultsFile.h"
#include "Foundation/Files/Internal/DefaultsText.h"
#include "Foundation/Values/Error.h"

namespace foundation {

namespace {

/// Reports a failure once, and again only after it was over.
class Outage {
 public:
  void reached(const Error& error, const char* consequence) {
    if (!std::exchange(isKnown_, true))
      std::fprintf(stderr, "%s %s\n", error.message().c_str(), consequence);
  }
  void isOver() noexcept { isKnown_ = false; }

 private:
  bool isKnown_ = false;
};

void requireStorable(const std::string& key, const Value& value) {
  static_cast<void>(defaultsText({{key, value}}));
}

}  // namespace

struct UserDefaults::State {
  explicit State(std::string directory) : file(std::move(directory)) {}

  /// With the memory's mutex.
  void lookAtFile() {
    try {
      if (!file.stillHas(seen)) seen = file.read();
      reading.isOver();
    } catch (const Error& error) {
      reading.reached(error, "Its settings stay as they were last read.");
    }
  }

  /// With the writers' mutex.
  void save(const DefaultsFile::Changes& changes) {
    try {
      DefaultsContent saved = file.apply(changes);
      const std::scoped_lock guard(memory);
      seen = std::move(saved);
      unsaved.clear();
      writing.isOver();
    } catch (const Error& error) {
      writing.reached(error, "What was set is kept in memory until it can be.");
    }
  }

  const DefaultsFile file;

  /// Lets one writer at a time work on the file; readers do not wait for the disk.
  std::mutex writers;
  /// Guarded by writers.
  Outage writing;

  std::mutex memory;
  // Guarded by memory.
  DefaultsContent seen;
  /// What is set and not in the file yet; it comes before what was seen there.
  DefaultsFile::Changes unsaved;
  Outage reading;
};

UserDefaults::UserDefaults(std::string directory)
    : state_(std::make_unique<State>(std::move(directory))) {}

UserDefaults::~UserDefaults() = default;

const Ref<UserDefaults>& UserDefaults::inDirectory(const std::string& directory) {
  // Never destroyed: settings may be written while the process ends.
  static auto& mutex = *new std::mutex;
  static auto& all = *new std::unordered_map<std::string, Ref<UserDefaults>>;
  const std::scoped_lock guard(mutex);
  Ref<UserDefaults>& defaults = all[directory];
  if (!defaults) defaults = Ref<UserDefaults>::adopt(new UserDefaults(directory));
  return defaults;
}

const Ref<UserDefaults>& UserDefaults::standard() {
  return inDirectory(Directories::current()->configDirectory());
}

Ref<UserDefaults> UserDefaults::suite(std::string_view name) {
  return inDirectory(Directories::current()->suiteDirectory(name));
}

std::optional<Value> UserDefaults::object(std::string_view key) const {
  const std::scoped_lock guard(state_->memory);
  if (const auto set = state_->unsaved.find(key); set != state_->unsaved.end()) return set->second;
  state_->lookAtFile();
  const auto found = state_->seen.settings.find(key);
  if (found == state_->seen.settings.end()) return std::nullopt;
  return found->second;
}

std::optional<Date> UserDefaults::date(std::string_view key) const {
  const auto value = object(key);
  const Date* date = value ? value->date() : nullptr;
  return date == nullptr ? std::nullopt : std::optional(*date);
}

void UserDefaults::set(std::optional<Value> value, std::string_view key) {
  if (value && value->isNone()) value.reset();
  const std::string ownKey(key);
  requireStorable(ownKey, value.value_or(false));
  const std::scoped_lock turn(state_->writers);
  DefaultsFile::Changes changes;
  {
    const std::scoped_lock guard(state_->memory);
    state_->unsaved.insert_or_assign(ownKey, std::move(value));
    changes = state_->unsaved;
  }
  state_->save(changes);
}

}  // namespace foundation
