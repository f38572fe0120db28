#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <utility>

#include "Logger/Loggable.h"

namespace habits {

/// Tells the user, on the standard error stream, that something is wrong.
void complain(const std::string& what);

/// Tells the user of errors that the library has no caller to hand to.
class Complaints final : public logger::Loggable {
 public:
  using Handler = std::function<bool(const foundation::Error&)>;

  /// `dealsWith` is asked on any thread, and the user is not told of an error that it answers with
  /// true. It must not throw.
  explicit Complaints(Handler dealsWith = {}) : dealsWith_(std::move(dealsWith)) {}

  void error(const foundation::Error& error) noexcept override;

  /// Errors are dropped while this lives: what comes next meets them, too, and says so.
  class Silence {
   public:
    explicit Silence(Complaints& complaints) noexcept;
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence();

   private:
    Complaints& complaints_;
  };

 private:
  ~Complaints() override = default;

  const Handler dealsWith_;
  std::atomic<bool> isSilent_ = false;
};

}  // namespace habits
