#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Values/Date.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/Ref.h"
#include "Foundation/Values/Value.h"

namespace foundation {

/// The code, in the domain `kCocoaErrorDomain`, of values that settings cannot be.
enum class UserDefaultsErrorCode : std::int64_t { unstorable = 5200 };

/// Small settings that outlive the process, each under a key: texts, Booleans, whole and real
/// numbers, dates, bytes, and lists and dictionaries of these. Each comes back as the kind that it
/// was, dates and real numbers with all their bits.
///
/// - The file is `defaults` in the application's, or the suite's, directory of the config home. A
///   process has one object for each; several processes may have the same file.
/// - A change is seen at once by all readers of this object, and by other processes when `set` has
///   returned. Of two processes that change different keys neither loses its own.
/// - A file that cannot be written or read is reported in one line on the standard error stream
///   until it can again: what was set is kept in memory, and written with the next change that can
///   be. Nobody is told by an error, because settings are what can be worked out once more.
/// - A damaged file is set aside as `defaults.damaged-<n>`, reported, and reads as empty.
///
/// Reading asks the system whether the file is still the one that was read, and opens it only if it
/// is not.
///
/// Threading: safe on any thread.
class UserDefaults final : public Object {
 public:
  /// The application's own: those in the config directory of `Directories::current()`, so another
  /// object once other directories have been set. The handle stays valid. Throws as `current` does.
  [[nodiscard]] static const Ref<UserDefaults>& standard();
  /// Those that applications share under a name.
  /// Throws `Error` for a name that is no single component of a path.
  [[nodiscard]] static Ref<UserDefaults> suite(std::string_view name);

  /// None where nothing was set.
  [[nodiscard]] std::optional<Value> object(std::string_view key) const;
  /// None also for a value that was not set as a date.
  [[nodiscard]] std::optional<Date> date(std::string_view key) const;

  /// No value, or an absent one, removes the key.
  /// Throws `Error` with a `UserDefaultsErrorCode` for other kinds of values, also inside others,
  /// and for nesting beyond 64 levels; and with a `JSONErrorCode` for a text or key that is not
  /// UTF-8. Nothing is changed then.
  void set(std::optional<Value> value, std::string_view key);
  void removeObject(std::string_view key) { set(std::nullopt, key); }

 private:
  struct State;

  explicit UserDefaults(std::string directory);
  ~UserDefaults() override;
  [[nodiscard]] static const Ref<UserDefaults>& inDirectory(const std::string& directory);

  std::unique_ptr<State> state_;
};

}  // namespace foundation
