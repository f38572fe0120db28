#pragma once

#include <optional>

#include "CoreDataStack/Queries/LocalAPI.h"
#include "Tools/habits/Session.h"

namespace habits {

/// Keeps the error that nobody was told of.
class SilentFailure final : public logger::Loggable {
 public:
  void error(const foundation::Error& error) noexcept override { error_ = error; }
  /// Throws the error, if there is one.
  void raise() const {
    if (error_) throw foundation::Error(*error_);
  }

 protected:
  ~SilentFailure() override = default;

 private:
  std::optional<foundation::Error> error_;
};

/// The library's queries, which answer with nothing when the store fails; here that is an error.
class Queries {
 public:
  explicit Queries(const Session& session) : api_(session.contextHandle(), failure_) {}

  /// What `query(api)` answers. Throws `foundation::Error`.
  template <typename Query>
  [[nodiscard]] auto answer(Query query) const {
    auto result = query(api_);
    failure_->raise();
    return result;
  }

 private:
  foundation::Ref<SilentFailure> failure_ = foundation::make<SilentFailure>();
  coredatastack::LocalAPI api_;
};

}  // namespace habits
