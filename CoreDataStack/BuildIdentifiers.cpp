#include "CoreDataStack/BuildIdentifiers.h"

#include <mutex>
#include <utility>

namespace coredatastack {

namespace {

class Identifier {
 public:
  explicit Identifier(std::string text) : text_(std::move(text)) {}
  [[nodiscard]] std::string get() {
    const std::scoped_lock lock(mutex_);
    return text_;
  }
  void set(std::string text) {
    const std::scoped_lock lock(mutex_);
    text_ = std::move(text);
  }

 private:
  std::mutex mutex_;
  std::string text_;  // guarded by mutex_
};

Identifier& modelBundle() {
  // Never destroyed, as whoever asks may outlive the end of `main`.
  static auto* const shared = new Identifier(COREDATASTACK_MODEL_BUNDLE_IDENTIFIER);
  return *shared;
}
Identifier& appGroup() {
  static auto* const shared = new Identifier(COREDATASTACK_APP_GROUP_IDENTIFIER);
  return *shared;
}

}  // namespace

std::string modelBundleIdentifier() { return modelBundle().get(); }
void setModelBundleIdentifier(std::string identifier) { modelBundle().set(std::move(identifier)); }
std::string appGroupIdentifier() { return appGroup().get(); }
void setAppGroupIdentifier(std::string identifier) { appGroup().set(std::move(identifier)); }

}  // namespace coredatastack
