#include "Foundation/Notifications/NSNotificationName.h"

#include <mutex>
#include <string>
#include <unordered_set>

namespace foundation {

NSNotificationName NSNotificationName::named(std::string_view text) {
  // Never destroyed, and its texts never move: names point into them.
  static auto& mutex = *new std::mutex;
  static auto& texts = *new std::unordered_set<std::string>;
  const std::scoped_lock guard(mutex);
  return NSNotificationName(std::string_view(*texts.emplace(text).first));
}

}  // namespace foundation
