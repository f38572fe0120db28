#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "Foundation/Notifications/NSNotificationName.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/Ref.h"
#include "Foundation/Values/Value.h"

namespace foundation {

/// Something that happened, as it is told to whoever registered for it: what, to which object, and
/// further information. Immutable; copies share everything.
class NSNotification {
 public:
  using Name = NSNotificationName;
  /// Shared by all receivers, who may keep it; its values live as long as somebody does.
  using UserInfo = std::shared_ptr<const ValueDictionary>;

  explicit NSNotification(const Name& name, Ref<Object> object = nullptr,
                          UserInfo userInfo = nullptr) noexcept
      : name_(name), object_(std::move(object)), userInfo_(std::move(userInfo)) {}

  [[nodiscard]] const Name& name() const noexcept { return name_; }
  /// The object that it is about, or none.
  [[nodiscard]] const Ref<Object>& object() const noexcept { return object_; }
  /// Null when the notification carries no information.
  [[nodiscard]] const UserInfo& userInfo() const noexcept { return userInfo_; }

  /// The value under `key` of the user info, or null when there is none.
  [[nodiscard]] const Value* userInfoValue(std::string_view key) const noexcept {
    if (userInfo_ == nullptr) return nullptr;
    const auto found = userInfo_->find(key);
    return found == userInfo_->end() ? nullptr : &found->second;
  }

 private:
  Name name_;
  Ref<Object> object_;
  UserInfo userInfo_;
};

}  // namespace foundation
